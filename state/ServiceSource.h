#pragma once
// Where the main window's service objects come from. This library does not
// choose between the service process on the bus and a simulated stand in this
// process: the executable's main() (or a test) hands in a maker, and the main
// window asks it for its objects when it loads.
//
// The main window holds three objects: micService for every call, MicHold,
// which keeps the chosen microscope reserved from load to unload, and the
// event source whose OnPropertyChanged the dispatch listens to. Every
// implementation delivers OnPropertyChanged on the object that is connected,
// and only while it is connected; a third, never connected object would stay
// silent. The event source is therefore micService itself.
#include "core/service/MicroscopeService.h"

#include <QString>

#include <functional>
#include <memory>

struct ServiceObjects {
    std::unique_ptr<MicroscopeService> micService;
    std::unique_ptr<MicroscopeService> MicHold;
    // Not owned: the object whose OnPropertyChanged is dispatched (micService).
    MicroscopeService* eventSource = nullptr;
};

namespace ServiceSource {

// Makes one new, unconnected service object.
using Maker = std::function<std::unique_ptr<MicroscopeService>()>;

// Hands in the maker every later object comes from; an empty maker forgets it.
void setMaker(Maker maker);
bool hasMaker();

// A new, unconnected service object. Without a maker it throws RunTimeError:
// an executable that forgot to choose is a programming error, not a state.
std::unique_ptr<MicroscopeService> create();

// The three service objects of the main window.
ServiceObjects createMainObjects();

// The computer whose stand the objects reach, as the operator is to see it
// beside each microscope's name; empty for this computer's own.
void setComputer(const QString& computer);
QString computer();

} // namespace ServiceSource
