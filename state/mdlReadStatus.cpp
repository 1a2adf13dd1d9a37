#include "state/mdlReadStatus.h"

#include "state/MsgBox.h"
#include "core/service/ReadBatch.h"

#include <algorithm>

void Status_Read(MainState& s) {
    try {
        // Up to 162 custom values: read as one group.
        const ReadBatch reads(s.micService);
        MicroscopeService& svc = *s.micService;
        if (svc.IsMounted(DeviceIndex::Nosepiece) == 0)
            return;
        const int16_t first = s.mObj.MIN();
        // The stop memories hold addresses up to 7.
        const int16_t last = std::min<int16_t>(s.mObj.MAX(), clsDefStop::kAddresses - 1);
        for (int16_t n = 7; n <= 12; ++n) {
            for (int16_t a = first; a <= last; ++a) {
                if (s.mAS.SETUP() != 0)
                    s.mAS.Memory_Put(n, a, svc.CustomValue(DeviceIndex::ApertureStop, n, a));
                if (s.mFS.SETUP() != 0)
                    s.mFS.Memory_Put(n, a, svc.CustomValue(DeviceIndex::FieldStop, n, a));
                if (s.mND.SETUP() != 0)
                    s.mND.Memory_Put(n, a, svc.CustomValue(DeviceIndex::NDFilter, n, a));
            }
        }
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("AS FS ND CustomValue_Read Error"));
    }
}
