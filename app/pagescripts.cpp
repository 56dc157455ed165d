#include "pagescripts.h"

#include "html/asciiwhitespace.h"

#include <QSet>

namespace {

QString trimmedAsciiLower(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && isAsciiWhitespace(text.at(begin)))
        ++begin;
    while (end > begin && isAsciiWhitespace(text.at(end - 1)))
        --end;
    QString result = text.mid(begin, end - begin);
    for (QChar &c : result) {
        if (c >= u'A' && c <= u'Z')
            c = QChar(c.unicode() + 32);
    }
    return result;
}

// A type with parameters ("text/javascript; charset=utf-8") is a data block: the browser
// compares the whole value.
bool isJavaScriptType(const QString &type)
{
    static const QSet<QString> javaScript{
        QStringLiteral("application/ecmascript"), QStringLiteral("application/javascript"), QStringLiteral("application/x-ecmascript"),
        QStringLiteral("application/x-javascript"), QStringLiteral("text/ecmascript"),   QStringLiteral("text/javascript"),
        QStringLiteral("text/javascript1.0"),        QStringLiteral("text/javascript1.1"), QStringLiteral("text/javascript1.2"),
        QStringLiteral("text/javascript1.3"),        QStringLiteral("text/javascript1.4"), QStringLiteral("text/javascript1.5"),
        QStringLiteral("text/jscript"),              QStringLiteral("text/livescript"),    QStringLiteral("text/x-ecmascript"),
        QStringLiteral("text/x-javascript")};
    return type.isEmpty() || javaScript.contains(type);
}

// JSON, templates, import maps and other data blocks are never run; a classic script marked
// nomodule is skipped by a browser that runs modules; an inline script without text runs
// nothing, and an empty src only fires an error.
bool isScriptThatRuns(const Document &document, int index)
{
    const Document::Element &element = document.item(index);
    const QString typeAttribute = document.attribute(index, QStringLiteral("type"));
    const QString language = document.attribute(index, QStringLiteral("language"));
    QString type = trimmedAsciiLower(typeAttribute);
    if (typeAttribute.isNull() && !language.isEmpty())
        type = QStringLiteral("text/") + trimmedAsciiLower(language);
    const bool module = type == u"module";
    if (!module && (!isJavaScriptType(type) || !document.attribute(index, QStringLiteral("nomodule")).isNull()))
        return false;
    const QString source = document.attribute(index, QStringLiteral("src"));
    if (!source.isNull())
        return !trimmedAsciiLower(source).isEmpty();
    for (const Document::ChildNode &child : element.children) {
        if (!child.isElement() && !stripAndCollapseAsciiWhitespace(child.text).isEmpty())
            return true;
    }
    return false;
}

// Handlers of events that fire while the page loads, with no one at the page: loads and
// failed loads of the page and what it fetches, media that load or play by themselves, CSS
// animations and transitions, SVG animations, details opened by the markup. Handlers that
// wait for a click, a key or the pointer do not count: every snapshot is taken before any.
bool isHandlerRunOnLoad(const QString &attributeName)
{
    static const QSet<QString> events{
        QStringLiteral("onload"),          QStringLiteral("onerror"),         QStringLiteral("onpageshow"),
        QStringLiteral("onloadstart"),     QStringLiteral("onprogress"),      QStringLiteral("onsuspend"),
        QStringLiteral("onstalled"),       QStringLiteral("onemptied"),       QStringLiteral("onloadedmetadata"),
        QStringLiteral("onloadeddata"),    QStringLiteral("oncanplay"),       QStringLiteral("oncanplaythrough"),
        QStringLiteral("ondurationchange"), QStringLiteral("onplay"),         QStringLiteral("onplaying"),
        QStringLiteral("ontimeupdate"),    QStringLiteral("onwaiting"),       QStringLiteral("onanimationstart"),
        QStringLiteral("onanimationiteration"), QStringLiteral("onanimationend"), QStringLiteral("onanimationcancel"),
        QStringLiteral("ontransitionrun"), QStringLiteral("ontransitionstart"), QStringLiteral("ontransitionend"),
        QStringLiteral("ontransitioncancel"), QStringLiteral("onbegin"),      QStringLiteral("onend"),
        QStringLiteral("onrepeat"),        QStringLiteral("ontoggle")};
    return events.contains(trimmedAsciiLower(attributeName));
}

bool loadsJavaScriptUrl(const Document &document, int index)
{
    const QString tag = document.item(index).tagName;
    if (tag.compare(u"iframe", Qt::CaseInsensitive) != 0 && tag.compare(u"frame", Qt::CaseInsensitive) != 0)
        return false;
    return trimmedAsciiLower(document.attribute(index, QStringLiteral("src"))).startsWith(u"javascript:");
}

} // namespace

bool runsScriptsOnLoad(const Document &document)
{
    for (int i = 0; i < document.length(); ++i) {
        const Document::Element &element = document.item(i);
        // HTML's SCRIPT and SVG's script alike.
        if (element.tagName.compare(u"script", Qt::CaseInsensitive) == 0 && isScriptThatRuns(document, i))
            return true;
        for (const Document::Attribute &attribute : element.attributes) {
            if (isHandlerRunOnLoad(attribute.name) && !trimmedAsciiLower(attribute.value).isEmpty())
                return true;
        }
        if (loadsJavaScriptUrl(document, i))
            return true;
    }
    return false;
}
