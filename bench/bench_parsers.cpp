// Compares the packaged HTML parsers the static reader could use, in one table: speed on the
// corpus, how often a page's element sequence equals the browser engine's, and what each does
// with hostile pages (time, peak memory, crash) when nothing guards it.
//
//   bench_parsers --browser CORPUS CACHE   loads each page in the browser engine with page
//                                          scripts off, writes its element sequence to CACHE
//                                          (slow: a few minutes)
//   bench_parsers CORPUS CACHE HOSTILE...  prints the table; HOSTILE are files or folders of
//                                          pages added to the built-in hostile cases
//
// Element sequences are tag names in document order as the browser gives them (HTML upper
// case, SVG in its own case), template content left out. All parse with scripting off, as the
// browser does with page scripts off; the reader parses with it on (noscript content as text),
// which the browser's own tests of the reader compare with the scripts on.
#include "browser/webpage.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTimer>
#include <QWebEngineSettings>

#include <gumbo.h>
#include <libxml/HTMLparser.h>
#include <myhtml/myhtml.h>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <functional>

namespace {

constexpr int kRuns = 5;
constexpr int kHostileSeconds = 60;
constexpr rlim_t kHostileBytes = rlim_t(4) << 30;

QString asciiUpper(QString name)
{
    for (QChar &c : name) {
        if (c >= u'a' && c <= u'z')
            c = QChar(c.unicode() - 32);
    }
    return name;
}

QString asciiLower(QString name)
{
    for (QChar &c : name) {
        if (c >= u'A' && c <= u'Z')
            c = QChar(c.unicode() + 32);
    }
    return name;
}

// --- gumbo -----------------------------------------------------------------------------

QString gumboName(const GumboElement &element)
{
    QByteArray lower;
    if (element.tag != GUMBO_TAG_UNKNOWN) {
        lower = gumbo_normalized_tagname(element.tag);
    } else {
        GumboStringPiece original = element.original_tag;
        gumbo_tag_from_original_text(&original);
        lower = asciiLower(QString::fromUtf8(original.data, qsizetype(original.length))).toUtf8();
    }
    if (element.tag_namespace == GUMBO_NAMESPACE_SVG) {
        const GumboStringPiece piece{lower.constData(), size_t(lower.size())};
        if (const char *svg = gumbo_normalize_svg_tagname(&piece))
            return QString::fromLatin1(svg);
    }
    const QString name = QString::fromUtf8(lower);
    return element.tag_namespace == GUMBO_NAMESPACE_HTML ? asciiUpper(name) : name;
}

void gumboTags(const GumboNode &node, QStringList &tags)
{
    if (node.type != GUMBO_NODE_ELEMENT && node.type != GUMBO_NODE_TEMPLATE && node.type != GUMBO_NODE_DOCUMENT)
        return;
    const GumboVector *children = &node.v.document.children;
    if (node.type != GUMBO_NODE_DOCUMENT) {
        tags.append(gumboName(node.v.element));
        if (node.type == GUMBO_NODE_TEMPLATE)
            return;
        children = &node.v.element.children;
    }
    for (unsigned i = 0; i < children->length; ++i)
        gumboTags(*static_cast<const GumboNode *>(children->data[i]), tags);
}

// With the cap on recorded errors the reader gave it: each error keeps a copy of the open
// elements, so 40,000 unclosed ones would take gigabytes.
QStringList gumboParse(QByteArrayView page, bool wantTags)
{
    GumboOptions options = kGumboDefaultOptions;
    options.max_errors = 1000;
    GumboOutput *output = gumbo_parse_with_options(&options, page.data(), size_t(page.size()));
    QStringList tags;
    if (wantTags)
        gumboTags(*output->document, tags);
    gumbo_destroy_output(&options, output);
    return tags;
}

// --- MyHTML ----------------------------------------------------------------------------

struct MyHtml {
    myhtml_t *myhtml = nullptr;
    myhtml_tree_t *tree = nullptr;
    MyHtml()
    {
        myhtml = myhtml_create();
        myhtml_init(myhtml, MyHTML_OPTIONS_PARSE_MODE_SINGLE, 1, 0);
        tree = myhtml_tree_create();
        myhtml_tree_init(tree, myhtml);
    }
    ~MyHtml()
    {
        myhtml_tree_destroy(tree);
        myhtml_destroy(myhtml);
    }
};

void myHtmlTags(myhtml_tree_t *tree, myhtml_tree_node_t *node, QStringList &tags)
{
    for (; node; node = myhtml_node_next(node)) {
        const myhtml_tag_id_t id = myhtml_node_tag_id(node);
        if (id == MyHTML_TAG__TEXT || id == MyHTML_TAG__COMMENT || id == MyHTML_TAG__DOCTYPE)
            continue;
        size_t length = 0;
        const char *name = myhtml_tag_name_by_id(tree, id, &length);
        const QString text = QString::fromUtf8(name, qsizetype(name ? length : 0));
        const myhtml_namespace_t ns = myhtml_node_namespace(node);
        tags.append(ns == MyHTML_NAMESPACE_SVG ? text
                        : ns == MyHTML_NAMESPACE_MATHML ? asciiLower(text)
                                                        : asciiUpper(text));
        if (!(id == MyHTML_TAG_TEMPLATE && ns == MyHTML_NAMESPACE_HTML))
            myHtmlTags(tree, myhtml_node_child(node), tags);
    }
}

QStringList myHtmlParse(MyHtml &parser, QByteArrayView page, bool wantTags, bool reuse)
{
    myhtml_tree_t *tree = parser.tree;
    if (!reuse) {
        tree = myhtml_tree_create();
        myhtml_tree_init(tree, parser.myhtml);
    }
    myhtml_parse(tree, MyENCODING_UTF_8, page.isEmpty() ? "" : page.data(), size_t(page.size()));
    QStringList tags;
    if (wantTags)
        myHtmlTags(tree, myhtml_node_child(tree->document), tags);
    if (reuse)
        myhtml_tree_clean(tree);
    else
        myhtml_tree_destroy(tree);
    return tags;
}

// --- libxml2 ---------------------------------------------------------------------------

void libxmlTags(xmlNode *node, QStringList &tags)
{
    for (; node; node = node->next) {
        if (node->type != XML_ELEMENT_NODE)
            continue;
        const QString name = asciiUpper(QString::fromUtf8(reinterpret_cast<const char *>(node->name)));
        tags.append(name);
        if (name != u"TEMPLATE")
            libxmlTags(node->children, tags);
    }
}

QStringList libxmlParse(QByteArrayView page, bool wantTags)
{
    htmlDocPtr document = htmlReadMemory(page.data(), int(page.size()), nullptr, "UTF-8",
                                         HTML_PARSE_RECOVER | HTML_PARSE_NOERROR | HTML_PARSE_NOWARNING
                                             | HTML_PARSE_NONET);
    QStringList tags;
    if (document && wantTags)
        libxmlTags(xmlDocGetRootElement(document), tags);
    xmlFreeDoc(document);
    return tags;
}

// --- the table -------------------------------------------------------------------------

struct Parser {
    const char *name;
    std::function<QStringList(QByteArrayView, bool)> parse;
};

struct Page {
    QString name;
    QByteArray bytes;
};

QList<Page> readPages(const QString &folder)
{
    QList<Page> pages;
    const QDir dir(folder);
    for (const QString &name : dir.entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name)) {
        QFile file(dir.filePath(name));
        if (!file.open(QIODevice::ReadOnly))
            continue;
        // The browser and the reader drop a byte order mark; a parser given one makes it text.
        QByteArray bytes = file.readAll();
        if (bytes.startsWith("\xEF\xBB\xBF"))
            bytes.remove(0, 3);
        pages.append({name, bytes});
    }
    return pages;
}

