#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"

#include <QRegularExpression>
#include <cmath>
#include <memory>

namespace {

[[noreturn]] void refuse(int32_t code, const QString& text) { throw StandRefusal{code, text}; }
[[noreturn]] void limitation(const QString& text) { refuse(RunTimeError::ServiceLimitation, text); }
[[noreturn]] void invalid(const QString& text) { refuse(RunTimeError::ServiceInvalidArgument, text); }

const char* const kDeviceText[] = {"",          "Nosepiece",    "FilterBlockCassette", "LightPathDrive",
                                   "CondenserCassette", "OpticalZoom", "EpiFieldStop", "Analyzer",
                                   "EpiShutter", "Lamp",        "ZDrive",       "XYDrive",
                                   "ApertureStop", "FieldStop", "NDFilter"};
const int16_t kLimitIndices[] = {1, 2, 4, 5, 6, 9, 11, 13, 14, 16, 17, 18};

QVariantList ints(const QVector<int32_t>& v) {
    QVariantList l;
    for (int32_t x : v) l << QVariant(int(x));
    return l;
}
QVariantList doubles(const QVector<double>& v) {
    QVariantList l;
    for (double x : v) l << QVariant(x);
    return l;
}

} // namespace

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
    auto hook = [this](Axis a, const char* name, bool whole) {
        m_axis[a]->onValue = [this, name, whole](double v) {
            if (whole) report(name, QString::number(std::lround(v)));
            else report(name, v);
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

void StandEngine::report(const char* name, const QString& value) {
    QString& last = m_reported[QLatin1String(name)];
    if (last == value) return;
    last = value;
    emit m_owner->propertyChanged(QLatin1String(name) + QLatin1Char(':') + value);
}

void StandEngine::report(const char* name, double value) {
    report(name, vb::numberText(std::round(value * 1e6) / 1e6));
}

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
// Inventory.
QVariant StandEngine::deviceStatus(const StandArgs& a, StandReply&) {
    const int16_t u = a.int16(0);
    if (u < 1 || u > StandDescription::kUnits) invalid(QStringLiteral("Unknown unit %1").arg(u));
    if (!m_d.units[u]) return 0;
    return m_dead[u] ? 2 : 1;
}

QVariant StandEngine::isMounted(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 1 || d > StandDescription::kDevices) invalid(QStringLiteral("Unknown device %1").arg(d));
    return int(m_d.devices[d].status);
}

QVariant StandEngine::isReadOnly(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 1 || d > StandDescription::kDevices) invalid(QStringLiteral("Unknown device %1").arg(d));
    return int(m_d.devices[d].status != 0 ? m_d.devices[d].readOnly : 0);
}

QVariant StandEngine::pathSubType(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d != DeviceIndex::LightPathDrive) invalid(QStringLiteral("PathSubType is asked of device 3, not %1").arg(d));
    need(d);
    return int(m_d.pathSubType);
}

static int16_t checkedLimit(const StandArgs& a) {
    const int16_t i = a.int16(0);
    for (int16_t k : kLimitIndices)
        if (k == i) return i;
    invalid(QStringLiteral("Unknown limit index %1").arg(i));
}

QVariant StandEngine::upperLimit(const StandArgs& a, StandReply&) {
    const int16_t i = checkedLimit(a);
    return m_d.limits.value(i).upper;
}

QVariant StandEngine::lowerLimit(const StandArgs& a, StandReply&) {
    const int16_t i = checkedLimit(a);
    // Once the nosepiece has reported a new maximum, its lower limit read
    // delivers that maximum, as the stand's firmware does.
    if (i == LimitIndex::Nosepiece && m_nosepieceMaxReported) return double(m_nosepieceMax);
    return m_d.limits.value(i).lower;
}

QVariant StandEngine::step(const StandArgs& a, StandReply&) { return m_d.limits.value(checkedLimit(a)).step; }

QVariant StandEngine::version(const StandArgs& a, StandReply&) {
    const int16_t u = a.int16(0);
    if (u < 1 || u > StandDescription::kUnits) invalid(QStringLiteral("Unknown unit %1").arg(u));
    if (!m_d.units[u] || m_dead[u]) refuse(RunTimeError::ServiceFailure, QStringLiteral("Unit %1 does not answer").arg(u));
    return m_d.versions[u];
}

