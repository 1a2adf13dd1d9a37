#include "devicepanels/optics/ObjectivePanel.h"

#include "devicepanels/subpanel/MainLinks.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"

#include <QGridLayout>
#include <QVBoxLayout>

namespace {

const TurretRow kNosepiece{
    "frmSubObj", "Objective", &MicroscopeService::setNosepiecePosition, "Position_Change", true,
    {QStringLiteral("1:Gral Obj 2x"), QStringLiteral("2:Gral Obj 4x"), QStringLiteral("3:Gral Obj 10x"),
     QStringLiteral("4:Gral Obj 20x"), QStringLiteral("5:Gral Obj 40x C"), QStringLiteral("6:Gral Obj 60x C")}};

const clsDefLens& lens(int16_t address)
{
    const QVector<clsDefLens>& data = mainState().mObjData;
    if (address < 1 || address > data.size())
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return data.at(address - 1);
}

} // namespace

frmSubObj::frmSubObj(QWidget* owner) : AddressPanel(kNosepiece, owner)
{
    txtAdd->setMinimumWidth(260);  // series and name of the longest objectives
    chkLink = new PanelCheck(QStringLiteral("Link"), this);
    chkLink->setObjectName(QStringLiteral("chkLink"));
    chkLink->setAccessibleName(QStringLiteral("Link the devices below to the objective"));
    frmLinked = new PanelFrame(this);
    frmLinked->setObjectName(QStringLiteral("frmLinked"));
    auto* column = new QVBoxLayout(frmLinked);
    column->setContentsMargins(8, 6, 8, 6);
    column->setSpacing(2);
    const auto linked = [&](const char* name, const QString& text) {
        PanelLabel* l = panelLook::caption(frmLinked, text);
        l->setObjectName(QLatin1String(name));
        column->addWidget(l);
        return l;
    };
    XYLabel = linked("XYLabel", QStringLiteral("XY Stage"));
    ZLabel = linked("ZLabel", QStringLiteral("Focus Stage"));
    AStopLabel = linked("AStopLabel", QStringLiteral("Aperture"));
    CondLabel = linked("CondLabel", QStringLiteral("Condenser"));
    FStopLabel = linked("FStopLabel", QStringLiteral("DIA F.Stop"));
    NDLabel = linked("NDLabel", QStringLiteral("ND"));
    column->addStretch(1);

    // The link box heads the names of the devices it links.
    auto* links = new QVBoxLayout;
    links->setSpacing(4);
    links->addWidget(chkLink);
    links->addWidget(frmLinked, 1);
    grid()->addLayout(links, 1, 1);
    setTabOrder(txtAdd, chkLink);
    setTabOrder(chkLink, btnClose);
    connect(chkLink, &PanelCheck::Click, this, [this] { chkLink_Click(); });
}

void frmSubObj::Get_Status()
{
    if (!connected())
        return;
    trap(QStringLiteral("Objective_Status Get Error"), [this] {
        MainState& s = state();
        MicroscopeService& svc = *s.micService;
        // Who follows the nosepiece when the link is on.
        NDLabel->setVisible(s.mND.SETUP() != 0);
        CondLabel->setVisible(s.mCon.SETUP() != 0);
        AStopLabel->setVisible(s.mAS.SETUP() != 0);
        ZLabel->setVisible(s.mZ.SETUP() != 0);
        XYLabel->setVisible(s.mXY.SETUP() != 0);
        FStopLabel->setVisible(s.mFS.SETUP() != 0);

        const int16_t setup = s.mObj.SETUP();
        if (setup == 3) {
            // A coded nosepiece: nothing to command, the link shows as held on.
            txtAdd->setMode(2);
            chkLink->setValue(1);
            chkLink->setEnabled(false);
        }
        if (setup == 1) {
            txtAdd->setMode(1);
            chkLink->setEnabled(true);
            chkLink->setValue(s.mObj.LINK());
            svc.setNosepieceIsInterlockEnabled(s.mObj.LINK());
        }
        if (s.MicUnit[7] != 0) {
            chkLink->setValue(1);
            chkLink->setEnabled(false);
        }
        txtAdd->setLast(s.mObj.MAX());
        txtAdd->setFirst(s.mObj.MIN());
        for (int a = s.mObj.MIN(); a <= s.mObj.MAX(); ++a) {
            const clsDefLens& d = lens(int16_t(a));
            txtAdd->SetLabel(QString::number(a) + QStringLiteral(" :") + d.SeriesName().trimmed() +
                                 QStringLiteral("  ") + d.Name().trimmed(),
                             int16_t(a));
        }
        const int16_t position = svc.NosepiecePosition();
        if (inList(position)) {
            txtAdd->setAddress(position);
            showObjective(position, QStringLiteral("  "));
        }
    });
}

void frmSubObj::ObjChg_Set(int Address)
{
    if (!connected())
        return;
    trap(QStringLiteral("Objective_Position Read Error"), [&] {
        txtAdd->setAddress(vb::toInt16(Address));
        showObjective(int16_t(Address), QStringLiteral(" "));
    });
}

void frmSubObj::showObjective(int16_t address, const QString& gap)
{
    const clsDefLens& d = lens(address);
    txtSel->setCaption(QString::number(address) + QStringLiteral(" :") + d.SeriesName().trimmed() + gap +
                       d.Name().trimmed());
    txtSel->setToolTipText(d.Number() == 0 ? QString()
                                           : QStringLiteral("W.D. ") + vb::singleText(d.WD()) +
                                                 QStringLiteral("  N.A. ") + vb::singleText(d.NA()));
}

void frmSubObj::chkLink_Show(int value) { chkLink->setValue(int16_t(value)); }

void frmSubObj::chkLink_Click()
{
    MainState& s = state();
    if (s.mObj.SETUP() != 1 || !connected())
        return;
    trap(QStringLiteral("Nosepiece_IsInterlockEnabled Error"), [&] {
        s.micService->setNosepieceIsInterlockEnabled(chkLink->Value());
        s.mObj.setLINK(s.micService->NosepieceIsInterlockEnabled());
        MainLinks::show(MainLinks::Link::Obj, s.mObj.LINK());
    });
}
