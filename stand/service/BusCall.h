#pragma once
// A method call the service answers: the message and the connection it came
// on. Copies share the message, so that a handler can keep the call and
// answer it long after it returned to the event loop (a delayed reply).
#include "stand/service/BusConnection.h"
#include "stand/service/BusMessage.h"

#include <QPointer>
#include <QString>
#include <QVariant>
#include <cstdint>

class BusCall {
public:
    BusCall(BusConnection* connection, DBusMessage* message);

    DBusMessage* message() const { return m_message.get(); }
    BusConnection* connection() const { return m_connection; }
    QString member() const { return fromBus(dbus_message_get_member(m_message.get())); }
    QString interface() const { return fromBus(dbus_message_get_interface(m_message.get())); }
    QString path() const { return fromBus(dbus_message_get_path(m_message.get())); }
    QString sender() const { return fromBus(dbus_message_get_sender(m_message.get())); }
    QString signature() const { return fromBus(dbus_message_get_signature(m_message.get())); }
    QVariantList arguments() const { return standArguments(m_message.get()); }

    // An empty reply.
    void reply() const;
    // A reply of one value (the stand's encoding) as the D-Bus type `type`;
    // an empty reply for an empty type.
    void reply(const QVariant& value, const QString& type) const;
    // A reply made by the caller (several results).
    BusMessage newReply() const;
    void send(const BusMessage& message) const;

    // An error of D-Bus's own (org.freedesktop.DBus.Error.*).
    void error(const char* name, const QString& text) const;
    // A failure of the stand, by its 32-bit code.
    void failure(int32_t code, const QString& description) const;

private:
    BusMessage m_message;
    QPointer<BusConnection> m_connection;
};
