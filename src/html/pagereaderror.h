#pragma once

#include "platform/runtimeerror.h"

// A page the static parser refuses to read: too large, nested too deep for gumbo to finish in
// reasonable time, or with more text than the snapshot may hold. Raised as run-time error 6
// (Overflow) with a description a host can show as it is.
class PageReadError : public RuntimeError
{
public:
    explicit PageReadError(const QString &description);
};
