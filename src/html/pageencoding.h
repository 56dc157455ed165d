#pragma once

#include <QByteArray>
#include <QByteArrayView>

// The encoding a browser reads a page's bytes in, chosen as browsers choose it, and the page
// turned into UTF-8 for the parser. Names are the web's ("windows-1252", "Shift_JIS").
namespace PageEncoding {

enum class Source {
    ByteOrderMark,
    Transport, // the charset of the HTTP Content-Type
    Meta,      // <meta charset> or <meta http-equiv="Content-Type"> near the start
    Content,   // none declared: what the bytes are
};

struct Choice {
    QByteArray name;
    Source source = Source::Content;
};

// The encoding a label names ("latin1" is windows-1252), or empty for a label the web does not
// know. Blanks around it and letter case do not count.
QByteArray forLabel(QByteArrayView label);

// The charset parameter of a Content-Type value ("text/html; charset=gbk"), or empty.
QByteArray charsetOf(QByteArrayView contentType);

// A byte order mark, then the transport's charset, then a <meta> declaration, then the bytes
// themselves.
Choice sniff(QByteArrayView bytes, QByteArrayView transportCharset = {});

// The bytes decoded from the encoding and written as UTF-8; bytes the encoding does not map,
// and invalid sequences, are replaced as the browser replaces them. A UTF-16 byte order mark is
// dropped, a UTF-8 one is kept.
QByteArray toUtf8(QByteArrayView bytes, const QByteArray &encoding);

} // namespace PageEncoding
