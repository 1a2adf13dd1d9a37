// Any method calls with any arguments, through the service's own message
// handlers over a real peer-to-peer D-Bus connection in this process, so that
// every argument is marshalled and read back as on the bus. Two connections:
// the service of one offers the fault-injection interface, the other does not.
// Every call gets a reply or an error reply within a bound, the service's
// objects stay registered and answer a Ping, a service without fault injection
// serves no call of that interface, and nothing crashes.
//
// Input: an options byte (bit 0: the connection with fault injection), then
// calls, each:  path interface member arguments
//   path, interface, member: a selector byte; 0 a name spelled in the input
//     (a length byte and the bytes; kept when made of name characters, else
//     made a valid name), 1 raw bytes as the name (usually refused by the
//     client library), 2.. the known names in turn.
//   arguments: a byte; below 0x80 values of the method's own in-signature
//     (none for an unknown method), else (byte & 7) values each of a type byte.
//   values: b y as 1 byte, n q 2, i u 4, x t d 8 (little endian; d as bits),
//     s: a length byte L, then below 0xC0 L bytes of UTF-8, 0xC0 to 0xDF
//     (L & 0x1F) raw UTF-16 code units (lone surrogates, NULs), from 0xE0 a
//     huge text (4096, 4097, 65536 or 1 Mi characters) repeating the next text;
//     as, ai, ad and structs of ints: a count byte, then the items; ay: a
//     length byte (from 0xF0: 64 KiB of the next byte); v: a type byte and a
//     value of it; o: a path chosen as above.
// ZENTOR_FUZZ_TRACE=1 prints every call and its answer (to read a finding).
#include "core/service/dbus/BusLayout.h"
#include "FuzzFile.h"
#include "FuzzMessages.h"
#include "stand/SimulatedFiber.h"
#include "stand/SimulatedService.h"
#include "stand/service/PeerServer.h"
#include "stand/service/ServiceHost.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QDBusPendingCallWatcher>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFileInfo>
#include <QTimer>

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

// A reply later than this is a hang: the stands run on the instant clock.
constexpr int kReplyBoundMs = 5000;
constexpr int kMaxCalls = 8;
// Huge texts of one input in all: well under the connection's message limit.
constexpr qsizetype kHugeBudget = 2 * 1024 * 1024;

[[noreturn]] void fail(const QString& why)
{
    std::fprintf(stderr, "fuzz_service_call: %s\n", why.toLocal8Bit().constData());
    std::abort();
}

// Reads the input front to back; past its end every read gives zeros.
class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
    bool atEnd() const { return m_pos >= m_size; }
    uint8_t byte() { return m_pos < m_size ? m_data[m_pos++] : 0; }
    template <typename T>
    T number()
    {
        uint64_t v = 0;
        for (size_t i = 0; i < sizeof(T); ++i)
            v |= uint64_t(byte()) << (8 * i);
        T out;
        std::memcpy(&out, &v, sizeof(T));
        return out;
    }
    QByteArray bytes(int n)
    {
        const size_t take = std::min(m_size - std::min(m_pos, m_size), size_t(n));
        QByteArray out(reinterpret_cast<const char*>(m_data + m_pos), qsizetype(take));
        m_pos += take;
        return out;
    }
    qsizetype hugeLeft = kHugeBudget;

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

// A D-Bus name made of the bytes: characters a name may not have become ones
// it may have, so that a name spelled right stays as it is.
QString validName(const QByteArray& raw, const char* fallback)
{
    static const char kChars[] = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789";
    QString out;
    for (char c : raw)
        out += QLatin1Char(std::isalnum(uint8_t(c)) || c == '_' ? c : kChars[uint8_t(c) % (sizeof(kChars) - 1)]);
    if (out.isEmpty() || out[0].isDigit())
        out.prepend(QLatin1String(fallback));
    return out;
}

