#include "runcommand.h"

#include "batchrun.h"
#include "browserloader.h"
#include "commandline.h"
#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "platform/handlerguard.h"
#include "platform/runtimeerror.h"
#include "browser/webpage.h"
#include "pagerun.h"
#include "queryrunner.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>
#include <QRegularExpression>
#include <QThreadPool>
#include <QtConcurrent>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

#include <sys/resource.h>

namespace {

enum class Engine { Static, Browser };
enum class Format { Text, Json };

struct Options {
    bool check = false;
    QString queryPath;
    QStringList pages;
    QHash<QString, QString> values;
    Engine engine = Engine::Static;
    Format format = Format::Text;
    int jobs = QThread::idealThreadCount();
    bool jobsGiven = false;
    BatchSettings batch; // used when valuesPath is set
};

// The options' names, as the parser and optionsFrom know them.
const QString SetOption = QStringLiteral("set");
const QString EngineOption = QStringLiteral("engine");
const QString FormatOption = QStringLiteral("format");
const QString JobsOption = QStringLiteral("jobs");
const QString ValuesOption = QStringLiteral("values");
const QString OutputOption = QStringLiteral("output");
const QString ResumeOption = QStringLiteral("resume");
const QString PerHostOption = QStringLiteral("per-host");
const QString DelayOption = QStringLiteral("delay");
const QString TimeoutOption = QStringLiteral("timeout");
const QString RetriesOption = QStringLiteral("retries");
const QString UserAgentOption = QStringLiteral("user-agent");
const QString QuietOption = QStringLiteral("quiet");

constexpr int AllGaveResults = 0;
constexpr int SomeGaveNone = 1;
constexpr int BadArguments = 2;

void printError(const QString &message)
{
    std::fprintf(stderr, "tamberline: %s\n", qPrintable(message));
}


double numberOption(const QCommandLineParser &parser, const QString &name, double least, double most)
{
    bool ok = false;
    const double value = parser.value(name).toDouble(&ok);
    if (!ok || value < least || value > most)
        throw RunError(QStringLiteral("--%1 wants a number from %2 to %3, not \"%4\"").arg(name).arg(least).arg(most).arg(parser.value(name)));
    return value;
}

BatchSettings batchSettingsFrom(const QCommandLineParser &parser, const Options &options)
{
    BatchSettings batch;
    batch.valuesPath = parser.value(ValuesOption);
    if (batch.valuesPath.isEmpty()) {
        for (const QString &name : {OutputOption, ResumeOption, PerHostOption, DelayOption, TimeoutOption, RetriesOption, UserAgentOption, QuietOption}) {
            if (parser.isSet(name))
                throw RunError(QStringLiteral("--%1 is for a batch: give the values with --values FILE").arg(name));
        }
        return batch;
    }
    if (options.engine == Engine::Browser)
        throw RunError(QStringLiteral("--values runs the static reader; --engine browser reads pages one list at a time"));
    batch.pages = options.pages;
    batch.setValues = options.values;
    batch.json = options.format == Format::Json;
    batch.outputPath = parser.value(OutputOption);
    batch.resume = parser.isSet(ResumeOption);
    if (batch.resume && batch.outputPath.isEmpty())
        throw RunError(QStringLiteral("--resume goes on with the rows in --output FILE: give it"));
    batch.quiet = parser.isSet(QuietOption);
    batch.fetch.perHost = int(numberOption(parser, PerHostOption, 1, 64));
    constexpr double hour = 3600; // the longest wait either option may ask for, in seconds
    batch.fetch.delayMs = int(numberOption(parser, DelayOption, 0, hour) * 1000);
    batch.fetch.timeoutMs = int(numberOption(parser, TimeoutOption, 0.1, hour) * 1000);
    batch.fetch.retries = int(numberOption(parser, RetriesOption, 0, 20));
    batch.fetch.userAgent = parser.value(UserAgentOption).toUtf8();
    batch.fetch.maxBytes = maxPageBytes();
    return batch;
}

// A command line that a shell reads back as these arguments.
QString shellCommand(const QStringList &arguments)
{
    QStringList quoted;
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9_./:=@%+,-]+$"));
    for (const QString &argument : arguments)
        quoted.append(plain.match(argument).hasMatch() ? argument : u'\'' + QString(argument).replace(u'\'', QStringLiteral("'\\''")) + u'\'');
    return quoted.join(u' ');
}

