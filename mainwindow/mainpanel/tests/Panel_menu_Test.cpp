// The menu column: sections, entries enabled by the units and the stand's
// firmware, hover colours, drop-downs, the splitter and the control pad.
#include "PanelTestSupport.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/usrButton.h"

namespace {

using MenuTest = PanelTest;

PanelFrame* const* sections(MainPanel& p, PanelFrame* out[6])
{
    out[1] = p.frmConnect;
    out[2] = p.frmSetting;
    out[3] = p.frmInfo;
    out[4] = p.frmObserve;
    out[5] = p.frmOther;
    return out;
}

TEST_F(MenuTest, EachEntryOpensOnlyItsOwnSection)
{
    PanelFrame* s[6];
    sections(*panel, s);
    for (int16_t i = 1; i <= 5; ++i) {
        panel->btnmenu_Click(i);
        EXPECT_EQ(panel->MenuSelect, i);
        for (int j = 1; j <= 5; ++j)
            EXPECT_EQ(s[j]->isVisibleTo(panel->frmMenu), i == j) << "entry " << i << " section " << j;
    }
}

TEST_F(MenuTest, SectionCaptionsAreTheDesignTexts)
{
    EXPECT_EQ(panel->labmenu[1]->Caption(), "Connection");
    EXPECT_EQ(panel->labmenu[2]->Caption(), "Setting");
    EXPECT_EQ(panel->labmenu[3]->Caption(), "Information");
    EXPECT_EQ(panel->labmenu[4]->Caption(), "Observation Method");
    EXPECT_EQ(panel->labmenu[5]->Caption(), "Custom Observation");
    EXPECT_EQ(panel->btnSetup[1]->Caption(), " Control Pad          Setup");
    EXPECT_EQ(panel->btnSetup[2]->Caption(), " Z Upper Limit");
    EXPECT_EQ(panel->btnSetup[3]->Caption(), " Focus Setting");
    EXPECT_EQ(panel->btnLED[0]->Caption(), " Off");
    EXPECT_EQ(panel->btnLED[1]->Caption(), " Dark");
    EXPECT_EQ(panel->btnLED[2]->Caption(), " Bright");
    EXPECT_EQ(panel->btnEnable->Caption(), " Enable");
    EXPECT_EQ(panel->labObserve[1]->Caption(), "Brightfield");
    EXPECT_EQ(panel->labObserve[3]->Caption(), "DIC / Fl.");
    EXPECT_EQ(panel->labObserve[6]->Caption(), "Darkfield");
    EXPECT_EQ(panel->labObserve[7]->Tag(), "7");
    EXPECT_EQ(panel->labObserveU[1]->Caption(), " USER1");
    EXPECT_EQ(panel->labObserveU[6]->Caption(), " USER6");
    EXPECT_EQ(panel->tabConnect->tabText(1), "  Fiber");
}

TEST_F(MenuTest, AMouseClickOnAnEntryOpensItsSection)
{
    panel->show();
    QTest::mouseClick(panel->btnmenu[3], Qt::LeftButton);
    EXPECT_EQ(panel->MenuSelect, 3);
    EXPECT_TRUE(panel->frmInfo->isVisible());
    QTest::mouseClick(panel->labmenu[1], Qt::LeftButton);
    EXPECT_EQ(panel->MenuSelect, 1);
    EXPECT_TRUE(panel->frmConnect->isVisible());
    EXPECT_FALSE(panel->frmInfo->isVisible());
}

TEST_F(MenuTest, StandEntriesAreDisabledWithoutAConnection)
{
    panel->btnmenu_Click(2);
    EXPECT_TRUE(panel->btnSetup[0]->isEnabled());
    for (int i = 1; i < 4; ++i)
        EXPECT_FALSE(panel->btnSetup[i]->isEnabled()) << i;
    panel->btnmenu_Click(3);
    EXPECT_TRUE(panel->btnInfo[0]->isEnabled());
    EXPECT_TRUE(panel->btnInfo[1]->isEnabled());
    EXPECT_FALSE(panel->btnInfo[2]->isEnabled());
    EXPECT_FALSE(panel->btnInfo[3]->isEnabled());
}

TEST_F(MenuTest, NewStandFirmwareLeavesTheStandEntriesDisabled)
{
    connectStand(0);  // the service's own stand reports firmware V1.30
    mainState().MicUnit[1] = 1;
    mainState().MicUnit[5] = 1;
    panel->btnmenu_Click(2);
    for (int i = 1; i < 4; ++i)
        EXPECT_FALSE(panel->btnSetup[i]->isEnabled()) << i;
    panel->btnmenu_Click(3);
    EXPECT_FALSE(panel->btnInfo[2]->isEnabled());
    EXPECT_TRUE(panel->btnInfo[3]->isEnabled());  // the controller unit is there
}

TEST_F(MenuTest, OldStandFirmwareEnablesTheStandEntries)
{
    for (const char* version : {"V1.0", "V1.10", "V1.2"}) {
        const QString path = writeDescription(
            "old-firmware.json",
            QByteArray("{\"name\": \"Old Stand\", \"units\": [\"Q7s\", \"HBX-B\"], "
                       "\"versions\": {\"Q7s\": \"") + version + "\"}}");
        connectStand(1, {path});
        mainState().MicUnit[1] = 1;
        panel->btnmenu_Click(2);
        for (int i = 1; i < 4; ++i)
            EXPECT_TRUE(panel->btnSetup[i]->isEnabled()) << version << " entry " << i;
        panel->btnmenu_Click(3);
        EXPECT_TRUE(panel->btnInfo[2]->isEnabled()) << version;
        EXPECT_FALSE(panel->btnInfo[3]->isEnabled()) << version;  // no controller unit found
        mic->Disconnect();
        mainState().MicConnected = false;
    }
}

TEST_F(MenuTest, FirmwareRuleNeedsTheStandUnit)
{
    const QString path = writeDescription(
        "old-firmware.json",
        "{\"name\": \"Old Stand\", \"units\": [\"Q7s\"], \"versions\": {\"Q7s\": \"V1.1\"}}");
    connectStand(1, {path});
    mainState().MicUnit[1] = 0;  // Init found no stand
    panel->btnmenu_Click(2);
    EXPECT_FALSE(panel->btnSetup[1]->isEnabled());
}

TEST_F(MenuTest, HoverLightsTheEntryUnderThePointerAndLeavingTheStripClearsIt)
{
    panel->btnmenu_Click(4);
    panel->btnmenu_MouseMove(2);
    EXPECT_EQ(panel->btnmenu[2]->BackColor(), MainPanel::kMenuHover);
    for (int i : {1, 3, 5})
        EXPECT_NE(panel->btnmenu[i]->BackColor(), MainPanel::kMenuHover) << i;
    panel->btnmenu_MouseMove(3);
    EXPECT_EQ(panel->btnmenu[3]->BackColor(), MainPanel::kMenuHover);
    EXPECT_NE(panel->btnmenu[2]->BackColor(), MainPanel::kMenuHover);
    // Inside the box X 60..440, Y 50..1900 nothing is repainted.
    panel->frmMenu_MouseMove(0, 200, 1800);
    EXPECT_EQ(panel->btnmenu[3]->BackColor(), MainPanel::kMenuHover);
    // Outside it every entry returns to normal.
    panel->frmMenu_MouseMove(0, 441, 1000);
    for (int i = 1; i <= 5; ++i)
        EXPECT_NE(panel->btnmenu[i]->BackColor(), MainPanel::kMenuHover) << i;
    panel->btnmenu_MouseMove(1);
    panel->frmMenu_MouseMove(0, 200, 1901);
    EXPECT_NE(panel->btnmenu[1]->BackColor(), MainPanel::kMenuHover);
}

TEST_F(MenuTest, MenuEntryLabelsChangeColourUnderThePointer)
{
    panel->btnmenu_Click(3);
    QEvent enter(QEvent::Enter);
    QApplication::sendEvent(panel->btnInfo[1], &enter);
    EXPECT_EQ(panel->btnInfo[1]->ForeColor(), 0x28BEE6);
    EXPECT_EQ(panel->btnInfo[1]->BackColor(), 0);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(panel->btnInfo[1], &leave);
    EXPECT_EQ(panel->btnInfo[1]->ForeColor(), 0xFFD0C0);
    EXPECT_EQ(panel->btnInfo[1]->BackColor(), 0x5C342C);
}

TEST_F(MenuTest, DropDownsCloseTheirSectionAndTheOpenSelector)
{
    panel->btnmenu_Click(1);
    panel->downObj_Click();
    ASSERT_TRUE(panel->picSelect->isVisibleTo(panel.get()));
    panel->downConnect_Click();
    EXPECT_FALSE(panel->frmConnect->isVisibleTo(panel.get()));
    EXPECT_FALSE(panel->picSelect->isVisibleTo(panel.get()));
    EXPECT_FALSE(panel->picSelect2->isVisibleTo(panel.get()));
    EXPECT_FALSE(panel->btnStatusRead->isEnabled());  // not connected

    connectStand(0);
    panel->btnmenu_Click(1);
    panel->downConnect_Click();
    EXPECT_TRUE(panel->btnStatusRead->isEnabled());

    struct Case { int16_t entry; PanelFrame* frame; void (MainPanel::*down)(); };
    for (const Case& c : {Case{2, panel->frmSetting, &MainPanel::downSetting_Click},
                          Case{3, panel->frmInfo, &MainPanel::downInfo_Click},
                          Case{5, panel->frmOther, &MainPanel::downOther_Click}}) {
        panel->btnmenu_Click(c.entry);
        panel->downFilter_Click();
        ASSERT_TRUE(c.frame->isVisibleTo(panel.get()));
        (panel.get()->*c.down)();
        EXPECT_FALSE(c.frame->isVisibleTo(panel.get())) << c.entry;
        EXPECT_FALSE(panel->picSelect->isVisibleTo(panel.get())) << c.entry;
    }
}

TEST_F(MenuTest, ADropDownArrowClickedWithTheMouseClosesTheSection)
{
    panel->show();
    panel->btnmenu_Click(3);
    ASSERT_TRUE(panel->frmInfo->isVisible());
    QTest::mouseClick(panel->downInfo, Qt::LeftButton);
    EXPECT_FALSE(panel->frmInfo->isVisible());
}

TEST_F(MenuTest, ObservationSectionRepaintsEntriesThatAreNotSelected)
{
    panel->btnObserve[2]->setBackColor(MainPanel::kHover);
    panel->SetObserveSelected(4);
    panel->btnmenu_Click(4);
    EXPECT_EQ(panel->btnObserve[2]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->btnObserve[4]->BackColor(), MainPanel::kSelected);
}

TEST_F(MenuTest, CustomSectionRepaintsAllButTheMarkedUserEntry)
{
    mainState().ObservationNow = 9;
    panel->SetUserSelected(3);
    panel->labObserveU[1]->setBackColor(MainPanel::kHover);
    panel->btnmenu_Click(5);
    EXPECT_EQ(panel->labObserveU[1]->BackColor(), MainPanel::kBack);
    EXPECT_EQ(panel->labObserveU[3]->BackColor(), MainPanel::kSelected);
}

TEST_F(MenuTest, SplitterFollowsTheMouseWithinItsLimits)
{
    panel->btnmenu_Click(4);
    const int designed = panel->frmObserve->Height();
    EXPECT_FALSE(panel->MenuDragging);
    panel->frmMenu_MouseDown(3000);
    EXPECT_TRUE(panel->MenuDragging);
    panel->frmMenu_MouseMove(1, 100, float(layout::kSectionTop + 1500));
    EXPECT_EQ(panel->frmObserve->Height(), 1500);
    EXPECT_EQ(panel->MenuSplit, 1500);
    // Below 500 the section keeps its smallest height.
    panel->frmMenu_MouseMove(1, 100, 300);
    EXPECT_EQ(panel->frmObserve->Height(), layout::kSplitMin);
    // Beyond the section's height limit it is capped.
    panel->frmMenu_MouseMove(1, 100, 20000);
    EXPECT_EQ(panel->frmObserve->Height(), designed);
    panel->frmMenu_MouseUp();
    EXPECT_FALSE(panel->MenuDragging);
    // Moving without the button down changes nothing.
    panel->frmMenu_MouseMove(0, 100, float(layout::kSectionTop + 900));
    EXPECT_EQ(panel->frmObserve->Height(), designed);
}

TEST_F(MenuTest, SplitterGripIsDraggedWithTheMouse)
{
    panel->show();
    panel->btnmenu_Click(4);
    PanelFrame* grip = panel->frmMenuSplit;
    ASSERT_TRUE(grip->isVisible());
    const QPoint start(grip->width() / 2, grip->height() / 2);
    QTest::mousePress(grip, Qt::LeftButton, {}, start);
    EXPECT_TRUE(panel->MenuDragging);
    QMouseEvent move(QEvent::MouseMove, QPointF(start.x(), start.y() - 40), grip->mapToGlobal(QPointF(start.x(), start.y() - 40)),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(grip, &move);
    QTest::mouseRelease(grip, Qt::LeftButton, {}, QPoint(start.x(), start.y() - 40));
    EXPECT_FALSE(panel->MenuDragging);
    EXPECT_LT(panel->frmObserve->Height(), panel->MenuSplit + 1);
    EXPECT_GE(panel->frmObserve->Height(), layout::kSplitMin);
}

TEST_F(MenuTest, ControlPadMarksOneEntryAtATime)
{
    panel->btnLED_Click(1);
    EXPECT_EQ(panel->btnLED[1]->BackColor(), 0x8D675C);
    EXPECT_EQ(panel->btnLED[0]->BackColor(), 0x5C342C);
    EXPECT_EQ(panel->btnLED[2]->BackColor(), 0x5C342C);
    EXPECT_EQ(panel->btnEnable->BackColor(), 0x5C342C);
    EXPECT_EQ(panel->ControlPadMark(), 1);
    panel->btnEnable_Click();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(panel->btnLED[i]->BackColor(), 0x5C342C) << i;
    EXPECT_EQ(panel->btnEnable->BackColor(), 0x8D675C);
    EXPECT_EQ(panel->ControlPadMark(), 3);
    panel->btnLED_Click(2);
    EXPECT_EQ(panel->btnEnable->BackColor(), 0x5C342C);
    EXPECT_EQ(panel->ControlPadMark(), 2);
}

TEST_F(MenuTest, ControlPadHoverIsAColourChangeOnly)
{
    panel->btnLED_Click(0);
    QEvent enter(QEvent::Enter);
    QApplication::sendEvent(panel->btnLED[2], &enter);
    EXPECT_NE(panel->btnLED[2]->ForeColor(), 0xFFD0C0);
    EXPECT_EQ(panel->ControlPadMark(), 0);
    QEvent leave(QEvent::Leave);
    QApplication::sendEvent(panel->btnLED[2], &leave);
    EXPECT_EQ(panel->btnLED[2]->ForeColor(), 0xFFD0C0);
}

TEST_F(MenuTest, ControlPadEntryOpensThePadWhenTheStandAllowsIt)
{
    const QString path = writeDescription(
        "old-firmware.json",
        "{\"name\": \"Old Stand\", \"units\": [\"Q7s\"], \"versions\": {\"Q7s\": \"V1.1\"}}");
    connectStand(1, {path});
    mainState().MicUnit[1] = 1;
    panel->show();
    panel->btnmenu_Click(2);
    int16_t raised = -1;
    QObject::connect(panel.get(), &MainPanel::SetupClicked, [&](int16_t i) { raised = i; });
    QTest::mouseClick(panel->btnSetup[1], Qt::LeftButton);
    EXPECT_EQ(raised, 1);
    EXPECT_TRUE(panel->frmControlPad->isVisible());
    QTest::mouseClick(panel->btnLED[2], Qt::LeftButton);
    EXPECT_EQ(panel->ControlPadMark(), 2);
}

TEST_F(MenuTest, TheControlPadOpensInsideTheVisiblePartOfItsSection)
{
    const QString path = writeDescription(
        "old-firmware.json",
        "{\"name\": \"Old Stand\", \"units\": [\"Q7s\"], \"versions\": {\"Q7s\": \"V1.1\"}}");
    connectStand(1, {path});
    mainState().MicUnit[1] = 1;
    panel->show();
    panel->btnmenu_Click(2);
    auto padInside = [&] {
        const QRect pad = panel->frmControlPad->geometry();
        return pad.bottom() < panel->frmSetting->height() && pad.top() >= 0;
    };
    QTest::mouseClick(panel->btnSetup[1], Qt::LeftButton);
    ASSERT_TRUE(panel->frmControlPad->isVisible());
    EXPECT_TRUE(padInside()) << panel->frmControlPad->geometry().bottom() << " in "
                             << panel->frmSetting->height();
    // Closed again, and the section dragged low: opening it shows it whole.
    QTest::mouseClick(panel->btnSetup[1], Qt::LeftButton);
    ASSERT_FALSE(panel->frmControlPad->isVisible());
    panel->MenuDragging = true;
    panel->frmMenu_MouseMove(1, 1000, float(layout::kSectionTop + 900));
    panel->MenuDragging = false;
    QTest::mouseClick(panel->btnSetup[1], Qt::LeftButton);
    ASSERT_TRUE(panel->frmControlPad->isVisible());
    EXPECT_TRUE(padInside()) << panel->frmControlPad->geometry().bottom() << " in "
                             << panel->frmSetting->height();
}

TEST_F(MenuTest, InformationEntryReportsItsIndexAndClosesTheSection)
{
    panel->show();
    panel->btnmenu_Click(3);
    int16_t raised = -1;
    QObject::connect(panel.get(), &MainPanel::InfoClicked, [&](int16_t i) { raised = i; });
    QTest::mouseClick(panel->btnInfo[1], Qt::LeftButton);
    EXPECT_EQ(raised, 1);
    EXPECT_FALSE(panel->frmInfo->isVisible());
}

} // namespace
