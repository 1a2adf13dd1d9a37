#include "core/service/dbus/DBusMicroscopeService.h"

#include "core/service/dbus/BusLayout.h"

#include "core/base/BlockingWait.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QDBusObjectPath>
#include <QHash>
#include <QMetaType>

namespace {

int16_t asInt16(const QVariant& v) { return static_cast<int16_t>(v.toInt()); }
int32_t asInt32(const QVariant& v) { return static_cast<int32_t>(v.toInt()); }

// Arrays arrive as QDBusArgument unless Qt could demarshal them itself.
template <typename T>
QVector<T> asVector(const QVariant& v)
{
    QVector<T> out;
    if (v.canConvert<QDBusArgument>() && v.userType() == qMetaTypeId<QDBusArgument>()) {
        const QDBusArgument arg = v.value<QDBusArgument>();
        arg.beginArray();
        while (!arg.atEnd()) {
            T item{};
            arg >> item;
            out.append(item);
        }
        arg.endArray();
        return out;
    }
    const QVariantList list = v.toList();
    for (const QVariant& item : list)
        out.append(item.value<T>());
    return out;
}

} // namespace

DBusMicroscopeService::DBusMicroscopeService(QObject* parent)
    : DBusMicroscopeService(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService, parent)
{
}

DBusMicroscopeService::DBusMicroscopeService(const QDBusConnection& bus, const QString& serviceName,
                                             QObject* parent)
    : MicroscopeService(parent), m_bus(bus), m_serviceName(serviceName)
{
}

DBusMicroscopeService::~DBusMicroscopeService()
{
    unsubscribe();
    // Snapshots still on their way are answered to no one now.
    for (; m_picturesInFlight > 0; --m_picturesInFlight)
        callAnswered();
}

uint64_t DBusMicroscopeService::s_callsMade = 0;
uint64_t DBusMicroscopeService::s_roundTrips = 0;
int DBusMicroscopeService::s_awaited = 0;

uint64_t DBusMicroscopeService::callsMade() { return s_callsMade; }
uint64_t DBusMicroscopeService::roundTrips() { return s_roundTrips; }

void DBusMicroscopeService::callSent()
{
    ++s_callsMade;
    if (s_awaited == 0)
        ++s_roundTrips;
    ++s_awaited;
}

void DBusMicroscopeService::callAnswered()
{
    if (s_awaited > 0)
        --s_awaited;
}

