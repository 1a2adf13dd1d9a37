#pragma once
// The fiber illuminator at ZentorBus::FiberPath, and its fault interface.
#include "stand/service/BusObject.h"

#include <QPointer>

class SimulatedFiber;

class FiberObject : public BusObject {
public:
    FiberObject(ServiceHost* host, SimulatedFiber* fiber);

    bool handle(const BusCall& call) override;

private:
    QPointer<SimulatedFiber> m_fiber;
};
