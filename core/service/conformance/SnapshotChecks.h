#pragma once
// The check of Snapshot (interface version 1.1 on): every value and failure
// it gives is what the single read of the same key answers, and every entry
// is of that read's type. A service of an older minor has no Snapshot; its
// clients read one value at a time, and the check says so and is skipped.
// From interface version 1.2 on, SnapshotOf answers exactly the reads of the
// Snapshot it is asked for, each as its single read.
#include "core/service/conformance/CheckReport.h"

#include <QDBusConnection>
#include <QString>

namespace SnapshotChecks {

// Snapshot of the manager, and of microscope `index` (connected for the
// check and let go again), each against the single reads of its keys, on a
// service that told `servedVersion`.
void check(const QDBusConnection& bus, const QString& busName, int index, const QString& servedVersion,
           CheckReport& report);

} // namespace SnapshotChecks
