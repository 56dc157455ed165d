#pragma once

#include <QByteArray>
#include <QFile>
#include <QList>
#include <QString>

#include <memory>
#include <optional>
#include <utility>

// One row of a value table: the values of the query's %name% markers, in column order.
struct ValueRow {
    qint64 number = 0; // 1 for the first row under the header or the first object
    QList<std::pair<QString, QString>> values;
    QString problem; // why the row could not be read; such a row runs as a bad query
};

// A value table read a row at a time, so that a table of any length costs the memory of one
// row: CSV with a header row, or JSON Lines of objects. Blank lines are no rows.
class ValueTable
{
public:
    enum class Format { Csv, JsonLines };

    // path "-" is standard input. The format comes from the extension (.csv, .jsonl, .ndjson),
    // else from the first non-blank character ({ for JSON Lines). Throws RunError.
    explicit ValueTable(const QString &path);

    std::optional<ValueRow> next();
    Format format() const { return m_format; }

private:
    std::optional<QByteArray> readLine();
    void readCsv(const QByteArray &line, ValueRow &row);
    void readJson(const QByteArray &line, ValueRow &row);

    std::unique_ptr<QFile> m_file;
    Format m_format = Format::Csv;
    QStringList m_header;
    std::optional<QByteArray> m_pending; // a line read to tell the format
    qint64 m_rows = 0;
    qint64 m_lines = 0;
};
