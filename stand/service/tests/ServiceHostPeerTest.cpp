// The service's objects on a peer-to-peer connection in this process (no bus
// daemon, no well-known name), as the fuzz target of the method calls uses
// them: calls are marshalled for real and answered by the message handlers.
#include "core/service/dbus/BusLayout.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedService.h"
#include "stand/service/ServiceHost.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusServer>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

class ServiceHostPeerTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(dir.isValid());
        server = std::make_unique<QDBusServer>(QStringLiteral("unix:dir=") + dir.path());
        ASSERT_TRUE(server->isConnected()) << server->lastError().message().toStdString();
        QObject::connect(server.get(), &QDBusServer::newConnection,
                         [this](const QDBusConnection& c) { serverSide = std::make_unique<QDBusConnection>(c); });
        client = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToPeer(server->address(), QStringLiteral("service-host-peer-test")));
        ASSERT_TRUE(client->isConnected()) << client->lastError().message().toStdString();
        const QDeadlineTimer limit(20000);   // a safety net, not a timing
        while (!serverSide && !limit.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        ASSERT_TRUE(serverSide);
        host = std::make_unique<ServiceHost>(*serverSide, &service, [this](const QString& l) { log << l; });
    }

    void TearDown() override
    {
        host.reset();
        client.reset();
        QDBusConnection::disconnectFromPeer(QStringLiteral("service-host-peer-test"));
    }

    // The answer to a call; the event loop runs meanwhile, since the service
    // answers from this thread.
    QDBusMessage call(const QString& path, const QString& interface, const QString& member,
                      const QVariantList& args = {})
    {
        QDBusMessage m = QDBusMessage::createMethodCall(QString(), path, interface, member);
        m.setArguments(args);
        QDBusPendingCall pending = client->asyncCall(m);
        const QDeadlineTimer limit(20000);
        while (!pending.isFinished() && !limit.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        return pending.reply();
    }

    QTemporaryDir dir;
    SimulatedService service{StandClock::instant(), {}};
    SimulatedFiber fiber{StandClock::instant(), true, 0};
    std::unique_ptr<QDBusServer> server;
    std::unique_ptr<QDBusConnection> serverSide;
    std::unique_ptr<QDBusConnection> client;
    std::unique_ptr<ServiceHost> host;
    QStringList log;
};

} // namespace

