#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

// Reading what the program is given by name (pages, query files) without trusting its size: an
// endless device or pipe, or a file far larger than anything the program reads, costs no more
// than limit + 1 bytes.

enum class FileKind {
    Missing,  // or unreachable: the reason is in the error text
    Regular,
    Fifo,
    Folder,
    Other,    // a device or a socket
};

// What the name is now (symbolic links followed); error says why for Missing.
FileKind fileKindOf(const QString &path, QString *error = nullptr);

// The bytes of a regular file or a FIFO, read to at most limit bytes. On failure returns
// nothing and sets error: a folder, a device or a socket is refused, and so is anything longer
// than limit.
std::optional<QByteArray> readLimited(const QString &path, qsizetype limit, QString *error);
// The same for standard input, whatever it is.
std::optional<QByteArray> readStandardInputLimited(qsizetype limit, QString *error);

// The text of an error for a source longer than limit.
QString tooLongText(const QString &what, qsizetype limit);

// Byte counts as people read them: 67,108,864.
QString byteCount(qint64 bytes);