QVariant StandEngine::eventLog(const StandArgs& a, StandReply&) {
    const int16_t u = a.int16(0);
    const int16_t e = a.int16(1);
    if (u < 1 || u > StandDescription::kUnits) invalid(QStringLiteral("Unknown unit %1").arg(u));
    if (!m_d.units[u] || m_dead[u]) refuse(RunTimeError::ServiceFailure, QStringLiteral("Unit %1 does not answer").arg(u));
    const QStringList& log = m_d.eventLogs[u];
    if (e < 1 || e > log.size()) invalid(QStringLiteral("Unit %1 has no event log entry %2").arg(u).arg(e));
    return log[e - 1];
}

QVariant StandEngine::isCameraPresent(const StandArgs& a, StandReply&) {
    const int16_t i = a.int16(0);
    if (i < 0) invalid(QStringLiteral("Unknown microscope index %1").arg(i));
    return m_d.camera ? 1 : 0;
}

QVariant StandEngine::cameraUnit(const StandArgs&, StandReply&) {
    if (!m_d.camera) refuse(RunTimeError::ServiceFailure, QStringLiteral("No camera is attached"));
    return int(m_d.cameraUnit);
}

QVariant StandEngine::cameraHead(const StandArgs&, StandReply&) {
    if (!m_d.camera) refuse(RunTimeError::ServiceFailure, QStringLiteral("No camera is attached"));
    return int(m_d.cameraHead);
}

// ---------------------------------------------------------------------------
// Turrets, positions and words.
QVariant StandEngine::getPosition(const StandArgs&, StandReply&) {
    static const QHash<QString, Axis> k = {{"NosepiecePosition", Nose}, {"FilterBlockCassettePosition", Filter},
                                           {"LightPathDriveLightPath", Path}, {"CondenserCassettePosition", Cond},
                                           {"ZDriveZPosition", Z}, {"XYDriveXPosition", X}, {"XYDriveYPosition", Y}};
    const Axis ax = k.value(m_member);
    need(deviceOf(ax));
    return int(counts(ax));
}

QVariant StandEngine::setTurret(const StandArgs& a, StandReply& done) {
    struct T { Axis axis; int16_t limit; };
    static const QHash<QString, T> k = {{"setNosepiecePosition", {Nose, LimitIndex::Nosepiece}},
                                        {"setFilterBlockCassettePosition", {Filter, LimitIndex::FilterBlockCassette}},
                                        {"setLightPathDriveLightPath", {Path, 0}},
                                        {"setCondenserCassettePosition", {Cond, LimitIndex::CondenserCassette}}};
    const T t = k.value(m_member);
    const int16_t pos = a.int16(0);
    const int16_t dev = deviceOf(t.axis);
    needMotor(dev, {t.axis});
    if (t.limit != 0) needRange(pos, t.limit);
    else if (pos < 1 || pos > 3) limitation(QStringLiteral("Light path %1 is outside 1 to 3").arg(pos));
    if (t.axis == Nose && m_nosepieceLink != 0 && counts(Z) > m_zUpperLimit)
        limitation(QStringLiteral("Nosepiece interlock: the focus is above the upper limit"));
    moveAxes({{t.axis, double(pos)}}, done);
    return {};
}

QVariant StandEngine::getWord(const StandArgs&, StandReply&) {
    static const QHash<QString, int16_t> dev = {
        {"NosepieceIsInterlockEnabled", 1}, {"NosepieceXYMode", 1}, {"NosepieceZMode", 1},
        {"LightPathDriveIsInterlockEnabled", 3}, {"LampIsOn", 9}, {"LampIsPreset", 9},
        {"OpticalZoomIsInterlockEnabled", 5}, {"AnalyzerIsInserted", 7}, {"EpiShutterIsOpened", 8},
        {"ZDriveIsZEscape", 10}, {"XYDriveIsEscape", 11}, {"XYDriveMode", 11}};
    need(dev.value(m_member));
    if (m_member == QLatin1String("NosepieceIsInterlockEnabled")) return int(m_nosepieceLink);
    if (m_member == QLatin1String("NosepieceXYMode")) return int(m_nosepieceXYMode);
    if (m_member == QLatin1String("NosepieceZMode")) return int(m_nosepieceZMode);
    if (m_member == QLatin1String("LightPathDriveIsInterlockEnabled")) return int(m_pathLink);
    if (m_member == QLatin1String("LampIsOn")) return int(m_lampOn);
    if (m_member == QLatin1String("LampIsPreset")) return int(m_lampPreset);
    if (m_member == QLatin1String("OpticalZoomIsInterlockEnabled")) return int(m_zoomLink);
    if (m_member == QLatin1String("AnalyzerIsInserted")) return counts(Analyzer) >= 1 ? 1 : 0;
    if (m_member == QLatin1String("EpiShutterIsOpened")) return counts(Shutter) >= 1 ? 1 : 0;
    if (m_member == QLatin1String("ZDriveIsZEscape")) return int(m_zEscape);
    if (m_member == QLatin1String("XYDriveIsEscape")) return int(m_xyEscape);
    return int(m_xyMode);   // XYDriveMode
}

