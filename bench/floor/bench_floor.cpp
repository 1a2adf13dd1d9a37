// The microscope service against the floor: bare programs doing the same
// work, measured in the same run on the same private bus (floor_bare.cpp):
//  - round trip of a device read and of a command (a change: one event, then
//    the reply) against a bare libdbus Ping and a bare Set; a bare TCP echo on
//    the loopback as the floor without a bus;
//  - propagation of a command from one client to 1, 4 and 16 listener
//    processes (until the last has it) against a bare server's signal;
//  - a flood to one listener: events a second reaching it, and the sender's
//    CPU per event, against a bare sender paced the same way;
//  - a focus move streaming its positions to 1 and 16 listeners: the sender's
//    CPU and wake-ups against a bare sender of the same reports at the same beat;
//  - wake-ups at rest of the service and of the bare server;
//  - a listener that never reads: the service's memory and CPU while it
//    streams and floods with that listener present.
// The measuring client is bare libdbus for both sides, so that only the
// servers differ. CPU and wake-ups are the kernel's counts for every thread
// of the process (/proc/PID/task/*: run time, voluntary context switches),
// which a loaded machine does not inflate; times are medians.
// Targets: round trip <= 1.15x the bare ping, propagation <= 1.2x the bare
// signal, flood rate >= 0.9x the bare sender, streaming CPU <= 1.2x the bare
// sender, no wake-up at rest.
#include "../PrivateBus.h"
#include "ServiceProcess.h"
#include "WakeUps.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QProcess>
#include <QThread>

#include <dbus/dbus.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <functional>
#include <memory>
#include <unistd.h>
#include <vector>

namespace {

const char* const kService = "org.zentor.Microscope.Floor";
const char* const kBare = "org.zentor.Floor.Bare";
const char* const kDevicePath = "/org/zentor/Microscope/0";
const char* const kDevice = "org.zentor.Microscope.Device";
const char* const kControl = "org.zentor.StandControl";

int64_t nowNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return int64_t(t.tv_sec) * 1000000000 + t.tv_nsec;
}

double median(std::vector<double> v)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, size_t(p * double(v.size())))];
}

const char* verdict(bool met) { return met ? "met" : "MISSED"; }

// --- what a process costs, from the kernel's counts ----------------------------

struct Cost {
    double cpuMs = 0;    // run time of all threads
    long wakeUps = 0;    // voluntary context switches of all threads: each
                         // wake-up ends in exactly one, preemption adds none
    Cost operator-(const Cost& o) const { return {cpuMs - o.cpuMs, wakeUps - o.wakeUps}; }
};

Cost costOf(qint64 pid) { return {wakeups::cpuMs(pid), wakeups::total(wakeups::perThread(pid))}; }

double residentMB(qint64 pid, const char* field = "VmRSS:") { return double(wakeups::memoryKB(pid, field)) / 1024.0; }

// --- the measuring client: bare libdbus, blocking calls ------------------------

class Client {
public:
    Client()
    {
        DBusError e;
        dbus_error_init(&e);
        m_c = dbus_bus_get_private(DBUS_BUS_SESSION, &e);
        dbus_connection_set_exit_on_disconnect(m_c, false);
    }
    ~Client() { dbus_connection_close(m_c), dbus_connection_unref(m_c); }

    // One call; `args` appends the arguments. Microseconds from send to reply,
    // or -1 on an error reply.
    double call(const char* dest, const char* path, const char* iface, const char* member,
                const std::function<void(DBusMessage*)>& args = {}, int timeoutMs = 600000)
    {
        DBusMessage* m = dbus_message_new_method_call(dest, path, iface, member);
        if (args)
            args(m);
        DBusError e;
        dbus_error_init(&e);
        const int64_t t0 = nowNs();
        DBusMessage* r = dbus_connection_send_with_reply_and_block(m_c, m, timeoutMs, &e);
        const double us = double(nowNs() - t0) / 1000.0;
        dbus_message_unref(m);
        if (!r) {
            std::fprintf(stderr, "bench_floor: %s.%s: %s\n", iface, member, e.message);
            dbus_error_free(&e);
            return -1;
        }
        dbus_message_unref(r);
        return us;
    }

private:
    DBusConnection* m_c = nullptr;
};

