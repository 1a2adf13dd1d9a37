// Init: what the opened microscope consists of, and the panel made to match.
// Then the observation start-up: link settings, control limits, custom values,
// stored stage offsets and the present values of the devices.
#include "main/app/frmMain.h"

#include "core/DeviceTables.h"
#include "core/FormRegistry.h"
#include "core/MainState.h"
#include "core/MsgBox.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "core/mdlReadStatus.h"
#include "main/widgets/usrButton.h"
#include "main/widgets/usrPath_M.h"

#include <QSettings>

namespace {

const QString kXYSection = QStringLiteral("XY Stage");
const QString kZSection = QStringLiteral("Z Focus Drive");

} // namespace

void frmMain::setFrames(PanelFrame* const frames[2], bool visible) {
    for (int i = 0; i < 2; ++i)
        if (frames[i])
            frames[i]->setVisible(visible);
}

void frmMain::observeEntries(bool enabled, int from, int to) {
    for (int j = from; j <= to; ++j) {
        ui->labObserve[j]->setEnabled(enabled);
        ui->btnObserve[j]->setEnabled(enabled);
    }
}

// The user methods' names; on the stand an empty name shows "User" and its
// number, on a hub or the epi illuminator it stays as the service gives it.
void frmMain::customNames(bool userDefaults) {
    MainState& s = mainState();
    for (int16_t k = 7; k <= 12; ++k) {
        const QString name = s.micService->ObservationName(k);
        if (userDefaults && name.trimmed().isEmpty())
            ui->labObserveU[k - 6]->setCaption(QStringLiteral("User") + QString::number(k - 6));
        else
            ui->labObserveU[k - 6]->setCaption(name);
    }
}

void frmMain::readLimits(int16_t limitIndex, double& upper, double& lower, double& step) {
    MicroscopeService& svc = *mainState().micService;
    upper = svc.UpperLimit(limitIndex);
    lower = svc.LowerLimit(limitIndex);
    step = svc.Step(limitIndex);
}

