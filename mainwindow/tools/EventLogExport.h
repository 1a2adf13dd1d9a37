#pragma once
// The stand's own event log, read out of every unit present into Event.txt:
// for Q7s, HBX-A, HBX-B and Tolva in that order, a heading line and the
// entries 1 to 100 of that unit, each without its four-character prefix,
// every line ended by CR LF. The file is written whole or not at all.
#include <QByteArray>
#include <QString>
#include <cstdint>
#include <stdexcept>

class MicroscopeService;

namespace EventLogExport {

// <AppData>/Korvu/MavrelTools/Event.txt
QString FilePath();

// Entries read per unit, whatever the length of its log.
constexpr int16_t kEntries = 100;

// The export's bytes. Without a service (not connected) the text is empty.
// An entry shorter than its prefix throws DamagedEntry; a failing service
// call throws its RunTimeError.
struct DamagedEntry : std::runtime_error {
    DamagedEntry(int16_t unit, int16_t entry, const QString& text);
};
QByteArray Read(MicroscopeService* service);

// Read and write: false, with the reason in `error`, when the file cannot be
// written (the old file, if any, stays as it was).
bool WriteFile(const QByteArray& text, const QString& path, QString* error);

// Hands the file to the desktop's text viewer (the desktop's handler for the
// file, else xdg-open); false when nothing could take it.
bool OpenInViewer(const QString& path);

} // namespace EventLogExport
