// The device frames close up when Init shows only part of a system, the
// numbers that are fixed (shutter on the drawing, selector places) stay, and
// every caption of both looks is drawn whole at the window's default size.
#include "state/MainState.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/Units.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

#include <QApplication>
#include <QFontMetrics>
#include <gtest/gtest.h>
#include <memory>

namespace {

using namespace layout;

class RelayoutTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        mainState().MicConnected = false;
        panel = std::make_unique<MainPanel>();
    }
    void TearDown() override
    {
        panel.reset();
        mainState().MicConnected = false;
    }
    // As Init does: both twins of a device together.
    static void setBoth(PanelFrame* const* frames, bool visible)
    {
        frames[0]->setVisible(visible);
        frames[1]->setVisible(visible);
    }
    // The E-LM-K alone: nosepiece, cube, condenser, epi field stop, shutter
    // and ND filter; everything else hidden.
    void smallSystem()
    {
        MainPanel& p = *panel;
        for (PanelFrame* const* f : {p.frmPath, p.frmZoom, p.frmZdrive, p.frmAp, p.frmFS, p.frmLamp,
                                     p.frmAnalyzer, p.frmStage, p.frmFiber})
            for (int i = 0; i < 2; ++i)
                f[i]->setVisible(false);
    }
    std::unique_ptr<MainPanel> panel;
};

// Twips as a position holds them once placed: whole pixels.
int at(int twips) { return zentor::pixelsToTwips(zentor::twipsToPixels(twips)); }

// Designed tops of the large panel's columns, twips.
struct Designed {
    PanelFrame* frame;
    int top;
};

TEST_F(RelayoutTest, AFullSystemStandsExactlyAsDesigned)
{
    MainPanel& p = *panel;
    const Designed left[] = {{p.frmPath[0], 440},      {p.frmZoom[0], 1160}, {p.frmFilter[0], 2260},
                             {p.frmObj[0], 2990},      {p.frmZdrive[0], 3710}, {p.frmCondenser[0], 4390},
                             {p.frmAp[0], 5110},       {p.frmFS[0], 5830},   {p.frmLamp[0], 6550}};
    const Designed right[] = {{p.frmEpiFS[0], 3700}, {p.frmAnalyzer[0], 4420}, {p.frmND[0], 5140},
                              {p.frmStage[0], 5860}, {p.frmFiber[0], 6900}};
    for (const Designed& d : left) {
        EXPECT_EQ(d.frame->Top(), at(d.top)) << d.frame->Caption().toStdString();
        EXPECT_EQ(d.frame->Left(), at(kLeftCol));
    }
    for (const Designed& d : right) {
        EXPECT_EQ(d.frame->Top(), at(d.top)) << d.frame->Caption().toStdString();
        EXPECT_EQ(d.frame->Left(), at(kRightCol));
    }
    EXPECT_EQ(p.frmZoom[0]->Height(), at(1060));
    // Compact: one line per device, fifteen lines.
    PanelFrame* const lines[] = {p.frmPath[1],  p.frmZoom[1],      p.frmFilter[1], p.frmObj[1],
                                 p.frmZdrive[1], p.frmCondenser[1], p.frmAp[1],     p.frmFS[1],
                                 p.frmLamp[1],  p.frmEpiFS[1],     p.frmShutter[1], p.frmAnalyzer[1],
                                 p.frmND[1],    p.frmStage[1],     p.frmFiber[1]};
    for (int i = 0; i < 15; ++i)
        EXPECT_EQ(lines[i]->Top(), at(kSubTop + i * kSubRow)) << i;
}

