#include "stand/service/ServiceHost.h"

#include "core/service/dbus/BusLayout.h"
#include "stand/service/BusValues.h"
#include "stand/service/StandSnapshot.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QElapsedTimer>
#include <QMetaType>
#include <QTimer>

#include <dbus/dbus.h>

namespace {

using ZentorBus::Method;

QDBusMessage invalidArgs(const QDBusMessage& msg, const Method& m)
{
    return msg.createErrorReply(
        QDBusError::InvalidArgs,
        QStringLiteral("%1 takes arguments of signature '%2', not '%3'").arg(m.name, m.in, msg.signature()));
}

// Finds the method a call names, within the interfaces an object offers. An
// empty interface name (allowed by D-Bus) matches the first one that has it.
struct Found {
    const Method* method = nullptr;
    QString interface;
};
Found lookUp(const QDBusMessage& msg, const QVector<QPair<QString, const QVector<Method>*>>& interfaces)
{
    for (const auto& iface : interfaces) {
        if (!msg.interface().isEmpty() && msg.interface() != iface.first)
            continue;
        if (const Method* m = ZentorBus::findMethod(*iface.second, msg.member()))
            return {m, iface.first};
    }
    return {};
}

QDBusMessage reply(const QDBusMessage& msg, const Method& m, const QVariant& value)
{
    if (m.out.isEmpty())
        return msg.createReply();
    return msg.createReply(busValue(value, m.out));
}

using InterfaceList = QVector<QPair<QString, const QVector<Method>*>>;

// The answer to a fault-injection call of a service that does not offer it.
QDBusMessage faultInjectionNotOffered(const QDBusMessage& msg, const QString& interface)
{
    return msg.createErrorReply(
        QDBusError::UnknownInterface,
        QStringLiteral("%1 is offered only by a service started with --enable-fault-injection (tests)")
            .arg(interface));
}

// The answer to InterfaceVersion: the version of the interfaces this service
// serves (its files' own unless told to serve an older minor).
QDBusMessage versionReply(const QDBusMessage& msg, const ServiceHost& host)
{
    return msg.createReply(QVariant(host.servedVersion().text()));
}

// A SetSpeedFactor beyond the bounds of ServiceHost: its refusal, else none.
bool speedFactorRefused(double f, const QDBusMessage& msg, const QDBusConnection& bus)
{
    if (f == 0 || (f >= ServiceHost::kMinSpeedFactor && f <= ServiceHost::kMaxSpeedFactor))
        return false;
    bus.send(msg.createErrorReply(QDBusError::InvalidArgs,
                                  QStringLiteral("SetSpeedFactor: %1 is out of bounds; give 0 (instant) "
                                                 "or a factor from %2 to %3")
                                      .arg(f).arg(ServiceHost::kMinSpeedFactor).arg(ServiceHost::kMaxSpeedFactor)));
    return true;
}

// Bytes of messages this process has handed to its bus connection that the
// bus has not taken yet.
long outgoingBytes(const QDBusConnection& bus)
{
    auto* connection = static_cast<DBusConnection*>(bus.internalPointer());
    return connection ? dbus_connection_get_outgoing_size(connection) : 0;
}

} // namespace

// --- one microscope ----------------------------------------------------------------

class MicroscopeObject : public QDBusVirtualObject {
public:
    MicroscopeObject(ServiceHost* host, int index) : m_host(host), m_index(index) {}

