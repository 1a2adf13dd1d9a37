#include "devicepanels/fiber/frmSubFiber.h"

#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "widgets/PanelControls.h"
#include "widgets/WidgetLook.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "state/FormRegistry.h"
#include "state/MsgBox.h"

#include <QGridLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

namespace {

const QString kStatusError = QStringLiteral("Fiber_Status Read Error");
const QString kTimerRange = QString::fromUtf8("ShutterTimer setting is 0.0s\xEF\xBD\x9E" "100.0s");

FiberService* fiber() { return fiberState().cFiber; }

// The lamp on a shutter button: lit amber while the shutter stands that way.
QPixmap lamp(bool lit) {
    QPixmap pm(14, 14);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(zentor::look::edgeDark(), 1));
    p.setBrush(lit ? zentor::look::accent() : zentor::look::faceDown());
    p.drawEllipse(QRectF(1.5, 1.5, 11, 11));
    return pm;
}

usrButton* shutterButton(QWidget* parent, int16_t index, const QString& caption, const QString& accessible) {
    auto* b = new usrButton(parent);
    b->setObjectName(QStringLiteral("btnShutter%1").arg(index));
    b->setIndex(index);
    b->setLatching(false);
    b->setCaption(caption);
    b->setAccessibleName(accessible);
    b->setMinimumWidth(96);
    return b;
}

} // namespace

frmSubFiber::frmSubFiber(QWidget* owner)
    : SubPanel(QStringLiteral("frmSubFiber"), QStringLiteral("Fiber Illumination"), owner) {
    panelLook::applyTo(this);
    usrNDCtrl = new usrAddress(this);
    usrNDCtrl->setObjectName(QStringLiteral("usrNDCtrl"));
    usrNDCtrl->setAccessibleName(QStringLiteral("Fiber ND filter position"));
    usrNDCtrl->setFirst(1);
    usrNDCtrl->setLast(6);
    usrNDCtrl->setMinimumWidth(150);
    txtSel = panelLook::valueLabel(this, QStringLiteral("txtSel"), QStringLiteral("Fiber ND filter"));
    btnShutter[0] = shutterButton(this, 0, QStringLiteral("Open"), QStringLiteral("Open the fiber shutter"));
    btnShutter[1] = shutterButton(this, 1, QStringLiteral("Close"), QStringLiteral("Close the fiber shutter"));
    Text1 = panelLook::caption(this, QStringLiteral("Auto reverse"));
    Text1->setObjectName(QStringLiteral("Text1"));
    chkLink = new PanelCheck(QStringLiteral("Enable"), this);
    chkLink->setObjectName(QStringLiteral("chkLink"));
    chkLink->setAccessibleName(QStringLiteral("Reverse the shutter automatically"));
    txtTime = new QLineEdit(QStringLiteral("10"), this);
    txtTime->setObjectName(QStringLiteral("txtTime"));
    txtTime->setAccessibleName(QStringLiteral("Automatic reversal after seconds"));
    txtTime->setAlignment(Qt::AlignRight);
    txtTime->setMaximumWidth(64);
    txtTime->installEventFilter(this);
    Label3 = panelLook::caption(this, QStringLiteral("sec"));
    Label3->setObjectName(QStringLiteral("Label3"));
    btnClose = makeCloseButton();
    showShutter(false);

    auto* shutterTitle = panelLook::caption(this, QStringLiteral("Shutter"));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(10, 10, 10, 10);
    grid->setHorizontalSpacing(8);
    grid->setVerticalSpacing(8);
    grid->addWidget(usrNDCtrl, 0, 0, 5, 1);
    grid->addWidget(txtSel, 0, 1, 1, 3);
    grid->addWidget(shutterTitle, 1, 1, 1, 3);
    grid->addWidget(btnShutter[0], 2, 1);
    grid->addWidget(btnShutter[1], 2, 2, 1, 2);
    grid->addWidget(Text1, 3, 1);
    grid->addWidget(chkLink, 3, 2, 1, 2);
    grid->addWidget(txtTime, 4, 1, Qt::AlignRight);
    grid->addWidget(Label3, 4, 2);
    grid->addWidget(btnClose, 5, 3, Qt::AlignRight);
    grid->setColumnStretch(3, 1);
    setTabOrder(usrNDCtrl, btnShutter[0]);
    setTabOrder(btnShutter[0], btnShutter[1]);
    setTabOrder(btnShutter[1], chkLink);
    setTabOrder(chkLink, txtTime);
    setTabOrder(txtTime, btnClose);

    connect(usrNDCtrl, &usrAddress::AddressPicked, this, [this](int16_t a) { usrNDCtrl_AddressPicked(a); });
    for (usrButton* b : btnShutter)
        connect(b, &usrButton::Released, this, [this](int16_t Index) { btnShutter_Click(Index); });
    connect(txtTime, &QLineEdit::editingFinished, this, [this] { txtTime_LostFocus(); });
    // cEvent: the panel's own listener on the fiber server while it is loaded.
    if (FiberService* f = fiber())
        connect(f, &FiberService::OnPropertyChanged, this,
                [this](const QString& message) { cEvent_OnPropertyChanged(message); });
}

