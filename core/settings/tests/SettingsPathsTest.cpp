// Where the settings files live, the first-run copy of Camera.ini, and the
// delivered camera table itself (copied next to this test by the build).
#include "core/settings/SettingsPaths.h"
#include "core/settings/clsIniEdit.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMap>
#include <QSettings>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

namespace {

QString dataHome() { return QString::fromLocal8Bit(qgetenv("XDG_DATA_HOME")); }
QString testHome() { return QString::fromLocal8Bit(qgetenv("ZENTOR_TEST_HOME")); }

void writeBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray readBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

class FirstRun : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(dataHome().isEmpty());
        QDir(dataHome() + QStringLiteral("/Korvu")).removeRecursively();
        program = testHome() + QStringLiteral("/program");
        QDir(program).removeRecursively();
        QDir().mkpath(program);
    }
    QString program;
};

// The camera look-ups of the inventory and of the auto-focus panel.
QString unitName(const clsIniEdit& cam, int unit) {
    return cam.Ini_ReadStr(QStringLiteral("CameraUnit"), QString::number(unit), QStringLiteral("CU-K5"));
}
QString headName(const clsIniEdit& cam, int head) {
    return cam.Ini_ReadStr(QStringLiteral("CameraHead"), QString::number(head), QStringLiteral("Unknown"));
}
QString sectionUnit(const clsIniEdit& cam, int i) {
    return cam.Ini_ReadStr(QString::number(i), QStringLiteral("CameraUnit"), QStringLiteral("CU-K5"));
}
QString sectionHead(const clsIniEdit& cam, int i) {
    return cam.Ini_ReadStr(QString::number(i), QStringLiteral("CameraHead"), QStringLiteral("Unknown"));
}
int sectionAF(const clsIniEdit& cam, int i) {
    return cam.Ini_ReadInt(QString::number(i), QStringLiteral("CameraAF"), 0);
}

} // namespace

TEST(SettingsPaths, AllFilesLieBelowTheDataHomeWithTheirFolderNames) {
    const QString d = dataHome();
    EXPECT_EQ(SettingsPaths::MainIni(), d + QStringLiteral("/Korvu/MavrelTools/Zentor.ini"));
    EXPECT_EQ(SettingsPaths::CameraIni(), d + QStringLiteral("/Korvu/Shared/Data/Zentor/Camera.ini"));
    EXPECT_EQ(SettingsPaths::SetupIni(), d + QStringLiteral("/Korvu/MavrelTools/Setup.ini"));
    EXPECT_EQ(SettingsPaths::FilterColorTxt(), d + QStringLiteral("/Korvu/MavrelTools/FilterColor.txt"));
    EXPECT_EQ(SettingsPaths::DebugTrace(), d + QStringLiteral("/Korvu/Shared/Data/debugZentor.txt"));
}

TEST_F(FirstRun, NoMainIniMeansEveryWindowValueTakesItsDefault) {
    clsIniEdit ini(SettingsPaths::MainIni());
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Top"), -1), -1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), -1);
    EXPECT_FALSE(QFile::exists(SettingsPaths::MainIni()));
}

TEST_F(FirstRun, CameraIniIsCopiedFromTheProgramFolder) {
    writeBytes(program + QStringLiteral("/Camera.ini"), "[CameraUnit]\r\n3=CU-X\r\n");
    EXPECT_TRUE(SettingsPaths::CameraIni_Prepare(program));
    EXPECT_EQ(readBytes(SettingsPaths::CameraIni()), QByteArray("[CameraUnit]\r\n3=CU-X\r\n"));
    clsIniEdit cam(SettingsPaths::CameraIni());
    EXPECT_EQ(unitName(cam, 3), QStringLiteral("CU-X"));
}

TEST_F(FirstRun, AnInstalledProgramFindsCameraIniInItsPrefixDataFolder) {
    // <prefix>/bin/zentor reads <prefix>/share/zentor/Camera.ini; a prefix
    // with spaces in its path works as well.
    const QString prefix = program + QStringLiteral("/my prefix");
    QDir().mkpath(prefix + QStringLiteral("/bin"));
    writeBytes(prefix + QStringLiteral("/share/zentor/Camera.ini"), "[CameraUnit]\r\n3=INSTALLED\r\n");
    EXPECT_EQ(SettingsPaths::DeliveredFolder(prefix + QStringLiteral("/bin")), prefix + QStringLiteral("/share/zentor"));
    EXPECT_TRUE(SettingsPaths::CameraIni_Prepare(prefix + QStringLiteral("/bin")));
    EXPECT_EQ(readBytes(SettingsPaths::CameraIni()), QByteArray("[CameraUnit]\r\n3=INSTALLED\r\n"));
}

