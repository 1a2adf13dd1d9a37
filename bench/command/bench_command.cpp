// The service's peak memory (VmHWM) when two clients at once send a raw
// command of 16 Mi characters (the service refuses it: a command is at most
// 4096 characters), against a bare program that only receives the same two
// calls and answers each with an error. The ratio says what the service costs
// beyond receiving the calls. ZENTOR_SERVICE_UNDER_TEST runs another build of
// the service (an older one, to compare).
#include "../PrivateBus.h"
#include "ServiceProcess.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVirtualObject>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>

#include <cstdio>
#include <vector>

namespace {

const QString kBare = QStringLiteral("org.zentor.Microscope.Bare");

// The bare receiver: every call is taken and refused, nothing else.
class Refuser : public QDBusVirtualObject {
public:
    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& msg, const QDBusConnection& bus) override {
        bus.send(msg.createErrorReply(QDBusError::InvalidArgs, QStringLiteral("refused")));
        return true;
    }
};

int bare() {
    Refuser refuser;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.registerVirtualObject(QStringLiteral("/org/zentor/Microscope/0"), &refuser);
    if (!bus.registerService(kBare))
        return 1;
    return QCoreApplication::exec();
}

long peakKb(qint64 pid) {
    QFile f(QStringLiteral("/proc/%1/status").arg(pid));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmHWM:"))
            return line.mid(6).trimmed().split(' ').value(0).toLong();
    return -1;
}

// Two calls of SendCommand with 16 Mi characters, at once; answers the
// length of the longest answer (reply or error text).
qsizetype sendTwo(const QString& service) {
    const QString huge(16 * 1024 * 1024, QLatin1Char('x'));
    std::vector<QDBusPendingCall> calls;
    for (int i = 0; i < 2; ++i) {
        QDBusMessage m = QDBusMessage::createMethodCall(service, QStringLiteral("/org/zentor/Microscope/0"),
                                                        QStringLiteral("org.zentor.Microscope.Device"),
                                                        QStringLiteral("SendCommand"));
        m << huge;
        calls.push_back(QDBusConnection::sessionBus().asyncCall(m, 120000));
    }
    qsizetype longest = 0;
    for (QDBusPendingCall& c : calls) {
        c.waitForFinished();
        const QDBusMessage r = c.reply();
        const qsizetype n = r.type() == QDBusMessage::ErrorMessage ? r.errorMessage().size()
                                                                     : r.arguments().value(0).toString().size();
        longest = std::max(longest, n);
    }
    return longest;
}

} // namespace

int main(int argc, char** argv) {
    if (const int failed = runOnPrivateBus(argc, argv, ZENTOR_BENCH_BUS_CONF, "bench_command"))
        return failed;
    QCoreApplication app(argc, argv);
    if (argc == 2 && QByteArray(argv[1]) == "--bare")
        return bare();

    QProcess bareProcess;
    bareProcess.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--bare")});
    if (!ServiceProcess::waitForName(kBare, true)) {
        std::fprintf(stderr, "bench_command: the bare receiver did not start\n");
        return 1;
    }
    const long bareBefore = peakKb(bareProcess.processId());
    const qsizetype bareAnswer = sendTwo(kBare);
    const long bareAfter = peakKb(bareProcess.processId());
    bareProcess.kill();
    bareProcess.waitForFinished();

    QTemporaryDir scratch;
    ServiceProcess service;
    service.setFaultInjection(false);
    if (!service.start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                        QStringLiteral("--state-file"), scratch.filePath(QStringLiteral("state.json"))})) {
        std::fprintf(stderr, "bench_command: %s\n", qPrintable(service.error()));
        return 1;
    }
    const long serviceBefore = peakKb(service.pid());
    const qsizetype serviceAnswer = sendTwo(QStringLiteral("org.zentor.Microscope"));
    const long serviceAfter = peakKb(service.pid());
    service.stop();

    std::printf("two SendCommand calls of 16 Mi characters at once, peak resident memory (VmHWM):\n");
    std::printf("  bare receiver  %7ld kB at rest, %7ld kB after (answer %lld characters)\n", bareBefore, bareAfter,
                static_cast<long long>(bareAnswer));
    std::printf("  zentor-service %7ld kB at rest, %7ld kB after (answer %lld characters)\n", serviceBefore,
                serviceAfter, static_cast<long long>(serviceAnswer));
    std::printf("  ratio service / bare after: %.2f\n",
                bareAfter > 0 ? static_cast<double>(serviceAfter) / static_cast<double>(bareAfter) : 0.0);
    return 0;
}
