#pragma once

#include <QString>

// HTML's white space is ASCII only: a no-break space is text like any other.
inline bool isAsciiWhitespace(QChar c)
{
    return c == u' ' || c == u'\t' || c == u'\n' || c == u'\f' || c == u'\r';
}

// Strips ASCII white space at both ends and turns every inner run into one space.
inline QString stripAndCollapseAsciiWhitespace(QStringView text)
{
    QString result;
    result.reserve(text.size());
    bool space = false;
    for (const QChar c : text) {
        if (isAsciiWhitespace(c)) {
            space = !result.isEmpty();
            continue;
        }
        if (space)
            result.append(u' ');
        space = false;
        result.append(c);
    }
    return result;
}
