// The fourteen device steps of Init: which devices the microscope has, each
// parameter object's SETUP and limits, and the frames of the large and the
// compact panel shown or hidden to match. A device that is gone takes its
// open sub-panel with it.
#include "mainwindow/app/frmMain.h"

#include "state/DeviceTables.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "core/base/VbConvert.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

namespace {

// Upper, lower and step of a limit index, in this order, into an object's
// MAX, MIN and AMOUNT.
template <typename T>
void loadLimits(MicroscopeService& svc, int16_t limitIndex, T& object) {
    object.setMAX(svc.UpperLimit(limitIndex));
    object.setMIN(svc.LowerLimit(limitIndex));
    object.setAMOUNT(svc.Step(limitIndex));
}

// The same for a drive that counts in whole steps.
struct DriveLimits {
    int32_t upper, lower, step;
};
DriveLimits driveLimits(MicroscopeService& svc, int16_t limitIndex) {
    const double upper = svc.UpperLimit(limitIndex);
    const double lower = svc.LowerLimit(limitIndex);
    const double step = svc.Step(limitIndex);
    return {vb::toInt32(upper), vb::toInt32(lower), vb::toInt32(step)};
}

const QString kXYSection = QStringLiteral("XY Stage");

} // namespace

void frmMain::setFrames(PanelFrame* const frames[2], bool visible) {
    for (int i = 0; i < 2; ++i)
        if (frames[i])
            frames[i]->setVisible(visible);
}

bool frmMain::deviceStep(int16_t device, PanelFrame* const frames[2], const char* panel) {
    const bool mounted = mainState().micService->IsMounted(device) == 1;
    setFrames(frames, mounted);
    if (!mounted && panel)
        FormRegistry::unload(QLatin1String(panel));
    return mounted;
}

