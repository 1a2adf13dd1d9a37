// The microscope service over D-Bus, measured against baselines of the same run:
// - a device read (NosepiecePosition) against a bare round trip of an empty
//   method (Ping) of the same service object: median and p99 of each, ratio;
// - events per second reaching one client and each of four clients, with
//   losses counted;
// - the service's resident memory with three microscopes open.
// Targets: read within 1.5x the ping (median and p99); at least 20,000 events/s
// to each of four clients, none lost; service under 40 MB resident.
#include "../PrivateBus.h"
#include "ServiceProcess.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTimer>
#include <QEventLoop>

#include <algorithm>
#include <cstdio>
#include <sys/resource.h>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

const QString kName = QStringLiteral("org.zentor.Microscope.Bench");

double percentile(std::vector<double> v, double p)
{
    std::sort(v.begin(), v.end());
    const size_t i = std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())));
    return v[i];
}

// Counts the events of microscope 0 that one client connection receives.
class Counter : public QObject {
    Q_OBJECT
public:
    Counter(const QString& connectionName, const QString& service)
        : m_bus(QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName))
    {
        m_bus.connect(service, ZentorBus::devicePath(0), ZentorBus::DeviceInterface, ZentorBus::EventSignal, this,
                      SLOT(onEvent(QString)));
    }
    long count = 0;
    qint64 lastNs = 0;
    QElapsedTimer* clock = nullptr;
public slots:
    void onEvent(const QString&)
    {
        ++count;
        lastNs = clock->nsecsElapsed();
    }

private:
    QDBusConnection m_bus;
};

// User and system time of this process so far, all threads.
double cpuSeconds()
{
    rusage u{};
    getrusage(RUSAGE_SELF, &u);
    return static_cast<double>(u.ru_utime.tv_sec + u.ru_stime.tv_sec) +
           static_cast<double>(u.ru_utime.tv_usec + u.ru_stime.tv_usec) / 1e6;
}

// A client process of its own, as a panel is: the application's own client
// class connected to microscope 0, counting OnPropertyChanged in a plain event
// loop (a loop that polls would spin and take the CPU the others need). Counts
// until it has `expected` or none came for a second, then prints "<count>
// <seconds> <cpu>": seconds from its subscription being in place to its last
// event, and the CPU seconds it spent meanwhile.
int listen(const QString& service, long expected)
{
    DBusMicroscopeService client(QDBusConnection::sessionBus(), service);
    client.Connect(0);
    client.NosepiecePosition();   // a round trip: the match rule is in place before "ready"
    QElapsedTimer clock;
    long count = 0;
    qint64 lastNs = 0;
    QEventLoop loop;
    QObject::connect(&client, &MicroscopeService::OnPropertyChanged, &loop, [&](const QString&) {
        ++count;
        lastNs = clock.nsecsElapsed();
        if (count >= expected)
            loop.quit();
    });
    QTimer idle;
    idle.setInterval(100);
    long seen = 0;
    qint64 seenAt = 0;
    QObject::connect(&idle, &QTimer::timeout, &loop, [&] {
        const qint64 now = clock.nsecsElapsed();
        if (count != seen) {
            seen = count;
            seenAt = now;
        } else if ((count > 0 && now - seenAt > 1000000000LL) || now > 120000000000LL) {
            loop.quit();
        }
    });
    std::printf("ready\n");
    std::fflush(stdout);
    const double cpuAtStart = cpuSeconds();
    clock.start();
    idle.start();
    loop.exec();
    std::printf("%ld %.6f %.6f\n", count, static_cast<double>(lastNs) / 1e9, cpuSeconds() - cpuAtStart);
    return 0;
}

// The same with every client a process of its own, as the panels are.
struct Throughput;
Throughput floodProcesses(int clients, int events, const QString& service);

struct Throughput {
    double perClientRate = 0;   // slowest client
    long lost = 0;
};

