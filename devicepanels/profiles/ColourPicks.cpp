#include "devicepanels/profiles/ColourPicks.h"

#include "widgets/usrPath_M.h"
#include "models/optics/WaveColor.h"
#include "devicepanels/profiles/Dialogs.h"

#include <stdexcept>

namespace ColourPicks {

namespace {

// What the mounted cube's text says about this part.
WaveReading readingOf(const MainState& s, Part part, int16_t& number) {
    const int16_t address = s.mFilter.Address();
    if (address < 1 || address > s.mFilterData.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("No cube at address %1").arg(address));
    const clsDefFillterCasette& r = s.mFilterData[address - 1];
    number = r.Number();
    return part == Excitation ? Wave_Read(r.Reiki(), r.EXName()) : Wave_Read(r.Kyusyu(), r.BAName());
}

} // namespace

void Color_Set(MainState& s, usrPath_M* path, Part part, int32_t& left, int32_t& right) {
    int16_t number = 0;
    const WaveReading reading = readingOf(s, part, number);
    if (reading.kind == WaveReading::Catalogue && reading.hasStrip) Strip_Set(reading.left, reading.right, left, right);
    int16_t chosen = 0;
    int32_t colour = 0;
    if (reading.kind == WaveReading::Catalogue || reading.kind == WaveReading::UserDefined) {
        const clsDefFillterCasette& c = FilterColor_Item(s.mFColor, number);
        chosen = part == Excitation ? c.E_SET() : c.B_SET();
        colour = part == Excitation ? c.ExColor() : c.BaColor();
    }
    const PartColour shown = Part_Color(reading, chosen, colour);
    if (shown.action == PartColour::Clear)
        part == Excitation ? path->ClearExColor() : path->ClearBaColor();
    else if (shown.action == PartColour::Show)
        part == Excitation ? path->setExColor(shown.colour) : path->setBaColor(shown.colour);
}

bool Choosable(const MainState& s, Part part) {
    try {
        int16_t number = 0;
        const WaveReading reading = readingOf(s, part, number);
        if (reading.kind != WaveReading::Catalogue && reading.kind != WaveReading::UserDefined) return false;
        FilterColor_Item(s.mFColor, number);
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void Pick(MainState& s, usrPath_M* path, Part part, int32_t colour) {
    if (!Choosable(s, part)) return;
    int16_t number = 0;
    readingOf(s, part, number);
    clsDefFillterCasette& c = FilterColor_Item(s.mFColor, number);
    if (part == Excitation) {
        path->setExColor(colour);
        c.setExColor(colour);
        c.setE_SET(1);
    } else {
        path->setBaColor(colour);
        c.setBaColor(colour);
        c.setB_SET(1);
    }
}

void Choose(MainState& s, usrPath_M* path, Part part, QWidget* owner, int32_t initial) {
    if (!Choosable(s, part)) return;
    Pick(s, path, part, Dialogs::Color_Dialog(owner, initial));
}

} // namespace ColourPicks
