#include "stand/service/ServiceHost.h"

#include "core/service/dbus/BusLayout.h"
#include "stand/service/BusCall.h"
#include "stand/service/FiberObject.h"
#include "stand/service/ManagerObject.h"
#include "stand/service/MicroscopeObject.h"

#include <QSet>

namespace {

const char kIntrospectable[] = "org.freedesktop.DBus.Introspectable";
const char kProperties[] = "org.freedesktop.DBus.Properties";

// The standard interfaces every node answers, as introspection shows them.
const char kPropertiesXml[] =
    "  <interface name=\"org.freedesktop.DBus.Properties\">\n"
    "    <method name=\"Get\">\n"
    "      <arg name=\"interface_name\" type=\"s\" direction=\"in\"/>\n"
    "      <arg name=\"property_name\" type=\"s\" direction=\"in\"/>\n"
    "      <arg name=\"value\" type=\"v\" direction=\"out\"/>\n"
    "    </method>\n"
    "    <method name=\"Set\">\n"
    "      <arg name=\"interface_name\" type=\"s\" direction=\"in\"/>\n"
    "      <arg name=\"property_name\" type=\"s\" direction=\"in\"/>\n"
    "      <arg name=\"value\" type=\"v\" direction=\"in\"/>\n"
    "    </method>\n"
    "    <method name=\"GetAll\">\n"
    "      <arg name=\"interface_name\" type=\"s\" direction=\"in\"/>\n"
    "      <arg name=\"values\" type=\"a{sv}\" direction=\"out\"/>\n"
    "    </method>\n"
    "    <signal name=\"PropertiesChanged\">\n"
    "      <arg name=\"interface_name\" type=\"s\" direction=\"out\"/>\n"
    "      <arg name=\"changed_properties\" type=\"a{sv}\" direction=\"out\"/>\n"
    "      <arg name=\"invalidated_properties\" type=\"as\" direction=\"out\"/>\n"
    "    </signal>\n"
    "  </interface>\n";
const char kIntrospectableXml[] =
    "  <interface name=\"org.freedesktop.DBus.Introspectable\">\n"
    "    <method name=\"Introspect\">\n"
    "      <arg name=\"xml_data\" type=\"s\" direction=\"out\"/>\n"
    "    </method>\n"
    "  </interface>\n"
    "  <interface name=\"org.freedesktop.DBus.Peer\">\n"
    "    <method name=\"Ping\"/>\n"
    "    <method name=\"GetMachineId\">\n"
    "      <arg name=\"machine_uuid\" type=\"s\" direction=\"out\"/>\n"
    "    </method>\n"
    "  </interface>\n";

// Every path on the way to a served object is a node of its own (it answers
// introspection with its children); any other path is unknown.
bool isAncestor(const QString& path, const QString& of)
{
    return path == QLatin1String("/") || of.startsWith(path + QLatin1Char('/'));
}

BusMessage emptyProperties(const BusCall& call)
{
    BusMessage r = call.newReply();
    DBusMessageIter out;
    DBusMessageIter array;
    dbus_message_iter_init_append(r.get(), &out);
    if (!dbus_message_iter_open_container(&out, DBUS_TYPE_ARRAY, "{sv}", &array)
        || !dbus_message_iter_close_container(&out, &array))
        return {};
    return r;
}

} // namespace

// --- the host -----------------------------------------------------------------------------

ServiceHost::ServiceHost(BusConnection* bus, SimulatedService* service, Log log, QObject* parent)
    : QObject(parent), m_bus(bus), m_service(service), m_log(std::move(log))
{
    connect(m_bus, &BusConnection::disconnected, this, &ServiceHost::busGone);
    // Every path comes here, so that the nodes between the root and the
    // objects, and unknown paths, are answered as one object tree.
    static const DBusObjectPathVTable table = {nullptr, &ServiceHost::route, nullptr, nullptr, nullptr, nullptr};
    dbus_connection_register_fallback(m_bus->raw(), "/", &table, this);
}

ServiceHost::~ServiceHost()
{
    dbus_connection_unregister_object_path(m_bus->raw(), "/");
}

void ServiceHost::sendSignal(const QByteArray& path, const QByteArray& interface, const QString& text)
{
    static const QByteArray member = ZentorBus::EventSignal.toLatin1();
    BusMessage signal = BusMessage::adopt(dbus_message_new_signal(path.constData(), interface.constData(),
                                                                  member.constData()));
    if (!signal)
        return;
    const QByteArray utf8 = text.toUtf8();
    const char* p = utf8.constData();
    if (dbus_message_append_args(signal.get(), DBUS_TYPE_STRING, &p, DBUS_TYPE_INVALID))
        m_bus->send(signal);
}

DBusHandlerResult ServiceHost::route(DBusConnection*, DBusMessage* message, void* self)
{
    if (dbus_message_get_type(message) != DBUS_MESSAGE_TYPE_METHOD_CALL)
        return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
    auto* host = static_cast<ServiceHost*>(self);
    const BusCall call(host->m_bus, message);
    BusObject* object = host->m_objects.value(call.path());
    if (!object || !object->handle(call))
        host->answerUnhandled(call, object);
    return DBUS_HANDLER_RESULT_HANDLED;
}

