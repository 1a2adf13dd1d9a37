// The bus client's grouped reads against a service written for the test, on
// a private bus: one Snapshot answers a group, events after it keep it
// current in their order, commands still go one by one, and whatever the
// service gets wrong (entries missing, of the wrong type, given twice, too
// many, a picture older than an event already applied, no Snapshot at all)
// is read singly and named in the trace.
#include "SnapshotFailure.h"
#include "WaitUntil.h"
#include "core/base/OperatorWait.h"
#include "core/base/mdlCommon.h"
#include "core/service/ReadBatch.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/SnapshotPicture.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <functional>
#include <memory>

namespace {

const QString kName = QStringLiteral("org.zentor.SnapshotFake");

// A Snapshot reply as the test writes it, right or wrong.
struct Picture {
    quint64 sequence = 0;
    QVector<QPair<QString, QVariant>> values;   // in order; a key may repeat
    QVector<QPair<QString, SnapshotFailure>> failures;

    QDBusMessage replyTo(const QDBusMessage& call) const
    {
        QDBusArgument v;
        v.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<QDBusVariant>());
        for (const auto& e : values) {
            v.beginMapEntry();
            v << e.first << QDBusVariant(e.second);
            v.endMapEntry();
        }
        v.endMap();
        QDBusArgument f;
        f.beginMap(QMetaType::fromType<QString>(), QMetaType::fromType<SnapshotFailure>());
        for (const auto& e : failures) {
            f.beginMapEntry();
            f << e.first << e.second;
            f.endMapEntry();
        }
        f.endMap();
        return call.createReply({QVariant::fromValue<qulonglong>(sequence), QVariant::fromValue(v),
                                 QVariant::fromValue(f)});
    }
};

// A microscope service of the test's making: a manager and microscope 0,
// whose single reads answer from `singles` and whose Snapshot answers what
// `snapshot` makes (none: the member does not exist, as in a driver written
// before it). It counts every call by member.
class FakeService : public QDBusVirtualObject {
public:
    explicit FakeService(const QDBusConnection& bus) : m_bus(bus) {}

    QHash<QString, QVariant> singles;
    std::function<void(const QDBusMessage&)> snapshot;
    std::function<void(const QDBusMessage&)> listSnapshot;
    QHash<QString, int> calls;
    quint64 sent = 0;
    QString version = ZentorBus::servedVersion().text();   // what InterfaceVersion answers

    QString introspect(const QString&) const override { return QString(); }

    bool handleMessage(const QDBusMessage& msg, const QDBusConnection&) override
    {
        if (msg.type() != QDBusMessage::MethodCallMessage)
            return false;
        ++calls[msg.member()];
        QVariantList args;
        for (const QVariant& a : msg.arguments())
            args << a;
        if (msg.path() == ZentorBus::ManagerPath)
            return manager(msg, args);
        if (msg.member() == ZentorBus::SnapshotMember) {
            if (!snapshot)
                return false;
            snapshot(msg);
            return true;
        }
        if (msg.member() == QLatin1String("Disconnect") || msg.member() == QLatin1String("Ping")) {
            send(msg.createReply());
            return true;
        }
        if (msg.member().startsWith(QLatin1String("set"))) {
            // A write: the read of the same name answers it from now on.
            QVariantList key = args.mid(0, args.size() - 1);
            singles[ZentorBus::snapshotKey(msg.member().mid(3), key)] = args.last();
            send(msg.createReply());
            return true;
        }
        const QString key = ZentorBus::snapshotKey(msg.member(), args);
        if (!singles.contains(key)) {
            send(ZentorBus::errorReply(msg, RunTimeError::ServiceFailure, key + QStringLiteral(" fails")));
            return true;
        }
        send(msg.createReply(singles.value(key)));
        return true;
    }

