#pragma once
// The operator's filter cube colours (mFColor): one clsDefFillterCasette per
// cube catalogue number 1 to 249, kept between runs in "FilterColor.txt" below
// the application data folder, Korvu/MavrelTools/FilterColor.txt.
//
// The collection is a QVector of records. Its item n, as the panels count
// (1-based, the cube's Number), is element n - 1; reach it through
// FilterColor_Item, which fails as a collection look-up does.
//
// File: 249 lines, each "Number,ExColor,BaColor,E_SET,B_SET" in decimal,
// ended by CR LF, no header, no trailing blank line, plain ASCII.
#include "models/optics/clsDefFillterCasette.h"

#include <QString>
#include <QVector>

using FilterColorList = QVector<clsDefFillterCasette>;

constexpr int kFilterColorCount = 249;

// <data folder>/Korvu/MavrelTools/FilterColor.txt
QString FilterColor_Path();

// Item n (1-based). Outside 1..size throws RunTimeError(SubscriptOutOfRange),
// which is how a cube whose colour line was never read fails on look-up.
clsDefFillterCasette& FilterColor_Item(FilterColorList& mFColor, int n);
const clsDefFillterCasette& FilterColor_Item(const FilterColorList& mFColor, int n);

// Appends 249 fresh records, Number 1 to 249, white colours, E_SET/B_SET 0.
void FilterColor_Default(FilterColorList& mFColor);

// Makes mFColor anew from the file. No file, or anything but a regular file
// (a folder, a pipe, a device, also behind a link) or a file beyond
// FileRead's bound: the 249 defaults, and the file is told on standard error. Otherwise one record per line, up to 249 lines, added in file
// order: the position, not the Number field, decides which cube a line
// colours. An empty line ends the reading at once. A line ends at CR LF, CR or
// LF. Failures throw RunTimeError and leave mFColor with the records read so
// far; the caller tells the operator "FilterCube Init Error":
// - fewer than 249 lines and no empty line: InputPastEndOfFile (62);
// - fewer than five fields on a line: SubscriptOutOfRange (9);
// - a field that is no number: TypeMismatch (13); too large: Overflow (6);
// - a file that cannot be opened: 75.
void FilterColor_Read(FilterColorList& mFColor, const QString& path = FilterColor_Path());

// Writes the table back, only when the program is connected to the service;
// otherwise the file is left untouched. Creates the folder when missing and
// the file anew. Items 1 to 249 are written as far as the table has them.
// Never throws: a failure only makes the answer false, and the program goes on
// closing.
bool FilterColor_Write(const FilterColorList& mFColor, bool connected,
                       const QString& path = FilterColor_Path());
