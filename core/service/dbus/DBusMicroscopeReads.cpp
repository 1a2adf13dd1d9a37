// DBusMicroscopeService: reads answered from the service's Snapshot inside a
// group of reads (beginReads .. endReads), commands that take what they may
// change out of the picture, and the trace of what the picture did not hold.
#include "core/service/dbus/DBusMicroscopeService.h"

#include "core/base/BlockingWait.h"
#include "core/base/OperatorWait.h"
#include "core/base/mdlCommon.h"
#include "core/service/dbus/BusLayout.h"

#include <QEventLoop>
#include <QHash>
#include <QPointer>
#include <utility>

namespace {

// At most this many keys are named in one line of the trace.
constexpr int kNamedInTrace = 24;
// What named groups read is kept for at most this many groups, each of at
// most this many reads (beyond, the whole Snapshot is as cheap).
constexpr int kLearnedGroups = 64;
constexpr int kLearnedReads = 256;

QString listed(const QStringList& items)
{
    QString text = items.mid(0, kNamedInTrace).join(QStringLiteral(", "));
    if (items.size() > kNamedInTrace)
        text += QStringLiteral(" and %1 more").arg(items.size() - kNamedInTrace);
    return text;
}

// One line of the debug trace; a trace that cannot be written is no reason
// for a read to fail.
void trace(const QString& line)
{
    try {
        Common_Log(line);
    } catch (const std::exception&) {
    }
}

// The error of a service that has no Snapshot at all (a driver written
// before it), as against one that failed to answer it.
bool offersNoSnapshot(const QDBusError& error)
{
    switch (error.type()) {
    case QDBusError::UnknownMethod:
    case QDBusError::UnknownInterface:
    case QDBusError::UnknownObject:
        return true;
    default:
        return false;
    }
}

} // namespace

namespace {
bool& snapshotsInUse()
{
    static bool used = qEnvironmentVariable("ZENTOR_READ_ONE_AT_A_TIME") != QLatin1String("1");
    return used;
}
} // namespace

bool DBusMicroscopeService::snapshotsUsed() { return snapshotsInUse(); }
void DBusMicroscopeService::setSnapshotsUsed(bool used) { snapshotsInUse() = used; }

void DBusMicroscopeService::beginReads(const QString& group)
{
    if (m_readDepth++ == 0) {
        m_group = group;
        m_groupReads.clear();
    }
}

void DBusMicroscopeService::endReads()
{
    if (m_readDepth == 0)
        return;
    if (--m_readDepth == 0)
        letPicturesGo();
}

void DBusMicroscopeService::letPicturesGo()
{
    // What a named group read is what it asks for the next time.
    if (!m_group.isEmpty() && !m_groupReads.isEmpty() && m_groupReads.size() <= kLearnedReads &&
        (m_learned.contains(m_group) || m_learned.size() < kLearnedGroups)) {
        QStringList reads(m_groupReads.cbegin(), m_groupReads.cend());
        reads.sort();
        m_learned.insert(m_group, reads);
    }
    m_group.clear();
    m_groupReads.clear();
    if (!m_readSingly.isEmpty())
        trace(QStringLiteral("Snapshot of %1 did not hold these reads, read singly: %2").arg(m_peer, listed(m_readSingly)));
    m_readSingly.clear();
    m_picture.clear();
    m_pictureAsked = false;
    m_pictureUsable = false;
    m_forgetWhenTaken.clear();
    // A Snapshot still on its way belongs to no group now: whoever waits for
    // it reads singly.
    m_pictureDone = true;
    if (m_pictureWait)
        m_pictureWait->quit();
    m_listPicture.clear();
    m_listAsked = false;
    m_listUsable = false;
}

void DBusMicroscopeService::resetPictures()
{
    m_readSingly.clear();
    letPicturesGo();
    m_counting = false;
    m_sequence = 0;
}

// --- reads ------------------------------------------------------------------------

QVariant DBusMicroscopeService::read(const char* member, const QVariantList& args)
{
    if (const SnapshotPicture::Entry* e = pictured(QLatin1String(member), args)) {
        if (e->failure != 0)
            throw RunTimeError(e->failure, e->failureText);
        return e->value;
    }
    return callDevice(member, args);
}

