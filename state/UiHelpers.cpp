#include "state/UiHelpers.h"

#include <QApplication>
#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>

namespace {

bool g_flushing = false;

bool isMouseEvent(QEvent::Type t) {
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
        return true;
    default:
        return false;
    }
}

bool isKeyEvent(QEvent::Type t) {
    return t == QEvent::KeyPress || t == QEvent::KeyRelease || t == QEvent::ShortcutOverride;
}

class InputEater : public QObject {
public:
    explicit InputEater(bool mouse) : m_mouse(mouse) {}
    bool eventFilter(QObject*, QEvent* e) override {
        return m_mouse ? isMouseEvent(e->type()) : isKeyEvent(e->type());
    }

private:
    bool m_mouse;
};

void dropPending(bool mouse) {
    InputEater eater(mouse);
    QCoreApplication::instance()->installEventFilter(&eater);
    QCoreApplication::sendPostedEvents();
    QCoreApplication::processEvents(QEventLoop::AllEvents);
    QCoreApplication::instance()->removeEventFilter(&eater);
}

} // namespace

WaitCursor::WaitCursor() {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

WaitCursor::~WaitCursor() {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        QGuiApplication::restoreOverrideCursor();
}

void Common_Flush() {
    if (!QCoreApplication::instance() || g_flushing)
        return;
    g_flushing = true;
    dropPending(true);
    dropPending(false);
    g_flushing = false;
}

bool Common_Flushing() { return g_flushing; }
