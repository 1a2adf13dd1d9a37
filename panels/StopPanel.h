#pragma once
// The panels of the two stops that keep memories, the aperture stop
// (frmSubAp) and the DIA field stop (frmSubFS): a slider with the diameter in
// millimetres, an origin mark where btnReset returns to, and BtnMemory, which
// remembers the present diameter for the observation method and objective in
// force. The two differ only in the row of their table.
#include "panels/SubPanel.h"

class PanelLabel;
class usrButton;
class usrXscroll;

// What tells one memory stop from the other.
struct StopRow {
    const char* formName;
    const char* caption;      // window caption and INI section
    int16_t statusDevice;     // device index of the status word and the custom store
    bool statusMustBeOne;     // enabled only at 1, or at anything but 0
    int16_t rangeIndex;       // limit index of the slider's range
    clsDefStop MainState::*stop;
    double (MicroscopeService::*read)();
    void (MicroscopeService::*write)(double);
    const char* statusReadError;
    const char* valueError;
    const char* customSetError;
};

class StopPanel : public SubPanel {
    Q_OBJECT
public:
    StopPanel(const StopRow& row, QWidget* owner);

    void Get_Status() override;
    // The origin mark for an objective address: the memory of the user
    // method in force when it lies within the slider's range, else Min.
    Q_INVOKABLE void Origin_Chg(int Address);
    // The dispatch stored a new diameter: slider and label follow.
    void ValueSet();

    usrXscroll* usrScroll = nullptr;
    PanelLabel* txtSel = nullptr;
    usrButton* btnReset = nullptr;
    usrButton* BtnMemory = nullptr;
    usrButton* btnClose = nullptr;

private:
    clsDefStop& stop() const { return state().*m_row.stop; }
    void send(double value);
    void showValue(double value);
    void btnReset_Released();
    void BtnMemory_Released();

    StopRow m_row;
};

class frmSubAp : public StopPanel {
    Q_OBJECT
public:
    explicit frmSubAp(QWidget* owner);
    Q_INVOKABLE void AStopValue_Set() { ValueSet(); }
};

class frmSubFS : public StopPanel {
    Q_OBJECT
public:
    explicit frmSubFS(QWidget* owner);
    Q_INVOKABLE void FStopValue_Set() { ValueSet(); }
};
