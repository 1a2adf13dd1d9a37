#include "stand/service/ServiceHost.h"

#include "core/service/dbus/BusLayout.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QMetaType>
#include <QTimer>

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

// Call arguments in the stand's encoding: every integer as int, doubles as
// double, texts as QString, the observation positions as 11 ints.
QVariantList standArguments(const QDBusMessage& msg)
{
    QVariantList out;
    for (const QVariant& a : msg.arguments()) {
        switch (a.metaType().id()) {
        case QMetaType::Short:
        case QMetaType::Int:
            out << QVariant(a.toInt());
            break;
        case QMetaType::Double:
            out << QVariant(a.toDouble());
            break;
        case QMetaType::QString:
            out << QVariant(a.toString());
            break;
        default:
            if (a.userType() == qMetaTypeId<QDBusArgument>()) {
                const QDBusArgument arg = a.value<QDBusArgument>();
                QVariantList fields;
                arg.beginStructure();
                while (!arg.atEnd()) {
                    int v = 0;
                    arg >> v;
                    fields << QVariant(v);
                }
                arg.endStructure();
                out << QVariant(fields);
            } else {
                out << a;
            }
        }
    }
    return out;
}

// The stand's answer in the D-Bus type that the method declares.
QVariant busValue(const QVariant& v, const QString& type)
{
    if (type == QLatin1String("n"))
        return QVariant::fromValue<short>(static_cast<short>(v.toInt()));
    if (type == QLatin1String("i"))
        return QVariant::fromValue<int>(v.toInt());
    if (type == QLatin1String("d"))
        return QVariant::fromValue<double>(v.toDouble());
    if (type == QLatin1String("s"))
        return QVariant::fromValue(v.toString());
    if (type == QLatin1String("as"))
        return QVariant::fromValue(v.toStringList());
    if (type == QLatin1String("ai")) {
        QList<int> list;
        for (const QVariant& x : v.toList())
            list << x.toInt();
        return QVariant::fromValue(list);
    }
    if (type == QLatin1String("ad")) {
        QList<double> list;
        for (const QVariant& x : v.toList())
            list << x.toDouble();
        return QVariant::fromValue(list);
    }
    if (type == ZentorBus::ObservationSignature) {
        const QVariantList fields = v.toList();
        QDBusArgument arg;
        arg.beginStructure();
        for (int i = 0; i < 11; ++i)
            arg << (i < fields.size() ? fields[i].toInt() : 0);
        arg.endStructure();
        return QVariant::fromValue(arg);
    }
    return v;
}

QDBusMessage reply(const QDBusMessage& msg, const Method& m, const QVariant& value)
{
    if (m.out.isEmpty())
        return msg.createReply();
    return msg.createReply(busValue(value, m.out));
}

using InterfaceList = QVector<QPair<QString, const QVector<Method>*>>;

} // namespace

// --- one microscope ----------------------------------------------------------------

class MicroscopeObject : public QDBusVirtualObject {
public:
    MicroscopeObject(ServiceHost* host, int index) : m_host(host), m_index(index) {}

