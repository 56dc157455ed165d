#include "metaprescan.h"

#include "pageencoding.h"

#include <QList>

#include <optional>

namespace MetaPrescan {

namespace {

constexpr qsizetype AlwaysScanned = 1024;

bool isSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? char(c + 32) : c;
}

bool startsWithAt(QByteArrayView bytes, qsizetype at, QByteArrayView word)
{
    return at + word.size() <= bytes.size() && bytes.sliced(at, word.size()).compare(word, Qt::CaseInsensitive) == 0;
}

struct Attribute {
    QByteArray name;
    QByteArray value;
};

class Scanner
{
public:
    explicit Scanner(QByteArrayView bytes) : m_bytes(bytes) {}

    QByteArray run()
    {
        while (m_at < m_bytes.size() && !(m_leftHead && m_at >= AlwaysScanned)) {
            if (startsWithAt(m_bytes, m_at, "<!--")) {
                skipComment();
            } else if (startsWithAt(m_bytes, m_at, "<meta") && (isSpace(byteAt(m_at + 5)) || byteAt(m_at + 5) == '/')) {
                m_at += 6;
                if (QByteArray found = meta(); !found.isEmpty())
                    return found;
            } else if (m_bytes[m_at] == '<' && (isLetter(byteAt(m_at + 1)) || (byteAt(m_at + 1) == '/' && isLetter(byteAt(m_at + 2))))) {
                tag();
            } else if (startsWithAt(m_bytes, m_at, "<!") || startsWithAt(m_bytes, m_at, "</") || startsWithAt(m_bytes, m_at, "<?")) {
                skipPast('>');
            } else {
                ++m_at;
            }
        }
        return {};
    }

private:
    bool atEnd() const { return m_at >= m_bytes.size(); }
    // The byte at, or 0 past the end: a test for a given byte needs no bounds of its own.
    char byteAt(qsizetype at) const { return at < m_bytes.size() ? m_bytes[at] : '\0'; }

    void skipComment()
    {
        // The ">" of "-->", whose dashes may be those that opened the comment ("<!-->").
        for (qsizetype i = m_at + 2; i < m_bytes.size(); ++i) {
            if (m_bytes[i] == '>' && i >= m_at + 4 && m_bytes[i - 1] == '-' && m_bytes[i - 2] == '-') {
                m_at = i + 1;
                return;
            }
        }
        m_at = m_bytes.size();
    }

    void skipPast(char c)
    {
        const qsizetype at = m_bytes.indexOf(c, m_at);
        m_at = at < 0 ? m_bytes.size() : at + 1;
    }

    // A start or end tag other than meta: its attributes are skipped, and so is the raw text of
    // an element whose content is not markup.
    void tag()
    {
        const bool end = m_bytes[m_at + 1] == '/';
        // An end tag's name plays no part: its '/' ends the name at once, and the name is read
        // as one more attribute.
        qsizetype at = m_at + 1;
        QByteArray name;
        while (at < m_bytes.size() && !isSpace(m_bytes[at]) && m_bytes[at] != '>' && m_bytes[at] != '/')
            name += lower(m_bytes[at++]);
        m_leftHead = m_leftHead || (!end && !belongsInHead(name));
        m_at = at;
        while (attribute()) {
        }
        if (!end && isRawText(name))
            skipRawText(name);
    }

    static bool belongsInHead(const QByteArray &name)
    {
        static const QList<QByteArray> names{"html", "head", "title", "base", "link", "style", "script", "noscript", "template"};
        return names.contains(name);
    }

    static bool isRawText(const QByteArray &name)
    {
        static const QList<QByteArray> names{"script", "style", "title", "textarea", "xmp", "iframe", "noembed", "noframes", "noscript"};
        return names.contains(name);
    }

    void skipRawText(const QByteArray &name)
    {
        const QByteArray close = "</" + name;
        for (qsizetype at = m_bytes.indexOf('<', m_at); at >= 0; at = m_bytes.indexOf('<', at + 1)) {
            if (startsWithAt(m_bytes, at, close)) {
                m_at = at;
                return;
            }
        }
        m_at = m_bytes.size();
    }

