#include "widgets/WidgetAccessibility.h"
#include "widgets/usrXscroll.h"

#include "widgets/Units.h"
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
bool isFiniteValue(double v) { return std::isfinite(v); }
}

usrSliderBase::usrSliderBase(QWidget* parent) : QWidget(parent)
{
    zentor::accessibility::install();
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
}

void usrSliderBase::setMin(double v)
{
    m_min = v;
    update();
}

void usrSliderBase::setMax(double v)
{
    m_max = v;
    update();
}

void usrSliderBase::setValue(double v)
{
    // Kept as given: the owner clamps where it needs to.
    m_value = v;
    update();
    zentor::accessibility::valueChanged(this, v);
}

void usrSliderBase::setResolution(double step)
{
    m_resolution = (isFiniteValue(step) && step > 0) ? step : 0.0;
}

bool usrSliderBase::inert() const { return !isEnabled() || m_locked; }

void usrSliderBase::cancelGesture()
{
    m_held = Part::None;
    m_inside = false;
    update();
}

QRectF usrSliderBase::minusRect() const
{
    const double s = std::min<double>(height(), 26);
    return QRectF(0, (height() - s) / 2.0, s, s);
}

QRectF usrSliderBase::plusRect() const
{
    const double s = std::min<double>(height(), 26);
    return QRectF(width() - s, (height() - s) / 2.0, s, s);
}

QRectF usrSliderBase::trackRect() const
{
    // The span the thumb's centre can travel.
    const QRectF m = minusRect();
    const QRectF p = plusRect();
    const double left = m.right() + 9;
    const double right = p.left() - 9;
    return QRectF(left, 0, std::max(1.0, right - left), height());
}

double usrSliderBase::xOfValue(double v) const
{
    const QRectF t = trackRect();
    const double span = m_max - m_min;
    if (!isFiniteValue(v) || !isFiniteValue(span) || span <= 0)
        return t.left();
    const double f = std::clamp((v - m_min) / span, 0.0, 1.0);
    return t.left() + f * t.width();
}

double usrSliderBase::valueOfX(double x) const
{
    const QRectF t = trackRect();
    const double span = m_max - m_min;
    if (!isFiniteValue(span) || span <= 0 || !isFiniteValue(m_min))
        return m_min;
    const double f = std::clamp((x - t.left()) / t.width(), 0.0, 1.0);
    double v = m_min + f * span;
    if (m_resolution > 0) {
        const double steps = std::nearbyint((v - m_min) / m_resolution);
        v = m_min + steps * m_resolution;
        // Keep the decimals clean (0.1 steps read 2.3, not 2.3000000000000003).
        const double scale = std::pow(10.0, std::ceil(-std::log10(m_resolution)) + 2);
        if (isFiniteValue(scale) && scale > 0 && std::fabs(v * scale) < 1e15)
            v = std::nearbyint(v * scale) / scale;
    }
    return std::clamp(v, m_min, m_max);
}

QRectF usrSliderBase::thumbRect() const
{
    const double x = xOfValue(m_value);
    const double h = std::min<double>(height() - 4, 22);
    return QRectF(x - 5, (height() - h) / 2.0, 10, h);
}

usrSliderBase::Part usrSliderBase::partAt(const QPointF& pos) const
{
    if (minusRect().contains(pos))
        return Part::Minus;
    if (plusRect().contains(pos))
        return Part::Plus;
    if (thumbRect().adjusted(-3, 0, 3, 0).contains(pos))
        return Part::Thumb;
    const QRectF t = trackRect();
    if (pos.x() >= t.left() - 9 && pos.x() <= t.right() + 9)
        return Part::Track;
    return Part::None;
}

void usrSliderBase::mousePressEvent(QMouseEvent* e)
{
    e->accept();
    if (inert() || m_held != Part::None || e->button() != Qt::LeftButton)
        return;
    const QPointF pos = e->position();
    m_held = partAt(pos);
    m_inside = true;
    m_valueAtPress = m_value;
    switch (m_held) {
    case Part::Thumb:
        m_grabOffset = pos.x() - xOfValue(m_value);
        break;
    case Part::Track:
        // The thumb jumps under the pointer and can be dragged on from there.
        m_grabOffset = 0;
        m_value = valueOfX(pos.x());
        break;
    default:
        break;
    }
    update();
}

void usrSliderBase::mouseMoveEvent(QMouseEvent* e)
{
    const QPointF pos = e->position();
    if (m_held == Part::Thumb || m_held == Part::Track) {
        m_value = valueOfX(pos.x() - m_grabOffset);
        update();
    } else if (m_held == Part::Minus || m_held == Part::Plus) {
        const bool in = (m_held == Part::Minus ? minusRect() : plusRect()).contains(pos);
        if (in != m_inside) {
            m_inside = in;
            update();
        }
    }
}

void usrSliderBase::mouseReleaseEvent(QMouseEvent* e)
{
    if (m_held == Part::None || e->button() != Qt::LeftButton)
        return;
    const Part part = m_held;
    const QPointF pos = e->position();
    m_held = Part::None;
    m_inside = false;
    update();
    switch (part) {
    case Part::Thumb:
        m_value = valueOfX(pos.x() - m_grabOffset);
        if (m_value != m_valueAtPress)
            emit Changed();
        break;
    case Part::Track:
        m_value = valueOfX(pos.x());
        emit TrackClicked();
        break;
    case Part::Minus:
        if (minusRect().contains(pos))
            emit StepDown();
        break;
    case Part::Plus:
        if (plusRect().contains(pos))
            emit StepUp();
        break;
    case Part::None:
        break;
    }
}