QVariant DBusMicroscopeService::readManager(const char* member, const QVariantList& args)
{
    if (const SnapshotPicture::Entry* e = picturedList(QLatin1String(member), args)) {
        if (e->failure != 0)
            throw RunTimeError(e->failure, e->failureText);
        return e->value;
    }
    const QVariantList out = callManager(QLatin1String(member), args).arguments();
    return out.isEmpty() ? QVariant() : out.first();
}

const SnapshotPicture::Entry* DBusMicroscopeService::pictured(const QString& member, const QVariantList& args,
                                                              bool counted)
{
    if (m_readDepth == 0 || m_path.isEmpty() || m_noSnapshot || m_waitingForPicture || !snapshotsUsed())
        return nullptr;
    if (!m_pictureAsked || m_pictureMarks != operatorWait::count())
        askPicture();
    if (!m_pictureDone)
        waitForPicture();
    if (!m_pictureUsable)
        return nullptr;
    const QString key = ZentorBus::snapshotKey(member, args);
    if (!m_group.isEmpty() && counted)
        m_groupReads.insert(key);
    const SnapshotPicture::Entry* e = m_picture.find(key);
    if (!e && counted && !m_readSingly.contains(key))
        m_readSingly << key;
    return e;
}

const SnapshotPicture::Entry* DBusMicroscopeService::picturedList(const QString& member, const QVariantList& args)
{
    if (m_readDepth == 0 || !snapshotsUsed())
        return nullptr;
    // The list's snapshot tells the version too, so a client that does not
    // know it yet asks for the snapshot first: one round trip, not two. A
    // service before Snapshot is then asked its version alone, and is not
    // asked for a snapshot again.
    if (!recallVersion() && !m_listNoSnapshot)
        takeListPicture();
    ensureCompatible();
    if (!m_listNoSnapshot && !versionOffersSnapshot()) {
        m_listNoSnapshot = m_noSnapshot = true;
        traceNoSnapshot(QStringLiteral("%1 (interface version %2)").arg(m_serviceName, m_version));
    }
    if (m_listNoSnapshot)
        return nullptr;
    if (!m_listAsked || m_listMarks != operatorWait::count())
        takeListPicture();
    if (!m_listUsable)
        return nullptr;
    return m_listPicture.find(ZentorBus::snapshotKey(member, args));
}

// --- taking pictures ------------------------------------------------------------

bool DBusMicroscopeService::wantsPictureAlong() const
{
    return m_readDepth > 0 && !m_pictureAsked && !m_path.isEmpty() && !m_noSnapshot && !m_waitingForPicture &&
           snapshotsUsed() && m_bus.isConnected();
}

void DBusMicroscopeService::askPicture()
{
    m_pictureAsked = true;
    m_pictureMarks = operatorWait::count();
    m_pictureUsable = false;
    m_pictureDone = false;
    m_picture.clear();
    m_forgetWhenTaken.clear();
    if (!m_bus.isConnected()) {
        m_pictureDone = true;
        return;
    }
    // The reply comes to this object through the same queue as the events,
    // so that it is taken exactly between the events sent before it and
    // those sent after it. A named group asks for what it read the time
    // before alone, where the service can answer that.
    const auto learned = m_learned.constFind(m_group);
    m_pictureOfLearned = !m_group.isEmpty() && learned != m_learned.constEnd() && !m_noSnapshotOf &&
                         versionOffersSnapshotOf();
    QVariantList oneReadArgs;
    m_oneRead = m_pictureOfLearned && learned->size() == 1
                    ? ZentorBus::readOfKey(learned->first(), ZentorBus::deviceMethods(), oneReadArgs)
                    : nullptr;
    m_oneReadKey = m_oneRead ? learned->first() : QString();
    QDBusMessage call = QDBusMessage::createMethodCall(
        m_peer, m_path, ZentorBus::DeviceInterface,
        m_oneRead ? m_oneRead->name : m_pictureOfLearned ? ZentorBus::SnapshotOfMember : ZentorBus::SnapshotMember);
    if (m_oneRead)
        call.setArguments(oneReadArgs);
    else if (m_pictureOfLearned)
        call.setArguments({QVariant(*learned)});
    callSent();
    ++m_picturesInFlight;
    if (!m_bus.callWithCallback(call, this, SLOT(onPictureReply(QDBusMessage)),
                                SLOT(onPictureError(QDBusError,QDBusMessage)), kCallTimeoutMs)) {
        --m_picturesInFlight;
        callAnswered();
        m_pictureDone = true;
    }
}