// What the options' values mean, once the parser has read them; a RunError says what is wrong.
Options optionsFrom(const QCommandLineParser &parser, bool check)
{
    Options options;
    options.check = check;
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty())
        throw RunError(QStringLiteral("%1 needs a query file").arg(check ? QStringLiteral("check") : QStringLiteral("run")));
    options.queryPath = positional.first();
    options.pages = positional.mid(1);
    if (options.check && options.pages.isEmpty())
        throw RunError(QStringLiteral("check needs the saved pages to run the query over"));
    if (options.pages.count(QStringLiteral("-")) > 1)
        throw RunError(QStringLiteral("standard input can be read once: give - as one page only"));
    if (options.check && parser.isSet(FormatOption))
        throw RunError(QStringLiteral("check prints a table; --format is for run"));
    for (const QString &pair : parser.values(SetOption)) {
        const qsizetype at = pair.indexOf(u'=');
        if (at <= 0)
            throw RunError(QStringLiteral("--set wants name=value, not \"%1\"").arg(pair));
        options.values.insert(pair.left(at), pair.mid(at + 1));
    }
    const QString engineName = parser.value(EngineOption);
    if (engineName != u"static" && engineName != u"browser")
        throw RunError(QStringLiteral("--engine is static or browser, not \"%1\"").arg(engineName));
    options.engine = engineName == u"browser" ? Engine::Browser : Engine::Static;
    const QString formatName = parser.value(FormatOption);
    if (formatName != u"text" && formatName != u"json")
        throw RunError(QStringLiteral("--format is text or json, not \"%1\"").arg(formatName));
    options.format = formatName == u"json" ? Format::Json : Format::Text;
    if (parser.isSet(JobsOption)) {
        bool ok = false;
        options.jobs = parser.value(JobsOption).toInt(&ok);
        if (!ok || options.jobs < 1)
            throw RunError(QStringLiteral("--jobs wants a whole number of at least 1"));
        options.jobsGiven = true;
    }
    if (!check)
        options.batch = batchSettingsFrom(parser, options);
    return options;
}

// Pages read at once beyond what the machine runs only wait, and each holds files open while
// it is read (the page, its thread's wake-up pipe, a fetch's sockets).
int mostJobs()
{
    constexpr long long filesPerJob = 8;
    constexpr long long filesKept = 32; // the program's own
    long long most = std::max(1, QThread::idealThreadCount()) * 4LL;
    rlimit files{};
    if (getrlimit(RLIMIT_NOFILE, &files) == 0 && files.rlim_cur != RLIM_INFINITY)
        most = std::min(most, (static_cast<long long>(files.rlim_cur) - filesKept) / filesPerJob);
    return int(std::max(1LL, most));
}


QList<RunResult> runPages(const Options &options, const QList<PageSource> &sources, const RunnableQuery &query)
{
    if (options.engine == Engine::Browser) {
        BrowserLoader loader;
        QList<RunResult> results;
        for (const PageSource &source : sources)
            results.append(runOnPage(source, query, [&](const PageSource &page) { return loader.load(page); }));
        return results;
    }
    QThreadPool pool;
    pool.setMaxThreadCount(options.jobs);
    return QtConcurrent::blockingMapped(&pool, sources, [&](const PageSource &source) { return runOnStaticPage(source, query); });
}

void printLine(const QByteArray &line)
{
    std::fwrite(line.constData(), 1, size_t(line.size()), stdout);
    std::fputc('\n', stdout);
}

QString shortened(const QString &text, int width)
{
    QString flat = text.simplified();
    return flat.size() > width ? flat.left(width - 1) + u'…' : flat;
}

void printTable(const QList<RunResult> &results)
{
    const auto index = [](int value) { return value < 0 ? QStringLiteral("-") : QString::number(value); };
    int pageWidth = 4;
    for (const RunResult &result : results)
        pageWidth = std::max(pageWidth, int(std::min<qsizetype>(result.page.size(), 48)));
    const auto scripted = [](const std::optional<bool> &value) {
        return !value ? QStringLiteral("-") : *value ? QStringLiteral("yes") : QStringLiteral("no");
    };
    const QString row = QStringLiteral("%1  %2  %3  %4  %5  %6  %7\n");
    std::printf("%s", qPrintable(row.arg(QStringLiteral("page"), -pageWidth)
                                     .arg(QStringLiteral("found"), 6)
                                     .arg(QStringLiteral("returned"), 8)
                                     .arg(QStringLiteral("text"), -40)
                                     .arg(QStringLiteral("matches"), 7)
                                     .arg(QStringLiteral("scripts"), -7)
                                     .arg(QStringLiteral("reason"))));
    for (const RunResult &result : results) {
        std::printf("%s", qPrintable(row.arg(shortened(result.page, 48), -pageWidth)
                                         .arg(index(result.found), 6)
                                         .arg(index(result.returned), 8)
                                         .arg(shortened(result.text, 40), -40)
                                         .arg(result.matches, 7)
                                         .arg(scripted(result.scripted), -7)
                                         .arg(result.succeeded() ? QStringLiteral("ok") : result.reason)));
    }
}

} // namespace

