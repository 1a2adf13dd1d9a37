// Any answer to Snapshot, and any events around it, read by the panel's own
// bus client: a microscope service made by the input is served over a real
// peer-to-peer D-Bus connection in this process, so that every value is
// marshalled and read back as on the bus. The client reads in one group the
// reads of opening a microscope, with the events handed out between reads.
// Every read answers a value or fails with RunTimeError within a bound, the
// client stays connected, and nothing crashes.
//
// Input: a form byte (from 0xF0: a reply of another form, one text), eight
// bytes of sequence, then the values: a count byte (0xFF: 5000 entries, more
// than the client takes), each a key and a value; the failures: a count byte,
// each a key, four bytes of code and a text; the events: a count byte, each a
// byte (bit 7: sent after the reply), an event name selector and a text.
//   key: a byte; below the number of known reads one of them, else a text.
//   value: a type byte (n i d s as ai ad b t (ii), in turn) and its bytes,
//     little endian; arrays a count byte (0xFF: 2000 items); texts a length
//     byte (0xFF: 70000 characters) and the bytes.
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/service/tests/SnapshotFailure.h"
#include "FuzzFile.h"
#include "FuzzMessages.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusServer>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <vector>

namespace {

constexpr int kBoundMs = 10000;

[[noreturn]] void fail(const QString& why)
{
    std::fprintf(stderr, "fuzz_snapshot_reply: %s\n", why.toLocal8Bit().constData());
    std::abort();
}

class Input {
public:
    Input(const uint8_t* data, size_t size) : m_data(data), m_size(size) {}
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
    QString text()
    {
        const int n = byte();
        if (n == 0xFF)
            return QString(70000, QLatin1Char('x'));
        QByteArray raw;
        for (int i = 0; i < n; ++i)
            raw += char(byte());
        return QString::fromUtf8(raw);
    }

private:
    const uint8_t* m_data;
    size_t m_size;
    size_t m_pos = 0;
};

// The reads the client makes, and so the keys worth spelling right.
const QStringList& knownKeys()
{
    static const QStringList keys = {
        "IsMounted(1)", "DeviceStatus(1)", "UpperLimit(1)", "LowerLimit(1)", "NosepiecePosition", "ZDriveZPosition",
        "ObjectiveNames", "FilterNumbers", "ObjectiveRates", "CustomValue(12,7,1)", "SendCommand(rXPR1)",
        "ObservationName(7)", "AnalyzerIsInserted", "PresetsObservationMode", "XYDriveIsEscape", "LampControlVoltage",
    };
    return keys;
}

const QStringList& eventNames()
{
    static const QStringList names = {
        "AppZDriveZPosition", "AppNosepiecePosition", "AppAnalyzerIsInserted", "AppPresetsObservationMode",
        "AppNosepieceMaxValue", "AppXYZDriveIsEscape", "AppLampControlVoltage", "AppUnknown",
    };
    return names;
}

QString key(Input& in)
{
    const int k = in.byte();
    return k < knownKeys().size() ? knownKeys().at(k) : in.text();
}

QVariant value(Input& in)
{
    switch (in.byte() % 10) {
    case 0: return QVariant::fromValue<short>(in.number<int16_t>());
    case 1: return QVariant::fromValue<int>(in.number<int32_t>());
    case 2: return QVariant::fromValue<double>(in.number<double>());
    case 3: return QVariant(in.text());
    case 4: {
        const int n = in.byte();
        QStringList l;
        for (int i = 0; i < (n == 0xFF ? 2000 : n); ++i)
            l << (n == 0xFF ? QStringLiteral("x") : in.text());
        return QVariant(l);
    }
    case 5: {
        const int n = in.byte();
        QList<int> l;
        for (int i = 0; i < (n == 0xFF ? 2000 : n); ++i)
            l << (n == 0xFF ? i : in.number<int32_t>());
        return QVariant::fromValue(l);
    }
    case 6: {
        const int n = in.byte();
        QList<double> l;
        for (int i = 0; i < (n == 0xFF ? 2000 : n); ++i)
            l << (n == 0xFF ? double(i) : in.number<double>());
        return QVariant::fromValue(l);
    }
    case 7: return QVariant(bool(in.byte() & 1));
    case 8: return QVariant::fromValue<qulonglong>(in.number<uint64_t>());
    default: {
        QDBusArgument pair;
        pair.beginStructure();
        pair << in.number<int32_t>() << in.number<int32_t>();
        pair.endStructure();
        return QVariant::fromValue(pair);
    }
    }
}

// A microscope whose Snapshot answers what the input makes, and whose single
// reads answer a plain value of their type.
class FakeMicroscope : public QDBusVirtualObject {
public:
    QDBusConnection* bus = nullptr;
    Input* input = nullptr;

