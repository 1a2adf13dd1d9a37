// The service process keeps the user observation methods in its state file:
// they survive a restart, a damaged file is set aside and said, and --help
// tells where the file is.
#include "ServiceProcess.h"
#include "core/base/tests/PlainUserFiles.h"
#include "core/service/dbus/DBusMicroscopeService.h"
#include "stand/StandMemory.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

} // namespace

TEST(ServiceMemory, UserMethodsSurviveARestartOfTheServiceProcess) {
    QTemporaryDir dir;
    const QString state = dir.filePath(QStringLiteral("memory.json"));
    const QStringList args = {QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                              QStringLiteral("--state-file"), state};
    const ObservationPositions taught{3, 1, 2, 6, 3, 2, 3, 4, 4, 2, 13};
    {
        ServiceProcess service;
        ASSERT_TRUE(service.start(args)) << service.error().toStdString();
        DBusMicroscopeService s;
        s.Connect(0);
        s.setObservationName(11, QStringLiteral("DAPI fixed"));
        s.setObservationPosition(11, taught);
        s.CustomObservation(DeviceIndex::FieldStop, 11, 2, 4.5);
        s.Disconnect();
        service.stop();
    }
    ServiceProcess again;
    ASSERT_TRUE(again.start(args)) << again.error().toStdString();
    DBusMicroscopeService s;
    s.Connect(0);
    EXPECT_EQ(s.ObservationName(11), QStringLiteral("DAPI fixed"));
    EXPECT_EQ(s.ObservationPosition(11), taught);
    EXPECT_EQ(s.CustomValue(DeviceIndex::FieldStop, 11, 2), 4.5);
    s.Disconnect();
}

TEST(ServiceMemory, ADamagedStateFileIsSaidKeptBesideAndTheStandStartsFromItsDefaults) {
    QTemporaryDir dir;
    const QString state = dir.filePath(QStringLiteral("memory.json"));
    const QByteArray garbage("{\"format\": \"zentor-service memory\", \"version\": 1, \"stands\": {\"0 Sim");
    {
        QFile f(state);
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(garbage);
    }
    QProcess service;
    service.start(ServiceProcess::executable(), {QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                                                 QStringLiteral("--state-file"), state});
    ASSERT_TRUE(ServiceProcess::waitForName(QStringLiteral("org.zentor.Microscope"), true));
    DBusMicroscopeService s;
    s.Connect(0);
    EXPECT_EQ(s.ObservationName(7), QString());
    s.setObservationName(7, QStringLiteral("after"));
    s.Disconnect();
    service.terminate();
    ASSERT_TRUE(service.waitForFinished(20000));
    const QString said = QString::fromLocal8Bit(service.readAllStandardError());
    EXPECT_TRUE(said.contains(QStringLiteral("is damaged"))) << said.toStdString();
    const QStringList copies = StandMemory(state, [](const QString&) {}).damagedCopies();
    ASSERT_EQ(copies.size(), 1);
    EXPECT_TRUE(said.contains(copies[0])) << said.toStdString();
    EXPECT_EQ(readAll(copies[0]), garbage);
    EXPECT_TRUE(readAll(state).contains("\"after\""));
    ASSERT_TRUE(ServiceProcess::waitForName(QStringLiteral("org.zentor.Microscope"), false));
}

TEST(ServiceMemory, HelpTellsWhereTheStateFileIsByDefault) {
    QProcess help;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("XDG_STATE_HOME"), QStringLiteral("/var/tmp/some-state"));
    help.setProcessEnvironment(env);
    help.start(ServiceProcess::executable(), {QStringLiteral("--help")});
    ASSERT_TRUE(help.waitForFinished(20000));
    const QString text = QString::fromLocal8Bit(help.readAllStandardOutput()).simplified();
    EXPECT_TRUE(text.contains(QStringLiteral("--state-file")));
    EXPECT_TRUE(text.contains(QStringLiteral("/var/tmp/some-state/zentor/zentor-service.json"))) << text.toStdString();
}

namespace {

QStringList serviceArgs(const QString& state) {
    return {QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"), QStringLiteral("--state-file"),
            state};
}

QByteArray native(const QString& path) { return QFile::encodeName(path); }

// The service's standard error until it ends (stopped by the caller's bus).
struct LoggedService {
    QProcess process;
    bool start(const QString& state) {
        process.start(ServiceProcess::executable(), serviceArgs(state));
        return ServiceProcess::waitForName(QStringLiteral("org.zentor.Microscope"), true);
    }
    QString stop() {
        process.terminate();
        process.waitForFinished(20000);
        ServiceProcess::waitForName(QStringLiteral("org.zentor.Microscope"), false);
        return QString::fromLocal8Bit(process.readAllStandardError());
    }
    ~LoggedService() {
        if (process.state() != QProcess::NotRunning) stop();
    }
};

// A change of each kind the file keeps; each must fail with the code the
// client restores, and leave the value as it was.
void expectNotKept(DBusMicroscopeService& s, const QString& oldName) {
    try {
        s.setObservationName(9, QStringLiteral("not kept"));
        ADD_FAILURE() << "setObservationName answered success";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceNotKept) << e.hexNumber().toStdString();
        EXPECT_TRUE(e.description().contains(QStringLiteral("could not be kept"))) << e.description().toStdString();
    }
    EXPECT_THROW(s.setObservationPosition(9, ObservationPositions{4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}), RunTimeError);
    EXPECT_THROW(s.CustomObservation(DeviceIndex::ApertureStop, 9, 4, 3.5), RunTimeError);
    EXPECT_EQ(s.ObservationName(9), oldName);
    EXPECT_NE(s.CustomValue(DeviceIndex::ApertureStop, 9, 4), 3.5);
}

} // namespace