// One name: spelled in the input (0), raw (1) or one of the known ones (2..).
QString chooseName(Input& in, const QStringList& known, const QString& validPrefix, const char* fallback)
{
    const int s = in.byte() % (known.size() + 2);
    if (s == 0) {
        const QByteArray raw = in.bytes(in.byte());
        // A name spelled with the characters of names (the seeds) stays as it is.
        const bool plain = !raw.isEmpty() && std::all_of(raw.begin(), raw.end(), [](char c) {
            return std::isalnum(uint8_t(c)) || c == '_' || c == '.' || c == '/';
        });
        if (plain)
            return QString::fromLatin1(raw);
        return validPrefix + validName(raw, fallback);
    }
    if (s == 1)
        return QString::fromUtf8(in.bytes(in.byte()));
    return known[s - 2];
}

QString text(Input& in)
{
    const uint8_t l = in.byte();
    if (l < 0xC0)
        return QString::fromUtf8(in.bytes(l));
    if (l < 0xE0) {
        QString out;
        for (int i = 0; i < (l & 0x1F); ++i)
            out += QChar(in.number<uint16_t>());
        return out;
    }
    static const qsizetype kHuge[] = {4096, 4097, 65536, 1024 * 1024};
    const qsizetype size = kHuge[l % 4];
    QString piece = QString::fromUtf8(in.bytes(in.byte()));
    if (piece.isEmpty())
        piece = QStringLiteral("x");
    if (size > in.hugeLeft)
        return piece;
    in.hugeLeft -= size;
    QString out;
    out.reserve(size);
    while (out.size() < size)
        out += piece;
    out.truncate(size);
    return out;
}

struct Names {
    QStringList paths, interfaces, members;
};

QVariant value(Input& in, const QString& type, const Names& names, int depth);

// The D-Bus types a free argument list is made of.
const QStringList& freeTypes()
{
    static const QStringList types = {
        QStringLiteral("b"), QStringLiteral("y"), QStringLiteral("n"), QStringLiteral("q"),
        QStringLiteral("i"), QStringLiteral("u"), QStringLiteral("x"), QStringLiteral("t"),
        QStringLiteral("d"), QStringLiteral("s"), QStringLiteral("as"), QStringLiteral("ay"),
        QStringLiteral("v"), QStringLiteral("o"), QStringLiteral("(i)"), QStringLiteral("ai"),
        QStringLiteral("ad"), ZentorBus::ObservationSignature,
    };
    return types;
}

QVariant value(Input& in, const QString& type, const Names& names, int depth)
{
    const QChar t = type.isEmpty() ? QLatin1Char('i') : type[0];
    if (type == QLatin1String("b")) return QVariant::fromValue<bool>(in.byte() & 1);
    if (type == QLatin1String("y")) return QVariant::fromValue<uchar>(in.byte());
    if (type == QLatin1String("n")) return QVariant::fromValue<short>(in.number<int16_t>());
    if (type == QLatin1String("q")) return QVariant::fromValue<ushort>(in.number<uint16_t>());
    if (type == QLatin1String("i")) return QVariant::fromValue<int>(in.number<int32_t>());
    if (type == QLatin1String("u")) return QVariant::fromValue<uint>(in.number<uint32_t>());
    if (type == QLatin1String("x")) return QVariant::fromValue<qlonglong>(in.number<int64_t>());
    if (type == QLatin1String("t")) return QVariant::fromValue<qulonglong>(in.number<uint64_t>());
    if (type == QLatin1String("d")) return QVariant::fromValue<double>(in.number<double>());
    if (type == QLatin1String("s")) return QVariant::fromValue(text(in));
    if (type == QLatin1String("as")) {
        QStringList list;
        for (int n = in.byte() % 17; n > 0; --n)
            list << text(in);
        return QVariant::fromValue(list);
    }
    if (type == QLatin1String("ay")) {
        const uint8_t l = in.byte();
        if (l < 0xF0)
            return QVariant::fromValue(in.bytes(l));
        return QVariant::fromValue(QByteArray(65536, char(in.byte())));
    }
    if (type == QLatin1String("v")) {
        const QString inner = depth < 2 ? freeTypes()[in.byte() % freeTypes().size()] : QStringLiteral("i");
        return QVariant::fromValue(QDBusVariant(value(in, inner, names, depth + 1)));
    }
    if (type == QLatin1String("o"))
        return QVariant::fromValue(QDBusObjectPath(chooseName(in, names.paths, QStringLiteral("/"), "p")));
    if (type == QLatin1String("ai") || type == QLatin1String("ad")) {
        const int n = in.byte() % 17;
        if (type == QLatin1String("ai")) {
            QList<int> list;
            for (int i = 0; i < n; ++i)
                list << in.number<int32_t>();
            return QVariant::fromValue(list);
        }
        QList<double> list;
        for (int i = 0; i < n; ++i)
            list << in.number<double>();
        return QVariant::fromValue(list);
    }
    if (t == QLatin1Char('(')) {
        // The observation positions take 11; a free struct takes 1 to 12.
        const int n = type == ZentorBus::ObservationSignature ? 11 : 1 + in.byte() % 12;
        QDBusArgument arg;
        arg.beginStructure();
        for (int i = 0; i < n; ++i)
            arg << in.number<int32_t>();
        arg.endStructure();
        return QVariant::fromValue(arg);
    }
    return QVariant::fromValue<int>(in.number<int32_t>());
}

