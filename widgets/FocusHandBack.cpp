#include "widgets/FocusHandBack.h"

#include <QApplication>
#include <QEvent>
#include <QPointer>

namespace FocusHandBack {
namespace {

// Watches one opened widget; hands the focus back once, then goes.
class Watcher : public QObject {
public:
    Watcher(QWidget* opened, QWidget* opener) : QObject(opened), m_opened(opened), m_opener(opener)
    {
        setObjectName(QStringLiteral("FocusHandBack"));
        opened->installEventFilter(this);
    }
    ~Watcher() override { handBack(); }
    QWidget* opener() const { return m_opener; }
    // Replaced by a newer watcher: goes without handing anything back.
    void dismiss() { m_done = true; }

protected:
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (watched == m_opened && (event->type() == QEvent::Hide || event->type() == QEvent::Close)) {
            handBack();
            deleteLater();
        }
        return false;
    }

private:
    void handBack()
    {
        if (m_done)
            return;
        m_done = true;
        if (!m_opener || !m_opener->isVisible() || !m_opener->isEnabled())
            return;
        // Only when the focus is still where the opened widget left it: in
        // it, or nowhere because it went with it.
        QWidget* now = QApplication::focusWidget();
        const bool focusWasInside = !now || !m_opened || now == m_opened || m_opened->isAncestorOf(now);
        if (!focusWasInside)
            return;
        QWidget* window = m_opener->window();
        if (window != (m_opened ? m_opened->window() : nullptr)) {
            window->raise();
            window->activateWindow();
        }
        m_opener->setFocus(Qt::OtherFocusReason);
    }

    QPointer<QWidget> m_opened;
    QPointer<QWidget> m_opener;
    bool m_done = false;
};

Watcher* watcherOf(const QWidget* opened)
{
    for (QObject* child : opened->children())
        if (auto* w = dynamic_cast<Watcher*>(child))
            return w;
    return nullptr;
}

} // namespace

void open(QWidget* opened, QWidget* focusInside, QWidget* opener)
{
    if (!opened)
        return;
    if (!opener)
        opener = QApplication::focusWidget();
    if (opener && (opener == opened || opened->isAncestorOf(opener)))
        opener = nullptr;  // the focus is inside already: nothing to go back to
    if (Watcher* old = watcherOf(opened)) {
        // Opened again while open: keep the first opener.
        if (!opener)
            opener = old->opener();
        old->dismiss();
        delete old;
    }
    if (opener)
        new Watcher(opened, opener);

    QWidget* target = focusInside;
    if (!target) {
        target = opened;
        if (opened->focusPolicy() == Qt::NoFocus) {
            for (QWidget* w = opened->nextInFocusChain(); w && w != opened; w = w->nextInFocusChain()) {
                if (opened->isAncestorOf(w) && w->isVisible() && w->isEnabled() && (w->focusPolicy() & Qt::TabFocus)) {
                    target = w;
                    break;
                }
            }
        }
    }
    if (opened->isWindow()) {
        opened->raise();
        opened->activateWindow();
    }
    target->setFocus(Qt::OtherFocusReason);
}

QWidget* openerOf(const QWidget* opened)
{
    const Watcher* w = opened ? watcherOf(opened) : nullptr;
    return w ? w->opener() : nullptr;
}

} // namespace FocusHandBack
