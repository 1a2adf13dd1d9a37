// Renders the main panel in its large and its compact look, with plausible
// readings, to PNG files for looking at it by eye: a full system, and the
// E-LM-K alone (only what that illuminator carries is shown):
//   panel_preview [output folder]   (default /work/screens/layout)
// The labels are written as the dispatch writes them: the large panel's
// analyzer and shutter labels are left to the drawing.
#include "state/MainState.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/usrPath_M.h"

#include <QApplication>
#include <QDir>
#include <QPixmap>

namespace {
void twin(PanelLabel* const (&labels)[2], const QString& large, const QString& compact)
{
    labels[0]->setCaption(large);
    labels[1]->setCaption(compact);
}

void fill(MainPanel& p)
{
    p.labSystem->setCaption(QStringLiteral(" Q7s  HBX-B  Z  CU-K5 "));
    p.labMic->setCaption(QStringLiteral("Simulated Microscope"));
    twin(p.LightPathCmd, QStringLiteral("Binocular 100%"), QStringLiteral("Bino"));
    twin(p.ZoomCmd, QStringLiteral("1.5 x"), QStringLiteral("1.5 x"));
    twin(p.FilterCmd, QStringLiteral("3 : BLUE-EX470"), QStringLiteral("3: BLUE-EX470"));
    twin(p.ObjCmd, QStringLiteral("3: PF  PlanFluor 20x/0.50"), QStringLiteral("3 : 20x"));
    twin(p.Zcmd, QStringLiteral("1234.55 um"), QStringLiteral("1234.55 um"));
    twin(p.CONcmd, QStringLiteral("2 : Phase Ph1"), QStringLiteral("2 : Phase Ph1"));
    twin(p.APcmd, QStringLiteral("12.5 mm"), QStringLiteral("12.5 mm"));
    twin(p.FieldS, QStringLiteral("18 mm"), QStringLiteral("18 mm"));
    twin(p.LampCmd, QStringLiteral("6.5 V"), QStringLiteral("6.5 V"));
    twin(p.HBXField, QStringLiteral("9.5 mm"), QStringLiteral("9.5 mm"));
    p.AnaCmd[1]->setCaption(QStringLiteral("OUT"));
    p.ShutterCmd[1]->setCaption(QStringLiteral("OPEN"));
    twin(p.NDcmd, QStringLiteral("25 %"), QStringLiteral("25 %"));
    twin(p.Xcmd, QStringLiteral("X  -1520.5 um"), QStringLiteral("-1520.5 um"));
    twin(p.Ycmd, QStringLiteral("Y  3310 um"), QStringLiteral("3310 um"));
    twin(p.FiberTxt, QStringLiteral(" 50 %"), QStringLiteral(" 50 %"));
    p.usrMainPath->setScopeType(1);
    p.usrMainPath->setPathState(1);
    p.usrMainPath->ShowLampOn();
    p.usrMainPath->ShowShutterOpen();
    p.usrMainPath->setExColor(0xFF8000);
    p.usrMainPath->setBaColor(0x00C000);
    // The zoom mark where the dispatch puts it for 1.5 x.
    const int left = int((1.5 - 0.8) * 10 * 135) + p.ZoomScaleLeft - MainPanel::kZoomHalfWidth;
    p.imgClick->setLeft(left);
    p.img1->setLeft(left);
    p.PathLink->setValue(1);
    p.SetObserveSelected(4);
    p.ObservationShown = 4;
    p.btnObserve_MouseMove(2);
}

// What Init leaves of the panel for the E-LM-K alone: nosepiece, cube,
// condenser, epi field stop, shutter on the illuminator's drawing, ND; the
// lamp is off.
void smallSystem(MainPanel& p)
{
    for (PanelFrame* const* f : {p.frmPath, p.frmZoom, p.frmZdrive, p.frmAp, p.frmFS, p.frmLamp,
                                 p.frmAnalyzer, p.frmStage, p.frmFiber})
        for (int i = 0; i < 2; ++i)
            f[i]->setVisible(false);
    p.frmShutter[0]->setTop(1790);
    p.frmShutter[0]->setLeft(5995);
    p.frmShutter[0]->setBackColor(MainPanel::kShutterOnEpi);
    p.labSystem->setCaption(QStringLiteral(" E-LM-K "));
    p.usrMainPath->setScopeType(4);
    p.usrMainPath->ShowLampOff();
    p.usrMainPath->ShowShutterClose();
    p.ShutterCmd[1]->setCaption(QStringLiteral("CLOSE"));
    twin(p.FilterCmd, QStringLiteral("1 : NONE"), QStringLiteral("1: NONE"));
    twin(p.ObjCmd, QStringLiteral("1: PL  Plan 4x/0.10"), QStringLiteral("1 : 4x"));
    twin(p.CONcmd, QStringLiteral("1 : BF"), QStringLiteral("1 : BF"));
    twin(p.HBXField, QStringLiteral("5 mm"), QStringLiteral("5 mm"));
    twin(p.NDcmd, QStringLiteral("100 %"), QStringLiteral("100 %"));
}
} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/work/screens/layout");
    QDir().mkpath(out);
    {
        MainPanel panel;
        fill(panel);
        panel.show();
        app.processEvents();
        panel.downObj_Click();
        app.processEvents();
        panel.grab().save(out + "/large-selector.png");
        panel.CloseSelectors();
        // Readings shown as with a microscope open (the drawing's hints).
        mainState().MicConnected = true;
        app.processEvents();
        panel.grab().save(out + "/large.png");
        panel.btnmenu_Click(1);
        panel.btnGUIClose_Released();
        app.processEvents();
        panel.grab().save(out + "/compact.png");
        mainState().MicConnected = false;
    }
    {
        MainPanel panel;
        fill(panel);
        smallSystem(panel);
        mainState().MicConnected = true;
        panel.show();
        app.processEvents();
        panel.grab().save(out + "/small-large.png");
        panel.btnGUIClose_Released();
        app.processEvents();
        panel.grab().save(out + "/small-compact.png");
        mainState().MicConnected = false;
    }
    return 0;
}
