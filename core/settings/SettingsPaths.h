#pragma once
// The panel's settings files below the per-user application data folder
// (Folder_Get(26), that is $XDG_DATA_HOME), with the folder names they have
// always had.
#include <QString>

namespace SettingsPaths {

QString MainIni();        // <AppData>/Korvu/MavrelTools/Zentor.ini
QString CameraIni();      // <AppData>/Korvu/Shared/Data/Zentor/Camera.ini
QString SetupIni();       // <AppData>/Korvu/MavrelTools/Setup.ini (joystick set-up)
QString FilterColorTxt(); // <AppData>/Korvu/MavrelTools/FilterColor.txt
QString DebugTrace();     // <AppData>/Korvu/Shared/Data/debugZentor.txt

// First run: when the camera INI does not exist yet, copies the Camera.ini that
// is delivered beside the program (in programFolder; the executable's folder
// when empty) to CameraIni(), making the folders first when the target folder
// holds no file. A copy that fails is ignored: the panel then runs without
// camera names and every camera look-up gives its default. Answers whether the
// camera INI exists afterwards.
bool CameraIni_Prepare(const QString& programFolder = QString());

} // namespace SettingsPaths
