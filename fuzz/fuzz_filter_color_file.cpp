// Any bytes as FilterColor.txt: the reader either fills the table or throws
// the run-time error the operator is told about, never anything else.
#include "FuzzFile.h"
#include "core/base/RunTimeError.h"
#include "models/optics/FilterColorFile.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString path = fuzzWriteInput(QStringLiteral("FilterColor.txt"), data, size);
    FilterColorList table;
    try {
        FilterColor_Read(table, path);
    } catch (const RunTimeError&) {
        // The reader's own failures; the panel shows "FilterCube Init Error".
    }
    if (table.size() > kFilterColorCount)
        std::abort();
    return 0;
}
