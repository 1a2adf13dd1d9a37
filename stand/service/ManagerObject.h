#pragma once
// The list of microscopes at ZentorBus::ManagerPath.
#include "stand/service/BusObject.h"

#include <vector>

class MicroscopeObject;

class ManagerObject : public BusObject {
public:
    ManagerObject(ServiceHost* host, std::vector<MicroscopeObject*> microscopes)
        : BusObject(host, {ZentorBus::ManagerInterface, {}}), m_microscopes(std::move(microscopes)) {}

    bool handle(const BusCall& call) override;

private:
    std::vector<MicroscopeObject*> m_microscopes;
};
