#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"

#include <cmath>
#include <memory>

using namespace standfail;

StandEngine::StandEngine(SimulatedStand* owner, const StandDescription& d, const StandClock& clock)
    : m_owner(owner), m_d(d), m_factor(clock.speedFactor()) {
    const StandState& s = d.state;
    const double initial[AxisCount] = {double(s.nosepiece), double(s.filter), double(s.lightPath),
                                       double(s.condenser), s.zoom, s.epiFieldStop, double(s.analyzerIn),
                                       double(s.shutterOpen), s.lampVoltage, double(s.z), double(s.x),
                                       double(s.y), s.apertureStop, s.fieldStop, s.nd};
    for (int a = 0; a < AxisCount; ++a) {
        const int16_t dev = deviceOf(Axis(a));
        double speed = d.devices[dev].speed;
        if (a == Z) speed = speed * s.zSpeed / 4.0;
        m_axis[a] = new MotorAxis(initial[a], speed, a == Z || a == X || a == Y, &m_factor, owner);
    }
    // The name's text is made once: a streaming axis reports 25 times a second.
    auto hook = [this](Axis a, const char* name, bool whole) {
        m_axis[a]->onValue = [this, key = QString::fromLatin1(name), whole](double v) {
            report(key, whole ? QString::number(std::lround(v)) : numberText(v));
        };
    };
    hook(Nose, "AppNosepiecePosition", true);
    hook(Filter, "AppFilterBlockCassettePosition", true);
    hook(Path, "AppLightPathDriveLightPath", true);
    hook(Cond, "AppCondenserCassettePosition", true);
    hook(Zoom, "AppOpticalZoomZoom", false);
    hook(EpiFS, "AppEpiFieldStopFieldStop", false);
    hook(LampV, "AppLampControlVoltage", false);
    hook(Z, "AppZDriveZPosition", true);
    hook(X, "AppXYDriveXPosition", true);
    hook(Y, "AppXYDriveYPosition", true);
    hook(AS, "AppApertureStopApertureStop", false);
    hook(FS, "AppFieldStopFieldStop", false);
    hook(ND, "AppNDFilterTransmission", false);
    m_axis[Analyzer]->onValue = [this](double v) { report("AppAnalyzerIsInserted", v >= 1 ? "1" : "2"); };
    m_axis[Shutter]->onValue = [this](double v) { report("AppEpiShutterIsOpened", v >= 1 ? "1" : "0"); };
    // What the stand would have reported last, so that only changes are sent.
    m_reported = {{"AppNosepiecePosition", QString::number(s.nosepiece)},
                  {"AppFilterBlockCassettePosition", QString::number(s.filter)},
                  {"AppLightPathDriveLightPath", QString::number(s.lightPath)},
                  {"AppCondenserCassettePosition", QString::number(s.condenser)},
                  {"AppOpticalZoomZoom", vb::numberText(s.zoom)},
                  {"AppEpiFieldStopFieldStop", vb::numberText(s.epiFieldStop)},
                  {"AppLampControlVoltage", vb::numberText(s.lampVoltage)},
                  {"AppZDriveZPosition", QString::number(s.z)},
                  {"AppXYDriveXPosition", QString::number(s.x)},
                  {"AppXYDriveYPosition", QString::number(s.y)},
                  {"AppApertureStopApertureStop", vb::numberText(s.apertureStop)},
                  {"AppFieldStopFieldStop", vb::numberText(s.fieldStop)},
                  {"AppNDFilterTransmission", vb::numberText(s.nd)},
                  {"AppAnalyzerIsInserted", s.analyzerIn ? "1" : "2"},
                  {"AppEpiShutterIsOpened", s.shutterOpen ? "1" : "0"},
                  {"AppLampIsOn", QString::number(s.lampOn)},
                  {"AppLampIsPreset", QString::number(s.lampPreset)},
                  {"AppPresetsObservationMode", QString::number(s.observation)},
                  {"AppZDriveIsZEscape", "0"},
                  {"AppXYZDriveIsEscape", "0"}};
    m_lampOn = s.lampOn;
    m_lampPreset = s.lampPreset;
    m_manualVoltage = s.lampVoltage;
    m_nosepieceLink = s.nosepieceLink;
    m_pathLink = s.lightPathLink;
    m_zoomLink = s.zoomLink;
    m_xyMode = s.xyMode;
    m_nosepieceXYMode = s.nosepieceXYMode;
    m_nosepieceZMode = s.nosepieceZMode;
    m_zSpeed = s.zSpeed;
    m_zUpperLimit = d.zUpperLimit;
    m_observation = s.observation;
    m_nosepieceMax = int16_t(d.limits.value(LimitIndex::Nosepiece).upper);
}

