#pragma once
// Small pieces the focus and stage panels share: one-shot and latching
// buttons with their accessible names, the two pictures of the escape
// button, half-to-even rounding to a count, the blocking pauses of the
// stand's own timing, and the common decoding of a failed move.
#include <QPixmap>
#include <QString>
#include <array>
#include <cmath>
#include <cstdint>

class QWidget;
class usrButton;

namespace motionParts {

usrButton* oneShot(QWidget* parent, const char* name, const QString& caption, const QString& accessible);
usrButton* latching(QWidget* parent, const char* name, const QString& caption, const QString& accessible);
// Picture 0: the drive is in place (press to escape); 1: escaped (press to return).
std::array<QPixmap, 2> escapeImages();

// Round half to even into a signed 32-bit count; beyond 32 bits throws the
// overflow error.
int32_t roundCount(double v);

// Waits `ms` on the user-interface thread: events, timers and painting go on,
// the operator's input waits.
void pause(int ms);

// The part of an axis a scale step shows: `percent` of the travel MIN..MAX
// centred on `value`. At an end the window keeps to the travel; the excess
// at the top narrows it from below (the drive's own rule, kept as it is).
struct ScaleWindow {
    double low = 0, high = 0;
};
ScaleWindow scaleWindow(double value, double min, double max, double percent);

} // namespace motionParts
