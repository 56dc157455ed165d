#pragma once

#include "platform/runtimeerror.h"

// A page the static reader refuses to read: too large, nested too deep for the parser to
// finish in reasonable time, or with more text than the snapshot may hold. Raised as run-time error 6
// (Overflow) with a description a host can show as it is.
class PageReadError : public RuntimeError
{
public:
    explicit PageReadError(const QString &description);
};
