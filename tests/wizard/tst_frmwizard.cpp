#include "control/controlaccess.h"
#include "freshquery.h"
#include "scripteddialogs.h"
#include "wizard/attributelistbox.h"
#include "wizard/frmwizard.h"
#include "wizard/wizardsummary.h"
#include "datatable.h"

#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

QWidget *focused(QWidget *window)
{
    return QApplication::focusWidget() ? QApplication::focusWidget() : window;
}

// Buttons by their names without "cmd", keys where the focus is, or the close box.
void press(QWidget *wizard, const QString &presses)
{
    for (const QString &what : presses.split(u' ', Qt::SkipEmptyParts)) {
        if (what == u"Enter" || what == u"Esc")
            QTest::keyClick(focused(wizard), what == u"Enter" ? Qt::Key_Return : Qt::Key_Escape);
        else if (what == u"Close")
            wizard->close();
        else
            QTest::mouseClick(wizard->findChild<QPushButton *>(u"cmd"_s + what), Qt::LeftButton);
    }
}

// Title, focused control, and the enabled buttons with the default one starred.
QString seen(frmWizard &wizard)
{
    if (!wizard.isVisible())
        return u"closed"_s;
    QString shown = wizard.windowTitle() + u" | "_s + focused(&wizard)->objectName() + u" |"_s;
    for (const QString &name : {u"cmdBack"_s, u"cmdNext"_s, u"cmdFinish"_s}) {
        const auto *button = wizard.findChild<QPushButton *>(name);
        if (button->isEnabled())
            shown += u' ' + button->text().remove(u'&') + (button->isDefault() ? u"*"_s : QString());
    }
    return shown;
}

void open(frmWizard &wizard, const QString &url)
{
    wizard.PrepareWizard();
    wizard.txtURL()->setText(url);
    wizard.show();
    QVERIFY(QTest::qWaitForWindowActive(&wizard));
    for (const QLabel *picture : wizard.findChildren<QLabel *>(QRegularExpression(u"^pics_"_s)))
        QVERIFY(!picture->pixmap().isNull());
}

} // namespace

