// The link to a bus through a program (a unixexec: address), as the panel
// opens it before its window: through systemd-stdio-bridge to this test's
// private bus with the service on it, and through programs that fail in the
// ways a far computer can (a message and an end, no D-Bus at all, nothing
// there). Then the link drops under a move: the move fails as with a dead
// service, and the link tells.
#include "ServiceProcess.h"
#include "WaitUntil.h"
#include "core/base/RunTimeError.h"
#include "core/service/dbus/BusAddress.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/BusLink.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <gtest/gtest.h>

#include <csignal>

namespace {

// A unixexec address running `program` with `args`.
QString execAddress(const QString& program, const QStringList& args)
{
    QString address = QStringLiteral("unixexec:path=") + BusAddress::escapeValue(program);
    for (int i = 0; i < args.size(); ++i)
        address += QStringLiteral(",argv%1=%2").arg(i + 1).arg(BusAddress::escapeValue(args.at(i)));
    return address;
}

// The test's own bus through the bridge, the bridge's process id written to
// `pidFile` so that the test can end the link.
QString bridgeAddress(const QString& pidFile)
{
    const QString bus = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    return execAddress(QStringLiteral("sh"),
                       {QStringLiteral("-c"), QStringLiteral("echo $$ > '%1'; exec systemd-stdio-bridge "
                                                             "--bus-path='%2'").arg(pidFile, bus)});
}

BusAddress::Place place(const QString& address)
{
    BusAddress::Place p;
    QString error;
    EXPECT_TRUE(BusAddress::fromAddress(address, p, error)) << error.toStdString();
    return p;
}

// Runs `open` and prints how long it took (for the reader; no time is asserted).
bool timedOpen(BusLink& link, int openMs = BusLink::kOpenTimeoutMs, int serviceMs = BusLink::kServiceTimeoutMs)
{
    QElapsedTimer clock;
    clock.start();
    const bool ok = link.open(openMs, serviceMs);
    std::printf("opening took %lld ms: %s\n", static_cast<long long>(clock.elapsed()),
                ok ? "open" : link.error().toLocal8Bit().constData());
    return ok;
}

class BusLinkTest : public ::testing::Test {
protected:
    void startService()
    {
        ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("1")})) << service.error().toStdString();
    }
    QTemporaryDir dir;
    ServiceProcess service;
};

} // namespace

TEST_F(BusLinkTest, ThroughTheBridgeTheServiceAnswersAndMovesItsStand)
{
    startService();
    BusLink link(place(bridgeAddress(dir.filePath(QStringLiteral("bridge.pid")))));
    ASSERT_TRUE(timedOpen(link)) << link.error().toStdString();
    DBusMicroscopeService client(link.connection(), ZentorBus::MicroscopeService);
    EXPECT_FALSE(client.GetDeviceNames().isEmpty());
    client.Connect(0);
    QStringList events;
    QObject::connect(&client, &MicroscopeService::OnPropertyChanged, [&](const QString& m) { events << m; });
    const int16_t to = client.NosepiecePosition() == 2 ? 3 : 2;
    client.setNosepiecePosition(to);
    EXPECT_EQ(client.NosepiecePosition(), to);
    EXPECT_TRUE(events.contains(QStringLiteral("AppNosepiecePosition:%1").arg(to))) << events.join(' ').toStdString();
    client.Disconnect();
    EXPECT_FALSE(link.isLost());
}

TEST_F(BusLinkTest, ABusWithoutTheServiceIsNamedAsSuch)
{
    // Nothing on this bus is activatable, and no service was started.
    BusLink link(place(bridgeAddress(dir.filePath(QStringLiteral("bridge.pid")))));
    EXPECT_FALSE(timedOpen(link));
    EXPECT_TRUE(link.error().contains(QStringLiteral("has no microscope service (org.zentor.Microscope)")))
        << link.error().toStdString();
    EXPECT_TRUE(link.error().startsWith(QStringLiteral("The bus at unixexec:"))) << link.error().toStdString();
}

