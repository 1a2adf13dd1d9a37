#pragma once
// The microscope service process's bus side: it puts the microscopes of a
// SimulatedService and, optionally, a simulated fiber illuminator on a bus
// connection, under the layout of core/service/dbus/BusLayout.h.
//
// Nothing here ever waits: a device call is handed to its stand and answered
// from the stand's `done` callback (a delayed reply), so that while one client
// waits for a move, every other client is still answered and the positions
// stream to all of them.
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedService.h"

#include <QDBusConnection>
#include <QDBusVirtualObject>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

class MicroscopeObject;

class ServiceHost : public QObject {
    Q_OBJECT
public:
    using Log = std::function<void(const QString&)>;

    ServiceHost(const QDBusConnection& bus, SimulatedService* service, Log log, QObject* parent = nullptr);
    ~ServiceHost() override;

    // Registers the manager and one object per microscope, then takes the
    // well-known name. False (with the reason in `error`) when it cannot.
    bool serveMicroscopes(const QString& busName, QString& error);
    // Registers the fiber illuminator's object and takes its name.
    bool serveFiber(SimulatedFiber* fiber, const QString& busName, QString& error);

    SimulatedService* service() const { return m_service; }
    const Log& log() const { return m_log; }

private:
    QDBusConnection m_bus;
    SimulatedService* m_service;
    Log m_log;
    std::vector<std::unique_ptr<QDBusVirtualObject>> m_objects;
};