    bool manager(const QDBusMessage& msg, const QVariantList& args)
    {
        if (msg.member() == QLatin1String("InterfaceVersion"))
            send(msg.createReply(QVariant(version)));
        else if (msg.member() == QLatin1String("Connect"))
            send(msg.createReply(QVariant::fromValue(QDBusObjectPath(ZentorBus::devicePath(0)))));
        else if (msg.member() == QLatin1String("GetDeviceNames"))
            send(msg.createReply(QVariant::fromValue(QStringList{"Simulated", "Stand A", "Stand B"})));
        else if (msg.member() == QLatin1String("IsDeviceAvailable"))
            send(msg.createReply(QVariant::fromValue<short>(args.value(0).toInt() == 2 ? 0 : 1)));
        else if (msg.member() == ZentorBus::SnapshotMember && listSnapshot)
            listSnapshot(msg);
        else
            return false;
        return true;
    }

    void send(const QDBusMessage& m) { m_bus.send(m); }
    // An event; like a stand, the single read of what it reports answers
    // the new value from now on.
    void event(const QString& text)
    {
        if (text.startsWith(QLatin1String("AppZDriveZPosition:")))
            singles["ZDriveZPosition"] = QVariant::fromValue<int>(text.section(QLatin1Char(':'), 1).toInt());
        QDBusMessage s = QDBusMessage::createSignal(ZentorBus::devicePath(0), ZentorBus::DeviceInterface,
                                                    ZentorBus::EventSignal);
        s << text;
        ++sent;
        m_bus.send(s);
    }

private:
    QDBusConnection m_bus;
};

QVariant n(int v) { return QVariant::fromValue<short>(static_cast<short>(v)); }
QVariant i32(int v) { return QVariant::fromValue<int>(v); }
QVariant d(double v) { return QVariant::fromValue<double>(v); }

void settle()
{
    for (int i = 0; i < 20; ++i)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

class SnapshotClientTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        static int round = 0;
        m_connectionName = QStringLiteral("snapshot-fake-%1").arg(++round);
        m_serviceBus = std::make_unique<QDBusConnection>(
            QDBusConnection::connectToBus(QDBusConnection::SessionBus, m_connectionName));
        ASSERT_TRUE(m_serviceBus->isConnected());
        static const bool registered = [] {
            qDBusRegisterMetaType<SnapshotFailure>();
            return true;
        }();
        (void)registered;
        fake = std::make_unique<FakeService>(*m_serviceBus);
        ASSERT_TRUE(m_serviceBus->registerVirtualObject(ZentorBus::ManagerPath, fake.get(), QDBusConnection::SubPath));
        ASSERT_TRUE(m_serviceBus->registerService(kName));
        fake->singles = {
            {"IsMounted(1)", i32(1)}, {"IsMounted(4)", i32(0)}, {"NosepiecePosition", n(3)},
            {"NosepieceIsInterlockEnabled", n(0)}, {"UpperLimit(1)", d(6)}, {"ZDriveZPosition", i32(1000)},
            {"ObjectiveNames", QVariant(QStringList{"A", "B"})}, {"DeviceStatus(1)", i32(1)},
            {"FilterNumbers", QVariant::fromValue(QList<int>{7, 8})},
        };
        QDir().mkpath(QFileInfo(Common_LogPath()).absolutePath());
        QFile::remove(Common_LogPath());
        client = std::make_unique<DBusMicroscopeService>(QDBusConnection::sessionBus(), kName);
        client->Connect(0);
        QObject::connect(client.get(), &MicroscopeService::OnPropertyChanged, client.get(),
                         [this](const QString& m) { delivered << m; });
        fake->calls.clear();
    }

    void TearDown() override
    {
        client.reset();
        m_serviceBus->unregisterService(kName);
        m_serviceBus->unregisterObject(ZentorBus::ManagerPath, QDBusConnection::UnregisterTree);
        fake.reset();
        m_serviceBus.reset();
        QDBusConnection::disconnectFromBus(m_connectionName);
    }

    // Every Snapshot of microscope 0 answers `p`.
    void answer(const Picture& p)
    {
        fake->snapshot = [this, p](const QDBusMessage& call) { fake->send(p.replyTo(call)); };
    }

    static QStringList traceLines()
    {
        QFile f(Common_LogPath());
        if (!f.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(f.readAll()).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    }
    static QStringList traceWith(const QString& part)
    {
        QStringList out;
        for (const QString& l : traceLines())
            if (l.contains(part))
                out << l;
        return out;
    }

    std::unique_ptr<FakeService> fake;
    std::unique_ptr<DBusMicroscopeService> client;
    QStringList delivered;

private:
    QString m_connectionName;
    std::unique_ptr<QDBusConnection> m_serviceBus;
};

