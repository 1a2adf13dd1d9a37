#pragma once
// The service's answers to Snapshot (see ZentorBus::SnapshotSignature): in one
// reply, every value the reads of opening a microscope give. Each value is the
// stand's own answer to that read at this moment, taken through the same
// member table as a single call, so that the two cannot differ; a read the
// stand refuses is a failure with the refusal's code and text.
#include "core/service/dbus/BusLayout.h"

#include "stand/service/BusCall.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVector>
#include <cstdint>

class SimulatedService;
class SimulatedStand;

// One read of a snapshot: a member of the device interface and its arguments
// in the stand's encoding.
struct SnapshotRead {
    QString member;
    QVariantList args;
};

// The reads a microscope's snapshot holds, with `microscopes` entries in the
// service's list (the camera question is asked of each).
QVector<SnapshotRead> microscopeSnapshotReads(int microscopes);

// Answers a microscope's Snapshot. `sequence` is the number of events this
// microscope has sent so far.
void replyMicroscopeSnapshot(const BusCall& call, SimulatedService& service, SimulatedStand& stand, uint64_t sequence);

// Answers a microscope's SnapshotOf: the reads of its Snapshot that `keys`
// name, each once; a key that names none is left out.
void replyMicroscopeSnapshotOf(const BusCall& call, const QStringList& keys, SimulatedService& service,
                               SimulatedStand& stand, uint64_t sequence);

// Answers the manager's Snapshot: the interface version it serves, the list
// of microscopes and whether each can be opened.
void replyManagerSnapshot(const BusCall& call, const SimulatedService& service, const QString& version);
