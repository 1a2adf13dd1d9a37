#include "stand/SimulatedMicroscope.h"

#include "core/base/BlockingWait.h"

#include <QEventLoop>
#include <QTimer>
#include <memory>

namespace {

// The longest a caller waits for one operation, as the panel's component wait.
constexpr int kCallWaitMs = 3600000;

[[noreturn]] void badReply(const char* what) {
    throw RunTimeError(RunTimeError::ServiceFailure, QStringLiteral("The stand answered no %1").arg(what));
}
int16_t asInt16(const QVariant& v) {
    if (!v.canConvert<int>()) badReply("number");
    return static_cast<int16_t>(v.toInt());
}
int32_t asInt32(const QVariant& v) {
    if (!v.canConvert<int>()) badReply("number");
    return static_cast<int32_t>(v.toInt());
}
double asDouble(const QVariant& v) {
    if (!v.canConvert<double>()) badReply("number");
    return v.toDouble();
}
QString asText(const QVariant& v) { return v.toString(); }
QStringList asTexts(const QVariant& v) { return v.toStringList(); }
QVector<int32_t> asInts(const QVariant& v) {
    QVector<int32_t> r;
    for (const QVariant& x : v.toList()) r << x.toInt();
    return r;
}
QVector<double> asDoubles(const QVariant& v) {
    QVector<double> r;
    for (const QVariant& x : v.toList()) r << x.toDouble();
    return r;
}

} // namespace

SimulatedMicroscope::SimulatedMicroscope(SimulatedService* service, QObject* parent)
    : MicroscopeService(parent), m_service(service) {}

SimulatedMicroscope::SimulatedMicroscope(const StandClock& clock, const QStringList& descriptionFiles, QObject* parent)
    : MicroscopeService(parent), m_owned(std::make_unique<SimulatedService>(clock, descriptionFiles)),
      m_service(m_owned.get()) {}

SimulatedMicroscope::~SimulatedMicroscope() { Disconnect(); }

void SimulatedMicroscope::Connect(int16_t index) {
    SimulatedStand* stand = m_service->stand(index);
    if (!stand)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument,
                           QStringLiteral("There is no microscope at index %1").arg(index));
    Disconnect();
    m_stand = stand;
    m_events = connect(stand, &SimulatedStand::propertyChanged, this, &MicroscopeService::OnPropertyChanged);
}

void SimulatedMicroscope::Disconnect() {
    if (m_events) disconnect(m_events);
    m_events = {};
    m_stand = nullptr;
}

QStringList SimulatedMicroscope::GetDeviceNames() { return m_service->deviceNames(); }

int16_t SimulatedMicroscope::IsDeviceAvailable(int16_t index) { return m_service->isDeviceAvailable(index); }

QVariant SimulatedMicroscope::call(const char* member, const QVariantList& args) {
    if (!m_stand)
        throw RunTimeError(RunTimeError::ServiceNotConnected,
                           QStringLiteral("%1: the microscope is not connected").arg(QLatin1String(member)));
    struct Wait {
        bool finished = false;
        StandResult result;
        QEventLoop* loop = nullptr;
    };
    auto wait = std::make_shared<Wait>();
    m_stand->invoke(QLatin1String(member), args, [wait](const StandResult& r) {
        wait->finished = true;
        wait->result = r;
        if (wait->loop) wait->loop->quit();
    });
    if (!wait->finished) {
        // The motor is running: keep events, timers and painting going, hold user input back.
        QEventLoop loop;
        QTimer limit;
        limit.setSingleShot(true);
        QObject::connect(&limit, &QTimer::timeout, &loop, &QEventLoop::quit);
        limit.start(kCallWaitMs);
        wait->loop = &loop;
        blockingWait::run(loop);
        wait->loop = nullptr;
        if (!wait->finished)
            throw RunTimeError(RunTimeError::ServiceTimeOut,
                               QStringLiteral("%1: no answer from the stand").arg(QLatin1String(member)));
    }
    if (wait->result.error != 0)
        throw RunTimeError(wait->result.error, wait->result.errorText);
    return wait->result.value;
}

void SimulatedMicroscope::SendCommand(const QString& command, QString& reply) {
    reply = call("SendCommand", {QVariant(command)}).toString();
}

