#include "parser/wildcardmatcher.h"
#include "html/htmldocument.h"
#include "queryrunner.h"
#include "datatable.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray shop = R"(<html><body><h1>Prices</h1><table>
<tr><td class="item">Apples</td><td class="price">1.20</td></tr>
<tr><td class="item">Pears</td><td class="price">0.95</td></tr>
</table></body></html>)";

struct Run {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

// Where the program's standard input comes from: the bytes given, a file, or the endless
// output of yes.
const QString FromYes = u"|yes"_s;

Run runTamberline(const QStringList &arguments, const QByteArray &input = {}, const QString &inputFile = {},
                  const QString &folder = {})
{
    QProcess yes;
    QProcess process;
    process.setWorkingDirectory(folder);
    if (inputFile == FromYes) {
        yes.setStandardOutputProcess(&process);
        yes.start(u"yes"_s, QStringList{});
    } else if (!inputFile.isEmpty()) {
        process.setStandardInputFile(inputFile);
    }
    // The browser's engine reserves far more address space than it uses; the static reader
    // must keep within 1 GB whatever it is given, and within few files.
    if (!arguments.contains(u"browser"_s)) {
        process.setChildProcessModifier([] {
            const rlimit memory{rlim_t(1) << 30, rlim_t(1) << 30};
            const rlimit files{64, 64};
            setrlimit(RLIMIT_AS, &memory);
            setrlimit(RLIMIT_NOFILE, &files);
        });
    }
    process.start(QStringLiteral(TAMBERLINE_PROGRAM), arguments);
    if (inputFile.isEmpty()) {
        process.write(input);
        process.closeWriteChannel();
    }
    process.waitForFinished(120000);
    yes.kill();
    yes.waitForFinished();
    return {process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1, process.readAllStandardOutput(),
            process.readAllStandardError()};
}

void row(const char *name, const QStringList &arguments, int status, const QByteArray &output, const QString &message,
         const QByteArray &input = {}, const QString &inputFile = {})
{
    QTest::newRow(name) << arguments << input << inputFile << status << output << message;
}

QList<QJsonObject> jsonLines(const QByteArray &out)
{
    QList<QJsonObject> objects;
    for (const QByteArray &line : out.split('\n')) {
        if (!line.isEmpty())
            objects.append(QJsonDocument::fromJson(line).object());
    }
    return objects;
}

} // namespace

