#include "devicepanels/optics/StopPanel.h"

#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/subpanel/SliderGestures.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrXscroll.h"


namespace {

const StopRow kApertureStop{
    "frmSubAp", "Aperture Stop", " mm", DeviceIndex::ApertureStop, true, true, LimitIndex::ApertureStop,
    &MainState::mAS, &MicroscopeService::ApertureStopApertureStop,
    &MicroscopeService::setApertureStopApertureStop, nullptr, nullptr, true, "ApertureStop_Status Read Error",
    "ApertureStop_ApertureStop Error", "ApertureStop_ApertureStop Error", "CustomObservation_Set Error"};

const StopRow kFieldStop{
    "frmSubFS", "DIA Field Stop", " mm", DeviceIndex::FieldStop, false, true, LimitIndex::FieldStop,
    &MainState::mFS, &MicroscopeService::FieldStopFieldStop, &MicroscopeService::setFieldStopFieldStop,
    nullptr, nullptr, true, "FieldStop_Status Read Error", "FieldStop_FieldStop Error",
    "FieldStop_FieldStop Error", "ObservationMethod_FieldStop CustomValue Error"};

const StopRow kEpiFieldStop{
    "frmSubEpiFS", "EPI Field Stop", " mm", DeviceIndex::EpiFieldStop, true, true, LimitIndex::EpiFieldStop,
    &MainState::mEpiFS, &MicroscopeService::EpiFieldStopFieldStop,
    &MicroscopeService::setEpiFieldStopFieldStop, nullptr, nullptr, false, "EpiFieldStop_Status Get",
    "EpiFieldStop_FieldStop Error", nullptr, nullptr};

const StopRow kNDFilter{
    "frmSubND", "ND Filter", " %", DeviceIndex::NDFilter, false, false, 0, &MainState::mND, nullptr,
    &MicroscopeService::setNDFilterTransmission, &MicroscopeService::NDFilterStepDown,
    &MicroscopeService::NDFilterStepUp, true, "NDFilter_Status Read Error", "NDFilter_Transmission Error",
    "NDFilter_CustomValue Read Error", "NDFilter_CustomValue Set Error"};

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
        connect(btnReset, &usrButton::Released, this, [this] { btnReset_Released(); });
        connect(BtnMemory, &usrButton::Released, this, [this] { BtnMemory_Released(); });
    } else {
        // There is no remembered value to go back to: the button is there and does nothing.
        btnReset->setEnabled(false);
    }
}

void StopPanel::Get_Status()
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.statusReadError), [this] {
        MicroscopeService& svc = *state().micService;
        const int32_t word = svc.IsMounted(m_row.statusDevice);
        usrScroll->setEnabled(m_row.statusMustBeOne ? word == 1 : word != 0);
        if (!usrScroll->isEnabled() && m_row.endsWhenDisabled)
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
