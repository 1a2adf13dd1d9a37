// When the service process wakes: never at rest, with clients connected or
// gone; about once per position report while a move streams; and it ends
// with its bus, which the bus library tells it without a timer. A client
// that never reads its events makes it neither spin nor grow.
#include "ServiceProcess.h"
#include "WakeUps.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QThread>
#include <gtest/gtest.h>

#include <csignal>
#include <string>

namespace {

// Built with the address sanitizer, as the test and the service are built
// together.
constexpr bool instrumentedService()
{
#if defined(__SANITIZE_ADDRESS__)
    return true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
    return true;
#else
    return false;
#endif
#else
    return false;
#endif
}

// Lets the event loop run for `ms` (the events of the clients come in).
void pump(int ms)
{
    QDeadlineTimer deadline(ms);
    while (!deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
}

// Watches the process for `seconds` without waking it: empty when it did not
// wake; else which threads woke how often, and the CPU spent.
std::string wakeUpsOver(qint64 pid, unsigned long seconds)
{
    const auto before = wakeups::perThread(pid);
    const double cpuBefore = wakeups::cpuMs(pid);
    QThread::sleep(seconds);
    const auto after = wakeups::perThread(pid);
    if (wakeups::total(after) == wakeups::total(before))
        return {};
    return (wakeups::difference(before, after) + QStringLiteral("%1 ms CPU").arg(wakeups::cpuMs(pid) - cpuBefore))
        .toStdString();
}

} // namespace

TEST(ServiceWakeUps, AtRestTheServiceDoesNotWakeWithClientsOrAfterTheyLeft)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("1")})) << service.error().toStdString();
    {
        // Two clients, one subscribed to the events; both at rest.
        DBusMicroscopeService a,
            b(QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("b")), ZentorBus::MicroscopeService);
        a.Connect(0);
        b.Connect(0);
        a.NosepiecePosition();
        pump(300);
        EXPECT_EQ(wakeUpsOver(service.pid(), 3), "") << "woken at rest";
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("b"));
    pump(300);
    EXPECT_EQ(wakeUpsOver(service.pid(), 2), "") << "woken at rest after a client left";
}

TEST(ServiceWakeUps, AStreamingMoveWakesTheServiceAboutOncePerReport)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("1")})) << service.error().toStdString();
    DBusMicroscopeService s;
    s.Connect(0);
    int reports = 0;
    QObject::connect(&s, &MicroscopeService::OnPropertyChanged, [&](const QString& e) {
        if (e.startsWith(QLatin1String("AppZDriveZPosition:")))
            ++reports;
    });
    const int32_t from = s.ZDriveZPosition();
    const int32_t to = from > 100000 ? from - 8000 : from + 8000;   // about two seconds
    pump(200);
    const auto before = wakeups::perThread(service.pid());
    s.setZDriveZPosition(to);
    const auto after = wakeups::perThread(service.pid());
    ASSERT_EQ(s.ZDriveZPosition(), to);
    ASSERT_GE(reports, 20);
    // The main thread wakes once a report, and for what the call needs (its
    // arrival and its reply). The bus connection's thread, which writes every
    // message for QtDBus, wakes once more for each. The motor used to wake
    // every 5 ms: eight or more times a report.
    const QString mainThread = QStringLiteral("%1 ").arg(service.pid());
    long main = 0;
    for (auto it = after.begin(); it != after.end(); ++it)
        if (it.key().startsWith(mainThread))
            main = it.value() - before.value(it.key());
    const long woken = wakeups::total(after) - wakeups::total(before);
    const std::string counts = wakeups::difference(before, after).toStdString();
    EXPECT_LE(main, reports + 5) << reports << " reports; " << counts;
    EXPECT_LE(woken, 2 * reports + 10) << reports << " reports; " << counts;
}

