#include "core/service/dbus/DBusMicroscopeService.h"

#include "core/service/dbus/BusLayout.h"

#include "core/base/BlockingWait.h"

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusPendingCallWatcher>
#include <QEventLoop>
#include <QDBusObjectPath>
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
}

QDBusMessage DBusMicroscopeService::exchange(QDBusMessage message)
{
    if (!m_bus.isConnected())
        throw RunTimeError(RunTimeError::ServiceGone,
                           QStringLiteral("No session bus: ") + m_bus.lastError().message());
    // The caller waits as for any device call (blockingWait): the bus's
    // events, timers and painting go on meanwhile.
    QDBusPendingCallWatcher pending(m_bus.asyncCall(message, kCallTimeoutMs));
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

QDBusMessage DBusMicroscopeService::callManager(const QString& member, const QVariantList& args)
{
    QDBusMessage msg = QDBusMessage::createMethodCall(m_serviceName, ZentorBus::ManagerPath,
                                                      ZentorBus::ManagerInterface, member);
    msg.setArguments(args);
    return exchange(msg);
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
    const QVariantList out = reply.arguments();
    return out.isEmpty() ? QVariant() : out.first();
}

void DBusMicroscopeService::onEvent(const QString& message)
{
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
    m_peer = reply.service();
    m_path = path;
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
    const QVariantList out = callManager(QStringLiteral("GetDeviceNames"), {}).arguments();
    return out.isEmpty() ? QStringList() : out.first().toStringList();
}

int16_t DBusMicroscopeService::IsDeviceAvailable(int16_t index)
{
    const QVariantList out =
        callManager(QStringLiteral("IsDeviceAvailable"), {QVariant::fromValue<short>(index)}).arguments();
    return out.isEmpty() ? 0 : asInt16(out.first());
}

#define N(v) QVariant::fromValue<short>(v)
#define I(v) QVariant::fromValue<int>(v)
#define D(v) QVariant::fromValue<double>(v)

int32_t DBusMicroscopeService::DeviceStatus(int16_t unit) { return asInt32(callDevice("DeviceStatus", {N(unit)})); }
int32_t DBusMicroscopeService::IsMounted(int16_t device) { return asInt32(callDevice("IsMounted", {N(device)})); }
int32_t DBusMicroscopeService::IsReadOnly(int16_t device) { return asInt32(callDevice("IsReadOnly", {N(device)})); }
int16_t DBusMicroscopeService::PathSubType(int16_t device) { return asInt16(callDevice("PathSubType", {N(device)})); }
double DBusMicroscopeService::UpperLimit(int16_t i) { return callDevice("UpperLimit", {N(i)}).toDouble(); }
double DBusMicroscopeService::LowerLimit(int16_t i) { return callDevice("LowerLimit", {N(i)}).toDouble(); }
double DBusMicroscopeService::Step(int16_t i) { return callDevice("Step", {N(i)}).toDouble(); }
QString DBusMicroscopeService::Version(int16_t unit) { return callDevice("Version", {N(unit)}).toString(); }
QString DBusMicroscopeService::EventLog(int16_t unit, int16_t entry)
{
    return callDevice("EventLog", {N(unit), N(entry)}).toString();
}
int16_t DBusMicroscopeService::IsCameraPresent(int16_t index) { return asInt16(callDevice("IsCameraPresent", {N(index)})); }
int16_t DBusMicroscopeService::CameraUnit() { return asInt16(callDevice("CameraUnit")); }
int16_t DBusMicroscopeService::CameraHead() { return asInt16(callDevice("CameraHead")); }

// --- nosepiece ------------------------------------------------------------------
int16_t DBusMicroscopeService::NosepiecePosition() { return asInt16(callDevice("NosepiecePosition")); }
void DBusMicroscopeService::setNosepiecePosition(int16_t v) { callDevice("setNosepiecePosition", {N(v)}); }
int16_t DBusMicroscopeService::NosepieceIsInterlockEnabled() { return asInt16(callDevice("NosepieceIsInterlockEnabled")); }
void DBusMicroscopeService::setNosepieceIsInterlockEnabled(int16_t v) { callDevice("setNosepieceIsInterlockEnabled", {N(v)}); }
int16_t DBusMicroscopeService::NosepieceXYMode() { return asInt16(callDevice("NosepieceXYMode")); }
void DBusMicroscopeService::setNosepieceXYMode(int16_t v) { callDevice("setNosepieceXYMode", {N(v)}); }
int16_t DBusMicroscopeService::NosepieceZMode() { return asInt16(callDevice("NosepieceZMode")); }
void DBusMicroscopeService::setNosepieceZMode(int16_t v) { callDevice("setNosepieceZMode", {N(v)}); }

// --- filter cubes, light path, condenser ------------------------------------------
int16_t DBusMicroscopeService::FilterBlockCassettePosition() { return asInt16(callDevice("FilterBlockCassettePosition")); }
void DBusMicroscopeService::setFilterBlockCassettePosition(int16_t v) { callDevice("setFilterBlockCassettePosition", {N(v)}); }
int16_t DBusMicroscopeService::LightPathDriveLightPath() { return asInt16(callDevice("LightPathDriveLightPath")); }
void DBusMicroscopeService::setLightPathDriveLightPath(int16_t v) { callDevice("setLightPathDriveLightPath", {N(v)}); }
int16_t DBusMicroscopeService::LightPathDriveIsInterlockEnabled() { return asInt16(callDevice("LightPathDriveIsInterlockEnabled")); }
void DBusMicroscopeService::setLightPathDriveIsInterlockEnabled(int16_t v) { callDevice("setLightPathDriveIsInterlockEnabled", {N(v)}); }
int16_t DBusMicroscopeService::CondenserCassettePosition() { return asInt16(callDevice("CondenserCassettePosition")); }
void DBusMicroscopeService::setCondenserCassettePosition(int16_t v) { callDevice("setCondenserCassettePosition", {N(v)}); }

// --- stops and ND -----------------------------------------------------------------
double DBusMicroscopeService::ApertureStopApertureStop() { return callDevice("ApertureStopApertureStop").toDouble(); }
void DBusMicroscopeService::setApertureStopApertureStop(double v) { callDevice("setApertureStopApertureStop", {D(v)}); }
double DBusMicroscopeService::FieldStopFieldStop() { return callDevice("FieldStopFieldStop").toDouble(); }
void DBusMicroscopeService::setFieldStopFieldStop(double v) { callDevice("setFieldStopFieldStop", {D(v)}); }
double DBusMicroscopeService::EpiFieldStopFieldStop() { return callDevice("EpiFieldStopFieldStop").toDouble(); }
void DBusMicroscopeService::setEpiFieldStopFieldStop(double v) { callDevice("setEpiFieldStopFieldStop", {D(v)}); }
double DBusMicroscopeService::NDFilterTransmission() { return callDevice("NDFilterTransmission").toDouble(); }
void DBusMicroscopeService::setNDFilterTransmission(double v) { callDevice("setNDFilterTransmission", {D(v)}); }
void DBusMicroscopeService::NDFilterStepDown() { callDevice("NDFilterStepDown"); }
void DBusMicroscopeService::NDFilterStepUp() { callDevice("NDFilterStepUp"); }

// --- lamp -------------------------------------------------------------------------
void DBusMicroscopeService::LampOn() { callDevice("LampOn"); }
void DBusMicroscopeService::LampOff() { callDevice("LampOff"); }
int16_t DBusMicroscopeService::LampIsOn() { return asInt16(callDevice("LampIsOn")); }
int16_t DBusMicroscopeService::LampIsPreset() { return asInt16(callDevice("LampIsPreset")); }
double DBusMicroscopeService::LampControlVoltage() { return callDevice("LampControlVoltage").toDouble(); }
void DBusMicroscopeService::setLampControlVoltage(double v) { callDevice("setLampControlVoltage", {D(v)}); }
void DBusMicroscopeService::LampPreset() { callDevice("LampPreset"); }

// --- zoom, analyzer, shutter --------------------------------------------------------
double DBusMicroscopeService::OpticalZoomZoom() { return callDevice("OpticalZoomZoom").toDouble(); }
void DBusMicroscopeService::setOpticalZoomZoom(double v) { callDevice("setOpticalZoomZoom", {D(v)}); }
int16_t DBusMicroscopeService::OpticalZoomIsInterlockEnabled() { return asInt16(callDevice("OpticalZoomIsInterlockEnabled")); }
void DBusMicroscopeService::setOpticalZoomIsInterlockEnabled(int16_t v) { callDevice("setOpticalZoomIsInterlockEnabled", {N(v)}); }
void DBusMicroscopeService::AnalyzerIn() { callDevice("AnalyzerIn"); }
void DBusMicroscopeService::AnalyzerOut() { callDevice("AnalyzerOut"); }
int16_t DBusMicroscopeService::AnalyzerIsInserted() { return asInt16(callDevice("AnalyzerIsInserted")); }
void DBusMicroscopeService::EpiShutterOpen() { callDevice("EpiShutterOpen"); }
void DBusMicroscopeService::EpiShutterClose() { callDevice("EpiShutterClose"); }
int16_t DBusMicroscopeService::EpiShutterIsOpened() { return asInt16(callDevice("EpiShutterIsOpened")); }

// --- Z focus drive ----------------------------------------------------------------------
int32_t DBusMicroscopeService::ZDriveZPosition() { return asInt32(callDevice("ZDriveZPosition")); }
void DBusMicroscopeService::setZDriveZPosition(int32_t v) { callDevice("setZDriveZPosition", {I(v)}); }
int16_t DBusMicroscopeService::ZDriveIsZEscape() { return asInt16(callDevice("ZDriveIsZEscape")); }
void DBusMicroscopeService::setZDriveIsZEscape(int16_t v) { callDevice("setZDriveIsZEscape", {N(v)}); }
void DBusMicroscopeService::setZDriveSpeed(int16_t v) { callDevice("setZDriveSpeed", {N(v)}); }
int32_t DBusMicroscopeService::ZDriveAutoFocus() { return asInt32(callDevice("ZDriveAutoFocus")); }
int32_t DBusMicroscopeService::ZUpperLimit() { return asInt32(callDevice("ZUpperLimit")); }
void DBusMicroscopeService::setZUpperLimit(int32_t v) { callDevice("setZUpperLimit", {I(v)}); }

// --- XY stage ---------------------------------------------------------------------------
int32_t DBusMicroscopeService::XYDriveXPosition() { return asInt32(callDevice("XYDriveXPosition")); }
void DBusMicroscopeService::setXYDriveXPosition(int32_t v) { callDevice("setXYDriveXPosition", {I(v)}); }
int32_t DBusMicroscopeService::XYDriveYPosition() { return asInt32(callDevice("XYDriveYPosition")); }
void DBusMicroscopeService::setXYDriveYPosition(int32_t v) { callDevice("setXYDriveYPosition", {I(v)}); }
int16_t DBusMicroscopeService::XYDriveIsEscape() { return asInt16(callDevice("XYDriveIsEscape")); }
void DBusMicroscopeService::setXYDriveIsEscape(int16_t v) { callDevice("setXYDriveIsEscape", {N(v)}); }
void DBusMicroscopeService::XYDriveMove(int32_t x, int32_t y) { callDevice("XYDriveMove", {I(x), I(y)}); }
int16_t DBusMicroscopeService::XYDriveMode() { return asInt16(callDevice("XYDriveMode")); }
void DBusMicroscopeService::setXYDriveMode(int16_t v) { callDevice("setXYDriveMode", {N(v)}); }

// --- observation methods ---------------------------------------------------------------
int16_t DBusMicroscopeService::PresetsObservationMode() { return asInt16(callDevice("PresetsObservationMode")); }
void DBusMicroscopeService::setPresetsObservationMode(int16_t v) { callDevice("setPresetsObservationMode", {N(v)}); }
QString DBusMicroscopeService::ObservationName(int16_t n) { return callDevice("ObservationName", {N(n)}).toString(); }
void DBusMicroscopeService::setObservationName(int16_t n, const QString& name)
{
    callDevice("setObservationName", {N(n), QVariant(name)});
}

ObservationPositions DBusMicroscopeService::ObservationPosition(int16_t n)
{
    const QVariant v = callDevice("ObservationPosition", {N(n)});
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
    callDevice("setObservationPosition", {N(n), QVariant::fromValue(arg)});
}

double DBusMicroscopeService::CustomValue(int16_t device, int16_t n, int16_t address)
{
    return callDevice("CustomValue", {N(device), N(n), N(address)}).toDouble();
}
void DBusMicroscopeService::CustomObservation(int16_t device, int16_t n, int16_t address, double value)
{
    callDevice("CustomObservation", {N(device), N(n), N(address), D(value)});
}

// --- tables ---------------------------------------------------------------------------
QVector<int32_t> DBusMicroscopeService::ObjectiveNumbers() { return asVector<int32_t>(callDevice("ObjectiveNumbers")); }
QStringList DBusMicroscopeService::ObjectiveNames() { return callDevice("ObjectiveNames").toStringList(); }
QStringList DBusMicroscopeService::ObjectiveSeriesNames() { return callDevice("ObjectiveSeriesNames").toStringList(); }
QStringList DBusMicroscopeService::ObjectiveTypeNames() { return callDevice("ObjectiveTypeNames").toStringList(); }
QVector<double> DBusMicroscopeService::ObjectiveRates() { return asVector<double>(callDevice("ObjectiveRates")); }
QVector<double> DBusMicroscopeService::ObjectiveWDs() { return asVector<double>(callDevice("ObjectiveWDs")); }
QVector<double> DBusMicroscopeService::ObjectiveNAs() { return asVector<double>(callDevice("ObjectiveNAs")); }
QVector<int32_t> DBusMicroscopeService::FilterNumbers() { return asVector<int32_t>(callDevice("FilterNumbers")); }
QStringList DBusMicroscopeService::FilterNames() { return callDevice("FilterNames").toStringList(); }
QVector<int32_t> DBusMicroscopeService::FilterReikis() { return asVector<int32_t>(callDevice("FilterReikis")); }
QVector<int32_t> DBusMicroscopeService::FilterDMs() { return asVector<int32_t>(callDevice("FilterDMs")); }
QVector<int32_t> DBusMicroscopeService::FilterKyusyus() { return asVector<int32_t>(callDevice("FilterKyusyus")); }
QStringList DBusMicroscopeService::FilterEXNames() { return callDevice("FilterEXNames").toStringList(); }
QStringList DBusMicroscopeService::FilterDMNames() { return callDevice("FilterDMNames").toStringList(); }
QStringList DBusMicroscopeService::FilterBANames() { return callDevice("FilterBANames").toStringList(); }
QVector<int32_t> DBusMicroscopeService::CondenserNumbers() { return asVector<int32_t>(callDevice("CondenserNumbers")); }
QStringList DBusMicroscopeService::CondenserNames() { return callDevice("CondenserNames").toStringList(); }

// --- raw commands ----------------------------------------------------------------------
void DBusMicroscopeService::SendCommand(const QString& command, QString& reply)
{
    reply = callDevice("SendCommand", {QVariant(command)}).toString();
}

#undef N
#undef I
#undef D
