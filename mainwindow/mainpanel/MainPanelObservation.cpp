// The observation entries: the marks, a click that selects a method.
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
// Observation entries
// ============================================================================

void MainPanel::SetObserveNormal(int16_t Index)
{
    if (Index < 1 || Index > 7)
        return;
    labObserve[Index]->setForeColor(kText);
    btnObserve[Index]->setBackColor(kBack);
}

void MainPanel::SetObserveSelected(int16_t Index)
{
    if (Index < 1 || Index > 7)
        return;
    labObserve[Index]->setForeColor(kSelectedText);
    btnObserve[Index]->setBackColor(kSelected);
}

void MainPanel::SetUserNormal(int16_t Index)
{
    if (Index < 1 || Index > 6)
        return;
    labObserveU[Index]->setForeColor(kText);
    labObserveU[Index]->setBackColor(kBack);
}

void MainPanel::SetUserSelected(int16_t Index)
{
    if (Index < 1 || Index > 6)
        return;
    labObserveU[Index]->setForeColor(kSelectedText);
    labObserveU[Index]->setBackColor(kSelected);
}

void MainPanel::ClearObservationMarks()
{
    for (int i = 1; i <= 7; ++i)
        SetObserveNormal(int16_t(i));
    for (int i = 1; i <= 6; ++i)
        SetUserNormal(int16_t(i));
}

void MainPanel::ShowObservation()
{
    MainState& st = mainState();
    const int16_t now = st.ObservationNow;
    for (int i = 1; i <= 6; ++i)
        SetObserveNormal(int16_t(i));
    for (int i = 1; i <= 6; ++i)
        SetUserNormal(int16_t(i));
    if (now >= 7 && now <= 12) {
        ObservationShown = now;
        SetUserSelected(int16_t(now - 6));
        return;
    }
    const int16_t O = st.mObj.SETUP();
    const int16_t C = st.mCon.SETUP();
    bool lit = false;
    if (st.MicUnit[3] == 1 && st.MicUnit[1] == 1 && O == 1 && C == 1)
        lit = now >= 1 && now <= 6;
    else if (O == 1 && st.MicUnit[7] != 0 && (now == 1 || now == 4))
        lit = true;
    if (lit) {
        SetObserveSelected(now);
        ObservationShown = now;
    }
}

void MainPanel::labObserve_Click(int16_t Index)
{
    if (Index < 1 || Index > 7)
        return;
    MainState& st = mainState();
    BusyWindow busy(window(), true);
    try {
        if (st.MicConnected && st.micService) {
            if (Index <= 6)
                st.micService->setPresetsObservationMode(Index);
            else
                st.micService->setPresetsObservationMode(vb::toInt16(vb::val(labObserve[7]->Tag())));
        }
        ObservationShown = Index;
    } catch (const RunTimeError& e) {
        busy.end();
        MsgBox::show(failureText(QStringLiteral("ObservationMethod_Change"), e));
        return;
    } catch (const std::exception&) {
        busy.end();
        MsgBox::show(QStringLiteral("ObservationMethod_Change Error"));
        return;
    }
    busy.end();
    QCoreApplication::processEvents();
}

void MainPanel::labObserveU_Click(int16_t Index)
{
    if (Index < 1 || Index > 6)
        return;
    MainState& st = mainState();
    BusyWindow busy(window(), true);
    for (int i = 1; i <= 7; ++i)
        SetObserveNormal(int16_t(i));
    for (int i = 1; i <= 6; ++i) {
        if (i == Index)
            SetUserSelected(int16_t(i));
        else
            SetUserNormal(int16_t(i));
    }
    if (st.MicConnected && st.micService) {
        try {
            st.micService->setPresetsObservationMode(int16_t(Index + 6));
        } catch (const RunTimeError& e) {
            busy.end();
            MsgBox::show(failureText(QStringLiteral("ObservationMethod_Change"), e));
            return;
        } catch (const std::exception&) {
            busy.end();
            MsgBox::show(QStringLiteral("ObservationMethod_Change Error"));
            return;
        }
        // The seventh entry stands for the last user method chosen; it has
        // no caption of its own.
        labObserve[7]->setTag(QString::number(Index + 6));
        for (int i = 1; i <= 6; ++i)
            SetObserveNormal(int16_t(i));
        st.ObservationNow = int16_t(Index + 6);
    }
    ObservationShown = st.ObservationNow;
    busy.end();
    QCoreApplication::processEvents();
}

void MainPanel::btnObserve_MouseMove(int16_t Index)
{
    const int s = ObservationShown < 7 ? int(ObservationShown) : 7;
    for (int i = 1; i <= 7; ++i) {
        if (i == s)
            continue;
        btnObserve[i]->setBackColor(i == Index ? kHover : kBack);
    }
}

void MainPanel::labObserveU_MouseMove(int16_t Index)
{
    for (int i = 1; i <= 6; ++i) {
        if (labObserveU[i]->BackColor() == kSelected)
            continue;
        labObserveU[i]->setBackColor(i == Index ? kHover : kBack);
    }
}

void MainPanel::frmObserve_MouseMove(float X)
{
    if (X < 50 || X > frmObserve->Width() - 50)
        return;
    if (ObservationShown < 1 || ObservationShown > 6)
        return;
    for (int i = 1; i <= 7; ++i)
        if (btnObserve[i]->BackColor() != kSelected)
            btnObserve[i]->setBackColor(kBack);
}

void MainPanel::frmOther_MouseMove(float X)
{
    if (X < 50 || X > frmOther->Width() - 50)
        return;
    for (int i = 1; i <= 6; ++i)
        if (labObserveU[i]->BackColor() != kSelected)
            labObserveU[i]->setBackColor(kBack);
}