    QString introspect(const QString&) const override
    {
        QString xml = ZentorBus::introspectionXml(m_host->served(ZentorBus::DeviceInterface));
        if (m_host->faultInjection())
            xml += ZentorBus::introspectionXml(m_host->served(ZentorBus::ControlInterface));
        return xml;
    }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        static const QVector<Method> deviceAll = ZentorBus::deviceServiceMethods() + ZentorBus::deviceMethods();
        static const InterfaceList interfaces = {
            {ZentorBus::DeviceInterface, &deviceAll},
            {ZentorBus::ControlInterface, &ZentorBus::controlMethods()},
        };
        const Found f = lookUp(msg, interfaces);
        if (!f.method || !m_host->serves(f.interface, f.method->name))
            return false;   // introspection and peer calls; anything else is unknown
        if (f.interface == ZentorBus::ControlInterface && !m_host->faultInjection()) {
            bus.send(faultInjectionNotOffered(msg, f.interface));
            return true;
        }
        const Method& m = *f.method;
        if (msg.signature() != m.in) {
            bus.send(invalidArgs(msg, m));
            return true;
        }
        if (m.name == QLatin1String("Ping")) {
            bus.send(msg.createReply());
            return true;
        }
        if (m.name == QLatin1String("Disconnect")) {
            m_host->log()(QStringLiteral("%1 disconnected from microscope %2").arg(msg.service()).arg(m_index));
            bus.send(msg.createReply());
            return true;
        }
        SimulatedStand* stand = standOrRefuse(msg, bus);
        if (!stand)
            return true;
        if (f.interface == ZentorBus::ControlInterface) {
            control(*stand, m, msg, bus);
            return true;
        }
        if (m.name == ZentorBus::SnapshotMember) {
            bus.send(microscopeSnapshot(msg, *m_host->service(), *stand, *m_sent));
            return true;
        }
        // The camera question names a microscope by index, which need not be
        // this one: the service answers it from its list.
        if (m.name == QLatin1String("IsCameraPresent")) {
            const int index = msg.arguments().at(0).toInt();
            const int16_t present = m_host->service()->cameraPresent(index);
            if (present < 0)
                bus.send(ZentorBus::errorReply(msg, RunTimeError::ServiceInvalidArgument,
                                               QStringLiteral("There is no microscope at index %1").arg(index)));
            else
                bus.send(msg.createReply(QVariant::fromValue<short>(present)));
            return true;
        }
        // The reply goes out whenever the stand is done; for a move that is
        // long after this function has returned to the event loop.
        const QDBusMessage request = msg;
        const Method* method = &m;
        QDBusConnection connection = bus;
        stand->invoke(m.name, standArguments(msg), [request, method, connection](const StandResult& r) mutable {
            if (r.error != 0)
                connection.send(ZentorBus::errorReply(request, r.error, r.errorText));
            else
                connection.send(reply(request, *method, r.value));
        });
        return true;
    }

    // The stand of this index, created and wired on first use; answers an
    // error itself and gives nullptr when the microscope cannot be opened.
    SimulatedStand* standOrRefuse(const QDBusMessage& msg, const QDBusConnection& bus)
    {
        if (!m_host->service()->isDeviceAvailable(m_index)) {
            bus.send(ZentorBus::errorReply(msg, RunTimeError::ServiceNotConnected,
                                           QStringLiteral("Microscope %1 is not available").arg(m_index)));
            return nullptr;
        }
        SimulatedStand* stand = m_host->service()->stand(m_index);
        if (!stand) {
            bus.send(ZentorBus::errorReply(msg, RunTimeError::ServiceInvalidArgument,
                                           QStringLiteral("No microscope with index %1").arg(m_index)));
            return nullptr;
        }
        if (m_wired != stand) {
            m_wired = stand;
            const QString path = ZentorBus::devicePath(m_index);
            QDBusConnection connection = bus;
            QObject::connect(stand, &SimulatedStand::propertyChanged, m_host,
                             [connection, path, sent = m_sent](const QString& message) mutable {
                                 QDBusMessage signal = QDBusMessage::createSignal(
                                     path, ZentorBus::DeviceInterface, ZentorBus::EventSignal);
                                 signal << message;
                                 ++*sent;
                                 connection.send(signal);
                             });
        }
        return stand;
    }

