#pragma once
// The main window's panel: the menu column on the left (connection, setting,
// information, observation methods, custom observation), and the device area
// in one of two looks: the large panel picMain, one frame per device drawn
// along the stand's optical path, and the compact panel frmSub, one line per
// device. Every control carries its name from the panel's design; twin
// controls are fixed arrays, index 0 on the large panel and index 1 on the
// compact panel; arrays that count from 1 leave slot 0 empty.
//
// The panel does what is its own: menu clicks and hover colours, the
// drop-down sections, the device selectors with txtAdd, the switch between
// the two looks, Form_Resize and the scroll bars, the menu splitter, the
// control pad, the observation entries' colours, hover and clicks, and the
// marking of the active observation. Start-up, Init, the property dispatch
// and the status read belong to frmMain, which reaches the controls through
// these public members.
#include "widgets/PanelControls.h"

#include <QListWidget>
#include <QScrollBar>
#include <QString>
#include <QTabBar>
#include <QWidget>
#include <cstdint>
#include <vector>

class usrAddress;
class usrButton;
class usrPath_M;
class ZoomScale;

class MainPanel : public QWidget {
    Q_OBJECT
public:
    explicit MainPanel(QWidget* parent = nullptr);
    ~MainPanel() override;

    // ---- colours of the panel, 0x00BBGGRR ---------------------------------
    static constexpr int32_t kBack = 0x5C342C;       // menu and entry background
    static constexpr int32_t kText = 0xFFD0C0;       // normal text
    static constexpr int32_t kSelected = 0x28BEE6;   // the selected entry
    static constexpr int32_t kSelectedText = 0;      // text on the selected entry
    static constexpr int32_t kHover = 0x8D675C;      // entry under the pointer; marked LED
    static constexpr int32_t kMenuHover = 0xCDCDCD;  // menu entry under the pointer
    static constexpr int32_t kHoverText = 0x28BEE6;  // custom label text under the pointer
    static constexpr int32_t kDeviceFace = 0x3A2420; // face of the device frames
    static constexpr int32_t kShutterOnStand = 0x241511;
    static constexpr int32_t kShutterOnEpi = 0x47281F;

    // ---- fields of the window -----------------------------------------------
    int16_t PanelMode = 1;      // 1 large panel, 2 compact panel
    int16_t MenuSelect = 0;     // 1..5, the open menu section; 0 none
    int16_t SelectDevice = 0;   // 1 nosepiece, 2 filter cube, 3 condenser
    bool MenuDragging = false;  // the mouse is down in frmMenu
    // The observation entry highlighted: the index clicked, or ObservationNow.
    int32_t ObservationShown = 0;

    // Layout numbers, twips, captured at construction from the design
    // (frmMain's Form_Initialize may overwrite them from the settings).
    int PanelHeight = 8400;     // stored panel height
    int PanelWidth = 0;         // stored width of Picture1 (the large panel)
    int MenuHeight = 0;         // designed height of frmMenu
    int MenuWidth = 0;          // designed width of frmMenu
    int SubWidth = 0;           // designed width of the compact frame frmSub
    int SubMargin = 0;          // margin kept right of frmSub
    int MenuSplit = 0;          // height of the open section, set by the splitter
    // Scale of the zoom marks: captured left of Line1(0) and the default
    // left of imgClick, twips.
    int ZoomScaleLeft = 0;
    int ZoomClickDefault = 0;
    static constexpr int kZoomHalfWidth = 60;

    // ---- menu column ----------------------------------------------------------
    PanelFrame* frmMenu = nullptr;
    PanelLabel* btnmenu[6] = {};   // 1..5
    PanelLabel* labmenu[6] = {};   // 1..5
    PanelFrame* frmMenuSplit = nullptr;  // the grip between the open section and the rest

