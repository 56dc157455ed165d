#pragma once

#include <QStringList>

class Tamberline;

// The filters as every caller reads them: ElemAttribs(0), (1), … up to the first entry that is
// blank after trimming. Entries are returned untrimmed; the 16-bit index overflows (error 6)
// on a list longer than 32,767 entries.
QStringList walkElemAttribs(const Tamberline &control);

// The same walk over a list held elsewhere (a query file's): the entries before the first
// blank one.
QStringList walkedEntries(const QStringList &stored);