class tst_FrmWizard : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetThreadQuery(); }

    void summary_data()
    {
        // answers: URL, search text, offset, filters
        addColumns<bool, QStringList, QString>("htmlGet", "answers", "expected");
        QTest::newRow("every block") << true << QStringList{u"page.htm"_s, u"Price*"_s, u"2"_s, u"class=x"_s}
                                     << u"Source Type: HTML using GET method\r\n\r\nBrowse to URL: page.htm\r\n\r\nSearch for text: "
                                        "\"Price*\"\r\n\r\nReturn node with offset: \"2\"\r\n\r\nIn node with the following "
                                        "attributes: \r\n\tclass=x\r\n\r\n"_s;
        QTest::newRow("the offset line alone") << false << QStringList{u"   "_s, u" "_s, u"-0"_s}
                                               << u"Return node with offset: \"0\"\r\n\r\n"_s;
        QTest::newRow("texts trimmed, the offset read as a number")
            << false << QStringList{u" a.htm "_s, u" x  y "_s, u" 12abc"_s, u"a=1"_s, u" b= 2 "_s}
            << u"Browse to URL: a.htm\r\n\r\nSearch for text: \"x  y\"\r\n\r\nReturn node with offset: \"12\"\r\n\r\n"
               "In node with the following attributes: \r\n\ta=1\r\n\t b= 2 \r\n\r\n"_s;
    }

    void summary()
    {
        const auto [htmlGet, answers, expected] = fetchRow<bool, QStringList, QString>("htmlGet", "answers", "expected");
        QCOMPARE(buildWizardSummary({htmlGet, answers[0], answers[1], answers[2], answers.mid(3)}), expected);
    }

    void steps_data()
    {
        addColumns<QString, QString, QString, bool>("url", "presses", "shown", "confirmed");
        const QString urlStep = u"Search Wizard -- Step 2 of 5 | txtURL | Back Next* Finish"_s;
        const QString summaryStep = u"Search Wizard -- Step 5 of 5 | txtSummary | Back OK*"_s;
        QTest::newRow("Finish at once without a URL") << QString() << u"Finish"_s << urlStep << false;
        QTest::newRow("blanks are no URL to Enter") << u"  "_s << u"Enter Enter"_s << urlStep << false;
        QTest::newRow("Finish on the URL step checks it") << u"  "_s << u"Enter Finish"_s << urlStep << false;
        QTest::newRow("Finish with a URL shows the summary") << u"a"_s << u"Finish"_s << summaryStep << false;
        QTest::newRow("Next walks to the summary") << u"a"_s << u"Next Next Next Next"_s << summaryStep << false;
        QTest::newRow("Back to the first step") << u"a"_s << u"Enter Enter Back Back"_s
                                                << u"Search Wizard -- Step 1 of 5 | cmdNext | Next* Finish"_s << false;
        QTest::newRow("Enter on the summary accepts") << u"a"_s << u"Finish Enter"_s << u"closed"_s << true;
        QTest::newRow("Esc cancels") << u"a"_s << u"Finish Esc"_s << u"closed"_s << false;
        QTest::newRow("the close box does not accept") << u"a"_s << u"Finish Close"_s << u"closed"_s << false;
    }

    void steps()
    {
        const auto [url, presses, shown, confirmed] = fetchRow<QString, QString, QString, bool>("url", "presses", "shown", "confirmed");
        ScriptedDialogs script;
        if (shown.contains(u"txtURL"))
            script.answerMessageBox(Dialogs::OK);
        frmWizard wizard;
        open(wizard, url);
        press(&wizard, presses);
        QCOMPARE(seen(wizard), shown);
        QCOMPARE(wizard.Confirmed(), confirmed);
        for (const Dialogs::MessageBoxCall &box : script.messageBoxes())
            QVERIFY(box.text == u"URL is a required field" && box.style == Dialogs::OkOnly && box.title.isEmpty());
    }

    void offsetCheck_data()
    {
        addColumns<QString, QString, bool>("typed", "after", "kept");
        QTest::newRow("letters read as 0") << u"abc"_s << u"0"_s << false;
        QTest::newRow("an empty box reads as 0") << QString() << u"0"_s << false;
        QTest::newRow("the leading number, without an exponent lacking digits") << u"  -12e+abc"_s << u"-12"_s << false;
        QTest::newRow("a fraction ends at its last digit") << u"2.5px"_s << u"2.5"_s << false;
        QTest::newRow("-10000 passes, written with an exponent") << u"-1e4"_s << u"-10000"_s << false;
        QTest::newRow("10001 keeps the focus") << u"1.0001E+4"_s << u"10001"_s << true;
        QTest::newRow("15 significant digits") << u"1234567890123456"_s << u"1.23456789012346E+15"_s << true;
        QTest::newRow("-10001 keeps the focus") << u"-10001.0"_s << u"-10001"_s << true;
    }

    void offsetCheck()
    {
        const auto [typed, after, kept] = fetchRow<QString, QString, bool>("typed", "after", "kept");
        frmWizard wizard;
        open(wizard, u"a"_s);
        press(&wizard, u"Next Next"_s);
        QLineEdit *offset = wizard.txtSearchTextOffst();
        QTest::keyClick(focused(&wizard), Qt::Key_Tab);
        QCOMPARE(offset->selectedText(), u"0"_s);
        QTest::keyClick(offset, Qt::Key_Backspace);
        QTest::keyClicks(offset, typed);
        QTest::keyClick(offset, Qt::Key_Tab);
        QCOMPARE(offset->text(), after);
        QCOMPARE(offset->hasFocus(), kept);
        press(&wizard, u"Next"_s); // clicking Next leaves the box too
        QCOMPARE(wizard.windowTitle().endsWith(u"Step 3 of 5"), kept);
    }

    void attributeList()
    {
        ScriptedDialogs script; // a blank name adds nothing and says nothing
        frmWizard wizard;
        open(wizard, u"a"_s);
        auto *others = wizard.findChild<QRadioButton *>(u"optSourceType_1"_s);
        QTest::mouseClick(others, Qt::LeftButton, {}, QPoint(4, others->height() / 2));
        press(&wizard, u"Enter Enter Enter"_s);
        auto *name = wizard.findChild<QLineEdit *>(u"txtPropName"_s);
        auto *value = wizard.findChild<QLineEdit *>(u"txtPropValue"_s);
        const std::pair<QString, QString> entries[] = {
            {u"id"_s, u"a"_s}, {u"id"_s, u"b"_s}, {u"ID"_s, u"c"_s}, {u" n "_s, u" v=w "_s}, {u" "_s, u"x"_s}};
        for (const auto &[typed, given] : entries) {
            QTest::keyClicks(name, typed); // the box has its whole text selected again
            value->setText(given);
            press(&wizard, u"AddProp"_s);
            QCOMPARE(focused(&wizard), name);
        }
        QListWidget *list = wizard.lstProps();
        for (int row : {0, 2})
            QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(row)).center());
        QCOMPARE(name->text() + u'|' + value->text(), u"n|v=w"_s);
        press(&wizard, u"RemoveProp"_s);
        list->clearSelection();
        press(&wizard, u"RemoveProp Finish"_s);
        QCOMPARE(wizard.findChild<QPlainTextEdit *>(u"txtSummary"_s)->toPlainText(),
                 u"Browse to URL: a\n\nReturn node with offset: \"0\"\n\nIn node with the following attributes: \n\tid=b\n\tID=c\n\n"_s);
    }

    void editWizard_data()
    {
        // after: Url1, SearchText, NodeOffset, stored filters
        addColumns<QString, QString, int, QStringList>("presses", "offset", "error", "after");
        const QStringList stored{u"a=1"_s, u" "_s, u"c=3"_s};
        QTest::newRow("cancelled changes nothing") << u"Esc"_s << u"-12"_s << 0 << QStringList{u"old"_s, u"old*"_s, u"7"_s} + stored;
        QTest::newRow("accepted copies every line, blank ones too")
            << u"Finish Finish"_s << u"-12"_s << 0 << QStringList{u"new"_s, u"new*"_s, u"-12"_s, u"a=1"_s, u"  "_s, u"d=4"_s};
        QTest::newRow("letters in the offset fail after the texts")
            << u"Finish Finish"_s << u"abc"_s << 13 << QStringList{u"new"_s, u"new*"_s, u"7"_s} + stored;
    }

    void editWizard()
    {
        const auto [presses, offset, error, after] = fetchRow<QString, QString, int, QStringList>("presses", "offset", "error", "after");
        ScriptedDialogs script;
        Tamberline control;
        control.setUrl1(u"old"_s);
        control.setSearchText(u"old*"_s);
        control.setNodeOffset(7);
        for (const QString &entry : {u"a=1"_s, u" "_s, u"c=3"_s})
            control.setElemAttribs(-1, entry);
        QStringList filled;
        script.onModal([&](QWidget *window) {
            auto *wizard = qobject_cast<frmWizard *>(window);
            filled = QStringList{wizard->windowTitle(), wizard->txtURL()->text(), wizard->txtSearchText()->text(),
                                 wizard->txtSearchTextOffst()->text()} + AttributeListBox::lines(wizard->lstProps());
            wizard->txtURL()->setText(u"new"_s);
            wizard->txtSearchText()->setText(u"new*"_s);
            wizard->txtSearchTextOffst()->setText(offset);
            wizard->lstProps()->addItems({u"  "_s, u"d=4"_s});
            press(wizard, presses);
        });
        const QString result = outcome([&] { return control.EditWizard(); });
        QCOMPARE(filled, (QStringList{u"Search Wizard -- Step 1 of 5"_s, u"old"_s, u"old*"_s, u"7"_s, u"a=1"_s}));
        QCOMPARE(result, error ? u"error %1"_s.arg(error) : QVariant(presses.contains(u"Finish")).toString());
        QCOMPARE(QStringList({control.Url1(), control.SearchText(), QString::number(control.NodeOffset())}) + storedAttribs(control),
                 after);
    }
};

QTEST_MAIN(tst_FrmWizard)
#include "tst_frmwizard.moc"
