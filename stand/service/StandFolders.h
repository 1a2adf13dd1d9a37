#pragma once
// The stand descriptions the service finds in folders: the folder of the
// shipped descriptions and the XDG configuration folders, where a lab adds
// its own stands without touching the files of the package:
//   $XDG_CONFIG_DIRS/zentor/stands   (default /etc/xdg/zentor/stands)
//   $XDG_CONFIG_HOME/zentor/stands   (default ~/.config/zentor/stands)
// Every *.json file of a folder is a description, served by file name. A file
// of the same name in a more important folder (the user's over the system's
// over the shipped) takes the other's place in the list; new names follow
// the shipped ones, so a shipped stand keeps its index.
//
// A folder or a file that cannot be used (not a folder, unreadable, not a
// regular file, too large, not a valid description) is reported with its path
// and left out; every other description is still served.
#include "stand/StandDescription.h"

#include <QString>
#include <QStringList>
#include <QVector>
#include <functional>

namespace StandFolders {

using Report = std::function<void(const QString&)>;

// The XDG configuration folders for stands, least important first. Absent
// folders are included; they simply hold nothing.
QStringList configFolders();

// The description files of `folders` (least important first) in the order
// described above. Problems go to `problem`, a file replacing another to
// `note`.
QStringList collect(const QStringList& folders, const Report& problem, const Report& note);

// Reads each file; one that cannot be read as a description is reported
// (with its file, by the description's own message) and left out.
QVector<StandDescription> loadEach(const QStringList& files, const Report& problem);

// A description larger than this is no description: it is refused unread.
constexpr qint64 kMaxDescriptionBytes = 16 * 1024 * 1024;

} // namespace StandFolders
