#pragma once
// EmitEvents of the fault-injection interface: a flood of one event text.
#include "stand/service/BusCall.h"

#include <QString>

class ServiceHost;
class SimulatedStand;

// Sends `count` events of `text` from `stand` in slices, returning to the
// event loop between them so that other clients are still served, and answers
// `call` when all are out. Bounded: the text's length, the count, the floods
// at once and the time one runs; a flood whose caller has left the bus stops.
// A refusal is answered at once.
void startEventFlood(ServiceHost* host, SimulatedStand* stand, const QString& text, int count, const BusCall& call);
