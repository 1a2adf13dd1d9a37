// The camera numbers the shipped stands report must mean what the panel makes
// of them through the camera settings delivered with the program: the unit
// and head numbers are sections of Camera.ini, except where a stand is meant
// to report a head that no section knows.
#include "core/settings/clsIniEdit.h"
#include "stand/StandDescription.h"

#include <QDir>
#include <gtest/gtest.h>

namespace {

const QString kCameraIni = QStringLiteral(ZENTOR_CAMERA_INI);

StandDescription shipped(const QString& file) {
    return StandDescription::load(QDir(QStringLiteral(ZENTOR_STAND_DESCRIPTIONS)).filePath(file));
}

bool isSection(const clsIniEdit& ini, int number) {
    return ini.Ini_ReadStr(QString::number(number), QStringLiteral("CameraHead"), QStringLiteral("<none>")) !=
           QLatin1String("<none>");
}

TEST(CameraNumbers, TheFullSystemsCameraReportsItsHeadAndCanAutoFocus) {
    const clsIniEdit ini(kCameraIni);
    for (const StandDescription& d : {StandDescription::builtIn(), shipped("full-system.json")}) {
        ASSERT_TRUE(d.camera) << d.name.toStdString();
        ASSERT_TRUE(isSection(ini, d.cameraUnit));
        ASSERT_TRUE(isSection(ini, d.cameraHead));
        // Not the unit that cannot report its head, so the head number counts.
        EXPECT_NE(ini.Ini_ReadStr(QString::number(d.cameraUnit), "CameraUnit", "CU-K5"), "CU-K5");
        EXPECT_NE(ini.Ini_ReadStr(QString::number(d.cameraHead), "CameraHead", "Unknown"), "Unknown");
        EXPECT_EQ(ini.Ini_ReadInt(QString::number(d.cameraHead), "CameraAF", 0), 1);
        // The by-key sections say the same.
        EXPECT_EQ(ini.Ini_ReadStr("CameraHead", QString::number(d.cameraHead), "Unknown"),
                  ini.Ini_ReadStr(QString::number(d.cameraHead), "CameraHead", "Unknown"));
    }
}

TEST(CameraNumbers, TheUnknownHeadIsInNoSectionSoItShowsUnknownWithoutAutoFocus) {
    const clsIniEdit ini(kCameraIni);
    const StandDescription d = shipped("camera-unknown-head.json");
    ASSERT_TRUE(d.camera);
    ASSERT_TRUE(isSection(ini, d.cameraUnit));
    EXPECT_NE(ini.Ini_ReadStr(QString::number(d.cameraUnit), "CameraUnit", "CU-K5"), "CU-K5");
    EXPECT_FALSE(isSection(ini, d.cameraHead));
    EXPECT_EQ(ini.Ini_ReadStr("CameraHead", QString::number(d.cameraHead), "Unknown"), "Unknown");
    EXPECT_EQ(ini.Ini_ReadInt("CameraAF", QString::number(d.cameraHead), 0), 0);
}

TEST(CameraNumbers, EveryShippedCameraUnitIsASectionOfTheSettings) {
    const clsIniEdit ini(kCameraIni);
    const QStringList files = QDir(QStringLiteral(ZENTOR_STAND_DESCRIPTIONS)).entryList({"*.json"});
    ASSERT_FALSE(files.isEmpty());
    for (const QString& f : files) {
        const StandDescription d = shipped(f);
        if (d.camera) {
            EXPECT_TRUE(isSection(ini, d.cameraUnit)) << f.toStdString();
        }
    }
}

} // namespace
