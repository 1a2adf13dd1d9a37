#include "stand/service/MicroscopeObject.h"

#include "stand/SimulatedService.h"
#include "stand/service/EventFlood.h"
#include "stand/service/ServiceHost.h"
#include "stand/service/StandSnapshot.h"

bool MicroscopeObject::handle(const BusCall& call)
{
    using ZentorBus::Method;
    static const QVector<Method> deviceAll = ZentorBus::deviceServiceMethods() + ZentorBus::deviceMethods();
    static const InterfaceList interfaces = {
        {ZentorBus::DeviceInterface, &deviceAll},
        {ZentorBus::ControlInterface, &ZentorBus::controlMethods()},
    };
    const FoundMethod f = lookUp(call, interfaces);
    if (!f.method || !m_host->serves(f.interface, f.method->name))
        return false;   // introspection and peer calls; anything else is unknown
    if (f.interface == ZentorBus::ControlInterface && !m_host->faultInjection()) {
        refuseFaultInjection(call, f.interface);
        return true;
    }
    const Method& m = *f.method;
    if (call.signature() != m.in) {
        refuseArguments(call, m);
        return true;
    }
    if (m.name == QLatin1String("Ping")) {
        call.reply();
        return true;
    }
    if (m.name == QLatin1String("Disconnect")) {
        m_host->log()(QStringLiteral("%1 disconnected from microscope %2").arg(call.sender()).arg(m_index));
        call.reply();
        return true;
    }
    SimulatedStand* stand = standOrRefuse(call);
    if (!stand)
        return true;
    if (f.interface == ZentorBus::ControlInterface) {
        control(*stand, m, call);
        return true;
    }
    if (m.name == ZentorBus::SnapshotMember) {
        replyMicroscopeSnapshot(call, *m_host->service(), *stand, m_sent);
        return true;
    }
    if (m.name == ZentorBus::SnapshotOfMember) {
        QStringList keys;
        if (firstTexts(call.message(), ZentorBus::kSnapshotOfMaxReads, keys))
            replyMicroscopeSnapshotOf(call, keys, *m_host->service(), *stand, m_sent);
        else
            call.failure(RunTimeError::ServiceInvalidArgument, QStringLiteral("SnapshotOf takes at most %1 reads")
                                                                   .arg(ZentorBus::kSnapshotOfMaxReads));
        return true;
    }
    const QVariantList args = call.arguments();
    // The camera question names a microscope by index, which need not be
    // this one: the service answers it from its list.
    if (m.name == QLatin1String("IsCameraPresent")) {
        const int index = args.at(0).toInt();
        const int16_t present = m_host->service()->cameraPresent(index);
        if (present < 0)
            call.failure(RunTimeError::ServiceInvalidArgument, QStringLiteral("There is no microscope at index %1").arg(index));
        else
            call.reply(present, m.out);
        return true;
    }
    // The reply goes out whenever the stand is done; for a move that is
    // long after this function has returned to the event loop.
    stand->invoke(m.name, args, [call, out = m.out](const StandResult& r) {
        if (r.error != 0)
            call.failure(r.error, r.errorText);
        else
            call.reply(r.value, out);
    });
    return true;
}

SimulatedStand* MicroscopeObject::standOrRefuse(const BusCall& call)
{
    if (!m_host->service()->isDeviceAvailable(m_index)) {
        call.failure(RunTimeError::ServiceNotConnected, QStringLiteral("Microscope %1 is not available").arg(m_index));
        return nullptr;
    }
    SimulatedStand* stand = m_host->service()->stand(m_index);
    if (!stand) {
        call.failure(RunTimeError::ServiceInvalidArgument, QStringLiteral("No microscope with index %1").arg(m_index));
        return nullptr;
    }
    if (m_wired != stand) {
        m_wired = stand;
        QObject::connect(stand, &SimulatedStand::propertyChanged, m_host,
                         [this](const QString& message) { sendEvent(message); });
    }
    return stand;
}

void MicroscopeObject::sendEvent(const QString& message)
{
    ++m_sent;
    static const QByteArray interface = ZentorBus::DeviceInterface.toLatin1();
    m_host->sendSignal(m_path, interface, message);
}

void MicroscopeObject::control(SimulatedStand& stand, const ZentorBus::Method& m, const BusCall& call)
{
    const QVariantList a = call.arguments();
    StandControl& c = stand.control();
    if (m.name == QLatin1String("SetSpeedFactor") && speedFactorRefused(a[0].toDouble(), call))
        return;
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
            startEventFlood(m_host, &stand, a[0].toString(), a[1].toInt(), call);
            return;
        }
    } catch (const RunTimeError& e) {
        call.failure(e.number(), e.description());
        return;
    }
    call.reply();
}
