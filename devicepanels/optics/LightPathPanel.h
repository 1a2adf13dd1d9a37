#pragma once
// The light path panel: sends the image to the binocular, the front port or
// the rear port. The link flag goes to the service before every change of
// path; a manual light path is shown and cannot be changed.
#include "devicepanels/subpanel/SubPanel.h"

class PanelCheck;
class PanelLabel;
class usrButton;
class usrPath;

class frmSubPath : public SubPanel {
    Q_OBJECT
public:
    explicit frmSubPath(QWidget* owner);

    // The light path panel's name for Get_Status.
    void Get_PathStatus();
    void Get_Status() override { Get_PathStatus(); }
    // The main panel's PathLink set the flag: the box shows it.
    Q_INVOKABLE void chkLink_Show(int value);

    ::usrPath* usrPath = nullptr;
    PanelCheck* chkLink = nullptr;
    PanelLabel* txtSel = nullptr;
    usrButton* btnClose = nullptr;

protected:
    // MicPathEvent, the panel's own event object.
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;

private:
    void usrPath_PathPicked(int16_t Index);
    void chkLink_Click();
};
