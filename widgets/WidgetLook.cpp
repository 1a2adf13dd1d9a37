#include "widgets/WidgetLook.h"

#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QWidget>

#include <algorithm>

namespace zentor::look {

QColor panel() { return QColor(0x2a, 0x2c, 0x30); }
QColor face() { return QColor(0x44, 0x48, 0x4f); }
QColor faceDown() { return QColor(0x23, 0x25, 0x29); }
QColor edgeLight() { return QColor(0x6a, 0x70, 0x78); }
QColor edgeDark() { return QColor(0x14, 0x15, 0x18); }
QColor text() { return QColor(0xe8, 0xea, 0xed); }
QColor textDim() { return QColor(0x80, 0x85, 0x8c); }
QColor accent() { return QColor(0xe6, 0xbe, 0x28); }
QColor mark() { return QColor(0x4f, 0xc8, 0xf0); }
QColor warn() { return QColor(0xf0, 0x5a, 0x4a); }
QColor disabledFace() { return QColor(0x36, 0x38, 0x3c); }
QColor disabledFace(const QColor& live)
{
    const int grey = std::min(disabledFace().lightness(), live.lightness() * 3 / 4);
    return QColor(grey, grey, grey);
}

void drawFace(QPainter& p, const QRectF& r, bool down, bool enabled, bool hot)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing, false);
    QColor fill = down ? faceDown() : face();
    if (hot && !down && enabled)
        fill = fill.lighter(112);
    if (!enabled)
        fill = disabledFace();
    const QRectF in = r.adjusted(0.5, 0.5, -0.5, -0.5);
    p.fillRect(in, fill);
    const QColor tl = down ? edgeDark() : edgeLight();
    const QColor br = down ? edgeLight().darker(150) : edgeDark();
    p.setPen(QPen(enabled ? tl : tl.darker(140), 1));
    p.drawLine(in.topLeft(), in.topRight());
    p.drawLine(in.topLeft(), in.bottomLeft());
    p.setPen(QPen(enabled ? br : br.darker(120), 1));
    p.drawLine(in.bottomLeft(), in.bottomRight());
    p.drawLine(in.topRight(), in.bottomRight());
    p.restore();
}

void paintGreyable(QWidget* w, const std::function<void(QPainter&)>& draw)
{
    if (w->isEnabled() || w->size().isEmpty()) {
        QPainter p(w);
        draw(p);
        return;
    }
    const qreal ratio = w->devicePixelRatioF();
    QImage picture(w->size() * ratio, QImage::Format_ARGB32_Premultiplied);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    {
        QPainter ip(&picture);
        draw(ip);
    }
    for (int y = 0; y < picture.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(picture.scanLine(y));
        for (int x = 0; x < picture.width(); ++x) {
            const int grey = qGray(line[x]) * 3 / 5;
            line[x] = qRgba(grey, grey, grey, qAlpha(line[x]));
        }
    }
    QPainter p(w);
    p.drawImage(QPointF(0, 0), picture);
}

void drawArrow(QPainter& p, const QRectF& r, Arrow dir, int count, const QColor& color)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing, true);
    p.setPen(Qt::NoPen);
    p.setBrush(color);
    const double s = std::min(r.width(), r.height()) * 0.32;
    const QPointF c = r.center();
    for (int i = 0; i < count; ++i) {
        const double off = count == 1 ? 0.0 : (i == 0 ? -s * 0.45 : s * 0.45);
        QPolygonF tri;
        switch (dir) {
        case Arrow::Left:
            tri << QPointF(c.x() - s * 0.6 + off, c.y()) << QPointF(c.x() + s * 0.5 + off, c.y() - s)
                << QPointF(c.x() + s * 0.5 + off, c.y() + s);
            break;
        case Arrow::Right:
            tri << QPointF(c.x() + s * 0.6 + off, c.y()) << QPointF(c.x() - s * 0.5 + off, c.y() - s)
                << QPointF(c.x() - s * 0.5 + off, c.y() + s);
            break;
        case Arrow::Up:
            tri << QPointF(c.x(), c.y() - s * 0.6 + off) << QPointF(c.x() - s, c.y() + s * 0.5 + off)
                << QPointF(c.x() + s, c.y() + s * 0.5 + off);
            break;
        case Arrow::Down:
            tri << QPointF(c.x(), c.y() + s * 0.6 + off) << QPointF(c.x() - s, c.y() - s * 0.5 + off)
                << QPointF(c.x() + s, c.y() - s * 0.5 + off);
            break;
        }
        p.drawPolygon(tri);
    }
    p.restore();
}

void drawFocus(QPainter& p, const QRectF& r)
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing, false);
    QPen pen(mark(), 1, Qt::DotLine);
    p.setPen(pen);
    p.setBrush(Qt::NoBrush);
    p.drawRect(r.adjusted(1.5, 1.5, -2.5, -2.5));
    p.restore();
}

void applyTo(QWidget* w)
{
    QPalette pal = w->palette();
    pal.setColor(QPalette::Window, panel());
    pal.setColor(QPalette::WindowText, text());
    pal.setColor(QPalette::Button, face());
    pal.setColor(QPalette::ButtonText, text());
    pal.setColor(QPalette::Base, faceDown());
    pal.setColor(QPalette::Text, text());
    w->setPalette(pal);
    w->setAutoFillBackground(true);
    QFont f = w->font();
    f.setPointSizeF(9.0);
    w->setFont(f);
}

} // namespace zentor::look