class tst_RunCommand : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        m_fifo = m_dir.filePath(u"fifo.html"_s);
        QCOMPARE(mkfifo(QFile::encodeName(m_fifo).constData(), 0600), 0);
        m_page = file(u"shop.html"_s, shop);
        m_query = file(u"query.json"_s, R"({"Url1": "shop.html?x=%region%", "AllowNav2": false, "SearchText": "%fruit%", "NodeOffset": 1,
                       "ElemAttribs": ["class=item"]})");
    }

    void evaluation_data()
    {
        // outcome: found, returned, matches, reason
        // cutReason: the page as read in part, for this reason
        addColumns<QString, int, QStringList, QString, QString, QString>(
            "text", "offset", "filters", "outcome", "returnedText", "cutReason");
        const QStringList item{u"class=item"_s};
        QTest::newRow("found and returned") << u"pears"_s << 1 << item << u"10 11 1 "_s << u"0.95"_s << QString();
        QTest::newRow("several matches: an ambiguous anchor") << u"*"_s << 0 << item << u"7 7 2 "_s << u"Apples"_s << QString();
        QTest::newRow("neither text nor filters: the root, index 0") << QString() << 3 << QStringList{} << u"0 3 12 "_s << u"Prices"_s << QString();
        QTest::newRow("no match") << u"plums"_s << 0 << item << u"-1 -1 0 no-match"_s << QString() << QString();
        QTest::newRow("offset past the end") << u"pears"_s << 5 << item << u"10 -1 1 offset-out-of-range"_s << QString() << QString();
        QTest::newRow("back to the first element") << u"pears"_s << -10 << item << u"10 0 1 "_s << u"Prices\nApples\t1.20\nPears\t0.95"_s
                                                   << QString();
        QTest::newRow("offset before the start") << u"pears"_s << -11 << item << u"10 -1 1 offset-out-of-range"_s << QString() << QString();
        QTest::newRow("a filter no element can be tested with") << QString() << 0 << QStringList{u"ParentTag=TR"_s} << u"-1 -1 0 bad-query"_s
                                                                << QString() << QString();
        QTest::newRow("a page read in part gives no answer") << u"pears"_s << 1 << item << u"-1 -1 0 page-error"_s << QString()
                                                             << u"the snapshot took longer than 10 s"_s;
    }

    void evaluation()
    {
        const auto [text, offset, filters, outcome, returnedText, cutReason] =
            fetchRow<QString, int, QStringList, QString, QString, QString>("text", "offset", "filters", "outcome", "returnedText", "cutReason");
        DocumentPtr document = parseHtmlDocument(shop, u"file:///shop.html"_s);
        if (!cutReason.isEmpty()) {
            auto cut = std::make_shared<Document>(*document);
            cut->cut = true;
            cut->cutReason = cutReason;
            document = cut;
        }
        const RunResult result = EvaluateQuery(*document, {{}, text, offset, filters}, WildcardMatcher());
        QVERIFY2(result.message.contains(cutReason), qPrintable(result.message));
        QCOMPARE(u"%1 %2 %3 %4"_s.arg(result.found).arg(result.returned).arg(result.matches).arg(result.reason), outcome);
        QCOMPARE(result.text, returnedText);
        const QJsonObject json = result.toJson();
        QCOMPARE(json.keys(), (QStringList{u"found"_s, u"matches"_s, u"page"_s, u"reason"_s, u"returned"_s, u"scripted"_s, u"tagName"_s, u"text"_s}));
        // A part without scripts says nothing of the rest.
        QCOMPARE(json.value(u"scripted"_s).isNull(), !cutReason.isEmpty());
        QVERIFY(json.value(u"reason"_s).isNull() == result.reason.isEmpty() && json.value(u"returned"_s).isNull() == (result.returned < 0));
    }

    void tooManyElements()
    {
        for (const int elements : {32767, 32768, 32769, 100000}) {
            const DocumentPtr document = parseHtmlDocument("<html><head></head><body>" + QByteArray("<p></p>").repeated(elements - 3), QString());
            QCOMPARE(document->length(), elements);
            const RunResult result = EvaluateQuery(*document, {{}, u"x"_s, 0, {}}, WildcardMatcher());
            QCOMPARE(result.reason, elements == 32767 ? u"no-match"_s : u"too-many-elements"_s);
        }
    }

    void markersFromSetValues()
    {
        QueryFile file;
        file.Url1 = u"http://shop/%Region%/%item%"_s;
        file.SearchText = u"%ITEM%*"_s;
        file.ElemAttribs = {u"a=1"_s, u"  "_s, u"b=2"_s};
        const RunnableQuery runnable = RunnableQuery::from(file, {{u"region"_s, u"north"_s}, {u"item"_s, u"42"_s}});
        QVERIFY(runnable.url == u"http://shop/north/42"_s && runnable.searchText == u"42*"_s);
        QCOMPARE(runnable.filters, QStringList{u"a=1"_s}); // as the search walks them
        QVERIFY_THROWS_EXCEPTION(RunError, RunnableQuery::from(file, {{u"region"_s, u"north"_s}}));
        file.Url1 = u"%loop%"_s;
        QVERIFY_THROWS_EXCEPTION(RunError, RunnableQuery::from(file, {{u"loop"_s, u"%loop%"_s}, {u"item"_s, u"1"_s}}));
    }

    void jsonAndExitStatus()
    {
        const QStringList set{u"--set"_s, u"region=n"_s, u"--set"_s, u"FRUIT=Pears"_s};
        // No page given: the query's own address, relative to the query file.
        Run run = runTamberline(QStringList{u"run"_s, m_query, u"--format"_s, u"json"_s} + set);
        QCOMPARE(run.status, 0);
        QList<QJsonObject> lines = jsonLines(run.out);
        QVERIFY(lines.size() == 1 && lines.first().value(u"text"_s).toString() == u"0.95"_s);

        // Pages in input order, whatever the jobs; one without a result makes the status 1.
        const QString missing = m_dir.filePath(u"missing.html"_s);
        run = runTamberline(QStringList{u"run"_s, m_query, m_page, missing, m_page, u"--format=json"_s, u"--jobs"_s, u"3"_s} + set);
        QCOMPARE(run.status, 1);
        lines = jsonLines(run.out);
        QVERIFY(lines.size() == 3 && lines.at(0).value(u"page"_s).toString() == m_page);
        QCOMPARE(lines.at(1).value(u"reason"_s).toString(), u"page-error"_s);
        QVERIFY(lines.at(1).value(u"found"_s).isNull());
        QCOMPARE(lines.at(2).value(u"returned"_s).toInt(), 11);
        QVERIFY(run.err.contains("missing.html"));
    }

    void checkPrintsATable()
    {
        QByteArray plums = shop;
        const QString longer = file(u"plums.html"_s, plums.replace("Pears", "Plums").replace("0.95", QByteArray("0.95 per kg").repeated(5)));
        const Run run = runTamberline({u"check"_s, m_query, m_page, longer, u"--set"_s, u"region=x"_s, u"--set"_s, u"fruit=plums"_s});
        QCOMPARE(run.status, 1);
        const QStringList rows = QString::fromUtf8(run.out).trimmed().split(u'\n');
        QCOMPARE(rows.size(), 3);
        QVERIFY(rows.at(0).startsWith(u"page"_s));
        QVERIFY(rows.at(1).endsWith(u" no-match"_s));
        // The columns line up under their headings, with a text too long for its own cut to fit.
        for (const QString &row : rows.mid(1))
            QCOMPARE(row.lastIndexOf(u' ') + 1, rows.at(0).indexOf(u"reason"_s));
    }

    void aHugePageThroughTheCommand()
    {
        const QString path = file(u"huge.html"_s, "<html><head></head><body>" + QByteArray("<p class=\"item\">Pears</p>").repeated(99997));
        const Run run = runTamberline({u"run"_s, m_query, path, u"--format"_s, u"json"_s, u"--set"_s, u"region=n"_s, u"--set"_s, u"fruit=x"_s});
        QVERIFY(run.status == 1 && jsonLines(run.out).first().value(u"reason"_s).toString() == u"too-many-elements"_s);
        rusage usage{};
        getrusage(RUSAGE_CHILDREN, &usage);
        QVERIFY2(usage.ru_maxrss < 1024 * 1024, qPrintable(u"%1 kB"_s.arg(usage.ru_maxrss)));
    }

    void hostileInputs_data()
    {
        // output: one line per page, an empty one without a result
        addColumns<QStringList, QByteArray, QString, int, QByteArray, QString>(
            "arguments", "input", "inputFile", "status", "output", "message");
        const QStringList set{u"--set"_s, u"region=n"_s, u"--set"_s, u"fruit=Pears"_s};
        const auto run = [&](const QStringList &pages) { return QStringList{u"run"_s, m_query} + pages + set; };
        const auto query = [&](const QString &path) { return QStringList{u"run"_s, path, m_page} + set; };
        const QString zero = u"/dev/zero"_s;
        const QString folder = m_dir.filePath(u"folder"_s);
        QDir().mkpath(folder);
        const QString hugePage = file(u"huge-page.html"_s, {});
        const QString hugeQuery = file(u"huge-query.json"_s, {});
        QVERIFY(QFile::resize(hugePage, qint64(1) << 30) && QFile::resize(hugeQuery, qint64(1) << 30)); // sparse
        const QString loop = m_dir.filePath(u"loop.html"_s);
        QFile::link(loop, loop);
        QByteArray garbage(4096, Qt::Uninitialized);
        for (qsizetype i = 0; i < garbage.size(); ++i)
            garbage[i] = char((i * 7919 + 13) % 251);
        const auto filters = [&](int n) { return file(u"filters%1.json"_s.arg(n), R"({"Url1": "", "AllowNav2": false, "SearchText": "Pears", "NodeOffset": 1,
            "ElemAttribs": ["class=item")" + QByteArray(R"(,"class=item")").repeated(n - 1) + "]}"); };
        QByteArray bigPage = shop;
        bigPage.insert(bigPage.indexOf("</body>"), "<!--" + QByteArray(3 * 1024 * 1024, 'x') + "-->");
        const QByteArray none, nl = "\n", pears = "0.95\n";
        const QString good = file(u"good.json"_s, R"({"Url1": "", "AllowNav2": false, "SearchText": "x", "NodeOffset": 0, "ElemAttribs": []})");
        const auto bad = [&](const QStringList &arguments) { return QStringList{u"run"_s, good} + arguments; };
        const QString tooLong = u"longer than 67,108,864 bytes"_s;
        row("no query", {u"run"_s}, 2, none, u"run needs a query file\nusage: tamberline run QUERY.json"_s);
        row("unknown engine", bad({u"--engine"_s, u"fast"_s}), 2, none, u"--engine is static or browser"_s);
        row("unknown format", bad({u"--format"_s, u"xml"_s}), 2, none, u"--format is text or json"_s);
        row("bad jobs", bad({u"--jobs"_s, u"0"_s}), 2, none, u"--jobs"_s);
        row("a timeout too short", bad({u"--values"_s, u"v.csv"_s, u"--timeout"_s, u"0.05"_s}), 2, none,
            u"--timeout wants a number from 0.1 to 3600, not \"0.05\""_s);
        row("set without a name", bad({u"--set"_s, u"=x"_s}), 2, none, u"--set wants name=value"_s);
        row("not JSON, for a batch", {u"run"_s, file(u"b1.json"_s, "{\"Url1\":"), u"--values"_s, u"v.csv"_s}, 2, none, u"not valid JSON"_s);
        row("no address, no page", bad({}), 2, none, u"no address"_s);
        row("a marker without a value", {u"run"_s, m_query, m_page}, 2, none, u"needs a value for %fruit%: give it with --set fruit="_s);
        row("a batch option without a table", bad({u"--output"_s, u"o.jsonl"_s}), 2, none, u"--output is for a batch"_s);
        row("resume with nothing to go on with", bad({u"--values"_s, u"v.csv"_s, u"--resume"_s}), 2, none,
            u"--resume goes on with the rows in --output"_s);
        row("results already in the output", QStringList{u"run"_s, m_query, m_page, u"--values"_s, file(u"one.csv"_s, "fruit\nPears\n"),
            u"--output"_s, file(u"one.jsonl"_s, "{")} + set, 2, none, u"already holds results"_s);
        const QStringList bomTable{u"run"_s, m_query, m_page, u"--values"_s, file(u"bom.csv"_s, "\xEF\xBB\xBF" "fruit\nPears\n"), u"--set"_s, u"region=n"_s};
        row("a table whose header starts with a byte order mark", bomTable, 0, pears, {});
        row("results to a full disk", bomTable + QStringList{u"--output"_s, u"/dev/full"_s}, 2, none,
            u"cannot write the results: No space left on device"_s);
        row("a table over the query's own address", {u"run"_s, m_query, u"--values"_s, file(u"two.csv"_s, "fruit,region\nPears,n\nApples,s\n")},
            0, pears + "1.20\n", {});
        row("a JSON-lines table by its name, whose first line is no object",
            QStringList{u"run"_s, m_query, m_page, u"--values"_s, file(u"v.ndjson"_s, "[\"Pears\"]\n")} + set, 1, nl,
            u"line 1 of the values is not a JSON object"_s);
        row("a table and standard input as the page", bad({u"-"_s, u"--values"_s, u"-"_s}), 2, none, u"standard input can be read once"_s);
        row("a device among pages", run({zero, m_page}), 1, nl + pears, u"/dev/zero is a device"_s);
        row("endless standard input from a pipe", run({u"-"_s}), 1, nl, u"standard input is "_s + tooLong, none, FromYes);
        row("standard input from a device", run({u"-"_s}), 1, nl, u"standard input is "_s + tooLong, none, zero);
        row("a file of 1 GB", run({hugePage, m_page}), 1, nl + pears, tooLong);
        row("a folder", run({folder}), 1, nl, u"is a folder"_s);
        row("a folder in the browser", run({folder, u"--engine"_s, u"browser"_s}), 1, nl, u"is a folder"_s);
        row("a FIFO, one job", run({m_fifo, u"--jobs"_s, u"1"_s}), 0, pears, {});
        // With pages given the address is not read, and its %region% needs no value.
        row("standard input", {u"run"_s, m_query, u"-"_s, u"--set"_s, u"fruit=apples"_s}, 0, "1.20\n", {}, shop);
        row("a page of one NUL byte", run({u"-"_s}), 1, nl, u"no-match"_s, QByteArray(1, '\0'));
        row("an empty file", run({file(u"empty.html"_s, {})}), 1, nl, u"no-match"_s);
        row("binary garbage", run({file(u"garbage.bin"_s, garbage)}), 1, nl, u"no-match"_s);
        row("a link to itself", run({loop, m_page}), 1, nl + pears, u"cannot read"_s);
        file(u"ab:c.html"_s, shop);
        row("a file named like an address", run({u"ab:c.html"_s, m_page}), 0, pears + pears, {});
        row("a missing file after a drive letter", run({u"C:shop.html"_s, m_page}), 1, nl + pears, u"C:shop.html: No such file or directory"_s);
        row("an unknown scheme among good pages", run({u"gopher://x/y"_s, m_page}), 1, nl + pears, u"gopher:"_s);
        row("more jobs than the machine runs", run(QStringList(300, m_page) + QStringList{u"--jobs"_s, u"100000"_s}), 0,
            pears.repeated(300), u"--jobs 100000 is more than this machine reads at once; 4 are used"_s); // 64 open files allowed
        row("a text of several lines", run({u"-"_s}), 0, "0.95\\nper\\\\kg\n", {},
            R"(<table><tr><td class="item">Pears</td><td>0.95<br>per\kg</td></tr></table>)");
        row("a marker in the address's file name",
            {u"run"_s, file(u"marked.json"_s, R"({"Url1": "%page%.html", "AllowNav2": false, "SearchText": "%fruit%", "NodeOffset": 1,
                                                 "ElemAttribs": ["class=item"]})"), u"--set"_s, u"page=shop"_s, u"--set"_s, u"fruit=Pears"_s},
            0, pears, {});
        row("what scripts write: the static reader says to try the browser",
            run({file(u"scripted.html"_s, R"(<body><script>
                document.write('<table><tr><td class="item">Pears</td><td>0.95</td></tr></table>')</script>)")}),
            1, nl, u"runs scripts, which the static reader does not; try --engine browser"_s);
        row("a page that sends itself where a local page may not go",
            run({file(u"away.html"_s, "<script>location.href = 'http://127.0.0.1:9/away'</script>"), u"--engine"_s, u"browser"_s}), 1, nl,
            u"away.html: http://127.0.0.1:9/away ("_s);
        row("standard input over 2 MB in the browser", run({u"-"_s, u"--engine"_s, u"browser"_s}), 0, pears, {}, bigPage);
        // Each row waits for all its pages, then is written whole, in the table's order.
        QByteArray dearer = shop;
        dearer.replace("1.20", "2.40").replace("0.95", "1.90");
        const QStringList table{u"--values"_s, file(u"fruit.csv"_s, "fruit\n" + QByteArray("Pears\nApples\n").repeated(50)), u"--jobs"_s, u"4"_s};
        row("a table over two pages", QStringList{u"run"_s, m_query, m_page, file(u"dearer.html"_s, dearer)} + table, 0,
            QByteArray("0.95\n1.90\n1.20\n2.40\n").repeated(50), {});
        row("standard input twice", run({u"-"_s, u"-"_s}), 2, none, u"give - as one page only"_s);
        row("check with --format", QStringList{u"check"_s, m_query, m_page, u"--format"_s, u"json"_s} + set, 2, none, u"--format is for run"_s);
        row("an unknown option of the window", {u"--bogus"_s}, 2, none, u"Unknown option 'bogus'.\nusage: tamberline [--page-parser]"_s);
        row("the query is a folder", query(folder), 2, none, u"is a folder"_s);
        row("the query is a device", query(zero), 2, none, u"is a device"_s);
        row("a query file of 1 GB", query(hugeQuery), 2, none, u"longer than 16,777,216 bytes"_s);
        QFile limit(m_query);
        QVERIFY(limit.open(QIODevice::ReadOnly));
        row("a query file of 16,777,216 bytes", query(file(u"limit.json"_s, limit.readAll().leftJustified(16 << 20, ' '))), 0, pears, {});
        row("a query of 32,767 filters", query(filters(32767)), 0, pears, {});
        row("a query of 32,768 filters", query(filters(32768)), 2, none, u"\"ElemAttribs\" holds 32,768 filters; a query holds at most 32,767"_s);
    }

    void hostileInputs()
    {
        const auto [arguments, input, inputFile, status, output, message] =
            fetchRow<QStringList, QByteArray, QString, int, QByteArray, QString>("arguments", "input", "inputFile", "status", "output", "message");
        QProcess feeder; // the FIFO's writer
        if (arguments.contains(m_fifo))
            feeder.start(u"sh"_s, {u"-c"_s, u"(head -c 1 \"$0\"; sleep 0.2; tail -c +2 \"$0\") > \"$1\""_s, m_page, m_fifo}); // a slow writer
        const Run run = runTamberline(arguments, input, inputFile, m_dir.path());
        feeder.waitForFinished(5000);
        QVERIFY2(run.status == status, qPrintable(u"status %1: %2"_s.arg(run.status).arg(QString::fromUtf8(run.err))));
        QCOMPARE(run.out, output);
        // A static run that went well says nothing on standard error; the browser's engine talks.
        const bool quiet = message.isEmpty() && !arguments.contains(u"browser"_s);
        QVERIFY2(quiet ? run.err.isEmpty() : QString::fromUtf8(run.err).contains(message), run.err.constData());
        QVERIFY2(!run.err.contains("Init Parameters"), run.err.constData()); // but not its start-up report
    }

private:
    QString file(const QString &name, const QByteArray &content);

    QTemporaryDir m_dir;
    QString m_query;
    QString m_page;
    QString m_fifo;
};

QString tst_RunCommand::file(const QString &name, const QByteArray &content)
{
    const QString path = m_dir.filePath(name);
    QFile out(path);
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) || out.write(content) != content.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QTEST_GUILESS_MAIN(tst_RunCommand)
#include "tst_runcommand.moc"
