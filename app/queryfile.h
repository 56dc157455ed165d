#pragma once

#include <QString>
#include <QStringList>

#include <cstdint>
#include <stdexcept>

class Tamberline;

// A query as saved in a file: a JSON object with the five properties of the control.
struct QueryFile {
    QString Url1;
    bool AllowNav2 = false;
    QString SearchText;
    int32_t NodeOffset = 0;
    QStringList ElemAttribs;

    // Far more than any query takes; a larger file is not a query.
    static constexpr qsizetype MaxFileBytes = 16 * 1024 * 1024;

    // Throws QueryFileError naming what is wrong (every one of the five keys is required);
    // nothing is half-read. An address that is a relative file name is taken relative to the
    // file's folder.
    static QueryFile load(const QString &path);
    static QueryFile parse(const QByteArray &json, const QString &folder);
    // Writes atomically; an address inside the file's folder is saved relative to it.
    void save(const QString &path) const;
    QByteArray toJson(const QString &folder) const;

    void applyTo(Tamberline &control) const;
    static QueryFile readFrom(const Tamberline &control);

    bool operator==(const QueryFile &) const = default;
};

class QueryFileError : public std::runtime_error
{
public:
    explicit QueryFileError(const QString &message)
        : std::runtime_error(message.toStdString()), m_message(message) {}
    QString message() const { return m_message; }

private:
    QString m_message;
};
