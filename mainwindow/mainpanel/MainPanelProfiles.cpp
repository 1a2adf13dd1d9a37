// The main panel's way into the observation profiles: btnProfile opens the
// profile editor, whose names read back after sending caption the user
// entries, and the filter colour areas of the light path drawing take the
// operator's colours.
#include "mainwindow/mainpanel/MainPanel.h"

#include "widgets/Units.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "devicepanels/profiles/ColourPicker.h"
#include "devicepanels/profiles/ColourPicks.h"
#include "devicepanels/profiles/frmProfile.h"

void MainPanel::btnProfile_Click()
{
    const bool opening = frmProfile::loaded() == nullptr;
    frmProfile* f = frmProfile::instance();
    if (opening)
        connect(f, &frmProfile::userNameRead, this, [this](int t, const QString& caption) {
            if (t >= 1 && t <= 6)
                labObserveU[t]->setCaption(caption);
        });
    f->show();
    f->raise();
    f->activateWindow();
}

void MainPanel::usrMainPath_ColorPicked(int16_t Filter, int16_t Button)
{
    // Only a click of the left button opens the picker; there is no way
    // back to the wavelength's colour once one is chosen.
    const auto part = Filter == 1 ? ColourPicks::Excitation : ColourPicks::Barrier;
    if (Button == 1)
        ColourPicker::open(part, usrMainPath, Filter == 1 ? btnEX : btnBa);
}
