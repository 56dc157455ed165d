#include "valuetable.h"

#include "queryrunner.h"

#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QVariant>

#include <cstdio>

namespace {

// Longer lines are no value table's: the rest of such a line is skipped, and its row fails.
constexpr qint64 LongestLine = 1 << 20;

bool isBlank(const QByteArray &line)
{
    return line.trimmed().isEmpty();
}

// The fields of one CSV record (RFC 4180: quotes double inside quoted fields); open is true
// while a quoted field goes on past the text given.
QStringList csvFields(const QString &text, bool *open)
{
    QStringList fields;
    QString field;
    bool quoted = false;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quoted) {
            if (c == u'"' && i + 1 < text.size() && text[i + 1] == u'"') {
                field += u'"';
                ++i;
            } else if (c == u'"') {
                quoted = false;
            } else {
                field += c;
            }
        } else if (c == u'"') {
            quoted = true;
        } else if (c == u',') {
            fields.append(field);
            field.clear();
        } else {
            field += c;
        }
    }
    fields.append(field);
    *open = quoted;
    return fields;
}

QString textOf(const QJsonValue &value)
{
    switch (value.type()) {
    case QJsonValue::String:
        return value.toString();
    case QJsonValue::Null:
    case QJsonValue::Undefined:
        return {};
    case QJsonValue::Object:
        return QString::fromUtf8(QJsonDocument(value.toObject()).toJson(QJsonDocument::Compact));
    case QJsonValue::Array:
        return QString::fromUtf8(QJsonDocument(value.toArray()).toJson(QJsonDocument::Compact));
    default:
        return value.toVariant().toString();
    }
}

QByteArray withoutLineEnd(QByteArray line)
{
    while (line.endsWith('\n') || line.endsWith('\r'))
        line.chop(1);
    return line;
}

} // namespace

ValueTable::ValueTable(const QString &path)
    : m_file(std::make_unique<QFile>())
{
    const bool ok = path == u"-" ? m_file->open(stdin, QIODevice::ReadOnly) : (m_file->setFileName(path), m_file->open(QIODevice::ReadOnly));
    if (!ok) // a folder is refused by the open itself
        throw RunError(QStringLiteral("cannot read the values %1: %2").arg(path, m_file->errorString()));
    const QString suffix = QFileInfo(path).suffix().toLower();
    if (suffix == u"csv") {
        m_format = Format::Csv;
    } else if (suffix == u"jsonl" || suffix == u"ndjson") {
        m_format = Format::JsonLines;
    } else {
        while ((m_pending = readLine()) && isBlank(*m_pending)) {
        }
        m_format = m_pending && m_pending->trimmed().startsWith('{') ? Format::JsonLines : Format::Csv;
    }
    if (m_format == Format::Csv) {
        std::optional<QByteArray> header = m_pending ? std::exchange(m_pending, std::nullopt) : readLine();
        while (header && isBlank(*header))
            header = readLine();
        if (!header)
            throw RunError(QStringLiteral("the values %1 have no header row naming the markers").arg(path));
        bool open = false;
        // fromUtf8 drops the byte order mark that spreadsheets write.
        m_header = csvFields(QString::fromUtf8(withoutLineEnd(*header)), &open);
        for (QString &name : m_header)
            name = name.trimmed();
        if (open)
            throw RunError(QStringLiteral("the header row of %1 leaves a quote open").arg(path));
    }
}

std::optional<QByteArray> ValueTable::readLine()
{
    if (m_pending)
        return std::exchange(m_pending, std::nullopt);
    // In small pieces: QIODevice::readLine(limit) would reserve the whole limit for every line.
    QByteArray line;
    bool tooLong = false;
    char piece[4096];
    qint64 got = 0;
    while ((got = m_file->readLine(piece, sizeof piece)) > 0) {
        if (line.size() + got <= LongestLine)
            line.append(piece, got);
        else
            tooLong = true;
        if (piece[got - 1] == '\n')
            break;
    }
    if (line.isEmpty() && !tooLong)
        return std::nullopt;
    ++m_lines;
    if (tooLong)
        return QByteArray("\x01too long"); // no CSV or JSON text starts so: the row reports it
    return line;
}

std::optional<ValueRow> ValueTable::next()
{
    std::optional<QByteArray> line;
    while ((line = readLine()) && isBlank(*line)) {
    }
    if (!line)
        return std::nullopt;
    ValueRow row;
    row.number = ++m_rows;
    if (line->startsWith('\x01'))
        row.problem = QStringLiteral("line %1 of the values is longer than %2 bytes").arg(m_lines).arg(LongestLine);
    else if (m_format == Format::Csv)
        readCsv(*line, row);
    else
        readJson(*line, row);
    return row;
}

void ValueTable::readCsv(const QByteArray &line, ValueRow &row)
{
    QString text = QString::fromUtf8(withoutLineEnd(line));
    bool open = false;
    QStringList fields = csvFields(text, &open);
    // A quoted field may hold line breaks: the record goes on.
    std::optional<QByteArray> more;
    while (open && text.size() < LongestLine && (more = readLine())) {
        text += u'\n' + QString::fromUtf8(withoutLineEnd(*more));
        fields = csvFields(text, &open);
    }
    if (open)
        row.problem = QStringLiteral("row %1 of the values leaves a quote open").arg(row.number);
    else if (fields.size() > m_header.size())
        row.problem = QStringLiteral("row %1 of the values has %2 fields, the header %3").arg(row.number).arg(fields.size()).arg(m_header.size());
    for (qsizetype i = 0; i < std::min(fields.size(), m_header.size()); ++i)
        row.values.append({m_header[i], fields[i]});
}

void ValueTable::readJson(const QByteArray &line, ValueRow &row)
{
    QJsonParseError error{};
    const QJsonDocument document = QJsonDocument::fromJson(line, &error);
    if (!document.isObject()) {
        row.problem = QStringLiteral("line %1 of the values is not a JSON object%2")
                          .arg(m_lines)
                          .arg(error.error != QJsonParseError::NoError ? QStringLiteral(": ") + error.errorString() : QString());
        return;
    }
    const QJsonObject object = document.object();
    for (auto it = object.begin(); it != object.end(); ++it)
        row.values.append({it.key(), textOf(it.value())});
}
