#include "devicepanels/optics/FilterCubePanel.h"

#include "devicepanels/subpanel/PropertyEvent.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"

namespace {

// The last two are the same filter on purpose.
const TurretRow kFilterCube{
    "frmSubFilter", "Filter Cube", &MicroscopeService::setFilterBlockCassettePosition,
    "FilterBlockCassette_Position Change Error", false,
    {QStringLiteral("1: DIA"), QStringLiteral("2: FB-31"), QStringLiteral("3: FB-32"), QStringLiteral("4: FB-33"),
     QStringLiteral("5: FB-34"), QStringLiteral("6: FB-35"), QStringLiteral("7: FB-35")}};

const clsDefFillterCasette& cube(int16_t position)
{
    const QVector<clsDefFillterCasette>& data = mainState().mFilterData;
    if (position < 1 || position > data.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return data.at(position - 1);
}

} // namespace

frmSubFilter::frmSubFilter(QWidget* owner) : AddressPanel(kFilterCube, owner)
{
    attachOwnEvents();
}

void frmSubFilter::Get_Status()
{
    trap(QStringLiteral("FilterBlockCassette_Status Read Error"), [this] {
        if (!connected()) {
            showFixedLabels();
            return;
        }
        MainState& s = state();
        MicroscopeService& svc = *s.micService;
        if (svc.IsMounted(DeviceIndex::FilterBlockCassette) != 1)
            return;
        txtAdd->setMode(s.mFilter.SETUP() == 3 ? 2 : 1);
        txtAdd->setLast(vb::toInt16(svc.UpperLimit(LimitIndex::FilterBlockCassette)));
        txtAdd->setFirst(vb::toInt16(svc.LowerLimit(LimitIndex::FilterBlockCassette)));
        for (int p = txtAdd->First(); p <= txtAdd->Last(); ++p)
            txtAdd->SetLabel(QString::number(p) + QStringLiteral(" : ") + cube(int16_t(p)).Name().trimmed(),
                             int16_t(p));
        const int16_t position = svc.FilterBlockCassettePosition();
        if (inList(position))
            showCube(position);
    });
}

void frmSubFilter::showCube(int16_t position)
{
    const clsDefFillterCasette& c = cube(position);
    txtAdd->setAddress(position);
    txtSel->setCaption(QString::number(position) + QStringLiteral(" : ") + c.Name().trimmed());
    txtSel->setToolTipText(c.Number() >= 2 ? QString()
                                           : QStringLiteral("EX: ") + c.EXName().trimmed() +
                                                 QStringLiteral(",  DM: ") + c.DMName().trimmed() +
                                                 QStringLiteral(",  BA: ") + c.BAName().trimmed());
}

void frmSubFilter::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    try {
        const QString v = propertyValue(bstrMessage, "AppFilterBlockCassettePosition");
        if (v.isNull())
            return;
        const int16_t value = vb::toInt16(vb::textToDouble(v));
        if (inList(value))
            showCube(value);
    } catch (const std::exception& e) {
        showEventError(e);
    }
}
