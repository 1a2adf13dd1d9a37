#include "stand/service/BusObject.h"

#include "stand/service/ServiceHost.h"

FoundMethod lookUp(const BusCall& call, const InterfaceList& interfaces)
{
    const QString interface = call.interface();
    const QString member = call.member();
    for (const auto& iface : interfaces) {
        if (!interface.isEmpty() && interface != iface.first)
            continue;
        if (const ZentorBus::Method* m = ZentorBus::findMethod(*iface.second, member))
            return {m, iface.first};
    }
    return {};
}

QString BusObject::introspect() const
{
    QString xml = ZentorBus::introspectionXml(m_host->served(m_interfaces.own));
    if (!m_interfaces.faults.isEmpty() && m_host->faultInjection())
        xml += ZentorBus::introspectionXml(m_host->served(m_interfaces.faults));
    return xml;
}

bool BusObject::offers(const QString& interface) const
{
    return interface == m_interfaces.own
        || (!m_interfaces.faults.isEmpty() && interface == m_interfaces.faults && m_host->faultInjection());
}

void refuseArguments(const BusCall& call, const ZentorBus::Method& m)
{
    call.error(DBUS_ERROR_INVALID_ARGS, QStringLiteral("%1 takes arguments of signature '%2', not '%3'")
                                            .arg(m.name, m.in, call.signature()));
}

void refuseFaultInjection(const BusCall& call, const QString& interface)
{
    call.error(DBUS_ERROR_UNKNOWN_INTERFACE,
               QStringLiteral("%1 is offered only by a service started with --enable-fault-injection (tests)")
                   .arg(interface));
}

bool speedFactorRefused(double f, const BusCall& call)
{
    if (f == 0 || (f >= ServiceHost::kMinSpeedFactor && f <= ServiceHost::kMaxSpeedFactor))
        return false;
    call.error(DBUS_ERROR_INVALID_ARGS, QStringLiteral("SetSpeedFactor: %1 is out of bounds; give 0 (instant) "
                                                       "or a factor from %2 to %3")
                                            .arg(f).arg(ServiceHost::kMinSpeedFactor).arg(ServiceHost::kMaxSpeedFactor));
    return true;
}

void replyVersion(const BusCall& call, const ServiceHost& host)
{
    call.reply(host.servedVersion().text(), QStringLiteral("s"));
}