TEST_F(BusLinkTest, AProgramThatEndsWithAMessageGivesThatMessage)
{
    BusLink link(place(execAddress(QStringLiteral("sh"),
                                   {QStringLiteral("-c"), QStringLiteral("echo 'first line' >&2; "
                                                                         "echo 'stand-pc: no session bus here' >&2; "
                                                                         "exit 1")})));
    EXPECT_FALSE(timedOpen(link));
    EXPECT_EQ(link.error(), QStringLiteral("Cannot reach the bus at %1: stand-pc: no session bus here")
                                .arg(link.place().address));
    EXPECT_EQ(link.programOutput(), (QStringList{QStringLiteral("first line"),
                                                 QStringLiteral("stand-pc: no session bus here")}));
}

TEST_F(BusLinkTest, AFarSideThatAnswersWithoutDBusIsEndedInTime)
{
    // Garbage and then silence: the greeting would wait for ever.
    BusLink link(place(execAddress(QStringLiteral("sh"),
                                   {QStringLiteral("-c"), QStringLiteral("echo 'Welcome to the lab!'; "
                                                                         "printf '\\001\\377garbage'; sleep 120")})));
    EXPECT_FALSE(timedOpen(link, 2000));
    EXPECT_TRUE(link.error().contains(QStringLiteral("did not answer within 2 s: what came back was not D-Bus")))
        << link.error().toStdString();
    // Garbage that ends at once is no D-Bus either.
    BusLink quick(place(execAddress(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("echo garbage")})));
    EXPECT_FALSE(timedOpen(quick));
    EXPECT_TRUE(quick.error().contains(QStringLiteral("what came back was not D-Bus")))
        << quick.error().toStdString();
}

TEST_F(BusLinkTest, AProgramThatIsNotThereIsNamed)
{
    BusLink link(place(execAddress(QStringLiteral("/nonexistent/zentor-no-such-program"), {})));
    EXPECT_FALSE(timedOpen(link));
    EXPECT_TRUE(link.error().contains(QStringLiteral("/nonexistent/zentor-no-such-program")))
        << link.error().toStdString();
}

TEST_F(BusLinkTest, ALinkThatDropsUnderAMoveFailsTheMoveAsADeadServiceAndTells)
{
    startService();
    const QString pidFile = dir.filePath(QStringLiteral("bridge.pid"));
    BusLink link(place(bridgeAddress(pidFile)));
    ASSERT_TRUE(timedOpen(link)) << link.error().toStdString();
    QStringList lost;
    QObject::connect(&link, &BusLink::lost, [&](const QString& why) { lost << why; });
    DBusMicroscopeService client(link.connection(), ZentorBus::MicroscopeService);
    client.Connect(0);
    QFile f(pidFile);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const pid_t bridge = f.readAll().trimmed().toInt();
    ASSERT_GT(bridge, 0);
    // The link goes as soon as the stage has started a long move.
    const double lo = client.LowerLimit(LimitIndex::XYDriveX), hi = client.UpperLimit(LimitIndex::XYDriveX);
    const int32_t x = client.XYDriveXPosition();
    const int32_t to = (x - lo) < (hi - x) ? static_cast<int32_t>(hi) : static_cast<int32_t>(lo);
    bool killed = false;
    QObject::connect(&client, &MicroscopeService::OnPropertyChanged, [&](const QString& m) {
        if (!killed && m.startsWith(QLatin1String("AppXYDriveXPosition:"))) {
            killed = true;
            ::kill(bridge, SIGKILL);
        }
    });
    try {
        client.setXYDriveXPosition(to);
        FAIL() << "the move over a dropped link returned normally";
    } catch (const RunTimeError& e) {
        // Gone, not timed out: the panel says the move failed, not that the
        // motor was too slow.
        EXPECT_EQ(e.number(), RunTimeError::ServiceGone) << e.description().toStdString();
    }
    EXPECT_TRUE(killed);
    ASSERT_TRUE(waitUntil([&] { return !lost.isEmpty(); }));
    EXPECT_EQ(lost.size(), 1);
    EXPECT_TRUE(link.isLost());
    // Every later call fails as with a dead service: the liveness check's
    // status read included.
    try {
        client.DeviceStatus(UnitIndex::Q7s);
        FAIL() << "a status read over a dropped link returned normally";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceGone);
    }
}
