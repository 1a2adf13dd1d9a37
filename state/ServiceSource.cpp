#include "state/ServiceSource.h"

#include "core/base/RunTimeError.h"

namespace ServiceSource {
namespace {
Maker& maker() {
    static Maker m;
    return m;
}
QString& computerName() {
    static QString name;
    return name;
}
} // namespace

void setMaker(Maker m) { maker() = std::move(m); }

bool hasMaker() { return static_cast<bool>(maker()); }

std::unique_ptr<MicroscopeService> create() {
    if (!maker())
        throw RunTimeError(RunTimeError::ServiceInvalidArgument,
                           QStringLiteral("No microscope service was chosen for this program"));
    return maker()();
}

ServiceObjects createMainObjects() {
    ServiceObjects objects;
    objects.micService = create();
    objects.MicHold = create();
    objects.eventSource = objects.micService.get();
    return objects;
}

void setComputer(const QString& computer) { computerName() = computer; }

QString computer() { return computerName(); }

} // namespace ServiceSource
