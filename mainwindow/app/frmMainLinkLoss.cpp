// A dropped link to another computer's bus: handled as a dead service. The
// liveness check (CheckServer) runs as soon as the panel is idle instead of
// at the next activation, since the operator of a far stand may watch the
// panel without touching it; its message and the orderly close are those of
// any dead service.
#include "mainwindow/app/frmMain.h"

#include "state/UiHelpers.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QThread>

void frmMain::serviceLinkLost() {
    if (m_linkLost || m_unloaded)
        return;
    m_linkLost = true;
    QAbstractEventDispatcher* dispatcher = QAbstractEventDispatcher::instance();
    if (!dispatcher)
        return;
    // The window's own event loop about to wait for the next event is the
    // one moment no handler runs: a call that was waiting on the link has
    // failed and said so in its own box, and that handler has returned, so
    // no panel closes under a handler still running. (A handler that lets
    // events through, as the flush after a move does, never waits there.)
    m_idleCheck = connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, this,
                          [this] { checkAfterLinkLoss(); });
    dispatcher->wakeUp();
}

void frmMain::checkAfterLinkLoss() {
    if (m_unloaded) {
        disconnect(m_idleCheck);
        return;
    }
    const int top = m_topLoopLevel >= 0 ? m_topLoopLevel : 1;
    if (QThread::currentThread()->loopLevel() > top || QApplication::activeModalWidget() || m_inCheck ||
        Common_Flushing())
        return;
    disconnect(m_idleCheck);
    m_inCheck = true;
    CheckServer();
    m_inCheck = false;
}
