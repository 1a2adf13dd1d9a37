// The service process keeps the user observation methods in its state file:
// they survive a restart, a damaged file is set aside and said, and --help
// tells where the file is.
#include "ServiceProcess.h"
#include "core/service/dbus/DBusMicroscopeService.h"

#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

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
    EXPECT_TRUE(said.contains(state + QStringLiteral(".damaged"))) << said.toStdString();
    EXPECT_EQ(readAll(state + QStringLiteral(".damaged")), garbage);
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
