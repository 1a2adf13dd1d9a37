#pragma once
// The inside of a SimulatedStand: device state, motors, the member table that
// invoke() dispatches through, the raw command interpreter and fault injection.
// The members live in one file per concern: StandEngine.cpp (table, dispatch,
// guards, motion, faults), StandInventory.cpp (units, limits, versions, logs,
// camera, tables), StandOptics.cpp (turrets, words, stops, ND, lamp, zoom,
// analyzer, shutter), StandMotion.cpp (focus drive and stage),
// StandObservations.cpp (observation methods, custom values) and
// StandCommands.cpp (raw commands).
#include "stand/SimulatedStand.h"
#include "core/service/StandControl.h"
#include "stand/StandDescription.h"
#include "stand/devices/FocusSearch.h"
#include "stand/StandMemory.h"
#include "stand/devices/MotorAxis.h"

#include <QHash>
#include <QSet>
#include <QVariant>
#include <array>
#include <functional>
#include <optional>

class StandArgs;

class StandEngine : public StandControl {
public:
    StandEngine(SimulatedStand* owner, const StandDescription& description, const StandClock& clock);
    ~StandEngine() override;

    void invoke(const QString& member, const QVariantList& args, StandReply done);
    static QStringList members();
    const StandDescription& description() const { return m_d; }

    void killUnit(int16_t unit) override;
    void reviveUnit(int16_t unit) override;
    void stallDevice(int16_t device) override;
    void clearFaults() override;
    void setSpeedFactor(double factor) override;

    // The six user methods as the stand keeps them over a power cut.
    StandUserMethods userMethods() const;
    // Puts back kept methods; answers why they were refused (a code or value
    // out of this stand's ranges), leaving everything as it was, or nothing.
    QString restoreUserMethods(const StandUserMethods& methods);
    // The focus motor's speed code now.
    int16_t focusSpeedCode() const { return m_zSpeed; }
    // Called after every change of a user method's name, codes or custom
    // values; answers why the change could not be kept, or nothing.
    std::function<QString(const StandUserMethods&)> keepUserMethods;

    // A member: reads answer with their value; moves take `done` and answer later.
    using Handler = QVariant (StandEngine::*)(const StandArgs&, StandReply&);
    struct Member { int argc; Handler handler; };

private:
    enum Axis { Nose, Filter, Path, Cond, Zoom, EpiFS, Analyzer, Shutter, LampV, Z, X, Y, AS, FS, ND, AxisCount };
    static const QHash<QString, Member>& table();

    // Guards; each throws a refusal and so leaves everything unchanged.
    void need(int16_t device) const;
    void needMotor(int16_t device, std::initializer_list<Axis> axes) const;
    void needRange(double value, int16_t limitIndex) const;
    bool unitAlive(int16_t unit) const;

    void report(const char* name, const QString& value);
    void report(const char* name, double value);
    void moveAxes(std::initializer_list<std::pair<Axis, double>> moves, StandReply& done,
                  std::function<QVariant()> after = {});
    bool takeStall(int16_t device);
    int16_t deviceOf(Axis a) const;
    int32_t counts(Axis a) const;
    int16_t nosepieceAddress() const;
    // The camera's view of the sample under the present objective.
    FocusSample focusSample() const;
    void setLampOn(int16_t on);
    void setPreset(int16_t preset);
    // Why the eleven codes of a method do not fit this stand; empty when they do.
    QString positionsProblem(const ObservationPositions& p) const;
    QString customProblem(int16_t device, double value) const;
    // Keeps the user methods after a change; when they cannot be kept, puts
    // back `before` and refuses the call.
    void userMethodsChanged(const StandUserMethods& before);

    // --- members (one per service operation) ---
    QVariant deviceStatus(const StandArgs&, StandReply&);
    QVariant isMounted(const StandArgs&, StandReply&);
    QVariant isReadOnly(const StandArgs&, StandReply&);
    QVariant pathSubType(const StandArgs&, StandReply&);
    QVariant upperLimit(const StandArgs&, StandReply&);
    QVariant lowerLimit(const StandArgs&, StandReply&);
    QVariant step(const StandArgs&, StandReply&);
    QVariant version(const StandArgs&, StandReply&);
    QVariant eventLog(const StandArgs&, StandReply&);
    QVariant isCameraPresent(const StandArgs&, StandReply&);
    QVariant cameraUnit(const StandArgs&, StandReply&);
    QVariant cameraHead(const StandArgs&, StandReply&);
    QVariant getPosition(const StandArgs&, StandReply&);       // positions of turrets, by member
    QVariant setTurret(const StandArgs&, StandReply&);
    QVariant getWord(const StandArgs&, StandReply&);           // flags and mode words
    QVariant setWord(const StandArgs&, StandReply&);
    QVariant getValue(const StandArgs&, StandReply&);          // stops, ND, zoom, lamp voltage
    QVariant setValue(const StandArgs&, StandReply&);
    QVariant ndStep(const StandArgs&, StandReply&);
    QVariant lampSwitch(const StandArgs&, StandReply&);
    QVariant lampPreset(const StandArgs&, StandReply&);
    QVariant twoState(const StandArgs&, StandReply&);          // analyzer and shutter
    QVariant setZPosition(const StandArgs&, StandReply&);
    QVariant setZEscape(const StandArgs&, StandReply&);
    QVariant setZSpeed(const StandArgs&, StandReply&);
    QVariant autoFocus(const StandArgs&, StandReply&);
    QVariant zUpperLimit(const StandArgs&, StandReply&);
    QVariant setZUpperLimit(const StandArgs&, StandReply&);
    QVariant setXYPosition(const StandArgs&, StandReply&);
    QVariant xyMove(const StandArgs&, StandReply&);
    QVariant setXYEscape(const StandArgs&, StandReply&);
    QVariant observationMode(const StandArgs&, StandReply&);
    QVariant setObservationMode(const StandArgs&, StandReply&);
    QVariant observationName(const StandArgs&, StandReply&);
    QVariant setObservationName(const StandArgs&, StandReply&);
    QVariant observationPosition(const StandArgs&, StandReply&);
    QVariant setObservationPosition(const StandArgs&, StandReply&);
    QVariant customValue(const StandArgs&, StandReply&);
    QVariant customObservation(const StandArgs&, StandReply&);
    QVariant tableColumn(const StandArgs&, StandReply&);
    QVariant sendCommand(const StandArgs&, StandReply&);
    QVariant commandReply(const QString& command, StandReply& done);

    SimulatedStand* m_owner;
    StandDescription m_d;
    double m_factor;
    std::array<MotorAxis*, AxisCount> m_axis{};
    std::array<bool, StandDescription::kUnits + 1> m_dead{};
    QSet<int16_t> m_stalls;
    QHash<QString, QString> m_reported;
    QString m_member;                     // member being dispatched
    int16_t m_lampOn, m_lampPreset;
    int16_t m_nosepieceLink, m_pathLink, m_zoomLink;
    int16_t m_xyMode, m_nosepieceXYMode, m_nosepieceZMode;
    int16_t m_zEscape = 0, m_xyEscape = 0, m_zSpeed;
    int32_t m_zBeforeEscape = 0, m_xBeforeEscape = 0, m_yBeforeEscape = 0;
    int32_t m_zUpperLimit;
    int16_t m_observation;
    double m_manualVoltage;
    bool m_nosepieceMaxReported = false;
    int16_t m_nosepieceMax;
    // Custom values [device 12..14 -> 0..2][observation 1..12][address 0..8].
    std::array<std::array<std::array<double, 9>, 13>, 3> m_custom{};
};
