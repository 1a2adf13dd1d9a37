#include "devicepanels/optics/LightPathPanel.h"

#include "devicepanels/subpanel/MainLinks.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/subpanel/PropertyEvent.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath.h"

#include <QGridLayout>

frmSubPath::frmSubPath(QWidget* owner) : SubPanel(QStringLiteral("frmSubPath"), QStringLiteral("Light Path"), owner)
{
    panelLook::applyTo(this);
    usrPath = new ::usrPath(this);
    usrPath->setObjectName(QStringLiteral("usrPath"));
    usrPath->setAccessibleName(QStringLiteral("Light path outlets"));
    usrPath->setFocusPolicy(Qt::StrongFocus);
    chkLink = new PanelCheck(QStringLiteral(" Link"), this);
    chkLink->setObjectName(QStringLiteral("chkLink"));
    chkLink->setAccessibleName(QStringLiteral("Link the light path to the observation"));
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), QStringLiteral("Light path in use"));
    btnClose = makeCloseButton();

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(10, 10, 10, 10);
    grid->setHorizontalSpacing(10);
    grid->setVerticalSpacing(8);
    grid->addWidget(usrPath, 0, 0, 1, 3);
    grid->addWidget(chkLink, 1, 0);
    grid->addWidget(txtSel, 1, 1, 1, 2);
    grid->addWidget(btnClose, 2, 2, Qt::AlignRight);
    grid->setColumnStretch(1, 1);
    setTabOrder(usrPath, chkLink);
    setTabOrder(chkLink, btnClose);

    connect(usrPath, &::usrPath::PathPicked, this, [this](int16_t i) { usrPath_PathPicked(i); });
    connect(chkLink, &PanelCheck::Click, this, [this] { chkLink_Click(); });
    attachOwnEvents();
}

void frmSubPath::Get_PathStatus()
{
    if (!connected())
        return;
    trap(QStringLiteral("LightPathDrive_Status Read Error"), [this] {
        MainState& s = state();
        MicroscopeService& svc = *s.micService;
        if (svc.IsMounted(DeviceIndex::LightPathDrive) == 0)
            return;
        if (svc.IsReadOnly(DeviceIndex::LightPathDrive) == 0) {
            usrPath->setLocked(false);
            chkLink->setEnabled(true);
            chkLink->setValue(s.mPath.LINK());
        } else {
            usrPath->setLocked(true);
            chkLink->setEnabled(false);
        }
        usrPath->setPathIndex(s.mPath.PATH());
        txtSel->setCaption(s.mPath.PathName_Get());
    });
}

void frmSubPath::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    try {
        const QString v = propertyValue(bstrMessage, "AppLightPathDriveLightPath");
        if (v.isNull())
            return;
        MainState& s = state();
        s.mPath.setPATH(vb::toInt16(vb::textToDouble(v)));
        usrPath->setPathIndex(s.mPath.PATH());
        txtSel->setCaption(s.mPath.PathName_Get());
    } catch (const std::exception& e) {
        showEventError(e);
    }
}

void frmSubPath::usrPath_PathPicked(int16_t Index)
{
    if (!connected())
        return;
    MainState& s = state();
    trap(QStringLiteral("LightPathDrive_LightPath Error"), [&] {
        // The flag first, so that the service never moves with an old one.
        s.mPath.setLINK(chkLink->Value());
        s.micService->setLightPathDriveIsInterlockEnabled(s.mPath.LINK());
        s.micService->setLightPathDriveLightPath(Index);
    });
}

void frmSubPath::chkLink_Show(int value) { chkLink->setValue(int16_t(value)); }

void frmSubPath::chkLink_Click()
{
    if (!connected())
        return;
    MainState& s = state();
    trap(QStringLiteral("LightPathDrive_IsInterlockEnabled Error"), [&] {
        s.micService->setLightPathDriveIsInterlockEnabled(chkLink->Value());
        s.mPath.setLINK(s.micService->LightPathDriveIsInterlockEnabled());
        MainLinks::show(MainLinks::Link::Path, s.mPath.LINK());
    });
}
