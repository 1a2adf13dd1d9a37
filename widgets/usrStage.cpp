#include "widgets/usrStage.h"

#include "widgets/Units.h"
#include "widgets/WidgetLook.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace zentor;

namespace {
constexpr double kRuler = 22;
constexpr double kGap = 4;
constexpr double kMemRow = 22;
constexpr double kClickSlop = 4;  // pixels a click may wander and stay a click

double fraction(double v, double lo, double hi)
{
    const double span = hi - lo;
    if (!std::isfinite(v) || !std::isfinite(span) || span <= 0)
        return 0.0;
    return std::clamp((v - lo) / span, 0.0, 1.0);
}
}

usrStage::usrStage(QWidget* parent) : QWidget(parent)
{
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
}

void usrStage::setXValue(double v) { m_x.value = v; update(); }
void usrStage::setYValue(double v) { m_y.value = v; update(); }
void usrStage::setXOrigin(double v) { m_x.origin = v; update(); }
void usrStage::setYOrigin(double v) { m_y.origin = v; update(); }
void usrStage::setXScaleMin(double v) { m_x.scaleMin = v; update(); }
void usrStage::setXScaleMax(double v) { m_x.scaleMax = v; update(); }
void usrStage::setYScaleMin(double v) { m_y.scaleMin = v; update(); }
void usrStage::setYScaleMax(double v) { m_y.scaleMax = v; update(); }
void usrStage::setXLimitMin(double v) { m_x.limitMin = v; update(); }
void usrStage::setXLimitMax(double v) { m_x.limitMax = v; update(); }
void usrStage::setYLimitMin(double v) { m_y.limitMin = v; update(); }
void usrStage::setYLimitMax(double v) { m_y.limitMax = v; update(); }

void usrStage::setmode(int16_t mode)
{
    m_mode = mode;
    m_held = Part::None;
    update();
}

void usrStage::setMousePointer(int16_t pointer)
{
    m_mousePointer = pointer;
    if (pointer == 99)
        setCursor(Qt::SizeAllCursor);
    else
        unsetCursor();
}

int32_t usrStage::XMemoryPos(int16_t index) const
{
    return (index >= 0 && index < kMemories) ? m_memX[index] : 0;
}

void usrStage::setXMemoryPos(int16_t index, int32_t v)
{
    if (index >= 0 && index < kMemories) {
        m_memX[index] = v;
        update();
    }
}

int32_t usrStage::YMemoryPos(int16_t index) const
{
    return (index >= 0 && index < kMemories) ? m_memY[index] : 0;
}

void usrStage::setYMemoryPos(int16_t index, int32_t v)
{
    if (index >= 0 && index < kMemories) {
        m_memY[index] = v;
        update();
    }
}

void usrStage::setResolution(double step)
{
    m_resolution = (std::isfinite(step) && step > 0) ? step : 0.0;
}

// --- Layout -------------------------------------------------------------------

QRectF usrStage::mapRect() const
{
    const double s = std::max(40.0, std::min(width() - kRuler - kGap, height() - kRuler - kMemRow - 2 * kGap));
    return QRectF(0, 0, s, s);
}

QRectF usrStage::xRulerRect() const
{
    const QRectF m = mapRect();
    return QRectF(m.left(), m.bottom() + kGap, m.width(), kRuler);
}

QRectF usrStage::yRulerRect() const
{
    const QRectF m = mapRect();
    return QRectF(m.right() + kGap, m.top(), kRuler, m.height());
}

QRectF usrStage::xStepDownRect() const
{
    const QRectF r = xRulerRect();
    return QRectF(r.left(), r.top(), kRuler, kRuler);
}

QRectF usrStage::xStepUpRect() const
{
    const QRectF r = xRulerRect();
    return QRectF(r.right() - kRuler, r.top(), kRuler, kRuler);
}

QRectF usrStage::yStepUpRect() const
{
    const QRectF r = yRulerRect();
    return QRectF(r.left(), r.top(), kRuler, kRuler);
}

QRectF usrStage::yStepDownRect() const
{
    const QRectF r = yRulerRect();
    return QRectF(r.left(), r.bottom() - kRuler, kRuler, kRuler);
}

QRectF usrStage::memoryRect(int16_t index) const
{
    if (index < 0 || index >= kMemories)
        return QRectF();
    const QRectF x = xRulerRect();
    const double top = x.bottom() + kGap;
    const double total = yRulerRect().right();
    const double w = (total - (kMemories - 1) * 3) / kMemories;
    return QRectF(index * (w + 3), top, w, kMemRow);
}

