#include "core/base/BlockingWait.h"

#include <QCoreApplication>
#include <QEvent>
#include <QEventLoop>
#include <QThread>

namespace blockingWait {
namespace {

EscapeWay* g_way = nullptr;

bool isInput(QEvent::Type t)
{
    switch (t) {
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::NonClientAreaMouseButtonPress:
    case QEvent::NonClientAreaMouseButtonRelease:
    case QEvent::NonClientAreaMouseButtonDblClick:
    case QEvent::NonClientAreaMouseMove:
    case QEvent::HoverEnter:
    case QEvent::HoverLeave:
    case QEvent::HoverMove:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TouchCancel:
    case QEvent::TabletPress:
    case QEvent::TabletMove:
    case QEvent::TabletRelease:
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::ShortcutOverride:
    case QEvent::Shortcut:
    case QEvent::ContextMenu:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::DragLeave:
    case QEvent::Drop:
        return true;
    default:
        return false;
    }
}

// Installed on the application for one wait: input for the way's controls
// passes, any other input is dropped. Only at the wait's own loop level: a
// message box that an event opens meanwhile runs a loop of its own and gets
// the operator's answer.
class Gate : public QObject {
public:
    Gate(const EscapeWay& way, int level) : m_way(way), m_level(level) {}

    bool eventFilter(QObject* receiver, QEvent* e) override
    {
        if (!isInput(e->type()) || QThread::currentThread()->loopLevel() != m_level)
            return false;
        if (m_way.admits(receiver))
            return false;
        if (e->type() == QEvent::ShortcutOverride) {
            // Taken, so that no shortcut acts on the key either.
            e->accept();
            return true;
        }
        // A window hands its input on to the control under the pointer or
        // with the focus; the control decides there.
        return !receiver->isWindowType();
    }

private:
    const EscapeWay& m_way;
    int m_level;
};

} // namespace

void run(QEventLoop& loop)
{
    const int level = QThread::currentThread()->loopLevel();
    QCoreApplication* app = QCoreApplication::instance();
    if (!g_way || !app || g_way->loopLevel() != level) {
        loop.exec(QEventLoop::ExcludeUserInputEvents);
        return;
    }
    Gate gate(*g_way, level + 1);
    app->installEventFilter(&gate);
    loop.exec(QEventLoop::AllEvents);
    app->removeEventFilter(&gate);
}

EscapeWay::EscapeWay(std::vector<QObject*> controls)
    : m_level(QThread::currentThread()->loopLevel()), m_outer(g_way)
{
    for (QObject* c : controls)
        if (c)
            m_controls.emplace_back(c);
    g_way = this;
}

EscapeWay::~EscapeWay() { g_way = m_outer; }

bool EscapeWay::admits(const QObject* receiver) const
{
    for (const QPointer<QObject>& c : m_controls) {
        for (const QObject* o = receiver; o; o = o->parent())
            if (o == c.data())
                return true;
    }
    return false;
}

} // namespace blockingWait
