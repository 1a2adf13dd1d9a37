#pragma once
// How often a process has woken, and what it has cost: the kernel's count of voluntary context
// switches, summed over all its threads (/proc/PID/task/*/status). A thread
// that waits for nothing but its sockets and timers gives up the processor
// exactly once per wake-up, whatever else the machine is doing: preemption
// on a loaded machine counts as involuntary and is left out, and a thread
// that never runs adds nothing. Reading the counts does not wake the process.
#include <QDir>
#include <QFile>
#include <QMap>
#include <QString>

namespace wakeups {

// Voluntary context switches per thread ("<tid> <name>"), all threads.
inline QMap<QString, long> perThread(qint64 pid)
{
    QMap<QString, long> out;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& t : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile comm(tasks.filePath(t + QStringLiteral("/comm")));
        QFile status(tasks.filePath(t + QStringLiteral("/status")));
        if (!comm.open(QIODevice::ReadOnly) || !status.open(QIODevice::ReadOnly))
            continue;   // the thread has just ended
        const QString name = t + QLatin1Char(' ') + QString::fromLocal8Bit(comm.readAll().trimmed());
        for (const QByteArray& line : status.readAll().split('\n'))
            if (line.startsWith("voluntary_ctxt_switches:"))
                out[name] = line.mid(24).trimmed().toLong();
    }
    return out;
}

inline long total(const QMap<QString, long>& counts)
{
    long n = 0;
    for (long c : counts)
        n += c;
    return n;
}

// Run time of all the process's threads, in milliseconds.
inline double cpuMs(qint64 pid)
{
    double ms = 0;
    const QDir tasks(QStringLiteral("/proc/%1/task").arg(pid));
    for (const QString& t : tasks.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        QFile stat(tasks.filePath(t + QStringLiteral("/schedstat")));
        if (stat.open(QIODevice::ReadOnly))
            ms += stat.readAll().split(' ').value(0).toDouble() / 1e6;
    }
    return ms;
}

// Kilobytes of one field of the process's memory ("VmRSS:" resident now,
// "VmHWM:" its peak); -1 when the process has gone.
inline long memoryKB(qint64 pid, const char* field = "VmRSS:")
{
    QFile f(QStringLiteral("/proc/%1/status").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith(field))
            return line.mid(int(qstrlen(field))).trimmed().split(' ').value(0).toLong();
    return -1;
}

// The wake-ups of each thread between two readings, for a failure message.
inline QString difference(const QMap<QString, long>& before, const QMap<QString, long>& after)
{
    QString out;
    for (auto it = after.begin(); it != after.end(); ++it)
        if (it.value() != before.value(it.key()))
            out += QStringLiteral("%1: %2; ").arg(it.key()).arg(it.value() - before.value(it.key()));
    return out;
}

} // namespace wakeups
