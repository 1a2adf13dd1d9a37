#pragma once
// The program's waits for the operator (a message box up until it is
// answered), counted. A wait may last any time, and the stand may change
// meanwhile in ways no event reports: whatever was read from it before such
// a wait began, or while one was up, is read afresh afterwards. The count
// goes up as a wait begins and again as it ends.
#include <cstdint>

namespace operatorWait {

// Marks a wait's beginning or end.
void mark();
// How many marks there have been; equal counts mean no wait in between.
uint64_t count();

} // namespace operatorWait
