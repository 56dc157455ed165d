// How far the static reader agrees with the browser on real pages. Each page is read both
// ways; queries are built from the browser's snapshot (what the designer shows) and run on
// both, and what they return is compared. Prints agreement rates and the disagreements by
// their likely cause.
// Usage: bench_parity [folder of .html files] [most pages]

#include "browser/webpage.h"
#include "browserloader.h"
#include "pagescripts.h"
#include "pagesource.h"
#include "parser/wildcardmatcher.h"
#include "queryrunner.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QLoggingCategory>

#include <algorithm>
#include <cstdio>
#include <map>
#include <random>

namespace {

using namespace std::chrono_literals;

constexpr std::uint32_t Seed = 20240611;
constexpr int WordQueries = 4;     // per page
constexpr int LeafQueries = 4;     // half of them with the element's tagName as a filter
constexpr int ContainerQueries = 4;
constexpr qsizetype LongestText = 300; // longer texts make patterns few would type

enum class Kind { Word, LeafText, ContainerText };
enum class Encoding { Utf8, Legacy, Undeclared };

struct Tally {
    int queries = 0;
    int sameElement = 0; // tagName and text of the returned element, or both without one
    int same = 0;        // and the same count of matches
    void add(bool element, bool all)
    {
        ++queries;
        sameElement += element;
        same += all;
    }
};

QString lowerAscii(QString text)
{
    for (QChar &c : text) {
        if (c >= u'A' && c <= u'Z')
            c = QChar(c.unicode() + 32);
    }
    return text.trimmed();
}

// What the page says its bytes are: a meta charset, or the charset of a Content-Type meta.
Encoding declaredEncoding(const Document &document, const QByteArray &bytes)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return Encoding::Utf8;
    for (int i = 0; i < document.length(); ++i) {
        if (document.item(i).tagName.compare(u"meta", Qt::CaseInsensitive) != 0)
            continue;
        QString label = lowerAscii(document.attribute(i, QStringLiteral("charset")));
        if (label.isEmpty() && lowerAscii(document.attribute(i, QStringLiteral("http-equiv"))) == u"content-type") {
            const QString content = lowerAscii(document.attribute(i, QStringLiteral("content")));
            const qsizetype at = content.indexOf(u"charset=");
            if (at >= 0)
                label = content.mid(at + 8).section(u';', 0, 0).remove(u'"').remove(u'\'').trimmed();
        }
        if (label.isEmpty())
            continue;
        // A page declaring UTF-16 in its own bytes is read as UTF-8.
        static const QStringList utf8{QStringLiteral("utf-8"), QStringLiteral("utf8"), QStringLiteral("unicode-1-1-utf-8"),
                                      QStringLiteral("unicode11utf8"), QStringLiteral("unicode20utf8"), QStringLiteral("x-unicode20utf8"),
                                      QStringLiteral("utf-16"), QStringLiteral("utf-16le"), QStringLiteral("utf-16be")};
        return utf8.contains(label) ? Encoding::Utf8 : Encoding::Legacy;
    }
    return Encoding::Undeclared;
}

// Texts taken whole as search texts: the wildcards and the escape character in them become
// "?", which still fits the character.
QString asPattern(QStringView text)
{
    QString pattern = text.toString();
    for (QChar &c : pattern) {
        if (c == u'*' || c == u'?' || c == u'\\')
            c = u'?';
    }
    return pattern;
}

QString withoutSpaces(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        if (!c.isSpace())
            result.append(c);
    }
    return result;
}

QString asciiOnly(const QString &text)
{
    QString result;
    for (const QChar c : text) {
        if (c.unicode() < 128 && !c.isSpace())
            result.append(c);
    }
    return result;
}

bool hasNonAscii(const QString &text)
{
    return std::any_of(text.begin(), text.end(), [](QChar c) { return c.unicode() >= 128; });
}

struct Query {
    Kind kind;
    RunnableQuery runnable;
    QString sought; // the word or the text, as the browser shows it
};

