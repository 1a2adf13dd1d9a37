// The service process's Snapshot on a private bus: each entry is what the
// single read of that key answers (values and failures alike), its sequence
// counts the events sent, grouped reads racing a streaming move never show an
// older position after a newer one, and a service started without Snapshot
// is read one value at a time. SnapshotOf answers the named reads alone,
// each as the whole Snapshot gives it.
#include "ServiceProcess.h"
#include "WaitUntil.h"
#include "core/base/mdlCommon.h"
#include "core/service/ReadBatch.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <gtest/gtest.h>

namespace {

QStringList descriptions()
{
    QStringList args;
    for (const char* f : {"full-system.json", "hbxb-without-q7s.json", "camera-unknown-head.json"})
        args << QStringLiteral("--stand") << QStringLiteral(ZENTOR_STAND_DESCRIPTIONS "/") + QLatin1String(f);
    return args;
}

QDBusMessage callDevice(int index, const QString& member, const QVariantList& args = {})
{
    QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(index),
                                                    ZentorBus::DeviceInterface, member);
    m.setArguments(args);
    return QDBusConnection::sessionBus().call(m, QDBus::Block, 60000);
}

// A value as text, arrays element by element, so that a snapshot's entry and
// a single reply compare whatever form Qt gave each.
QString text(const QVariant& v)
{
    if (v.userType() == qMetaTypeId<QDBusArgument>()) {
        const QDBusArgument a = v.value<QDBusArgument>();
        const QString sig = a.currentSignature();
        QStringList items;
        a.beginArray();
        while (!a.atEnd()) {
            if (sig == QLatin1String("ai")) {
                int x = 0;
                a >> x;
                items << QString::number(x);
            } else {
                double x = 0;
                a >> x;
                items << QString::number(x, 'g', 17);
            }
        }
        a.endArray();
        return sig + QLatin1Char(':') + items.join(',');
    }
    if (v.metaType() == QMetaType::fromType<QStringList>())
        return QStringLiteral("as:") + v.toStringList().join('|');
    if (v.metaType() == QMetaType::fromType<double>())
        return QStringLiteral("d:") + QString::number(v.toDouble(), 'g', 17);
    return QString::fromLatin1(v.metaType().name()) + QLatin1Char(':') + v.toString();
}

// The arguments a key names, in the types its member takes.
QVariantList argumentsOf(const QString& key)
{
    QVariantList args;
    ZentorBus::readOfKey(key, ZentorBus::deviceMethods(), args);
    return args;
}

struct Taken {
    quint64 sequence = 0;
    QMap<QString, QString> values;     // key -> text of the value
    QMap<QString, int32_t> failures;   // key -> code
};

Taken takenFrom(const QDBusMessage& reply)
{
    Taken t;
    EXPECT_EQ(reply.signature(), ZentorBus::SnapshotSignature) << reply.errorMessage().toStdString();
    if (reply.signature() != ZentorBus::SnapshotSignature)
        return t;
    t.sequence = reply.arguments().at(0).toULongLong();
    const QDBusArgument values = reply.arguments().at(1).value<QDBusArgument>();
    values.beginMap();
    while (!values.atEnd()) {
        QString key;
        QDBusVariant v;
        values.beginMapEntry();
        values >> key >> v;
        values.endMapEntry();
        EXPECT_FALSE(t.values.contains(key)) << key.toStdString();
        t.values.insert(key, text(v.variant()));
    }
    values.endMap();
    const QDBusArgument failures = reply.arguments().at(2).value<QDBusArgument>();
    failures.beginMap();
    while (!failures.atEnd()) {
        QString key;
        int32_t code = 0;
        QString why;
        failures.beginMapEntry();
        failures >> key;
        failures.beginStructure();
        failures >> code >> why;
        failures.endStructure();
        failures.endMapEntry();
        EXPECT_FALSE(t.values.contains(key) || t.failures.contains(key)) << key.toStdString();
        t.failures.insert(key, code);
    }
    failures.endMap();
    return t;
}

Taken snapshotOf(int index)
{
    return takenFrom(callDevice(index, ZentorBus::SnapshotMember));
}

Taken snapshotOfReads(int index, const QStringList& reads)
{
    return takenFrom(callDevice(index, ZentorBus::SnapshotOfMember, {QVariant(reads)}));
}

