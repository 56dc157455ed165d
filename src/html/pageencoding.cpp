#include "pageencoding.h"

#include "metaprescan.h"

#include <QHash>
#include <QStringDecoder>

#include <unicode/ucnv.h>

#include <memory>

namespace PageEncoding {

namespace {

// Every label of the web's encodings, by encoding.
const QHash<QByteArray, QByteArray> &labels()
{
    static const QHash<QByteArray, QByteArray> table = [] {
        // Each encoding with its labels, blank-separated.
        const std::pair<const char *, const char *> byEncoding[] = {
            {"UTF-8", "unicode-1-1-utf-8 unicode11utf8 unicode20utf8 utf-8 utf8 x-unicode20utf8"},
            {"IBM866", "866 cp866 csibm866 ibm866"},
            {"ISO-8859-2", "csisolatin2 iso-8859-2 iso-ir-101 iso8859-2 iso88592 iso_8859-2 iso_8859-2:1987 l2 latin2"},
            {"ISO-8859-3", "csisolatin3 iso-8859-3 iso-ir-109 iso8859-3 iso88593 iso_8859-3 iso_8859-3:1988 l3 latin3"},
            {"ISO-8859-4", "csisolatin4 iso-8859-4 iso-ir-110 iso8859-4 iso88594 iso_8859-4 iso_8859-4:1988 l4 latin4"},
            {"ISO-8859-5", "csisolatincyrillic cyrillic iso-8859-5 iso-ir-144 iso8859-5 iso88595 iso_8859-5 iso_8859-5:1988"},
            {"ISO-8859-6", "arabic asmo-708 csiso88596e csiso88596i csisolatinarabic ecma-114 iso-8859-6 iso-8859-6-e iso-8859-6-i iso-ir-127 iso8859-6 iso88596 iso_8859-6 iso_8859-6:1987"},
            {"ISO-8859-7", "csisolatingreek ecma-118 elot_928 greek greek8 iso-8859-7 iso-ir-126 iso8859-7 iso88597 iso_8859-7 iso_8859-7:1987 sun_eu_greek"},
            {"ISO-8859-8", "csiso88598e csisolatinhebrew hebrew iso-8859-8 iso-8859-8-e iso-ir-138 iso8859-8 iso88598 iso_8859-8 iso_8859-8:1988 visual"},
            {"ISO-8859-8-I", "csiso88598i iso-8859-8-i logical"},
            {"ISO-8859-10", "csisolatin6 iso-8859-10 iso-ir-157 iso8859-10 iso885910 l6 latin6"},
            {"ISO-8859-13", "iso-8859-13 iso8859-13 iso885913"},
            {"ISO-8859-14", "iso-8859-14 iso8859-14 iso885914"},
            {"ISO-8859-15", "csisolatin9 iso-8859-15 iso8859-15 iso885915 iso_8859-15 l9"},
            {"ISO-8859-16", "iso-8859-16"},
            {"KOI8-R", "cskoi8r koi koi8 koi8-r koi8_r"},
            {"KOI8-U", "koi8-ru koi8-u"},
            {"macintosh", "csmacintosh mac macintosh x-mac-roman"},
            {"windows-874", "dos-874 iso-8859-11 iso8859-11 iso885911 tis-620 windows-874"},
            {"windows-1250", "cp1250 windows-1250 x-cp1250"},
            {"windows-1251", "cp1251 windows-1251 x-cp1251"},
            {"windows-1252", "ansi_x3.4-1968 ascii cp1252 cp819 csisolatin1 ibm819 iso-8859-1 iso-ir-100 iso8859-1 iso88591 iso_8859-1 iso_8859-1:1987 l1 latin1 us-ascii windows-1252 x-cp1252"},
            {"windows-1253", "cp1253 windows-1253 x-cp1253"},
            {"windows-1254", "cp1254 csisolatin5 iso-8859-9 iso-ir-148 iso8859-9 iso88599 iso_8859-9 iso_8859-9:1989 l5 latin5 windows-1254 x-cp1254"},
            {"windows-1255", "cp1255 windows-1255 x-cp1255"},
            {"windows-1256", "cp1256 windows-1256 x-cp1256"},
            {"windows-1257", "cp1257 windows-1257 x-cp1257"},
            {"windows-1258", "cp1258 windows-1258 x-cp1258"},
            {"x-mac-cyrillic", "x-mac-cyrillic x-mac-ukrainian"},
            {"GBK", "chinese csgb2312 csiso58gb231280 gb2312 gb_2312 gb_2312-80 gbk iso-ir-58 x-gbk"},
            {"gb18030", "gb18030"},
            {"Big5", "big5 big5-hkscs cn-big5 csbig5 x-x-big5"},
            {"EUC-JP", "cseucpkdfmtjapanese euc-jp x-euc-jp"},
            {"ISO-2022-JP", "csiso2022jp iso-2022-jp"},
            {"Shift_JIS", "csshiftjis ms932 ms_kanji shift-jis shift_jis sjis windows-31j x-sjis"},
            {"EUC-KR", "cseuckr csksc56011987 euc-kr iso-ir-149 korean ks_c_5601-1987 ks_c_5601-1989 ksc5601 ksc_5601 windows-949"},
            {"replacement", "csiso2022kr hz-gb-2312 iso-2022-cn iso-2022-cn-ext iso-2022-kr replacement"},
            {"UTF-16BE", "unicodefffe utf-16be"},
            {"UTF-16LE", "csunicode iso-10646-ucs-2 ucs-2 unicode unicodefeff utf-16 utf-16le"},
            {"x-user-defined", "x-user-defined"},
        };
        QHash<QByteArray, QByteArray> built;
        for (const auto &[encoding, names] : byEncoding) {
            for (const QByteArray &name : QByteArray(names).split(' '))
                built.insert(name, QByteArray(encoding));
        }
        return built;
    }();
    return table;
}

bool isAsciiWhitespace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\f' || c == '\r';
}

// The converter for the encodings the web and ICU name alike; the web's euc-kr is ICU's
// windows-949, its Big5 the one with the Hong Kong additions.
const char *icuName(const QByteArray &encoding)
{
    if (encoding == "EUC-KR")
        return "windows-949";
    if (encoding == "Big5")
        return "Big5-HKSCS";
    if (encoding == "ISO-8859-8-I")
        return "ISO-8859-8";
    if (encoding == "IBM866")
        return "ibm-866";
    return encoding.constData();
}

// ICU's own substitutions are kept: the browser decodes with ICU too, and so gives U+001A for
// an illegal sequence where some converters say so, and U+FFFD for an unmapped one.
QString decodeWithIcu(QByteArrayView bytes, const QByteArray &encoding)
{
    UErrorCode error = U_ZERO_ERROR;
    const std::unique_ptr<UConverter, decltype(&ucnv_close)> converter(ucnv_open(icuName(encoding), &error), &ucnv_close);
    if (U_FAILURE(error))
        return QString::fromLatin1(bytes); // an encoding this ICU lacks: each byte a character
    QString text(bytes.size() * 2 + 16, Qt::Uninitialized);
    auto *target = reinterpret_cast<UChar *>(text.data());
    const char *source = bytes.data();
    ucnv_toUnicode(converter.get(), &target, target + text.size(), &source, source + bytes.size(), nullptr, true, &error);
    text.truncate(target - reinterpret_cast<UChar *>(text.data()));
    return text;
}

// windows-1252 (and so Latin-1 and ASCII) is the web's most common legacy encoding and maps
// every byte, so it needs no converter: C1 bytes are the typographic characters.
QString decodeWindows1252(QByteArrayView bytes)
{
    static const char16_t c1[32] = {0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
                                    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
                                    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};
    QString text(bytes.size(), Qt::Uninitialized);
    QChar *out = text.data();
    for (const char byte : bytes) {
        const auto b = static_cast<unsigned char>(byte);
        *out++ = QChar(b >= 0x80 && b < 0xA0 ? c1[b - 0x80] : char16_t(b));
    }
    return text;
}

} // namespace

