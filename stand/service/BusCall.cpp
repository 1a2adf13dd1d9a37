#include "stand/service/BusCall.h"

#include "core/service/dbus/BusLayout.h"

BusCall::BusCall(BusConnection* connection, DBusMessage* message)
    : m_message(BusMessage::share(message)), m_connection(connection) {}

BusMessage BusCall::newReply() const
{
    return BusMessage::adopt(dbus_message_new_method_return(m_message.get()));
}

void BusCall::send(const BusMessage& message) const
{
    // A caller that said it wants no answer gets none; a connection that has
    // gone (the call outlived its client's peer) takes nothing.
    if (m_connection && !dbus_message_get_no_reply(m_message.get()))
        m_connection->send(message);
}

void BusCall::reply() const
{
    send(newReply());
}

void BusCall::reply(const QVariant& value, const QString& type) const
{
    BusMessage r = newReply();
    if (!r)
        return;
    if (!type.isEmpty()) {
        DBusMessageIter out;
        dbus_message_iter_init_append(r.get(), &out);
        if (!appendValue(&out, value, type.toLatin1())) {
            error(DBUS_ERROR_FAILED, QStringLiteral("the answer could not be written as '%1'").arg(type));
            return;
        }
    }
    send(r);
}

void BusCall::error(const char* name, const QString& text) const
{
    const QByteArray utf8 = text.toUtf8();
    send(BusMessage::adopt(dbus_message_new_error(m_message.get(), name, utf8.constData())));
}

void BusCall::failure(int32_t code, const QString& description) const
{
    const QByteArray name = ZentorBus::errorName(code).toLatin1();
    error(name.constData(), ZentorBus::errorText(code, description));
}
