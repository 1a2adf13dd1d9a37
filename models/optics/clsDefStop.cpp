#include "models/optics/clsDefStop.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "models/optics/fncDataChk.h"

namespace {
void checkMemoryIndex(int16_t observation, int16_t address) {
    if (observation < 0 || observation >= clsDefStop::kObservations || address < 0 ||
        address >= clsDefStop::kAddresses)
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
}
} // namespace

clsDefStop::clsDefStop() {
    for (auto& row : m_memory)
        for (double& v : row)
            v = 0;
}

bool clsDefStop::Diameter_Chk(const QString& text) const {
    const double v = vb::textToDouble(text);
    return m_MIN <= v && v <= m_MAX;
}

bool clsDefStop::Offset_Chk(const QString& text) const {
    return OffsetShape_Chk(text, 0, 9);
}

double clsDefStop::OffsetValue(int16_t index) const {
    const int16_t i = (index == -1) ? m_Offset : index;
    switch (i) {
    case 0: return 1.00;
    case 1: return 0.95;
    case 2: return 0.90;
    case 3: return 0.85;
    case 4: return 0.80;
    case 5: return 0.75;
    case 6: return 0.70;
    case 7: return 0.65;
    case 8: return 0.60;
    case 9: return 0.55;
    default: return 0;
    }
}

double clsDefStop::Memory_Get(int16_t p_Observation, int16_t p_Address) const {
    checkMemoryIndex(p_Observation, p_Address);
    return m_memory[p_Observation][p_Address];
}

void clsDefStop::Memory_Put(int16_t p_Observation, int16_t p_Address, double p_Value) {
    checkMemoryIndex(p_Observation, p_Address);
    m_memory[p_Observation][p_Address] = p_Value;
}
