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
//                                         org.zentor.Fiber.Control: the sensors' faults
//
// Every interface is described by its file in interfaces/ (see InterfaceFile.h);
// the method tables below are read from those files. Each carries a version
// MAJOR.MINOR: a new minor adds members, a new major changes or removes one.
// Clients ask the version first (Manager.InterfaceVersion) and refuse a
// service whose major differs or whose minor is below the one they need.
//
// A failure travels as a D-Bus error named org.zentor.Error.X<8 hex digits of
// the 32-bit code>, its text starting with the same hex digits; the client
// turns it back into RunTimeError(code).
#include "core/base/RunTimeError.h"
#include "core/service/dbus/InterfaceFile.h"

#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVector>
#include <cstdint>
#include <functional>

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
inline const QString FiberControlInterface = QStringLiteral("org.zentor.Fiber.Control");
inline const QString EventSignal = QStringLiteral("OnPropertyChanged");
inline const QString ErrorPrefix = QStringLiteral("org.zentor.Error.X");
// The failure code of a client that cannot use the service on the bus: it
// serves an interface version this program was not written for.
inline constexpr int32_t IncompatibleService = static_cast<int32_t>(0x800404C0u);

// Object path of the microscope with that index of GetDeviceNames.
QString devicePath(int index);

// The D-Bus signature of the eleven command codes of one observation method.
inline const QString ObservationSignature = QStringLiteral("(iiiiiiiiiii)");

// One method of an interface: its name, the D-Bus signature of its arguments
// and of its one result ("" for none), and the argument names shown by
// introspection.
struct Method {
    QString name;
    QString in;
    QString out;
    QStringList argNames;
};

// The answer of Snapshot (interface version 1.1), on the manager and on each
// microscope: every value the reads of opening a microscope give, in one
// reply. Its results:
//   sequence  t          events this microscope has sent so far (the manager: 0);
//                        the event sent next is sequence + 1
//   values    a{sv}      read -> its value, of that read's own result type
//   failures  a{s(is)}   read -> the code and text of the error it gives now
// A read is named by its member and arguments: "NosepiecePosition",
// "IsMounted(4)", "CustomValue(12,7,1)", "SendCommand(rXPR1)".
inline const QString SnapshotMember = QStringLiteral("Snapshot");
inline const QString SnapshotSignature = QStringLiteral("ta{sv}a{s(is)}");
QString snapshotKey(const QString& member, const QVariantList& args = {});
// The read a key names among `methods` and its arguments in the types that
// read takes ("IsMounted(4)" -> IsMounted, 4 as 'n'); nullptr when the key
// names none of them or its arguments do not fit.
const Method* readOfKey(const QString& key, const QVector<Method>& methods, QVariantList& args);
// The interface version that added Snapshot: a service of a lower minor is
// read one value at a time.
inline constexpr int kSnapshotMinor = 1;
// SnapshotOf(as reads) (interface version 1.2), on each microscope: the
// Snapshot of the named reads alone, in the same form. A small group of
// reads that the client knows beforehand costs one small reply.
inline const QString SnapshotOfMember = QStringLiteral("SnapshotOf");
inline constexpr int kSnapshotOfMinor = 2;
// At most this many reads in one SnapshotOf.
inline constexpr int kSnapshotOfMaxReads = 4096;

// Every device member of a microscope, as the stand answers it.
const QVector<Method>& deviceMethods();
// Members of the device interface that the service answers itself.
const QVector<Method>& deviceServiceMethods();
const QVector<Method>& managerMethods();
const QVector<Method>& controlMethods();
const QVector<Method>& fiberMethods();
// Fault injection of the fiber illuminator (FiberControlInterface on FiberPath).
const QVector<Method>& fiberControlMethods();
const Method* findMethod(const QVector<Method>& methods, const QString& name);

// Introspection XML of one interface, from its file.
QString interfaceXml(const QString& interfaceName);

// --- versions (InterfaceVersion: InterfaceFile.h) ----------------------------------
// The version the interface files carry: what this build's service serves.
InterfaceVersion servedVersion();
// The version this build's clients need: the major they were written for and
// the minor whose members they call. Raise the minor here when a client starts
// to call a member that a later minor added.
inline constexpr InterfaceVersion kClientNeeds{1, 0};
// Why a service that answered `answered` to InterfaceVersion cannot serve a
// client that needs `needed`, in a sentence about `who`; empty when it can.
QString versionProblem(const QString& answered, const InterfaceVersion& needed, const QString& who);

// Asks a service its interface version through `ask` (which sends
// InterfaceVersion to `interfaceName` and gives the reply, throwing
// RunTimeError for an error reply) and answers it; throws
// RunTimeError(IncompatibleService) with a sentence about `who` when this
// build's clients cannot use that service. A failure of another kind (no
// service at all) is thrown as it came.
QString askVersion(const std::function<QDBusMessage()>& ask, const QString& who, const QString& interfaceName);

// Why a reply of signature `answered` is not the `expected` one of `member`,
// in a sentence; empty when they are the same.
QString replyTypeProblem(const QString& member, const QString& expected, const QString& answered);

// The D-Bus error name and text that carry a 32-bit failure code.
QString errorName(int32_t code);
QString errorText(int32_t code, const QString& description);
// An error reply carrying the code; `request` is the call it answers.
QDBusMessage errorReply(const QDBusMessage& request, int32_t code, const QString& description);
// The RunTimeError that an error message stands for: its own code when it
// carries one, else a service code chosen by the kind of D-Bus failure.
RunTimeError errorFromMessage(const QDBusMessage& error);

} // namespace ZentorBus
