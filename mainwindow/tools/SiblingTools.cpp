#include "mainwindow/tools/SiblingTools.h"

#include "state/MainState.h"
#include "state/MsgBox.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>

namespace SiblingTools {
namespace {

const char* baseName(Tool tool) {
    switch (tool) {
    case Tool::StandSwitch: return "Q7s_Switch";
    case Tool::ControllerSwitch: return "TolvaControl";
    case Tool::SetupTool: return "Bratis";
    }
    return "";
}

QString programFolder(const Context& c) { return QFileInfo(c.programPath).absolutePath(); }

// The program's path up to and with the first "Korvu" (the family's folder).
QString korvuPart(const QString& programPath) {
    const int at = programPath.indexOf(QLatin1String("Korvu"));
    return programPath.left(at + 5);   // as the text search counts: no match keeps 4 characters
}

} // namespace

Context current(int selectedMic, const QString& micName) {
    const MainState& s = mainState();
    Context c;
    c.programPath = QCoreApplication::applicationFilePath();
    c.connected = s.MicConnected;
    c.simulation = s.SimMode;
    c.selectedMic = selectedMic;
    c.micName = micName;
    return c;
}

QString ExecutablePath(Tool tool, const Context& c) {
    const QString name = QLatin1String(baseName(tool));
    if (tool == Tool::ControllerSwitch && c.connected)
        return korvuPart(c.programPath) + QStringLiteral("/Shared/Bin/") + name;
    return programFolder(c) + QLatin1Char('/') + name;
}

QStringList Arguments(Tool tool, const Context& c) {
    if (!c.connected)
        return {};
    if (c.simulation)
        return {QStringLiteral("/SIM")};
    if (tool == Tool::SetupTool)
        return {c.micName};
    return {QString::number(c.selectedMic)};
}

bool Launch(Tool tool, const Context& c) {
    const QString path = ExecutablePath(tool, c);
    if (!QFileInfo(path).isFile()) {
        MsgBox::show(QStringLiteral("The EXE does not exist."));
        return false;
    }
    if (!QProcess::startDetached(path, Arguments(tool, c), QFileInfo(path).absolutePath())) {
        MsgBox::show(path + QStringLiteral(" could not be started: it is not an executable program."),
                     MsgBox::OKOnly, MsgBox::Exclamation);
        return false;
    }
    return true;
}

} // namespace SiblingTools
