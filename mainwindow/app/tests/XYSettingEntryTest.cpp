// The Setting menu's way into the stage panel's setting mode: the entry
// " XY Setting" below the four entries of the menu, enabled by the stand's
// firmware rule like " Focus Setting" and only with a motorised stage; a
// click, Space or Enter opens the stage panel as "XY Setting", and the panel
// unloaded comes back as "XY Stage".
#include "mainwindow/app/tests/MainWindowTestSupport.h"
#include "core/settings/SettingsPaths.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "devicepanels/motion/frmSubStage.h"
#include "state/FormRegistry.h"

#include <QAccessible>
#include <QTest>
#include <gtest/gtest.h>

namespace {

const QString kStage = QStringLiteral("frmSubStage");

// A stand whose firmware is old enough for the stand's setting entries.
QString oldFirmwareStand(const QString& name, const QByteArray& devices) {
    QByteArray json = "{\"name\": \"" + name.toUtf8() +
                      "\", \"units\": [\"Q7s\", \"HBX-B\", \"HBX-A\", \"Z\", \"Tolva\"], "
                      "\"versions\": {\"Q7s\": \"V1.1\"}";
    if (!devices.isEmpty())
        json += ", \"devices\": " + devices;
    return customStand(name, json + "}");
}

struct Window {
    MsgBox::Recorder rec;
    MainRun run;
    frmMain* w = nullptr;
    MainPanel* ui = nullptr;
    explicit Window(const QString& stand) : run({stand}) {
        // No microscope remembered from an earlier test: the one stand opens.
        QFile::remove(SettingsPaths::MainIni());
        w = run.start();
        ui = w->ui;
        w->activateWindow();
        pump(30);
    }
};

frmSubStage* stagePanel() { return qobject_cast<frmSubStage*>(FormRegistry::loaded(kStage)); }

QString accessibleName(QObject* o) { return QAccessible::queryAccessibleInterface(o)->text(QAccessible::Name); }

} // namespace

TEST(XYSettingEntry, StandsBelowTheFourEntriesWhichKeepTheirCaptionsAndPlaces) {
    Window win(oldFirmwareStand(QStringLiteral("Old Stand XY"), {}));
    MainPanel* ui = win.ui;
    EXPECT_EQ(ui->btnSetup[0]->Caption(), QStringLiteral(" Setup"));
    EXPECT_EQ(ui->btnSetup[1]->Caption(), QStringLiteral(" Control Pad          Setup"));
    EXPECT_EQ(ui->btnSetup[2]->Caption(), QStringLiteral(" Z Upper Limit"));
    EXPECT_EQ(ui->btnSetup[3]->Caption(), QStringLiteral(" Focus Setting"));
    EXPECT_EQ(ui->btnSetupXY->Caption(), QStringLiteral(" XY Setting"));
    for (int i = 1; i < 4; ++i)
        EXPECT_GT(ui->btnSetup[i]->y(), ui->btnSetup[i - 1]->y());
    EXPECT_GT(ui->btnSetupXY->y(), ui->btnSetup[3]->y());
    // The control pad opens below all five entries.
    EXPECT_GT(ui->frmControlPad->y(), ui->btnSetupXY->geometry().bottom());
    EXPECT_EQ(accessibleName(ui->btnSetupXY), QStringLiteral("XY Setting"));
}

TEST(XYSettingEntry, FollowsTheFirmwareRuleOfFocusSettingAndNeedsAMotorisedStage) {
    {
        Window win(oldFirmwareStand(QStringLiteral("Old Stand XY"), {}));
        ASSERT_NE(mainState().mXY.SETUP(), 0);
        win.ui->btnmenu_Click(2);
        EXPECT_TRUE(win.ui->btnSetup[3]->isEnabled());
        EXPECT_TRUE(win.ui->btnSetupXY->isEnabled());
    }
    {
        // The same firmware without a stage: focus setting yes, XY setting no.
        Window win(oldFirmwareStand(QStringLiteral("Old Stand No Stage"),
                                    R"({"Nosepiece": {}, "ZDrive": {}, "FilterBlockCassette": {}})"));
        ASSERT_EQ(mainState().mXY.SETUP(), 0);
        win.ui->btnmenu_Click(2);
        EXPECT_TRUE(win.ui->btnSetup[3]->isEnabled());
        EXPECT_FALSE(win.ui->btnSetupXY->isEnabled());
    }
    {
        // A stage, but firmware outside 1.0 to 1.2 (the shipped full system).
        Window win(standFile("full-system.json"));
        ASSERT_NE(mainState().mXY.SETUP(), 0);
        win.ui->btnmenu_Click(2);
        EXPECT_FALSE(win.ui->btnSetup[3]->isEnabled());
        EXPECT_FALSE(win.ui->btnSetupXY->isEnabled());
    }
}