    // Connection
    PanelFrame* frmConnect = nullptr;
    usrButton* downConnect = nullptr;
    QTabBar* tabConnect = nullptr;       // "  Microscope", "  Fiber"
    QWidget* pageMic = nullptr;
    QWidget* pageFiber = nullptr;
    QListWidget* lstMic = nullptr;       // item data (Qt::UserRole): the name index
    PanelLabel* labMic = nullptr;
    usrButton* downMicSel = nullptr;
    usrButton* btnOpen = nullptr;
    usrButton* btnClose = nullptr;
    usrButton* btnStatusRead = nullptr;
    usrButton* btnFiberOpen = nullptr;
    usrButton* btnFiberClose = nullptr;
    usrButton* btnFiberRStatus = nullptr;
    QListWidget* lstFiber = nullptr;

    // Setting
    PanelFrame* frmSetting = nullptr;
    usrButton* downSetting = nullptr;
    PanelLabel* btnSetup[4] = {};  // 0 set-up tool, 1 control pad, 2 Z upper limit, 3 focus setting
    // " XY Setting": the stage panel in its setting mode (a position per
    // objective); the stand's firmware rule and a motorised stage enable it.
    PanelLabel* btnSetupXY = nullptr;
    PanelFrame* frmControlPad = nullptr;
    PanelLabel* btnLED[3] = {};    // " Off", " Dark", " Bright"
    PanelLabel* btnEnable = nullptr;

    // Information
    PanelFrame* frmInfo = nullptr;
    usrButton* downInfo = nullptr;
    PanelLabel* btnInfo[4] = {};   // 0 event log, 1 version, 2 stand switch, 3 controller switch

    // Observation Method
    PanelFrame* frmObserve = nullptr;
    PanelLabel* labObserve[8] = {};  // 1..7; the tag of 7 holds the last user number
    PanelLabel* btnObserve[8] = {};  // 1..7, the coloured box beside each entry
    usrButton* btnProfile = nullptr;

    // Custom Observation
    PanelFrame* frmOther = nullptr;
    usrButton* downOther = nullptr;
    PanelLabel* labObserveU[7] = {};  // 1..6

    // ---- device area -----------------------------------------------------------
    PanelFrame* Picture1 = nullptr;   // holds the large or the compact panel
    PanelFrame* picMain = nullptr;    // the large panel
    PanelFrame* frmSub = nullptr;     // the compact panel
    usrPath_M* usrMainPath = nullptr;
    PanelLabel* labSystem = nullptr;
    usrButton* btnGUIClose = nullptr;  // to the compact panel
    usrButton* btnGUIOpen = nullptr;   // to the large panel
    QScrollBar* HScroll = nullptr;
    QScrollBar* VScroll = nullptr;

    // Frames per device, index 0 large, 1 compact. The pairs named twice
    // (frmZdrive/frmZ, frmStage/frmXY) point at the same two frames.
    PanelFrame* frmFiber[2] = {};
    PanelFrame* frmND[2] = {};
    PanelFrame* frmZdrive[2] = {};
    PanelFrame* frmZ[2] = {};
    PanelFrame* frmStage[2] = {};
    PanelFrame* frmXY[2] = {};
    PanelFrame* frmCondenser[2] = {};
    PanelFrame* frmAp[2] = {};
    PanelFrame* frmFS[2] = {};
    PanelFrame* frmAnalyzer[2] = {};
    PanelFrame* frmShutter[2] = {};
    PanelFrame* frmPath[2] = {};
    PanelFrame* frmFilter[2] = {};
    PanelFrame* frmObj[2] = {};
    PanelFrame* frmZoom[2] = {};
    PanelFrame* frmEpiFS[2] = {};
    PanelFrame* frmLamp[2] = {};

