#pragma once
// The nosepiece panel: picks the objective and says what it is (series,
// name, working distance and numerical aperture), with the link box that
// makes the focus, stage, stops, condenser and ND follow the nosepiece, and
// the names of those that are there to follow.
#include "devicepanels/optics/AddressPanel.h"

class PanelCheck;
class PanelFrame;

class frmSubObj : public AddressPanel {
    Q_OBJECT
public:
    explicit frmSubObj(QWidget* owner);

    void Get_Status() override;
    // The dispatch reports a new nosepiece position.
    Q_INVOKABLE void ObjChg_Set(int Address);
    // The main panel's ObjLink set the flag: the box shows it.
    Q_INVOKABLE void chkLink_Show(int value);

    PanelCheck* chkLink = nullptr;
    PanelFrame* frmLinked = nullptr;
    PanelLabel* XYLabel = nullptr;
    PanelLabel* ZLabel = nullptr;
    PanelLabel* AStopLabel = nullptr;
    PanelLabel* CondLabel = nullptr;
    PanelLabel* FStopLabel = nullptr;
    PanelLabel* NDLabel = nullptr;

private:
    void chkLink_Click();
    // txtSel and its tool tip for the objective at `address`; `gap` parts
    // series and name.
    void showObjective(int16_t address, const QString& gap);
};
