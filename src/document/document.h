#pragma once

#include <QList>
#include <QString>
#include <QStringView>

#include <memory>

// An immutable snapshot of a loaded page: its elements in document order, so an element's
// position in `elements` is its sourceIndex. Built from the live browser or by the static
// reader; both give the same elements for the same static page.
//
// The elements' innerTexts are ranges of one text the document holds, with an upper-case copy
// of the same length beside it for the search: an element's text usually holds its
// descendants', so one string per element would cost the page's text many times over.
class Document
{
public:
    struct Attribute {
        QString name;
        QString value;
        bool operator==(const Attribute &) const = default;
    };

    // A child node: an element (its sourceIndex) or a text node (its text).
    struct ChildNode {
        int element = -1;
        QString text;
        bool isElement() const { return element >= 0; }
        bool operator==(const ChildNode &) const = default;
    };

    // A part of the document's text.
    struct TextRange {
        qsizetype start = 0;
        qsizetype length = 0;
        bool operator==(const TextRange &) const = default;
    };

    struct Element {
        QString tagName;  // as the page gives it: "DIV" for HTML, "svg" for SVG
        int parent = -1;  // sourceIndex of the parent element, -1 for none
        QString id;
        QList<Attribute> attributes; // in page order
        QList<ChildNode> children;   // element and text children in order; others left out
        TextRange innerText;         // where text() holds it
        bool operator==(const Element &) const = default;
    };

    QString url;
    QString title;
    QList<Element> elements;
    // Set when the source stopped early (a page too large or too deep); what is here is the
    // part before the cut, still in document order.
    bool cut = false;
    QString cutReason;
    // The first element whose text was not read (its innerText is empty), -1 when all were.
    int unreadTextFrom = -1;
    // The elements are here and their texts still to come (the browser sends the structure
    // first): no text may be read from this document.
    bool textsPending = false;

    int length() const { return int(elements.size()); }
    const Element &item(int sourceIndex) const { return elements.at(sourceIndex); }
    QStringView innerText(int sourceIndex) const;
    // innerText upper-cased by toUpperKeepingLength (textcase.h).
    QStringView upperInnerText(int sourceIndex) const;
    // The element with no parent that comes first (the html element), or -1 for an empty page.
    int documentElement() const;
    // Null for an attribute the element does not carry.
    QString attribute(int sourceIndex, const QString &name) const;

    // The text every element's innerText is a range of.
    const QString &text() const { return m_text; }
    // Replaces the whole text; the elements' ranges are the caller's to set.
    void setText(QString text);
    // Adds text at the end and gives where it went. Taken as a copy: a view of the document's
    // own text would dangle once the append moves it.
    TextRange appendText(QString text);
    // Adds an element whose innerText is added at the end of the text; gives its sourceIndex.
    int append(Element element, QStringView innerText = {});

private:
    QString m_text;
    QString m_upperText;
};

using DocumentPtr = std::shared_ptr<const Document>;
