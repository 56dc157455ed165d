#include "textcase.h"

void toUpperKeepingLength(QStringView text, QChar *out)
{
    const qsizetype size = text.size();
    for (qsizetype i = 0; i < size;) {
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