Picture fullPicture(quint64 sequence = 0)
{
    Picture p;
    p.sequence = sequence;
    p.values = {{"IsMounted(1)", i32(1)},
                {"IsMounted(4)", i32(0)},
                {"NosepiecePosition", n(5)},
                {"NosepieceIsInterlockEnabled", n(0)},
                {"UpperLimit(1)", d(6)},
                {"ZDriveZPosition", i32(2000)},
                {"ObjectiveNames", QVariant(QStringList{"P", "Q"})},
                {"FilterNumbers", QVariant::fromValue(QList<int>{1, 2, 3})},
                {"DeviceStatus(1)", i32(1)}};
    p.failures = {{"LampIsOn", SnapshotFailure{RunTimeError::ServiceFailure, QStringLiteral("the lamp's unit does not answer")}}};
    return p;
}

} // namespace

TEST_F(SnapshotClientTest, OneSnapshotAnswersEveryReadOfAGroup)
{
    answer(fullPicture());
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->IsMounted(1), 1);
        EXPECT_EQ(client->IsMounted(4), 0);
        EXPECT_EQ(client->NosepiecePosition(), 5);
        EXPECT_DOUBLE_EQ(client->UpperLimit(1), 6);
        EXPECT_EQ(client->ZDriveZPosition(), 2000);
        EXPECT_EQ(client->ObjectiveNames(), (QStringList{"P", "Q"}));
        EXPECT_EQ(client->FilterNumbers(), (QVector<int32_t>{1, 2, 3}));
        EXPECT_TRUE(client->readsFromPicture());
    }
    EXPECT_EQ(fake->calls.value(ZentorBus::SnapshotMember), 1);
    EXPECT_EQ(fake->calls.size(), 1) << QStringList(fake->calls.keys()).join(' ').toStdString();
    // Outside a group every read is a call of its own, as before.
    EXPECT_EQ(client->NosepiecePosition(), 3);
    EXPECT_EQ(fake->calls.value("NosepiecePosition"), 1);
    EXPECT_TRUE(traceLines().isEmpty()) << traceLines().join('\n').toStdString();
}

TEST_F(SnapshotClientTest, AFailureInTheSnapshotFailsAsTheSingleReadWould)
{
    answer(fullPicture());
    const ReadBatch reads(client.get());
    try {
        client->LampIsOn();
        FAIL() << "the read did not fail";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceFailure);
        EXPECT_EQ(e.description(), QStringLiteral("the lamp's unit does not answer"));
    }
    EXPECT_EQ(fake->calls.value("LampIsOn"), 0);
}

