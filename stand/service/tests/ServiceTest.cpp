// The service process on a private bus, seen from its clients: several
// clients, delayed replies, errors with their codes, a dying service, the
// fiber illuminator present or absent, introspection, and start-up checks.
#include "ServiceProcess.h"
#include "WaitUntil.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusFiberService.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusArgument>
#include <QDBusMessage>
#include <QDeadlineTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
#include <QTimer>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <memory>

namespace {

struct EventLog {
    QStringList events;
    void attach(MicroscopeService& s)
    {
        QObject::connect(&s, &MicroscopeService::OnPropertyChanged, [this](const QString& m) { events << m; });
    }
    bool has(const QString& e) const { return events.contains(e); }
};

class ServiceTest : public ::testing::Test {
protected:
    void startService(const QStringList& args = {QStringLiteral("--speed"), QStringLiteral("20")})
    {
        ASSERT_TRUE(service.start(args)) << service.error().toStdString();
    }
    ServiceProcess service;
};

// The far end of the X travel from where the stage stands.
int32_t farX(MicroscopeService& s)
{
    const double lo = s.LowerLimit(LimitIndex::XYDriveX), hi = s.UpperLimit(LimitIndex::XYDriveX);
    const int32_t x = s.XYDriveXPosition();
    return (x - lo) < (hi - x) ? static_cast<int32_t>(hi) : static_cast<int32_t>(lo);
}

} // namespace

TEST_F(ServiceTest, TwoClientsSeeEachOthersChanges)
{
    startService();
    DBusMicroscopeService a, b;
    a.Connect(0);
    b.Connect(0);
    EventLog seenByA, seenByB;
    seenByA.attach(a);
    seenByB.attach(b);

    const int16_t target = a.NosepiecePosition() == 2 ? 3 : 2;
    a.setNosepiecePosition(target);
    const QString moved = QStringLiteral("AppNosepiecePosition:%1").arg(target);
    EXPECT_TRUE(waitUntil([&] { return seenByB.has(moved); })) << seenByB.events.join(' ').toStdString();
    EXPECT_TRUE(seenByA.has(moved));
    EXPECT_EQ(b.NosepiecePosition(), target);

    const int16_t open = b.EpiShutterIsOpened() ? 0 : 1;
    if (open)
        b.EpiShutterOpen();
    else
        b.EpiShutterClose();
    const QString shutter = QStringLiteral("AppEpiShutterIsOpened:%1").arg(open);
    EXPECT_TRUE(waitUntil([&] { return seenByA.has(shutter); })) << seenByA.events.join(' ').toStdString();
    EXPECT_EQ(a.EpiShutterIsOpened(), open);
}

TEST_F(ServiceTest, PositionEventsArriveDuringABlockingMove)
{
    startService({QStringLiteral("--speed"), QStringLiteral("4")});
    DBusMicroscopeService s;
    s.Connect(0);
    const int32_t from = s.XYDriveXPosition();
    const int32_t to = farX(s);
    ASSERT_NE(from, to);

    bool moving = false;
    int streamedWhileMoving = 0;
    bool timerRanWhileMoving = false;
    QObject::connect(&s, &MicroscopeService::OnPropertyChanged, [&](const QString& m) {
        if (!moving || !m.startsWith(QLatin1String("AppXYDriveXPosition:")))
            return;
        const int32_t x = m.section(QLatin1Char(':'), 1).toInt();
        if (x != from && x != to)
            ++streamedWhileMoving;
    });
    QTimer::singleShot(0, [&] { timerRanWhileMoving = moving; });
    moving = true;
    s.setXYDriveXPosition(to);
    moving = false;
    EXPECT_GT(streamedWhileMoving, 0);
    EXPECT_TRUE(timerRanWhileMoving);
    EXPECT_EQ(s.XYDriveXPosition(), to);
}