void usrSliderBase::keyPressEvent(QKeyEvent* e)
{
    switch (e->key()) {
    case Qt::Key_Left:
    case Qt::Key_Down:
    case Qt::Key_Minus:
        if (!inert() && m_held == Part::None)
            emit StepDown();
        e->accept();
        return;
    case Qt::Key_Right:
    case Qt::Key_Up:
    case Qt::Key_Plus:
        if (!inert() && m_held == Part::None)
            emit StepUp();
        e->accept();
        return;
    default:
        QWidget::keyPressEvent(e);
    }
}

void usrSliderBase::wheelEvent(QWheelEvent* e)
{
    // The wheel belongs to the panel (focus drive), not to the slider.
    e->ignore();
}

void usrSliderBase::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::EnabledChange && !isEnabled())
        cancelGesture();
    QWidget::changeEvent(e);
    update();
}

void usrSliderBase::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    const bool enabled = isEnabled();
    const bool live = !inert();

    // Step buttons: minus end on the left, plus end on the right.
    const QColor arrowColor = live ? look::text() : look::textDim();
    look::drawFace(p, minusRect(), m_held == Part::Minus && m_inside, enabled);
    look::drawArrow(p, minusRect(), look::Arrow::Left, 1, arrowColor);
    look::drawFace(p, plusRect(), m_held == Part::Plus && m_inside, enabled);
    look::drawArrow(p, plusRect(), look::Arrow::Right, 1, arrowColor);

    // Groove.
    const QRectF t = trackRect();
    const double cy = height() / 2.0;
    const QRectF groove(t.left() - 5, cy - 4, t.width() + 10, 8);
    p.setPen(QPen(look::edgeDark(), 1));
    p.setBrush(look::faceDown());
    p.drawRoundedRect(groove, 3, 3);

    // Bar from Min to Value.
    const double xv = xOfValue(m_value);
    if (xv > groove.left() + 1) {
        QColor bar = colorFromBgr(m_barColor);
        if (!enabled) {
            // Greyed: the bar keeps its length, loses its colour.
            const int grey = bar.lightness() / 3;
            bar = QColor(grey, grey, grey);
        }
        QRectF fill(groove.left() + 1, groove.top() + 1, xv - groove.left() - 1, groove.height() - 2);
        if (m_style == 2) {
            QLinearGradient g(fill.topLeft(), fill.bottomLeft());
            g.setColorAt(0, bar.lighter(115));
            g.setColorAt(0.5, bar);
            g.setColorAt(1, bar.darker(130));
            p.setPen(Qt::NoPen);
            p.setBrush(g);
            p.drawRoundedRect(fill, 2, 2);
            QColor halo = bar;
            halo.setAlpha(70);
            p.setPen(QPen(halo, 3));
            p.setBrush(Qt::NoBrush);
            p.drawRoundedRect(fill.adjusted(-1, -1, 1, 1), 3, 3);
        } else {
            p.setPen(Qt::NoPen);
            p.setBrush(bar);
            p.drawRoundedRect(fill, 2, 2);
        }
    }

    // Ticks: ends and quarters.
    p.setPen(QPen(look::textDim(), 1));
    for (int i = 0; i <= 4; ++i) {
        const double x = t.left() + t.width() * i / 4.0;
        p.drawLine(QPointF(x, groove.bottom() + 2), QPointF(x, groove.bottom() + (i % 2 ? 3 : 5)));
    }

    // Origin mark under the groove.
    if (m_hasOrigin) {
        const double xo = xOfValue(m_origin);
        QPolygonF tri;
        tri << QPointF(xo, groove.bottom() + 1) << QPointF(xo - 5, groove.bottom() + 8)
            << QPointF(xo + 5, groove.bottom() + 8);
        p.setPen(Qt::NoPen);
        p.setBrush(enabled ? look::mark() : look::textDim());
        p.drawPolygon(tri);
    }

    // Thumb. A value outside Min..Max sits at the end with a red edge.
    const QRectF th = thumbRect();
    const bool outside = isFiniteValue(m_value) && (m_value < m_min || m_value > m_max);
    QLinearGradient g(th.topLeft(), th.topRight());
    const QColor base = enabled ? QColor(0xc8, 0xcc, 0xd2) : QColor(0x6a, 0x6e, 0x74);
    g.setColorAt(0, base.lighter(110));
    g.setColorAt(1, base.darker(125));
    p.setBrush(g);
    p.setPen(QPen(outside ? look::warn() : look::edgeDark(), outside ? 2 : 1));
    p.drawRoundedRect(th, 2, 2);
    p.setPen(QPen(m_locked || !enabled ? look::textDim() : look::accent(), 2));
    p.drawLine(QPointF(th.center().x(), th.top() + 4), QPointF(th.center().x(), th.bottom() - 4));

    if (hasFocus())
        look::drawFocus(p, rect());
}

usrXscroll::usrXscroll(QWidget* parent) : usrSliderBase(parent)
{
    m_hasOrigin = true;
}

void usrXscroll::setOrigin(double v)
{
    m_origin = v;
    update();
}

void usrXscroll::setStyle(int16_t style)
{
    m_style = style;
    update();
}

void usrXscroll::setBarColor(int32_t bgr)
{
    m_barColor = bgr;
    update();
}

usrScroll::usrScroll(QWidget* parent) : usrSliderBase(parent)
{
    m_barColor = 0x5a4a3c;
}

void usrScroll::setLocked(bool locked)
{
    m_locked = locked;
    if (locked)
        cancelGesture();
    update();
}
