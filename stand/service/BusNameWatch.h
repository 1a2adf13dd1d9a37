#pragma once
// Whether a client is still on the bus: the bus's own NameOwnerChanged for
// its name, and once, without waiting, whether it had left already.
#include "stand/service/BusConnection.h"

#include <QPointer>
#include <QString>

class BusNameWatch {
public:
    BusNameWatch(BusConnection* bus, const QString& name);
    ~BusNameWatch();
    BusNameWatch(const BusNameWatch&) = delete;
    BusNameWatch& operator=(const BusNameWatch&) = delete;

    bool left() const { return m_left; }

private:
    static DBusHandlerResult filter(DBusConnection*, DBusMessage* message, void* self);
    static void answered(DBusPendingCall* pending, void* self);

    QPointer<BusConnection> m_bus;
    QByteArray m_name;
    QByteArray m_rule;
    DBusPendingCall* m_asked = nullptr;
    bool m_left = false;
};
