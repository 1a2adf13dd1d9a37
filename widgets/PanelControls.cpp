#include "widgets/PanelControls.h"

#include "widgets/Units.h"
#include "widgets/WidgetAccessibility.h"
#include "widgets/WidgetLook.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

using zentor::colorFromBgr;
using zentor::pixelsToTwips;
using zentor::twipsToPixels;

namespace twips {
int left(const QWidget* w) { return pixelsToTwips(w->x()); }
int top(const QWidget* w) { return pixelsToTwips(w->y()); }
int width(const QWidget* w) { return pixelsToTwips(w->width()); }
int height(const QWidget* w) { return pixelsToTwips(w->height()); }
void setLeft(QWidget* w, int v) { w->move(twipsToPixels(v), w->y()); }
void setTop(QWidget* w, int v) { w->move(w->x(), twipsToPixels(v)); }
void setWidth(QWidget* w, int v) { w->resize(std::max(0, twipsToPixels(v)), w->height()); }
void setHeight(QWidget* w, int v) { w->resize(w->width(), std::max(0, twipsToPixels(v))); }
void place(QWidget* w, int l, int t, int wd, int ht)
{
    w->setGeometry(twipsToPixels(l), twipsToPixels(t), std::max(0, twipsToPixels(wd)),
                   std::max(0, twipsToPixels(ht)));
}
} // namespace twips

namespace {
QPointF toTwips(const QPointF& p)
{
    return QPointF(zentor::pixelsToTwipsF(p.x()), zentor::pixelsToTwipsF(p.y()));
}
} // namespace

// ---- PanelLabel ---------------------------------------------------------------

PanelLabel::PanelLabel(const QString& caption, QWidget* parent) : QLabel(caption, parent)
{
    zentor::accessibility::install();
    setMouseTracking(true);
    applyColours();
}

void PanelLabel::setBackColor(int32_t bgr)
{
    m_back = bgr;
    m_transparent = false;
    applyColours();
}

void PanelLabel::setForeColor(int32_t bgr)
{
    m_fore = bgr;
    applyColours();
}

void PanelLabel::setTransparent(bool transparent)
{
    m_transparent = transparent;
    applyColours();
}

void PanelLabel::applyColours()
{
    QPalette pal = palette();
    pal.setColor(QPalette::Window, colorFromBgr(m_back));
    pal.setColor(QPalette::WindowText, colorFromBgr(m_fore));
    // A greyed entry loses its colour: a plain grey face, no lighter than
    // a dark one, under dimmed text, so it no longer reads as selectable.
    pal.setColor(QPalette::Disabled, QPalette::WindowText, zentor::look::textDim());
    pal.setColor(QPalette::Disabled, QPalette::Window, zentor::look::disabledFace(colorFromBgr(m_back)));
    setPalette(pal);
    setAutoFillBackground(!m_transparent);
    update();
}

void PanelLabel::setCaption(const QString& caption)
{
    setText(caption);
    fitCaption();
}

void PanelLabel::setShrinkToFit(double minPoints)
{
    m_fitBase = font().pointSizeF();
    m_fitMin = minPoints;
    fitCaption();
}

void PanelLabel::fitCaption()
{
    if (m_fitBase <= 0)
        return;
    QFont f = font();
    f.setPointSizeF(m_fitBase);
    setFont(f);
    while (!CaptionFits() && f.pointSizeF() - 0.5 >= m_fitMin) {
        f.setPointSizeF(f.pointSizeF() - 0.5);
        setFont(f);
    }
}

bool PanelLabel::CaptionFits() const
{
    const QString shown = text();
    if (shown.isEmpty())
        return true;
    const QFontMetrics fm(font());
    // QLabel indents by half an 'x' when it has a frame and no indent is set.
    int room = contentsRect().width() - 2 * margin();
    if (indent() > 0)
        room -= indent();
    else if (frameWidth() > 0)
        room -= fm.horizontalAdvance(QLatin1Char('x')) / 2;
    return fm.horizontalAdvance(shown) <= room && fm.height() <= contentsRect().height();
}

void PanelLabel::setActivatable(bool activatable)
{
    m_activatable = activatable;
    setFocusPolicy(activatable ? Qt::StrongFocus : Qt::NoFocus);
}

void PanelLabel::keyPressEvent(QKeyEvent* e)
{
    const int k = e->key();
    if (m_activatable && (k == Qt::Key_Space || k == Qt::Key_Return || k == Qt::Key_Enter) && !e->isAutoRepeat()) {
        e->accept();
        if (isEnabled())
            emit Click();
        return;
    }
    QLabel::keyPressEvent(e);
}

void PanelLabel::paintEvent(QPaintEvent* e)
{
    QLabel::paintEvent(e);
    if (m_activatable && hasFocus()) {
        QPainter p(this);
        zentor::look::drawFocus(p, QRectF(rect()));
    }
}

void PanelLabel::changeEvent(QEvent* e)
{
    QLabel::changeEvent(e);
    if (e->type() == QEvent::EnabledChange)
        m_pressed = false;
}

void PanelLabel::mousePressEvent(QMouseEvent* e)
{
    if (e->button() == Qt::LeftButton)
        m_pressed = true;
    QLabel::mousePressEvent(e);
}

