#pragma once
// The transmitted-light lamp: switched on and off with btnOn, its control
// voltage set with the slider (inside frmLamp, with btnReset for the preset
// voltage). Three reported facts decide what the panel shows: on or off
// (the slider glows or is dark), the voltage, and whether the preset
// voltage is in force ("Preset" in place of the volts).
#include "devicepanels/subpanel/SubPanel.h"

class PanelFrame;
class PanelLabel;
class usrButton;
class usrXscroll;

class frmSubLamp : public SubPanel {
    Q_OBJECT
public:
    explicit frmSubLamp(QWidget* owner);

    void Get_Status() override;
    // The lamp came on: the voltage is read from the service into mLamp, and
    // the slider, txtSel and both LampCmd labels of the main panel show it.
    Q_INVOKABLE void LampValue_Set();
    // The main panel's part of LampValue_Set, for when the panel is closed:
    // mLamp.POWER from the service, both LampCmd labels by the label rule.
    // Answers the text written ("Preset" or the volts).
    static QString ShowLampOnMainPanel();

    usrButton* btnOn = nullptr;
    PanelFrame* frmLamp = nullptr;
    usrXscroll* usrScroll = nullptr;
    usrButton* btnReset = nullptr;
    PanelLabel* txtSel = nullptr;
    usrButton* btnClose = nullptr;

protected:
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;

private:
    void showLit(bool on);
    void sendVoltage(double volts);
    void btnOn_Released();
    void btnReset_Released();
};
