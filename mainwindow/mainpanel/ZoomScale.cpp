#include "mainwindow/mainpanel/ZoomScale.h"

#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/Units.h"

#include <QFrame>
#include <QMouseEvent>
#include <algorithm>

using zentor::pixelsToTwips;
using zentor::twipsToPixels;

ZoomScale::ZoomScale(MainPanel* panel) : QObject(panel), m_panel(panel)
{
    panel->frmScroll->installEventFilter(this);
    panel->img1->installEventFilter(this);
    panel->imgClick->installEventFilter(this);
    panel->img1->setCursor(Qt::SizeHorCursor);
    // The marks between the two end lines, one a tenth; 1.0, the plain
    // magnification, and 1.5 stand longer.
    for (int n = 1; n < 12; ++n) {
        auto* tick = new QFrame(panel->frmScroll);
        tick->setStyleSheet(QStringLiteral("background: #5c678d;"));
        tick->setAttribute(Qt::WA_TransparentForMouseEvents);
        const bool long_ = n == 2 || n == 7;
        twips::place(tick, panel->ZoomScaleLeft + n * layout::kZoomPerTenth, long_ ? 60 : 100, 15, long_ ? 210 : 130);
        tick->lower();
    }
    panel->frmScroll->setAccessibleName(QStringLiteral("Zoom scale"));
    panel->frmScroll->setToolTip(QStringLiteral("Click a mark to zoom, or drag the handle"));
}

double ZoomScale::Band(double X)
{
    if (X >= 0 && X <= 220)
        return 0.8;
    for (int n = 1; n <= 12; ++n) {
        const int from = 221 + (n - 1) * layout::kZoomPerTenth;
        if (X >= from && X <= from + layout::kZoomPerTenth - 1)
            return (8 + n) / 10.0;
    }
    return 0;
}

double ZoomScale::ScaleX(double frameTwips) const { return frameTwips - m_panel->ZoomScaleLeft + kFirstMark; }

void ZoomScale::pick(double frameTwips)
{
    const double zoom = Band(ScaleX(frameTwips));
    if (zoom != 0)
        emit ZoomPicked(zoom);
}

bool ZoomScale::eventFilter(QObject* watched, QEvent* event)
{
    const auto type = event->type();
    if (type != QEvent::MouseButtonPress && type != QEvent::MouseMove && type != QEvent::MouseButtonRelease)
        return QObject::eventFilter(watched, event);
    auto* e = static_cast<QMouseEvent*>(event);
    QWidget* frame = m_panel->frmScroll;
    QWidget* handle = m_panel->img1;
    const QPoint inFrame = static_cast<QWidget*>(watched)->mapTo(frame, e->position().toPoint());

    if (watched == handle) {
        // Dragging the handle between the two end marks.
        if (type == QEvent::MouseButtonPress && e->button() == Qt::LeftButton) {
            m_dragging = true;
            m_grab = e->position().toPoint().x();
        } else if (type == QEvent::MouseMove && m_dragging) {
            const int half = twipsToPixels(MainPanel::kZoomHalfWidth);
            const int first = twipsToPixels(m_panel->ZoomScaleLeft) - half;
            const int last = twipsToPixels(m_panel->ZoomScaleLeft + 12 * layout::kZoomPerTenth) - half;
            handle->move(std::clamp(inFrame.x() - m_grab, first, last), handle->y());
        } else if (type == QEvent::MouseButtonRelease && m_dragging && e->button() == Qt::LeftButton) {
            m_dragging = false;
            pick(pixelsToTwips(handle->x()) + MainPanel::kZoomHalfWidth);
        }
        return true;
    }
    // A click anywhere else on the scale, the marker included.
    if (type == QEvent::MouseButtonPress && e->button() == Qt::LeftButton) {
        pick(pixelsToTwips(inFrame.x()));
        return watched != frame;
    }
    return QObject::eventFilter(watched, event);
}
