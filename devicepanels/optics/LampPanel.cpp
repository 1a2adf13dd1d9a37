#include "devicepanels/optics/LampPanel.h"

#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/subpanel/SliderGestures.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrXscroll.h"

#include <QHBoxLayout>

namespace {
constexpr int32_t kBarLit = 0xFFD0C0;  // light blue-white: the lamp is on
constexpr int32_t kBarDark = 0x241410;
const QString kPreset = QStringLiteral("Preset");

QString volts(double v) { return vb::numberText(v) + QStringLiteral(" V"); }
} // namespace

frmSubLamp::frmSubLamp(QWidget* owner) : SubPanel(QStringLiteral("frmSubLamp"), QStringLiteral("Lamp"), owner)
{
    panelLook::applyTo(this);
    btnOn = panelLook::oneShot(this, "btnOn", QStringLiteral("Switch On"), QStringLiteral("Switch the lamp on or off"));
    frmLamp = new PanelFrame(this);
    frmLamp->setObjectName(QStringLiteral("frmLamp"));
    frmLamp->setBackColor(0x2E1C18);
    frmLamp->setAccessibleName(QStringLiteral("Lamp voltage"));
    usrScroll = new usrXscroll(frmLamp);
    usrScroll->setObjectName(QStringLiteral("usrScroll"));
    usrScroll->setAccessibleName(QStringLiteral("Lamp voltage"));
    usrScroll->setMinimumWidth(240);
    btnReset = panelLook::oneShot(frmLamp, "btnReset", QStringLiteral("Preset"),
                                  QStringLiteral("Return the lamp to its preset voltage"));
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), QStringLiteral("Lamp voltage"));
    btnClose = makeCloseButton();

    auto* inFrame = new QHBoxLayout(frmLamp);
    inFrame->setContentsMargins(6, 6, 6, 6);
    inFrame->setSpacing(8);
    inFrame->addWidget(usrScroll, 1);
    inFrame->addWidget(btnReset);

    panelLook::sliderLayout(this, frmLamp, txtSel, {btnOn}, btnClose);
    setTabOrder(btnOn, usrScroll);
    setTabOrder(usrScroll, btnReset);
    setTabOrder(btnReset, btnClose);

    connectSliderGestures(
        usrScroll, this, [this] { return state().mLamp.AMOUNT(); }, [this](double v) { sendVoltage(v); });
    connect(btnOn, &usrButton::Released, this, [this] { btnOn_Released(); });
    connect(btnReset, &usrButton::Released, this, [this] { btnReset_Released(); });
    attachOwnEvents();
}

void frmSubLamp::Get_Status()
{
    if (!connected())
        return;
    trap(QStringLiteral("Lamp_Status Read Error"), [this] {
        MicroscopeService& svc = *state().micService;
        usrScroll->setEnabled(svc.IsMounted(DeviceIndex::Lamp) == 1);
        if (!usrScroll->Enabled())
            return;
        usrScroll->setMin(svc.LowerLimit(LimitIndex::Lamp));
        usrScroll->setMax(svc.UpperLimit(LimitIndex::Lamp));
        usrScroll->setValue(svc.LampControlVoltage());
        txtSel->setCaption(svc.LampIsPreset() != 0 ? kPreset : volts(usrScroll->Value()));
        const bool on = svc.LampIsOn() != 0;
        showLit(on);
        if (!on)
            txtSel->setCaption(QString());
    });
}

QString frmSubLamp::ShowLampOnMainPanel()
{
    clsDefLamp& lamp = state().mLamp;
    lamp.setPOWER(state().micService->LampControlVoltage());
    const QString text = lamp.Preset() != 0 ? kPreset : volts(lamp.POWER());
    setBothTwins(mainPanelSide().LampCmd, text);
    return text;
}

void frmSubLamp::LampValue_Set()
{
    if (!connected())
        return;
    const QString text = ShowLampOnMainPanel();
    usrScroll->setValue(state().mLamp.POWER());
    txtSel->setCaption(text);
}

void frmSubLamp::showLit(bool on)
{
    usrScroll->setBarColor(on ? kBarLit : kBarDark);
    usrScroll->setStyle(on ? 2 : 0);
    frmLamp->setEnabled(on);
    // The button says what it will do.
    btnOn->setCaption(on ? QStringLiteral("Switch Off") : QStringLiteral("Switch On"));
}

void frmSubLamp::sendVoltage(double v)
{
    if (!connected())
        return;
    trap(QStringLiteral("Lamp_ControlVoltage Error"), [&] { state().micService->setLampControlVoltage(v); });
}

void frmSubLamp::btnOn_Released()
{
    if (!connected())
        return;
    // Only a lamp reported as 1 goes off; any other word switches it on. The
    // look follows when the service reports AppLampIsOn.
    trap(QStringLiteral("Lamp_ON/OFF Error"), [this] {
        MicroscopeService& svc = *state().micService;
        if (svc.LampIsOn() == 1) {
            svc.LampOff();
            frmLamp->setEnabled(false);
        } else {
            svc.LampOn();
            frmLamp->setEnabled(true);
        }
    });
}

void frmSubLamp::btnReset_Released()
{
    if (!connected())
        return;
    trap(QStringLiteral("Lamp_Preset Error"), [] { state().micService->LampPreset(); });
}

void frmSubLamp::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    const QStringList parts = bstrMessage.split(QLatin1Char(':'));
    const QString& name = parts.at(0);
    if (name != QLatin1String("AppLampIsOn") && name != QLatin1String("AppLampControlVoltage") &&
        name != QLatin1String("AppLampIsPreset"))
        return;
    try {
        if (parts.size() < 2)
            throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
        clsDefLamp& lamp = state().mLamp;
        const QString& v = parts.at(1);
        if (name == QLatin1String("AppLampIsOn")) {
            const bool on = vb::textToDouble(v) != 0;
            lamp.setONOFF(on ? 1 : 0);
            showLit(on);
            if (!on)
                txtSel->setCaption(QString());
        } else if (name == QLatin1String("AppLampControlVoltage")) {
            if (lamp.ONOFF() != 0) {
                lamp.setPOWER(vb::textToDouble(v));
                usrScroll->setValue(lamp.POWER());
                txtSel->setCaption(lamp.Preset() != 0 ? kPreset : volts(lamp.POWER()));
            } else {
                txtSel->setCaption(QString());
            }
        } else if (vb::textToDouble(v) != 0) {
            lamp.setPreset(1);
            txtSel->setCaption(kPreset);
        } else {
            // Off preset: the label keeps "Preset" until the next voltage.
            lamp.setPreset(0);
        }
    } catch (const std::exception& e) {
        showEventError(e);
    }
}
