#include "document.h"

int Document::documentElement() const
{
    for (int i = 0; i < elements.size(); ++i) {
        if (elements.at(i).parent < 0)
            return i;
    }
    return -1;
}

QString Document::attribute(int sourceIndex, const QString &name) const
{
    for (const Attribute &attribute : elements.at(sourceIndex).attributes) {
        if (attribute.name.compare(name, Qt::CaseInsensitive) == 0)
            return attribute.value.isNull() ? QStringLiteral("") : attribute.value;
    }
    return {};
}
