#include "stand/service/ManagerObject.h"

#include "stand/SimulatedService.h"
#include "stand/service/MicroscopeObject.h"
#include "stand/service/ServiceHost.h"
#include "stand/service/StandSnapshot.h"

bool ManagerObject::handle(const BusCall& call)
{
    static const InterfaceList interfaces = {{ZentorBus::ManagerInterface, &ZentorBus::managerMethods()}};
    const FoundMethod f = lookUp(call, interfaces);
    if (!f.method || !m_host->serves(f.interface, f.method->name))
        return false;
    const ZentorBus::Method& m = *f.method;
    if (call.signature() != m.in) {
        refuseArguments(call, m);
        return true;
    }
    SimulatedService* service = m_host->service();
    if (m.name == QLatin1String("Ping")) {
        call.reply();
    } else if (m.name == QLatin1String("InterfaceVersion")) {
        replyVersion(call, *m_host);
    } else if (m.name == ZentorBus::SnapshotMember) {
        replyManagerSnapshot(call, *service, m_host->servedVersion().text());
    } else if (m.name == QLatin1String("GetDeviceNames")) {
        call.reply(service->deviceNames(), m.out);
    } else if (m.name == QLatin1String("IsDeviceAvailable")) {
        const int index = call.arguments().at(0).toInt();
        const int available = index >= 0 && index < service->deviceNames().size() && service->isDeviceAvailable(index);
        call.reply(available, m.out);
    } else if (m.name == QLatin1String("Connect")) {
        const int index = call.arguments().at(0).toInt();
        if (index < 0 || index >= static_cast<int>(m_microscopes.size())) {
            call.failure(RunTimeError::ServiceInvalidArgument, QStringLiteral("No microscope with index %1").arg(index));
            return true;
        }
        if (!m_microscopes[index]->standOrRefuse(call))
            return true;
        m_host->log()(QStringLiteral("%1 connected to microscope %2 \"%3\"")
                          .arg(call.sender()).arg(index).arg(service->deviceNames().value(index)));
        call.reply(ZentorBus::devicePath(index), m.out);
    }
    return true;
}
