#include "state/UiHelpers.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QCoreApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QThread>

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
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
        return true;
    default:
        return false;
    }
}

bool isKeyEvent(QEvent::Type t) {
    return t == QEvent::KeyPress || t == QEvent::KeyRelease || t == QEvent::ShortcutOverride;
}

// Eats the mouse and key input delivered while it is installed, but only at
// the loop level it was installed at: a message box that a pending service
// event opens meanwhile runs a loop of its own, and the operator's answer to
// it must arrive.
class InputEater : public QObject {
public:
    InputEater() : m_level(QThread::currentThread()->loopLevel()) {}
    bool eventFilter(QObject*, QEvent* e) override {
        if (QThread::currentThread()->loopLevel() != m_level)
            return false;
        return isMouseEvent(e->type()) || isKeyEvent(e->type());
    }

private:
    int m_level;
};

// Delivers what is pending, mouse and key input into the eater (both at once:
// a pass for the mouse alone would hand the keys on). Input the window system
// held back while a blocking call waited (its loop excludes user input) is
// queued in two stages, the connection to the display and the window
// system's own queue, so the dispatcher runs until it has nothing left.
void dropPendingInput() {
    InputEater eater;
    QCoreApplication::instance()->installEventFilter(&eater);
    QCoreApplication::sendPostedEvents();
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    for (int round = 0; round < 16; ++round) {
        const bool any = dispatcher ? dispatcher->processEvents(QEventLoop::AllEvents) : false;
        QCoreApplication::sendPostedEvents();
        if (!any && round > 0)
            break;
    }
    QCoreApplication::instance()->removeEventFilter(&eater);
}

} // namespace

WaitCursor::WaitCursor() {
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        QGuiApplication::setOverrideCursor(Qt::WaitCursor);
}

WaitCursor::~WaitCursor() {
    if (!m_kept && qobject_cast<QGuiApplication*>(QCoreApplication::instance()))
        QGuiApplication::restoreOverrideCursor();
}

void Common_Flush() {
    if (!QCoreApplication::instance() || g_flushing)
        return;
    g_flushing = true;
    dropPendingInput();
    g_flushing = false;
}

bool Common_Flushing() { return g_flushing; }
