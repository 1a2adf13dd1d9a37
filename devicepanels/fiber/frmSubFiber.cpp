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
#include <limits>

namespace {

const QString kStatusError = QStringLiteral("Fiber_Status Read Error");
const QString kTimerRange = QString::fromUtf8("ShutterTimer setting is 0.0s\xEF\xBD\x9E" "100.0s");

FiberService* fiber() { return fiberState().cFiber; }

// The keys that reach the reversal time: digits, "." and Backspace, alone.
bool typesIntoTime(const QKeyEvent& k) {
    if (k.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return false;
    if (k.key() == Qt::Key_Backspace)
        return true;
    const QString t = k.text();
    return t.size() == 1 && ((t[0] >= QLatin1Char('0') && t[0] <= QLatin1Char('9')) || t[0] == QLatin1Char('.'));
}

// The number in the reversal time (a text that is no number reads 0). The
// field holds only digits and points, so a whole part of more digits than a
// Double keeps is far above the 100 s limit, however long the text.
double reversalSeconds(const QString& text) {
    const QString whole = text.section(QLatin1Char('.'), 0, 0);
    qsizetype leadingZeros = 0;
    while (leadingZeros < whole.size() && whole.at(leadingZeros) == QLatin1Char('0'))
        ++leadingZeros;
    if (whole.size() - leadingZeros > 15)
        return std::numeric_limits<double>::infinity();
    return Common_Val(text);
}

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
    // Only what is typed gets in: no menu, no dragged or middle-button text,
    // no input method (eventFilter keeps paste keys and all other keys out).
    txtTime->setContextMenuPolicy(Qt::NoContextMenu);
    txtTime->setAcceptDrops(false);
    txtTime->setAttribute(Qt::WA_InputMethodEnabled, false);
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
    // As on the turrets: pointer back and the list usable again before the box.
    trap(QStringLiteral("Fiber_NDPosition Error"), [&] { whileBusy(usrNDCtrl, [&] { f->setNDPosition(Address); }); });
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
    const double v = reversalSeconds(txtTime->text());
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

// txtTime takes digits, "." and Backspace; every other key is swallowed
// (Return, Delete, arrows, paste and the other shortcuts included). Tab and
// Shift+Tab still leave the field, so the keyboard is not caught in it. The
// check runs when the field loses the focus to another control of the panel.
bool frmSubFiber::eventFilter(QObject* watched, QEvent* event) {
    if (watched != txtTime)
        return SubPanel::eventFilter(watched, event);
    switch (event->type()) {
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress: {
        auto* k = static_cast<QKeyEvent*>(event);
        if (k->key() == Qt::Key_Tab || k->key() == Qt::Key_Backtab)
            return false;
        if (event->type() == QEvent::ShortcutOverride) {
            event->accept();   // no window shortcut takes a key meant for the field
            return true;
        }
        return !typesIntoTime(*k);
    }
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
        // The middle button would paste the selection.
        return static_cast<QMouseEvent*>(event)->button() == Qt::MiddleButton;
    case QEvent::FocusOut: {
        const Qt::FocusReason why = static_cast<QFocusEvent*>(event)->reason();
        // Another window or a menu taking the keyboard is no lost focus.
        if (why != Qt::ActiveWindowFocusReason && why != Qt::PopupFocusReason)
            txtTime_LostFocus();
        return false;
    }
    default:
        return false;
    }
}

void registerFiberPanel(QWidget* owner) {
    FormRegistry::registerForm<frmSubFiber>("frmSubFiber", owner);
}
