#include "models/optics/clsDefAddControl.h"

#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

bool clsDefAddControl::ADDRESS_Check(const QString& text) const {
    if (!Digit_Chk(text))
        return false;
    const int16_t v = vb::textToInt16(text);
    return m_MIN <= v && v <= m_MAX;
}

int16_t clsDefAddControl::ADDRESS_Turn() const {
    // Addresses are 16-bit: one past 32767 overflows.
    const int16_t next = vb::toInt16(static_cast<double>(m_Address) + 1);
    if (next > m_MAX)
        return vb::toInt16(static_cast<double>(m_MIN) + 1);
    return next;
}

int16_t clsDefAddControl::Address_Reverse() const {
    const int16_t previous = vb::toInt16(static_cast<double>(m_Address) - 1);
    if (!(previous > m_MIN))
        return m_MAX;
    return previous;
}
