#include "panels/StopPanel.h"

#include "panels/PanelLook.h"
#include "core/base/VbConvert.h"
#include "main/widgets/PanelControls.h"
#include "main/widgets/usrButton.h"
#include "main/widgets/usrXscroll.h"

#include <QGridLayout>

namespace {

const StopRow kApertureStop{
    "frmSubAp", "Aperture Stop", DeviceIndex::ApertureStop, true, LimitIndex::ApertureStop,
    &MainState::mAS, &MicroscopeService::ApertureStopApertureStop,
    &MicroscopeService::setApertureStopApertureStop, "ApertureStop_Status Read Error",
    "ApertureStop_ApertureStop Error", "CustomObservation_Set Error"};

const StopRow kFieldStop{
    "frmSubFS", "DIA Field Stop", DeviceIndex::FieldStop, false, LimitIndex::FieldStop,
    &MainState::mFS, &MicroscopeService::FieldStopFieldStop, &MicroscopeService::setFieldStopFieldStop,
    "FieldStop_Status Read Error", "FieldStop_FieldStop Error",
    "ObservationMethod_FieldStop CustomValue Error"};

bool userMethod(int16_t observation) { return observation >= 7 && observation <= 12; }

usrButton* oneShot(QWidget* parent, const char* name, const QString& caption, const QString& accessible)
{
    auto* b = new usrButton(parent);
    b->setObjectName(QLatin1String(name));
    b->setLatching(false);
    b->setCaption(caption);
    b->setAccessibleName(accessible);
    return b;
}

} // namespace

StopPanel::StopPanel(const StopRow& row, QWidget* owner)
    : SubPanel(QLatin1String(row.formName), QLatin1String(row.caption), owner), m_row(row)
{
    panelLook::applyTo(this);
    const QString name = Caption();
    usrScroll = new usrXscroll(this);
    usrScroll->setObjectName(QStringLiteral("usrScroll"));
    usrScroll->setAccessibleName(name + QStringLiteral(" diameter"));
    usrScroll->setMinimumWidth(260);
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), name);
    BtnMemory = oneShot(this, "BtnMemory", QStringLiteral("Memory"),
                        QStringLiteral("Remember this diameter for the objective"));
    btnReset = oneShot(this, "btnReset", QStringLiteral("Reset"),
                       QStringLiteral("Return to the remembered diameter"));
    btnClose = makeCloseButton();

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(10, 10, 10, 10);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(8);
    grid->addWidget(usrScroll, 0, 0, 1, 3);
    grid->addWidget(txtSel, 0, 3);
    grid->addWidget(BtnMemory, 1, 0);
    grid->addWidget(btnReset, 1, 1);
    grid->addWidget(btnClose, 1, 3, Qt::AlignRight);
    grid->setColumnStretch(2, 1);
    setTabOrder(usrScroll, BtnMemory);
    setTabOrder(BtnMemory, btnReset);
    setTabOrder(btnReset, btnClose);

    // Gestures go to the service; the slider shows what the service reports.
    connect(usrScroll, &usrXscroll::Changed, this, [this] { send(usrScroll->Value()); });
    connect(usrScroll, &usrXscroll::TrackClicked, this, [this] { send(usrScroll->Value()); });
    connect(usrScroll, &usrXscroll::StepDown, this, [this] { send(usrScroll->Value() - stop().AMOUNT()); });
    connect(usrScroll, &usrXscroll::StepUp, this, [this] { send(usrScroll->Value() + stop().AMOUNT()); });
    connect(btnReset, &usrButton::Released, this, [this] { btnReset_Released(); });
    connect(BtnMemory, &usrButton::Released, this, [this] { BtnMemory_Released(); });
}

void StopPanel::Get_Status()
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.statusReadError), [this] {
        MicroscopeService& svc = *state().micService;
        const int32_t word = svc.IsMounted(m_row.statusDevice);
        usrScroll->setEnabled(m_row.statusMustBeOne ? word == 1 : word != 0);
        if (!usrScroll->isEnabled())
            return;
        usrScroll->setMin(svc.LowerLimit(m_row.rangeIndex));
        usrScroll->setMax(svc.UpperLimit(m_row.rangeIndex));
        usrScroll->setValue((svc.*m_row.read)());
        showValue(usrScroll->Value());
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

void StopPanel::showValue(double value) { txtSel->setCaption(vb::numberText(value) + QStringLiteral(" mm")); }

void StopPanel::send(double value)
{
    if (!connected())
        return;
    trap(QLatin1String(m_row.valueError), [&] { (state().micService->*m_row.write)(value); });
}

void StopPanel::btnReset_Released()
{
    if (connected())
        send(usrScroll->Origin());
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