    QString introspect(const QString&) const override
    {
        return ZentorBus::interfaceXml(ZentorBus::DeviceInterface,
                                       ZentorBus::deviceServiceMethods() + ZentorBus::deviceMethods(), true) +
               ZentorBus::interfaceXml(ZentorBus::ControlInterface, ZentorBus::controlMethods(), false);
    }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        static const QVector<Method> deviceAll = ZentorBus::deviceServiceMethods() + ZentorBus::deviceMethods();
        static const InterfaceList interfaces = {
            {ZentorBus::DeviceInterface, &deviceAll},
            {ZentorBus::ControlInterface, &ZentorBus::controlMethods()},
        };
        const Found f = lookUp(msg, interfaces);
        if (!f.method)
            return false;   // introspection and peer calls; anything else is unknown
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
                             [connection, path](const QString& message) mutable {
                                 QDBusMessage signal = QDBusMessage::createSignal(
                                     path, ZentorBus::DeviceInterface, ZentorBus::EventSignal);
                                 signal << message;
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
                emitEvents(&stand, a[0].toString(), a[1].toInt(), msg, bus);
                return;
            }
        } catch (const RunTimeError& e) {
            bus.send(ZentorBus::errorReply(msg, e.number(), e.description()));
            return;
        }
        bus.send(msg.createReply());
    }

    // Sends the events in slices, returning to the event loop between them so
    // that other clients are still served; answers when all are out.
    static void emitEvents(SimulatedStand* stand, const QString& text, int count, const QDBusMessage& msg,
                           const QDBusConnection& bus)
    {
        if (count < 0) {
            bus.send(msg.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("EmitEvents: negative count")));
            return;
        }
        struct Job {
            QPointer<SimulatedStand> stand;
            QString text;
            int left;
            QDBusMessage request;
            QDBusConnection bus;
        };
        auto job = std::make_shared<Job>(Job{stand, text, count, msg, bus});
        auto step = std::make_shared<std::function<void()>>();
        *step = [job, step]() {
            for (int i = 0; i < 256 && job->left > 0 && job->stand; ++i, --job->left)
                emit job->stand->propertyChanged(job->text);
            if (job->left > 0 && job->stand) {
                QTimer::singleShot(0, job->stand, *step);
            } else {
                job->bus.send(job->request.createReply());
                *step = nullptr;   // breaks the cycle of the shared pointers
            }
        };
        (*step)();
    }

    ServiceHost* m_host;
    int m_index;
    SimulatedStand* m_wired = nullptr;
};

// --- the list of microscopes --------------------------------------------------------

class ManagerObject : public QDBusVirtualObject {
public:
    ManagerObject(ServiceHost* host, std::vector<MicroscopeObject*> microscopes)
        : m_host(host), m_microscopes(std::move(microscopes)) {}

    QString introspect(const QString&) const override
    {
        return ZentorBus::interfaceXml(ZentorBus::ManagerInterface, ZentorBus::managerMethods(), false);
    }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        static const InterfaceList interfaces = {{ZentorBus::ManagerInterface, &ZentorBus::managerMethods()}};
        const Found f = lookUp(msg, interfaces);
        if (!f.method)
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
    explicit FiberObject(SimulatedFiber* fiber) : m_fiber(fiber) {}

    QString introspect(const QString&) const override
    {
        return ZentorBus::interfaceXml(ZentorBus::FiberInterface, ZentorBus::fiberMethods(), true) +
               ZentorBus::interfaceXml(ZentorBus::ControlInterface, ZentorBus::fiberControlMethods(), false);
    }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override
    {
        static const InterfaceList interfaces = {{ZentorBus::FiberInterface, &ZentorBus::fiberMethods()},
                                                 {ZentorBus::ControlInterface, &ZentorBus::fiberControlMethods()}};
        const Found f = lookUp(msg, interfaces);
        if (!f.method)
            return false;
        const Method& m = *f.method;
        if (msg.signature() != m.in) {
            bus.send(invalidArgs(msg, m));
            return true;
        }
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
    QPointer<SimulatedFiber> m_fiber;
};

// --- the host -----------------------------------------------------------------------------

ServiceHost::ServiceHost(const QDBusConnection& bus, SimulatedService* service, Log log, QObject* parent)
    : QObject(parent), m_bus(bus), m_service(service), m_log(std::move(log))
{
}

ServiceHost::~ServiceHost()
{
    m_bus.unregisterObject(ZentorBus::ManagerPath, QDBusConnection::UnregisterTree);
    m_bus.unregisterObject(ZentorBus::FiberPath);
}

bool ServiceHost::serveMicroscopes(const QString& busName, QString& error)
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
    if (!m_bus.registerService(busName)) {
        error = QStringLiteral("cannot own the bus name %1: %2").arg(busName, m_bus.lastError().message());
        return false;
    }
    return true;
}

bool ServiceHost::serveFiber(SimulatedFiber* fiber, const QString& busName, QString& error)
{
    auto object = std::make_unique<FiberObject>(fiber);
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
    if (!m_bus.registerService(busName)) {
        m_bus.unregisterObject(ZentorBus::FiberPath);
        error = QStringLiteral("cannot own the bus name %1: %2").arg(busName, m_bus.lastError().message());
        return false;
    }
    return true;
}
