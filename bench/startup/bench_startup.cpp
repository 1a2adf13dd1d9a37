// Opening a microscope across a slow link: round trips to the microscope
// service and time, on the local bus and through a relay that adds 50 ms to
// every round trip (delay_relay, 25 ms each way), for
// - the real panel from its start to its connected caption (a bus monitor
//   counts the calls; the fiber illuminator's are counted apart),
// - the status read (the list afresh and the microscope opened again),
// - opening each device panel, from its button's press to its values drawn.
// The baseline of the same run is the way before Snapshot, one read at a time:
// the same panel told not to use it (ZENTOR_READ_ONE_AT_A_TIME=1, or
// DBusMicroscopeService::setSnapshotsUsed in the child), which reads exactly
// as from a driver written before the Snapshot member. group-of-three-reads
// is a group of three reads with no window to draw: what a picture costs on
// this link against three single calls. The two ways take
// turns round by round against the same service process, so that a change
// of the machine's load weighs on both alike. Each figure prints the ratio
// snapshot / one at a time.
// Round trips: a call sent while none of the panel's calls awaits its answer
// begins one (a call sent behind another crosses the link with it); the
// start-up's are counted by a bus monitor, the panels' by the client.
// Targets: at most 5 round trips before the caption; the caption within 2 s
// through 50 ms plus the ssh connection (0.93 s measured with a real sshd on
// loopback; this run has no ssh, so it is added); a device panel filled within
// one round trip; locally no slower than one read at a time.
// Runs itself on a private bus.
#include "../PanelOpening.h"
#include "mainwindow/app/ServiceChoice.h"
#include "mainwindow/app/frmMain.h"
#include "core/service/ReadBatch.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/service/tests/BusMonitor.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QApplication>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr double kSshConnectSeconds = 0.93;

double median(std::vector<double> v)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

// --- the child: status read and device panels in this process -----------------------

// The figures of one way of reading: per operation, each round's round trips,
// calls and milliseconds.
struct Samples {
    std::vector<double> trips, calls, ms;
};
using Way = bool;   // true: with Snapshot
using ChildSamples = std::map<std::string, std::map<Way, Samples>>;

// Runs `operation` once the given way, measuring it.
template <typename Operation>
bool measureOnce(Samples& into, Way snapshot, bool keep, Operation operation)
{
    DBusMicroscopeService::setSnapshotsUsed(snapshot);
    const uint64_t trips = DBusMicroscopeService::roundTrips();
    const uint64_t calls = DBusMicroscopeService::callsMade();
    QElapsedTimer t;
    t.start();
    const bool done = operation();
    const double ms = t.nsecsElapsed() / 1e6;
    if (keep && done) {
        into.ms.push_back(ms);
        into.trips.push_back(double(DBusMicroscopeService::roundTrips() - trips));
        into.calls.push_back(double(DBusMicroscopeService::callsMade() - calls));
    }
    return done;
}

