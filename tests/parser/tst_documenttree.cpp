#include "parser/documenttree.h"
#include "parser/nodetree.h"
#include "platform/runtimeerror.h"

#include <QTreeWidget>
#include <QtTest>

namespace {

// html > body > (count - 2) divs.
Document flatPage(int count)
{
    Document document;
    document.elements.reserve(count);
    document.elements.append({QStringLiteral("HTML"), -1});
    if (count > 1)
        document.elements.append({QStringLiteral("BODY"), 0});
    for (int i = 2; i < count; ++i)
        document.elements.append({QStringLiteral("DIV"), 1});
    return document;
}

// A chain of nested elements, each holding a text node before its child.
Document deepPage(int depth)
{
    Document document;
    for (int i = 0; i < depth; ++i) {
        Document::Element element{QStringLiteral("DIV"), i - 1};
        element.children.append(Document::ChildNode{-1, QStringLiteral("level %1").arg(i)});
        if (i + 1 < depth)
            element.children.append(Document::ChildNode{i + 1, {}});
        document.elements.append(element);
    }
    return document;
}

int errorOf(const std::function<void()> &call)
{
    try {
        call();
    } catch (const RuntimeError &error) {
        return error.number();
    }
    return 0;
}

} // namespace

class tst_DocumentTree : public QObject
{
    Q_OBJECT

private slots:
    void mirrorsThePage();
    void sixteenBitLimit_data();
    void sixteenBitLimit();
    void branchWithTextNodes();
    void branchOnADeepPage();
    void duplicateAndMissingKeys();
};

void tst_DocumentTree::mirrorsThePage()
{
    Document document;
    document.elements = {{QStringLiteral("HTML"), -1},
                         {QStringLiteral("HEAD"), 0},
                         {QStringLiteral("BODY"), 0},
                         {QStringLiteral("svg"), 2},
                         {QStringLiteral("P"), 2},
                         {QStringLiteral("COMMENT-LIKE"), -1}};
    QTreeWidget view;
    NodeTree tree(&view);
    BuildDocumentTree(document, tree);
    QCOMPARE(view.topLevelItemCount(), 1);
    QTreeWidgetItem *root = view.topLevelItem(0);
    QCOMPARE(NodeTree::keyOf(root), QStringLiteral("RootKey"));
    QCOMPARE(root->text(0), QStringLiteral("Document"));
    // Elements without a parent hang under the root, the others under their parent.
    QCOMPARE(root->childCount(), 2);
    QCOMPARE(NodeTree::keyOf(root->child(1)), QStringLiteral("K5"));
    QCOMPARE(tree.node(QStringLiteral("K3"))->parent(), tree.node(QStringLiteral("K2")));
    QCOMPARE(tree.node(QStringLiteral("K3"))->text(0), QStringLiteral("svg"));
    QVERIFY(!tree.node(QStringLiteral("K0"))->isExpanded());
    QCOMPARE(tree.count(), 7);

    tree.clear();
    BuildDocumentTree(Document(), tree);
    QCOMPARE(tree.count(), 1);
}

void tst_DocumentTree::sixteenBitLimit_data()
{
    QTest::addColumn<int>("elements");
    QTest::addColumn<int>("nodes");
    QTest::addColumn<int>("error");
    QTest::newRow("32,767 elements fit") << 32767 << 32768 << 0;
    QTest::newRow("32,768 fill the tree, then overflow") << 32768 << 32769 << 6;
    QTest::newRow("32,769 leave the root alone") << 32769 << 1 << 6;
    QTest::newRow("100,000 leave the root alone") << 100000 << 1 << 6;
}

void tst_DocumentTree::sixteenBitLimit()
{
    QFETCH(int, elements);
    QFETCH(int, nodes);
    QFETCH(int, error);
    const Document document = flatPage(elements);
    QTreeWidget view;
    NodeTree tree(&view);
    QCOMPARE(errorOf([&] { BuildDocumentTree(document, tree); }), error);
    QCOMPARE(tree.count(), nodes);
    QCOMPARE(view.topLevelItemCount(), 1); // the nodes added before the error are shown
}

void tst_DocumentTree::branchWithTextNodes()
{
    Document document;
    Document::Element body{QStringLiteral("BODY"), -1};
    body.children = {{-1, QStringLiteral("Hello ")}, {1, {}}, {2, {}}};
    document.elements = {body,
                         {QStringLiteral("B"), 0, QStringLiteral("name"), {}, {{-1, QStringLiteral("world")}}},
                         {QStringLiteral("I"), 0, QStringLiteral(" ")}};
    QTreeWidget view;
    NodeTree tree(&view);
    tree.add(QString(), QStringLiteral("K99"), QStringLiteral("holder"));
    int16_t count = 0;
    AddElementBranch(document, 0, 99, tree, count);
    QCOMPARE(count, int16_t(5));
    QTreeWidgetItem *bodyNode = tree.node(QStringLiteral("K0"));
    QCOMPARE(bodyNode->parent(), tree.node(QStringLiteral("K99")));
    QCOMPARE(bodyNode->childCount(), 3);
    QCOMPARE(bodyNode->child(0)->text(0), QStringLiteral("Hello "));
    QCOMPARE(NodeTree::colourOf(bodyNode->child(0)), NodeTree::Blue);
    QCOMPARE(NodeTree::keyOf(bodyNode->child(0)), QString());
    QCOMPARE(NodeTree::colourOf(tree.node(QStringLiteral("K1"))), NodeTree::Red); // has an id
    QCOMPARE(tree.node(QStringLiteral("K1"))->child(0)->text(0), QStringLiteral("world"));
    QCOMPARE(NodeTree::colourOf(tree.node(QStringLiteral("K2"))), 0); // a blank id is no id

    // The counter is never reset and overflows like the rest.
    count = 32767;
    QCOMPARE(errorOf([&] { AddElementBranch(document, 2, 0, tree, count); }), 6);
}

void tst_DocumentTree::branchOnADeepPage()
{
    const Document document = deepPage(16000);
    QTreeWidget view;
    NodeTree tree(&view);
    tree.add(QString(), QStringLiteral("K-1"), QStringLiteral("holder"));
    int16_t count = 0;
    AddElementBranch(document, 0, -1, tree, count);
    QCOMPARE(count, int16_t(32000));
    QCOMPARE(tree.node(QStringLiteral("K15999"))->child(0)->text(0), QStringLiteral("level 15999"));
}

void tst_DocumentTree::duplicateAndMissingKeys()
{
    QTreeWidget view;
    NodeTree tree(&view);
    tree.add(QString(), QStringLiteral("K1"), QStringLiteral("A"));
    QCOMPARE(errorOf([&] { tree.add(QString(), QStringLiteral("K1"), QStringLiteral("B")); }), 35602);
    QCOMPARE(errorOf([&] { tree.add(QStringLiteral("K7"), QStringLiteral("K8"), QStringLiteral("C")); }), 35601);
    QCOMPARE(errorOf([&] { tree.node(QStringLiteral("K8")); }), 35601);
    QCOMPARE(tree.count(), 1);
}

QTEST_MAIN(tst_DocumentTree)
#include "tst_documenttree.moc"