TEST_F(SnapshotClientTest, EventsAfterTheSnapshotKeepItCurrentInTheirOrder)
{
    // The service sends one event before its reply and fifty after it, all
    // at once: the reads follow the events delivered and never go back.
    fake->snapshot = [this](const QDBusMessage& call) {
        fake->event(QStringLiteral("AppZDriveZPosition:2000"));
        Picture p = fullPicture(fake->sent);
        fake->send(p.replyTo(call));
        for (int z = 2001; z <= 2050; ++z)
            fake->event(QStringLiteral("AppZDriveZPosition:%1").arg(z));
    };
    fake->singles["ZDriveZPosition"] = i32(2000);
    int lastDelivered = 0;
    QObject::connect(client.get(), &MicroscopeService::OnPropertyChanged, client.get(), [&](const QString& m) {
        lastDelivered = m.section(':', 1).toInt();
        // A read while the event is handed out already sees it (while the
        // picture is still on its way such a read is a call of its own).
        EXPECT_EQ(client->ZDriveZPosition(), lastDelivered);
    });
    const ReadBatch reads(client.get());
    int lastRead = 0;
    QVector<int> seen;
    while (lastRead < 2050 && seen.size() < 10000) {
        const int z = client->ZDriveZPosition();
        EXPECT_GE(z, lastDelivered);
        EXPECT_GE(z, lastRead);
        seen << z;
        lastRead = z;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    EXPECT_EQ(lastRead, 2050);
    EXPECT_LE(fake->calls.value("ZDriveZPosition"), 1);
    EXPECT_EQ(fake->calls.value(ZentorBus::SnapshotMember), 1);
}

TEST_F(SnapshotClientTest, ASnapshotOlderThanAnEventAppliedIsNotAppliedOverIt)
{
    answer(fullPicture(10));
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->ZDriveZPosition(), 2000);
    }
    // Events 11 and 12 arrive; the stand is at 2012 now.
    fake->event(QStringLiteral("AppZDriveZPosition:2011"));
    fake->event(QStringLiteral("AppZDriveZPosition:2012"));
    fake->singles["ZDriveZPosition"] = i32(2012);
    ASSERT_TRUE(waitUntil([&] { return delivered.size() == 2; }));
    // A service that answers a picture of event 11 after event 12.
    Picture old = fullPicture(11);
    old.values[5].second = i32(2011);
    answer(old);
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->ZDriveZPosition(), 2012);
        EXPECT_FALSE(client->readsFromPicture());
    }
    EXPECT_EQ(fake->calls.value("ZDriveZPosition"), 1);
    EXPECT_EQ(traceWith(QStringLiteral("its sequence 11 is older than event 12")).size(), 1)
        << traceLines().join('\n').toStdString();
    // A picture as new as the events is used again.
    answer(fullPicture(12));
    const ReadBatch reads(client.get());
    EXPECT_EQ(client->ZDriveZPosition(), 2000);
    EXPECT_TRUE(client->readsFromPicture());
}

TEST_F(SnapshotClientTest, BadEntriesAreReadSinglyAndNamedInOneLineOfTheTrace)
{
    Picture p = fullPicture();
    p.values = {
        {"IsMounted(1)", QVariant(QStringLiteral("one"))},              // a text, not an i
        {"NosepiecePosition", n(5)},
        {"NosepiecePosition", n(6)},                                    // given twice
        {"ObjectiveNames", QVariant(QStringList(2000, QStringLiteral("x")))},   // absurdly long
        {"FilterNumbers", QVariant::fromValue(QList<int>{1, 2, 3})},
        {"NoSuchRead(1)", n(1)},                                         // unknown: ignored
        {"IsMounted(4)", n(0)},                                          // an n, not an i
    };
    p.failures = {{"DeviceStatus(1)", SnapshotFailure{0, QStringLiteral("no code")}}};
    answer(p);
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->IsMounted(1), 1);
        EXPECT_EQ(client->IsMounted(4), 0);
        EXPECT_EQ(client->NosepiecePosition(), 3);
        EXPECT_EQ(client->ObjectiveNames(), (QStringList{"A", "B"}));
        EXPECT_EQ(client->DeviceStatus(1), 1);
        EXPECT_DOUBLE_EQ(client->UpperLimit(1), 6);          // missing from the picture
        EXPECT_EQ(client->FilterNumbers(), (QVector<int32_t>{1, 2, 3}));   // from the picture
    }
    for (const char* single : {"IsMounted", "NosepiecePosition", "ObjectiveNames", "DeviceStatus", "UpperLimit"})
        EXPECT_GE(fake->calls.value(single), 1) << single;
    EXPECT_EQ(fake->calls.value("FilterNumbers"), 0);
    const QStringList notBelieved = traceWith(QStringLiteral("entries not believed"));
    ASSERT_EQ(notBelieved.size(), 1) << traceLines().join('\n').toStdString();
    for (const char* key : {"IsMounted(1) (type s, not i)", "NosepiecePosition (given twice)", "ObjectiveNames (an array",
                            "IsMounted(4) (type n, not i)", "DeviceStatus(1) (a failure without a code)"})
        EXPECT_TRUE(notBelieved.first().contains(QLatin1String(key))) << key << ": " << notBelieved.first().toStdString();
    EXPECT_FALSE(notBelieved.first().contains(QLatin1String("NoSuchRead")));
    const QStringList missing = traceWith(QStringLiteral("did not hold these reads"));
    ASSERT_EQ(missing.size(), 1);
    EXPECT_TRUE(missing.first().contains(QLatin1String("UpperLimit(1)"))) << missing.first().toStdString();
}