TEST_F(ServiceTest, AMoveOfOneClientDoesNotHoldUpAnothersReads)
{
    startService({QStringLiteral("--speed"), QStringLiteral("4")});
    DBusMicroscopeService mover;
    mover.Connect(0);
    const int32_t to = farX(mover);

    std::atomic<bool> moving{false}, finished{false}, readerFailed{false};
    std::atomic<int> readsDuringMove{0};
    QThread* reader = QThread::create([&] {
        // A client of its own, on a bus connection of its own.
        QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("reader"));
        {
            DBusMicroscopeService other(bus, ZentorBus::MicroscopeService);
            try {
                other.Connect(0);
                while (!finished) {
                    other.NosepiecePosition();
                    other.XYDriveXPosition();
                    if (moving)
                        ++readsDuringMove;
                }
            } catch (const RunTimeError&) {
                readerFailed = true;
            }
        }
        QDBusConnection::disconnectFromBus(QStringLiteral("reader"));
    });
    reader->start();
    moving = true;
    mover.setXYDriveXPosition(to);
    moving = false;
    finished = true;
    reader->wait();
    delete reader;
    EXPECT_FALSE(readerFailed);
    EXPECT_GE(readsDuringMove.load(), 3);
    EXPECT_EQ(mover.XYDriveXPosition(), to);
}

TEST_F(ServiceTest, ServiceKilledDuringAMoveGivesTheCallerAnError)
{
    startService({QStringLiteral("--speed"), QStringLiteral("4")});
    DBusMicroscopeService s;
    s.Connect(0);
    ASSERT_EQ(s.DeviceStatus(UnitIndex::Q7s), 1);
    const int32_t to = farX(s);
    // Killed as soon as the stage has started to move.
    QObject::connect(&s, &MicroscopeService::OnPropertyChanged, [&](const QString& m) {
        if (m.startsWith(QLatin1String("AppXYDriveXPosition:")))
            service.kill();
    });
    try {
        s.setXYDriveXPosition(to);
        FAIL() << "the move of a killed service returned normally";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceGone) << e.description().toStdString();
    }
    // The liveness check of the application notices: the status read fails.
    EXPECT_THROW(s.DeviceStatus(UnitIndex::Q7s), RunTimeError);
    // A new service under the same name does not revive the old client.
    ServiceProcess successor;
    ASSERT_TRUE(successor.start({QStringLiteral("--speed"), QStringLiteral("0")})) << successor.error().toStdString();
    EXPECT_THROW(s.DeviceStatus(UnitIndex::Q7s), RunTimeError);
    DBusMicroscopeService fresh;
    fresh.Connect(0);
    EXPECT_EQ(fresh.DeviceStatus(UnitIndex::Q7s), 1);
}

TEST_F(ServiceTest, AClientThatDisappearsMidCallLeavesTheServiceServingOthers)
{
    startService({QStringLiteral("--speed"), QStringLiteral("4")});
    DBusMicroscopeService s;
    s.Connect(0);
    const int32_t to = farX(s);
    EventLog log;
    log.attach(s);

    // Another client starts the move and vanishes while it waits for it.
    QProcess quitter;
    quitter.start(QStringLiteral("dbus-send"),
                  {QStringLiteral("--session"), QStringLiteral("--print-reply"),
                   QStringLiteral("--dest=org.zentor.Microscope"), ZentorBus::devicePath(0),
                   QStringLiteral("org.zentor.Microscope.Device.setXYDriveXPosition"),
                   QStringLiteral("int32:%1").arg(to)});
    ASSERT_TRUE(quitter.waitForStarted());
    ASSERT_TRUE(waitUntil([&] {
        return log.events.filter(QStringLiteral("AppXYDriveXPosition:")).size() > 0;
    })) << "the move never started";
    quitter.kill();
    quitter.waitForFinished();

    // The service answers the others and finishes the move.
    EXPECT_EQ(s.DeviceStatus(UnitIndex::Q7s), 1);
    const QString arrived = QStringLiteral("AppXYDriveXPosition:%1").arg(to);
    EXPECT_TRUE(waitUntil([&] { return log.has(arrived); }));
    EXPECT_EQ(s.XYDriveXPosition(), to);
}