QVariant StandEngine::setWord(const StandArgs& a, StandReply&) {
    const int16_t v = a.int16(0);
    struct W { int16_t device; int16_t* field; bool flag; };
    const QHash<QString, W> k = {{"setNosepieceIsInterlockEnabled", {1, &m_nosepieceLink, true}},
                                 {"setNosepieceXYMode", {1, &m_nosepieceXYMode, false}},
                                 {"setNosepieceZMode", {1, &m_nosepieceZMode, false}},
                                 {"setLightPathDriveIsInterlockEnabled", {3, &m_pathLink, true}},
                                 {"setOpticalZoomIsInterlockEnabled", {5, &m_zoomLink, true}},
                                 {"setXYDriveMode", {11, &m_xyMode, false}}};
    const W w = k.value(m_member);
    need(w.device);
    if (!w.flag && (v < 0 || v > 3)) limitation(QStringLiteral("Mode word %1 is outside 0 to 3").arg(v));
    *w.field = w.flag ? (v != 0 ? 1 : 0) : v;
    return {};
}

// ---------------------------------------------------------------------------
// Continuous values: stops, ND, zoom, lamp voltage.
namespace {
struct ValueDevice { int axis; int16_t limit; };
const QHash<QString, ValueDevice>& valueDevices() {
    // Axis numbers follow StandEngine::Axis.
    static const QHash<QString, ValueDevice> k = {
        {"ApertureStopApertureStop", {12, 16}}, {"FieldStopFieldStop", {13, 17}},
        {"EpiFieldStopFieldStop", {5, 6}},      {"NDFilterTransmission", {14, 18}},
        {"LampControlVoltage", {8, 9}},         {"OpticalZoomZoom", {4, 5}}};
    return k;
}
} // namespace

QVariant StandEngine::getValue(const StandArgs&, StandReply&) {
    const ValueDevice v = valueDevices().value(m_member);
    need(deviceOf(Axis(v.axis)));
    return std::round(m_axis[v.axis]->value() * 1e6) / 1e6;
}

QVariant StandEngine::setValue(const StandArgs& a, StandReply& done) {
    const ValueDevice v = valueDevices().value(m_member.mid(3));
    const double x = a.number(0);
    const Axis ax = Axis(v.axis);
    needMotor(deviceOf(ax), {ax});
    needRange(x, v.limit);
    if (ax == Zoom && m_zoomLink != 0 && counts(Path) != 3)
        limitation(QStringLiteral("Zoom interlock: the light path is not on the rear port"));
    if (ax == LampV) {
        m_manualVoltage = x;
        setPreset(0);
    }
    moveAxes({{ax, x}}, done);
    return {};
}

QVariant StandEngine::ndStep(const StandArgs&, StandReply& done) {
    needMotor(DeviceIndex::NDFilter, {ND});
    const StandLimits l = m_d.limits.value(LimitIndex::NDFilter);
    const double now = m_axis[ND]->value();
    const bool up = m_member == QLatin1String("NDFilterStepUp");
    if ((up && now >= l.upper) || (!up && now <= l.lower))
        limitation(QStringLiteral("The ND filter is at its end"));
    const double next = std::clamp(now + (up ? l.step : -l.step), l.lower, l.upper);
    moveAxes({{ND, next}}, done);
    return {};
}

void StandEngine::setLampOn(int16_t on) {
    m_lampOn = on;
    report("AppLampIsOn", QString::number(on));
}