void PanelLabel::mouseReleaseEvent(QMouseEvent* e)
{
    const bool wasPressed = m_pressed;
    m_pressed = false;
    QLabel::mouseReleaseEvent(e);
    if (wasPressed && e->button() == Qt::LeftButton && rect().contains(e->position().toPoint()) &&
        isEnabled())
        emit Click();
}

void PanelLabel::mouseMoveEvent(QMouseEvent* e)
{
    QLabel::mouseMoveEvent(e);
    const QPointF t = toTwips(e->position());
    emit MouseMove(zentor::mouseButtonsCode(e->buttons()), zentor::shiftCode(e->modifiers()),
                   float(t.x()), float(t.y()));
}

// ---- PanelFrame ---------------------------------------------------------------

PanelFrame::PanelFrame(QWidget* parent, const QString& title) : QFrame(parent), m_title(title)
{
    setMouseTracking(true);
    setBackColor(m_back);
    updateFill();
}

void PanelFrame::setCaption(const QString& title)
{
    m_title = title;
    updateFill();
}

void PanelFrame::setBackColor(int32_t bgr)
{
    m_back = bgr;
    QPalette pal = palette();
    pal.setColor(QPalette::Window, colorFromBgr(bgr));
    setPalette(pal);
    update();
}

void PanelFrame::setBorderColor(int32_t bgr)
{
    m_border = bgr;
    updateFill();
}

void PanelFrame::updateFill()
{
    // A titled frame with an edge paints its face inside the edge only: the
    // strip above the edge line, beside the title, belongs to what lies
    // behind the frame.
    setAutoFillBackground(!(m_border >= 0 && !m_title.isEmpty()));
    update();
}

QFont PanelFrame::titleFont() const
{
    QFont f = font();
    f.setBold(true);
    f.setPointSizeF(std::max(6.5, f.pointSizeF() - 1.0));
    return f;
}

bool PanelFrame::CaptionFits() const
{
    if (m_title.isEmpty())
        return true;
    const QFontMetrics fm(titleFont());
    return 6 + fm.horizontalAdvance(m_title) + 8 <= width() - 6;
}

void PanelFrame::paintEvent(QPaintEvent* e)
{
    QFrame::paintEvent(e);
    if (m_border < 0 && m_title.isEmpty())
        return;
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    const QColor edge = m_border < 0 ? zentor::look::textDim() : colorFromBgr(m_border);
    const QFont f = titleFont();
    p.setFont(f);
    const QFontMetrics fm(f);
    const int titleH = m_title.isEmpty() ? 0 : fm.height();
    const int tw = fm.horizontalAdvance(m_title) + 8;
    const QRect tr(6, 0, tw, titleH);
    if (m_border >= 0) {
        const QRectF r = QRectF(rect()).adjusted(0.5, titleH / 2.0 + 0.5, -0.5, -0.5);
        if (!autoFillBackground()) {
            p.setPen(Qt::NoPen);
            p.setBrush(colorFromBgr(m_back));
            p.drawRoundedRect(r, 3, 3);
        }
        QPen pen(edge);
        pen.setWidthF(1.0);
        p.setPen(pen);
        p.setBrush(Qt::NoBrush);
        if (!m_title.isEmpty()) {
            // The edge line breaks for the title.
            QRegion clip(rect());
            clip -= QRegion(tr);
            p.setClipRegion(clip);
        }
        p.drawRoundedRect(r, 3, 3);
        p.setClipping(false);
    }
    if (!m_title.isEmpty()) {
        if (m_border < 0)
            p.fillRect(tr, colorFromBgr(m_back));
        p.setPen(isEnabled() ? edge.lighter(150) : zentor::look::textDim());
        p.drawText(tr, Qt::AlignCenter, m_title);
    }
}

void PanelFrame::mousePressEvent(QMouseEvent* e)
{
    const QPointF t = toTwips(e->position());
    emit MouseDown(zentor::mouseButtonCode(e->button()), zentor::shiftCode(e->modifiers()),
                   float(t.x()), float(t.y()));
}

void PanelFrame::mouseMoveEvent(QMouseEvent* e)
{
    const QPointF t = toTwips(e->position());
    emit MouseMove(zentor::mouseButtonsCode(e->buttons()), zentor::shiftCode(e->modifiers()),
                   float(t.x()), float(t.y()));
}

void PanelFrame::mouseReleaseEvent(QMouseEvent* e)
{
    const QPointF t = toTwips(e->position());
    emit MouseUp(zentor::mouseButtonCode(e->button()), zentor::shiftCode(e->modifiers()),
                 float(t.x()), float(t.y()));
}

// ---- PanelCheck ---------------------------------------------------------------

PanelCheck::PanelCheck(const QString& caption, QWidget* parent) : QCheckBox(caption, parent)
{
    // A light box on the dark panel, so that the operator sees the link state.
    QPalette pal = palette();
    pal.setColor(QPalette::Base, colorFromBgr(0x8D675C));
    pal.setColor(QPalette::Text, colorFromBgr(0xFFD0C0));
    pal.setColor(QPalette::WindowText, colorFromBgr(0xFFD0C0));
    pal.setColor(QPalette::Disabled, QPalette::Base, colorFromBgr(0x3A2420));
    setPalette(pal);
    connect(this, &QCheckBox::clicked, this, [this] { emit Click(); });
}

void PanelCheck::setValue(int16_t v)
{
    const QSignalBlocker block(this);
    setChecked(v != 0);
}
