#pragma once

#include <QString>

// "Trimmed of blanks" removes spaces only; tabs and line breaks are text like any other.
inline QString trimBlanks(const QString &text)
{
    qsizetype begin = 0;
    qsizetype end = text.size();
    while (begin < end && text.at(begin) == u' ')
        ++begin;
    while (end > begin && text.at(end - 1) == u' ')
        --end;
    return text.mid(begin, end - begin);
}
