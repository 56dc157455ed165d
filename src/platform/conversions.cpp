#include "conversions.h"

#include "boundarytypes.h"
#include "runtimeerror.h"
#include "document/textrules.h"

#include <cmath>

int32_t convertToInt32(const QString &text)
{
    bool ok = false;
    const double number = trimBlanks(text).toDouble(&ok);
    if (!ok)
        throw RuntimeError(ErrorNumber::TypeMismatch);
    if (!std::isfinite(number) || std::fabs(number) > 3e9)
        throw RuntimeError(ErrorNumber::Overflow);
    return checkedInt32(static_cast<long long>(std::nearbyint(number)));
}

double leadingNumber(const QString &text)
{
    qsizetype i = 0;
    const qsizetype size = text.size();
    while (i < size && (text.at(i) == u' ' || text.at(i) == u'\t' || text.at(i) == u'\n' || text.at(i) == u'\r'))
        ++i;
    const qsizetype start = i;
    if (i < size && (text.at(i) == u'+' || text.at(i) == u'-'))
        ++i;
    qsizetype digits = 0;
    while (i < size && text.at(i).isDigit() && text.at(i).unicode() < 128) {
        ++i;
        ++digits;
    }
    if (i < size && text.at(i) == u'.') {
        ++i;
        while (i < size && text.at(i).isDigit() && text.at(i).unicode() < 128) {
            ++i;
            ++digits;
        }
    }
    if (digits == 0)
        return 0;
    qsizetype end = i;
    // An exponent counts only when digits follow it.
    if (i < size && (text.at(i) == u'e' || text.at(i) == u'E')) {
        qsizetype j = i + 1;
        if (j < size && (text.at(j) == u'+' || text.at(j) == u'-'))
            ++j;
        const qsizetype exponentStart = j;
        while (j < size && text.at(j).isDigit() && text.at(j).unicode() < 128)
            ++j;
        if (j > exponentStart)
            end = j;
    }
    return text.mid(start, end - start).toDouble();
}
