#include "devicepanels/optics/CondenserPanel.h"

#include "devicepanels/subpanel/PropertyEvent.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"

namespace {

// What a universal condenser carries, for the panel with no microscope.
const TurretRow kCondenser{
    "frmSubCond", "Condenser", &MicroscopeService::setCondenserCassettePosition,
    "CondenserCassette_Position Error", false,
    {QStringLiteral("1: BF"), QStringLiteral("2: PH1"), QStringLiteral("3: PH2"), QStringLiteral("4: PH3"),
     QStringLiteral("5: DIC"), QStringLiteral("6: DF"), QStringLiteral("7: POL")}};

const clsDefBase& position(int16_t p)
{
    const QVector<clsDefBase>& data = mainState().mConData;
    if (p < 1 || p > data.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return data.at(p - 1);
}

QString positionText(int16_t p) { return QString::number(p) + QStringLiteral(" : ") + position(p).Name(); }

} // namespace

frmSubCond::frmSubCond(QWidget* owner) : AddressPanel(kCondenser, owner)
{
    attachOwnEvents();
}

void frmSubCond::Get_Status()
{
    trap(QStringLiteral("CondenserCassette_Status Read Error"), [this] {
        if (!connected()) {
            showFixedLabels();
            return;
        }
        MainState& s = state();
        MicroscopeService& svc = *s.micService;
        svc.IsMounted(DeviceIndex::CondenserCassette);
        txtAdd->setMode(svc.IsReadOnly(DeviceIndex::CondenserCassette) == 0 ? 1 : 2);
        txtAdd->setLast(s.mCon.MAX());
        txtAdd->setFirst(s.mCon.MIN());
        for (int p = txtAdd->First(); p <= txtAdd->Last(); ++p)
            txtAdd->SetLabel(positionText(int16_t(p)), int16_t(p));
        const int16_t p = svc.CondenserCassettePosition();
        if (inList(p))
            showPosition(p);
    });
}

void frmSubCond::showPosition(int16_t p)
{
    const QString text = positionText(p);
    txtAdd->setAddress(p);
    txtSel->setCaption(text);
}

void frmSubCond::CondenserChg_Set()
{
    if (!connected())
        return;
    trap(QStringLiteral("CondenserCassette_Status Read Error"), [this] { showPosition(state().mCon.Address()); });
}

void frmSubCond::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    try {
        const QString v = propertyValue(bstrMessage, "AppCondenserCassettePosition");
        if (v.isNull())
            return;
        const int16_t value = vb::toInt16(vb::textToDouble(v));
        if (inList(value))
            showPosition(value);
    } catch (const std::exception& e) {
        showEventError(e);
    }
}