QPointF usrStage::mapPoint(double x, double y) const
{
    const QRectF m = mapRect();
    return QPointF(m.left() + fraction(x, m_x.scaleMin, m_x.scaleMax) * m.width(),
                   m.bottom() - fraction(y, m_y.scaleMin, m_y.scaleMax) * m.height());
}

double usrStage::snap(const Axis& a, double v) const
{
    if (!std::isfinite(a.scaleMax - a.scaleMin) || a.scaleMax <= a.scaleMin)
        return a.scaleMin;
    if (m_resolution > 0 && std::isfinite(a.scaleMin))
        v = a.scaleMin + std::nearbyint((v - a.scaleMin) / m_resolution) * m_resolution;
    return std::clamp(v, a.scaleMin, a.scaleMax);
}

double usrStage::xAt(double px) const
{
    const QRectF m = mapRect();
    const double f = std::clamp((px - m.left()) / m.width(), 0.0, 1.0);
    return snap(m_x, m_x.scaleMin + f * (m_x.scaleMax - m_x.scaleMin));
}

double usrStage::yAt(double py) const
{
    const QRectF m = mapRect();
    const double f = std::clamp((m.bottom() - py) / m.height(), 0.0, 1.0);
    return snap(m_y, m_y.scaleMin + f * (m_y.scaleMax - m_y.scaleMin));
}

namespace {
// The inner track of a ruler: between its step buttons.
double rulerLo(const QRectF& r, bool horizontal)
{
    return (horizontal ? r.left() : r.top()) + kRuler + 7;
}
double rulerLen(const QRectF& r, bool horizontal)
{
    return std::max(1.0, (horizontal ? r.width() : r.height()) - 2 * (kRuler + 7));
}
}

QRectF usrStage::partRect(Part part) const
{
    switch (part) {
    case Part::XThumb: {
        const QRectF r = xRulerRect();
        const double x = rulerLo(r, true) + fraction(m_x.value, m_x.scaleMin, m_x.scaleMax) * rulerLen(r, true);
        return QRectF(x - 5, r.top() + 2, 10, r.height() - 4);
    }
    case Part::YThumb: {
        const QRectF r = yRulerRect();
        const double y = rulerLo(r, false) + rulerLen(r, false)
            - fraction(m_y.value, m_y.scaleMin, m_y.scaleMax) * rulerLen(r, false);
        return QRectF(r.left() + 2, y - 5, r.width() - 4, 10);
    }
    case Part::Cross: {
        const QPointF c = mapPoint(m_x.value, m_y.value);
        return QRectF(c.x() - 8, c.y() - 8, 16, 16);
    }
    case Part::XStepDown: return xStepDownRect();
    case Part::XStepUp: return xStepUpRect();
    case Part::YStepUp: return yStepUpRect();
    case Part::YStepDown: return yStepDownRect();
    default: return QRectF();
    }
}

QPointF usrStage::ownCoords(const QPointF& pos) const
{
    const QRectF m = mapRect();
    return QPointF((pos.x() - m.left()) / m.width() * kMapUnits, (pos.y() - m.top()) / m.height() * kMapUnits);
}

void usrStage::reportMouse(int kind, QMouseEvent* e)
{
    const QPointF c = ownCoords(e->position());
    const int16_t shift = shiftCode(e->modifiers());
    const float x = float(c.x());
    const float y = float(c.y());
    switch (kind) {
    case 0: emit MouseDown(mouseButtonCode(e->button()), shift, x, y); break;
    case 1: emit MouseMove(mouseButtonsCode(e->buttons()), shift, x, y); break;
    default: emit MouseUp(mouseButtonCode(e->button()), shift, x, y); break;
    }
}

// --- Gestures -------------------------------------------------------------------

