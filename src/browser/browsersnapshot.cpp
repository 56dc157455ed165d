#include "browsersnapshot.h"

namespace {

// A reader for exactly the JSON that the page bridge writes, straight from the UTF-16 text the
// browser hands over: a general JSON parser costs several times more on a large page.
class SnapshotReader
{
public:
    explicit SnapshotReader(QStringView text) : m_text(text) {}

    DocumentPtr read()
    {
        auto document = std::make_shared<Document>();
        expect(u'{');
        bool first = true;
        while (!consume(u'}')) {
            if (!first)
                expect(u',');
            first = false;
            const QString key = readString();
            expect(u':');
            if (key == u"url")
                document->url = readString();
            else if (key == u"title")
                document->title = readString();
            else if (key == u"cut")
                document->cut = readBool();
            else if (key == u"cutReason")
                document->cutReason = readString();
            else if (key == u"textsPending")
                document->textsPending = readBool();
            else if (key == u"unreadTextFrom")
                document->unreadTextFrom = readIndex();
            else if (key == u"nodes")
                readNodes(*document);
            else if (key == u"texts")
                readTextList(*document);
            else
                fail("an unknown key");
        }
        skipSpace();
        if (m_pos != m_text.size())
            fail("text after the snapshot");
        return document;
    }

    // The texts of a snapshot read without them: a document like structure with its texts.
    DocumentPtr readTexts(const Document &structure)
    {
        auto document = std::make_shared<Document>();
        document->url = structure.url;
        document->title = structure.title;
        document->cut = structure.cut;
        document->cutReason = structure.cutReason;
        document->elements = structure.elements;
        bool texts = false;
        expect(u'{');
        bool first = true;
        while (!consume(u'}')) {
            if (!first)
                expect(u',');
            first = false;
            const QString key = readString();
            expect(u':');
            if (key == u"texts") {
                readTextList(*document);
                texts = true;
            } else if (key == u"cut") {
                document->cut = readBool() || document->cut;
            } else if (key == u"cutReason") {
                const QString reason = readString();
                if (!reason.isEmpty())
                    document->cutReason = reason;
            } else if (key == u"unreadTextFrom") {
                document->unreadTextFrom = readIndex();
            } else {
                fail("an unknown key");
            }
        }
        skipSpace();
        if (m_pos != m_text.size() || !texts)
            fail("not the texts of the elements");
        return document;
    }

private:
    [[noreturn]] static void fail(const char *what) { throw SnapshotFormatError(what); }

    void skipSpace()
    {
        while (m_pos < m_text.size() && (m_text[m_pos] == u' ' || m_text[m_pos] == u'\n' || m_text[m_pos] == u'\r'
                                         || m_text[m_pos] == u'\t'))
            ++m_pos;
    }

    bool consume(char16_t c)
    {
        skipSpace();
        if (m_pos < m_text.size() && m_text[m_pos] == c) {
            ++m_pos;
            return true;
        }
        return false;
    }

    void expect(char16_t c)
    {
        if (!consume(c))
            fail("unexpected character");
    }

    bool readBool()
    {
        skipSpace();
        if (m_text.mid(m_pos).startsWith(u"true")) {
            m_pos += 4;
            return true;
        }
        if (m_text.mid(m_pos).startsWith(u"false")) {
            m_pos += 5;
            return false;
        }
        fail("a Boolean was expected");
    }