// Every entry of the snapshot against the single read of its key.
void expectSingleReadsAgree(int index, const Taken& t)
{
    for (auto it = t.values.cbegin(); it != t.values.cend(); ++it) {
        const QString member = it.key().section(QLatin1Char('('), 0, 0);
        const QDBusMessage single = callDevice(index, member, argumentsOf(it.key()));
        ASSERT_EQ(single.type(), QDBusMessage::ReplyMessage) << it.key().toStdString() << ": "
                                                             << single.errorMessage().toStdString();
        EXPECT_EQ(text(single.arguments().value(0)), it.value()) << it.key().toStdString();
    }
    for (auto it = t.failures.cbegin(); it != t.failures.cend(); ++it) {
        const QString member = it.key().section(QLatin1Char('('), 0, 0);
        const QDBusMessage single = callDevice(index, member, argumentsOf(it.key()));
        ASSERT_EQ(single.type(), QDBusMessage::ErrorMessage) << it.key().toStdString();
        EXPECT_EQ(ZentorBus::errorFromMessage(single).number(), it.value()) << it.key().toStdString();
    }
}

class SnapshotServiceTest : public ::testing::Test {
protected:
    void start(QStringList extra = {})
    {
        QDir().mkpath(QFileInfo(Common_LogPath()).absolutePath());
        QFile::remove(Common_LogPath());
        ASSERT_TRUE(service.start(descriptions() + extra)) << service.error().toStdString();
    }
    ServiceProcess service;
};

} // namespace

TEST_F(SnapshotServiceTest, EachEntryIsWhatTheSingleReadOfItsKeyAnswers)
{
    start({QStringLiteral("--speed"), QStringLiteral("0")});
    for (int index = 0; index <= 3; ++index) {
        const Taken t = snapshotOf(index);
        EXPECT_GT(t.values.size(), 200) << index;
        EXPECT_TRUE(t.values.contains(QStringLiteral("CustomValue(12,7,1)")));
        EXPECT_TRUE(t.values.contains(QStringLiteral("SendCommand(rXPR1)")));
        expectSingleReadsAgree(index, t);
    }
    // A dead unit: its devices' reads are failures, with the single read's code.
    DBusStandControl control(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService, 1);
    control.killUnit(UnitIndex::Q7s);
    const Taken dead = snapshotOf(1);
    EXPECT_TRUE(dead.failures.contains(QStringLiteral("NosepiecePosition")));
    EXPECT_NE(dead.values.value(QStringLiteral("DeviceStatus(1)")), QStringLiteral("int:1"));
    expectSingleReadsAgree(1, dead);
}

TEST_F(SnapshotServiceTest, SnapshotOfAnswersTheNamedReadsAloneAsTheWholeSnapshot)
{
    start({QStringLiteral("--speed"), QStringLiteral("0")});
    DBusStandControl control(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService, 1);
    control.killUnit(UnitIndex::Q7s);   // a failure among the named reads
    const Taken whole = snapshotOf(1);
    ASSERT_TRUE(whole.failures.contains(QStringLiteral("NosepiecePosition")));
    const QStringList named{QStringLiteral("NDFilterTransmission"), QStringLiteral("IsMounted(14)"),
                            QStringLiteral("CustomValue(12,7,1)"), QStringLiteral("SendCommand(rXPR1)"),
                            QStringLiteral("NosepiecePosition"), QStringLiteral("NoSuchRead"),
                            QStringLiteral("IsMounted(99)"), QStringLiteral("NDFilterTransmission")};
    const Taken some = snapshotOfReads(1, named);
    EXPECT_EQ(some.sequence, whole.sequence);
    // Each read named that the whole Snapshot holds, once, as it gives it;
    // the names of no read are left out.
    int known = 0;
    for (const QString& key : QSet<QString>(named.cbegin(), named.cend())) {
        if (whole.values.contains(key)) {
            EXPECT_EQ(some.values.value(key), whole.values.value(key)) << key.toStdString();
            ++known;
        } else if (whole.failures.contains(key)) {
            EXPECT_EQ(some.failures.value(key), whole.failures.value(key)) << key.toStdString();
            ++known;
        } else {
            EXPECT_FALSE(some.values.contains(key) || some.failures.contains(key)) << key.toStdString();
        }
    }
    EXPECT_EQ(known, 5);
    EXPECT_EQ(some.values.size() + some.failures.size(), known);
    EXPECT_TRUE(some.failures.contains(QStringLiteral("NosepiecePosition")));
    expectSingleReadsAgree(1, some);
    // None named: an empty picture.
    const Taken none = snapshotOfReads(1, {});
    EXPECT_TRUE(none.values.isEmpty() && none.failures.isEmpty());
}

