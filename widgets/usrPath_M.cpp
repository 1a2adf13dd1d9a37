#include "widgets/usrPath_M.h"

#include "widgets/Units.h"
#include "widgets/WidgetLook.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QToolTip>
#include <QMouseEvent>
#include <QPainter>
#include <QFontMetricsF>
#include <QPainterPath>

#include <algorithm>

using namespace zentor;

namespace {

constexpr double kW = 270;
constexpr double kH = 210;
constexpr double kAxis = 170;  // x of the optical axis in the drawing

QColor diaLight() { return QColor(0xff, 0xe8, 0xa8); }
QColor epiLight() { return QColor(0xc8, 0xdc, 0xff); }
QColor darkBeam() { return QColor(0x4a, 0x4e, 0x55); }
QColor metal() { return QColor(0x5a, 0x5f, 0x67); }
QColor metalDark() { return QColor(0x3b, 0x3f, 0x45); }

// Key codes of the panel's key events, as the keyboard reports them on the
// operator's desk: letters and digits by their capital character, F1 = 112.
int keyCode(int qtKey)
{
    if (qtKey >= Qt::Key_F1 && qtKey <= Qt::Key_F24)
        return 112 + (qtKey - Qt::Key_F1);
    if ((qtKey >= Qt::Key_A && qtKey <= Qt::Key_Z) || (qtKey >= Qt::Key_0 && qtKey <= Qt::Key_9))
        return qtKey;
    switch (qtKey) {
    case Qt::Key_Backspace: return 8;
    case Qt::Key_Tab: return 9;
    case Qt::Key_Return:
    case Qt::Key_Enter: return 13;
    case Qt::Key_Shift: return 16;
    case Qt::Key_Control: return 17;
    case Qt::Key_Alt: return 18;
    case Qt::Key_Escape: return 27;
    case Qt::Key_Space: return 32;
    case Qt::Key_PageUp: return 33;
    case Qt::Key_PageDown: return 34;
    case Qt::Key_End: return 35;
    case Qt::Key_Home: return 36;
    case Qt::Key_Left: return 37;
    case Qt::Key_Up: return 38;
    case Qt::Key_Right: return 39;
    case Qt::Key_Down: return 40;
    case Qt::Key_Insert: return 45;
    case Qt::Key_Delete: return 46;
    default: return 0;
    }
}

void beam(QPainter& p, const QPointF& a, const QPointF& b, const QColor& c, bool lit, double w = 3.0)
{
    p.setPen(QPen(lit ? c : darkBeam(), lit ? w : 1.5, lit ? Qt::SolidLine : Qt::DashLine, Qt::RoundCap));
    p.drawLine(a, b);
}

void body(QPainter& p, const QRectF& r, double radius = 3)
{
    QLinearGradient g(r.topLeft(), r.bottomLeft());
    g.setColorAt(0, metal());
    g.setColorAt(1, metalDark());
    p.setPen(QPen(QColor(0x7a, 0x80, 0x88), 1));
    p.setBrush(g);
    p.drawRoundedRect(r, radius, radius);
}

// A small caption beside a part of the drawing.
void tag(QPainter& p, const QPointF& centre, const QString& text, bool lit)
{
    p.save();
    QFont f = p.font();
    f.setPointSizeF(6.0);
    f.setBold(true);
    p.setFont(f);
    p.setPen(lit ? look::accent() : look::textDim());
    p.drawText(QRectF(centre.x() - 20, centre.y() - 6, 40, 12), Qt::AlignCenter, text);
    p.restore();
}

} // namespace

usrPath_M::usrPath_M(QWidget* parent) : QWidget(parent)
{
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
}

void usrPath_M::setScopeType(int32_t type) { m_scopeType = type; update(); }
void usrPath_M::setPathState(int32_t path) { m_pathState = path; update(); }

void usrPath_M::setLampState(int32_t state)
{
    m_lampState = state;
    m_diaLit = state != 0;
    update();
}

void usrPath_M::ShowLampOn() { setLampState(2); }
void usrPath_M::ShowLampOff() { setLampState(0); }
void usrPath_M::ShowDiaOff() { m_diaLit = false; update(); }

void usrPath_M::ShowReset1()
{
    m_lampState = 0;
    m_diaLit = false;
    m_shutterOpen = false;
    m_analyzerIn = false;
    update();
}

void usrPath_M::ShowReset2()
{
    m_pathState = 0;
    m_observe = 0;
    m_hasEx = false;
    m_hasBa = false;
    update();
}

