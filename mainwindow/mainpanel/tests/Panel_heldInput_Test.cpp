// Clicks the operator makes while a move blocks are held back by the window
// system (the blocking call's loop excludes user input). When the move ends
// they are dropped, never replayed as a move nobody meant.
#include "PanelTestSupport.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTimer>
#include <QWindow>
#include <qpa/qwindowsysteminterface.h>

namespace {

// A click as the display delivers it: into the window system's queue.
void queueClick(QWidget* target, QPoint local)
{
    QWidget* top = target->window();
    QWindow* window = top->windowHandle();
    ASSERT_NE(window, nullptr);
    const QPointF inWindow = target->mapTo(top, local);
    const QPointF global = target->mapToGlobal(local);
    QWindowSystemInterface::handleMouseEvent<QWindowSystemInterface::AsynchronousDelivery>(
        window, inWindow, global, Qt::LeftButton, Qt::LeftButton, QEvent::MouseButtonPress);
    QWindowSystemInterface::handleMouseEvent<QWindowSystemInterface::AsynchronousDelivery>(
        window, inWindow, global, Qt::NoButton, Qt::LeftButton, QEvent::MouseButtonRelease);
}

void pumpFor(int ms)
{
    QElapsedTimer t;
    t.start();
    while (t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
}

class HeldInputTest : public PanelTest {
protected:
    void openMovingStand()
    {
        // Moves take time here: a quarter of the hardware's.
        mic = std::make_unique<SimulatedMicroscope>(StandClock::realTime(4.0), QStringList{});
        mic->Connect(0);
        MainState& st = mainState();
        st.micService = mic.get();
        st.MicConnected = true;
        st.mObj.setSETUP(1);
        st.mObj.setMIN(1);
        st.mObj.setMAX(6);
    }
};

TEST_F(HeldInputTest, ASelectorPickMadeDuringAMoveIsNotReplayedAfterIt)
{
    openMovingStand();
    MsgBox::Recorder rec;
    mic->setNosepiecePosition(1);
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
    panel->downObj_Click();
    ASSERT_TRUE(panel->txtAdd->isVisible());

    // During the move to 5 the operator opens the selector again and picks 2.
    bool queued = false;
    QTimer::singleShot(100, panel.get(), [&] {
        queueClick(panel->downObj, panel->downObj->rect().center());
        queueClick(panel->txtAdd, panel->txtAdd->rowRect(2).center());
        queued = true;
    });
    QSignalSpy picks(panel->txtAdd, &usrAddress::AddressPicked);
    panel->txtAdd_AddressPicked(5);
    ASSERT_TRUE(queued) << "the move ended before the clicks were made";
    EXPECT_EQ(mic->NosepiecePosition(), 5);

    // Long enough for a second move, had one started.
    pumpFor(1500);
    EXPECT_EQ(picks.count(), 0);
    EXPECT_EQ(mic->NosepiecePosition(), 5);
    EXPECT_FALSE(panel->picSelect->isVisible());
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join('|').toStdString();
}

TEST_F(HeldInputTest, AClickAfterTheMoveStillActs)
{
    openMovingStand();
    MsgBox::Recorder rec;
    mic->setNosepiecePosition(1);
    panel->show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.get()));
    panel->downObj_Click();
    panel->txtAdd_AddressPicked(2);
    ASSERT_EQ(mic->NosepiecePosition(), 2);
    // The flush is over: the operator's next clicks are delivered.
    QSignalSpy picks(panel->txtAdd, &usrAddress::AddressPicked);
    queueClick(panel->downObj, panel->downObj->rect().center());
    pumpFor(50);
    ASSERT_TRUE(panel->txtAdd->isVisible());
    queueClick(panel->txtAdd, panel->txtAdd->rowRect(3).center());
    QElapsedTimer t;
    t.start();
    while (mic->NosepiecePosition() != 3 && t.elapsed() < 5000)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    EXPECT_EQ(picks.count(), 1);
    EXPECT_EQ(mic->NosepiecePosition(), 3);
}

} // namespace
