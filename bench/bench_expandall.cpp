// "Expand All" over the tree of a 30,000-element page as the Page Parser runs it (the tree
// switched off, one yield to the event loop per node): the whole walk, and the longest step
// between two yields, which bounds how long an Escape waits. Prints figures.
#include "pagegenerator.h"
#include "parser/documenttree.h"
#include "parser/nodetree.h"
#include "parser/treewalks.h"
#include "html/htmldocument.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    const DocumentPtr page = parseHtmlDocument(generatePage(30000), QStringLiteral("file:///bench.html"));
    QTreeWidget view;
    view.resize(300, 700);
    view.show();
    NodeTree tree(&view);
    for (int round = 0; round < 3; ++round) {
        tree.clear();
        BuildDocumentTree(*page, tree);
        QCoreApplication::processEvents();
        const QList<QTreeWidgetItem *> nodes = tree.nodesInOrder();
        QElapsedTimer walk, step;
        qint64 longestStep = 0;
        view.hide();
        walk.start();
        step.start();
        TreeWalks::SetAllExpanded(
            nodes, true,
            [&] {
                longestStep = std::max(longestStep, step.nsecsElapsed());
                QCoreApplication::processEvents();
                step.restart();
            },
            [] { return false; });
        const double total = walk.nsecsElapsed() / 1e6;
        view.show();
        QCoreApplication::processEvents();
        std::printf("Expand All over %d nodes: %.0f ms in all, longest step between yields %.2f ms\n", int(nodes.size()),
                    total, longestStep / 1e6);
    }
    return 0;
}
