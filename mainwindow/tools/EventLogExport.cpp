#include "mainwindow/tools/EventLogExport.h"

#include "core/base/FolderPath.h"
#include "core/base/WholeFile.h"
#include "core/service/MicroscopeService.h"

#include <QDesktopServices>
#include <QProcess>
#include <QStandardPaths>
#include <QUrl>

namespace EventLogExport {
namespace {

struct Unit {
    int16_t index;
    const char* heading;
};
const Unit kUnits[] = {
    {UnitIndex::Q7s, "Q7s"}, {UnitIndex::HBX_A, "HBX-A"}, {UnitIndex::HBX_B, "HBX-B"}, {UnitIndex::Tolva, "Tolva"}};

constexpr int kPrefix = 4;

} // namespace

DamagedEntry::DamagedEntry(int16_t unit, int16_t entry, const QString& text)
    : std::runtime_error(QStringLiteral("Event log entry %1 of unit %2 is damaged: \"%3\"")
                             .arg(entry)
                             .arg(unit)
                             .arg(text)
                             .toStdString()) {}

QString FilePath() { return Folder_Get(kFolderAppData) + QStringLiteral("/Korvu/MavrelTools/Event.txt"); }

QByteArray Read(MicroscopeService* service) {
    QByteArray out;
    if (!service)
        return out;
    out.reserve(4 * kEntries * 64);
    for (const Unit& u : kUnits) {
        if (service->DeviceStatus(u.index) != 1)
            continue;
        out += u.heading;
        out += "\r\n";
        for (int16_t i = 1; i <= kEntries; ++i) {
            const QString entry = service->EventLog(u.index, i);
            if (entry.size() < kPrefix)
                throw DamagedEntry(u.index, i, entry);
            out += entry.mid(kPrefix).toUtf8();
            out += "\r\n";
        }
    }
    return out;
}

bool WriteFile(const QByteArray& text, const QString& path, QString* error) {
    return WholeFile::write(path, text, error);
}

bool OpenInViewer(const QString& path) {
    if (QDesktopServices::openUrl(QUrl::fromLocalFile(path)))
        return true;
    // A platform without desktop services (a bare X server) still has xdg-open.
    const QString opener = QStandardPaths::findExecutable(QStringLiteral("xdg-open"));
    return !opener.isEmpty() && QProcess::startDetached(opener, {path});
}

} // namespace EventLogExport