void StandEngine::setPreset(int16_t preset) {
    m_lampPreset = preset;
    report("AppLampIsPreset", QString::number(preset));
}

QVariant StandEngine::lampSwitch(const StandArgs&, StandReply&) {
    need(DeviceIndex::Lamp);
    setLampOn(m_member == QLatin1String("LampOn") ? 1 : 0);
    return {};
}

QVariant StandEngine::lampPreset(const StandArgs&, StandReply& done) {
    needMotor(DeviceIndex::Lamp, {LampV});
    setPreset(1);
    moveAxes({{LampV, m_d.state.lampPresetVoltage}}, done);
    return {};
}

QVariant StandEngine::twoState(const StandArgs&, StandReply& done) {
    const bool analyzer = m_member.startsWith(QLatin1String("Analyzer"));
    const Axis ax = analyzer ? Analyzer : Shutter;
    needMotor(deviceOf(ax), {ax});
    const bool on = m_member == QLatin1String("AnalyzerIn") || m_member == QLatin1String("EpiShutterOpen");
    moveAxes({{ax, on ? 1.0 : 0.0}}, done);
    return {};
}

// ---------------------------------------------------------------------------
// Z focus drive.
QVariant StandEngine::setZPosition(const StandArgs& a, StandReply& done) {
    const int32_t z = a.int32(0);
    needMotor(DeviceIndex::ZDrive, {Z});
    if (m_zEscape) limitation(QStringLiteral("The focus drive is escaped"));
    needRange(z, LimitIndex::ZDrive);
    if (z > m_zUpperLimit) limitation(QStringLiteral("%1 is above the focus upper limit %2").arg(z).arg(m_zUpperLimit));
    moveAxes({{Z, double(z)}}, done);
    return {};
}

QVariant StandEngine::setZEscape(const StandArgs& a, StandReply& done) {
    const int16_t e = a.int16(0) != 0 ? 1 : 0;
    needMotor(DeviceIndex::ZDrive, {Z});
    if (e == m_zEscape) return {};
    int32_t target;
    if (e) {
        m_zBeforeEscape = counts(Z);
        target = int32_t(m_d.limits.value(LimitIndex::ZDrive).lower);
    } else {
        target = m_zBeforeEscape;
    }
    m_zEscape = e;
    report("AppZDriveIsZEscape", QString::number(e));
    moveAxes({{Z, double(target)}}, done);
    return {};
}

QVariant StandEngine::setZSpeed(const StandArgs& a, StandReply&) {
    const int16_t s = a.int16(0);
    need(DeviceIndex::ZDrive);
    if (s < 1 || s > 9) limitation(QStringLiteral("Speed code %1 is outside 1 to 9").arg(s));
    m_zSpeed = s;
    m_axis[Z]->setSpeed(m_d.devices[DeviceIndex::ZDrive].speed * s / 4.0);
    return {};
}

QVariant StandEngine::autoFocus(const StandArgs&, StandReply& done) {
    needMotor(DeviceIndex::ZDrive, {Z});
    if (!m_d.camera) limitation(QStringLiteral("Auto focus needs a camera"));
    if (m_zEscape) limitation(QStringLiteral("The focus drive is escaped"));
    const StandLimits l = m_d.limits.value(LimitIndex::ZDrive);
    const double target = std::clamp(double(m_d.autoFocusPosition), l.lower, std::min(l.upper, double(m_zUpperLimit)));
    const int32_t result = m_d.autoFocusResult;
    moveAxes({{Z, target}}, done, [result] { return QVariant(int(result)); });
    return {};
}

QVariant StandEngine::zUpperLimit(const StandArgs&, StandReply&) {
    need(DeviceIndex::ZDrive);
    return int(m_zUpperLimit);
}

QVariant StandEngine::setZUpperLimit(const StandArgs& a, StandReply&) {
    const int32_t v = a.int32(0);
    need(DeviceIndex::ZDrive);
    needRange(v, LimitIndex::ZDrive);
    m_zUpperLimit = v;
    return {};
}

// ---------------------------------------------------------------------------
// XY stage.
QVariant StandEngine::setXYPosition(const StandArgs& a, StandReply& done) {
    const bool x = m_member == QLatin1String("setXYDriveXPosition");
    const int32_t v = a.int32(0);
    needMotor(DeviceIndex::XYDrive, {X, Y});
    if (m_xyEscape) limitation(QStringLiteral("The stage is escaped"));
    needRange(v, x ? LimitIndex::XYDriveX : LimitIndex::XYDriveY);
    moveAxes({{x ? X : Y, double(v)}}, done);
    return {};
}

