#pragma once

#include <QByteArray>
#include <QByteArrayView>

// The encoding a page declares in a <meta> element near its start, found the way browsers find
// it before parsing: by a light scan of the bytes that skips comments, other tags' attributes
// and the raw text of scripts and styles.
namespace MetaPrescan {

// The encoding (PageEncoding::forLabel) the page declares, or empty. The scan reads the first
// 1,024 bytes and goes on past them while only head elements have started, since the browser
// takes a declaration anywhere in the head.
QByteArray encodingOf(QByteArrayView bytes);

// The label after "charset=" in a Content-Type value (quoted or up to a blank or ";"), or empty.
QByteArray charsetInContent(QByteArrayView content);

} // namespace MetaPrescan
