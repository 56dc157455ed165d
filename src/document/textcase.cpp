#include "textcase.h"

namespace {
constexpr qsizetype kBlock = 16;

// Upper-cases a block that is all ASCII, in a loop the compiler turns into vector steps; false,
// and nothing written, when it is not.
bool upperAsciiBlock(const char16_t *in, char16_t *out)
{
    char16_t any = 0;
    for (qsizetype i = 0; i < kBlock; ++i)
        any |= in[i];
    if (any >= 0x80)
        return false;
    for (qsizetype i = 0; i < kBlock; ++i) {
        const char16_t c = in[i];
        out[i] = char16_t(c - ((c >= u'a' && c <= u'z') ? 0x20 : 0));
    }
    return true;
}
} // namespace

void toUpperKeepingLength(QStringView text, QChar *out)
{
    const qsizetype size = text.size();
    const auto *in = reinterpret_cast<const char16_t *>(text.data());
    auto *to = reinterpret_cast<char16_t *>(out);
    qsizetype slowUntil = 0; // after a block that is not all ASCII, its characters one by one
    for (qsizetype i = 0; i < size;) {
        if (i >= slowUntil && i + kBlock <= size) {
            if (upperAsciiBlock(in + i, to + i)) {
                i += kBlock;
                continue;
            }
            slowUntil = i + kBlock;
        }
        const char16_t c = text[i].unicode();
        if (c < 0x80) {
            out[i++] = QChar(c >= u'a' && c <= u'z' ? char16_t(c - 0x20) : c);
            continue;
        }
        if (QChar::isHighSurrogate(c) && i + 1 < size && text[i + 1].isLowSurrogate()) {
            const char32_t upper = QChar::toUpper(QChar::surrogateToUcs4(c, text[i + 1].unicode()));
            const bool pair = QChar::requiresSurrogates(upper);
            out[i] = pair ? QChar(QChar::highSurrogate(upper)) : text[i];
            out[i + 1] = pair ? QChar(QChar::lowSurrogate(upper)) : text[i + 1];
            i += 2;
            continue;
        }
        const char32_t upper = QChar::toUpper(char32_t(c));
        out[i++] = QChar::requiresSurrogates(upper) ? QChar(c) : QChar(char16_t(upper));
    }
}

QString toUpperKeepingLength(QStringView text)
{
    QString result(text.size(), Qt::Uninitialized);
    toUpperKeepingLength(text, result.data());
    return result;
}
