#pragma once

#include <QByteArrayView>
#include <QString>

#include <gumbo.h>

// Runs gumbo on input, surviving its assertions: Debian's gumbo 0.10.1 keeps them, and some
// malformed pages (an svg <td> in a table, CDATA in a foreign object inside a table) fail
// one, which would abort the whole process. The library is linked in statically with
// __assert_fail wrapped, so a failing assertion unwinds back here instead. Returns null then,
// with what failed in *failure; gumbo's memory is the caller's arena either way.
GumboOutput *runGumbo(const GumboOptions &options, QByteArrayView input, QString *failure);
