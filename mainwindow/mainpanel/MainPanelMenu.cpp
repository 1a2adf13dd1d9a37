// The menu column: its sections open and close, their entries, and the
// control pad's marks.
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
// Menu column
// ============================================================================

void MainPanel::layoutMenu()
{
    PanelFrame* open = nullptr;
    for (PanelFrame* fr : {frmConnect, frmSetting, frmInfo, frmObserve, frmOther})
        if (fr->isVisibleTo(frmMenu))
            open = fr;
    const int secW = frmMenu->Width() - kSectionInset;
    if (!open) {
        frmMenuSplit->hide();
        repaintMenuEntries();
        return;
    }
    // The designed height of the section's contents is its limit.
    int limit = 0;
    for (QWidget* c : open->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        if (!c->isHidden())
            limit = std::max(limit, twips::top(c) + twips::height(c));
    limit += 80;
    const int h = MenuSplit > 0 ? std::clamp(MenuSplit, kSplitMin, std::max(kSplitMin, limit)) : limit;
    twips::place(open, kSectionLeft, kSectionTop, secW, h);
    twips::place(frmMenuSplit, kSectionLeft, kSectionTop + h + 20, secW, kSplitGrip);
    frmMenuSplit->show();
    frmObserve->setWidth(frmMenu->Width() - kSectionInset);
    repaintMenuEntries();
}

void MainPanel::repaintMenuEntries()
{
    for (int i = 1; i <= 5; ++i) {
        const bool open = i == MenuSelect;
        btnmenu[i]->setBackColor(open ? kHover : kBack);
        btnmenu[i]->setForeColor(open ? kSelected : kText);
        labmenu[i]->setForeColor(open ? kSelected : kText);
    }
}

void MainPanel::btnmenu_Click(int16_t Index)
{
    if (Index < 1 || Index > 5)
        return;
    MenuSelect = Index;
    for (PanelFrame* fr : {frmConnect, frmSetting, frmInfo, frmObserve, frmOther})
        fr->hide();
    CloseSelectors();
    MainState& st = mainState();
    switch (Index) {
    case 1:
        frmConnect->show();
        break;
    case 2: {
        const bool rule = StandFirmwareOld();
        btnSetup[0]->setEnabled(true);
        for (int i = 1; i < 4; ++i)
            btnSetup[i]->setEnabled(rule);
        // The stage's setting mode needs a motorised stage as well.
        btnSetupXY->setEnabled(rule && st.mXY.SETUP() != 0);
        if (!rule)
            frmControlPad->hide();
        frmSetting->show();
        break;
    }
    case 3:
        btnInfo[2]->setEnabled(StandFirmwareOld());
        btnInfo[3]->setEnabled(st.MicUnit[5] == 1);
        frmInfo->show();
        break;
    case 4:
        for (int i = 1; i <= 7; ++i)
            if (btnObserve[i]->BackColor() != kSelected)
                btnObserve[i]->setBackColor(kBack);
        frmObserve->show();
        break;
    case 5:
        for (int i = 1; i <= 6; ++i)
            if (i != st.ObservationNow - 6)
                SetUserNormal(int16_t(i));
        frmOther->show();
        break;
    }
    layoutMenu();
}

void MainPanel::ShowObserveSection()
{
    if (MenuSelect != 0 && MenuSelect != 4)
        return;
    MenuSelect = 4;
    frmObserve->show();
    layoutMenu();
}

void MainPanel::btnmenu_MouseMove(int16_t Index)
{
    for (int i = 1; i <= 5; ++i) {
        if (i == Index) {
            btnmenu[i]->setBackColor(kMenuHover);
            btnmenu[i]->setForeColor(kMenuHoverText);
        } else {
            const bool open = i == MenuSelect;
            btnmenu[i]->setBackColor(open ? kHover : kBack);
            btnmenu[i]->setForeColor(open ? kSelected : kText);
        }
    }
}

void MainPanel::frmMenu_MouseMove(int16_t Button, float X, float Y)
{
    if (MenuDragging && (Button & 1)) {
        int h = int(Y) - kSectionTop;
        if (Y < kSplitBelow)
            h = kSplitMin;
        MenuSplit = std::max(kSplitMin, h);
        layoutMenu();
        // layoutMenu caps the section at its limit; keep what it used.
        for (PanelFrame* fr : {frmConnect, frmSetting, frmInfo, frmObserve, frmOther})
            if (fr->isVisibleTo(frmMenu))
                MenuSplit = fr->Height();
        emit MenuSplitChanged(MenuSplit);
        return;
    }
    if (X < kEntryLeft || X > kEntryRight || Y < kEntryTop || Y > kEntryBoxBottom)
        repaintMenuEntries();
}

void MainPanel::frmMenu_MouseDown(float Y)
{
    Q_UNUSED(Y);
    MenuDragging = true;
}

void MainPanel::frmMenu_MouseUp()
{
    MenuDragging = false;
}

namespace {
void closeSection(MainPanel* p, PanelFrame* fr)
{
    fr->hide();
    p->CloseSelectors();
    if (p->MenuSelect > 0)
        p->MenuSelect = 0;
}
} // namespace

void MainPanel::downConnect_Click()
{
    closeSection(this, frmConnect);
    btnStatusRead->setEnabled(mainState().MicConnected);
    layoutMenu();
}

void MainPanel::downSetting_Click()
{
    closeSection(this, frmSetting);
    layoutMenu();
}

void MainPanel::downInfo_Click()
{
    closeSection(this, frmInfo);
    layoutMenu();
}

void MainPanel::downOther_Click()
{
    closeSection(this, frmOther);
    layoutMenu();
}

bool MainPanel::StandFirmwareOld()
{
    MainState& st = mainState();
    if (st.MicUnit[1] != 1 || !st.MicConnected || !st.micService)
        return false;
    try {
        const QString text = st.micService->Version(1);
        const double v = vb::val(text.mid(1));
        return v >= 1.0 && v <= 1.2;
    } catch (...) {
        // A failed read leaves the stand's entries disabled.
        return false;
    }
}

// ============================================================================
// Control pad
// ============================================================================

void MainPanel::btnLED_Click(int16_t Index)
{
    if (Index < 0 || Index > 2)
        return;
    for (int i = 0; i < 3; ++i)
        btnLED[i]->setBackColor(i == Index ? kHover : kBack);
    btnEnable->setBackColor(kBack);
}

void MainPanel::btnEnable_Click()
{
    for (int i = 0; i < 3; ++i)
        btnLED[i]->setBackColor(kBack);
    btnEnable->setBackColor(kHover);
}

int16_t MainPanel::ControlPadMark() const
{
    for (int i = 0; i < 3; ++i)
        if (btnLED[i]->BackColor() == kHover)
            return int16_t(i);
    return btnEnable->BackColor() == kHover ? 3 : -1;
}
