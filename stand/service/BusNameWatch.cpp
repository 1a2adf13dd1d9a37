#include "stand/service/BusNameWatch.h"

#include "stand/service/BusMessage.h"

#include <cstring>

BusNameWatch::BusNameWatch(BusConnection* bus, const QString& name)
    : m_bus(bus), m_name(name.toUtf8()),
      m_rule("type='signal',sender='" DBUS_SERVICE_DBUS "',interface='" DBUS_INTERFACE_DBUS
             "',member='NameOwnerChanged',arg0='" + m_name + "'")
{
    DBusConnection* c = bus->raw();
    dbus_connection_add_filter(c, filter, this, nullptr);
    // Without an error to fill, neither of these waits for the bus.
    dbus_bus_add_match(c, m_rule.constData(), nullptr);
    // Asked after the match is in place, so a client that leaves in between
    // is caught by one or the other.
    BusMessage ask = BusMessage::adopt(dbus_message_new_method_call(DBUS_SERVICE_DBUS, DBUS_PATH_DBUS,
                                                                    DBUS_INTERFACE_DBUS, "NameHasOwner"));
    const char* n = m_name.constData();
    if (ask && dbus_message_append_args(ask.get(), DBUS_TYPE_STRING, &n, DBUS_TYPE_INVALID)
        && dbus_connection_send_with_reply(c, ask.get(), &m_asked, DBUS_TIMEOUT_USE_DEFAULT) && m_asked)
        dbus_pending_call_set_notify(m_asked, answered, this, nullptr);
}

BusNameWatch::~BusNameWatch()
{
    if (m_asked) {
        dbus_pending_call_cancel(m_asked);
        dbus_pending_call_unref(m_asked);
    }
    if (m_bus) {
        dbus_connection_remove_filter(m_bus->raw(), filter, this);
        dbus_bus_remove_match(m_bus->raw(), m_rule.constData(), nullptr);
    }
}

DBusHandlerResult BusNameWatch::filter(DBusConnection*, DBusMessage* message, void* self)
{
    auto* w = static_cast<BusNameWatch*>(self);
    const char* name = nullptr;
    const char* oldOwner = nullptr;
    const char* newOwner = nullptr;
    if (dbus_message_is_signal(message, DBUS_INTERFACE_DBUS, "NameOwnerChanged")
        && dbus_message_get_args(message, nullptr, DBUS_TYPE_STRING, &name, DBUS_TYPE_STRING, &oldOwner,
                                 DBUS_TYPE_STRING, &newOwner, DBUS_TYPE_INVALID)
        && w->m_name == name && !*newOwner)
        w->m_left = true;
    return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
}

void BusNameWatch::answered(DBusPendingCall* pending, void* self)
{
    auto* w = static_cast<BusNameWatch*>(self);
    DBusMessage* reply = dbus_pending_call_steal_reply(pending);
    dbus_bool_t has = true;
    if (reply && dbus_message_get_type(reply) == DBUS_MESSAGE_TYPE_METHOD_RETURN
        && dbus_message_get_args(reply, nullptr, DBUS_TYPE_BOOLEAN, &has, DBUS_TYPE_INVALID) && !has)
        w->m_left = true;
    if (reply)
        dbus_message_unref(reply);
    dbus_pending_call_unref(w->m_asked);
    w->m_asked = nullptr;
}
