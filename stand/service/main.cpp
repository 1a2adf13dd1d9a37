// zentor-service: the microscope service as a process of its own on the
// session bus. It serves the service's simulated microscope (index 0) and the
// stands of its configuration (1..), and the fiber illuminator under a name of
// its own, until the bus goes away or it is stopped.
#include "core/base/FileRead.h"
#include "core/service/dbus/BusLayout.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedService.h"
#include "stand/StandMemory.h"
#include "stand/service/ServiceHost.h"
#include "stand/service/ServiceLog.h"
#include "stand/service/StandFolders.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cstdio>
#include <memory>

namespace {

int fail(const QString& text)
{
    ServiceLog::error(text);
    return 2;
}

// A configuration names a few files and numbers.
constexpr qint64 kLargestConfiguration = 1024 * 1024;

struct Configuration {
    QStringList stands;       // named one by one: each must be a description
    QStringList folders;      // every *.json in them, least important first
    double speedFactor = 1.0;
    bool microscopes = true;
    bool fiber = true;
    int wheelModel = 0;
};

// Reads a configuration file (JSON):
//   { "stands": ["a.json", ...], "descriptionsDir": "dir", "speedFactor": 1.0,
//     "fiber": true, "fiberWheelModel": 0 }
// Relative paths are taken from the file's folder.
bool readConfiguration(const QString& path, Configuration& config, QString& error)
{
    const FileRead::Result file = FileRead::read(path, kLargestConfiguration);
    if (!file.read()) {
        error = QStringLiteral("cannot read the configuration %1: %2")
                    .arg(path, file.missing() ? QStringLiteral("it does not exist") : file.why);
        return false;
    }
    QJsonParseError parse{};
    const QJsonDocument doc = QJsonDocument::fromJson(file.bytes, &parse);
    if (parse.error != QJsonParseError::NoError || !doc.isObject()) {
        error = QStringLiteral("the configuration %1 is not a JSON object (%2 at offset %3)")
                    .arg(path, parse.errorString()).arg(parse.offset);
        return false;
    }
    const QDir base = QFileInfo(path).absoluteDir();
    const QJsonObject o = doc.object();
    for (auto it = o.begin(); it != o.end(); ++it) {
        const QString key = it.key();
        const QJsonValue v = it.value();
        if (key == QLatin1String("stands")) {
            if (!v.isArray()) {
                error = QStringLiteral("%1: \"stands\" must be a list of description files").arg(path);
                return false;
            }
            for (const QJsonValue& s : v.toArray()) {
                if (!s.isString()) {
                    error = QStringLiteral("%1: every entry of \"stands\" must be a file name").arg(path);
                    return false;
                }
                config.stands << base.absoluteFilePath(s.toString());
            }
        } else if (key == QLatin1String("descriptionsDir")) {
            if (!v.isString() || !QFileInfo(base.absoluteFilePath(v.toString())).isDir()) {
                error = QStringLiteral("%1: \"descriptionsDir\" must name a folder").arg(path);
                return false;
            }
            config.folders << base.absoluteFilePath(v.toString());
        } else if (key == QLatin1String("speedFactor")) {
            if (!v.isDouble() || v.toDouble() < 0) {
                error = QStringLiteral("%1: \"speedFactor\" must be a number of at least 0").arg(path);
                return false;
            }
            config.speedFactor = v.toDouble();
        } else if (key == QLatin1String("fiber")) {
            if (!v.isBool()) {
                error = QStringLiteral("%1: \"fiber\" must be true or false").arg(path);
                return false;
            }
            config.fiber = v.toBool();
        } else if (key == QLatin1String("fiberWheelModel")) {
            if (!v.isDouble() || (v.toInt(-1) != 0 && v.toInt(-1) != 1)) {
                error = QStringLiteral("%1: \"fiberWheelModel\" must be 0 or 1").arg(path);
                return false;
            }
            config.wheelModel = v.toInt();
        } else {
            error = QStringLiteral("%1: unknown key \"%2\"").arg(path, key);
            return false;
        }
    }
    return true;
}

// The bus this process serves: the one that started it on demand, else the
// session bus.
DBusBusType serviceBus()
{
    return qEnvironmentVariableIsEmpty("DBUS_STARTER_ADDRESS") ? DBUS_BUS_SESSION : DBUS_BUS_STARTER;
}

} // namespace

