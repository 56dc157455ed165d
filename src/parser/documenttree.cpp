#include "documenttree.h"

#include "nodekeys.h"
#include "nodetree.h"
#include "platform/boundarytypes.h"
#include "document/textrules.h"

#include <QTreeWidgetItem>

namespace {

RuntimeError tooManyElements(int count)
{
    return RuntimeError(ErrorNumber::Overflow,
                        QStringLiteral("Overflow: the page has %1 elements and the element tree counts at most 32,767")
                            .arg(QLocale(QLocale::English).toString(count)));
}

void countBranchNode(int16_t &branchNodeCount)
{
    branchNodeCount = checkedInt16(static_cast<long long>(branchNodeCount) + 1);
}

} // namespace

void BuildDocumentTree(const Document &document, NodeTree &tree)
{
    NodeTree::Batch batch(tree);
    tree.add(QString(), RootKey, QStringLiteral("Document"));
    const int count = document.length();
    if (count < 1)
        return;
    int16_t last = 0;
    try {
        last = checkedInt16(count - 1);
    } catch (const RuntimeError &) {
        throw tooManyElements(count);
    }
    for (int i = 0; i <= last; ++i) {
        const Document::Element &element = document.item(i);
        const QString relative = element.parent < 0 ? RootKey : nodeKey(element.parent);
        tree.add(relative, nodeKey(i), element.tagName);
        if (i == last && last == INT16_MAX)
            throw tooManyElements(count); // the counter steps past 32,767
    }
}

void AddElementBranch(const Document &document, int element, int16_t parentNumber, NodeTree &tree,
                      int16_t &branchNodeCount)
{
    struct Frame {
        int element;
        int16_t number;
        qsizetype nextChild;
    };
    QList<Frame> stack;

    const auto enter = [&](int index, int16_t underNumber) {
        countBranchNode(branchNodeCount);
        const Document::Element &e = document.item(index);
        QTreeWidgetItem *node = tree.add(nodeKey(underNumber), nodeKey(index), e.tagName);
        const int16_t number = checkedInt16(index);
        if (!trimBlanks(e.id).isEmpty())
            NodeTree::setColour(node, NodeTree::Red);
        stack.append({index, number, 0});
    };

    if (element < 0 || element >= document.length())
        return;
    enter(element, parentNumber);
    while (!stack.isEmpty()) {
        Frame &frame = stack.last();
        const QList<Document::ChildNode> &children = document.item(frame.element).children;
        if (frame.nextChild >= children.size()) {
            stack.removeLast();
            continue;
        }
        const Document::ChildNode &child = children.at(frame.nextChild++);
        if (child.isElement()) {
            enter(child.element, frame.number); // may grow the stack: frame is not used after
        } else {
            countBranchNode(branchNodeCount);
            NodeTree::setColour(tree.add(nodeKey(frame.number), QString(), child.text), NodeTree::Blue);
        }
    }
}
