#pragma once
// The instrument look shared by the widget family: dark grey faces, light
// text, amber for what is selected or latched, cyan for marks. Kept in one
// place so that every panel of the stand reads the same way.
#include <QColor>
#include <QRectF>

#include <functional>

class QPainter;
class QWidget;

namespace zentor::look {

QColor panel();       // background behind the controls
QColor face();        // raised face of a button or track
QColor faceDown();    // a face held down or latched
QColor edgeLight();   // bevel highlight
QColor edgeDark();    // bevel shadow
QColor text();        // normal text
QColor textDim();     // greyed text and inert marks
QColor accent();      // selected / latched / active path (amber)
QColor mark();        // origin and range marks (cyan)
QColor warn();        // a value outside the shown range (red)
QColor disabledFace(); // the face of every greyed control, whatever its colour
// A greyed face for a control whose live face is `live`: colourless, and
// never lighter than the live one, so that it does not stand out as a button.
QColor disabledFace(const QColor& live);

enum class Arrow { Left, Right, Up, Down };

// A bevelled face, raised or pressed; greyed when not enabled.
void drawFace(QPainter& p, const QRectF& r, bool down, bool enabled, bool hot = false);
// One or two chevrons pointing in a direction, centred in r.
void drawArrow(QPainter& p, const QRectF& r, Arrow dir, int count, const QColor& color);
// The keyboard focus frame.
void drawFocus(QPainter& p, const QRectF& r);
// Paints a widget through `draw`; while the widget is disabled the picture is
// greyed: no colour left, and dimmer, so that no mark of it reads as live.
void paintGreyable(QWidget* w, const std::function<void(QPainter&)>& draw);
// Applies the family's font and a dark palette to a widget of the family.
void applyTo(QWidget* w);

} // namespace zentor::look