void frmMain::deviceSteps(int& step) {
    MainState& s = mainState();
    MicroscopeService& svc = *s.micService;

    step = 1; // nosepiece
    if (deviceStep(DeviceIndex::Nosepiece, ui->frmObj, "frmSubObj")) {
        if (svc.IsReadOnly(DeviceIndex::Nosepiece) != 0) {
            s.mObj.setSETUP(3);
            // A nosepiece turned by hand is always linked.
            ui->ObjLink->setValue(1);
            ui->ObjLink->setEnabled(false);
            FormRegistry::call(QStringLiteral("frmSubObj"), "LinkValue_Set", 1);
        } else {
            s.mObj.setSETUP(1);
            ui->ObjLink->setEnabled(true);
        }
        if (!ObjectiveData_Init(s))
            setFrames(ui->frmObj, false);
    } else {
        s.mObj.setSETUP(0);
    }

    step = 2; // condenser
    if (deviceStep(DeviceIndex::CondenserCassette, ui->frmCondenser, "frmSubCond")) {
        s.mCon.setSETUP(svc.IsReadOnly(DeviceIndex::CondenserCassette) != 0 ? 3 : 1);
        if (!CondenserData_Init(s))
            setFrames(ui->frmCondenser, false);
    } else {
        s.mCon.setSETUP(0);
        if (s.MicUnit[7] != 1)
            observeEntries(false);
    }

    // 3..5 aperture stop, field stop, ND filter; 9 the epi field stop.
    struct StopStep {
        int number;
        int16_t device, limit;
        clsDefStop* stop;
        PanelFrame* const* frames;
        const char* panel;
    };
    auto stopStep = [&](const StopStep& st) {
        step = st.number;
        const bool mounted = deviceStep(st.device, st.frames, st.panel);
        st.stop->setSETUP(mounted ? 1 : 0);
        if (mounted)
            loadLimits(svc, st.limit, *st.stop);
    };
    stopStep({3, DeviceIndex::ApertureStop, LimitIndex::ApertureStop, &s.mAS, ui->frmAp, "frmSubAp"});
    stopStep({4, DeviceIndex::FieldStop, LimitIndex::FieldStop, &s.mFS, ui->frmFS, "frmSubFS"});
    stopStep({5, DeviceIndex::NDFilter, LimitIndex::NDFilter, &s.mND, ui->frmND, "frmSubND"});

    step = 6; // lamp
    const bool lamp = deviceStep(DeviceIndex::Lamp, ui->frmLamp, "frmSubLamp");
    ui->imgBack->setVisible(lamp);
    for (usrButton* b : ui->btnClamp)
        if (b)
            b->setEnabled(lamp);
    s.mLamp.setSETUP(lamp ? 1 : 0);
    if (lamp) {
        loadLimits(svc, LimitIndex::Lamp, s.mLamp);
    } else {
        ui->LampCmd[0]->setCaption(QString());
        ui->LampCmd[1]->setCaption(QString());
    }

    step = 7; // filter cubes
    const bool cubes = deviceStep(DeviceIndex::FilterBlockCassette, ui->frmFilter, "frmSubFilter");
    ui->btnEX->setVisible(cubes);
    ui->btnBa->setVisible(cubes);
    if (cubes) {
        s.mFilter.setSETUP(svc.IsReadOnly(DeviceIndex::FilterBlockCassette) != 0 ? 3 : 1);
        if (!FilterCube_Init(s))
            setFrames(ui->frmFilter, false);
    } else {
        s.mFilter.setSETUP(0);
        ui->usrMainPath->ClearExColor();
        ui->usrMainPath->ClearBaColor();
    }

    step = 8; // analyzer
    deviceStep(DeviceIndex::Analyzer, ui->frmAnalyzer, nullptr);

    stopStep({9, DeviceIndex::EpiFieldStop, LimitIndex::EpiFieldStop, &s.mEpiFS, ui->frmEpiFS, "frmSubEpiFS"});

    step = 10; // epi shutter: on the stand's drawing, or on the illuminator's
    if (deviceStep(DeviceIndex::EpiShutter, ui->frmShutter, nullptr)) {
        const bool onEpi = s.MicUnit[7] == 1;
        ui->frmShutter[0]->setTop(onEpi ? 1790 : 2250);
        ui->frmShutter[0]->setLeft(onEpi ? 5995 : 5920);
        ui->frmShutter[0]->setBackColor(onEpi ? MainPanel::kShutterOnEpi : MainPanel::kShutterOnStand);
    }

    step = 11; // light path
    if (deviceStep(DeviceIndex::LightPathDrive, ui->frmPath, "frmSubPath")) {
        const bool readOnly = svc.IsReadOnly(DeviceIndex::LightPathDrive) != 0;
        if (readOnly)
            ui->usrMainPath->setScopeType(svc.PathSubType(DeviceIndex::LightPathDrive) == 0 ? 2 : 3);
        else
            ui->usrMainPath->setScopeType(1);
        s.mPath.setSETUP(readOnly ? 3 : 1);
        ui->PathLink->setVisible(!readOnly);
        ui->labPathLink->setVisible(!readOnly);
        if (!readOnly) {
            s.mPath.setLINK(svc.LightPathDriveIsInterlockEnabled());
            ui->PathLink->setValue(s.mPath.LINK() != 0 ? 1 : 0);
        }
    } else {
        if (s.MicUnit[7] != 1)
            ui->usrMainPath->setScopeType(0);
        s.mPath.setSETUP(0);
        ui->PathLink->hide();
        ui->labPathLink->hide();
    }

    step = 12; // zoom
    const bool zoom = deviceStep(DeviceIndex::OpticalZoom, ui->frmZoom, "frmSubZoom");
    const bool zoomMoves = zoom && svc.IsReadOnly(DeviceIndex::OpticalZoom) == 0;
    ui->ZoomLink->setVisible(zoomMoves);
    ui->labZoomLink->setVisible(zoomMoves);
    ui->frmScroll->setVisible(zoomMoves);
    if (zoom) {
        s.mZoom.setSETUP(zoomMoves ? 1 : 3);
        if (zoomMoves) {
            s.mZoom.setLINK(svc.OpticalZoomIsInterlockEnabled());
            ui->ZoomLink->setValue(s.mZoom.LINK() != 0 ? 1 : 0);
        }
        loadLimits(svc, LimitIndex::OpticalZoom, s.mZoom);
    } else {
        s.mZoom.setSETUP(0);
    }

    step = 13; // Z drive
    if (deviceStep(DeviceIndex::ZDrive, ui->frmZ, "frmSubZ")) {
        s.mZ.setSETUP(1);
        const DriveLimits z = driveLimits(svc, LimitIndex::ZDrive);
        s.mZ.setMAX(z.upper);
        s.mZ.setMIN(z.lower);
        s.mZ.setSTEP(z.step);
        // The operator's lower limit is the one this run holds so far: 0
        // before the first opening, as the INI's is read after Init.
        const int32_t upper = svc.ZUpperLimit();
        s.mZ.setUpperLimit(upper);
        if (s.mZ.curScllMin > upper)
            MsgBox::show(QStringLiteral("Upper Limit lower than Lower Limit."), MsgBox::OKOnly, MsgBox::Exclamation);
    } else {
        s.mZ.setSETUP(0);
    }

    step = 14; // XY stage
    if (deviceStep(DeviceIndex::XYDrive, ui->frmXY, "frmSubStage")) {
        s.mXY.setSETUP(1);
        const DriveLimits x = driveLimits(svc, LimitIndex::XYDriveX);
        s.mXY.setXMAX(x.upper);
        s.mXY.setXMIN(x.lower);
        s.mXY.setXSTEP(x.step);
        const DriveLimits y = driveLimits(svc, LimitIndex::XYDriveY);
        s.mXY.setYMAX(y.upper);
        s.mXY.setYMIN(y.lower);
        s.mXY.setYSTEP(y.step);
        // -1 marks an unused memory.
        for (int16_t n = 0; n <= 4; ++n) {
            s.mXY.setXMemoryPos(n, s.INI.Ini_ReadInt(kXYSection, QStringLiteral("Memory_X%1").arg(n), -1));
            s.mXY.setYMemoryPos(n, s.INI.Ini_ReadInt(kXYSection, QStringLiteral("Memory_Y%1").arg(n), -1));
        }
    } else {
        s.mXY.setSETUP(0);
    }
}