void frmSubFiber::Get_Status() {
    FiberService* f = fiber();
    if (!f)
        return;
    trap(kStatusError, [&] {
        if (f->ConnectionStatus() == 0)
            return;
        for (int16_t p = 1; p <= 6; ++p)
            usrNDCtrl->SetLabel(mdlFiber::ND_Text(p), p);
        usrNDCtrl->setEnabled(true);
        showND(f->NDPosition());
        showShutter(f->ShutterIsOpened() == 1);
    });
}

void frmSubFiber::cEvent_OnPropertyChanged(const QString& bstrMessage) {
    QString name, value;
    if (!mdlFiber::SplitEvent(bstrMessage, name, value))
        return;
    try {
        const int16_t v = vb::toInt16(Common_Val(value));
        if (name == QLatin1String("ND_Position"))
            showND(v);
        else if (name == QLatin1String("Shutter_IsOpened"))
            showShutter(v == 1);
        else if (mdlFiber::StateNames().contains(name))
            setControlsUsable(v == 1);
    } catch (const std::exception& e) {
        showEventError(e);
    }
}

void frmSubFiber::showND(int16_t position) {
    usrNDCtrl->setAddress(position);
    txtSel->setCaption(mdlFiber::ND_Text(position));
}

void frmSubFiber::showShutter(bool open) {
    m_shutterOpen = open;
    btnShutter[0]->setPicture(lamp(open));
    btnShutter[1]->setPicture(lamp(!open));
}

void frmSubFiber::setControlsUsable(bool usable) {
    usrNDCtrl->setEnabled(usable);
    btnShutter[0]->setEnabled(usable);
    btnShutter[1]->setEnabled(usable);
}

void frmSubFiber::usrNDCtrl_AddressPicked(int16_t Address) {
    FiberService* f = fiber();
    if (!f)
        return;
    whileBusy(usrNDCtrl, [&] { trap(QStringLiteral("Fiber_NDPosition Error"), [&] { f->setNDPosition(Address); }); });
}

void frmSubFiber::btnShutter_Click(int16_t Index) {
    FiberService* f = fiber();
    if (!f)
        return;
    const bool timed = chkLink->Value() == 1;
    const bool done = trap(QStringLiteral("Fiber_Shutter Error"), [&] {
        if (Index == 0)
            timed ? f->ShutterOpenTimed(m_delay) : f->ShutterOpen();
        else
            timed ? f->ShutterCloseTimed(m_delay) : f->ShutterClose();
    });
    if (done)
        showShutter(Index == 0);
}

void frmSubFiber::txtTime_LostFocus() {
    const double v = Common_Val(txtTime->text());
    if (v < 0) {
        MsgBox::show(kTimerRange, MsgBox::OKOnly, MsgBox::Exclamation, QStringLiteral("Error"));
        txtTime->setText(vb::numberText(m_delay));
    } else if (v > 100) {
        MsgBox::show(kTimerRange, MsgBox::OKOnly, MsgBox::Exclamation, QStringLiteral("Error"));
        m_delay = 100;
        txtTime->setText(QStringLiteral("100"));
    } else {
        m_delay = v;
    }
}

// txtTime takes digits, "." and Backspace; any other character is swallowed.
// Keys that type nothing (arrows, Tab, Delete) move and edit as usual.
bool frmSubFiber::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtTime && event->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(event);
        const QString t = k->text();
        if (k->key() == Qt::Key_Backspace || k->key() == Qt::Key_Tab || k->key() == Qt::Key_Backtab ||
            k->key() == Qt::Key_Delete || t.isEmpty())
            return false;
        if (k->modifiers() & (Qt::ControlModifier | Qt::AltModifier))
            return false;   // shortcuts (copy, paste) stay the editor's
        const QChar c = t.at(0);
        const bool pass = t.size() == 1 && ((c >= QLatin1Char('0') && c <= QLatin1Char('9')) || c == QLatin1Char('.'));
        return !pass;
    }
    return SubPanel::eventFilter(watched, event);
}

void registerFiberPanel(QWidget* owner) {
    FormRegistry::registerForm<frmSubFiber>("frmSubFiber", owner);
}