Throughput flood(int clients, int events, const QString& service)
{
    static int round = 0;
    ++round;
    std::vector<std::unique_ptr<Counter>> counters;
    QElapsedTimer clock;
    for (int i = 0; i < clients; ++i) {
        counters.push_back(std::make_unique<Counter>(QStringLiteral("bench-%1-%2").arg(round).arg(i), service));
        counters.back()->clock = &clock;
    }
    // Let the match rules settle before the first event.
    DBusMicroscopeService probe(QDBusConnection::sessionBus(), kName);
    probe.GetDeviceNames();

    QDBusMessage msg = QDBusMessage::createMethodCall(service, ZentorBus::devicePath(0), ZentorBus::ControlInterface,
                                                      QStringLiteral("EmitEvents"));
    msg << QStringLiteral("AppBenchEvent:1") << events;
    clock.start();
    QDBusPendingCall pending = QDBusConnection::sessionBus().asyncCall(msg, 600000);
    // Until every client has all events, or none has had one for a second.
    // Checked from a timer in a plain event loop, which sleeps between events.
    qint64 lastProgress = clock.nsecsElapsed();
    long lastTotal = -1;
    QEventLoop loop;
    QTimer check;
    check.setInterval(20);
    QObject::connect(&check, &QTimer::timeout, &loop, [&] {
        long total = 0;
        for (auto& c : counters)
            total += c->count;
        if (total == static_cast<long>(events) * clients && pending.isFinished()) {
            loop.quit();
        } else if (total != lastTotal) {
            lastTotal = total;
            lastProgress = clock.nsecsElapsed();
        } else if (clock.nsecsElapsed() - lastProgress > 1000000000LL && pending.isFinished()) {
            loop.quit();
        }
    });
    check.start();
    loop.exec();
    Throughput t;
    t.perClientRate = 1e18;
    for (auto& c : counters) {
        t.lost += events - c->count;
        const double seconds = static_cast<double>(c->lastNs) / 1e9;
        t.perClientRate = std::min(t.perClientRate, seconds > 0 ? static_cast<double>(c->count) / seconds : 0.0);
    }
    for (int i = 0; i < clients; ++i)
        QDBusConnection::disconnectFromBus(QStringLiteral("bench-%1-%2").arg(round).arg(i));
    return t;
}

Throughput floodProcesses(int clients, int events, const QString& service)
{
    std::vector<std::unique_ptr<QProcess>> listeners;
    for (int i = 0; i < clients; ++i) {
        auto p = std::make_unique<QProcess>();
        p->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        p->start(QCoreApplication::applicationFilePath(),
                 {QStringLiteral("--listen"), service, QString::number(events)});
        listeners.push_back(std::move(p));
    }
    for (auto& p : listeners)
        while (!p->canReadLine() && p->waitForReadyRead(30000)) {}
    for (auto& p : listeners)
        p->readLine();   // "ready"
    QDBusMessage msg = QDBusMessage::createMethodCall(service, ZentorBus::devicePath(0), ZentorBus::ControlInterface,
                                                      QStringLiteral("EmitEvents"));
    msg << QStringLiteral("AppBenchEvent:1") << events;
    QDBusConnection::sessionBus().call(msg, QDBus::Block, 600000);
    Throughput t;
    t.perClientRate = 1e18;
    for (auto& p : listeners) {
        p->waitForFinished(180000);
        const QList<QByteArray> f = p->readAll().trimmed().split(' ');
        const long count = f.value(0).toLong();
        const double seconds = f.value(1).toDouble();
        t.lost += events - count;
        t.perClientRate = std::min(t.perClientRate, seconds > 0 ? static_cast<double>(count) / seconds : 0.0);
    }
    return t;
}

double residentMB(qint64 pid)
{
    QFile f(QStringLiteral("/proc/%1/status").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024.0;
    return -1;
}

} // namespace

