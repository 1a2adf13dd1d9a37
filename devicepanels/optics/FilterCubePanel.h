#pragma once
// The filter cube panel: picks the cube in the turret and names it, with its
// excitation, dichroic and barrier filters in the reading's tool tip. With no
// microscope it shows a fixed list of seven positions, for show.
#include "devicepanels/optics/AddressPanel.h"

class frmSubFilter : public AddressPanel {
    Q_OBJECT
public:
    explicit frmSubFilter(QWidget* owner);

    void Get_Status() override;

protected:
    // The panel's own event object: the cube follows the service's reports.
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;

private:
    void showCube(int16_t position);
};
