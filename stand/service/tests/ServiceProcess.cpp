#include "ServiceProcess.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDeadlineTimer>
#include <QThread>

QString ServiceProcess::executable()
{
    // A benchmark may compare another build of the service against this one.
    const QString other = qEnvironmentVariable("ZENTOR_SERVICE_UNDER_TEST");
    return other.isEmpty() ? QStringLiteral(ZENTOR_SERVICE_EXE) : other;
}

bool ServiceProcess::waitForName(const QString& name, bool owned, int timeoutMs)
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    if (!bus)
        return false;
    QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired()) {
        if (bus->isServiceRegistered(name).value() == owned)
            return true;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        QThread::msleep(10);
    }
    return false;
}

bool ServiceProcess::ownedHere(const QString& name) const
{
    // Owned by this process, not by one that was there before.
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    return bus && bus->isServiceRegistered(name).value() &&
           bus->servicePid(name).value() == static_cast<uint>(m_process.processId());
}

bool ServiceProcess::start(const QStringList& arguments, const QString& waitFor)
{
    // The service's log goes to the test's own output.
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setProgram(executable());
    m_process.setArguments(m_faultInjection ? arguments + QStringList{QStringLiteral("--enable-fault-injection")}
                                            : arguments);
    m_process.start();
    if (!m_process.waitForStarted(10000)) {
        m_error = QStringLiteral("cannot start %1: %2").arg(executable(), m_process.errorString());
        return false;
    }
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    QDeadlineTimer deadline(20000);
    while (!deadline.hasExpired()) {
        if (m_process.state() != QProcess::Running) {
            m_error = QStringLiteral("the service ended at start with exit code %1").arg(m_process.exitCode());
            return false;
        }
        if (ownedHere(waitFor)) {
            m_unique = bus->serviceOwner(waitFor).value();
            // The illuminator's name is taken after the microscope's: a test
            // that starts on the first one must find the second one too.
            const int named = arguments.indexOf(QStringLiteral("--fiber-bus-name"));
            const QString fiber = named >= 0 && named + 1 < arguments.size() ? arguments.at(named + 1)
                                                                            : QStringLiteral("org.zentor.Fiber");
            // Bounded: another process may hold that name, and then this one
            // serves no illuminator at all.
            const QDeadlineTimer fiberDeadline(3000);
            while (!arguments.contains(QStringLiteral("--no-fiber")) && fiber != waitFor && !ownedHere(fiber) &&
                   !fiberDeadline.hasExpired() && m_process.state() == QProcess::Running)
                m_process.waitForReadyRead(10);
            return true;
        }
        m_process.waitForReadyRead(10);
    }
    m_error = QStringLiteral("the service did not take %1 in time").arg(waitFor);
    return false;
}

void ServiceProcess::stop()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(10000)) {
        m_process.kill();
        m_process.waitForFinished(10000);
    }
    if (!m_unique.isEmpty())
        waitForName(m_unique, false, 10000);
}

void ServiceProcess::kill()
{
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(10000);
}

ServiceProcess::~ServiceProcess()
{
    stop();
}
