// The lifecycle every device panel shares, shown on the aperture stop panel:
// opening from either twin at the remembered place, closing three ways,
// the place written back, floating order, inert handlers without a
// microscope.
#include "devicepanels/optics/tests/PanelRig.h"
#include "devicepanels/optics/StopPanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrXscroll.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <gtest/gtest.h>

namespace {
const QString kAp = QStringLiteral("frmSubAp");
const QString kFS = QStringLiteral("frmSubFS");
const QString kSection = QStringLiteral("Aperture Stop");

// A window system that never activates the device panels (focus stealing
// prevention, a busy desktop): their activation does not arrive.
struct ActivationRefused : QObject {
    ActivationRefused() { qApp->installEventFilter(this); }
    ~ActivationRefused() override { qApp->removeEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* e) override {
        return e->type() == QEvent::WindowActivate && qobject_cast<SubPanel*>(watched);
    }
};
} // namespace

TEST(SubPanel, ThePressedTwinOpensThePanelAndStaysLatched) {
    PanelRig rig;
    auto [large, compact] = rig.buttons(kAp);
    PanelRig::click(large);
    pumpEvents();
    auto* panel = qobject_cast<frmSubAp*>(FormRegistry::loaded(kAp));
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(panel->isVisible());
    EXPECT_TRUE(large->Latched());
    EXPECT_FALSE(compact->Latched());
    EXPECT_EQ(panel->windowTitle(), kSection);
    EXPECT_EQ(panel->parentWidget(), &rig.owner);
    EXPECT_TRUE(panel->windowFlags().testFlag(Qt::Tool));
}

TEST(SubPanel, PressingTheOtherTwinReleasesTheFirstAndOnlyMovesThePanel) {
    PanelRig rig;
    auto [large, compact] = rig.buttons(kAp);
    PanelRig::click(large);
    pumpEvents();
    QWidget* first = FormRegistry::loaded(kAp);
    ASSERT_NE(first, nullptr);
    mainState().INI.Ini_Write(kSection, QStringLiteral("Top"), QStringLiteral("1500"));
    mainState().INI.Ini_Write(kSection, QStringLiteral("Left"), QStringLiteral("3000"));
    PanelRig::click(compact);
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kAp), first) << "the same panel, not a second one";
    EXPECT_FALSE(large->Latched());
    EXPECT_TRUE(compact->Latched());
    EXPECT_EQ(first->pos(), QPoint(200, 100));
}

TEST(SubPanel, AMissingKeyKeepsTheDesignPlaceAndAStoredOneIsTaken) {
    PanelRig rig;
    auto* panel = rig.open<frmSubAp>(kAp);
    ASSERT_NE(panel, nullptr);
    // Beside the main window when the section holds no place (as far right as
    // the screen allows).
    EXPECT_GT(panel->x(), rig.owner.x());
    PanelRig::click(panel->btnClose);
    pumpEvents();
    ASSERT_EQ(FormRegistry::loaded(kAp), nullptr);

    mainState().INI.Ini_Write(kSection, QStringLiteral("Top"), QStringLiteral("900"));
    mainState().INI.Ini_DelKey(kSection, QStringLiteral("Left"));
    rig.twins.clear();
    SubPanels::detachAll();
    panel = rig.open<frmSubAp>(kAp);
    ASSERT_NE(panel, nullptr);
    EXPECT_EQ(panel->y(), 60);
}

TEST(SubPanel, GarbageOrOffScreenPlacesStillShowThePanelOnAScreen) {
    const QRect screen = QGuiApplication::primaryScreen()->availableGeometry();
    for (const auto& place : std::vector<std::pair<QString, QString>>{
             {QStringLiteral("abc"), QStringLiteral("x1")},
             {QStringLiteral("-99999"), QStringLiteral("-5000")},
             {QStringLiteral("9999999"), QStringLiteral("88888888")},
             {QStringLiteral("1E+30"), QStringLiteral("nan")}}) {
        PanelRig rig;
        mainState().INI.Ini_Write(kSection, QStringLiteral("Top"), place.first);
        mainState().INI.Ini_Write(kSection, QStringLiteral("Left"), place.second);
        auto* panel = rig.open<frmSubAp>(kAp);
        ASSERT_NE(panel, nullptr);
        EXPECT_TRUE(screen.intersects(panel->frameGeometry()))
            << place.first.toStdString() << "," << place.second.toStdString();
        EXPECT_TRUE(screen.contains(panel->pos()));
    }
}