void usrStage::mousePressEvent(QMouseEvent* e)
{
    e->accept();
    if (!isEnabled() || m_held != Part::None)
        return;
    const QPointF pos = e->position();
    const bool onMap = mapRect().contains(pos);
    if (onMap)
        reportMouse(0, e);
    // The owner may have disabled the widget while handling the press.
    if (!isEnabled() || e->button() != Qt::LeftButton)
        return;
    m_pressPos = pos;
    m_inside = true;
    m_heldMemory = -1;
    for (int16_t i = 0; i < kMemories; ++i)
        if (memoryRect(i).contains(pos)) {
            m_held = Part::Memory;
            m_heldMemory = i;
            update();
            return;
        }
    for (Part b : {Part::XStepDown, Part::XStepUp, Part::YStepUp, Part::YStepDown})
        if (partRect(b).contains(pos)) {
            m_held = b;
            update();
            return;
        }
    if (partRect(Part::XThumb).adjusted(-3, 0, 3, 0).contains(pos)) {
        m_held = Part::XThumb;
        m_atPress = m_x.value;
    } else if (partRect(Part::YThumb).adjusted(0, -3, 0, 3).contains(pos)) {
        m_held = Part::YThumb;
        m_atPress = m_y.value;
    } else if (onMap) {
        if (m_mode == 2)
            m_held = Part::Range;
        else if (partRect(Part::Cross).contains(pos))
            m_held = Part::Cross;
        else
            m_held = Part::Map;
    }
    update();
}

void usrStage::mouseMoveEvent(QMouseEvent* e)
{
    const QPointF pos = e->position();
    if (mapRect().contains(pos) || m_held == Part::Map || m_held == Part::Cross || m_held == Part::Range)
        reportMouse(1, e);
    const QRectF xr = xRulerRect();
    const QRectF yr = yRulerRect();
    switch (m_held) {
    case Part::XThumb: {
        const double f = std::clamp((pos.x() - rulerLo(xr, true)) / rulerLen(xr, true), 0.0, 1.0);
        m_x.value = snap(m_x, m_x.scaleMin + f * (m_x.scaleMax - m_x.scaleMin));
        break;
    }
    case Part::YThumb: {
        const double f = std::clamp(1.0 - (pos.y() - rulerLo(yr, false)) / rulerLen(yr, false), 0.0, 1.0);
        m_y.value = snap(m_y, m_y.scaleMin + f * (m_y.scaleMax - m_y.scaleMin));
        break;
    }
    case Part::Cross:
        // The cross follows the hand; the stage goes there when it is dropped.
        m_x.value = xAt(pos.x());
        m_y.value = yAt(pos.y());
        break;
    case Part::Range: {
        const double x1 = xAt(m_pressPos.x()), x2 = xAt(pos.x());
        const double y1 = yAt(m_pressPos.y()), y2 = yAt(pos.y());
        m_x.limitMin = std::min(x1, x2);
        m_x.limitMax = std::max(x1, x2);
        m_y.limitMin = std::min(y1, y2);
        m_y.limitMax = std::max(y1, y2);
        break;
    }
    case Part::None:
    case Part::Map:
        return;
    case Part::Memory:
        m_inside = memoryRect(m_heldMemory).contains(pos);
        break;
    default:
        m_inside = partRect(m_held).contains(pos);
        break;
    }
    update();
}

void usrStage::mouseReleaseEvent(QMouseEvent* e)
{
    const QPointF pos = e->position();
    const Part part = e->button() == Qt::LeftButton ? m_held : Part::None;
    if (mapRect().contains(pos) || part == Part::Map || part == Part::Cross || part == Part::Range)
        reportMouse(2, e);
    if (part == Part::None)
        return;
    mouseMoveEvent(e);
    m_held = Part::None;
    m_inside = false;
    update();
    switch (part) {
    case Part::XStepDown: if (xStepDownRect().contains(pos)) emit XStepDown(); break;
    case Part::XStepUp: if (xStepUpRect().contains(pos)) emit XStepUp(); break;
    case Part::YStepUp: if (yStepUpRect().contains(pos)) emit YStepUp(); break;
    case Part::YStepDown: if (yStepDownRect().contains(pos)) emit YStepDown(); break;
    case Part::XThumb: if (m_x.value != m_atPress) emit XChanged(); break;
    case Part::YThumb: if (m_y.value != m_atPress) emit YChanged(); break;
    case Part::Map:
        if (QLineF(pos, m_pressPos).length() <= kClickSlop && mapRect().contains(pos))
            emit GoTo(xAt(pos.x()), yAt(pos.y()));
        break;
    case Part::Cross:
        emit GoTo(m_x.value, m_y.value);
        break;
    case Part::Range:
        emit RangeChanged();
        break;
    case Part::Memory: {
        const int16_t i = m_heldMemory;
        if (!memoryRect(i).contains(pos))
            break;
        const bool empty = m_memX[i] == -1 && m_memY[i] == -1;
        if (empty || (e->modifiers() & Qt::ShiftModifier)) {
            const double x = std::isfinite(m_x.value) ? std::clamp(std::nearbyint(m_x.value), -2147483648.0, 2147483647.0) : 0.0;
            const double y = std::isfinite(m_y.value) ? std::clamp(std::nearbyint(m_y.value), -2147483648.0, 2147483647.0) : 0.0;
            m_memX[i] = int32_t(x);
            m_memY[i] = int32_t(y);
            update();
            emit MemoryStored(i, m_memX[i], m_memY[i]);
        } else {
            emit GoTo(m_memX[i], m_memY[i]);
        }
        break;
    }
    case Part::None:
        break;
    }
}

