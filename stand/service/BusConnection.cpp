#include "stand/service/BusConnection.h"

#include "stand/service/LibDbusLoop.h"

std::unique_ptr<BusConnection> BusConnection::toBus(DBusBusType type, QString& error)
{
    DBusError e;
    dbus_error_init(&e);
    DBusConnection* connection = dbus_bus_get_private(type, &e);
    if (!connection) {
        error = QString::fromUtf8(e.message ? e.message : "no bus");
        dbus_error_free(&e);
        return nullptr;
    }
    auto bus = std::make_unique<BusConnection>(connection);
    dbus_connection_unref(connection);   // the object holds its own reference
    return bus;
}

BusConnection::BusConnection(DBusConnection* connection, QObject* parent)
    : QObject(parent), m_connection(dbus_connection_ref(connection))
{
    // The process decides what a lost bus means, not the library.
    dbus_connection_set_exit_on_disconnect(m_connection, false);
    dbus_connection_add_filter(m_connection, filter, this, nullptr);
    m_loop = std::make_unique<LibDbusLoop>(m_connection);
}

BusConnection::~BusConnection()
{
    dbus_connection_remove_filter(m_connection, filter, this);
    m_loop.reset();
    // Closed without flushing: a peer that never reads must not hold this up.
    dbus_connection_close(m_connection);
    dbus_connection_unref(m_connection);
}

QString BusConnection::uniqueName() const
{
    const char* name = dbus_bus_get_unique_name(m_connection);
    return name ? QString::fromUtf8(name) : QString();
}

bool BusConnection::requestName(const QString& name, QString& error)
{
    DBusError e;
    dbus_error_init(&e);
    const int result = dbus_bus_request_name(m_connection, name.toUtf8().constData(), DBUS_NAME_FLAG_DO_NOT_QUEUE, &e);
    if (dbus_error_is_set(&e)) {
        error = QString::fromUtf8(e.message);
        dbus_error_free(&e);
        return false;
    }
    if (result != DBUS_REQUEST_NAME_REPLY_PRIMARY_OWNER && result != DBUS_REQUEST_NAME_REPLY_ALREADY_OWNER) {
        // A name another process owns is no error of the bus's, so say whose
        // it is (an administrator looks that process up).
        const uint32_t owner = ownerProcess(name);
        error = owner ? QStringLiteral("process %1 owns it").arg(owner) : QStringLiteral("the bus refused it");
        return false;
    }
    return true;
}

uint32_t BusConnection::ownerProcess(const QString& name) const
{
    BusMessage ask = BusMessage::adopt(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                                    DBUS_INTERFACE_DBUS, "GetConnectionUnixProcessID"));
    const QByteArray utf8 = name.toUtf8();
    const char* n = utf8.constData();
    if (!ask || !dbus_message_append_args(ask.get(), DBUS_TYPE_STRING, &n, DBUS_TYPE_INVALID))
        return 0;
    DBusError e;
    dbus_error_init(&e);
    const BusMessage reply = BusMessage::adopt(
        dbus_connection_send_with_reply_and_block(m_connection, ask.get(), DBUS_TIMEOUT_USE_DEFAULT, &e));
    dbus_uint32_t pid = 0;
    if (!reply || !dbus_message_get_args(reply.get(), &e, DBUS_TYPE_UINT32, &pid, DBUS_TYPE_INVALID))
        pid = 0;
    dbus_error_free(&e);
    return pid;
}

bool BusConnection::send(const BusMessage& message)
{
    return message && dbus_connection_send(m_connection, message.get(), nullptr);
}

DBusHandlerResult BusConnection::filter(DBusConnection*, DBusMessage* message, void* self)
{
    if (dbus_message_is_signal(message, DBUS_INTERFACE_LOCAL, "Disconnected"))
        emit static_cast<BusConnection*>(self)->disconnected();
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
}
