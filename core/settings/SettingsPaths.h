#pragma once
// The panel's settings files below the per-user application data folder
// (Folder_Get(26), that is $XDG_DATA_HOME), with the folder names they have
// always had.
#include <QString>

#include <memory>

class QSettings;

namespace SettingsPaths {

QString MainIni();        // <AppData>/Korvu/MavrelTools/Zentor.ini
QString CameraIni();      // <AppData>/Korvu/Shared/Data/Zentor/Camera.ini
QString SetupIni();       // <AppData>/Korvu/MavrelTools/Setup.ini (joystick set-up)
QString FilterColorTxt(); // <AppData>/Korvu/MavrelTools/FilterColor.txt
QString DebugTrace();     // <AppData>/Korvu/Shared/Data/debugZentor.txt

// The folder of the delivered files (Camera.ini) for a program in
// programFolder (the executable's folder when empty): the program's own folder
// in the build tree, where the build copies them, or the installation's data
// folder found relative to the program (<prefix>/bin -> <prefix>/share/zentor),
// so an installation works wherever its prefix lies. Empty when neither holds
// a Camera.ini.
QString DeliveredFolder(const QString& programFolder = QString());

// First run: when the camera INI does not exist yet, copies the delivered
// Camera.ini (from DeliveredFolder(programFolder)) to CameraIni(), making the
// folders first when the target folder
// holds no file. A copy that fails is ignored: the panel then runs without
// camera names and every camera look-up gives its default. Answers whether the
// camera INI exists afterwards.
bool CameraIni_Prepare(const QString& programFolder = QString());

// The per-user store of the three link settings: QSettings in its native
// format, in $XDG_CONFIG_HOME/Zentor/Zentor.conf (~/.config by default).
QString LinkStorePath();
// That store, or nullptr when something is at its path that is not a regular
// file within FileRead's bound (QSettings opens the file itself, and would
// wait for ever on a pipe), or a link that points nowhere (which QSettings
// would write through): that is told once on standard error, and the link
// settings are then neither read nor written.
std::unique_ptr<QSettings> LinkStore();

} // namespace SettingsPaths
