#include "control/controlaccess.h"
#include "freshquery.h"
#include "parserdriver.h"
#include "scripteddialogs.h"
#include "wizard/attributelist.h"
#include "wizard/frmaddprop.h"
#include "datatable.h"

#include <QLineEdit>
#include <QListWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

static void type(QWidget *window, const char *box, const QString &text)
{
    auto *edit = child<QLineEdit>(window, box);
    edit->clear();
    QTest::keyClicks(edit, text);
}

class tst_FrmAddProp : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetThreadQuery(); }

    void addReplacesByName_data()
    {
        addColumns<QStringList, QString, QString, bool, QStringList>("before", "name", "value", "added", "after");
        QTest::newRow("new name goes last") << QStringList{u"a=1"_s} << u"b"_s << u"2"_s << true << QStringList{u"a=1"_s, u"b=2"_s};
        QTest::newRow("same name moves to the end") << QStringList{u"id=1"_s, u"x=0"_s} << u"id"_s << u"2"_s << true
            << QStringList{u"x=0"_s, u"id=2"_s};
        QTest::newRow("every duplicate goes") << QStringList{u"id=1"_s, u"id=3"_s} << u"id"_s << u"2"_s << true << QStringList{u"id=2"_s};
        QTest::newRow("a longer name is not the same name") << QStringList{u"idx=1"_s} << u"id"_s << QString() << true
            << QStringList{u"idx=1"_s, u"id="_s};
    }

    void addReplacesByName()
    {
        const auto [before, name, value, added, after] =
            fetchRow<QStringList, QString, QString, bool, QStringList>("before", "name", "value", "added", "after");
        frmAddProp dialog;
        for (const QString &line : before)
            dialog.SetAttributeLine(-1, line);
        QCOMPARE(dialog.AddProp(name, value), added);
        QCOMPARE(dialog.lines(), after);
    }

    void lineIndexes()
    {
        frmAddProp dialog;
        dialog.SetAttributeLine(-1, u"a=1"_s);
        dialog.SetAttributeLine(1, u"b=2"_s); // at the end: added
        dialog.SetAttributeLine(-1, u"a=1"_s); // taken as it is: no duplicate check
        dialog.SetAttributeLine(0, u"c=3"_s);  // in place
        QCOMPARE(dialog.lines(), (QStringList{u"c=3"_s, u"b=2"_s, u"a=1"_s}));
        QCOMPARE(dialog.GetAttributeLine(2), u"a=1"_s);
        QVERIFY(dialog.GetAttributeLine(-1).isNull() && dialog.GetAttributeLine(3).isNull());
        type(&dialog, "txtPropValue", u"v"_s);
        dialog.Reset();
        QVERIFY(dialog.lines().isEmpty() && child<QLineEdit>(&dialog, "txtPropValue")->text().isEmpty());
    }

    void buttonsAndClicks()
    {
        ScriptedDialogs script;
        script.answerMessageBox(Dialogs::OK);
        frmAddProp dialog;
        QCOMPARE(dialog.windowTitle(), u"Add Node Attribute"_s);
        dialog.show();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->hasFocus());
        // Back from another window, the focus is in the name box again.
        child<QLineEdit>(&dialog, "txtPropValue")->setFocus();
        QWidget other;
        other.show();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        dialog.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&dialog));
        QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->hasFocus());

        type(&dialog, "txtPropValue", u"lonely"_s);
        clickButton(&dialog, "cmdAddProp");
        QCOMPARE(script.messageBoxes().value(0).text, u"Please type in an attribute name"_s);
        QCOMPARE(script.messageBoxes().first().style, 16);
        QVERIFY(dialog.lines().isEmpty());

        type(&dialog, "txtPropName", u"a"_s);
        type(&dialog, "txtPropValue", u"b=c"_s);
        clickButton(&dialog, "cmdAddProp");
        QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->hasFocus());
        QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->selectedText(), u"a"_s); // the boxes keep their texts
        dialog.SetAttributeLine(-1, u"plain"_s);

        auto *list = child<QListWidget>(&dialog, "lstProps");
        child<QLineEdit>(&dialog, "txtPropName")->clear();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(1)).center());
        QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), QString()); // no "=": nothing changes
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(0)).center());
        QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->text() == u"a"_s && child<QLineEdit>(&dialog, "txtPropValue")->text() == u"b=c"_s);
        child<QLineEdit>(&dialog, "txtPropName")->clear(); // the selected line, clicked again after an edit
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(0)).center());
        QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), u"a"_s);

        // Arrow keys through the list fill the boxes as clicks do.
        dialog.SetAttributeLine(-1, u"x=1"_s);
        QTest::keyClick(list, Qt::Key_Down);
        QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), u"a"_s); // "plain": nothing changes
        QTest::keyClick(list, Qt::Key_Down);
        QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->text() == u"x"_s && child<QLineEdit>(&dialog, "txtPropValue")->text() == u"1"_s);
        QTest::keyClick(list, Qt::Key_Up);
        QTest::keyClick(list, Qt::Key_Up);

        clickButton(&dialog, "cmdRemoveProp");
        QCOMPARE(dialog.lines(), (QStringList{u"plain"_s, u"x=1"_s}));
    }

    void editProperties_data()
    {
        // close: the button pressed, or "Escape"
        addColumns<QStringList, QString, QStringList, QStringList>("stored", "close", "shown", "after");
        const QStringList two{u"a=1"_s, u"b=2"_s};
        QTest::newRow("cancelled changes nothing") << two << u"cmdCancel"_s << two << two;
        QTest::newRow("Escape cancels") << two << u"Escape"_s << two << two;
        QTest::newRow("accepted rebuilds the list") << two << u"cmdFinish"_s << two << QStringList{u"b=2"_s, u"a=9"_s};
        QTest::newRow("accepted empty list clears") << QStringList{} << u"cmdFinish"_s << QStringList{} << QStringList{u"a=9"_s};
        QTest::newRow("a blank entry hides the rest") << QStringList{u"a=1"_s, u" "_s, u"c=3"_s} << u"cmdCancel"_s
            << QStringList{u"a=1"_s} << QStringList{u"a=1"_s, u" "_s, u"c=3"_s};
    }

    void editProperties()
    {
        const auto [stored, close, shown, after] =
            fetchRow<QStringList, QString, QStringList, QStringList>("stored", "close", "shown", "after");
        ScriptedDialogs script;
        Tamberline control;
        for (const QString &entry : stored)
            control.setElemAttribs(-1, entry);
        QStringList seen;
        script.onModal([&](QWidget *window) {
            auto *editor = qobject_cast<frmAddProp *>(window);
            QVERIFY(editor);
            seen = editor->lines();
            type(editor, "txtPropName", u"a"_s);
            type(editor, "txtPropValue", u"9"_s);
            clickButton(editor, "cmdAddProp");
            if (close == u"Escape")
                QTest::keyClick(child<QLineEdit>(editor, "txtPropValue"), Qt::Key_Escape);
            else
                clickButton(editor, qPrintable(close));
        });
        QCOMPARE(control.EditProperties(), close == u"cmdFinish");
        QCOMPARE(seen, shown);
        QCOMPARE(storedAttribs(control), after);
    }
};

QTEST_MAIN(tst_FrmAddProp)
#include "tst_frmaddprop.moc"
