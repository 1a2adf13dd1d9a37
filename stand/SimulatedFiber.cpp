#include "stand/SimulatedFiber.h"

#include <cmath>

namespace {
const char* const kNames[] = {"ND_Position", "Shutter_IsOpened", "Lamp_IsOn", "Interlock_Status",
                              "HeatSensitive_Status", "LampCoolingFun_Status", "PowerCoolingFun_Status",
                              "Lamp_IsReady"};
constexpr int16_t kPort = 3;
} // namespace

SimulatedFiber::SimulatedFiber(const StandClock& clock, bool present, int16_t wheelModel, QObject* parent)
    : FiberService(parent), m_clock(clock), m_present(present), m_wheelModel(wheelModel == 1 ? 1 : 0) {
    m_values = {{kNames[0], 1}, {kNames[1], 0}, {kNames[2], 0}, {kNames[3], 1},
                {kNames[4], 1}, {kNames[5], 1}, {kNames[6], 1}, {kNames[7], 0}};
    m_reversal.setSingleShot(true);
    connect(&m_reversal, &QTimer::timeout, this, [this] { setShutter(m_reverseTo); });
    m_warmUp.setSingleShot(true);
    connect(&m_warmUp, &QTimer::timeout, this, [this] { change(kNames[7], 1); });
}

bool SimulatedFiber::sensorsGood() const {
    for (int i = 3; i < 7; ++i)
        if (m_values.value(kNames[i]) != 1) return false;
    return true;
}

// The lamp comes on cold: ready only after its warm-up.
void SimulatedFiber::lightLamp() {
    if (m_values.value(kNames[2]) == 1) return;
    change(kNames[2], 1);
    // Reported after the lamp, so that a listener knows it is not ready yet.
    m_values[kNames[7]] = 0;
    emit OnPropertyChanged(QStringLiteral("Lamp_IsReady:0"));
    m_warmUp.start(int(std::lround(m_clock.realMs(kWarmUpMs))));
}

QStringList SimulatedFiber::statusNames() {
    QStringList l;
    for (const char* n : kNames) l << QLatin1String(n);
    return l;
}

int16_t SimulatedFiber::ConnectionStatus() { return m_connected ? 1 : 0; }

void SimulatedFiber::Connect(int32_t timeoutMs) {
    if (timeoutMs < 0)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("Connect: negative time-out"));
    m_connected = m_present;
    // The illuminator lights its lamp when its server opens it.
    if (m_connected && sensorsGood()) lightLamp();
}

void SimulatedFiber::Disconnect() {
    m_reversal.stop();
    m_connected = false;
}

int16_t SimulatedFiber::Port() { return m_connected ? kPort : -1; }

void SimulatedFiber::requireConnected(const char* member) const {
    if (!m_connected)
        throw RunTimeError(RunTimeError::ServiceNotConnected,
                           QStringLiteral("%1: the fiber illuminator is not connected").arg(QLatin1String(member)));
}

void SimulatedFiber::change(const QString& name, int16_t value) {
    int16_t& v = m_values[name];
    if (v == value) return;
    v = value;
    emit OnPropertyChanged(name + QLatin1Char(':') + QString::number(value));
}

int16_t SimulatedFiber::NDPosition() {
    requireConnected("NDPosition");
    return m_values.value(kNames[0]);
}

void SimulatedFiber::setNDPosition(int16_t position) {
    requireConnected("setNDPosition");
    if (position < 1 || position > 6)
        throw RunTimeError(RunTimeError::ServiceLimitation,
                           QStringLiteral("ND position %1 is outside 1 to 6").arg(position));
    change(kNames[0], position);
}

int16_t SimulatedFiber::NDWheelModel() {
    requireConnected("NDWheelModel");
    return m_wheelModel;
}

int16_t SimulatedFiber::ShutterIsOpened() {
    requireConnected("ShutterIsOpened");
    return m_values.value(kNames[1]);
}

void SimulatedFiber::setShutter(int16_t open) { change(kNames[1], open); }

void SimulatedFiber::ShutterOpen() {
    requireConnected("ShutterOpen");
    m_reversal.stop();
    setShutter(1);
}

void SimulatedFiber::ShutterClose() {
    requireConnected("ShutterClose");
    m_reversal.stop();
    setShutter(0);
}

void SimulatedFiber::startReversal(double seconds, int16_t back) {
    if (!std::isfinite(seconds) || seconds < 0 || seconds > 3600)
        throw RunTimeError(RunTimeError::ServiceLimitation,
                           QStringLiteral("Shutter delay %1 s is outside 0 to 3600 s").arg(seconds));
    m_reverseTo = back;
    m_reversal.start(int(std::lround(m_clock.realMs(seconds * 1000.0))));
}

void SimulatedFiber::ShutterOpenTimed(double seconds) {
    requireConnected("ShutterOpenTimed");
    startReversal(seconds, 0);
    setShutter(1);
}

void SimulatedFiber::ShutterCloseTimed(double seconds) {
    requireConnected("ShutterCloseTimed");
    startReversal(seconds, 1);
    setShutter(0);
}

int16_t SimulatedFiber::LampIsOn() {
    requireConnected("LampIsOn");
    return m_values.value(kNames[2]);
}

void SimulatedFiber::LampOn() {
    requireConnected("LampOn");
    // The lamp stays dark while a safety sensor is not good.
    for (int i = 3; i < 7; ++i)
        if (m_values.value(kNames[i]) != 1)
            throw RunTimeError(RunTimeError::ServiceLimitation,
                               QStringLiteral("LampOn: %1 is not good").arg(QLatin1String(kNames[i])));
    lightLamp();
}

void SimulatedFiber::LampOff() {
    requireConnected("LampOff");
    m_warmUp.stop();
    change(kNames[2], 0);
    change(kNames[7], 0);
}

int16_t SimulatedFiber::Status(const QString& name) {
    requireConnected("Status");
    if (!m_values.contains(name))
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("Status: unknown name \"%1\"").arg(name));
    return m_values.value(name);
}

void SimulatedFiber::setSensor(const QString& name, int16_t value) {
    if (!m_values.contains(name) || name == QLatin1String(kNames[0]))
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("setSensor: unknown sensor \"%1\"").arg(name));
    change(name, value);
    const bool safety = name != QLatin1String(kNames[1]) && name != QLatin1String(kNames[2]) &&
                        name != QLatin1String(kNames[7]);
    if (!safety) return;
    // A safety sensor that trips puts the lamp out; once every sensor is good
    // again a connected illuminator lights it anew, and it warms up again.
    if (value != 1) {
        m_warmUp.stop();
        change(kNames[2], 0);
        change(kNames[7], 0);
    } else if (m_connected && sensorsGood()) {
        lightLamp();
    }
}

void SimulatedFiber::setPresent(bool present) {
    m_present = present;
    if (!present) Disconnect();
}

void SimulatedFiber::setSpeedFactor(double factor) {
    if (!std::isfinite(factor) || factor < 0)
        throw RunTimeError(RunTimeError::ServiceInvalidArgument,
                           QStringLiteral("setSpeedFactor: %1 is not a speed").arg(factor));
    m_clock = factor == 0 ? StandClock::instant() : StandClock::realTime(factor);
}
