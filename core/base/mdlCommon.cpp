#include "core/base/mdlCommon.h"

#include "core/base/RunTimeError.h"

#include "core/base/FolderPath.h"
#include "core/base/VbConvert.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <QFileInfo>
#include <QLocale>

QStringList Common_Args() {
    QStringList args;
    if (QCoreApplication::instance()) {
        args = QCoreApplication::arguments();
        if (args.isEmpty())
            args.append(QString());
        args[0] = QCoreApplication::applicationFilePath();
    } else {
        // No application object yet: the kernel keeps the argument vector.
        QFile cmdline(QStringLiteral("/proc/self/cmdline"));
        if (cmdline.open(QIODevice::ReadOnly)) {
            const QByteArray all = cmdline.readAll();
            QList<QByteArray> parts = all.split('\0');
            if (!parts.isEmpty() && parts.last().isEmpty())
                parts.removeLast(); // the terminator of the last token
            for (const QByteArray& p : parts)
                args.append(QString::fromLocal8Bit(p));
        }
        if (args.isEmpty())
            args.append(QString());
        args[0] = QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget();
    }
    // Element 0 is a path and ends at its first NUL, as it always did.
    const int nul = args[0].indexOf(QChar(0));
    if (nul >= 0)
        args[0].truncate(nul);
    return args;
}

QString Common_Slash(const QString& path) {
    if (path.endsWith(QLatin1Char('/')))
        return path;
    return path + QLatin1Char('/');
}

double Common_Val(const QString& text) {
    try {
        return vb::textToDouble(text);
    } catch (const RunTimeError&) {
        return 0;
    }
}

QString Common_LogPath() {
    return Folder_Get(kFolderAppData) + QStringLiteral("/Korvu/Shared/Data/debugZentor.txt");
}

void Common_Log(const QString& text) {
    const QDateTime now = QDateTime::currentDateTime();
    const QLocale locale = QLocale::system();
    // The default form: short date, then the time with seconds.
    const QString stamp = locale.toString(now.date(), QLocale::ShortFormat) + QLatin1Char(' ') +
                          now.time().toString(QStringLiteral("HH:mm:ss"));
    const QByteArray line = (text + QLatin1Char(',') + stamp).toUtf8() + "\r\n";
    // The trace only grows: each line goes out in one write to the end of the
    // file, so that a kill leaves every line before it whole.
    // Opened without blocking (a pipe without a reader would wait for ever)
    // and only written when it is a regular file.
    const int fd = ::open(QFile::encodeName(Common_LogPath()).constData(),
                          O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, 0644);
    if (fd < 0)
        throw RunTimeError(RunTimeError::PathNotFound, QStringLiteral("Path not found"));
    struct stat st {};
    if (::fstat(fd, &st) != 0 || !S_ISREG(st.st_mode)) {
        ::close(fd);
        throw RunTimeError(75, QStringLiteral("Path/File access error"));
    }
    qsizetype done = 0;
    while (done < line.size()) {
        const ssize_t n = ::write(fd, line.constData() + done, static_cast<size_t>(line.size() - done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            break;
        done += n;
    }
    ::close(fd);
}