// Prints "figure <way> <name> <round trips> <calls> <ms>" lines for the parent.
int measurePanels(int argc, char** argv, int rounds)
{
    QApplication app(argc, argv);
    ServiceChoice::install();
    MsgBox::Recorder quiet;
    frmMain w(QStringList{QStringLiteral("zentor")});
    w.show();
    if (!waitFor([&] { return mainState().MicConnected && !w.FirstActivate; }, 120000)) {
        std::fprintf(stderr, "bench_startup: the microscope did not open\n");
        return 1;
    }
    if (mainState().micService->LampIsOn() == 0)
        mainState().micService->LampOn();
    waitFor([] { return false; }, 300);
    const auto press = [](usrButton* b) { QTest::mouseClick(b, Qt::LeftButton, {}, b->rect().center()); };
    ChildSamples samples;

    for (int i = 0; i < rounds; ++i) {
        for (const Way snapshot : {true, false}) {
            measureOnce(samples["status-read"][snapshot], snapshot, true, [&] {
                w.btnStatus_Read();   // reads the list and opens the microscope again
                return waitFor([&] { return mainState().MicConnected && w.ui->btnStatusRead->isEnabled(); },
                               120000);
            });
        }
    }

    // The cost of a small group alone, with no window to draw: three reads
    // (what the focus panel reads of its drive) from a picture against three
    // single calls. The group is named, as a panel's: after its first time
    // its picture is the SnapshotOf of its three reads.
    MicroscopeService& svc = *mainState().micService;
    for (int i = 0; i < rounds * 20; ++i) {
        for (const Way snapshot : {true, false}) {
            measureOnce(samples["group-of-three-reads"][snapshot], snapshot, true, [&] {
                const ReadBatch reads(&svc, QStringLiteral("group-of-three-reads"));
                return svc.IsMounted(DeviceIndex::ZDrive) == 1 && svc.UpperLimit(LimitIndex::ZDrive) >
                                                                     svc.LowerLimit(LimitIndex::ZDrive);
            });
        }
    }

    MainPanel* ui = w.ui;
    struct Panel {
        const char* form;
        usrButton* button;
    };
    const Panel panels[] = {
        {"frmSubObj", ui->btnObj[0]},     {"frmSubFilter", ui->btnFilter[0]}, {"frmSubCond", ui->btnCond[0]},
        {"frmSubPath", ui->btnFrmPath[0]}, {"frmSubAp", ui->btnAp[0]},        {"frmSubFS", ui->btnFS[0]},
        {"frmSubEpiFS", ui->btnEpiFS[0]}, {"frmSubND", ui->btnND[0]},         {"frmSubLamp", ui->btnClamp[0]},
        {"frmSubZoom", ui->btnZoom[0]},   {"frmSubZ", ui->btnZ[0]},           {"frmSubStage", ui->btnXY[0]},
    };
    for (const Panel& p : panels) {
        if (!p.button)
            continue;
        const QString form = QLatin1String(p.form);
        bool open = true;
        // The first opening builds the panel's widgets: not kept.
        for (int i = 0; i < rounds + 1 && open; ++i) {
            for (const Way snapshot : {true, false}) {
                open = measureOnce(samples[p.form][snapshot], snapshot, i > 0, [&] {
                    press(p.button);
                    QWidget* panel = nullptr;
                    const bool shown = waitFor([&] {
                        return (panel = FormRegistry::loaded(form)) && panel->isVisible() && filled(panel);
                    }, 60000);
                    if (shown)
                        panel->grab();   // drawn
                    return shown;
                });
                if (!open)
                    break;
                press(p.button);   // closes it again
                waitFor([&] { return FormRegistry::loaded(form) == nullptr; }, 60000);
            }
        }
    }
    for (const auto& [name, ways] : samples)
        for (const auto& [snapshot, f] : ways)
            if (!f.ms.empty())
                std::printf("figure %s %s %.0f %.0f %.2f\n", snapshot ? "snapshot" : "single", name.c_str(),
                            median(f.trips), median(f.calls), median(f.ms));
    std::fflush(stdout);
    return 0;
}

// --- the parent: processes on the private bus ----------------------------------------

struct Figure {
    double trips = 0;
    double calls = 0;
    double ms = 0;
};
using Figures = std::map<std::string, Figure>;
using FiguresByWay = std::map<std::string, Figures>;   // "snapshot" / "single" -> figures

class Service {
public:
    bool start()
    {
        // One stand, the full system: the panel opens it at once.
        QStringList args{QStringLiteral("--stand"), QStringLiteral(ZENTOR_STAND_DESCRIPTIONS "/full-system.json"),
                         QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--state-file"),
                         m_dir.filePath(QStringLiteral("state.json"))};
        m_process.setStandardErrorFile(QProcess::nullDevice());
        m_process.start(QStringLiteral(ZENTOR_SERVICE_EXE), args);
        QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
        return waitFor([&] {
            return bus->isServiceRegistered(QStringLiteral("org.zentor.Fiber")).value() &&
                   bus->isServiceRegistered(QStringLiteral("org.zentor.Microscope")).value();
        }, 20000);
    }
    ~Service()
    {
        m_process.terminate();
        m_process.waitForFinished(10000);
        QDBusConnectionInterface* bus = QDBusConnection::sessionBus().interface();
        waitFor([&] { return !bus->isServiceRegistered(QStringLiteral("org.zentor.Microscope")).value(); }, 10000);
    }

private:
    QTemporaryDir m_dir;
    QProcess m_process;
};

// The real panel from its start to its connected caption, reading the given
// way; its calls to the microscope service before the first to the
// illuminator (which follows the caption), and the illuminator's.
bool openOnce(const QString& busAddress, bool snapshot, Figure& opening, Figure& fiber)
{
    BusMonitor monitor;
    QTemporaryDir home;
    QProcess zentor;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
    env.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    env.insert(QStringLiteral("ZENTOR_PRINT_CAPTION"), QStringLiteral("1"));
    env.insert(QStringLiteral("ZENTOR_READ_ONE_AT_A_TIME"), snapshot ? QStringLiteral("0") : QStringLiteral("1"));
    for (const char* v : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "HOME"})
        env.insert(QLatin1String(v), home.path());
    zentor.setProcessEnvironment(env);
    QElapsedTimer t;
    t.start();
    zentor.start(QStringLiteral(ZENTOR_EXE), QStringList());
    QByteArray err;
    const bool opened = waitFor([&] {
        err += zentor.readAllStandardError();
        return err.contains("caption: Zentor  [ ") || zentor.state() == QProcess::NotRunning;
    }, 300000) && err.contains("caption: Zentor  [ ");
    opening.ms = t.nsecsElapsed() / 1e6;
    // The quiet look for the illuminator follows the caption.
    waitFor([&] { return monitor.read().contains("/org/zentor/Fiber"); }, 60000);
    waitFor([] { return false; }, 1500);
    const BusMonitor::Count microscope = monitor.count("/org/zentor/Microscope", "/org/zentor/Fiber");
    const BusMonitor::Count illuminator = monitor.count("/org/zentor/Fiber");
    opening.trips = microscope.roundTrips;
    opening.calls = microscope.calls;
    fiber.trips = illuminator.roundTrips;
    fiber.calls = illuminator.calls;
    zentor.terminate();
    zentor.waitForFinished(60000);
    if (!opened)
        std::fprintf(stderr, "bench_startup: the panel did not open: %s\n", err.right(400).constData());
    return opened;
}

