#include "mainwindow/app/ServiceChoice.h"

#include "core/service/dbus/DBusFiberService.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"
#include "state/ServiceSource.h"

#include <QDir>
#include <QFileInfo>
#include <memory>

namespace ServiceChoice {
namespace {

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
    return envText("ZENTOR_SERVICE").compare(QLatin1String("inprocess"), Qt::CaseInsensitive) == 0
               ? Kind::InProcess
               : Kind::DBus;
}

SimulatedService* inProcessService() {
    if (!g_owned)
        g_owned = std::make_unique<SimulatedService>(clockFromEnvironment(), descriptionFiles());
    return g_owned.get();
}

void install() {
    if (kind() == Kind::InProcess) {
        ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
            return std::make_unique<SimulatedMicroscope>(inProcessService());
        });
        mdlFiber::setMaker([]() -> std::unique_ptr<FiberService> {
            return std::make_unique<SimulatedFiber>(clockFromEnvironment());
        });
    } else {
        ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
            return std::make_unique<DBusMicroscopeService>();
        });
        mdlFiber::setMaker([]() -> std::unique_ptr<FiberService> { return std::make_unique<DBusFiberService>(); });
    }
}

} // namespace ServiceChoice