ObservationPositions SimulatedMicroscope::ObservationPosition(int16_t observation) {
    const QVariantList l = call("ObservationPosition", {QVariant(int(observation))}).toList();
    if (l.size() != 11) badReply("observation method");
    return {l[0].toInt(), l[1].toInt(), l[2].toInt(), l[3].toInt(), l[4].toInt(), l[5].toInt(),
            l[6].toInt(), l[7].toInt(), l[8].toInt(), l[9].toInt(), l[10].toInt()};
}

void SimulatedMicroscope::setObservationPosition(int16_t observation, const ObservationPositions& p) {
    const QVariantList l{p.lamp, p.nd, p.fieldStop, p.condenser, p.apertureStop, p.filter,
                         p.shutter, p.analyzer, p.objective, p.path, p.zoom};
    call("setObservationPosition", {QVariant(int(observation)), QVariant(l)});
}

// One forwarder per operation.
int32_t SimulatedMicroscope::DeviceStatus(int16_t unit) { return asInt32(call("DeviceStatus", {QVariant(int(unit))})); }
int32_t SimulatedMicroscope::IsMounted(int16_t device) { return asInt32(call("IsMounted", {QVariant(int(device))})); }
int32_t SimulatedMicroscope::IsReadOnly(int16_t device) { return asInt32(call("IsReadOnly", {QVariant(int(device))})); }
int16_t SimulatedMicroscope::PathSubType(int16_t device) { return asInt16(call("PathSubType", {QVariant(int(device))})); }
double SimulatedMicroscope::UpperLimit(int16_t limitIndex) { return asDouble(call("UpperLimit", {QVariant(int(limitIndex))})); }
double SimulatedMicroscope::LowerLimit(int16_t limitIndex) { return asDouble(call("LowerLimit", {QVariant(int(limitIndex))})); }
double SimulatedMicroscope::Step(int16_t limitIndex) { return asDouble(call("Step", {QVariant(int(limitIndex))})); }
QString SimulatedMicroscope::Version(int16_t unit) { return asText(call("Version", {QVariant(int(unit))})); }
QString SimulatedMicroscope::EventLog(int16_t unit, int16_t entry) { return asText(call("EventLog", {QVariant(int(unit)), QVariant(int(entry))})); }
// Asked of the connected stand (connection and index checks), answered for the
// microscope at `index`, which need not be the connected one.
int16_t SimulatedMicroscope::IsCameraPresent(int16_t index) {
    call("IsCameraPresent", {QVariant(int(index))});
    const int16_t present = m_service->cameraPresent(index);
    if (present < 0)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument,
                           QStringLiteral("There is no microscope at index %1").arg(index));
    return present;
}
int16_t SimulatedMicroscope::CameraUnit() { return asInt16(call("CameraUnit")); }
int16_t SimulatedMicroscope::CameraHead() { return asInt16(call("CameraHead")); }
int16_t SimulatedMicroscope::NosepiecePosition() { return asInt16(call("NosepiecePosition")); }
void SimulatedMicroscope::setNosepiecePosition(int16_t position) { call("setNosepiecePosition", {QVariant(int(position))}); }
int16_t SimulatedMicroscope::NosepieceIsInterlockEnabled() { return asInt16(call("NosepieceIsInterlockEnabled")); }
void SimulatedMicroscope::setNosepieceIsInterlockEnabled(int16_t enabled) { call("setNosepieceIsInterlockEnabled", {QVariant(int(enabled))}); }
int16_t SimulatedMicroscope::NosepieceXYMode() { return asInt16(call("NosepieceXYMode")); }
void SimulatedMicroscope::setNosepieceXYMode(int16_t mode) { call("setNosepieceXYMode", {QVariant(int(mode))}); }
int16_t SimulatedMicroscope::NosepieceZMode() { return asInt16(call("NosepieceZMode")); }
void SimulatedMicroscope::setNosepieceZMode(int16_t mode) { call("setNosepieceZMode", {QVariant(int(mode))}); }
int16_t SimulatedMicroscope::FilterBlockCassettePosition() { return asInt16(call("FilterBlockCassettePosition")); }
void SimulatedMicroscope::setFilterBlockCassettePosition(int16_t position) { call("setFilterBlockCassettePosition", {QVariant(int(position))}); }
int16_t SimulatedMicroscope::LightPathDriveLightPath() { return asInt16(call("LightPathDriveLightPath")); }
void SimulatedMicroscope::setLightPathDriveLightPath(int16_t path) { call("setLightPathDriveLightPath", {QVariant(int(path))}); }
int16_t SimulatedMicroscope::LightPathDriveIsInterlockEnabled() { return asInt16(call("LightPathDriveIsInterlockEnabled")); }
void SimulatedMicroscope::setLightPathDriveIsInterlockEnabled(int16_t enabled) { call("setLightPathDriveIsInterlockEnabled", {QVariant(int(enabled))}); }
int16_t SimulatedMicroscope::CondenserCassettePosition() { return asInt16(call("CondenserCassettePosition")); }
void SimulatedMicroscope::setCondenserCassettePosition(int16_t position) { call("setCondenserCassettePosition", {QVariant(int(position))}); }
double SimulatedMicroscope::ApertureStopApertureStop() { return asDouble(call("ApertureStopApertureStop")); }
void SimulatedMicroscope::setApertureStopApertureStop(double mm) { call("setApertureStopApertureStop", {QVariant(mm)}); }
double SimulatedMicroscope::FieldStopFieldStop() { return asDouble(call("FieldStopFieldStop")); }
void SimulatedMicroscope::setFieldStopFieldStop(double mm) { call("setFieldStopFieldStop", {QVariant(mm)}); }
double SimulatedMicroscope::EpiFieldStopFieldStop() { return asDouble(call("EpiFieldStopFieldStop")); }
void SimulatedMicroscope::setEpiFieldStopFieldStop(double mm) { call("setEpiFieldStopFieldStop", {QVariant(mm)}); }
double SimulatedMicroscope::NDFilterTransmission() { return asDouble(call("NDFilterTransmission")); }
void SimulatedMicroscope::setNDFilterTransmission(double percent) { call("setNDFilterTransmission", {QVariant(percent)}); }
void SimulatedMicroscope::NDFilterStepDown() { call("NDFilterStepDown"); }
void SimulatedMicroscope::NDFilterStepUp() { call("NDFilterStepUp"); }
void SimulatedMicroscope::LampOn() { call("LampOn"); }
void SimulatedMicroscope::LampOff() { call("LampOff"); }
int16_t SimulatedMicroscope::LampIsOn() { return asInt16(call("LampIsOn")); }
int16_t SimulatedMicroscope::LampIsPreset() { return asInt16(call("LampIsPreset")); }
double SimulatedMicroscope::LampControlVoltage() { return asDouble(call("LampControlVoltage")); }
void SimulatedMicroscope::setLampControlVoltage(double volts) { call("setLampControlVoltage", {QVariant(volts)}); }
void SimulatedMicroscope::LampPreset() { call("LampPreset"); }
double SimulatedMicroscope::OpticalZoomZoom() { return asDouble(call("OpticalZoomZoom")); }
void SimulatedMicroscope::setOpticalZoomZoom(double magnification) { call("setOpticalZoomZoom", {QVariant(magnification)}); }
int16_t SimulatedMicroscope::OpticalZoomIsInterlockEnabled() { return asInt16(call("OpticalZoomIsInterlockEnabled")); }
void SimulatedMicroscope::setOpticalZoomIsInterlockEnabled(int16_t enabled) { call("setOpticalZoomIsInterlockEnabled", {QVariant(int(enabled))}); }
void SimulatedMicroscope::AnalyzerIn() { call("AnalyzerIn"); }
void SimulatedMicroscope::AnalyzerOut() { call("AnalyzerOut"); }
int16_t SimulatedMicroscope::AnalyzerIsInserted() { return asInt16(call("AnalyzerIsInserted")); }
void SimulatedMicroscope::EpiShutterOpen() { call("EpiShutterOpen"); }
void SimulatedMicroscope::EpiShutterClose() { call("EpiShutterClose"); }
int16_t SimulatedMicroscope::EpiShutterIsOpened() { return asInt16(call("EpiShutterIsOpened")); }
int32_t SimulatedMicroscope::ZDriveZPosition() { return asInt32(call("ZDriveZPosition")); }
void SimulatedMicroscope::setZDriveZPosition(int32_t counts) { call("setZDriveZPosition", {QVariant(int(counts))}); }
int16_t SimulatedMicroscope::ZDriveIsZEscape() { return asInt16(call("ZDriveIsZEscape")); }
void SimulatedMicroscope::setZDriveIsZEscape(int16_t escape) { call("setZDriveIsZEscape", {QVariant(int(escape))}); }
void SimulatedMicroscope::setZDriveSpeed(int16_t speed) { call("setZDriveSpeed", {QVariant(int(speed))}); }
int32_t SimulatedMicroscope::ZDriveAutoFocus() { return asInt32(call("ZDriveAutoFocus")); }
int32_t SimulatedMicroscope::ZUpperLimit() { return asInt32(call("ZUpperLimit")); }
void SimulatedMicroscope::setZUpperLimit(int32_t counts) { call("setZUpperLimit", {QVariant(int(counts))}); }
int32_t SimulatedMicroscope::XYDriveXPosition() { return asInt32(call("XYDriveXPosition")); }
void SimulatedMicroscope::setXYDriveXPosition(int32_t counts) { call("setXYDriveXPosition", {QVariant(int(counts))}); }
int32_t SimulatedMicroscope::XYDriveYPosition() { return asInt32(call("XYDriveYPosition")); }
void SimulatedMicroscope::setXYDriveYPosition(int32_t counts) { call("setXYDriveYPosition", {QVariant(int(counts))}); }
int16_t SimulatedMicroscope::XYDriveIsEscape() { return asInt16(call("XYDriveIsEscape")); }
void SimulatedMicroscope::setXYDriveIsEscape(int16_t escape) { call("setXYDriveIsEscape", {QVariant(int(escape))}); }
void SimulatedMicroscope::XYDriveMove(int32_t x, int32_t y) { call("XYDriveMove", {QVariant(int(x)), QVariant(int(y))}); }
int16_t SimulatedMicroscope::XYDriveMode() { return asInt16(call("XYDriveMode")); }
void SimulatedMicroscope::setXYDriveMode(int16_t mode) { call("setXYDriveMode", {QVariant(int(mode))}); }
int16_t SimulatedMicroscope::PresetsObservationMode() { return asInt16(call("PresetsObservationMode")); }
void SimulatedMicroscope::setPresetsObservationMode(int16_t observation) { call("setPresetsObservationMode", {QVariant(int(observation))}); }
QString SimulatedMicroscope::ObservationName(int16_t observation) { return asText(call("ObservationName", {QVariant(int(observation))})); }
void SimulatedMicroscope::setObservationName(int16_t observation, const QString& name) { call("setObservationName", {QVariant(int(observation)), QVariant(name)}); }
double SimulatedMicroscope::CustomValue(int16_t device, int16_t observation, int16_t address) { return asDouble(call("CustomValue", {QVariant(int(device)), QVariant(int(observation)), QVariant(int(address))})); }
void SimulatedMicroscope::CustomObservation(int16_t device, int16_t observation, int16_t address, double value) { call("CustomObservation", {QVariant(int(device)), QVariant(int(observation)), QVariant(int(address)), QVariant(value)}); }
QVector<int32_t> SimulatedMicroscope::ObjectiveNumbers() { return asInts(call("ObjectiveNumbers")); }
QStringList SimulatedMicroscope::ObjectiveNames() { return asTexts(call("ObjectiveNames")); }
QStringList SimulatedMicroscope::ObjectiveSeriesNames() { return asTexts(call("ObjectiveSeriesNames")); }
QStringList SimulatedMicroscope::ObjectiveTypeNames() { return asTexts(call("ObjectiveTypeNames")); }
QVector<double> SimulatedMicroscope::ObjectiveRates() { return asDoubles(call("ObjectiveRates")); }
QVector<double> SimulatedMicroscope::ObjectiveWDs() { return asDoubles(call("ObjectiveWDs")); }
QVector<double> SimulatedMicroscope::ObjectiveNAs() { return asDoubles(call("ObjectiveNAs")); }
QVector<int32_t> SimulatedMicroscope::FilterNumbers() { return asInts(call("FilterNumbers")); }
QStringList SimulatedMicroscope::FilterNames() { return asTexts(call("FilterNames")); }
QVector<int32_t> SimulatedMicroscope::FilterReikis() { return asInts(call("FilterReikis")); }
QVector<int32_t> SimulatedMicroscope::FilterDMs() { return asInts(call("FilterDMs")); }
QVector<int32_t> SimulatedMicroscope::FilterKyusyus() { return asInts(call("FilterKyusyus")); }
QStringList SimulatedMicroscope::FilterEXNames() { return asTexts(call("FilterEXNames")); }
QStringList SimulatedMicroscope::FilterDMNames() { return asTexts(call("FilterDMNames")); }
QStringList SimulatedMicroscope::FilterBANames() { return asTexts(call("FilterBANames")); }
QVector<int32_t> SimulatedMicroscope::CondenserNumbers() { return asInts(call("CondenserNumbers")); }
QStringList SimulatedMicroscope::CondenserNames() { return asTexts(call("CondenserNames")); }
