#pragma once
// The main panel's design, in twips, in one place. The geometry of every
// frame and label is placed from these numbers through twips::place (which
// converts with the one rule of Units.h); nothing else in the panel holds a
// pixel figure.

namespace layout {

// ---- menu column ----
constexpr int kMenuWidth = 3300;
constexpr int kMenuHeight = 8400;
// The entry strip: five entries from Y 50, 370 apart; the pointer leaving
// the box X 60..440, Y 50..1900 repaints them all to normal.
constexpr int kEntryTop = 50;
constexpr int kEntryPitch = 370;
constexpr int kEntryHeight = 340;
constexpr int kEntryLeft = 60;
constexpr int kEntryRight = 440;
constexpr int kEntryBoxBottom = 1900;
constexpr int kMenuLabelLeft = 500;
// Open section below the strip, the menu width less 100 wide.
constexpr int kSectionTop = 1960;
constexpr int kSectionLeft = 50;
constexpr int kSectionInset = 100;
constexpr int kSplitGrip = 90;
constexpr int kSplitBelow = 500;  // a drag above this Y keeps the smallest height
constexpr int kSplitMin = 510;    // smallest height of the open section (34 pixels)
constexpr int kRow = 340;        // one entry row inside a section
constexpr int kRowTop = 330;     // first row below the section title
constexpr int kDownSize = 300;   // the close arrow of a section

// ---- device area ----
constexpr int kPanelWidth = 9300;    // the large panel (Picture1)
constexpr int kPanelHeight = 7800;
constexpr int kWindowWidth = 12600;  // the widest useful window
constexpr int kWindowHeight = 8400;  // default panel (window) height
constexpr int kMinWindowHeight = 1500;
constexpr int kScrollReserve = 270;  // room of the vertical scroll bar
constexpr int kHScrollAbove = 210;   // horizontal bar stands this far above the bottom
constexpr int kVScrollShort = 220;
constexpr int kNarrowWindow = 600;   // menu plus this when the panel has no room at all

// Large panel frames: left column along the stand, right column under the drawing.
constexpr int kLeftCol = 120;
constexpr int kLeftW = 4300;
constexpr int kRightCol = 4560;
constexpr int kRightW = 4620;
constexpr int kFrameH = 700;
constexpr int kBtnLeft = 90;
constexpr int kBtnTop = 220;
constexpr int kBtnSize = 380;
constexpr int kBtnW = 680;      // device buttons: room for "Zoom", "Lamp", "EpiFS"
constexpr int kStatusLeft = 600;
constexpr int kStatusTop = 210;
constexpr int kStatusH = 400;
constexpr int kPanelBottomMargin = 120;  // below the lowest frame of either look

// The shared selector.
constexpr int kSelectLeft = 720;
constexpr int kSelectTopObj = 3720;
constexpr int kSelectTopFilter = 2970;
constexpr int kSelectTopCon = 5080;
constexpr int kSelectWidthObj = 3950;
constexpr int kSelectWidth = 3000;
constexpr int kSelectShadow = 80;
constexpr int kSelectH6 = 2300;
constexpr int kSelectH7 = 2600;
constexpr int kSelectH8 = 2860;
constexpr int kSelectHDefault = 2300;
constexpr int kLinkRow = 330;

// Zoom scale: 135 twips for each tenth of magnification above 0.8.
constexpr int kZoomScaleLeft = 240;
constexpr int kZoomPerTenth = 135;
constexpr int kZoomShortH = 680;  // the zoom frame without its scale, as its neighbours

// Epi shutter frame on the stand's drawing (without the epi illuminator).
constexpr int kShutterLeft = 5920;
constexpr int kShutterTop = 2250;
constexpr int kShutterW = 780;
constexpr int kShutterH = 420;
constexpr int kShutterCaptionH = 240;  // the shutter's state under its button

// Compact panel: one row per device.
constexpr int kSubWidth = 4290;
constexpr int kSubMargin = 105;
constexpr int kSubTop = 420;
constexpr int kSubRow = 340;
constexpr int kSubRowH = 320;
constexpr int kSubBtnW = 660;

} // namespace layout
