#include "parser/frmmain.h"
#include "parser/treewalks.h"
#include "parserdriver.h"
#include "platform/settingsstore.h"
#include "datatable.h"

#include <QComboBox>
#include <QKeyEvent>
#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// R(A(A1, A2(A2a)), B(B1(B1a))), C(C1): built under the tree's first node as the tree code does.
void buildShape(NodeTree &tree)
{
    tree.add(QString(), u"R"_s, u"R"_s);
    tree.add(u"R"_s, u"A"_s, u"A"_s);
    tree.add(u"A"_s, u"A1"_s, u"A1"_s);
    tree.add(u"A"_s, u"A2"_s, u"A2"_s);
    tree.add(u"A2"_s, u"A2a"_s, u"A2a"_s);
    tree.add(u"R"_s, u"B"_s, u"B"_s);
    tree.add(u"B"_s, u"B1"_s, u"B1"_s);
    tree.add(u"B1"_s, u"B1a"_s, u"B1a"_s);
    tree.add(QString(), u"C"_s, u"C"_s);
    tree.add(u"C"_s, u"C1"_s, u"C1"_s);
}

// A chain of nodes, each the only child of the one before.
QTreeWidget *chainIn(frmMain &parser, int length)
{
    parser.show();
    parser.nodeTree().add(QString(), u"K0"_s, u"root"_s);
    for (int i = 1; i < length; ++i)
        parser.nodeTree().add(u"K%1"_s.arg(i - 1), u"K%1"_s.arg(i), u"n"_s);
    return parser.findChild<QTreeWidget *>(u"tvu"_s);
}

QString expanded(const NodeTree &tree)
{
    QStringList open;
    for (const QTreeWidgetItem *node : tree.nodesInOrder()) {
        if (node->isExpanded())
            open.append(node->text(0));
    }
    return open.join(u' ');
}

} // namespace

class tst_TreeWalks : public ParserTestCase
{
    Q_OBJECT

private slots:
    void oneLevelAtATime()
    {
        QTreeWidget view;
        NodeTree tree(&view);
        buildShape(tree);
        // A last child opened is not entered on the same click: B1 waits for the third.
        const QStringList afterEachExpand{u"R C"_s, u"R A B C"_s, u"R A A2 B B1 C"_s, u"R A A2 B B1 C"_s};
        for (const QString &expected : afterEachExpand) {
            TreeWalks::ExpandOneLevel(&view);
            QCOMPARE(expanded(tree), expected);
        }
        // Each node whose first child is closed closes (R only on the second pass, once A has); a
        // later child keeps its own state.
        const QStringList afterEachCollapse{u"R A2 B"_s, u"A2 B"_s, u"A2 B"_s};
        for (const QString &expected : afterEachCollapse) {
            TreeWalks::CollapseOneLevel(&view);
            QCOMPARE(expanded(tree), expected);
        }
    }

    // The tree is hidden while the walk runs. Escape stops it; a second click starts no second
    // walk.
    void expandAllWhileRunning_data()
    {
        addColumns<int, int>("interruption", "opened");
        QTest::newRow("Escape stops the walk") << 0 << 10;
        QTest::newRow("a second click is ignored") << 1 << 50;
        QTest::newRow("a new page stops it") << 2 << 10;
    }

