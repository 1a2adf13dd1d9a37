#pragma once
// The list of microscopes at ZentorBus::ManagerPath.
#include "stand/service/BusObject.h"

#include <vector>

class MicroscopeObject;

class ManagerObject : public BusObject {
public:
    ManagerObject(ServiceHost* host, std::vector<MicroscopeObject*> microscopes)
        : m_host(host), m_microscopes(std::move(microscopes)) {}

    QString introspect() const override;
    bool offers(const QString& interface) const override { return interface == ZentorBus::ManagerInterface; }
    bool handle(const BusCall& call) override;

private:
    ServiceHost* m_host;
    std::vector<MicroscopeObject*> m_microscopes;
};
