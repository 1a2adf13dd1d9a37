// The two looks of the panel, the window size rules and the scroll bars.
#include "PanelTestSupport.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/usrButton.h"

namespace {

class WindowTest : public PanelTest {
protected:
    void SetUp() override
    {
        PanelTest::SetUp();
        panel->show();
        QApplication::processEvents();
    }
    int M() const { return panel->frmMenu->Width(); }
    void resizeTo(int wTwips, int hTwips)
    {
        panel->resize(px(wTwips), px(hTwips));
        QApplication::processEvents();
        panel->Form_Resize();
    }
};

TEST_F(WindowTest, CompactButtonSwitchesToTheCompactPanel)
{
    QTest::mouseClick(panel->btnGUIClose, Qt::LeftButton);
    EXPECT_EQ(panel->PanelMode, 2);
    EXPECT_TRUE(panel->frmSub->isVisible());
    EXPECT_FALSE(panel->picMain->isVisible());
    EXPECT_FALSE(panel->labSystem->isVisible());
    EXPECT_FALSE(panel->HScroll->isVisible());
    EXPECT_EQ(panel->WindowWidth(), M() + panel->SubWidth + panel->SubMargin);
    EXPECT_EQ(panel->frmSub->x(), 0);
    EXPECT_EQ(panel->Picture1->x(), px(M()));
}

TEST_F(WindowTest, LargeButtonSwitchesBackToTheLargePanel)
{
    panel->btnGUIClose_Released();
    QTest::mouseClick(panel->btnGUIOpen, Qt::LeftButton);
    EXPECT_EQ(panel->PanelMode, 1);
    EXPECT_FALSE(panel->frmSub->isVisible());
    EXPECT_TRUE(panel->picMain->isVisible());
    EXPECT_TRUE(panel->labSystem->isVisible());
    EXPECT_EQ(panel->WindowWidth(), M() + panel->PanelWidth);
}

TEST_F(WindowTest, AMaximisedWindowAsksToUnlockTheMaxbuttonAndKeepsTheMode)
{
    MsgBox::Recorder rec;
    panel->showMaximized();
    QApplication::processEvents();
    ASSERT_TRUE(panel->isMaximized());
    panel->btnGUIClose_Released();
    ASSERT_EQ(rec.texts().size(), 1);
    EXPECT_EQ(rec.texts()[0], "Please unlock the Maxbutton.");
    EXPECT_EQ(panel->PanelMode, 2);
    EXPECT_TRUE(panel->frmSub->isVisible());
    panel->btnGUIOpen_Released();
    ASSERT_EQ(rec.texts().size(), 2);
    EXPECT_EQ(rec.texts()[1], "Please unlock the Maxbutton.");
    EXPECT_EQ(panel->PanelMode, 1);
    EXPECT_TRUE(panel->picMain->isVisible());
}

TEST_F(WindowTest, ANarrowLargeWindowShowsTheHorizontalBar)
{
    resizeTo(8010, 6000);
    const int W = panel->WindowWidth();
    EXPECT_EQ(W, 8010);
    ASSERT_TRUE(panel->HScroll->isVisible());
    EXPECT_EQ(panel->HScroll->y(), px(6000 - 210));
    EXPECT_EQ(panel->HScroll->x(), px(M()));
    EXPECT_EQ(panel->HScroll->width(), px(W - M() - 270));
    const int visible = W - M() - 270;
    EXPECT_EQ(panel->HScroll->value(), 0);
    EXPECT_EQ(panel->HScroll->maximum(), panel->PanelWidth - visible);
    EXPECT_EQ(panel->HScroll->pageStep(), visible);
    EXPECT_EQ(panel->HScroll->singleStep(), visible / 10);
}

TEST_F(WindowTest, AWindowNearlyAsWideAsThePanelIsWidenedToIt)
{
    // Width less menu plus 100 reaches the stored panel width.
    resizeTo(M() + panel->PanelWidth - 90, 6000);
    EXPECT_EQ(panel->WindowWidth(), M() + panel->PanelWidth);
    EXPECT_FALSE(panel->HScroll->isVisible());
}

TEST_F(WindowTest, AWindowNoWiderThanTheMenuGetsRoomForTheBar)
{
    resizeTo(M() + 255, 6000);
    EXPECT_EQ(panel->WindowWidth(), M() + 600);
    EXPECT_TRUE(panel->HScroll->isVisible());
}

TEST_F(WindowTest, AWideWindowIsSetToMenuPlusPanel)
{
    resizeTo(15000, 6000);
    EXPECT_EQ(panel->WindowWidth(), M() + panel->PanelWidth);
    EXPECT_FALSE(panel->HScroll->isVisible());
}

TEST_F(WindowTest, ALowWindowShowsTheVerticalBar)
{
    resizeTo(12600, 4500);
    EXPECT_EQ(panel->WindowHeight(), 4500);
    ASSERT_TRUE(panel->VScroll->isVisible());
    EXPECT_EQ(panel->VScroll->x(), px(12600 - 270));
    EXPECT_EQ(panel->VScroll->height(), px(4500 - 220));
    EXPECT_EQ(panel->VScroll->value(), 0);
    EXPECT_EQ(panel->VScroll->maximum(), panel->PanelHeight - 4500);
    EXPECT_EQ(panel->VScroll->pageStep(), 4500);
    EXPECT_EQ(panel->VScroll->singleStep(), 450);
}

TEST_F(WindowTest, AWindowLowerThan1500IsRaisedTo1500)
{
    resizeTo(12600, 900);
    EXPECT_EQ(panel->WindowHeight(), 1500);
    EXPECT_TRUE(panel->VScroll->isVisible());
}

TEST_F(WindowTest, ATallWindowIsSetToTheStoredHeight)
{
    resizeTo(12600, 10500);
    EXPECT_EQ(panel->WindowHeight(), panel->PanelHeight);
    EXPECT_FALSE(panel->VScroll->isVisible());
}

TEST_F(WindowTest, ScrollBarsMoveMenuAndPanel)
{
    resizeTo(7500, 4500);
    ASSERT_TRUE(panel->VScroll->isVisible());
    ASSERT_TRUE(panel->HScroll->isVisible());
    panel->VScroll->setValue(600);
    EXPECT_EQ(panel->frmMenu->y(), -px(600));
    EXPECT_EQ(panel->picMain->y(), -px(600));
    panel->HScroll->setValue(900);
    EXPECT_EQ(panel->picMain->x(), -px(900));
    // A new size puts both back to the start.
    resizeTo(7800, 4800);
    EXPECT_EQ(panel->VScroll->value(), 0);
    EXPECT_EQ(panel->HScroll->value(), 0);
    EXPECT_EQ(panel->frmMenu->y(), 0);
    EXPECT_EQ(panel->picMain->x(), 0);
}

TEST_F(WindowTest, ACompactWindowTooNarrowForItsPanelIsWidened)
{
    panel->btnGUIClose_Released();
    resizeTo(M() + 1500, 6000);
    EXPECT_EQ(panel->WindowWidth(), M() + panel->SubWidth + panel->SubMargin);
    EXPECT_FALSE(panel->HScroll->isVisible());
    // Wider than the compact panel needs: left as it is.
    resizeTo(M() + panel->SubWidth + 2010, 6000);
    EXPECT_EQ(panel->WindowWidth(), M() + panel->SubWidth + 2010);
}

TEST_F(WindowTest, NothingChangesWhileTheWindowIsMinimised)
{
    resizeTo(7500, 4500);
    panel->showMinimized();
    QApplication::processEvents();
    ASSERT_TRUE(panel->isMinimized());
    panel->VScroll->setValue(300);
    panel->Form_Resize();
    EXPECT_EQ(panel->VScroll->value(), 300);
}

} // namespace