double medianMegabytesPerSecond(const Parser &parser, const QList<Page> &pages, qint64 bytes)
{
    QList<double> rates;
    for (int run = 0; run < kRuns; ++run) {
        QElapsedTimer timer;
        timer.start();
        for (const Page &page : pages)
            parser.parse(page.bytes, false);
        rates.append(double(bytes) / 1e6 / (double(timer.nsecsElapsed()) / 1e9));
    }
    std::sort(rates.begin(), rates.end());
    return rates[rates.size() / 2];
}

QStringList browserTags(const QString &cache, const QString &page)
{
    QFile file(QDir(cache).filePath(page + QStringLiteral(".tags")));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
}

struct HostileCase {
    QString name;
    QByteArray bytes;
};

QList<HostileCase> hostileCases(const QStringList &extra)
{
    QList<HostileCase> cases{
        {QStringLiteral("40,000 unclosed <div>"), QByteArray("<div>").repeated(40000)},
        {QStringLiteral("160,000 unclosed <div>"), QByteArray("<div>").repeated(160000)},
        {QStringLiteral("20,000 unclosed <li>"), "<ul>" + QByteArray("<li>item").repeated(20000)},
        {QStringLiteral("40,000 <b>x</p>"), QByteArray("<b>x</p>").repeated(40000)},
        {QStringLiteral("formatting reopened 200 x 500"),
         [] {
             QByteArray page = "<p>";
             for (int i = 0; i < 500; ++i)
                 page += "<b id=" + QByteArray::number(i) + '>';
             return page + QByteArray("</p><div>x</div>").repeated(200);
         }()},
        {QStringLiteral("a 32 MB attribute value"), "<div title=\"" + QByteArray(32 * 1024 * 1024, 'a') + "\">x</div>"},
        {QStringLiteral("200,000 attributes"),
         [] {
             QByteArray page = "<div";
             for (int i = 0; i < 200000; ++i)
                 page += " a" + QByteArray::number(i) + "=1";
             return page + ">x";
         }()},
        {QStringLiteral("1,000,000 <p>"), QByteArray("<p>abcdef ").repeated(1000000)},
    };
    for (const QString &path : extra) {
        const QFileInfo info(path);
        const QStringList files = info.isDir() ? QDir(path).entryList(QDir::Files, QDir::Name) : QStringList{info.fileName()};
        for (const QString &name : files) {
            QFile file(info.isDir() ? QDir(path).filePath(name) : path);
            if (!name.startsWith(u'.') && file.open(QIODevice::ReadOnly))
                cases.append({name, file.readAll()});
        }
    }
    return cases;
}

