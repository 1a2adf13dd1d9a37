// The device frames of both looks: the columns close up over frames of
// devices that are not there, and the panel's heights follow.
#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/MainPanelParts.h"

#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/Units.h"
#include "widgets/WidgetLook.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

#include <QApplication>
#include <QEvent>
#include <QFont>
#include <QResizeEvent>
#include <QWindow>

using namespace layout;
using zentor::pixelsToTwips;
using zentor::twipsToPixels;
using namespace mainpanel;

// ============================================================================
// Device frames: closing up the columns
// ============================================================================

void MainPanel::captureColumns()
{
    auto column = [](std::initializer_list<PanelFrame*> frames) {
        Column c;
        int prevBottom = -1;
        for (PanelFrame* f : frames) {
            const int top = f->Top();
            if (prevBottom < 0)
                c.top = top;
            c.frames.push_back({f, f->Height(), prevBottom < 0 ? 0 : top - prevBottom});
            prevBottom = top + f->Height();
        }
        return c;
    };
    // The large panel's two columns along the stand and under the drawing, and
    // the compact panel's one column, top to bottom as designed.
    m_leftColumn = column({frmPath[0], frmZoom[0], frmFilter[0], frmObj[0], frmZdrive[0],
                           frmCondenser[0], frmAp[0], frmFS[0], frmLamp[0]});
    m_rightColumn = column({frmEpiFS[0], frmAnalyzer[0], frmND[0], frmStage[0], frmFiber[0]});
    m_compactColumn = column({frmPath[1], frmZoom[1], frmFilter[1], frmObj[1], frmZdrive[1],
                              frmCondenser[1], frmAp[1], frmFS[1], frmLamp[1], frmEpiFS[1],
                              frmShutter[1], frmAnalyzer[1], frmND[1], frmStage[1], frmFiber[1]});
    // Showing or hiding a frame (Init does it per device) closes the columns
    // up at once; so does the zoom scale, which the zoom frame holds.
    for (const Column* c : {&m_leftColumn, &m_rightColumn, &m_compactColumn})
        for (const ColumnSlot& slot : c->frames)
            slot.frame->installEventFilter(this);
    frmScroll->installEventFilter(this);
    relayoutFrames();
}

void MainPanel::relayoutFrames()
{
    if (m_inRelayout || m_compactColumn.frames.empty())
        return;
    m_inRelayout = true;
    auto close = [](const Column& c, auto heightOf) {
        int y = c.top;
        bool first = true;
        for (const ColumnSlot& slot : c.frames) {
            if (slot.frame->isHidden())
                continue;
            if (!first)
                y += slot.gapAbove;
            first = false;
            const int h = heightOf(slot);
            slot.frame->setTop(y);
            slot.frame->setHeight(h);
            y += h;
        }
    };
    // Without its scale (a zoom that only reports) the zoom frame is as low
    // as its neighbours.
    auto large = [&](const ColumnSlot& slot) {
        if (slot.frame == frmZoom[0] && frmScroll->isHidden())
            return kZoomShortH;
        return slot.height;
    };
    close(m_leftColumn, large);
    close(m_rightColumn, large);
    // Compact lines stand at the designed pitch by their place on the screen,
    // and alternate their shade likewise, so that the stripes stay even
    // whatever the system leaves out.
    int line = 0;
    for (const ColumnSlot& slot : m_compactColumn.frames) {
        if (slot.frame->isHidden())
            continue;
        slot.frame->setTop(kSubTop + line * kSubRow);
        slot.frame->setBackColor(line % 2 ? kDeviceFace : kCompactStripe);
        ++line;
    }
    fitPanelHeights();
    m_inRelayout = false;
}

int MainPanel::LargeContentHeight() const
{
    int bottom = twips::top(usrMainPath) + twips::height(usrMainPath);
    for (const Column* c : {&m_leftColumn, &m_rightColumn})
        for (const ColumnSlot& slot : c->frames)
            if (!slot.frame->isHidden())
                bottom = std::max(bottom, slot.frame->Top() + slot.frame->Height());
    // An open selector may reach lower than the frames (the condenser's).
    if (!picSelect->isHidden())
        bottom = std::max(bottom, picSelect2->Top() + picSelect2->Height());
    return bottom + kPanelBottomMargin;
}

int MainPanel::CompactContentHeight() const
{
    int bottom = kSubTop;
    for (const ColumnSlot& slot : m_compactColumn.frames)
        if (!slot.frame->isHidden())
            bottom = std::max(bottom, slot.frame->Top() + slot.frame->Height());
    return bottom + kPanelBottomMargin;
}

void MainPanel::placeShutterCaption()
{
    twips::place(ShutterCmd[0], frmShutter[0]->Left(), frmShutter[0]->Top() + frmShutter[0]->Height(),
                 frmShutter[0]->Width(), kShutterCaptionH);
    ShutterCmd[0]->setVisible(!frmShutter[0]->isHidden());
}

void MainPanel::fitPanelHeights()
{
    if (m_compactColumn.frames.empty())
        return;
    picMain->setHeight(LargeContentHeight());
    frmSub->setHeight(CompactContentHeight());
}
