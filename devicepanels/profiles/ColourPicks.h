#pragma once
// The operator's colours of the mounted filter cube on the light path
// drawing: the excitation light (EX) and the light its barrier filter passes
// (BA). Each is the colour of its wavelength unless the operator has chosen
// one; the choices live in mFColor (FilterColor.txt) under the cube's
// catalogue number.
#include "state/MainState.h"

class QWidget;
class usrPath_M;

namespace ColourPicks {

enum Part { Excitation = 1, Barrier = 2 };

// ExColor_Set / BaColor_Set: gives the drawing the part's colour of the
// mounted cube (the operator's choice or the wavelength's), clears it, or
// leaves it, as the cube's code says; keeps the strip ends in left/right
// when its text names wavelengths. Throws what reading the cube's text throws.
void Color_Set(MainState& s, usrPath_M* path, Part part, int32_t& left, int32_t& right);

// Whether the mounted cube's part has a colour the operator may choose (a
// catalogue or user-defined filter).
bool Choosable(const MainState& s, Part part);

// selColor / selBaColor: the colour dialog, starting at `initial`; its answer
// goes to the drawing and to the cube's record, which is marked as chosen, as
// it stands: a cancel keeps -1. Nothing when the cube has no colour to choose.
void Choose(MainState& s, usrPath_M* path, Part part, QWidget* owner, int32_t initial);

// Keeps `colour` as the operator's choice for the part of the mounted cube
// and draws it: the strip's pick and the dialog's answer both end here.
void Pick(MainState& s, usrPath_M* path, Part part, int32_t colour);

} // namespace ColourPicks
