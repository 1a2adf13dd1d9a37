#include "widgets/WidgetAccessibility.h"
#include "widgets/usrAddress.h"

#include "widgets/Units.h"
#include "widgets/WidgetLook.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QPainter>

#include <algorithm>

using namespace zentor;

namespace {
constexpr int kMinRowH = 18;
constexpr int kMaxRowH = 30;
}

usrAddress::usrAddress(QWidget* parent) : QWidget(parent)
{
    zentor::accessibility::install();
    look::applyTo(this);
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
}

void usrAddress::setAddress(int16_t address)
{
    m_address = address;
    update();
}

void usrAddress::setMode(int16_t mode)
{
    m_mode = mode;
    m_pressed = kNone;
    update();
}

void usrAddress::setFirst(int16_t first)
{
    m_first = first;
    updateGeometry();
    update();
}

void usrAddress::setLast(int16_t last)
{
    m_last = last;
    updateGeometry();
    update();
}

void usrAddress::setCaption(int n, const QString& t)
{
    m_caption[n - 1] = t;
    update();
}

void usrAddress::setItemColor(int32_t bgr)
{
    m_itemColor = bgr;
    update();
}

void usrAddress::SetLabel(const QString& text, int16_t number)
{
    m_labels.insert(number, text);
    update();
}

QString usrAddress::Label(int16_t number) const
{
    const auto it = m_labels.constFind(number);
    if (it != m_labels.constEnd())
        return it.value();
    if (number >= 1 && number <= 7 && !m_caption[number - 1].isEmpty())
        return m_caption[number - 1];
    return QString::number(number);
}

int usrAddress::RowCount() const
{
    return m_first > m_last ? 0 : int(m_last) - int(m_first) + 1;
}

int usrAddress::rowHeight() const
{
    const int n = RowCount();
    if (n <= 0)
        return kMinRowH;
    return std::clamp(height() / n, kMinRowH, kMaxRowH);
}

QRect usrAddress::rowRect(int16_t number) const
{
    if (number < m_first || number > m_last)
        return QRect();
    const int h = rowHeight();
    const int top = (int(number) - int(m_first)) * h;
    if (top >= height())
        return QRect();
    return QRect(0, top, width(), h);
}

int usrAddress::positionAt(const QPoint& pos) const
{
    if (RowCount() <= 0 || !rect().contains(pos))
        return kNone;
    const int i = pos.y() / rowHeight();
    if (i >= RowCount())
        return kNone;
    return int(m_first) + i;
}

QSize usrAddress::sizeHint() const
{
    int widest = 80;
    const QFontMetrics fm(font());
    const int n = std::min(RowCount(), 12);
    for (int i = 0; i < n; ++i)
        widest = std::max(widest, fm.horizontalAdvance(Label(int16_t(m_first + i))));
    return QSize(widest + 44, std::max(1, n) * 24);
}

void usrAddress::pick(int16_t number)
{
    // Shown selected first, then announced, even when it was selected already.
    m_address = number;
    m_cursor = number;
    update();
    emit AddressPicked(number);
}

void usrAddress::mousePressEvent(QMouseEvent* e)
{
    e->accept();
    if (!live() || e->button() != Qt::LeftButton)
        return;
    m_pressed = positionAt(e->position().toPoint());
    update();
}

void usrAddress::mouseMoveEvent(QMouseEvent* e)
{
    const int hot = positionAt(e->position().toPoint());
    if (hot != m_hot) {
        m_hot = hot;
        update();
    }
}

void usrAddress::mouseReleaseEvent(QMouseEvent* e)
{
    if (e->button() != Qt::LeftButton)
        return;
    const int pressed = m_pressed;
    m_pressed = kNone;
    update();
    if (pressed != kNone && live() && positionAt(e->position().toPoint()) == pressed)
        pick(int16_t(pressed));
}

void usrAddress::leaveEvent(QEvent* e)
{
    m_hot = kNone;
    update();
    QWidget::leaveEvent(e);
}

