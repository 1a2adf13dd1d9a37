#include "widgets/Units.h"

#include <cmath>

namespace zentor {

int twipsToPixels(double twips)
{
    if (!std::isfinite(twips))
        return 0;
    const double px = std::round(twips / kTwipsPerPixel);
    if (px > 1e9)
        return 1000000000;
    if (px < -1e9)
        return -1000000000;
    return static_cast<int>(px);
}

int pixelsToTwips(int pixels)
{
    return pixels * kTwipsPerPixel;
}

double pixelsToTwipsF(double pixels)
{
    return pixels * kTwipsPerPixel;
}

QColor colorFromBgr(int32_t bgr)
{
    const uint32_t v = static_cast<uint32_t>(bgr);
    return QColor(int(v & 0xFF), int((v >> 8) & 0xFF), int((v >> 16) & 0xFF));
}

int32_t bgrFromColor(const QColor& color)
{
    return int32_t(color.red()) | (int32_t(color.green()) << 8) | (int32_t(color.blue()) << 16);
}

int16_t mouseButtonCode(Qt::MouseButton button)
{
    switch (button) {
    case Qt::LeftButton: return 1;
    case Qt::RightButton: return 2;
    case Qt::MiddleButton: return 4;
    default: return 0;
    }
}

int16_t mouseButtonsCode(Qt::MouseButtons buttons)
{
    int16_t code = 0;
    if (buttons & Qt::LeftButton) code |= 1;
    if (buttons & Qt::RightButton) code |= 2;
    if (buttons & Qt::MiddleButton) code |= 4;
    return code;
}

int16_t shiftCode(Qt::KeyboardModifiers modifiers)
{
    int16_t code = 0;
    if (modifiers & Qt::ShiftModifier) code |= 1;
    if (modifiers & Qt::ControlModifier) code |= 2;
    if (modifiers & Qt::AltModifier) code |= 4;
    return code;
}

} // namespace zentor