std::function<void(DBusMessage*)> int32Arg(int32_t v)
{
    return [v](DBusMessage* m) { dbus_message_append_args(m, DBUS_TYPE_INT32, &v, DBUS_TYPE_INVALID); };
}

std::function<void(DBusMessage*)> int16Arg(int16_t v)
{
    return [v](DBusMessage* m) { dbus_message_append_args(m, DBUS_TYPE_INT16, &v, DBUS_TYPE_INVALID); };
}

// --- the bare programs -----------------------------------------------------------

QString bareProgram() { return QStringLiteral(ZENTOR_FLOOR_BARE); }

// A process of floor_bare; "ready" read.
std::unique_ptr<QProcess> startBare(const QStringList& args, QByteArray* readyLine = nullptr)
{
    auto p = std::make_unique<QProcess>();
    p->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    p->start(bareProgram(), args);
    while (!p->canReadLine() && p->waitForReadyRead(30000)) {
    }
    const QByteArray line = p->readLine().trimmed();
    if (!line.startsWith("ready")) {
        std::fprintf(stderr, "bench_floor: %s %s did not start\n", qPrintable(bareProgram()),
                     qPrintable(args.join(' ')));
        std::exit(1);
    }
    if (readyLine)
        *readyLine = line;
    return p;
}

// Listener processes of one sender's events.
class Listeners {
public:
    Listeners(int count, const char* sender, const char* prefix)
    {
        for (int i = 0; i < count; ++i)
            m_p.push_back(startBare({QStringLiteral("listen"), QString::fromLatin1(sender),
                                     QString::fromLatin1(kDevicePath), QString::fromLatin1(prefix)}));
    }
    ~Listeners()
    {
        for (auto& p : m_p) {
            ::kill(pid_t(p->processId()), SIGCONT);
            p->closeWriteChannel();
            if (!p->waitForFinished(5000))
                p->kill(), p->waitForFinished(5000);
        }
    }
    // Arrival times (ns) of each listener since the last dump.
    std::vector<std::vector<int64_t>> dump()
    {
        std::vector<std::vector<int64_t>> all;
        for (auto& p : m_p)
            p->write("dump\n");
        for (auto& p : m_p) {
            while (!p->canReadLine() && p->waitForReadyRead(60000)) {
            }
            const QList<QByteArray> f = p->readLine().trimmed().split(' ');
            std::vector<int64_t> t;
            for (int i = 1; i < f.size(); ++i)
                t.push_back(f[i].toLongLong());
            all.push_back(std::move(t));
        }
        return all;
    }
    QProcess& at(int i) { return *m_p[size_t(i)]; }

private:
    std::vector<std::unique_ptr<QProcess>> m_p;
};

void printMachine(const char* when)
{
    QFile load(QStringLiteral("/proc/loadavg"));
    load.open(QIODevice::ReadOnly);
    std::printf("load average %s: %s\n", when, load.readAll().trimmed().constData());
}

// --- the measurements ------------------------------------------------------------

struct RoundTrips {
    std::vector<double> barePing, bareSet, servicePing, serviceRead, serviceCommand, tcp;
};

