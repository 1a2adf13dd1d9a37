// The interface files: well formed, one interface each, named as the
// freedesktop convention has it, every member documented, one version for all;
// the tables of BusLayout follow them; the comparison names what a service
// that departs from them does wrong; versions are judged as documented.
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/InterfaceFile.h"

#include <QDBusMessage>
#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

using namespace ZentorBus;

namespace {

QString readFile(const QString& path)
{
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QString::fromUtf8(f.readAll());
}

QStringList sourceFiles()
{
    return QDir(QStringLiteral(ZENTOR_INTERFACE_DIR)).entryList({QStringLiteral("*.xml")}, QDir::Files, QDir::Name);
}

} // namespace

TEST(InterfaceFiles, EachFileHoldsOneDocumentedInterfaceNamedAsTheFile)
{
    const QStringList files = sourceFiles();
    EXPECT_EQ(files, (QStringList{"org.zentor.Fiber.Control.xml", "org.zentor.Fiber.xml",
                                  "org.zentor.Microscope.Device.xml", "org.zentor.Microscope.Manager.xml",
                                  "org.zentor.StandControl.xml"}));
    for (const QString& name : files) {
        QString error;
        const QVector<InterfaceInfo> parsed = parseInterfaces(readFile(QStringLiteral(ZENTOR_INTERFACE_DIR "/") + name), &error);
        ASSERT_EQ(parsed.size(), 1) << name.toStdString() << ": " << error.toStdString();
        EXPECT_EQ(parsed[0].name + QStringLiteral(".xml"), name);
        EXPECT_EQ(parsed[0].version, servedVersion().text()) << name.toStdString();
        EXPECT_FALSE(parsed[0].members.isEmpty());
        for (const InterfaceMember& m : parsed[0].members)
            EXPECT_GE(m.doc.size(), 10) << name.toStdString() << ": " << m.name.toStdString() << " has no doc comment";
    }
}

TEST(InterfaceFiles, TheBuiltInCopiesAreTheFilesOfTheSourceTree)
{
    QStringList builtIn;
    for (const InterfaceFileText& f : interfaceFiles()) {
        builtIn << f.fileName;
        EXPECT_EQ(f.text, readFile(QStringLiteral(ZENTOR_INTERFACE_DIR "/") + f.fileName)) << f.fileName.toStdString();
    }
    EXPECT_EQ(builtIn, sourceFiles());
}

TEST(InterfaceFiles, TheMethodTablesFollowTheFiles)
{
    const InterfaceInfo& device = interfaceInfo(DeviceInterface);
    int methods = 0;
    for (const InterfaceMember& m : device.members) {
        if (m.kind != InterfaceMember::Kind::Method)
            continue;
        ++methods;
        const Method* t = findMethod(deviceMethods(), m.name);
        if (!t)
            t = findMethod(deviceServiceMethods(), m.name);
        ASSERT_NE(t, nullptr) << m.name.toStdString();
        EXPECT_EQ(t->in, m.in());
        EXPECT_EQ(t->out, m.out());
    }
    EXPECT_EQ(methods, deviceMethods().size() + deviceServiceMethods().size());
    EXPECT_EQ(findMethod(deviceMethods(), QStringLiteral("XYDriveMove"))->in, QStringLiteral("ii"));
    EXPECT_EQ(findMethod(deviceMethods(), QStringLiteral("setObservationPosition"))->in,
              QStringLiteral("n") + ObservationSignature);
    EXPECT_EQ(findMethod(deviceMethods(), QStringLiteral("setObservationPosition"))->argNames,
              (QStringList{"observation", "positions"}));
    EXPECT_NE(findMethod(managerMethods(), QStringLiteral("InterfaceVersion")), nullptr);
    EXPECT_NE(findMethod(fiberMethods(), QStringLiteral("InterfaceVersion")), nullptr);
    EXPECT_EQ(findMethod(deviceServiceMethods(), QStringLiteral("NosepiecePosition")), nullptr);
    ASSERT_NE(device.member(EventSignal), nullptr);
    EXPECT_EQ(device.member(EventSignal)->out(), QStringLiteral("s"));
}