    // Status labels, written by the dispatch. ObjSubCmd names the same two
    // labels as ObjCmd.
    PanelLabel* FiberTxt[2] = {};
    PanelLabel* NDcmd[2] = {};
    PanelLabel* Zcmd[2] = {};
    PanelLabel* Xcmd[2] = {};
    PanelLabel* Ycmd[2] = {};
    PanelLabel* CONcmd[2] = {};
    PanelLabel* APcmd[2] = {};
    PanelLabel* FieldS[2] = {};
    PanelLabel* AnaCmd[2] = {};
    PanelLabel* ShutterCmd[2] = {};
    PanelLabel* LightPathCmd[2] = {};
    PanelLabel* FilterCmd[2] = {};
    PanelLabel* ObjCmd[2] = {};
    PanelLabel* ObjSubCmd[2] = {};
    PanelLabel* ZoomCmd[2] = {};
    PanelLabel* HBXField[2] = {};
    PanelLabel* LampCmd[2] = {};

    // Device buttons that open the sub-panels (latching), twins.
    usrButton* btnAp[2] = {};
    usrButton* btnFS[2] = {};
    usrButton* btnEpiFS[2] = {};
    usrButton* btnND[2] = {};
    usrButton* btnClamp[2] = {};
    usrButton* btnZoom[2] = {};
    usrButton* btnObj[2] = {};
    usrButton* btnFilter[2] = {};
    usrButton* btnCond[2] = {};
    usrButton* btnFrmPath[2] = {};
    usrButton* btnFiber[2] = {};
    usrButton* btnZ[2] = {};
    usrButton* btnXY[2] = {};
    usrButton* btnAna[2] = {};    // one-shot: analyzer in/out
    usrButton* btnShutter = nullptr;  // one-shot, sits on the drawing
    usrButton* btnEX = nullptr;   // excitation filter mark on the drawing
    usrButton* btnBa = nullptr;   // barrier filter mark on the drawing
    PanelLabel* imgBack = nullptr;  // the lamp housing behind btnClamp

    // The shared selector of nosepiece, filter cube and condenser.
    PanelFrame* picSelect = nullptr;
    PanelFrame* picSelect2 = nullptr;  // its shadow
    usrAddress* txtAdd = nullptr;
    usrButton* downObj = nullptr;
    usrButton* downFilter = nullptr;
    usrButton* downCon = nullptr;
    PanelCheck* ObjLink = nullptr;
    PanelLabel* labObjLink = nullptr;
    PanelCheck* PathLink = nullptr;
    PanelLabel* labPathLink = nullptr;
    PanelCheck* ZoomLink = nullptr;
    PanelLabel* labZoomLink = nullptr;

    // The zoom scale: the frame, its marks and the click mark.
    PanelFrame* frmScroll = nullptr;
    QFrame* Line1[2] = {};
    PanelLabel* imgClick = nullptr;
    PanelLabel* img1 = nullptr;
    // Its clicks and the handle's drag: tells the magnification picked.
    ZoomScale* zoomScale = nullptr;

    // ---- behaviour of the panel --------------------------------------------------
    void btnmenu_Click(int16_t Index);
    void btnmenu_MouseMove(int16_t Index);
    // Pointer over frmMenu at (X, Y) twips: outside the entry strip every
    // entry is repainted to normal.
    void frmMenu_MouseMove(int16_t Button, float X, float Y);
    void frmMenu_MouseDown(float Y);
    void frmMenu_MouseUp();
    // Init shows the Observation Method section. One section stands open at
    // a time: it opens when none or itself is open, and otherwise waits for
    // its entry, so that it is never drawn over the section in use.
    void ShowObserveSection();
    void downConnect_Click();
    void downSetting_Click();
    void downInfo_Click();
    void downOther_Click();

    void downObj_Click();
    void downFilter_Click();
    void downCon_Click();
    void txtAdd_AddressPicked(int16_t Address);
    // The one-shot toggles (MainPanelToggles.cpp): the analyzer in or out,
    // the epi shutter open or closed, the opposite of where the stand is.
    void btnAna_Released(int16_t Index);
    void btnShutter_Released();
    // Hides picSelect, picSelect2 and the objective's link box.
    void CloseSelectors();
    // The light path diagram was pressed: selectors close, the active
    // observation is marked again.
    void usrMainPath_LostSelection();

