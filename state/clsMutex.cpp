#include "state/clsMutex.h"

#include "core/base/RunTimeError.h"

#include <QDir>
#include <QElapsedTimer>
#include <QThread>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

clsMutex::~clsMutex() { Mutex_Free(); }

QString clsMutex::lockName(const QString& Name) {
    QString hex;
    for (QChar c : Name)
        hex += QString::number(c.unicode(), 16).toUpper();
    return QStringLiteral("ZentorConnection-") + hex;
}

QString clsMutex::lockPath(const QString& lockName) {
    QString dir = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (dir.isEmpty() || !QDir(dir).exists())
        dir = QDir::tempPath();
    return QDir(dir).filePath(lockName);
}

bool clsMutex::Mutex_Open(const QString& Name) { return Mutex_Create(lockName(Name)); }

void clsMutex::Mutex_Close() { Mutex_Free(); }

bool clsMutex::Mutex_Create(const QString& name) {
    if (m_handle >= 0)
        throw RunTimeError(RunTimeError::FileAlreadyOpen, QStringLiteral("File already open"));
    const QByteArray path = QFile::encodeName(lockPath(name));
    const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (fd < 0)
        throw RunTimeError(RunTimeError::BadFileNameOrNumber, QStringLiteral("Bad file name or number"));
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
