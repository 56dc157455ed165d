#include "batchrun.h"

#include "pagerun.h"
#include "pagesource.h"
#include "progressline.h"
#include "queryfile.h"
#include "queryrunner.h"
#include "resultlog.h"
#include "stopsignals.h"
#include "valuetable.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QFutureWatcher>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>
#include <QThreadPool>
#include <QtConcurrent>

#include <csignal>
#include <cerrno>
#include <cstring>

#include <cstdio>
#include <deque>
#include <optional>

namespace {

void printError(const QString &message)
{
    std::fprintf(stderr, "tamberline: %s\n", qPrintable(message));
}

// A page given on the command line, read once for every row.
struct GivenPage {
    PageSource source;
    DocumentPtr document;
    QString error;
};

class BatchRun : public QObject
{
public:
    BatchRun(const BatchSettings &settings, const QueryFile &query, ValueTable &table, ResultLog &log, StopSignals &stopSignals);
    int run();

private:
    struct Pending {
        qint64 number;
        QList<std::pair<QString, QString>> values;
        QList<std::optional<RunResult>> results;
        int left;
    };

    void fill();
    void startRow(ValueRow row);
    void startPage(qint64 number, int page, const RunnableQuery &query);
    void fetched(qint64 number, const PageSource &source, const RunnableQuery &query, const Fetched &page);
    void complete(qint64 number, int page, RunResult result);
    void writeReady();
    QByteArray linesOf(const Pending &row);
    void warnUnusedColumns(const ValueRow &row);
    void stop(int signalNumber);

