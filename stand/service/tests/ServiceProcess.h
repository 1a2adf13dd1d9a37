#pragma once
// A zentor-service process started by a test on the test's own bus, and
// stopped (or killed) by it.
#include <QDBusConnection>
#include <QProcess>
#include <QStringList>

class ServiceProcess {
public:
    ServiceProcess() = default;
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

    // Tests drive faults through the service's fault-injection interface, so
    // it is started with --enable-fault-injection unless this was cleared.
    void setFaultInjection(bool on) { m_faultInjection = on; }
    // Starts the service with these arguments and waits until it owns
    // `waitFor` on the session bus (and, for a while, its illuminator's name
    // unless --no-fiber). False (see error()) when it did not own `waitFor`.
    bool start(const QStringList& arguments, const QString& waitFor = QStringLiteral("org.zentor.Microscope"));
    // Stops it politely and waits until its names are free again.
    void stop();
    // Kills it at once (a crash, as the clients see it).
    void kill();

    QString uniqueName() const { return m_unique; }
    qint64 pid() const { return m_process.processId(); }
    QString error() const { return m_error; }

    static QString executable();
    // Waits until `name` has (or has no) owner on the session bus.
    static bool waitForName(const QString& name, bool owned, int timeoutMs = 20000);

private:
    bool ownedHere(const QString& name) const;
    QProcess m_process;
    QString m_unique;
    QString m_error;
    bool m_faultInjection = true;
};