void usrPath_M::ShowShutterOpen() { m_shutterOpen = true; update(); }
void usrPath_M::ShowShutterClose() { m_shutterOpen = false; update(); }
void usrPath_M::ShowAnalyzerIn() { m_analyzerIn = true; update(); }
void usrPath_M::ShowAnalyzerOut() { m_analyzerIn = false; update(); }
void usrPath_M::ShowObserve(int16_t observe) { m_observe = observe; update(); }

void usrPath_M::setExColor(int32_t bgr) { m_exColor = bgr; m_hasEx = true; update(); }
void usrPath_M::ClearExColor() { m_hasEx = false; update(); }
void usrPath_M::setBaColor(int32_t bgr) { m_baColor = bgr; m_hasBa = true; update(); }
void usrPath_M::ClearBaColor() { m_hasBa = false; update(); }

int usrPath_M::effectiveType() const
{
    return (m_scopeType >= 0 && m_scopeType <= 4) ? int(m_scopeType) : 0;
}

bool usrPath_M::HasOutlet(int16_t index) const
{
    switch (effectiveType()) {
    case 0: return false;  // no light path: the eyepieces only, nothing to pick
    case 2: return index == 1 || index == 2;
    default: return index >= 1 && index <= 3;
    }
}

QTransform usrPath_M::toWidget() const
{
    const double s = std::max(0.01, std::min(width() / kW, height() / kH));
    QTransform t;
    t.translate((width() - kW * s) / 2.0, (height() - kH * s) / 2.0);
    t.scale(s, s);
    return t;
}

QRectF usrPath_M::outletDesignRect(int16_t index) const
{
    switch (index) {
    case 1: return QRectF(234, 0, 34, 18);    // eyepieces, up and to the operator
    case 2: return QRectF(228, 32, 38, 20);   // front port
    case 3: return QRectF(kAxis - 17, 0, 34, 16);  // rear (top) port
    default: return QRectF();
    }
}

QString usrPath_M::OutletCaption(int16_t index)
{
    switch (index) {
    case 1: return QStringLiteral("BINO");
    case 2: return QStringLiteral("FRONT");
    case 3: return QStringLiteral("REAR");
    default: return QString();
    }
}

QFont usrPath_M::outletFont(int16_t index) const
{
    // The drawing's own units are the font's pixels before the drawing is
    // scaled, so a caption that fits here fits at every size of the widget.
    QFont f = font();
    f.setPointSizeF(6.5);
    const QString text = OutletCaption(index);
    const double room = outletDesignRect(index).width() - 4;
    while (f.pointSizeF() > 4.5 && QFontMetricsF(f).horizontalAdvance(text) > room)
        f.setPointSizeF(f.pointSizeF() - 0.25);
    return f;
}

bool usrPath_M::OutletCaptionFits(int16_t index) const
{
    const QFontMetricsF fm(outletFont(index));
    const QRectF r = outletDesignRect(index);
    return fm.horizontalAdvance(OutletCaption(index)) <= r.width() - 2 && fm.height() <= r.height() + 1;
}

QRect usrPath_M::outletRect(int16_t index) const
{
    if (!HasOutlet(index))
        return QRect();
    return toWidget().mapRect(outletDesignRect(index)).toAlignedRect();
}

int16_t usrPath_M::outletAt(const QPointF& widgetPos) const
{
    for (int16_t i = 1; i <= 3; ++i)
        if (HasOutlet(i) && outletRect(i).contains(widgetPos.toPoint()))
            return i;
    return 0;
}

// The excitation filter beside the cube and the barrier filter above it,
// with a margin so that a small drawing is still easy to hit.
QRectF usrPath_M::colorAreaDesignRect(int16_t filter) const
{
    if (filter == 1)
        return QRectF(138, 85, 7, 14).adjusted(-5, -4, 5, 4);
    return QRectF(kAxis - 9, 72, 18, 5).adjusted(-4, -4, 4, 4);
}

bool usrPath_M::HasColorArea(int16_t filter) const
{
    return (filter == 1 || filter == 2) && effectiveType() != 0;
}

QRect usrPath_M::colorAreaRect(int16_t filter) const
{
    if (!HasColorArea(filter))
        return QRect();
    return toWidget().mapRect(colorAreaDesignRect(filter)).toAlignedRect();
}

int16_t usrPath_M::colorAreaAt(const QPointF& widgetPos) const
{
    for (int16_t i = 1; i <= 2; ++i)
        if (HasColorArea(i) && colorAreaRect(i).contains(widgetPos.toPoint()))
            return i;
    return 0;
}

