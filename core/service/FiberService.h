#pragma once
// The fiber illuminator's own server: a connection interface (status word,
// connect with a time-out, port) and a device interface (ND wheel, shutter,
// lamp, safety sensors). It is a separate service from the microscope's and may
// be absent; absence shows as Port() answering -1 after Connect, or as calls
// failing with RunTimeError.
//
// Changes arrive as "<name>:<value>" with these names:
//   ND_Position, Shutter_IsOpened, Lamp_IsOn, Interlock_Status,
//   HeatSensitive_Status, LampCoolingFun_Status, PowerCoolingFun_Status, Lamp_IsReady
#include "core/base/RunTimeError.h"

#include <QObject>
#include <QString>
#include <cstdint>

class FiberService : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~FiberService() override = default;

    // --- connection -------------------------------------------------------------
    // 0 not connected, 1 connected.
    virtual int16_t ConnectionStatus() = 0;
    // Looks for the illuminator on the serial ports for at most timeoutMs.
    virtual void Connect(int32_t timeoutMs) = 0;
    virtual void Disconnect() = 0;
    // Serial port number of the illuminator found; -1 when none was found.
    virtual int16_t Port() = 0;

    // --- device -----------------------------------------------------------------
    // ND wheel position 1 to 6.
    virtual int16_t NDPosition() = 0;
    virtual void setNDPosition(int16_t position) = 0;
    // Wheel model word: 0 ND32..ND1 wheel, 1 per-cent wheel.
    virtual int16_t NDWheelModel() = 0;
    virtual int16_t ShutterIsOpened() = 0;
    virtual void ShutterOpen() = 0;
    virtual void ShutterClose() = 0;
    // Opens (closes) the shutter and reverses it by itself after `seconds`.
    virtual void ShutterOpenTimed(double seconds) = 0;
    virtual void ShutterCloseTimed(double seconds) = 0;
    virtual int16_t LampIsOn() = 0;
    virtual void LampOn() = 0;
    virtual void LampOff() = 0;
    // One of the eight status names above; 1 means good (or on, open, ready).
    virtual int16_t Status(const QString& name) = 0;

signals:
    void OnPropertyChanged(const QString& message);
};
