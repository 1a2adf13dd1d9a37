#include "core/base/WholeFile.h"

#include <QDir>
#include <QFileInfo>
#include <QSaveFile>

#include <fcntl.h>
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

bool write(const QString& path, const QByteArray& bytes, QString* error) {
    if (path.isEmpty())
        return fail(error, QStringLiteral("No file name was given."));
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