    long long readInteger()
    {
        skipSpace();
        const bool negative = m_text.mid(m_pos).startsWith(u'-');
        if (negative)
            ++m_pos;
        const qsizetype start = m_pos;
        long long value = 0;
        while (m_pos < m_text.size() && m_text[m_pos] >= u'0' && m_text[m_pos] <= u'9') {
            value = value * 10 + (m_text[m_pos].unicode() - u'0');
            if (value > 1'000'000'000)
                fail("an index is too large");
            ++m_pos;
        }
        if (m_pos == start)
            fail("a number was expected");
        return negative ? -value : value;
    }

    int hexDigit(QChar c)
    {
        const char16_t u = c.unicode();
        if (u >= u'0' && u <= u'9')
            return u - u'0';
        if (u >= u'a' && u <= u'f')
            return u - u'a' + 10;
        if (u >= u'A' && u <= u'F')
            return u - u'A' + 10;
        fail("a bad \\u escape");
    }

    QString readString()
    {
        expect(u'"');
        QString result;
        qsizetype runStart = m_pos;
        while (true) {
            if (m_pos >= m_text.size())
                fail("an unterminated string");
            const char16_t c = m_text[m_pos].unicode();
            if (c == u'"') {
                result.append(m_text.mid(runStart, m_pos - runStart));
                ++m_pos;
                return result;
            }
            if (c != u'\\') {
                ++m_pos;
                continue;
            }
            result.append(m_text.mid(runStart, m_pos - runStart));
            if (m_pos + 1 >= m_text.size())
                fail("an unterminated escape");
            const char16_t escaped = m_text[m_pos + 1].unicode();
            m_pos += 2;
            switch (escaped) {
            case u'"': result.append(u'"'); break;
            case u'\\': result.append(u'\\'); break;
            case u'/': result.append(u'/'); break;
            case u'b': result.append(u'\b'); break;
            case u'f': result.append(u'\f'); break;
            case u'n': result.append(u'\n'); break;
            case u'r': result.append(u'\r'); break;
            case u't': result.append(u'\t'); break;
            case u'u': {
                if (m_pos + 4 > m_text.size())
                    fail("a short \\u escape");
                int code = 0;
                for (int i = 0; i < 4; ++i)
                    code = code * 16 + hexDigit(m_text[m_pos + i]);
                m_pos += 4;
                result.append(QChar(char16_t(code)));
                break;
            }
            default:
                fail("an unknown escape");
            }
            runStart = m_pos;
        }
    }

    // An element's index, or -1 for none; readInteger() bounds it above.
    int readIndex()
    {
        const long long value = readInteger();
        if (value < -1)
            fail("an element index is out of range");
        return int(value);
    }

    // The flat list of elements and text nodes that snapshot() writes, in document order.
    void readNodes(Document &document)
    {
        expect(u'[');
        if (consume(u']'))
            return;
        do {
            const long long first = readInteger();
            expect(u',');
            if (first <= -2) {
                const long long parent = -2 - first;
                if (parent >= document.length())
                    fail("a text's parent is out of range");
                document.elements[parent].children.append(Document::ChildNode{.text = readString()});
                continue;
            }
            const int index = document.length();
            if (first >= index)
                fail("an element's parent is out of range"); // parents come first
            Document::Element element;
            element.parent = int(first);
            element.tagName = readString();
            expect(u',');
            const long long count = readInteger();
            for (long long i = 0; i < count; ++i) {
                Document::Attribute attribute;
                expect(u',');
                attribute.name = readString();
                expect(u',');
                attribute.value = readString();
                if (attribute.name == u"id")
                    element.id = attribute.value;
                element.attributes.append(std::move(attribute));
            }
            if (element.parent >= 0)
                document.elements[element.parent].children.append(Document::ChildNode{index, {}});
            document.elements.append(std::move(element));
        } while (consume(u','));
        expect(u']');
    }

    // One text for each element, in order.
    void readTextList(Document &document)
    {
        qsizetype next = 0;
        expect(u'[');
        if (!consume(u']')) {
            do {
                if (next >= document.elements.size())
                    fail("more texts than elements");
                document.elements[next++].innerText = document.appendText(readString());
            } while (consume(u','));
            expect(u']');
        }
        if (next != document.elements.size())
            fail("fewer texts than elements");
    }

    QStringView m_text;
    qsizetype m_pos = 0;
};

} // namespace

DocumentPtr documentFromSnapshotJson(QStringView json)
{
    return SnapshotReader(json).read();
}

DocumentPtr documentWithTexts(const Document &structure, QStringView json)
{
    return SnapshotReader(json).readTexts(structure);
}