QVariant StandEngine::xyMove(const StandArgs& a, StandReply& done) {
    const int32_t x = a.int32(0);
    const int32_t y = a.int32(1);
    needMotor(DeviceIndex::XYDrive, {X, Y});
    if (m_xyEscape) limitation(QStringLiteral("The stage is escaped"));
    needRange(x, LimitIndex::XYDriveX);
    needRange(y, LimitIndex::XYDriveY);
    moveAxes({{X, double(x)}, {Y, double(y)}}, done);
    return {};
}

QVariant StandEngine::setXYEscape(const StandArgs& a, StandReply& done) {
    const int16_t e = a.int16(0) != 0 ? 1 : 0;
    needMotor(DeviceIndex::XYDrive, {X, Y});
    if (e == m_xyEscape) return {};
    double tx, ty;
    if (e) {
        m_xBeforeEscape = counts(X);
        m_yBeforeEscape = counts(Y);
        tx = m_d.limits.value(LimitIndex::XYDriveX).lower;   // the load position at the front left
        ty = m_d.limits.value(LimitIndex::XYDriveY).lower;
    } else {
        tx = m_xBeforeEscape;
        ty = m_yBeforeEscape;
    }
    m_xyEscape = e;
    report("AppXYZDriveIsEscape", QString::number(e));
    moveAxes({{X, tx}, {Y, ty}}, done);
    return {};
}

// ---------------------------------------------------------------------------
// Observation methods.
static int16_t checkedObservation(const StandArgs& a, int i = 0) {
    const int16_t n = a.int16(i);
    if (n < 1 || n > StandDescription::kObservations)
        invalid(QStringLiteral("Observation %1 is outside 1 to 12").arg(n));
    return n;
}

QVariant StandEngine::observationMode(const StandArgs&, StandReply&) { return int(m_observation); }

QVariant StandEngine::setObservationMode(const StandArgs& a, StandReply& done) {
    const int16_t n = checkedObservation(a);
    const ObservationPositions& p = m_d.observations[n].positions;
    QVector<std::pair<Axis, double>> plan;
    int16_t lamp = -1;
    auto usable = [&](int16_t device) {
        const StandDevice& d = m_d.devices[device];
        if (d.status == 0 || (d.readOnly != 0 && device <= DeviceIndex::OpticalZoom)) return false;
        if (!unitAlive(d.unit))
            refuse(RunTimeError::ServiceFailure, QStringLiteral("%1 does not answer").arg(kDeviceText[device]));
        return true;
    };
    const int16_t objective = p.objective > 0 && usable(1) ? int16_t(p.objective) : nosepieceAddress();
    if (p.objective > 0 && usable(1)) plan.push_back({Nose, double(p.objective)});
    if (p.filter > 0 && usable(2)) plan.push_back({Filter, double(p.filter)});
    if (p.condenser > 0 && usable(4)) {
        int target = 0;
        if (p.condenser > 4) {
            target = p.condenser - 4;
        } else {
            for (int i = 0; i < m_d.condensers.size() && !target; ++i)
                if (m_d.condensers[i].kind == p.condenser) target = i + 1;
        }
        if (target > 0) plan.push_back({Cond, double(target)});
    }
    const StandObjective* ob = objective >= 1 && objective <= m_d.objectives.size() ? &m_d.objectives[objective - 1] : nullptr;
    auto stop = [&](int32_t code, int16_t device, Axis ax, int16_t limit, double objectiveValue) {
        if (code <= 0 || !usable(device)) return;
        const StandLimits l = m_d.limits.value(limit);
        double v = l.upper;
        if (code == 1) v = m_custom[device - 12][n][std::clamp<int>(objective, 0, 8)];
        else if (code == 2) v = objectiveValue;
        plan.push_back({ax, std::clamp(v, l.lower, l.upper)});
    };
    stop(p.apertureStop, 12, AS, LimitIndex::ApertureStop, ob ? ob->apertureStop : 0);
    stop(p.fieldStop, 13, FS, LimitIndex::FieldStop, ob ? ob->fieldStop : 0);
    stop(p.nd, 14, ND, LimitIndex::NDFilter, ob ? ob->nd : 100);
    if ((p.lamp == 3 || p.lamp == 4) && usable(9)) lamp = p.lamp == 3 ? 1 : 0;
    if ((p.analyzer == 3 || p.analyzer == 4) && usable(7)) plan.push_back({Analyzer, p.analyzer == 3 ? 1.0 : 0.0});
    if ((p.shutter == 3 || p.shutter == 4) && usable(8)) plan.push_back({Shutter, p.shutter == 3 ? 1.0 : 0.0});
    if (p.path >= 1 && p.path <= 3 && usable(3)) plan.push_back({Path, double(p.path)});
    if (p.zoom >= 1 && p.zoom <= 13 && usable(5)) plan.push_back({Zoom, (p.zoom + 7) / 10.0});
    for (const auto& m : plan)
        if (m_axis[m.first]->busy()) limitation(QStringLiteral("%1 is still moving").arg(kDeviceText[deviceOf(m.first)]));

    if (lamp >= 0) setLampOn(lamp);
    // The stand sequences the whole method itself; it answers when every device has arrived.
    struct Pending { int left = 1; int32_t error = 0; StandReply done; };
    auto pending = std::make_shared<Pending>();
    pending->done = std::move(done);
    auto one = [this, pending, n](int32_t error) {
        if (error && !pending->error) pending->error = error;
        if (--pending->left > 0) return;
        if (!pending->error) {
            m_observation = n;
            report("AppPresetsObservationMode", QString::number(n));
        }
        pending->done({pending->error, pending->error ? QStringLiteral("The observation method did not complete") : QString(), {}});
    };
    QSet<int16_t> stalled;
    for (const auto& m : plan)
        if (takeStall(deviceOf(m.first))) stalled.insert(deviceOf(m.first));
    for (const auto& m : plan) {
        ++pending->left;
        m_axis[m.first]->moveTo(m.second, stalled.contains(deviceOf(m.first)), one);
    }
    one(0);
    return {};
}

