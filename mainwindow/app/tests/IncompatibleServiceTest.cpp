// The panel against a microscope service of an interface version it cannot
// use: one message that names both versions, and the panel closes, rather
// than failing later in odd ways. The service is a stand-in on the test's
// private bus whose manager answers InterfaceVersion as told.
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "mainwindow/app/frmMain.h"
#include "state/MsgBox.h"
#include "state/ServiceSource.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QElapsedTimer>
#include <gtest/gtest.h>

namespace {

class AnotherVersion : public QDBusVirtualObject {
public:
    QString version;
    int listed = 0;   // GetDeviceNames calls: none may come from a panel that refused
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        if (msg.member() == QLatin1String("InterfaceVersion") && !version.isEmpty()) {
            bus.send(msg.createReply(version));
        } else if (msg.member() == QLatin1String("GetDeviceNames")) {
            ++listed;
            bus.send(msg.createReply(QStringList{QStringLiteral("Simulated"), QStringLiteral("Stand")}));
        } else {
            bus.send(msg.createErrorReply(QDBusError::UnknownMethod, QStringLiteral("No such method ") + msg.member()));
        }
        return true;
    }
};

class IncompatibleService : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(bus.registerVirtualObject(ZentorBus::ManagerPath, &manager));
        ASSERT_TRUE(bus.registerService(ZentorBus::MicroscopeService));
        ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
            return std::make_unique<DBusMicroscopeService>();
        });
    }
    void TearDown() override
    {
        ServiceSource::setMaker({});
        bus.unregisterService(ZentorBus::MicroscopeService);
        bus.unregisterObject(ZentorBus::ManagerPath);
    }
    // Starts the panel as the operator does and lets it run until it closes.
    bool runPanel()
    {
        frmMain w(QStringList{QStringLiteral("zentor")});
        w.show();
        QElapsedTimer t;
        t.start();
        while (!w.unloaded() && t.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        return w.unloaded();
    }
    QDBusConnection bus = QDBusConnection::sessionBus();
    AnotherVersion manager;
};

} // namespace

TEST_F(IncompatibleService, AServiceOfAnotherMajorVersionIsNamedAndThePanelCloses)
{
    manager.version = QStringLiteral("2.0");
    MsgBox::Recorder boxes;
    EXPECT_TRUE(runPanel());
    ASSERT_EQ(boxes.shown().size(), 1) << boxes.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_EQ(boxes.shown()[0].text,
              QStringLiteral("The microscope service on the bus (org.zentor.Microscope) serves interface version 2.0; "
                             "this program needs version 1.x (at least ") +
                  ZentorBus::kClientNeeds.text() +
                  QStringLiteral("). Install a service and a program of matching versions."));
    EXPECT_EQ(boxes.shown()[0].icon, MsgBox::Critical);
    EXPECT_EQ(manager.listed, 0);
}

TEST_F(IncompatibleService, AServiceThatDoesNotTellItsVersionIsNamedAndThePanelCloses)
{
    MsgBox::Recorder boxes;
    EXPECT_TRUE(runPanel());
    ASSERT_EQ(boxes.shown().size(), 1) << boxes.texts().join(QLatin1Char('|')).toStdString();
    EXPECT_TRUE(boxes.shown()[0].text.startsWith(
        QStringLiteral("The microscope service on the bus (org.zentor.Microscope) does not tell its interface version")))
        << boxes.shown()[0].text.toStdString();
    EXPECT_EQ(manager.listed, 0);
}
