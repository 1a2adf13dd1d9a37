// The service's objects on a peer-to-peer connection in this process (no bus
// daemon, no well-known name), as the fuzz target of the method calls uses
// them: calls are marshalled for real and answered by the message handlers.
#include "core/service/dbus/BusLayout.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedService.h"
#include "stand/service/PeerServer.h"
#include "stand/service/ServiceHost.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusError>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
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
        server = std::make_unique<PeerServer>(QStringLiteral("unix:dir=") + dir.path());
        ASSERT_TRUE(server->isListening()) << server->error().toStdString();
        QObject::connect(server.get(), &PeerServer::newConnection, [this](BusConnection* c) { serverSide = c; });
        client = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToPeer(server->address(), QStringLiteral("service-host-peer-test")));
        ASSERT_TRUE(client->isConnected()) << client->lastError().message().toStdString();
        const QDeadlineTimer limit(20000);   // a safety net, not a timing
        while (!serverSide && !limit.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        ASSERT_TRUE(serverSide);
        host = std::make_unique<ServiceHost>(serverSide, &service, [this](const QString& l) { log << l; });
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
    std::unique_ptr<PeerServer> server;
    BusConnection* serverSide = nullptr;   // the server's child
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

// The connection's end reaches the host from libdbus itself (its Disconnected
// signal), with nothing looking now and then.
TEST_F(ServiceHostPeerTest, APeerThatLeavesEndsTheConnectionOfItsHost)
{
    QString error;
    ASSERT_TRUE(host->registerMicroscopeObjects(error)) << error.toStdString();
    bool gone = false;
    QObject::connect(host.get(), &ServiceHost::busGone, [&] { gone = true; });
    ASSERT_EQ(call(ZentorBus::ManagerPath, ZentorBus::ManagerInterface, QStringLiteral("Ping")).type(),
              QDBusMessage::ReplyMessage);
    client.reset();
    QDBusConnection::disconnectFromPeer(QStringLiteral("service-host-peer-test"));
    const QDeadlineTimer limit(20000);   // a safety net, not a timing
    while (!gone && !limit.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_TRUE(gone);
    EXPECT_FALSE(serverSide->isConnected());
}

// Every path on the way to an object is a node that introspects with its
// children; other paths, interfaces and members get D-Bus's own errors.
TEST_F(ServiceHostPeerTest, TheObjectTreeAnswersItsNodesAndRefusesWhatIsNotThere)
{
    QString error;
    ASSERT_TRUE(host->registerMicroscopeObjects(error)) << error.toStdString();
    ASSERT_TRUE(host->registerFiberObject(&fiber, error)) << error.toStdString();
    const QString introspectable = QStringLiteral("org.freedesktop.DBus.Introspectable");
    const auto xmlOf = [&](const QString& path) {
        const QDBusMessage r = call(path, introspectable, QStringLiteral("Introspect"));
        EXPECT_EQ(r.type(), QDBusMessage::ReplyMessage) << path.toStdString() << r.errorMessage().toStdString();
        return r.arguments().value(0).toString();
    };
    EXPECT_TRUE(xmlOf(QStringLiteral("/")).contains(QStringLiteral("<node name=\"org\"/>")));
    const QString zentor = xmlOf(QStringLiteral("/org/zentor"));
    EXPECT_TRUE(zentor.contains(QStringLiteral("<node name=\"Microscope\"/>")));
    EXPECT_TRUE(zentor.contains(QStringLiteral("<node name=\"Fiber\"/>")));
    EXPECT_FALSE(zentor.contains(ZentorBus::ManagerInterface));
    const QString manager = xmlOf(ZentorBus::ManagerPath);
    EXPECT_TRUE(manager.contains(QStringLiteral("<interface name=\"%1\">").arg(ZentorBus::ManagerInterface)));
    EXPECT_TRUE(manager.contains(QStringLiteral("<node name=\"0\"/>")));

    EXPECT_EQ(call(QStringLiteral("/org/zentor/Nothing"), ZentorBus::ManagerInterface, QStringLiteral("Ping")).errorName(),
              QDBusError::errorString(QDBusError::UnknownObject));
    EXPECT_EQ(call(ZentorBus::ManagerPath, QStringLiteral("org.zentor.Nothing"), QStringLiteral("Ping")).errorName(),
              QDBusError::errorString(QDBusError::UnknownInterface));
    EXPECT_EQ(call(ZentorBus::ManagerPath, QString(), QStringLiteral("Nothing")).errorName(),
              QDBusError::errorString(QDBusError::UnknownMethod));

    // No properties: none to list, and an interface the object has not is refused.
    const QString properties = QStringLiteral("org.freedesktop.DBus.Properties");
    const QDBusMessage all = call(ZentorBus::ManagerPath, properties, QStringLiteral("GetAll"), {ZentorBus::ManagerInterface});
    ASSERT_EQ(all.type(), QDBusMessage::ReplyMessage) << all.errorMessage().toStdString();
    EXPECT_EQ(all.signature(), QStringLiteral("a{sv}"));
    EXPECT_EQ(call(ZentorBus::FiberPath, properties, QStringLiteral("GetAll"), {ZentorBus::FiberControlInterface})
                  .errorName(), QDBusError::errorString(QDBusError::UnknownInterface));
}
