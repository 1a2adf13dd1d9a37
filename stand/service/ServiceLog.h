#pragma once
// Where the service's messages go: standard error, one line each, with a
// level. Started by the systemd user manager, standard error is a journal
// stream (JOURNAL_STREAM names it), and each line then starts with its
// priority as "<3>", "<4>" or "<6>", which the journal keeps as the message's
// level (journalctl -p, colours); on a terminal or in a file the lines read
// "zentor-service: error: ...", "zentor-service: warning: ...".
#include <QString>

namespace ServiceLog {

enum class Level { Error = 3, Warning = 4, Info = 6, Debug = 7 };

void error(const QString& text);
void warning(const QString& text);
void info(const QString& text);
void write(Level level, const QString& text);

// True when standard error is the journal stream the service was started with.
bool toJournal();
// The line written for a message: with the journal's priority prefix, or with
// the program's name and the level's word.
QByteArray line(Level level, const QString& text, bool journal);
// Qt's own messages (qWarning and the like) take the same road and level.
void takeQtMessages();

} // namespace ServiceLog
