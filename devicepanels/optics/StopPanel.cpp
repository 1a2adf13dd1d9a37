#include "devicepanels/optics/StopPanel.h"

#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/subpanel/SliderGestures.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrXscroll.h"


namespace {

const StopRow kApertureStop = [] {
    StopRow r;
    r.formName = "frmSubAp";
    r.caption = "Aperture Stop";
    r.unit = " mm";
    r.statusDevice = DeviceIndex::ApertureStop;
    r.statusMustBeOne = true;
    r.endsWhenDisabled = true;
    r.rangeIndex = LimitIndex::ApertureStop;
    r.stop = &MainState::mAS;
    r.read = &MicroscopeService::ApertureStopApertureStop;
    r.write = &MicroscopeService::setApertureStopApertureStop;
    r.memories = true;
    r.statusReadError = "ApertureStop_Status Read Error";
    r.valueError = "ApertureStop_ApertureStop Error";
    r.resetError = "ApertureStop_ApertureStop Error";
    r.customSetError = "CustomObservation_Set Error";
    return r;
}();

const StopRow kFieldStop = [] {
    StopRow r;
    r.formName = "frmSubFS";
    r.caption = "DIA Field Stop";
    r.unit = " mm";
    r.statusDevice = DeviceIndex::FieldStop;
    r.statusMustBeOne = false;
    r.endsWhenDisabled = true;
    r.rangeIndex = LimitIndex::FieldStop;
    r.stop = &MainState::mFS;
    r.read = &MicroscopeService::FieldStopFieldStop;
    r.write = &MicroscopeService::setFieldStopFieldStop;
    r.memories = true;
    r.statusReadError = "FieldStop_Status Read Error";
    r.valueError = "FieldStop_FieldStop Error";
    r.resetError = "FieldStop_FieldStop Error";
    r.customSetError = "ObservationMethod_FieldStop CustomValue Error";
    return r;
}();

const StopRow kEpiFieldStop = [] {
    StopRow r;
    r.formName = "frmSubEpiFS";
    r.caption = "EPI Field Stop";
    r.unit = " mm";
    r.statusDevice = DeviceIndex::EpiFieldStop;
    r.statusMustBeOne = true;
    r.endsWhenDisabled = true;
    r.rangeIndex = LimitIndex::EpiFieldStop;
    r.stop = &MainState::mEpiFS;
    r.read = &MicroscopeService::EpiFieldStopFieldStop;
    r.write = &MicroscopeService::setEpiFieldStopFieldStop;
    r.memories = false;
    r.statusReadError = "EpiFieldStop_Status Get";
    r.valueError = "EpiFieldStop_FieldStop Error";
    return r;
}();

const StopRow kNDFilter = [] {
    StopRow r;
    r.formName = "frmSubND";
    r.caption = "ND Filter";
    r.unit = " %";
    r.statusDevice = DeviceIndex::NDFilter;
    r.statusMustBeOne = false;
    r.endsWhenDisabled = false;
    r.rangeIndex = 0;   // limits from mND
    r.stop = &MainState::mND;
    r.write = &MicroscopeService::setNDFilterTransmission;
    r.stepDown = &MicroscopeService::NDFilterStepDown;
    r.stepUp = &MicroscopeService::NDFilterStepUp;
    r.memories = true;
    r.statusReadError = "NDFilter_Status Read Error";
    r.valueError = "NDFilter_Transmission Error";
    r.resetError = "NDFilter_CustomValue Read Error";
    r.customSetError = "NDFilter_CustomValue Set Error";
    return r;
}();

bool userMethod(int16_t observation) { return observation >= 7 && observation <= 12; }

} // namespace

StopPanel::StopPanel(const StopRow& row, QWidget* owner)
    : SubPanel(QLatin1String(row.formName), QLatin1String(row.caption), owner), m_row(row)
{
    panelLook::applyTo(this);
    const QString name = Caption();
    const bool nd = row.rangeIndex == 0;
    usrScroll = new usrXscroll(this);
    usrScroll->setObjectName(QStringLiteral("usrScroll"));
    usrScroll->setAccessibleName(name + (nd ? QStringLiteral(" transmission") : QStringLiteral(" diameter")));
    usrScroll->setMinimumWidth(260);
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), name);
    const QString what = nd ? QStringLiteral("transmission") : QStringLiteral("diameter");
    if (row.memories)
        BtnMemory = panelLook::oneShot(this, "BtnMemory", QStringLiteral("Memory"),
                                       QStringLiteral("Remember this %1 for the objective").arg(what));
    btnReset = panelLook::oneShot(this, "btnReset", QStringLiteral("Reset"),
                                  QStringLiteral("Return to the remembered %1").arg(what));
    btnClose = makeCloseButton();

    QList<QWidget*> buttons;
    if (BtnMemory)
        buttons << BtnMemory;
    buttons << btnReset;
    panelLook::sliderLayout(this, usrScroll, txtSel, buttons, btnClose);

    // Gestures go to the service; the slider shows what the service reports.
    if (row.stepDown)
        connectSliderGestures(
            usrScroll, this, [this](double v) { sendFromSlider(v); }, [this] { step(m_row.stepDown); },
            [this] { step(m_row.stepUp); });
    else
        connectSliderGestures(
            usrScroll, this, [this] { return stop().AMOUNT(); }, [this](double v) { send(v); });
    if (row.memories) {
        // Memory and Reset are for the user methods: hidden until Get_Status
        // finds one in force on a usable device, so a greyed stop never offers them.
        BtnMemory->setVisible(false);
        btnReset->setVisible(false);
        connect(btnReset, &usrButton::Released, this, [this] { btnReset_Released(); });
        connect(BtnMemory, &usrButton::Released, this, [this] { BtnMemory_Released(); });
    }
    // Without memories (the EPI field stop) Reset is there, usable, and has no
    // handler: there is no remembered value to go back to.
}

