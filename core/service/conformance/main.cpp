// zentor-conformance: judges any microscope service on the bus (Zentor's own
// or a driver of a real stand) by the checks of StandChecks and
// InterfaceChecks, one line per check, and exits 0 only when all pass.
#include "core/service/conformance/InterfaceChecks.h"
#include "core/service/conformance/SnapshotChecks.h"
#include "core/service/conformance/StandChecks.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"

#include <QCommandLineParser>
#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QTextStream>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <unistd.h>

namespace {

// Exit statuses, as the manual page gives them.
enum Exit { AllPassed = 0, SomeFailed = 1, CouldNotRun = 2, MovesDeclined = 3 };

std::atomic<bool> g_stop{false};

void onSignal(int)
{
    g_stop = true;
    // A second interrupt ends the program at once.
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
}

void print(const QString& line)
{
    std::fputs(line.toLocal8Bit().constData(), stdout);
    std::fputc('\n', stdout);
    std::fflush(stdout);
}

// Asks on the terminal; without one (a script) the answer is no.
bool askToMove(const QString& plan)
{
    print(plan);
    if (!isatty(STDIN_FILENO)) {
        print(QStringLiteral("No terminal to ask on: the moves are left out (give --yes to allow them)."));
        return false;
    }
    std::fputs("Move them? [y/N] ", stdout);
    std::fflush(stdout);
    char answer[16] = {};
    if (!std::fgets(answer, sizeof answer, stdin))
        return false;
    return answer[0] == 'y' || answer[0] == 'Y';
}

// The bus to judge the service on: --bus-address, else ZENTOR_BUS_ADDRESS
// (a panel reaching a stand over SSH uses the same), else the session bus.
QDBusConnection openBus(const QString& address)
{
    if (address.isEmpty())
        return QDBusConnection::sessionBus();
    return QDBusConnection::connectToBus(address, QStringLiteral("zentor-conformance"));
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("zentor-conformance"));
    QCoreApplication::setApplicationVersion(QStringLiteral(ZENTOR_VERSION));

    QCommandLineParser cli;
    cli.setApplicationDescription(QStringLiteral(
        "Checks that a microscope service on the D-Bus session bus serves the Zentor interface as the panel needs "
        "it: one line per check, then a summary. Exit status 0 when every check passed, 1 when one failed, 2 when "
        "nothing could be checked, 3 when the moves were declined."));
    cli.addHelpOption();
    cli.addVersionOption();
    const QCommandLineOption busName(QStringLiteral("bus-name"), QStringLiteral("The service's bus name (default %1).")
                                                                     .arg(ZentorBus::MicroscopeService),
                                     QStringLiteral("name"), ZentorBus::MicroscopeService);
    const QCommandLineOption microscope(QStringLiteral("microscope"),
                                        QStringLiteral("The index of the microscope to check (default 1, the first stand)."),
                                        QStringLiteral("N"), QStringLiteral("1"));
    const QCommandLineOption yes(QStringLiteral("yes"), QStringLiteral("Move the devices without asking first."));
    const QCommandLineOption noMoves(QStringLiteral("no-moves"), QStringLiteral("Move nothing: only the reads and the inventory."));
    const QCommandLineOption noRefusals(QStringLiteral("no-refusals"),
                                        QStringLiteral("Do not ask a turret for an address beyond its places."));
    const QCommandLineOption timeout(QStringLiteral("move-timeout"),
                                     QStringLiteral("Seconds one call may take before it counts as never ending (default 60)."),
                                     QStringLiteral("seconds"), QStringLiteral("60"));
    const QCommandLineOption address(QStringLiteral("bus-address"),
                                     QStringLiteral("The D-Bus address of the bus (default: $ZENTOR_BUS_ADDRESS, else the session bus)."),
                                     QStringLiteral("address"));
    cli.addOptions({busName, microscope, yes, noMoves, noRefusals, timeout, address});
    cli.process(app);

    bool ok = false;
    const int index = cli.value(microscope).toInt(&ok);
    if (!ok || index < 0 || index > 32767) {
        std::fprintf(stderr, "zentor-conformance: --microscope takes an index from 0 to 32767, not \"%s\"\n",
                     qPrintable(cli.value(microscope)));
        return CouldNotRun;
    }
    const double seconds = cli.value(timeout).toDouble(&ok);
    if (!ok || !(seconds > 0) || seconds > 3600) {
        std::fprintf(stderr, "zentor-conformance: --move-timeout takes seconds from more than 0 to 3600, not \"%s\"\n",
                     qPrintable(cli.value(timeout)));
        return CouldNotRun;
    }
    const QString name = cli.value(busName);
    const QString busAddress = cli.isSet(address) ? cli.value(address) : qEnvironmentVariable("ZENTOR_BUS_ADDRESS");
    QDBusConnection bus = openBus(busAddress);
    if (!bus.isConnected()) {
        std::fprintf(stderr, "zentor-conformance: no D-Bus connection%s: %s\n",
                     busAddress.isEmpty() ? "" : qPrintable(QStringLiteral(" to ") + busAddress),
                     qPrintable(bus.lastError().message()));
        return CouldNotRun;
    }
    std::signal(SIGINT, onSignal);
    std::signal(SIGTERM, onSignal);

    print(QStringLiteral("zentor-conformance %1: microscope %2 of %3 on %4")
              .arg(QStringLiteral(ZENTOR_VERSION)).arg(index).arg(name,
                   busAddress.isEmpty() ? QStringLiteral("the session bus") : busAddress));
    CheckReport report([](const CheckLine& line) { print(CheckReport::format(line)); });
    const auto finish = [&](int status) {
        print(report.summary());
        return status;
    };

    // A name nobody owns may still be started by the bus on the first call.
    if (QDBusConnectionInterface* names = bus.interface()) {
        if (!names->isServiceRegistered(name).value() && !names->activatableServiceNames().value().contains(name)) {
            report.fail(QStringLiteral("finding %1 on the bus").arg(name), QStringLiteral("a service owns or can start it"),
                        QStringLiteral("no owner, and the bus cannot start one"));
            return finish(CouldNotRun);
        }
    }
    QString version;
    if (!InterfaceChecks::checkVersion(bus, name, report, &version))
        return finish(SomeFailed);
    InterfaceChecks::checkIntrospection(bus, name, ZentorBus::ManagerPath, ZentorBus::ManagerInterface, version, report);
    InterfaceChecks::checkIntrospection(bus, name, ZentorBus::devicePath(index), ZentorBus::DeviceInterface, version,
                                        report);
    SnapshotChecks::check(bus, name, index, version, report);

    DBusMicroscopeService service(bus, name);
    service.setCallTimeout(int(seconds * 1000));
    CheckOptions options;
    options.moves = !cli.isSet(noMoves);
    options.refusals = !cli.isSet(noRefusals);
    options.callTimeoutMs = int(seconds * 1000);
    bool declined = false;
    if (!cli.isSet(yes))
        options.confirmMoves = [&declined](const QString& plan) {
            declined = !askToMove(plan);
            return !declined;
        };
    options.stopRequested = [] { return g_stop.load(); };
    StandChecks(service, static_cast<int16_t>(index), report, options).run();

    if (report.failures() > 0)
        return finish(SomeFailed);
    if (declined) {
        print(QStringLiteral("The moves were not made: the stand is not judged whole."));
        return finish(MovesDeclined);
    }
    return finish(AllPassed);
}