TEST_F(SnapshotClientTest, ASnapshotOfAnAbsurdSizeIsNotUsed)
{
    Picture p;
    for (int k = 0; k < SnapshotPicture::kMaxEntries + 10; ++k)
        p.values.append({QStringLiteral("CustomValue(12,7,%1)").arg(k), d(1)});
    p.values.append({"NosepiecePosition", n(5)});
    answer(p);
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->NosepiecePosition(), 3);
        EXPECT_FALSE(client->readsFromPicture());
    }
    EXPECT_EQ(fake->calls.value("NosepiecePosition"), 1);
    EXPECT_EQ(traceWith(QStringLiteral("not used (more than 4096 entries)")).size(), 1)
        << traceLines().join('\n').toStdString();
}

TEST_F(SnapshotClientTest, AReplyOfTheWrongFormIsNotUsed)
{
    fake->snapshot = [this](const QDBusMessage& call) { fake->send(call.createReply(QVariant(QStringLiteral("?")))); };
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->NosepiecePosition(), 3);
    }
    EXPECT_EQ(traceWith(QStringLiteral("a reply of signature 's'")).size(), 1) << traceLines().join('\n').toStdString();
}

TEST_F(SnapshotClientTest, AServiceWithoutSnapshotIsReadSinglyAndTheTraceSaysSoOnce)
{
    fake->snapshot = nullptr;
    for (int group = 0; group < 3; ++group) {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->NosepiecePosition(), 3);
        EXPECT_EQ(client->IsMounted(1), 1);
    }
    EXPECT_EQ(fake->calls.value(ZentorBus::SnapshotMember), 1);
    EXPECT_EQ(fake->calls.value("NosepiecePosition"), 3);
    EXPECT_EQ(traceWith(QStringLiteral("offers no Snapshot")).size(), 1) << traceLines().join('\n').toStdString();
}

TEST_F(SnapshotClientTest, AServiceOfVersionOneZeroIsNotAskedForASnapshotAgain)
{
    // A driver written for 1.0, before Snapshot, in a process of its own: the
    // list's snapshot fails once, its version tells the rest, and no group
    // asks for a snapshot again.
    const QString name = QStringLiteral("org.zentor.SnapshotFakeOld");
    QDBusConnection bus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("snapshot-fake-old"));
    ASSERT_TRUE(bus.isConnected());
    FakeService old(bus);
    old.version = QStringLiteral("1.0");
    old.singles = fake->singles;
    ASSERT_TRUE(bus.registerVirtualObject(ZentorBus::ManagerPath, &old, QDBusConnection::SubPath));
    ASSERT_TRUE(bus.registerService(name));
    {
        DBusMicroscopeService oldClient(QDBusConnection::sessionBus(), name);
        for (int group = 0; group < 2; ++group) {
            const ReadBatch reads(&oldClient);
            EXPECT_EQ(oldClient.GetDeviceNames().size(), 3);
            if (group == 0)
                oldClient.Connect(0);
            EXPECT_EQ(oldClient.NosepiecePosition(), 3);
            EXPECT_FALSE(oldClient.readsFromPicture());
        }
        EXPECT_EQ(old.calls.value(ZentorBus::SnapshotMember), 1);
        EXPECT_EQ(old.calls.value("InterfaceVersion"), 1);
        EXPECT_EQ(old.calls.value("NosepiecePosition"), 2);
        EXPECT_EQ(old.calls.value("GetDeviceNames"), 2);
        oldClient.Disconnect();
    }
    bus.unregisterService(name);
    bus.unregisterObject(ZentorBus::ManagerPath, QDBusConnection::UnregisterTree);
    QDBusConnection::disconnectFromBus(QStringLiteral("snapshot-fake-old"));
}

