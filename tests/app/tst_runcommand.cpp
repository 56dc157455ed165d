#include "parser/wildcardmatcher.h"
#include "html/htmldocument.h"
#include "queryrunner.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QByteArray shop = R"(<html><body><h1>Prices</h1><table>
<tr><td class="item">Apples</td><td class="price">1.20</td></tr>
<tr><td class="item">Pears</td><td class="price">0.95</td></tr>
</table></body></html>)";

RunnableQuery query(const QString &text, int offset, const QStringList &filters = {})
{
    RunnableQuery q;
    q.searchText = text;
    q.nodeOffset = offset;
    q.filters = filters;
    return q;
}

struct Run {
    int status = -1;
    QByteArray out;
    QByteArray err;
};

// Where the program's standard input comes from: the bytes given, a file, or the endless
// output of yes.
const QString FromYes = QStringLiteral("|yes");

Run runTamberline(const QStringList &arguments, const QByteArray &input = {}, const QString &inputFile = {},
                  const QString &folder = {})
{
    QProcess yes;
    QProcess process;
    process.setWorkingDirectory(folder);
    if (inputFile == FromYes) {
        yes.setStandardOutputProcess(&process);
        yes.start(QStringLiteral("yes"), QStringList{});
    } else if (!inputFile.isEmpty()) {
        process.setStandardInputFile(inputFile);
    }
    // The browser's engine reserves far more address space than it uses; the static reader
    // must keep within 1 GB whatever it is given, and within few files.
    if (!arguments.contains(QStringLiteral("browser"))) {
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
    void initTestCase();
    void evaluation_data();
    void evaluation();
    void tooManyElements();
    void markersFromSetValues();
    void jsonAndExitStatus();
    void checkPrintsATable();
    void aHugePageThroughTheCommand();
    void hostileInputs_data();
    void hostileInputs();

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

void tst_RunCommand::initTestCase()
{
    m_fifo = m_dir.filePath(QStringLiteral("fifo.html"));
    QCOMPARE(mkfifo(QFile::encodeName(m_fifo).constData(), 0600), 0);
    m_page = m_dir.filePath(QStringLiteral("shop.html"));
    QFile page(m_page);
    QVERIFY(page.open(QIODevice::WriteOnly));
    page.write(shop);
    m_query = m_dir.filePath(QStringLiteral("query.json"));
    QFile file(m_query);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(R"({"Url1": "shop.html?x=%region%", "AllowNav2": false, "SearchText": "%fruit%", "NodeOffset": 1,
                   "ElemAttribs": ["class=item"]})");
}

void tst_RunCommand::evaluation_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("offset");
    QTest::addColumn<QStringList>("filters");
    QTest::addColumn<int>("found");
    QTest::addColumn<int>("returned");
    QTest::addColumn<QString>("returnedText");
    QTest::addColumn<int>("matches");
    QTest::addColumn<QString>("reason");
    QTest::addColumn<QString>("cutReason"); // the page as read in part, for this reason
    const QStringList item{QStringLiteral("class=item")};
    QTest::newRow("found and returned") << QStringLiteral("pears") << 1 << item << 10 << 11 << QStringLiteral("0.95") << 1 << QString() << QString();
    QTest::newRow("several matches: an ambiguous anchor") << QStringLiteral("*") << 0 << item << 7 << 7 << QStringLiteral("Apples") << 2
                                                          << QString() << QString();
    QTest::newRow("neither text nor filters: the root, index 0") << QString() << 3 << QStringList{} << 0 << 3
                                                                 << QStringLiteral("Prices") << 12 << QString() << QString();
    QTest::newRow("no match") << QStringLiteral("plums") << 0 << item << -1 << -1 << QString() << 0 << QStringLiteral("no-match") << QString();
    QTest::newRow("offset past the end") << QStringLiteral("pears") << 5 << item << 10 << -1 << QString() << 1
                                         << QStringLiteral("offset-out-of-range") << QString();
    QTest::newRow("back to the first element") << QStringLiteral("pears") << -10 << item << 10 << 0 << QStringLiteral("Prices\nApples\t1.20\nPears\t0.95")
                                               << 1 << QString() << QString();
    QTest::newRow("offset before the start") << QStringLiteral("pears") << -11 << item << 10 << -1 << QString() << 1
                                             << QStringLiteral("offset-out-of-range") << QString();
    QTest::newRow("a filter no element can be tested with")
        << QString() << 0 << QStringList{QStringLiteral("ParentTag=TR")} << -1 << -1 << QString() << 0 << QStringLiteral("bad-query") << QString();
    QTest::newRow("a page read in part gives no answer")
        << QStringLiteral("pears") << 1 << item << -1 << -1 << QString() << 0 << QStringLiteral("page-error")
        << QStringLiteral("the snapshot took longer than 10 s");
}

