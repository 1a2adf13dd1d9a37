#include "core/service/conformance/SnapshotChecks.h"

#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/SnapshotPicture.h"

#include <QDBusMessage>
#include <QDBusObjectPath>

namespace SnapshotChecks {

namespace {

// Reads answer at once; a minute is beyond any service that works.
constexpr int kAnswerMs = 60000;
// At most this many disagreements are named in one line.
constexpr int kNamed = 12;

QDBusMessage call(const QDBusConnection& bus, const QString& busName, const QString& path,
                  const QString& interfaceName, const QString& member, const QVariantList& args = {})
{
    QDBusMessage msg = QDBusMessage::createMethodCall(busName, path, interfaceName, member);
    msg.setArguments(args);
    return bus.call(msg, QDBus::Block, kAnswerMs);
}

QString errorOf(const QDBusMessage& reply)
{
    return reply.errorName() + QStringLiteral(": ") + reply.errorMessage();
}

QString shown(const QVariant& v)
{
    if (v.metaType().id() == QMetaType::QVariantList) {
        QStringList items;
        for (const QVariant& x : v.toList())
            items << x.toString();
        return QLatin1Char('[') + items.join(QLatin1Char(',')) + QLatin1Char(']');
    }
    if (v.metaType().id() == QMetaType::QStringList)
        return QStringLiteral("[\"") + v.toStringList().join(QStringLiteral("\",\"")) + QStringLiteral("\"]");
    return v.toString();
}

// One key of the picture against its single read: empty when they agree,
// else what differs.
QString disagreement(const QDBusConnection& bus, const QString& busName, const QString& path,
                     const QString& interfaceName, const QVector<ZentorBus::Method>& methods,
                     const QString& key, const SnapshotPicture::Entry& entry)
{
    QVariantList args;
    const ZentorBus::Method* m = ZentorBus::readOfKey(key, methods, args);
    if (!m)
        return key + QStringLiteral(": not a read of ") + interfaceName;
    const QDBusMessage single = call(bus, busName, path, interfaceName, m->name, args);
    if (entry.failure != 0) {
        if (single.type() != QDBusMessage::ErrorMessage)
            return QStringLiteral("%1: a failure %2 in the snapshot, the single read answers a value")
                .arg(key, ZentorBus::errorName(entry.failure));
        const RunTimeError e = ZentorBus::errorFromMessage(single);
        if (e.number() != entry.failure)
            return QStringLiteral("%1: failure %2 in the snapshot, %3 from the single read")
                .arg(key, ZentorBus::errorName(entry.failure), ZentorBus::errorName(e.number()));
        return {};
    }
    if (single.type() != QDBusMessage::ReplyMessage)
        return QStringLiteral("%1: %2 in the snapshot, the single read fails (%3)")
            .arg(key, shown(entry.value), errorOf(single));
    QVariant value;
    QString why;
    if (!SnapshotPicture::asKept(single.arguments().value(0), m->out, value, why))
        return QStringLiteral("%1: the single read answers %2").arg(key, why);
    if (value != entry.value)
        return QStringLiteral("%1: %2 in the snapshot, %3 from the single read").arg(key, shown(entry.value), shown(value));
    return {};
}

QString summary(const QStringList& keys, uint64_t sequence, const QStringList& problems)
{
    QString got = QStringLiteral("%1 entries, sequence %2").arg(keys.size()).arg(sequence);
    if (!problems.isEmpty()) {
        got += QStringLiteral("; ") + problems.mid(0, kNamed).join(QStringLiteral("; "));
        if (problems.size() > kNamed)
            got += QStringLiteral("; and %1 more").arg(problems.size() - kNamed);
    }
    return got;
}

// One picture's reply taken, each entry against its single read: the
// problems, and the picture in `picture`; false when the reply is no picture
// at all (`problems` then says why).
bool takeAndCompare(const QDBusConnection& bus, const QString& busName, const QString& path,
                    const QString& interfaceName, const QVector<ZentorBus::Method>& methods, const QDBusMessage& reply,
                    SnapshotPicture& picture, QStringList& problems)
{
    if (reply.type() != QDBusMessage::ReplyMessage) {
        problems << errorOf(reply);
        return false;
    }
    const SnapshotPicture::Taken taken = picture.take(reply, methods);
    if (!taken.usable) {
        problems << taken.problem;
        return false;
    }
    problems << taken.leftOut;
    for (const QString& key : picture.keys()) {
        const QString d = disagreement(bus, busName, path, interfaceName, methods, key, *picture.find(key));
        if (!d.isEmpty())
            problems << d;
    }
    return true;
}

// One Snapshot (of the manager or of a microscope) against the single reads;
// the keys it holds.
QStringList checkOne(const QDBusConnection& bus, const QString& busName, const QString& path,
                     const QString& interfaceName, const QVector<ZentorBus::Method>& methods, CheckReport& report)
{
    const QString what = QStringLiteral("Snapshot() of %1").arg(path);
    const QString expected = QStringLiteral("'%1', each entry of its read's type and as its single read answers it")
                                 .arg(ZentorBus::SnapshotSignature);
    SnapshotPicture picture;
    QStringList problems;
    if (!takeAndCompare(bus, busName, path, interfaceName, methods,
                        call(bus, busName, path, interfaceName, ZentorBus::SnapshotMember), picture, problems)) {
        report.fail(what, expected, problems.join(QStringLiteral("; ")));
        return {};
    }
    const QStringList keys = picture.keys();
    const QString got = summary(keys, picture.sequence(), problems);
    report.check(problems.isEmpty() && !keys.isEmpty(), what, expected, keys.isEmpty() ? got + QStringLiteral(" (empty)") : got);
    return keys;
}

// SnapshotOf of a microscope: asked for some of the Snapshot's reads (and
// for reads that are none), it answers exactly those, each as its single
// read; asked for all of them, all of them.
void checkSnapshotOf(const QDBusConnection& bus, const QString& busName, const QString& path,
                     const QStringList& snapshotKeys, CheckReport& report)
{
    const QStringList unknown{QStringLiteral("NoSuchRead"), QStringLiteral("IsMounted(99)")};
    const QStringList few = snapshotKeys.mid(0, 3) + snapshotKeys.mid(snapshotKeys.size() - 2);
    for (const QStringList& asked : {few, snapshotKeys}) {
        const QString what = QStringLiteral("SnapshotOf(%1 reads of the Snapshot and %2 that are none) of %3")
                                 .arg(asked.size()).arg(unknown.size()).arg(path);
        const QString expected = QStringLiteral("'%1' with exactly the %2 reads of the Snapshot named, each as its "
                                                "single read answers it")
                                     .arg(ZentorBus::SnapshotSignature).arg(asked.size());
        SnapshotPicture picture;
        QStringList problems;
        if (!takeAndCompare(bus, busName, path, ZentorBus::DeviceInterface, ZentorBus::deviceMethods(),
                            call(bus, busName, path, ZentorBus::DeviceInterface, ZentorBus::SnapshotOfMember,
                                 {QVariant(asked + unknown)}),
                            picture, problems)) {
            report.fail(what, expected, problems.join(QStringLiteral("; ")));
            continue;
        }
        QStringList wanted = asked;
        wanted.removeDuplicates();
        wanted.sort();
        const QStringList keys = picture.keys();
        for (const QString& key : keys)
            if (!wanted.contains(key))
                problems << key + QStringLiteral(": not asked for");
        for (const QString& key : wanted)
            if (!keys.contains(key))
                problems << key + QStringLiteral(": left out");
        report.check(problems.isEmpty(), what, expected, summary(keys, picture.sequence(), problems));
    }
}

} // namespace

void check(const QDBusConnection& bus, const QString& busName, int index, const QString& servedVersion,
           CheckReport& report)
{
    const ZentorBus::InterfaceVersion served = ZentorBus::InterfaceVersion::parse(servedVersion);
    if (served.minor < ZentorBus::kSnapshotMinor) {
        report.skip(QStringLiteral("Snapshot()"),
                    QStringLiteral("the service serves interface version %1; Snapshot came with %2.%3, and the "
                                   "panel reads such a service one value at a time")
                        .arg(servedVersion).arg(served.major).arg(ZentorBus::kSnapshotMinor));
        return;
    }
    checkOne(bus, busName, ZentorBus::ManagerPath, ZentorBus::ManagerInterface, ZentorBus::managerMethods(), report);
    const QDBusMessage connected = call(bus, busName, ZentorBus::ManagerPath, ZentorBus::ManagerInterface,
                                        QStringLiteral("Connect"), {QVariant::fromValue<short>(static_cast<short>(index))});
    const QString path = ZentorBus::devicePath(index);
    if (connected.type() != QDBusMessage::ReplyMessage) {
        report.skip(QStringLiteral("Snapshot() of %1").arg(path),
                    QStringLiteral("Connect(%1) failed: %2").arg(index).arg(errorOf(connected)));
        return;
    }
    const QStringList keys = checkOne(bus, busName, path, ZentorBus::DeviceInterface, ZentorBus::deviceMethods(), report);
    if (served.minor < ZentorBus::kSnapshotOfMinor)
        report.skip(QStringLiteral("SnapshotOf() of %1").arg(path),
                    QStringLiteral("the service serves interface version %1; SnapshotOf came with %2.%3, and the "
                                   "panel takes the whole Snapshot of such a service")
                        .arg(servedVersion).arg(served.major).arg(ZentorBus::kSnapshotOfMinor));
    else if (!keys.isEmpty())
        checkSnapshotOf(bus, busName, path, keys, report);
    call(bus, busName, path, ZentorBus::DeviceInterface, QStringLiteral("Disconnect"));
}

} // namespace SnapshotChecks
