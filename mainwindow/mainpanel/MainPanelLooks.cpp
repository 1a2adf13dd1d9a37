// The two looks, the window's size and scrolling.
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
// The two looks, window size and scrolling
// ============================================================================

bool MainPanel::windowMaximised() const
{
    return window()->isMaximized() || window()->isFullScreen();
}

int MainPanel::WindowWidth() const { return pixelsToTwips(window()->width()); }
int MainPanel::WindowHeight() const { return pixelsToTwips(window()->height()); }

void MainPanel::setWindowWidth(int w)
{
    QWidget* win = window();
    if (twipsToPixels(w) != win->width())
        win->resize(twipsToPixels(w), win->height());
}

void MainPanel::setWindowHeight(int h)
{
    QWidget* win = window();
    if (twipsToPixels(h) != win->height())
        win->resize(win->width(), twipsToPixels(h));
}

void MainPanel::btnGUIClose_Released()
{
    PanelMode = 2;
    CloseSelectors();
    frmSub->setWidth(SubWidth);
    frmSub->setVisible(true);
    picMain->setVisible(false);
    labSystem->setVisible(false);
    if (windowMaximised()) {
        MsgBox::show(QStringLiteral("Please unlock the Maxbutton."));
        placeDeviceArea();
        return;
    }
    setWindowWidth(frmMenu->Width() + SubWidth + SubMargin);
    Form_Resize();
}

void MainPanel::btnGUIOpen_Released()
{
    PanelMode = 1;
    frmSub->setVisible(false);
    picMain->setVisible(true);
    labSystem->setVisible(true);
    if (windowMaximised()) {
        MsgBox::show(QStringLiteral("Please unlock the Maxbutton."));
        placeDeviceArea();
        return;
    }
    setWindowWidth(frmMenu->Width() + PanelWidth);
    Form_Resize();
}

void MainPanel::Form_Resize()
{
    if (m_inResize || window()->isMinimized())
        return;
    m_inResize = true;
    const int M = frmMenu->Width();
    int W = WindowWidth();
    int H = WindowHeight();
    const bool maximised = windowMaximised();
    auto setW = [&](int w) {
        if (!maximised)
            setWindowWidth(w);
        W = WindowWidth();
    };
    auto setH = [&](int h) {
        if (!maximised)
            setWindowHeight(h);
        H = WindowHeight();
    };

    bool hShown = false;
    if (PanelMode == 2) {
        // The compact frame is designed with its margin; a window that
        // cannot hold both gets exactly that width.
        if (M + frmSub->Width() + SubMargin > W)
            setW(M + SubWidth + SubMargin);
    } else {
        // A window made narrower than the menu gets the room of a scroll bar;
        // the rule then runs once more for the width it has now.
        for (int pass = 0; pass < 2; ++pass) {
            hShown = false;
            if (M + kScrollReserve < W && W < kWindowWidth) {
                hShown = true;
                if (W - M + 100 >= PanelWidth) {
                    setW(M + PanelWidth);
                    hShown = W < M + PanelWidth;
                }
                break;
            }
            if (M + kScrollReserve >= W) {
                setW(M + kNarrowWindow);
                continue;
            }
            setW(M + PanelWidth);
            break;
        }
    }

    if (H < kMinWindowHeight)
        setH(kMinWindowHeight);
    bool vShown = false;
    if (H < PanelHeight) {
        vShown = true;
    } else {
        setH(PanelHeight);
        vShown = H < PanelHeight;
    }

    // Bars: horizontal 210 above the bottom, vertical 270 in from the right.
    HScroll->setVisible(hShown);
    if (hShown) {
        twips::place(HScroll, M, H - kHScrollAbove, std::max(0, W - M - kScrollReserve),
                     kHScrollAbove);
        HScroll->raise();
    }
    const int visibleW = std::max(0, W - M - kScrollReserve);
    HScroll->setValue(0);
    HScroll->setMaximum(std::max(0, PanelWidth - visibleW));
    HScroll->setPageStep(std::max(1, visibleW));
    HScroll->setSingleStep(std::max(1, visibleW / 10));

    VScroll->setVisible(vShown);
    if (vShown) {
        twips::place(VScroll, W - kScrollReserve, 0, kScrollReserve - 30,
                     std::max(0, H - kVScrollShort));
        VScroll->raise();
    }
    VScroll->setValue(0);
    VScroll->setMaximum(std::max(0, PanelHeight - H));
    VScroll->setPageStep(std::max(1, H));
    VScroll->setSingleStep(std::max(1, H / 10));

    placeDeviceArea();
    m_inResize = false;
}

void MainPanel::placeDeviceArea()
{
    const int M = frmMenu->Width();
    const int vis = VScroll->isVisible() ? VScroll->value() : 0;
    const int his = HScroll->isVisible() ? HScroll->value() : 0;
    frmMenu->setTop(-vis);
    frmMenu->setHeight(std::max(MenuHeight, pixelsToTwips(height()) + vis));
    twips::place(Picture1, M, 0, std::max(0, pixelsToTwips(width()) - M),
                 std::max(pixelsToTwips(height()), PanelHeight));
    picMain->setLeft(-his);
    picMain->setTop(-vis);
    frmSub->setLeft(0);
    frmSub->setTop(-vis);
}

void MainPanel::VScroll_Change()
{
    frmMenu->setTop(-VScroll->value());
    picMain->setTop(-VScroll->value());
    frmSub->setTop(-VScroll->value());
}

void MainPanel::HScroll_Change()
{
    picMain->setLeft(-HScroll->value());
}

void MainPanel::resizeEvent(QResizeEvent* e)
{
    QWidget::resizeEvent(e);
    if (!m_inResize)
        Form_Resize();
}
