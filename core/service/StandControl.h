#pragma once
// Fault injection of one simulated stand, for tests and for the service's
// control interface on the bus. Unit and device numbers are those of the
// microscope service (UnitIndex, DeviceIndex of core/service/MicroscopeService.h).
#include <cstdint>

class StandControl {
public:
    virtual ~StandControl() = default;
    // The unit stops answering: DeviceStatus(unit) is no longer 1 and every call
    // on a device that the unit carries fails.
    virtual void killUnit(int16_t unit) = 0;
    virtual void reviveUnit(int16_t unit) = 0;
    // The next move of that device does not arrive and fails with the time-out code.
    virtual void stallDevice(int16_t device) = 0;
    // Revives every unit and forgets pending stalls.
    virtual void clearFaults() = 0;
    // Speed of simulated time: 0 instant, 1 real time, 10 ten times faster.
    virtual void setSpeedFactor(double factor) = 0;
};
