// Init: what the opened microscope consists of. The unit loop here finds the
// stand, hubs, controllers, camera and epi illuminator and sets the panel's
// caption and observation entries; the device steps follow (frmMainDevices.cpp).
#include "mainwindow/app/frmMain.h"

#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

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
                    ui->ShowObserveSection();
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
                        ui->ShowObserveSection();
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
                    ui->ShowObserveSection();
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

        deviceSteps(step);

        observationOne();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Init Error ") + QString::number(step));
    }
}
