#pragma once
// The checks of a service on the bus that its answers alone cannot show: the
// interface version it tells, and whether what it says of itself by
// introspection agrees with Zentor's interface files (every member there,
// with the argument types of the file, and nothing else in their names).
#include "core/service/conformance/CheckReport.h"

#include <QDBusConnection>
#include <QString>

namespace InterfaceChecks {

// InterfaceVersion() of the manager; false when this program cannot judge
// the service at all (it is not there, or serves an incompatible version).
// The version it told goes to `version`.
bool checkVersion(const QDBusConnection& bus, const QString& busName, CheckReport& report, QString* version = nullptr);

// Introspection of `path` holds `interfaceName` as its file describes it at
// the version the service told (an older minor: without the members a later
// one added), on the wire (names, types, directions).
void checkIntrospection(const QDBusConnection& bus, const QString& busName, const QString& path,
                        const QString& interfaceName, const QString& servedVersion, CheckReport& report);

} // namespace InterfaceChecks