QString usrPath_M::colorAreaTip(const QPoint& widgetPos) const
{
    switch (colorAreaAt(widgetPos)) {
    case 1:
        return QStringLiteral("Excitation filter: click to choose its colour");
    case 2:
        return QStringLiteral("Barrier filter: click to choose its colour");
    default:
        return QString();
    }
}

// The tip over a filter tells the operator that its colour can be chosen.
bool usrPath_M::event(QEvent* e)
{
    if (e->type() == QEvent::ToolTip) {
        auto* help = static_cast<QHelpEvent*>(e);
        const QString tip = colorAreaTip(help->pos());
        if (tip.isEmpty())
            QToolTip::hideText();
        else
            QToolTip::showText(help->globalPos(), tip, this, colorAreaRect(colorAreaAt(help->pos())));
        return true;
    }
    return QWidget::event(e);
}

void usrPath_M::mousePressEvent(QMouseEvent* e)
{
    e->accept();
    setFocus(Qt::MouseFocusReason);
    if (!isEnabled())
        return;
    m_pressedOutlet = e->button() == Qt::LeftButton ? outletAt(e->position()) : 0;
    m_pressedArea = m_pressedOutlet ? 0 : colorAreaAt(e->position());
    m_pressedButton = e->button();
    update();
    emit LostSelection();
}

void usrPath_M::mouseReleaseEvent(QMouseEvent* e)
{
    const int16_t pressed = m_pressedOutlet;
    const int16_t area = m_pressedArea;
    m_pressedOutlet = 0;
    m_pressedArea = 0;
    update();
    if (pressed && isEnabled() && e->button() == Qt::LeftButton && outletAt(e->position()) == pressed)
        emit PathPicked(pressed);
    if (area && isEnabled() && e->button() == m_pressedButton && colorAreaAt(e->position()) == area)
        emit ColorPicked(area, mouseButtonCode(e->button()));
}

void usrPath_M::keyPressEvent(QKeyEvent* e)
{
    if (!isEnabled()) {
        QWidget::keyPressEvent(e);
        return;
    }
    const int code = keyCode(e->key());
    if (code != 0)
        emit FunctionKey(int16_t(code), shiftCode(e->modifiers()));
    // The character the key gives, as a typed character: Ctrl with a letter
    // gives the control character (Ctrl+G is 7).
    int ascii = 0;
    if ((e->modifiers() & Qt::ControlModifier) && e->key() >= Qt::Key_A && e->key() <= Qt::Key_Z)
        ascii = e->key() - Qt::Key_A + 1;
    else if (!e->text().isEmpty() && e->text().at(0).unicode() < 0x8000)
        ascii = e->text().at(0).unicode();
    if (ascii != 0)
        emit ServiceKey(int16_t(ascii));
    e->accept();
}

void usrPath_M::ShowFiber(bool connected)
{
    if (m_fiberShown == connected)
        return;
    m_fiberShown = connected;
    update();
}

void usrPath_M::ShowFiberShutterOpen()
{
    if (m_fiberOpen)
        return;
    m_fiberOpen = true;
    update();
}

void usrPath_M::ShowFiberShutterClose()
{
    if (!m_fiberOpen)
        return;
    m_fiberOpen = false;
    update();
}

void usrPath_M::paintEvent(QPaintEvent*)
{
    look::paintGreyable(this, [this](QPainter& p) { draw(p); });
}

