// The shared position selector of nosepiece, filter cube and condenser.
#include "PanelTestSupport.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "core/service/StandControl.h"

namespace {

using SelectorTest = PanelTest;

void setPositions(clsDefAddControl& d, int16_t first, int16_t last)
{
    d.setMIN(first);
    d.setMAX(last);
}

TEST_F(SelectorTest, EachDeviceOpensTheSelectorAtItsPlace)
{
    struct Case { void (MainPanel::*down)(); int16_t device; int top; int width; };
    for (const Case& c : {Case{&MainPanel::downObj_Click, 1, 3720, 3950},
                          Case{&MainPanel::downFilter_Click, 2, 2970, 3000},
                          Case{&MainPanel::downCon_Click, 3, 5080, 3000}}) {
        (panel.get()->*c.down)();
        EXPECT_EQ(panel->SelectDevice, c.device);
        EXPECT_TRUE(panel->picSelect->isVisibleTo(panel.get()));
        EXPECT_TRUE(panel->picSelect2->isVisibleTo(panel.get()));
        EXPECT_EQ(panel->picSelect->x(), px(720));
        EXPECT_EQ(panel->picSelect->y(), px(c.top));
        EXPECT_EQ(panel->picSelect->width(), px(c.width));
        EXPECT_EQ(panel->picSelect2->x(), px(720 + 80));
        EXPECT_EQ(panel->picSelect2->y(), px(c.top + 80));
        EXPECT_EQ(panel->picSelect2->width(), px(c.width));
        // Only the objective shows its link box.
        EXPECT_EQ(panel->ObjLink->isVisibleTo(panel.get()), c.device == 1);
        EXPECT_EQ(panel->labObjLink->isVisibleTo(panel.get()), c.device == 1);
    }
}

TEST_F(SelectorTest, HeightFollowsSixSevenOrEightPositions)
{
    connectStand(0);
    MainState& st = mainState();
    st.mObj.setSETUP(1);
    const int16_t counts[] = {6, 7, 8};
    const int heights[] = {2300, 2600, 2860};
    for (int k = 0; k < 3; ++k) {
        setPositions(st.mObj, 1, counts[k]);
        panel->downObj_Click();
        EXPECT_EQ(panel->txtAdd->First(), 1);
        EXPECT_EQ(panel->txtAdd->Last(), counts[k]);
        EXPECT_EQ(panel->picSelect->height(), px(heights[k])) << counts[k];
        EXPECT_EQ(panel->picSelect2->height(), px(heights[k])) << counts[k];
    }
}

TEST_F(SelectorTest, FiveOrNinePositionsLeaveTheHeightItHad)
{
    connectStand(0);
    MainState& st = mainState();
    for (int16_t before : {7, 8}) {
        for (int16_t odd : {5, 9}) {
            setPositions(st.mFilter, 1, before);
            panel->downFilter_Click();
            const int had = panel->picSelect->height();
            setPositions(st.mFilter, 1, odd);
            panel->downFilter_Click();
            EXPECT_EQ(panel->txtAdd->Last(), odd);
            EXPECT_EQ(panel->picSelect->height(), had) << before << " then " << odd;
            EXPECT_EQ(panel->picSelect2->height(), had) << before << " then " << odd;
        }
    }
}

TEST_F(SelectorTest, ObjectiveLinkIsGreyedForANosepieceThatOnlyReports)
{
    connectStand(0);
    MainState& st = mainState();
    setPositions(st.mObj, 1, 6);
    st.mObj.setSETUP(3);
    panel->downObj_Click();
    EXPECT_FALSE(panel->ObjLink->isEnabled());
    EXPECT_EQ(panel->txtAdd->Mode(), 2);

    st.mObj.setSETUP(1);
    st.mObj.setLINK(0);
    panel->downObj_Click();
    EXPECT_TRUE(panel->ObjLink->isEnabled());
    EXPECT_EQ(panel->ObjLink->Value(), 0);
    EXPECT_EQ(panel->txtAdd->Mode(), 1);
    st.mObj.setLINK(1);
    panel->downObj_Click();
    EXPECT_EQ(panel->ObjLink->Value(), 1);
}

TEST_F(SelectorTest, PositionsAreLabelledFromTheTables)
{
    connectStand(0);
    MainState& st = mainState();
    setPositions(st.mObj, 1, 6);
    st.mObj.setSETUP(1);
    st.mObj.setAddress(2);
    st.mObjData.resize(6);
    st.mObjData[1].setSeriesName(QStringLiteral(" Plan Apo "));
    st.mObjData[1].setName(QStringLiteral(" 10x/0.45 "));
    panel->downObj_Click();
    EXPECT_EQ(panel->txtAdd->Label(2), "2 :Plan Apo  10x/0.45");
    EXPECT_EQ(panel->txtAdd->Address(), 2);
    EXPECT_EQ(panel->txtAdd->ItemColor(), MainPanel::kDeviceFace);

    setPositions(st.mFilter, 1, 6);
    st.mFilterData.resize(6);
    st.mFilterData[3].setName(QStringLiteral("TRITC "));
    panel->downFilter_Click();
    EXPECT_EQ(panel->txtAdd->Label(4), "4 : TRITC");

    setPositions(st.mCon, 1, 6);
    st.mConData.resize(6);
    st.mConData[0].setName(QStringLiteral("Ph1"));
    panel->downCon_Click();
    EXPECT_EQ(panel->txtAdd->Label(1), "1 : Ph1");
}

TEST_F(SelectorTest, PickingAPositionMovesTheDeviceAndClosesTheSelector)
{
    connectStand(0);
    MainState& st = mainState();
    panel->show();
    st.mObj.setSETUP(1);
    setPositions(st.mObj, 1, 6);
    panel->downObj_Click();
    QTest::mouseClick(panel->txtAdd, Qt::LeftButton, {}, panel->txtAdd->rowRect(4).center());
    EXPECT_EQ(mic->NosepiecePosition(), 4);
    EXPECT_FALSE(panel->picSelect->isVisible());
    EXPECT_FALSE(panel->picSelect2->isVisible());
    EXPECT_TRUE(panel->txtAdd->isEnabled());

    st.mFilter.setSETUP(1);
    setPositions(st.mFilter, 1, 6);
    panel->downFilter_Click();
    panel->txtAdd_AddressPicked(3);
    EXPECT_EQ(mic->FilterBlockCassettePosition(), 3);

    st.mCon.setSETUP(1);
    setPositions(st.mCon, 1, 6);
    panel->downCon_Click();
    panel->txtAdd_AddressPicked(5);
    EXPECT_EQ(mic->CondenserCassettePosition(), 5);
    EXPECT_FALSE(panel->picSelect->isVisible());
}

TEST_F(SelectorTest, PickingThePositionAlreadyShownStillCommandsTheDevice)
{
    connectStand(0);
    MsgBox::Recorder rec;
    mic->setNosepiecePosition(2);
    panel->downObj_Click();
    panel->txtAdd_AddressPicked(2);
    EXPECT_EQ(mic->NosepiecePosition(), 2);
    EXPECT_TRUE(rec.texts().isEmpty());
    EXPECT_FALSE(panel->picSelect->isVisibleTo(panel.get()));
}

TEST_F(SelectorTest, ATimedOutMoveShowsItsMessage)
{
    connectStand(0);
    MsgBox::Recorder rec;
    const int16_t before = mic->NosepiecePosition();
    const int16_t target = before == 3 ? 4 : 3;
    control().stallDevice(1);
    panel->downObj_Click();
    panel->txtAdd_AddressPicked(target);
    ASSERT_EQ(rec.texts().size(), 1);
    EXPECT_EQ(rec.texts()[0], "Position_Change TimeOut Error");
    EXPECT_TRUE(panel->txtAdd->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
    // The stalled motor never got there: the nosepiece stands where it was.
    EXPECT_EQ(mic->NosepiecePosition(), before);
    EXPECT_NE(mic->NosepiecePosition(), target);
}

TEST_F(SelectorTest, ARefusedMoveShowsTheLimitationMessage)
{
    connectStand(0);
    MsgBox::Recorder rec;
    panel->downCon_Click();
    panel->txtAdd_AddressPicked(40);  // beyond the cassette
    ASSERT_EQ(rec.texts().size(), 1);
    EXPECT_EQ(rec.texts()[0], "Position_Change Limitation");
    EXPECT_TRUE(panel->txtAdd->isEnabled());
}

TEST_F(SelectorTest, ADeadUnitGivesThePlainErrorMessage)
{
    connectStand(0);
    MsgBox::Recorder rec;
    control().killUnit(1);
    control().killUnit(2);
    control().killUnit(3);
    panel->downFilter_Click();
    panel->txtAdd_AddressPicked(2);
    ASSERT_EQ(rec.texts().size(), 1);
    EXPECT_TRUE(rec.texts()[0].startsWith("Position_Change")) << rec.texts()[0].toStdString();
}

TEST_F(SelectorTest, WithoutAConnectionAPickOnlyClosesTheSelector)
{
    MsgBox::Recorder rec;
    panel->downObj_Click();
    panel->txtAdd_AddressPicked(3);
    EXPECT_FALSE(panel->picSelect->isVisibleTo(panel.get()));
    EXPECT_TRUE(rec.texts().isEmpty());
}

TEST_F(SelectorTest, AClickOnTheLightPathDiagramClosesAnyOpenSelector)
{
    panel->show();
    for (void (MainPanel::*down)() : {&MainPanel::downObj_Click, &MainPanel::downFilter_Click,
                                      &MainPanel::downCon_Click}) {
        (panel.get()->*down)();
        ASSERT_TRUE(panel->picSelect->isVisible());
        QTest::mouseClick(panel->usrMainPath, Qt::LeftButton, {}, QPoint(5, 5));
        EXPECT_FALSE(panel->picSelect->isVisible());
        EXPECT_FALSE(panel->picSelect2->isVisible());
        EXPECT_FALSE(panel->ObjLink->isVisible());
    }
}

TEST_F(SelectorTest, AClickOnTheDiagramMarksTheActiveObservationAgain)
{
    MainState& st = mainState();
    st.MicUnit[1] = 1;
    st.MicUnit[3] = 1;
    st.mObj.setSETUP(1);
    st.mCon.setSETUP(1);
    st.ObservationNow = 5;
    panel->show();
    panel->btnObserve_MouseMove(2);  // a hover colour left behind
    QTest::mouseClick(panel->usrMainPath, Qt::LeftButton, {}, QPoint(5, 5));
    EXPECT_EQ(panel->btnObserve[5]->BackColor(), MainPanel::kSelected);
    EXPECT_EQ(panel->btnObserve[2]->BackColor(), MainPanel::kBack);
}

TEST_F(SelectorTest, TheArrowButtonsOpenTheSelector)
{
    panel->show();
    QTest::mouseClick(panel->downCon, Qt::LeftButton);
    EXPECT_EQ(panel->SelectDevice, 3);
    EXPECT_TRUE(panel->picSelect->isVisible());
    EXPECT_EQ(panel->picSelect->y(), px(5080));
}

} // namespace