Figure medianOf(const std::vector<Figure>& runs)
{
    std::vector<double> trips, calls, ms;
    for (const Figure& f : runs) {
        trips.push_back(f.trips);
        calls.push_back(f.calls);
        ms.push_back(f.ms);
    }
    return {median(trips), median(calls), median(ms)};
}

// Both ways on one link, taking turns.
FiguresByWay measure(const QString& busAddress, int rounds, int panelRounds)
{
    FiguresByWay out;
    std::map<std::string, std::vector<Figure>> openings, fibers;
    for (int i = 0; i < rounds; ++i) {
        for (const bool snapshot : {true, false}) {
            Figure opening, fiber;
            const std::string way = snapshot ? "snapshot" : "single";
            if (!openOnce(busAddress, snapshot, opening, fiber))
                continue;
            openings[way].push_back(opening);
            fibers[way].push_back(fiber);
        }
    }
    for (const auto& [way, runs] : openings) {
        out[way]["open-to-caption"] = medianOf(runs);
        Figure f = medianOf(fibers[way]);
        f.ms = 0;
        out[way]["fiber-after-caption"] = f;
    }

    QProcess child;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
    QTemporaryDir home;
    for (const char* v : {"XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME", "HOME"})
        env.insert(QLatin1String(v), home.path());
    child.setProcessEnvironment(env);
    child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    child.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--panels"), QString::number(panelRounds)});
    child.waitForFinished(1800000);
    for (const QByteArray& line : child.readAllStandardOutput().split('\n')) {
        const QList<QByteArray> f = line.split(' ');
        if (f.size() == 6 && f[0] == "figure")
            out[f[1].toStdString()][f[2].toStdString()] = {f[3].toDouble(), f[4].toDouble(), f[5].toDouble()};
    }
    return out;
}

} // namespace

// The bench's private bus listens on a socket file (the relay connects to a
// path, not to an abstract socket): the test bus configuration with its
// <listen> changed, in a file of its own.
std::string busConfigOnPath()
{
    QFile in(QStringLiteral(ZENTOR_BENCH_BUS_CONF));
    if (!in.open(QIODevice::ReadOnly))
        return ZENTOR_BENCH_BUS_CONF;
    QByteArray text = in.readAll();
    static const QRegularExpression listen(QStringLiteral("<listen>[^<]*</listen>"));
    QString changed = QString::fromUtf8(text).replace(listen, QStringLiteral("<listen>unix:dir=/tmp</listen>"));
    const std::string path = QDir::temp().filePath(QStringLiteral("zentor-bench-startup-bus-%1.conf")
                                                       .arg(QCoreApplication::applicationPid())).toStdString();
    QFile out(QString::fromStdString(path));
    if (!out.open(QIODevice::WriteOnly | QIODevice::Truncate) || out.write(changed.toUtf8()) < 0)
        return ZENTOR_BENCH_BUS_CONF;
    return path;
}

