#pragma once
// The optical zoom, a magnification from 0.8 to 2.0: a slider, btnReset to
// the plain magnification 1.0, and the link box, which holds the zoom to the
// light path only on the rear port. A zoom turned by hand (read only) is
// shown and not commanded.
#include "devicepanels/subpanel/SubPanel.h"

class PanelCheck;
class PanelLabel;
class usrButton;
class usrScroll;

class frmSubZoom : public SubPanel {
    Q_OBJECT
public:
    explicit frmSubZoom(QWidget* owner);

    void Get_Status() override;
    // Sends a magnification with the link the panel shows: on the rear port
    // (path 3) the link is taken from chkLink and written to the service's
    // interlock; on any other path the interlock goes off first. A refusal
    // shows "Zoom_Change Limitation", "Zoom_Change TimeOut Error" or
    // "Zoom_Change Error".
    void ZoomValue_Set(double pValue);
    // The steps of ZoomValue_Set with the link box `linkShown` (the panel's
    // chkLink or the main panel's ZoomLink); failures are the caller's.
    static void ZoomChange(double pValue, int16_t linkShown);
    // A click on a link box, the panel's chkLink or the main panel's
    // ZoomLink, whose value is now `linkShown`: the interlock is written and
    // read back into mZoom.LINK, and both boxes show it (the panel's only
    // while it is loaded). A failure shows "OpticalZoom_IsInterlockEnabled Error".
    static void ZoomLink_Click(int16_t linkShown);

    ::usrScroll* usrScroll = nullptr;
    usrButton* btnReset = nullptr;
    PanelCheck* chkLink = nullptr;
    PanelLabel* txtSel = nullptr;
    usrButton* btnClose = nullptr;

    // The magnification btnReset returns to.
    static constexpr double kPlainMagnification = 1.0;

protected:
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;

private:
    void showZoom(double value);
};