void tst_RunCommand::evaluation()
{
    QFETCH(QString, text);
    QFETCH(int, offset);
    QFETCH(QStringList, filters);
    QFETCH(int, found);
    QFETCH(int, returned);
    QFETCH(QString, returnedText);
    QFETCH(int, matches);
    QFETCH(QString, reason);
    QFETCH(QString, cutReason);
    DocumentPtr document = parseHtmlDocument(shop, QStringLiteral("file:///shop.html"));
    if (!cutReason.isEmpty()) {
        auto cut = std::make_shared<Document>(*document);
        cut->cut = true;
        cut->cutReason = cutReason;
        document = cut;
    }
    const RunResult result = EvaluateQuery(*document, query(text, offset, filters), WildcardMatcher());
    QVERIFY2(result.message.contains(cutReason), qPrintable(result.message));
    QCOMPARE(result.found, found);
    QCOMPARE(result.returned, returned);
    QCOMPARE(result.text, returnedText);
    QCOMPARE(result.matches, matches);
    QCOMPARE(result.reason, reason);
    const QJsonObject json = result.toJson();
    QCOMPARE(json.keys(), (QStringList{QStringLiteral("found"), QStringLiteral("matches"), QStringLiteral("page"),
                                       QStringLiteral("reason"), QStringLiteral("returned"), QStringLiteral("scripted"),
                                       QStringLiteral("tagName"), QStringLiteral("text")}));
    // A part without scripts says nothing of the rest.
    QCOMPARE(json.value(QStringLiteral("scripted")).isNull(), !cutReason.isEmpty());
    QCOMPARE(json.value(QStringLiteral("reason")).isNull(), reason.isEmpty());
    QCOMPARE(json.value(QStringLiteral("returned")).isNull(), returned < 0);
}

void tst_RunCommand::tooManyElements()
{
    for (const int elements : {32767, 32768, 32769, 100000}) {
        QByteArray html("<html><head></head><body>");
        for (int i = 3; i < elements; ++i)
            html.append("<p></p>");
        const DocumentPtr document = parseHtmlDocument(html, QString());
        QCOMPARE(document->length(), elements);
        const RunResult result = EvaluateQuery(*document, query(QStringLiteral("x"), 0), WildcardMatcher());
        QCOMPARE(result.reason, elements == 32767 ? QStringLiteral("no-match") : QStringLiteral("too-many-elements"));
    }
}

void tst_RunCommand::markersFromSetValues()
{
    QueryFile file;
    file.Url1 = QStringLiteral("http://shop/%Region%/%item%");
    file.SearchText = QStringLiteral("%ITEM%*");
    file.ElemAttribs = {QStringLiteral("a=1"), QStringLiteral("  "), QStringLiteral("b=2")};
    const RunnableQuery runnable = RunnableQuery::from(file, {{QStringLiteral("region"), QStringLiteral("north")},
                                                              {QStringLiteral("item"), QStringLiteral("42")}});
    QCOMPARE(runnable.url, QStringLiteral("http://shop/north/42"));
    QCOMPARE(runnable.searchText, QStringLiteral("42*"));
    QCOMPARE(runnable.filters, QStringList{QStringLiteral("a=1")}); // as the search walks them
    try {
        RunnableQuery::from(file, {{QStringLiteral("region"), QStringLiteral("north")}});
        QFAIL("a marker without a value must fail");
    } catch (const RunError &error) {
        QVERIFY2(error.message().contains(QStringLiteral("%item%")), qPrintable(error.message()));
    }
    file.Url1 = QStringLiteral("%loop%");
    QVERIFY_THROWS_EXCEPTION(RunError, RunnableQuery::from(file, {{QStringLiteral("loop"), QStringLiteral("%loop%")},
                                                                  {QStringLiteral("item"), QStringLiteral("1")}}));
}