// The socket file of a D-Bus address "unix:path=FILE,guid=..."; empty for any other.
QString socketPath(const QString& address)
{
    static const QRegularExpression path(QStringLiteral("^unix:(?:.*,)?path=([^,;]+)"));
    const QRegularExpressionMatch m = path.match(address);
    return m.hasMatch() ? m.captured(1) : QString();
}

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("ZENTOR_BENCH_ON_PRIVATE_BUS")) {
        setenv("ZENTOR_BENCH_ON_PRIVATE_BUS", "1", 1);
        const std::string file = busConfigOnPath();
        // The bus has read it before this program runs again: that run removes it.
        if (file != ZENTOR_BENCH_BUS_CONF)
            setenv("ZENTOR_BENCH_BUS_CONF_COPY", file.c_str(), 1);
        std::string config = "--config-file=" + file;
        std::vector<char*> args{const_cast<char*>("dbus-run-session"), config.data(), const_cast<char*>("--")};
        for (int i = 0; i < argc; ++i)
            args.push_back(argv[i]);
        args.push_back(nullptr);
        execvp("dbus-run-session", args.data());
        std::perror("bench_startup: cannot start dbus-run-session");
        return 1;
    }
    if (argc >= 3 && QByteArray(argv[1]) == "--panels") {
        setenv("QT_QPA_PLATFORM", "offscreen", 0);
        return measurePanels(argc, argv, std::atoi(argv[2]));
    }
    if (!qEnvironmentVariableIsEmpty("ZENTOR_BENCH_BUS_CONF_COPY"))
        QFile::remove(qEnvironmentVariable("ZENTOR_BENCH_BUS_CONF_COPY"));
    QCoreApplication app(argc, argv);
    const QString local = qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS");
    const QString busSocket = socketPath(local);
    if (busSocket.isEmpty()) {
        std::fprintf(stderr, "bench_startup: the private bus is not on a socket file: %s\n", qPrintable(local));
        return 1;
    }
    QTemporaryDir dir;
    const QString relaySocket = dir.filePath(QStringLiteral("bus"));
    QProcess relay;
    relay.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    // 25 ms each way: 50 ms added to every round trip.
    relay.start(QStringLiteral(ZENTOR_DELAY_RELAY), {QStringLiteral("--listen"), QStringLiteral("unix:") + relaySocket,
                                                     QStringLiteral("--connect"), QStringLiteral("unix:") + busSocket,
                                                     QStringLiteral("--delay-ms"), QStringLiteral("25")});
    if (!relay.waitForReadyRead(10000) || !relay.readLine().startsWith("listening on")) {
        std::fprintf(stderr, "bench_startup: the relay did not start\n");
        return 1;
    }
    const QString slow = QStringLiteral("unix:path=") + relaySocket;

    struct Run {
        const char* link;
        QString address;
        int rounds, panelRounds;
    };
    // --local: the local bus alone (a quicker look at the local figures).
    const bool localOnly = app.arguments().contains(QStringLiteral("--local"));
    std::vector<Run> runs{{"local", local, 7, 15}};
    if (!localOnly)
        runs.push_back({"relay 50 ms", slow, 3, 3});
    std::map<std::string, FiguresByWay> all;   // link -> way -> figures
    {
        Service service;
        if (!service.start()) {
            std::fprintf(stderr, "bench_startup: the service did not start\n");
            return 1;
        }
        for (const Run& r : runs) {
            std::fprintf(stderr, "bench_startup: %s, with Snapshot and one at a time in turn ...\n", r.link);
            all[r.link] = measure(r.address, r.rounds, r.panelRounds);
        }
    }
    relay.kill();
    relay.waitForFinished(5000);

    std::printf("Round trips and calls to the microscope service, milliseconds (medians): with Snapshot, one read "
                "at a time (the baseline, in turn in the same run), and the ratio of their times\n");
    std::printf("%-12s %-20s %6s %6s %9s %6s %6s %9s %7s\n", "link", "operation", "trips", "calls", "ms", "trips",
                "calls", "1-by-1 ms", "ratio");
    bool tripsMet = true, panelsMet = true, captionMet = true, localMet = true;
    for (const Run& r : runs) {
        Figures& snap = all[r.link]["snapshot"];
        Figures& single = all[r.link]["single"];
        for (const auto& [name, f] : snap) {
            const Figure b = single[name];
            std::printf("%-12s %-20s %6.0f %6.0f %9.2f %6.0f %6.0f %9.2f %7.2f\n", r.link, name.c_str(), f.trips,
                        f.calls, f.ms, b.trips, b.calls, b.ms, b.ms > 0 ? f.ms / b.ms : 0.0);
            if (name.rfind("frmSub", 0) == 0)
                panelsMet = panelsMet && f.trips <= 1;
            if (std::string(r.link) == "local" && name != "fiber-after-caption")
                localMet = localMet && f.ms <= b.ms * 1.1;
        }
        tripsMet = tripsMet && snap["open-to-caption"].calls <= 5;
        if (std::string(r.link) != "local") {
            const double withSsh = snap["open-to-caption"].ms / 1000 + kSshConnectSeconds;
            captionMet = withSsh <= 2.0;
            std::printf("Caption through 50 ms plus the ssh connection (%.2f s): %.2f s (one at a time: %.2f s)\n",
                        kSshConnectSeconds, withSsh, single["open-to-caption"].ms / 1000 + kSshConnectSeconds);
        }
    }
    std::printf("Targets: <= 5 calls before the caption: %s; caption within 2 s through 50 ms + ssh: %s; "
                "a device panel filled within one round trip: %s; locally no slower (within 10%%): %s\n",
                tripsMet ? "met" : "MISSED", localOnly ? "not measured (--local)" : captionMet ? "met" : "MISSED",
                panelsMet ? "met" : "MISSED",
                localMet ? "met" : "MISSED");
    return 0;
}