QVariant StandEngine::observationName(const StandArgs& a, StandReply&) {
    return m_d.observations[checkedObservation(a)].name;
}

QVariant StandEngine::setObservationName(const StandArgs& a, StandReply&) {
    const int16_t n = checkedObservation(a);
    const QString name = a.text(1);
    if (n < 7) limitation(QStringLiteral("Observation %1 is built in").arg(n));
    if (name.size() > 63) limitation(QStringLiteral("The name is longer than 63 characters"));
    m_d.observations[n].name = name;
    return {};
}

QVariant StandEngine::observationPosition(const StandArgs& a, StandReply&) {
    const ObservationPositions& p = m_d.observations[checkedObservation(a)].positions;
    return QVariantList{p.lamp, p.nd, p.fieldStop, p.condenser, p.apertureStop, p.filter,
                        p.shutter, p.analyzer, p.objective, p.path, p.zoom};
}

QVariant StandEngine::setObservationPosition(const StandArgs& a, StandReply&) {
    const int16_t n = checkedObservation(a);
    const QVariantList l = a.list(1);
    if (l.size() != 11) invalid(QStringLiteral("An observation method holds 11 command codes, not %1").arg(l.size()));
    StandArgs codes(l, m_member);
    int32_t v[11];
    for (int i = 0; i < 11; ++i) v[i] = codes.int32(i);
    if (n < 7) limitation(QStringLiteral("Observation %1 is built in").arg(n));
    auto in = [](int32_t x, std::initializer_list<int32_t> allowed) {
        for (int32_t k : allowed) if (k == x) return true;
        return false;
    };
    const int nose = int(m_d.limits.value(LimitIndex::Nosepiece).upper);
    const int filt = int(m_d.limits.value(LimitIndex::FilterBlockCassette).upper);
    const int cond = int(m_d.limits.value(LimitIndex::CondenserCassette).upper);
    const struct { bool ok; const char* what; } checks[] = {
        {in(v[0], {0, 3, 4}), "lamp"},          {v[1] >= 0 && v[1] <= 2, "ND"},
        {v[2] >= 0 && v[2] <= 3, "field stop"}, {v[3] >= 0 && v[3] <= 4 + cond, "condenser"},
        {v[4] >= 0 && v[4] <= 3, "aperture stop"}, {v[5] >= 0 && v[5] <= filt, "filter"},
        {in(v[6], {-1, 0, 3, 4}), "shutter"},   {in(v[7], {-1, 0, 3, 4}), "analyzer"},
        {v[8] >= 0 && v[8] <= nose, "objective"}, {v[9] >= -1 && v[9] <= 3, "light path"},
        {v[10] >= 0 && v[10] <= 13, "zoom"}};
    for (const auto& c : checks)
        if (!c.ok) limitation(QStringLiteral("The %1 code is out of range").arg(QLatin1String(c.what)));
    m_d.observations[n].positions = {v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7], v[8], v[9], v[10]};
    return {};
}

