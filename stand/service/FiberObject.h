#pragma once
// The fiber illuminator at ZentorBus::FiberPath, and its fault interface.
#include "stand/service/BusObject.h"

#include <QPointer>

class SimulatedFiber;

class FiberObject : public BusObject {
public:
    FiberObject(ServiceHost* host, SimulatedFiber* fiber);

    QString introspect() const override;
    bool offers(const QString& interface) const override;
    bool handle(const BusCall& call) override;

private:
    ServiceHost* m_host;
    QPointer<SimulatedFiber> m_fiber;
};
