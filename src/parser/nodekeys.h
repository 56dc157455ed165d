#pragma once

#include <QString>

// A tree node's key links it to its element: "K" + sourceIndex, and "RootKey" for the document.
inline const QString RootKey = QStringLiteral("RootKey");

inline QString nodeKey(int sourceIndex)
{
    return u'K' + QString::number(sourceIndex);
}

// The number after the key's first character, read as a leading number ("RootKey" gives 0).
int numberFromKey(const QString &key);