TEST(ServiceMemory, AChangeTheStateFileCannotKeepAnswersAnErrorAndIsUndone) {
    ASSERT_TRUE(testsupport::obeyFilePermissions());
    enum Case { ReadOnlyFile, ReadOnlyFolder, FolderAtThePath };
    for (Case c : {ReadOnlyFile, ReadOnlyFolder, FolderAtThePath}) {
        QTemporaryDir dir;
        const QString folder = dir.filePath(QStringLiteral("state"));
        const QString state = folder + QStringLiteral("/memory.json");
        if (c == FolderAtThePath) {
            ASSERT_TRUE(QDir().mkpath(state));
        } else {
            ServiceProcess first;
            ASSERT_TRUE(first.start(serviceArgs(state))) << first.error().toStdString();
            DBusMicroscopeService s;
            s.Connect(0);
            s.setObservationName(9, QStringLiteral("kept before"));
            s.Disconnect();
            first.stop();
            ASSERT_EQ(::chmod(native(c == ReadOnlyFile ? state : folder).constData(), 0555), 0);
        }
        const QString old = c == FolderAtThePath ? QString() : QStringLiteral("kept before");
        {
            LoggedService service;
            ASSERT_TRUE(service.start(state));
            DBusMicroscopeService s;
            s.Connect(0);
            expectNotKept(s, old);
            s.Disconnect();
            EXPECT_TRUE(service.stop().contains(QStringLiteral("could not be kept")));
        }
        // After a restart the old methods are there, the refused ones are not.
        ServiceProcess again;
        ASSERT_TRUE(again.start(serviceArgs(state))) << again.error().toStdString();
        DBusMicroscopeService s;
        s.Connect(0);
        EXPECT_EQ(s.ObservationName(9), old) << c;
        s.Disconnect();
        again.stop();
        ::chmod(native(folder).constData(), 0755);
        ::chmod(native(state).constData(), 0644);
    }
}

TEST(ServiceMemory, APipeAtTheStatePathNeitherHoldsUpTheStartNorIsWaitedOn) {
    QTemporaryDir dir;
    const QString state = dir.filePath(QStringLiteral("memory.json"));
    ASSERT_EQ(::mkfifo(native(state).constData(), 0600), 0);
    LoggedService service;
    ASSERT_TRUE(service.start(state)) << "the service did not take its bus name";
    DBusMicroscopeService s;
    s.Connect(0);
    expectNotKept(s, QString());
    s.Disconnect();
    const QString said = service.stop();
    EXPECT_TRUE(said.contains(state) && said.contains(QStringLiteral("named pipe"))) << said.toStdString();
}

TEST(ServiceMemory, ALinkToAnEndlessDeviceAtTheStatePathIsToldAndNotRead) {
    QTemporaryDir dir;
    const QString state = dir.filePath(QStringLiteral("memory.json"));
    ASSERT_EQ(::symlink("/dev/zero", native(state).constData()), 0);
    LoggedService service;
    ASSERT_TRUE(service.start(state)) << "the service did not take its bus name";
    DBusMicroscopeService s;
    s.Connect(0);
    EXPECT_EQ(s.ObservationName(9), QString());
    s.Disconnect();
    // Alive: QProcess may not have noted its start yet (Starting), which is
    // no matter here.
    EXPECT_NE(service.process.state(), QProcess::NotRunning);
    const QString said = service.stop();
    EXPECT_TRUE(said.contains(state) && said.contains(QStringLiteral("/dev/zero, which is a character device")))
        << said.toStdString();
}

TEST(ServiceMemory, ALinkThatPointsNowhereIsNotWrittenThroughAndTheCallerIsTold) {
    QTemporaryDir dir;
    const QString planted = dir.filePath(QStringLiteral("planted/elsewhere.json"));
    const QString state = dir.filePath(QStringLiteral("memory.json"));
    ASSERT_EQ(::symlink(native(planted).constData(), native(state).constData()), 0);
    LoggedService service;
    ASSERT_TRUE(service.start(state));
    DBusMicroscopeService s;
    s.Connect(0);
    try {
        s.setObservationName(9, QStringLiteral("redirected"));
        ADD_FAILURE() << "a write through a link that points nowhere answered success";
    } catch (const RunTimeError& e) {
        EXPECT_EQ(e.number(), RunTimeError::ServiceNotKept);
        EXPECT_TRUE(e.description().contains(QStringLiteral("points nowhere"))) << e.description().toStdString();
    }
    s.Disconnect();
    service.stop();
    EXPECT_FALSE(QFileInfo::exists(planted));
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(planted).absolutePath()));
}
