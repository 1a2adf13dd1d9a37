// bench_remote: the microscope service of another computer, measured on one
// machine (bench_remote.py makes the far computer: its session bus, an sshd
// on 127.0.0.1, the service, and delay_relay for the slow link).
//
// Without arguments it runs bench_remote.py, which calls it back once per
// path with
//   bench_remote --probe NAME ADDRESS FAR_ADDRESS ROUNDS
// ADDRESS is the path under test (the far bus itself, the bridge through ssh,
// the bridge through ssh over the delayed link); FAR_ADDRESS is the far bus
// itself, where the events are set off. The probe prints one line of figures
// (microseconds):
//   - round trips through ADDRESS with the panel's own client class: the bus
//     daemon's GetId (a bare D-Bus program: the baseline), the service's empty
//     Ping, and a device read (NosepiecePosition);
//   - event latency: from a call on the far bus that makes the service send
//     OnPropertyChanged to its arrival through ADDRESS, against the same done
//     by a bare program (a method of this program on the far bus that sends a
//     plain signal: the baseline); both texts carry their send time;
//   - a blocking move through ADDRESS (stage X, real speed): how long the
//     call took beyond the last position event (the call ends when the stand
//     says so), whether the positions came in order, and how late a 10 ms
//     timer of the waiting client ran meanwhile (the panel stays responsive).
#include "core/service/dbus/BusAddress.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <ctime>
#include <unistd.h>
#include <vector>

namespace {

qint64 nowNs()
{
    timespec ts{};
    clock_gettime(CLOCK_MONOTONIC, &ts);
    return static_cast<qint64>(ts.tv_sec) * 1000000000LL + ts.tv_nsec;
}

double percentile(std::vector<double> v, double p)
{
    if (v.empty())
        return 0;
    std::sort(v.begin(), v.end());
    return v[std::min(v.size() - 1, static_cast<size_t>(p * static_cast<double>(v.size())))];
}

template <typename F>
std::vector<double> roundTrips(int rounds, F call)
{
    for (int i = 0; i < std::max(5, rounds / 20); ++i)
        call();
    std::vector<double> us;
    for (int i = 0; i < rounds; ++i) {
        const qint64 t = nowNs();
        call();
        us.push_back(static_cast<double>(nowNs() - t) / 1000.0);
    }
    return us;
}

// The bare program's side of an event: a method on the far bus that sends a
// signal, as the service's EmitEvents sends OnPropertyChanged.
class BareEmitter : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.zentor.Bench")
public:
    explicit BareEmitter(const QDBusConnection& bus) : m_bus(bus) {}
public slots:
    Q_SCRIPTABLE void Emit(const QString& text)
    {
        QDBusMessage s = QDBusMessage::createSignal(QStringLiteral("/bench/remote"), QStringLiteral("org.zentor.Bench"),
                                                    QStringLiteral("Text"));
        s << text;
        m_bus.send(s);
    }

private:
    QDBusConnection m_bus;
};

// Receives events and bare signals through the path under test; each text
// ends in its send time.
class Receiver : public QObject {
    Q_OBJECT
public:
    std::vector<double> us;
public slots:
    void onText(const QString& text)
    {
        const qint64 sent = text.section(QLatin1Char(':'), -1).toLongLong();
        if (sent > 0)
            us.push_back(static_cast<double>(nowNs() - sent) / 1000.0);
    }
};

// Sends `rounds` texts from the far side, one at a time, each after the last
// has arrived; `send` sends one with its time.
template <typename F>
std::vector<double> latencies(Receiver& r, int rounds, F send)
{
    r.us.clear();
    QEventLoop loop;
    for (int i = 0; i < rounds; ++i) {
        const size_t before = r.us.size();
        send(nowNs());
        QElapsedTimer limit;
        limit.start();
        while (r.us.size() == before && limit.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 5);
    }
    return r.us;
}

