// Timing of the simulated stand: position events emitted and delivered to a
// subscriber, against a bare Qt signal delivery; and one device read, against a
// bare virtual call. Each figure comes with its ratio to the baseline of the same run.
#include "stand/SimulatedMicroscope.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <cstdio>

namespace {

class Emitter : public QObject {
    Q_OBJECT
signals:
    void changed(const QString& message);
public:
    void fire(const QString& m) { emit changed(m); }
};

struct Base { virtual ~Base() = default; virtual int32_t read() const = 0; };
struct Impl : Base { int32_t v = 7; int32_t read() const override { return v; } };

double seconds(QElapsedTimer& t) { return t.nsecsElapsed() / 1e9; }

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    const int n = 200000;

    // Baseline: a bare signal delivered to a subscriber.
    Emitter e;
    long received = 0;
    QObject::connect(&e, &Emitter::changed, [&](const QString& m) { received += m.size(); });
    QElapsedTimer t;
    t.start();
    for (int i = 0; i < n; ++i) e.fire(QStringLiteral("AppZDriveZPosition:") + QString::number(i));
    const double bareRate = n / seconds(t);

    // Stand: each move reports its position, through the stand and the service's event.
    SimulatedMicroscope mic(StandClock::instant(), {});
    mic.Connect(0);
    long events = 0;
    QObject::connect(&mic, &MicroscopeService::OnPropertyChanged, [&](const QString&) { ++events; });
    SimulatedStand* stand = mic.connectedStand();
    t.restart();
    for (int i = 0; i < n; ++i)
        stand->invoke(QStringLiteral("setZDriveZPosition"), {QVariant(1000 + (i % 2) * 1000)}, {});
    const double standRate = events / seconds(t);

    // Device reads: through the in-process service, and the stand's own dispatch.
    Impl impl;
    Base* volatile base = &impl;
    int64_t sum = 0;
    t.restart();
    for (int i = 0; i < n * 10; ++i) sum += base->read();
    const double virtualNs = seconds(t) * 1e9 / (n * 10);
    t.restart();
    for (int i = 0; i < n; ++i) sum += mic.ZDriveZPosition();
    const double readNs = seconds(t) * 1e9 / n;
    t.restart();
    for (int i = 0; i < n; ++i)
        stand->invoke(QStringLiteral("NosepiecePosition"), {}, [&](const StandResult& r) { sum += r.value.toInt(); });
    const double invokeNs = seconds(t) * 1e9 / n;

    std::printf("bare Qt signal delivery      %12.0f events/s\n", bareRate);
    std::printf("stand position events        %12.0f events/s  (%.3f of bare signal; target >= 200000/s)\n",
                standRate, standRate / bareRate);
    std::printf("bare virtual call            %12.1f ns\n", virtualNs);
    std::printf("device read via service      %12.1f ns  (%.0fx virtual call; target < 5000 ns)\n",
                readNs, readNs / virtualNs);
    std::printf("device read via stand invoke %12.1f ns  (%.0fx virtual call)\n", invokeNs, invokeNs / virtualNs);
    std::printf("(checksum %lld %ld)\n", static_cast<long long>(sum), received);
    return 0;
}

#include "bench_stand.moc"
