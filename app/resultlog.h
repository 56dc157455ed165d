#pragma once

#include <QByteArray>
#include <QString>

#include <cstdio>

// Where a batch's result lines go: standard output, or a file that each line is appended to and
// flushed as it is written, so that a batch stopped at any moment loses no written row.
class ResultLog
{
public:
    // Standard output.
    ResultLog() = default;
    // Opens path for appending. With resume, the complete rows already there are counted
    // (linesPerRow lines each; JSON lines must parse and carry the row numbers in order) and
    // anything after them, such as a line cut short, is cut off the file. Without resume a
    // file that already holds lines is refused. Throws RunError.
    ResultLog(const QString &path, bool resume, int linesPerRow, bool json);
    ~ResultLog();
    ResultLog(const ResultLog &) = delete;
    ResultLog &operator=(const ResultLog &) = delete;

    qint64 rowsDone() const { return m_rowsDone; }
    bool isFile() const { return m_file != nullptr; }
    // False once the file or stream cannot be written to (a full disk).
    bool write(const QByteArray &lines);

private:
    FILE *m_file = nullptr;
    qint64 m_rowsDone = 0;
};