// In a child process, so that a crash, a hang or the memory of one case touch nothing else.
// Memory is the child's peak above that of a child that parses nothing; a child may take at
// most 4 GB of address space.
QString runHostile(const Parser &parser, const QByteArray &page, long baseline = 0)
{
    QElapsedTimer timer;
    timer.start();
    const pid_t child = fork();
    if (child == 0) {
        alarm(kHostileSeconds);
        const rlimit memory{kHostileBytes, kHostileBytes};
        setrlimit(RLIMIT_AS, &memory);
        parser.parse(page, false);
        _exit(0);
    }
    int status = 0;
    rusage usage{};
    wait4(child, &status, 0, &usage);
    const double seconds = double(timer.nsecsElapsed()) / 1e9;
    const long megabytes = (usage.ru_maxrss - baseline) / 1024;
    if (baseline == 0)
        return QString::number(usage.ru_maxrss);
    if (WIFSIGNALED(status)) {
        if (WTERMSIG(status) == SIGALRM)
            return QStringLiteral("> %1 s").arg(kHostileSeconds);
        return QStringLiteral("crash (signal %1)").arg(WTERMSIG(status));
    }
    return QStringLiteral("%1 s %2 MB").arg(seconds, 0, 'f', seconds < 1 ? 3 : 1).arg(megabytes);
}

