// Any bytes as an observation profile file: the reader either gives records
// or throws the run-time error the editor reports as "File Read Error", never
// anything else; six records it gives write out and read back to the same
// text.
#include "core/base/RunTimeError.h"
#include "models/profiles/ProfileFile.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    ProfileFileReading reading;
    try {
        reading = Profile_FileParse(bytes);
    } catch (const RunTimeError&) {
        return 0;
    }
    if (reading.items.size() > bytes.count('\n') + bytes.count('\r') + 1) std::abort();
    for (const auto& caption : reading.captions)
        if (caption.first < 1 || caption.first > 6) std::abort();
    if (reading.items.size() >= 6) {
        const QByteArray text = Profile_FileText(reading.items);
        try {
            if (Profile_FileText(Profile_FileParse(text).items) != text) std::abort();
        } catch (const RunTimeError&) {
            std::abort();
        }
    }
    return 0;
}
