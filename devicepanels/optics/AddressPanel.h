#pragma once
// The panels of the three turrets, nosepiece (frmSubObj), filter cube
// (frmSubFilter) and condenser (frmSubCond): a list of the turret's positions
// (txtAdd), the reading of the position in place (txtSel) and Close. A pick
// goes to the service while the pointer shows the hourglass; the list shows
// the pick at once, the reading only what the service then reports.
#include "devicepanels/subpanel/SubPanel.h"

#include <QStringList>

class PanelLabel;
class QGridLayout;
class usrAddress;
class usrButton;

// How one turret panel commands its device.
struct TurretRow {
    const char* formName;
    const char* caption;                                 // window caption and INI section
    void (MicroscopeService::*writePosition)(int16_t);   // the move
    const char* moveMessage;                             // its failure text, or the stem of three
    bool limitationTexts;                                // " Limitation" / " TimeOut Error" / " Error"
    QStringList fixedLabels;                             // shown with no microscope
};

class AddressPanel : public SubPanel {
    Q_OBJECT
public:
    AddressPanel(const TurretRow& row, QWidget* owner);

    usrAddress* txtAdd = nullptr;
    PanelLabel* txtSel = nullptr;
    usrButton* btnClose = nullptr;

    // The labels the panel shows with no microscope, in position order.
    const QStringList& fixedLabels() const { return m_row.fixedLabels; }

protected:
    // Caption1.. := the fixed labels, and the list shows them alone, First 1
    // to Last 7; txtSel := the label of the selected position. A selection
    // outside the fixed labels is a bounds error.
    void showFixedLabels();
    bool inList(int position) const;
    // Picks send the position while the panel is connected and the list is
    // not display-only (Mode 2); nothing is redrawn here.
    void txtAdd_AddressPicked(int16_t Address);
    // The grid the controls stand in: row 0 the reading (across), row 1 the
    // list, row 2 Close; column 1 of row 1 is free for a panel's own controls.
    QGridLayout* grid() const { return m_grid; }

private:
    void setFixedCaptions();

    TurretRow m_row;
    QGridLayout* m_grid = nullptr;
};
