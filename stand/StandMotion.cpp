// The focus drive and the XY stage.
#include "stand/StandEngine.h"

#include "core/base/VbConvert.h"
#include "stand/StandArgs.h"
#include "stand/StandFailures.h"
#include "stand/devices/FocusSearch.h"

#include <algorithm>

using namespace standfail;

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
    need(DeviceIndex::ZDrive);
    if (m_d.devices[DeviceIndex::ZDrive].readOnly != 0) limitation(QStringLiteral("ZDrive is read only"));
    // Escape first stops whatever the drive is doing, where it is.
    m_axis[Z]->stop();
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
    const double upper = std::min(l.upper, double(m_zUpperLimit));
    const FocusSample sample = focusSample();
    const int32_t result = m_d.autoFocusResult;
    const bool stalled = takeStall(DeviceIndex::ZDrive);
    if (stalled) {   // the drive does not answer: the search times out on its first move
        moveAxes({{Z, counts(Z) + 1.0}}, done);
        m_stalls.insert(DeviceIndex::ZDrive);
        return {};
    }
    StandReply reply = std::move(done);
    FocusSearch::run(m_axis[Z], sample, l.lower, upper, [reply, result](int32_t error) {
        StandResult r;
        r.error = error;
        if (error == RunTimeError::ServiceLimitation)
            r.errorText = QStringLiteral("The focus search found no sharp image within the focus limits");
        else if (error == RunTimeError::ServiceTimeOut)
            r.errorText = QStringLiteral("The focus search timed out");
        else if (error != 0)
            r.errorText = QStringLiteral("The focus search failed");
        else
            r.value = int(result);
        reply(r);
    });
    return {};
}

FocusSample StandEngine::focusSample() const {
    // The sample's sharpest plane moves with the objective (their parfocal
    // distances differ), and the peak is as narrow as its depth of focus.
    const int16_t address = nosepieceAddress();
    FocusSample s;
    s.best = m_d.autoFocusPosition + (address - 1) * 600.0;
    double na = 0.3;
    if (address >= 1 && address <= m_d.objectives.size() && m_d.objectives[address - 1].na > 0)
        na = m_d.objectives[address - 1].na;
    s.depth = std::max(20.0, 0.55 / (2 * na * na) / 0.05);
    return s;
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
    need(DeviceIndex::XYDrive);
    // Escape first stops the stage where it is.
    m_axis[X]->stop();
    m_axis[Y]->stop();
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
