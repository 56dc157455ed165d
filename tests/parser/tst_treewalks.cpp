#include "parser/frmmain.h"
#include "parser/treewalks.h"
#include "platform/settingsstore.h"
#include "scripteddialogs.h"
#include "testsettings.h"

#include <QKeyEvent>
#include <QMenu>
#include <QTreeWidget>
#include <QtTest>

namespace {

// R(A(A1, A2(A2a)), B(B1(B1a))), C(C1): built under the tree's first node as the tree code does.
void buildShape(NodeTree &tree)
{
    tree.add(QString(), QStringLiteral("R"), QStringLiteral("R"));
    tree.add(QStringLiteral("R"), QStringLiteral("A"), QStringLiteral("A"));
    tree.add(QStringLiteral("A"), QStringLiteral("A1"), QStringLiteral("A1"));
    tree.add(QStringLiteral("A"), QStringLiteral("A2"), QStringLiteral("A2"));
    tree.add(QStringLiteral("A2"), QStringLiteral("A2a"), QStringLiteral("A2a"));
    tree.add(QStringLiteral("R"), QStringLiteral("B"), QStringLiteral("B"));
    tree.add(QStringLiteral("B"), QStringLiteral("B1"), QStringLiteral("B1"));
    tree.add(QStringLiteral("B1"), QStringLiteral("B1a"), QStringLiteral("B1a"));
    tree.add(QString(), QStringLiteral("C"), QStringLiteral("C"));
    tree.add(QStringLiteral("C"), QStringLiteral("C1"), QStringLiteral("C1"));
}

// A chain of nodes, each the only child of the one before.
QTreeWidget *chainIn(frmMain &parser, int length)
{
    parser.show();
    parser.nodeTree().add(QString(), QStringLiteral("K0"), QStringLiteral("root"));
    for (int i = 1; i < length; ++i)
        parser.nodeTree().add(QStringLiteral("K%1").arg(i - 1), QStringLiteral("K%1").arg(i), QStringLiteral("n"));
    return parser.findChild<QTreeWidget *>(QStringLiteral("tvu"));
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

class tst_TreeWalks : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_settings = std::make_unique<TestSettings>(); }
    void cleanup() { m_settings.reset(); }
    void oneLevelAtATime();
    void emptyTree();
    void expandAllStopsAtEscape();
    void secondClickWhileExpanding();
    void collapseAll();
    void favorites();
    void favoriteNamesWithSlashes();
    void addingWithoutAPage();

private:
    std::unique_ptr<TestSettings> m_settings;
};

void tst_TreeWalks::oneLevelAtATime()
{
    QTreeWidget view;
    NodeTree tree(&view);
    buildShape(tree);
    // A last child opened is not entered on the same click: B1 waits for the third.
    const QStringList afterEachExpand{QStringLiteral("R C"), QStringLiteral("R A B C"), QStringLiteral("R A A2 B B1 C"),
                                      QStringLiteral("R A A2 B B1 C")};
    for (const QString &expected : afterEachExpand) {
        TreeWalks::ExpandOneLevel(&view);
        QCOMPARE(expanded(tree), expected);
    }
    // Each node whose first child is closed closes (R only on the second pass, once A has); a
    // later child keeps its own state.
    const QStringList afterEachCollapse{QStringLiteral("R A2 B"), QStringLiteral("A2 B"), QStringLiteral("A2 B")};
    for (const QString &expected : afterEachCollapse) {
        TreeWalks::CollapseOneLevel(&view);
        QCOMPARE(expanded(tree), expected);
    }
}

void tst_TreeWalks::emptyTree()
{
    frmMain parser;
    parser.cmdExpand_Click();
    parser.cmdCollapse_Click();
    parser.cmdExpandAll_Click();
    parser.cmdCollapseAll_Click();
    QCOMPARE(parser.nodeTree().count(), 0);
    QVERIFY(!parser.findChild<QTreeWidget *>(QStringLiteral("tvu"))->isHidden());
}

void tst_TreeWalks::expandAllStopsAtEscape()
{
    frmMain parser;
    QTreeWidget *view = chainIn(parser, 100);
    int opened = 0;
    bool hiddenMeanwhile = false;
    connect(view, &QTreeWidget::itemExpanded, this, [&] {
        hiddenMeanwhile = view->isHidden();
        if (++opened == 10) // the user presses Escape; the walk sees it at its next yield
            QCoreApplication::postEvent(view, new QKeyEvent(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier));
    });
    parser.cmdExpandAll_Click();
    QCOMPARE(opened, 10);
    QVERIFY(hiddenMeanwhile);
    QVERIFY(!view->isHidden()); // switched on again
}