StandEngine::~StandEngine() {
    for (MotorAxis* a : m_axis) {
        a->onValue = nullptr;
        a->abort(RunTimeError::ServiceGone);
        delete a;
    }
}

// ---------------------------------------------------------------------------
// The member table: one entry per service operation.
const QHash<QString, StandEngine::Member>& StandEngine::table() {
    static const QHash<QString, Member> t = {
        {"DeviceStatus", {1, &StandEngine::deviceStatus}},
        {"IsMounted", {1, &StandEngine::isMounted}},
        {"IsReadOnly", {1, &StandEngine::isReadOnly}},
        {"PathSubType", {1, &StandEngine::pathSubType}},
        {"UpperLimit", {1, &StandEngine::upperLimit}},
        {"LowerLimit", {1, &StandEngine::lowerLimit}},
        {"Step", {1, &StandEngine::step}},
        {"Version", {1, &StandEngine::version}},
        {"EventLog", {2, &StandEngine::eventLog}},
        {"IsCameraPresent", {1, &StandEngine::isCameraPresent}},
        {"CameraUnit", {0, &StandEngine::cameraUnit}},
        {"CameraHead", {0, &StandEngine::cameraHead}},
        {"NosepiecePosition", {0, &StandEngine::getPosition}},
        {"setNosepiecePosition", {1, &StandEngine::setTurret}},
        {"NosepieceIsInterlockEnabled", {0, &StandEngine::getWord}},
        {"setNosepieceIsInterlockEnabled", {1, &StandEngine::setWord}},
        {"NosepieceXYMode", {0, &StandEngine::getWord}},
        {"setNosepieceXYMode", {1, &StandEngine::setWord}},
        {"NosepieceZMode", {0, &StandEngine::getWord}},
        {"setNosepieceZMode", {1, &StandEngine::setWord}},
        {"FilterBlockCassettePosition", {0, &StandEngine::getPosition}},
        {"setFilterBlockCassettePosition", {1, &StandEngine::setTurret}},
        {"LightPathDriveLightPath", {0, &StandEngine::getPosition}},
        {"setLightPathDriveLightPath", {1, &StandEngine::setTurret}},
        {"LightPathDriveIsInterlockEnabled", {0, &StandEngine::getWord}},
        {"setLightPathDriveIsInterlockEnabled", {1, &StandEngine::setWord}},
        {"CondenserCassettePosition", {0, &StandEngine::getPosition}},
        {"setCondenserCassettePosition", {1, &StandEngine::setTurret}},
        {"ApertureStopApertureStop", {0, &StandEngine::getValue}},
        {"setApertureStopApertureStop", {1, &StandEngine::setValue}},
        {"FieldStopFieldStop", {0, &StandEngine::getValue}},
        {"setFieldStopFieldStop", {1, &StandEngine::setValue}},
        {"EpiFieldStopFieldStop", {0, &StandEngine::getValue}},
        {"setEpiFieldStopFieldStop", {1, &StandEngine::setValue}},
        {"NDFilterTransmission", {0, &StandEngine::getValue}},
        {"setNDFilterTransmission", {1, &StandEngine::setValue}},
        {"NDFilterStepDown", {0, &StandEngine::ndStep}},
        {"NDFilterStepUp", {0, &StandEngine::ndStep}},
        {"LampOn", {0, &StandEngine::lampSwitch}},
        {"LampOff", {0, &StandEngine::lampSwitch}},
        {"LampIsOn", {0, &StandEngine::getWord}},
        {"LampIsPreset", {0, &StandEngine::getWord}},
        {"LampControlVoltage", {0, &StandEngine::getValue}},
        {"setLampControlVoltage", {1, &StandEngine::setValue}},
        {"LampPreset", {0, &StandEngine::lampPreset}},
        {"OpticalZoomZoom", {0, &StandEngine::getValue}},
        {"setOpticalZoomZoom", {1, &StandEngine::setValue}},
        {"OpticalZoomIsInterlockEnabled", {0, &StandEngine::getWord}},
        {"setOpticalZoomIsInterlockEnabled", {1, &StandEngine::setWord}},
        {"AnalyzerIn", {0, &StandEngine::twoState}},
        {"AnalyzerOut", {0, &StandEngine::twoState}},
        {"AnalyzerIsInserted", {0, &StandEngine::getWord}},
        {"EpiShutterOpen", {0, &StandEngine::twoState}},
        {"EpiShutterClose", {0, &StandEngine::twoState}},
        {"EpiShutterIsOpened", {0, &StandEngine::getWord}},
        {"ZDriveZPosition", {0, &StandEngine::getPosition}},
        {"setZDriveZPosition", {1, &StandEngine::setZPosition}},
        {"ZDriveIsZEscape", {0, &StandEngine::getWord}},
        {"setZDriveIsZEscape", {1, &StandEngine::setZEscape}},
        {"setZDriveSpeed", {1, &StandEngine::setZSpeed}},
        {"ZDriveAutoFocus", {0, &StandEngine::autoFocus}},
        {"ZUpperLimit", {0, &StandEngine::zUpperLimit}},
        {"setZUpperLimit", {1, &StandEngine::setZUpperLimit}},
        {"XYDriveXPosition", {0, &StandEngine::getPosition}},
        {"setXYDriveXPosition", {1, &StandEngine::setXYPosition}},
        {"XYDriveYPosition", {0, &StandEngine::getPosition}},
        {"setXYDriveYPosition", {1, &StandEngine::setXYPosition}},
        {"XYDriveIsEscape", {0, &StandEngine::getWord}},
        {"setXYDriveIsEscape", {1, &StandEngine::setXYEscape}},
        {"XYDriveMove", {2, &StandEngine::xyMove}},
        {"XYDriveMode", {0, &StandEngine::getWord}},
        {"setXYDriveMode", {1, &StandEngine::setWord}},
        {"PresetsObservationMode", {0, &StandEngine::observationMode}},
        {"setPresetsObservationMode", {1, &StandEngine::setObservationMode}},
        {"ObservationName", {1, &StandEngine::observationName}},
        {"setObservationName", {2, &StandEngine::setObservationName}},
        {"ObservationPosition", {1, &StandEngine::observationPosition}},
        {"setObservationPosition", {2, &StandEngine::setObservationPosition}},
        {"CustomValue", {3, &StandEngine::customValue}},
        {"CustomObservation", {4, &StandEngine::customObservation}},
        {"ObjectiveNumbers", {0, &StandEngine::tableColumn}},
        {"ObjectiveNames", {0, &StandEngine::tableColumn}},
        {"ObjectiveSeriesNames", {0, &StandEngine::tableColumn}},
        {"ObjectiveTypeNames", {0, &StandEngine::tableColumn}},
        {"ObjectiveRates", {0, &StandEngine::tableColumn}},
        {"ObjectiveWDs", {0, &StandEngine::tableColumn}},
        {"ObjectiveNAs", {0, &StandEngine::tableColumn}},
        {"FilterNumbers", {0, &StandEngine::tableColumn}},
        {"FilterNames", {0, &StandEngine::tableColumn}},
        {"FilterReikis", {0, &StandEngine::tableColumn}},
        {"FilterDMs", {0, &StandEngine::tableColumn}},
        {"FilterKyusyus", {0, &StandEngine::tableColumn}},
        {"FilterEXNames", {0, &StandEngine::tableColumn}},
        {"FilterDMNames", {0, &StandEngine::tableColumn}},
        {"FilterBANames", {0, &StandEngine::tableColumn}},
        {"CondenserNumbers", {0, &StandEngine::tableColumn}},
        {"CondenserNames", {0, &StandEngine::tableColumn}},
        {"SendCommand", {1, &StandEngine::sendCommand}},
    };
    return t;
}