    QString introspect(const QString&) const override { return QString(); }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection&) override
    {
        if (msg.type() != QDBusMessage::MethodCallMessage)
            return false;
        if (msg.member() == QLatin1String("InterfaceVersion")) {
            bus->send(msg.createReply(QVariant(ZentorBus::servedVersion().text())));
        } else if (msg.member() == QLatin1String("Connect")) {
            bus->send(msg.createReply(QVariant::fromValue(QDBusObjectPath(ZentorBus::devicePath(0)))));
        } else if (msg.member() == ZentorBus::SnapshotMember) {
            snapshot(msg);
        } else if (const ZentorBus::Method* m = ZentorBus::findMethod(ZentorBus::deviceMethods(), msg.member())) {
            bus->send(m->out.isEmpty() ? msg.createReply() : msg.createReply(plain(m->out)));
        } else {
            bus->send(msg.createReply());
        }
        return true;
    }

private:
    static QVariant plain(const QString& type)
    {
        if (type == QLatin1String("n")) return QVariant::fromValue<short>(1);
        if (type == QLatin1String("i")) return QVariant::fromValue<int>(1);
        if (type == QLatin1String("d")) return QVariant::fromValue<double>(1);
        if (type == QLatin1String("s")) return QVariant(QStringLiteral("x"));
        if (type == QLatin1String("as")) return QVariant(QStringList{QStringLiteral("x")});
        if (type == QLatin1String("ai")) return QVariant::fromValue(QList<int>{1});
        if (type == QLatin1String("ad")) return QVariant::fromValue(QList<double>{1});
        return QVariant::fromValue<int>(0);
    }

    void sendEvent(Input& in)
    {
        QDBusMessage s = QDBusMessage::createSignal(ZentorBus::devicePath(0), ZentorBus::DeviceInterface,
                                                    ZentorBus::EventSignal);
        s << eventNames().at(in.byte() % eventNames().size()) + QLatin1Char(':') + in.text();
        bus->send(s);
    }

    void snapshot(const QDBusMessage& call)
    {
        Input& in = *input;
        const uint8_t form = in.byte();
        const quint64 sequence = in.number<uint64_t>();
        if (form >= 0xF0) {
            bus->send(call.createReply(QVariant(in.text())));
            return;
        }
        QDBusArgument values;
        values.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QDBusVariant>());
        const int count = in.byte();
        for (int i = 0; i < (count == 0xFF ? 5000 : count); ++i) {
            values.beginMapEntry();
            if (count == 0xFF)
                values << QStringLiteral("CustomValue(12,7,%1)").arg(i) << QDBusVariant(QVariant(1.0));
            else
                values << key(in) << QDBusVariant(value(in));
            values.endMapEntry();
        }
        values.endMap();
        QDBusArgument failures;
        failures.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<SnapshotFailure>());
        const int failed = in.byte();
        for (int i = 0; i < failed; ++i) {
            failures.beginMapEntry();
            const QString k = key(in);
            failures << k << SnapshotFailure{in.number<int32_t>(), in.text()};
            failures.endMapEntry();
        }
        failures.endMap();
        const int events = in.byte() % 32;
        std::vector<bool> after;
        for (int i = 0; i < events; ++i)
            after.push_back(in.byte() & 0x80);
        for (int i = 0; i < events; ++i)
            if (!after[size_t(i)])
                sendEvent(in);
        bus->send(call.createReply({QVariant::fromValue<qulonglong>(sequence), QVariant::fromValue(values),
                                    QVariant::fromValue(failures)}));
        for (int i = 0; i < events; ++i)
            if (after[size_t(i)])
                sendEvent(in);
    }
};