TEST(XYSettingEntry, OpensTheStagePanelAsXYSettingAndItsUnloadBringsBackXYStage) {
    Window win(oldFirmwareStand(QStringLiteral("Old Stand XY"), {}));
    MainPanel* ui = win.ui;
    ui->btnmenu_Click(2);
    ASSERT_TRUE(ui->btnSetupXY->isVisible());
    QTest::mouseClick(ui->btnSetupXY, Qt::LeftButton);
    pump(50);
    frmSubStage* xy = stagePanel();
    ASSERT_NE(xy, nullptr);
    EXPECT_TRUE(xy->isVisible());
    EXPECT_EQ(xy->Caption(), QStringLiteral("XY Setting"));
    EXPECT_EQ(xy->windowTitle(), QStringLiteral("XY Setting"));
    EXPECT_TRUE(xy->frmSettingVer->isVisible());
    EXPECT_FALSE(xy->btnAbs->isVisible());

    QTest::mouseClick(xy->btnClose, Qt::LeftButton, {}, QPoint(8, 8));
    pump(50);
    EXPECT_EQ(stagePanel(), nullptr);

    // The device button opens the panel in its normal mode again.
    QTest::mouseClick(ui->btnXY[0], Qt::LeftButton, {}, QPoint(8, 8));
    pump(50);
    xy = stagePanel();
    ASSERT_NE(xy, nullptr);
    EXPECT_EQ(xy->Caption(), QStringLiteral("XY Stage"));
    EXPECT_FALSE(xy->frmSettingVer->isVisible());
    // Open in its normal mode, the entry switches it to the setting mode.
    QTest::mouseClick(ui->btnSetupXY, Qt::LeftButton);
    pump(50);
    ASSERT_EQ(stagePanel(), xy);
    EXPECT_EQ(xy->Caption(), QStringLiteral("XY Setting"));
    EXPECT_TRUE(xy->frmSettingVer->isVisible());
    EXPECT_TRUE(win.rec.texts().isEmpty()) << win.rec.texts().join('|').toStdString();
}

TEST(XYSettingEntry, TabReachesItAfterFocusSettingAndSpaceOrEnterOpensThePanel) {
    Window win(oldFirmwareStand(QStringLiteral("Old Stand XY"), {}));
    MainPanel* ui = win.ui;
    ui->btnmenu_Click(2);
    ui->btnSetup[3]->setFocus(Qt::TabFocusReason);
    pump(10);
    QTest::keyClick(ui->btnSetup[3], Qt::Key_Tab);
    pump(10);
    ASSERT_EQ(QApplication::focusWidget(), ui->btnSetupXY);
    QTest::keyClick(ui->btnSetupXY, Qt::Key_Space);
    pump(50);
    frmSubStage* xy = stagePanel();
    ASSERT_NE(xy, nullptr);
    EXPECT_EQ(xy->Caption(), QStringLiteral("XY Setting"));

    QTest::mouseClick(xy->btnClose, Qt::LeftButton, {}, QPoint(8, 8));
    pump(50);
    ASSERT_EQ(stagePanel(), nullptr);
    ui->btnSetupXY->setFocus(Qt::TabFocusReason);
    pump(10);
    QTest::keyClick(ui->btnSetupXY, Qt::Key_Return);
    pump(50);
    xy = stagePanel();
    ASSERT_NE(xy, nullptr);
    EXPECT_EQ(xy->Caption(), QStringLiteral("XY Setting"));
}
