#pragma once

#include <QString>
#include <QStringList>

// The name=value list that the attribute editors keep: adding a name replaces its earlier
// entries (exact, case-sensitive) and puts the new one at the end.
namespace AttributeList {

// Returns false, changing nothing, for a name that is blank after trimming.
bool add(QStringList &entries, const QString &name, const QString &value);

// An entry split at its first "=" into name and value; nothing for an entry without "=".
bool split(const QString &entry, QString &name, QString &value);

} // namespace AttributeList