// What no object answers itself: introspection, the (empty) properties, and
// the errors of an unknown path, interface or member.
void ServiceHost::answerUnhandled(const BusCall& call, BusObject* object)
{
    const QString path = call.path();
    const QString interface = call.interface();
    const QString member = call.member();
    bool node = object != nullptr;
    for (auto it = m_objects.cbegin(); !node && it != m_objects.cend(); ++it)
        node = isAncestor(path, it.key());
    if (!node) {
        call.error(DBUS_ERROR_UNKNOWN_OBJECT, QStringLiteral("No such object path '%1'").arg(path));
        return;
    }
    if ((interface.isEmpty() || interface == QLatin1String(kIntrospectable)) && member == QLatin1String("Introspect")
        && call.signature().isEmpty()) {
        call.reply(introspect(path, object), QStringLiteral("s"));
        return;
    }
    if (object && (interface.isEmpty() || interface == QLatin1String(kProperties))) {
        const QVariantList a = call.arguments();
        const QString sig = call.signature();
        const bool get = member == QLatin1String("Get") && sig == QLatin1String("ss");
        const bool set = member == QLatin1String("Set") && sig == QLatin1String("ssv");
        const bool all = member == QLatin1String("GetAll") && sig == QLatin1String("s");
        if (get || set || all) {
            const QString asked = a.value(0).toString();
            if (!object->offers(asked))
                call.error(DBUS_ERROR_UNKNOWN_INTERFACE,
                           QStringLiteral("Interface %1 was not found in object %2").arg(asked, path));
            else if (all)
                call.send(emptyProperties(call));
            else
                call.error(DBUS_ERROR_UNKNOWN_PROPERTY,
                           QStringLiteral("Property %1.%2 was not found in object %3").arg(asked, a.value(1).toString(), path));
            return;
        }
    }
    if (!interface.isEmpty())
        call.error(DBUS_ERROR_UNKNOWN_INTERFACE,
                   QStringLiteral("No such interface '%1' at object path '%2'").arg(interface, path));
    else
        call.error(DBUS_ERROR_UNKNOWN_METHOD, QStringLiteral("No such method '%1' at object path '%2' (signature '%3')")
                                                  .arg(member, path, call.signature()));
}

QString ServiceHost::introspect(const QString& path, BusObject* object) const
{
    QString xml = QStringLiteral(DBUS_INTROSPECT_1_0_XML_DOCTYPE_DECL_NODE "<node>\n");
    if (object)
        xml += object->introspect() + QLatin1String(kPropertiesXml);
    xml += QLatin1String(kIntrospectableXml);
    // The children: the next part of each served path below this one.
    const QString prefix = path == QLatin1String("/") ? path : path + QLatin1Char('/');
    QStringList children;
    for (auto it = m_objects.cbegin(); it != m_objects.cend(); ++it)
        if (it.key().startsWith(prefix) && it.key() != path) {
            const QString child = it.key().mid(prefix.size()).section(QLatin1Char('/'), 0, 0);
            if (!children.contains(child))
                children << child;
        }
    children.sort();
    for (const QString& child : children)
        xml += QStringLiteral("  <node name=\"%1\"/>\n").arg(child);
    return xml + QStringLiteral("</node>\n");
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
    return takeName(busName, error);
}

bool ServiceHost::takeName(const QString& busName, QString& error)
{
    QString why;
    if (m_bus->requestName(busName, why))
        return true;
    error = QStringLiteral("cannot own the bus name %1: %2").arg(busName, why);
    return false;
}

bool ServiceHost::add(const QString& path, std::unique_ptr<BusObject> object, QString& error)
{
    if (m_objects.contains(path)) {
        error = QStringLiteral("cannot register %1: an object is served there already").arg(path);
        return false;
    }
    m_objects.insert(path, object.get());
    m_owned.push_back(std::move(object));
    return true;
}

bool ServiceHost::registerMicroscopeObjects(QString& error)
{
    std::vector<MicroscopeObject*> microscopes;
    const int count = static_cast<int>(m_service->deviceNames().size());
    for (int i = 0; i < count; ++i) {
        auto object = std::make_unique<MicroscopeObject>(this, i);
        microscopes.push_back(object.get());
        if (!add(ZentorBus::devicePath(i), std::move(object), error))
            return false;
    }
    return add(ZentorBus::ManagerPath, std::make_unique<ManagerObject>(this, microscopes), error);
}

bool ServiceHost::serveFiber(SimulatedFiber* fiber, const QString& busName, QString& error)
{
    if (!registerFiberObject(fiber, error))
        return false;
    if (takeName(busName, error))
        return true;
    m_objects.remove(ZentorBus::FiberPath);
    return false;
}

bool ServiceHost::registerFiberObject(SimulatedFiber* fiber, QString& error)
{
    return add(ZentorBus::FiberPath, std::make_unique<FiberObject>(this, fiber), error);
}
