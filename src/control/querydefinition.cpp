#include "querydefinition.h"

#include "platform/runtimeerror.h"

QString QueryDefinition::attrib(int index) const
{
    if (index < 0 || index >= m_attribs.size())
        return {};
    return m_attribs.at(index);
}

void QueryDefinition::putAttrib(int index, const QString &text)
{
    if (index < 0 || index >= m_attribs.size()) {
        m_attribs.append(text);
        return;
    }
    throw RuntimeError(ErrorNumber::ObjectRequired);
}

void QueryDefinition::clearAttribs()
{
    m_attribs.clear();
}