// The page's own elements as a user would pick them in the designer: in the body, with text.
class Sampler
{
public:
    Sampler(const Document &document, std::uint32_t seed)
        : m_document(document)
        , m_random(seed)
    {
        QList<bool> inBody(document.length(), false);
        for (int i = 0; i < document.length(); ++i) {
            const Document::Element &element = document.item(i);
            const bool parentInBody = element.parent >= 0 && inBody[element.parent];
            inBody[i] = parentInBody || element.tagName.compare(u"body", Qt::CaseInsensitive) == 0;
            static const QStringList skipped{QStringLiteral("SCRIPT"), QStringLiteral("STYLE"), QStringLiteral("NOSCRIPT"),
                                             QStringLiteral("TEMPLATE"), QStringLiteral("BODY")};
            const QStringView text = document.innerText(i);
            if (!parentInBody || skipped.contains(element.tagName) || text.trimmed().isEmpty() || text.size() > LongestText)
                continue;
            const bool leaf = std::none_of(element.children.begin(), element.children.end(),
                                           [](const Document::ChildNode &child) { return child.isElement(); });
            (leaf ? m_leaves : m_containers).append(i);
        }
    }

    QList<Query> queries()
    {
        QList<Query> result;
        for (const int i : pick(m_leaves, WordQueries)) {
            const QString word = wordOf(m_document.innerText(i).toString());
            if (!word.isEmpty()) // a filter, or the html element would hold every word first
                result.append(make(Kind::Word, QStringLiteral("*") + word + u'*', word, i, true));
        }
        int n = 0;
        for (const int i : pick(m_leaves, LeafQueries))
            result.append(make(Kind::LeafText, asPattern(m_document.innerText(i)), m_document.innerText(i).toString(), i, n++ % 2));
        n = 0;
        for (const int i : pick(m_containers, ContainerQueries))
            result.append(make(Kind::ContainerText, asPattern(m_document.innerText(i)), m_document.innerText(i).toString(), i, n++ % 2));
        return result;
    }

private:
    // std's distributions differ between libraries; the engine's numbers do not.
    int below(int n) { return int(m_random() % std::uint32_t(n)); }

    QList<int> pick(QList<int> from, int count)
    {
        QList<int> picked;
        for (int k = 0; k < count && !from.isEmpty(); ++k)
            picked.append(from.takeAt(below(int(from.size()))));
        return picked;
    }

    QString wordOf(const QString &text)
    {
        QStringList words;
        QString word;
        for (const QChar c : text + u' ') {
            if (c.isLetterOrNumber()) {
                word.append(c);
            } else {
                if (word.size() >= 4)
                    words.append(word);
                word.clear();
            }
        }
        return words.isEmpty() ? QString() : words.at(below(int(words.size())));
    }

    Query make(Kind kind, const QString &pattern, const QString &sought, int element, bool filtered) const
    {
        Query query{kind, {}, sought};
        query.runnable.searchText = pattern;
        if (filtered)
            query.runnable.filters = {QStringLiteral("tagName=") + m_document.item(element).tagName};
        return query;
    }

    const Document &m_document;
    std::mt19937 m_random;
    QList<int> m_leaves;
    QList<int> m_containers;
};

// Elements other than scripts, styles and links: what scripts add besides their own kind.
int contentElements(const Document &document)
{
    static const QStringList kept{QStringLiteral("SCRIPT"), QStringLiteral("STYLE"), QStringLiteral("LINK"), QStringLiteral("META")};
    return int(std::count_if(document.elements.begin(), document.elements.end(),
                             [](const Document::Element &element) { return !kept.contains(element.tagName); }));
}

enum class Extra { None, InBrowser, InStatic };

// Where two texts part: the one that, past their common start, still holds what comes next in
// the other has something more there.
Extra whichHoldsMore(const QString &live, const QString &read)
{
    const QString a = withoutSpaces(live).toCaseFolded();
    const QString b = withoutSpaces(read).toCaseFolded();
    qsizetype common = 0;
    while (common < a.size() && common < b.size() && a.at(common) == b.at(common))
        ++common;
    constexpr qsizetype Next = 24;
    if (common == b.size() || (common < a.size() && a.indexOf(QStringView(b).mid(common, Next), common) > common))
        return common < a.size() ? Extra::InBrowser : Extra::None;
    if (common == a.size() || b.indexOf(QStringView(a).mid(common, Next), common) > common)
        return Extra::InStatic;
    return Extra::None;
}

const QString Encoding_ = QStringLiteral("encoding: non-ASCII characters differ");
const QString TextTransform = QStringLiteral("text-transform: the texts differ in case only");
const QString WhiteSpace = QStringLiteral("white-space: the texts differ in spaces and line breaks only");
const QString Inserted = QStringLiteral("scripts: the browser shows text the static reader has not");
const QString ScriptsOther = QStringLiteral("scripts: other changes to the elements");
const QString Hidden = QStringLiteral("hidden by CSS (or removed by scripts): the static reader shows more");
const QString Missing = QStringLiteral("other: text missing in the static reader of a page without scripts");
const QString Other = QStringLiteral("other");

