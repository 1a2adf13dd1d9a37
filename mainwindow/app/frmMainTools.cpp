// The main window's side of the operator's tools: the Information menu (event
// log, version, the two stand switches), the Setting menu's set-up tool, and
// the command console that key code 7 on the light path drawing opens.
#include "mainwindow/app/frmMain.h"

#include "mainwindow/tools/SiblingTools.h"
#include "mainwindow/tools/ToolForms.h"

void frmMain::attachTools() {
    registerToolForms(this);
    connect(ui, &MainPanel::InfoClicked, this, [this](int16_t Index) { btnInfo_MouseUp(Index); });
    connect(ui, &MainPanel::SetupClicked, this, [this](int16_t Index) {
        if (Index == 0)
            Setup_Launch();
    });
    // The service engineer's key on the drawing (Ctrl+G, character code 7).
    connect(this, &frmMain::CommandConsoleRequested, this, [] { showToolForm(QStringLiteral("frmCommand")); });
}

void frmMain::btnInfo_MouseUp(int16_t Index) {
    using SiblingTools::Tool;
    switch (Index) {
    case 0:
        showToolForm(QStringLiteral("frmEvent"));
        break;
    case 1:
        showToolForm(QStringLiteral("frmVersion2"));
        break;
    case 2:
        SiblingTools::Launch(Tool::StandSwitch, SiblingTools::current(ui->lstMic->currentRow(), ui->labMic->Caption()));
        break;
    case 3:
        SiblingTools::Launch(Tool::ControllerSwitch,
                             SiblingTools::current(ui->lstMic->currentRow(), ui->labMic->Caption()));
        break;
    default:
        break;
    }
}

void frmMain::Setup_Launch() {
    SiblingTools::Launch(SiblingTools::Tool::SetupTool,
                         SiblingTools::current(ui->lstMic->currentRow(), ui->labMic->Caption()));
}
