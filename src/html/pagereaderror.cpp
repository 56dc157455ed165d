#include "pagereaderror.h"

PageReadError::PageReadError(const QString &description)
    : RuntimeError(ErrorNumber::Overflow, description)
{
}
