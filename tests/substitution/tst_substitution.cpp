#include "scripteddialogs.h"
#include "substitution/controlvariables.h"
#include "substitution/examplevaluecache.h"
#include "substitution/frminputvariable.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QtTest>

using namespace ControlVariables;

namespace {
const QString Cancel = QStringLiteral("<cancel>");
}

class tst_Substitution : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void extractMarkerName_data();
    void extractMarkerName();
    void substitute_data();
    void substitute();
    void promptText();
    void cachedValueIgnoresCase();
    void emptyValuePromptsAgain();
    void cancelKeepsEarlierAnswersCached();
    void endlessSubstitutionIsStopped_data();
    void endlessSubstitutionIsStopped();
    void dialogKeys_data();
    void dialogKeys();
    void dialogSelectsValueOnFocus();
};

void tst_Substitution::init()
{
    exampleValueCache().clear();
    setMarkerFound(false);
}

void tst_Substitution::extractMarkerName_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("markerFound");
    QTest::newRow("no percent") << QStringLiteral("plain") << QString() << false;
    QTest::newRow("single percent sets the flag") << QStringLiteral("a%b") << QString() << true;
    QTest::newRow("first marker") << QStringLiteral("q=%one%&r=%two%") << QStringLiteral("one") << true;
    QTest::newRow("adjacent percents give no name") << QStringLiteral("x%%y%z%") << QString() << true;
    QTest::newRow("name with blanks") << QStringLiteral("% a b %") << QStringLiteral(" a b ") << true;
}

void tst_Substitution::extractMarkerName()
{
    QFETCH(QString, text);
    QFETCH(QString, name);
    QFETCH(bool, markerFound);
    QCOMPARE(ExtractMarkerName(text), name);
    QCOMPARE(ControlVariables::markerFound(), markerFound);
}

void tst_Substitution::substitute_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("answers"); // typed values, or Cancel
    QTest::addColumn<QString>("expected");

    QTest::newRow("no markers") << QStringLiteral("http://x/") << QStringList{} << QStringLiteral("http://x/");
    QTest::newRow("single percent") << QStringLiteral("a%b") << QStringList{} << QStringLiteral("a%b");
    QTest::newRow("empty name ends at once") << QStringLiteral("x%%y%z%") << QStringList{} << QStringLiteral("x%%y%z%");
    QTest::newRow("one prompt replaces every occurrence")
        << QStringLiteral("%id%/%id%") << QStringList{QStringLiteral("7")} << QStringLiteral("7/7");
    QTest::newRow("two names") << QStringLiteral("q=%a%&p=%b%")
                               << QStringList{QStringLiteral("x"), QStringLiteral("y")} << QStringLiteral("q=x&p=y");
    QTest::newRow("marker match is case-sensitive")
        << QStringLiteral("%id%-%ID%") << QStringList{QStringLiteral("5")} << QStringLiteral("5-5");
    QTest::newRow("cancel returns the input") << QStringLiteral("%a%") << QStringList{Cancel} << QStringLiteral("%a%");
    QTest::newRow("cancel on the second name discards the first")
        << QStringLiteral("%a%-%b%") << QStringList{QStringLiteral("1"), Cancel} << QStringLiteral("%a%-%b%");
    QTest::newRow("value naming another marker") << QStringLiteral("%a%")
                                                 << QStringList{QStringLiteral("<%b%>"), QStringLiteral("z")} << QStringLiteral("<z>");
    QTest::newRow("a long value is no loop") << QStringLiteral("%a%") << QStringList{QString(3000, u'x')} << QString(3000, u'x');
    // The same name comes back once, but the text shrinks: this one ends.
    QTest::newRow("a name that returns and ends") << QStringLiteral("%a%a%%") << QStringList{QStringLiteral("%")} << QStringLiteral("%%");
}

void tst_Substitution::substitute()
{
    QFETCH(QString, text);
    QFETCH(QStringList, answers);
    QFETCH(QString, expected);
    ScriptedDialogs script;
    for (const QString &answer : answers) {
        if (answer == Cancel)
            script.cancelPrompt();
        else
            script.answerPrompt(answer);
    }
    QCOMPARE(Substitute(text), expected);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(script.modalWindows().size(), answers.size());
}

void tst_Substitution::promptText()
{
    ScriptedDialogs script;
    QString label, title, shownValue;
    script.onModal([&](QWidget *window) {
        label = window->findChild<QLabel *>(QStringLiteral("lblMssg"))->text();
        title = window->windowTitle();
        shownValue = window->findChild<QLineEdit *>(QStringLiteral("txtValue"))->text();
        QTest::mouseClick(window->findChild<QPushButton *>(QStringLiteral("cmdCancel")), Qt::LeftButton);
    });
    Substitute(QStringLiteral("http://x/?q=%query term%"));
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(label, QStringLiteral("Please enter an example value for: %query term%"));
    QCOMPARE(title, QStringLiteral("Property Substitution"));
    QCOMPARE(shownValue, QString());
}

