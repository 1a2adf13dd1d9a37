#pragma once
// Window-free common helpers used throughout the panel.
#include <QString>
#include <QStringList>

// The process's command line: element 0 is the full path of the executable,
// elements 1.. the tokens the program was started with, in order. Without a
// running QCoreApplication it is read from the kernel's record of this process.
QStringList Common_Args();

// The argument with a "/" added unless it already ends in one.
QString Common_Slash(const QString& path);

// The text as a number the way an implicit conversion reads it (blanks, sign,
// decimals, exponent, "&H" hexadecimal); anything that does not convert, or
// overflows, gives 0 instead of an error.
double Common_Val(const QString& text);

// The debug trace: appends one line "text,date and time" (CR LF) to
// <AppData>/Korvu/Shared/Data/debugZentor.txt, opening and closing the file for
// that line so that a crash loses nothing. The folder is not created; when the
// file cannot be opened (no folder) the failure goes to the caller as
// RunTimeError(76), to be handled by the caller's own trap.
void Common_Log(const QString& text);

// The path Common_Log writes to.
QString Common_LogPath();
