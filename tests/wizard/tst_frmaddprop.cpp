#include "control/controlaccess.h"
#include "freshquery.h"
#include "scripteddialogs.h"
#include "wizard/attributelist.h"
#include "wizard/frmaddprop.h"

#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QtTest>

namespace {

template <typename T>
T *child(QWidget *window, const char *name)
{
    return window->findChild<T *>(QString::fromLatin1(name));
}

void click(QWidget *window, const char *button)
{
    QTest::mouseClick(child<QPushButton>(window, button), Qt::LeftButton);
}

void type(QWidget *window, const char *box, const QString &text)
{
    auto *edit = child<QLineEdit>(window, box);
    edit->clear();
    QTest::keyClicks(edit, text);
}

} // namespace

class tst_FrmAddProp : public QObject
{
    Q_OBJECT

private slots:
    void init() { resetThreadQuery(); }
    void addReplacesByName_data();
    void addReplacesByName();
    void lineIndexes();
    void buttonsAndClicks();
    void editProperties_data();
    void editProperties();
};

void tst_FrmAddProp::addReplacesByName_data()
{
    QTest::addColumn<QStringList>("before");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("value");
    QTest::addColumn<bool>("added");
    QTest::addColumn<QStringList>("after");
    QTest::newRow("new name goes last") << QStringList{QStringLiteral("a=1")} << QStringLiteral("b") << QStringLiteral("2") << true
                                        << QStringList{QStringLiteral("a=1"), QStringLiteral("b=2")};
    QTest::newRow("same name moves to the end")
        << QStringList{QStringLiteral("id=1"), QStringLiteral("x=0")} << QStringLiteral("id") << QStringLiteral("2") << true
        << QStringList{QStringLiteral("x=0"), QStringLiteral("id=2")};
    QTest::newRow("every duplicate goes") << QStringList{QStringLiteral("id=1"), QStringLiteral("id=3")} << QStringLiteral("id")
                                          << QStringLiteral("2") << true << QStringList{QStringLiteral("id=2")};
    QTest::newRow("names differing in case are different")
        << QStringList{QStringLiteral("id=b")} << QStringLiteral("ID") << QStringLiteral("c") << true
        << QStringList{QStringLiteral("id=b"), QStringLiteral("ID=c")};
    QTest::newRow("blanks around are trimmed") << QStringList{} << QStringLiteral("  id ") << QStringLiteral(" v ") << true
                                               << QStringList{QStringLiteral("id=v")};
    QTest::newRow("empty value and values with =") << QStringList{} << QStringLiteral("a") << QStringLiteral("b=c") << true
                                                   << QStringList{QStringLiteral("a=b=c")};
    QTest::newRow("a longer name is not the same name")
        << QStringList{QStringLiteral("idx=1")} << QStringLiteral("id") << QString() << true
        << QStringList{QStringLiteral("idx=1"), QStringLiteral("id=")};
    QTest::newRow("blank name adds nothing") << QStringList{QStringLiteral("a=1")} << QStringLiteral("   ") << QStringLiteral("x")
                                             << false << QStringList{QStringLiteral("a=1")};
}

void tst_FrmAddProp::addReplacesByName()
{
    QFETCH(QStringList, before);
    QFETCH(QString, name);
    QFETCH(QString, value);
    QFETCH(bool, added);
    QFETCH(QStringList, after);
    frmAddProp dialog;
    for (const QString &line : before)
        dialog.SetAttributeLine(-1, line);
    QCOMPARE(dialog.AddProp(name, value), added);
    QCOMPARE(dialog.lines(), after);
}

void tst_FrmAddProp::lineIndexes()
{
    frmAddProp dialog;
    dialog.SetAttributeLine(-1, QStringLiteral("a=1"));
    dialog.SetAttributeLine(5, QStringLiteral("b=2"));
    dialog.SetAttributeLine(-1, QStringLiteral("a=1")); // taken as it is: no duplicate check
    dialog.SetAttributeLine(1, QStringLiteral("c=3"));  // in place
    QCOMPARE(dialog.lines(), (QStringList{QStringLiteral("a=1"), QStringLiteral("c=3"), QStringLiteral("a=1")}));
    QCOMPARE(dialog.GetAttributeLine(2), QStringLiteral("a=1"));
    QCOMPARE(dialog.GetAttributeLine(-1), QString());
    QCOMPARE(dialog.GetAttributeLine(3), QString());
    dialog.Reset();
    QVERIFY(dialog.lines().isEmpty());
    QVERIFY(!dialog.Confirmed());
}