void roundTrip(Client& c, int echoPort)
{
    const int tcp = socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in a{};
    a.sin_family = AF_INET;
    a.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    a.sin_port = htons(uint16_t(echoPort));
    if (::connect(tcp, reinterpret_cast<sockaddr*>(&a), sizeof a) != 0) {
        std::perror("bench_floor: echo");
        std::exit(1);
    }
    const int one = 1;
    setsockopt(tcp, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    // As long as a small call on the bus.
    char buf[160] = {};
    auto echo = [&] {
        const int64_t t0 = nowNs();
        if (write(tcp, buf, sizeof buf) != ssize_t(sizeof buf))
            return -1.0;
        size_t got = 0;
        while (got < sizeof buf) {
            const ssize_t n = read(tcp, buf + got, sizeof buf - got);
            if (n <= 0)
                return -1.0;
            got += size_t(n);
        }
        return double(nowNs() - t0) / 1000.0;
    };

    RoundTrips r;
    const int rounds = 3000;
    int16_t shutter = 0;
    int i = -300;   // the first 300 rounds warm up
    const std::vector<std::pair<std::vector<double>*, std::function<double()>>> kinds = {
        {&r.barePing, [&] { return c.call(kBare, kDevicePath, kDevice, "Ping"); }},
        {&r.bareSet, [&] { return c.call(kBare, kDevicePath, kDevice, "Set", int32Arg(i & 1)); }},
        {&r.servicePing, [&] { return c.call(kService, kDevicePath, kDevice, "Ping"); }},
        {&r.serviceRead, [&] { return c.call(kService, kDevicePath, kDevice, "NosepiecePosition"); }},
        {&r.serviceCommand,
         [&] {
             shutter = int16_t(1 - shutter);
             return c.call(kService, kDevicePath, kDevice, shutter ? "EpiShutterOpen" : "EpiShutterClose");
         }},
        {&r.tcp, echo},
    };
    for (; i < rounds; ++i) {
        // Interleaved, each round starting with another kind, so that every
        // kind sees the same machine and none always comes first.
        for (size_t k = 0; k < kinds.size(); ++k) {
            const auto& kind = kinds[(size_t(i + 300) + k) % kinds.size()];
            const double us = kind.second();
            if (i >= 0)
                kind.first->push_back(us);
        }
    }
    ::close(tcp);
    std::printf("\nround trip, %d calls each, interleaved (us):         median      p99\n", rounds);
    auto row = [](const char* what, const std::vector<double>& v) {
        std::printf("  %-48s %8.1f %8.1f\n", what, median(v), percentile(v, 0.99));
    };
    row("bare TCP echo on the loopback (no bus)", r.tcp);
    row("bare libdbus Ping", r.barePing);
    row("bare libdbus Set (one event, then the reply)", r.bareSet);
    row("service Ping", r.servicePing);
    row("service NosepiecePosition (a read)", r.serviceRead);
    row("service EpiShutterOpen/Close (a command)", r.serviceCommand);
    const double read = median(r.serviceRead) / median(r.barePing);
    const double command = median(r.serviceCommand) / median(r.bareSet);
    std::printf("  ratio read / bare ping            %5.2f   (target <= 1.15)  %s\n", read, verdict(read <= 1.15));
    std::printf("  ratio command / bare set          %5.2f   (target <= 1.15)  %s\n", command,
                verdict(command <= 1.15));
    std::printf("  ratio service ping / bare ping    %5.2f   (the service's plumbing alone)\n",
                median(r.servicePing) / median(r.barePing));
    std::printf("  ratio bare ping / TCP echo        %5.2f   (the bus's own relay)\n",
                median(r.barePing) / median(r.tcp));
}

// Microseconds from each command's sending until the last listener had its
// event; the commands' send times in `sent`.
std::vector<double> spreads(const std::vector<int64_t>& sent, const std::vector<std::vector<int64_t>>& arrivals,
                            long* missing)
{
    std::vector<double> out;
    for (size_t j = 0; j < sent.size(); ++j) {
        int64_t last = 0;
        bool all = true;
        for (const auto& l : arrivals) {
            if (j >= l.size()) {
                all = false;
                continue;
            }
            last = std::max(last, l[j]);
        }
        if (!all) {
            ++*missing;
            continue;
        }
        out.push_back(double(last - sent[j]) / 1000.0);
    }
    return out;
}

void propagation(Client& c)
{
    std::printf("\ncross-client propagation: a command from one client until the last listener has its event (us)\n");
    std::printf("  %-10s %10s %10s %10s %10s %8s\n", "listeners", "bare med", "bare p99", "service med",
                "svc p99", "ratio");
    for (int n : {1, 4, 16}) {
        Listeners service(n, kService, "AppEpiShutterIsOpened:");
        Listeners bare(n, kBare, "AppEpiShutterIsOpened:");
        // The shutter's present state is known after one close; then every
        // command changes it, so each gives one event.
        c.call(kService, kDevicePath, kDevice, "EpiShutterClose");
        service.dump();
        bare.dump();
        const int rounds = n == 16 ? 300 : 600;
        std::vector<int64_t> sentService, sentBare;
        for (int i = 0; i < rounds; ++i) {
            // Alternately first, so that neither always meets the machine first.
            auto toService = [&] {
                sentService.push_back(nowNs());
                c.call(kService, kDevicePath, kDevice, (i & 1) ? "EpiShutterClose" : "EpiShutterOpen");
            };
            auto toBare = [&] {
                sentBare.push_back(nowNs());
                c.call(kBare, kDevicePath, kDevice, "Set", int32Arg((i + 1) & 1));
            };
            if (i & 2)
                toService(), toBare();
            else
                toBare(), toService();
        }
        QThread::msleep(200);
        long missing = 0;
        const std::vector<double> s = spreads(sentService, service.dump(), &missing);
        const std::vector<double> b = spreads(sentBare, bare.dump(), &missing);
        const double ratio = median(s) / median(b);
        std::printf("  %-10d %10.1f %10.1f %10.1f %10.1f %8.2f   (target <= 1.2)  %s%s\n", n, median(b),
                    percentile(b, 0.99), median(s), percentile(s, 0.99), ratio, verdict(ratio <= 1.2),
                    missing ? "  (events missing!)" : "");
    }
}

void flood(Client& c, qint64 servicePid, qint64 barePid)
{
    std::printf("\nflood to one listener process, events paced by the sender's own bus queue:\n");
    Listeners service(1, kService, "AppBenchEvent:");
    Listeners bare(1, kBare, "AppBenchEvent:");
    const int events = 100000;
    const char* text = "AppBenchEvent:1";
    auto floodArgs = [&](DBusMessage* m) {
        const int32_t n = events;
        dbus_message_append_args(m, DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &n, DBUS_TYPE_INVALID);
    };
    std::vector<double> rateS, rateB, cpuS, cpuB;
    long lost = 0;
    for (int round = 0; round < 3; ++round) {
        auto one = [&](const char* dest, const char* iface, qint64 pid, Listeners& l, std::vector<double>& rate,
                       std::vector<double>& cpu) {
            l.dump();
            const Cost before = costOf(pid);
            const int64_t t0 = nowNs();
            c.call(dest, kDevicePath, iface, dest == kBare ? "Flood" : "EmitEvents", floodArgs);
            const Cost spent = costOf(pid) - before;
            QThread::msleep(300);
            const std::vector<int64_t> got = l.dump().front();
            lost += events - long(got.size());
            if (!got.empty())
                rate.push_back(double(got.size()) / (double(got.back() - t0) / 1e9));
            cpu.push_back(spent.cpuMs * 1000.0 / events);
        };
        one(kService, kControl, servicePid, service, rateS, cpuS);
        one(kBare, kDevice, barePid, bare, rateB, cpuB);
    }
    const double rate = median(rateS) / median(rateB);
    const double cpu = median(cpuS) / median(cpuB);
    std::printf("  bare sender:  %9.0f events/s reach the listener, %5.2f us of sender CPU an event\n",
                median(rateB), median(cpuB));
    std::printf("  service:      %9.0f events/s reach the listener, %5.2f us of sender CPU an event\n",
                median(rateS), median(cpuS));
    std::printf("  ratio rate service / bare   %5.2f   (target >= 0.9)  %s\n", rate, verdict(rate >= 0.9));
    std::printf("  ratio CPU an event          %5.2f   %s\n", cpu, lost ? "(events lost!)" : "");
}

struct Stream {
    Cost cost;
    double seconds = 0;
    size_t reports = 0;
};

// One focus move of the service streaming to `listeners`, then the bare
// sender with as many reports at the same beat.
void streaming(Client& c, qint64 servicePid, qint64 barePid, int listeners, int32_t* z, Stream* serviceOut = nullptr)
{
    Listeners service(listeners, kService, "AppZDriveZPosition:");
    Listeners bare(listeners, kBare, "AppZDriveZPosition:");
    std::vector<double> cpuS, cpuB;
    Stream s, b;
    for (int round = 0; round < 3; ++round) {
        service.dump();
        const int32_t from = *z;
        *z = from == 0 ? 12000 : 0;   // about 3 s at the drive's speed
        const Cost before = costOf(servicePid);
        const int64_t t0 = nowNs();
        c.call(kService, kDevicePath, kDevice, "setZDriveZPosition", int32Arg(*z));
        s.seconds = double(nowNs() - t0) / 1e9;
        s.cost = costOf(servicePid) - before;
        s.reports = service.dump().front().size();
        cpuS.push_back(s.cost.cpuMs);

        bare.dump();
        const Cost bareBefore = costOf(barePid);
        const int64_t b0 = nowNs();
        const int32_t beat = 40, count = int32_t(s.reports);
        c.call(kBare, kDevicePath, kDevice, "Stream", [&](DBusMessage* m) {
            dbus_message_append_args(m, DBUS_TYPE_INT32, &beat, DBUS_TYPE_INT32, &count, DBUS_TYPE_INT32, &from,
                                     DBUS_TYPE_INT32, z, DBUS_TYPE_INVALID);
        });
        b.seconds = double(nowNs() - b0) / 1e9;
        b.cost = costOf(barePid) - bareBefore;
        b.reports = bare.dump().front().size();
        cpuB.push_back(b.cost.cpuMs);
    }
    const double ratio = median(cpuS) / median(cpuB);
    std::printf("  %2d listener%s  bare: %3zu reports in %.2f s, %6.2f ms CPU, %4ld wake-ups (%5.1f/s)\n", listeners,
                listeners == 1 ? " " : "s", b.reports, b.seconds, median(cpuB), b.cost.wakeUps,
                double(b.cost.wakeUps) / b.seconds);
    std::printf("               service: %3zu reports in %.2f s, %6.2f ms CPU, %4ld wake-ups (%5.1f/s)"
                "  CPU ratio %.2f (target <= 1.2)  %s\n",
                s.reports, s.seconds, median(cpuS), s.cost.wakeUps, double(s.cost.wakeUps) / s.seconds, ratio,
                verdict(ratio <= 1.2));
    if (serviceOut)
        *serviceOut = s;
}

void atRest(qint64 servicePid, qint64 barePid)
{
    const int seconds = 5;
    const Cost s0 = costOf(servicePid), b0 = costOf(barePid);
    QThread::sleep(seconds);
    const Cost s = costOf(servicePid) - s0, b = costOf(barePid) - b0;
    std::printf("\nat rest, %d s: bare server %ld wake-ups (%.2f ms CPU), service %ld wake-ups (%.2f ms CPU)"
                "   (target 0)  %s\n",
                seconds, b.wakeUps, b.cpuMs, s.wakeUps, s.cpuMs, verdict(s.wakeUps == 0));
}

void stuckListener(Client& c, qint64 servicePid, int32_t* z, const Stream& free)
{
    std::printf("\na listener that never reads (stopped), present while the service streams and floods:\n");
    Listeners stuck(1, kService, "");
    ::kill(pid_t(stuck.at(0).processId()), SIGSTOP);
    const double rssBefore = residentMB(servicePid);
    Listeners reader(1, kService, "AppZDriveZPosition:");
    Cost streamCost;
    double seconds = 0;
    size_t reports = 0;
    for (int i = 0; i < 3; ++i) {
        reader.dump();
        *z = *z == 0 ? 12000 : 0;
        const Cost before = costOf(servicePid);
        const int64_t t0 = nowNs();
        c.call(kService, kDevicePath, kDevice, "setZDriveZPosition", int32Arg(*z));
        seconds += double(nowNs() - t0) / 1e9;
        const Cost spent = costOf(servicePid) - before;
        streamCost.cpuMs += spent.cpuMs;
        streamCost.wakeUps += spent.wakeUps;
        reports += reader.dump().front().size();
    }
    const char* text = "AppBenchEvent:1";
    const int32_t events = 200000;
    const Cost before = costOf(servicePid);
    c.call(kService, kDevicePath, kControl, "EmitEvents", [&](DBusMessage* m) {
        dbus_message_append_args(m, DBUS_TYPE_STRING, &text, DBUS_TYPE_INT32, &events, DBUS_TYPE_INVALID);
    });
    const Cost floodCost = costOf(servicePid) - before;
    const Cost idle0 = costOf(servicePid);
    QThread::sleep(3);
    const Cost idle = costOf(servicePid) - idle0;
    std::printf("  streaming: %zu reports in %.1f s, %.3f ms CPU a report (%.3f without the stuck listener)\n",
                reports, seconds, streamCost.cpuMs / double(std::max<size_t>(reports, 1)),
                free.cost.cpuMs / double(std::max<size_t>(free.reports, 1)));
    std::printf("  flood of %d events: %.2f us CPU an event\n", events, floodCost.cpuMs * 1000.0 / events);
    std::printf("  afterwards, 3 s at rest: %ld wake-ups, %.2f ms CPU (no spinning)\n", idle.wakeUps, idle.cpuMs);
    std::printf("  service resident memory: %.1f MB before, %.1f MB after (peak %.1f MB)\n", rssBefore,
                residentMB(servicePid), residentMB(servicePid, "VmHWM:"));
}

} // namespace