void StopPanel::Get_Status()
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.statusReadError), [this] {
        MicroscopeService& svc = *state().micService;
        const int32_t word = svc.IsMounted(m_row.statusDevice);
        usrScroll->setEnabled(m_row.statusMustBeOne ? word == 1 : word != 0);
        if (!usrScroll->Enabled() && m_row.endsWhenDisabled)
            return;
        if (m_row.rangeIndex != 0) {
            usrScroll->setMin(svc.LowerLimit(m_row.rangeIndex));
            usrScroll->setMax(svc.UpperLimit(m_row.rangeIndex));
            usrScroll->setValue((svc.*m_row.read)());
        } else {
            usrScroll->setMin(stop().MIN());
            usrScroll->setMax(stop().MAX());
            usrScroll->setValue(stop().Diameter());
        }
        showValue(usrScroll->Value());
        if (!m_row.memories)
            return;
        const bool user = userMethod(state().ObservationNow);
        BtnMemory->setVisible(user);
        btnReset->setVisible(user);
        if (user)
            Origin_Chg(state().mObj.Address());
        else
            usrScroll->setOrigin(stop().MIN());
    });
}

void StopPanel::Origin_Chg(int Address)
{
    const int16_t observation = state().ObservationNow;
    const int16_t v = vb::toInt16(stop().Memory_Get(observation, int16_t(Address)));
    if (observation >= 1 && observation <= 6)
        usrScroll->setOrigin(usrScroll->Min());
    if (userMethod(observation))
        usrScroll->setOrigin(v >= usrScroll->Min() && v <= usrScroll->Max() ? double(v) : usrScroll->Min());
}

void StopPanel::ValueSet()
{
    if (!connected())
        return;
    usrScroll->setValue(stop().Diameter());
    showValue(stop().Diameter());
}

void StopPanel::showValue(double value)
{
    txtSel->setCaption(vb::numberText(value) + QLatin1String(m_row.unit));
}

void StopPanel::send(double value)
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.valueError), [&] { (state().micService->*m_row.write)(value); });
}

void StopPanel::sendFromSlider(double value)
{
    if (m_row.rangeIndex != 0) {
        send(value);
        return;
    }
    // Held to the object's limits: below MIN sends MIN, above MAX sends MAX;
    // MIN and MAX themselves go as they stand.
    if (value < stop().MIN())
        send(stop().MIN());
    else if (value <= stop().MAX())
        send(value);
    else
        send(stop().MAX());
}

void StopPanel::step(void (MicroscopeService::*operation)())
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.valueError), [&] { (state().micService->*operation)(); });
}

void StopPanel::btnReset_Released()
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.resetError), [&] { (state().micService->*m_row.write)(usrScroll->Origin()); });
}

void StopPanel::BtnMemory_Released()
{
    if (!connected())
        return;
    MainState& s = state();
    const int16_t observation = s.ObservationNow;
    const int16_t address = s.mObj.Address();
    trap(QLatin1String(m_row.customSetError), [&] {
        if ((observation >= 1 && observation <= 6) || userMethod(observation))
            stop().Memory_Put(observation, address, stop().Diameter());
        if (userMethod(observation))
            s.micService->CustomObservation(m_row.statusDevice, observation, address, stop().Diameter());
        Origin_Chg(address);
    });
}

frmSubAp::frmSubAp(QWidget* owner) : StopPanel(kApertureStop, owner) {}
frmSubFS::frmSubFS(QWidget* owner) : StopPanel(kFieldStop, owner) {}
frmSubND::frmSubND(QWidget* owner) : StopPanel(kNDFilter, owner) {}

frmSubEpiFS::frmSubEpiFS(QWidget* owner) : StopPanel(kEpiFieldStop, owner) { attachOwnEvents(); }

void frmSubEpiFS::EpiFStopValue_Set()
{
    if (!connected())
        return;
    clsDefStop& epi = stop();
    epi.setDiameter(state().micService->EpiFieldStopFieldStop());
    usrScroll->setValue(epi.Diameter());
    showValue(epi.Diameter());
    setBothTwins(mainPanelSide().HBXField, txtSel->Caption());
}

void frmSubEpiFS::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    const QStringList parts = bstrMessage.split(QLatin1Char(':'));
    if (parts.at(0) != QLatin1String("AppEpiFieldStopFieldStop"))
        return;
    trap(QStringLiteral("EpiFieldStop_OnPropertyChanged"), [&] {
        if (parts.size() < 2)
            throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
        clsDefStop& epi = stop();
        epi.setDiameter(vb::textToDouble(parts.at(1)));
        usrScroll->setValue(epi.Diameter());
        showValue(epi.Diameter());
    });
}