int main(int argc, char* argv[])
{
    // Qt's own event dispatcher rather than GLib's: the service needs nothing
    // of GLib, and Qt's dispatcher does less on each wake-up of the main
    // thread, which reads and writes the bus itself.
    qputenv("QT_NO_GLIB", "1");
    QCoreApplication app(argc, argv);
    ServiceLog::takeQtMessages();
    QCoreApplication::setApplicationName(QStringLiteral("zentor-service"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZENTOR_VERSION));

    QCommandLineParser parser;
    parser.setApplicationDescription(QStringLiteral(
        "The Zentor microscope service on the D-Bus session bus.\n"
        "Serves the simulated microscope (index 0) and one microscope per stand\n"
        "description file (index 1.. in the order given) as org.zentor.Microscope,\n"
        "and the fiber illuminator as org.zentor.Fiber. Normally the bus starts it\n"
        "on demand from its .service file (under systemd as the user unit\n"
        "zentor-service); it runs until the bus goes away.\n"
        "Stand descriptions: the shipped ones (--descriptions-dir), then every\n"
        "*.json in the configuration folders $XDG_CONFIG_DIRS/zentor/stands\n"
        "(/etc/xdg/zentor/stands) and $XDG_CONFIG_HOME/zentor/stands\n"
        "(~/.config/zentor/stands), where a lab adds its stands; a file of the same\n"
        "name in a later folder replaces the earlier one. A file there that cannot\n"
        "be read is reported and left out; the others are served.\n"
        "Configuration file (JSON): {\"stands\": [files], \"descriptionsDir\": dir,\n"
        "\"speedFactor\": 1.0, \"fiber\": true, \"fiberWheelModel\": 0}; options given\n"
        "on the command line add to it (stands) or override it."));
    parser.addHelpOption();
    parser.addVersionOption();
    const QCommandLineOption configOpt(QStringLiteral("config"), QStringLiteral("Read the configuration from <file>."),
                                       QStringLiteral("file"));
    const QCommandLineOption standOpt(QStringLiteral("stand"),
                                      QStringLiteral("Serve the stand described by <file> (repeatable)."),
                                      QStringLiteral("file"));
    const QCommandLineOption dirOpt(QStringLiteral("descriptions-dir"),
                                    QStringLiteral("Serve every *.json description in <dir>, by file name."),
                                    QStringLiteral("dir"));
    const QCommandLineOption speedOpt(QStringLiteral("speed"),
                                      QStringLiteral("Speed of the simulated motors: 1 real time, 10 ten times "
                                                     "faster, 0 every move arrives at once (default 1)."),
                                      QStringLiteral("factor"));
    const QCommandLineOption noFiberOpt(QStringLiteral("no-fiber"),
                                        QStringLiteral("Leave the fiber illuminator out (no org.zentor.Fiber)."));
    const QCommandLineOption fiberOnlyOpt(QStringLiteral("fiber-only"),
                                          QStringLiteral("Serve only the fiber illuminator."));
    const QCommandLineOption nameOpt(QStringLiteral("bus-name"),
                                     QStringLiteral("Serve the microscopes under <name> instead of %1 "
                                                    "(several services on one bus, for tests).")
                                         .arg(ZentorBus::MicroscopeService),
                                     QStringLiteral("name"));
    const QCommandLineOption fiberNameOpt(QStringLiteral("fiber-bus-name"),
                                          QStringLiteral("Serve the fiber illuminator under <name> instead of %1.")
                                              .arg(ZentorBus::FiberService),
                                          QStringLiteral("name"));
    const QCommandLineOption faultOpt(QStringLiteral("enable-fault-injection"),
                                      QStringLiteral("Offer the fault-injection interface %1 (killing units, "
                                                     "stalling motors, event floods): for tests and benchmarks "
                                                     "only; without it the interface is not there.")
                                          .arg(ZentorBus::ControlInterface));
    const QCommandLineOption stateOpt(QStringLiteral("state-file"),
                                      QStringLiteral("Keep the stands' user observation methods (7 to 12) in <file>, "
                                                     "so that they survive a restart (default %1). A damaged file is "
                                                     "kept beside it as <file>.damaged-<UTC time> (the last %2).")
                                          .arg(StandMemory::defaultPath()).arg(StandMemory::kDamagedCopiesKept),
                                      QStringLiteral("file"));
    const QCommandLineOption versionOpt(
        QStringLiteral("interface-version"),
        QStringLiteral("Serve an older minor <version> of the interfaces (MAJOR.MINOR, at most %1), as a driver "
                       "written for it does: the members a later minor added are neither answered nor "
                       "introspected. 1.0 has no Snapshot, so clients read every value with a call of its own; "
                       "1.1 has no SnapshotOf, so clients take the whole Snapshot for every group of reads "
                       "(comparisons and tests).").arg(ZentorBus::servedVersion().text()),
        QStringLiteral("version"));
    parser.addOptions({configOpt, standOpt, dirOpt, speedOpt, noFiberOpt, fiberOnlyOpt, nameOpt, fiberNameOpt,
                       stateOpt, faultOpt, versionOpt});
    parser.process(app);
    if (!parser.positionalArguments().isEmpty())
        return fail(QStringLiteral("unexpected argument \"%1\"; see --help").arg(parser.positionalArguments().first()));

    Configuration config;
    QString error;
    if (parser.isSet(configOpt) && !readConfiguration(parser.value(configOpt), config, error))
        return fail(error);
    if (parser.isSet(dirOpt)) {
        const QString dir = parser.value(dirOpt);
        // A missing folder (an installation that lost its delivered files)
        // still serves the service's own simulated microscope.
        if (!QFileInfo::exists(dir))
            ServiceLog::warning(QStringLiteral("the descriptions folder %1 does not exist; "
                                               "serving the simulated microscope only").arg(dir));
        config.folders << dir;
    }
    // Stands a lab installs, after the shipped ones, the user's last.
    config.folders << StandFolders::configFolders();
    for (const QString& s : parser.values(standOpt))
        config.stands << QFileInfo(s).absoluteFilePath();
    if (parser.isSet(speedOpt)) {
        bool ok = false;
        const double f = parser.value(speedOpt).toDouble(&ok);
        if (!ok || f < 0)
            return fail(QStringLiteral("--speed needs a number of at least 0, not \"%1\"").arg(parser.value(speedOpt)));
        config.speedFactor = f;
    }
    if (parser.isSet(noFiberOpt))
        config.fiber = false;
    if (parser.isSet(fiberOnlyOpt)) {
        if (parser.isSet(noFiberOpt))
            return fail(QStringLiteral("--fiber-only and --no-fiber exclude each other"));
        config.microscopes = false;
        config.fiber = true;
    }

    // The stands' non-volatile memory; a damaged file is set aside and said.
    StandMemory memory(parser.isSet(stateOpt) ? parser.value(stateOpt) : StandMemory::defaultPath(),
                       ServiceLog::warning);
    memory.load();

    const StandClock clock = config.speedFactor == 0 ? StandClock::instant() : StandClock::realTime(config.speedFactor);
    // Every description is read now. One found in a folder that cannot be
    // read is said and left out, and the others are served; a stand named on
    // its own must be there, so a bad one stops the start.
    QVector<StandDescription> stands;
    if (config.microscopes) {
        stands = StandFolders::loadEach(
            StandFolders::collect(config.folders, ServiceLog::warning, ServiceLog::info), ServiceLog::warning);
        try {
            for (const QString& file : config.stands)
                stands << StandDescription::load(file);
        } catch (const RunTimeError& e) {
            return fail(e.description());
        }
    }
    const std::unique_ptr<SimulatedService> service = SimulatedService::fromDescriptions(clock, stands);
    service->keepUserMethodsIn(&memory);

    const QString microscopeName = parser.isSet(nameOpt) ? parser.value(nameOpt) : ZentorBus::MicroscopeService;
    const QString fiberName = parser.isSet(fiberNameOpt) ? parser.value(fiberNameOpt) : ZentorBus::FiberService;
    const std::unique_ptr<BusConnection> bus = BusConnection::toBus(serviceBus(), error);
    if (!bus)
        return fail(QStringLiteral("no D-Bus session bus: %1").arg(error));

    ServiceHost host(bus.get(), service.get(), ServiceLog::info);
    if (parser.isSet(faultOpt)) {
        host.enableFaultInjection();
        ServiceLog::info(QStringLiteral("fault injection enabled (%1)").arg(ZentorBus::ControlInterface));
    }
    if (parser.isSet(versionOpt)) {
        if (!host.serveVersion(ZentorBus::InterfaceVersion::parse(parser.value(versionOpt))))
            return fail(QStringLiteral("--interface-version \"%1\": give MAJOR.MINOR of major %2, minor at most %3")
                            .arg(parser.value(versionOpt)).arg(ZentorBus::servedVersion().major)
                            .arg(ZentorBus::servedVersion().minor));
        ServiceLog::info(QStringLiteral("serving interface version %1").arg(host.servedVersion().text()));
    }
    if (config.microscopes) {
        if (!host.serveMicroscopes(microscopeName, error))
            return fail(error + QStringLiteral(" (is another zentor-service running?)"));
        const QStringList names = service->deviceNames();
        ServiceLog::info(QStringLiteral("serving %1 on %2, motors %3")
                .arg(microscopeName, bus->uniqueName(),
                     config.speedFactor == 0 ? QStringLiteral("arriving at once")
                                             : QStringLiteral("at %1 x real time").arg(config.speedFactor)));
        for (int i = 0; i < names.size(); ++i)
            ServiceLog::info(QStringLiteral("  microscope %1 \"%2\" at %3%4")
                    .arg(i).arg(names[i], ZentorBus::devicePath(i),
                                i == 0 ? QStringLiteral(" (simulated)")
                                       : QStringLiteral(" (%1)").arg(stands.value(i - 1).origin)));
    }
    std::unique_ptr<SimulatedFiber> fiber;
    if (config.fiber) {
        fiber = std::make_unique<SimulatedFiber>(clock, true, static_cast<int16_t>(config.wheelModel));
        if (host.serveFiber(fiber.get(), fiberName, error)) {
            ServiceLog::info(QStringLiteral("serving %1 at %2").arg(fiberName, ZentorBus::FiberPath));
        } else if (!config.microscopes) {
            return fail(error);
        } else {
            // Another process serves the illuminator; the microscopes go on.
            ServiceLog::warning(QStringLiteral("fiber illuminator left out: ") + error);
            fiber.reset();
        }
    } else {
        ServiceLog::info(QStringLiteral("fiber illuminator left out (--no-fiber)"));
    }

    // End with the bus rather than linger.
    QObject::connect(&host, &ServiceHost::busGone, &app, [] {
        ServiceLog::info(QStringLiteral("the bus has gone; stopping"));
        QCoreApplication::exit(0);
    });

    return app.exec();
}
