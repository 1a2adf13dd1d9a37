#include "core/service/conformance/DeviceTable.h"

namespace DeviceTable {

using MS = MicroscopeService;

const QVector<ValueDevice>& valueDevices()
{
    static const QVector<ValueDevice> rows = {
        ValueDevice("nosepiece").mountedAs(DeviceIndex::Nosepiece).limitedBy(LimitIndex::Nosepiece).isTurret()
            .readBy("NosepiecePosition", &MS::NosepiecePosition)
            .writtenBy("setNosepiecePosition", &MS::setNosepiecePosition).reportedAs("AppNosepiecePosition"),
        ValueDevice("filter cubes").mountedAs(DeviceIndex::FilterBlockCassette)
            .limitedBy(LimitIndex::FilterBlockCassette).isTurret()
            .readBy("FilterBlockCassettePosition", &MS::FilterBlockCassettePosition)
            .writtenBy("setFilterBlockCassettePosition", &MS::setFilterBlockCassettePosition)
            .reportedAs("AppFilterBlockCassettePosition"),
        ValueDevice("condenser").mountedAs(DeviceIndex::CondenserCassette).limitedBy(LimitIndex::CondenserCassette)
            .isTurret()
            .readBy("CondenserCassettePosition", &MS::CondenserCassettePosition)
            .writtenBy("setCondenserCassettePosition", &MS::setCondenserCassettePosition)
            .reportedAs("AppCondenserCassettePosition"),
        ValueDevice("light path").mountedAs(DeviceIndex::LightPathDrive)
            .readBy("LightPathDriveLightPath", &MS::LightPathDriveLightPath)
            .writtenBy("setLightPathDriveLightPath", &MS::setLightPathDriveLightPath)
            .reportedAs("AppLightPathDriveLightPath"),
        ValueDevice("zoom").mountedAs(DeviceIndex::OpticalZoom).limitedBy(LimitIndex::OpticalZoom)
            .readBy("OpticalZoomZoom", &MS::OpticalZoomZoom)
            .writtenBy("setOpticalZoomZoom", &MS::setOpticalZoomZoom).reportedAs("AppOpticalZoomZoom"),
        ValueDevice("aperture stop").mountedAs(DeviceIndex::ApertureStop).limitedBy(LimitIndex::ApertureStop)
            .readBy("ApertureStopApertureStop", &MS::ApertureStopApertureStop)
            .writtenBy("setApertureStopApertureStop", &MS::setApertureStopApertureStop)
            .reportedAs("AppApertureStopApertureStop"),
        ValueDevice("field stop").mountedAs(DeviceIndex::FieldStop).limitedBy(LimitIndex::FieldStop)
            .readBy("FieldStopFieldStop", &MS::FieldStopFieldStop)
            .writtenBy("setFieldStopFieldStop", &MS::setFieldStopFieldStop).reportedAs("AppFieldStopFieldStop"),
        ValueDevice("epi field stop").mountedAs(DeviceIndex::EpiFieldStop).limitedBy(LimitIndex::EpiFieldStop)
            .readBy("EpiFieldStopFieldStop", &MS::EpiFieldStopFieldStop)
            .writtenBy("setEpiFieldStopFieldStop", &MS::setEpiFieldStopFieldStop)
            .reportedAs("AppEpiFieldStopFieldStop"),
        ValueDevice("ND filter").mountedAs(DeviceIndex::NDFilter).limitedBy(LimitIndex::NDFilter)
            .readBy("NDFilterTransmission", &MS::NDFilterTransmission)
            .writtenBy("setNDFilterTransmission", &MS::setNDFilterTransmission).reportedAs("AppNDFilterTransmission"),
        ValueDevice("lamp voltage").mountedAs(DeviceIndex::Lamp).limitedBy(LimitIndex::Lamp)
            .readBy("LampControlVoltage", &MS::LampControlVoltage)
            .writtenBy("setLampControlVoltage", &MS::setLampControlVoltage).reportedAs("AppLampControlVoltage"),
        ValueDevice("Z drive").mountedAs(DeviceIndex::ZDrive).limitedBy(LimitIndex::ZDrive)
            .readBy("ZDriveZPosition", &MS::ZDriveZPosition)
            .writtenBy("setZDriveZPosition", &MS::setZDriveZPosition).reportedAs("AppZDriveZPosition"),
        ValueDevice("stage X").mountedAs(DeviceIndex::XYDrive).limitedBy(LimitIndex::XYDriveX)
            .readBy("XYDriveXPosition", &MS::XYDriveXPosition)
            .writtenBy("setXYDriveXPosition", &MS::setXYDriveXPosition).reportedAs("AppXYDriveXPosition"),
        ValueDevice("stage Y").mountedAs(DeviceIndex::XYDrive).limitedBy(LimitIndex::XYDriveY)
            .readBy("XYDriveYPosition", &MS::XYDriveYPosition)
            .writtenBy("setXYDriveYPosition", &MS::setXYDriveYPosition).reportedAs("AppXYDriveYPosition"),
    };
    return rows;
}

const QVector<ToggleDevice>& toggles()
{
    static const QVector<ToggleDevice> rows = {
        ToggleDevice("analyzer").mountedAs(DeviceIndex::Analyzer).readBy("AnalyzerIsInserted", &MS::AnalyzerIsInserted)
            .switchedBy("AnalyzerIn", &MS::AnalyzerIn, "AnalyzerOut", &MS::AnalyzerOut)
            .reportedAs("AppAnalyzerIsInserted:1", "AppAnalyzerIsInserted:2"),
        ToggleDevice("epi shutter").mountedAs(DeviceIndex::EpiShutter).readBy("EpiShutterIsOpened", &MS::EpiShutterIsOpened)
            .switchedBy("EpiShutterOpen", &MS::EpiShutterOpen, "EpiShutterClose", &MS::EpiShutterClose)
            .reportedAs("AppEpiShutterIsOpened:1", "AppEpiShutterIsOpened:0"),
        ToggleDevice("lamp").mountedAs(DeviceIndex::Lamp).readBy("LampIsOn", &MS::LampIsOn)
            .switchedBy("LampOn", &MS::LampOn, "LampOff", &MS::LampOff).reportedAs("AppLampIsOn:1", "AppLampIsOn:0"),
        ToggleDevice("nosepiece interlock").mountedAs(DeviceIndex::Nosepiece)
            .readBy("NosepieceIsInterlockEnabled", &MS::NosepieceIsInterlockEnabled)
            .writtenBy("setNosepieceIsInterlockEnabled", &MS::setNosepieceIsInterlockEnabled),
        ToggleDevice("light path interlock").mountedAs(DeviceIndex::LightPathDrive)
            .readBy("LightPathDriveIsInterlockEnabled", &MS::LightPathDriveIsInterlockEnabled)
            .writtenBy("setLightPathDriveIsInterlockEnabled", &MS::setLightPathDriveIsInterlockEnabled),
        ToggleDevice("zoom interlock").mountedAs(DeviceIndex::OpticalZoom)
            .readBy("OpticalZoomIsInterlockEnabled", &MS::OpticalZoomIsInterlockEnabled)
            .writtenBy("setOpticalZoomIsInterlockEnabled", &MS::setOpticalZoomIsInterlockEnabled),
    };
    return rows;
}

const QVector<ModeWord>& modeWords()
{
    static const QVector<ModeWord> rows = {
        ModeWord("nosepiece mode of the stage panel").mountedAs(DeviceIndex::Nosepiece)
            .readBy("NosepieceXYMode", &MS::NosepieceXYMode).writtenBy("setNosepieceXYMode", &MS::setNosepieceXYMode),
        ModeWord("nosepiece mode of the focus panel").mountedAs(DeviceIndex::Nosepiece)
            .readBy("NosepieceZMode", &MS::NosepieceZMode).writtenBy("setNosepieceZMode", &MS::setNosepieceZMode),
        ModeWord("stage mode").mountedAs(DeviceIndex::XYDrive)
            .readBy("XYDriveMode", &MS::XYDriveMode).writtenBy("setXYDriveMode", &MS::setXYDriveMode),
    };
    return rows;
}

QString deviceName(int16_t device)
{
    static const char* const names[] = {"",         "nosepiece",     "filter cubes",  "light path",  "condenser",
                                        "zoom",     "epi field stop", "analyzer",     "epi shutter", "lamp",
                                        "Z drive",  "XY stage",      "aperture stop", "field stop",  "ND filter"};
    return device >= 1 && device <= 14 ? QString::fromLatin1(names[device]) : QStringLiteral("device %1").arg(device);
}

} // namespace DeviceTable
