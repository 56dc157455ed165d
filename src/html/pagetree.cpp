#include "pagetree.h"

bool PageTree::isHtml(int node, QStringView localName) const
{
    const Node &element = nodes[size_t(node)];
    return element.ns == Namespace::Html && element.localName == localName;
}

QString PageTree::attribute(int node, QStringView name) const
{
    for (const Document::Attribute &attribute : nodes[size_t(node)].attributes) {
        if (attribute.name == name)
            return attribute.value.isNull() ? QStringLiteral("") : attribute.value;
    }
    return {};
}