// Why the static reader answered otherwise, as far as the two answers and the pages tell.
QString likelyCause(const Query &query, const RunResult &live, const RunResult &read, const Document &browser,
                    const Document &parsed, bool scripted, Encoding encoding)
{
    const bool elementsDiffer = contentElements(browser) != contentElements(parsed);
    if (read.succeeded() && live.text != read.text) {
        if (withoutSpaces(live.text) == withoutSpaces(read.text))
            return WhiteSpace;
        if (live.text.toCaseFolded() == read.text.toCaseFolded())
            return TextTransform;
        if ((hasNonAscii(live.text) || hasNonAscii(read.text)) && asciiOnly(live.text) == asciiOnly(read.text))
            return Encoding_;
    }
    if (!read.succeeded()) {
        const QString sought = withoutSpaces(query.sought).toCaseFolded();
        if (!withoutSpaces(parsed.text()).toCaseFolded().contains(sought)) {
            if (hasNonAscii(query.sought) && encoding != Encoding::Utf8)
                return Encoding_;
            return scripted ? Inserted : Missing;
        }
        for (int i = 0; i < parsed.length(); ++i) {
            if (withoutSpaces(parsed.innerText(i).toString()).toCaseFolded() == sought)
                return WhiteSpace;
        }
        return Hidden; // the text is there, inside elements that hold more
    }
    if (live.tagName == read.tagName && live.text == read.text) {
        if (live.matches > read.matches && scripted)
            return Inserted;
        return live.matches < read.matches ? Hidden : Other;
    }
    switch (whichHoldsMore(live.text, read.text)) {
    case Extra::InBrowser:
        return scripted ? Inserted : Missing;
    case Extra::InStatic:
        return Hidden;
    case Extra::None:
        break;
    }
    return scripted && elementsDiffer ? ScriptsOther : Other;
}

// Line breaks and tabs shown, for a disagreement on one line.
QString visible(QString text)
{
    return text.replace(u'\n', QStringLiteral("\\n")).replace(u'\t', QStringLiteral("\\t"));
}

QString percent(int part, int whole)
{
    return whole == 0 ? QStringLiteral("    -  ") : QString::asprintf("%6.1f %%", 100.0 * part / whole);
}

} // namespace