void tst_FrmAddProp::buttonsAndClicks()
{
    ScriptedDialogs script;
    script.answerMessageBox(Dialogs::OK);
    frmAddProp dialog;
    QCOMPARE(dialog.windowTitle(), QStringLiteral("Add Node Attribute"));
    dialog.show();
    QVERIFY(QTest::qWaitForWindowActive(&dialog));
    QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->hasFocus());

    type(&dialog, "txtPropValue", QStringLiteral("lonely"));
    click(&dialog, "cmdAddProp");
    QCOMPARE(script.messageBoxes().size(), 1);
    QCOMPARE(script.messageBoxes().first().text, QStringLiteral("Please type in an attribute name"));
    QCOMPARE(script.messageBoxes().first().style, 16);
    QVERIFY(dialog.lines().isEmpty());

    type(&dialog, "txtPropName", QStringLiteral("a"));
    type(&dialog, "txtPropValue", QStringLiteral("b=c"));
    click(&dialog, "cmdAddProp");
    QVERIFY(child<QLineEdit>(&dialog, "txtPropName")->hasFocus());
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->selectedText(), QStringLiteral("a")); // the boxes keep their texts
    dialog.SetAttributeLine(-1, QStringLiteral("plain"));

    auto *list = child<QListWidget>(&dialog, "lstProps");
    child<QLineEdit>(&dialog, "txtPropName")->clear();
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(1)).center());
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), QString()); // no "=": nothing changes
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(0)).center());
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), QStringLiteral("a"));
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropValue")->text(), QStringLiteral("b=c"));

    // Arrow keys through the list fill the boxes as clicks do.
    dialog.SetAttributeLine(-1, QStringLiteral("x=1"));
    QTest::keyClick(list, Qt::Key_Down);
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), QStringLiteral("a")); // "plain": nothing changes
    QTest::keyClick(list, Qt::Key_Down);
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropName")->text(), QStringLiteral("x"));
    QCOMPARE(child<QLineEdit>(&dialog, "txtPropValue")->text(), QStringLiteral("1"));
    QTest::keyClick(list, Qt::Key_Up);
    QTest::keyClick(list, Qt::Key_Up);

    click(&dialog, "cmdRemoveProp");
    QCOMPARE(dialog.lines(), (QStringList{QStringLiteral("plain"), QStringLiteral("x=1")}));
    list->clearSelection();
    click(&dialog, "cmdRemoveProp");
    QCOMPARE(dialog.lines(), (QStringList{QStringLiteral("plain"), QStringLiteral("x=1")}));
    QVERIFY2(script.done(), qPrintable(script.pending()));
}

void tst_FrmAddProp::editProperties_data()
{
    QTest::addColumn<QStringList>("stored");
    QTest::addColumn<QString>("close"); // the button pressed, or "Escape"
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<QStringList>("after");
    const QStringList two{QStringLiteral("a=1"), QStringLiteral("b=2")};
    QTest::newRow("cancelled changes nothing") << two << QStringLiteral("cmdCancel") << two << two;
    QTest::newRow("Escape cancels") << two << QStringLiteral("Escape") << two << two;
    QTest::newRow("accepted rebuilds the list") << two << QStringLiteral("cmdFinish") << two
                                                << QStringList{QStringLiteral("b=2"), QStringLiteral("a=9")};
    QTest::newRow("accepted empty list clears") << QStringList{} << QStringLiteral("cmdFinish") << QStringList{} << QStringList{QStringLiteral("a=9")};
    QTest::newRow("a blank entry hides the rest")
        << QStringList{QStringLiteral("a=1"), QStringLiteral(" "), QStringLiteral("c=3")} << QStringLiteral("cmdCancel")
        << QStringList{QStringLiteral("a=1")} << QStringList{QStringLiteral("a=1"), QStringLiteral(" "), QStringLiteral("c=3")};
}

void tst_FrmAddProp::editProperties()
{
    QFETCH(QStringList, stored);
    QFETCH(QString, close);
    QFETCH(QStringList, shown);
    QFETCH(QStringList, after);
    ScriptedDialogs script;
    Tamberline control;
    for (const QString &entry : stored)
        control.setElemAttribs(-1, entry);
    QStringList seen;
    script.onModal([&](QWidget *window) {
        auto *editor = qobject_cast<frmAddProp *>(window);
        QVERIFY(editor);
        seen = editor->lines();
        type(editor, "txtPropName", QStringLiteral("a"));
        type(editor, "txtPropValue", QStringLiteral("9"));
        click(editor, "cmdAddProp");
        if (close == u"Escape")
            QTest::keyClick(child<QLineEdit>(editor, "txtPropValue"), Qt::Key_Escape);
        else
            click(editor, qPrintable(close));
    });
    QCOMPARE(control.EditProperties(), close == u"cmdFinish");
    QVERIFY2(script.done(), qPrintable(script.pending()));
    QCOMPARE(seen, shown);
    QCOMPARE(storedAttribs(control), after);
}

QTEST_MAIN(tst_FrmAddProp)
#include "tst_frmaddprop.moc"
