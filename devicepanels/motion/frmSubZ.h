#pragma once
// The focus drive panel. One form serves three modes, named by its caption,
// which the main window sets before it shows the form:
//   "Z Focus Drive"       focusing: the scroll widget moves the drive;
//   "Focus Setting"       remembers a focus position per objective (usrAdd);
//   "UpperLimit Setting"  lifts the software upper limit and sets a new one.
// The drive moves only by commands: the scroll widget's step buttons (fast
// 7.5 and slow 2.5 focus steps), its thumb, a click on its track, the repeat
// of a held step button (Timer1) and the mouse wheel. The position shown is
// always the one the service reported. Auto focus runs through the camera
// when Camera.ini says the camera head can do it.
#include "devicepanels/subpanel/SubPanel.h"

#include <QPixmap>
#include <QTimer>
#include <array>

class PanelLabel;
class QFrame;
class usrAddress;
class usrButton;
class usrYscroll;

class frmSubZ : public SubPanel {
    Q_OBJECT
public:
    static inline const QString kFocusDrive = QStringLiteral("Z Focus Drive");
    static inline const QString kFocusSetting = QStringLiteral("Focus Setting");
    static inline const QString kUpperLimitSetting = QStringLiteral("UpperLimit Setting");
    // The scale steps of usrZscroll, per cent of the whole travel.
    static constexpr std::array<int, 6> kScale = {5, 10, 25, 50, 75, 100};
    // Heights of the modes, twips.
    static constexpr int kNormalHeight = 3370;
    static constexpr int kSettingHeight = 5400;
    // The upper limit while "UpperLimit Setting" is open, counts.
    static constexpr int32_t kOpenUpperLimit = 40000;

    explicit frmSubZ(QWidget* owner);
    ~frmSubZ() override;

    void Get_Status() override;
    // The dispatch stored a new position in mZ: widget, txtSel and the main
    // panel's Zcmd twins follow.
    Q_INVOKABLE void ZDriveValue_Set();
    Q_INVOKABLE void Origin_Chg(int address);
    // Computes the focus step and the drive speed from the objective.
    Q_INVOKABLE void Step_Set();
    // The camera controls as set up when the panel loads.
    Q_INVOKABLE void Camera_Set() { cameraSetUp(true); }

    // Whether the mouse is inside frmAF (the wheel acts only then).
    static bool insidePanel();
    // The wheel's two step routines: 2.5 focus steps from mZ.Value.
    static void WheelStepDown();
    static void WheelStepUp();

    // Controls, named as the form's design names them.
    QFrame* frmAF = nullptr;
    usrYscroll* usrZscroll = nullptr;
    usrAddress* usrAdd = nullptr;
    usrButton* usrButton1 = nullptr;   // scale in (index up)
    usrButton* usrButton2 = nullptr;   // scale out (index down)
    PanelLabel* scllText = nullptr;
    PanelLabel* txtSel = nullptr;
    PanelLabel* txtAF_Comp = nullptr;
    PanelLabel* labCamera = nullptr;
    PanelLabel* Text1 = nullptr;
    usrButton* btnAF = nullptr;
    usrButton* btnCamera = nullptr;
    usrButton* btnAFOrign = nullptr;
    usrButton* btnReset = nullptr;
    usrButton* btnCntClear = nullptr;
    usrButton* BtnMemory = nullptr;
    usrButton* btnSetting = nullptr;
    usrButton* btnEscape = nullptr;
    usrButton* btnClose = nullptr;
    QTimer Timer1;
    QTimer AFTimer;
    std::array<QPixmap, 2> imgEscape;

    int scaleIndex() const { return m_scaleIndex; }
    int16_t repeatDirection() const { return m_repeat; }
    // Sets the repeat direction of Timer1: negative raises, positive lowers, 0 stops.
    void setRepeatDirection(int16_t direction);
    // The upper limit read when "UpperLimit Setting" was entered.
    int32_t savedUpperLimit() const { return m_savedUpperLimit; }

    // Gestures, as the controls raise them (tests call them too).
    void usrZscroll_FastDown();
    void usrZscroll_FastUp();
    void usrZscroll_SlowDown();
    void usrZscroll_SlowUp();
    void usrZscroll_ThumbReleased();
    void usrZscroll_ValueChange();
    void btnReset_Pressed();
    void btnCntClear_Pressed();
    void btnAFOrign_Pressed();
    void btnEscape_Click();
    void BtnMemory_Click();
    void btnSetting_Latched(bool on);
    void usrButton1_Click();
    void usrButton2_Click();
    void usrAdd_AddressPicked(int16_t address);
    void btnClose_Click();
    void btnAF_Click();
    void btnCamera_Click();
    void AFTimer_Timer();
    void Timer1_Timer();

protected:
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;
    void keyPressEvent(QKeyEvent* e) override;
    void wheelEvent(QWheelEvent* e) override;
    bool eventFilter(QObject* watched, QEvent* e) override;

private:
    enum class Mode { Drive, FocusSetting, UpperLimit };
    Mode mode() const;
    void layoutControls();
    void rangeMarks();
    void rescale();
    void focusRow(int16_t address);
    QString focusRowText(int16_t address, int32_t position) const;
    void cameraSetUp(bool onLoad);
    void runAutoFocus();
    // One scroll event: hourglass, widget disabled, the range tests, the move.
    void stepEvent(double steps, bool down);
    // A focus move with the failure handling of the downward events
    // (`recover`: the rSPR recovery above the range) or the plain decoding.
    void moveFocus(int32_t target, bool recover);
    void decode(const std::exception& e);

    int m_scaleIndex = 5;
    int32_t m_savedUpperLimit = 0;
    bool m_upperEntered = false;
    int16_t m_repeat = 0;
    bool m_focusing = false;
};
