#pragma once
// The devices the conformance checks move, described once: which index says
// that a device is mounted, which limits bound it, which members read and
// write it and which event reports it. Rows are built by naming each value
// (ValueDevice("nosepiece").mountedAs(...).limitedBy(...)...).
#include "core/service/MicroscopeService.h"

#include <QString>
#include <QVector>
#include <functional>

// A device with one value that a write moves: a turret, a stop, a drive.
struct ValueDevice {
    QString label;
    int16_t device = 0;        // index of IsMounted
    int16_t limitIndex = 0;    // index of the limits; 0 when the stand reports none
    QString readName;
    QString writeName;
    QString eventName;
    std::function<double(MicroscopeService&)> read;
    std::function<void(MicroscopeService&, double)> write;
    bool whole = false;        // positions and counts, not millimetres or volts
    bool turret = false;       // addresses beyond the upper limit do not exist: asking one must be refused
    bool readOnlyAsked = false;   // IsReadOnly says whether it is motorised (devices 1 to 5)

    explicit ValueDevice(QString name) : label(std::move(name)) {}
    ValueDevice& mountedAs(int16_t index) { device = index; readOnlyAsked = index >= 1 && index <= 5; return *this; }
    ValueDevice& limitedBy(int16_t index) { limitIndex = index; return *this; }
    ValueDevice& reportedAs(const char* event) { eventName = QString::fromLatin1(event); return *this; }
    ValueDevice& isTurret() { turret = true; return *this; }
    template <class T>
    ValueDevice& readBy(const char* name, T (MicroscopeService::*get)())
    {
        readName = QString::fromLatin1(name);
        read = [get](MicroscopeService& s) { return static_cast<double>((s.*get)()); };
        whole = !std::is_floating_point<T>::value;
        return *this;
    }
    template <class T>
    ValueDevice& writtenBy(const char* name, void (MicroscopeService::*set)(T))
    {
        writeName = QString::fromLatin1(name);
        write = [set](MicroscopeService& s, double v) { (s.*set)(static_cast<T>(v)); };
        return *this;
    }
};

// A device with two states that two calls switch: the analyzer, the shutter,
// the lamp, and the interlocks.
struct ToggleDevice {
    QString label;
    int16_t device = 0;         // index of IsMounted
    QString readName;
    QString onName;
    QString offName;
    QString onEvent;            // the event text of each state; empty when none is reported
    QString offEvent;
    std::function<int16_t(MicroscopeService&)> read;
    std::function<void(MicroscopeService&)> on;
    std::function<void(MicroscopeService&)> off;

    explicit ToggleDevice(QString name) : label(std::move(name)) {}
    ToggleDevice& mountedAs(int16_t index) { device = index; return *this; }
    ToggleDevice& readBy(const char* name, int16_t (MicroscopeService::*get)())
    {
        readName = QString::fromLatin1(name);
        read = [get](MicroscopeService& s) { return (s.*get)(); };
        return *this;
    }
    ToggleDevice& switchedBy(const char* onCall, void (MicroscopeService::*set)(), const char* offCall,
                             void (MicroscopeService::*reset)())
    {
        onName = QString::fromLatin1(onCall);
        offName = QString::fromLatin1(offCall);
        on = [set](MicroscopeService& s) { (s.*set)(); };
        off = [reset](MicroscopeService& s) { (s.*reset)(); };
        return *this;
    }
    ToggleDevice& writtenBy(const char* name, void (MicroscopeService::*set)(int16_t))
    {
        onName = QString::fromLatin1(name) + QStringLiteral("(1)");
        offName = QString::fromLatin1(name) + QStringLiteral("(0)");
        on = [set](MicroscopeService& s) { (s.*set)(1); };
        off = [set](MicroscopeService& s) { (s.*set)(0); };
        return *this;
    }
    ToggleDevice& reportedAs(const char* onText, const char* offText)
    {
        onEvent = QString::fromLatin1(onText);
        offEvent = QString::fromLatin1(offText);
        return *this;
    }
};

// A mode word that a panel saves and writes back: written with its own value.
struct ModeWord {
    QString label;
    int16_t device = 0;         // index of IsMounted
    QString readName;
    QString writeName;
    std::function<int16_t(MicroscopeService&)> read;
    std::function<void(MicroscopeService&, int16_t)> write;

    explicit ModeWord(QString name) : label(std::move(name)) {}
    ModeWord& mountedAs(int16_t index) { device = index; return *this; }
    ModeWord& readBy(const char* name, int16_t (MicroscopeService::*get)())
    {
        readName = QString::fromLatin1(name);
        read = [get](MicroscopeService& s) { return (s.*get)(); };
        return *this;
    }
    ModeWord& writtenBy(const char* name, void (MicroscopeService::*set)(int16_t))
    {
        writeName = QString::fromLatin1(name);
        write = [set](MicroscopeService& s, int16_t v) { (s.*set)(v); };
        return *this;
    }
};

namespace DeviceTable {
// The value devices, in the order the checks move them.
const QVector<ValueDevice>& valueDevices();
const QVector<ToggleDevice>& toggles();
const QVector<ModeWord>& modeWords();
// "nosepiece" for device index 1 and so on.
QString deviceName(int16_t device);
} // namespace DeviceTable
