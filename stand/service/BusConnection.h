#pragma once
// One libdbus connection of the service, owned and driven by the thread that
// made it (LibDbusLoop): its messages are read, handled and written there,
// with no thread of a bus library in between.
#include "stand/service/BusMessage.h"

#include <QObject>
#include <QString>
#include <cstdint>
#include <memory>

#include <dbus/dbus.h>

class LibDbusLoop;

class BusConnection : public QObject {
    Q_OBJECT
public:
    // A private connection to the bus `type` (DBUS_BUS_SESSION, or
    // DBUS_BUS_STARTER for the bus that started this process); nullptr, with
    // the reason in `error`, when there is none.
    static std::unique_ptr<BusConnection> toBus(DBusBusType type, QString& error);
    // Takes over a private connection (a peer's, from PeerServer): this object
    // holds a reference and closes the connection when destroyed.
    explicit BusConnection(DBusConnection* connection, QObject* parent = nullptr);
    ~BusConnection() override;

    DBusConnection* raw() const { return m_connection; }
    bool isConnected() const { return dbus_connection_get_is_connected(m_connection); }
    // The name the bus gave this connection (empty on a peer connection).
    QString uniqueName() const;
    // Takes a well-known name for this connection alone, at once or not at
    // all; when another process owns it, `error` names that process. It waits
    // for the bus: for the start only, before any client is served.
    bool requestName(const QString& name, QString& error);

    // Hands a message to the connection, which writes it now if the socket
    // takes it and else as soon as it does; false when it cannot be queued.
    bool send(const BusMessage& message);
    // Bytes of messages handed to the connection that the bus has not taken yet.
    long outgoingBytes() const { return dbus_connection_get_outgoing_size(m_connection); }

signals:
    // The connection has ended (the bus or the peer went away): libdbus says
    // so itself, so nothing has to look now and then.
    void disconnected();

private:
    // The process that owns a name, or 0.
    uint32_t ownerProcess(const QString& name) const;
    static DBusHandlerResult filter(DBusConnection*, DBusMessage* message, void* self);

    DBusConnection* m_connection;
    std::unique_ptr<LibDbusLoop> m_loop;
};
