#pragma once
// The condenser panel: picks the position of the condenser turret. Its
// limits and names come from the parameter object and the table read at
// opening, not from the service; a manual turret is shown, not commanded.
#include "devicepanels/optics/AddressPanel.h"

class frmSubCond : public AddressPanel {
    Q_OBJECT
public:
    explicit frmSubCond(QWidget* owner);

    void Get_Status() override;
    // The dispatch stored a new position in mCon.
    Q_INVOKABLE void CondenserChg_Set();

protected:
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;

private:
    void showPosition(int16_t position);
};