CommandLine runCommandLine(bool check)
{
    CommandLine line(check ? QStringLiteral("check") : QStringLiteral("run"),
                     {check ? QStringLiteral("tamberline check QUERY.json PAGE... [--set name=value ...]\n"
                                             "                 [--engine static|browser] [--jobs N]")
                            : QStringLiteral("tamberline run QUERY.json [PAGE ...] [--set name=value ...]\n"
                                             "               [--engine static|browser] [--format text|json] [--jobs N]\n"
                                             "               [--values FILE [--output FILE [--resume]] [--per-host N]\n"
                                             "               [--delay SECONDS] [--timeout SECONDS] [--retries N]\n"
                                             "               [--user-agent TEXT] [--quiet]]")},
                     check ? QStringLiteral("Print a table of what the query finds in each page, to see whether it "
                                            "survives changes of a page.")
                           : QStringLiteral("Run the query over pages and print what it returns from each, one line "
                                            "per page."),
                     check ? QStringLiteral("Columns: page, found, returned, text, matches, scripts (yes, no or -) and "
                                            "reason (ok when the page gave a result).")
                           : QStringLiteral("With --format text a page without a result has an empty line, and "
                                            "standard error says why. With --format json each line is an object with "
                                            "page, found, returned, tagName, text, matches, reason and scripted.\n"
                                            "With --values the query runs once per row of a value table, the row's "
                                            "values filling its %name% markers: over the pages given, or else over "
                                            "the row's filled address, fetched. The results come in the table's "
                                            "order, one line per row and page; JSON lines add row and values, and for "
                                            "fetched pages status and final (the address after redirects). "
                                            "A row that leaves a marker without a value is that row's bad-query."));
    line.addArgument(QStringLiteral("QUERY.json"), QStringLiteral("The query file, as the window saves it."));
    line.addArgument(QStringLiteral("PAGE"),
                     QStringLiteral("A file, - for standard input (once), or a file:, http: or https: address.")
                         + (check ? QString() : QStringLiteral(" None: the query's own address.")));
    line.addOption({SetOption, QStringLiteral("A value for the query's %name% markers; one --set per marker."),
                    QStringLiteral("name=value")});
    line.addOption({EngineOption,
                    QStringLiteral("static reads the page's HTML and runs no script; browser loads the page headless in "
                                   "the browser engine, for pages that scripts build."),
                    QStringLiteral("static|browser"), QStringLiteral("static")});
    QCommandLineOption format(FormatOption, QStringLiteral("text: the returned text, one line per page; json: one object per page."),
                              QStringLiteral("text|json"), QStringLiteral("text"));
    // Taken by check too, to say why it does not apply rather than that it is unknown.
    if (check)
        format.setFlags(QCommandLineOption::HiddenFromHelp);
    line.addOption(format);
    line.addOption({JobsOption,
                    QStringLiteral("Pages the static reader reads at once: one per core unless given; at most four "
                                   "per core and what the limit on open files allows.")
                        + (check ? QString() : QStringLiteral(" With --values also the requests at once over all hosts.")),
                    QStringLiteral("N")});
    if (!check) {
        line.addOption({ValuesOption,
                        QStringLiteral("A value table: CSV with a header row naming the markers, or JSON Lines of "
                                       "objects (by the extension .csv, .jsonl or .ndjson, else by a first {); - for "
                                       "standard input."),
                        QStringLiteral("FILE")});
        line.addOption({OutputOption,
                        QStringLiteral("With --values: append each row's results to FILE as they are done, in order, "
                                       "instead of standard output."),
                        QStringLiteral("FILE")});
        line.addOption({ResumeOption,
                        QStringLiteral("With --output: keep the rows FILE holds (cutting off a row written in part) "
                                       "and run only the others.")});
        line.addOption({PerHostOption, QStringLiteral("With --values: requests at once to one host."), QStringLiteral("N"),
                        QStringLiteral("2")});
        line.addOption({DelayOption, QStringLiteral("With --values: seconds from one request to the next to one host."),
                        QStringLiteral("SECONDS"), QStringLiteral("0")});
        line.addOption({TimeoutOption, QStringLiteral("With --values: seconds one request may take."),
                        QStringLiteral("SECONDS"), QStringLiteral("30")});
        line.addOption({RetriesOption,
                        QStringLiteral("With --values: tries again after a connection error, 429 or 5xx, pausing "
                                       "longer each time or as Retry-After says (at most 60 s); never after another "
                                       "4xx."),
                        QStringLiteral("N"), QStringLiteral("3")});
        line.addOption({UserAgentOption, QStringLiteral("With --values: the User-Agent of the requests."),
                        QStringLiteral("TEXT"), QStringLiteral("tamberline/" TAMBERLINE_VERSION)});
        line.addOption({QuietOption, QStringLiteral("With --values: no progress line on a terminal's standard error.")});
    }
    line.setClosing(QStringLiteral("Exit status: 0 when every page gave a result, 1 when some did not, 2 for wrong "
                                   "arguments or a bad query file; after SIGINT or SIGTERM a batch ends the rows under "
                                   "way, says how to resume and exits with 128 + the signal's number."));
    return line;
}

