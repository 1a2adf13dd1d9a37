#pragma once
// The focus and stage panels' world in one test: the device panels' rig (a
// simulated stand in process, recorded message boxes, the INI file in the
// test's home) with the motion panels registered, the focus, stage and
// objective models loaded as Init loads them, and the part of the main
// window's dispatch these panels depend on: positions and escape reported by
// the stand reach mZ and mXY, then the open panel.
#include "devicepanels/optics/tests/PanelRig.h"
#include "devicepanels/motion/MotionPanels.h"
#include "core/base/mdlCommon.h"
#include "core/base/VbConvert.h"

struct MotionRig : PanelRig {
    QMetaObject::Connection dispatch;

    explicit MotionRig(const QStringList& descriptions = {shippedStand("full-system.json")})
        : PanelRig(descriptions) {
        registerMotionPanels(&owner);
        loadModels();
        dispatch = QObject::connect(&mic, &MicroscopeService::OnPropertyChanged, [](const QString& e) {
            MainState& s = mainState();
            const QString name = e.section(QLatin1Char(':'), 0, 0);
            const QString v = e.section(QLatin1Char(':'), 1);
            if (name == QLatin1String("AppZDriveZPosition")) {
                s.mZ.setValue(int32_t(Common_Val(v)));
                FormRegistry::refresh(QStringLiteral("frmSubZ"), "ZDriveValue_Set");
            } else if (name == QLatin1String("AppXYDriveXPosition")) {
                s.mXY.setXCount(int32_t(Common_Val(v)));
                FormRegistry::refresh(QStringLiteral("frmSubStage"), "XYPosition_Refresh");
            } else if (name == QLatin1String("AppXYDriveYPosition")) {
                s.mXY.setYCount(int32_t(Common_Val(v)));
                FormRegistry::refresh(QStringLiteral("frmSubStage"), "XYPosition_Refresh");
            } else if (name == QLatin1String("AppZDriveIsZEscape") || name == QLatin1String("AppXYZDriveIsEscape")) {
                s.mZ.setEsc(int16_t(Common_Val(v)));
            } else if (name == QLatin1String("AppNosepiecePosition")) {
                s.mObj.setAddress(int16_t(Common_Val(v)));
            }
        });
    }
    ~MotionRig() { QObject::disconnect(dispatch); }

    void loadModels() {
        MainState& s = mainState();
        s.MicUnit = {0, 1, 1, 0, 1, 1, mic.IsCameraPresent(1) != 0 ? int16_t(1) : int16_t(0), 0};
        s.mObj.setSETUP(1);
        s.mObj.setMIN(int16_t(mic.LowerLimit(LimitIndex::Nosepiece)));
        s.mObj.setMAX(int16_t(mic.UpperLimit(LimitIndex::Nosepiece)));
        s.mObj.setAddress(mic.NosepiecePosition());
        s.mObjData.clear();
        const QVector<double> rates = mic.ObjectiveRates();
        const QVector<double> nas = mic.ObjectiveNAs();
        for (int i = 0; i < rates.size(); ++i) {
            clsDefLens l;
            l.setRate(float(rates[i]));
            l.setNA(float(nas.value(i)));
            s.mObjData << l;
        }
        s.mZ.setSETUP(1);
        s.mZ.setMAX(int32_t(mic.UpperLimit(LimitIndex::ZDrive)));
        s.mZ.setMIN(int32_t(mic.LowerLimit(LimitIndex::ZDrive)));
        s.mZ.setSTEP(int32_t(mic.Step(LimitIndex::ZDrive)));
        s.mZ.setValue(mic.ZDriveZPosition());
        s.mXY.setSETUP(1);
        s.mXY.setXMAX(int32_t(mic.UpperLimit(LimitIndex::XYDriveX)));
        s.mXY.setXMIN(int32_t(mic.LowerLimit(LimitIndex::XYDriveX)));
        s.mXY.setYMAX(int32_t(mic.UpperLimit(LimitIndex::XYDriveY)));
        s.mXY.setYMIN(int32_t(mic.LowerLimit(LimitIndex::XYDriveY)));
        s.mXY.setXCount(mic.XYDriveXPosition());
        s.mXY.setYCount(mic.XYDriveYPosition());
        s.CameraINI.Ini_SetPath(QStringLiteral(ZENTOR_CAMERA_INI));
    }
};