void usrAddress::keyPressEvent(QKeyEvent* e)
{
    if (RowCount() <= 0) {
        QWidget::keyPressEvent(e);
        return;
    }
    const int16_t cur = (m_cursor >= m_first && m_cursor <= m_last)
        ? m_cursor
        : ((m_address >= m_first && m_address <= m_last) ? m_address : m_first);
    switch (e->key()) {
    case Qt::Key_Up:
    case Qt::Key_Left:
        m_cursor = cur > m_first ? int16_t(cur - 1) : cur;
        update();
        break;
    case Qt::Key_Down:
    case Qt::Key_Right:
        m_cursor = cur < m_last ? int16_t(cur + 1) : cur;
        update();
        break;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (live())
            pick(cur);
        break;
    default:
        if (e->key() >= Qt::Key_1 && e->key() <= Qt::Key_9) {
            const int16_t n = int16_t(e->key() - Qt::Key_0);
            if (live() && n >= m_first && n <= m_last)
                pick(n);
            break;
        }
        QWidget::keyPressEvent(e);
        return;
    }
    e->accept();
}

void usrAddress::changeEvent(QEvent* e)
{
    if (e->type() == QEvent::EnabledChange && !isEnabled())
        m_pressed = kNone;
    QWidget::changeEvent(e);
    update();
}

void usrAddress::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing, true);
    const bool enabled = isEnabled();
    // Greyed: the rows lose their section's colour and the selection its amber.
    const QColor liveRow = colorFromBgr(m_itemColor);
    const QColor rowColor = enabled ? liveRow : look::disabledFace(liveRow);
    p.fillRect(rect(), rowColor.darker(135));
    const int n = RowCount();
    const int h = rowHeight();
    const int shown = std::min(n, height() / h + 1);
    for (int i = 0; i < shown; ++i) {
        const int16_t number = int16_t(int(m_first) + i);
        const QRect r(0, i * h, width(), h);
        const bool selected = number == m_address;
        const bool down = number == m_pressed;
        QColor fill = rowColor;
        if (selected)
            fill = enabled ? look::accent().darker(260) : rowColor.lighter(130);
        else if (number == m_hot && live())
            fill = rowColor.lighter(125);
        if (down)
            fill = fill.darker(130);
        p.fillRect(r.adjusted(1, 1, -1, -1), fill);
        if (selected)
            p.fillRect(QRect(r.left() + 1, r.top() + 1, 3, r.height() - 2),
                       enabled ? look::accent() : look::textDim());

        // Number badge.
        const int d = std::min(h - 6, 20);
        const QRectF badge(8, r.top() + (h - d) / 2.0, d, d);
        p.setPen(QPen(selected && enabled ? look::accent() : look::edgeLight(), 1.2));
        p.setBrush(selected && enabled ? look::accent() : look::faceDown());
        p.drawEllipse(badge);
        p.setPen(selected && enabled ? QColor(0x20, 0x1a, 0x08) : (enabled ? look::text() : look::textDim()));
        QFont bf = font();
        bf.setBold(true);
        bf.setPointSizeF(std::max(6.0, d * 0.42));
        p.setFont(bf);
        p.drawText(badge, Qt::AlignCenter, QString::number(number));
        p.setFont(font());

        // Label.
        QColor tc = enabled ? (selected ? look::accent().lighter(120) : look::text()) : look::textDim();
        if (m_mode != 1 && enabled && !selected)
            tc = look::text().darker(125);
        p.setPen(tc);
        p.drawText(QRect(int(badge.right()) + 8, r.top(), width() - int(badge.right()) - 12, h),
                   Qt::AlignVCenter | Qt::AlignLeft | Qt::TextSingleLine, Label(number));
        if (hasFocus() && number == m_cursor)
            look::drawFocus(p, r);
        p.setPen(QPen(look::edgeDark(), 1));
        p.drawLine(r.bottomLeft(), r.bottomRight());
    }
    if (hasFocus() && (m_cursor < m_first || m_cursor > m_last))
        look::drawFocus(p, rect());
}
