#pragma once
// The D-Bus interfaces of the microscope service as files: introspection XML
// in core/service/dbus/interfaces (installed to share/dbus-1/interfaces), built
// into this library so that the service, its clients and the conformance
// program all work from the same text. A member is added to an interface by
// adding it to its file; BusLayout's method tables follow from the files.
#include <QString>
#include <QStringList>
#include <QVector>

namespace ZentorBus {

// An interface version, MAJOR.MINOR: a new minor adds members and keeps every
// former one as it was, a new major changes or removes one.
struct InterfaceVersion {
    int major = -1;
    int minor = -1;
    // "MAJOR.MINOR"; an invalid version (major -1) for any other text.
    static InterfaceVersion parse(const QString& text);
    bool valid() const { return major >= 0; }
    QString text() const;
    // This version is `other` or a later one.
    bool atLeast(const InterfaceVersion& other) const;
};

struct InterfaceArg {
    QString name;
    QString type;
    QString direction;   // "in" or "out"; empty for the arguments of a signal
};

struct InterfaceMember {
    enum class Kind { Method, Signal };
    Kind kind = Kind::Method;
    QString name;
    QVector<InterfaceArg> args;
    QString doc;   // the comment right before the member in its file
    QString since; // the org.zentor.Since annotation: the version that added it; empty for the first

    // The D-Bus signature of the arguments going in, and of those coming out.
    QString in() const;
    QString out() const;
};

struct InterfaceInfo {
    QString name;
    QString version;   // the org.zentor.InterfaceVersion annotation, "MAJOR.MINOR"
    QVector<InterfaceMember> members;

    const InterfaceMember* member(const QString& memberName) const;
};

// The annotation that carries an interface's version.
inline const QString VersionAnnotation = QStringLiteral("org.zentor.InterfaceVersion");
// The annotation of a member that a later minor added, with that version.
inline const QString SinceAnnotation = QStringLiteral("org.zentor.Since");

// The interfaces that introspection XML (a file, or what a service answers)
// describes. When it is not well-formed XML the list is empty and `error`
// says where it breaks.
QVector<InterfaceInfo> parseInterfaces(const QString& xml, QString* error = nullptr);

// One interface file as built in: its file name and text.
struct InterfaceFileText {
    QString fileName;
    QString text;
};
const QVector<InterfaceFileText>& interfaceFiles();

// The interface of that name as its file describes it. Asking for a name that
// has no file is a programming error: it aborts with the name.
const InterfaceInfo& interfaceInfo(const QString& interfaceName);

// Introspection XML of an interface (an <interface> element, no comments).
QString introspectionXml(const InterfaceInfo& interface);

// The interface as a service of an older minor of the same major serves it:
// without the members a later minor added, carrying that version. Any other
// version (invalid, another major, the file's own or later) gives the file.
InterfaceInfo asOfVersion(const InterfaceInfo& file, const InterfaceVersion& version);

// How closely a served interface must agree with its file: on the wire
// (member names, argument types and directions) or exactly (also argument
// names and the version).
enum class Agreement { Wire, Exact };

// The ways `served` departs from `file`, one readable line each ("missing
// method NosepiecePosition", "method NosepiecePosition answers 'i' where the
// file says 'n'"); empty when they agree.
QStringList interfaceDifferences(const InterfaceInfo& file, const InterfaceInfo& served, Agreement how);

} // namespace ZentorBus
