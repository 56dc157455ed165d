#include "parser/documenttree.h"
#include "parser/nodetree.h"
#include "datatable.h"

#include <QTreeWidget>
#include <QtTest>

using namespace Qt::StringLiterals;

namespace {

// html > body > (count - 2) divs.
Document flatPage(int count)
{
    Document document;
    document.elements.reserve(count);
    document.elements.append({u"HTML"_s, -1});
    if (count > 1)
        document.elements.append({u"BODY"_s, 0});
    for (int i = 2; i < count; ++i)
        document.elements.append({u"DIV"_s, 1});
    return document;
}

// A chain of nested elements, each holding a text node before its child.
Document deepPage(int depth)
{
    Document document;
    for (int i = 0; i < depth; ++i) {
        Document::Element element{u"DIV"_s, i - 1};
        element.children.append(Document::ChildNode{-1, u"level %1"_s.arg(i)});
        if (i + 1 < depth)
            element.children.append(Document::ChildNode{i + 1, {}});
        document.elements.append(element);
    }
    return document;
}

} // namespace

class tst_DocumentTree : public QObject
{
    Q_OBJECT

private slots:
    void mirrorsThePage()
    {
        Document document;
        document.elements = {{u"HTML"_s, -1}, {u"HEAD"_s, 0}, {u"BODY"_s, 0}, {u"svg"_s, 2}, {u"P"_s, 2}, {u"COMMENT-LIKE"_s, -1}};
        QTreeWidget view;
        NodeTree tree(&view);
        BuildDocumentTree(document, tree);
        QCOMPARE(view.topLevelItemCount(), 1);
        QTreeWidgetItem *root = view.topLevelItem(0);
        QVERIFY(NodeTree::keyOf(root) == u"RootKey"_s && root->text(0) == u"Document"_s);
        // Elements without a parent hang under the root, the others under their parent.
        QVERIFY(root->childCount() == 2 && NodeTree::keyOf(root->child(1)) == u"K5"_s);
        QCOMPARE(tree.node(u"K3"_s)->parent(), tree.node(u"K2"_s));
        QCOMPARE(tree.node(u"K3"_s)->text(0), u"svg"_s);
        QVERIFY(!tree.node(u"K0"_s)->isExpanded());
        QCOMPARE(tree.count(), 7);

        tree.clear();
        BuildDocumentTree(Document(), tree);
        QCOMPARE(tree.count(), 1);
    }

    void sixteenBitLimit_data()
    {
        addColumns<int, int, int>("elements", "nodes", "error");
        QTest::newRow("32,767 elements fit") << 32767 << 32768 << 0;
        QTest::newRow("32,768 fill the tree, then overflow") << 32768 << 32769 << 6;
        QTest::newRow("32,769 leave the root alone") << 32769 << 1 << 6;
    }

    void sixteenBitLimit()
    {
        const auto [elements, nodes, error] = fetchRow<int, int, int>("elements", "nodes", "error");
        const Document document = flatPage(elements);
        QTreeWidget view;
        NodeTree tree(&view);
        QVERIFY((outcome([&] { BuildDocumentTree(document, tree); })) == (error ? u"error %1"_s.arg(error) : QString()) && tree.count() == nodes);
        QCOMPARE(view.topLevelItemCount(), 1); // the nodes added before the error are shown
    }

    void branchWithTextNodes()
    {
        Document document;
        Document::Element body{u"BODY"_s, -1};
        body.children = {{-1, u"Hello "_s}, {1, {}}, {2, {}}};
        document.elements = {body, {u"B"_s, 0, u"name"_s, {}, {{-1, u"world"_s}}}, {u"I"_s, 0, u" "_s}};
        QTreeWidget view;
        NodeTree tree(&view);
        tree.add(QString(), u"K99"_s, u"holder"_s);
        int16_t count = 0;
        AddElementBranch(document, 0, 99, tree, count);
        AddElementBranch(document, 3, 99, tree, count); // past the last element: nothing
        QCOMPARE(count, int16_t(5));
        QTreeWidgetItem *bodyNode = tree.node(u"K0"_s);
        QVERIFY(bodyNode->parent() == tree.node(u"K99"_s) && bodyNode->childCount() == 3);
        QVERIFY(bodyNode->child(0)->text(0) == u"Hello "_s && NodeTree::keyOf(bodyNode->child(0)).isNull()
                && NodeTree::colourOf(bodyNode->child(0)) == NodeTree::Blue);
        QVERIFY(NodeTree::colourOf(tree.node(u"K1"_s)) == NodeTree::Red && tree.node(u"K1"_s)->child(0)->text(0) == u"world"_s); // has an id
        QCOMPARE(NodeTree::colourOf(tree.node(u"K2"_s)), 0); // a blank id is no id

        // The counter is never reset and overflows like the rest.
        count = 32767;
        QCOMPARE(outcome([&] { AddElementBranch(document, 2, 0, tree, count); }), u"error 6"_s);
    }

    void branchOnADeepPage()
    {
        const Document document = deepPage(16000);
        QTreeWidget view;
        NodeTree tree(&view);
        tree.add(QString(), u"K-1"_s, u"holder"_s);
        int16_t count = 0;
        AddElementBranch(document, 0, -1, tree, count);
        QVERIFY(count == int16_t(32000) && tree.node(u"K15999"_s)->child(0)->text(0) == u"level 15999"_s);
    }

    void duplicateAndMissingKeys()
    {
        QTreeWidget view;
        NodeTree tree(&view);
        tree.add(QString(), u"K1"_s, u"A"_s);
        QVERIFY((outcome([&] { tree.add(QString(), u"K1"_s, u"B"_s); })) == u"error 35602"_s && (outcome([&] { tree.add(u"K7"_s, u"K8"_s, u"C"_s); })) == u"error 35601"_s);
        QCOMPARE(outcome([&] { tree.node(u"K8"_s); }), u"error 35601"_s);
    }
};

QTEST_MAIN(tst_DocumentTree)
#include "tst_documenttree.moc"