TEST(ServiceWakeUps, TheServiceEndsWithItsBus)
{
    // A bus of this test's own, which the test then takes away.
    QProcess bus;
    bus.start(QStringLiteral("dbus-daemon"),
              {QStringLiteral("--config-file=" ZENTOR_TEST_BUS_CONF), QStringLiteral("--nofork"),
               QStringLiteral("--print-address=1")});
    ASSERT_TRUE(bus.waitForStarted(10000));
    while (!bus.canReadLine() && bus.waitForReadyRead(10000)) {
    }
    const QString address = QString::fromLocal8Bit(bus.readLine().trimmed());
    ASSERT_FALSE(address.isEmpty());

    QProcess service;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), address);
    env.remove(QStringLiteral("DBUS_STARTER_ADDRESS"));
    service.setProcessEnvironment(env);
    service.start(ServiceProcess::executable(), {QStringLiteral("--speed"), QStringLiteral("0")});
    {
        QDBusConnection own = QDBusConnection::connectToBus(address, QStringLiteral("own-bus"));
        QDeadlineTimer deadline(20000);
        while (!own.interface()->isServiceRegistered(ZentorBus::MicroscopeService).value() && !deadline.hasExpired())
            QThread::msleep(20);
        ASSERT_TRUE(own.interface()->isServiceRegistered(ZentorBus::MicroscopeService).value());
    }
    QDBusConnection::disconnectFromBus(QStringLiteral("own-bus"));

    bus.kill();
    bus.waitForFinished(10000);
    ASSERT_TRUE(service.waitForFinished(20000)) << "the service lingers without its bus";
    EXPECT_EQ(service.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(service.exitCode(), 0);
    const QString err = QString::fromLocal8Bit(service.readAllStandardError());
    EXPECT_TRUE(err.contains(QStringLiteral("the bus has gone"))) << err.toStdString();
}

TEST(ServiceWakeUps, AListenerThatNeverReadsMakesTheServiceNeitherSpinNorGrow)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("20"), QStringLiteral("--no-fiber")}))
        << service.error().toStdString();
    // A listener in a process of its own (an ordinary subscriber of the
    // service's signals), subscribed and then stopped.
    QProcess stuck;
    stuck.start(QStringLiteral("gdbus"), {QStringLiteral("monitor"), QStringLiteral("--session"),
                                          QStringLiteral("--dest"), ZentorBus::MicroscopeService});
    ASSERT_TRUE(stuck.waitForStarted(10000));
    // It says whose signals it watches once its subscription is in place.
    QByteArray said;
    while (!said.contains("is owned by") && stuck.waitForReadyRead(10000))
        said += stuck.readAllStandardOutput();
    ASSERT_TRUE(said.contains("is owned by")) << said.toStdString();
    ::kill(static_cast<pid_t>(stuck.processId()), SIGSTOP);

    DBusMicroscopeService s;
    s.Connect(0);
    const long startKB = wakeups::memoryKB(service.pid());
    // Moves back and forth and a flood of 200,000 events, none of which the
    // stopped listener takes.
    for (int i = 0; i < 6; ++i)
        s.setZDriveZPosition(i % 2 ? 0 : 100000);
    QDBusMessage flood = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(0),
                                                        ZentorBus::ControlInterface, QStringLiteral("EmitEvents"));
    flood << QStringLiteral("AppZDriveZPosition:1") << 200000;
    const QDBusMessage r = QDBusConnection::sessionBus().call(flood, QDBus::Block, 600000);
    EXPECT_EQ(r.type(), QDBusMessage::ReplyMessage) << r.errorMessage().toStdString();
    const long endKB = wakeups::memoryKB(service.pid());

    // Afterwards it rests: no wake-up while the listener still holds out.
    pump(500);
    EXPECT_EQ(wakeUpsOver(service.pid(), 2), "") << "the service spins";
    // What the listener does not take waits in the bus, not in the service.
    // An instrumented service keeps freed memory aside on purpose (the
    // address sanitizer's quarantine), so its size says nothing there.
    if (!instrumentedService()) {
        EXPECT_LT(endKB - startKB, 20 * 1024) << startKB << " kB before, " << endKB << " kB after";
    }
    EXPECT_EQ(s.NosepiecePosition(), s.NosepiecePosition());   // still answering
    ::kill(static_cast<pid_t>(stuck.processId()), SIGKILL);
    stuck.waitForFinished(5000);
}