TEST_F(ServiceHostPeerTest, TheMicroscopesAreServedWithoutABusName)
{
    QString error;
    ASSERT_TRUE(host->registerMicroscopeObjects(error)) << error.toStdString();

    const QDBusMessage names = call(ZentorBus::ManagerPath, ZentorBus::ManagerInterface, QStringLiteral("GetDeviceNames"));
    ASSERT_EQ(names.type(), QDBusMessage::ReplyMessage) << names.errorMessage().toStdString();
    EXPECT_EQ(names.arguments().value(0).toStringList(), service.deviceNames());

    const QDBusMessage connected = call(ZentorBus::ManagerPath, ZentorBus::ManagerInterface, QStringLiteral("Connect"),
                                        {QVariant::fromValue<short>(0)});
    ASSERT_EQ(connected.type(), QDBusMessage::ReplyMessage) << connected.errorMessage().toStdString();
    EXPECT_EQ(connected.arguments().value(0).value<QDBusObjectPath>().path(), ZentorBus::devicePath(0));

    // A move is answered from the stand's callback, after the handler returned.
    const QString device = ZentorBus::devicePath(0);
    ASSERT_EQ(call(device, ZentorBus::DeviceInterface, QStringLiteral("setNosepiecePosition"),
                   {QVariant::fromValue<short>(3)}).type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(call(device, ZentorBus::DeviceInterface, QStringLiteral("NosepiecePosition")).arguments().value(0).toInt(),
              3);

    // Without fault injection its interface is not there.
    EXPECT_EQ(call(device, ZentorBus::ControlInterface, QStringLiteral("ClearFaults")).errorName(),
              QDBusError::errorString(QDBusError::UnknownInterface));
}

TEST_F(ServiceHostPeerTest, TheFiberIlluminatorIsServedWithoutABusName)
{
    QString error;
    ASSERT_TRUE(host->registerFiberObject(&fiber, error)) << error.toStdString();
    ASSERT_EQ(call(ZentorBus::FiberPath, ZentorBus::FiberInterface, QStringLiteral("Connect"), {QVariant(1000)}).type(),
              QDBusMessage::ReplyMessage);
    const QDBusMessage status = call(ZentorBus::FiberPath, ZentorBus::FiberInterface, QStringLiteral("ConnectionStatus"));
    ASSERT_EQ(status.type(), QDBusMessage::ReplyMessage) << status.errorMessage().toStdString();
    EXPECT_EQ(status.arguments().value(0).toInt(), 1);
}

// The illuminator's fault interface (its sensors, its presence, its speed)
// was served whether or not fault injection had been asked for.
TEST_F(ServiceHostPeerTest, TheFiberFaultInterfaceIsOfferedOnlyWithFaultInjection)
{
    QString error;
    ASSERT_TRUE(host->registerFiberObject(&fiber, error)) << error.toStdString();
    ASSERT_EQ(call(ZentorBus::FiberPath, ZentorBus::FiberInterface, QStringLiteral("Connect"), {QVariant(1000)}).type(),
              QDBusMessage::ReplyMessage);
    const QString unknown = QDBusError::errorString(QDBusError::UnknownInterface);
    EXPECT_EQ(call(ZentorBus::FiberPath, ZentorBus::FiberControlInterface, QStringLiteral("SetPresent"), {QVariant(false)})
                  .errorName(), unknown);
    EXPECT_EQ(call(ZentorBus::FiberPath, QString(), QStringLiteral("SetSensor"),
                   {QStringLiteral("Interlock_Status"), QVariant::fromValue<short>(0)}).errorName(), unknown);
    EXPECT_EQ(fiber.ConnectionStatus(), 1);
    EXPECT_EQ(fiber.Status(QStringLiteral("Interlock_Status")), 1);
    const QDBusMessage xml = call(ZentorBus::FiberPath, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                  QStringLiteral("Introspect"));
    EXPECT_TRUE(xml.arguments().value(0).toString().contains(ZentorBus::FiberInterface));
    EXPECT_FALSE(xml.arguments().value(0).toString().contains(ZentorBus::FiberControlInterface));

    host->enableFaultInjection();
    EXPECT_EQ(call(ZentorBus::FiberPath, ZentorBus::FiberControlInterface, QStringLiteral("SetSensor"),
                   {QStringLiteral("Interlock_Status"), QVariant::fromValue<short>(0)}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(fiber.Status(QStringLiteral("Interlock_Status")), 0);
}

// Its speed factor had no bounds: 1e-300 made the lamp's warm-up and a timed
// shutter wait beyond any timer; it has the microscope's bounds now.
TEST_F(ServiceHostPeerTest, TheFiberSpeedFactorHasTheBoundsOfTheMicroscopes)
{
    QString error;
    ASSERT_TRUE(host->registerFiberObject(&fiber, error)) << error.toStdString();
    host->enableFaultInjection();
    const QString invalid = QDBusError::errorString(QDBusError::InvalidArgs);
    for (double f : {1e-300, 1e-9, 1e9, -1.0, std::numeric_limits<double>::quiet_NaN(),
                     std::numeric_limits<double>::infinity()})
        EXPECT_EQ(call(ZentorBus::FiberPath, ZentorBus::FiberControlInterface, QStringLiteral("SetSpeedFactor"), {QVariant(f)})
                      .errorName(), invalid) << f;
    for (double f : {0.0, ServiceHost::kMinSpeedFactor, 20.0, ServiceHost::kMaxSpeedFactor})
        EXPECT_EQ(call(ZentorBus::FiberPath, ZentorBus::FiberControlInterface, QStringLiteral("SetSpeedFactor"), {QVariant(f)})
                      .type(), QDBusMessage::ReplyMessage) << f;
}
