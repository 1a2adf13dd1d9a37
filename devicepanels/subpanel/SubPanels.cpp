#include "devicepanels/subpanel/SubPanels.h"

#include "devicepanels/subpanel/SubPanel.h"
#include "core/service/ReadBatch.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "core/base/VbConvert.h"
#include "widgets/Units.h"
#include "widgets/usrButton.h"

#include <QGuiApplication>
#include <QHash>
#include <QPointer>
#include <QScreen>
#include <QWindow>
#include <array>
#include <optional>

using zentor::twipsToPixels;

namespace SubPanels {
namespace {

using Twins = std::array<QPointer<usrButton>, 2>;

QHash<QString, Twins>& twins()
{
    static QHash<QString, Twins> map;
    return map;
}

// A stored coordinate in twips, or nothing when the key is absent (-1) or
// holds no number.
bool storedTwips(const QString& section, const QString& key, int& twipsOut)
{
    const QString text = mainState().INI.Ini_ReadStr(section, key, QStringLiteral("-1")).trimmed();
    if (!vb::isNumeric(text))
        return false;
    const double v = vb::textToDouble(text);
    if (v == -1.0 || !std::isfinite(v) || std::abs(v) > 1e8)
        return false;
    twipsOut = int(std::lround(v));
    return true;
}

// The panel's frame wholly on the screen nearest to `wanted`, so that a place
// stored for a screen that is gone, or a wild value, still shows the panel.
QPoint onScreen(QWidget* panel, QPoint wanted)
{
    QScreen* screen = QGuiApplication::screenAt(wanted);
    if (!screen && panel->parentWidget())
        screen = panel->parentWidget()->screen();
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (!screen)
        return wanted;
    const QRect area = screen->availableGeometry();
    const QSize size = panel->frameGeometry().size().expandedTo(panel->sizeHint());
    const int x = std::clamp(wanted.x(), area.left(), std::max(area.left(), area.right() - size.width() + 1));
    const int y = std::clamp(wanted.y(), area.top(), std::max(area.top(), area.bottom() - size.height() + 1));
    return QPoint(x, y);
}

// Where a panel with no stored place opens: its design place, or beside the
// main window, a little lower for each panel so that they do not hide each other.
QPoint designPlace(SubPanel* panel)
{
    if (panel->hasDesignPlace())
        return QPoint(twipsToPixels(panel->designLeft()), twipsToPixels(panel->designTop()));
    QWidget* owner = panel->parentWidget();
    if (!owner)
        return panel->pos();
    const int step = std::max(0, int(order().indexOf(panel->formName())));
    const QRect frame = owner->frameGeometry();
    return QPoint(frame.right() + 8, frame.top() + 24 * (step % 8));
}

} // namespace

const QStringList& order()
{
    static const QStringList list{
        QStringLiteral("frmSubAp"),    QStringLiteral("frmSubFS"),     QStringLiteral("frmSubEpiFS"),
        QStringLiteral("frmSubND"),    QStringLiteral("frmSubLamp"),   QStringLiteral("frmSubZoom"),
        QStringLiteral("frmSubObj"),   QStringLiteral("frmSubFilter"), QStringLiteral("frmSubCond"),
        QStringLiteral("frmSubPath"),  QStringLiteral("frmSubFiber"),  QStringLiteral("frmSubZ"),
        QStringLiteral("frmSubStage")};
    return list;
}

void attach(const QString& formName, usrButton* large, usrButton* compact, OpensOn gesture)
{
    twins().insert(formName, Twins{large, compact});
    for (usrButton* b : {large, compact}) {
        if (!b)
            continue;
        b->setLatching(true);
        auto openFrom = [formName](int16_t index) { open(formName, index); };
        if (gesture == OpensOn::Pressed)
            QObject::connect(b, &usrButton::Pressed, b, [openFrom](int16_t index, int16_t, int16_t, float, float) {
                openFrom(index);
            });
        else
            QObject::connect(b, &usrButton::Released, b, [openFrom, b](int16_t index, int16_t, int16_t, float, float) {
                // A one-shot release of a button that is up opens nothing.
                if (b->Latched())
                    openFrom(index);
            });
        QObject::connect(b, &usrButton::Unlatched, b, [formName, b](int16_t) {
            FormRegistry::unload(formName);
            b->Unlatch();
        });
    }
}

QWidget* open(const QString& formName, int16_t index)
{
    // Only the pressed twin stays latched.
    const Twins pair = twins().value(formName);
    if (usrButton* other = pair[index == 1 ? 0 : 1])
        other->Unlatch();

    // A panel that opens reads the service from its making to its filling
    // (a panel's constructor may read too) as one group: one round trip.
    // Named by the panel: each opening reads much the same.
    std::optional<ReadBatch> reads;
    if (QWidget* existing = FormRegistry::loaded(formName); !existing || !existing->isVisible())
        reads.emplace(mainState().micService, formName);
    QWidget* form = FormRegistry::instance(formName);
    auto* panel = qobject_cast<SubPanel*>(form);
    if (!panel) {
        // No panel of that name exists in this program: the button comes up again.
        if (usrButton* self = pair[index == 1 ? 1 : 0])
            self->Unlatch();
        return form;
    }
    panel->setOpenedBy(index);
    panel->ensurePolished();
    panel->adjustSize();

    const bool wasOpen = panel->isVisible();
    QPoint place = wasOpen ? panel->pos() : designPlace(panel);
    int v = 0;
    if (storedTwips(panel->Caption(), QStringLiteral("Top"), v))
        place.setY(twipsToPixels(v));
    if (storedTwips(panel->Caption(), QStringLiteral("Left"), v))
        place.setX(twipsToPixels(v));
    panel->move(onScreen(panel, place));

    panel->setVisible(true);
    // Shown means read, also where the window system refuses to activate it.
    if (!wasOpen)
        panel->fillOnOpening();
    reads.reset();
    Panels_OnTop(panel);
    // The panel takes the keyboard focus (its first control); it gives it
    // back to the pressed twin when it is unloaded (SubPanel::unload).
    for (QWidget* w = panel->nextInFocusChain(); w && w != panel; w = w->nextInFocusChain()) {
        if (panel->isAncestorOf(w) && w->isVisible() && w->isEnabled() && (w->focusPolicy() & Qt::TabFocus)) {
            // w->setFocus(Qt::OtherFocusReason);
            break;
        }
    }
    return panel;
}

usrButton* twin(const QString& formName, int16_t index)
{
    if (index != 0 && index != 1)
        return nullptr;
    return twins().value(formName)[index];
}

void unlatchTwins(const QString& formName)
{
    for (usrButton* b : twins().value(formName))
        if (b)
            b->Unlatch();
}

void Panels_OnTop(QWidget* panel)
{
    for (const QString& name : order()) {
        QWidget* w = FormRegistry::loaded(name);
        if (w && w != panel && w->isVisible())
            w->raise();
    }
    if (panel) {
        panel->raise();
        panel->activateWindow();
    }
}

void detachAll() { twins().clear(); }

} // namespace SubPanels
