#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>

// The one web query being edited. Values are stored exactly as given: nothing is checked,
// trimmed or normalised.
class QueryDefinition
{
public:
    QString Url1;
    bool AllowNav2 = false;
    QString SearchText;
    int32_t NodeOffset = 0;

    // The empty text for any index outside the list.
    QString attrib(int index) const;
    // Appends for a negative or past-the-end index; an existing entry cannot be replaced in
    // place (error 424) so the list is only ever rebuilt by clearAttribs and appends.
    void putAttrib(int index, const QString &text);
    void clearAttribs();

    // Every stored entry, blank ones included; most callers walk with attrib() instead.
    const QStringList &storedAttribs() const { return m_attribs; }
    void removeStoredAttrib(int position) { m_attribs.removeAt(position); }

private:
    QStringList m_attribs;
};