QVariant StandEngine::customValue(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 12 || d > 14) invalid(QStringLiteral("Custom values belong to devices 12 to 14, not %1").arg(d));
    const int16_t n = checkedObservation(a, 1);
    const int16_t address = a.int16(2);
    if (address < 0 || address > 8) invalid(QStringLiteral("Nosepiece address %1 is outside 0 to 8").arg(address));
    return m_custom[d - 12][n][address];
}

QVariant StandEngine::customObservation(const StandArgs& a, StandReply&) {
    const int16_t d = a.int16(0);
    if (d < 12 || d > 14) invalid(QStringLiteral("Custom values belong to devices 12 to 14, not %1").arg(d));
    const int16_t n = checkedObservation(a, 1);
    const int16_t address = a.int16(2);
    if (address < 0 || address > 8) invalid(QStringLiteral("Nosepiece address %1 is outside 0 to 8").arg(address));
    const double v = a.number(3);
    need(d);
    needRange(v, d == 12 ? LimitIndex::ApertureStop : d == 13 ? LimitIndex::FieldStop : LimitIndex::NDFilter);
    m_custom[d - 12][n][address] = v;
    return {};
}

// ---------------------------------------------------------------------------
// Tables as parallel arrays.
QVariant StandEngine::tableColumn(const StandArgs&, StandReply&) {
    const QString& m = m_member;
    QVector<int32_t> iv;
    QVector<double> dv;
    QStringList sv;
    if (m.startsWith(QLatin1String("Objective"))) {
        for (const StandObjective& o : m_d.objectives) {
            iv << o.number;
            if (m == QLatin1String("ObjectiveNames")) sv << o.name;
            else if (m == QLatin1String("ObjectiveSeriesNames")) sv << o.series;
            else if (m == QLatin1String("ObjectiveTypeNames")) sv << o.type;
            else if (m == QLatin1String("ObjectiveRates")) dv << o.rate;
            else if (m == QLatin1String("ObjectiveWDs")) dv << o.wd;
            else if (m == QLatin1String("ObjectiveNAs")) dv << o.na;
        }
    } else if (m.startsWith(QLatin1String("Filter"))) {
        for (const StandFilter& f : m_d.filters) {
            if (m == QLatin1String("FilterNumbers")) iv << f.number;
            else if (m == QLatin1String("FilterReikis")) iv << f.reiki;
            else if (m == QLatin1String("FilterDMs")) iv << f.dm;
            else if (m == QLatin1String("FilterKyusyus")) iv << f.kyusyu;
            else if (m == QLatin1String("FilterNames")) sv << f.name;
            else if (m == QLatin1String("FilterEXNames")) sv << f.exName;
            else if (m == QLatin1String("FilterDMNames")) sv << f.dmName;
            else if (m == QLatin1String("FilterBANames")) sv << f.baName;
        }
    } else {
        for (const StandCondenser& c : m_d.condensers) {
            iv << c.number;
            sv << c.name;
        }
    }
    if (m.endsWith(QLatin1String("Names"))) return sv;
    if (m.endsWith(QLatin1String("Rates")) || m.endsWith(QLatin1String("WDs")) || m.endsWith(QLatin1String("NAs")))
        return doubles(dv);
    return ints(iv);
}

