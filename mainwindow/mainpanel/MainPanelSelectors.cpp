// The position selector of the nosepiece, the filter cubes and the condenser.
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
// Device selectors
// ============================================================================

void MainPanel::CloseSelectors()
{
    picSelect->hide();
    picSelect2->hide();
    ObjLink->hide();
    labObjLink->hide();
    fitPanelHeights();
}

void MainPanel::usrMainPath_LostSelection()
{
    CloseSelectors();
    ShowObservation();
}

void MainPanel::showSelector(int16_t device)
{
    MainState& st = mainState();
    SelectDevice = device;
    CloseSelectors();

    const int top = device == 1 ? kSelectTopObj : device == 2 ? kSelectTopFilter : kSelectTopCon;
    const int width = device == 1 ? kSelectWidthObj : kSelectWidth;
    picSelect->setLeft(kSelectLeft);
    picSelect->setTop(top);
    picSelect->setWidth(width);
    picSelect2->setLeft(kSelectLeft + kSelectShadow);
    picSelect2->setTop(top + kSelectShadow);
    picSelect2->setWidth(width);

    const clsDefAddControl& obj = device == 1 ? st.mObj : device == 2 ? st.mFilter : st.mCon;
    txtAdd->setItemColor(kDeviceFace);
    if (st.MicConnected) {
        txtAdd->setAddress(obj.Address());
        txtAdd->setLast(obj.MAX());
        txtAdd->setFirst(obj.MIN());
    }

    // Height by the number of positions; other counts keep the height it had.
    const int count = txtAdd->RowCount();
    int height = picSelect->Height();
    if (count == 6)
        height = kSelectH6;
    else if (count == 7)
        height = kSelectH7;
    else if (count == 8)
        height = kSelectH8;
    picSelect->setHeight(height);
    picSelect2->setHeight(height);

    if (obj.SETUP() == 1)
        txtAdd->setMode(1);
    else if (obj.SETUP() == 3)
        txtAdd->setMode(2);
    if (device == 1) {
        if (obj.SETUP() == 1) {
            ObjLink->setEnabled(true);
            ObjLink->setValue(st.mObj.LINK() != 0 ? 1 : 0);
        } else if (obj.SETUP() == 3) {
            ObjLink->setEnabled(false);
        }
    }

    for (int a = txtAdd->First(); a <= txtAdd->Last() && a >= 0; ++a) {
        QString text;
        if (device == 1) {
            text = QString::number(a) + " :";
            if (a >= 1 && a <= st.mObjData.size()) {
                const clsDefLens& d = st.mObjData[a - 1];
                text += d.SeriesName().trimmed() + "  " + d.Name().trimmed();
            }
        } else if (device == 2) {
            text = QString::number(a) + " : ";
            if (a >= 1 && a <= st.mFilterData.size())
                text += st.mFilterData[a - 1].Name().trimmed();
        } else {
            text = QString::number(a) + " : ";
            if (a >= 1 && a <= st.mConData.size())
                text += st.mConData[a - 1].Name().trimmed();
        }
        txtAdd->SetLabel(text, int16_t(a));
        if (a == 32767)
            break;
    }

    // txtAdd fills the selector; the objective keeps a row for its link box.
    const int linkRow = device == 1 ? kLinkRow : 0;
    twips::place(txtAdd, 60, 60, width - 120, height - 120 - linkRow);
    twips::place(ObjLink, 90, height - 60 - kLinkRow, 300, kLinkRow);
    twips::place(labObjLink, 420, height - 60 - kLinkRow, width - 500, kLinkRow);

    picSelect2->show();
    picSelect->show();
    picSelect2->raise();
    picSelect->raise();
    if (device == 1) {
        ObjLink->show();
        labObjLink->show();
    }
    fitPanelHeights();
}

void MainPanel::downObj_Click() { showSelector(1); }
void MainPanel::downFilter_Click() { showSelector(2); }
void MainPanel::downCon_Click() { showSelector(3); }

void MainPanel::txtAdd_AddressPicked(int16_t Address)
{
    MainState& st = mainState();
    BusyWindow busy(window(), false);
    // The keyboard stays in the selector while txtAdd waits for the move, so
    // that it goes back to the arrow that opened it when the selector closes.
    const bool keyboardHere = txtAdd->hasFocus();
    if (keyboardHere)
        picSelect->setFocus(Qt::OtherFocusReason);
    auto enableAgain = [&] {
        txtAdd->setEnabled(true);
        if (keyboardHere && !picSelect->isHidden())
            txtAdd->setFocus(Qt::OtherFocusReason);
    };
    txtAdd->setEnabled(false);
    try {
        if (st.MicConnected && st.micService) {
            switch (SelectDevice) {
            case 1: st.micService->setNosepiecePosition(Address); break;
            case 2: st.micService->setFilterBlockCassettePosition(Address); break;
            case 3: st.micService->setCondenserCassettePosition(Address); break;
            default: break;
            }
        }
        CloseSelectors();
        enableAgain();
        // Clicks made while the move ran (the window system held them back)
        // are dropped, not replayed as a move nobody meant.
        Common_Flush();
    } catch (const RunTimeError& e) {
        busy.end();
        enableAgain();
        Common_Flush();  // a refused or stalled move replays no click either
        MsgBox::show(failureText(QStringLiteral("Position_Change"), e));
    } catch (const std::exception&) {
        busy.end();
        enableAgain();
        Common_Flush();
        MsgBox::show(QStringLiteral("Position_Change Error"));
    }
}
