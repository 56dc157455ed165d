#pragma once

#include <QList>
#include <QString>

#include <memory>

// An immutable snapshot of a loaded page: its elements in document order, so an element's
// position in `elements` is its sourceIndex. Built from the live browser or from gumbo; both
// give the same elements for the same static page.
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

    struct Element {
        QString tagName;  // as the page gives it: "DIV" for HTML, "svg" for SVG
        int parent = -1;  // sourceIndex of the parent element, -1 for none
        QString id;
        QString innerText;
        QList<Attribute> attributes; // in page order
        QList<ChildNode> children;   // element and text children in order; others left out
        bool operator==(const Element &) const = default;
    };

    QString url;
    QString title;
    QList<Element> elements;
    // Set when the source stopped early (a page too large or too deep); what is here is the
    // part before the cut, still in document order.
    bool cut = false;
    QString cutReason;

    int length() const { return int(elements.size()); }
    const Element &item(int sourceIndex) const { return elements.at(sourceIndex); }
    // The element with no parent that comes first (the html element), or -1 for an empty page.
    int documentElement() const;
    // Null for an attribute the element does not carry.
    QString attribute(int sourceIndex, const QString &name) const;
};

using DocumentPtr = std::shared_ptr<const Document>;