QStringList StandEngine::members() {
    QStringList l = table().keys();
    l.sort();
    return l;
}

void StandEngine::invoke(const QString& member, const QVariantList& args, StandReply done) {
    if (!done) done = [](const StandResult&) {};
    const auto it = table().constFind(member);
    if (it == table().constEnd()) {
        done({RunTimeError::ServiceInvalidArgument, QStringLiteral("Unknown member \"%1\"").arg(member), {}});
        return;
    }
    if (args.size() != it->argc) {
        done({RunTimeError::ServiceInvalidArgument,
              QStringLiteral("%1 takes %2 argument(s), not %3").arg(member).arg(it->argc).arg(args.size()), {}});
        return;
    }
    m_member = member;
    StandArgs a(args, m_member);
    QVariant value;
    try {
        value = (this->*(it->handler))(a, done);
    } catch (const StandRefusal& r) {
        if (done) done({r.code, r.text, {}});
        return;
    }
    if (done) done({0, QString(), value});   // not taken by a move: answer at once
}

// ---------------------------------------------------------------------------
// Guards and helpers.
bool StandEngine::unitAlive(int16_t unit) const { return unit == 0 || !m_dead[unit]; }

void StandEngine::need(int16_t device) const {
    if (m_d.devices[device].status == 0)
        refuse(RunTimeError::ServiceFailure, QStringLiteral("%1 is not mounted").arg(kDeviceText[device]));
    const int16_t unit = m_d.devices[device].unit;
    if (!unitAlive(unit))
        refuse(RunTimeError::ServiceFailure,
               QStringLiteral("%1 does not answer: its unit %2 is not responding").arg(kDeviceText[device]).arg(unit));
}

