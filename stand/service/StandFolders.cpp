#include "stand/service/StandFolders.h"

#include "core/base/RunTimeError.h"

#include <QDir>
#include <QFileInfo>
#include <QMap>
#include <QStandardPaths>

#include <cerrno>
#include <cstring>
#include <dirent.h>

namespace StandFolders {

namespace {

const QString kStandsSubfolder = QStringLiteral("zentor/stands");

// A folder that exists but cannot be listed is said; an absent one is normal.
bool usableFolder(const QString& folder, const Report& problem)
{
    const QFileInfo info(folder);
    if (!info.exists() && !info.isSymLink())
        return false;
    if (!info.isDir()) {
        problem(QStringLiteral("the stand folder %1 is not a folder; nothing is read from it").arg(folder));
        return false;
    }
    // QDir lists an unreadable folder as empty: ask the system itself.
    DIR* dir = ::opendir(QFile::encodeName(folder).constData());
    if (!dir) {
        problem(QStringLiteral("the stand folder %1 cannot be read (%2); nothing is read from it")
                    .arg(folder, QString::fromLocal8Bit(std::strerror(errno))));
        return false;
    }
    ::closedir(dir);
    return true;
}

// A description is a regular file of a sane size: a FIFO would block the
// start, a device or a huge file would never end.
bool usableFile(const QFileInfo& file, const Report& problem)
{
    const QString path = file.filePath();
    if (file.isSymLink() && !file.exists()) {
        problem(QStringLiteral("Stand description %1: a link to %2, which does not exist; left out")
                    .arg(path, file.symLinkTarget()));
        return false;
    }
    if (!file.isFile()) {
        problem(QStringLiteral("Stand description %1: not a regular file; left out").arg(path));
        return false;
    }
    if (file.size() > kMaxDescriptionBytes) {
        problem(QStringLiteral("Stand description %1: %2 bytes, more than a description can hold (%3); left out")
                    .arg(path).arg(file.size()).arg(kMaxDescriptionBytes));
        return false;
    }
    return true;
}

} // namespace

QStringList configFolders()
{
    // Most important first, as the XDG lists are written.
    QStringList folders;
    for (const QString& base : QStandardPaths::standardLocations(QStandardPaths::GenericConfigLocation))
        folders.prepend(QDir(base).filePath(kStandsSubfolder));
    folders.removeDuplicates();
    return folders;
}

QStringList collect(const QStringList& folders, const Report& problem, const Report& note)
{
    QStringList names;             // file names in serving order
    QMap<QString, QString> chosen; // file name -> path of the most important one
    for (const QString& folder : folders) {
        if (!usableFolder(folder, problem))
            continue;
        const QFileInfoList entries =
            QDir(folder).entryInfoList({QStringLiteral("*.json")},
                                       QDir::Files | QDir::System | QDir::Dirs | QDir::NoDotAndDotDot, QDir::Name);
        for (const QFileInfo& entry : entries) {
            if (!usableFile(entry, problem))
                continue;
            const QString name = entry.fileName();
            const QString path = entry.absoluteFilePath();
            if (chosen.contains(name))
                note(QStringLiteral("stand description %1 takes the place of %2").arg(path, chosen.value(name)));
            else
                names << name;
            chosen.insert(name, path);
        }
    }
    QStringList files;
    for (const QString& name : names)
        files << chosen.value(name);
    return files;
}

QVector<StandDescription> loadEach(const QStringList& files, const Report& problem)
{
    QVector<StandDescription> stands;
    for (const QString& file : files) {
        try {
            stands << StandDescription::load(file);
        } catch (const RunTimeError& e) {
            problem(e.description() + QStringLiteral("; left out"));
        }
    }
    return stands;
}

} // namespace StandFolders