TEST_F(SnapshotClientTest, TheListsSnapshotTellsTheVersionAndAnotherClientNeedsNotAsk)
{
    fake->listSnapshot = [this](const QDBusMessage& call) {
        Picture p;
        p.values = {{"InterfaceVersion", QVariant(ZentorBus::servedVersion().text())},
                    {"GetDeviceNames", QVariant(QStringList{"Simulated", "Stand A", "Stand B"})}};
        fake->send(p.replyTo(call));
    };
    DBusMicroscopeService second(QDBusConnection::sessionBus(), kName);
    {
        const ReadBatch reads(&second);
        EXPECT_EQ(second.GetDeviceNames().size(), 3);
    }
    second.Connect(0);
    EXPECT_EQ(second.serviceVersion(), ZentorBus::servedVersion().text());
    // The fixture's client was told the version by this process already.
    EXPECT_EQ(fake->calls.value("InterfaceVersion"), 0);
    second.Disconnect();
}

TEST_F(SnapshotClientTest, CommandsGoOneByOneAndWhatTheyChangeIsAskedAfresh)
{
    answer(fullPicture());
    const ReadBatch reads(client.get());
    EXPECT_EQ(client->NosepieceIsInterlockEnabled(), 0);
    client->setNosepieceIsInterlockEnabled(1);
    EXPECT_EQ(fake->calls.value("setNosepieceIsInterlockEnabled"), 1);
    EXPECT_EQ(client->NosepieceIsInterlockEnabled(), 1);
    EXPECT_EQ(fake->calls.value("NosepieceIsInterlockEnabled"), 1);
    // What the command did not touch still comes from the picture.
    EXPECT_EQ(client->NosepiecePosition(), 5);
    EXPECT_EQ(fake->calls.value("NosepiecePosition"), 0);
    // A raw command may change anything: the next read takes a new picture.
    QString reply;
    fake->singles["SendCommand(cOPS2)"] = QVariant(QStringLiteral("cOPS2"));
    client->SendCommand(QStringLiteral("cOPS2"), reply);
    EXPECT_EQ(client->NosepiecePosition(), 5);
    EXPECT_EQ(fake->calls.value(ZentorBus::SnapshotMember), 2);
}

TEST_F(SnapshotClientTest, AMessageBoxBetweenReadsMeansANewPicture)
{
    answer(fullPicture());
    const ReadBatch reads(client.get());
    EXPECT_EQ(client->NosepiecePosition(), 5);
    operatorWait::mark();   // a box opens...
    operatorWait::mark();   // ...and is answered
    EXPECT_EQ(client->NosepiecePosition(), 5);
    EXPECT_EQ(fake->calls.value(ZentorBus::SnapshotMember), 2);
}

TEST_F(SnapshotClientTest, TheListOfMicroscopesIsReadInOneCall)
{
    fake->listSnapshot = [this](const QDBusMessage& call) {
        Picture p;
        p.values = {{"GetDeviceNames", QVariant(QStringList{"Simulated", "Stand A", "Stand B"})},
                    {"IsDeviceAvailable(0)", n(1)}, {"IsDeviceAvailable(1)", n(1)}, {"IsDeviceAvailable(2)", n(0)}};
        fake->send(p.replyTo(call));
    };
    {
        const ReadBatch reads(client.get());
        EXPECT_EQ(client->GetDeviceNames().size(), 3);
        EXPECT_EQ(client->IsDeviceAvailable(1), 1);
        EXPECT_EQ(client->IsDeviceAvailable(2), 0);
    }
    EXPECT_EQ(fake->calls.value(ZentorBus::SnapshotMember), 1);
    EXPECT_EQ(fake->calls.value("GetDeviceNames"), 0);
    EXPECT_EQ(fake->calls.value("IsDeviceAvailable"), 0);
}

TEST_F(SnapshotClientTest, AnEventWhoseValueIsNotTheReadsIsAskedAfresh)
{
    answer(fullPicture());
    const ReadBatch reads(client.get());
    EXPECT_EQ(client->ZDriveZPosition(), 2000);
    fake->event(QStringLiteral("AppZDriveZPosition:abc"));
    fake->singles["ZDriveZPosition"] = i32(2100);
    ASSERT_TRUE(waitUntil([&] { return !delivered.isEmpty(); }));
    settle();
    EXPECT_EQ(client->ZDriveZPosition(), 2100);
    EXPECT_EQ(fake->calls.value("ZDriveZPosition"), 1);
}