void tst_Substitution::cachedValueIgnoresCase()
{
    ScriptedDialogs script;
    script.answerPrompt(QStringLiteral("42"));
    QCOMPARE(Substitute(QStringLiteral("%id%")), QStringLiteral("42"));
    QCOMPARE(Substitute(QStringLiteral("/%ID%/%Id%")), QStringLiteral("/42/42"));
    QCOMPARE(exampleValueCache().value(QStringLiteral("IDK")), QStringLiteral("42"));
    QCOMPARE(exampleValueCache().count(), 1);
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_Substitution::emptyValuePromptsAgain()
{
    ScriptedDialogs script;
    script.answerPrompt(QString());
    QCOMPARE(Substitute(QStringLiteral("a%x%b")), QStringLiteral("ab"));
    QCOMPARE(exampleValueCache().count(), 1);
    script.answerPrompt(QStringLiteral("v"));
    QCOMPARE(Substitute(QStringLiteral("a%x%b")), QStringLiteral("avb"));
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_Substitution::cancelKeepsEarlierAnswersCached()
{
    ScriptedDialogs script;
    script.answerPrompt(QStringLiteral("1"));
    script.cancelPrompt();
    QCOMPARE(Substitute(QStringLiteral("%a%-%b%")), QStringLiteral("%a%-%b%"));
    QCOMPARE(exampleValueCache().value(ExampleValueCache::keyFor(QStringLiteral("a"))), QStringLiteral("1"));
    QCOMPARE(exampleValueCache().value(ExampleValueCache::keyFor(QStringLiteral("b"))), QString());
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_Substitution::endlessSubstitutionIsStopped_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QStringList>("answers");
    QTest::newRow("value is its own marker") << QStringLiteral("%a%") << QStringList{QStringLiteral("%a%")};
    QTest::newRow("value holds its own marker") << QStringLiteral("x/%a%") << QStringList{QStringLiteral("(%a%)")};
    QTest::newRow("two values naming each other")
        << QStringLiteral("%a%") << QStringList{QStringLiteral("%b%"), QStringLiteral("%a%")};
}

void tst_Substitution::endlessSubstitutionIsStopped()
{
    QFETCH(QString, text);
    QFETCH(QStringList, answers);
    ScriptedDialogs script;
    for (const QString &answer : answers)
        script.answerPrompt(answer);
    script.answerMessageBox(Dialogs::OK);
    QCOMPARE(Substitute(text), text);
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QVERIFY(script.messageBoxes().first().text.contains(QStringLiteral("would never end")));

    // The value that caused it is forgotten, so the next substitution asks again.
    script.cancelPrompt();
    QCOMPARE(Substitute(text), text);
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_Substitution::dialogKeys_data()
{
    QTest::addColumn<int>("key");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("Enter presses OK") << int(Qt::Key_Return) << true;
    QTest::newRow("Escape cancels") << int(Qt::Key_Escape) << false;
}

void tst_Substitution::dialogKeys()
{
    QFETCH(int, key);
    QFETCH(bool, accepted);
    ScriptedDialogs script;
    script.onModal([key](QWidget *window) {
        auto *box = window->findChild<QLineEdit *>(QStringLiteral("txtValue"));
        QTest::keyClicks(box, QStringLiteral("typed"));
        QTest::keyClick(box, Qt::Key(key));
    });
    frmInputVariable dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Entry"));
    QString value = QStringLiteral("before");
    QCOMPARE(dialog.prompt(QStringLiteral("m"), QStringLiteral("t"), QString(), value), accepted);
    QCOMPARE(value, accepted ? QStringLiteral("typed") : QStringLiteral("before"));
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_Substitution::dialogSelectsValueOnFocus()
{
    ScriptedDialogs script;
    bool focused = false;
    QString selected;
    script.onModal([&](QWidget *window) {
        auto *box = window->findChild<QLineEdit *>(QStringLiteral("txtValue"));
        QVERIFY(QTest::qWaitForWindowActive(window));
        focused = box->hasFocus();
        selected = box->selectedText();
        QTest::mouseClick(window->findChild<QPushButton *>(QStringLiteral("cmdFinish")), Qt::LeftButton);
    });
    frmInputVariable dialog;
    QString value;
    QVERIFY(dialog.prompt(QStringLiteral("m"), QStringLiteral("t"), QStringLiteral("default"), value));
    QVERIFY(focused);
    QCOMPARE(selected, QStringLiteral("default"));
    QCOMPARE(value, QStringLiteral("default"));
}

QTEST_MAIN(tst_Substitution)
#include "tst_substitution.moc"
