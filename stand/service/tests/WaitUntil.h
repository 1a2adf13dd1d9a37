#pragma once
// The bus tests' one wait: lets queued events in until `done` or the limit.
// The limit is a safety net, not a timing.

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>

template <typename Pred>
bool waitUntil(Pred done, int limitMs = 30000)
{
    QDeadlineTimer deadline(limitMs);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents, 20);
    return done();
}