private:
    void control(SimulatedStand& stand, const Method& m, const QDBusMessage& msg, const QDBusConnection& bus)
    {
        const QVariantList a = msg.arguments();
        StandControl& c = stand.control();
        if (m.name == QLatin1String("SetSpeedFactor") && speedFactorRefused(a[0].toDouble(), msg, bus))
            return;
        try {
            if (m.name == QLatin1String("KillUnit"))
                c.killUnit(static_cast<int16_t>(a[0].toInt()));
            else if (m.name == QLatin1String("ReviveUnit"))
                c.reviveUnit(static_cast<int16_t>(a[0].toInt()));
            else if (m.name == QLatin1String("StallDevice"))
                c.stallDevice(static_cast<int16_t>(a[0].toInt()));
            else if (m.name == QLatin1String("ClearFaults"))
                c.clearFaults();
            else if (m.name == QLatin1String("SetSpeedFactor"))
                c.setSpeedFactor(a[0].toDouble());
            else if (m.name == QLatin1String("EmitEvents")) {
                emitEvents(m_host, &stand, a[0].toString(), a[1].toInt(), msg, bus);
                return;
            }
        } catch (const RunTimeError& e) {
            bus.send(ZentorBus::errorReply(msg, e.number(), e.description()));
            return;
        }
        bus.send(msg.createReply());
    }

    // Sends the events in slices, returning to the event loop between them so
    // that other clients are still served; answers when all are out. Bounded:
    // the text's length, the count, the floods at once and the time one runs;
    // a flood whose caller has left the bus stops.
    static void emitEvents(ServiceHost* host, SimulatedStand* stand, const QString& text, int count,
                           const QDBusMessage& msg, const QDBusConnection& bus)
    {
        const auto refuse = [&](const QString& why) {
            bus.send(msg.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("EmitEvents: ") + why));
        };
        if (count < 0)
            return refuse(QStringLiteral("negative count"));
        if (count > ServiceHost::kMaxEventCount)
            return refuse(QStringLiteral("a count of %1 is beyond the bound of %2 events")
                              .arg(count).arg(ServiceHost::kMaxEventCount));
        if (text.size() > ServiceHost::kMaxEventText)
            return refuse(QStringLiteral("a text of %1 characters is beyond the bound of %2")
                              .arg(text.size()).arg(ServiceHost::kMaxEventText));
        if (s_floods >= ServiceHost::kMaxFloods) {
            bus.send(msg.createErrorReply(QDBusError::LimitsExceeded,
                                          QStringLiteral("EmitEvents: %1 floods are running already; try again "
                                                         "when one has ended").arg(s_floods)));
            return;
        }
        struct Job {
            QPointer<SimulatedStand> stand;
            QString text;
            int left;
            QDBusMessage request;
            QDBusConnection bus;
            ServiceHost* host;
            QElapsedTimer running;
            bool callerLeft = false;
            std::unique_ptr<QDBusServiceWatcher> caller;
        };
        auto job = std::make_shared<Job>(Job{stand, text, count, msg, bus, host, {}, false, nullptr});
        job->running.start();
        ++s_floods;
        if (!msg.service().isEmpty()) {
            job->caller = std::make_unique<QDBusServiceWatcher>(msg.service(), bus,
                                                                QDBusServiceWatcher::WatchForUnregistration);
            std::weak_ptr<Job> weak = job;
            QObject::connect(job->caller.get(), &QDBusServiceWatcher::serviceUnregistered, [weak](const QString&) {
                if (auto j = weak.lock())
                    j->callerLeft = true;
            });
            // A caller that left before the watch was in place is caught here.
            if (QDBusConnectionInterface* names = job->bus.interface())
                job->callerLeft = !names->isServiceRegistered(msg.service()).value();
        }
        auto step = std::make_shared<std::function<void()>>();
        *step = [job, step]() {
            bool out = job->left == 0 || !job->stand;
            if (!out && job->callerLeft) {
                job->host->log()(QStringLiteral("EmitEvents stopped: %1 left the bus with %2 events unsent")
                                     .arg(job->request.service()).arg(job->left));
                out = true;
            } else if (!out && job->running.elapsed() > ServiceHost::kMaxFloodSeconds * 1000LL) {
                job->host->log()(QStringLiteral("EmitEvents of %1 stopped after %2 s with %3 events unsent")
                                     .arg(job->request.service()).arg(ServiceHost::kMaxFloodSeconds).arg(job->left));
                job->bus.send(job->request.createErrorReply(
                    QDBusError::LimitsExceeded, QStringLiteral("EmitEvents: stopped after %1 s with %2 events unsent")
                                                    .arg(ServiceHost::kMaxFloodSeconds).arg(job->left)));
                job->left = -1;
                out = true;
            }
            if (out) {
                if (job->left >= 0 && !job->callerLeft)
                    job->bus.send(job->request.createReply());
                --s_floods;
                job->caller.reset();
                *step = nullptr;   // breaks the cycle of the shared pointers
                return;
            }
            // Paced by the bus: while the messages this process has queued for
            // the bus exceed the bound, the flood waits, so that it neither
            // grows this process nor makes replies to other clients queue
            // behind it.
            if (outgoingBytes(job->bus) > ServiceHost::kMaxOutgoingBytes) {
                QTimer::singleShot(1, job->stand, *step);
                return;
            }
            for (int i = 0; i < 256 && job->left > 0; ++i, --job->left)
                emit job->stand->propertyChanged(job->text);
            QTimer::singleShot(0, job->stand, *step);
        };
        (*step)();
    }

    static int s_floods;

    ServiceHost* m_host;
    int m_index;
    SimulatedStand* m_wired = nullptr;
    // Events this microscope has sent: the sequence number of its snapshots.
    std::shared_ptr<uint64_t> m_sent = std::make_shared<uint64_t>(0);
};