void DBusMicroscopeService::waitForPicture()
{
    QEventLoop loop;
    QObject::connect(this, &QObject::destroyed, &loop, &QEventLoop::quit);
    m_pictureWait = &loop;
    m_waitingForPicture = true;
    const QPointer<DBusMicroscopeService> alive(this);
    if (!m_pictureDone)
        blockingWait::run(loop);
    if (!alive)
        throw RunTimeError(RunTimeError::ServiceGone, QStringLiteral("The microscope's client has gone"));
    m_waitingForPicture = false;
    m_pictureWait = nullptr;
}

void DBusMicroscopeService::pictureTaken()
{
    // From here on the events that follow are applied to the picture, and
    // whoever reads while they are handed out (the wait has not returned
    // yet) reads the picture.
    m_waitingForPicture = false;
    m_pictureDone = true;
    if (m_pictureWait)
        m_pictureWait->quit();
}

bool DBusMicroscopeService::answersNewestPicture()
{
    if (m_picturesInFlight > 0)
        --m_picturesInFlight;
    callAnswered();
    // An answer to a Snapshot asked before the newest one (or for a group
    // that has ended) is not used: the replies come in the order asked.
    return m_picturesInFlight == 0 && m_pictureAsked && !m_pictureDone;
}

void DBusMicroscopeService::onPictureReply(const QDBusMessage& reply)
{
    if (!answersNewestPicture() || reply.service() != m_peer)
        return;
    const SnapshotPicture::Taken taken = m_oneRead ? m_picture.takeOne(m_oneReadKey, reply, *m_oneRead)
                                                   : m_picture.take(reply, ZentorBus::deviceMethods());
    traceTaken(m_peer, taken);
    if (m_oneRead) {
        // A read's own reply tells no sequence: its place among the events
        // is where it came, which is where it is taken.
        m_pictureUsable = taken.usable;
    } else if (taken.usable && m_counting && m_picture.sequence() < m_sequence) {
        // An event newer than the picture has been applied already.
        trace(QStringLiteral("Snapshot of %1 not used: its sequence %2 is older than event %3 already applied")
                  .arg(m_peer).arg(m_picture.sequence()).arg(m_sequence));
        m_picture.clear();
    } else if (taken.usable) {
        m_counting = true;
        m_sequence = m_picture.sequence();
        m_pictureUsable = true;
    }
    pictureTaken();
    // Commands sent after the Snapshot was asked: what they changed is not
    // in it.
    const QVector<SentCommand> sent = std::exchange(m_forgetWhenTaken, {});
    for (const SentCommand& c : sent)
        forgetChangedBy(c.member, c.args);
}

void DBusMicroscopeService::onPictureError(const QDBusError& error, const QDBusMessage&)
{
    if (!answersNewestPicture())
        return;
    if (m_oneRead) {
        // The read fails: asked singly, it fails there as it would have.
        m_forgetWhenTaken.clear();
        pictureTaken();
        return;
    }
    if (m_pictureOfLearned && offersNoSnapshot(error)) {
        // A service that tells 1.2 but has no SnapshotOf: its groups take
        // the whole Snapshot from now on; this group reads singly.
        m_noSnapshotOf = true;
        trace(QStringLiteral("Microscope service %1 offers no SnapshotOf: taking the whole Snapshot").arg(m_peer));
    } else if (offersNoSnapshot(error)) {
        m_noSnapshot = true;
        traceNoSnapshot(m_peer);
    }
    // Any other failure: the reads go to the service, and fail there as
    // they would have.
    m_forgetWhenTaken.clear();
    pictureTaken();
}

void DBusMicroscopeService::takeListPicture()
{
    m_listAsked = true;
    m_listMarks = operatorWait::count();
    m_listUsable = false;
    m_listPicture.clear();
    try {
        QDBusMessage reply;
        if (recallVersion()) {
            reply = callManager(ZentorBus::SnapshotMember, {});
        } else {
            reply = exchange(QDBusMessage::createMethodCall(m_serviceName, ZentorBus::ManagerPath,
                                                            ZentorBus::ManagerInterface, ZentorBus::SnapshotMember));
        }
        const SnapshotPicture::Taken taken = m_listPicture.take(reply, ZentorBus::managerMethods());
        traceTaken(m_serviceName, taken);
        m_listUsable = taken.usable;
        const SnapshotPicture::Entry* told = m_listPicture.find(QStringLiteral("InterfaceVersion"));
        if (m_version.isEmpty() && taken.usable && told && told->failure == 0)
            acceptVersion(told->value.toString(), reply.service());
    } catch (const RunTimeError& e) {
        if (e.number() == ZentorBus::IncompatibleService)
            throw;
        if (e.number() == RunTimeError::ServiceInvalidArgument) {
            m_listNoSnapshot = true;
            traceNoSnapshot(m_serviceName);
        }
    }
}