void StandEngine::needMotor(int16_t device, std::initializer_list<Axis> axes) const {
    need(device);
    if (m_d.devices[device].readOnly != 0 && device <= DeviceIndex::OpticalZoom)
        limitation(QStringLiteral("%1 is read only").arg(kDeviceText[device]));
    for (Axis a : axes)
        if (m_axis[a]->busy()) limitation(QStringLiteral("%1 is still moving").arg(kDeviceText[device]));
}

void StandEngine::needRange(double value, int16_t limitIndex) const {
    const StandLimits l = m_d.limits.value(limitIndex);
    if (!std::isfinite(value) || value < l.lower - 1e-9 || value > l.upper + 1e-9)
        limitation(QStringLiteral("%1 is outside %2 to %3").arg(vb::numberText(value),
                                                              vb::numberText(l.lower), vb::numberText(l.upper)));
}

void StandEngine::report(const char* name, const QString& value) { report(QString::fromLatin1(name), value); }

void StandEngine::report(const QString& name, const QString& value) {
    QString& last = m_reported[name];
    if (last == value) return;
    last = value;
    emit m_owner->propertyChanged(name + QLatin1Char(':') + value);
}

void StandEngine::report(const char* name, double value) { report(name, numberText(value)); }

QString StandEngine::numberText(double value) { return vb::numberText(std::round(value * 1e6) / 1e6); }

int16_t StandEngine::deviceOf(Axis a) const {
    static const int16_t kDev[AxisCount] = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 11, 12, 13, 14};
    return kDev[a];
}

int32_t StandEngine::counts(Axis a) const { return int32_t(std::lround(m_axis[a]->value())); }
int16_t StandEngine::nosepieceAddress() const { return int16_t(counts(Nose)); }

bool StandEngine::takeStall(int16_t device) { return m_stalls.remove(device); }

void StandEngine::moveAxes(std::initializer_list<std::pair<Axis, double>> moves, StandReply& done,
                           std::function<QVariant()> after) {
    struct Pending {
        int left = 1;
        int32_t error = 0;
        StandReply done;
        std::function<QVariant()> after;
    };
    auto p = std::make_shared<Pending>();
    p->done = std::move(done);
    p->after = std::move(after);
    auto finishOne = [p](int32_t error) {
        if (error != 0 && p->error == 0) p->error = error;
        if (--p->left > 0) return;
        StandResult r;
        r.error = p->error;
        if (r.error == RunTimeError::ServiceTimeOut) r.errorText = QStringLiteral("The move timed out");
        else if (r.error != 0) r.errorText = QStringLiteral("The move failed");
        if (r.error == 0 && p->after) r.value = p->after();
        p->done(r);
    };
    QSet<int16_t> stalled;
    for (const auto& m : moves)
        if (takeStall(deviceOf(m.first))) stalled.insert(deviceOf(m.first));
    for (const auto& m : moves) {
        ++p->left;
        m_axis[m.first]->moveTo(m.second, stalled.contains(deviceOf(m.first)), finishOne);
    }
    finishOne(0);
}


// ---------------------------------------------------------------------------
// Fault injection.
void StandEngine::killUnit(int16_t unit) {
    if (unit < 1 || unit > StandDescription::kUnits)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("Unknown unit %1").arg(unit));
    m_dead[unit] = true;
    for (int a = 0; a < AxisCount; ++a)
        if (m_d.unitOf(deviceOf(Axis(a))) == unit) m_axis[a]->abort(RunTimeError::ServiceFailure);
}

void StandEngine::reviveUnit(int16_t unit) {
    if (unit < 1 || unit > StandDescription::kUnits)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("Unknown unit %1").arg(unit));
    m_dead[unit] = false;
}

void StandEngine::stallDevice(int16_t device) {
    if (device < 1 || device > StandDescription::kDevices)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("Unknown device %1").arg(device));
    m_stalls.insert(device);
}

void StandEngine::clearFaults() {
    m_dead.fill(false);
    m_stalls.clear();
}

void StandEngine::setSpeedFactor(double factor) {
    m_factor = std::isfinite(factor) && factor > 0 ? factor : 0.0;
    for (MotorAxis* a : m_axis) a->speedFactorChanged();
}
