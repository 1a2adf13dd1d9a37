// The main panel's side of the light path and the link flags: the link boxes
// ObjLink and PathLink, which show the same flag as the link boxes of the
// nosepiece and light path panels; the light path diagram, whose outlets
// change the path, whose function keys pick observation methods, and whose
// service key (Ctrl+G) asks for the command console.
#include "mainwindow/app/frmMain.h"

#include "devicepanels/subpanel/MainLinks.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "widgets/PanelControls.h"
#include "widgets/usrPath_M.h"

#include <QPointer>

void frmMain::attachLinks() {
    QPointer<MainPanel> panel(ui);
    MainLinks::setShow(MainLinks::Link::Obj, [panel](int16_t v) {
        if (panel)
            panel->ObjLink->setValue(v);
    });
    MainLinks::setShow(MainLinks::Link::Path, [panel](int16_t v) {
        if (panel)
            panel->PathLink->setValue(v);
    });
    connect(ui->ObjLink, &PanelCheck::Click, this, [this] { ObjLink_Click(); });
    connect(ui->PathLink, &PanelCheck::Click, this, [this] { PathLink_Click(); });
    connect(ui->usrMainPath, &usrPath_M::PathPicked, this, [this](int16_t i) { usrMainPath_PathPicked(i); });
    connect(ui->usrMainPath, &usrPath_M::ServiceKey, this, [this](int16_t k) { usrMainPath_ServiceKey(k); });
    connect(ui->usrMainPath, &usrPath_M::FunctionKey, this,
            [this](int16_t code, int16_t shift) { usrMainPath_FunctionKey(code, shift); });
}

void frmMain::ObjLink_Click() {
    MainState& s = mainState();
    if (s.mObj.SETUP() != 1 || !s.MicConnected)
        return;
    try {
        s.micService->setNosepieceIsInterlockEnabled(ui->ObjLink->Value());
        // Taken as sent, not read back as the panel's box does.
        s.mObj.setLINK(ui->ObjLink->Value());
        FormRegistry::call(QStringLiteral("frmSubObj"), "chkLink_Show", s.mObj.LINK());
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Nosepiece_IsInterlockEnabled Error"));
    }
}

void frmMain::PathLink_Click() {
    MainState& s = mainState();
    if (!s.MicConnected)
        return;
    try {
        s.micService->setLightPathDriveIsInterlockEnabled(ui->PathLink->Value());
        s.mPath.setLINK(s.micService->LightPathDriveIsInterlockEnabled());
        FormRegistry::call(QStringLiteral("frmSubPath"), "chkLink_Show", s.mPath.LINK());
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("LightPathDrive_IsInterlockEnabled Error"));
    }
}

void frmMain::usrMainPath_PathPicked(int16_t Index) {
    MainState& s = mainState();
    if (!s.MicConnected)
        return;
    try {
        // The flag first, so that the service never moves with an old one.
        s.mPath.setLINK(ui->PathLink->Value());
        s.micService->setLightPathDriveIsInterlockEnabled(s.mPath.LINK());
        s.micService->setLightPathDriveLightPath(Index);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("LightPathDrive_Change Error"));
    }
}

void frmMain::usrMainPath_ServiceKey(int16_t KeyAscii) {
    // Ctrl+G on the diagram is the command console's only way in.
    if (KeyAscii == 7)
        emit CommandConsoleRequested();
}

void frmMain::usrMainPath_FunctionKey(int16_t KeyCode, int16_t) {
    // F1 to F12 pick observation methods 1 to 12.
    if (KeyCode < 112 || KeyCode > 123)
        return;
    MainState& s = mainState();
    if (!s.MicConnected)
        return;
    try {
        s.micService->setPresetsObservationMode(int16_t(KeyCode - 111));
    } catch (const std::exception& e) {
        MsgBox::show(failureText(QStringLiteral("ObservationMethod_Change"), e));
    }
}