// --- commands ---------------------------------------------------------------------

QVariant DBusMicroscopeService::command(const char* member, const QVariantList& args)
{
    const QString name = QLatin1String(member);
    // The group's first command with no picture yet sends the Snapshot first
    // and itself right behind it, without waiting: both cross the link
    // together, so the reads that follow cost no round trip of their own.
    // What the command changes is taken out of the picture when it comes.
    if (wantsPictureAlong())
        askPicture();
    forgetChangedBy(name, args);
    try {
        const QVariant result = callDevice(member, args);
        forgetChangedBy(name, args);
        return result;
    } catch (...) {
        forgetChangedBy(name, args);
        throw;
    }
}

void DBusMicroscopeService::forgetChangedBy(const QString& member, const QVariantList& args)
{
    if (m_pictureAsked && !m_pictureDone) {
        // The picture on its way was taken before this command.
        m_forgetWhenTaken.append({member, args});
        return;
    }
    if (m_picture.isEmpty())
        return;
    // Commands without arguments of their own that change reads.
    static const QHash<QString, QStringList> changes = {
        {QStringLiteral("LampOn"), {"LampIsOn", "LampIsPreset", "LampControlVoltage"}},
        {QStringLiteral("LampOff"), {"LampIsOn", "LampIsPreset", "LampControlVoltage"}},
        {QStringLiteral("LampPreset"), {"LampIsOn", "LampIsPreset", "LampControlVoltage"}},
        {QStringLiteral("AnalyzerIn"), {"AnalyzerIsInserted"}},
        {QStringLiteral("AnalyzerOut"), {"AnalyzerIsInserted"}},
        {QStringLiteral("EpiShutterOpen"), {"EpiShutterIsOpened"}},
        {QStringLiteral("EpiShutterClose"), {"EpiShutterIsOpened"}},
        {QStringLiteral("NDFilterStepDown"), {"NDFilterTransmission"}},
        {QStringLiteral("NDFilterStepUp"), {"NDFilterTransmission"}},
        {QStringLiteral("XYDriveMove"), {"XYDriveXPosition", "XYDriveYPosition"}},
        {QStringLiteral("ZDriveAutoFocus"), {"ZDriveZPosition"}},
    };
    const auto it = changes.constFind(member);
    if (it != changes.constEnd()) {
        for (const QString& read : *it)
            m_picture.forget(read);
    } else if (member == QLatin1String("CustomObservation")) {
        m_picture.forget(ZentorBus::snapshotKey(QStringLiteral("CustomValue"), args.mid(0, 3)));
    } else if (member.startsWith(QLatin1String("set")) && !args.isEmpty()) {
        // setX(.., v) changes the read X(..).
        m_picture.forget(ZentorBus::snapshotKey(member.mid(3), args.mid(0, args.size() - 1)));
    } else {
        // A raw command may change anything, reported or not: the next read
        // of the group takes the picture afresh.
        m_picture.clear();
        m_pictureAsked = false;
        m_pictureUsable = false;
    }
}

// --- the trace ----------------------------------------------------------------------

void DBusMicroscopeService::traceTaken(const QString& whose, const SnapshotPicture::Taken& taken)
{
    if (!taken.usable)
        trace(QStringLiteral("Snapshot of %1 not used (%2): reading one value at a time").arg(whose, taken.problem));
    else if (!taken.leftOut.isEmpty())
        trace(QStringLiteral("Snapshot of %1: entries not believed, read singly: %2").arg(whose, listed(taken.leftOut)));
}

void DBusMicroscopeService::traceNoSnapshot(const QString& whose)
{
    // Once, however many of the service's objects and clients find it.
    static bool told = false;
    if (told)
        return;
    told = true;
    trace(QStringLiteral("Microscope service %1 offers no Snapshot: reading one value at a time").arg(whose));
}
