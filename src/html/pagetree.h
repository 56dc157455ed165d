#pragma once

#include "document/document.h"

#include <QString>

#include <vector>

// A parsed page as the browser's DOM holds it (deep nesting flattened, adjacent text merged),
// the step between the parser's tree and a Document: it keeps what computing innerText needs.
class PageTree
{
public:
    enum class Namespace : quint8 { Html, Svg, MathMl };

    struct Node {
        QString localName; // lower case, SVG names in their mixed case
        QString tagName;
        Namespace ns = Namespace::Html;
        int parent = -1;
        QList<Document::Attribute> attributes;
        std::vector<int> children; // an element's index, or textReference() of a text
    };

    static bool isText(int child) { return child < 0; }
    static int textIndex(int child) { return ~child; }
    static int textReference(int textIndex) { return ~textIndex; }

    bool isHtml(int node, QStringView localName) const;
    // Null when the element does not carry the attribute.
    QString attribute(int node, QStringView name) const;

    std::vector<Node> nodes; // in document order
    std::vector<QString> texts;
    bool cut = false;
};
