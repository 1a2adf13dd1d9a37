#pragma once
// The definition tables of the turret devices, read from the service when a
// microscope is opened: objectives (mObjData), filter cubes (mFilterData, with
// the operator's cube colours mFColor from FilterColor.txt) and condenser
// positions (mConData). Each loader also fills the limits of its parameter
// object. A failure shows the loader's own message and leaves the table with
// what it had read so far; the caller goes on.
//
// Each answers whether the device is mounted. When the service answers 0 the
// loader sets SETUP to 0 and loads nothing, and the caller hides the device's
// two frames.
#include "state/MainState.h"

// Nosepiece: limits of limit index 1, the link state, the seven objective
// arrays; afterwards mObj.MAX is the number of positions delivered.
// Message "ObjectiveData Error".
bool ObjectiveData_Init(MainState& s);

// Filter cubes: FilterColor.txt first, then limits of limit index 2 (STEP is the
// mounted word, read again), and the eight cube arrays.
// Message "FilterCube Init Error".
bool FilterCube_Init(MainState& s);

// The operator's cube colours from FilterColor.txt (249 defaults without the
// file), with the wait cursor. Throws on a damaged file; FilterCube_Init traps.
void FilterColor_Read(MainState& s);

// Condenser: limits of limit index 4 and the position names. It has no trap
// of its own: a failure goes to the caller's (Init's, with its step number).
bool CondenserData_Init(MainState& s);
