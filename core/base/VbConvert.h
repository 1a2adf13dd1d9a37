#pragma once
// Number conversions with the rules of the platform the system was first
// written on, so that every value reads, rounds, overflows and prints as the
// operator has always seen it.
//
// - toInt16 / toInt32: round half to even, then range check; out of range (or
//   not a finite number) throws RunTimeError(Overflow).
// - toSingle: to float precision; too large for a float throws Overflow.
// - textToDouble: text that is not numeric throws RunTimeError(TypeMismatch)
//   (the implicit conversion of a text to a number).
// - val: reads the leading number of a text, never fails (0 when none).
// - numberText / singleText: the platform's number-to-text: at most 15 (Double)
//   or 7 (Single) significant digits, no trailing zeros, "." separator,
//   exponent form "1E+15" / "1E-05" outside the plain range.
#include "core/base/RunTimeError.h"

#include <QString>
#include <cstdint>

namespace vb {

int16_t toInt16(double value);
int32_t toInt32(double value);
float toSingle(double value);

// Text to number as an implicit conversion does it: leading and trailing
// blanks allowed, sign, decimals, exponent, "&H" hexadecimal. Anything else is
// a type mismatch.
double textToDouble(const QString& text);
int16_t textToInt16(const QString& text);
int32_t textToInt32(const QString& text);
// Whether textToDouble would succeed.
bool isNumeric(const QString& text);

// The leading number of a text; blanks anywhere in the number are skipped,
// reading stops at the first character that cannot continue it.
double val(const QString& text);

QString numberText(double value);
QString singleText(float value);

} // namespace vb