int writeBrowserTags(int argc, char **argv, const QString &corpus, const QString &cache)
{
    qputenv("QTWEBENGINE_DISABLE_SANDBOX", "1");
    QApplication app(argc, argv);
    QDir().mkpath(cache);
    WebPage page;
    // Page scripts off; the snapshot script runs in the application's own world all the same.
    page.settings()->setAttribute(QWebEngineSettings::JavascriptEnabled, false);
    const QDir dir(corpus);
    const QStringList names = dir.entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name);
    int written = 0;
    for (const QString &name : names) {
        QSignalSpy loaded(&page, &QWebEnginePage::loadFinished);
        page.load(QUrl::fromLocalFile(dir.absoluteFilePath(name)));
        if (!loaded.wait(60000)) {
            std::fprintf(stderr, "%s: not loaded\n", qPrintable(name));
            continue;
        }
        DocumentPtr document;
        bool done = false;
        page.requestSnapshot([&](DocumentPtr result) {
            document = result;
            done = true;
        });
        QElapsedTimer waited;
        waited.start();
        while (!done && waited.elapsed() < 60000)
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        if (!document) {
            std::fprintf(stderr, "%s: no snapshot\n", qPrintable(name));
            continue;
        }
        QStringList tags;
        for (const Document::Element &element : document->elements)
            tags.append(element.tagName);
        QFile out(QDir(cache).filePath(name + QStringLiteral(".tags")));
        if (out.open(QIODevice::WriteOnly))
            out.write(tags.join(u'\n').toUtf8() + '\n');
        ++written;
    }
    std::printf("%d of %lld pages written to %s\n", written, qint64(names.size()), qPrintable(cache));
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    if (argc >= 4 && qstrcmp(argv[1], "--browser") == 0)
        return writeBrowserTags(argc, argv, QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]));
    if (argc < 3) {
        std::fprintf(stderr, "usage: bench_parsers [--browser] CORPUS CACHE [HOSTILE...]\n");
        return 2;
    }
    const QString corpus = QString::fromLocal8Bit(argv[1]);
    const QString cache = QString::fromLocal8Bit(argv[2]);
    QStringList extra;
    for (int i = 3; i < argc; ++i)
        extra.append(QString::fromLocal8Bit(argv[i]));

    MyHtml myhtml;
    const QList<Parser> parsers{
        {"gumbo 0.10.1", [](QByteArrayView page, bool tags) { return gumboParse(page, tags); }},
        {"MyHTML, tree reused", [&](QByteArrayView page, bool tags) { return myHtmlParse(myhtml, page, tags, true); }},
        {"MyHTML, tree per page", [&](QByteArrayView page, bool tags) { return myHtmlParse(myhtml, page, tags, false); }},
        {"libxml2 HTML", [](QByteArrayView page, bool tags) { return libxmlParse(page, tags); }},
    };

    const QList<Page> pages = readPages(corpus);
    qint64 bytes = 0;
    for (const Page &page : pages)
        bytes += page.bytes.size();
    int withBrowser = 0;
    QList<QStringList> browser;
    for (const Page &page : pages) {
        browser.append(browserTags(cache, page.name));
        withBrowser += browser.last().isEmpty() ? 0 : 1;
    }
    std::printf("corpus: %lld pages, %.1f MB; browser sequences for %d of them; median of %d runs, one thread\n\n",
                qint64(pages.size()), double(bytes) / 1e6, withBrowser, kRuns);
    std::printf("%-24s %9s %11s %14s %15s\n", "parser", "MB/s", "elements", "same as browser", "elements off");
    for (const Parser &parser : parsers) {
        const double rate = medianMegabytesPerSecond(parser, pages, bytes);
        qint64 elements = 0, off = 0;
        int same = 0;
        for (qsizetype i = 0; i < pages.size(); ++i) {
            const QStringList tags = parser.parse(pages[i].bytes, true);
            elements += tags.size();
            if (browser[i].isEmpty())
                continue;
            if (tags == browser[i])
                ++same;
            off += std::abs(tags.size() - browser[i].size());
        }
        std::printf("%-24s %9.1f %11lld %8d of %-4d %15lld\n", parser.name, rate, elements, same, withBrowser, off);
    }

    std::printf("\nhostile pages, each parse alone in a child process (time, peak memory; > %d s: stopped)\n",
                kHostileSeconds);
    std::printf("%-34s", "page");
    for (const Parser &parser : parsers) {
        if (qstrcmp(parser.name, "MyHTML, tree per page") != 0)
            std::printf(" %-20s", parser.name);
    }
    std::printf("\n");
    const QList<HostileCase> cases = hostileCases(extra);
    const Parser nothing{"nothing", [](QByteArrayView, bool) { return QStringList(); }};
    const long baseline = runHostile(nothing, QByteArray()).toLong();
    for (const HostileCase &hostile : cases) {
        std::printf("%-34s", qPrintable(hostile.name.left(34)));
        std::fflush(stdout);
        for (const Parser &parser : parsers) {
            if (qstrcmp(parser.name, "MyHTML, tree per page") == 0)
                continue;
            std::printf(" %-20s", qPrintable(runHostile(parser, hostile.bytes, baseline)));
            std::fflush(stdout);
        }
        std::printf("\n");
    }
    return 0;
}
