// From a loaded 30,000-element page to the tree shown: the browser snapshot and the tree build,
// measured apart. Prints figures; runs headless.
#include "pagegenerator.h"
#include "parser/documenttree.h"
#include "parser/nodetree.h"
#include "browser/browsersnapshot.h"
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

    QList<double> snapshots, builds, scripts, parses;
    int count = 0;
    for (int round = 0; round < rounds; ++round) {
        QElapsedTimer timer;
        timer.start();
        DocumentPtr document;
        page.requestSnapshot([&](DocumentPtr result) {
            document = result;
            loop.quit();
        });
        loop.exec();
        snapshots.append(timer.nsecsElapsed() / 1e6);
        if (!document)
            return 2;
        count = document->length();

        // The same snapshot in its two halves: the script with the transfer, and the parse.
        timer.restart();
        QString json;
        page.runJavaScript(QStringLiteral("window.__tamberline.snapshot({maxElements: 1000000, maxTextChars: 67108864, "
                                          "maxMilliseconds: 10000})"),
                           WebPage::SafeJsWorld, [&](const QVariant &result) {
                               json = result.toString();
                               loop.quit();
                           });
        loop.exec();
        scripts.append(timer.nsecsElapsed() / 1e6);
        timer.restart();
        documentFromSnapshotJson(json);
        parses.append(timer.nsecsElapsed() / 1e6);

        nodes.clear();
        QCoreApplication::processEvents();
        timer.restart();
        BuildDocumentTree(*document, nodes);
        QCoreApplication::processEvents(); // the tree shown
        builds.append(timer.nsecsElapsed() / 1e6);
    }
    std::printf("page: %d elements, %.2f MB\n", count, html.size() / 1e6);
    std::printf("snapshot (script, transfer, parse): median %.1f ms\n", median(snapshots));
    std::printf("  of which script and transfer:     median %.1f ms\n", median(scripts));
    std::printf("  of which JSON to Document:        median %.1f ms\n", median(parses));
    std::printf("tree build and first paint:         median %.1f ms\n", median(builds));
    std::printf("snapshot + build:                   %.1f ms\n", median(snapshots) + median(builds));
    return 0;
}
