#include "core/settings/SettingsPaths.h"

#include "core/base/FolderPath.h"
#include "core/base/mdlCommon.h"

#include "core/base/FileRead.h"
#include "core/base/WholeFile.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>

namespace SettingsPaths {
namespace {
QString appData() { return Folder_Get(kFolderAppData); }
} // namespace

QString MainIni() { return appData() + QStringLiteral("/Korvu/MavrelTools/Zentor.ini"); }
QString CameraIni() { return appData() + QStringLiteral("/Korvu/Shared/Data/Zentor/Camera.ini"); }
QString SetupIni() { return appData() + QStringLiteral("/Korvu/MavrelTools/Setup.ini"); }
QString FilterColorTxt() { return appData() + QStringLiteral("/Korvu/MavrelTools/FilterColor.txt"); }
QString DebugTrace() { return Common_LogPath(); }

QString DeliveredFolder(const QString& programFolder) {
    QString folder = programFolder;
    if (folder.isEmpty() && QCoreApplication::instance())
        folder = QCoreApplication::applicationDirPath();
    if (folder.isEmpty())
        return QString();
    // ZENTOR_DATA_FROM_BIN: the installation's data folder as seen from its
    // program folder, given by the build from the install directories.
    const QString candidates[] = {folder, QDir(folder).filePath(QStringLiteral(ZENTOR_DATA_FROM_BIN))};
    for (const QString& candidate : candidates) {
        if (QFileInfo(QDir(candidate).filePath(QStringLiteral("Camera.ini"))).isFile())
            return QDir::cleanPath(candidate);
    }
    return QString();
}

bool CameraIni_Prepare(const QString& programFolder) {
    const QString target = CameraIni();
    if (QFileInfo::exists(target))
        return true;
    const QString folder = DeliveredFolder(programFolder);
    const QString source = folder.isEmpty() ? QString() : Common_Slash(folder) + QStringLiteral("Camera.ini");

    const QString targetFolder = QFileInfo(target).absolutePath();
    if (QDir(targetFolder).entryList(QDir::Files | QDir::Hidden).isEmpty())
        QDir().mkpath(targetFolder);
    if (source.isEmpty())
        return false;
    const FileRead::Result delivered = FileRead::read(source);
    if (!delivered.read()) {
        FileRead::tellOnce(delivered);
        return false;
    }
    // Whole or not at all, like every file the program writes: a kill during
    // the first run leaves no empty Camera.ini that would hide the delivered one.
    // The copy is the operator's own file from now on: a new file with the
    // usual mode, writable even when the delivered one is read-only.
    return WholeFile::write(target, delivered.bytes);
}

QString LinkStorePath() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/Zentor/Zentor.conf");
}

std::unique_ptr<QSettings> LinkStore() {
    const QString path = LinkStorePath();
    const FileRead::Result found = FileRead::inspect(path);
    if (found.refused()) {
        FileRead::tellOnce(found);
        return nullptr;
    }
    // Nor is it written through a link that points nowhere.
    if (const QString refusal = WholeFile::refusalToReplace(path); !refusal.isEmpty()) {
        FileRead::tellOnce(refusal);
        return nullptr;
    }
    // This one file only: no fallback files are read.
    return std::make_unique<QSettings>(path, QSettings::NativeFormat);
}

} // namespace SettingsPaths