TEST_F(ServiceTest, ErrorsReachTheClientWithTheirCode)
{
    startService({QStringLiteral("--speed"), QStringLiteral("20")});
    DBusMicroscopeService s;
    s.Connect(0);
    DBusStandControl control(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService, 0);
    control.stallDevice(DeviceIndex::Nosepiece);
    const int16_t target = s.NosepiecePosition() == 2 ? 3 : 2;
    try {
        s.setNosepiecePosition(target);
        FAIL() << "a stalled move succeeded";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.hexTail(), QStringLiteral("4B7"));
        EXPECT_EQ(e.number(), RunTimeError::ServiceTimeOut);
    }
    try {
        s.setNosepiecePosition(99);
        FAIL() << "a nosepiece position of 99 was taken";
    } catch (const RunTimeError& e) {
        EXPECT_NE(e.number(), 0);
        EXPECT_TRUE(e.number() == RunTimeError::ServiceLimitation ||
                    e.number() == RunTimeError::ServiceInvalidArgument)
            << e.hexNumber().toStdString();
    }
    // Not connected: the client refuses before the bus is asked.
    DBusMicroscopeService closed;
    EXPECT_THROW(closed.NosepiecePosition(), RunTimeError);
    // An index that is not in the list.
    try {
        closed.Connect(99);
        FAIL() << "index 99 connected";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceInvalidArgument);
    }
    EXPECT_EQ(closed.IsDeviceAvailable(99), 0);
    EXPECT_EQ(closed.IsDeviceAvailable(-1), 0);
}

