#include "state/clsMutex.h"

#include "core/base/RunTimeError.h"

#include <QCryptographicHash>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray native(const QString& path) { return QFile::encodeName(path); }

QString& busScope() {
    static QString address;
    return address;
}

// A folder fit to hold the lock: a real folder (not a link), owned by this
// user; `privateOnly` also asks that no one else may enter or write it.
QString folderRefusal(const QString& folder, bool privateOnly) {
    struct stat st {};
    if (::lstat(native(folder).constData(), &st) != 0)
        return QStringLiteral("The connection lock folder %1 cannot be read (%2).")
            .arg(folder, QString::fromLocal8Bit(strerror(errno)));
    if (S_ISLNK(st.st_mode))
        return QStringLiteral("The connection lock folder %1 is a symbolic link; it is not followed.").arg(folder);
    if (!S_ISDIR(st.st_mode))
        return QStringLiteral("The connection lock folder %1 is not a folder.").arg(folder);
    if (st.st_uid != ::geteuid())
        return QStringLiteral("The connection lock folder %1 belongs to another user (uid %2).")
            .arg(folder).arg(st.st_uid);
    if (privateOnly ? (st.st_mode & 077) != 0 : (st.st_mode & 022) != 0)
        return QStringLiteral("The connection lock folder %1 is open to other users (mode %2).")
            .arg(folder).arg(st.st_mode & 07777, 4, 8, QLatin1Char('0'));
    return QString();
}

} // namespace

clsMutex::~clsMutex() { Mutex_Free(); }

QString clsMutex::lockName(const QString& Name) {
    QString hex;
    for (QChar c : Name)
        hex += QString::number(c.unicode(), 16).toUpper();
    return QStringLiteral("ZentorConnection-") + hex;
}

void clsMutex::setBusScope(const QString& address) { busScope() = address; }

QString clsMutex::lockFolder() {
    const QString scope = busScope().isEmpty()
                              ? QString()
                              : QString::fromLatin1(QCryptographicHash::hash(busScope().toUtf8(),
                                                                             QCryptographicHash::Sha256)
                                                        .toHex()
                                                        .left(16));
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir(runtime).exists()) {
        const QString folder = QDir::cleanPath(runtime);
        return scope.isEmpty() ? folder : QDir(folder).filePath(QStringLiteral("zentor-bus-") + scope);
    }
    // Without a runtime folder, a folder of this user's own in the temporary
    // folder: a shared folder would let anyone take or redirect the lock.
    const QString own = QStringLiteral("zentor-%1").arg(::geteuid());
    return QDir(QDir::tempPath()).filePath(scope.isEmpty() ? own : own + QStringLiteral("-bus-") + scope);
}

QString clsMutex::lockPath(const QString& lockName) { return QDir(lockFolder()).filePath(lockName); }

bool clsMutex::Mutex_Open(const QString& Name) { return Mutex_Create(lockName(Name)); }

void clsMutex::Mutex_Close() { Mutex_Free(); }

QString clsMutex::prepareFolder(const QString& folder) {
    const bool runtime = folder == QDir::cleanPath(qEnvironmentVariable("XDG_RUNTIME_DIR"));
    if (!runtime && ::mkdir(native(folder).constData(), 0700) != 0 && errno != EEXIST)
        return QStringLiteral("The connection lock folder %1 cannot be made (%2).")
            .arg(folder, QString::fromLocal8Bit(strerror(errno)));
    return folderRefusal(folder, !runtime);
}

bool clsMutex::Mutex_Create(const QString& name) {
    if (m_handle >= 0)
        throw RunTimeError(RunTimeError::FileAlreadyOpen, QStringLiteral("File already open"));
    m_refusal.clear();
    const QString folder = lockFolder();
    const QString path = QDir(folder).filePath(name);
    QString refusal = prepareFolder(folder);
    int fd = -1;
    if (refusal.isEmpty()) {
        fd = ::open(native(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600);
        if (fd < 0 && errno == ELOOP)
            refusal = QStringLiteral("The connection lock %1 is a symbolic link; it is not followed.").arg(path);
        else if (fd < 0)
            throw RunTimeError(RunTimeError::BadFileNameOrNumber, QStringLiteral("Bad file name or number"));
    }
    if (refusal.isEmpty()) {
        struct stat st {};
        if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode))
            refusal = QStringLiteral("The connection lock %1 is not a plain file.").arg(path);
        else if (st.st_uid != ::geteuid())
            refusal = QStringLiteral("The connection lock %1 belongs to another user (uid %2).").arg(path).arg(st.st_uid);
    }
    if (!refusal.isEmpty()) {
        if (fd >= 0)
            ::close(fd);
        // Someone else's lock is never used: this panel stays off the
        // microscope, and says why.
        m_refusal = refusal + QStringLiteral(" The microscope is not opened; remove it or set XDG_RUNTIME_DIR.");
        std::fprintf(stderr, "zentor: %s\n", m_refusal.toLocal8Bit().constData());
        return false;
    }
    m_handle = fd;
    int rc;
    do {
        rc = ::flock(fd, LOCK_EX | LOCK_NB);
    } while (rc != 0 && errno == EINTR);
    m_owned = (rc == 0);
    return m_owned;
}

bool clsMutex::Mutex_Wait(int32_t dwMilliseconds) {
    if (m_handle < 0)
        return false;
    if (m_owned)
        return true;
    QElapsedTimer t;
    t.start();
    for (;;) {
        if (::flock(m_handle, LOCK_EX | LOCK_NB) == 0) {
            m_owned = true;
            return true;
        }
        if (dwMilliseconds >= 0 && t.elapsed() >= dwMilliseconds)
            return false;
        QThread::msleep(10);
    }
}

void clsMutex::Mutex_Release() {
    if (m_handle >= 0 && m_owned) {
        ::flock(m_handle, LOCK_UN);
        m_owned = false;
    }
}

void clsMutex::Mutex_Free() {
    if (m_handle >= 0) {
        ::close(m_handle); // closing drops the lock
        m_handle = -1;
        m_owned = false;
    }
}
