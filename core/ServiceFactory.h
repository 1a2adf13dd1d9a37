#pragma once
// Where the panel's service objects come from. One function decides which
// implementation stands behind them:
// - the running application talks to the service process on the session bus
//   (DBusMicroscopeService);
// - tests, and ZENTOR_SERVICE=inprocess, use the simulated stand in this
//   process (SimulatedMicroscope on one shared SimulatedService, so that every
//   object of this process sees the same stands, as clients of the service
//   process do).
//
// The main window holds three objects: micService for every call, MicHold,
// which keeps the chosen microscope reserved from load to unload, and the
// event source whose OnPropertyChanged the dispatch listens to. Both
// implementations deliver OnPropertyChanged on the object that is connected,
// and only while it is connected; a third, never connected object would stay
// silent. The event source is therefore micService itself.
#include "core/service/MicroscopeService.h"

#include <QString>
#include <memory>

class SimulatedService;

struct ServiceObjects {
    std::unique_ptr<MicroscopeService> micService;
    std::unique_ptr<MicroscopeService> MicHold;
    // Not owned: the object whose OnPropertyChanged is dispatched (micService).
    MicroscopeService* eventSource = nullptr;
};

namespace ServiceFactory {

enum class Kind { DBus, InProcess };

// DBus unless ZENTOR_SERVICE is "inprocess" (any case), or a test has handed
// in a simulated service with useInProcessService.
Kind kind();

// A new, unconnected service object of the chosen kind.
std::unique_ptr<MicroscopeService> create();

// The three service objects of the main window.
ServiceObjects createMainObjects();

// Tests: every object made from now on is a client of this simulated service
// (not owned; pass nullptr to go back to the environment's choice).
void useInProcessService(SimulatedService* service);

// The simulated service the in-process objects share; made on first use from
// the stand descriptions in ZENTOR_STAND_DESCRIPTIONS (a folder of *.json,
// the shipped descriptions when unset), at the speed ZENTOR_STAND_SPEED
// (0 instant; real time when unset). A description that does not load throws
// RunTimeError naming the file.
SimulatedService* inProcessService();

// The descriptions an in-process service is built from, index 1.. in order.
QStringList descriptionFiles(const QString& folder = QString());

} // namespace ServiceFactory