int runCommandMain(int argc, char *argv[])
{
    QStringList arguments = CommandLine::argumentsOf(argc, argv);
    const bool check = arguments.value(1) == u"check";
    arguments.removeAt(1); // the command word
    CommandLine commandLine = runCommandLine(check);
    if (const std::optional<int> status = commandLine.read(arguments))
        return *status;
    Options options;
    try {
        options = optionsFrom(commandLine.parser(), check);
    } catch (const RunError &error) {
        return commandLine.wrong(error.message());
    }

    // The browser engine needs the widget application and a display; the static one neither.
    std::unique_ptr<QCoreApplication> app;
    if (options.engine == Engine::Browser) {
        const QString problem = browserSandboxProblem();
        if (!problem.isEmpty()) {
            printError(problem);
            return BadArguments;
        }
        if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext.info=false\nqt.webenginecontext.debug=false"));
        app = std::make_unique<QApplication>(argc, argv);
    } else {
        app = std::make_unique<QCoreApplication>(argc, argv);
    }

    if (options.jobs > mostJobs()) {
        if (options.jobsGiven)
            printError(QStringLiteral("--jobs %1 is more than this machine reads at once; %2 are used").arg(options.jobs).arg(mostJobs()));
        options.jobs = mostJobs();
    }

    if (!options.batch.valuesPath.isEmpty()) {
        try {
            options.batch.queryPath = options.queryPath;
            options.batch.jobs = options.jobs;
            options.batch.fetch.jobs = options.jobs;
            QStringList again = CommandLine::argumentsOf(argc, argv);
            if (!again.contains(QStringLiteral("--") + ResumeOption))
                again.append(QStringLiteral("--") + ResumeOption);
            options.batch.resumeCommand = shellCommand(again);
            return runBatch(options.batch, QueryFile::load(options.queryPath));
        } catch (const QueryFileError &error) {
            printError(error.message());
            return BadArguments;
        }
    }

    RunnableQuery query;
    QList<PageSource> sources;
    try {
        const QueryFile file = QueryFile::load(options.queryPath);
        const auto address = options.pages.isEmpty() ? RunnableQuery::Address::Read : RunnableQuery::Address::Unused;
        query = RunnableQuery::from(file, options.values, QFileInfo(options.queryPath).absolutePath(), address);
        if (options.pages.isEmpty()) {
            if (query.url.isEmpty())
                throw RunError(QStringLiteral("give the pages to read: the query has no address"));
            sources.append(PageSource::fromAddress(query.url));
        } else {
            for (const QString &page : std::as_const(options.pages))
                sources.append(PageSource::fromArgument(page));
        }
    } catch (const QueryFileError &error) {
        printError(error.message());
        return BadArguments;
    } catch (const RunError &error) {
        printError(error.message());
        return BadArguments;
    } catch (const std::exception &error) {
        printError(QStringLiteral("cannot read the query %1: %2").arg(options.queryPath, QString::fromLocal8Bit(error.what())));
        return BadArguments;
    }

    const QList<RunResult> results = runPages(options, sources, query);
    bool allGaveResults = true;
    if (options.check)
        printTable(results);
    for (const RunResult &result : results) {
        allGaveResults = allGaveResults && result.succeeded();
        if (!result.succeeded())
            std::fprintf(stderr, "%s: %s: %s\n", qPrintable(result.page), qPrintable(result.reason), qPrintable(result.message));
        if (options.format == Format::Text && options.engine == Engine::Static && result.mayBeScriptsDoing())
            std::fprintf(stderr, "%s: the page runs scripts, which the static reader does not; try --engine browser\n",
                         qPrintable(result.page));
        if (options.check)
            continue;
        // A page without a result still has its line, an empty one: the lines stay the pages'.
        if (options.format == Format::Json)
            printLine(QJsonDocument(result.toJson()).toJson(QJsonDocument::Compact));
        else
            printLine(result.succeeded() ? oneLine(result.text).toUtf8() : QByteArray());
    }
    std::fflush(stdout);
    return allGaveResults ? AllGaveResults : SomeGaveNone;
}
