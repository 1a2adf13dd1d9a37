#pragma once
// The family's sibling programs, each started detached with its arguments:
// the stand switch Q7s_Switch and the set-up tool Bratis from the program's
// own folder, the controller stand switch TolvaControl from the program's
// folder when no microscope is open, else from Shared/Bin under the Korvu
// part of the program's path. A program that is not there gives "The EXE does
// not exist." and nothing else changes.
#include <QString>
#include <QStringList>

namespace SiblingTools {

enum class Tool { StandSwitch, ControllerSwitch, SetupTool };

// What the launch depends on, taken from the panel at the moment of the click.
struct Context {
    QString programPath;   // this program's executable, absolute
    bool connected = false;
    bool simulation = false;
    int selectedMic = -1;  // lstMic's index
    QString micName;       // the name labMic shows
};

// The context of this process (its executable, MicConnected, SimMode).
Context current(int selectedMic, const QString& micName);

QString ExecutablePath(Tool tool, const Context& c);
QStringList Arguments(Tool tool, const Context& c);

// Starts the tool; a missing file shows "The EXE does not exist.", one that
// cannot be started says so. Answers whether it started.
bool Launch(Tool tool, const Context& c);

} // namespace SiblingTools
