#pragma once
// What the panel benchmarks share: a wait that lets the panel's events in
// until something holds (polled closely, since what is measured is how soon
// it holds), and whether a device panel shows the service's values yet.
#include "widgets/PanelControls.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QWidget>
#include <functional>

inline bool waitFor(const std::function<bool()>& done, int ms)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > ms)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    }
    return true;
}

// A panel is filled once its reading shows a value (a panel without one, at once).
inline bool filled(QWidget* panel)
{
    auto* reading = panel->findChild<PanelLabel*>(QStringLiteral("txtSel"));
    return !reading || !reading->Caption().isEmpty();
}
