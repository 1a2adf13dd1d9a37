#include "devicepanels/motion/mdlControl.h"

#include "devicepanels/motion/MotionPanelParts.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "core/base/mdlCommon.h"

#include <algorithm>

namespace {

// A turret one position down or up within its limits.
void turretStep(int16_t (MicroscopeService::*read)(), void (MicroscopeService::*write)(int16_t), int16_t limit,
                int delta)
{
    MicroscopeService& svc = *mainState().micService;
    const int16_t at = (svc.*read)();
    const int16_t lo = int16_t(svc.LowerLimit(limit));
    const int16_t hi = int16_t(svc.UpperLimit(limit));
    const int16_t to = int16_t(std::clamp(at + delta, int(lo), int(hi)));
    if (to != at)
        (svc.*write)(to);
}

void valueStep(double (MicroscopeService::*read)(), void (MicroscopeService::*write)(double), int16_t limit,
               int sign)
{
    MicroscopeService& svc = *mainState().micService;
    (svc.*write)((svc.*read)() + sign * svc.Step(limit));
}

void trace(const char* name, const char* member, int32_t position)
{
    try {
        Common_Log(QLatin1String(name) + QLatin1String(member) + QString::number(position));
    } catch (const std::exception&) {
        // No trace folder: the command itself has gone out.
    }
}

const char* nameOf(int n)
{
    if (n >= 29 && n <= 40) return "ObservationMode";
    switch (n) {
    case 1: case 2: return "Nosepiece";
    case 4: return "ZDrive_Escape";
    case 5: case 18: case 19: case 26: return "Lamp";
    case 6: return "LightPath";
    case 7: case 8: return "FieldStop";
    case 9: case 10: return "ApertureStop";
    case 11: case 12: return "FilterBlock";
    case 13: return "EpiShutter";
    case 14: case 15: return "Condenser";
    case 16: case 17: return "NDFilter";
    case 20: case 21: return "OpticalZoom";
    case 22: case 23: return "EpiFieldStop";
    case 24: return "Analyzer";
    case 27: return "AutoFocus";
    case 41: case 42: return "ZFocus";
    default: return "XYStage";
    }
}

void run(int n, MicroscopeService& svc)
{
    using S = MicroscopeService;
    switch (n) {
    case 1: turretStep(&S::NosepiecePosition, &S::setNosepiecePosition, LimitIndex::Nosepiece, -1); break;
    case 2: turretStep(&S::NosepiecePosition, &S::setNosepiecePosition, LimitIndex::Nosepiece, 1); break;
    case 4: svc.setZDriveIsZEscape(svc.ZDriveIsZEscape() != 0 ? 0 : 1); break;
    case 5: if (svc.LampIsPreset() == 0) svc.LampPreset(); break;
    case 6: {
        const int16_t p = svc.LightPathDriveLightPath();
        svc.setLightPathDriveLightPath(p == 1 ? 2 : p == 2 ? 3 : 1);
        break;
    }
    case 7: valueStep(&S::FieldStopFieldStop, &S::setFieldStopFieldStop, LimitIndex::FieldStop, 1); break;
    case 8: valueStep(&S::FieldStopFieldStop, &S::setFieldStopFieldStop, LimitIndex::FieldStop, -1); break;
    case 9: valueStep(&S::ApertureStopApertureStop, &S::setApertureStopApertureStop, LimitIndex::ApertureStop, 1); break;
    case 10: valueStep(&S::ApertureStopApertureStop, &S::setApertureStopApertureStop, LimitIndex::ApertureStop, -1); break;
    case 11: turretStep(&S::FilterBlockCassettePosition, &S::setFilterBlockCassettePosition, LimitIndex::FilterBlockCassette, -1); break;
    case 12: turretStep(&S::FilterBlockCassettePosition, &S::setFilterBlockCassettePosition, LimitIndex::FilterBlockCassette, 1); break;
    case 13: if (svc.EpiShutterIsOpened() != 0) svc.EpiShutterClose(); else svc.EpiShutterOpen(); break;
    case 14: turretStep(&S::CondenserCassettePosition, &S::setCondenserCassettePosition, LimitIndex::CondenserCassette, -1); break;
    case 15: turretStep(&S::CondenserCassettePosition, &S::setCondenserCassettePosition, LimitIndex::CondenserCassette, 1); break;
    case 16: svc.NDFilterStepDown(); break;
    case 17: svc.NDFilterStepUp(); break;
    case 18: valueStep(&S::LampControlVoltage, &S::setLampControlVoltage, LimitIndex::Lamp, 1); break;
    case 19: valueStep(&S::LampControlVoltage, &S::setLampControlVoltage, LimitIndex::Lamp, -1); break;
    case 20: valueStep(&S::OpticalZoomZoom, &S::setOpticalZoomZoom, LimitIndex::OpticalZoom, 1); break;
    case 21: valueStep(&S::OpticalZoomZoom, &S::setOpticalZoomZoom, LimitIndex::OpticalZoom, -1); break;
    case 22: valueStep(&S::EpiFieldStopFieldStop, &S::setEpiFieldStopFieldStop, LimitIndex::EpiFieldStop, 1); break;
    case 23: valueStep(&S::EpiFieldStopFieldStop, &S::setEpiFieldStopFieldStop, LimitIndex::EpiFieldStop, -1); break;
    case 24: if (svc.AnalyzerIsInserted() == 1) svc.AnalyzerOut(); else svc.AnalyzerIn(); break;
    case 26: if (svc.LampIsOn() != 0) svc.LampOff(); else svc.LampOn(); break;
    case 27: svc.ZDriveAutoFocus(); break;
    case 41:
    case 42: {   // both raise: the pad's established behaviour
        const int32_t z = motionParts::roundCount(svc.ZDriveZPosition() + svc.Step(LimitIndex::ZDrive) * 7.5);
        if (n == 41) trace("ZFocusPositionUp", ",Rapper.ZDrive_ZPosition=", z);
        svc.setZDriveZPosition(z);
        break;
    }
    case 43:
    case 44: {
        const double step = svc.Step(LimitIndex::XYDriveX) * 4;
        const int32_t x = motionParts::roundCount(svc.XYDriveXPosition() + (n == 43 ? step : -step));
        trace(n == 43 ? "XPositionPlus" : "XPositionMinus", ",Rapper.XYDrive_XPosition=", x);
        svc.setXYDriveXPosition(x);
        break;
    }
    case 45:
    case 46: {
        const double step = svc.Step(LimitIndex::XYDriveY) * 4;
        const int32_t y = motionParts::roundCount(svc.XYDriveYPosition() + (n == 45 ? step : -step));
        trace(n == 45 ? "YPositionPlus" : "YPositionMinus", ",Rapper.XYDrive_YPosition=", y);
        svc.setXYDriveYPosition(y);
        break;
    }
    default:
        if (n >= 29 && n <= 40)
            svc.setPresetsObservationMode(int16_t(n - 28));
        break;
    }
}

bool inert(int n) { return n < 1 || n >= 47 || n == 3 || n == 25 || n == 28; }

} // namespace

bool Control(int number)
{
    MainState& s = mainState();
    if (inert(number) || !s.MicConnected || !s.micService)
        return false;
    try {
        run(number, *s.micService);
    } catch (const std::exception&) {
        MsgBox::show(QLatin1String(nameOf(number)) + QStringLiteral(" Control Error"));
    }
    return true;
}
