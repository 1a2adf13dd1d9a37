#include "core/base/FileRead.h"

#include <QCoreApplication>
#include <QFile>
#include <QSet>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace FileRead {
namespace {

Result refused(const QString& path, Refusal refusal, const QString& why) {
    Result r;
    r.outcome = Outcome::Refused;
    r.refusal = refusal;
    r.path = path;
    r.why = why;
    return r;
}

Result missing(const QString& path) {
    Result r;
    r.path = path;
    return r;
}

QString systemReason(int error) { return QString::fromLocal8Bit(std::strerror(error)); }

Result unreadable(const QString& path, int error) {
    return refused(path, Refusal::Unreadable, QStringLiteral("it cannot be read (%1)").arg(systemReason(error)));
}

// The verdict on a file's status: nothing against it, or why it is refused.
Result judge(const QString& path, const struct stat& st, qint64 limit) {
    if (!S_ISREG(st.st_mode))
        return refused(path, Refusal::NotRegular,
                       QStringLiteral("it is %1, not a regular file").arg(kindOfMode(st.st_mode)));
    if (st.st_size > limit)
        return refused(path, Refusal::TooLarge,
                       QStringLiteral("it is larger than %1 bytes (%2 bytes)").arg(limit).arg(st.st_size));
    Result ok;
    ok.outcome = Outcome::Read;
    ok.path = path;
    return ok;
}

} // namespace

QString Result::message() const { return path + QStringLiteral(": ") + why; }

QString kindOfMode(unsigned mode) {
    switch (mode & S_IFMT) {
    case S_IFREG: return QStringLiteral("a regular file");
    case S_IFDIR: return QStringLiteral("a folder");
    case S_IFIFO: return QStringLiteral("a named pipe");
    case S_IFSOCK: return QStringLiteral("a socket");
    case S_IFCHR: return QStringLiteral("a character device");
    case S_IFBLK: return QStringLiteral("a block device");
    case S_IFLNK: return QStringLiteral("a symbolic link");
    default: return QStringLiteral("a special file");
    }
}

Result inspect(const QString& path, qint64 limit) {
    if (path.isEmpty())
        return missing(path);
    const QByteArray native = QFile::encodeName(path);
    struct stat st {};
    if (::stat(native.constData(), &st) != 0)
        return errno == ENOENT ? missing(path) : unreadable(path, errno);
    Result verdict = judge(path, st, limit);
    // A link is named with what it leads to, which is what was refused.
    struct stat link {};
    if (verdict.refusal == Refusal::NotRegular && ::lstat(native.constData(), &link) == 0 && S_ISLNK(link.st_mode))
        verdict.why = QStringLiteral("it is a link to %1, which is %2, not a regular file")
                          .arg(QFile::symLinkTarget(path), kindOfMode(st.st_mode));
    return verdict;
}

Result read(const QString& path, qint64 limit) {
    // Looked at before it is opened, so that no device is ever opened.
    Result verdict = inspect(path, limit);
    if (!verdict.read())
        return verdict;
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
    if (fd < 0)
        return errno == ENOENT ? missing(path) : unreadable(path, errno);
    // Looked at again through the open file: the path may have been changed
    // in between.
    struct stat st {};
    if (::fstat(fd, &st) != 0) {
        const int error = errno;
        ::close(fd);
        return unreadable(path, error);
    }
    verdict = judge(path, st, limit);
    if (!verdict.read()) {
        ::close(fd);
        return verdict;
    }
    // The size may change while it is read (or be 0 for a file the kernel
    // makes up): read to the end, never beyond the bound.
    QByteArray bytes;
    bytes.reserve(static_cast<qsizetype>(st.st_size));
    char chunk[65536];
    for (;;) {
        const ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            const int error = errno;
            ::close(fd);
            return unreadable(path, error);
        }
        if (n == 0)
            break;
        if (bytes.size() + n > limit) {
            ::close(fd);
            return refused(path, Refusal::TooLarge, QStringLiteral("it is larger than %1 bytes").arg(limit));
        }
        bytes.append(chunk, static_cast<qsizetype>(n));
    }
    ::close(fd);
    verdict.bytes = std::move(bytes);
    return verdict;
}

void tellOnce(const Result& result) {
    if (result.refused())
        tellOnce(result.message() + QStringLiteral("; it is skipped"));
}

void tellOnce(const QString& text) {
    static QSet<QString> told;
    if (told.contains(text))
        return;
    told.insert(text);
    const QString program =
        QCoreApplication::instance() ? QCoreApplication::applicationName() : QStringLiteral("zentor");
    std::fprintf(stderr, "%s: %s\n", program.toLocal8Bit().constData(), text.toLocal8Bit().constData());
    std::fflush(stderr);
}

} // namespace FileRead