TEST_F(ServiceTest, WrongArgumentsAndUnknownMembersAnswerDBusErrors)
{
    startService();
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto call = [&](const QString& path, const QString& iface, const QString& member, const QVariantList& args) {
        QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, path, iface, member);
        m.setArguments(args);
        return bus.call(m);
    };
    const QString dev = ZentorBus::devicePath(0);
    // 32-bit where 16-bit is declared.
    QDBusMessage r = call(dev, ZentorBus::DeviceInterface, QStringLiteral("setNosepiecePosition"), {QVariant(2)});
    EXPECT_EQ(r.type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(r.errorName(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
    r = call(dev, ZentorBus::DeviceInterface, QStringLiteral("XYDriveMove"), {QVariant(1)});
    EXPECT_EQ(r.errorName(), QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs"));
    r = call(dev, ZentorBus::DeviceInterface, QStringLiteral("NoSuchMember"), {});
    EXPECT_EQ(r.type(), QDBusMessage::ErrorMessage);
    r = call(ZentorBus::devicePath(42), ZentorBus::DeviceInterface, QStringLiteral("NosepiecePosition"), {});
    EXPECT_EQ(r.type(), QDBusMessage::ErrorMessage);
    r = call(ZentorBus::ManagerPath, ZentorBus::ManagerInterface, QStringLiteral("Connect"),
             {QVariant::fromValue<short>(42)});
    EXPECT_EQ(r.errorName(), ZentorBus::errorName(RunTimeError::ServiceInvalidArgument));
    EXPECT_TRUE(r.errorMessage().startsWith(QStringLiteral("80070057")));
    // The service is still there and well.
    r = call(dev, ZentorBus::DeviceInterface, QStringLiteral("DeviceStatus"), {QVariant::fromValue<short>(1)});
    ASSERT_EQ(r.type(), QDBusMessage::ReplyMessage);
    EXPECT_EQ(r.arguments().value(0).toInt(), 1);
}

TEST_F(ServiceTest, WrongTypesChangeNothingAndReportNothing)
{
    startService({QStringLiteral("--speed"), QStringLiteral("0")});
    DBusMicroscopeService client(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService);
    client.Connect(0);
    EventLog log;
    log.attach(client);
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto call = [&](const QString& iface, const QString& member, const QVariantList& args) {
        QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(0),
                                                        iface, member);
        m.setArguments(args);
        return bus.call(m);
    };
    const QString dev = ZentorBus::DeviceInterface;
    const QString invalid = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
    // A text, a double, too many and too few arguments, a struct of ten where eleven are due.
    EXPECT_EQ(call(dev, QStringLiteral("setNosepiecePosition"), {QStringLiteral("3")}).errorName(), invalid);
    EXPECT_EQ(call(dev, QStringLiteral("setZDriveZPosition"), {QVariant(1000.0)}).errorName(), invalid);
    EXPECT_EQ(call(dev, QStringLiteral("setApertureStopApertureStop"), {QVariant(5.0), QVariant(6.0)}).errorName(),
              invalid);
    EXPECT_EQ(call(dev, QStringLiteral("XYDriveMove"), {}).errorName(), invalid);
    EXPECT_EQ(call(dev, QStringLiteral("setObservationName"), {QVariant::fromValue<short>(7)}).errorName(), invalid);
    QDBusArgument ten;
    ten.beginStructure();
    for (int i = 0; i < 10; ++i)
        ten << 0;
    ten.endStructure();
    EXPECT_EQ(call(dev, QStringLiteral("setObservationPosition"), {QVariant::fromValue<short>(7), QVariant::fromValue(ten)})
                  .errorName(),
              invalid);
    EXPECT_EQ(call(dev, QStringLiteral("SendCommand"), {QVariant(5)}).errorName(), invalid);
    // The fault interface checks its arguments just as strictly.
    EXPECT_EQ(call(ZentorBus::ControlInterface, QStringLiteral("KillUnit"), {QStringLiteral("1")}).errorName(), invalid);
    EXPECT_EQ(call(ZentorBus::ControlInterface, QStringLiteral("StallDevice"), {QVariant(1)}).errorName(), invalid);
    EXPECT_EQ(call(ZentorBus::ControlInterface, QStringLiteral("KillUnit"), {QVariant::fromValue<short>(9)}).type(),
              QDBusMessage::ErrorMessage);
    EXPECT_EQ(call(ZentorBus::ControlInterface, QStringLiteral("EmitEvents"), {QStringLiteral("x:1"), QVariant(-1)}).type(),
              QDBusMessage::ErrorMessage);
    // Nothing moved, nothing was reported, and the service still answers.
    QThread::msleep(50);
    QCoreApplication::processEvents();
    EXPECT_TRUE(log.events.isEmpty()) << log.events.join(' ').toStdString();
    EXPECT_EQ(client.NosepiecePosition(), 1);
    EXPECT_EQ(client.ZDriveZPosition(), 0);
    EXPECT_DOUBLE_EQ(client.ApertureStopApertureStop(), 10);
    EXPECT_EQ(client.ObservationName(7), QString());
    EXPECT_EQ(client.DeviceStatus(UnitIndex::Q7s), 1);
}

TEST_F(ServiceTest, IntrospectionShowsEveryMethodAndTheEvent)
{
    startService();
    auto introspect = [](const QString& path) {
        QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, path,
                                                        QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                                        QStringLiteral("Introspect"));
        return QDBusConnection::sessionBus().call(m).arguments().value(0).toString();
    };
    const QString device = introspect(ZentorBus::devicePath(0));
    for (const auto& m : ZentorBus::deviceMethods())
        EXPECT_TRUE(device.contains(QStringLiteral("<method name=\"%1\"").arg(m.name))) << m.name.toStdString();
    for (const auto& m : ZentorBus::controlMethods())
        EXPECT_TRUE(device.contains(QStringLiteral("<method name=\"%1\"").arg(m.name))) << m.name.toStdString();
    EXPECT_TRUE(device.contains(QStringLiteral("<signal name=\"OnPropertyChanged\">")));
    EXPECT_TRUE(device.contains(QStringLiteral("<interface name=\"org.zentor.StandControl\">")));
    EXPECT_TRUE(device.contains(QStringLiteral("type=\"(iiiiiiiiiii)\"")));
    const QString manager = introspect(ZentorBus::ManagerPath);
    EXPECT_TRUE(manager.contains(QStringLiteral("<method name=\"GetDeviceNames\">")));
    EXPECT_TRUE(manager.contains(QStringLiteral("<node name=\"0\"")));
}

TEST_F(ServiceTest, TablesAndObservationPositionsTravelWithTheirTypes)
{
    startService({QStringLiteral("--speed"), QStringLiteral("0")});
    DBusMicroscopeService s;
    s.Connect(0);
    const QStringList names = s.ObjectiveNames();
    EXPECT_FALSE(names.isEmpty());
    EXPECT_EQ(s.ObjectiveNumbers().size(), names.size());
    EXPECT_EQ(s.ObjectiveRates().size(), names.size());
    EXPECT_EQ(s.FilterNumbers().size(), s.FilterNames().size());
    ObservationPositions p = s.ObservationPosition(7);
    p.objective = p.objective == 2 ? 3 : 2;
    s.setObservationPosition(7, p);
    EXPECT_EQ(s.ObservationPosition(7), p);
    s.setObservationName(7, QStringLiteral("Mine"));
    EXPECT_EQ(s.ObservationName(7), QStringLiteral("Mine"));
}

TEST_F(ServiceTest, FiberIlluminatorIsServedUnderItsOwnName)
{
    startService();
    DBusFiberService fiber;
    QStringList events;
    QObject::connect(&fiber, &FiberService::OnPropertyChanged, [&](const QString& m) { events << m; });
    fiber.Connect(1000);
    EXPECT_EQ(fiber.ConnectionStatus(), 1);
    EXPECT_NE(fiber.Port(), -1);
    const int16_t target = fiber.NDPosition() == 3 ? 4 : 3;
    fiber.setNDPosition(target);
    EXPECT_EQ(fiber.NDPosition(), target);
    EXPECT_TRUE(waitUntil([&] { return events.contains(QStringLiteral("ND_Position:%1").arg(target)); }))
        << events.join(' ').toStdString();
}

TEST_F(ServiceTest, FiberServiceAbsentFailsItsCallsAndLeavesTheMicroscope)
{
    startService({QStringLiteral("--no-fiber"), QStringLiteral("--speed"), QStringLiteral("0")});
    DBusFiberService fiber;
    EXPECT_THROW(fiber.Connect(1000), RunTimeError);
    EXPECT_THROW(fiber.ConnectionStatus(), RunTimeError);
    DBusMicroscopeService s;
    s.Connect(0);
    EXPECT_EQ(s.DeviceStatus(UnitIndex::Q7s), 1);
}

// --- start-up --------------------------------------------------------------------------

namespace {
struct ServiceRun {
    int exitCode = -1;
    QString err;
};
ServiceRun runService(const QStringList& args)
{
    QProcess p;
    p.start(ServiceProcess::executable(), args);
    p.waitForFinished(20000);
    if (p.state() != QProcess::NotRunning) {
        p.kill();
        p.waitForFinished();
        return {};
    }
    return {p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1,
            QString::fromLocal8Bit(p.readAllStandardError() + p.readAllStandardOutput())};
}
} // namespace

TEST(ServiceStart, HelpTellsTheOptions)
{
    const ServiceRun r = runService({QStringLiteral("--help")});
    EXPECT_EQ(r.exitCode, 0);
    for (const char* opt : {"--stand", "--config", "--speed", "--no-fiber", "--descriptions-dir"})
        EXPECT_TRUE(r.err.contains(QLatin1String(opt))) << opt;
}

TEST(ServiceStart, AnUnreadableDescriptionStopsTheStartWithAClearMessage)
{
    QTemporaryDir dir;
    const QString bad = dir.filePath(QStringLiteral("broken-stand.json"));
    QFile f(bad);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly));
    f.write("{ \"name\": ");
    f.close();
    ServiceRun r = runService({QStringLiteral("--stand"), bad});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("broken-stand.json"))) << r.err.toStdString();

    r = runService({QStringLiteral("--stand"), dir.filePath(QStringLiteral("missing.json"))});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("missing.json"))) << r.err.toStdString();

    const QString config = dir.filePath(QStringLiteral("service.json"));
    QFile c(config);
    ASSERT_TRUE(c.open(QIODevice::WriteOnly));
    c.write("{ \"speedFactor\": \"fast\" }");
    c.close();
    r = runService({QStringLiteral("--config"), config});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("speedFactor"))) << r.err.toStdString();

    r = runService({QStringLiteral("--speed"), QStringLiteral("-3")});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("--speed"))) << r.err.toStdString();
}

