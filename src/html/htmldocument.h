#pragma once

#include "document/document.h"

#include <QByteArray>
#include <QString>

// Limits on the pages parseHtmlDocument reads, against pages that would take the parser
// minutes or the snapshot gigabytes.
struct ParseLimits {
    qsizetype maxInputBytes = 64 * 1024 * 1024; // larger pages are refused
    int maxDepth = 10000;                        // pages estimated to nest deeper are refused
    int maxElements = 1000000;                   // later elements are cut off (Document::cut)
    qsizetype maxTextChars = 128 * 1024 * 1024;      // the text all innerTexts are parts of
};

// The snapshot of a static page (no scripts run, default styles) read with MyHTML: the same
// elements, attributes, child nodes and innerText the live browser gives for it. html is the
// page's bytes as served, read in the encoding the browser would choose (pageencoding.h; the
// transport's charset is the Content-Type's, for pages fetched over HTTP).
// Throws PageReadError (pagereaderror.h) for a page past the limits.
DocumentPtr parseHtmlDocument(const QByteArray &html, const QString &url, const ParseLimits &limits = {},
                              QByteArrayView transportCharset = {});