void tst_TreeWalks::secondClickWhileExpanding()
{
    frmMain parser;
    QTreeWidget *view = chainIn(parser, 50);
    int opened = 0;
    bool hiddenAfterSecondClick = false;
    connect(view, &QTreeWidget::itemExpanded, this, [&] {
        if (++opened == 5) {
            parser.cmdExpandAll_Click(); // returns at once: its walk is already running
            hiddenAfterSecondClick = view->isHidden();
        }
    });
    parser.cmdExpandAll_Click();
    QCOMPARE(opened, 50); // one walk over every node
    QVERIFY(hiddenAfterSecondClick);
    QVERIFY(!view->isHidden());
}

void tst_TreeWalks::collapseAll()
{
    frmMain parser;
    parser.show();
    NodeTree &tree = parser.nodeTree();
    buildShape(tree);
    for (QTreeWidgetItem *node : tree.nodesInOrder())
        node->setExpanded(true);
    parser.cmdCollapseAll_Click();
    QCOMPARE(expanded(tree), QString());
}

void tst_TreeWalks::favorites()
{
    for (int i = 1; i <= 10; ++i)
        SettingsStore::saveSetting(QStringLiteral("Favorites"), QStringLiteral("Site %1").arg(QChar(u'A' + i - 1)),
                                   QStringLiteral("http://site%1.example/").arg(i));
    frmMain parser;
    const QList<QAction *> items = parser.favoriteItems();
    QCOMPARE(items.size(), 10);
    QCOMPARE(items.at(0)->text(), QStringLiteral("&1. Site A"));
    QCOMPARE(items.at(9)->text(), QStringLiteral("&10. Site J"));
    QCOMPARE(items.at(9)->data().toString(), QStringLiteral("http://site10.example/"));
    QVERIFY(items.at(9)->isVisible());

    // Adding under a known name replaces its address; a blank name is a name.
    ScriptedDialogs script;
    script.answerInputBox(QStringLiteral("Site A"));
    script.answerInputBox(QStringLiteral(" "));
    script.answerInputBox(QString()); // Cancel
    parser.mnu_Favorites_Add_Click();
    parser.mnu_Favorites_Add_Click();
    parser.mnu_Favorites_Add_Click();
    QVERIFY2(script.done(), qPrintable(script.pending()));
    const auto stored = SettingsStore::getAllSettings(QStringLiteral("Favorites"));
    QCOMPARE(stored.size(), 11);
    QVERIFY(stored.contains(std::pair(QStringLiteral("Site A"), QStringLiteral("http://www.example.com/"))));
    QVERIFY(stored.contains(std::pair(QStringLiteral(" "), QStringLiteral("http://www.example.com/"))));
    QCOMPARE(parser.favoriteItems().size(), 11);
    QCOMPARE(script.inputBoxes().first().title, QStringLiteral("Add To Favorites"));
    QCOMPARE(script.inputBoxes().first().prompt, QStringLiteral("Type a name for this address to appear in the favorites menu:"));
}

void tst_TreeWalks::favoriteNamesWithSlashes()
{
    SettingsStore::saveSetting(QStringLiteral("Favorites"), QStringLiteral("a/b\\c %2F"), QStringLiteral("http://x/"));
    const auto stored = SettingsStore::getAllSettings(QStringLiteral("Favorites"));
    QCOMPARE(stored, (QList<std::pair<QString, QString>>{{QStringLiteral("a/b\\c %2F"), QStringLiteral("http://x/")}}));
}

void tst_TreeWalks::addingWithoutAPage()
{
    frmMain parser;
    // No favorites: the designed first item stays, hidden.
    QCOMPARE(parser.favoriteItems().size(), 1);
    QVERIFY(!parser.favoriteItems().first()->isVisible());
    ScriptedDialogs script;
    script.answerInputBox(QStringLiteral("Mine"));
    parser.mnu_Favorites_Add_Click();
    QCOMPARE(script.inputBoxes().first().defaultText, QStringLiteral("Untitled"));
    QCOMPARE(SettingsStore::getSetting(QStringLiteral("Favorites"), QStringLiteral("Mine")), QStringLiteral("http://www.example.com/"));
    QCOMPARE(parser.favoriteItems().first()->text(), QStringLiteral("&1. Mine"));
    QVERIFY(parser.favoriteItems().first()->isVisible());
}

QTEST_MAIN(tst_TreeWalks)
#include "tst_treewalks.moc"