void tst_RunCommand::jsonAndExitStatus()
{
    const QStringList set{QStringLiteral("--set"), QStringLiteral("region=n"), QStringLiteral("--set"), QStringLiteral("FRUIT=Pears")};
    // No page given: the query's own address, relative to the query file.
    Run run = runTamberline(QStringList{QStringLiteral("run"), m_query, QStringLiteral("--format"), QStringLiteral("json")} + set);
    QCOMPARE(run.status, 0);
    QList<QJsonObject> lines = jsonLines(run.out);
    QCOMPARE(lines.size(), 1);
    QCOMPARE(lines.first().value(QStringLiteral("text")).toString(), QStringLiteral("0.95"));

    // Pages in input order, whatever the jobs; one without a result makes the status 1.
    const QString missing = m_dir.filePath(QStringLiteral("missing.html"));
    run = runTamberline(QStringList{QStringLiteral("run"), m_query, m_page, missing, m_page, QStringLiteral("--format=json"),
                                    QStringLiteral("--jobs"), QStringLiteral("3")} + set);
    QCOMPARE(run.status, 1);
    lines = jsonLines(run.out);
    QCOMPARE(lines.size(), 3);
    QCOMPARE(lines.at(0).value(QStringLiteral("page")).toString(), m_page);
    QCOMPARE(lines.at(1).value(QStringLiteral("reason")).toString(), QStringLiteral("page-error"));
    QVERIFY(lines.at(1).value(QStringLiteral("found")).isNull());
    QCOMPARE(lines.at(2).value(QStringLiteral("returned")).toInt(), 11);
    QVERIFY(run.err.contains("missing.html"));
}

void tst_RunCommand::checkPrintsATable()
{
    const Run run = runTamberline({QStringLiteral("check"), m_query, m_page, m_page, QStringLiteral("--set"), QStringLiteral("region=x"),
                                   QStringLiteral("--set"), QStringLiteral("fruit=plums")});
    QCOMPARE(run.status, 1);
    const QList<QByteArray> rows = run.out.trimmed().split('\n');
    QCOMPARE(rows.size(), 3);
    QVERIFY(rows.at(0).startsWith("page"));
    QVERIFY(rows.at(1).contains("no-match"));
}

void tst_RunCommand::aHugePageThroughTheCommand()
{
    const QString path = m_dir.filePath(QStringLiteral("huge.html"));
    QFile page(path);
    QVERIFY(page.open(QIODevice::WriteOnly));
    page.write("<html><head></head><body>");
    for (int i = 3; i < 100000; ++i)
        page.write("<p class=\"item\">Pears</p>");
    page.close();
    const Run run = runTamberline({QStringLiteral("run"), m_query, path, QStringLiteral("--format"), QStringLiteral("json"),
                                   QStringLiteral("--set"), QStringLiteral("region=n"), QStringLiteral("--set"), QStringLiteral("fruit=x")});
    QCOMPARE(run.status, 1);
    QCOMPARE(jsonLines(run.out).first().value(QStringLiteral("reason")).toString(), QStringLiteral("too-many-elements"));
    rusage usage{};
    getrusage(RUSAGE_CHILDREN, &usage);
    QVERIFY2(usage.ru_maxrss < 1024 * 1024, qPrintable(QStringLiteral("%1 kB").arg(usage.ru_maxrss)));
}

