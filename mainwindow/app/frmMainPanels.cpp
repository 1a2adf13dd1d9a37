// The main window's device buttons and the panels they open. Each device has
// twin buttons, on the large and on the compact panel; the panel's library
// makes the form, the sub-panel pattern opens, places and closes it. The
// panels write a few of the main panel's controls themselves, and the zoom's
// scale and link box command the zoom as its panel does.
#include "mainwindow/app/frmMain.h"

#include "devicepanels/motion/JoystickControl.h"
#include "devicepanels/motion/MotionPanels.h"
#include "devicepanels/fiber/frmSubFiber.h"
#include "devicepanels/optics/OpticsPanels.h"
#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/SubPanels.h"
#include "devicepanels/optics/ZoomPanel.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "mainwindow/mainpanel/ZoomScale.h"
#include "widgets/usrButton.h"

namespace {

// A band picked on the main panel's zoom scale: the steps of the zoom
// panel's ZoomValue_Set with the main panel's link box. This path keeps the
// position texts of the main panel's selector.
void zoomFromScale(double zoom, const PanelCheck* link) {
    if (!mainState().MicConnected)
        return;
    try {
        frmSubZoom::ZoomChange(zoom, link->Value());
    } catch (const RunTimeError& e) {
        MsgBox::show(e.isLimitation() ? QStringLiteral("Position_Change Limitation")
                                      : QStringLiteral("Position_Change Error"));
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Position_Change Error"));
    }
}

} // namespace

void frmMain::attachDevicePanels() {
    registerOpticsPanels(this);
    registerFiberPanel(this);
    MainPanelSide& side = mainPanelSide();
    for (int i = 0; i < 2; ++i) {
        side.HBXField[i] = ui->HBXField[i];
        side.LampCmd[i] = ui->LampCmd[i];
        side.Zcmd[i] = ui->Zcmd[i];
        side.Xcmd[i] = ui->Xcmd[i];
        side.Ycmd[i] = ui->Ycmd[i];
    }
    side.ZoomLink = ui->ZoomLink;
    connect(ui->ZoomLink, &PanelCheck::Click, this, [this] { frmSubZoom::ZoomLink_Click(ui->ZoomLink->Value()); });
    connect(ui->zoomScale, &ZoomScale::ZoomPicked, this, [this](double zoom) { zoomFromScale(zoom, ui->ZoomLink); });
    registerMotionPanels(this);
    // The game pad: Timer1 runs only while one is plugged in. The control
    // pad of the Setting section answers with or without one.
    auto* joystick = new JoystickControl(this);
    joystick->setObjectName(QStringLiteral("joystick"));
    // The Setting menu opens the focus panel in its two setting modes and
    // the stage panel in its one.
    connect(ui, &MainPanel::SetupClicked, this, [](int16_t entry) {
        if (entry == 2)
            openMotionPanel(QStringLiteral("frmSubZ"), QStringLiteral("UpperLimit Setting"), -1);
        else if (entry == 3)
            openMotionPanel(QStringLiteral("frmSubZ"), QStringLiteral("Focus Setting"), -1);
    });
    connect(ui, &MainPanel::XYSettingClicked, this,
            [] { openMotionPanel(QStringLiteral("frmSubStage"), QStringLiteral("XY Setting"), -1); });

    using SubPanels::OpensOn;
    struct Twin {
        const char* form;
        usrButton* const* buttons;
        OpensOn gesture;
    };
    const Twin twins[] = {
        {"frmSubAp", ui->btnAp, OpensOn::Pressed},          {"frmSubFS", ui->btnFS, OpensOn::Pressed},
        {"frmSubEpiFS", ui->btnEpiFS, OpensOn::Released},   {"frmSubND", ui->btnND, OpensOn::Pressed},
        {"frmSubLamp", ui->btnClamp, OpensOn::Pressed},     {"frmSubZoom", ui->btnZoom, OpensOn::Released},
        {"frmSubObj", ui->btnObj, OpensOn::Pressed},        {"frmSubFilter", ui->btnFilter, OpensOn::Pressed},
        {"frmSubCond", ui->btnCond, OpensOn::Pressed},      {"frmSubPath", ui->btnFrmPath, OpensOn::Pressed},
        {"frmSubFiber", ui->btnFiber, OpensOn::Pressed},    {"frmSubZ", ui->btnZ, OpensOn::Pressed},
        {"frmSubStage", ui->btnXY, OpensOn::Pressed},
    };
    for (const Twin& t : twins)
        SubPanels::attach(QLatin1String(t.form), t.buttons[0], t.buttons[1], t.gesture);
    attachLinks();
}
