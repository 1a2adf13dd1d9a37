#pragma once
// An object the service serves at one path, and what its objects share: how a
// call finds its method in the interfaces an object offers, and the refusals
// every object gives alike.
#include "core/service/dbus/BusLayout.h"
#include "stand/service/BusCall.h"

#include <QPair>
#include <QString>
#include <QVector>
#include <utility>

class ServiceHost;

// An object's own interface and its fault-injection one (none for the
// manager), which is offered (answered and introspected) only by a service
// started with fault injection.
struct OfferedInterfaces {
    QString own;
    QString faults;
};

class BusObject {
public:
    BusObject(ServiceHost* host, OfferedInterfaces interfaces) : m_host(host), m_interfaces(std::move(interfaces)) {}
    virtual ~BusObject() = default;
    // Introspection XML of the interfaces this object offers now.
    QString introspect() const;
    // Whether it offers that interface now (the answer to Properties).
    bool offers(const QString& interface) const;
    // Answers a call of one of its members; false when it has no such member
    // (introspection and the rest are answered by the host).
    virtual bool handle(const BusCall& call) = 0;

protected:
    ServiceHost* m_host;

private:
    OfferedInterfaces m_interfaces;
};

using InterfaceList = QVector<QPair<QString, const QVector<ZentorBus::Method>*>>;

// The method a call names, within the interfaces an object offers. An empty
// interface name (allowed by D-Bus) matches the first one that has it.
struct FoundMethod {
    const ZentorBus::Method* method = nullptr;
    QString interface;
};
FoundMethod lookUp(const BusCall& call, const InterfaceList& interfaces);

// The refusal of arguments of another signature than the method's.
void refuseArguments(const BusCall& call, const ZentorBus::Method& method);
// The answer to a fault-injection call of a service that does not offer it.
void refuseFaultInjection(const BusCall& call, const QString& interface);
// A SetSpeedFactor beyond the bounds of ServiceHost is refused here (true).
bool speedFactorRefused(double factor, const BusCall& call);
// The answer to InterfaceVersion: the version of the interfaces this service
// serves (its files' own unless told to serve an older minor).
void replyVersion(const BusCall& call, const ServiceHost& host);