// A signature's complete types: "n(iiiiiiiiiii)" -> n, (iiiiiiiiiii).
QStringList completeTypes(const QString& signature)
{
    QStringList types;
    for (int i = 0; i < signature.size();) {
        int end = i + 1;
        if (signature[i] == QLatin1Char('a'))
            end = i + 2;
        else if (signature[i] == QLatin1Char('('))
            end = signature.indexOf(QLatin1Char(')'), i) + 1;
        types << signature.mid(i, end - i);
        i = end;
    }
    return types;
}

// The in-signature of a known member within the interface called (the first
// list that has it when the interface is none of them).
QString inSignature(const QString& interface, const QString& member)
{
    using ZentorBus::Method;
    static const QVector<Method> deviceAll = ZentorBus::deviceServiceMethods() + ZentorBus::deviceMethods();
    static const QVector<QPair<QString, const QVector<Method>*>> lists = {
        {ZentorBus::ManagerInterface, &ZentorBus::managerMethods()},
        {ZentorBus::DeviceInterface, &deviceAll},
        {ZentorBus::ControlInterface, &ZentorBus::controlMethods()},
        {ZentorBus::FiberInterface, &ZentorBus::fiberMethods()},
        {ZentorBus::FiberControlInterface, &ZentorBus::fiberControlMethods()},
    };
    for (const auto& l : lists)
        if (interface.isEmpty() || interface == l.first || !interface.startsWith(QLatin1String("org.zentor")))
            if (const Method* m = ZentorBus::findMethod(*l.second, member))
                return m->in;
    return {};
}