int probe(const QString& name, QString address, const QString& farAddress, int rounds)
{
    // "host:[USER@]HOST": the address zentor --host opens.
    if (address.startsWith(QLatin1String("host:"))) {
        BusAddress::Place place;
        QString error;
        if (!BusAddress::fromHost(address.mid(5), place, error)) {
            std::fprintf(stderr, "bench_remote: %s\n", qPrintable(error));
            return 1;
        }
        address = place.address;
    }
    QDBusConnection near = QDBusConnection::connectToBus(address, QStringLiteral("near"));
    QDBusConnection far = QDBusConnection::connectToBus(farAddress, QStringLiteral("far"));
    if (!near.isConnected() || !far.isConnected()) {
        std::fprintf(stderr, "bench_remote: cannot connect: %s %s\n", qPrintable(near.lastError().message()),
                     qPrintable(far.lastError().message()));
        return 1;
    }
    DBusMicroscopeService client(near, ZentorBus::MicroscopeService);
    client.Connect(0);

    // --- round trips -------------------------------------------------------------
    QDBusMessage getId = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
                                                        QStringLiteral("/org/freedesktop/DBus"),
                                                        QStringLiteral("org.freedesktop.DBus"),
                                                        QStringLiteral("GetId"));
    const std::vector<double> bare = roundTrips(rounds, [&] { near.call(getId, QDBus::BlockWithGui, 60000); });
    const std::vector<double> ping = roundTrips(rounds, [&] { client.Ping(); });
    const std::vector<double> read = roundTrips(rounds, [&] { client.NosepiecePosition(); });

    // --- events -----------------------------------------------------------------------
    Receiver receiver;
    near.connect(QString(), QStringLiteral("/bench/remote"), QStringLiteral("org.zentor.Bench"),
                 QStringLiteral("Text"), &receiver, SLOT(onText(QString)));
    QObject::connect(&client, &MicroscopeService::OnPropertyChanged, &receiver, &Receiver::onText);
    client.NosepiecePosition();   // the match rules are in place
    BareEmitter emitter(far);
    far.registerObject(QStringLiteral("/bench/remote"), &emitter, QDBusConnection::ExportScriptableSlots);
    const std::vector<double> bareSignal = latencies(receiver, rounds, [&](qint64 t) {
        QDBusMessage m = QDBusMessage::createMethodCall(far.baseService(), QStringLiteral("/bench/remote"),
                                                        QStringLiteral("org.zentor.Bench"), QStringLiteral("Emit"));
        m << QStringLiteral("AppBenchEvent:%1").arg(t);
        far.asyncCall(m);
    });
    const std::vector<double> event = latencies(receiver, rounds, [&](qint64 t) {
        QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(0),
                                                        ZentorBus::ControlInterface, QStringLiteral("EmitEvents"));
        m << QStringLiteral("AppBenchEvent:%1").arg(t) << 1;
        far.asyncCall(m);
    });
    QObject::disconnect(&client, &MicroscopeService::OnPropertyChanged, &receiver, &Receiver::onText);

    // --- a blocking move ---------------------------------------------------------------
    const double lo = client.LowerLimit(LimitIndex::XYDriveX), hi = client.UpperLimit(LimitIndex::XYDriveX);
    const int32_t x0 = client.XYDriveXPosition();
    // A tenth of the travel, towards the farther end.
    const int32_t to = static_cast<int32_t>(x0 - lo < hi - x0 ? x0 + (hi - lo) * 0.1 : x0 - (hi - lo) * 0.1);
    std::vector<int32_t> positions;
    qint64 lastEventNs = 0;
    QObject::connect(&client, &MicroscopeService::OnPropertyChanged, [&](const QString& m) {
        if (m.startsWith(QLatin1String("AppXYDriveXPosition:"))) {
            positions.push_back(m.section(QLatin1Char(':'), 1).toInt());
            lastEventNs = nowNs();
        }
    });
    std::vector<double> late;
    qint64 due = 0;
    QTimer tick;
    tick.setTimerType(Qt::PreciseTimer);
    tick.setInterval(10);
    QObject::connect(&tick, &QTimer::timeout, [&] {
        const qint64 t = nowNs();
        if (due)
            late.push_back(static_cast<double>(std::max<qint64>(0, t - due)) / 1000.0);
        due = t + 10000000LL;
    });
    tick.start();
    const qint64 moveStart = nowNs();
    client.setXYDriveXPosition(to);
    const qint64 moveEnd = nowNs();
    tick.stop();
    bool inOrder = !positions.empty() && positions.back() == to;
    for (size_t i = 1; i < positions.size(); ++i)
        if ((to > x0 && positions[i] < positions[i - 1]) || (to < x0 && positions[i] > positions[i - 1]))
            inOrder = false;
    client.Disconnect();

    std::printf("%s bare_med=%.1f bare_p99=%.1f ping_med=%.1f read_med=%.1f read_p99=%.1f "
                "signal_med=%.1f signal_p99=%.1f event_med=%.1f event_p99=%.1f "
                "move_ms=%.1f reply_after_last_event_ms=%.2f positions=%zu in_order=%d late_p99=%.1f late_max=%.1f\n",
                qPrintable(name), percentile(bare, 0.5), percentile(bare, 0.99), percentile(ping, 0.5),
                percentile(read, 0.5), percentile(read, 0.99), percentile(bareSignal, 0.5),
                percentile(bareSignal, 0.99), percentile(event, 0.5), percentile(event, 0.99),
                static_cast<double>(moveEnd - moveStart) / 1e6,
                static_cast<double>(moveEnd - lastEventNs) / 1e6, positions.size(), inOrder ? 1 : 0,
                percentile(late, 0.99), percentile(late, 1.0));
    std::fflush(stdout);
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc == 6 && QByteArray(argv[1]) == "--probe") {
        QCoreApplication app(argc, argv);
        return probe(QString::fromLocal8Bit(argv[2]), QString::fromLocal8Bit(argv[3]),
                     QString::fromLocal8Bit(argv[4]), QByteArray(argv[5]).toInt());
    }
    char self[4096] = {};
    if (readlink("/proc/self/exe", self, sizeof self - 1) <= 0)
        return 1;
    execl("/usr/bin/python3", "python3", ZENTOR_BENCH_REMOTE_DRIVER, self, ZENTOR_SERVICE_EXE, ZENTOR_DELAY_RELAY,
          ZENTOR_BUILD_DIR, static_cast<char*>(nullptr));
    std::perror("bench_remote: cannot start python3");
    return 1;
}

#include "bench_remote.moc"
