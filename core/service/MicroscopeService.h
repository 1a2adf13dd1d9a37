#pragma once
// The microscope service as the panel sees it: every operation the panel asks
// of the stand, and the one event it redraws from. Two implementations stand
// behind it: the simulated stand called in process (tests), and the client of
// the service process on D-Bus (the running application).
//
// Rules that every implementation keeps:
// - Calls are synchronous. A move returns when the device has arrived.
// - While a call is pending, OnPropertyChanged is still delivered on the
//   caller's thread (positions stream during a move).
// - A failure throws RunTimeError carrying the service's 32-bit code; its last
//   three hexadecimal digits are "4BE" for a limit or interlock refusal and
//   "4B7" for a time-out. A refused call changes nothing.
// - Booleans are 16-bit words: 0 false, anything else true.
//
// Three numberings are in use and must not be mixed up:
// - device index (IsMounted, IsReadOnly, CustomValue): see DeviceIndex;
// - limit index (UpperLimit, LowerLimit, Step): see LimitIndex;
// - unit index (DeviceStatus, Version, EventLog): see UnitIndex.
#include "core/base/RunTimeError.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVector>
#include <cstdint>

namespace DeviceIndex {
enum : int16_t {
    Nosepiece = 1, FilterBlockCassette = 2, LightPathDrive = 3, CondenserCassette = 4,
    OpticalZoom = 5, EpiFieldStop = 6, Analyzer = 7, EpiShutter = 8, Lamp = 9,
    ZDrive = 10, XYDrive = 11, ApertureStop = 12, FieldStop = 13, NDFilter = 14,
};
}

namespace LimitIndex {
enum : int16_t {
    Nosepiece = 1, FilterBlockCassette = 2, CondenserCassette = 4, OpticalZoom = 5,
    EpiFieldStop = 6, Lamp = 9, ZDrive = 11, XYDriveX = 13, XYDriveY = 14,
    ApertureStop = 16, FieldStop = 17, NDFilter = 18,
};
}

namespace UnitIndex {
enum : int16_t {
    Q7s = 1, HBX_B = 2, HBX_A = 3, ZController = 4, Tolva = 5, E_LM_K = 6,
};
}

// The eleven command codes of one observation method, in the order of the
// service's ObservationPosition (which differs from the order of the file).
struct ObservationPositions {
    int32_t lamp = 0;
    int32_t nd = 0;
    int32_t fieldStop = 0;
    int32_t condenser = 0;
    int32_t apertureStop = 0;
    int32_t filter = 0;
    int32_t shutter = 0;
    int32_t analyzer = 0;
    int32_t objective = 0;
    int32_t path = 0;
    int32_t zoom = 0;
    bool operator==(const ObservationPositions& o) const {
        return lamp == o.lamp && nd == o.nd && fieldStop == o.fieldStop &&
               condenser == o.condenser && apertureStop == o.apertureStop &&
               filter == o.filter && shutter == o.shutter && analyzer == o.analyzer &&
               objective == o.objective && path == o.path && zoom == o.zoom;
    }
    bool operator!=(const ObservationPositions& o) const { return !(*this == o); }
};