TEST(SubPanel, CloseButtonWritesTopAndLeftToTheCaptionsSectionAndUnlatchesBothTwins) {
    PanelRig rig;
    auto* panel = rig.open<frmSubAp>(kAp, 1);
    ASSERT_NE(panel, nullptr);
    panel->move(150, 90);
    PanelRig::click(panel->btnClose);
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kAp), nullptr);
    EXPECT_EQ(rig.iniValue(kSection, QStringLiteral("Top")), QStringLiteral("1350"));
    EXPECT_EQ(rig.iniValue(kSection, QStringLiteral("Left")), QStringLiteral("2250"));
    EXPECT_FALSE(rig.buttons(kAp).first->Latched());
    EXPECT_FALSE(rig.buttons(kAp).second->Latched());
}

TEST(SubPanel, ASecondPressOfTheLatchedTwinClosesThePanel) {
    PanelRig rig;
    auto [large, compact] = rig.buttons(kAp);
    PanelRig::click(large);
    pumpEvents();
    ASSERT_NE(FormRegistry::loaded(kAp), nullptr);
    PanelRig::click(large);
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kAp), nullptr);
    EXPECT_FALSE(large->Latched());
    EXPECT_NE(rig.iniValue(kSection, QStringLiteral("Top")), QStringLiteral("<absent>"));
}

TEST(SubPanel, ClosingTheWindowFromItsFrameIsTheSameUnload) {
    PanelRig rig;
    auto* panel = rig.open<frmSubAp>(kAp);
    ASSERT_NE(panel, nullptr);
    panel->close();
    pumpEvents();
    EXPECT_EQ(FormRegistry::loaded(kAp), nullptr);
    EXPECT_FALSE(rig.buttons(kAp).first->Latched());
    EXPECT_NE(rig.iniValue(kSection, QStringLiteral("Left")), QStringLiteral("<absent>"));
}

TEST(SubPanel, UnloadingWithTheMainWindowWritesThePlaceToo) {
    PanelRig rig;
    ASSERT_NE(rig.open<frmSubAp>(kAp), nullptr);
    FormRegistry::unload(kAp);
    EXPECT_NE(rig.iniValue(kSection, QStringLiteral("Top")), QStringLiteral("<absent>"));
    EXPECT_FALSE(rig.buttons(kAp).first->Latched());
}

TEST(SubPanel, PanelsFloatInTheOrderOpenedAndTheNewestOnTop) {
    PanelRig rig;
    auto* ap = rig.open<frmSubAp>(kAp);
    auto* fs = rig.open<frmSubFS>(kFS);
    ASSERT_TRUE(ap && fs);
    EXPECT_TRUE(ap->isVisible());
    EXPECT_TRUE(fs->isVisible());
    EXPECT_EQ(QApplication::activeWindow(), fs);
}

TEST(SubPanel, GetStatusRunsOnEveryActivation) {
    PanelRig rig;
    auto* panel = rig.open<frmSubAp>(kAp);
    ASSERT_NE(panel, nullptr);
    rig.mic.setApertureStopApertureStop(7.5);
    // The panel's reading follows the service only when it is read again.
    panel->usrScroll->setValue(0);
    rig.owner.activateWindow();
    pumpEvents();
    panel->activateWindow();
    pumpEvents();
    EXPECT_DOUBLE_EQ(panel->usrScroll->Value(), 7.5);
    EXPECT_EQ(panel->txtSel->Caption(), QStringLiteral("7.5 mm"));
}

TEST(SubPanel, ANewPanelShowsTheServicesValuesEvenWhenItIsNeverActivated) {
    PanelRig rig;
    rig.mic.setApertureStopApertureStop(2.5);
    frmSubAp* ap = nullptr;
    {
        ActivationRefused refused;
        ap = rig.open<frmSubAp>(kAp);
        ASSERT_NE(ap, nullptr);
        pumpEvents(50);
    }
    EXPECT_TRUE(ap->isVisible());
    EXPECT_TRUE(ap->usrScroll->isEnabled());
    EXPECT_DOUBLE_EQ(ap->usrScroll->Max(), rig.mic.UpperLimit(LimitIndex::ApertureStop));
    EXPECT_DOUBLE_EQ(ap->usrScroll->Value(), 2.5);
    EXPECT_EQ(ap->txtSel->Caption(), QStringLiteral("2.5 mm"));
}

