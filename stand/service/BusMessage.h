#pragma once
// libdbus messages as the service builds and reads them: a holder that keeps
// a message's reference count, and the few D-Bus types of the interfaces
// written straight into a message or read straight out of one.
#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantList>

#include <dbus/dbus.h>

class BusMessage {
public:
    BusMessage() = default;
    // Takes over the caller's reference (a message just made).
    static BusMessage adopt(DBusMessage* message);
    // Adds a reference of its own (a message the library lends).
    static BusMessage share(DBusMessage* message);
    BusMessage(const BusMessage& other);
    BusMessage(BusMessage&& other) noexcept;
    BusMessage& operator=(BusMessage other) noexcept;
    ~BusMessage();

    DBusMessage* get() const { return m_message; }
    explicit operator bool() const { return m_message != nullptr; }

private:
    DBusMessage* m_message = nullptr;
};

// Appends `value` (the stand's encoding) as the D-Bus type `type`: n, i, t, d,
// b, s, o, as, ai, ad or the observation positions' structure. False for a
// type the interfaces do not use, or when memory ran out.
bool appendValue(DBusMessageIter* out, const QVariant& value, const QByteArray& type);
// The same inside a variant (the values of a snapshot).
bool appendVariant(DBusMessageIter* out, const QVariant& value, const QByteArray& type);
bool appendString(DBusMessageIter* out, const QString& text);

// A call's arguments in the stand's encoding: every integer as int, doubles
// as double, texts as QString, truth values as bool, a structure as the list
// of its integers (the observation positions).
QVariantList standArguments(DBusMessage* call);
// The first argument of a call, an array of texts ("as"), into `out`: false,
// having read no more, when it holds more than `max` of them.
bool firstTexts(DBusMessage* call, int max, QStringList& out);

// A text of the library (UTF-8, or none).
inline QString fromBus(const char* text)
{
    return text ? QString::fromUtf8(text) : QString();
}
