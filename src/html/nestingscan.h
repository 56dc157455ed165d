#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QHash>

#include <vector>

// A linear estimate of how deep the parser will nest a page's elements, made before it runs:
// MyHTML, like any parser that follows the HTML tree construction rules, walks its stack of
// open elements for most start tags, so tens of thousands of unclosed elements take it
// seconds, and a page of them minutes. The tokenizer is modelled closely (tags, quoted
// attributes, comments, raw text); the tree builder coarsely (void and self-closing elements,
// end tags popping to their element, the usual implied end tags, tables and foreign content).
// Active formatting elements are not reopened, so misnested formatting can nest deeper than
// estimated.
class NestingScan
{
public:
    struct Result {
        int depth = 0;           // deepest estimated nesting, the html element counted as 1
        qsizetype startTags = 0; // start tags before the cut
        qsizetype cutAt = -1;    // offset of the first start tag past the cap, or -1
    };

    static Result run(QByteArrayView html, qsizetype maxStartTags);

private:
    enum class Space : quint8 { Html, Svg, MathMl };
    struct Entry {
        int name;
        Space space;
        quint8 categories;
        int depth = 0; // in the tree, html = 1: a form can leave the stack and still hold what follows
        bool htmlContent = false; // an annotation-xml whose encoding is HTML: its content is read as HTML
    };
    struct Tag {
        int name = -1;
        bool selfClosing = false;
        bool htmlContent = false; // an encoding attribute naming HTML
        qsizetype end = -1; // after the '>', or -1 when the input ends inside the tag
    };

    NestingScan(QByteArrayView html, qsizetype maxStartTags);
    void scan();

    qsizetype startTag(qsizetype at);
    qsizetype endTag(qsizetype at);
    qsizetype markupDeclaration(qsizetype at);
    Tag readTag(qsizetype nameBegin);
    int nameId();
    qsizetype findEndTag(qsizetype from, int name) const;
    qsizetype skipPast(qsizetype from, char c) const;
    // The byte at j, or 0 past the end: a test for a given byte needs no bounds of its own.
    char byteAt(qsizetype j) const { return j < m_size ? m_data[j] : '\0'; }
    // Where c is next from `from` on, or -1.
    qsizetype indexOf(char c, qsizetype from) const { return QByteArrayView(m_data, m_size).indexOf(c, from); }

    bool useHtmlRules(int name) const;
    qsizetype htmlStartTag(int name, bool selfClosing, qsizetype tagEnd);
    bool selectStartTag(int name);
    bool tablePartEndsSelect(int name) const;
    bool tableStartTag(int name);
    void htmlEndTag(int name);
    void foreignEndTag(int name);

    // depth 0: one below the current node
    void push(int name, Space space, int depth = 0);
    int nextDepth() const;
    void leaf();
    void pop();
    void popTo(int position);
    int lastPosition(int name) const;
    int topOf(int category) const;
    bool inScope(int name, int category) const;
    int topName() const { return m_stack.back().name; }
    // Where foreign content is read as HTML again, and where scopes end.
    bool readsHtml(const Entry &entry) const;
    bool isIntegrationPoint(int name, Space space) const;
    int tableContext() const;
    bool inSelect() const;
    void generateImpliedEndTags(int except = -1);

    const char *m_data;
    qsizetype m_size;
    qsizetype m_maxStartTags;
    Result m_result;
    std::vector<Entry> m_stack;
    std::vector<std::vector<int>> m_positions; // per name, where it is open, innermost last
    std::vector<int> m_categories[7];
    QHash<QByteArray, int> m_otherNames;
    QByteArray m_name;
    bool m_formOpen = false;
};
