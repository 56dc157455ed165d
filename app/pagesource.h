#pragma once

#include "document/document.h"
#include "usererror.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

// Where the runner gets its pages: files, FIFOs, standard input, file: and http(s): addresses.

// A page that cannot be had or read; the run reports it as "page-error".
class PageError : public UserError
{
    using UserError::UserError;
};

// The most bytes of a page that are read: what the static reader accepts, for both engines.
qsizetype maxPageBytes();

struct PageSource {
    QString name; // as given: a path, "-", or an address
    QUrl url;     // where the page lives, for its snapshot and relative links
    QString refusal; // why the name cannot be a page at all, reported when it is read

    bool isStandardInput() const { return name == u"-"; }

    // A path or "-" given on the command line: a name that exists is a file whatever it looks
    // like, and only file:, http: and https: make an address. Never throws: a name that cannot
    // be a page fails when it is read, as that page's error.
    static PageSource fromArgument(const QString &argument);
    static PageSource fromAddress(const QString &address);

    // The page's bytes, at most maxPageBytes(); an http(s) address is fetched, and its
    // Content-Type given. Throws PageError.
    QByteArray read(QByteArray *contentType = nullptr) const;
};

// Bytes read or fetched, parsed by the static reader in the encoding the transport names
// (contentType) or the page itself does. Throws PageError.
DocumentPtr staticDocumentFrom(const QByteArray &bytes, const QUrl &url, const QByteArray &contentType);

// The page read by the static reader, in the encoding the browser would choose. Throws PageError, with the reason the reader gives.
DocumentPtr readStaticDocument(const PageSource &source);
