// The main window's device buttons and the panels they open. Each device has
// twin buttons, on the large and on the compact panel; the panel's library
// makes the form, the sub-panel pattern opens, places and closes it.
#include "main/app/frmMain.h"

#include "motion/panels/JoystickControl.h"
#include "motion/panels/MotionPanels.h"
#include "panels/DevicePanels.h"
#include "panels/SubPanels.h"
#include "main/widgets/usrButton.h"

void frmMain::attachDevicePanels() {
    registerDevicePanels(this);
    registerMotionPanels(this);
    // The game pad: Timer1 runs only while one is plugged in, and the
    // control pad frame is usable only then.
    auto* joystick = new JoystickControl(this);
    joystick->setObjectName(QStringLiteral("joystick"));
    ui->frmControlPad->setEnabled(joystick->present());
    connect(joystick, &JoystickControl::presenceChanged, ui->frmControlPad, &QWidget::setEnabled);
    // The Setting menu opens the focus panel in its two setting modes.
    connect(ui, &MainPanel::SetupClicked, this, [](int16_t entry) {
        if (entry == 2)
            openMotionPanel(QStringLiteral("frmSubZ"), QStringLiteral("UpperLimit Setting"), -1);
        else if (entry == 3)
            openMotionPanel(QStringLiteral("frmSubZ"), QStringLiteral("Focus Setting"), -1);
    });

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
