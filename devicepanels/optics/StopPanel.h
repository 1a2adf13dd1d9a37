#pragma once
// The panels of the diaphragm-like devices: the aperture stop (frmSubAp), the
// DIA field stop (frmSubFS), the EPI field stop (frmSubEpiFS) and the ND
// filter (frmSubND). Each is a slider with the device's value and unit and an
// origin mark; the aperture stop, the DIA field stop and the ND filter also
// keep memories: BtnMemory remembers the present value for the observation
// method and objective in force, and btnReset returns to it. What tells them
// apart stands in one row of a table.
#include "devicepanels/subpanel/SubPanel.h"

class PanelLabel;
class usrButton;
class usrXscroll;

struct StopRow {
    const char* formName = nullptr;
    const char* caption = nullptr;       // window caption and INI section
    const char* unit = nullptr;          // text after the value
    int16_t statusDevice = 0;            // device index of the status word and the custom store
    bool statusMustBeOne = true;         // enabled only at 1, or at anything but 0
    bool endsWhenDisabled = true;        // Get_Status stops at a disabled slider
    // Range and value: from the service (limit index, read), or, with
    // rangeIndex 0, the parameter object's MIN, MAX and last reported value,
    // with every value sent held to MIN..MAX.
    int16_t rangeIndex = 0;
    clsDefStop MainState::*stop = nullptr;
    double (MicroscopeService::*read)() = nullptr;
    void (MicroscopeService::*write)(double) = nullptr;
    // The service's own step operations; null: the end buttons send Value
    // minus or plus the object's AMOUNT.
    void (MicroscopeService::*stepDown)() = nullptr;
    void (MicroscopeService::*stepUp)() = nullptr;
    bool memories = false;               // BtnMemory and btnReset act, per method and objective
    const char* statusReadError = nullptr;
    const char* valueError = nullptr;
    const char* resetError = nullptr;
    const char* customSetError = nullptr;
};

class StopPanel : public SubPanel {
    Q_OBJECT
public:
    StopPanel(const StopRow& row, QWidget* owner);

    void Get_Status() override;
    // The origin mark for an objective address: the memory of the user
    // method in force when it lies within the slider's range, else Min.
    Q_INVOKABLE void Origin_Chg(int Address);
    // The dispatch stored a new value: slider and label follow.
    void ValueSet();

    usrXscroll* usrScroll = nullptr;
    PanelLabel* txtSel = nullptr;
    usrButton* btnReset = nullptr;
    usrButton* BtnMemory = nullptr;   // only on the panels with memories
    usrButton* btnClose = nullptr;

protected:
    clsDefStop& stop() const { return state().*m_row.stop; }
    void showValue(double value);

private:
    void send(double value);
    void sendFromSlider(double value);
    void step(void (MicroscopeService::*operation)());
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

// The ND filter: limits from mND, values held to them, the service's own steps.
class frmSubND : public StopPanel {
    Q_OBJECT
public:
    explicit frmSubND(QWidget* owner);
    Q_INVOKABLE void NDValue_Set() { ValueSet(); }
};

// The EPI field stop: no memories, its own event object, and a setter that
// reads the service and writes the main panel's HBXField labels itself.
class frmSubEpiFS : public StopPanel {
    Q_OBJECT
public:
    explicit frmSubEpiFS(QWidget* owner);
    Q_INVOKABLE void EpiFStopValue_Set();

protected:
    void micEvent_OnPropertyChanged(const QString& bstrMessage) override;
};