TEST(InterfaceFiles, GeneratedIntrospectionReadsBackAsTheFile)
{
    for (const QString& name : {ManagerInterface, DeviceInterface, ControlInterface, FiberInterface, FiberControlInterface}) {
        const QVector<InterfaceInfo> back = parseInterfaces(QStringLiteral("<node>") + interfaceXml(name) + QStringLiteral("</node>"));
        ASSERT_EQ(back.size(), 1);
        EXPECT_TRUE(interfaceDifferences(interfaceInfo(name), back[0], Agreement::Exact).isEmpty()) << name.toStdString();
    }
}

TEST(InterfaceFiles, DifferencesNameWhatAServiceDoesWrong)
{
    InterfaceInfo served = interfaceInfo(DeviceInterface);
    served.version = QStringLiteral("7.9");
    served.members.removeIf([](const InterfaceMember& m) { return m.name == QLatin1String("FilterNames"); });
    for (InterfaceMember& m : served.members) {
        if (m.name == QLatin1String("NosepiecePosition"))
            m.args[0].type = QStringLiteral("i");
        if (m.name == QLatin1String("setZDriveZPosition"))
            m.args[0].type = QStringLiteral("d");
        if (m.name == QLatin1String("XYDriveMove"))
            m.args[1].name = QStringLiteral("why");
    }
    served.members.append(InterfaceMember{InterfaceMember::Kind::Method, QStringLiteral("Extra"), {}, {}});
    const QStringList wire = interfaceDifferences(interfaceInfo(DeviceInterface), served, Agreement::Wire);
    EXPECT_EQ(wire, (QStringList{"method NosepiecePosition answers 'i' where the file says 'n'",
                                 "method setZDriveZPosition takes 'd' where the file says 'i'",
                                 "missing method FilterNames", "method Extra is not in the file"}));
    const QStringList exact = interfaceDifferences(interfaceInfo(DeviceInterface), served, Agreement::Exact);
    EXPECT_TRUE(exact.contains("version 7.9 where the file says " + servedVersion().text())) << exact.join('\n').toStdString();
    EXPECT_TRUE(exact.contains("method XYDriveMove: argument 2 is named 'why' where the file says 'y'"))
        << exact.join('\n').toStdString();
}

TEST(InterfaceFiles, IntrospectionThatIsNotXmlIsAnErrorNotACrash)
{
    QString error;
    EXPECT_TRUE(parseInterfaces(QStringLiteral("<node><interface name=\"a\"><method"), &error).isEmpty());
    EXPECT_FALSE(error.isEmpty());
    EXPECT_TRUE(parseInterfaces(QString(), &error).isEmpty());
    // A method argument without a direction goes in, as the format says.
    const QVector<InterfaceInfo> i = parseInterfaces(
        QStringLiteral("<node><interface name=\"x\"><method name=\"M\"><arg type=\"n\"/></method></interface></node>"));
    ASSERT_EQ(i.size(), 1);
    EXPECT_EQ(i[0].members[0].in(), QStringLiteral("n"));
}

TEST(InterfaceVersions, AMinorAddsAMajorBreaks)
{
    EXPECT_TRUE(servedVersion().valid());
    EXPECT_EQ(servedVersion().major, kClientNeeds.major);
    EXPECT_GE(servedVersion().minor, kClientNeeds.minor);
    const QString who = QStringLiteral("The service");
    EXPECT_TRUE(versionProblem(QStringLiteral("1.0"), {1, 0}, who).isEmpty());
    EXPECT_TRUE(versionProblem(QStringLiteral("1.7"), {1, 0}, who).isEmpty());
    EXPECT_EQ(versionProblem(QStringLiteral("1.0"), {1, 1}, who),
              "The service serves interface version 1.0; this program needs version 1.x (at least 1.1). "
              "Install a service and a program of matching versions.");
    EXPECT_FALSE(versionProblem(QStringLiteral("2.0"), {1, 0}, who).isEmpty());
    EXPECT_FALSE(versionProblem(QStringLiteral("0.9"), {1, 0}, who).isEmpty());
    for (const char* bad : {"", "1", "1.", "v1.0", "1.0.0", "one.two", " 1.0"})
        EXPECT_TRUE(versionProblem(QString::fromLatin1(bad), {1, 0}, who).contains("not MAJOR.MINOR")) << bad;
    EXPECT_EQ(InterfaceVersion::parse(QStringLiteral("12.34")).text(), QStringLiteral("12.34"));
}