TEST_F(FirstRun, AnUnreadableDeliveredFileLeavesTheCameraIniAbsent) {
    const QString src = program + QStringLiteral("/Camera.ini");
    writeBytes(src, "[CameraUnit]\r\n3=CU-X\r\n");
    QFile::setPermissions(src, QFileDevice::Permissions());
    if (QFile(src).open(QIODevice::ReadOnly))
        GTEST_SKIP() << "running as a user who reads every file";
    EXPECT_FALSE(SettingsPaths::CameraIni_Prepare(program));
    EXPECT_FALSE(QFile::exists(SettingsPaths::CameraIni()));
}

TEST_F(FirstRun, AnExistingCameraIniIsNeverOverwritten) {
    writeBytes(SettingsPaths::CameraIni(), "[CameraUnit]\r\n3=MINE\r\n");
    writeBytes(program + QStringLiteral("/Camera.ini"), "[CameraUnit]\r\n3=DELIVERED\r\n");
    EXPECT_TRUE(SettingsPaths::CameraIni_Prepare(program));
    EXPECT_EQ(readBytes(SettingsPaths::CameraIni()), QByteArray("[CameraUnit]\r\n3=MINE\r\n"));
}

TEST_F(FirstRun, AnAbsentSourceLeavesTheCameraIniAbsentAndLookUpsGiveDefaults) {
    EXPECT_FALSE(SettingsPaths::CameraIni_Prepare(program));
    EXPECT_FALSE(QFile::exists(SettingsPaths::CameraIni()));
    // The folder is made all the same, as the first run always did.
    EXPECT_TRUE(QFileInfo(QFileInfo(SettingsPaths::CameraIni()).absolutePath()).isDir());
    clsIniEdit cam(SettingsPaths::CameraIni());
    for (int i = 0; i <= 20; ++i) {
        EXPECT_EQ(unitName(cam, i), QStringLiteral("CU-K5"));
        EXPECT_EQ(headName(cam, i), QStringLiteral("Unknown"));
        EXPECT_EQ(sectionAF(cam, i), 0);
    }
}

TEST_F(FirstRun, AReadOnlyDeliveredFileGivesAWritableCopy) {
    const QString src = program + QStringLiteral("/Camera.ini");
    writeBytes(src, "[Select Camera]\r\nCamera No=0\r\n");
    QFile::setPermissions(src, QFileDevice::ReadOwner | QFileDevice::ReadGroup | QFileDevice::ReadOther);
    EXPECT_TRUE(SettingsPaths::CameraIni_Prepare(program));
    clsIniEdit cam(SettingsPaths::CameraIni());
    EXPECT_EQ(cam.Ini_Write(QStringLiteral("Select Camera"), QStringLiteral("Camera No"), QStringLiteral("2")), 1);
    EXPECT_EQ(cam.Ini_ReadInt(QStringLiteral("Select Camera"), QStringLiteral("Camera No"), 0), 2);
}

TEST_F(FirstRun, WithoutAFolderTheProgramsOwnFolderIsUsed) {
    // The build put the delivered Camera.ini next to this test.
    ASSERT_TRUE(QFile::exists(QCoreApplication::applicationDirPath() + QStringLiteral("/Camera.ini")));
    EXPECT_TRUE(SettingsPaths::CameraIni_Prepare());
    EXPECT_EQ(readBytes(SettingsPaths::CameraIni()),
              readBytes(QCoreApplication::applicationDirPath() + QStringLiteral("/Camera.ini")));
}

// --- the delivered table -----------------------------------------------------

class DeliveredCameraIni : public testing::Test {
protected:
    void SetUp() override { cam.Ini_SetPath(QCoreApplication::applicationDirPath() + QStringLiteral("/Camera.ini")); }
    clsIniEdit cam;
};

TEST_F(DeliveredCameraIni, IsCrLfThroughout) {
    const QByteArray all = readBytes(cam.Ini_GetPath());
    ASSERT_FALSE(all.isEmpty());
    EXPECT_EQ(all.count('\n'), all.count("\r\n"));
    EXPECT_TRUE(all.endsWith("\r\n"));
}

TEST_F(DeliveredCameraIni, HoldsSectionsZeroToTwentyWithAllThreeKeys) {
    for (int i = 0; i <= 20; ++i) {
        QStringList keys(10);
        const int n = cam.Ini_Keys(QString::number(i), keys);
        EXPECT_EQ(keys.mid(0, n),
                  (QStringList{QStringLiteral("CameraUnit"), QStringLiteral("CameraHead"), QStringLiteral("CameraAF")}))
            << "section " << i;
    }
}

