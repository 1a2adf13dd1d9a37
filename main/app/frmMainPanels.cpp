// The main window's device buttons and the panels they open. Each device has
// twin buttons, on the large and on the compact panel; the panel's library
// makes the form, the sub-panel pattern opens, places and closes it.
#include "main/app/frmMain.h"

#include "panels/DevicePanels.h"
#include "panels/SubPanels.h"
#include "main/widgets/usrButton.h"

void frmMain::attachDevicePanels() {
    registerDevicePanels(this);

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
