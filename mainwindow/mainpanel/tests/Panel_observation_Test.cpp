// The observation entries: clicks, colours, hover and the marking of the
// active method.
#include "PanelTestSupport.h"
#include "core/service/StandControl.h"

namespace {

using ObservationTest = PanelTest;

TEST_F(ObservationTest, ABuiltInClickSendsTheMethodButLightsNothingUntilTheServiceReports)
{
    connectStand(0);
    panel->labObserve_Click(2);
    EXPECT_EQ(mic->PresetsObservationMode(), 2);
    EXPECT_EQ(panel->ObservationShown, 2);
    EXPECT_NE(panel->btnObserve[2]->BackColor(), MainPanel::kSelected);
    EXPECT_EQ(panel->labObserve[2]->ForeColor(), MainPanel::kText);
    EXPECT_TRUE(panel->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

} // namespace

namespace {

TEST_F(ObservationTest, AMouseClickOnTheEntryOrItsBoxSendsTheMethod)
{
    connectStand(0);
    panel->show();
    QTest::mouseClick(panel->labObserve[4], Qt::LeftButton);
    EXPECT_EQ(mic->PresetsObservationMode(), 4);
    EXPECT_EQ(panel->ObservationShown, 4);
    QTest::mouseClick(panel->btnObserve[1], Qt::LeftButton, {}, QPoint(2, 2));
    EXPECT_EQ(mic->PresetsObservationMode(), 1);
    EXPECT_EQ(panel->ObservationShown, 1);
}

TEST_F(ObservationTest, TheSeventhEntrySendsTheLastUserNumber)
{
    connectStand(0);
    panel->labObserve_Click(7);
    EXPECT_EQ(mic->PresetsObservationMode(), 7);
    panel->labObserveU_Click(4);
    EXPECT_EQ(panel->labObserve[7]->Tag(), "10");
    panel->labObserve_Click(1);
    panel->labObserve_Click(7);
    EXPECT_EQ(mic->PresetsObservationMode(), 10);
    EXPECT_EQ(panel->ObservationShown, 7);
}

TEST_F(ObservationTest, WithoutAConnectionABuiltInClickOnlyRecordsTheEntry)
{
    MsgBox::Recorder rec;
    panel->labObserve_Click(3);
    EXPECT_EQ(panel->ObservationShown, 3);
    EXPECT_EQ(mainState().ObservationNow, 0);
    EXPECT_TRUE(rec.texts().isEmpty());
}

TEST_F(ObservationTest, NotConnectedAUserEntryLightsAndTheShownEntryIsTheOldMode)
{
    MainState& st = mainState();
    st.ObservationNow = 3;
    panel->SetObserveSelected(3);
    panel->labObserveU_Click(2);
    EXPECT_EQ(panel->labObserveU[2]->BackColor(), MainPanel::kSelected);
    EXPECT_EQ(panel->labObserveU[2]->ForeColor(), MainPanel::kSelectedText);
    for (int i : {1, 3, 4, 5, 6}) {
        EXPECT_EQ(panel->labObserveU[i]->BackColor(), MainPanel::kBack) << i;
        EXPECT_EQ(panel->labObserveU[i]->ForeColor(), MainPanel::kText) << i;
    }
    // Every built-in entry went to normal.
    for (int i = 1; i <= 7; ++i)
        EXPECT_EQ(panel->btnObserve[i]->BackColor(), MainPanel::kBack) << i;
    EXPECT_EQ(panel->ObservationShown, 3);
    EXPECT_EQ(st.ObservationNow, 3);
    EXPECT_EQ(panel->labObserve[7]->Tag(), "7");
}

TEST_F(ObservationTest, ConnectedAUserEntrySendsItsNumberAndBecomesTheMode)
{
    connectStand(0);
    panel->labObserveU[5]->setCaption(QStringLiteral("GFP live"));
    QTest::mouseClick(panel->labObserveU[5], Qt::LeftButton, {}, panel->labObserveU[5]->rect().center());
    EXPECT_EQ(mic->PresetsObservationMode(), 11);
    EXPECT_EQ(mainState().ObservationNow, 11);
    EXPECT_EQ(panel->ObservationShown, 11);
    EXPECT_EQ(panel->labObserve[7]->Tag(), "11");
    // The seventh entry takes the method's number, not its name.
    EXPECT_EQ(panel->labObserve[7]->Caption(), QString());
    EXPECT_EQ(panel->labObserveU[5]->BackColor(), MainPanel::kSelected);
    EXPECT_TRUE(panel->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(ObservationTest, AFailedWriteShowsTheMethodMessageAndReenablesThePanel)
{
    connectStand(0);
    MsgBox::Recorder rec;
    // The service went away while the panel still believes it connected.
    mic->Disconnect();
    panel->ObservationShown = 1;
    panel->labObserve_Click(2);
    ASSERT_EQ(rec.texts().size(), 1);
    EXPECT_EQ(rec.texts()[0], "ObservationMethod_Change Error");
    EXPECT_EQ(panel->ObservationShown, 1);
    EXPECT_TRUE(panel->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);

    mainState().ObservationNow = 2;
    panel->labObserveU_Click(1);
    ASSERT_EQ(rec.texts().size(), 2);
    EXPECT_EQ(rec.texts()[1], "ObservationMethod_Change Error");
    EXPECT_EQ(panel->labObserve[7]->Tag(), "7");
    EXPECT_EQ(mainState().ObservationNow, 2);
    EXPECT_TRUE(panel->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST_F(ObservationTest, ATimedOutWriteGivesTheTimeOutText)
{
    // Any service whose write times out: the last digits decide the text.
    class TimingOut : public SimulatedMicroscope {
    public:
        using SimulatedMicroscope::SimulatedMicroscope;
        void setPresetsObservationMode(int16_t) override
        {
            throw RunTimeError(RunTimeError::ServiceTimeOut, QStringLiteral("time-out"));
        }
    };
    class Refusing : public SimulatedMicroscope {
    public:
        using SimulatedMicroscope::SimulatedMicroscope;
        void setPresetsObservationMode(int16_t) override
        {
            throw RunTimeError(RunTimeError::ServiceLimitation, QStringLiteral("refused"));
        }
    };
    MsgBox::Recorder rec;
    TimingOut slow(StandClock::instant(), {});
    Refusing refusing(StandClock::instant(), {});
    MainState& st = mainState();
    st.MicConnected = true;
    st.micService = &slow;
    panel->labObserve_Click(1);
    panel->labObserveU_Click(1);
    st.micService = &refusing;
    panel->labObserve_Click(1);
    panel->labObserveU_Click(1);
    st.micService = nullptr;
    st.MicConnected = false;
    ASSERT_EQ(rec.texts().size(), 4);
    EXPECT_EQ(rec.texts()[0], "ObservationMethod_Change TimeOut Error");
    EXPECT_EQ(rec.texts()[1], "ObservationMethod_Change TimeOut Error");
    EXPECT_EQ(rec.texts()[2], "ObservationMethod_Change Limitation");
    EXPECT_EQ(rec.texts()[3], "ObservationMethod_Change Limitation");
}

TEST_F(ObservationTest, HoverOverABuiltInEntrySparesTheShownOne)
{
    panel->ObservationShown = 1;
    panel->SetObserveSelected(1);
    panel->btnObserve_MouseMove(3);
    EXPECT_EQ(panel->btnObserve[3]->BackColor(), MainPanel::kHover);
    EXPECT_EQ(panel->btnObserve[1]->BackColor(), MainPanel::kSelected);
    for (int i : {2, 4, 5, 6, 7})
        EXPECT_EQ(panel->btnObserve[i]->BackColor(), MainPanel::kBack) << i;
    panel->btnObserve_MouseMove(4);
    EXPECT_EQ(panel->btnObserve[3]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->btnObserve[4]->BackColor(), MainPanel::kHover);
    // The fore colour is not touched by hover.
    EXPECT_EQ(panel->labObserve[4]->ForeColor(), MainPanel::kText);
}

TEST_F(ObservationTest, AUserModeShownSparesTheSeventhEntryFromHover)
{
    panel->ObservationShown = 9;
    panel->SetObserveSelected(7);
    panel->btnObserve_MouseMove(7);
    EXPECT_EQ(panel->btnObserve[7]->BackColor(), MainPanel::kSelected);
    panel->btnObserve_MouseMove(2);
    EXPECT_EQ(panel->btnObserve[2]->BackColor(), MainPanel::kHover);
    EXPECT_EQ(panel->btnObserve[7]->BackColor(), MainPanel::kSelected);
}

TEST_F(ObservationTest, HoverOverAUserEntrySparesSelectedOnes)
{
    panel->SetUserSelected(2);
    panel->labObserveU_MouseMove(4);
    EXPECT_EQ(panel->labObserveU[4]->BackColor(), MainPanel::kHover);
    EXPECT_EQ(panel->labObserveU[2]->BackColor(), MainPanel::kSelected);
    panel->labObserveU_MouseMove(2);
    EXPECT_EQ(panel->labObserveU[4]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->labObserveU[2]->BackColor(), MainPanel::kSelected);
}

TEST_F(ObservationTest, MovingOverTheFrameClearsHoverInsideItsBand)
{
    panel->btnmenu_Click(4);
    const int w = panel->frmObserve->Width();
    panel->ObservationShown = 2;
    panel->SetObserveSelected(2);
    panel->btnObserve_MouseMove(5);
    panel->frmObserve_MouseMove(40);  // outside the band
    EXPECT_EQ(panel->btnObserve[5]->BackColor(), MainPanel::kHover);
    panel->frmObserve_MouseMove(float(w - 40));
    EXPECT_EQ(panel->btnObserve[5]->BackColor(), MainPanel::kHover);
    panel->frmObserve_MouseMove(60);
    EXPECT_EQ(panel->btnObserve[5]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->btnObserve[2]->BackColor(), MainPanel::kSelected);
    // With a user method shown the frame resets nothing.
    panel->ObservationShown = 8;
    panel->btnObserve_MouseMove(5);
    panel->frmObserve_MouseMove(60);
    EXPECT_EQ(panel->btnObserve[5]->BackColor(), MainPanel::kHover);
}

TEST_F(ObservationTest, MovingOverTheCustomFrameClearsUserHover)
{
    panel->btnmenu_Click(5);
    panel->SetUserSelected(1);
    panel->labObserveU_MouseMove(3);
    panel->frmOther_MouseMove(20);
    EXPECT_EQ(panel->labObserveU[3]->BackColor(), MainPanel::kHover);
    panel->frmOther_MouseMove(300);
    EXPECT_EQ(panel->labObserveU[3]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->labObserveU[1]->BackColor(), MainPanel::kSelected);
}

TEST_F(ObservationTest, RealPointerMovesLightTheEntryUnderIt)
{
    panel->show();
    panel->btnmenu_Click(4);
    QTest::mouseMove(panel->btnObserve[6], QPoint(3, 3));
    EXPECT_EQ(panel->btnObserve[6]->BackColor(), MainPanel::kHover);
    QTest::mouseMove(panel->labObserve[2], QPoint(10, 5));
    EXPECT_EQ(panel->btnObserve[2]->BackColor(), MainPanel::kHover);
    EXPECT_EQ(panel->btnObserve[6]->BackColor(), MainPanel::kBack);
}

struct System {
    int16_t q7s, hbxb, elmk, objSetup, conSetup;
};

void applySystem(const System& s)
{
    MainState& st = mainState();
    st.MicUnit = {};
    st.MicUnit[1] = s.q7s;
    st.MicUnit[3] = s.hbxb;
    st.MicUnit[7] = s.elmk;
    st.mObj.setSETUP(s.objSetup);
    st.mCon.setSETUP(s.conSetup);
}

TEST_F(ObservationTest, AFullSystemLightsEveryBuiltInMode)
{
    applySystem({1, 1, 0, 1, 1});
    for (int16_t mode = 1; mode <= 6; ++mode) {
        mainState().ObservationNow = mode;
        panel->ShowObservation();
        for (int i = 1; i <= 6; ++i) {
            EXPECT_EQ(panel->btnObserve[i]->BackColor() == MainPanel::kSelected, i == mode) << mode << " " << i;
            EXPECT_EQ(panel->labObserve[i]->ForeColor() == MainPanel::kSelectedText, i == mode) << mode << " " << i;
        }
        EXPECT_EQ(panel->ObservationShown, mode);
    }
}

TEST_F(ObservationTest, WithoutACondenserOnlyBrightfieldAndFluorescenceLight)
{
    applySystem({0, 0, 1, 1, 0});
    panel->ObservationShown = 5;
    mainState().ObservationNow = 4;
    panel->ShowObservation();
    EXPECT_EQ(panel->btnObserve[4]->BackColor(), MainPanel::kSelected);
    EXPECT_EQ(panel->ObservationShown, 4);

    mainState().ObservationNow = 2;
    panel->ShowObservation();
    for (int i = 1; i <= 6; ++i)
        EXPECT_NE(panel->btnObserve[i]->BackColor(), MainPanel::kSelected) << i;
    EXPECT_EQ(panel->ObservationShown, 4);  // kept

    mainState().ObservationNow = 1;
    panel->ShowObservation();
    EXPECT_EQ(panel->btnObserve[1]->BackColor(), MainPanel::kSelected);
}

TEST_F(ObservationTest, AUserModeLightsItsUserEntry)
{
    applySystem({1, 1, 0, 1, 1});
    panel->SetObserveSelected(3);
    panel->SetUserSelected(1);
    mainState().ObservationNow = 9;
    panel->ShowObservation();
    EXPECT_EQ(panel->labObserveU[3]->BackColor(), MainPanel::kSelected);
    EXPECT_EQ(panel->labObserveU[1]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->btnObserve[3]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->ObservationShown, 9);
}

TEST_F(ObservationTest, AnUnknownModeLightsNothing)
{
    applySystem({1, 1, 0, 1, 1});
    panel->ObservationShown = 2;
    mainState().ObservationNow = 0;
    panel->ShowObservation();
    for (int i = 1; i <= 7; ++i)
        EXPECT_NE(panel->btnObserve[i]->BackColor(), MainPanel::kSelected) << i;
    EXPECT_EQ(panel->ObservationShown, 2);
}

TEST_F(ObservationTest, AReportedModeLightsTheClickedEntryAfterTheClick)
{
    connectStand(0);
    applySystem({1, 1, 0, 1, 1});
    panel->labObserve_Click(6);
    EXPECT_NE(panel->btnObserve[6]->BackColor(), MainPanel::kSelected);
    mainState().ObservationNow = mic->PresetsObservationMode();
    panel->ShowObservation();
    EXPECT_EQ(panel->btnObserve[6]->BackColor(), MainPanel::kSelected);
}

TEST_F(ObservationTest, DisabledEntriesKeepTheirColoursButDimTheirText)
{
    panel->labObserve[2]->setEnabled(false);
    panel->btnObserve[2]->setEnabled(false);
    EXPECT_EQ(panel->labObserve[2]->ForeColor(), MainPanel::kText);
    EXPECT_NE(panel->labObserve[2]->palette().color(QPalette::Disabled, QPalette::WindowText),
              zentor::colorFromBgr(MainPanel::kText));
}

} // namespace
