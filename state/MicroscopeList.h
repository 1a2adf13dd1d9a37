#pragma once
// The choice of the microscope at start: the command line, the list of
// microscopes the service offers, and which list position is opened.
#include <QString>
#include <QStringList>
#include <QVector>
#include <cstdint>
#include <functional>

struct CommandLineRequest {
    int16_t RequestedMic = -1;   // 46 with /SIM, else the index of a name given, else -1
    int16_t CompactRequest = -1; // 1 with /C
    bool SimMode = false;
};

// Reads the tokens after the program (args[0]): "/SIM", "/C" and microscope
// names 1.. of `names`. Case-sensitive; unknown tokens are ignored; a later
// name overrides an earlier one.
CommandLineRequest parseCommandLine(const QStringList& args, const QStringList& names);

struct MicroscopeEntry {
    QString text;     // shown in the list
    int16_t itemData; // index into the service's name list
};

// The list of microscopes to offer: with /SIM only the simulated microscope
// (index 0); otherwise every available microscope 1.., an empty name shown as
// "NoName".
QVector<MicroscopeEntry> buildMicroscopeList(const QStringList& names, int16_t requestedMic,
                                             const std::function<bool(int16_t)>& isAvailable);

// A microscope's name as the panel shows it. The microscope of another
// computer's stand is shown as "COMPUTER: NAME" in the list, in the chooser,
// and so in the window's caption ("Zentor  [ COMPUTER: NAME ]"), so that the
// operator always sees whose stand the panel drives; a name of this
// computer's stand stays as it is.
QString shownName(const QString& name, const QString& computer);

// Outcome of the choice: a list position (0..), or one of these.
enum SelectedMicValue : int16_t { NothingFound = -1, UsedByAnother = -2, Cancelled = -3 };
constexpr int16_t NeedsDialog = -100;

// One entry: 0. Two or more and nothing requested: NeedsDialog. Otherwise the
// requested index, used as a list position as it stands (so an empty list
// gives -1, and a name on the command line opens the entry after it).
int16_t decideSelectedMic(int entryCount, int16_t requestedMic);
