#include "devicepanels/optics/ZoomPanel.h"

#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/subpanel/SliderGestures.h"
#include "state/FormRegistry.h"
#include "state/MsgBox.h"
#include "core/base/VbConvert.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "widgets/usrXscroll.h"


namespace {
constexpr int16_t kRearPort = 3;
} // namespace

frmSubZoom::frmSubZoom(QWidget* owner) : SubPanel(QStringLiteral("frmSubZoom"), QStringLiteral("Zoom"), owner)
{
    panelLook::applyTo(this);
    usrScroll = new ::usrScroll(this);
    usrScroll->setObjectName(QStringLiteral("usrScroll"));
    usrScroll->setAccessibleName(QStringLiteral("Zoom magnification"));
    usrScroll->setMinimumWidth(260);
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), QStringLiteral("Zoom magnification"));
    btnReset = panelLook::oneShot(this, "btnReset", QStringLiteral("1x"),
                                  QStringLiteral("Back to the plain magnification 1x"));
    chkLink = new PanelCheck(QStringLiteral(" Link"), this);
    chkLink->setObjectName(QStringLiteral("chkLink"));
    chkLink->setAccessibleName(QStringLiteral("Link the zoom to the rear port"));
    chkLink->setToolTip(QStringLiteral("On the rear port the zoom moves only with this link"));
    btnClose = makeCloseButton();

    panelLook::sliderLayout(this, usrScroll, txtSel, {btnReset, chkLink}, btnClose);

    connectSliderGestures(
        usrScroll, this, [] { return state().mZoom.AMOUNT(); }, [this](double v) { ZoomValue_Set(v); });
    connect(btnReset, &usrButton::Released, this, [this] { ZoomValue_Set(kPlainMagnification); });
    connect(chkLink, &PanelCheck::Click, this, [this] { ZoomLink_Click(chkLink->Value()); });
    attachOwnEvents();
}

void frmSubZoom::Get_Status()
{
    if (!connected())
        return;
    trap(QStringLiteral("OpticalZoom_Status Read Error"), [this] {
        MicroscopeService& svc = *state().micService;
        clsDefZoom& zoom = state().mZoom;
        const bool motorised = svc.IsReadOnly(DeviceIndex::OpticalZoom) == 0;
        btnReset->setLocked(!motorised);
        usrScroll->setLocked(!motorised);
        chkLink->setEnabled(motorised);
        if (motorised)
            chkLink->setValue(zoom.LINK());
        usrScroll->setMin(svc.LowerLimit(LimitIndex::OpticalZoom));
        usrScroll->setMax(svc.UpperLimit(LimitIndex::OpticalZoom));
        usrScroll->setValue(zoom.ZOOM());
        showZoom(zoom.ZOOM());
    });
}

void frmSubZoom::ZoomChange(double pValue, int16_t linkShown)
{
    MainState& s = state();
    if (s.mPath.PATH() == kRearPort) {
        s.mZoom.setLINK(linkShown);
        s.micService->setOpticalZoomIsInterlockEnabled(s.mZoom.LINK());
    } else {
        s.micService->setOpticalZoomIsInterlockEnabled(0);
    }
    s.micService->setOpticalZoomZoom(pValue);
}

void frmSubZoom::ZoomValue_Set(double pValue)
{
    if (!connected())
        return;
    trapMove(QStringLiteral("Zoom_Change"), [&] { ZoomChange(pValue, chkLink->Value()); });
}

void frmSubZoom::ZoomLink_Click(int16_t linkShown)
{
    if (!connected())
        return;
    try {
        MicroscopeService& svc = *state().micService;
        svc.setOpticalZoomIsInterlockEnabled(linkShown);
        state().mZoom.setLINK(svc.OpticalZoomIsInterlockEnabled() != 0 ? 1 : 0);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("OpticalZoom_IsInterlockEnabled Error"));
        return;
    }
    const int16_t link = state().mZoom.LINK();
    if (PanelCheck* mirror = mainPanelSide().ZoomLink)
        mirror->setValue(link);
    if (auto* panel = qobject_cast<frmSubZoom*>(FormRegistry::loaded(QStringLiteral("frmSubZoom"))))
        panel->chkLink->setValue(link);
}

void frmSubZoom::showZoom(double value) { txtSel->setCaption(vb::numberText(value) + QStringLiteral(" x")); }

void frmSubZoom::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    if (bstrMessage.section(QLatin1Char(':'), 0, 0) != QLatin1String("AppOpticalZoomZoom"))
        return;
    // The stage reached names a failure.
    int check = 0;
    QString value;
    try {
        check = 1;
        const QStringList parts = bstrMessage.split(QLatin1Char(':'));
        check = 2;
        value = parts.value(1);
        if (parts.size() < 2)
            throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
        state().mZoom.setZOOM(vb::textToDouble(value));
        check = 3;
        usrScroll->setValue(vb::textToDouble(value));
        check = 4;
        showZoom(usrScroll->Value());
    } catch (const std::exception& e) {
        const auto* rt = dynamic_cast<const RunTimeError*>(&e);
        static const char* const stage[] = {"", "Split problem", "Zoom Value problem", "Scrollbar problem ",
                                            "Textbox problem"};
        QString text = QLatin1String(stage[check]) + QStringLiteral("CtrlError : ") +
                       QString::number(rt ? rt->number() : 0) + QStringLiteral(" check: ") + QString::number(check);
        if (check == 2 || check == 4)
            text += QStringLiteral(" Val :") + value;
        else if (check == 3)
            text += QStringLiteral(" MAX :") + vb::numberText(usrScroll->Max()) + QStringLiteral(" MIN :") +
                    vb::numberText(usrScroll->Min()) + QStringLiteral(" Val :") + vb::numberText(usrScroll->Value());
        MsgBox::show(text);
    }
}
