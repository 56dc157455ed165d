#pragma once

#include <QString>
#include <QStringView>

// Upper case character by character (QChar::toUpper), so the result has the same length as the
// text and an offset in one is the same offset in the other. A character whose upper case is
// more than one character stays as it is: "ß" stays "ß", where QString::toUpper() gives "SS".
// So do unpaired surrogates, and a character whose upper case would take a different number of
// UTF-16 units (none in current Unicode).
void toUpperKeepingLength(QStringView text, QChar *out);
QString toUpperKeepingLength(QStringView text);
