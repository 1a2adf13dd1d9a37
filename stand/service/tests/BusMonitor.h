#pragma once
// A bus monitor (dbus-monitor --profile) on the session bus of a test or a
// benchmark: the calls made to the microscope service and the round trips
// they took. A call sent while none of its sender's earlier calls to the
// service awaits its answer begins a round trip; a call sent behind another
// before that answer came crosses the link with it.
#include <QByteArray>
#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QElapsedTimer>
#include <QHash>
#include <QProcess>
#include <QSet>
#include <QStringList>

class BusMonitor {
public:
    struct Count {
        int calls = 0;
        int roundTrips = 0;
        QStringList members;   // "path member" of each call, in order
    };

    // Starts the monitor; in place once it has seen a call made after its start.
    BusMonitor()
    {
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(QStringLiteral("dbus-monitor"), {QStringLiteral("--session"), QStringLiteral("--profile")});
        QElapsedTimer t;
        t.start();
        while (!m_text.contains("NameHasOwner") && t.elapsed() < 20000) {
            QDBusConnection::sessionBus().interface()->isServiceRegistered(QStringLiteral("org.zentor.Probe"));
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            m_process.waitForReadyRead(20);
            m_text += m_process.readAllStandardOutput();
        }
        m_start = m_text.size();
    }
    ~BusMonitor()
    {
        m_process.kill();
        m_process.waitForFinished(5000);
    }
    BusMonitor(const BusMonitor&) = delete;
    BusMonitor& operator=(const BusMonitor&) = delete;

    bool running() const { return m_process.state() == QProcess::Running && m_start > 0; }

    // The record since the start or the last mark.
    QByteArray read()
    {
        m_process.waitForReadyRead(0);
        m_text += m_process.readAllStandardOutput();
        return m_text.mid(m_start);
    }
    // What came before is not counted any more.
    void mark()
    {
        read();
        m_start = m_text.size();
    }

    // Calls to objects whose path begins with `pathPrefix` since the mark,
    // up to the first call to `stopAtPath` when one is given.
    Count count(const QByteArray& pathPrefix, const QByteArray& stopAtPath = {})
    {
        Count out;
        QHash<QByteArray, QSet<QByteArray>> awaited;   // sender -> serials of its calls not answered yet
        for (const QByteArray& line : read().split('\n')) {
            const QList<QByteArray> f = line.split('\t');
            if (f.size() >= 8 && f[0] == "mc") {
                if (!stopAtPath.isEmpty() && f[5] == stopAtPath)
                    break;
                if (!f[5].startsWith(pathPrefix))
                    continue;
                QSet<QByteArray>& mine = awaited[f[3]];
                if (mine.isEmpty())
                    ++out.roundTrips;
                mine.insert(f[2]);
                ++out.calls;
                out.members << QString::fromUtf8(f[5] + ' ' + f[7]);
            } else if (f.size() >= 6 && (f[0] == "mr" || f[0] == "err")) {
                const auto it = awaited.find(f[4]);
                if (it != awaited.end())
                    it->remove(f[5]);
            }
        }
        return out;
    }

private:
    QProcess m_process;
    QByteArray m_text;
    qsizetype m_start = 0;
};