    // Reads one attribute of a tag; nothing at the tag's end or at the end of the bytes.
    std::optional<Attribute> attribute()
    {
        while (isSpace(byteAt(m_at)) || byteAt(m_at) == '/')
            ++m_at;
        if (atEnd() || m_bytes[m_at] == '>')
            return std::nullopt;
        Attribute attribute;
        for (;; ++m_at) {
            if (atEnd())
                return std::nullopt;
            const char c = m_bytes[m_at];
            if (c == '=' && !attribute.name.isEmpty()) {
                ++m_at;
                return value(std::move(attribute));
            }
            if (isSpace(c))
                break;
            if (c == '/' || c == '>')
                return attribute;
            attribute.name += lower(c);
        }
        while (isSpace(byteAt(m_at)))
            ++m_at;
        if (byteAt(m_at) != '=')
            return attribute;
        ++m_at;
        return value(std::move(attribute));
    }

    std::optional<Attribute> value(Attribute attribute)
    {
        while (isSpace(byteAt(m_at)))
            ++m_at;
        if (atEnd())
            return std::nullopt;
        const char quote = m_bytes[m_at];
        if (quote == '"' || quote == '\'') {
            for (++m_at; !atEnd(); ++m_at) {
                if (m_bytes[m_at] == quote) {
                    ++m_at;
                    return attribute;
                }
                attribute.value += lower(m_bytes[m_at]);
            }
            return std::nullopt;
        }
        if (quote == '>')
            return attribute;
        for (; !atEnd(); ++m_at) {
            const char c = m_bytes[m_at];
            if (isSpace(c) || c == '>')
                return attribute;
            attribute.value += lower(c);
        }
        return std::nullopt;
    }

    QByteArray meta()
    {
        QList<QByteArray> seen;
        bool gotPragma = false;
        std::optional<bool> needPragma;
        QByteArray charset;
        while (const std::optional<Attribute> read = attribute()) {
            if (seen.contains(read->name))
                continue;
            seen.append(read->name);
            if (read->name == "http-equiv") {
                gotPragma = gotPragma || read->value == "content-type";
            } else if (read->name == "content" && charset.isEmpty()) {
                charset = PageEncoding::forLabel(charsetInContent(read->value));
                if (!charset.isEmpty())
                    needPragma = true;
            } else if (read->name == "charset") {
                charset = PageEncoding::forLabel(read->value);
                needPragma = false;
            }
        }
        if (!needPragma || (*needPragma && !gotPragma))
            return {};
        return charset;
    }

    QByteArrayView m_bytes;
    qsizetype m_at = 0;
    // Past the first kilobyte the browser stops looking once the head is over.
    bool m_leftHead = false;
};

} // namespace

QByteArray encodingOf(QByteArrayView bytes)
{
    return Scanner(bytes).run();
}

QByteArray charsetInContent(QByteArrayView content)
{
    const QByteArray lowered = content.toByteArray().toLower();
    for (qsizetype at = 0; (at = lowered.indexOf("charset", at)) >= 0;) {
        at += 7;
        while (at < content.size() && isSpace(content[at]))
            ++at;
        if (at >= content.size())
            return {};
        if (content[at] != '=')
            continue;
        ++at;
        while (at < content.size() && isSpace(content[at]))
            ++at;
        if (at >= content.size())
            return {};
        const char quote = content[at];
        if (quote == '"' || quote == '\'') {
            const qsizetype close = content.indexOf(quote, at + 1);
            return close < 0 ? QByteArray() : content.sliced(at + 1, close - at - 1).toByteArray();
        }
        qsizetype end = at;
        while (end < content.size() && !isSpace(content[end]) && content[end] != ';')
            ++end;
        return content.sliced(at, end - at).toByteArray();
    }
    return {};
}

} // namespace MetaPrescan
