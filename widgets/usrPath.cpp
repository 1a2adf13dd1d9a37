#include "widgets/usrPath.h"

#include "widgets/WidgetLook.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>

using namespace zentor;

usrPath::usrPath(QWidget* parent) : QWidget(parent)
{
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
}

void usrPath::setPathIndex(int16_t index)
{
    m_pathIndex = index;
    m_requested = 0;  // the stand has answered
    update();
}

void usrPath::setLocked(bool locked)
{
    m_locked = locked;
    m_pressed = 0;
    update();
}

QString usrPath::PathCaption(int16_t index) const
{
    return (index >= 1 && index <= kPaths) ? m_captions[index - 1] : QString();
}

void usrPath::setPathCaption(int16_t index, const QString& caption)
{
    if (index >= 1 && index <= kPaths) {
        m_captions[index - 1] = caption;
        update();
    }
}

QRect usrPath::outletRect(int16_t index) const
{
    if (index < 1 || index > kPaths)
        return QRect();
    const int gap = 6;
    const int w = (width() - gap * (kPaths + 1)) / kPaths;
    const int h = std::clamp(height() * 11 / 20, 24, 56);
    // The drawing keeps its proportions in a tall widget: centred vertically.
    const int top = std::max(2, (height() - h * 20 / 11) / 2 + 2);
    return QRect(gap + (index - 1) * (w + gap), top, w, h);
}

int16_t usrPath::outletAt(const QPoint& pos) const
{
    for (int16_t i = 1; i <= kPaths; ++i)
        if (outletRect(i).contains(pos))
            return i;
    return 0;
}

void usrPath::pick(int16_t index)
{
    m_requested = index;
    m_cursor = index;
    update();
    emit PathPicked(index);
}

void usrPath::mousePressEvent(QMouseEvent* e)
{
    e->accept();
    if (!live() || e->button() != Qt::LeftButton)
        return;
    m_pressed = outletAt(e->position().toPoint());
    update();
}

void usrPath::mouseReleaseEvent(QMouseEvent* e)
{
    if (e->button() != Qt::LeftButton)
        return;
    const int16_t pressed = m_pressed;
    m_pressed = 0;
    update();
    if (pressed && live() && outletAt(e->position().toPoint()) == pressed)
        pick(pressed);
}

void usrPath::keyPressEvent(QKeyEvent* e)
{
    switch (e->key()) {
    case Qt::Key_Left:
        m_cursor = int16_t(m_cursor > 1 ? m_cursor - 1 : 1);
        update();
        break;
    case Qt::Key_Right:
        m_cursor = int16_t(m_cursor < kPaths ? m_cursor + 1 : kPaths);
        update();
        break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (live())
            pick(m_cursor);
        break;
    case Qt::Key_1:
    case Qt::Key_2:
    case Qt::Key_3:
        if (live())
            pick(int16_t(e->key() - Qt::Key_0));
        break;
    default:
        QWidget::keyPressEvent(e);
        return;
    }
    e->accept();
}

void usrPath::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::EnabledChange && !isEnabled())
        m_pressed = 0;
    QWidget::changeEvent(e);
    update();
}

void usrPath::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    const bool enabled = isEnabled();
    const QColor beam = enabled ? look::accent() : look::textDim();

    // The beam splitter below the outlets.
    const QRect o1 = outletRect(1);
    const int h0 = o1.height() * 9 / 11;
    const double prismY = o1.bottom() + std::min(height() - o1.bottom(), h0) * 0.55;
    const QPointF prism(width() / 2.0, prismY);
    p.setPen(QPen(look::edgeLight(), 1));
    p.setBrush(look::faceDown());
    QPolygonF tri;
    tri << QPointF(prism.x() - 12, prism.y() + 9) << QPointF(prism.x() + 12, prism.y() + 9)
        << QPointF(prism.x(), prism.y() - 9);
    // Incoming beam from below.
    p.setPen(QPen(m_pathIndex >= 1 && m_pathIndex <= kPaths ? beam : look::textDim(), 3, Qt::SolidLine,
                  Qt::RoundCap));
    p.drawLine(QPointF(prism.x(), std::min<double>(height() - 1.0, o1.bottom() + h0)), prism);

    for (int16_t i = 1; i <= kPaths; ++i) {
        const QRect r = outletRect(i);
        const bool active = i == m_pathIndex;
        const bool requested = i == m_requested && !active;
        const QPointF end(r.center().x(), r.bottom() + 1.0);
        QPainterPath route;
        route.moveTo(prism);
        route.cubicTo(QPointF(prism.x(), end.y() + 8), QPointF(end.x(), prism.y()), end);
        p.setBrush(Qt::NoBrush);
        p.setPen(QPen(active ? beam : QColor(0x50, 0x54, 0x5a), active ? 3 : 1.5,
                      requested ? Qt::DashLine : Qt::SolidLine, Qt::RoundCap));
        p.drawPath(route);

        look::drawFace(p, r, i == m_pressed || active, enabled);
        if (active)
            p.fillRect(QRectF(r.left() + 3, r.bottom() - 3, r.width() - 6, 2), beam);
        if (requested) {
            p.setPen(QPen(look::accent(), 1.5, Qt::DashLine));
            p.drawRect(QRectF(r).adjusted(2, 2, -2, -2));
        }
        // Outlet symbol: an eyepiece pair for the binocular, a port otherwise.
        const QPointF c(r.center().x(), r.top() + r.height() * 0.38);
        p.setPen(QPen(active ? beam : (enabled ? look::text() : look::textDim()), 1.6));
        p.setBrush(Qt::NoBrush);
        if (i == 1) {
            p.drawEllipse(QPointF(c.x() - 6, c.y()), 4.5, 4.5);
            p.drawEllipse(QPointF(c.x() + 6, c.y()), 4.5, 4.5);
        } else {
            p.drawRect(QRectF(c.x() - 8, c.y() - 5, 16, 10));
            p.drawEllipse(QPointF(c.x(), c.y()), 3, 3);
        }
        p.setPen(active ? beam : (enabled && !m_locked ? look::text() : look::textDim()));
        p.drawText(QRect(r.left(), int(r.top() + r.height() * 0.6), r.width(), int(r.height() * 0.4)),
                   Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine, m_captions[i - 1]);
        if (hasFocus() && i == m_cursor)
            look::drawFocus(p, r);
    }
    p.setPen(QPen(look::edgeLight(), 1));
    p.setBrush(look::faceDown());
    p.drawPolygon(tri);
    if (m_locked) {
        // A small padlock says the path is set by hand on the stand.
        const QRectF lock(width() - 18.0, height() - 16.0, 10, 8);
        p.setPen(QPen(look::textDim(), 1.4));
        p.setBrush(Qt::NoBrush);
        p.drawArc(QRectF(lock.left() + 2, lock.top() - 5, 6, 9), 0, 180 * 16);
        p.setBrush(look::textDim());
        p.drawRect(lock);
    }
}
