// Any bytes as a stand description: the reader either gives a description or
// refuses it with the run-time error that names the file; it never crashes.
#include "core/base/RunTimeError.h"
#include "stand/StandDescription.h"

#include <QByteArray>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray json(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    try {
        (void)StandDescription::fromJson(json, QStringLiteral("fuzz.json"));
    } catch (const RunTimeError&) {
        // a refused description is an answer
    }
    return 0;
}
