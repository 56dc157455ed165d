#include "control/editorapplication.h"
#include "hostwindow.h"
#include "runcommand.h"
#include "browser/webpage.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QFileInfo>
#include <QTimer>

#include <cstdio>
#include <cstring>

namespace {

QString bundledExample()
{
    // Installed next to the program, or the source tree's copy for a build that is run in place.
    const QString beside = QCoreApplication::applicationDirPath() + QStringLiteral("/../share/tamberline/examples/query.json");
    if (QFileInfo::exists(beside))
        return beside;
    return QStringLiteral(TAMBERLINE_EXAMPLES_DIR "/query.json");
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1 && (std::strcmp(argv[1], "run") == 0 || std::strcmp(argv[1], "check") == 0))
        return runCommandMain(argc, argv);

    for (const QString &problem : {windowSystemProblem(), browserSandboxProblem()}) {
        if (!problem.isEmpty()) {
            std::fprintf(stderr, "tamberline: %s\n", qPrintable(problem));
            return 1;
        }
    }
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tamberline"));
    QApplication::setApplicationDisplayName(QStringLiteral("Tamberline"));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral("Designs and runs web queries."));
    parser.addHelpOption();
    const QCommandLineOption pageParser(QStringList{QStringLiteral("p"), QStringLiteral("page-parser")},
                                        QStringLiteral("Open the Page Parser on the query at once."));
    parser.addOption(pageParser);
    parser.addPositionalArgument(QStringLiteral("query"), QStringLiteral("Query file to open (default: the bundled example)."), QStringLiteral("[QUERY.json]"));
    parser.process(app);

    const QStringList arguments = parser.positionalArguments();
    const QString path = arguments.isEmpty() ? bundledExample() : arguments.first();

    HostWindow window;
    window.openFile(path);
    window.show();
    if (parser.isSet(pageParser))
        QTimer::singleShot(0, &window, &HostWindow::openPageParser);
    return app.exec();
}
