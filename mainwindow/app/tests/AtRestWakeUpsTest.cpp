// The real panel and the real service process at rest: once the panel is
// connected and has drawn the stand, neither process wakes at all (no timer,
// no polling, no bus traffic), counted by the kernel over a quiet period.
// Runs on a private bus and under an X server of its own.
#include "ServiceProcess.h"
#include "WakeUps.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QThread>
#include <gtest/gtest.h>

namespace {

// Waits (at most `ms`) until the panel has said its connected caption.
bool waitForCaption(QProcess& panel, QByteArray& said, int ms)
{
    QDeadlineTimer deadline(ms);
    while (!said.contains("caption: Zentor  [") && !deadline.hasExpired()) {
        if (panel.state() != QProcess::Running)
            return false;
        panel.waitForReadyRead(100);
        said += panel.readAllStandardError();
    }
    return said.contains("caption: Zentor  [");
}

} // namespace

TEST(AtRestWakeUps, TheConnectedPanelAndTheServiceDoNotWakeAtRest)
{
    // The service at fifty times real speed, so that the fiber lamp's warm-up
    // (a change the panel draws) is over at once.
    ServiceProcess service;
    service.setFaultInjection(false);
    ASSERT_TRUE(service.start({QStringLiteral("--speed"), QStringLiteral("50"), QStringLiteral("--descriptions-dir"),
                               QStringLiteral(ZENTOR_STAND_DESCRIPTIONS)}))
        << service.error().toStdString();

    QProcess panel;
    QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
    env.insert(QStringLiteral("ZENTOR_PRINT_CAPTION"), QStringLiteral("1"));
    env.remove(QStringLiteral("QT_QPA_PLATFORM"));   // the X server, as an operator has it
    panel.setProcessEnvironment(env);
    panel.start(QStringLiteral(ZENTOR_EXE), {QStringLiteral("/SIM")});
    ASSERT_TRUE(panel.waitForStarted(10000));
    QByteArray said;
    ASSERT_TRUE(waitForCaption(panel, said, 60000)) << "no connected caption: " << said.toStdString();

    // Settling: the window manager's framing checks (up to 2.5 s after
    // showing) and the first drawing.
    QThread::sleep(4);
    const auto panelBefore = wakeups::perThread(panel.processId());
    const auto serviceBefore = wakeups::perThread(service.pid());
    QThread::sleep(5);
    const auto panelAfter = wakeups::perThread(panel.processId());
    const auto serviceAfter = wakeups::perThread(service.pid());

    EXPECT_EQ(wakeups::total(panelAfter) - wakeups::total(panelBefore), 0)
        << "the panel woke at rest: " << wakeups::difference(panelBefore, panelAfter).toStdString();
    EXPECT_EQ(wakeups::total(serviceAfter) - wakeups::total(serviceBefore), 0)
        << "the service woke at rest: " << wakeups::difference(serviceBefore, serviceAfter).toStdString();

    panel.terminate();
    EXPECT_TRUE(panel.waitForFinished(20000));
}
