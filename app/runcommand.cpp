#include "runcommand.h"

#include "browserloader.h"
#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "platform/handlerguard.h"
#include "platform/runtimeerror.h"
#include "browser/webpage.h"
#include "queryrunner.h"

#include <QApplication>
#include <QCommandLineParser>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLoggingCategory>
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
};

constexpr int AllGaveResults = 0;
constexpr int SomeGaveNone = 1;
constexpr int BadArguments = 2;

void printError(const QString &message)
{
    std::fprintf(stderr, "tamberline: %s\n", qPrintable(message));
}

// Reads the arguments after the command word; a RunError says what is wrong.
Options parseArguments(const QStringList &arguments)
{
    Options options;
    options.check = arguments.value(1) == u"check";
    QCommandLineParser parser;
    parser.setSingleDashWordOptionMode(QCommandLineParser::ParseAsLongOptions);
    const QCommandLineOption set(QStringLiteral("set"), QStringLiteral("A value for a %name% marker."), QStringLiteral("name=value"));
    const QCommandLineOption engine(QStringLiteral("engine"), QStringLiteral("static (MyHTML) or browser."), QStringLiteral("engine"),
                                    QStringLiteral("static"));
    const QCommandLineOption format(QStringLiteral("format"), QStringLiteral("text or json."), QStringLiteral("format"),
                                    QStringLiteral("text"));
    const QCommandLineOption jobs(QStringLiteral("jobs"), QStringLiteral("Pages read at once."), QStringLiteral("N"));
    parser.addOptions({set, engine, format, jobs});
    QStringList rest = arguments;
    rest.removeAt(1); // the command word
    if (!parser.parse(rest))
        throw RunError(parser.errorText());
    const QStringList positional = parser.positionalArguments();
    if (positional.isEmpty())
        throw RunError(QStringLiteral("usage: tamberline %1 QUERY.json %2")
                           .arg(options.check ? QStringLiteral("check") : QStringLiteral("run"),
                                options.check ? QStringLiteral("PAGE... [--set name=value ...] [--engine static|browser] [--jobs N]")
                                              : QStringLiteral("[PAGE ...] [--set name=value ...] [--engine static|browser] "
                                                               "[--format text|json] [--jobs N]")));
    options.queryPath = positional.first();
    options.pages = positional.mid(1);
    if (options.check && options.pages.isEmpty())
        throw RunError(QStringLiteral("check needs the saved pages to run the query over"));
    if (options.pages.count(QStringLiteral("-")) > 1)
        throw RunError(QStringLiteral("standard input can be read once: give - as one page only"));
    if (options.check && parser.isSet(format))
        throw RunError(QStringLiteral("check prints a table; --format is for run"));
    for (const QString &pair : parser.values(set)) {
        const qsizetype at = pair.indexOf(u'=');
        if (at <= 0)
            throw RunError(QStringLiteral("--set wants name=value, not \"%1\"").arg(pair));
        options.values.insert(pair.left(at), pair.mid(at + 1));
    }
    const QString engineName = parser.value(engine);
    if (engineName != u"static" && engineName != u"browser")
        throw RunError(QStringLiteral("--engine is static or browser, not \"%1\"").arg(engineName));
    options.engine = engineName == u"browser" ? Engine::Browser : Engine::Static;
    const QString formatName = parser.value(format);
    if (formatName != u"text" && formatName != u"json")
        throw RunError(QStringLiteral("--format is text or json, not \"%1\"").arg(formatName));
    options.format = formatName == u"json" ? Format::Json : Format::Text;
    if (parser.isSet(jobs)) {
        bool ok = false;
        options.jobs = parser.value(jobs).toInt(&ok);
        if (!ok || options.jobs < 1)
            throw RunError(QStringLiteral("--jobs wants a whole number of at least 1"));
        options.jobsGiven = true;
    }
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

RunResult failed(const QString &page, const QString &reason, const QString &message)
{
    RunResult result;
    result.page = page;
    result.reason = reason;
    result.message = message;
    return result;
}

// Whatever goes wrong with one page is that page's error: the others still give their results,
// and nothing escapes a worker thread.
template<typename Load>
RunResult runOnPage(const PageSource &source, const RunnableQuery &query, Load load)
{
    const auto pageError = [&](const QString &message) { return failed(source.name, QStringLiteral("page-error"), message); };
    try {
        const DocumentPtr document = load(source);
        RunResult result = EvaluateQuery(*document, query, WildcardMatcher());
        result.page = source.name;
        return result;
    } catch (const PageError &error) {
        return pageError(error.message());
    } catch (const RuntimeError &error) {
        return pageError(runtimeErrorText(error));
    } catch (const std::bad_alloc &) {
        return pageError(QStringLiteral("not enough memory to read the page"));
    } catch (const std::exception &error) {
        return pageError(QString::fromLocal8Bit(error.what()));
    } catch (...) {
        return pageError(QStringLiteral("the page could not be read"));
    }
}

RunResult runOnStaticPage(const PageSource &source, const RunnableQuery &query)
{
    return runOnPage(source, query, readStaticDocument);
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

// One line per page: backslashes and line breaks are escaped as \\, \n and \r.
QString oneLine(const QString &text)
{
    QString line;
    line.reserve(text.size());
    for (const QChar c : text) {
        if (c == u'\\')
            line += QStringLiteral("\\\\");
        else if (c == u'\n')
            line += QStringLiteral("\\n");
        else if (c == u'\r')
            line += QStringLiteral("\\r");
        else
            line += c;
    }
    return line;
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

// What the query looks for may be there only once the page's scripts have run.
bool mayBeScriptsDoing(const RunResult &result)
{
    return result.scripted.value_or(false) && (result.reason == u"no-match" || result.reason == u"offset-out-of-range");
}

} // namespace

int runCommandMain(int argc, char *argv[])
{
    QStringList arguments;
    for (int i = 0; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));

    Options options;
    try {
        options = parseArguments(arguments);
    } catch (const RunError &error) {
        printError(error.message());
        return BadArguments;
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
        QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
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
        if (options.format == Format::Text && options.engine == Engine::Static && mayBeScriptsDoing(result))
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