TEST_F(RelayoutTest, AHiddenFrameLetsTheFramesBelowItMoveUp)
{
    MainPanel& p = *panel;
    const int zoomTop = p.frmZoom[0]->y();
    const int zoomLine = p.frmZoom[1]->y();
    const int objBelowCube = p.frmObj[0]->y() - p.frmFilter[0]->y();
    const int shift = p.frmFilter[0]->y() - zoomTop;  // the zoom's height and its gap
    const int lampTop = p.frmLamp[0]->y();
    const int pathTop = p.frmPath[0]->y();
    setBoth(p.frmZoom, false);
    // The cube takes the zoom's place; the rest follow at their spacing.
    EXPECT_EQ(p.frmPath[0]->y(), pathTop);
    EXPECT_EQ(p.frmFilter[0]->y(), zoomTop);
    EXPECT_EQ(p.frmObj[0]->y() - p.frmFilter[0]->y(), objBelowCube);
    EXPECT_EQ(p.frmLamp[0]->y(), lampTop - shift);
    // Compact: the cube line takes the zoom line's place, one line up for all.
    EXPECT_EQ(p.frmFilter[1]->y(), zoomLine);
    EXPECT_EQ(p.frmObj[1]->Top(), at(kSubTop + 2 * kSubRow));
    EXPECT_EQ(p.frmFiber[1]->Top(), at(kSubTop + 13 * kSubRow));
}

TEST_F(RelayoutTest, FramesAboveAHiddenOneAndTheOtherColumnStay)
{
    MainPanel& p = *panel;
    const int apTop = p.frmAp[0]->y();
    setBoth(p.frmAp, false);
    EXPECT_EQ(p.frmCondenser[0]->Top(), at(4390));
    EXPECT_EQ(p.frmFS[0]->y(), apTop);
    EXPECT_EQ(p.frmEpiFS[0]->Top(), at(3700));
    EXPECT_EQ(p.frmFiber[0]->Top(), at(6900));
}

TEST_F(RelayoutTest, UnderTheDrawingAHiddenAnalyzerLetsTheNDFilterUp)
{
    MainPanel& p = *panel;
    const int anaTop = p.frmAnalyzer[0]->y();
    const int ndTop = p.frmND[0]->y();
    const int fiberBelowStage = p.frmFiber[0]->y() - p.frmStage[0]->y();
    setBoth(p.frmAnalyzer, false);
    EXPECT_EQ(p.frmEpiFS[0]->Top(), at(3700));
    EXPECT_EQ(p.frmND[0]->y(), anaTop);
    EXPECT_EQ(p.frmStage[0]->y(), ndTop);
    // The stage keeps its taller frame.
    EXPECT_EQ(p.frmStage[0]->Height(), at(1000));
    EXPECT_EQ(p.frmFiber[0]->y() - p.frmStage[0]->y(), fiberBelowStage);
}

TEST_F(RelayoutTest, TheFirstFrameShownTakesTheColumnsTop)
{
    MainPanel& p = *panel;
    smallSystem();
    const int gap = 40;  // the designed spacing of the frames
    EXPECT_EQ(p.frmFilter[0]->Top(), at(440));
    EXPECT_NEAR(p.frmObj[0]->Top(), p.frmFilter[0]->Top() + p.frmFilter[0]->Height() + gap, 15 + 10);
    EXPECT_NEAR(p.frmCondenser[0]->Top(), p.frmObj[0]->Top() + p.frmObj[0]->Height() + gap, 15);
    EXPECT_EQ(p.frmEpiFS[0]->Top(), at(3700));
    EXPECT_NEAR(p.frmND[0]->Top(), p.frmEpiFS[0]->Top() + p.frmEpiFS[0]->Height() + gap, 15);
    EXPECT_EQ(p.frmFilter[1]->Top(), at(kSubTop));
    EXPECT_EQ(p.frmObj[1]->Top(), at(kSubTop + kSubRow));
    EXPECT_EQ(p.frmCondenser[1]->Top(), at(kSubTop + 2 * kSubRow));
    EXPECT_EQ(p.frmEpiFS[1]->Top(), at(kSubTop + 3 * kSubRow));
    EXPECT_EQ(p.frmShutter[1]->Top(), at(kSubTop + 4 * kSubRow));
    EXPECT_EQ(p.frmND[1]->Top(), at(kSubTop + 5 * kSubRow));
}