int main(int argc, char** argv)
{
    if (const int failed = runOnPrivateBus(argc, argv, ZENTOR_BENCH_BUS_CONF, "bench_dbus"))
        return failed;
    QCoreApplication app(argc, argv);
    if (argc == 4 && QByteArray(argv[1]) == "--listen")
        return listen(QString::fromLocal8Bit(argv[2]), QByteArray(argv[3]).toLong());

    ServiceProcess service;
    const QString dir = QStringLiteral(ZENTOR_STAND_DESCRIPTIONS);
    if (!service.start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                        QStringLiteral("--bus-name"), kName, QStringLiteral("--stand"),
                        dir + QStringLiteral("/full-system.json"), QStringLiteral("--stand"),
                        dir + QStringLiteral("/hbxb-without-q7s.json")},
                       kName)) {
        std::fprintf(stderr, "bench_dbus: %s\n", qPrintable(service.error()));
        return 1;
    }

    // --- round trip -------------------------------------------------------------------
    DBusMicroscopeService client(QDBusConnection::sessionBus(), kName);
    client.Connect(0);
    const int rounds = 20000;
    for (int i = 0; i < 2000; ++i) {   // warm-up
        client.Ping();
        client.NosepiecePosition();
    }
    std::vector<double> ping, read;
    ping.reserve(rounds);
    read.reserve(rounds);
    QElapsedTimer t;
    for (int i = 0; i < rounds; ++i) {
        // Interleaved, so that both see the same machine.
        t.start();
        client.Ping();
        ping.push_back(static_cast<double>(t.nsecsElapsed()) / 1000.0);
        t.start();
        client.NosepiecePosition();
        read.push_back(static_cast<double>(t.nsecsElapsed()) / 1000.0);
    }
    const double pingMed = percentile(ping, 0.5), pingP99 = percentile(ping, 0.99);
    const double readMed = percentile(read, 0.5), readP99 = percentile(read, 0.99);
    std::printf("round trip over %d calls each (us):\n", rounds);
    std::printf("  bare ping            median %8.1f   p99 %8.1f\n", pingMed, pingP99);
    std::printf("  NosepiecePosition    median %8.1f   p99 %8.1f\n", readMed, readP99);
    std::printf("  ratio read/ping      median %8.2f   p99 %8.2f   (target <= 1.5)  %s\n", readMed / pingMed,
                readP99 / pingP99, readMed / pingMed <= 1.5 && readP99 / pingP99 <= 1.5 ? "met" : "MISSED");

    // --- memory with three microscopes open ----------------------------------------------
    DBusMicroscopeService second(QDBusConnection::sessionBus(), kName), third(QDBusConnection::sessionBus(), kName);
    second.Connect(1);
    third.Connect(2);
    client.ObjectiveNames();
    second.ObjectiveNames();
    third.ObjectiveNames();
    const double rss = residentMB(service.pid());
    std::printf("service resident memory, 3 microscopes open: %.1f MB (target < 40)  %s\n", rss,
                rss > 0 && rss < 40 ? "met" : "MISSED");

    // --- events ----------------------------------------------------------------------------
    const int events = 100000;
    const Throughput one = flood(1, events, kName);
    std::printf("events to 1 client connection:  %9.0f /s, %ld lost of %d\n", one.perClientRate, one.lost, events);
    const Throughput four = flood(4, events, kName);
    std::printf("events to 4 client connections in one process: %9.0f /s each (slowest), %ld lost of %d  %s\n",
                four.perClientRate, four.lost, 4 * events,
                four.perClientRate >= 20000 && four.lost == 0 ? "(>= 20000)" : "(< 20000)");
    const Throughput oneProc = floodProcesses(1, events, kName);
    std::printf("events to 1 client process:    %9.0f /s, %ld lost of %d\n", oneProc.perClientRate, oneProc.lost,
                events);
    const Throughput fourProc = floodProcesses(4, events, kName);
    std::printf("events to 4 client processes:  %9.0f /s each (slowest), %ld lost of %d   "
                "(target >= 20000, 0 lost)  %s\n",
                fourProc.perClientRate, fourProc.lost, 4 * events,
                fourProc.perClientRate >= 20000 && fourProc.lost == 0 ? "met" : "MISSED");
    std::printf("service resident memory after the event floods: %.1f MB\n", residentMB(service.pid()));
    service.stop();
    return 0;
}

#include "bench_dbus.moc"