TEST(SubPanel, OpeningReadsTheServiceOnceSoAFailedReadShowsOneBox) {
    PanelRig rig;
    rig.faults().killUnit(UnitIndex::Q7s);
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    pumpEvents(50);
    rig.faults().clearFaults();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("ApertureStop_Status Read Error")});
}

TEST(SubPanel, PanelsStayAboveOtherProgramsWindows) {
    PanelRig rig;
    auto* ap = rig.open<frmSubAp>(kAp);
    ASSERT_NE(ap, nullptr);
    // Top-most for the window system, not only above the main window they belong to.
    EXPECT_TRUE(ap->windowFlags().testFlag(Qt::WindowStaysOnTopHint));
    ASSERT_NE(ap->windowHandle(), nullptr);
    EXPECT_TRUE(ap->windowHandle()->flags().testFlag(Qt::WindowStaysOnTopHint));
    EXPECT_EQ(ap->windowType(), Qt::Tool);
}

TEST(SubPanel, WithoutAMicroscopeEveryGestureDoesNothingAndShowsNothing) {
    PanelRig rig;
    auto* panel = rig.open<frmSubAp>(kAp);
    ASSERT_NE(panel, nullptr);
    const double before = rig.mic.ApertureStopApertureStop();
    mainState().MicConnected = false;
    emit panel->usrScroll->Changed();
    emit panel->usrScroll->TrackClicked();
    emit panel->usrScroll->StepUp();
    emit panel->usrScroll->StepDown();
    panel->btnReset->show();
    panel->BtnMemory->show();
    PanelRig::click(panel->btnReset);
    PanelRig::click(panel->BtnMemory);
    pumpEvents();
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), before);
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    mainState().MicConnected = true;
}

TEST(SubPanel, AClosedPanelsSetterLoadsNothing) {
    PanelRig rig;
    EXPECT_FALSE(FormRegistry::refresh(kAp, "AStopValue_Set"));
    EXPECT_FALSE(FormRegistry::refresh(kAp, "Origin_Chg", 2));
    EXPECT_EQ(FormRegistry::loaded(kAp), nullptr);
}

TEST(SubPanel, AServiceFailureShowsThePanelsFixedTextAndChangesNothing) {
    PanelRig rig;
    auto* panel = rig.open<frmSubAp>(kAp);
    ASSERT_NE(panel, nullptr);
    const double shown = panel->usrScroll->Value();
    rig.faults().killUnit(UnitIndex::Q7s);
    panel->usrScroll->setValue(shown + 1);
    emit panel->usrScroll->Changed();
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("ApertureStop_ApertureStop Error")});
    rig.faults().clearFaults();
    EXPECT_DOUBLE_EQ(rig.mic.ApertureStopApertureStop(), shown);
}

// Every panel drawn with the stand's values, kept as pictures to look at
// (build/testhome/panels_subpanel_pattern_tests/screens).
TEST(PanelPictures, EveryPanelDrawsWithTheServicesValues) {
    PanelRig rig;
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    for (const QString& form : SubPanels::order()) {
        auto* panel = rig.open<SubPanel>(form);
        if (!panel)
            continue; // not built in this program
        pumpEvents(50);
        EXPECT_TRUE(panel->grab().save(dir + QLatin1Char('/') + form + QStringLiteral(".png")));
        FormRegistry::unload(form);
    }
}

TEST(SubPanel, OpenedFromTheKeyboardItTakesTheFocusAndGivesItBackWhenItCloses) {
    PanelRig rig;
    auto [large, compact] = rig.buttons(kAp);
    rig.owner.activateWindow();
    large->setFocus();
    pumpEvents();
    QTest::keyClick(large, Qt::Key_Space);
    pumpEvents();
    auto* panel = qobject_cast<frmSubAp*>(FormRegistry::loaded(kAp));
    ASSERT_NE(panel, nullptr);
    EXPECT_TRUE(panel->isAncestorOf(QApplication::focusWidget())) << "the panel has the focus";
    QTest::keyClick(panel->btnClose, Qt::Key_Space);
    pumpEvents(50);
    EXPECT_EQ(FormRegistry::loaded(kAp), nullptr);
    // The main window's focus is on the pressed twin again; the window system
    // makes that window active once the panel's window has gone.
    EXPECT_EQ(rig.owner.focusWidget(), large);
}
