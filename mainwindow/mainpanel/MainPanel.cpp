#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/MainPanelParts.h"
#include "mainwindow/mainpanel/ZoomScale.h"

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
// Construction
// ============================================================================

MainPanel::MainPanel(QWidget* parent) : QWidget(parent)
{
    zentor::look::applyTo(this);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, zentor::colorFromBgr(kAreaBack));
    setPalette(pal);
    QFont f = font();
    f.setPointSizeF(9.0);
    setFont(f);

    MenuWidth = kMenuWidth;
    MenuHeight = kMenuHeight;
    PanelWidth = kPanelWidth;
    PanelHeight = kWindowHeight;
    SubWidth = kSubWidth;
    SubMargin = kSubMargin;

    buildMenu();
    buildLargePanel();
    buildCompactPanel();
    buildSelector();

    HScroll = new QScrollBar(Qt::Horizontal, this);
    VScroll = new QScrollBar(Qt::Vertical, this);
    HScroll->hide();
    VScroll->hide();

    ZoomScaleLeft = twips::left(Line1[0]);
    ZoomClickDefault = imgClick->Left();
    zoomScale = new ZoomScale(this);

    wire();
    setUpKeyboardAndNames();
    captureColumns();
    // The shutter's caption stays under its button wherever Init puts it.
    frmShutter[0]->installEventFilter(this);
    placeShutterCaption();
    frmSub->hide();
    btnmenu_Click(4);
    resize(twipsToPixels(kWindowWidth), twipsToPixels(kWindowHeight));
    placeDeviceArea();
}

MainPanel::~MainPanel() = default;

// ============================================================================
// Wiring
// ============================================================================

