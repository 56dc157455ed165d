#include "textcase.h"

#include <cstdint>
#include <cstring>

namespace {
constexpr qsizetype kBlock = 16;

// Four UTF-16 units of ASCII in one word, upper-cased together: a lane gets 0x80 added past
// 'a' - 1 and not past 'z', which leaves 0x20 to subtract exactly in the lowercase letters.
std::uint64_t upperAsciiLanes(std::uint64_t lanes)
{
    constexpr std::uint64_t ones = 0x0001000100010001;
    const std::uint64_t fromA = lanes + ones * (0x80 - 'a');
    const std::uint64_t pastZ = lanes + ones * (0x80 - 'z' - 1);
    return lanes - (((fromA & ~pastZ) & ones * 0x80) >> 2);
}

// Upper-cases a block that is all ASCII a word at a time; false, and nothing written, when it
// is not all ASCII.
bool upperAsciiBlock(const char16_t *in, char16_t *out)
{
    std::uint64_t words[kBlock / 4];
    std::memcpy(words, in, sizeof words);
    if ((words[0] | words[1] | words[2] | words[3]) & 0xff80ff80ff80ff80)
        return false;
    for (std::uint64_t &word : words)
        word = upperAsciiLanes(word);
    std::memcpy(out, words, sizeof words);
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
