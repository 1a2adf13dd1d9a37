#pragma once
// Reading back what the stand stores for the custom observation methods.
#include "state/MainState.h"

// For each user observation 7 to 12 and each nosepiece address from mObj.MIN
// to mObj.MAX (never above 7), reads the stored aperture stop, field stop and
// ND values (CustomValue of device 12, 13, 14) into the memories of mAS, mFS,
// mND, for the stops that are fitted (SETUP not 0). Nothing without a
// nosepiece. A failure shows "AS FS ND CustomValue_Read Error" and ends the
// read with what was read so far.
void Status_Read(MainState& s);
