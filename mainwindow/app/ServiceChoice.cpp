#include "mainwindow/app/ServiceChoice.h"

#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusFiberService.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"
#include "state/ServiceSource.h"

#include <QDBusConnection>
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
    if (kind() == Kind::DBus) {
        installOn(QDBusConnection::sessionBus(), QString());
        return;
    }
    ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<SimulatedMicroscope>(inProcessService());
    });
    mdlFiber::setMaker([]() -> std::unique_ptr<FiberService> {
        return std::make_unique<SimulatedFiber>(clockFromEnvironment());
    });
    ServiceSource::setComputer(QString());
}

void installOn(const QDBusConnection& bus, const QString& computer) {
    ServiceSource::setMaker([bus]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<DBusMicroscopeService>(bus, ZentorBus::MicroscopeService);
    });
    mdlFiber::setMaker([bus]() -> std::unique_ptr<FiberService> {
        return std::make_unique<DBusFiberService>(bus, ZentorBus::FiberService);
    });
    ServiceSource::setComputer(computer);
}

bool otherBus(QStringList& args, BusAddress::Place& place, QString& error) {
    error.clear();
    bool given = false;
    for (int i = 1; i < args.size(); ++i) {
        const QString& a = args.at(i);
        QString value;
        if (a == QLatin1String("--host")) {
            if (i + 1 >= args.size()) {
                error = QStringLiteral("--host needs a computer: --host [USER@]HOST.");
                args.removeAt(i);
                return true;
            }
            value = args.at(i + 1);
            args.remove(i, 2);
        } else if (a.startsWith(QLatin1String("--host="))) {
            value = a.mid(7);
            args.removeAt(i);
        } else {
            continue;
        }
        --i;
        if (given) {
            error = QStringLiteral("--host is given twice; the panel drives one computer's stand.");
            return true;
        }
        given = true;
        if (!BusAddress::fromHost(value, place, error))
            return true;
    }
    const QString address = qEnvironmentVariable("ZENTOR_BUS_ADDRESS");
    if (!given && !address.trimmed().isEmpty()) {
        given = true;
        if (!BusAddress::fromAddress(address, place, error))
            return true;
    }
    if (given && kind() == Kind::InProcess)
        error = QStringLiteral("ZENTOR_SERVICE=inprocess runs the simulated stand inside the panel; it cannot "
                               "be combined with --host or ZENTOR_BUS_ADDRESS.");
    return given;
}

} // namespace ServiceChoice
