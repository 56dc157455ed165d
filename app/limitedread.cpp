#include "limitedread.h"

#include <QFile>
#include <QLocale>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString StandardInput = QStringLiteral("standard input");

QString systemError(const QString &path, int number)
{
    return QStringLiteral("cannot read %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(number)));
}

FileKind kindOf(const struct stat &status)
{
    if (S_ISREG(status.st_mode))
        return FileKind::Regular;
    if (S_ISFIFO(status.st_mode))
        return FileKind::Fifo;
    if (S_ISDIR(status.st_mode))
        return FileKind::Folder;
    return FileKind::Other;
}

QString refusal(const QString &path, FileKind kind)
{
    if (kind == FileKind::Folder)
        return QStringLiteral("%1 is a folder, not a file").arg(path);
    return QStringLiteral("%1 is a device or a socket, not a file").arg(path);
}

struct Descriptor {
    int fd = -1;
    ~Descriptor()
    {
        if (fd >= 0)
            ::close(fd);
    }
};

std::optional<QByteArray> readUpTo(int fd, const QString &name, qsizetype limit, QString *error)
{
    QByteArray bytes;
    constexpr qsizetype chunk = 64 * 1024;
    for (;;) {
        const qsizetype room = std::min(chunk, limit + 1 - bytes.size());
        if (room <= 0) {
            *error = tooLongText(name, limit);
            return std::nullopt;
        }
        const qsizetype at = bytes.size();
        bytes.resize(at + room);
        const ssize_t got = ::read(fd, bytes.data() + at, size_t(room));
        bytes.resize(at + std::max<ssize_t>(got, 0));
        if (got == 0)
            return bytes;
        if (got < 0 && errno != EINTR) {
            *error = systemError(name, errno);
            return std::nullopt;
        }
    }
}

} // namespace

QString byteCount(qint64 bytes)
{
    return QLocale(QLocale::English).toString(bytes);
}

QString tooLongText(const QString &what, qsizetype limit)
{
    return QStringLiteral("%1 is longer than %2 bytes, the most that is read").arg(what, byteCount(limit));
}

FileKind fileKindOf(const QString &path, QString *error)
{
    struct stat status{};
    if (::stat(QFile::encodeName(path).constData(), &status) != 0) {
        if (error)
            *error = systemError(path, errno);
        return FileKind::Missing;
    }
    return kindOf(status);
}

std::optional<QByteArray> readLimited(const QString &path, qsizetype limit, QString *error)
{
    // A device is refused before it is opened: opening some has effects of its own.
    const FileKind named = fileKindOf(path, error);
    if (named == FileKind::Missing)
        return std::nullopt;
    if (named == FileKind::Folder || named == FileKind::Other) {
        *error = refusal(path, named);
        return std::nullopt;
    }
    Descriptor in{::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC)};
    if (in.fd < 0) {
        *error = systemError(path, errno);
        return std::nullopt;
    }
    // What was opened may not be what was looked at.
    struct stat status{};
    if (::fstat(in.fd, &status) != 0) {
        *error = systemError(path, errno);
        return std::nullopt;
    }
    const FileKind opened = kindOf(status);
    if (opened == FileKind::Folder || opened == FileKind::Other) {
        *error = refusal(path, opened);
        return std::nullopt;
    }
    if (opened == FileKind::Regular && status.st_size > limit) {
        *error = tooLongText(path, limit);
        return std::nullopt;
    }
    return readUpTo(in.fd, path, limit, error);
}

std::optional<QByteArray> readStandardInputLimited(qsizetype limit, QString *error)
{
    return readUpTo(STDIN_FILENO, StandardInput, limit, error);
}
