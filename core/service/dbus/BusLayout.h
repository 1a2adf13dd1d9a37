#pragma once
// How the microscope service lays itself out on the session bus. The service
// process and its clients both build on these names, so that they cannot drift.
//
//   org.zentor.Microscope                 well-known name of the microscope service
//     /org/zentor/Microscope              org.zentor.Microscope.Manager: the list of
//                                         microscopes, Connect(index) -> object path
//     /org/zentor/Microscope/<index>      org.zentor.Microscope.Device: every device
//                                         member, signal OnPropertyChanged(s);
//                                         org.zentor.StandControl: fault injection
//   org.zentor.Fiber                      well-known name of the fiber illuminator
//     /org/zentor/Fiber                   org.zentor.Fiber, signal OnPropertyChanged(s);
//                                         org.zentor.StandControl: the sensors' faults
//
// A failure travels as a D-Bus error named org.zentor.Error.X<8 hex digits of
// the 32-bit code>, its text starting with the same hex digits; the client
// turns it back into RunTimeError(code).
#include "core/base/RunTimeError.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVector>
#include <cstdint>

class QDBusMessage;

namespace ZentorBus {

inline const QString MicroscopeService = QStringLiteral("org.zentor.Microscope");
inline const QString ManagerPath = QStringLiteral("/org/zentor/Microscope");
inline const QString ManagerInterface = QStringLiteral("org.zentor.Microscope.Manager");
inline const QString DeviceInterface = QStringLiteral("org.zentor.Microscope.Device");
inline const QString ControlInterface = QStringLiteral("org.zentor.StandControl");
inline const QString FiberService = QStringLiteral("org.zentor.Fiber");
inline const QString FiberPath = QStringLiteral("/org/zentor/Fiber");
inline const QString FiberInterface = QStringLiteral("org.zentor.Fiber");
inline const QString EventSignal = QStringLiteral("OnPropertyChanged");
inline const QString ErrorPrefix = QStringLiteral("org.zentor.Error.X");

// Object path of the microscope with that index of GetDeviceNames.
QString devicePath(int index);

// The D-Bus signature of the eleven command codes of one observation method.
inline const QString ObservationSignature = QStringLiteral("(iiiiiiiiiii)");

// One method of an interface: its name, the D-Bus signature of its arguments
// and of its results ("" for none), the argument names shown by introspection,
// and the names of its results when it has more than one.
struct Method {
    QString name;
    QString in;
    QString out;
    QStringList argNames;
    QStringList outNames = {};
};

// The answer of Snapshot, on the manager and on each microscope: every value
// the reads of opening a microscope give, in one reply. Its results:
//   sequence  t          events this microscope has sent so far (the manager: 0);
//                        the event sent next is sequence + 1
//   values    a{sv}      read -> its value, of that read's own result type
//   failures  a{s(is)}   read -> the code and text of the error it gives now
// A read is named by its member and arguments: "NosepiecePosition",
// "IsMounted(4)", "CustomValue(12,7,1)", "SendCommand(rXPR1)".
inline const QString SnapshotMember = QStringLiteral("Snapshot");
inline const QString SnapshotSignature = QStringLiteral("ta{sv}a{s(is)}");
QString snapshotKey(const QString& member, const QVariantList& args = {});

// Every device member of a microscope, as the stand answers it.
const QVector<Method>& deviceMethods();
// Members of the device interface that the service answers itself.
const QVector<Method>& deviceServiceMethods();
const QVector<Method>& managerMethods();
const QVector<Method>& controlMethods();
const QVector<Method>& fiberMethods();
// Fault injection of the fiber illuminator (ControlInterface on FiberPath).
const QVector<Method>& fiberControlMethods();
const Method* findMethod(const QVector<Method>& methods, const QString& name);

// Introspection XML of one interface (with the event signal when asked).
QString interfaceXml(const QString& interfaceName, const QVector<Method>& methods, bool withEvent);

// The D-Bus error name and text that carry a 32-bit failure code.
QString errorName(int32_t code);
QString errorText(int32_t code, const QString& description);
// An error reply carrying the code; `request` is the call it answers.
QDBusMessage errorReply(const QDBusMessage& request, int32_t code, const QString& description);
// The RunTimeError that an error message stands for: its own code when it
// carries one, else a service code chosen by the kind of D-Bus failure.
RunTimeError errorFromMessage(const QDBusMessage& error);

} // namespace ZentorBus