TEST(ServiceStart, ASecondServiceOnTheSameBusRefusesToStart)
{
    ServiceProcess first;
    ASSERT_TRUE(first.start({QStringLiteral("--speed"), QStringLiteral("0")})) << first.error().toStdString();
    const ServiceRun r = runService({QStringLiteral("--speed"), QStringLiteral("0")});
    EXPECT_NE(r.exitCode, 0);
    EXPECT_TRUE(r.err.contains(QStringLiteral("org.zentor.Microscope"))) << r.err.toStdString();
    // It says whose the name is, so that the other service can be found.
    EXPECT_TRUE(r.err.contains(QStringLiteral("process %1 owns it").arg(first.pid()))) << r.err.toStdString();
}

TEST(ServiceStart, ItLogsWhatItServes)
{
    QProcess p;
    p.start(ServiceProcess::executable(), {QStringLiteral("--speed"), QStringLiteral("0")});
    ASSERT_TRUE(ServiceProcess::waitForName(ZentorBus::FiberService, true));
    // The name is owned a moment before the line saying so is written: read
    // until it is there (or the service stops saying anything).
    p.setReadChannel(QProcess::StandardError);
    QString err;
    while (!err.contains(QStringLiteral("serving org.zentor.Fiber")) && p.waitForReadyRead(10000))
        err += QString::fromLocal8Bit(p.readAllStandardError());
    p.terminate();
    p.waitForFinished(10000);
    err += QString::fromLocal8Bit(p.readAllStandardError());
    EXPECT_TRUE(err.contains(QStringLiteral("serving org.zentor.Microscope"))) << err.toStdString();
    EXPECT_TRUE(err.contains(QStringLiteral("microscope 0"))) << err.toStdString();
    EXPECT_TRUE(err.contains(QStringLiteral("serving org.zentor.Fiber"))) << err.toStdString();
    ServiceProcess::waitForName(ZentorBus::MicroscopeService, false);
}