// ---------------------------------------------------------------------------
// The controller's raw command language.
QVariant StandEngine::sendCommand(const StandArgs& a, StandReply& done) {
    const QString cmd = a.text(0).trimmed();
    static const QRegularExpression kGas(QStringLiteral("^cGAS([+-]?\\d{1,9})$"));
    static const QRegularExpression kAddress(QStringLiteral("^(rOPR|rXPR)(\\d{1,3})$"));
    static const QRegularExpression kVer(QStringLiteral("^rVER(\\d?)$"));
    auto zDrive = [this](const QString& c) {
        if (m_d.devices[DeviceIndex::ZDrive].status == 0) return c + QStringLiteral("!,E01 no focus drive");
        if (!unitAlive(m_d.unitOf(DeviceIndex::ZDrive)))
            refuse(RunTimeError::ServiceFailure, QStringLiteral("The focus drive does not answer"));
        return QString();
    };
    QRegularExpressionMatch match;
    if ((match = kGas.match(cmd)).hasMatch()) {
        if (QString e = zDrive(QStringLiteral("cGAS")); !e.isEmpty()) return e;
        const double z = match.captured(1).toDouble();
        const StandLimits l = m_d.limits.value(LimitIndex::ZDrive);
        if (z < l.lower || z > l.upper) return QStringLiteral("cGAS!,E02 out of range");
        if (m_zEscape) return QStringLiteral("cGAS!,E03 escaped");
        if (m_axis[Z]->busy()) return QStringLiteral("cGAS!,E04 busy");
        moveAxes({{Z, z}}, done, [] { return QVariant(QStringLiteral("cGAS+")); });
        return {};
    }
    if (cmd == QLatin1String("cOPS2")) {
        if (QString e = zDrive(cmd); !e.isEmpty()) return e;
        const int16_t address = nosepieceAddress();
        if (address < 1 || address > m_d.focusMemory.size()) return QStringLiteral("cOPS2!,E05 no objective");
        m_d.focusMemory[address - 1] = counts(Z);
        return QStringLiteral("cOPS2+");
    }
    if (cmd == QLatin1String("rSPR")) {
        if (QString e = zDrive(cmd); !e.isEmpty()) return e;
        return QString::number(counts(Z));
    }
    if ((match = kAddress.match(cmd)).hasMatch()) {
        const QString op = match.captured(1);
        const int address = match.captured(2).toInt();
        if (address < 1 || address > m_d.focusMemory.size()) return op + QStringLiteral("!,E06 no such address");
        if (op == QLatin1String("rOPR")) {
            if (QString e = zDrive(op); !e.isEmpty()) return e;
            return op + QString::asprintf("%+08d", m_d.focusMemory[address - 1]);
        }
        const auto& xy = m_d.stageMemory[address - 1];
        return QStringLiteral("X") + QString::asprintf("%+07d%+07d", xy.first, xy.second);
    }
    if ((match = kVer.match(cmd)).hasMatch()) {
        const int u = match.captured(1).isEmpty() ? 1 : match.captured(1).toInt();
        if (u < 1 || u > StandDescription::kUnits || !m_d.units[u] || m_dead[u]) return QStringLiteral("rVER!,E07 no such unit");
        return QStringLiteral("rVER,") + m_d.versions[u];
    }
    if (cmd == QLatin1String("rUST")) {
        QString r = QStringLiteral("rUST");
        for (int u = 1; u <= StandDescription::kUnits; ++u) r += QLatin1Char(',') + QString::number(!m_d.units[u] ? 0 : m_dead[u] ? 2 : 1);
        return r;
    }
    static const QRegularExpression kMax(QStringLiteral("^cNMX(\\d{1,2})$"));
    if ((match = kMax.match(cmd)).hasMatch()) {
        // The usable range of the nosepiece changes (an address blocked or freed).
        const int max = match.captured(1).toInt();
        if (max < 1 || max > int(m_d.limits.value(LimitIndex::Nosepiece).upper)) return QStringLiteral("cNMX!,E08 out of range");
        m_nosepieceMax = int16_t(max);
        m_nosepieceMaxReported = true;
        m_reported.remove(QStringLiteral("AppNosepieceMaxValue"));
        report("AppNosepieceMaxValue", QString::number(max));
        return QStringLiteral("cNMX+");
    }
    if (cmd == QLatin1String("rNOB")) return QStringLiteral("rNOB,") + QString::number(nosepieceAddress());
    if (cmd.isEmpty()) return QStringLiteral("ERR,empty command");
    return QStringLiteral("ERR,unknown command \"%1\"").arg(cmd);
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

void StandEngine::setSpeedFactor(double factor) { m_factor = std::isfinite(factor) && factor > 0 ? factor : 0.0; }
