// The conformance suite of the service boundary, run against the D-Bus client
// and a real service process on the test's private bus: one fresh process per
// case, configured with the case's stands and speed.
#include "ServiceProcess.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusFiberService.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"
#include "core/service/conformance/suite/ConformanceRig.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

namespace {

class DBusRig : public ConformanceRig {
public:
    DBusRig(const QStringList& descriptions, double speedFactor)
    {
        // A case may hold two rigs at once: each process serves names of its own.
        static int serial = 0;
        ++serial;
        const QString microscopeName = QStringLiteral("%1.Rig%2").arg(ZentorBus::MicroscopeService).arg(serial);
        const QString fiberName = QStringLiteral("%1.Rig%2").arg(ZentorBus::FiberService).arg(serial);
        QStringList args{QStringLiteral("--speed"), QString::number(speedFactor),
                         QStringLiteral("--bus-name"), microscopeName,
                         QStringLiteral("--fiber-bus-name"), fiberName};
        for (const QString& d : descriptions)
            args << QStringLiteral("--stand") << d;
        if (!m_process.start(args, microscopeName))
            throw std::runtime_error(m_process.error().toStdString());
        const QDBusConnection bus = QDBusConnection::sessionBus();
        m_service = std::make_unique<DBusMicroscopeService>(bus, microscopeName);
        m_control = std::make_unique<DBusStandControl>(bus, m_process.uniqueName(), 1);
        m_fiber = std::make_unique<DBusFiberService>(bus, fiberName);
    }
    ~DBusRig() override
    {
        m_fiber.reset();
        m_service.reset();
        m_process.stop();
    }
    MicroscopeService& service() override { return *m_service; }
    StandControl& control() override { return *m_control; }
    FiberService* fiber() override { return m_fiber.get(); }

private:
    ServiceProcess m_process;
    std::unique_ptr<DBusMicroscopeService> m_service;
    std::unique_ptr<DBusStandControl> m_control;
    std::unique_ptr<DBusFiberService> m_fiber;
};

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    registerConformanceSuite("DBus", [](const QStringList& descriptions, double speedFactor) {
        return std::unique_ptr<ConformanceRig>(new DBusRig(descriptions, speedFactor));
    });
    return RUN_ALL_TESTS();
}
