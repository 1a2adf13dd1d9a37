#pragma once
// The one way the program writes a file: whole or not at all. The bytes go to
// a temporary file in the same folder, are flushed to the disk and then
// renamed over the old file, so that a kill or a power cut at any moment
// leaves either the old file or the new one, never an empty or torn one.
// Every file the panel and the service write (settings, colours, link
// settings, the event log export, profiles, the service's state) goes
// through here.
#include <QByteArray>
#include <QString>

namespace WholeFile {

// Writes `bytes` as the whole content of `path`, creating its folder. Answers
// false, leaving any old file as it was, when the folder or file cannot be
// written; `error`, when given, then tells why in words an operator understands.
// Only a regular file is replaced: a folder, pipe, socket or device at the
// path is left alone and refused. A link to a file is written through (the
// target is replaced, the link stays); a link that points nowhere is refused,
// since writing would create a file wherever the link was made to point.
bool write(const QString& path, const QByteArray& bytes, QString* error = nullptr);

// Why write() would refuse to replace what is at `path` (a folder, pipe,
// socket or device, or a link that points nowhere), naming the path; empty
// when a regular file or nothing is there. For a writer that opens the file
// itself.
QString refusalToReplace(const QString& path);

} // namespace WholeFile
