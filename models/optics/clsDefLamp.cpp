#include "models/optics/clsDefLamp.h"

#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

QString clsDefLamp::strPOWER() const {
    QString text = vb::numberText(m_POWER);
    if (!text.contains(QLatin1Char('.')))
        text += QStringLiteral(".0");
    return text;
}

bool clsDefLamp::Range_chk(const QString& p_strRange) const {
    if (!Digit_Chk(p_strRange))
        return false;
    const int16_t v = vb::textToInt16(p_strRange);
    // A value cannot be below 1 and above 10 at once: this test always passes.
    if (v < 1 && v > 10)
        return false;
    return true;
}

bool clsDefLamp::Power_Check(const QString& p_strPower) const {
    if (p_strPower.isEmpty())
        return false;
    for (const QChar c : p_strPower) {
        if (!((c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('.')))
            return false;
    }
    const float v = vb::toSingle(vb::textToDouble(p_strPower));
    return vb::toSingle(m_MIN) <= v && v <= vb::toSingle(m_MAX);
}
