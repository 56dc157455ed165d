#pragma once

#include "platform/document.h"

#include <QByteArray>
#include <QString>
#include <QUrl>

#include <stdexcept>

// Where the runner gets its pages: files, standard input, file: and http(s): addresses.

// A page that cannot be had or read; the run reports it as "page-error".
class PageError : public std::runtime_error
{
public:
    explicit PageError(const QString &message) : std::runtime_error(message.toStdString()), m_message(message) {}
    QString message() const { return m_message; }

private:
    QString m_message;
};

struct PageSource {
    QString name; // as given: a path, "-", or an address
    QUrl url;     // where the page lives, for its snapshot and relative links
    QByteArray stdinBytes;

    // A path or "-" given on the command line, or an address (the query's own).
    static PageSource fromArgument(const QString &argument);
    static PageSource fromAddress(const QString &address);

    // The page's bytes; an http(s) address is fetched. Throws PageError.
    QByteArray read() const;
};

// The page read by gumbo. Throws PageError, with the reason the reader gives.
DocumentPtr readStaticDocument(const PageSource &source);
