#pragma once
// The executables' choice of the microscope service, made next to their
// main(): the service process on the session bus (DBusMicroscopeService) for
// the running application, or, with ZENTOR_SERVICE=inprocess, the simulated
// stand inside this process (SimulatedMicroscope objects on one shared
// SimulatedService, so that every object of the process sees the same stands,
// as clients of the service process do). Libraries never decide this; they
// get their objects through ServiceSource.
#include "core/service/dbus/BusAddress.h"

#include <QString>
#include <QStringList>

class QDBusConnection;
class SimulatedService;

namespace ServiceChoice {

enum class Kind { DBus, InProcess };

// DBus unless ZENTOR_SERVICE is "inprocess" (any case).
Kind kind();

// Hands the makers of the chosen kind to ServiceSource and to the fiber
// illuminator's side (mdlFiber); the bus client reaches the session bus.
void install();
// The bus client on another bus (a link to another computer, BusLink): the
// microscope and the fiber illuminator both come from there, and `computer`
// names that computer to the operator (empty: this computer).
void installOn(const QDBusConnection& bus, const QString& computer);

// Which bus the bus client is to reach, from the command line and the
// environment: `--host [USER@]HOST` (or --host=[USER@]HOST), taken out of
// `args`, or else ZENTOR_BUS_ADDRESS. False when neither is given. A value
// that is refused, or either of them with ZENTOR_SERVICE=inprocess, leaves
// `error` naming why (and answers true).
bool otherBus(QStringList& args, BusAddress::Place& place, QString& error);

// The simulated service the in-process objects share; made on first use from
// the stand descriptions in ZENTOR_STAND_DESCRIPTIONS (a folder of *.json,
// the shipped descriptions when unset), at the speed ZENTOR_STAND_SPEED
// (0 instant; real time when unset). A description that does not load throws
// RunTimeError naming the file.
SimulatedService* inProcessService();

// The descriptions an in-process service is built from, index 1.. in order.
QStringList descriptionFiles(const QString& folder = QString());

} // namespace ServiceChoice
