// The event log export over D-Bus, measured against a baseline of the same run:
// - export: the status word of each of the four log units and 100 entries of
//   every unit present (the service's own full microscope has all four:
//   4 + 400 calls), the text built and Event.txt written whole;
// - baseline: the same number of bare device reads (NosepiecePosition).
// Median and p99 of each over the rounds, and their ratio. Target: the export
// within 1.5x of the bare reads.
#include "../PrivateBus.h"
#include "ServiceProcess.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "mainwindow/tools/EventLogExport.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <vector>

namespace {

const QString kName = QStringLiteral("org.zentor.Microscope.BenchEventLog");

double percentile(std::vector<double> v, double p) {
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())))];
}

} // namespace

int main(int argc, char** argv) {
    if (const int failed = runOnPrivateBus(argc, argv, ZENTOR_BENCH_BUS_CONF, "bench_eventlog"))
        return failed;
    QCoreApplication app(argc, argv);
    ServiceProcess service;
    if (!service.start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                        QStringLiteral("--bus-name"), kName},
                       kName)) {
        std::fprintf(stderr, "bench_eventlog: %s\n", qPrintable(service.error()));
        return 1;
    }
    DBusMicroscopeService client(QDBusConnection::sessionBus(), kName);
    client.Connect(0);
    QTemporaryDir dir;
    const QString path = dir.path() + QStringLiteral("/Event.txt");

    // The number of calls one export makes.
    int calls = 4;
    for (int16_t u : {UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B, UnitIndex::Tolva})
        calls += client.DeviceStatus(u) == 1 ? EventLogExport::kEntries : 0;

    const int rounds = argc > 1 ? std::max(5, std::atoi(argv[1])) : 60;
    for (int i = 0; i < 5; ++i) {   // warm-up
        EventLogExport::WriteFile(EventLogExport::Read(&client), path, nullptr);
        for (int c = 0; c < calls; ++c) client.NosepiecePosition();
    }
    std::vector<double> exportMs, readMs;
    qint64 bytes = 0;
    QElapsedTimer t;
    for (int r = 0; r < rounds; ++r) {
        // Alternate the two, so that the machine's load falls on both alike.
        t.start();
        const QByteArray text = EventLogExport::Read(&client);
        if (!EventLogExport::WriteFile(text, path, nullptr)) {
            std::fprintf(stderr, "bench_eventlog: cannot write %s\n", qPrintable(path));
            return 1;
        }
        exportMs.push_back(double(t.nsecsElapsed()) / 1e6);
        bytes = text.size();
        t.start();
        for (int c = 0; c < calls; ++c) client.NosepiecePosition();
        readMs.push_back(double(t.nsecsElapsed()) / 1e6);
    }
    client.Disconnect();
    const double em = percentile(exportMs, 0.5), e99 = percentile(exportMs, 0.99);
    const double rm = percentile(readMs, 0.5), r99 = percentile(readMs, 0.99);
    std::printf("event log export, %d calls, %lld bytes, %d rounds\n", calls, static_cast<long long>(bytes), rounds);
    std::printf("  export          median %8.2f ms   p99 %8.2f ms\n", em, e99);
    std::printf("  %d bare reads  median %8.2f ms   p99 %8.2f ms\n", calls, rm, r99);
    std::printf("  ratio           median %8.2fx     p99 %8.2fx   (target within 1.5x)\n", em / rm, e99 / r99);
    return 0;
}
