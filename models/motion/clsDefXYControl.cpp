#include "models/motion/clsDefXYControl.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

#include <QStringList>
#include <cstdint>

namespace {

double halfMicrons(int32_t count, int32_t origin) {
    const int64_t r = static_cast<int64_t>(count) - origin;
    if (r < INT32_MIN || r > INT32_MAX)
        throw RunTimeError(RunTimeError::Overflow, QStringLiteral("Overflow"));
    return static_cast<int32_t>(r) * 0.5;
}

bool countInRange(const QString& text, int32_t max) {
    if (!Digit_Chk(text))
        return false;
    const int32_t v = vb::textToInt32(text);
    return 0 <= v && v <= max;
}

QString oneDecimal(double um) {
    const QString text = vb::numberText(um);
    if (!text.contains(QLatin1Char('.')))
        return text + QStringLiteral(".0");
    return text;
}

} // namespace

int32_t clsDefXYControl::XMemoryPos(int16_t i) const { return (i >= 0 && i <= 4) ? m_XMemoryPos[i] : 0; }
void clsDefXYControl::setXMemoryPos(int16_t i, int32_t p_lngPos) {
    if (i >= 0 && i <= 4)
        m_XMemoryPos[i] = p_lngPos;
}
int32_t clsDefXYControl::YMemoryPos(int16_t i) const { return (i >= 0 && i <= 4) ? m_YMemoryPos[i] : 0; }
void clsDefXYControl::setYMemoryPos(int16_t i, int32_t p_lngPos) {
    if (i >= 0 && i <= 4)
        m_YMemoryPos[i] = p_lngPos;
}

int32_t clsDefXYControl::XOffset(int16_t i) const { return (i >= 1 && i <= 7) ? m_XOffset[i - 1] : 0; }
void clsDefXYControl::setXOffset(int16_t i, int32_t v) {
    if (i >= 1 && i <= 7)
        m_XOffset[i - 1] = v;
}
int32_t clsDefXYControl::YOffset(int16_t i) const { return (i >= 1 && i <= 7) ? m_YOffset[i - 1] : 0; }
void clsDefXYControl::setYOffset(int16_t i, int32_t v) {
    if (i >= 1 && i <= 7)
        m_YOffset[i - 1] = v;
}

double clsDefXYControl::XCount_um() const { return halfMicrons(m_XCount, m_XORGIN); }
double clsDefXYControl::YCount_um() const { return halfMicrons(m_YCount, m_YORGIN); }

bool clsDefXYControl::XCount_Chk(const QString& text) const { return countInRange(text, XCOUNTMax()); }
bool clsDefXYControl::YCount_Chk(const QString& text) const { return countInRange(text, YCOUNTMax()); }

bool clsDefXYControl::SPEED_Chk(const QString& text) const {
    if (!Digit_Chk(text))
        return false;
    const int16_t v = vb::textToInt16(text);
    return 0 <= v && v <= 2;
}

bool clsDefXYControl::ERROR_Chk(const QString& text) const {
    if (!Digit_Chk(text))
        return false;
    const int16_t v = vb::textToInt16(text);
    return 0 <= v && v <= 9;
}

bool clsDefXYControl::ALL_chk(const QString& text) const {
    // The four fields are taken apart before any check, so a short text is a
    // bounds error even when its first field would already fail.
    const QStringList fields = text.split(QLatin1Char(','));
    if (fields.size() < 4)
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    if (!XCount_Chk(fields[0]))
        return false;
    if (!YCount_Chk(fields[1]))
        return false;
    if (!SPEED_Chk(fields[2]))
        return false;
    return ERROR_Chk(fields[3]);
}

QString clsDefXYControl::Format_XCount() const { return oneDecimal(XCount_um()); }
QString clsDefXYControl::Format_YCount() const { return oneDecimal(YCount_um()); }
