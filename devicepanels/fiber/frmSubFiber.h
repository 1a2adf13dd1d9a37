#pragma once
// The fiber illuminator's panel: the ND wheel (usrNDCtrl, six positions with
// their ND texts), the shutter's two picture buttons, open and close, and its
// automatic reversal: with "Enable" ticked, a shutter command is timed and the
// illuminator reverses it by itself after txtTime seconds (0 to 100).
//
// The panel talks to the fiber server (cFiber of mdlFiber), not to the
// microscope service, and listens to that server's events itself (cEvent):
// the ND position, the shutter, and the six state names, of which the last one
// received decides whether the controls are usable (value 1).
#include "devicepanels/subpanel/SubPanel.h"

class PanelCheck;
class PanelLabel;
class QLineEdit;
class usrAddress;
class usrButton;

class frmSubFiber : public SubPanel {
    Q_OBJECT
public:
    explicit frmSubFiber(QWidget* owner);

    void Get_Status() override;
    // An event of the fiber server, "Name:Value".
    void cEvent_OnPropertyChanged(const QString& bstrMessage);

    // The reversal delay in seconds that the timed commands carry.
    double Delay() const { return m_delay; }
    // The shutter as the pictures show it: true open.
    bool ShutterShownOpen() const { return m_shutterOpen; }

    usrAddress* usrNDCtrl = nullptr;
    usrButton* btnShutter[2] = {};   // 0 open, 1 close
    PanelCheck* chkLink = nullptr;   // "Enable"
    QLineEdit* txtTime = nullptr;
    PanelLabel* Text1 = nullptr;     // "Auto reverse"
    PanelLabel* Label3 = nullptr;    // "sec"
    PanelLabel* txtSel = nullptr;
    usrButton* btnClose = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void usrNDCtrl_AddressPicked(int16_t Address);
    void btnShutter_Click(int16_t Index);
    void txtTime_LostFocus();
    void showShutter(bool open);
    void showND(int16_t position);
    void setControlsUsable(bool usable);

    double m_delay = 10.0;
    bool m_shutterOpen = false;
};

// Makes the fiber panel known to the form registry; `owner` is the main window.
void registerFiberPanel(QWidget* owner);
