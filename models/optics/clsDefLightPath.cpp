#include "models/optics/clsDefLightPath.h"

#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

bool clsDefLightPath::Path_Chk(const QString& text) const {
    if (!Digit_Chk(text))
        return false;
    const int16_t v = vb::textToInt16(text);
    return 1 <= v && v <= 3;
}

bool clsDefLightPath::Offset_Chk(const QString& text) const {
    return OffsetShape_Chk(text, 0, 9);
}

QString clsDefLightPath::PathName_Get() const {
    switch (m_PATH) {
    case 0: return QStringLiteral("Unknown");
    case 1: return QStringLiteral("Binocular");
    case 2: return QStringLiteral("Front P");
    case 3: return QStringLiteral("Rear P");
    default: return QString();
    }
}