void frmMain::Init() {
    MainState& s = mainState();
    MicroscopeService& svc = *s.micService;
    int step = 0;
    try {
        s.mFilterData.clear();
        s.mObjData.clear();
        s.mConData.clear();
        ui->labSystem->setCaption(QString());
        HubEpi = false;
        HubObserve = false;
        FormRegistry::unload(QStringLiteral("frmProfile"));

        auto append = [&](const QString& text) { ui->labSystem->setCaption(ui->labSystem->Caption() + text); };

        for (int i = 1; i <= 7; ++i) {
            s.MicUnit[i] = 0;
            switch (i) {
            case 1:
                if (svc.DeviceStatus(UnitIndex::Q7s) == 1) {
                    s.MicUnit[1] = 1;
                    append(QStringLiteral(" Q7s "));
                    ui->frmObserve->show();
                    ui->btnProfile->setEnabled(true);
                    observeEntries(true);
                    customNames(true);
                }
                break;
            case 2:
                if (svc.DeviceStatus(UnitIndex::HBX_A) == 1) {
                    s.MicUnit[2] = 1;
                    append(QStringLiteral(" HBX-A "));
                    HubObserve = true;
                    observeEntries(false);
                    if (s.MicUnit[1] == 0) {
                        for (int m : {4, 5}) {
                            ui->labmenu[m]->setEnabled(false);
                            ui->btnmenu[m]->setEnabled(false);
                        }
                        HubObserve = false;
                        ui->usrMainPath->setScopeType(2);
                    }
                }
                break;
            case 3:
                if (svc.DeviceStatus(UnitIndex::HBX_B) == 1) {
                    s.MicUnit[3] = 1;
                    append(QStringLiteral(" HBX-B "));
                    HubEpi = true;
                    HubObserve = true;
                    if (s.MicUnit[1] == 0) {
                        ui->frmObserve->show();
                        ui->btnProfile->setEnabled(true);
                        ui->usrMainPath->setScopeType(1);
                        observeEntries(false);
                        customNames(false);
                        HubEpi = false;
                    }
                } else if (s.MicUnit[2] == 0) {
                    // The plain stand drawing.
                    ui->usrMainPath->setScopeType(0);
                    observeEntries(false);
                    HubObserve = true;
                }
                break;
            case 4:
                if (svc.DeviceStatus(UnitIndex::ZController) == 1) {
                    s.MicUnit[4] = 1;
                    append(QStringLiteral(" Z "));
                }
                break;
            case 5:
                if (svc.DeviceStatus(UnitIndex::Tolva) == 1) {
                    s.MicUnit[5] = 1;
                    append(QStringLiteral(" Tolva "));
                }
                break;
            case 6:
                if (svc.IsCameraPresent(currentItemData()) != 0) {
                    const QString unit = QString::number(svc.CameraUnit());
                    const QString unitName = s.CameraINI.Ini_ReadStr(QStringLiteral("CameraUnit"), unit, QStringLiteral("CU-K5"));
                    append(QStringLiteral(" ") + unitName + QStringLiteral(" "));
                    if (unitName != QLatin1String("CU-K5")) {
                        const QString head = QString::number(svc.CameraHead());
                        CameraHeadName = s.CameraINI.Ini_ReadStr(QStringLiteral("CameraHead"), head, QStringLiteral("Unknown"));
                        CameraAutoFocus = s.CameraINI.Ini_ReadInt(QStringLiteral("CameraAF"), head, 0) == 1;
                        FormRegistry::call(QStringLiteral("frmSubZ"), "Camera_Set");
                    }
                    s.MicUnit[6] = 1;
                }
                break;
            case 7:
                if (svc.DeviceStatus(UnitIndex::E_LM_K) == 1) {
                    s.MicUnit[7] = 1;
                    append(QStringLiteral(" E-LM-K "));
                    HubEpi = true;
                    HubObserve = true;
                    ui->frmObserve->show();
                    ui->btnProfile->setEnabled(true);
                    observeEntries(true, 1, 1);
                    observeEntries(true, 4, 4);
                    customNames(false);
                    ui->usrMainPath->setScopeType(4);
                    s.mPath.setPATH(1);
                    ui->usrMainPath->setPathState(1);
                }
                break;
            default:
                ui->labSystem->setCaption(QStringLiteral("unknown"));
            }
        }

        auto observationOne = [&] {
            if ((HubEpi || HubObserve) && s.MicUnit[1] != 0)
                observeEntries(true, 1, 1);
        };
        observationOne();

        double up = 0, low = 0, stp = 0;
        auto mounted = [&](int16_t device) { return svc.IsMounted(device) == 1; };

        // 1 nosepiece
        step = 1;
        if (mounted(DeviceIndex::Nosepiece)) {
            setFrames(ui->frmObj, true);
            if (svc.IsReadOnly(DeviceIndex::Nosepiece) != 0) {
                s.mObj.setSETUP(3);
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
            setFrames(ui->frmObj, false);
            s.mObj.setSETUP(0);
            FormRegistry::unload(QStringLiteral("frmSubObj"));
        }

        // 2 condenser
        step = 2;
        if (mounted(DeviceIndex::CondenserCassette)) {
            setFrames(ui->frmCondenser, true);
            s.mCon.setSETUP(svc.IsReadOnly(DeviceIndex::CondenserCassette) != 0 ? 3 : 1);
            if (!CondenserData_Init(s))
                setFrames(ui->frmCondenser, false);
        } else {
            setFrames(ui->frmCondenser, false);
            s.mCon.setSETUP(0);
            FormRegistry::unload(QStringLiteral("frmSubCond"));
            if (s.MicUnit[7] != 1)
                observeEntries(false);
        }

        // 3..5 aperture stop, field stop, ND filter
        struct StopStep { int16_t device; int16_t limit; clsDefStop* stop; PanelFrame* const* frames; const char* panel; };
        const StopStep stops[] = {
            {DeviceIndex::ApertureStop, LimitIndex::ApertureStop, &s.mAS, ui->frmAp, "frmSubAp"},
            {DeviceIndex::FieldStop, LimitIndex::FieldStop, &s.mFS, ui->frmFS, "frmSubFS"},
            {DeviceIndex::NDFilter, LimitIndex::NDFilter, &s.mND, ui->frmND, "frmSubND"},
        };
        for (const StopStep& st : stops) {
            ++step;
            if (mounted(st.device)) {
                setFrames(st.frames, true);
                st.stop->setSETUP(1);
                readLimits(st.limit, up, low, stp);
                st.stop->setMAX(up);
                st.stop->setMIN(low);
                st.stop->setAMOUNT(stp);
            } else {
                setFrames(st.frames, false);
                st.stop->setSETUP(0);
                FormRegistry::unload(QLatin1String(st.panel));
            }
        }

        // 6 lamp
        step = 6;
        if (mounted(DeviceIndex::Lamp)) {
            setFrames(ui->frmLamp, true);
            ui->imgBack->show();
            for (usrButton* b : ui->btnClamp)
                if (b) b->setEnabled(true);
            s.mLamp.setSETUP(1);
            readLimits(LimitIndex::Lamp, up, low, stp);
            s.mLamp.setMAX(up);
            s.mLamp.setMIN(low);
            s.mLamp.setAMOUNT(stp);
        } else {
            setFrames(ui->frmLamp, false);
            ui->imgBack->hide();
            for (usrButton* b : ui->btnClamp)
                if (b) b->setEnabled(false);
            s.mLamp.setSETUP(0);
            ui->LampCmd[0]->setCaption(QString());
            ui->LampCmd[1]->setCaption(QString());
            FormRegistry::unload(QStringLiteral("frmSubLamp"));
        }

        // 7 filter cubes
        step = 7;
        if (mounted(DeviceIndex::FilterBlockCassette)) {
            setFrames(ui->frmFilter, true);
            ui->btnEX->show();
            ui->btnBa->show();
            s.mFilter.setSETUP(svc.IsReadOnly(DeviceIndex::FilterBlockCassette) != 0 ? 3 : 1);
            if (!FilterCube_Init(s))
                setFrames(ui->frmFilter, false);
        } else {
            setFrames(ui->frmFilter, false);
            s.mFilter.setSETUP(0);
            ui->btnEX->hide();
            ui->btnBa->hide();
            ui->usrMainPath->ClearExColor();
            ui->usrMainPath->ClearBaColor();
            FormRegistry::unload(QStringLiteral("frmSubFilter"));
        }

        // 8 analyzer
        step = 8;
        setFrames(ui->frmAnalyzer, mounted(DeviceIndex::Analyzer));

        // 9 epi field stop
        step = 9;
        if (mounted(DeviceIndex::EpiFieldStop)) {
            setFrames(ui->frmEpiFS, true);
            s.mEpiFS.setSETUP(1);
            readLimits(LimitIndex::EpiFieldStop, up, low, stp);
            s.mEpiFS.setMAX(up);
            s.mEpiFS.setMIN(low);
            s.mEpiFS.setAMOUNT(stp);
        } else {
            setFrames(ui->frmEpiFS, false);
            s.mEpiFS.setSETUP(0);
            FormRegistry::unload(QStringLiteral("frmSubEpiFS"));
        }

        // 10 epi shutter: on the stand's drawing, or on the illuminator's.
        step = 10;
        if (mounted(DeviceIndex::EpiShutter)) {
            setFrames(ui->frmShutter, true);
            if (s.MicUnit[7] != 1) {
                ui->frmShutter[0]->setTop(2250);
                ui->frmShutter[0]->setLeft(5920);
                ui->frmShutter[0]->setBackColor(MainPanel::kShutterOnStand);
            } else {
                ui->frmShutter[0]->setTop(1790);
                ui->frmShutter[0]->setLeft(5995);
                ui->frmShutter[0]->setBackColor(MainPanel::kShutterOnEpi);
            }
        } else {
            setFrames(ui->frmShutter, false);
        }

        // 11 light path
        step = 11;
        if (mounted(DeviceIndex::LightPathDrive)) {
            setFrames(ui->frmPath, true);
            if (svc.IsReadOnly(DeviceIndex::LightPathDrive) != 0) {
                ui->usrMainPath->setScopeType(svc.PathSubType(DeviceIndex::LightPathDrive) == 0 ? 2 : 3);
                s.mPath.setSETUP(3);
                ui->PathLink->hide();
                ui->labPathLink->hide();
            } else {
                ui->usrMainPath->setScopeType(1);
                s.mPath.setSETUP(1);
                ui->PathLink->show();
                ui->labPathLink->show();
                s.mPath.setLINK(svc.LightPathDriveIsInterlockEnabled());
                ui->PathLink->setValue(s.mPath.LINK());
            }
        } else {
            setFrames(ui->frmPath, false);
            if (s.MicUnit[7] != 1)
                ui->usrMainPath->setScopeType(0);
            s.mPath.setSETUP(0);
            ui->PathLink->hide();
            ui->labPathLink->hide();
            FormRegistry::unload(QStringLiteral("frmSubPath"));
        }

        // 12 zoom
        step = 12;
        if (mounted(DeviceIndex::OpticalZoom)) {
            setFrames(ui->frmZoom, true);
            const bool readOnly = svc.IsReadOnly(DeviceIndex::OpticalZoom) != 0;
            s.mZoom.setSETUP(readOnly ? 3 : 1);
            ui->ZoomLink->setVisible(!readOnly);
            ui->labZoomLink->setVisible(!readOnly);
            ui->frmScroll->setVisible(!readOnly);
            if (!readOnly) {
                s.mZoom.setLINK(svc.OpticalZoomIsInterlockEnabled());
                ui->ZoomLink->setValue(s.mZoom.LINK() != 0 ? 1 : 0);
            }
            readLimits(LimitIndex::OpticalZoom, up, low, stp);
            s.mZoom.setMAX(up);
            s.mZoom.setMIN(low);
            s.mZoom.setAMOUNT(stp);
        } else {
            setFrames(ui->frmZoom, false);
            s.mZoom.setSETUP(0);
            ui->ZoomLink->hide();
            ui->labZoomLink->hide();
            ui->frmScroll->hide();
            FormRegistry::unload(QStringLiteral("frmSubZoom"));
        }

        // 13 Z drive
        step = 13;
        if (mounted(DeviceIndex::ZDrive)) {
            setFrames(ui->frmZ, true);
            s.mZ.setSETUP(1);
            readLimits(LimitIndex::ZDrive, up, low, stp);
            s.mZ.setMAX(vb::toInt32(up));
            s.mZ.setMIN(vb::toInt32(low));
            s.mZ.setSTEP(vb::toInt32(stp));
            // The service's range is the control range until the operator's
            // own is read at the observation start-up.
            s.mZ.curScllMax = s.mZ.MAX();
            s.mZ.curScllMin = s.mZ.MIN();
            const int32_t upper = svc.ZUpperLimit();
            s.mZ.setUpperLimit(upper);
            if (s.mZ.curScllMin > upper)
                MsgBox::show(QStringLiteral("Upper Limit lower than Lower Limit."), MsgBox::OKOnly, MsgBox::Exclamation);
        } else {
            setFrames(ui->frmZ, false);
            s.mZ.setSETUP(0);
            FormRegistry::unload(QStringLiteral("frmSubZ"));
        }

        // 14 XY stage
        step = 14;
        if (mounted(DeviceIndex::XYDrive)) {
            setFrames(ui->frmXY, true);
            s.mXY.setSETUP(1);
            readLimits(LimitIndex::XYDriveX, up, low, stp);
            s.mXY.setXMAX(vb::toInt32(up));
            s.mXY.setXMIN(vb::toInt32(low));
            s.mXY.setXSTEP(vb::toInt32(stp));
            readLimits(LimitIndex::XYDriveY, up, low, stp);
            s.mXY.setYMAX(vb::toInt32(up));
            s.mXY.setYMIN(vb::toInt32(low));
            s.mXY.setYSTEP(vb::toInt32(stp));
            s.mXY.setXSCLMAX(s.mXY.XMAX());
            s.mXY.setXSCLMIN(s.mXY.XMIN());
            s.mXY.setYSCLMAX(s.mXY.YMAX());
            s.mXY.setYSCLMIN(s.mXY.YMIN());
            for (int16_t n = 0; n <= 4; ++n) {
                s.mXY.setXMemoryPos(n, s.INI.Ini_ReadInt(kXYSection, QStringLiteral("Memory_X%1").arg(n), -1));
                s.mXY.setYMemoryPos(n, s.INI.Ini_ReadInt(kXYSection, QStringLiteral("Memory_Y%1").arg(n), -1));
            }
        } else {
            setFrames(ui->frmXY, false);
            s.mXY.setSETUP(0);
            FormRegistry::unload(QStringLiteral("frmSubStage"));
        }

        observationOne();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Init Error ") + QString::number(step));
    }
}

// ---------------------------------------------------------------------------
// Observation start-up

void frmMain::readLinkSettings() {
    MainState& s = mainState();
    QSettings store(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Zentor"), QStringLiteral("Zentor"));
    store.beginGroup(QStringLiteral("LinkSetting"));
    auto value = [&](const char* key, bool& present) {
        const QVariant v = store.value(QLatin1String(key));
        present = v.isValid() && !v.toString().trimmed().isEmpty();
        return static_cast<int16_t>(vb::val(v.toString()) != 0 ? 1 : 0);
    };
    bool present = false;
    // A nosepiece that cannot move is always linked.
    int16_t obj = value("Obj", present);
    if (present && s.mObj.SETUP() == 1) {
        s.mObj.setLINK(obj);
        ui->ObjLink->setValue(obj);
    }
    int16_t zoom = value("Zoom", present);
    if (present && s.mZoom.SETUP() == 1) {
        s.mZoom.setLINK(zoom);
        ui->ZoomLink->setValue(zoom);
    }
    int16_t path = value("Path", present);
    if (present && s.mPath.SETUP() == 1) {
        s.mPath.setLINK(path);
        ui->PathLink->setValue(path);
    }
    store.endGroup();
}

void frmMain::ObservationStartup() {
    MainState& s = mainState();
    readLinkSettings();

    // The operator's control ranges; -1 keeps the service's range from Init.
    auto limit = [&](const QString& section, const char* key, int32_t fallback) {
        const int32_t v = s.INI.Ini_ReadInt(section, QLatin1String(key), -1);
        return v == -1 ? fallback : v;
    };
    s.mZ.curScllMax = limit(kZSection, "ControlMax", s.mZ.curScllMax);
    s.mZ.curScllMin = limit(kZSection, "ControlMin", s.mZ.curScllMin);
    s.mXY.setXSCLMAX(limit(kXYSection, "XControlMax", s.mXY.XSCLMAX()));
    s.mXY.setXSCLMIN(limit(kXYSection, "XControlMin", s.mXY.XSCLMIN()));
    s.mXY.setYSCLMAX(limit(kXYSection, "YControlMax", s.mXY.YSCLMAX()));
    s.mXY.setYSCLMIN(limit(kXYSection, "YControlMin", s.mXY.YSCLMIN()));
    m_limitsRead = true;

    Status_Read(s);

    // The stage position stored for each objective.
    if (s.mXY.SETUP() != 0) {
        try {
            for (int16_t a = 1; a <= s.mObj.MAX(); ++a) {
                QString reply;
                s.micService->SendCommand(QStringLiteral("rXPR") + QString::number(a), reply);
                s.mXY.setXOffset(a, vb::toInt32(Common_Val(reply.mid(1, 7))));
                s.mXY.setYOffset(a, vb::toInt32(Common_Val(reply.mid(8, 7))));
            }
        } catch (const std::exception&) {
            MsgBox::show(QStringLiteral("XYDrive_Offset Read Error"));
        }
    }

    showPresentValues();
}

// The present value of every fitted device, shown as its event would show it.
void frmMain::showPresentValues() {
    MainState& s = mainState();
    MicroscopeService& svc = *s.micService;
    QString current;
    int16_t Step = 0;
    try {
        auto show = [&](const char* name, const QString& value) {
            current = QLatin1String(name);
            dispatch(current, value, Step);
        };
        auto num = [](double v) { return vb::numberText(v); };
        if (s.mPath.SETUP() != 0)
            show("AppLightPathDriveLightPath", QString::number(svc.LightPathDriveLightPath()));
        if (s.mObj.SETUP() != 0)
            show("AppNosepiecePosition", QString::number(svc.NosepiecePosition()));
        if (s.mLamp.SETUP() != 0) {
            show("AppLampIsOn", QString::number(svc.LampIsOn()));
            show("AppLampIsPreset", QString::number(svc.LampIsPreset()));
            show("AppLampControlVoltage", num(svc.LampControlVoltage()));
        }
        if (s.mZoom.SETUP() != 0)
            show("AppOpticalZoomZoom", num(svc.OpticalZoomZoom()));
        if (s.mFS.SETUP() != 0)
            show("AppFieldStopFieldStop", num(svc.FieldStopFieldStop()));
        if (s.mND.SETUP() != 0)
            show("AppNDFilterTransmission", num(svc.NDFilterTransmission()));
        if (s.mAS.SETUP() != 0)
            show("AppApertureStopApertureStop", num(svc.ApertureStopApertureStop()));
        if (s.mCon.SETUP() != 0)
            show("AppCondenserCassettePosition", QString::number(svc.CondenserCassettePosition()));
        if (s.mEpiFS.SETUP() != 0)
            show("AppEpiFieldStopFieldStop", num(svc.EpiFieldStopFieldStop()));
        if (s.mFilter.SETUP() != 0)
            show("AppFilterBlockCassettePosition", QString::number(svc.FilterBlockCassettePosition()));
        if (svc.IsMounted(DeviceIndex::Analyzer) == 1)
            show("AppAnalyzerIsInserted", QString::number(svc.AnalyzerIsInserted() == 1 ? 1 : 2));
        if (svc.IsMounted(DeviceIndex::EpiShutter) == 1)
            show("AppEpiShutterIsOpened", QString::number(svc.EpiShutterIsOpened()));
        if (s.mZ.SETUP() != 0)
            show("AppZDriveZPosition", QString::number(svc.ZDriveZPosition()));
        if (s.mXY.SETUP() != 0) {
            show("AppXYDriveXPosition", QString::number(svc.XYDriveXPosition()));
            show("AppXYDriveYPosition", QString::number(svc.XYDriveYPosition()));
        }
        show("AppPresetsObservationMode", QString::number(svc.PresetsObservationMode()));
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Status Read Error : ") + current);
    }
}