    void btnGUIClose_Released();
    void btnGUIOpen_Released();
    void Form_Resize();
    void VScroll_Change();
    void HScroll_Change();

    void btnLED_Click(int16_t Index);
    void btnEnable_Click();
    // Marked control pad entry: 0..2 a LED entry, 3 Enable, -1 none.
    int16_t ControlPadMark() const;

    void labObserve_Click(int16_t Index);
    void labObserveU_Click(int16_t Index);
    // Opens the profile editor (MainPanelProfiles.cpp).
    void btnProfile_Click();
    // A filter's colour area on the drawing, or its EX / BA button: the left
    // button opens the colour picker; any other does nothing.
    void usrMainPath_ColorPicked(int16_t Filter, int16_t Button);
    void btnObserve_MouseMove(int16_t Index);
    void labObserveU_MouseMove(int16_t Index);
    void frmObserve_MouseMove(float X);
    void frmOther_MouseMove(float X);

    // Observation entry colours.
    void SetObserveNormal(int16_t Index);    // built-in 1..7
    void SetObserveSelected(int16_t Index);
    void SetUserNormal(int16_t Index);       // user 1..6
    void SetUserSelected(int16_t Index);
    // All entries, built-in and user, to normal.
    void ClearObservationMarks();
    // Marks the active observation from ObservationNow, the units found and
    // the objective and condenser set-ups: the entry lights only where the
    // system offers that method; otherwise ObservationShown is kept.
    void ShowObservation();

    // Firmware rule of the stand's menu entries: stand present and its
    // firmware text after the first letter from 1.0 to 1.2.
    static bool StandFirmwareOld();

    // Closes up the device frames of each column of both looks: a hidden
    // frame leaves no gap, the frames shown keep their designed order and
    // spacing, and a full system stands exactly as designed. The large and
    // the compact panel then take the height of what they show. The panel
    // runs it itself whenever a device frame is shown or hidden; the frames
    // whose places are fixed numbers (the shutter on the drawing, the
    // selector) are not moved. Form_Resize's stored sizes are not touched.
    void relayoutFrames();
    // Height in twips of what the large panel shows (frames, drawing and an
    // open selector, with the bottom margin); the compact panel likewise.
    int LargeContentHeight() const;
    int CompactContentHeight() const;

    // Window geometry in twips (the top-level window that holds the panel).
    int WindowWidth() const;
    int WindowHeight() const;
    void setWindowWidth(int twips);
    void setWindowHeight(int twips);

signals:
    // Entries whose action belongs to the window (tools, panels).
    void SetupClicked(int16_t Index);
    void XYSettingClicked();
    void InfoClicked(int16_t Index);
    // The operator changed the split of the menu column.
    void MenuSplitChanged(int twipsHeight);

protected:
    void resizeEvent(QResizeEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    // Tab order, menu letters, focus of the selector, accessible names
    // (PanelAccess.cpp).
    void setUpKeyboardAndNames();
    void buildMenu();
    void buildLargePanel();
    void buildCompactPanel();
    void buildSelector();
    void wire();
    void layoutMenu();
    void placeDeviceArea();
    void showSelector(int16_t device);
    void repaintMenuEntries();
    bool windowMaximised() const;
    void captureColumns();
    void fitPanelHeights();
    void placeShutterCaption();
    bool m_inResize = false;

    // A column of device frames as designed: each frame with its designed
    // height and the gap above it; the first stands at the column's top.
    struct ColumnSlot {
        PanelFrame* frame;
        int height;
        int gapAbove;
    };
    struct Column {
        int top = 0;
        std::vector<ColumnSlot> frames;
    };
    Column m_leftColumn;
    Column m_rightColumn;
    Column m_compactColumn;
    bool m_inRelayout = false;
};
