#include "devicepanels/subpanel/SubPanel.h"

#include "core/service/ReadBatch.h"

#include "devicepanels/subpanel/SubPanels.h"
#include "state/FormRegistry.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/BlockingWait.h"
#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "widgets/Units.h"
#include "widgets/WidgetLook.h"
#include "widgets/usrButton.h"

#include <QApplication>
#include <QCloseEvent>
#include <QPointer>
#include <QTimer>
#include <optional>

using zentor::pixelsToTwips;
using zentor::twipsToPixels;

SubPanel::SubPanel(const QString& formName, const QString& caption, QWidget* owner)
    : QWidget(owner, Qt::Tool | Qt::WindowStaysOnTopHint), m_formName(formName), m_caption(caption)
{
    setObjectName(formName);
    setWindowTitle(caption);
    setAccessibleName(caption);
    zentor::look::applyTo(this);
    setAutoFillBackground(true);
    FormRegistry::add(formName, this);
}

SubPanel::~SubPanel()
{
    // Top, then Left, as the text of their single-precision values.
    if (m_keepsPlace) {
        clsIniEdit& ini = mainState().INI;
        ini.Ini_Write(m_caption, QStringLiteral("Top"), vb::singleText(float(Top())));
        ini.Ini_Write(m_caption, QStringLiteral("Left"), vb::singleText(float(Left())));
    }
    FormRegistry::remove(m_formName);
    // Both twins come up, however the panel was closed.
    SubPanels::unlatchTwins(m_formName);
}

void SubPanel::fillOnOpening()
{
    // An activation that comes while the read waits on the stand is the
    // opening's own, as is one that follows it.
    m_openedAt.start();
    readStatus();
    // Counted again from the end of the read: a box it raised has been answered.
    m_openedAt.start();
}

void SubPanel::setCaption(const QString& caption)
{
    m_caption = caption;
    setWindowTitle(caption);
    setAccessibleName(caption);
}

void SubPanel::setDesignPlace(int leftTwips, int topTwips)
{
    m_designLeft = leftTwips;
    m_designTop = topTwips;
}

int SubPanel::Top() const { return pixelsToTwips(pos().y()); }
int SubPanel::Left() const { return pixelsToTwips(pos().x()); }
void SubPanel::setTop(int twips) { move(pos().x(), twipsToPixels(twips)); }
void SubPanel::setLeft(int twips) { move(twipsToPixels(twips), pos().y()); }

bool SubPanel::trap(const QString& message, const std::function<void()>& call)
{
    try {
        call();
        return true;
    } catch (const std::exception&) {
        MsgBox::show(message);
        return false;
    }
}

bool SubPanel::trapMove(const QString& operation, const std::function<void()>& call)
{
    try {
        call();
        return true;
    } catch (const std::exception& e) {
        MsgBox::show(failureText(operation, e));
    }
    return false;
}

void SubPanel::whileBusy(QWidget* busy, const std::function<void()>& call)
{
    QPointer<QWidget> guard(busy);
    WaitCursor wait;
    if (busy)
        busy->setEnabled(false);
    struct Restore {
        QPointer<QWidget>& w;
        ~Restore()
        {
            if (w)
                w->setEnabled(true);
            Common_Flush();
        }
    } restore{guard};
    std::optional<blockingWait::EscapeWay> way;
    if (m_escape)
        way.emplace(std::vector<QObject*>{m_escape.data()});
    call();
}

void SubPanel::attachOwnEvents()
{
    MicroscopeService* source = mainState().micService;
    if (!source)
        return;
    connect(source, &MicroscopeService::OnPropertyChanged, this,
            [this](const QString& message) { micEvent_OnPropertyChanged(message); });
}

void SubPanel::micEvent_OnPropertyChanged(const QString&) {}

void SubPanel::showEventError(const std::exception& e)
{
    const auto* rt = dynamic_cast<const RunTimeError*>(&e);
    MsgBox::show(QStringLiteral("Error : ") + (rt ? rt->description() : QString::fromUtf8(e.what())));
}

usrButton* SubPanel::makeCloseButton()
{
    auto* b = new usrButton(this);
    b->setObjectName(QStringLiteral("btnClose"));
    b->setLatching(false);
    b->setCaption(QStringLiteral("Close"));
    b->setAccessibleName(QStringLiteral("Close ") + m_caption);
    connect(b, &usrButton::Released, this, [this] { unload(); });
    return b;
}

void SubPanel::readStatus()
{
    // Named by the panel: each opening reads much the same.
    const ReadBatch reads(mainState().micService, m_formName);
    Get_Status();
}

void SubPanel::unload()
{
    if (m_unloading)
        return;
    m_unloading = true;
    // The keyboard focus goes back to the button that opened the panel, once
    // the panel is gone (activating the main window while the panel's own
    // window still goes away would leave the window system pointing at it).
    QPointer<QWidget> opener;
    if (isActiveWindow())
        opener = SubPanels::twin(m_formName, m_openedBy);
    hide();
    // Not destroyed from inside its own handler: the gesture that asked for
    // it is still on the stack.
    QTimer::singleShot(0, qApp, [name = m_formName, opener] {
        FormRegistry::unload(name);
        // Only the focus within the main window is set: asking the window
        // system to activate it here races the panel's own window going.
        if (opener && opener->isVisible() && opener->isEnabled())
            opener->setFocus(Qt::OtherFocusReason);
    });
}

bool SubPanel::event(QEvent* e)
{
    // Every activation reads the service afresh; coming back from one of the
    // program's own dialogs (a message box this panel raised) is no new
    // activation, or a failing read would raise its box again at once.
    if (e->type() == QEvent::WindowDeactivate)
        m_inDialog = QApplication::activeModalWidget() != nullptr;
    if (e->type() == QEvent::WindowActivate && !m_unloading) {
        // The window system activates a shown window within moments, if at
        // all; an activation later than that is the operator's.
        constexpr qint64 kOpeningActivationMs = 1000;
        const bool followsOpening = m_openedAt.isValid() && m_openedAt.elapsed() < kOpeningActivationMs;
        m_openedAt.invalidate();
        if (m_inDialog)
            m_inDialog = false;
        else if (!followsOpening)
            readStatus();
    }
    return QWidget::event(e);
}

void SubPanel::closeEvent(QCloseEvent* e)
{
    // Closed from the window's frame: the same unload as btnClose.
    e->ignore();
    unload();
}