int MicroscopeObject::s_floods = 0;

// --- the list of microscopes --------------------------------------------------------

class ManagerObject : public QDBusVirtualObject {
public:
    ManagerObject(ServiceHost* host, std::vector<MicroscopeObject*> microscopes)
        : m_host(host), m_microscopes(std::move(microscopes)) {}

    QString introspect(const QString&) const override
    {
        return ZentorBus::introspectionXml(m_host->served(ZentorBus::ManagerInterface));
    }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        static const InterfaceList interfaces = {{ZentorBus::ManagerInterface, &ZentorBus::managerMethods()}};
        const Found f = lookUp(msg, interfaces);
        if (!f.method || !m_host->serves(f.interface, f.method->name))
            return false;
        const Method& m = *f.method;
        if (msg.signature() != m.in) {
            bus.send(invalidArgs(msg, m));
            return true;
        }
        SimulatedService* service = m_host->service();
        const QStringList names = service->deviceNames();
        if (m.name == QLatin1String("Ping")) {
            bus.send(msg.createReply());
        } else if (m.name == QLatin1String("InterfaceVersion")) {
            bus.send(versionReply(msg, *m_host));
        } else if (m.name == ZentorBus::SnapshotMember) {
            bus.send(managerSnapshot(msg, *service, m_host->servedVersion().text()));
        } else if (m.name == QLatin1String("GetDeviceNames")) {
            bus.send(msg.createReply(QVariant::fromValue(names)));
        } else if (m.name == QLatin1String("IsDeviceAvailable")) {
            const int index = msg.arguments().at(0).toInt();
            const short available = index >= 0 && index < names.size()
                                        ? static_cast<short>(service->isDeviceAvailable(index)) : short(0);
            bus.send(msg.createReply(QVariant::fromValue<short>(available)));
        } else if (m.name == QLatin1String("Connect")) {
            const int index = msg.arguments().at(0).toInt();
            if (index < 0 || index >= static_cast<int>(m_microscopes.size())) {
                bus.send(ZentorBus::errorReply(msg, RunTimeError::ServiceInvalidArgument,
                                               QStringLiteral("No microscope with index %1").arg(index)));
                return true;
            }
            if (!m_microscopes[index]->standOrRefuse(msg, bus))
                return true;
            m_host->log()(QStringLiteral("%1 connected to microscope %2 \"%3\"")
                              .arg(msg.service()).arg(index).arg(names.value(index)));
            bus.send(msg.createReply(QVariant::fromValue(QDBusObjectPath(ZentorBus::devicePath(index)))));
        }
        return true;
    }

private:
    ServiceHost* m_host;
    std::vector<MicroscopeObject*> m_microscopes;
};

// --- the fiber illuminator ------------------------------------------------------------

class FiberObject : public QDBusVirtualObject {
public:
    FiberObject(ServiceHost* host, SimulatedFiber* fiber) : m_host(host), m_fiber(fiber) {}

