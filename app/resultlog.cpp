#include "resultlog.h"

#include "queryrunner.h"

#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>

#include <cerrno>
#include <cstring>

namespace {

// The length of the part of file made of complete rows, and how many rows that is.
std::pair<qint64, qint64> completeRows(QFile &file, int linesPerRow, bool json)
{
    qint64 kept = 0;
    qint64 lines = 0;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine();
        if (!line.endsWith('\n'))
            break; // cut short: the batch stopped while writing it
        if (json) {
            const QJsonDocument document = QJsonDocument::fromJson(line);
            const qint64 expected = lines / linesPerRow + 1;
            if (!document.isObject())
                break;
            const qint64 row = document.object().value(QStringLiteral("row")).toInteger(-1);
            if (row != expected) {
                throw RunError(QStringLiteral("%1 does not go on with these values: line %2 holds row %3 where row %4 belongs")
                                   .arg(file.fileName())
                                   .arg(lines + 1)
                                   .arg(row)
                                   .arg(expected));
            }
        }
        ++lines;
        if (lines % linesPerRow == 0)
            kept = file.pos();
    }
    return {kept, lines / linesPerRow};
}

} // namespace

ResultLog::ResultLog(const QString &path, bool resume, int linesPerRow, bool json)
{
    QFile existing(path);
    if (existing.exists()) {
        if (!existing.open(QIODevice::ReadWrite))
            throw RunError(QStringLiteral("cannot write the results to %1: %2").arg(path, existing.errorString()));
        if (!resume && existing.size() > 0)
            throw RunError(QStringLiteral("%1 already holds results: give --resume to go on with them, or another file").arg(path));
        const auto [kept, rows] = completeRows(existing, linesPerRow, json);
        if (kept < existing.size() && !existing.resize(kept))
            throw RunError(QStringLiteral("cannot cut the unfinished row off %1: %2").arg(path, existing.errorString()));
        m_rowsDone = rows;
        existing.close();
    }
    m_file = std::fopen(QFile::encodeName(path).constData(), "ab");
    if (!m_file)
        throw RunError(QStringLiteral("cannot write the results to %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
}

ResultLog::~ResultLog()
{
    if (m_file)
        std::fclose(m_file);
}

bool ResultLog::write(const QByteArray &lines)
{
    FILE *stream = m_file ? m_file : stdout;
    return std::fwrite(lines.constData(), 1, size_t(lines.size()), stream) == size_t(lines.size()) && std::fflush(stream) == 0;
}
