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