QDBusMessage DBusMicroscopeService::exchange(QDBusMessage message)
{
    if (!m_bus.isConnected()) {
        ++s_callsMade;
        throw RunTimeError(RunTimeError::ServiceGone,
                           QStringLiteral("No session bus: ") + m_bus.lastError().message());
    }
    // The caller waits as for any device call (blockingWait): the bus's
    // events, timers and painting go on meanwhile.
    callSent();
    struct Answered {
        ~Answered() { callAnswered(); }
    } answered;
    QDBusPendingCallWatcher pending(m_bus.asyncCall(message, m_timeoutMs));
    if (!pending.isFinished()) {
        QEventLoop loop;
        QObject::connect(&pending, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
        if (!pending.isFinished())
            blockingWait::run(loop);
    }
    const QDBusMessage reply = pending.reply();
    // Events that the bus delivered before the reply are handed out before the
    // call returns, as the in-process stand does.
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
    // A link to another computer that dropped ends the calls it carried
    // with a "no reply": the service is gone, not slow.
    if (reply.type() == QDBusMessage::ErrorMessage && !m_bus.isConnected())
        throw RunTimeError(RunTimeError::ServiceGone,
                           QStringLiteral("The connection to the microscope service is lost: ") +
                               reply.errorMessage());
    if (reply.type() == QDBusMessage::ErrorMessage)
        throw ZentorBus::errorFromMessage(reply);
    if (reply.type() != QDBusMessage::ReplyMessage)
        throw RunTimeError(RunTimeError::ServiceFailure,
                           QStringLiteral("No answer from the microscope service to ") + message.member());
    return reply;
}

namespace {

// The reply's signature must be the one the interface files give the member
// (the manager's and the device's members share no name of different type).
void checkReplyType(const QDBusMessage& reply, const QString& member)
{
    static const QHash<QString, QString> outOf = [] {
        QHash<QString, QString> map;
        for (const auto* list : {&ZentorBus::managerMethods(), &ZentorBus::deviceServiceMethods(),
                                 &ZentorBus::deviceMethods()})
            for (const ZentorBus::Method& m : *list)
                map.insert(m.name, m.out);
        return map;
    }();
    const auto it = outOf.constFind(member);
    if (it == outOf.constEnd())
        return;
    const QString problem = ZentorBus::replyTypeProblem(member, *it, reply.signature());
    if (!problem.isEmpty())
        throw RunTimeError(RunTimeError::ServiceFailure, problem);
}

} // namespace

namespace {

// The version each service told, by connection and bus name, with the unique
// name of the process that told it: every client in this process uses it
// without asking again, and a new process behind the name is asked anew.
struct ToldVersion {
    QString owner;
    QString version;
};
QHash<QString, ToldVersion>& toldVersions()
{
    static QHash<QString, ToldVersion> told;
    return told;
}

} // namespace

QString DBusMicroscopeService::versionKey() const
{
    return m_bus.name() + QLatin1Char('\n') + m_serviceName;
}

bool DBusMicroscopeService::recallVersion()
{
    if (!m_version.isEmpty())
        return true;
    const auto it = toldVersions().constFind(versionKey());
    if (it == toldVersions().constEnd())
        return false;
    m_version = it->version;
    m_versionOwner = it->owner;
    return true;
}

void DBusMicroscopeService::acceptVersion(const QString& told, const QString& owner)
{
    const QString problem = ZentorBus::versionProblem(told, ZentorBus::kClientNeeds, serviceWho());
    if (!problem.isEmpty())
        throw RunTimeError(ZentorBus::IncompatibleService, problem);
    m_version = told;
    m_versionOwner = owner;
    toldVersions().insert(versionKey(), ToldVersion{owner, told});
}

QString DBusMicroscopeService::serviceWho() const
{
    return QStringLiteral("The microscope service on the bus (%1)").arg(m_serviceName);
}

void DBusMicroscopeService::ensureCompatible()
{
    if (recallVersion())
        return;
    QString owner;
    const QString told = ZentorBus::askVersion(
        [this, &owner] {
            const QDBusMessage reply = exchange(QDBusMessage::createMethodCall(
                m_serviceName, ZentorBus::ManagerPath, ZentorBus::ManagerInterface, QStringLiteral("InterfaceVersion")));
            owner = reply.service();
            return reply;
        },
        serviceWho(), ZentorBus::ManagerInterface);
    acceptVersion(told, owner);
}

void DBusMicroscopeService::checkOwner(const QDBusMessage& reply)
{
    if (reply.service().isEmpty() || reply.service() == m_versionOwner)
        return;
    // Another process answers the name now: its version is asked afresh.
    toldVersions().remove(versionKey());
    m_version.clear();
    m_versionOwner.clear();
    ensureCompatible();
}

bool DBusMicroscopeService::versionOffersSnapshot() const
{
    return ZentorBus::InterfaceVersion::parse(m_version).minor >= ZentorBus::kSnapshotMinor;
}

bool DBusMicroscopeService::versionOffersSnapshotOf() const
{
    return ZentorBus::InterfaceVersion::parse(m_version).minor >= ZentorBus::kSnapshotOfMinor;
}

QDBusMessage DBusMicroscopeService::callManager(const QString& member, const QVariantList& args)
{
    ensureCompatible();
    QDBusMessage msg = QDBusMessage::createMethodCall(m_serviceName, ZentorBus::ManagerPath,
                                                      ZentorBus::ManagerInterface, member);
    msg.setArguments(args);
    const QDBusMessage reply = exchange(msg);
    checkOwner(reply);
    checkReplyType(reply, member);
    return reply;
}

QVariant DBusMicroscopeService::callDevice(const char* member, const QVariantList& args)
{
    if (m_path.isEmpty())
        throw RunTimeError(RunTimeError::ServiceNotConnected,
                           QStringLiteral("%1: the microscope is not connected").arg(QLatin1String(member)));
    QDBusMessage msg = QDBusMessage::createMethodCall(m_peer, m_path, ZentorBus::DeviceInterface,
                                                      QLatin1String(member));
    msg.setArguments(args);
    const QDBusMessage reply = exchange(msg);
    checkReplyType(reply, msg.member());
    const QVariantList out = reply.arguments();
    return out.isEmpty() ? QVariant() : out.first();
}

void DBusMicroscopeService::onEvent(const QString& message)
{
    // The picture first: whoever reads while this event is handed out must
    // not read a value older than the event.
    if (m_counting)
        ++m_sequence;
    m_picture.apply(message);
    emit OnPropertyChanged(message);
}

void DBusMicroscopeService::unsubscribe()
{
    if (m_subscribed) {
        m_bus.disconnect(m_peer, m_path, ZentorBus::DeviceInterface, ZentorBus::EventSignal, this,
                         SLOT(onEvent(QString)));
        m_subscribed = false;
    }
}

// --- connection and inventory -------------------------------------------------

void DBusMicroscopeService::Connect(int16_t index)
{
    if (!m_path.isEmpty())
        Disconnect();
    const QDBusMessage reply = callManager(QStringLiteral("Connect"), {QVariant::fromValue<short>(index)});
    const QVariantList out = reply.arguments();
    const QString path = out.isEmpty() ? QString() : out.first().value<QDBusObjectPath>().path();
    if (path.isEmpty())
        throw RunTimeError(RunTimeError::ServiceFailure,
                           QStringLiteral("Connect: the microscope service gave no microscope object"));
    // From here on talk to the process that answered, never to a successor.
    if (reply.service() != m_peer) {
        m_noSnapshotOf = false;
        m_learned.clear();
        m_noSnapshot = !versionOffersSnapshot();
        if (m_noSnapshot)
            traceNoSnapshot(QStringLiteral("%1 (interface version %2)").arg(reply.service(), m_version));
    }
    m_peer = reply.service();
    m_path = path;
    resetPictures();
    m_subscribed = m_bus.connect(m_peer, m_path, ZentorBus::DeviceInterface, ZentorBus::EventSignal,
                                 this, SLOT(onEvent(QString)));
    if (!m_subscribed) {
        m_path.clear();
        throw RunTimeError(RunTimeError::ServiceFailure,
                           QStringLiteral("Connect: cannot receive the microscope's events: ") +
                               m_bus.lastError().message());
    }
}

void DBusMicroscopeService::Disconnect()
{
    if (m_path.isEmpty())
        return;
    unsubscribe();
    resetPictures();
    const QString path = m_path;
    m_path.clear();
    QDBusMessage msg = QDBusMessage::createMethodCall(m_peer, path, ZentorBus::DeviceInterface,
                                                      QStringLiteral("Disconnect"));
    exchange(msg);
}

void DBusMicroscopeService::Ping()
{
    callDevice("Ping");
}

QStringList DBusMicroscopeService::GetDeviceNames()
{
    return readManager("GetDeviceNames").toStringList();
}

int16_t DBusMicroscopeService::IsDeviceAvailable(int16_t index)
{
    const QVariant v = readManager("IsDeviceAvailable", {QVariant::fromValue<short>(index)});
    return v.isValid() ? asInt16(v) : 0;
}

#define N(v) QVariant::fromValue<short>(v)
#define I(v) QVariant::fromValue<int>(v)
#define D(v) QVariant::fromValue<double>(v)

int32_t DBusMicroscopeService::DeviceStatus(int16_t unit) { return asInt32(read("DeviceStatus", {N(unit)})); }
int32_t DBusMicroscopeService::IsMounted(int16_t device) { return asInt32(read("IsMounted", {N(device)})); }
int32_t DBusMicroscopeService::IsReadOnly(int16_t device) { return asInt32(read("IsReadOnly", {N(device)})); }
int16_t DBusMicroscopeService::PathSubType(int16_t device) { return asInt16(read("PathSubType", {N(device)})); }
double DBusMicroscopeService::UpperLimit(int16_t i) { return read("UpperLimit", {N(i)}).toDouble(); }
double DBusMicroscopeService::LowerLimit(int16_t i) { return read("LowerLimit", {N(i)}).toDouble(); }
double DBusMicroscopeService::Step(int16_t i) { return read("Step", {N(i)}).toDouble(); }
QString DBusMicroscopeService::Version(int16_t unit) { return read("Version", {N(unit)}).toString(); }
QString DBusMicroscopeService::EventLog(int16_t unit, int16_t entry)
{
    return read("EventLog", {N(unit), N(entry)}).toString();
}
int16_t DBusMicroscopeService::IsCameraPresent(int16_t index) { return asInt16(read("IsCameraPresent", {N(index)})); }
int16_t DBusMicroscopeService::CameraUnit() { return asInt16(read("CameraUnit")); }
int16_t DBusMicroscopeService::CameraHead() { return asInt16(read("CameraHead")); }

// --- nosepiece ------------------------------------------------------------------
int16_t DBusMicroscopeService::NosepiecePosition() { return asInt16(read("NosepiecePosition")); }
void DBusMicroscopeService::setNosepiecePosition(int16_t v) { command("setNosepiecePosition", {N(v)}); }
int16_t DBusMicroscopeService::NosepieceIsInterlockEnabled() { return asInt16(read("NosepieceIsInterlockEnabled")); }
void DBusMicroscopeService::setNosepieceIsInterlockEnabled(int16_t v) { command("setNosepieceIsInterlockEnabled", {N(v)}); }
int16_t DBusMicroscopeService::NosepieceXYMode() { return asInt16(read("NosepieceXYMode")); }
void DBusMicroscopeService::setNosepieceXYMode(int16_t v) { command("setNosepieceXYMode", {N(v)}); }
int16_t DBusMicroscopeService::NosepieceZMode() { return asInt16(read("NosepieceZMode")); }
void DBusMicroscopeService::setNosepieceZMode(int16_t v) { command("setNosepieceZMode", {N(v)}); }

// --- filter cubes, light path, condenser ------------------------------------------
int16_t DBusMicroscopeService::FilterBlockCassettePosition() { return asInt16(read("FilterBlockCassettePosition")); }
void DBusMicroscopeService::setFilterBlockCassettePosition(int16_t v) { command("setFilterBlockCassettePosition", {N(v)}); }
int16_t DBusMicroscopeService::LightPathDriveLightPath() { return asInt16(read("LightPathDriveLightPath")); }
void DBusMicroscopeService::setLightPathDriveLightPath(int16_t v) { command("setLightPathDriveLightPath", {N(v)}); }
int16_t DBusMicroscopeService::LightPathDriveIsInterlockEnabled() { return asInt16(read("LightPathDriveIsInterlockEnabled")); }
void DBusMicroscopeService::setLightPathDriveIsInterlockEnabled(int16_t v) { command("setLightPathDriveIsInterlockEnabled", {N(v)}); }
int16_t DBusMicroscopeService::CondenserCassettePosition() { return asInt16(read("CondenserCassettePosition")); }
void DBusMicroscopeService::setCondenserCassettePosition(int16_t v) { command("setCondenserCassettePosition", {N(v)}); }

// --- stops and ND -----------------------------------------------------------------
double DBusMicroscopeService::ApertureStopApertureStop() { return read("ApertureStopApertureStop").toDouble(); }
void DBusMicroscopeService::setApertureStopApertureStop(double v) { command("setApertureStopApertureStop", {D(v)}); }
double DBusMicroscopeService::FieldStopFieldStop() { return read("FieldStopFieldStop").toDouble(); }
void DBusMicroscopeService::setFieldStopFieldStop(double v) { command("setFieldStopFieldStop", {D(v)}); }
double DBusMicroscopeService::EpiFieldStopFieldStop() { return read("EpiFieldStopFieldStop").toDouble(); }
void DBusMicroscopeService::setEpiFieldStopFieldStop(double v) { command("setEpiFieldStopFieldStop", {D(v)}); }
double DBusMicroscopeService::NDFilterTransmission() { return read("NDFilterTransmission").toDouble(); }
void DBusMicroscopeService::setNDFilterTransmission(double v) { command("setNDFilterTransmission", {D(v)}); }
void DBusMicroscopeService::NDFilterStepDown() { command("NDFilterStepDown"); }
void DBusMicroscopeService::NDFilterStepUp() { command("NDFilterStepUp"); }

// --- lamp -------------------------------------------------------------------------
void DBusMicroscopeService::LampOn() { command("LampOn"); }
void DBusMicroscopeService::LampOff() { command("LampOff"); }
int16_t DBusMicroscopeService::LampIsOn() { return asInt16(read("LampIsOn")); }
int16_t DBusMicroscopeService::LampIsPreset() { return asInt16(read("LampIsPreset")); }
double DBusMicroscopeService::LampControlVoltage() { return read("LampControlVoltage").toDouble(); }
void DBusMicroscopeService::setLampControlVoltage(double v) { command("setLampControlVoltage", {D(v)}); }
void DBusMicroscopeService::LampPreset() { command("LampPreset"); }

// --- zoom, analyzer, shutter --------------------------------------------------------
double DBusMicroscopeService::OpticalZoomZoom() { return read("OpticalZoomZoom").toDouble(); }
void DBusMicroscopeService::setOpticalZoomZoom(double v) { command("setOpticalZoomZoom", {D(v)}); }
int16_t DBusMicroscopeService::OpticalZoomIsInterlockEnabled() { return asInt16(read("OpticalZoomIsInterlockEnabled")); }
void DBusMicroscopeService::setOpticalZoomIsInterlockEnabled(int16_t v) { command("setOpticalZoomIsInterlockEnabled", {N(v)}); }
void DBusMicroscopeService::AnalyzerIn() { command("AnalyzerIn"); }
void DBusMicroscopeService::AnalyzerOut() { command("AnalyzerOut"); }
int16_t DBusMicroscopeService::AnalyzerIsInserted() { return asInt16(read("AnalyzerIsInserted")); }
void DBusMicroscopeService::EpiShutterOpen() { command("EpiShutterOpen"); }
void DBusMicroscopeService::EpiShutterClose() { command("EpiShutterClose"); }
int16_t DBusMicroscopeService::EpiShutterIsOpened() { return asInt16(read("EpiShutterIsOpened")); }

// --- Z focus drive ----------------------------------------------------------------------
int32_t DBusMicroscopeService::ZDriveZPosition() { return asInt32(read("ZDriveZPosition")); }
void DBusMicroscopeService::setZDriveZPosition(int32_t v) { command("setZDriveZPosition", {I(v)}); }
int16_t DBusMicroscopeService::ZDriveIsZEscape() { return asInt16(read("ZDriveIsZEscape")); }
void DBusMicroscopeService::setZDriveIsZEscape(int16_t v) { command("setZDriveIsZEscape", {N(v)}); }
void DBusMicroscopeService::setZDriveSpeed(int16_t v) { command("setZDriveSpeed", {N(v)}); }
int32_t DBusMicroscopeService::ZDriveAutoFocus() { return asInt32(command("ZDriveAutoFocus")); }
int32_t DBusMicroscopeService::ZUpperLimit() { return asInt32(read("ZUpperLimit")); }
void DBusMicroscopeService::setZUpperLimit(int32_t v) { command("setZUpperLimit", {I(v)}); }

// --- XY stage ---------------------------------------------------------------------------
int32_t DBusMicroscopeService::XYDriveXPosition() { return asInt32(read("XYDriveXPosition")); }
void DBusMicroscopeService::setXYDriveXPosition(int32_t v) { command("setXYDriveXPosition", {I(v)}); }
int32_t DBusMicroscopeService::XYDriveYPosition() { return asInt32(read("XYDriveYPosition")); }
void DBusMicroscopeService::setXYDriveYPosition(int32_t v) { command("setXYDriveYPosition", {I(v)}); }
int16_t DBusMicroscopeService::XYDriveIsEscape() { return asInt16(read("XYDriveIsEscape")); }
void DBusMicroscopeService::setXYDriveIsEscape(int16_t v) { command("setXYDriveIsEscape", {N(v)}); }
void DBusMicroscopeService::XYDriveMove(int32_t x, int32_t y) { command("XYDriveMove", {I(x), I(y)}); }
int16_t DBusMicroscopeService::XYDriveMode() { return asInt16(read("XYDriveMode")); }
void DBusMicroscopeService::setXYDriveMode(int16_t v) { command("setXYDriveMode", {N(v)}); }

// --- observation methods ---------------------------------------------------------------
int16_t DBusMicroscopeService::PresetsObservationMode() { return asInt16(read("PresetsObservationMode")); }
void DBusMicroscopeService::setPresetsObservationMode(int16_t v) { command("setPresetsObservationMode", {N(v)}); }
QString DBusMicroscopeService::ObservationName(int16_t n) { return read("ObservationName", {N(n)}).toString(); }
void DBusMicroscopeService::setObservationName(int16_t n, const QString& name)
{
    command("setObservationName", {N(n), QVariant(name)});
}

ObservationPositions DBusMicroscopeService::ObservationPosition(int16_t n)
{
    const QVariant v = read("ObservationPosition", {N(n)});
    int32_t f[11] = {};
    if (v.userType() == qMetaTypeId<QDBusArgument>()) {
        const QDBusArgument arg = v.value<QDBusArgument>();
        arg.beginStructure();
        for (int32_t& x : f)
            arg >> x;
        arg.endStructure();
    } else {
        throw RunTimeError(RunTimeError::ServiceFailure,
                           QStringLiteral("ObservationPosition: the service answered no positions"));
    }
    ObservationPositions p;
    p.lamp = f[0]; p.nd = f[1]; p.fieldStop = f[2]; p.condenser = f[3]; p.apertureStop = f[4];
    p.filter = f[5]; p.shutter = f[6]; p.analyzer = f[7]; p.objective = f[8]; p.path = f[9];
    p.zoom = f[10];
    return p;
}

void DBusMicroscopeService::setObservationPosition(int16_t n, const ObservationPositions& p)
{
    QDBusArgument arg;
    arg.beginStructure();
    arg << p.lamp << p.nd << p.fieldStop << p.condenser << p.apertureStop << p.filter << p.shutter
        << p.analyzer << p.objective << p.path << p.zoom;
    arg.endStructure();
    command("setObservationPosition", {N(n), QVariant::fromValue(arg)});
}

double DBusMicroscopeService::CustomValue(int16_t device, int16_t n, int16_t address)
{
    return read("CustomValue", {N(device), N(n), N(address)}).toDouble();
}
void DBusMicroscopeService::CustomObservation(int16_t device, int16_t n, int16_t address, double value)
{
    command("CustomObservation", {N(device), N(n), N(address), D(value)});
}

// --- tables ---------------------------------------------------------------------------
QVector<int32_t> DBusMicroscopeService::ObjectiveNumbers() { return asVector<int32_t>(read("ObjectiveNumbers")); }
QStringList DBusMicroscopeService::ObjectiveNames() { return read("ObjectiveNames").toStringList(); }
QStringList DBusMicroscopeService::ObjectiveSeriesNames() { return read("ObjectiveSeriesNames").toStringList(); }
QStringList DBusMicroscopeService::ObjectiveTypeNames() { return read("ObjectiveTypeNames").toStringList(); }
QVector<double> DBusMicroscopeService::ObjectiveRates() { return asVector<double>(read("ObjectiveRates")); }
QVector<double> DBusMicroscopeService::ObjectiveWDs() { return asVector<double>(read("ObjectiveWDs")); }
QVector<double> DBusMicroscopeService::ObjectiveNAs() { return asVector<double>(read("ObjectiveNAs")); }
QVector<int32_t> DBusMicroscopeService::FilterNumbers() { return asVector<int32_t>(read("FilterNumbers")); }
QStringList DBusMicroscopeService::FilterNames() { return read("FilterNames").toStringList(); }
QVector<int32_t> DBusMicroscopeService::FilterReikis() { return asVector<int32_t>(read("FilterReikis")); }
QVector<int32_t> DBusMicroscopeService::FilterDMs() { return asVector<int32_t>(read("FilterDMs")); }
QVector<int32_t> DBusMicroscopeService::FilterKyusyus() { return asVector<int32_t>(read("FilterKyusyus")); }
QStringList DBusMicroscopeService::FilterEXNames() { return read("FilterEXNames").toStringList(); }
QStringList DBusMicroscopeService::FilterDMNames() { return read("FilterDMNames").toStringList(); }
QStringList DBusMicroscopeService::FilterBANames() { return read("FilterBANames").toStringList(); }
QVector<int32_t> DBusMicroscopeService::CondenserNumbers() { return asVector<int32_t>(read("CondenserNumbers")); }
QStringList DBusMicroscopeService::CondenserNames() { return read("CondenserNames").toStringList(); }

// --- raw commands ----------------------------------------------------------------------
void DBusMicroscopeService::SendCommand(const QString& text, QString& reply)
{
    // The reads among the raw commands (a stored stage offset) may be in the
    // picture; any other text goes to the controller.
    const QVariantList args{QVariant(text)};
    if (const SnapshotPicture::Entry* e = pictured(QStringLiteral("SendCommand"), args, false)) {
        if (e->failure != 0)
            throw RunTimeError(e->failure, e->failureText);
        reply = e->value.toString();
        return;
    }
    reply = command("SendCommand", args).toString();
}

#undef N
#undef I
#undef D
