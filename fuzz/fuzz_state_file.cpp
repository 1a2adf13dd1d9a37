// Any bytes as the service's state file: the reader either refuses the file
// as a whole with its run-time error or answers the sound entries and lists
// the rest; the sound entries, written again, read back whole and alike. It
// never crashes.
#include "core/base/RunTimeError.h"
#include "stand/StandMemory.h"

#include <QByteArray>
#include <QStringList>
#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    QStringList damaged;
    QJsonObject sound;
    try {
        sound = StandMemory::parse(bytes, &damaged);
    } catch (const RunTimeError&) {
        return 0;   // no memory at all: an answer
    }
    QStringList again;
    const QJsonObject reread = StandMemory::parse(StandMemory::toJson(sound), &again);
    if (!again.isEmpty() || reread != sound)
        std::abort();
    return 0;
}
