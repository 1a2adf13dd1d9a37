#pragma once
// The microscope service process's bus side: it puts the microscopes of a
// SimulatedService and, optionally, a simulated fiber illuminator on a bus
// connection, under the layout of core/service/dbus/BusLayout.h.
//
// The connection is libdbus's own, read and written by this thread from its
// event loop: a call, its reply and an event are each one message built and
// sent here, with no other thread to hand them to.
//
// Nothing here ever waits: a device call is handed to its stand and answered
// from the stand's `done` callback (a delayed reply), so that while one client
// waits for a move, every other client is still answered and the positions
// stream to all of them.
#include "core/service/dbus/BusLayout.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedService.h"

#include "stand/service/BusConnection.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QStringList>
#include <functional>
#include <memory>
#include <vector>

class BusCall;
class BusObject;

class ServiceHost : public QObject {
    Q_OBJECT
public:
    using Log = std::function<void(const QString&)>;

    // Serves on `bus`, which must outlive this host.
    ServiceHost(BusConnection* bus, SimulatedService* service, Log log, QObject* parent = nullptr);
    ~ServiceHost() override;

    // Registers the manager and one object per microscope, then takes the
    // well-known name. False (with the reason in `error`) when it cannot.
    bool serveMicroscopes(const QString& busName, QString& error);
    // Registers the fiber illuminator's object and takes its name.
    bool serveFiber(SimulatedFiber* fiber, const QString& busName, QString& error);

    // The objects alone, without a well-known name: the first half of the two
    // above, and all a peer-to-peer connection (no bus daemon) can take.
    bool registerMicroscopeObjects(QString& error);
    bool registerFiberObject(SimulatedFiber* fiber, QString& error);

    SimulatedService* service() const { return m_service; }
    BusConnection* connection() const { return m_bus; }
    // Sends the signal OnPropertyChanged(text) of the object at `path`.
    void sendSignal(const QByteArray& path, const QByteArray& interface, const QString& text);
    const Log& log() const { return m_log; }

    // The fault-injection interface (org.zentor.StandControl) is for tests
    // only: it is offered only after this was called (--enable-fault-injection).
    void enableFaultInjection() { m_faultInjection = true; }
    bool faultInjection() const { return m_faultInjection; }

    // Serve an older minor of the interfaces, as a driver written for it
    // does: the members a later minor added (Snapshot, from 1.1) are neither
    // answered nor introspected (comparisons, and tests of older drivers).
    // False, changing nothing, for a version of another major or a later minor.
    bool serveVersion(const ZentorBus::InterfaceVersion& version);
    const ZentorBus::InterfaceVersion& servedVersion() const { return m_version; }
    // An interface as this service serves it, and whether it answers a member.
    ZentorBus::InterfaceInfo served(const QString& interfaceName) const;
    bool serves(const QString& interfaceName, const QString& member) const;

    // Bounds of every fault-injection request; beyond them it is refused.
    static constexpr int kMaxEventText = 4096;       // characters of one EmitEvents text
    static constexpr int kMaxEventCount = 1000000;   // events of one EmitEvents call
    static constexpr int kMaxFloodSeconds = 60;      // an EmitEvents call stops after this
    static constexpr int kMaxFloods = 4;             // EmitEvents calls running at once
    static constexpr double kMinSpeedFactor = 0.01;  // slower would hold a move for days
    static constexpr double kMaxSpeedFactor = 1000;
    // Messages queued for the bus beyond which a flood waits.
    static constexpr long kMaxOutgoingBytes = 256 * 1024;

signals:
    // The connection to the bus has ended (the bus went away). The bus
    // library says so itself, so nothing has to look now and then.
    void busGone();

private:
    bool add(const QString& path, std::unique_ptr<BusObject> object, QString& error);
    bool takeName(const QString& busName, QString& error);
    static DBusHandlerResult route(DBusConnection*, DBusMessage* message, void* host);
    void answerUnhandled(const BusCall& call, BusObject* object);
    QString introspect(const QString& path, BusObject* object) const;

    BusConnection* m_bus;
    SimulatedService* m_service;
    Log m_log;
    bool m_faultInjection = false;
    ZentorBus::InterfaceVersion m_version = ZentorBus::servedVersion();
    // The served objects by path; every other path is answered as unknown.
    QHash<QString, BusObject*> m_objects;
    std::vector<std::unique_ptr<BusObject>> m_owned;
};
