#pragma once
// Text helpers on which every _Chk function of the parameter objects rests.
#include <QString>
#include <cstdint>

// False for the empty text; otherwise true exactly when every character is one
// of 0 to 9. No sign, no point, no blanks.
bool Digit_Chk(const QString& text);

// How many characters go when every occurrence of part is deleted from text.
// It counts occurrences only where part is one character long; an empty part
// removes nothing and answers 0.
int32_t Char_Count(const QString& text, const QString& part);

// The shape shared by the offset checks of the stops, zoom, light path and the
// lens checks: a digit text passes exactly when its 16-bit value lies in
// lo..hi, and any other text (empty, signed, with a point, letters) passes.
// A digit text beyond 32767 throws RunTimeError(Overflow).
bool OffsetShape_Chk(const QString& text, int16_t lo, int16_t hi);