int main(int argc, char *argv[])
{
    if (const QString problem = browserSandboxProblem(); !problem.isEmpty()) {
        std::fprintf(stderr, "bench_parity: %s\n", qPrintable(problem));
        return 2;
    }
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QCoreApplication::setAttribute(Qt::AA_ShareOpenGLContexts);
    QLoggingCategory::setFilterRules(QStringLiteral("qt.webenginecontext.info=false\nqt.webenginecontext.debug=false"));
    QApplication app(argc, argv);
    // Each disagreement on standard error, to see what lies behind the figures.
    const bool details = qEnvironmentVariableIsSet("BENCH_PARITY_DETAILS");
    const QDir folder(argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("bench/.cache/package/files"));
    QStringList names = folder.entryList({QStringLiteral("*.html")}, QDir::Files, QDir::Name);
    if (argc > 2)
        names = names.mid(0, QString::fromLocal8Bit(argv[2]).toInt());
    if (names.isEmpty()) {
        std::fprintf(stderr, "no pages in %s\n", qPrintable(folder.path()));
        return 1;
    }

    BrowserLoader browser;
    browser.setTimeout(15s);
    const WildcardMatcher matcher([] { return 0.5; });
    int browserFailed = 0, staticFailed = 0, pagesRead = 0, scriptedPages = 0, countsDiffer = 0, contentDiffers = 0, unusable = 0;
    qint64 browserNs = 0, staticNs = 0;
    std::map<QString, Tally> tallies; // by a sorting key, printed without it
    std::map<QString, int> causes;
    int disagreements = 0;
    QElapsedTimer timer;
    for (int p = 0; p < names.size(); ++p) {
        const QString path = folder.filePath(names.at(p));
        const PageSource source = PageSource::fromArgument(path);
        DocumentPtr live, parsed;
        QByteArray bytes;
        try {
            timer.start();
            live = browser.load(source);
            browserNs += timer.nsecsElapsed();
        } catch (const PageError &error) {
            ++browserFailed;
            std::fprintf(stderr, "%s: %s\n", qPrintable(names.at(p)), qPrintable(error.message()));
            continue;
        }
        try {
            bytes = source.read();
            timer.start();
            parsed = readStaticDocument(source);
            staticNs += timer.nsecsElapsed();
        } catch (const PageError &error) {
            ++staticFailed;
            std::fprintf(stderr, "%s: %s\n", qPrintable(names.at(p)), qPrintable(error.message()));
            continue;
        }
        ++pagesRead;
        const bool scripted = runsScriptsOnLoad(*live) || runsScriptsOnLoad(*parsed);
        scriptedPages += scripted;
        countsDiffer += live->length() != parsed->length();
        contentDiffers += contentElements(*live) != contentElements(*parsed);
        const Encoding encoding = declaredEncoding(*parsed, bytes);

        Sampler sampler(*live, Seed + std::uint32_t(p));
        for (const Query &query : sampler.queries()) {
            const RunResult a = EvaluateQuery(*live, query.runnable, matcher);
            if (!a.succeeded()) { // the pattern's quirks, or a page past the search's counters
                ++unusable;
                continue;
            }
            const RunResult b = EvaluateQuery(*parsed, query.runnable, matcher);
            const bool sameElement = b.succeeded() && a.tagName == b.tagName && a.text == b.text;
            const bool same = sameElement && a.matches == b.matches;
            const bool leaf = std::none_of(live->item(a.found).children.begin(), live->item(a.found).children.end(),
                                           [](const Document::ChildNode &child) { return child.isElement(); });
            tallies[QStringLiteral("0 overall")].add(sameElement, same);
            tallies[leaf ? QStringLiteral("1 found element a leaf") : QStringLiteral("2 found element a container")].add(sameElement, same);
            static const char *kinds[] = {"3 *word* with a tagName filter", "4 a leaf's whole text", "5 a container's whole text"};
            tallies[QString::fromLatin1(kinds[int(query.kind)])].add(sameElement, same);
            static const char *encodings[] = {"6 pages declaring UTF-8", "7 pages declaring a legacy encoding",
                                              "8 pages declaring no encoding"};
            tallies[QString::fromLatin1(encodings[int(encoding)])].add(sameElement, same);
            tallies[scripted ? QStringLiteral("9 pages that run scripts") : QStringLiteral("9b pages that run none")].add(sameElement, same);
            if (!same) {
                ++disagreements;
                const QString cause = likelyCause(query, a, b, *live, *parsed, scripted, encoding);
                ++causes[cause];
                if (details) {
                    qsizetype at = 0;
                    while (at < a.text.size() && at < b.text.size() && a.text[at] == b.text[at])
                        ++at;
                    const qsizetype from = std::max<qsizetype>(0, at - 40);
                    std::fprintf(stderr, "%s: %s\n  sought  %s\n  browser %s %s\n  static  %s %s\n", qPrintable(names.at(p)),
                                 qPrintable(cause), qPrintable(query.sought.left(120)), qPrintable(a.tagName),
                                 qPrintable(visible(a.text.mid(from, 100))), qPrintable(b.tagName), qPrintable(visible(b.text.mid(from, 100))));
                }
            }
        }
    }

    std::printf("%d pages: %d read both ways, %d not loaded by the browser, %d not read by the static reader\n",
                int(names.size()), pagesRead, browserFailed, staticFailed);
    std::printf("  %d run scripts as they load; %d give the two readers different element counts, %d when scripts, "
                "styles, links and metas are left out\n",
                scriptedPages, countsDiffer, contentDiffers);
    std::printf("  reading: browser %.0f ms a page, static reader %.1f ms a page\n",
                pagesRead ? browserNs / 1e6 / (pagesRead + staticFailed) : 0.0, pagesRead ? staticNs / 1e6 / pagesRead : 0.0);
    std::printf("%d queries built from the browser's snapshot (seed %u); %d more left out, the browser's own search "
                "answering nothing\n\n",
                tallies[QStringLiteral("0 overall")].queries, Seed, unusable);
    std::printf("agreement of the static reader with the browser   element+text   +matches   queries\n");
    for (const auto &[key, tally] : tallies) {
        std::printf("  %-46s   %s   %s   %7d\n", qPrintable(key.section(u' ', 1, -1)), qPrintable(percent(tally.sameElement, tally.queries)),
                    qPrintable(percent(tally.same, tally.queries)), tally.queries);
    }
    std::printf("\n%d disagreements (element, text or matches) by likely cause:\n", disagreements);
    std::multimap<int, QString, std::greater<>> byCount;
    for (const auto &[cause, count] : causes)
        byCount.emplace(count, cause);
    for (const auto &[count, cause] : byCount)
        std::printf("  %-66s %5d  %s\n", qPrintable(cause), count, qPrintable(percent(count, disagreements)));
    return 0;
}