TEST_F(ServiceTest, WithoutTheOptionTheFaultInterfaceIsNotThere)
{
    service.setFaultInjection(false);
    startService();
    QDBusConnection bus = QDBusConnection::sessionBus();
    QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(0),
                                                    ZentorBus::ControlInterface, QStringLiteral("KillUnit"));
    m << QVariant::fromValue<short>(1);
    const QDBusMessage r = bus.call(m);
    EXPECT_EQ(r.errorName(), QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"));
    EXPECT_TRUE(r.errorMessage().contains(QStringLiteral("--enable-fault-injection"))) << r.errorMessage().toStdString();
    QDBusMessage intro = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(0),
                                                        QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                                        QStringLiteral("Introspect"));
    EXPECT_FALSE(bus.call(intro).arguments().value(0).toString().contains(ZentorBus::ControlInterface));
    DBusMicroscopeService s;
    s.Connect(0);
    EXPECT_EQ(s.DeviceStatus(UnitIndex::Q7s), 1);   // the unit was not killed

    // Nor can anyone trip the fiber illuminator's safety sensors.
    QDBusMessage trip = QDBusMessage::createMethodCall(ZentorBus::FiberService, ZentorBus::FiberPath,
                                                       ZentorBus::FiberControlInterface, QStringLiteral("SetSensor"));
    trip << QStringLiteral("Interlock_Status") << QVariant::fromValue<short>(0);
    const QDBusMessage refused = bus.call(trip);
    EXPECT_EQ(refused.errorName(), QStringLiteral("org.freedesktop.DBus.Error.UnknownInterface"));
    EXPECT_TRUE(refused.errorMessage().contains(QStringLiteral("--enable-fault-injection")));
    QDBusMessage fiberIntro = QDBusMessage::createMethodCall(ZentorBus::FiberService, ZentorBus::FiberPath,
                                                             QStringLiteral("org.freedesktop.DBus.Introspectable"),
                                                             QStringLiteral("Introspect"));
    EXPECT_FALSE(bus.call(fiberIntro).arguments().value(0).toString().contains(ZentorBus::FiberControlInterface));
    QDBusMessage connect = QDBusMessage::createMethodCall(ZentorBus::FiberService, ZentorBus::FiberPath,
                                                          ZentorBus::FiberInterface, QStringLiteral("Connect"));
    connect << 1000;
    ASSERT_EQ(bus.call(connect).type(), QDBusMessage::ReplyMessage);
    QDBusMessage status = QDBusMessage::createMethodCall(ZentorBus::FiberService, ZentorBus::FiberPath,
                                                         ZentorBus::FiberInterface, QStringLiteral("Status"));
    status << QStringLiteral("Interlock_Status");
    EXPECT_EQ(bus.call(status).arguments().value(0).toInt(), 1);   // the interlock was not tripped
}

