#pragma once
// One simulated microscope, configured by a StandDescription. It never blocks:
// every call answers through `done`, at once for reads and refusals, and when
// the motor has arrived for moves. Every change of every device is reported as
// "<name>:<value>" on propertyChanged, positions of Z and XY streaming while
// their motors run.
//
// `member` is the name of a MicroscopeService operation ("NosepiecePosition",
// "setNosepiecePosition", "XYDriveMove", "SendCommand" ...), apart from the
// service-level Connect, Disconnect, GetDeviceNames and IsDeviceAvailable.
// Value encoding, in args and in StandResult::value: integers as int whatever
// their width, doubles as double, texts as QString, QStringList for text
// arrays, QVariantList of int / double for number arrays, ObservationPositions
// as a QVariantList of 11 ints in the struct's order, SendCommand's reply as a
// QString. Setters and methods answer an invalid QVariant.
#include "stand/StandClock.h"
#include "core/service/StandControl.h"
#include "stand/StandDescription.h"
#include "stand/StandMemory.h"

#include <QObject>
#include <QString>
#include <QVariant>
#include <QVariantList>
#include <cstdint>
#include <functional>
#include <memory>

struct StandResult {
    int32_t error = 0;      // 0 success, else the service's 32-bit failure code
    QString errorText;
    QVariant value;
};
using StandReply = std::function<void(const StandResult&)>;

class StandEngine;

class SimulatedStand : public QObject {
    Q_OBJECT
public:
    SimulatedStand(const StandDescription& description, const StandClock& clock,
                   QObject* parent = nullptr);
    ~SimulatedStand() override;

    // Carries out one operation; `done` is called exactly once. A refused call
    // changes nothing.
    void invoke(const QString& member, const QVariantList& args, StandReply done);
    // Every member name invoke() knows.
    static QStringList members();

    // SendCommand refuses a command longer than this (its commands are a
    // few characters), and no reply is longer than this.
    static constexpr int kLongestCommand = 4096;
    static constexpr int kLongestReply = 4096;

    const StandDescription& description() const;
    StandControl& control();
    // The speed code the focus drive runs at now (1 to 9), as its motor
    // shows it: how fast a focus move goes.
    int16_t focusSpeedCode() const;

    // The six user observation methods as the stand keeps them, and putting
    // kept ones back (answers why they were refused, or nothing).
    StandUserMethods userMethods() const;
    QString restoreUserMethods(const StandUserMethods& methods);
    // Called with the six user methods after every change of a name, codes or
    // custom values; it answers why they could not be kept (the change is then
    // undone and the call refused), or nothing.
    void keepUserMethodsWith(std::function<QString(const StandUserMethods&)> keeper);

signals:
    void propertyChanged(const QString& message);

private:
    std::unique_ptr<StandEngine> m_engine;
};
