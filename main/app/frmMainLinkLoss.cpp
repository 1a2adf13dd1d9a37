// A dropped link to another computer's bus: handled as a dead service. The
// liveness check (CheckServer) runs at once instead of at the next
// activation, since the operator of a far stand may watch the panel without
// touching it; its message and the orderly close are those of any dead
// service.
#include "main/app/frmMain.h"

#include <QApplication>
#include <QThread>
#include <QTimer>

void frmMain::serviceLinkLost() {
    if (m_linkLost || m_unloaded)
        return;
    m_linkLost = true;
    QTimer::singleShot(0, this, [this] { checkAfterLinkLoss(); });
}

void frmMain::checkAfterLinkLoss() {
    if (m_unloaded)
        return;
    // A call that was waiting on the link has failed and says so in its own
    // box; the check follows once that handler has returned, so that no
    // panel closes under a handler still running.
    const int top = m_topLoopLevel >= 0 ? m_topLoopLevel : 1;
    if (QThread::currentThread()->loopLevel() > top || QApplication::activeModalWidget() || m_inCheck) {
        QTimer::singleShot(50, this, [this] { checkAfterLinkLoss(); });
        return;
    }
    m_inCheck = true;
    CheckServer();
    m_inCheck = false;
}