TEST_F(ServiceTest, FaultRequestsBeyondTheirBoundsAreRefused)
{
    startService();
    QDBusConnection bus = QDBusConnection::sessionBus();
    auto call = [&](const QString& member, const QVariantList& args) {
        QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(0),
                                                        ZentorBus::ControlInterface, member);
        m.setArguments(args);
        return bus.call(m, QDBus::Block, 20000);
    };
    const QString invalid = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
    QDBusMessage r = call(QStringLiteral("EmitEvents"), {QString(1 << 20, QLatin1Char('x')), QVariant(2000)});
    EXPECT_EQ(r.errorName(), invalid);
    EXPECT_TRUE(r.errorMessage().contains(QStringLiteral("beyond the bound"))) << r.errorMessage().toStdString();
    r = call(QStringLiteral("EmitEvents"), {QStringLiteral("x"), QVariant(2147483647)});
    EXPECT_EQ(r.errorName(), invalid);
    r = call(QStringLiteral("SetSpeedFactor"), {QVariant(1e-9)});
    EXPECT_EQ(r.errorName(), invalid);
    r = call(QStringLiteral("SetSpeedFactor"), {QVariant(std::nan(""))});
    EXPECT_EQ(r.errorName(), invalid);
    // Within the bounds, the same requests are served.
    EXPECT_EQ(call(QStringLiteral("EmitEvents"), {QStringLiteral("AppTest:1"), QVariant(10)}).type(),
              QDBusMessage::ReplyMessage);
    EXPECT_EQ(call(QStringLiteral("SetSpeedFactor"), {QVariant(20.0)}).type(), QDBusMessage::ReplyMessage);
}

TEST_F(ServiceTest, AFloodStopsWhenItsCallerLeavesTheBus)
{
    startService({QStringLiteral("--speed"), QStringLiteral("0")});
    // A caller that asks for the largest flood and hangs up at once.
    QProcess caller;
    caller.start(QStringLiteral("dbus-send"),
                 {QStringLiteral("--session"), QStringLiteral("--type=method_call"),
                  QStringLiteral("--dest=org.zentor.Microscope"), ZentorBus::devicePath(0),
                  QStringLiteral("org.zentor.StandControl.EmitEvents"), QStringLiteral("string:AppFlood:1"),
                  QStringLiteral("int32:%1").arg(1000000)});
    ASSERT_TRUE(caller.waitForFinished(10000));
    DBusMicroscopeService s;
    s.Connect(0);
    EventLog log;
    log.attach(s);
    // The flood ends long before a million events: the count seen levels off.
    int last = -1;
    for (int i = 0; i < 50 && log.events.size() != last; ++i) {
        last = static_cast<int>(log.events.size());
        waitUntil([] { return false; }, 200);
    }
    EXPECT_LT(log.events.size(), 100000) << "the flood went on without its caller";
    EXPECT_EQ(s.DeviceStatus(UnitIndex::Q7s), 1);
}