TEST_F(RelayoutTest, ShowingTheFramesAgainPutsEveryFrameBackInItsDesignedPlace)
{
    MainPanel& p = *panel;
    smallSystem();
    for (PanelFrame* const* f : {p.frmPath, p.frmZoom, p.frmZdrive, p.frmAp, p.frmFS, p.frmLamp,
                                 p.frmAnalyzer, p.frmStage, p.frmFiber})
        setBoth(f, true);
    EXPECT_EQ(p.frmFilter[0]->Top(), at(2260));
    EXPECT_EQ(p.frmLamp[0]->Top(), at(6550));
    EXPECT_EQ(p.frmFiber[0]->Top(), at(6900));
    EXPECT_EQ(p.frmFiber[1]->Top(), at(kSubTop + 14 * kSubRow));
}

TEST_F(RelayoutTest, TheCompactStripesStayEvenAcrossAHiddenLine)
{
    MainPanel& p = *panel;
    const int32_t first = p.frmPath[1]->BackColor();
    const int32_t second = p.frmZoom[1]->BackColor();
    ASSERT_NE(first, second);
    setBoth(p.frmZoom, false);
    EXPECT_EQ(p.frmFilter[1]->BackColor(), second);
    EXPECT_EQ(p.frmObj[1]->BackColor(), first);
    setBoth(p.frmZoom, true);
    EXPECT_EQ(p.frmFilter[1]->BackColor(), first);
}

TEST_F(RelayoutTest, AZoomWithoutItsScaleIsAsLowAsItsNeighbours)
{
    MainPanel& p = *panel;
    const int cubeBelowZoom = p.frmFilter[0]->y() - (p.frmZoom[0]->y() + p.frmZoom[0]->height());
    p.frmScroll->hide();  // Init: a zoom that only reports
    EXPECT_EQ(p.frmZoom[0]->height(), p.frmPath[0]->height());
    EXPECT_EQ(p.frmFilter[0]->y(), p.frmZoom[0]->y() + p.frmZoom[0]->height() + cubeBelowZoom);
    p.frmScroll->show();
    EXPECT_EQ(p.frmZoom[0]->Height(), at(1060));
    EXPECT_EQ(p.frmFilter[0]->Top(), at(2260));
}

TEST_F(RelayoutTest, TheShutterOnTheDrawingKeepsTheNumbersInitGivesIt)
{
    MainPanel& p = *panel;
    p.show();
    p.frmShutter[0]->setTop(1790);
    p.frmShutter[0]->setLeft(5995);
    smallSystem();
    setBoth(p.frmShutter, true);
    EXPECT_EQ(p.frmShutter[0]->Top(), at(1790));
    EXPECT_EQ(p.frmShutter[0]->Left(), at(5995));
    // Its state caption goes under it.
    EXPECT_EQ(p.ShutterCmd[0]->y(), p.frmShutter[0]->y() + p.frmShutter[0]->height());
    EXPECT_EQ(p.ShutterCmd[0]->x(), p.frmShutter[0]->x());
    p.frmShutter[0]->setTop(2250);
    p.frmShutter[0]->setLeft(5920);
    EXPECT_EQ(p.frmShutter[0]->Top(), at(2250));
    EXPECT_EQ(p.ShutterCmd[0]->y(), p.frmShutter[0]->y() + p.frmShutter[0]->height());
    setBoth(p.frmShutter, false);
    EXPECT_TRUE(p.ShutterCmd[0]->isHidden());
}