TEST_F(SnapshotServiceTest, SnapshotOfRefusesMoreReadsThanItsBound)
{
    start({QStringLiteral("--speed"), QStringLiteral("0")});
    QStringList many;
    for (int i = 0; i < ZentorBus::kSnapshotOfMaxReads; ++i)
        many << QStringLiteral("NDFilterTransmission");
    EXPECT_EQ(snapshotOfReads(1, many).values.size(), 1);   // the bound itself is taken
    many << QStringLiteral("NDFilterTransmission");
    const QDBusMessage refused = callDevice(1, ZentorBus::SnapshotOfMember, {QVariant(many)});
    ASSERT_EQ(refused.type(), QDBusMessage::ErrorMessage);
    EXPECT_EQ(ZentorBus::errorFromMessage(refused).number(), RunTimeError::ServiceInvalidArgument);
    EXPECT_TRUE(refused.errorMessage().contains(QStringLiteral("at most 4096"))) << refused.errorMessage().toStdString();
    // The service goes on answering.
    EXPECT_EQ(snapshotOfReads(1, {QStringLiteral("IsMounted(1)")}).values.size(), 1);
}

TEST_F(SnapshotServiceTest, AServiceOfInterface11HasSnapshotAndNotSnapshotOf)
{
    start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--interface-version"), QStringLiteral("1.1")});
    EXPECT_GT(snapshotOf(1).values.size(), 200);
    const QDBusMessage refused = callDevice(1, ZentorBus::SnapshotOfMember, {QVariant(QStringList{"IsMounted(1)"})});
    EXPECT_EQ(refused.type(), QDBusMessage::ErrorMessage);
    // As any member a service does not have: the client takes it so.
    EXPECT_TRUE(refused.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod") ||
                refused.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownInterface"))
        << refused.errorName().toStdString();
}

TEST_F(SnapshotServiceTest, ItsSequenceCountsTheEventsTheMicroscopeSent)
{
    start({QStringLiteral("--speed"), QStringLiteral("20")});
    DBusMicroscopeService watcher;
    watcher.Connect(1);
    int events = 0;
    QObject::connect(&watcher, &MicroscopeService::OnPropertyChanged, &watcher, [&](const QString&) { ++events; });
    const quint64 before = snapshotOf(1).sequence;
    DBusMicroscopeService mover;
    mover.Connect(1);
    mover.setXYDriveXPosition(mover.XYDriveXPosition() + 4000);
    mover.setNosepiecePosition(mover.NosepiecePosition() == 2 ? 3 : 2);
    const quint64 after = snapshotOf(1).sequence;
    ASSERT_TRUE(waitUntil([&] { return static_cast<quint64>(events) >= after - before; }));
    EXPECT_GT(after, before);
    EXPECT_EQ(after - before, static_cast<quint64>(events));
}

TEST_F(SnapshotServiceTest, GroupedReadsRacingAStreamingMoveNeverShowAnOlderPosition)
{
    start({QStringLiteral("--speed"), QStringLiteral("1")});
    DBusMicroscopeService reader;
    reader.Connect(1);
    const int32_t from = reader.XYDriveXPosition();
    const double lo = reader.LowerLimit(LimitIndex::XYDriveX);
    const double hi = reader.UpperLimit(LimitIndex::XYDriveX);
    const int32_t to = (from - lo) < (hi - from) ? static_cast<int32_t>(hi) : static_cast<int32_t>(lo);
    const int direction = to > from ? 1 : -1;
    int32_t lastEvent = from;
    QObject::connect(&reader, &MicroscopeService::OnPropertyChanged, &reader, [&](const QString& m) {
        if (m.startsWith(QLatin1String("AppXYDriveXPosition:")))
            lastEvent = m.section(QLatin1Char(':'), 1).toInt();
    });

    // The move is another client's, sent and not waited for.
    QDBusConnection moverBus = QDBusConnection::connectToBus(QDBusConnection::SessionBus, QStringLiteral("mover"));
    QDBusMessage move = QDBusMessage::createMethodCall(ZentorBus::MicroscopeService, ZentorBus::devicePath(1),
                                                       ZentorBus::DeviceInterface, QStringLiteral("setXYDriveXPosition"));
    move << to;
    QDBusPendingCall moving = moverBus.asyncCall(move, 600000);

    int32_t lastRead = from;
    int groups = 0, readsFromPicture = 0, between = 0;
    QDeadlineTimer limit(120000);
    while (!limit.hasExpired()) {
        const bool arrived = moving.isFinished();
        {
            // Three kinds of group take turns: one of its own (the whole
            // Snapshot), a named one of two reads (from its second time on
            // the SnapshotOf of those), a named one of one read (from its
            // second time on that read's own call).
            const int kind = groups % 3;
            const ReadBatch reads(&reader, kind == 0   ? QString()
                                           : kind == 1 ? QStringLiteral("racing")
                                                       : QStringLiteral("racing-one-read"));
            if (kind == 1)
                reader.XYDriveYPosition();
            for (int k = 0; k < 3; ++k) {
                const int32_t x = reader.XYDriveXPosition();
                // Never behind an event already delivered, never behind the
                // read before it.
                EXPECT_GE((x - lastEvent) * direction, 0) << "read " << x << " after event " << lastEvent;
                EXPECT_GE((x - lastRead) * direction, 0) << "read " << x << " after read " << lastRead;
                if ((x - lastRead) * direction > 0 && k > 0)
                    ++between;   // an event moved the picture within the group
                lastRead = x;
                readsFromPicture += reader.readsFromPicture() ? 1 : 0;
                if (k == 0 && !arrived) {
                    // While the stage streams, the next report comes between
                    // the group's first two reads: the picture follows it.
                    const int32_t seen = lastEvent;
                    waitUntil([&] { return lastEvent != seen; }, 500);
                } else {
                    QCoreApplication::processEvents(QEventLoop::AllEvents, 2);
                }
            }
        }
        ++groups;
        if (arrived && lastRead == to)
            break;
    }
    EXPECT_TRUE(moving.isFinished());
    EXPECT_EQ(lastRead, to);
    EXPECT_GT(groups, 5);
    EXPECT_EQ(readsFromPicture, groups * 3);
    EXPECT_GT(between, 0);
    QDBusConnection::disconnectFromBus(QStringLiteral("mover"));
}

TEST_F(SnapshotServiceTest, AServiceWithoutSnapshotIsReadOneValueAtATime)
{
    start({QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--interface-version"), QStringLiteral("1.0")});
    const QDBusMessage refused = callDevice(1, ZentorBus::SnapshotMember);
    EXPECT_EQ(refused.type(), QDBusMessage::ErrorMessage);
    QDBusMessage introspect = QDBusMessage::createMethodCall(
        ZentorBus::MicroscopeService, ZentorBus::devicePath(1), QStringLiteral("org.freedesktop.DBus.Introspectable"),
        QStringLiteral("Introspect"));
    const QString xml = QDBusConnection::sessionBus().call(introspect).arguments().value(0).toString();
    EXPECT_FALSE(xml.contains(QLatin1String("\"Snapshot\""))) << xml.toStdString();

    DBusMicroscopeService client;
    client.Connect(1);
    for (int group = 0; group < 2; ++group) {
        const ReadBatch reads(&client);
        EXPECT_EQ(client.DeviceStatus(UnitIndex::Q7s), 1);
        EXPECT_EQ(client.IsMounted(DeviceIndex::Nosepiece), 1);
        EXPECT_FALSE(client.readsFromPicture());
    }
    QFile trace(Common_LogPath());
    ASSERT_TRUE(trace.open(QIODevice::ReadOnly));
    EXPECT_EQ(QString::fromUtf8(trace.readAll()).count(QLatin1String("offers no Snapshot")), 1);
}

TEST_F(SnapshotServiceTest, IntrospectionShowsSnapshotWithItsThreeResults)
{
    start({QStringLiteral("--speed"), QStringLiteral("0")});
    for (const QString& path : {ZentorBus::ManagerPath, ZentorBus::devicePath(1)}) {
        QDBusMessage introspect = QDBusMessage::createMethodCall(
            ZentorBus::MicroscopeService, path, QStringLiteral("org.freedesktop.DBus.Introspectable"),
            QStringLiteral("Introspect"));
        const QString xml = QDBusConnection::sessionBus().call(introspect).arguments().value(0).toString();
        EXPECT_TRUE(xml.contains(QLatin1String("<method name=\"Snapshot\">"))) << xml.toStdString();
        EXPECT_TRUE(xml.contains(QLatin1String("<arg name=\"sequence\" type=\"t\" direction=\"out\"/>")));
        EXPECT_TRUE(xml.contains(QLatin1String("<arg name=\"values\" type=\"a{sv}\" direction=\"out\"/>")));
        EXPECT_TRUE(xml.contains(QLatin1String("<arg name=\"failures\" type=\"a{s(is)}\" direction=\"out\"/>")));
    }
}
