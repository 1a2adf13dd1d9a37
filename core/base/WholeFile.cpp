#include "core/base/WholeFile.h"

#include "core/base/FileRead.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace WholeFile {
namespace {

bool fail(QString* error, const QString& text) {
    if (error)
        *error = text;
    return false;
}

// Makes the rename itself durable: the folder's entry is on the disk too.
void syncFolder(const QString& folder) {
    const int fd = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        ::fsync(fd);
        ::close(fd);
    }
}

} // namespace

// Why the file at `path` must not be replaced, or nothing. Only a regular
// file (or none) is replaced; a link is written through to its target, but
// never a link that points nowhere: writing would create its target, which is
// how a planted link redirects a write to a place the operator did not choose.
QString refusalToReplace(const QString& path) {
    const QByteArray native = QFile::encodeName(path);
    struct stat st {};
    if (::lstat(native.constData(), &st) != 0)
        return QString();   // nothing there yet (or a folder on the way that is missing: told below)
    const bool link = S_ISLNK(st.st_mode);
    if (link && ::stat(native.constData(), &st) != 0) {
        if (errno == ENOENT)
            return QStringLiteral("%1 is a link to %2, which does not exist; a link that points nowhere is not "
                                  "written through (it would create a file where the link says)")
                .arg(path, QFile::symLinkTarget(path));
        return QStringLiteral("%1 is a link that cannot be followed (%2)")
            .arg(path, QString::fromLocal8Bit(std::strerror(errno)));
    }
    if (!S_ISREG(st.st_mode))
        return link ? QStringLiteral("%1 is a link to %2, which is %3, not a regular file; it is not replaced")
                          .arg(path, QFile::symLinkTarget(path), FileRead::kindOfMode(st.st_mode))
                    : QStringLiteral("%1 is %2, not a regular file; it is not replaced")
                          .arg(path, FileRead::kindOfMode(st.st_mode));
    return QString();
}

bool write(const QString& path, const QByteArray& bytes, QString* error) {
    if (path.isEmpty())
        return fail(error, QStringLiteral("No file name was given."));
    if (const QString refusal = refusalToReplace(path); !refusal.isEmpty())
        return fail(error, refusal);
    const QFileInfo info(path);
    const QString folder = info.absolutePath();
    if (!QDir().mkpath(folder))
        return fail(error, QStringLiteral("The folder %1 cannot be created.").arg(folder));
    QSaveFile file(path);
    // No direct-write fallback: writing in place is what could tear the file.
    file.setDirectWriteFallback(false);
    if (!file.open(QIODevice::WriteOnly))
        return fail(error, QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
    if (file.write(bytes) != bytes.size() || !file.flush() || ::fsync(file.handle()) != 0) {
        const QString why = file.errorString();
        file.cancelWriting();
        return fail(error, QStringLiteral("%1 cannot be written: %2").arg(path, why));
    }
    if (!file.commit())
        return fail(error, QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
    syncFolder(folder);
    return true;
}

} // namespace WholeFile