QByteArray forLabel(QByteArrayView label)
{
    qsizetype begin = 0, end = label.size();
    while (begin < end && isAsciiWhitespace(label[begin]))
        ++begin;
    while (end > begin && isAsciiWhitespace(label[end - 1]))
        --end;
    return labels().value(label.sliced(begin, end - begin).toByteArray().toLower());
}

QByteArray charsetOf(QByteArrayView contentType)
{
    return MetaPrescan::charsetInContent(contentType);
}

Choice sniff(QByteArrayView bytes, QByteArrayView transportCharset)
{
    if (bytes.startsWith("\xEF\xBB\xBF"))
        return {"UTF-8", Source::ByteOrderMark};
    if (bytes.startsWith("\xFE\xFF"))
        return {"UTF-16BE", Source::ByteOrderMark};
    if (bytes.startsWith("\xFF\xFE"))
        return {"UTF-16LE", Source::ByteOrderMark};
    if (const QByteArray declared = forLabel(transportCharset); !declared.isEmpty())
        return {declared, Source::Transport};
    if (QByteArray declared = MetaPrescan::encodingOf(bytes); !declared.isEmpty()) {
        // A page cannot declare in ASCII that it is not ASCII-compatible.
        if (declared == "UTF-16BE" || declared == "UTF-16LE")
            declared = "UTF-8";
        else if (declared == "x-user-defined")
            declared = "windows-1252";
        return {declared, Source::Meta};
    }
    // With nothing declared the browser guesses from the content, falling back on the encoding
    // of the user's locale (windows-1252 for most). Only the two common answers are taken here:
    // UTF-8 where the bytes are UTF-8, else windows-1252; a guess among the legacy encodings of
    // other scripts would more often be wrong than right.
    return {bytes.isValidUtf8() ? "UTF-8" : "windows-1252", Source::Content};
}

QByteArray toUtf8(QByteArrayView bytes, const QByteArray &encoding)
{
    if (encoding == "windows-1252")
        return decodeWindows1252(bytes).toUtf8();
    if (encoding == "UTF-16LE" || encoding == "UTF-16BE") {
        QStringDecoder decoder(encoding == "UTF-16LE" ? QStringDecoder::Utf16LE : QStringDecoder::Utf16BE,
                               QStringDecoder::Flag::Stateless);
        return QString(decoder(bytes)).toUtf8();
    }
    if (encoding == "x-user-defined") {
        QString text(bytes.size(), Qt::Uninitialized);
        for (qsizetype i = 0; i < bytes.size(); ++i) {
            const auto b = static_cast<unsigned char>(bytes[i]);
            text[i] = QChar(b < 0x80 ? char16_t(b) : char16_t(0xF780 + b - 0x80));
        }
        return text.toUtf8();
    }
    if (encoding == "replacement")
        return bytes.isEmpty() ? QByteArray() : QString(QChar::ReplacementCharacter).toUtf8();
    return decodeWithIcu(bytes, encoding).toUtf8();
}

} // namespace PageEncoding
