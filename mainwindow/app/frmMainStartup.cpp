// The observation start-up after Init: the three link values, the operator's
// control limits, the custom values of the stops, the stored stage offsets,
// and the present value of every fitted device.
#include "mainwindow/app/frmMain.h"

#include "state/MainState.h"
#include "state/MsgBox.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "state/mdlReadStatus.h"
#include "core/settings/SettingsPaths.h"

#include <QSettings>

namespace {

const QString kXYSection = QStringLiteral("XY Stage");
const QString kZSection = QStringLiteral("Z Focus Drive");

} // namespace

// The three link values the last run saved. A device that cannot move keeps
// the link Init gave it (a nosepiece turned by hand is always linked).
void frmMain::readLinkSettings() {
    MainState& s = mainState();
    const std::unique_ptr<QSettings> store = SettingsPaths::LinkStore();
    if (!store)
        return;
    store->beginGroup(QStringLiteral("LinkSetting"));
    auto apply = [&](const char* key, auto& object, auto* box) {
        const QString text = store->value(QLatin1String(key)).toString();
        if (text.trimmed().isEmpty() || object.SETUP() != 1)
            return;
        const int16_t link = vb::val(text) != 0 ? 1 : 0;
        object.setLINK(link);
        box->setValue(link);
    };
    apply("Obj", s.mObj, ui->ObjLink);
    apply("Zoom", s.mZoom, ui->ZoomLink);
    apply("Path", s.mPath, ui->PathLink);
    store->endGroup();
}

void frmMain::ObservationStartup() {
    MainState& s = mainState();
    readLinkSettings();

    // The operator's control ranges; an absent key (-1) takes the drive's
    // range that Init read.
    auto limit = [&](const QString& section, const char* key, int32_t fallback) {
        const int32_t v = s.INI.Ini_ReadInt(section, QLatin1String(key), -1);
        return v == -1 ? fallback : v;
    };
    s.mZ.curScllMax = limit(kZSection, "ControlMax", s.mZ.MAX());
    s.mZ.curScllMin = limit(kZSection, "ControlMin", s.mZ.MIN());
    s.mXY.setXSCLMAX(limit(kXYSection, "XControlMax", s.mXY.XMAX()));
    s.mXY.setXSCLMIN(limit(kXYSection, "XControlMin", s.mXY.XMIN()));
    s.mXY.setYSCLMAX(limit(kXYSection, "YControlMax", s.mXY.YMAX()));
    s.mXY.setYSCLMIN(limit(kXYSection, "YControlMin", s.mXY.YMIN()));

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
            // A failed read of the stage's stored positions is a stage
            // position read, and says so.
            MsgBox::show(QStringLiteral("XY_Position Read Error"));
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
        if (s.mFilter.SETUP() != 0) {
            current = QStringLiteral("AppFilterBlockCassettePosition");
            const int16_t a = svc.FilterBlockCassettePosition();
            if (a != 0)
                showFilter(a, true);
        }
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
        // The observation read at opening lights an entry by the objective and
        // condenser set-ups as well as the units, as the event does.
        current = QStringLiteral("AppPresetsObservationMode");
        s.ObservationNow = svc.PresetsObservationMode();
        ObservationIndex = s.ObservationNow;
        ui->ShowObservation();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Status Read Error : ") + current);
    }
}
