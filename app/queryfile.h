#pragma once

#include "usererror.h"

#include <QString>
#include <QStringList>

#include <cstdint>

class Tamberline;

// A query as saved in a file: a JSON object with the five properties of the control.
struct QueryFile {
    QString Url1;
    bool AllowNav2 = false;
    QString SearchText;
    int32_t NodeOffset = 0;
    QStringList ElemAttribs; // as stored, blank entries and the entries after them included

    // The control walks its filters with a 16-bit index.
    static constexpr qsizetype MaxFilters = 32767;
    // Far more than 32,767 long filters take; a larger file is not a query.
    static constexpr qsizetype MaxFileBytes = 16 * 1024 * 1024;

    // Throws QueryFileError naming what is wrong (every one of the five keys is required);
    // nothing is half-read. An address that is a relative file name is taken relative to the
    // file's folder; one with markers in its file name once they are filled (resolvedAddress).
    static QueryFile load(const QString &path);
    static QueryFile parse(const QByteArray &json, const QString &folder);
    // Writes atomically; an address inside the file's folder is saved relative to it. A query
    // that could not be read back (more than MaxFilters) is refused with a QueryFileError.
    void save(const QString &path) const;
    QByteArray toJson(const QString &folder) const;

    // A filled address (no markers left) that is a relative file name, taken relative to folder.
    static QString resolvedAddress(const QString &address, const QString &folder);

    void applyTo(Tamberline &control) const;
    // Every stored filter, so that what was opened is saved as it was.
    static QueryFile readFrom(const Tamberline &control);

    bool operator==(const QueryFile &) const = default;
};

class QueryFileError : public UserError
{
    using UserError::UserError;
};
