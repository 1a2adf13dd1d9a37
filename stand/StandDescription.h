#pragma once
// One microscope stand as a JSON file describes it: the units present, which of
// the fourteen devices are mounted and how, their limits, the objective, filter
// cube and condenser tables, camera, firmware versions, event logs, stored
// observation methods and per-objective focus and stage memories.
//
// A file names only what differs from a full system; see
// stand/descriptions/README.md for the keys.
#include "core/service/MicroscopeService.h"

#include <QJsonObject>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QVector>
#include <array>
#include <cstdint>

struct StandLimits {
    double lower = 0;
    double upper = 0;
    double step = 1;
};

struct StandObjective {
    int32_t number = 0;
    QString name, series, type;
    double rate = 0, wd = 0, na = 0;
    // Stop values that belong to this objective (observation code "Objective").
    double apertureStop = 0, fieldStop = 0, nd = 100;
};

struct StandFilter {
    int32_t number = 0;
    QString name;
    int32_t reiki = 0, dm = 0, kyusyu = 0;
    QString exName, dmName, baName;
};

struct StandCondenser {
    int32_t number = 0;
    QString name;
    int16_t kind = 0;           // module kind: 1 BF, 2 DF, 3 DIC, 4 Ph, 0 other
};

struct StandDevice {
    int32_t status = 0;        // IsMounted word: 0 absent, 1 mounted
    int32_t readOnly = 0;      // IsReadOnly word
    int16_t unit = 0;          // unit that carries it (UnitIndex); 0 none
    double speed = 0;          // units a second of the device's own value
};

struct StandObservation {
    QString name;
    ObservationPositions positions;
};

struct StandState {             // where the devices stand at power-up
    int16_t nosepiece = 1, filter = 1, lightPath = 1, condenser = 1;
    double apertureStop = 10, fieldStop = 10, epiFieldStop = 5, nd = 100;
    int16_t lampOn = 0, lampPreset = 0;
    double lampVoltage = 6;
    double lampPresetVoltage = 9;
    double zoom = 1;
    int16_t analyzerIn = 0, shutterOpen = 0;
    int32_t z = 0, x = 0, y = 0;
    int16_t observation = 1;
    int16_t zSpeed = 4;         // speed code 1..9
    int16_t xyMode = 0, nosepieceXYMode = 0, nosepieceZMode = 0;
    int16_t nosepieceLink = 0, lightPathLink = 0, zoomLink = 0;
};

class StandDescription {
public:
    static constexpr int kUnits = 6;       // UnitIndex 1..6
    static constexpr int kDevices = 14;    // DeviceIndex 1..14
    static constexpr int kObservations = 12;
    static constexpr int kNoFocus = -900000;
    // Entries of a unit's event log that the export reads, whatever the log holds.
    static constexpr int kEventLogSlots = 100;
    // What an unused slot of an event log answers: the four-character prefix
    // ("-" and the slot number) and no text.
    static QString emptyLogEntry(int slot) { return QStringLiteral("-%1").arg(slot, 3, 10, QLatin1Char('0')); }
    // The widest counts the raw command replies can carry: "rOPR" gives the
    // focus in 8 characters, "rXPR" each stage offset in 7, sign included.
    static constexpr int32_t kMaxFocusCount = 9999999;
    static constexpr int32_t kMaxStageOffset = 999999;

    // A description is a few kilobytes; a file beyond this is no description.
    static constexpr qint64 kLargestFile = 4 * 1024 * 1024;

    // Reads a description file. Throws RunTimeError whose text names the file
    // and the problem (missing file, not a regular file, larger than
    // kLargestFile, bad JSON, wrong type, value out of range).
    static StandDescription load(const QString& path);
    // The same from text; `origin` names the source in error texts.
    static StandDescription fromJson(const QByteArray& json, const QString& origin);
    // The service's own simulated microscope (index 0): a full system.
    static StandDescription builtIn();

    QString origin;                                    // file it came from
    QString name;                                      // entry of GetDeviceNames
    std::array<bool, kUnits + 1> units{};              // [UnitIndex]
    std::array<QString, kUnits + 1> versions;          // [UnitIndex]
    std::array<QStringList, kUnits + 1> eventLogs;     // [UnitIndex], entry 1 at [0]; an entry
                                                       // shorter than its prefix is a damaged one
    std::array<StandDevice, kDevices + 1> devices{};   // [DeviceIndex]
    int16_t pathSubType = 0;
    QMap<int16_t, StandLimits> limits;                 // [LimitIndex]
    int32_t zUpperLimit = 0;                           // software upper limit of Z
    QVector<StandObjective> objectives;
    QVector<StandFilter> filters;
    QVector<StandCondenser> condensers;
    bool camera = false;
    int16_t cameraUnit = 0, cameraHead = 0;
    std::array<StandObservation, kObservations + 1> observations;   // [1..12]
    QVector<int32_t> focusMemory;                      // per nosepiece address 1.. at [0], kNoFocus for none
    QVector<QPair<int32_t, int32_t>> stageMemory;      // per nosepiece address, X and Y
    StandState state;
    int32_t autoFocusResult = 0;                       // result code of ZDriveAutoFocus
    int32_t autoFocusPosition = 100000;                // where the focus search ends

    // Unit carrying a device (DeviceIndex); 0 when it needs none.
    int16_t unitOf(int16_t device) const;
};
