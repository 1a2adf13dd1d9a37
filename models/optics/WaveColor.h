#pragma once
// Colour coding by wavelength: the light path drawing paints the excitation
// and the emitted light of the mounted cube in a colour that looks like the
// light. These are the pure parts: wavelength to colour, reading the
// wavelength out of a filter's text, and deciding what the drawing shows.
// Colours are int32_t 0x00BBGGRR.
#include <QString>
#include <cstdint>

// The colour word of three components. Each is taken within 0..255 (below 0
// as 0, above 255 as 255), as the platform's colour composition did.
int32_t act_rtcrgb(int16_t red, int16_t green, int16_t blue);

// A wavelength in nanometres to red, green, blue 0 to 255; black outside
// 380..780. Each component goes through Wave_Factor with the intensity factor.
void Wave_Color(int16_t wavelength, int16_t& red, int16_t& green, int16_t& blue);

// One component: 0 when value is exactly 0, otherwise 255 x (value x factor)
// to the power 0.8, rounded half to even.
int16_t Wave_Factor(double value, double factor);

// act_rtcrgb of Wave_Color.
int32_t Wave_RGB(int16_t wavelength);

// The colours of the two strip ends (ExStrip_Set / BaStrip_Set).
void Strip_Set(int16_t left, int16_t right, int32_t& leftColor, int32_t& rightColor);

// The colour of the strip's vertical line at x over a width of `width` units:
// each component r1 + x x (r2 - r1) / width, the step kept as a Single, the
// sum rounded half to even. The strip draws nothing when width <= 0; the
// answer is then the left colour.
int32_t Strip_LineColor(int32_t leftColor, int32_t rightColor, double width, double x);

// What a filter's code and text say (ExColor_Set / BaColor_Set before any
// drawing): the code is Reiki with EXName, or Kyusyu with BAName.
struct WaveReading {
    enum Kind {
        NoFilter,    // code 0 or 1: no colour is shown
        Catalogue,   // code 2 to 240: a wavelength from the text
        UserDefined, // code 241 to 249: only the stored colour counts
        Untouched,   // any other code: the display does not change
    };
    Kind kind = Untouched;
    int16_t wavelength = 0; // Catalogue only; 500 when the text gives none
    bool hasStrip = false;  // Catalogue only: false keeps the old strip colours
    int16_t left = 0;       // strip ends in nanometres, when hasStrip
    int16_t right = 0;
};

// Reads the text from its third character on (after Trim, the kind prefix
// "EX"/"BA" dropped): "470/40" centre 470, strip 445..495; "465-495" strip
// 465..495, wavelength 480 (half to even); "520" an edge, strip 520..570;
// anything else wavelength 500 and no strip. A number part that does not
// convert throws RunTimeError (TypeMismatch, or Overflow beyond 16 bits),
// which the caller's handler receives.
WaveReading Wave_Read(int16_t code, const QString& partText);

// What the drawing does with a reading, given the cube's colour record
// (E_SET with ExColor, or B_SET with BaColor).
struct PartColour {
    enum Action {
        Clear,     // clear the colour of the drawing
        Show,      // give `colour` to the drawing
        Untouched, // change nothing
    };
    Action action = Untouched;
    int32_t colour = 0;
    bool stripVisible = false; // the strip picture is shown (Catalogue only)
};

PartColour Part_Color(const WaveReading& reading, int16_t chosen, int32_t chosenColor);
