// The main window's fiber page and fiber frames against the simulated
// illuminator, and its ways into the tools: the Information menu and key code
// 7 on the light path drawing.
#include "mainwindow/app/tests/MainWindowTestSupport.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "stand/SimulatedFiber.h"
#include "state/FormRegistry.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

#include <QTest>
#include <gtest/gtest.h>

namespace {

// The illuminator the window's maker hands out, for the test to reach.
SimulatedFiber* g_fiber = nullptr;

struct FiberRun : MainRun {
    // `server` false: a run without the illuminator's server at all.
    explicit FiberRun(bool server = true, bool present = true)
        : MainRun({standFile("full-system.json")}) {
        if (server)
            mdlFiber::setMaker([present]() -> std::unique_ptr<FiberService> {
                auto f = std::make_unique<SimulatedFiber>(StandClock::instant(), present);
                g_fiber = f.get();
                return f;
            });
        else
            mdlFiber::setMaker({});
    }
    ~FiberRun() {
        w.reset();
        mdlFiber::setMaker({});
        g_fiber = nullptr;
    }
    frmMain* startSim() {
        frmMain* m = start({QStringLiteral("/SIM")});
        pump(30);
        return m;
    }
    static void click(QWidget* b) { QTest::mouseClick(b, Qt::LeftButton, {}, b->rect().center()); }
};

} // namespace

TEST(MainFiber, AtStartAMissingIlluminatorIsNotReportedAndItsButtonsWaitForIt) {
    MsgBox::Recorder boxes;
    FiberRun run(true, false);
    run.startSim();
    EXPECT_FALSE(boxes.texts().contains("Fiber illumination device was not found."));
    MainPanel* ui = run.ui();
    EXPECT_TRUE(ui->btnFiberOpen->isEnabled());
    EXPECT_FALSE(ui->btnFiberClose->isEnabled());
    EXPECT_TRUE(ui->btnFiberRStatus->isEnabled());
    // The frames are there, with nothing to read.
    EXPECT_FALSE(ui->frmFiber[0]->isHidden());
    EXPECT_FALSE(ui->frmFiber[1]->isHidden());
    EXPECT_EQ(ui->FiberTxt[0]->Caption(), "None");
    EXPECT_EQ(ui->FiberTxt[1]->Caption(), "None");
    EXPECT_FALSE(ui->usrMainPath->FiberShown());
    // Asked by the operator, the absence is reported.
    boxes.clear();
    FiberRun::click(ui->btnFiberOpen);
    EXPECT_EQ(boxes.texts(), QStringList{"Fiber illumination device was not found."});
    EXPECT_TRUE(ui->btnFiberOpen->isEnabled());
    EXPECT_FALSE(ui->btnFiberClose->isEnabled());
}

TEST(MainFiber, WithoutTheIlluminatorsServerOpenReportsItNotFound) {
    MsgBox::Recorder boxes;
    FiberRun run(false);
    run.startSim();
    boxes.clear();
    FiberRun::click(run.ui()->btnFiberOpen);
    EXPECT_EQ(boxes.texts(), QStringList{"Fiber illumination device was not found."});
}

TEST(MainFiber, AtStartTheIlluminatorIsConnectedWithItsPortFramesAndShutter) {
    MsgBox::Recorder boxes;
    FiberRun run;
    run.startSim();
    MainPanel* ui = run.ui();
    ASSERT_NE(g_fiber, nullptr);
    EXPECT_EQ(g_fiber->ConnectionStatus(), 1);
    ASSERT_EQ(ui->lstFiber->count(), 1);
    EXPECT_EQ(ui->lstFiber->item(0)->text(), "3COM");
    EXPECT_FALSE(ui->btnFiberOpen->isEnabled());
    EXPECT_TRUE(ui->btnFiberClose->isEnabled());
    EXPECT_TRUE(ui->btnFiberRStatus->isEnabled());
    EXPECT_FALSE(ui->frmFiber[0]->isHidden());
    EXPECT_FALSE(ui->frmFiber[1]->isHidden());
    EXPECT_EQ(ui->FiberTxt[0]->Caption(), "ND32");
    EXPECT_EQ(ui->FiberTxt[1]->Caption(), "ND32");
    EXPECT_TRUE(ui->usrMainPath->FiberShown());
    EXPECT_FALSE(ui->usrMainPath->FiberShutterOpen());

    g_fiber->setNDPosition(4);
    EXPECT_EQ(ui->FiberTxt[0]->Caption(), "ND4");
    EXPECT_EQ(ui->FiberTxt[1]->Caption(), "ND4");
    g_fiber->ShutterOpen();
    EXPECT_TRUE(ui->usrMainPath->FiberShutterOpen());
    g_fiber->ShutterClose();
    EXPECT_FALSE(ui->usrMainPath->FiberShutterOpen());
    EXPECT_FALSE(boxes.texts().contains("Fiber illumination device was not found."));
}

