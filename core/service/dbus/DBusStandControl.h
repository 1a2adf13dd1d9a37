#pragma once
// Fault injection of one microscope inside the service process, over the bus
// (interface org.zentor.StandControl of the microscope's object). For tests:
// the conformance suite injects faults into the service process through it.
#include "core/service/StandControl.h"

#include <QDBusConnection>
#include <QString>
#include <QVariantList>

class DBusStandControl : public StandControl {
public:
    // `service` may be the well-known name or a process's unique name.
    DBusStandControl(const QDBusConnection& bus, const QString& service, int microscopeIndex);

    void killUnit(int16_t unit) override;
    void reviveUnit(int16_t unit) override;
    void stallDevice(int16_t device) override;
    void clearFaults() override;
    void setSpeedFactor(double factor) override;
    // Has the service send `count` copies of `message` as events of this
    // microscope, as fast as the bus takes them (load tests).
    void emitEvents(const QString& message, int32_t count);

private:
    void call(const char* member, const QVariantList& args);

    QDBusConnection m_bus;
    QString m_service;
    QString m_path;
};
