#include "stand/service/PeerServer.h"

#include "stand/service/LibDbusLoop.h"

PeerServer::PeerServer(const QString& address, QObject* parent) : QObject(parent)
{
    DBusError e;
    dbus_error_init(&e);
    m_server = dbus_server_listen(address.toUtf8().constData(), &e);
    if (!m_server) {
        m_error = QString::fromUtf8(e.message ? e.message : "cannot listen");
        dbus_error_free(&e);
        return;
    }
    dbus_server_set_new_connection_function(m_server, accept, this, nullptr);
    m_loop = std::make_unique<LibDbusLoop>(m_server);
}

PeerServer::~PeerServer()
{
    if (!m_server)
        return;
    m_loop.reset();
    dbus_server_disconnect(m_server);
    dbus_server_unref(m_server);
}

QString PeerServer::address() const
{
    if (!m_server)
        return {};
    char* a = dbus_server_get_address(m_server);
    const QString address = QString::fromUtf8(a);
    dbus_free(a);
    return address;
}

void PeerServer::accept(DBusServer*, DBusConnection* connection, void* self)
{
    auto* server = static_cast<PeerServer*>(self);
    emit server->newConnection(new BusConnection(connection, server));
}