    void expandAllWhileRunning()
    {
        const auto [interruption, expectedOpened] = fetchRow<int, int>("interruption", "opened");
        frmMain parser;
        QTreeWidget *view = chainIn(parser, 50);
        parser.show();
        const QWidget *buttons = parser.findChild<QWidget *>(u"cmdExpandAll"_s);
        const QPoint buttonsAt = buttons->pos();
        int opened = 0;
        bool hiddenMeanwhile = false;
        connect(view, &QTreeWidget::itemExpanded, this, [&] {
            if (++opened != 10)
                return;
            if (interruption == 0) // the walk sees the key at its next yield
                QCoreApplication::postEvent(view, new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
            else if (interruption == 1)
                parser.cmdExpandAll_Click(); // returns at once
            else
                parser.nodeTree().clear(); // the nodes still to walk are gone
            // The buttons below the tree keep their place while it is hidden.
            hiddenMeanwhile = view->isHidden() && buttons->pos() == buttonsAt;
        });
        parser.cmdExpandAll_Click();
        QCOMPARE(opened, expectedOpened);
        QVERIFY(hiddenMeanwhile);
        QVERIFY(!view->isHidden()); // switched on again
    }

    void collapseAll()
    {
        frmMain parser;
        parser.show();
        // No page yet: no progress strip over the status bar, every walk has nothing to do, and
        // the tree stays on.
        auto *strip = parser.findChild<QWidget *>(u"pctProgress"_s);
        QVERIFY(!strip->isVisible());
        // The engine's progress shows until it reports the whole page.
        Q_EMIT parser.page()->loadProgress(50);
        const bool shownMeanwhile = strip->isVisible();
        Q_EMIT parser.page()->loadProgress(100);
        QVERIFY(shownMeanwhile && !strip->isVisible());
        parser.cmdExpand_Click();
        parser.cmdCollapse_Click();
        parser.cmdExpandAll_Click();
        parser.cmdCollapseAll_Click();
        QVERIFY(!parser.findChild<QTreeWidget *>(u"tvu"_s)->isHidden());
        NodeTree &tree = parser.nodeTree();
        QCOMPARE(tree.count(), 0);
        buildShape(tree);
        for (QTreeWidgetItem *node : tree.nodesInOrder())
            node->setExpanded(true);
        const QString all = expanded(tree);
        clickButton(&parser, "cmdCollapse");
        QVERIFY(expanded(tree) != all);
        clickButton(&parser, "cmdCollapseAll");
        QCOMPARE(expanded(tree), QString());
        clickButton(&parser, "cmdExpand");
        QCOMPARE(expanded(tree), u"R C"_s);
        clickButton(&parser, "cmdExpandAll");
        QTRY_COMPARE(expanded(tree), all);
    }

    void favorites()
    {
        for (int i = 1; i <= 10; ++i)
            SettingsStore::saveSetting(u"Favorites"_s, u"Site %1"_s.arg(QChar(u'A' + i - 1)), u"http://site%1.example/"_s.arg(i));
        frmMain parser;
        const QList<QAction *> items = parser.favoriteItems();
        QVERIFY(items.size() == 10 && items.at(0)->text() == u"&1. Site A"_s && items.at(9)->isVisible());
        QVERIFY(items.at(9)->text() == u"&10. Site J"_s && items.at(9)->data().toString() == u"http://site10.example/"_s);

        // Adding under a known name replaces its address; a blank name is a name.
        ScriptedDialogs script;
        script.answerInputBox(u"Site A"_s);
        script.answerInputBox(u" "_s);
        script.answerInputBox(QString()); // Cancel
        parser.mnu_Favorites_Add_Click();
        parser.mnu_Favorites_Add_Click();
        parser.mnu_Favorites_Add_Click();
        const auto stored = SettingsStore::getAllSettings(u"Favorites"_s);
        QCOMPARE(stored.size(), 11);
        QVERIFY(stored.contains(std::pair(u"Site A"_s, u"http://www.example.com/"_s)));
        QVERIFY(stored.contains(std::pair(u" "_s, u"http://www.example.com/"_s)));
        QCOMPARE(parser.favoriteItems().size(), 11);
        QCOMPARE(script.inputBoxes().first().title, u"Add To Favorites"_s);
        QCOMPARE(script.inputBoxes().first().prompt, u"Type a name for this address to appear in the favorites menu:"_s);
        // Picking one, the form's own first item or a made one, goes to its address.
        for (QAction *picked : {child<QAction>(&parser, "mnu_Favorites_Nav_10"), child<QAction>(&parser, "mnu_Favorites_Nav_0")}) {
            picked->trigger();
            QCOMPARE(child<QComboBox>(&parser, "cmboUrl")->currentText(), picked->data().toString());
            QCOMPARE(parser.page()->requestedUrl(), QUrl(picked->data().toString()));
        }
    }

    void favoriteNamesWithSlashes()
    {
        SettingsStore::saveSetting(u"Favorites"_s, u"a/b\\c %2F"_s, u"http://x/"_s);
        const auto stored = SettingsStore::getAllSettings(u"Favorites"_s);
        QCOMPARE(stored, (QList<std::pair<QString, QString>>{{u"a/b\\c %2F"_s, u"http://x/"_s}}));
    }

    void addingWithoutAPage()
    {
        frmMain parser;
        // No favorites: the designed first item stays, hidden.
        QCOMPARE(parser.favoriteItems().size(), 1);
        QVERIFY(!parser.favoriteItems().first()->isVisible());
        ScriptedDialogs script;
        script.answerInputBox(u"Mine"_s);
        triggerMenu(&parser, "mnu_Favorites_Add");
        QCOMPARE(script.inputBoxes().first().defaultText, u"Untitled"_s);
        QCOMPARE(SettingsStore::getSetting(u"Favorites"_s, u"Mine"_s), u"http://www.example.com/"_s);
        QCOMPARE(parser.favoriteItems().first()->text(), u"&1. Mine"_s);
        QVERIFY(parser.favoriteItems().first()->isVisible());
    }
};

QTEST_MAIN(tst_TreeWalks)
#include "tst_treewalks.moc"
