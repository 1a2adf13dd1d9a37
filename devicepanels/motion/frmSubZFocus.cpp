// The focus panel's auto focus: whether the camera can do it (Camera.ini),
// the choice of the camera head, and the focus run itself.
#include "devicepanels/motion/MotionPanelParts.h"
#include "devicepanels/motion/SelCameraDlg.h"
#include "devicepanels/motion/frmSubZ.h"

#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QFrame>
#include <QListWidget>

namespace {
const QString kCuK5 = QStringLiteral("CU-K5");

int cameraAF(int section)
{
    return mainState().CameraINI.Ini_ReadInt(QString::number(section), QStringLiteral("CameraAF"), 0);
}
QString cameraHead(int section)
{
    return mainState().CameraINI.Ini_ReadStr(QString::number(section), QStringLiteral("CameraHead"),
                                             QStringLiteral("Unknown"));
}
} // namespace

void frmSubZ::cameraSetUp(bool onLoad)
{
    MainState& s = state();
    const bool camera = s.MicUnit[6] != 0;
    btnAF->setVisible(camera);
    btnCamera->setVisible(camera);
    labCamera->setVisible(camera);
    if (!camera || !connected())
        return;
    try {
        if (SelCameraDlg::unitName() != kCuK5) {
            const int16_t h = s.micService->CameraHead();
            if (onLoad)
                labCamera->setCaption(cameraHead(h));
            btnAF->setVisible(cameraAF(h) == 1);
        } else if (onLoad) {
            // The unit cannot tell its head: the operator's choice stands.
            const QStringList rows = SelCameraDlg::headRows();
            const int chosen = s.INI.Ini_ReadInt(QStringLiteral("Select Camera"), QStringLiteral("Camera No"), 0);
            labCamera->setCaption(chosen >= 0 && chosen < rows.size() ? rows[chosen] : rows.first());
        }
    } catch (const std::exception&) {
        // Without the camera's numbers there is no auto focus.
        btnAF->hide();
    }
}

void frmSubZ::btnAF_Click()
{
    MainState& s = state();
    bool possible = false;
    try {
        if (SelCameraDlg::unitName() == kCuK5) {
            // Every section is visited: any with this head and AF 1 will do.
            for (int i = 0; i <= 20; ++i)
                if (cameraHead(i) == labCamera->Caption() && cameraAF(i) == 1)
                    possible = true;
        } else {
            possible = connected() && cameraAF(s.micService->CameraHead()) == 1;
        }
    } catch (const std::exception&) {
        possible = false;
    }
    if (possible)
        runAutoFocus();
    btnAF->Unlatch();
    if (!possible)
        MsgBox::show(QStringLiteral("AF cannot be done in the camera."));
}

void frmSubZ::runAutoFocus()
{
    MainState& s = state();
    WaitCursor wait;
    frmAF->setEnabled(false);
    if (connected()) {
        int32_t code = 0;
        bool ran = false;
        txtSel->setCaption(QStringLiteral("Now Focusing"));
        m_focusing = true;
        try {
            code = s.micService->ZDriveAutoFocus();
            ran = true;
        } catch (const std::exception& e) {
            m_focusing = false;
            MsgBox::show(failureText(QStringLiteral("ZDrive_AutoFocus"), e));
        }
        m_focusing = false;
        trap(QStringLiteral("Z FocusDrive_ZPosition Read Error"), [&] {
            s.mZ.setValue(s.micService->ZDriveZPosition());
        });
        txtSel->setCaption(s.mZ.Format_Count() + QStringLiteral(" um"));
        ZDriveValue_Set();
        if (ran) {
            const QString title = QStringLiteral("Auto Focus");
            switch (code) {
            case 0:
                txtSel->hide();
                txtAF_Comp->show();
                AFTimer.start();
                break;
            case 1:
                MsgBox::show(QStringLiteral("Complete Low Contrast"), MsgBox::OKOnly, MsgBox::NoIcon, title, true);
                break;
            case 50:
                MsgBox::show(QStringLiteral("Warning Exposure Over"), MsgBox::OKOnly, MsgBox::NoIcon, title, true);
                break;
            case 51:
                MsgBox::show(QStringLiteral("Warning Exposure Under"), MsgBox::OKOnly, MsgBox::NoIcon, title, true);
                break;
            default:
                MsgBox::show(QStringLiteral("Error ") + QString::number(uint32_t(code), 16).toUpper(),
                             MsgBox::OKOnly, MsgBox::NoIcon, title, true);
                break;
            }
        }
    }
    frmAF->setEnabled(true);
    Common_Flush();
}

void frmSubZ::AFTimer_Timer()
{
    AFTimer.stop();
    txtSel->show();
    txtAF_Comp->hide();
}

void frmSubZ::btnCamera_Click()
{
    SelCameraDlg dlg(this);
    if (dlg.exec() == QDialog::Accepted && dlg.chosen() >= 0)
        labCamera->setCaption(dlg.List1->item(dlg.chosen())->text());
}
