#include "core/ServiceFactory.h"

#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"

#include <QDir>
#include <QFileInfo>

namespace ServiceFactory {
namespace {

SimulatedService* g_handedIn = nullptr;
std::unique_ptr<SimulatedService> g_owned;

QString envText(const char* name) { return qEnvironmentVariable(name).trimmed(); }

StandClock clockFromEnvironment() {
    const QString speed = envText("ZENTOR_STAND_SPEED");
    if (speed.isEmpty())
        return StandClock::realTime(1.0);
    bool ok = false;
    const double factor = speed.toDouble(&ok);
    if (!ok || factor <= 0.0)
        return StandClock::instant();
    return StandClock::realTime(factor);
}

} // namespace

QStringList descriptionFiles(const QString& folder) {
    QString dir = folder;
    if (dir.isEmpty())
        dir = envText("ZENTOR_STAND_DESCRIPTIONS");
    if (dir.isEmpty())
        dir = QStringLiteral(ZENTOR_STAND_DESCRIPTIONS);
    QStringList files;
    const QFileInfoList entries =
        QDir(dir).entryInfoList({QStringLiteral("*.json")}, QDir::Files, QDir::Name);
    for (const QFileInfo& fi : entries)
        files << fi.absoluteFilePath();
    return files;
}

Kind kind() {
    if (g_handedIn)
        return Kind::InProcess;
    return envText("ZENTOR_SERVICE").compare(QLatin1String("inprocess"), Qt::CaseInsensitive) == 0
               ? Kind::InProcess
               : Kind::DBus;
}

void useInProcessService(SimulatedService* service) { g_handedIn = service; }

SimulatedService* inProcessService() {
    if (g_handedIn)
        return g_handedIn;
    if (!g_owned)
        g_owned = std::make_unique<SimulatedService>(clockFromEnvironment(), descriptionFiles());
    return g_owned.get();
}

std::unique_ptr<MicroscopeService> create() {
    if (kind() == Kind::InProcess)
        return std::make_unique<SimulatedMicroscope>(inProcessService());
    return std::make_unique<DBusMicroscopeService>();
}

ServiceObjects createMainObjects() {
    ServiceObjects objects;
    objects.micService = create();
    objects.MicHold = create();
    objects.eventSource = objects.micService.get();
    return objects;
}

} // namespace ServiceFactory