class Harness {
public:
    Harness() : m_server(QStringLiteral("unix:dir=") + fuzzScratchFolder())
    {
        qDBusRegisterMetaType<SnapshotFailure>();
        if (!m_server.isConnected())
            fail(QStringLiteral("no D-Bus server: ") + m_server.lastError().message());
        QObject::connect(&m_server, &QDBusServer::newConnection,
                         [this](const QDBusConnection& c) { m_serverSide = std::make_unique<QDBusConnection>(c); });
        m_client = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToPeer(m_server.address(), QStringLiteral("fuzz-snapshot-client")));
        const QDeadlineTimer bound(kBoundMs);
        while (!m_serverSide && !bound.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
        if (!m_serverSide)
            fail(QStringLiteral("no peer connection"));
        m_fake.bus = m_serverSide.get();
        if (!m_serverSide->registerVirtualObject(ZentorBus::ManagerPath, &m_fake, QDBusConnection::SubPath))
            fail(QStringLiteral("cannot register the microscope"));
        m_service = std::make_unique<DBusMicroscopeService>(*m_client, QString());
        m_service->Connect(0);
    }

    void run(Input& in)
    {
        m_fake.input = &in;
        QDeadlineTimer bound(kBoundMs);
        m_service->beginReads({});
        const auto read = [&](const std::function<void()>& r) {
            try {
                r();
            } catch (const RunTimeError&) {
            }
            QCoreApplication::processEvents(QEventLoop::AllEvents);
        };
        QString reply;
        read([&] { m_service->IsMounted(1); });
        read([&] { m_service->DeviceStatus(1); });
        read([&] { m_service->UpperLimit(1); });
        read([&] { m_service->LowerLimit(1); });
        read([&] { m_service->NosepiecePosition(); });
        read([&] { m_service->ZDriveZPosition(); });
        read([&] { m_service->ObjectiveNames(); });
        read([&] { m_service->FilterNumbers(); });
        read([&] { m_service->ObjectiveRates(); });
        read([&] { m_service->CustomValue(12, 7, 1); });
        read([&] { m_service->SendCommand(QStringLiteral("rXPR1"), reply); });
        read([&] { m_service->ObservationName(7); });
        read([&] { m_service->AnalyzerIsInserted(); });
        read([&] { m_service->PresetsObservationMode(); });
        read([&] { m_service->XYDriveIsEscape(); });
        read([&] { m_service->LampControlVoltage(); });
        m_service->endReads();
        if (bound.hasExpired())
            fail(QStringLiteral("the reads of one group took more than %1 ms").arg(kBoundMs));
        if (!m_client->isConnected())
            fail(QStringLiteral("the client lost its connection"));
        m_fake.input = nullptr;
    }

private:
    QDBusServer m_server;
    std::unique_ptr<QDBusConnection> m_serverSide;
    std::unique_ptr<QDBusConnection> m_client;
    FakeMicroscope m_fake;
    std::unique_ptr<DBusMicroscopeService> m_service;
};

Harness& harness()
{
    static int argc = 1;
    static char name[] = "fuzz_snapshot_reply";
    static char* argv[] = {name, nullptr};
    // The client's debug trace goes to the scratch folder, never a user's.
    static const bool home = (qputenv("XDG_DATA_HOME", fuzzScratchFolder().toLocal8Bit()), true);
    static QCoreApplication app(argc, argv);
    static const bool quietened = (qInstallMessageHandler(fuzzOnlyGraveMessages), true);
    static Harness h;
    (void)home;
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