TEST(InterfaceVersions, AServiceThatCannotTellItsVersionIsIncompatible)
{
    const auto unknownMethod = [] () -> QDBusMessage {
        throw RunTimeError(RunTimeError::ServiceInvalidArgument, QStringLiteral("org.freedesktop.DBus.Error.UnknownMethod"));
    };
    try {
        askVersion(unknownMethod, QStringLiteral("The service"), ManagerInterface);
        FAIL() << "no error";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), IncompatibleService);
        EXPECT_TRUE(e.description().startsWith("The service does not tell its interface version")) << e.description().toStdString();
    }
    // No service at all is not a question of versions.
    try {
        askVersion([]() -> QDBusMessage { throw RunTimeError(RunTimeError::ServiceGone, QStringLiteral("gone")); },
                   QStringLiteral("The service"), ManagerInterface);
        FAIL() << "no error";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceGone);
    }
}

TEST(InterfaceVersions, AnOlderMinorIsTheFileWithoutTheMembersALaterOneAdded)
{
    const InterfaceInfo& device = interfaceInfo(DeviceInterface);
    const InterfaceMember* snapshot = device.member(SnapshotMember);
    ASSERT_NE(snapshot, nullptr);
    EXPECT_EQ(InterfaceVersion::parse(snapshot->since).minor, kSnapshotMinor);
    EXPECT_EQ(snapshot->out(), SnapshotSignature);
    EXPECT_TRUE(servedVersion().atLeast({1, kSnapshotMinor}));

    const InterfaceMember* snapshotOf = device.member(SnapshotOfMember);
    ASSERT_NE(snapshotOf, nullptr);
    EXPECT_EQ(InterfaceVersion::parse(snapshotOf->since).minor, kSnapshotOfMinor);
    EXPECT_EQ(snapshotOf->in(), QStringLiteral("as"));
    EXPECT_EQ(snapshotOf->out(), SnapshotSignature);
    EXPECT_TRUE(servedVersion().atLeast({1, kSnapshotOfMinor}));

    // 1.1 has Snapshot and not SnapshotOf; 1.0 has neither.
    const InterfaceInfo withSnapshot = asOfVersion(device, {1, kSnapshotMinor});
    EXPECT_NE(withSnapshot.member(SnapshotMember), nullptr);
    EXPECT_EQ(withSnapshot.member(SnapshotOfMember), nullptr);
    EXPECT_EQ(withSnapshot.members.size(), device.members.size() - 1);
    const InterfaceInfo older = asOfVersion(device, {1, 0});
    EXPECT_EQ(older.version, QStringLiteral("1.0"));
    EXPECT_EQ(older.member(SnapshotMember), nullptr);
    EXPECT_EQ(older.members.size(), device.members.size() - 2);
    EXPECT_TRUE(interfaceDifferences(older, older, Agreement::Exact).isEmpty());
    // What this service serves is not what a 1.0 file describes, and the
    // other way round: each names Snapshot.
    EXPECT_TRUE(interfaceDifferences(older, device, Agreement::Wire).join(' ').contains("Snapshot is not in the file"));
    EXPECT_TRUE(interfaceDifferences(device, older, Agreement::Wire).contains("missing method Snapshot"));
    // The file's own version, a later one, another major or none: the file.
    for (const InterfaceVersion& v : {servedVersion(), InterfaceVersion{1, 99}, InterfaceVersion{2, 0}, InterfaceVersion{}})
        EXPECT_EQ(asOfVersion(device, v).members.size(), device.members.size()) << v.text().toStdString();
    // Introspection carries the annotation, and reads back with it.
    const QVector<InterfaceInfo> back =
        parseInterfaces(QStringLiteral("<node>") + introspectionXml(device) + QStringLiteral("</node>"));
    ASSERT_EQ(back.size(), 1);
    ASSERT_NE(back[0].member(SnapshotMember), nullptr);
    EXPECT_EQ(back[0].member(SnapshotMember)->since, snapshot->since);
}
