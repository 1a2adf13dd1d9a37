// Renders the main panel in its large and its compact look, with plausible
// readings, to PNG files for looking at it by eye:
//   panel_preview [output folder]   (default /work/screens/layout)
#include "main/panel/MainPanel.h"
#include "main/widgets/usrPath_M.h"

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
    twin(p.FilterCmd, QStringLiteral("2 : GFP-B"), QStringLiteral("2: GFP"));
    twin(p.ObjCmd, QStringLiteral("3: Plan Fluor  20x/0.50"), QStringLiteral("3 : 20x"));
    twin(p.Zcmd, QStringLiteral("1234.55 um"), QStringLiteral("1234.55 um"));
    twin(p.CONcmd, QStringLiteral("2 : Phase Ph1"), QStringLiteral("2 : Phase Ph1"));
    twin(p.APcmd, QStringLiteral("12.5 mm"), QStringLiteral("12.5 mm"));
    twin(p.FieldS, QStringLiteral("18 mm"), QStringLiteral("18 mm"));
    twin(p.LampCmd, QStringLiteral("6.5 V"), QStringLiteral("6.5 V"));
    twin(p.HBXField, QStringLiteral("9.5 mm"), QStringLiteral("9.5 mm"));
    twin(p.AnaCmd, QStringLiteral("OUT"), QStringLiteral("OUT"));
    twin(p.ShutterCmd, QStringLiteral("OPEN"), QStringLiteral("OPEN"));
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
} // namespace

int main(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication app(argc, argv);
    const QString out = argc > 1 ? QString::fromLocal8Bit(argv[1]) : QStringLiteral("/work/screens/layout");
    QDir().mkpath(out);
    MainPanel panel;
    fill(panel);
    panel.show();
    app.processEvents();
    panel.grab().save(out + "/large.png");
    panel.downObj_Click();
    app.processEvents();
    panel.grab().save(out + "/large-selector.png");
    panel.CloseSelectors();
    panel.btnmenu_Click(1);
    panel.btnGUIClose_Released();
    app.processEvents();
    panel.grab().save(out + "/compact.png");
    return 0;
}