TEST_F(RelayoutTest, TheSelectorsOpenAtTheirFixedPlacesOnASmallSystem)
{
    MainPanel& p = *panel;
    smallSystem();
    p.downObj_Click();
    EXPECT_EQ(p.picSelect->Left(), at(720));
    EXPECT_EQ(p.picSelect->Top(), at(3720));
    p.downFilter_Click();
    EXPECT_EQ(p.picSelect->Top(), at(2970));
    p.downCon_Click();
    EXPECT_EQ(p.picSelect->Top(), at(5080));
    EXPECT_EQ(p.picSelect2->Top(), at(5080 + 80));
    // The panel holds the whole selector, shadow included.
    EXPECT_GE(p.picMain->height(), p.picSelect2->y() + p.picSelect2->height());
}

TEST_F(RelayoutTest, ThePanelsTakeTheHeightOfWhatTheyShowAndTheWindowRulesStay)
{
    MainPanel& p = *panel;
    p.show();
    QApplication::processEvents();
    const int storedHeight = p.PanelHeight;
    const int storedWidth = p.PanelWidth;
    const QSize window = p.window()->size();
    const int margin = zentor::twipsToPixels(kPanelBottomMargin);
    EXPECT_EQ(p.picMain->height(), p.frmFiber[0]->y() + p.frmFiber[0]->height() + margin);
    smallSystem();
    QApplication::processEvents();
    // Right column: drawing, epi field stop, ND filter.
    EXPECT_EQ(p.picMain->height(), p.frmND[0]->y() + p.frmND[0]->height() + margin);
    EXPECT_EQ(p.frmSub->height(), p.frmND[1]->y() + p.frmND[1]->height() + margin);
    // Form_Resize's stored sizes and the window are left alone.
    EXPECT_EQ(p.PanelHeight, storedHeight);
    EXPECT_EQ(p.PanelWidth, storedWidth);
    p.Form_Resize();
    EXPECT_EQ(p.window()->size(), window);
}

TEST_F(RelayoutTest, LongNamesBesideTheSelectorArrowsAreDrawnWholeAndShortOnesAtFullSize)
{
    MainPanel& p = *panel;
    const double designed = p.ObjCmd[0]->font().pointSizeF();
    const struct { PanelLabel* label; usrButton* arrow; const char* text; } cases[] = {
        {p.ObjCmd[0], p.downObj, "4: PA  PlanApo 40x/0.95"},
        {p.ObjCmd[0], p.downObj, "5: PA  PlanApo 60x/1.35 Oil"},
        {p.FilterCmd[0], p.downFilter, "2 : UV-EX385 wide band"},
        {p.CONcmd[0], p.downCon, "4 : Phase Contrast Ph1"},
    };
    for (const auto& c : cases) {
        c.label->setCaption(QString::fromLatin1(c.text));
        EXPECT_TRUE(c.label->CaptionFits()) << c.text;
        EXPECT_LE(c.label->geometry().right(), c.arrow->geometry().left()) << c.text;
        EXPECT_GE(c.label->font().pointSizeF(), 8.0) << c.text;
    }
    p.ObjCmd[0]->setCaption(QStringLiteral("1: PL  Plan 4x/0.10"));
    EXPECT_EQ(p.ObjCmd[0]->font().pointSizeF(), designed);
}

