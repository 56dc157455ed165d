#include "attributelist.h"

#include "document/textrules.h"

namespace AttributeList {

bool add(QStringList &entries, const QString &name, const QString &value)
{
    const QString trimmed = trimBlanks(name);
    if (trimmed.isEmpty())
        return false;
    const QString prefix = trimmed + u'=';
    for (qsizetype i = entries.size() - 1; i >= 0; --i) {
        if (entries.at(i).left(prefix.size()) == prefix)
            entries.removeAt(i);
    }
    entries.append(prefix + trimBlanks(value));
    return true;
}

bool split(const QString &entry, QString &name, QString &value)
{
    const qsizetype at = entry.indexOf(u'=');
    if (at < 0)
        return false;
    name = entry.left(at);
    value = entry.mid(at + 1);
    return true;
}

} // namespace AttributeList
