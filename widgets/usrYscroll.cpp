#include "widgets/WidgetAccessibility.h"
#include "widgets/usrYscroll.h"

#include "widgets/WidgetLook.h"

#include <QKeyEvent>
#include <QLinearGradient>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

using namespace zentor;

namespace {
constexpr double kButtonH = 20;
constexpr double kGap = 8;
}

usrYscroll::usrYscroll(QWidget* parent) : QWidget(parent)
{
    zentor::accessibility::install();
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
    m_holdDelay.setSingleShot(true);
    m_holdDelay.setInterval(kHoldDelayMs);
    connect(&m_holdDelay, &QTimer::timeout, this, [this] { holdTimeout(); });
}

bool usrYscroll::isStepButton(Part part)
{
    return part == Part::FastUp || part == Part::SlowUp || part == Part::SlowDown || part == Part::FastDown;
}

void usrYscroll::holdTimeout()
{
    if (!isStepButton(m_held) || !m_inside || !isEnabled())
        return;
    m_holding = true;
    m_heldThisPress = true;
    emit StepHeld(m_held == Part::FastUp || m_held == Part::SlowUp);
}

void usrYscroll::endHold()
{
    m_holdDelay.stop();
    if (!m_holding)
        return;
    m_holding = false;
    emit StepHoldEnded();
}

void usrYscroll::setOrigin(double v) { m_origin = v; update(); }
void usrYscroll::setLimitMin(double v) { m_limitMin = v; update(); }
void usrYscroll::setLimitMax(double v) { m_limitMax = v; update(); }
void usrYscroll::setScaleMin(double v) { m_scaleMin = v; update(); }
void usrYscroll::setScaleMax(double v) { m_scaleMax = v; update(); }
void usrYscroll::setPosition(double v)
{
    m_position = v;
    update();
    zentor::accessibility::valueChanged(this, v);
}

void usrYscroll::setmode(int16_t mode)
{
    m_mode = mode;
    // A drag of the other kind does not survive a change of mode.
    m_held = Part::None;
    update();
}

void usrYscroll::setResolution(double step)
{
    m_resolution = (std::isfinite(step) && step > 0) ? step : 0.0;
}

QRectF usrYscroll::buttonRect(Part part) const
{
    const double w = std::min<double>(width(), 34);
    const double x = 0;
    switch (part) {
    case Part::FastUp: return QRectF(x, 0, w, kButtonH);
    case Part::SlowUp: return QRectF(x, kButtonH + 1, w, kButtonH);
    case Part::SlowDown: return QRectF(x, height() - 2 * kButtonH - 1, w, kButtonH);
    case Part::FastDown: return QRectF(x, height() - kButtonH, w, kButtonH);
    default: return QRectF();
    }
}

QRectF usrYscroll::trackRect() const
{
    // The span the thumb's centre travels, below the up buttons and above the
    // down buttons.
    const double top = 2 * kButtonH + 1 + kGap + 4;
    const double bottom = height() - 2 * kButtonH - 1 - kGap - 4;
    const double w = std::min<double>(width(), 34);
    return QRectF(0, top, w, std::max(1.0, bottom - top));
}

double usrYscroll::yOfValue(double v) const
{
    const QRectF t = trackRect();
    const double span = m_scaleMax - m_scaleMin;
    if (!std::isfinite(v) || !std::isfinite(span) || span <= 0)
        return t.bottom();
    const double f = std::clamp((v - m_scaleMin) / span, 0.0, 1.0);
    return t.bottom() - f * t.height();
}

double usrYscroll::snapped(double v) const
{
    if (m_resolution > 0 && std::isfinite(m_scaleMin))
        v = m_scaleMin + std::nearbyint((v - m_scaleMin) / m_resolution) * m_resolution;
    return std::clamp(v, m_scaleMin, m_scaleMax);
}

double usrYscroll::valueOfY(double y) const
{
    const QRectF t = trackRect();
    const double span = m_scaleMax - m_scaleMin;
    if (!std::isfinite(span) || span <= 0)
        return m_scaleMin;
    const double f = std::clamp((t.bottom() - y) / t.height(), 0.0, 1.0);
    return snapped(m_scaleMin + f * span);
}

