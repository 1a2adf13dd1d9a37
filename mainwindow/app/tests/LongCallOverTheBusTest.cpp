// A device call over D-Bus waits for the stand however long its move takes
// (up to an hour): a move longer than the bus's own 25 s default ends as the
// move ends, not in a time-out of the call. The panel's client talks to the
// service's real message handlers over a peer-to-peer connection in this
// process, with a nosepiece slow enough to need about 28 s for one step.
#include "core/base/RunTimeError.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/SimulatedService.h"
#include "stand/service/PeerServer.h"
#include "stand/service/ServiceHost.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <gtest/gtest.h>

#include <memory>

TEST(LongCall, AMoveLongerThanTheBussDefaultTimeOutEndsWithoutError) {
    QTemporaryDir dir;
    ASSERT_TRUE(dir.isValid());
    // One nosepiece step at 0.035 positions a second: about 28.6 s.
    const QString stand = dir.filePath(QStringLiteral("slow-nosepiece.json"));
    {
        QFile f(stand);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(R"({"name": "Slow Nosepiece", "units": ["Q7s"], "devices": {"Nosepiece": {"speed": 0.035}}})");
    }
    SimulatedService service(StandClock::realTime(1.0), {stand});
    PeerServer server(QStringLiteral("unix:dir=") + dir.path());
    ASSERT_TRUE(server.isListening()) << server.error().toStdString();
    BusConnection* serverSide = nullptr;   // the server's child
    QObject::connect(&server, &PeerServer::newConnection, [&](BusConnection* c) { serverSide = c; });
    const QString name = QStringLiteral("long-call-test");
    QDBusConnection client = QDBusConnection::connectToPeer(server.address(), name);
    ASSERT_TRUE(client.isConnected()) << client.lastError().message().toStdString();
    const QDeadlineTimer limit(20000);   // a safety net, not a timing
    while (!serverSide && !limit.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    ASSERT_TRUE(serverSide);
    ServiceHost host(serverSide, &service, [](const QString&) {});
    QString error;
    ASSERT_TRUE(host.registerMicroscopeObjects(error)) << error.toStdString();

    {
        DBusMicroscopeService mic(client, QString());
        mic.Connect(1);
        const int16_t from = mic.NosepiecePosition();
        const int16_t to = from < 6 ? int16_t(from + 1) : int16_t(from - 1);
        QElapsedTimer took;
        took.start();
        try {
            mic.setNosepiecePosition(to);
        } catch (const RunTimeError& e) {
            FAIL() << "the call ended after " << took.elapsed() << " ms: " << e.description().toStdString();
        }
        EXPECT_GT(took.elapsed(), 25000) << "the move was not longer than the bus's default wait";
        EXPECT_EQ(mic.NosepiecePosition(), to);
        mic.Disconnect();
    }
    QDBusConnection::disconnectFromPeer(name);
}