// Readings as long as the shipped tables and the stage give them.
void fillLongReadings(MainPanel& p)
{
    auto both = [](PanelLabel* const (&l)[2], const QString& large, const QString& compact) {
        l[0]->setCaption(large);
        l[1]->setCaption(compact);
    };
    both(p.LightPathCmd, QStringLiteral("Binocular 100%"), QStringLiteral("Binocular"));
    both(p.ZoomCmd, QStringLiteral("1.25 x"), QStringLiteral("1.25 x"));
    both(p.FilterCmd, QStringLiteral("4 : GREEN-EX545"), QStringLiteral("4 : GREEN-EX545"));
    both(p.ObjCmd, QStringLiteral("3: PF  PlanFluor 20x/0.50"), QStringLiteral("3 : 20x"));
    both(p.Zcmd, QStringLiteral("-12345.55 um"), QStringLiteral("-12345.55 um"));
    both(p.CONcmd, QStringLiteral("2 : Phase Ph1"), QStringLiteral("2 : Phase Ph1"));
    both(p.APcmd, QStringLiteral("12.5 mm"), QStringLiteral("12.5 mm"));
    both(p.FieldS, QStringLiteral("18.5 mm"), QStringLiteral("18.5 mm"));
    both(p.LampCmd, QStringLiteral("Preset"), QStringLiteral("Preset"));
    both(p.HBXField, QStringLiteral("9.5 mm"), QStringLiteral("9.5 mm"));
    p.AnaCmd[1]->setCaption(QStringLiteral("OUT"));
    p.ShutterCmd[1]->setCaption(QStringLiteral("CLOSE"));
    both(p.NDcmd, QStringLiteral("100 %"), QStringLiteral("100 %"));
    both(p.Xcmd, QStringLiteral("-12345.5 um"), QStringLiteral("-12345.5 um"));
    both(p.Ycmd, QStringLiteral("-12345.5 um"), QStringLiteral("-12345.5 um"));
    both(p.FiberTxt, QStringLiteral(" 100 %"), QStringLiteral(" 100 %"));
    p.labSystem->setCaption(QStringLiteral(" Q7s  HBX-A  HBX-B  Z  Tolva  CU-K5 "));
}

void expectCaptionsWhole(QWidget* look)
{
    for (PanelLabel* l : look->findChildren<PanelLabel*>())
        if (l->isVisibleTo(look)) {
            EXPECT_TRUE(l->CaptionFits()) << "label \"" << l->Caption().toStdString() << "\" " << l->width() << "x" << l->height() << " needs " << QFontMetrics(l->font()).horizontalAdvance(l->Caption()) << "x" << QFontMetrics(l->font()).height() << " in "
                                          << l->parentWidget()->metaObject()->className();
        }
    for (usrButton* b : look->findChildren<usrButton*>())
        if (b->isVisibleTo(look)) {
            EXPECT_TRUE(b->CaptionFits()) << "button \"" << b->Caption().toStdString() << "\" " << b->width() << "x" << b->height() << " needs " << QFontMetrics(b->font()).horizontalAdvance(b->Caption()) << "x" << QFontMetrics(b->font()).height();
        }
    for (PanelFrame* f : look->findChildren<PanelFrame*>())
        if (f->isVisibleTo(look)) {
            EXPECT_TRUE(f->CaptionFits()) << "frame \"" << f->Caption().toStdString() << "\"";
        }
}

TEST_F(RelayoutTest, EveryCaptionOfTheLargeLookIsWholeAtTheDefaultSize)
{
    MainPanel& p = *panel;
    mainState().MicConnected = true;
    fillLongReadings(p);
    p.show();
    QApplication::processEvents();
    expectCaptionsWhole(p.picMain);
    expectCaptionsWhole(p.frmMenu);
    for (int16_t outlet = 1; outlet <= 3; ++outlet)
        EXPECT_TRUE(p.usrMainPath->OutletCaptionFits(outlet)) << outlet;
    EXPECT_EQ(usrPath_M::OutletCaption(1), QStringLiteral("BINO"));
}

TEST_F(RelayoutTest, EveryCaptionOfTheCompactLookIsWholeAtTheDefaultSize)
{
    MainPanel& p = *panel;
    mainState().MicConnected = true;
    fillLongReadings(p);
    p.show();
    p.btnGUIClose_Released();
    QApplication::processEvents();
    expectCaptionsWhole(p.frmSub);
}

TEST_F(RelayoutTest, EveryMenuSectionsCaptionsAreWhole)
{
    MainPanel& p = *panel;
    p.show();
    for (int16_t i = 1; i <= 5; ++i) {
        p.btnmenu_Click(i);
        if (i == 2)
            p.frmControlPad->show();
        QApplication::processEvents();
        expectCaptionsWhole(p.frmMenu);
    }
}

} // namespace
