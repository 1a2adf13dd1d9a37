// The optical devices: turrets, light path, interlock and mode words, stops,
// ND filter, lamp, zoom, analyzer and shutter.
#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"

#include <cmath>

using namespace standfail;

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
    // The nosepiece's usable range can be narrower than the turret (see "cNMX").
    if (t.axis == Nose && pos > m_nosepieceMax)
        limitation(QStringLiteral("Nosepiece address %1 is above the usable maximum %2").arg(pos).arg(m_nosepieceMax));
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
