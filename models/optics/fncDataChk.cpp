#include "models/optics/fncDataChk.h"

#include "core/base/VbConvert.h"

bool Digit_Chk(const QString& text) {
    if (text.isEmpty())
        return false;
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return false;
    }
    return true;
}

int32_t Char_Count(const QString& text, const QString& part) {
    if (part.isEmpty())
        return 0;
    QString rest = text;
    rest.remove(part);
    return static_cast<int32_t>(text.size() - rest.size());
}

bool OffsetShape_Chk(const QString& text, int16_t lo, int16_t hi) {
    if (!Digit_Chk(text))
        return true;
    const int16_t v = vb::textToInt16(text);
    return lo <= v && v <= hi;
}