class Harness {
public:
    Harness()
        : m_service(StandClock::instant(), descriptions()),
          m_fiber(StandClock::instant(), true, 0),
          m_server(QStringLiteral("unix:dir=") + fuzzScratchFolder())
    {
        if (!m_server.isListening())
            fail(QStringLiteral("no D-Bus server: ") + m_server.error());
        for (int i = 0; i < m_service.deviceNames().size(); ++i)
            m_service.stand(i);   // created now, so that every input finds them
        QObject::connect(&m_server, &PeerServer::newConnection, [this](BusConnection* c) { m_serverSide.push_back(c); });
        for (int faults = 0; faults < 2; ++faults) {
            const QString name = QStringLiteral("fuzz-client-%1").arg(faults);
            QDBusConnection client = QDBusConnection::connectToPeer(m_server.address(), name);
            const QDeadlineTimer bound(kReplyBoundMs);
            while (client.isConnected() && m_serverSide.size() <= size_t(faults) && !bound.hasExpired())
                QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
            if (!client.isConnected() || m_serverSide.size() <= size_t(faults))
                fail(QStringLiteral("no peer connection: ") + client.lastError().message());
            auto host = std::make_unique<ServiceHost>(m_serverSide.back(), &m_service, [](const QString&) {});
            if (faults)
                host->enableFaultInjection();
            QString error;
            if (!host->registerMicroscopeObjects(error) || !host->registerFiberObject(&m_fiber, error))
                fail(error);
            m_clients.push_back(client);
            m_hosts.push_back(std::move(host));
        }
        m_names.paths << ZentorBus::ManagerPath << ZentorBus::FiberPath << QStringLiteral("/")
                      << QStringLiteral("/org/zentor") << ZentorBus::devicePath(m_service.deviceNames().size());
        for (int i = 0; i < m_service.deviceNames().size(); ++i)
            m_names.paths << ZentorBus::devicePath(i);
        m_names.interfaces << ZentorBus::ManagerInterface << ZentorBus::DeviceInterface << ZentorBus::ControlInterface
                           << ZentorBus::FiberInterface << ZentorBus::FiberControlInterface << QString()
                           << QStringLiteral("org.freedesktop.DBus.Introspectable")
                           << QStringLiteral("org.freedesktop.DBus.Peer")
                           << QStringLiteral("org.freedesktop.DBus.Properties");
        for (const auto* list : {&ZentorBus::managerMethods(), &ZentorBus::deviceServiceMethods(),
                                 &ZentorBus::deviceMethods(), &ZentorBus::controlMethods(), &ZentorBus::fiberMethods(),
                                 &ZentorBus::fiberControlMethods()})
            for (const ZentorBus::Method& m : *list)
                if (!m_names.members.contains(m.name))
                    m_names.members << m.name;
        m_names.members << QStringLiteral("Introspect") << QStringLiteral("GetMachineId") << QStringLiteral("Get")
                        << QStringLiteral("GetAll");
    }

    void run(Input& in)
    {
        resetFaults();
        const int side = in.byte() & 1;
        for (int calls = 0; calls < kMaxCalls && !in.atEnd(); ++calls) {
            const QString path = chooseName(in, m_names.paths, QStringLiteral("/org/zentor/Microscope/"), "p");
            const QString interface = chooseName(in, m_names.interfaces, QStringLiteral("org.zentor."), "I");
            const QString member = chooseName(in, m_names.members, QString(), "M");
            QDBusMessage call = QDBusMessage::createMethodCall(QString(), path, interface, member);
            const uint8_t mode = in.byte();
            const QStringList types =
                mode < 0x80 ? completeTypes(inSignature(interface, member)) : freeTypeList(in, mode & 7);
            QVariantList args;
            for (const QString& t : types)
                args << value(in, t, m_names, 0);
            boundFlood(member, args);
            call.setArguments(args);
            const QDBusMessage reply = answered(side, call);
            if (side == 0 && reply.type() == QDBusMessage::ReplyMessage && isFaultInjection(interface, member))
                fail(QStringLiteral("%1 %2.%3 was served without fault injection").arg(path, interface, member));
            static const bool trace = qEnvironmentVariableIsSet("ZENTOR_FUZZ_TRACE");
            if (trace)
                std::fprintf(stderr, "%s %s.%s(%s) -> %s %s\n", qPrintable(path), qPrintable(interface),
                             qPrintable(member), qPrintable(types.join(QLatin1Char(','))),
                             qPrintable(reply.type() == QDBusMessage::ReplyMessage ? reply.signature()
                                                                                   : reply.errorName()),
                             qPrintable(reply.errorMessage().left(200)));
            // A speed factor the input set holds no later move back.
            resetSpeed();
        }
        const QDBusMessage ping = answered(
            side, QDBusMessage::createMethodCall(QString(), ZentorBus::ManagerPath, ZentorBus::ManagerInterface,
                                                 QStringLiteral("Ping")));
        if (ping.type() != QDBusMessage::ReplyMessage)
            fail(QStringLiteral("the service answers no Ping after the input: ") + ping.errorMessage());
        if (!m_serverSide[side]->isConnected())
            fail(QStringLiteral("the service's side of the connection has closed"));
    }

private:
    static QStringList descriptions()
    {
        QStringList files;
        for (const QFileInfo& f : QDir(QStringLiteral(ZENTOR_STAND_DESCRIPTIONS))
                                      .entryInfoList({QStringLiteral("*.json")}, QDir::Files, QDir::Name))
            files << f.absoluteFilePath();
        return files;
    }

