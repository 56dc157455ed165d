#include "attribwalk.h"

#include "platform/boundarytypes.h"
#include "document/textrules.h"
#include <tamberline/tamberlinecontrol.h>

#include <algorithm>

QStringList walkElemAttribs(const Tamberline &control)
{
    QStringList entries;
    for (long long i = 0;; ++i) {
        const QString entry = control.ElemAttribs(checkedInt16(i));
        if (trimBlanks(entry).isEmpty())
            return entries;
        entries.append(entry);
    }
}

QStringList walkedEntries(const QStringList &stored)
{
    const auto blank = std::find_if(stored.begin(), stored.end(), [](const QString &entry) { return trimBlanks(entry).isEmpty(); });
    return QStringList(stored.begin(), blank);
}