TEST_F(DeliveredCameraIni, UnitZeroCannotReportItsHead) {
    EXPECT_EQ(sectionUnit(cam, 0), QStringLiteral("CU-K5"));
    EXPECT_EQ(unitName(cam, 0), QStringLiteral("CU-K5"));
    // Units that report their head are there too.
    EXPECT_NE(unitName(cam, 1), QStringLiteral("CU-K5"));
}

TEST_F(DeliveredCameraIni, LookUpsBySectionNameAgreeWithTheNumberedSections) {
    for (int i = 0; i <= 20; ++i) {
        EXPECT_EQ(unitName(cam, i), sectionUnit(cam, i)) << i;
        EXPECT_EQ(headName(cam, i), sectionHead(cam, i)) << i;
        EXPECT_EQ(cam.Ini_ReadInt(QStringLiteral("CameraAF"), QString::number(i), 0), sectionAF(cam, i)) << i;
    }
}

TEST_F(DeliveredCameraIni, HasAutoFocusHeadsAndHeadsWithout) {
    bool withAF = false, without = false;
    for (int i = 0; i <= 20; ++i) {
        (sectionAF(cam, i) == 1 ? withAF : without) = true;
        EXPECT_TRUE(sectionAF(cam, i) == 0 || sectionAF(cam, i) == 1);
    }
    EXPECT_TRUE(withAF);
    EXPECT_TRUE(without);
}

TEST_F(DeliveredCameraIni, AHeadNamedInSeveralSectionsCanFocusIfAnyOfThemCan) {
    // What the auto-focus button checks for a unit that cannot report its head.
    QMap<QString, QList<int>> sectionsOfHead;
    for (int i = 0; i <= 20; ++i)
        sectionsOfHead[sectionHead(cam, i)].append(i);
    bool found = false;
    for (auto it = sectionsOfHead.cbegin(); it != sectionsOfHead.cend(); ++it) {
        if (it.key() == QStringLiteral("Unknown") || it.value().size() < 2)
            continue;
        QList<int> afs;
        for (int s : it.value())
            afs.append(sectionAF(cam, s));
        if (afs.contains(0) && afs.contains(1))
            found = true;
    }
    EXPECT_TRUE(found) << "the table should carry one head listed with and without auto focus";
}

TEST_F(FirstRun, ADeliveredCameraIniThatIsNoFileIsPassedOverAtOnce) {
    const QString src = program + QStringLiteral("/Camera.ini");
    ASSERT_EQ(::symlink("/dev/zero", QFile::encodeName(src).constData()), 0);
    EXPECT_FALSE(SettingsPaths::CameraIni_Prepare(program));
    EXPECT_FALSE(QFile::exists(SettingsPaths::CameraIni()));
}

TEST(LinkStore, LivesInTheConfigurationHomeUnderTheProgramsName) {
    EXPECT_EQ(SettingsPaths::LinkStorePath(),
              QString::fromLocal8Bit(qgetenv("XDG_CONFIG_HOME")) + QStringLiteral("/Zentor/Zentor.conf"));
    QFile::remove(SettingsPaths::LinkStorePath());
    {
        const std::unique_ptr<QSettings> store = SettingsPaths::LinkStore();
        ASSERT_TRUE(store);
        store->setValue(QStringLiteral("LinkSetting/Obj"), QStringLiteral("1"));
    }
    EXPECT_TRUE(readBytes(SettingsPaths::LinkStorePath()).contains("Obj=1"));
}

TEST(LinkStore, APipeInItsPlaceIsPassedOverAndNotWaitedOn) {
    const QString path = SettingsPaths::LinkStorePath();
    QFile::remove(path);
    QDir().mkpath(QFileInfo(path).absolutePath());
    ASSERT_EQ(::mkfifo(QFile::encodeName(path).constData(), 0600), 0);
    EXPECT_FALSE(SettingsPaths::LinkStore());
    QFile::remove(path);
}

TEST(LinkStore, ALinkThatPointsNowhereIsNeitherReadNorWrittenThrough) {
    const QString path = SettingsPaths::LinkStorePath();
    const QString planted = testHome() + QStringLiteral("/planted/Zentor.conf");
    QFile::remove(path);
    QDir().mkpath(QFileInfo(path).absolutePath());
    ASSERT_EQ(::symlink(QFile::encodeName(planted).constData(), QFile::encodeName(path).constData()), 0);
    EXPECT_FALSE(SettingsPaths::LinkStore());
    EXPECT_FALSE(QFileInfo::exists(planted));
    QFile::remove(path);
}