void MainPanel::wire()
{
    for (int i = 1; i <= 5; ++i) {
        const int16_t idx = int16_t(i);
        connect(btnmenu[i], &PanelLabel::Click, this, [this, idx] { btnmenu_Click(idx); });
        connect(labmenu[i], &PanelLabel::Click, this, [this, idx] { btnmenu_Click(idx); });
        connect(btnmenu[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { btnmenu_MouseMove(idx); });
        // Outside the strip the entries return to normal.
        connect(labmenu[i], &PanelLabel::MouseMove, this, [this](int16_t b, int16_t, float, float) {
            frmMenu_MouseMove(b, float(kMenuLabelLeft + 10), 0);
        });
    }
    connect(frmMenu, &PanelFrame::MouseDown, this,
            [this](int16_t, int16_t, float, float y) { frmMenu_MouseDown(y); });
    connect(frmMenu, &PanelFrame::MouseMove, this,
            [this](int16_t b, int16_t, float x, float y) { frmMenu_MouseMove(b, x, y); });
    connect(frmMenu, &PanelFrame::MouseUp, this,
            [this](int16_t, int16_t, float, float) { frmMenu_MouseUp(); });
    // The grip forwards its gestures in frmMenu's coordinates.
    connect(frmMenuSplit, &PanelFrame::MouseDown, this, [this](int16_t, int16_t, float, float y) {
        frmMenu_MouseDown(float(y + frmMenuSplit->Top()));
    });
    connect(frmMenuSplit, &PanelFrame::MouseMove, this, [this](int16_t b, int16_t, float x, float y) {
        frmMenu_MouseMove(b, float(x + frmMenuSplit->Left()), float(y + frmMenuSplit->Top()));
    });
    connect(frmMenuSplit, &PanelFrame::MouseUp, this,
            [this](int16_t, int16_t, float, float) { frmMenu_MouseUp(); });

    connect(downConnect, &usrButton::Released, this, [this] { downConnect_Click(); });
    connect(downSetting, &usrButton::Released, this, [this] { downSetting_Click(); });
    connect(downInfo, &usrButton::Released, this, [this] { downInfo_Click(); });
    connect(downOther, &usrButton::Released, this, [this] { downOther_Click(); });
    connect(tabConnect, &QTabBar::currentChanged, this, [this](int page) {
        pageMic->setVisible(page == 0);
        pageFiber->setVisible(page == 1);
    });

    for (int i = 0; i < 4; ++i) {
        const int16_t idx = int16_t(i);
        connect(btnSetup[i], &PanelLabel::Click, this, [this, idx] {
            if (idx == 1) {
                frmControlPad->setVisible(!frmControlPad->isVisible());
                // The section grows to show the pad it opened, also when the
                // operator had made it lower.
                if (frmControlPad->isVisibleTo(frmSetting) && MenuSplit > 0)
                    MenuSplit = std::max(MenuSplit, frmControlPad->Top() + frmControlPad->Height() + 80);
                layoutMenu();
            }
            emit SetupClicked(idx);
        });
        connect(btnInfo[i], &PanelLabel::Click, this, [this, idx] {
            emit InfoClicked(idx);
            // Every entry closes its menu section once it has acted.
            frmInfo->hide();
            MenuSelect = 0;
            layoutMenu();
        });
    }
    connect(btnSetupXY, &PanelLabel::Click, this, [this] { emit XYSettingClicked(); });
    for (int i = 0; i < 3; ++i) {
        const int16_t idx = int16_t(i);
        connect(btnLED[i], &PanelLabel::Click, this, [this, idx] { btnLED_Click(idx); });
    }
    connect(btnEnable, &PanelLabel::Click, this, [this] { btnEnable_Click(); });

    for (int i = 1; i <= 7; ++i) {
        const int16_t idx = int16_t(i);
        connect(labObserve[i], &PanelLabel::Click, this, [this, idx] { labObserve_Click(idx); });
        connect(btnObserve[i], &PanelLabel::Click, this, [this, idx] { labObserve_Click(idx); });
        connect(btnObserve[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { btnObserve_MouseMove(idx); });
        connect(labObserve[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { btnObserve_MouseMove(idx); });
    }
    for (int i = 1; i <= 6; ++i) {
        const int16_t idx = int16_t(i);
        connect(labObserveU[i], &PanelLabel::Click, this, [this, idx] { labObserveU_Click(idx); });
        connect(labObserveU[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { labObserveU_MouseMove(idx); });
    }
    connect(frmObserve, &PanelFrame::MouseMove, this,
            [this](int16_t, int16_t, float x, float) { frmObserve_MouseMove(x); });
    connect(frmOther, &PanelFrame::MouseMove, this,
            [this](int16_t, int16_t, float x, float) { frmOther_MouseMove(x); });

    connect(downObj, &usrButton::Released, this, [this] { downObj_Click(); });
    connect(downFilter, &usrButton::Released, this, [this] { downFilter_Click(); });
    connect(downCon, &usrButton::Released, this, [this] { downCon_Click(); });
    connect(txtAdd, &usrAddress::AddressPicked, this,
            [this](int16_t a) { txtAdd_AddressPicked(a); });
    connect(usrMainPath, &usrPath_M::LostSelection, this, [this] { usrMainPath_LostSelection(); });
    connect(usrMainPath, &usrPath_M::ColorPicked, this,
            [this](int16_t f, int16_t b) { usrMainPath_ColorPicked(f, b); });
    connect(btnProfile, &usrButton::Released, this, [this] { btnProfile_Click(); });
    for (usrButton* b : btnAna)
        connect(b, &usrButton::Released, this, [this](int16_t i) { btnAna_Released(i); });
    connect(btnShutter, &usrButton::Released, this, [this] { btnShutter_Released(); });
    connect(btnEX, &usrButton::Released, this, [this] { usrMainPath_ColorPicked(1, 1); });
    connect(btnBa, &usrButton::Released, this, [this] { usrMainPath_ColorPicked(2, 1); });

    connect(btnGUIClose, &usrButton::Released, this, [this] { btnGUIClose_Released(); });
    connect(btnGUIOpen, &usrButton::Released, this, [this] { btnGUIOpen_Released(); });
    connect(VScroll, &QScrollBar::valueChanged, this, [this] { VScroll_Change(); });
    connect(HScroll, &QScrollBar::valueChanged, this, [this] { HScroll_Change(); });
}

bool MainPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == frmShutter[0] &&
        (event->type() == QEvent::Move || event->type() == QEvent::Resize ||
         event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent))
        placeShutterCaption();
    if (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent) {
        bool inColumn = watched == frmScroll;
        for (const Column* c : {&m_leftColumn, &m_rightColumn, &m_compactColumn})
            for (const ColumnSlot& slot : c->frames)
                inColumn = inColumn || watched == slot.frame;
        if (inColumn)
            relayoutFrames();
    }
    // Hover of the menu entries and of the control pad: a colour change only.
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
        const bool in = event->type() == QEvent::Enter;
        for (PanelLabel* l : {btnSetup[0], btnSetup[1], btnSetup[2], btnSetup[3], btnSetupXY, btnInfo[0],
                              btnInfo[1], btnInfo[2], btnInfo[3]}) {
            if (watched == l && l->isEnabled()) {
                l->setForeColor(in ? kHoverText : kText);
                l->setBackColor(in ? 0 : kBack);
            }
        }
        for (PanelLabel* l : {btnLED[0], btnLED[1], btnLED[2], btnEnable}) {
            if (watched == l && l->isEnabled())
                l->setForeColor(in ? kHoverText : kText);
        }
    }
    return QWidget::eventFilter(watched, event);
}