void usrStage::keyPressEvent(QKeyEvent* e)
{
    const bool live = isEnabled() && m_held == Part::None;
    switch (e->key()) {
    case Qt::Key_Left: if (live) emit XStepDown(); break;
    case Qt::Key_Right: if (live) emit XStepUp(); break;
    case Qt::Key_Up: if (live) emit YStepUp(); break;
    case Qt::Key_Down: if (live) emit YStepDown(); break;
    default: QWidget::keyPressEvent(e); return;
    }
    e->accept();
}

void usrStage::wheelEvent(QWheelEvent* e)
{
    e->ignore();
}

void usrStage::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::EnabledChange && !isEnabled())
        m_held = Part::None;
    QWidget::changeEvent(e);
    update();
}

// --- Painting ---------------------------------------------------------------------

void usrStage::paintEvent(QPaintEvent*)
{
    look::paintGreyable(this, [this](QPainter& p) { draw(p); });
}

void usrStage::draw(QPainter& p)
{
    p.setRenderHint(QPainter::Antialiasing, true);
    const bool enabled = isEnabled();
    const QColor markC = enabled ? look::mark() : look::textDim();

    // Map with a grid of tenths.
    const QRectF m = mapRect();
    p.setPen(QPen(look::edgeDark(), 1));
    p.setBrush(QColor(0x1c, 0x1e, 0x22));
    p.drawRect(m.adjusted(0.5, 0.5, -0.5, -0.5));
    p.setPen(QPen(QColor(0x30, 0x34, 0x3a), 1));
    for (int i = 1; i < 10; ++i) {
        const double x = m.left() + m.width() * i / 10.0;
        const double y = m.top() + m.height() * i / 10.0;
        p.drawLine(QPointF(x, m.top() + 1), QPointF(x, m.bottom() - 1));
        p.drawLine(QPointF(m.left() + 1, y), QPointF(m.right() - 1, y));
    }
    p.save();
    p.setClipRect(m.adjusted(1, 1, -1, -1));

    // Range rectangle.
    const QPointF r1 = mapPoint(m_x.limitMin, m_y.limitMin);
    const QPointF r2 = mapPoint(m_x.limitMax, m_y.limitMax);
    const QRectF range = QRectF(r1, r2).normalized();
    QColor fill = m_mode == 2 ? look::accent() : look::mark();
    fill.setAlpha(enabled ? 28 : 12);
    p.setBrush(fill);
    p.setPen(QPen(m_mode == 2 ? look::accent() : markC, m_mode == 2 ? 1.6 : 1, Qt::DashLine));
    p.drawRect(range);

    // Origin cross.
    const QPointF o = mapPoint(m_x.origin, m_y.origin);
    p.setPen(QPen(markC, 1));
    p.drawLine(QPointF(o.x(), m.top()), QPointF(o.x(), m.bottom()));
    p.drawLine(QPointF(m.left(), o.y()), QPointF(m.right(), o.y()));
    p.drawText(QRectF(o.x() + 3, o.y() + 1, 20, 14), Qt::AlignLeft | Qt::AlignTop, QStringLiteral("0"));

    // Memory marks.
    QFont small = font();
    small.setPointSizeF(7);
    p.setFont(small);
    for (int16_t i = 0; i < kMemories; ++i) {
        if (m_memX[i] == -1 && m_memY[i] == -1)
            continue;
        const QPointF c = mapPoint(m_memX[i], m_memY[i]);
        QPolygonF d;
        d << QPointF(c.x(), c.y() - 5) << QPointF(c.x() + 5, c.y()) << QPointF(c.x(), c.y() + 5)
          << QPointF(c.x() - 5, c.y());
        p.setPen(QPen(QColor(0x9a, 0xe0, 0x8a), 1));
        p.setBrush(QColor(0x3a, 0x6a, 0x34));
        p.drawPolygon(d);
        p.setPen(QColor(0x9a, 0xe0, 0x8a));
        p.drawText(QPointF(c.x() + 6, c.y() - 4), QString::number(i + 1));
    }
    p.setFont(font());

    // Present position.
    const QPointF c = mapPoint(m_x.value, m_y.value);
    const bool outside = (std::isfinite(m_x.value) && (m_x.value < m_x.scaleMin || m_x.value > m_x.scaleMax))
        || (std::isfinite(m_y.value) && (m_y.value < m_y.scaleMin || m_y.value > m_y.scaleMax));
    const QColor posC = !enabled ? look::textDim() : (outside ? look::warn() : look::accent());
    p.setPen(QPen(posC, 1.8));
    p.setBrush(Qt::NoBrush);
    p.drawEllipse(c, 6, 6);
    p.drawLine(QPointF(c.x() - 11, c.y()), QPointF(c.x() - 3, c.y()));
    p.drawLine(QPointF(c.x() + 3, c.y()), QPointF(c.x() + 11, c.y()));
    p.drawLine(QPointF(c.x(), c.y() - 11), QPointF(c.x(), c.y() - 3));
    p.drawLine(QPointF(c.x(), c.y() + 3), QPointF(c.x(), c.y() + 11));
    p.restore();

    // Rulers.
    const QColor arrow = enabled ? look::text() : look::textDim();
    const QRectF xr = xRulerRect();
    const QRectF yr = yRulerRect();
    p.setPen(QPen(look::edgeDark(), 1));
    p.setBrush(look::faceDown());
    p.drawRoundedRect(QRectF(rulerLo(xr, true) - 5, xr.center().y() - 4, rulerLen(xr, true) + 10, 8), 3, 3);
    p.drawRoundedRect(QRectF(yr.center().x() - 4, rulerLo(yr, false) - 5, 8, rulerLen(yr, false) + 10), 3, 3);
    look::drawFace(p, xStepDownRect(), m_held == Part::XStepDown && m_inside, enabled);
    look::drawArrow(p, xStepDownRect(), look::Arrow::Left, 1, arrow);
    look::drawFace(p, xStepUpRect(), m_held == Part::XStepUp && m_inside, enabled);
    look::drawArrow(p, xStepUpRect(), look::Arrow::Right, 1, arrow);
    look::drawFace(p, yStepUpRect(), m_held == Part::YStepUp && m_inside, enabled);
    look::drawArrow(p, yStepUpRect(), look::Arrow::Up, 1, arrow);
    look::drawFace(p, yStepDownRect(), m_held == Part::YStepDown && m_inside, enabled);
    look::drawArrow(p, yStepDownRect(), look::Arrow::Down, 1, arrow);
    for (Part t : {Part::XThumb, Part::YThumb}) {
        const QRectF th = partRect(t);
        QLinearGradient g(th.topLeft(), t == Part::XThumb ? th.topRight() : th.bottomLeft());
        const QColor base = enabled ? QColor(0xc8, 0xcc, 0xd2) : QColor(0x6a, 0x6e, 0x74);
        g.setColorAt(0, base.lighter(110));
        g.setColorAt(1, base.darker(125));
        p.setBrush(g);
        p.setPen(QPen(look::edgeDark(), 1));
        p.drawRoundedRect(th, 2, 2);
    }
    // Axis names in the free corner.
    p.setPen(look::textDim());
    p.drawText(QRectF(yr.left(), xr.top(), kRuler, kRuler), Qt::AlignCenter, QStringLiteral("XY"));

    // Memory buttons.
    for (int16_t i = 0; i < kMemories; ++i) {
        const QRectF r = memoryRect(i);
        const bool stored = !(m_memX[i] == -1 && m_memY[i] == -1);
        look::drawFace(p, r, m_held == Part::Memory && m_heldMemory == i && m_inside, enabled);
        p.setPen(!enabled ? look::textDim() : (stored ? QColor(0x9a, 0xe0, 0x8a) : look::text()));
        p.drawText(r, Qt::AlignCenter, QStringLiteral("M%1").arg(i + 1));
    }
    if (hasFocus())
        look::drawFocus(p, m);
}
