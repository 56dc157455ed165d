#include "commandline.h"
#include "control/editorapplication.h"
#include "hostwindow.h"
#include "runcommand.h"
#include "browser/webpage.h"

#include <QApplication>
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

const QString PageParserOption = QStringLiteral("page-parser");

CommandLine windowCommandLine()
{
    CommandLine line(QString(), {QStringLiteral("tamberline [--page-parser] [QUERY.json]")},
                     QStringLiteral("Tamberline designs web queries and runs them over pages."),
                     QStringLiteral("Without a command it opens the designer's window on the query file. The window "
                                    "needs a window system (DISPLAY, or QT_QPA_PLATFORM=offscreen); run and check "
                                    "need none."));
    line.addArgument(QStringLiteral("QUERY.json"), QStringLiteral("The query file to open (default: the bundled example)."));
    for (const bool check : {false, true})
        line.addCommand(runCommandLine(check));
    line.addOption({QStringList{QStringLiteral("p"), PageParserOption}, QStringLiteral("Open the Page Parser on the query at once.")});
    line.setClosing(QStringLiteral("'tamberline run --help' and 'tamberline check --help' describe the commands."));
    return line;
}

} // namespace

int main(int argc, char *argv[])
{
    if (argc > 1 && (std::strcmp(argv[1], "run") == 0 || std::strcmp(argv[1], "check") == 0))
        return runCommandMain(argc, argv);

    // Help needs no display; the rest is read once the application has taken out Qt's own options.
    CommandLine commandLine = windowCommandLine();
    if (const std::optional<int> status = commandLine.answerHelpOrVersion(CommandLine::argumentsOf(argc, argv)))
        return *status;
    for (const QString &problem : {windowSystemProblem(), browserSandboxProblem()}) {
        if (!problem.isEmpty()) {
            std::fprintf(stderr, "tamberline: %s\n", qPrintable(problem));
            return 1;
        }
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Tamberline"));

    if (const std::optional<int> status = commandLine.read(QApplication::arguments()))
        return *status;
    const QStringList arguments = commandLine.parser().positionalArguments();
    if (arguments.size() > 1)
        return commandLine.wrong(QStringLiteral("the window opens one query file"));
    const QString path = arguments.isEmpty() ? bundledExample() : arguments.first();

    HostWindow window;
    window.openFile(path);
    window.show();
    if (commandLine.parser().isSet(PageParserOption))
        QTimer::singleShot(0, &window, &HostWindow::openPageParser);
    return app.exec();
}
