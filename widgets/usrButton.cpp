#include "widgets/WidgetAccessibility.h"
#include "widgets/usrButton.h"

#include "widgets/Units.h"
#include "widgets/WidgetLook.h"

#include <QFontMetricsF>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

using namespace zentor;

usrButton::usrButton(QWidget* parent) : QWidget(parent)
{
    zentor::accessibility::install();
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
    setAttribute(Qt::WA_Hover, true);
}

void usrButton::setLocked(bool locked)
{
    m_locked = locked;
    update();
}

void usrButton::setLatching(bool latching)
{
    m_latching = latching;
    if (!latching)
        m_latched = false;
    update();
}

int usrButton::Left() const { return pixelsToTwips(x()); }
void usrButton::setLeft(int twips) { move(twipsToPixels(twips), y()); }
int usrButton::Top() const { return pixelsToTwips(y()); }
void usrButton::setTop(int twips) { move(x(), twipsToPixels(twips)); }

void usrButton::setCaption(const QString& caption)
{
    m_caption = caption;
    updateGeometry();
    update();
}

void usrButton::setPicture(const QPixmap& picture)
{
    m_picture = picture;
    update();
}

void usrButton::Unlatch()
{
    if (!m_latched)
        return;
    m_latched = false;
    update();
}

QSize usrButton::sizeHint() const
{
    const QFontMetrics fm(font());
    int w = fm.horizontalAdvance(m_caption) + 20;
    if (!m_picture.isNull())
        w += m_picture.width() + 4;
    return QSize(std::max(w, 40), std::max(fm.height() + 10, 24));
}

bool usrButton::CaptionFits() const
{
    // The face keeps 4 pixels each side, and a button held down draws its
    // caption a pixel to the right; a low face lends its caption its full
    // height.
    const QFontMetrics fm(font());
    int room = width() - 9;
    if (!m_picture.isNull())
        room -= std::min(m_picture.width(), height()) + 4;
    return fm.horizontalAdvance(m_caption) <= room && fm.height() <= height();
}

bool usrButton::inert() const { return !isEnabled() || m_locked; }

void usrButton::press(int16_t button, int16_t shift, float x, float y)
{
    m_held = true;
    m_inside = true;
    m_heldUnlatching = false;
    if (m_latching && m_latched) {
        // Second press of a latched device button: it comes up.
        m_latched = false;
        m_heldUnlatching = true;
        update();
        emit Unlatched(m_index);
        return;
    }
    if (m_latching)
        m_latched = true;
    update();
    emit Pressed(m_index, button, shift, x, y);
}

void usrButton::release(bool inside, int16_t button, int16_t shift, float x, float y)
{
    const bool unlatching = m_heldUnlatching;
    m_held = false;
    m_inside = false;
    m_heldUnlatching = false;
    update();
    // The release that ends an unlatching press raises nothing: owners that
    // open their panel on Released must not see it open again.
    if (inside && !unlatching)
        emit Released(m_index, button, shift, x, y);
}

void usrButton::mousePressEvent(QMouseEvent* e)
{
    if (inert() || m_held) {
        e->accept();
        return;
    }
    m_heldButton = e->button();
    const QPointF pos = e->position();
    press(mouseButtonCode(e->button()), shiftCode(e->modifiers()), float(pixelsToTwipsF(pos.x())),
          float(pixelsToTwipsF(pos.y())));
}

void usrButton::mouseMoveEvent(QMouseEvent* e)
{
    if (!m_held)
        return;
    const bool in = rect().contains(e->position().toPoint());
    if (in != m_inside) {
        m_inside = in;
        update();
    }
}

void usrButton::mouseReleaseEvent(QMouseEvent* e)
{
    if (!m_held || e->button() != m_heldButton)
        return;
    const QPointF pos = e->position();
    release(rect().contains(pos.toPoint()), mouseButtonCode(e->button()), shiftCode(e->modifiers()),
            float(pixelsToTwipsF(pos.x())), float(pixelsToTwipsF(pos.y())));
}

void usrButton::keyPressEvent(QKeyEvent* e)
{
    if ((e->key() == Qt::Key_Space || e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)
        && !e->isAutoRepeat()) {
        if (!inert() && !m_held) {
            m_heldButton = Qt::NoButton;
            press(1, shiftCode(e->modifiers()), 0.0f, 0.0f);
        }
        e->accept();
        return;
    }
    QWidget::keyPressEvent(e);
}

void usrButton::keyReleaseEvent(QKeyEvent* e)
{
    if ((e->key() == Qt::Key_Space || e->key() == Qt::Key_Return || e->key() == Qt::Key_Enter)
        && !e->isAutoRepeat()) {
        if (m_held && m_heldButton == Qt::NoButton)
            release(true, 1, shiftCode(e->modifiers()), 0.0f, 0.0f);
        e->accept();
        return;
    }
    QWidget::keyReleaseEvent(e);
}

void usrButton::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::EnabledChange && !isEnabled()) {
        // A button disabled in the middle of a gesture forgets it.
        m_held = false;
        m_inside = false;
        m_heldUnlatching = false;
    }
    QWidget::changeEvent(e);
    update();
}

void usrButton::enterEvent(QEnterEvent* e)
{
    m_hot = true;
    update();
    QWidget::enterEvent(e);
}

void usrButton::leaveEvent(QEvent* e)
{
    m_hot = false;
    update();
    QWidget::leaveEvent(e);
}

void usrButton::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    const bool down = m_latched || (m_held && m_inside && !m_heldUnlatching);
    const bool enabled = isEnabled();
    const QRectF r = rect();
    look::drawFace(p, r, down, enabled, m_hot && !m_locked);
    if (m_latched) {
        // A lit strip along the bottom edge says "this panel is open".
        p.fillRect(QRectF(r.left() + 3, r.bottom() - 3, r.width() - 6, 2), enabled ? look::accent() : look::textDim());
    }
    QRectF content = r.adjusted(4, 3, -4, -3);
    if (down)
        content.translate(1, 1);
    if (!m_picture.isNull()) {
        QPixmap pm = m_picture;
        if (pm.height() > content.height())
            pm = pm.scaledToHeight(int(content.height()), Qt::SmoothTransformation);
        QRectF pr(0, 0, pm.width(), pm.height());
        if (m_caption.isEmpty())
            pr.moveCenter(content.center());
        else
            pr.moveTopLeft(QPointF(content.left(), content.center().y() - pm.height() / 2.0));
        if (!enabled)
            p.setOpacity(0.4);
        p.drawPixmap(pr.topLeft(), pm);
        p.setOpacity(1.0);
        content.setLeft(pr.right() + 4);
    }
    if (!m_caption.isEmpty()) {
        QColor c = enabled ? (m_latched ? look::accent() : look::text()) : look::textDim();
        p.setPen(c);
        // A low button (the compact panel's lines) gives its caption the
        // face's whole height, so that no stroke is cut off.
        const double lineH = QFontMetricsF(font()).height();
        if (content.height() < lineH) {
            const double grow = (std::min(lineH, r.height()) - content.height()) / 2.0;
            content.adjust(0, -grow, 0, grow);
        }
        p.drawText(content, Qt::AlignCenter | Qt::TextSingleLine, m_caption);
    }
    if (hasFocus())
        look::drawFocus(p, r);
}
