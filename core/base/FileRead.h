#pragma once
// The one way the program reads a file: every file the panel and the service
// read (settings, colours, profiles, Camera.ini, the service's state,
// configuration and stand descriptions) comes in through here, so that no
// file can hang or flood a reader. The file is opened without blocking (a
// named pipe answers at once instead of waiting for a writer), must be a
// regular file (a pipe, socket, device or folder is refused, also behind a
// link) and is read up to a bound (a link to /dev/zero or a huge file is
// refused, not read until memory runs out). A refusal names the file and
// the reason; the caller treats it as it treats a damaged file.
#include <QByteArray>
#include <QString>

namespace FileRead {

// Far above any file the program keeps (settings, colours, profiles, the
// service's state and descriptions are a few kilobytes).
constexpr qint64 kDefaultLimit = 16 * 1024 * 1024;

enum class Outcome {
    Read,     // bytes holds the whole file
    Missing,  // nothing at the path (also a link that points nowhere)
    Refused,  // something is there that is not read: see why
};

enum class Refusal {
    None,
    NotRegular,  // a folder, pipe, socket or device
    TooLarge,    // a regular file beyond the bound
    Unreadable,  // the system refused to open or read it
};

struct Result {
    Outcome outcome = Outcome::Missing;
    Refusal refusal = Refusal::None;
    QByteArray bytes;
    QString path;
    // Why it was refused, in words an operator understands, beginning with
    // "it" ("it is a named pipe, not a regular file").
    QString why;

    bool read() const { return outcome == Outcome::Read; }
    bool missing() const { return outcome == Outcome::Missing; }
    bool refused() const { return outcome == Outcome::Refused; }
    // "<path>: <why>".
    QString message() const;
};

// Reads the whole of `path`, at most `limit` bytes.
Result read(const QString& path, qint64 limit = kDefaultLimit);

// Looks at what stands at `path` without opening it, for a reader that opens
// the file itself: Missing, Refused (with why), or Read (a regular file
// within the bound; bytes stay empty).
Result inspect(const QString& path, qint64 limit = kDefaultLimit);

// What a file system object of this mode is, in words: "a named pipe", "a folder".
QString kindOfMode(unsigned mode);

// Tells a refusal on standard error, once per file and reason in a run (a
// settings file is read value by value, and would otherwise be told for
// every value).
void tellOnce(const Result& refused);
// The same for any message about a file (a write that was refused).
void tellOnce(const QString& message);

} // namespace FileRead