TEST(MainFiber, TheFiberFramesAreUsableOnlyWhileTheLastStateReportedIsOne) {
    FiberRun run;
    run.startSim();
    MainPanel* ui = run.ui();
    pump(30);   // the lamp has warmed up
    EXPECT_TRUE(ui->frmFiber[0]->isEnabled());
    g_fiber->setSensor(QStringLiteral("Interlock_Status"), 0);
    EXPECT_FALSE(ui->frmFiber[0]->isEnabled());
    EXPECT_FALSE(ui->frmFiber[1]->isEnabled());
    g_fiber->setSensor(QStringLiteral("Interlock_Status"), 1);
    pump(30);   // lit again, warmed up again
    EXPECT_TRUE(ui->frmFiber[0]->isEnabled());
    EXPECT_TRUE(ui->frmFiber[1]->isEnabled());
}

TEST(MainFiber, CloseDisconnectsAndReturnsTheButtonsToTheirFirstState) {
    MsgBox::Recorder boxes;
    FiberRun run;
    run.startSim();
    MainPanel* ui = run.ui();
    FiberRun::click(ui->btnFiber[0]);
    pump();
    ASSERT_NE(FormRegistry::loaded(QStringLiteral("frmSubFiber")), nullptr);
    FiberRun::click(ui->btnFiberClose);
    pump(30);
    EXPECT_EQ(g_fiber->ConnectionStatus(), 0);
    EXPECT_TRUE(ui->btnFiberOpen->isEnabled());
    EXPECT_FALSE(ui->btnFiberClose->isEnabled());
    EXPECT_EQ(ui->lstFiber->count(), 0);
    EXPECT_FALSE(ui->frmFiber[0]->isHidden());
    EXPECT_EQ(ui->FiberTxt[0]->Caption(), "None");
    EXPECT_FALSE(ui->usrMainPath->FiberShown());
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubFiber")), nullptr);
    // And open connects again.
    FiberRun::click(ui->btnFiberOpen);
    EXPECT_EQ(g_fiber->ConnectionStatus(), 1);
    EXPECT_FALSE(ui->frmFiber[0]->isHidden());
    EXPECT_TRUE(boxes.texts().isEmpty());
}

TEST(MainTools, TheInformationMenuOpensTheEventLogAndTheVersionPanel) {
    FiberRun run;
    run.startSim();
    MainPanel* ui = run.ui();
    emit ui->InfoClicked(0);
    EXPECT_NE(FormRegistry::loaded(QStringLiteral("frmEvent")), nullptr);
    emit ui->InfoClicked(1);
    EXPECT_NE(FormRegistry::loaded(QStringLiteral("frmVersion2")), nullptr);
}

TEST(MainTools, KeyCodeSevenOnTheDrawingOpensTheConsoleAndOtherKeysDoNot) {
    FiberRun run;
    run.startSim();
    MainPanel* ui = run.ui();
    emit ui->usrMainPath->ServiceKey(8);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmCommand")), nullptr);
    ui->usrMainPath->setFocus();
    QTest::keyClick(ui->usrMainPath, Qt::Key_G, Qt::ControlModifier);
    pump();
    EXPECT_NE(FormRegistry::loaded(QStringLiteral("frmCommand")), nullptr);
}