    QString introspect(const QString&) const override
    {
        QString xml = ZentorBus::introspectionXml(m_host->served(ZentorBus::FiberInterface));
        if (m_host->faultInjection())
            xml += ZentorBus::introspectionXml(m_host->served(ZentorBus::FiberControlInterface));
        return xml;
    }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        static const InterfaceList interfaces = {{ZentorBus::FiberInterface, &ZentorBus::fiberMethods()},
                                                 {ZentorBus::FiberControlInterface, &ZentorBus::fiberControlMethods()}};
        const Found f = lookUp(msg, interfaces);
        if (!f.method || !m_host->serves(f.interface, f.method->name))
            return false;
        if (f.interface == ZentorBus::FiberControlInterface && !m_host->faultInjection()) {
            bus.send(faultInjectionNotOffered(msg, f.interface));
            return true;
        }
        const Method& m = *f.method;
        if (msg.signature() != m.in) {
            bus.send(invalidArgs(msg, m));
            return true;
        }
        if (m.name == QLatin1String("InterfaceVersion")) {
            bus.send(versionReply(msg, *m_host));
            return true;
        }
        if (m.name == QLatin1String("SetSpeedFactor") && speedFactorRefused(msg.arguments().at(0).toDouble(), msg, bus))
            return true;
        if (!m_fiber) {
            bus.send(ZentorBus::errorReply(msg, RunTimeError::ServiceGone,
                                           QStringLiteral("The fiber illuminator server has gone")));
            return true;
        }
        const QVariantList a = msg.arguments();
        const auto n = [&](int i) { return static_cast<int16_t>(a.at(i).toInt()); };
        SimulatedFiber& fb = *m_fiber;
        QVariant value;
        try {
            const QString& name = m.name;
            if (name == QLatin1String("ConnectionStatus")) value = fb.ConnectionStatus();
            else if (name == QLatin1String("Connect")) fb.Connect(a.at(0).toInt());
            else if (name == QLatin1String("Disconnect")) fb.Disconnect();
            else if (name == QLatin1String("Port")) value = fb.Port();
            else if (name == QLatin1String("NDPosition")) value = fb.NDPosition();
            else if (name == QLatin1String("setNDPosition")) fb.setNDPosition(n(0));
            else if (name == QLatin1String("NDWheelModel")) value = fb.NDWheelModel();
            else if (name == QLatin1String("ShutterIsOpened")) value = fb.ShutterIsOpened();
            else if (name == QLatin1String("ShutterOpen")) fb.ShutterOpen();
            else if (name == QLatin1String("ShutterClose")) fb.ShutterClose();
            else if (name == QLatin1String("ShutterOpenTimed")) fb.ShutterOpenTimed(a.at(0).toDouble());
            else if (name == QLatin1String("ShutterCloseTimed")) fb.ShutterCloseTimed(a.at(0).toDouble());
            else if (name == QLatin1String("LampIsOn")) value = fb.LampIsOn();
            else if (name == QLatin1String("LampOn")) fb.LampOn();
            else if (name == QLatin1String("LampOff")) fb.LampOff();
            else if (name == QLatin1String("Status")) value = fb.Status(a.at(0).toString());
            else if (name == QLatin1String("SetSensor")) fb.setSensor(a.at(0).toString(), n(1));
            else if (name == QLatin1String("SetPresent")) fb.setPresent(a.at(0).toBool());
            else if (name == QLatin1String("SetSpeedFactor")) fb.setSpeedFactor(a.at(0).toDouble());
        } catch (const RunTimeError& e) {
            bus.send(ZentorBus::errorReply(msg, e.number(), e.description()));
            return true;
        }
        bus.send(reply(msg, m, value));
        return true;
    }

private:
    ServiceHost* m_host;
    QPointer<SimulatedFiber> m_fiber;
};

// --- the host -----------------------------------------------------------------------------

namespace {
// Why the bus refused a name: a name another process owns is no error of the
// bus's, so say whose it is (an administrator looks that process up).
QString whyNotOwned(const QDBusConnection& bus, const QString& name)
{
    const uint owner = bus.interface() ? bus.interface()->servicePid(name).value() : 0;
    if (owner != 0)
        return QStringLiteral("process %1 owns it").arg(owner);
    const QString error = bus.lastError().message();
    return error.isEmpty() ? QStringLiteral("the bus refused it") : error;
}
} // namespace

