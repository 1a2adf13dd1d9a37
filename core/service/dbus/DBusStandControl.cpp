#include "core/service/dbus/DBusStandControl.h"

#include "core/service/dbus/BusLayout.h"

#include <QDBusMessage>

DBusStandControl::DBusStandControl(const QDBusConnection& bus, const QString& service, int microscopeIndex)
    : m_bus(bus), m_service(service), m_path(ZentorBus::devicePath(microscopeIndex))
{
}

void DBusStandControl::call(const char* member, const QVariantList& args)
{
    QDBusMessage msg = QDBusMessage::createMethodCall(m_service, m_path, ZentorBus::ControlInterface,
                                                      QLatin1String(member));
    msg.setArguments(args);
    const QDBusMessage reply = m_bus.call(msg, QDBus::Block, 60000);
    if (reply.type() == QDBusMessage::ErrorMessage)
        throw ZentorBus::errorFromMessage(reply);
}

void DBusStandControl::killUnit(int16_t unit) { call("KillUnit", {QVariant::fromValue<short>(unit)}); }
void DBusStandControl::reviveUnit(int16_t unit) { call("ReviveUnit", {QVariant::fromValue<short>(unit)}); }
void DBusStandControl::stallDevice(int16_t device) { call("StallDevice", {QVariant::fromValue<short>(device)}); }
void DBusStandControl::clearFaults() { call("ClearFaults", {}); }
void DBusStandControl::setSpeedFactor(double factor) { call("SetSpeedFactor", {QVariant(factor)}); }
void DBusStandControl::emitEvents(const QString& message, int32_t count)
{
    call("EmitEvents", {QVariant(message), QVariant::fromValue<int>(count)});
}
