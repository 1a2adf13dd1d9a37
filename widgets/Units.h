#pragma once
// The one place where layout numbers and stored colours meet the screen.
// Panels keep their geometry in twips and their colours as 0x00BBGGRR words,
// exactly as the settings files hold them; these helpers turn them into
// pixels and QColor and back.
#include <QColor>
#include <Qt>
#include <cstdint>

namespace zentor {

// 15 twips make one pixel at 96 dpi.
constexpr int kTwipsPerPixel = 15;

// Twips to whole pixels, rounded to the nearest pixel.
int twipsToPixels(double twips);
// Pixels to twips.
int pixelsToTwips(int pixels);
// Pixels to twips for a fractional position (mouse coordinates).
double pixelsToTwipsF(double pixels);

// 0x00BBGGRR (red in the low byte) to QColor. The top byte is ignored, so
// -1 (a cancelled colour dialog) reads as white rather than failing.
QColor colorFromBgr(int32_t bgr);
// QColor to 0x00BBGGRR.
int32_t bgrFromColor(const QColor& color);

// Mouse button as the panels' events carry it: 1 left, 2 right, 4 middle.
int16_t mouseButtonCode(Qt::MouseButton button);
int16_t mouseButtonsCode(Qt::MouseButtons buttons);
// Shift state as the panels' events carry it: 1 Shift, 2 Ctrl, 4 Alt.
int16_t shiftCode(Qt::KeyboardModifiers modifiers);

} // namespace zentor
