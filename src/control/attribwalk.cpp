#include "attribwalk.h"

#include "platform/boundarytypes.h"
#include "platform/textrules.h"
#include "tamberlinecontrol.h"

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