int main(int argc, char** argv)
{
    if (const int failed = runOnPrivateBus(argc, argv, ZENTOR_BENCH_BUS_CONF, "bench_floor"))
        return failed;
    QCoreApplication app(argc, argv);
    // Parts named on the command line run alone (roundtrip propagation flood
    // stream rest stuck); none named, all run.
    QStringList parts = app.arguments().mid(1);
    auto part = [&parts](const char* name) { return parts.isEmpty() || parts.contains(QLatin1String(name)); };
    std::printf("machine: %d cores; ", QThread::idealThreadCount());
    printMachine("at the start");

    ServiceProcess service;
    if (!service.start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                        QStringLiteral("--bus-name"), QString::fromLatin1(kService)},
                       QString::fromLatin1(kService))) {
        std::fprintf(stderr, "bench_floor: %s\n", qPrintable(service.error()));
        return 1;
    }
    const std::unique_ptr<QProcess> bare = startBare({QStringLiteral("serve"), QString::fromLatin1(kBare)});
    QByteArray echoReady;
    const std::unique_ptr<QProcess> echo = startBare({QStringLiteral("echo")}, &echoReady);
    Client c;
    c.call(kService, "/org/zentor/Microscope", "org.zentor.Microscope.Manager", "Connect", int16Arg(0));

    if (part("roundtrip"))
        roundTrip(c, echoReady.split(' ').value(1).toInt());
    if (part("propagation"))
        propagation(c);
    if (part("flood"))
        flood(c, service.pid(), bare->processId());

    std::printf("\na focus move streaming its positions (the service at real speed):\n");
    c.call(kService, kDevicePath, kControl, "SetSpeedFactor", [](DBusMessage* m) {
        const double one = 1.0;
        dbus_message_append_args(m, DBUS_TYPE_DOUBLE, &one, DBUS_TYPE_INVALID);
    });
    int32_t z = 0;
    c.call(kService, kDevicePath, kDevice, "setZDriveZPosition", int32Arg(z));
    Stream free;
    if (part("stream")) {
        streaming(c, service.pid(), bare->processId(), 1, &z, &free);
        streaming(c, service.pid(), bare->processId(), 16, &z);
    }
    if (part("rest"))
        atRest(service.pid(), bare->processId());
    if (part("stuck"))
        stuckListener(c, service.pid(), &z, free);
    printMachine("at the end");
    for (QProcess* p : {bare.get(), echo.get()}) {
        p->kill();
        p->waitForFinished(5000);
    }
    return 0;
}
