#pragma once
// The fiber illuminator's shared side: the server object (cFiber) that the
// main window makes and owns and the fiber panel reads, what the connection
// found, and ND_Text, the wheel position as the operator reads it.
#include "core/service/FiberService.h"

#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>

struct FiberState {
    // The illuminator's server; null in a build or run without one.
    FiberService* cFiber = nullptr;
    // 1 while an illuminator is connected (a port was found), else 0.
    int16_t FiberUnit = 0;
    // Wheel model word read at connection: 0 ND32..ND1, 1 per cent.
    int16_t WheelModel = 0;
    // The quiet start: while set, an illuminator that is not found is not reported.
    bool QuietStart = false;
};

// The one instance, created on first use.
FiberState& fiberState();

namespace mdlFiber {

// The wheel position as text for a wheel model and fiber unit flag: "ND32".."ND1"
// (model 0) or " 0 %".." 100 %", "None" (model 1); "None" for anything else.
QString ND_Text(int16_t position, int16_t wheelModel, int16_t fiberUnit);
// The same with the model and flag of the connected illuminator.
QString ND_Text(int16_t position);

// The six names whose value 1 makes the fiber controls usable.
const QStringList& StateNames();

// Where the main window's server object comes from (the executable's choice,
// or a test's). Without a maker there is no server: create() answers null.
using Maker = std::function<std::unique_ptr<FiberService>()>;
void setMaker(Maker maker);
std::unique_ptr<FiberService> create();

// Splits "Name:Value" at the first ':' and trims both parts; false without ':'.
bool SplitEvent(const QString& message, QString& name, QString& value);

} // namespace mdlFiber