void usrPath_M::draw(QPainter& p)
{
    p.setRenderHint(QPainter::Antialiasing, true);
    p.fillRect(rect(), look::panel().darker(115));
    p.setTransform(toWidget());
    if (!isEnabled())
        p.setOpacity(0.5);

    const int type = effectiveType();
    const bool hasStand = type != 4;
    const bool hasEpi = type != 0;
    const QColor exC = m_hasEx ? colorFromBgr(m_exColor) : epiLight();
    const QColor baC = m_hasBa ? colorFromBgr(m_baColor) : QColor();

    // --- Stand outline -----------------------------------------------------
    if (hasStand) {
        body(p, QRectF(20, 178, 236, 22), 5);           // base
        body(p, QRectF(22, 166, 30, 30), 4);            // lamp house
        body(p, QRectF(32, 46, 34, 134), 3);            // pillar
        body(p, QRectF(32, 46, 112, 18), 3);            // arm
        body(p, QRectF(kAxis - 13, 154, 26, 12), 2);    // condenser
    } else {
        // Epi illuminator on a plain focus column and foot.
        body(p, QRectF(20, 192, 180, 10), 3);
        body(p, QRectF(38, 46, 26, 148), 3);
        body(p, QRectF(38, 46, 106, 18), 3);
    }
    body(p, QRectF(116, 18, 108, 28), 4);               // observation head
    // Eyepiece tubes toward the operator.
    p.save();
    p.translate(208, 24);
    p.rotate(-28);
    body(p, QRectF(0, -6, 30, 12), 2);
    p.restore();
    body(p, QRectF(kAxis - 26, 108, 52, 8), 2);          // nosepiece
    body(p, QRectF(kAxis - 8, 116, 16, 18), 2);          // objective
    body(p, QRectF(kAxis - 60, 142, 120, 6), 1);         // stage
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xb0, 0xd8, 0xe8, 140));
    p.drawRect(QRectF(kAxis - 14, 139.5, 28, 2.5));      // specimen slide

    const bool epiLit = hasEpi && m_shutterOpen;
    const bool imageLit = m_diaLit || epiLit;

    // --- Transmitted-light branch -------------------------------------------
    if (hasStand) {
        const QColor c = diaLight();
        beam(p, QPointF(44, 188), QPointF(kAxis, 188), c, m_diaLit);
        beam(p, QPointF(kAxis, 188), QPointF(kAxis, 166), c, m_diaLit);
        beam(p, QPointF(kAxis, 154), QPointF(kAxis, 142), c, m_diaLit);
        // Mirror under the condenser.
        p.setPen(QPen(QColor(0xa8, 0xb0, 0xba), 2));
        p.drawLine(QPointF(kAxis - 7, 195), QPointF(kAxis + 7, 181));
        // Lamp: a bulb in the lamp house, lit or dark.
        const QPointF bulb(37, 181);
        if (m_lampState != 0) {
            QRadialGradient glow(bulb, 14);
            glow.setColorAt(0, QColor(0xff, 0xf4, 0xc8, 230));
            glow.setColorAt(1, QColor(0xff, 0xd0, 0x60, 0));
            p.setPen(Qt::NoPen);
            p.setBrush(glow);
            p.drawEllipse(bulb, 14, 14);
        }
        p.setPen(QPen(m_lampState != 0 ? look::accent() : QColor(0x80, 0x85, 0x8c), 1.3));
        p.setBrush(m_lampState != 0 ? QColor(0xff, 0xee, 0xa0) : QColor(0x30, 0x32, 0x36));
        p.drawEllipse(bulb, 6, 6);
        tag(p, QPointF(37, 207), QStringLiteral("DIA"), m_lampState != 0);
    }

    // --- Epi illuminator ------------------------------------------------------
    if (hasEpi) {
        body(p, QRectF(66, 80, 124, 24), 3);                 // illuminator body
        body(p, QRectF(4, 76, 30, 32), 4);                   // epi lamp house
        p.setPen(QPen(look::accent().darker(120), 1.2));
        p.setBrush(QColor(0xd8, 0xe4, 0xff));
        p.drawEllipse(QPointF(19, 92), 5, 5);
        tag(p, QPointF(19, 72), QStringLiteral("EPI"), m_shutterOpen);
        const double shutterX = 96;
        beam(p, QPointF(26, 92), QPointF(shutterX - 4, 92), epiLight(), hasEpi);
        beam(p, QPointF(shutterX + 4, 92), QPointF(kAxis, 92), exC, epiLit);
        beam(p, QPointF(kAxis, 92), QPointF(kAxis, 134), exC, epiLit);
        // Shutter: a housing on the beam; its blade across the beam when
        // closed (red), drawn back up into the housing when open.
        p.setPen(QPen(QColor(0x90, 0x96, 0x9e), 1));
        p.setBrush(QColor(0x2a, 0x2c, 0x30));
        p.drawRect(QRectF(shutterX - 4, 74, 8, 28));
        p.setPen(Qt::NoPen);
        p.setBrush(m_shutterOpen ? look::mark() : look::warn());
        if (m_shutterOpen)
            p.drawRect(QRectF(shutterX - 2.5, 75.5, 5, 9));
        else
            p.drawRect(QRectF(shutterX - 2.5, 86, 5, 14));
        // Excitation filter.
        p.setPen(QPen(QColor(0x90, 0x96, 0x9e), 1));
        p.setBrush(m_hasEx ? exC : QColor(0x70, 0x74, 0x7a));
        p.drawRect(QRectF(138, 85, 7, 14));
        // Dichroic mirror in the cube.
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(QColor(0x90, 0x96, 0x9e), 1));
        p.drawRect(QRectF(kAxis - 11, 82, 22, 20));
        p.setPen(QPen(QColor(0xd0, 0xd8, 0xe0), 2));
        p.drawLine(QPointF(kAxis - 9, 100), QPointF(kAxis + 9, 84));
    }

    // --- Image beam up to the head and out to the outlet ----------------------
    const QColor emitted = epiLit && m_hasBa ? baC : (m_diaLit ? diaLight() : exC);
    beam(p, QPointF(kAxis, 134), QPointF(kAxis, 116), emitted, imageLit);
    beam(p, QPointF(kAxis, hasEpi ? 80 : 108), QPointF(kAxis, 46), emitted, imageLit);
    if (hasEpi) {
        // Barrier filter above the cube.
        p.setPen(QPen(QColor(0x90, 0x96, 0x9e), 1));
        p.setBrush(m_hasBa ? baC : QColor(0x70, 0x74, 0x7a));
        p.drawRect(QRectF(kAxis - 9, 72, 18, 5));
        // Analyzer slider: across the axis when in, pulled aside when out.
        const double ax = m_analyzerIn ? kAxis - 10 : kAxis + 12;
        p.setPen(QPen(QColor(0x9a, 0xa0, 0xa8), 1));
        p.setBrush(m_analyzerIn ? QColor(0x6a, 0x5a, 0x8a) : QColor(0x48, 0x4c, 0x52));
        p.drawRect(QRectF(ax, 65, 20, 5));
        p.setPen(QPen(m_analyzerIn ? QColor(0xd0, 0xc0, 0xff) : QColor(0x80, 0x85, 0x8c), 1));
        for (int i = 0; i < 4; ++i)
            p.drawLine(QPointF(ax + 3 + i * 4.5, 69), QPointF(ax + 6 + i * 4.5, 66));
    }
    // Observation group mark.
    if (m_observe != 0 && hasEpi) {
        p.setPen(QPen(look::accent(), 1.6, Qt::DashLine));
        p.setBrush(Qt::NoBrush);
        p.drawRoundedRect(QRectF(kAxis - 18, 61, 44, 45), 4, 4);
    }

    // Fiber illuminator: a source beside the stage, its light guide bent down
    // to the specimen, and its shutter at the source's outlet.
    if (m_fiberShown) {
        // Low on the right, clear of the filter marks the panel lays on the drawing.
        const QPointF out(242, 157), tip(kAxis + 18, 136);
        body(p, QRectF(244, 146, 32, 22), 3);
        tag(p, QPointF(260, 140), QStringLiteral("FIBER"), m_fiberOpen);
        p.setPen(QPen(QColor(0x70, 0x76, 0x7e), 3, Qt::SolidLine, Qt::RoundCap));
        p.setBrush(Qt::NoBrush);
        QPainterPath guide(out);
        guide.cubicTo(QPointF(222, 157), QPointF(214, 134), tip);
        p.drawPath(guide);
        if (m_fiberOpen)
            beam(p, tip, QPointF(kAxis + 4, 140), diaLight(), true, 2.0);
        p.setPen(Qt::NoPen);
        p.setBrush(m_fiberOpen ? look::mark() : look::warn());
        p.drawRect(m_fiberOpen ? QRectF(238, 146, 4, 5) : QRectF(238, 151, 4, 12));
    }

    // Outlets.
    const int16_t active = int16_t((m_pathState >= 1 && m_pathState <= 3) ? m_pathState : 0);
    if (imageLit && active != 0 && HasOutlet(active)) {
        const QRectF r = outletDesignRect(active);
        const QColor c = emitted;
        if (active == 3)
            beam(p, QPointF(kAxis, 46), QPointF(kAxis, r.bottom()), c, true);
        else {
            beam(p, QPointF(kAxis, 32), QPointF(r.left() + 2, r.center().y() + (active == 1 ? 4 : 0)), c, true);
        }
    }
    for (int16_t i = 1; i <= 3; ++i) {
        if (!HasOutlet(i))
            continue;
        const QRectF r = outletDesignRect(i);
        const bool on = i == active;
        p.setPen(QPen(on ? look::accent() : QColor(0x80, 0x86, 0x8e), on ? 1.8 : 1));
        p.setBrush(on ? QColor(0x5a, 0x48, 0x10) : (i == m_pressedOutlet ? look::faceDown() : look::face()));
        p.drawRoundedRect(r, 3, 3);
        p.setFont(outletFont(i));
        p.setPen(on ? look::accent() : look::text());
        p.drawText(r, Qt::AlignCenter, OutletCaption(i));
    }
    p.setOpacity(1.0);
    p.resetTransform();
    if (hasFocus()) {
        look::drawFocus(p, rect());
    }
}