usrYscroll::Part usrYscroll::partAt(const QPointF& pos) const
{
    for (Part b : {Part::FastUp, Part::SlowUp, Part::SlowDown, Part::FastDown})
        if (buttonRect(b).contains(pos))
            return b;
    const QRectF t = trackRect();
    if (pos.y() < t.top() - kGap || pos.y() > t.bottom() + kGap)
        return Part::None;
    if (m_mode == 2) {
        // The nearer range mark within reach of the pointer.
        const double dMax = std::fabs(pos.y() - yOfValue(m_limitMax));
        const double dMin = std::fabs(pos.y() - yOfValue(m_limitMin));
        if (std::min(dMax, dMin) <= 8)
            return dMax <= dMin ? Part::MarkMax : Part::MarkMin;
        return Part::None;
    }
    if (std::fabs(pos.y() - yOfValue(m_position)) <= 7 && pos.x() < t.right() + 4)
        return Part::Thumb;
    return Part::Track;
}

void usrYscroll::mousePressEvent(QMouseEvent* e)
{
    e->accept();
    if (!isEnabled() || m_held != Part::None || e->button() != Qt::LeftButton)
        return;
    const QPointF pos = e->position();
    m_held = partAt(pos);
    m_inside = true;
    m_atPress = m_position;
    switch (m_held) {
    case Part::Thumb:
        m_grabOffset = pos.y() - yOfValue(m_position);
        break;
    case Part::Track:
        m_grabOffset = 0;
        m_position = valueOfY(pos.y());
        break;
    case Part::MarkMax:
        m_atPress = m_limitMax;
        m_grabOffset = pos.y() - yOfValue(m_limitMax);
        break;
    case Part::MarkMin:
        m_atPress = m_limitMin;
        m_grabOffset = pos.y() - yOfValue(m_limitMin);
        break;
    default:
        break;
    }
    m_heldThisPress = false;
    if (isStepButton(m_held))
        m_holdDelay.start();
    update();
}

void usrYscroll::mouseMoveEvent(QMouseEvent* e)
{
    const QPointF pos = e->position();
    switch (m_held) {
    case Part::Thumb:
    case Part::Track:
        m_position = valueOfY(pos.y() - m_grabOffset);
        break;
    case Part::MarkMax:
        // The top mark cannot pass below the bottom one.
        m_limitMax = std::max(valueOfY(pos.y() - m_grabOffset), std::min(m_limitMin, m_scaleMax));
        break;
    case Part::MarkMin:
        m_limitMin = std::min(valueOfY(pos.y() - m_grabOffset), std::max(m_limitMax, m_scaleMin));
        break;
    case Part::None:
        return;
    default:
        m_inside = buttonRect(m_held).contains(pos);
        // Off the held button the repeat stops, as it does not start there.
        if (!m_inside)
            endHold();
        break;
    }
    update();
}

void usrYscroll::mouseReleaseEvent(QMouseEvent* e)
{
    if (m_held == Part::None || e->button() != Qt::LeftButton)
        return;
    mouseMoveEvent(e);
    const Part part = m_held;
    endHold();
    const bool inside = !m_heldThisPress && buttonRect(part).contains(e->position());
    m_held = Part::None;
    m_inside = false;
    update();
    switch (part) {
    case Part::FastUp: if (inside) emit FastUp(); break;
    case Part::SlowUp: if (inside) emit SlowUp(); break;
    case Part::SlowDown: if (inside) emit SlowDown(); break;
    case Part::FastDown: if (inside) emit FastDown(); break;
    case Part::Thumb:
        if (m_position != m_atPress)
            emit ThumbReleased();
        break;
    case Part::Track:
        emit ValueChange();
        break;
    case Part::MarkMax:
        if (m_limitMax != m_atPress)
            emit ValueChange();
        break;
    case Part::MarkMin:
        if (m_limitMin != m_atPress)
            emit ValueChange();
        break;
    case Part::None:
        break;
    }
}

void usrYscroll::keyPressEvent(QKeyEvent* e)
{
    const bool live = isEnabled() && m_held == Part::None;
    switch (e->key()) {
    case Qt::Key_Up: if (live) emit SlowUp(); break;
    case Qt::Key_Down: if (live) emit SlowDown(); break;
    case Qt::Key_PageUp: if (live) emit FastUp(); break;
    case Qt::Key_PageDown: if (live) emit FastDown(); break;
    default: QWidget::keyPressEvent(e); return;
    }
    e->accept();
}

void usrYscroll::wheelEvent(QWheelEvent* e)
{
    // The focus panel turns wheel steps into drive moves itself.
    e->ignore();
}

