#include "stand/service/ServiceLog.h"

#include <QByteArray>
#include <QtGlobal>

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

namespace ServiceLog {

namespace {

const char* word(Level level)
{
    switch (level) {
    case Level::Error: return "error: ";
    case Level::Warning: return "warning: ";
    default: return "";
    }
}

bool journalStream()
{
    // "DEVICE:INODE" of the stream the manager connected; a child that
    // inherited the variable but not the stream must not prefix.
    const QByteArray stream = qgetenv("JOURNAL_STREAM");
    const int colon = stream.indexOf(':');
    if (colon <= 0)
        return false;
    bool devOk = false, inoOk = false;
    const qulonglong dev = stream.left(colon).toULongLong(&devOk);
    const qulonglong ino = stream.mid(colon + 1).toULongLong(&inoOk);
    struct stat st {};
    if (!devOk || !inoOk || ::fstat(STDERR_FILENO, &st) != 0)
        return false;
    return static_cast<qulonglong>(st.st_dev) == dev && static_cast<qulonglong>(st.st_ino) == ino;
}

void qtMessage(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    switch (type) {
    case QtFatalMsg:
    case QtCriticalMsg: write(Level::Error, text); break;
    case QtWarningMsg: write(Level::Warning, text); break;
    case QtInfoMsg: write(Level::Info, text); break;
    case QtDebugMsg: write(Level::Debug, text); break;
    }
}

} // namespace

bool toJournal()
{
    static const bool journal = journalStream();
    return journal;
}

QByteArray line(Level level, const QString& text, bool journal)
{
    QByteArray out;
    if (journal)
        out = '<' + QByteArray::number(static_cast<int>(level)) + '>';
    else
        out = "zentor-service: ";
    out += word(level);
    // One message, one line: a line break inside would start a message of
    // the journal's default level.
    QString flat = text;
    flat.replace(QLatin1Char('\n'), QLatin1Char(' '));
    out += flat.toLocal8Bit();
    out += '\n';
    return out;
}

void write(Level level, const QString& text)
{
    const QByteArray bytes = line(level, text, toJournal());
    std::fwrite(bytes.constData(), 1, static_cast<size_t>(bytes.size()), stderr);
    std::fflush(stderr);
}

void error(const QString& text) { write(Level::Error, text); }
void warning(const QString& text) { write(Level::Warning, text); }
void info(const QString& text) { write(Level::Info, text); }

void takeQtMessages() { qInstallMessageHandler(qtMessage); }

} // namespace ServiceLog
