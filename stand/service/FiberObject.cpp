#include "stand/service/FiberObject.h"

#include "stand/SimulatedFiber.h"
#include "stand/service/ServiceHost.h"

FiberObject::FiberObject(ServiceHost* host, SimulatedFiber* fiber)
    : BusObject(host, {ZentorBus::FiberInterface, ZentorBus::FiberControlInterface}), m_fiber(fiber)
{
    QObject::connect(fiber, &FiberService::OnPropertyChanged, host, [host](const QString& message) {
        static const QByteArray path = ZentorBus::FiberPath.toLatin1();
        static const QByteArray interface = ZentorBus::FiberInterface.toLatin1();
        host->sendSignal(path, interface, message);
    });
}

bool FiberObject::handle(const BusCall& call)
{
    static const InterfaceList interfaces = {{ZentorBus::FiberInterface, &ZentorBus::fiberMethods()},
                                             {ZentorBus::FiberControlInterface, &ZentorBus::fiberControlMethods()}};
    const FoundMethod f = lookUp(call, interfaces);
    if (!f.method || !m_host->serves(f.interface, f.method->name))
        return false;
    if (f.interface == ZentorBus::FiberControlInterface && !m_host->faultInjection()) {
        refuseFaultInjection(call, f.interface);
        return true;
    }
    const ZentorBus::Method& m = *f.method;
    if (call.signature() != m.in) {
        refuseArguments(call, m);
        return true;
    }
    if (m.name == QLatin1String("InterfaceVersion")) {
        replyVersion(call, *m_host);
        return true;
    }
    const QVariantList a = call.arguments();
    if (m.name == QLatin1String("SetSpeedFactor") && speedFactorRefused(a.at(0).toDouble(), call))
        return true;
    if (!m_fiber) {
        call.failure(RunTimeError::ServiceGone, QStringLiteral("The fiber illuminator server has gone"));
        return true;
    }
    const auto n = [&](int i) { return static_cast<int16_t>(a.at(i).toInt()); };
    SimulatedFiber& fb = *m_fiber;
    QVariant value;
    try {
        const QString& name = m.name;
        if (name == QLatin1String("ConnectionStatus")) value = fb.ConnectionStatus();
        else if (name == QLatin1String("Connect")) fb.Connect(a.at(0).toInt());
        else if (name == QLatin1String("Disconnect")) fb.Disconnect();
        else if (name == QLatin1String("Port")) value = fb.Port();
        else if (name == QLatin1String("NDPosition")) value = fb.NDPosition();
        else if (name == QLatin1String("setNDPosition")) fb.setNDPosition(n(0));
        else if (name == QLatin1String("NDWheelModel")) value = fb.NDWheelModel();
        else if (name == QLatin1String("ShutterIsOpened")) value = fb.ShutterIsOpened();
        else if (name == QLatin1String("ShutterOpen")) fb.ShutterOpen();
        else if (name == QLatin1String("ShutterClose")) fb.ShutterClose();
        else if (name == QLatin1String("ShutterOpenTimed")) fb.ShutterOpenTimed(a.at(0).toDouble());
        else if (name == QLatin1String("ShutterCloseTimed")) fb.ShutterCloseTimed(a.at(0).toDouble());
        else if (name == QLatin1String("LampIsOn")) value = fb.LampIsOn();
        else if (name == QLatin1String("LampOn")) fb.LampOn();
        else if (name == QLatin1String("LampOff")) fb.LampOff();
        else if (name == QLatin1String("Status")) value = fb.Status(a.at(0).toString());
        else if (name == QLatin1String("SetSensor")) fb.setSensor(a.at(0).toString(), n(1));
        else if (name == QLatin1String("SetPresent")) fb.setPresent(a.at(0).toBool());
        else if (name == QLatin1String("SetSpeedFactor")) fb.setSpeedFactor(a.at(0).toDouble());
    } catch (const RunTimeError& e) {
        call.failure(e.number(), e.description());
        return true;
    }
    call.reply(value, m.out);
    return true;
}