class MicroscopeService : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~MicroscopeService() override = default;

    // --- connection and inventory -------------------------------------------
    // Opens the microscope with that index of GetDeviceNames.
    virtual void Connect(int16_t index) = 0;
    virtual void Disconnect() = 0;
    // Index 0 is the simulated microscope, 1.. the real ones; a list of one
    // (upper bound 0) means that nothing was found.
    virtual QStringList GetDeviceNames() = 0;
    virtual int16_t IsDeviceAvailable(int16_t index) = 0;
    // 1 when the unit is connected and alive; anything else means it is not.
    virtual int32_t DeviceStatus(int16_t unit) = 0;
    // Status word of a device: 0 not there, 1 mounted and usable, other values possible.
    virtual int32_t IsMounted(int16_t device) = 0;
    // Not 0 when the device reports its position but cannot be moved.
    virtual int32_t IsReadOnly(int16_t device) = 0;
    // Kind of a read-only light path.
    virtual int16_t PathSubType(int16_t device) = 0;
    virtual double UpperLimit(int16_t limitIndex) = 0;
    virtual double LowerLimit(int16_t limitIndex) = 0;
    virtual double Step(int16_t limitIndex) = 0;
    virtual QString Version(int16_t unit) = 0;
    // Entry 1.. of a unit's event log; every entry starts with a four-character
    // prefix that the export removes. Entries 1 to 100 always answer: a slot
    // after the end of a shorter log is the prefix alone. A damaged entry may
    // be shorter than its prefix.
    virtual QString EventLog(int16_t unit, int16_t entry) = 0;
    // About the microscope of that index of GetDeviceNames, not only the open one.
    virtual int16_t IsCameraPresent(int16_t index) = 0;
    virtual int16_t CameraUnit() = 0;
    virtual int16_t CameraHead() = 0;

    // --- nosepiece ------------------------------------------------------------
    virtual int16_t NosepiecePosition() = 0;
    virtual void setNosepiecePosition(int16_t position) = 0;
    virtual int16_t NosepieceIsInterlockEnabled() = 0;
    virtual void setNosepieceIsInterlockEnabled(int16_t enabled) = 0;
    virtual int16_t NosepieceXYMode() = 0;
    virtual void setNosepieceXYMode(int16_t mode) = 0;
    virtual int16_t NosepieceZMode() = 0;
    virtual void setNosepieceZMode(int16_t mode) = 0;

    // --- filter cubes, light path, condenser ------------------------------------
    virtual int16_t FilterBlockCassettePosition() = 0;
    virtual void setFilterBlockCassettePosition(int16_t position) = 0;
    virtual int16_t LightPathDriveLightPath() = 0;
    virtual void setLightPathDriveLightPath(int16_t path) = 0;
    virtual int16_t LightPathDriveIsInterlockEnabled() = 0;
    virtual void setLightPathDriveIsInterlockEnabled(int16_t enabled) = 0;
    virtual int16_t CondenserCassettePosition() = 0;
    virtual void setCondenserCassettePosition(int16_t position) = 0;

    // --- stops and ND (millimetres, per cent) ----------------------------------
    virtual double ApertureStopApertureStop() = 0;
    virtual void setApertureStopApertureStop(double mm) = 0;
    virtual double FieldStopFieldStop() = 0;
    virtual void setFieldStopFieldStop(double mm) = 0;
    virtual double EpiFieldStopFieldStop() = 0;
    virtual void setEpiFieldStopFieldStop(double mm) = 0;
    virtual double NDFilterTransmission() = 0;
    virtual void setNDFilterTransmission(double percent) = 0;
    // One step of the service's own size.
    virtual void NDFilterStepDown() = 0;
    virtual void NDFilterStepUp() = 0;

    // --- lamp -----------------------------------------------------------------
    virtual void LampOn() = 0;
    virtual void LampOff() = 0;
    virtual int16_t LampIsOn() = 0;
    virtual int16_t LampIsPreset() = 0;
    virtual double LampControlVoltage() = 0;
    virtual void setLampControlVoltage(double volts) = 0;
    virtual void LampPreset() = 0;

    // --- zoom, analyzer, shutter ----------------------------------------------
    virtual double OpticalZoomZoom() = 0;
    virtual void setOpticalZoomZoom(double magnification) = 0;
    virtual int16_t OpticalZoomIsInterlockEnabled() = 0;
    virtual void setOpticalZoomIsInterlockEnabled(int16_t enabled) = 0;
    virtual void AnalyzerIn() = 0;
    virtual void AnalyzerOut() = 0;
    // 1 in; the event reports 2 for out.
    virtual int16_t AnalyzerIsInserted() = 0;
    virtual void EpiShutterOpen() = 0;
    virtual void EpiShutterClose() = 0;
    // 0 closed, 1 open.
    virtual int16_t EpiShutterIsOpened() = 0;

    // --- Z focus drive (counts of 0.05 um) --------------------------------------
    virtual int32_t ZDriveZPosition() = 0;
    virtual void setZDriveZPosition(int32_t counts) = 0;
    virtual int16_t ZDriveIsZEscape() = 0;
    virtual void setZDriveIsZEscape(int16_t escape) = 0;
    virtual void setZDriveSpeed(int16_t speed) = 0;
    // Blocks until the focus search ends; 0 complete, 1 low contrast,
    // 50 exposure over, 51 exposure under, others are errors.
    virtual int32_t ZDriveAutoFocus() = 0;
    virtual int32_t ZUpperLimit() = 0;
    virtual void setZUpperLimit(int32_t counts) = 0;

    // --- XY stage (counts of 0.5 um) --------------------------------------------
    virtual int32_t XYDriveXPosition() = 0;
    virtual void setXYDriveXPosition(int32_t counts) = 0;
    virtual int32_t XYDriveYPosition() = 0;
    virtual void setXYDriveYPosition(int32_t counts) = 0;
    virtual int16_t XYDriveIsEscape() = 0;
    virtual void setXYDriveIsEscape(int16_t escape) = 0;
    virtual void XYDriveMove(int32_t x, int32_t y) = 0;
    virtual int16_t XYDriveMode() = 0;
    virtual void setXYDriveMode(int16_t mode) = 0;

    // --- observation methods ------------------------------------------------------
    // 1 to 6 built in, 7 to 12 the user's; writing one applies it.
    virtual int16_t PresetsObservationMode() = 0;
    virtual void setPresetsObservationMode(int16_t observation) = 0;
    virtual QString ObservationName(int16_t observation) = 0;
    virtual void setObservationName(int16_t observation, const QString& name) = 0;
    virtual ObservationPositions ObservationPosition(int16_t observation) = 0;
    virtual void setObservationPosition(int16_t observation, const ObservationPositions& positions) = 0;
    // Custom value of device 12 (aperture stop), 13 (field stop) or 14 (ND) for
    // a user observation method and a nosepiece address.
    virtual double CustomValue(int16_t device, int16_t observation, int16_t address) = 0;
    virtual void CustomObservation(int16_t device, int16_t observation, int16_t address, double value) = 0;

    // --- objective, filter cube and condenser tables, one element per position ---
    virtual QVector<int32_t> ObjectiveNumbers() = 0;
    virtual QStringList ObjectiveNames() = 0;
    virtual QStringList ObjectiveSeriesNames() = 0;
    virtual QStringList ObjectiveTypeNames() = 0;
    virtual QVector<double> ObjectiveRates() = 0;
    virtual QVector<double> ObjectiveWDs() = 0;
    virtual QVector<double> ObjectiveNAs() = 0;
    virtual QVector<int32_t> FilterNumbers() = 0;
    virtual QStringList FilterNames() = 0;
    virtual QVector<int32_t> FilterReikis() = 0;
    virtual QVector<int32_t> FilterDMs() = 0;
    virtual QVector<int32_t> FilterKyusyus() = 0;
    virtual QStringList FilterEXNames() = 0;
    virtual QStringList FilterDMNames() = 0;
    virtual QStringList FilterBANames() = 0;
    virtual QVector<int32_t> CondenserNumbers() = 0;
    virtual QStringList CondenserNames() = 0;

    // --- reads that belong together ------------------------------------------------
    // Opening a microscope, the status read and a device panel's Get_Status
    // each read many values one after another. Between beginReads() and
    // endReads() (pairs nest; the outermost counts) an implementation may
    // answer reads from one picture of the stand, taken at the first read and
    // kept current by the events that follow, as long as every read answers
    // what the single call would: the same value, or the same failure.
    // Commands still go one by one. See ReadBatch.h.
    // `group` names a group that comes back (a device panel's Get_Status, by
    // its panel): it reads much the same each time, so an implementation may
    // ask for just what it read the time before. Empty: a group of its own.
    virtual void beginReads(const QString& group) { (void)group; }
    virtual void endReads() {}

    // --- raw commands -------------------------------------------------------------
    // Passes a command text to the stand's controller; the reply comes back in `reply`.
    virtual void SendCommand(const QString& command, QString& reply) = 0;

signals:
    // "<name>:<value>", for every change of every device, whoever caused it.
    void OnPropertyChanged(const QString& message);
};