void tst_RunCommand::hostileInputs_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<QByteArray>("input");
    QTest::addColumn<QString>("inputFile");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("output"); // one line per page, an empty one without a result
    QTest::addColumn<QString>("message");
    const QStringList set{QStringLiteral("--set"), QStringLiteral("region=n"), QStringLiteral("--set"), QStringLiteral("fruit=Pears")};
    const auto run = [&](const QStringList &pages) { return QStringList{QStringLiteral("run"), m_query} + pages + set; };
    const auto query = [&](const QString &path) { return QStringList{QStringLiteral("run"), path, m_page} + set; };
    const QString zero = QStringLiteral("/dev/zero");
    const QString folder = m_dir.filePath(QStringLiteral("folder"));
    QDir().mkpath(folder);
    const QString hugePage = file(QStringLiteral("huge-page.html"), {});
    const QString hugeQuery = file(QStringLiteral("huge-query.json"), {});
    QVERIFY(QFile::resize(hugePage, qint64(1) << 30) && QFile::resize(hugeQuery, qint64(1) << 30)); // sparse
    const QString loop = m_dir.filePath(QStringLiteral("loop.html"));
    QFile::link(loop, loop);
    QByteArray garbage(4096, Qt::Uninitialized);
    for (qsizetype i = 0; i < garbage.size(); ++i)
        garbage[i] = char((i * 7919 + 13) % 251);
    QByteArray manyFilters = R"({"Url1": "", "AllowNav2": false, "SearchText": "x", "NodeOffset": 0, "ElemAttribs": [)";
    for (int i = 0; i < 40000; ++i)
        manyFilters.append(i == 0 ? "\"a=1\"" : ",\"a=1\"");
    manyFilters.append("]}");
    QByteArray bigPage = shop;
    bigPage.insert(bigPage.indexOf("</body>"), "<!--" + QByteArray(3 * 1024 * 1024, 'x') + "-->");
    const QByteArray lines = R"(<table><tr><td class="item">Pears</td><td>0.95<br>per\kg</td></tr></table>)";
    const QByteArray none;
    const QByteArray pears = "0.95\n";
    const QString scripted = file(QStringLiteral("scripted.html"), R"(<body><script>
        document.write('<table><tr><td class="item">Pears</td><td>0.95</td></tr></table>')</script>)");

    const QString good = file(QStringLiteral("good.json"), R"({"Url1": "", "AllowNav2": false, "SearchText": "x", "NodeOffset": 0, "ElemAttribs": []})");
    const auto bad = [&](const QStringList &arguments) { return QStringList{QStringLiteral("run"), good} + arguments; };
    const auto badQuery = [&](const QString &name, const QByteArray &text) { return QStringList{QStringLiteral("run"), file(name, text)}; };
    QTest::newRow("no query") << QStringList{QStringLiteral("run")} << none << QString() << 2 << none
                              << QStringLiteral("run needs a query file\nusage: tamberline run QUERY.json");
    QTest::newRow("unknown engine") << bad({QStringLiteral("--engine"), QStringLiteral("fast")}) << none << QString() << 2 << none
                                    << QStringLiteral("--engine is static or browser");
    QTest::newRow("unknown format") << bad({QStringLiteral("--format"), QStringLiteral("xml")}) << none << QString() << 2 << none
                                    << QStringLiteral("--format is text or json");
    QTest::newRow("bad jobs") << bad({QStringLiteral("--jobs"), QStringLiteral("0")}) << none << QString() << 2 << none << QStringLiteral("--jobs");
    QTest::newRow("set without =") << bad({QStringLiteral("--set"), QStringLiteral("x")}) << none << QString() << 2 << none
                                   << QStringLiteral("--set wants name=value");
    QTest::newRow("not JSON") << badQuery(QStringLiteral("b1.json"), "{\"Url1\":") << none << QString() << 2 << none << QStringLiteral("not valid JSON");
    QTest::newRow("missing field") << badQuery(QStringLiteral("b2.json"), R"({"Url1": ""})") << none << QString() << 2 << none
                                   << QStringLiteral("missing key");
    QTest::newRow("wrong type") << badQuery(QStringLiteral("b3.json"), R"({"Url1": 1, "AllowNav2": false, "SearchText": "", "NodeOffset": 0, "ElemAttribs": []})")
                                << none << QString() << 2 << none << QStringLiteral("\"Url1\" must be a string");
    QTest::newRow("no address, no page") << bad({}) << none << QString() << 2 << none << QStringLiteral("no address");
    QTest::newRow("a batch option without a table") << bad({QStringLiteral("--output"), QStringLiteral("o.jsonl")}) << none << QString() << 2
                                                   << none << QStringLiteral("--output is for a batch");
    QTest::newRow("resume with nothing to go on with")
        << bad({QStringLiteral("--values"), QStringLiteral("v.csv"), QStringLiteral("--resume")}) << none << QString() << 2 << none
        << QStringLiteral("--resume goes on with the rows in --output");
    QTest::newRow("a table and standard input as the page") << bad({QStringLiteral("-"), QStringLiteral("--values"), QStringLiteral("-")})
                                                           << none << QString() << 2 << none << QStringLiteral("standard input can be read once");
    QTest::newRow("a device among pages") << run({zero, m_page}) << none << QString() << 1 << "\n" + pears
                                          << QStringLiteral("/dev/zero is a device");
    QTest::newRow("endless standard input from a pipe") << run({QStringLiteral("-")}) << none << FromYes << 1 << QByteArray("\n")
                                                        << QStringLiteral("standard input is longer than 67,108,864 bytes");
    QTest::newRow("standard input from a device") << run({QStringLiteral("-")}) << none << zero << 1 << QByteArray("\n")
                                                  << QStringLiteral("standard input is longer than 67,108,864 bytes");
    QTest::newRow("a file of 1 GB") << run({hugePage, m_page}) << none << QString() << 1 << "\n" + pears
                                    << QStringLiteral("longer than 67,108,864 bytes");
    QTest::newRow("a folder") << run({folder}) << none << QString() << 1 << QByteArray("\n") << QStringLiteral("is a folder");
    QTest::newRow("a folder in the browser") << run({folder, QStringLiteral("--engine"), QStringLiteral("browser")}) << none
                                             << QString() << 1 << QByteArray("\n") << QStringLiteral("is a folder");
    QTest::newRow("a FIFO") << run({m_fifo}) << none << QString() << 0 << pears << QString();
    // With pages given the address is not read, and its %region% needs no value.
    QTest::newRow("standard input") << QStringList{QStringLiteral("run"), m_query, QStringLiteral("-"), QStringLiteral("--set"),
                                                   QStringLiteral("fruit=apples")} << shop << QString() << 0 << QByteArray("1.20\n") << QString();
    QTest::newRow("a page of one NUL byte") << run({QStringLiteral("-")}) << QByteArray(1, '\0') << QString() << 1
                                            << QByteArray("\n") << QStringLiteral("no-match");
    QTest::newRow("an empty file") << run({file(QStringLiteral("empty.html"), {})}) << none << QString() << 1 << QByteArray("\n")
                                   << QStringLiteral("no-match");
    QTest::newRow("binary garbage") << run({file(QStringLiteral("garbage.bin"), garbage)}) << none << QString() << 1
                                    << QByteArray("\n") << QStringLiteral("no-match");
    QTest::newRow("a link to itself") << run({loop, m_page}) << none << QString() << 1 << "\n" + pears << QStringLiteral("cannot read");
    QTest::newRow("a missing file among good ones")
        << run({m_page, m_dir.filePath(QStringLiteral("missing.html")), m_page}) << none << QString() << 1 << pears + "\n" + pears
        << QStringLiteral("missing.html");
    file(QStringLiteral("ab:c.html"), shop);
    QTest::newRow("a file named like an address") << run({QStringLiteral("ab:c.html"), m_page}) << none << QString() << 0
                                                  << pears + pears << QString();
    QTest::newRow("a missing file after a drive letter") << run({QStringLiteral("C:shop.html"), m_page}) << none << QString() << 1
                                                         << "\n" + pears << QStringLiteral("C:shop.html: No such file or directory");
    QTest::newRow("an unknown scheme among good pages") << run({QStringLiteral("gopher://x/y"), m_page}) << none << QString() << 1
                                                        << "\n" + pears << QStringLiteral("gopher:");
    QTest::newRow("more jobs than the machine runs")
        << run(QStringList(300, m_page) + QStringList{QStringLiteral("--jobs"), QStringLiteral("100000")}) << none << QString() << 0
        << pears.repeated(300) << QStringLiteral("--jobs 100000 is more");
    QTest::newRow("a text of several lines") << run({QStringLiteral("-")}) << lines << QString() << 0
                                             << QByteArray("0.95\\nper\\\\kg\n") << QString();
    QTest::newRow("a marker in the address's file name")
        << QStringList{QStringLiteral("run"), file(QStringLiteral("marked.json"), R"({"Url1": "%page%.html", "AllowNav2": false,
               "SearchText": "%fruit%", "NodeOffset": 1, "ElemAttribs": ["class=item"]})"),
                       QStringLiteral("--set"), QStringLiteral("page=shop"), QStringLiteral("--set"), QStringLiteral("fruit=Pears")}
        << none << QString() << 0 << pears << QString();
    QTest::newRow("what scripts write: the static reader says to try the browser")
        << run({scripted}) << none << QString() << 1 << QByteArray("\n") << QStringLiteral("runs scripts, which the static reader does not; try --engine browser");
    QTest::newRow("a page that sends itself where a local page may not go")
        << run({file(QStringLiteral("away.html"), "<script>location.href = 'http://127.0.0.1:9/away'</script>"), QStringLiteral("--engine"),
                QStringLiteral("browser")})
        << none << QString() << 1 << QByteArray("\n") << QStringLiteral("away.html: http://127.0.0.1:9/away (");
    QTest::newRow("standard input over 2 MB in the browser")
        << run({QStringLiteral("-"), QStringLiteral("--engine"), QStringLiteral("browser")}) << bigPage << QString() << 0 << pears << QString();
    QTest::newRow("standard input twice") << run({QStringLiteral("-"), QStringLiteral("-")}) << none << QString() << 2 << none
                                          << QStringLiteral("give - as one page only");
    QTest::newRow("check with --format") << QStringList{QStringLiteral("check"), m_query, m_page, QStringLiteral("--format"),
                                                        QStringLiteral("json")} + set
                                         << none << QString() << 2 << none << QStringLiteral("--format is for run");
    QTest::newRow("an unknown option of the window") << QStringList{QStringLiteral("--bogus")} << none << QString() << 2 << none
                                                     << QStringLiteral("Unknown option 'bogus'.\nusage: tamberline [--page-parser]");
    QTest::newRow("the query is a folder") << query(folder) << none << QString() << 2 << none << QStringLiteral("is a folder");
    QTest::newRow("the query is a device") << query(zero) << none << QString() << 2 << none << QStringLiteral("is a device");
    QTest::newRow("a query file of 1 GB") << query(hugeQuery) << none << QString() << 2 << none
                                          << QStringLiteral("longer than 16,777,216 bytes");
    QTest::newRow("a query of 40,000 filters") << query(file(QStringLiteral("filters.json"), manyFilters)) << none << QString() << 2
                                               << none << QStringLiteral("\"ElemAttribs\" holds 40,000 filters; a query holds at most 32,767");
}

void tst_RunCommand::hostileInputs()
{
    QFETCH(QStringList, arguments);
    QFETCH(QByteArray, input);
    QFETCH(QString, inputFile);
    QFETCH(int, status);
    QFETCH(QByteArray, output);
    QFETCH(QString, message);
    QProcess feeder; // the FIFO's writer
    if (arguments.contains(m_fifo))
        feeder.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("cat \"$0\" > \"$1\""), m_page, m_fifo});
    const Run run = runTamberline(arguments, input, inputFile, m_dir.path());
    feeder.waitForFinished(5000);
    QVERIFY2(run.status == status, qPrintable(QStringLiteral("status %1: %2").arg(run.status).arg(QString::fromUtf8(run.err))));
    QCOMPARE(run.out, output);
    QVERIFY2(QString::fromUtf8(run.err).contains(message), run.err.constData());
}

QTEST_GUILESS_MAIN(tst_RunCommand)
#include "tst_runcommand.moc"
