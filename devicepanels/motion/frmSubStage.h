#pragma once
// The stage panel. Two modes by caption: "XY Stage" (moving the stage) and
// "XY Setting" (remembering a stage position per objective). The stage moves
// by commands only: a click on the map goes there, the rulers' thumbs and
// step buttons move one axis (a step scaled by the objective's
// magnification), the memories recall a position, and a right-button drag
// (Timer1) runs the stage towards the pointer, the faster the farther it is
// from the centre of the map. The positions shown are those the service
// reports, streaming while the stage runs.
#include "devicepanels/subpanel/SubPanel.h"

#include <QPixmap>
#include <QTimer>
#include <array>

class PanelLabel;
class QFrame;
class usrAddress;
class usrButton;
class usrStage;

class frmSubStage : public SubPanel {
    Q_OBJECT
public:
    static inline const QString kStage = QStringLiteral("XY Stage");
    static inline const QString kSetting = QStringLiteral("XY Setting");
    static constexpr std::array<int, 6> kScale = {5, 10, 25, 50, 75, 100};
    // The centre of the map in the widget's own coordinates.
    static constexpr double kCentre = 1005;
    // The drag's timer base: the interval is this divided by the vector.
    static constexpr double kDragBase = 400;

    explicit frmSubStage(QWidget* owner);
    ~frmSubStage() override;

    void Get_Status() override;
    // Writes the reported position to the widget, the texts and the main panel.
    Q_INVOKABLE void XYPosition_Refresh();
    // The step and the speed level of the objective in place.
    Q_INVOKABLE void XYStep_Set();

    QFrame* frmXYScroll = nullptr;
    QFrame* frmNormalVer = nullptr;
    QFrame* frmSettingVer = nullptr;
    usrStage* usrXYScroll = nullptr;
    usrAddress* usrAdd = nullptr;
    PanelLabel* txtStep = nullptr;
    PanelLabel* Text1 = nullptr;   // X
    PanelLabel* Text2 = nullptr;   // Y
    PanelLabel* scllText = nullptr;
    usrButton* btnAbs = nullptr;
    usrButton* btnXReset = nullptr;
    usrButton* btnYReset = nullptr;
    usrButton* btnMinus = nullptr;
    usrButton* butPlus = nullptr;
    usrButton* BtnMemory = nullptr;
    usrButton* btnSetting = nullptr;
    usrButton* btnEscape = nullptr;
    usrButton* btnClose = nullptr;
    QTimer Timer1;
    std::array<QPixmap, 2> imgEscape;

    double dX() const { return m_dX; }
    double dY() const { return m_dY; }
    int scaleIndex() const { return m_scaleIndex; }

    // Gestures, as the controls raise them.
    void usrXYScroll_MouseDown(int16_t Button, int16_t Shift, float X, float Y);
    void usrXYScroll_MouseMove(int16_t Button, int16_t Shift, float X, float Y);
    void usrXYScroll_GoTo(double X, double Y);
    void moveX(double x);
    void moveY(double y);
    void Timer1_Timer();
    void endDrag();
    void btnEscape_Click();
    void btnSetting_Latched(bool on);
    void BtnMemory_Click();
    void usrAdd_AddressPicked(int16_t address);
    void rescale(int direction);

protected:
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;

private:
    bool settingMode() const { return Caption() == kSetting; }
    void layoutControls();
    void offsetRow(int16_t address);
    void showPosition();
    // One axis command with the hourglass and the widget disabled.
    void axisMove(bool x, double value);
    void writeMemories();

    int m_scaleIndex = 5;
    double m_originX = 0, m_originY = 0;   // drag origin, widget coordinates
    double m_dX = 0, m_dY = 0;             // drag vector
    int16_t m_keptMode = 0;                // XYDrive.Mode before the drag
};