void usrYscroll::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::EnabledChange && !isEnabled()) {
        m_held = Part::None;
        endHold();
    }
    QWidget::changeEvent(e);
    update();
}

void usrYscroll::paintEvent(QPaintEvent*)
{
    look::paintGreyable(this, [this](QPainter& p) { draw(p); });
}

void usrYscroll::draw(QPainter& p)
{
    p.setRenderHint(QPainter::Antialiasing, true);
    const bool enabled = isEnabled();
    const QColor arrow = enabled ? look::text() : look::textDim();

    const struct { Part part; look::Arrow dir; int count; } buttons[] = {
        {Part::FastUp, look::Arrow::Up, 2}, {Part::SlowUp, look::Arrow::Up, 1},
        {Part::SlowDown, look::Arrow::Down, 1}, {Part::FastDown, look::Arrow::Down, 2}};
    for (const auto& b : buttons) {
        const QRectF r = buttonRect(b.part);
        look::drawFace(p, r, m_held == b.part && m_inside, enabled);
        look::drawArrow(p, r, b.dir, b.count, arrow);
    }

    const QRectF t = trackRect();
    const double cx = t.center().x();
    const QRectF groove(cx - 4, t.top() - 6, 8, t.height() + 12);

    // Operating range as a band beside the groove.
    const double yMax = yOfValue(m_limitMax);
    const double yMin = yOfValue(m_limitMin);
    QColor band = look::mark();
    band.setAlpha(enabled ? 60 : 25);
    p.setPen(Qt::NoPen);
    p.setBrush(band);
    p.drawRect(QRectF(cx - 13, std::min(yMax, yMin), 26, std::fabs(yMin - yMax)));

    p.setPen(QPen(look::edgeDark(), 1));
    p.setBrush(look::faceDown());
    p.drawRoundedRect(groove, 3, 3);

    // Ticks every tenth of the shown axis, on the right.
    p.setPen(QPen(look::textDim(), 1));
    for (int i = 0; i <= 10; ++i) {
        const double y = t.bottom() - t.height() * i / 10.0;
        p.drawLine(QPointF(t.right() + 1, y), QPointF(t.right() + (i % 5 ? 4 : 8), y));
    }

    // Range marks: brackets on the right of the band; larger and amber while
    // they can be dragged.
    const bool editing = m_mode == 2;
    const QColor markColor = !enabled ? look::textDim() : (editing ? look::accent() : look::mark());
    p.setPen(QPen(markColor, editing ? 2.5 : 1.5));
    for (double y : {yMax, yMin}) {
        p.drawLine(QPointF(cx - 13, y), QPointF(cx + 13, y));
        if (editing) {
            QPolygonF h;
            h << QPointF(cx + 13, y) << QPointF(cx + 19, y - 5) << QPointF(cx + 19, y + 5);
            p.setBrush(markColor);
            p.drawPolygon(h);
        }
    }

    // Origin (0 um) mark on the left.
    const double yo = yOfValue(m_origin);
    QPolygonF tri;
    tri << QPointF(cx - 6, yo) << QPointF(cx - 13, yo - 5) << QPointF(cx - 13, yo + 5);
    p.setPen(Qt::NoPen);
    p.setBrush(enabled ? look::mark() : look::textDim());
    p.drawPolygon(tri);

    // Thumb.
    const double yp = yOfValue(m_position);
    const bool outside = std::isfinite(m_position) && (m_position < m_scaleMin || m_position > m_scaleMax);
    const QRectF th(cx - 11, yp - 5, 22, 10);
    QLinearGradient g(th.topLeft(), th.bottomLeft());
    const QColor base = enabled ? QColor(0xc8, 0xcc, 0xd2) : QColor(0x6a, 0x6e, 0x74);
    g.setColorAt(0, base.lighter(110));
    g.setColorAt(1, base.darker(125));
    p.setBrush(g);
    p.setPen(QPen(outside ? look::warn() : look::edgeDark(), outside ? 2 : 1));
    if (editing)
        p.setOpacity(0.55);
    p.drawRoundedRect(th, 2, 2);
    p.setPen(QPen(look::accent(), 2));
    p.drawLine(QPointF(th.left() + 4, yp), QPointF(th.right() - 4, yp));
    p.setOpacity(1.0);

    if (hasFocus())
        look::drawFocus(p, rect());
}
