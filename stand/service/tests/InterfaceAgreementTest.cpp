// The service as its clients see it on the bus agrees with the interface
// files; a client refuses, with a sentence that says why, a service of an
// interface version it cannot use, and an answer of the wrong type.
#include "ServiceProcess.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusFiberService.h"
#include "core/service/dbus/DBusMicroscopeService.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using ZentorBus::Agreement;
using ZentorBus::InterfaceInfo;
using ZentorBus::ManagerInterface;
using ZentorBus::ManagerPath;
using ZentorBus::DeviceInterface;
using ZentorBus::ControlInterface;
using ZentorBus::FiberInterface;
using ZentorBus::FiberControlInterface;
using ZentorBus::FiberPath;
using ZentorBus::devicePath;
using ZentorBus::parseInterfaces;
using ZentorBus::interfaceDifferences;
using ZentorBus::servedVersion;
const QString kMicroscopeName = ZentorBus::MicroscopeService;
const QString kFiberName = ZentorBus::FiberService;

namespace {

// The file of an interface, read from the source tree as it is now.
InterfaceInfo fileOf(const QString& interfaceName)
{
    QFile f(QStringLiteral(ZENTOR_INTERFACE_DIR "/") + interfaceName + QStringLiteral(".xml"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    const QVector<InterfaceInfo> parsed = parseInterfaces(QString::fromUtf8(f.readAll()));
    return parsed.value(0);
}

QVector<InterfaceInfo> introspect(const QString& service, const QString& path)
{
    const QDBusMessage reply = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(service, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                       QStringLiteral("Introspect")));
    return parseInterfaces(reply.arguments().value(0).toString());
}

// What differs between a file and what the service introspects at `path`.
QStringList disagreement(const QString& service, const QString& path, const QString& interfaceName)
{
    const InterfaceInfo file = fileOf(interfaceName);
    if (file.name.isEmpty())
        return {QStringLiteral("no file for ") + interfaceName};
    for (const InterfaceInfo& served : introspect(service, path))
        if (served.name == interfaceName)
            return interfaceDifferences(file, served, Agreement::Exact);
    return {QStringLiteral("%1 does not introspect %2").arg(path, interfaceName)};
}

// A stand-in for a service of another version (or a foreign one): its
// manager answers InterfaceVersion as told, and GetDeviceNames with `names`.
class OtherManager : public QDBusVirtualObject {
public:
    QString version;   // empty: it knows no InterfaceVersion
    QVariant names = QVariant(QStringList{QStringLiteral("Simulated")});
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        if (msg.member() == QLatin1String("InterfaceVersion") && !version.isEmpty())
            bus.send(msg.createReply(version));
        else if (msg.member() == QLatin1String("GetDeviceNames"))
            bus.send(msg.createReply(names));
        else
            bus.send(msg.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method ") + msg.member()));
        return true;
    }
};

class OtherService : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bus.registerVirtualObject(ManagerPath, &manager));
        ASSERT_TRUE(bus.registerService(name));
    }
    void TearDown() override
    {
        bus.unregisterService(name);
        bus.unregisterObject(ManagerPath);
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    const QString name = QStringLiteral("org.zentor.Test.Other");
    OtherManager manager;
};

RunTimeError failureOf(const std::function<void()>& f)
{
    try {
        f();
    } catch (const RunTimeError& e) {
        return e;
    }
    return RunTimeError(0, QStringLiteral("no error"));
}

} // namespace

TEST(InterfaceAgreement, TheServiceIntrospectsEveryInterfaceAsItsFileSays)
{
    ServiceProcess service;   // with fault injection, so that both fault interfaces are served too
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("0")})) << service.error().toStdString();
    ASSERT_TRUE(ServiceProcess::waitForName(kFiberName, true));
    EXPECT_EQ(disagreement(kMicroscopeName, ManagerPath, ManagerInterface), QStringList());
    EXPECT_EQ(disagreement(kMicroscopeName, devicePath(0), DeviceInterface), QStringList());
    EXPECT_EQ(disagreement(kMicroscopeName, devicePath(0), ControlInterface), QStringList());
    EXPECT_EQ(disagreement(kFiberName, FiberPath, FiberInterface), QStringList());
    EXPECT_EQ(disagreement(kFiberName, FiberPath, FiberControlInterface), QStringList());
}

TEST(InterfaceAgreement, TheServiceTellsTheVersionOfItsFiles)
{
    ServiceProcess service;
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("0")})) << service.error().toStdString();
    const QDBusMessage m = QDBusConnection::sessionBus().call(
        QDBusMessage::createMethodCall(kMicroscopeName, ManagerPath, ManagerInterface, QStringLiteral("InterfaceVersion")));
    EXPECT_EQ(m.arguments().value(0).toString(), fileOf(ManagerInterface).version);
    DBusMicroscopeService client;
    client.GetDeviceNames();
    EXPECT_EQ(client.serviceVersion(), servedVersion().text());
    DBusFiberService fiber;
    EXPECT_EQ(fiber.ConnectionStatus(), 0);   // asked its version first, and was content
}

TEST_F(OtherService, AServiceOfAnotherMajorVersionGetsAClearMessage)
{
    manager.version = QStringLiteral("2.0");
    DBusMicroscopeService client(bus, name);
    const RunTimeError e = failureOf([&] { client.GetDeviceNames(); });
    EXPECT_EQ(e.number(), ZentorBus::IncompatibleService);
    EXPECT_EQ(e.description(), QStringLiteral("The microscope service on the bus (org.zentor.Test.Other) serves "
                                              "interface version 2.0; this program needs version 1.x (at least ") +
                                   ZentorBus::kClientNeeds.text() +
                                   QStringLiteral("). Install a service and a program of matching versions."));
    // Every later call says the same, rather than failing in odd ways.
    EXPECT_EQ(failureOf([&] { client.Connect(1); }).number(), ZentorBus::IncompatibleService);
}

TEST_F(OtherService, AServiceThatDoesNotTellItsVersionGetsAClearMessage)
{
    DBusMicroscopeService client(bus, name);
    const RunTimeError e = failureOf([&] { client.GetDeviceNames(); });
    EXPECT_EQ(e.number(), ZentorBus::IncompatibleService);
    EXPECT_TRUE(e.description().startsWith(QStringLiteral("The microscope service on the bus (org.zentor.Test.Other) "
                                                          "does not tell its interface version")))
        << e.description().toStdString();
}

TEST_F(OtherService, AnAnswerOfTheWrongTypeNamesTheMemberAndBothTypes)
{
    manager.version = QStringLiteral("1.3");   // a later minor is welcome
    manager.names = QVariant::fromValue<int>(7);
    DBusMicroscopeService client(bus, name);
    const RunTimeError e = failureOf([&] { client.GetDeviceNames(); });
    EXPECT_EQ(e.number(), RunTimeError::ServiceFailure);
    EXPECT_EQ(e.description(), QStringLiteral("GetDeviceNames answered type 'i' where the interface says 'as'"));
    manager.names = QVariant(QStringList{QStringLiteral("Simulated"), QStringLiteral("Stand")});
    EXPECT_EQ(client.GetDeviceNames().size(), 2);
    EXPECT_EQ(client.serviceVersion(), QStringLiteral("1.3"));
}
