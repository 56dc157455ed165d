// From a loaded 30,000-element page to the tree shown, and to the texts arriving after it.
// Prints figures; runs headless.
#include "pagegenerator.h"
#include "parser/documenttree.h"
#include "parser/nodetree.h"
#include "browser/webpage.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTemporaryDir>
#include <QTreeWidget>
#include <QWebEngineView>

#include <algorithm>
#include <cstdio>

namespace {

double median(QList<double> values)
{
    std::sort(values.begin(), values.end());
    return values.at(values.size() / 2);
}

} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    const int elements = argc > 1 ? QByteArray(argv[1]).toInt() : 30000;
    const int rounds = 5;

    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("page.html"));
    const QByteArray html = generatePage(elements);
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(html) != html.size())
        return 1;
    file.close();

    WebPage page;
    QWebEngineView view;
    view.setPage(&page);
    view.resize(1024, 768);
    view.show();
    QEventLoop loop;
    QObject::connect(&page, &QWebEnginePage::loadFinished, &loop, &QEventLoop::quit);
    page.load(QUrl::fromLocalFile(path));
    loop.exec();

    if (qEnvironmentVariableIsSet("BENCH_PROBE")) {
        page.runJavaScript(QString::fromUtf8(qgetenv("BENCH_PROBE")), WebPage::SafeJsWorld, [&](const QVariant &result) {
            std::printf("probe: %s\n", qPrintable(result.toString()));
            loop.quit();
        });
        loop.exec();
    }
    QTreeWidget tree;
    tree.resize(300, 700);
    tree.show();
    NodeTree nodes(&tree);

    const auto buildTree = [&](const Document &document) {
        BuildDocumentTree(document, nodes);
        QCoreApplication::processEvents(); // the tree shown
    };
    QList<double> oneStage, structures, toTree, texts;
    int count = 0;
    for (int round = 0; round < rounds; ++round) {
        // As the Page Parser reads a page: the elements, the tree built from them while the
        // browser computes the texts, then the texts.
        nodes.clear(); // the Page Parser clears it when the page starts to load
        QCoreApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        DocumentPtr complete;
        page.requestSnapshotInStages(
            [&](DocumentPtr structure) {
                if (!structure) {
                    loop.quit();
                    return;
                }
                structures.append(timer.nsecsElapsed() / 1e6);
                buildTree(*structure);
                toTree.append(timer.nsecsElapsed() / 1e6);
            },
            [&](DocumentPtr document) {
                complete = document;
                texts.append(timer.nsecsElapsed() / 1e6);
                loop.quit();
            });
        loop.exec();
        if (!complete || complete->textsPending || complete->unreadTextFrom >= 0)
            return 2;
        count = complete->length();

        // All in one snapshot, the tree after it.
        nodes.clear();
        QCoreApplication::processEvents();
        timer.restart();
        DocumentPtr document;
        page.requestSnapshot([&](DocumentPtr result) {
            document = result;
            loop.quit();
        });
        loop.exec();
        if (!document)
            return 2;
        buildTree(*document);
        oneStage.append(timer.nsecsElapsed() / 1e6);
    }
    std::printf("page: %d elements, %.2f MB, median of %d rounds\n", count, html.size() / 1e6, rounds);
    std::printf("elements read (script, transfer, parse): %6.1f ms\n", median(structures));
    std::printf("page to tree (the above + tree build):   %6.1f ms\n", median(toTree));
    std::printf("texts arrived:                           %6.1f ms\n", median(texts));
    std::printf("one snapshot with texts, then the tree:  %6.1f ms\n", median(oneStage));
    return 0;
}