    // A call of the fault-injection interface, named or found by its member.
    static bool isFaultInjection(const QString& interface, const QString& member)
    {
        if (interface.isEmpty())
            return ZentorBus::findMethod(ZentorBus::controlMethods(), member) ||
                   ZentorBus::findMethod(ZentorBus::fiberControlMethods(), member);
        if (interface == ZentorBus::ControlInterface)
            return ZentorBus::findMethod(ZentorBus::controlMethods(), member);
        return interface == ZentorBus::FiberControlInterface &&
               ZentorBus::findMethod(ZentorBus::fiberControlMethods(), member);
    }

    static QStringList freeTypeList(Input& in, int count)
    {
        QStringList types;
        for (int i = 0; i < count; ++i)
            types << freeTypes()[in.byte() % freeTypes().size()];
        return types;
    }

    // A flood within its bounds is a matter of throughput, not of arguments:
    // its count is kept small; counts beyond the bounds are sent as they are.
    static void boundFlood(const QString& member, QVariantList& args)
    {
        if (member != QLatin1String("EmitEvents") || args.size() != 2 || args[1].metaType().id() != QMetaType::Int)
            return;
        const int count = args[1].toInt();
        if (count >= 0 && count <= ServiceHost::kMaxEventCount)
            args[1] = QVariant::fromValue<int>(count % 257);
    }

    void resetSpeed()
    {
        for (int i = 0; i < m_service.deviceNames().size(); ++i)
            m_service.stand(i)->control().setSpeedFactor(0);
        m_fiber.setSpeedFactor(0);
    }

    void resetFaults()
    {
        for (int i = 0; i < m_service.deviceNames().size(); ++i)
            m_service.stand(i)->control().clearFaults();
        resetSpeed();
    }

    // Sends the call and lets the event loop run until its answer, within the
    // bound; a reply or an error reply, but never a lost connection.
    QDBusMessage answered(int side, const QDBusMessage& call)
    {
        QDBusPendingCall pending = m_clients[side].asyncCall(call, 4 * kReplyBoundMs);
        if (!pending.isFinished()) {
            QEventLoop loop;
            QDBusPendingCallWatcher watcher(pending);
            QObject::connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
            QTimer bound;
            bound.setSingleShot(true);
            QObject::connect(&bound, &QTimer::timeout, &loop, &QEventLoop::quit);
            bound.start(kReplyBoundMs);
            loop.exec();
        }
        if (!pending.isFinished())
            fail(QStringLiteral("no answer within %1 ms to %2 %3.%4").arg(kReplyBoundMs)
                     .arg(call.path(), call.interface(), call.member()));
        const QDBusMessage reply = pending.reply();
        if (!m_clients[side].isConnected())
            fail(QStringLiteral("the connection to the service was lost at %1 %2.%3: %4")
                     .arg(call.path(), call.interface(), call.member(), reply.errorMessage()));
        if (reply.type() != QDBusMessage::ReplyMessage && reply.type() != QDBusMessage::ErrorMessage)
            fail(QStringLiteral("an answer that is neither a reply nor an error"));
        return reply;
    }

    SimulatedService m_service;
    SimulatedFiber m_fiber;
    PeerServer m_server;
    std::vector<BusConnection*> m_serverSide;   // the server's children
    std::vector<QDBusConnection> m_clients;
    std::vector<std::unique_ptr<ServiceHost>> m_hosts;
    Names m_names;
};

Harness& harness()
{
    static int argc = 1;
    static char name[] = "fuzz_service_call";
    static char* argv[] = {name, nullptr};
    static QCoreApplication app(argc, argv);
    static const bool quietened = (qInstallMessageHandler(fuzzOnlyGraveMessages), true);
    static Harness h;
    (void)quietened;
    return h;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input in(data, size);
    harness().run(in);
    return 0;
}
