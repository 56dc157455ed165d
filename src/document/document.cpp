#include "document.h"

#include "textcase.h"

QStringView Document::innerText(int sourceIndex) const
{
    const TextRange range = elements.at(sourceIndex).innerText;
    // mid() rather than sliced(): a range out of the text gives what overlaps, not a crash.
    return QStringView(m_text).mid(range.start, range.length);
}

QStringView Document::upperInnerText(int sourceIndex) const
{
    const TextRange range = elements.at(sourceIndex).innerText;
    return QStringView(m_upperText).mid(range.start, range.length);
}

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

void Document::setText(QString text)
{
    m_text = std::move(text);
    m_upperText = toUpperKeepingLength(m_text);
}

Document::TextRange Document::appendText(QString text)
{
    const TextRange range{m_text.size(), text.size()};
    m_text.append(text);
    m_upperText.resize(m_text.size());
    toUpperKeepingLength(text, m_upperText.data() + range.start);
    return range;
}

int Document::append(Element element, QStringView innerText)
{
    element.innerText = appendText(innerText.toString());
    elements.append(std::move(element));
    return length() - 1;
}
