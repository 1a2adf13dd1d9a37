#pragma once
// The conformance suite of the microscope service boundary. Every
// implementation of MicroscopeService runs the same cases, so that they cannot
// drift. To instantiate it for an implementation, link
// zentor_service_conformance and, before RUN_ALL_TESTS, call
//     registerConformanceSuite("Name", factory);
// The factory makes a fresh rig for each case. The shipped stand descriptions
// are in the folder named by the compile definition ZENTOR_STAND_DESCRIPTIONS.
#include "core/service/FiberService.h"
#include "core/service/MicroscopeService.h"
#include "core/service/StandControl.h"

#include <QStringList>
#include <functional>
#include <memory>

struct ConformanceRig {
    virtual ~ConformanceRig() = default;
    virtual MicroscopeService& service() = 0;   // not yet connected
    virtual StandControl& control() = 0;        // faults of the microscope at index 1
    virtual FiberService* fiber() = 0;          // may be nullptr when absent
};

// Makes a rig whose configuration is the given description files (index 1.. in
// order), with moves at `speedFactor` of real time (0 = instant).
using RigFactory = std::function<std::unique_ptr<ConformanceRig>(const QStringList& descriptions,
                                                                  double speedFactor)>;

// Registers every case of the suite as "<implementationName>/<Case>.<name>".
void registerConformanceSuite(const char* implementationName, RigFactory factory);

// Full path of a shipped description file ("full-system.json").
QString standDescriptionPath(const QString& fileName);
