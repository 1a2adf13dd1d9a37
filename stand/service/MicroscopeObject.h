#pragma once
// One microscope at ZentorBus::devicePath(index): its device interface,
// answered by its stand, and the fault-injection interface of tests.
#include "stand/service/BusObject.h"

#include <cstdint>
#include <memory>

class SimulatedStand;
class StandControl;

class MicroscopeObject : public BusObject {
public:
    MicroscopeObject(ServiceHost* host, int index)
        : BusObject(host, {ZentorBus::DeviceInterface, ZentorBus::ControlInterface}),
          m_index(index), m_path(ZentorBus::devicePath(index).toLatin1()) {}

    bool handle(const BusCall& call) override;

    // The stand of this index, created and wired on first use; answers an
    // error itself and gives nullptr when the microscope cannot be opened.
    SimulatedStand* standOrRefuse(const BusCall& call);

private:
    void control(SimulatedStand& stand, const ZentorBus::Method& m, const BusCall& call);
    void sendEvent(const QString& message);

    int m_index;
    QByteArray m_path;
    SimulatedStand* m_wired = nullptr;
    // Events this microscope has sent: the sequence number of its snapshots.
    uint64_t m_sent = 0;
};