    const BatchSettings &m_settings;
    const QueryFile &m_query;
    const QString m_folder;
    ValueTable &m_table;
    ResultLog &m_log;
    StopSignals &m_stopSignals;
    QList<GivenPage> m_pages;
    QSet<QString> m_markers; // case-folded
    QSet<QString> m_warned;
    QThreadPool m_pool;
    PoliteFetcher m_fetcher;
    ProgressLine m_progress;
    std::deque<Pending> m_window;
    size_t m_windowSize;
    bool m_tableEnded = false;
    bool m_filling = false;
    bool m_writeFailed = false;
    int m_stoppedBy = 0;
    qint64 m_written = 0;
    qint64 m_failures = 0;
    qint64 m_total = -1;
    bool m_allGaveResults = true;
};

BatchRun::BatchRun(const BatchSettings &settings, const QueryFile &query, ValueTable &table, ResultLog &log, StopSignals &stopSignals)
    : m_settings(settings)
    , m_query(query)
    , m_folder(QFileInfo(settings.queryPath).absolutePath())
    , m_table(table)
    , m_log(log)
    , m_stopSignals(stopSignals)
    , m_fetcher(settings.fetch)
    , m_progress(settings.quiet)
    // Enough rows to keep every job busy while a slow one holds up the writing.
    , m_windowSize(size_t(std::clamp(settings.jobs * 16, 64, 2048)))
{
    m_pool.setMaxThreadCount(settings.jobs);
    const auto address = settings.pages.isEmpty() ? RunnableQuery::Address::Read : RunnableQuery::Address::Unused;
    for (const QString &name : RunnableQuery::markerNames(query, address))
        m_markers.insert(name.toCaseFolded());
    for (const QString &name : settings.pages) {
        GivenPage page{PageSource::fromArgument(name), {}, {}};
        try {
            page.document = readStaticDocument(page.source);
        } catch (const PageError &error) {
            page.error = error.message();
        }
        m_pages.append(page);
    }
}

int BatchRun::run()
{
    connect(&m_stopSignals, &StopSignals::stopAsked, this, &BatchRun::stop);
    if (m_progress.isShown() && m_settings.valuesPath != u"-" && QFileInfo(m_settings.valuesPath).isFile()) {
        // Counted beside the run: the total only makes the progress line say how long is left.
        auto *counting = new QFutureWatcher<qint64>(this);
        connect(counting, &QFutureWatcher<qint64>::finished, this, [this, counting] { m_total = counting->result(); });
        counting->setFuture(QtConcurrent::run([path = m_settings.valuesPath] {
            try {
                ValueTable table(path);
                qint64 rows = 0;
                while (table.next())
                    ++rows;
                return rows;
            } catch (...) {
                return qint64(-1);
            }
        }));
    }
    m_progress.setStart(m_log.rowsDone());
    QMetaObject::invokeMethod(this, &BatchRun::fill, Qt::QueuedConnection);
    QCoreApplication::exec();
    m_pool.waitForDone();
    m_progress.clear();
    if (m_writeFailed)
        return 2;
    if (m_stoppedBy) {
        const QString signalName = m_stoppedBy == SIGINT ? QStringLiteral("SIGINT") : QStringLiteral("SIGTERM");
        if (m_log.isFile()) {
            printError(QStringLiteral("stopped by %1 after row %2; %3 holds every row up to it. To run the others:\n  %4")
                           .arg(signalName)
                           .arg(m_log.rowsDone() + m_written)
                           .arg(m_settings.outputPath, m_settings.resumeCommand));
        } else {
            printError(QStringLiteral("stopped by %1 after row %2; run with --output FILE to be able to go on after a stop")
                           .arg(signalName)
                           .arg(m_written));
        }
        return 128 + m_stoppedBy;
    }
    return m_allGaveResults ? 0 : 1;
}

void BatchRun::stop(int signalNumber)
{
    if (!m_stoppedBy)
        m_stoppedBy = signalNumber;
    m_progress.clear();
    // The rows under way end in fill(), which then quits: none start once stopped.
    std::fprintf(stderr, "tamberline: stopping after the %zu rows under way (once more to stop at once)\n", m_window.size());
}

void BatchRun::fill()
{
    // Rows that end as they start (bad queries) write and fill again: the loop below goes on.
    if (m_filling)
        return;
    m_filling = true;
    while (!m_tableEnded && !m_stoppedBy && !m_writeFailed && m_window.size() < m_windowSize) {
        std::optional<ValueRow> row = m_table.next();
        if (!row) {
            m_tableEnded = true;
            break;
        }
        startRow(*std::move(row));
    }
    m_filling = false;
    if (m_window.empty() && (m_tableEnded || m_stoppedBy || m_writeFailed))
        QCoreApplication::quit();
}

void BatchRun::warnUnusedColumns(const ValueRow &row)
{
    for (const auto &[name, value] : row.values) {
        const QString folded = name.toCaseFolded();
        if (!m_markers.contains(folded) && !m_warned.contains(folded)) {
            m_warned.insert(folded);
            m_progress.clear();
            printError(QStringLiteral("the values' column \"%1\" fills no marker of the query").arg(name));
        }
    }
}

void BatchRun::startRow(ValueRow row)
{
    warnUnusedColumns(row);
    const qint64 number = row.number;
    const int pages = std::max(1, int(m_pages.size()));
    m_window.push_back({number, std::move(row.values), QList<std::optional<RunResult>>(pages), pages});
    const Pending &pending = m_window.back();
    const auto badQuery = [&](const QString &message) {
        for (int page = 0; page < pages; ++page)
            complete(number, page, failed(m_pages.isEmpty() ? m_query.Url1 : m_pages[page].source.name, QStringLiteral("bad-query"), message));
    };
    if (!row.problem.isEmpty())
        return badQuery(row.problem);
    QHash<QString, QString> values = m_settings.setValues;
    for (const auto &[name, value] : pending.values)
        values.insert(name, value);
    RunnableQuery query;
    try {
        const auto address = m_pages.isEmpty() ? RunnableQuery::Address::Read : RunnableQuery::Address::Unused;
        query = RunnableQuery::from(m_query, values, m_folder, address);
    } catch (const RunError &error) {
        return badQuery(error.message());
    }
    for (int page = 0; page < pages; ++page)
        startPage(number, page, query);
}

void BatchRun::startPage(qint64 number, int page, const RunnableQuery &query)
{
    if (!m_pages.isEmpty()) {
        const GivenPage &given = m_pages[page];
        m_pool.start([this, number, page, query, given] {
            RunResult result = given.document ? runOnPage(given.source, query, [&](const PageSource &) { return given.document; })
                                              : failed(given.source.name, QStringLiteral("page-error"), given.error);
            QMetaObject::invokeMethod(this, [this, number, page, result = std::move(result)]() mutable { complete(number, page, std::move(result)); });
        });
        return;
    }
    const PageSource source = PageSource::fromAddress(query.url);
    if (source.refusal.isEmpty() && !source.url.isLocalFile()) {
        m_fetcher.get(source.url, [this, number, source, query](const Fetched &page) { fetched(number, source, query, page); });
        return;
    }
    m_pool.start([this, number, source, query] {
        RunResult result = runOnStaticPage(source, query);
        QMetaObject::invokeMethod(this, [this, number, result = std::move(result)]() mutable { complete(number, 0, std::move(result)); });
    });
}

void BatchRun::fetched(qint64 number, const PageSource &source, const RunnableQuery &query, const Fetched &page)
{
    const auto withTransport = [page](RunResult result) {
        result.httpStatus = page.status;
        result.finalAddress = page.finalUrl.toString();
        return result;
    };
    if (!page.error.isEmpty())
        return complete(number, 0, withTransport(failed(source.name, QStringLiteral("page-error"), page.error)));
    m_pool.start([this, number, source, query, page, withTransport] {
        RunResult result = withTransport(runOnPage(source, query, [&](const PageSource &) {
            return staticDocumentFrom(page.bytes, page.finalUrl, page.contentType);
        }));
        QMetaObject::invokeMethod(this, [this, number, result = std::move(result)]() mutable { complete(number, 0, std::move(result)); });
    });
}

void BatchRun::complete(qint64 number, int page, RunResult result)
{
    Pending &row = m_window[size_t(number - m_window.front().number)];
    row.results[page] = std::move(result);
    if (--row.left == 0 && number == m_window.front().number)
        writeReady();
}

void BatchRun::writeReady()
{
    while (!m_window.empty() && m_window.front().left == 0) {
        if (!m_writeFailed && !m_log.write(linesOf(m_window.front()))) {
            m_writeFailed = true;
            m_progress.clear();
            printError(QStringLiteral("cannot write the results: %1").arg(QString::fromLocal8Bit(std::strerror(errno))));
        }
        m_window.pop_front();
        ++m_written;
    }
    m_progress.show(m_log.rowsDone() + m_written, m_total, m_failures);
    fill();
}

QByteArray BatchRun::linesOf(const Pending &row)
{
    QByteArray lines;
    QJsonObject values;
    if (m_settings.json) {
        for (const auto &[name, value] : row.values)
            values.insert(name, value);
    }
    for (const std::optional<RunResult> &result : row.results) {
        if (!result->succeeded()) {
            m_allGaveResults = false;
            ++m_failures;
            m_progress.clear();
            std::fprintf(stderr, "row %lld: %s: %s: %s\n", row.number, qPrintable(result->page), qPrintable(result->reason),
                         qPrintable(result->message));
        }
        if (m_settings.json) {
            QJsonObject object = result->toJson();
            object.insert(QStringLiteral("row"), row.number);
            object.insert(QStringLiteral("values"), values);
            lines += QJsonDocument(object).toJson(QJsonDocument::Compact);
        } else if (result->succeeded()) {
            lines += oneLine(result->text).toUtf8();
        }
        lines += '\n';
    }
    return lines;
}

} // namespace

int runBatch(const BatchSettings &settings, const QueryFile &query)
{
    // From the start: a stop asked while the table and the pages are opened is kept for the loop.
    StopSignals stopSignals;
    try {
        if (settings.valuesPath == u"-" && settings.pages.contains(QStringLiteral("-")))
            throw RunError(QStringLiteral("standard input can be read once: the values or a page, not both"));
        ValueTable table(settings.valuesPath);
        const int linesPerRow = std::max(1, int(settings.pages.size()));
        std::unique_ptr<ResultLog> log = settings.outputPath.isEmpty()
            ? std::make_unique<ResultLog>()
            : std::make_unique<ResultLog>(settings.outputPath, settings.resume, linesPerRow, settings.json);
        // The rows already written are the first ones: the batch writes in the table's order.
        for (qint64 skipped = 0; skipped < log->rowsDone() && table.next(); ++skipped) {
        }
        BatchRun batch(settings, query, table, *log, stopSignals);
        return batch.run();
    } catch (const RunError &error) {
        printError(error.message());
        return 2;
    }
}
