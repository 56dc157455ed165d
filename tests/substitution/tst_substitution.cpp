#include "scripteddialogs.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "substitution/frminputvariable.h"
#include "datatable.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

using namespace Qt::StringLiterals;

using namespace ControlVariables;

namespace {
const QString Cancel = u"<cancel>"_s;
}

class tst_Substitution : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        exampleValueCache().clear();
        setMarkerFound(false);
    }

    void extractMarkerName_data()
    {
        addColumns<QString, QString, bool>("text", "name", "markerFound");
        QTest::newRow("no percent") << u"plain"_s << QString() << false;
        QTest::newRow("single percent sets the flag") << u"a%b"_s << QString() << true;
        QTest::newRow("first marker") << u"q=%one%&r=%two%"_s << u"one"_s << true;
        QTest::newRow("adjacent percents give no name") << u"x%%y%z%"_s << QString() << true;
        QTest::newRow("name with blanks") << u"% a b %"_s << u" a b "_s << true;
    }

    void extractMarkerName()
    {
        const auto [text, name, markerFound] = fetchRow<QString, QString, bool>("text", "name", "markerFound");
        QCOMPARE(ExtractMarkerName(text), name);
        QCOMPARE(ControlVariables::markerFound(), markerFound);
    }

    void substitute_data()
    {
        // answers: typed values, or Cancel; cached: "KEY=value", the example values kept after
        addColumns<QString, QStringList, QString, QStringList>("text", "answers", "expected", "cached");
        const auto row = [](const char *name, const QString &text, const QStringList &answers, const QString &expected,
                            const QStringList &cached = {}) { QTest::newRow(name) << text << answers << expected << cached; };
        row("no markers", u"http://x/"_s, {}, u"http://x/"_s);
        row("single percent", u"a%b"_s, {}, u"a%b"_s);
        row("empty name ends at once", u"x%%y%z%"_s, {}, u"x%%y%z%"_s);
        row("one prompt replaces every occurrence", u"%id%/%id%"_s, {u"7"_s}, u"7/7"_s);
        row("two names", u"q=%a%&p=%b%"_s, {u"x"_s, u"y"_s}, u"q=x&p=y"_s);
        row("a value kept for a name in any case", u"%id%-%ID%/%Id%"_s, {u"5"_s}, u"5-5/5"_s, {u"IDK=5"_s});
        row("cancel returns the input", u"%a%"_s, {Cancel}, u"%a%"_s);
        row("cancel on the second name keeps the first's value", u"%a%-%b%"_s, {u"1"_s, Cancel}, u"%a%-%b%"_s, {u"aK=1"_s, u"bK="_s});
        row("value naming another marker", u"%a%"_s, {u"<%b%>"_s, u"z"_s}, u"<z>"_s);
        row("a long value is no loop", u"%a%"_s, {QString(3000, u'x')}, QString(3000, u'x'));
        // The same name comes back once, but the text shrinks: this one ends.
        row("a name that returns and ends", u"%a%a%%"_s, {u"%"_s}, u"%%"_s);
    }

    void substitute()
    {
        const auto [text, answers, expected, cached] =
            fetchRow<QString, QStringList, QString, QStringList>("text", "answers", "expected", "cached");
        ScriptedDialogs script;
        for (const QString &answer : answers) {
            if (answer == Cancel)
                script.cancelPrompt();
            else
                script.answerPrompt(answer);
        }
        QCOMPARE(Substitute(text), expected);
        for (const QString &entry : cached)
            QCOMPARE(exampleValueCache().value(entry.section(u'=', 0, 0)), entry.section(u'=', 1));
    }

    void promptText()
    {
        ScriptedDialogs script;
        QString label, title, shownValue;
        script.onModal([&](QWidget *window) {
            label = window->findChild<QLabel *>(u"lblMssg"_s)->text();
            title = window->windowTitle();
            shownValue = window->findChild<QLineEdit *>(u"txtValue"_s)->text();
            QTest::mouseClick(window->findChild<QPushButton *>(u"cmdCancel"_s), Qt::LeftButton);
        });
        Substitute(u"http://x/?q=%query term%"_s);
        QCOMPARE(label, u"Please enter an example value for: %query term%"_s);
        QVERIFY(title == u"Property Substitution"_s && shownValue.isEmpty());
    }

    void emptyValuePromptsAgain()
    {
        ScriptedDialogs script;
        script.answerPrompt(QString());
        QCOMPARE(Substitute(u"a%x%b"_s), u"ab"_s);
        QCOMPARE(exampleValueCache().count(), 1);
        script.answerPrompt(u"v"_s);
        QCOMPARE(Substitute(u"a%x%b"_s), u"avb"_s);
    }

    void endlessSubstitutionIsStopped_data()
    {
        addColumns<QString, QStringList>("text", "answers");
        QTest::newRow("value is its own marker") << u"%a%"_s << QStringList{u"%a%"_s};
        QTest::newRow("value holds its own marker") << u"x/%a%"_s << QStringList{u"(%a%)"_s};
        QTest::newRow("two values naming each other") << u"%a%"_s << QStringList{u"%b%"_s, u"%a%"_s};
    }

    void endlessSubstitutionIsStopped()
    {
        const auto [text, answers] = fetchRow<QString, QStringList>("text", "answers");
        ScriptedDialogs script;
        for (const QString &answer : answers)
            script.answerPrompt(answer);
        script.answerMessageBox(Dialogs::OK);
        QCOMPARE(Substitute(text), text);
        QVERIFY2(script.done(), qPrintable(script.pending()));
        QVERIFY(script.messageBoxes().first().text.contains(u"would never end"_s));

        // The value that caused it is forgotten, so the next substitution asks again.
        script.cancelPrompt();
        QCOMPARE(Substitute(text), text);
    }

    // Each value names a new marker, so the text neither grows nor repeats: only the number of
    // passes ends the chain, and the 4,096th is the last.
    void chainOfNewMarkers()
    {
        for (const int length : {4095, 4096}) {
            exampleValueCache().clear();
            setValueSource([length](const QString &name) {
                const int next = name.mid(1).toInt() + 1;
                return std::optional(next <= length ? u"%v"_s + QString::number(next) + u'%' : u"end"_s);
            });
            ScriptedDialogs script; // the chain that is too long is reported
            if (length > 4095)
                script.answerMessageBox(Dialogs::OK);
            QCOMPARE(Substitute(u"%v0%"_s), length == 4095 ? u"end"_s : u"%v0%"_s);
        }
        setValueSource({});
    }

    // A text may grow to 65,536 characters, or to twice its size when longer; beyond, the value
    // is taken to feed itself.
    void growthLimit_data()
    {
        addColumns<int, int, bool>("textLength", "valueLength", "substituted");
        QTest::newRow("short text to 65,536") << 3 << 65536 << true;
        QTest::newRow("short text past 65,536") << 3 << 65537 << false;
        QTest::newRow("long text to twice its size") << 40000 << 40003 << true;
        QTest::newRow("long text past twice its size") << 40000 << 40004 << false;
    }

    void growthLimit()
    {
        const auto [textLength, valueLength, substituted] = fetchRow<int, int, bool>("textLength", "valueLength", "substituted");
        setValueSource([valueLength](const QString &) { return std::optional(QString(valueLength, u'v')); });
        ScriptedDialogs script;
        if (!substituted)
            script.answerMessageBox(Dialogs::OK);
        const QString text = u"%a%"_s + QString(textLength - 3, u't');
        QCOMPARE(Substitute(text).size(), substituted ? textLength - 3 + valueLength : textLength);
        setValueSource({});
    }

    // The offered value comes up selected in the focused box, so typing replaces it.
    void dialogAnswers_data()
    {
        addColumns<QString, int, bool, QString>("typed", "key", "accepted", "value");
        QTest::newRow("Enter presses OK") << u"typed"_s << int(Qt::Key_Return) << true << u"typed"_s;
        QTest::newRow("Escape cancels") << u"typed"_s << int(Qt::Key_Escape) << false << u"before"_s;
        QTest::newRow("OK takes the offered value") << QString() << 0 << true << u"offered"_s;
    }

    void dialogAnswers()
    {
        const auto [typed, key, accepted, value] = fetchRow<QString, int, bool, QString>("typed", "key", "accepted", "value");
        ScriptedDialogs script;
        QString selected;
        script.onModal([&](QWidget *window) {
            auto *box = window->findChild<QLineEdit *>(u"txtValue"_s);
            QVERIFY(QTest::qWaitForWindowActive(window));
            // Back from another window with the focus on a button, the box is focused and selected.
            box->deselect();
            window->findChild<QPushButton *>(u"cmdCancel"_s)->setFocus();
            QWidget other(window, Qt::Window);
            other.show();
            QVERIFY(QTest::qWaitForWindowActive(&other));
            window->activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(window));
            QTRY_VERIFY(box->hasFocus());
            selected = box->selectedText();
            QTest::keyClicks(box, typed);
            if (key)
                QTest::keyClick(box, Qt::Key(key));
            else
                QTest::mouseClick(window->findChild<QPushButton *>(u"cmdFinish"_s), Qt::LeftButton);
        });
        frmInputVariable dialog;
        QCOMPARE(dialog.windowTitle(), u"Entry"_s);
        QString answer = u"before"_s;
        QCOMPARE(dialog.prompt(u"m"_s, u"t"_s, u"offered"_s, answer), accepted);
        QVERIFY(selected == u"offered"_s && answer == value);
    }
};

QTEST_MAIN(tst_Substitution)
#include "tst_substitution.moc"
