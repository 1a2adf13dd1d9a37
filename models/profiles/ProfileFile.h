#pragma once
// The observation profile file: the six user methods as text, for the
// operator to keep and to load again.
//
// Lines end in CR LF, the text is Latin-1. First one line per record,
//   tab,Name,OBSERVATION,Obj,Filter,Cond,AStop,FStop,ND,ZOOM,LAMP,ANALYZER,
//   SHUTTER,PATH,MIC,HBX_A,HBX_B,Obj_Link,Path_Link,Zoom_Link
// then the line "Custom Value", then "AS t,v1,...,v7" for t = 1 to 6, the
// same for "FS " and "ND ": the user memory of addresses 1 to 7 in shortest
// decimal form (address 0 is not written). There is no header.
#include "models/profiles/clsDefProfile.h"

#include <QByteArray>
#include <QString>
#include <QVector>

using ProfileList = QVector<clsDefProfile>;

// Item t (1-based) of the editor's collection. Outside 1..size throws
// RunTimeError(SubscriptOutOfRange), as a collection look-up fails.
clsDefProfile& Profile_Item(ProfileList& items, int t);
const clsDefProfile& Profile_Item(const ProfileList& items, int t);

// Six new records (Profile_Init).
ProfileList Profile_Init();

// The text a save writes for `items`, records 1 to 6. With fewer than six
// records the save fails at the first one missing, after the record lines
// before it: given `whole`, the answer is those lines and *whole is false;
// without it, a short collection throws RunTimeError(SubscriptOutOfRange).
QByteArray Profile_FileText(const ProfileList& items, bool* whole = nullptr);

struct ProfileFileReading {
    ProfileList items;            // in file order, whatever their tab number says
    // Caption set by each record line: tab number (1 to 6) and its Name field
    // as it stands (untrimmed), in file order.
    QVector<QPair<int, QString>> captions;
};

// Reads a file's text as Profile_FileRead does. Record lines are read until a
// blank line, the end, or the line "Custom Value"; then, from the line
// "Custom Value" on (searched in the same way), the custom lines until a
// blank line or the end. Any field that does not convert, a line with too few
// fields, a tab number outside 1 to 6, or a custom line for a record that was
// not read, throws RunTimeError; the caller then tells the operator
// "File Read Error" and starts again from six new records.
ProfileFileReading Profile_FileParse(const QByteArray& text);