ServiceHost::ServiceHost(const QDBusConnection& bus, SimulatedService* service, Log log, QObject* parent)
    : QObject(parent), m_bus(bus), m_service(service), m_log(std::move(log))
{
    // The bus library's own signal of a lost connection: it is made in this
    // process, never sent by the bus.
    m_bus.connect(QString(), QStringLiteral(DBUS_PATH_LOCAL), QStringLiteral(DBUS_INTERFACE_LOCAL),
                  QStringLiteral("Disconnected"), this, SLOT(disconnected()));
}

void ServiceHost::disconnected()
{
    emit busGone();
}

ServiceHost::~ServiceHost()
{
    m_bus.unregisterObject(ZentorBus::ManagerPath, QDBusConnection::UnregisterTree);
    m_bus.unregisterObject(ZentorBus::FiberPath);
}

bool ServiceHost::serveVersion(const ZentorBus::InterfaceVersion& version)
{
    const ZentorBus::InterfaceVersion own = ZentorBus::servedVersion();
    if (!version.valid() || version.major != own.major || !own.atLeast(version))
        return false;
    m_version = version;
    return true;
}

ZentorBus::InterfaceInfo ServiceHost::served(const QString& interfaceName) const
{
    return ZentorBus::asOfVersion(ZentorBus::interfaceInfo(interfaceName), m_version);
}

bool ServiceHost::serves(const QString& interfaceName, const QString& member) const
{
    const ZentorBus::InterfaceMember* m = ZentorBus::interfaceInfo(interfaceName).member(member);
    return m && (m->since.isEmpty() || m_version.atLeast(ZentorBus::InterfaceVersion::parse(m->since)));
}

bool ServiceHost::serveMicroscopes(const QString& busName, QString& error)
{
    if (!registerMicroscopeObjects(error))
        return false;
    if (!m_bus.registerService(busName)) {
        error = QStringLiteral("cannot own the bus name %1: %2").arg(busName, whyNotOwned(m_bus, busName));
        return false;
    }
    return true;
}

bool ServiceHost::registerMicroscopeObjects(QString& error)
{
    std::vector<MicroscopeObject*> microscopes;
    const int count = static_cast<int>(m_service->deviceNames().size());
    for (int i = 0; i < count; ++i) {
        auto object = std::make_unique<MicroscopeObject>(this, i);
        if (!m_bus.registerVirtualObject(ZentorBus::devicePath(i), object.get())) {
            error = QStringLiteral("cannot register %1: %2").arg(ZentorBus::devicePath(i), m_bus.lastError().message());
            return false;
        }
        microscopes.push_back(object.get());
        m_objects.push_back(std::move(object));
    }
    auto manager = std::make_unique<ManagerObject>(this, microscopes);
    if (!m_bus.registerVirtualObject(ZentorBus::ManagerPath, manager.get())) {
        error = QStringLiteral("cannot register %1: %2").arg(ZentorBus::ManagerPath, m_bus.lastError().message());
        return false;
    }
    m_objects.push_back(std::move(manager));
    return true;
}

bool ServiceHost::serveFiber(SimulatedFiber* fiber, const QString& busName, QString& error)
{
    if (!registerFiberObject(fiber, error))
        return false;
    if (!m_bus.registerService(busName)) {
        m_bus.unregisterObject(ZentorBus::FiberPath);
        error = QStringLiteral("cannot own the bus name %1: %2").arg(busName, whyNotOwned(m_bus, busName));
        return false;
    }
    return true;
}

bool ServiceHost::registerFiberObject(SimulatedFiber* fiber, QString& error)
{
    auto object = std::make_unique<FiberObject>(this, fiber);
    if (!m_bus.registerVirtualObject(ZentorBus::FiberPath, object.get())) {
        error = QStringLiteral("cannot register %1: %2").arg(ZentorBus::FiberPath, m_bus.lastError().message());
        return false;
    }
    m_objects.push_back(std::move(object));
    QDBusConnection connection = m_bus;
    connect(fiber, &FiberService::OnPropertyChanged, this, [connection](const QString& message) mutable {
        QDBusMessage signal = QDBusMessage::createSignal(ZentorBus::FiberPath, ZentorBus::FiberInterface,
                                                         ZentorBus::EventSignal);
        signal << message;
        connection.send(signal);
    });
    return true;
}
