#include "models/optics/clsDefZoom.h"

#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

bool clsDefZoom::ZOOM_Chk(const QString& text) const {
    const float v = vb::toSingle(vb::textToDouble(text));
    return vb::toSingle(m_MIN) <= v && v <= vb::toSingle(m_MAX);
}

bool clsDefZoom::Offset_Chk(const QString& text) const {
    return OffsetShape_Chk(text, 0, 9);
}
