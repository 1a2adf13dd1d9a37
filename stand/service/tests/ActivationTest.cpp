// On a bus whose service folder holds the build's .service files, the first
// call of a client starts the service; nobody starts it by hand.
#include "ServiceProcess.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusFiberService.h"
#include "core/service/dbus/DBusMicroscopeService.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <gtest/gtest.h>

TEST(Activation, TheFirstCallStartsTheMicroscopeService)
{
    QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
    ASSERT_NE(bus, nullptr);
    ASSERT_FALSE(bus->isServiceRegistered(ZentorBus::MicroscopeService).value());
    const QStringList activatable = bus->activatableServiceNames().value();
    EXPECT_TRUE(activatable.contains(ZentorBus::MicroscopeService));
    EXPECT_TRUE(activatable.contains(ZentorBus::FiberService));

    DBusMicroscopeService s;
    const QStringList names = s.GetDeviceNames();
    ASSERT_FALSE(names.isEmpty());
    EXPECT_TRUE(bus->isServiceRegistered(ZentorBus::MicroscopeService).value());
    s.Connect(0);
    EXPECT_EQ(s.DeviceStatus(UnitIndex::Q7s), 1);
    // The process that started serves the fiber illuminator as well.
    DBusFiberService fiber;
    fiber.Connect(1000);
    EXPECT_EQ(fiber.ConnectionStatus(), 1);
    EXPECT_EQ(bus->serviceOwner(ZentorBus::FiberService).value(), s.boundService());
}
