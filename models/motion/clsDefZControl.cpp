#include "models/motion/clsDefZControl.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

#include <QStringList>
#include <cstdint>

namespace {

RunTimeError overflow() { return RunTimeError(RunTimeError::Overflow, QStringLiteral("Overflow")); }

int32_t checkedSub(int32_t a, int32_t b) {
    const int64_t r = static_cast<int64_t>(a) - b;
    if (r < INT32_MIN || r > INT32_MAX)
        throw overflow();
    return static_cast<int32_t>(r);
}

int32_t checkedAdd(int32_t a, int32_t b) {
    const int64_t r = static_cast<int64_t>(a) + b;
    if (r < INT32_MIN || r > INT32_MAX)
        throw overflow();
    return static_cast<int32_t>(r);
}

} // namespace

void clsDefZControl::setUpperLimit(int32_t p_lngUpperLimit) {
    if (m_MIN <= p_lngUpperLimit && p_lngUpperLimit <= m_MAX)
        m_UpperLimit = p_lngUpperLimit;
}

void clsDefZControl::setORGIN(int32_t p_lngOrgin) {
    if (m_MIN <= p_lngOrgin && p_lngOrgin <= m_MAX)
        m_ORGIN = p_lngOrgin;
}

QString clsDefZControl::Format_CountText(const QString& numberText) {
    const QStringList pieces = numberText.split(QLatin1Char('.'));
    if (pieces.size() < 2)
        return numberText + QStringLiteral(".00");
    return pieces[0] + QLatin1Char('.') + (pieces[1] + QStringLiteral("00")).left(2);
}

QString clsDefZControl::Format_Count() const {
    return Format_CountText(vb::numberText(Count_um()));
}

double clsDefZControl::Count_um() const {
    return checkedSub(m_Value, m_ORGIN) * 0.05;
}

void clsDefZControl::setCount_um(double v) {
    m_Value = vb::toInt32(v * 0.05);
}

QString clsDefZControl::Count_9b() const {
    if (m_Value >= 0)
        return (QString(9, QLatin1Char(' ')) + QString::number(m_Value)).right(9);
    if (m_Value == INT32_MIN) // its absolute value does not fit 32 bits
        throw overflow();
    return QStringLiteral("-") + (QString(8, QLatin1Char(' ')) + QString::number(-m_Value)).right(8);
}

int16_t clsDefZControl::COUNTMin() const { return vb::toInt16(-510000); }
int16_t clsDefZControl::COUNTMax() const { return vb::toInt16(250000); }

bool clsDefZControl::Count_Check(const QString& p_strCount) const {
    if (!Digit_Chk(p_strCount))
        return false;
    const int32_t v = vb::textToInt32(p_strCount);
    return !(v > 250000) && !(v < -510000);
}

bool clsDefZControl::RevoLIMIT_Check(const QString& p_strRevo) const {
    if (!Digit_Chk(p_strRevo))
        return false;
    return p_strRevo == QLatin1String("0") || p_strRevo == QLatin1String("1");
}

bool clsDefZControl::SPEED_Chk(const QString& p_strSpeed) const {
    if (!Digit_Chk(p_strSpeed))
        return false;
    const int16_t v = vb::textToInt16(p_strSpeed);
    return 0 <= v && v <= 2;
}

bool clsDefZControl::ERROR_Check(const QString& p_strError) const {
    if (!Digit_Chk(p_strError))
        return false;
    const int16_t v = vb::textToInt16(p_strError);
    return 1 <= v && v <= 9;
}

void clsDefZControl::Count_UP(int32_t n) { m_Value = checkedAdd(m_Value, n); }
void clsDefZControl::Count_DOWN(int32_t n) { m_Value = checkedSub(m_Value, n); }

void clsDefZControl::FocusPos_Put(int16_t pAddress, int32_t pPosition) {
    if (pAddress >= 1 && pAddress <= 7)
        m_focusPos[pAddress - 1] = pPosition;
}

void clsDefZControl::FocusPos_Get(int16_t pAddress, int32_t& pPosition) const {
    if (pAddress >= 1 && pAddress <= 7)
        pPosition = m_focusPos[pAddress - 1];
}
