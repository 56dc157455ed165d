#include "nodekeys.h"

#include "platform/conversions.h"

int numberFromKey(const QString &key)
{
    return int(leadingNumber(key.mid(1)));
}
