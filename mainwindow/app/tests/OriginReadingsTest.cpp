// An origin changes what a position reads without moving the drive, so no
// event of the stand follows it: the focus and stage panels write the main
// panel's readings themselves (Zcmd after Origin and Count Clear, Xcmd and
// Ycmd after X Origin, Y Origin and Abs), at once, on both twins. Also at the
// ends of the travel, where an origin makes the largest readings.
#include "MainWindowTestSupport.h"

#include "core/base/VbConvert.h"
#include "core/settings/SettingsPaths.h"
#include "models/motion/clsDefZControl.h"
#include "devicepanels/motion/frmSubStage.h"
#include "devicepanels/motion/frmSubZ.h"
#include "state/FormRegistry.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QTest>
#include <gtest/gtest.h>

namespace {

struct Window {
    MsgBox::Recorder rec;
    MainRun run;
    frmMain* w = nullptr;
    MainPanel* ui = nullptr;
    Window() : run({standFile("full-system.json")}) {
        QFile::remove(SettingsPaths::MainIni());
        w = run.start();
        ui = w->ui;
        w->activateWindow();
        pump(30);
    }
    MicroscopeService& svc() const { return *mainState().micService; }
};

void click(QWidget* w) { QTest::mouseClick(w, Qt::LeftButton, {}, w->rect().center()); }

template <typename Panel>
Panel* openFrom(usrButton* button, const char* form) {
    click(button);
    pump(50);
    auto* p = qobject_cast<Panel*>(FormRegistry::loaded(QLatin1String(form)));
    if (p) {
        p->activateWindow();
        pump(50);
    }
    return p;
}

void shoot(QWidget* w, const QString& name) {
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    EXPECT_TRUE(w->grab().save(dir + QLatin1Char('/') + name)) << name.toStdString();
}

QString zText(int32_t counts) {
    return clsDefZControl::Format_CountText(vb::numberText(counts * 0.05)) + QStringLiteral(" um");
}

} // namespace

TEST(OriginReadings, FocusOriginAndCountClearReachBothMainPanelReadingsWithoutAMove) {
    Window win;
    win.svc().setZDriveZPosition(20000);
    pump(30);
    ASSERT_EQ(win.ui->Zcmd[0]->Caption(), QStringLiteral("1000.00 um"));
    auto* z = openFrom<frmSubZ>(win.ui->btnZ[0], "frmSubZ");
    ASSERT_NE(z, nullptr);
    click(z->btnReset);
    pump(20);
    EXPECT_EQ(win.ui->Zcmd[0]->Caption(), QStringLiteral("0.00 um"));
    EXPECT_EQ(win.ui->Zcmd[1]->Caption(), QStringLiteral("0.00 um"));
    EXPECT_EQ(z->txtSel->Caption(), QStringLiteral("0.00 um"));
    shoot(win.w, QStringLiteral("main-after-focus-origin.png"));
    click(z->btnCntClear);
    pump(20);
    EXPECT_EQ(win.ui->Zcmd[0]->Caption(), QStringLiteral("1000.00 um"));
    EXPECT_EQ(win.ui->Zcmd[1]->Caption(), QStringLiteral("1000.00 um"));
    EXPECT_EQ(win.svc().ZDriveZPosition(), 20000);
    EXPECT_TRUE(win.rec.texts().isEmpty()) << win.rec.texts().join('|').toStdString();
}

TEST(OriginReadings, FocusOriginAtEitherEndOfTheTravelReadsTheWholeTravelOnTheMainPanel) {
    Window win;
    const int32_t top = int32_t(win.svc().UpperLimit(LimitIndex::ZDrive));
    const int32_t bottom = int32_t(win.svc().LowerLimit(LimitIndex::ZDrive));
    win.svc().setZUpperLimit(top);   // the software limit out of the way
    auto* z = openFrom<frmSubZ>(win.ui->btnZ[0], "frmSubZ");
    ASSERT_NE(z, nullptr);
    win.svc().setZDriveZPosition(top);
    pump(30);
    click(z->btnReset);
    pump(20);
    EXPECT_EQ(win.ui->Zcmd[1]->Caption(), QStringLiteral("0.00 um"));
    win.svc().setZDriveZPosition(bottom);
    pump(30);
    EXPECT_EQ(win.ui->Zcmd[0]->Caption(), zText(bottom - top));
    click(z->btnCntClear);
    pump(20);
    EXPECT_EQ(win.ui->Zcmd[0]->Caption(), zText(bottom));
    EXPECT_EQ(win.ui->Zcmd[1]->Caption(), zText(bottom));
    EXPECT_TRUE(win.rec.texts().isEmpty()) << win.rec.texts().join('|').toStdString();
}

TEST(OriginReadings, StageOriginsAndAbsReachBothMainPanelReadingsWithoutAMove) {
    Window win;
    win.svc().XYDriveMove(3001, -1000);
    pump(30);
    ASSERT_EQ(win.ui->Xcmd[0]->Caption(), QStringLiteral("1500.5 um"));
    auto* p = openFrom<frmSubStage>(win.ui->btnXY[0], "frmSubStage");
    ASSERT_NE(p, nullptr);
    click(p->btnXReset);
    pump(20);
    EXPECT_EQ(win.ui->Xcmd[0]->Caption(), QStringLiteral("0.0 um"));
    EXPECT_EQ(win.ui->Xcmd[1]->Caption(), QStringLiteral("0.0 um"));
    EXPECT_EQ(win.ui->Ycmd[0]->Caption(), QStringLiteral("-500.0 um"));
    click(p->btnYReset);
    pump(20);
    EXPECT_EQ(win.ui->Ycmd[0]->Caption(), QStringLiteral("0.0 um"));
    EXPECT_EQ(win.ui->Ycmd[1]->Caption(), QStringLiteral("0.0 um"));
    shoot(win.w, QStringLiteral("main-after-stage-origin.png"));
    click(p->btnAbs);
    pump(20);
    EXPECT_EQ(win.ui->Xcmd[1]->Caption(), QStringLiteral("1500.5 um"));
    EXPECT_EQ(win.ui->Ycmd[1]->Caption(), QStringLiteral("-500.0 um"));
    EXPECT_EQ(win.svc().XYDriveXPosition(), 3001);
    EXPECT_TRUE(win.rec.texts().isEmpty()) << win.rec.texts().join('|').toStdString();
}

TEST(OriginReadings, StageOriginsAtTheEndsOfTheTravelReadTheWholeTravelOnTheMainPanel) {
    Window win;
    const int32_t xMax = int32_t(win.svc().UpperLimit(LimitIndex::XYDriveX));
    const int32_t xMin = int32_t(win.svc().LowerLimit(LimitIndex::XYDriveX));
    const int32_t yMax = int32_t(win.svc().UpperLimit(LimitIndex::XYDriveY));
    const int32_t yMin = int32_t(win.svc().LowerLimit(LimitIndex::XYDriveY));
    auto* p = openFrom<frmSubStage>(win.ui->btnXY[0], "frmSubStage");
    ASSERT_NE(p, nullptr);
    win.svc().XYDriveMove(xMax, yMin);
    pump(30);
    click(p->btnXReset);
    click(p->btnYReset);
    pump(20);
    win.svc().XYDriveMove(xMin, yMax);
    pump(30);
    const auto half = [](int32_t counts) {
        const QString t = QString::number(counts * 0.5, 'f', 1);
        return t + QStringLiteral(" um");
    };
    EXPECT_EQ(win.ui->Xcmd[0]->Caption(), half(xMin - xMax));
    EXPECT_EQ(win.ui->Ycmd[0]->Caption(), half(yMax - yMin));
    click(p->btnAbs);
    pump(20);
    EXPECT_EQ(win.ui->Xcmd[1]->Caption(), half(xMin));
    EXPECT_EQ(win.ui->Ycmd[1]->Caption(), half(yMax));
    EXPECT_TRUE(win.rec.texts().isEmpty()) << win.rec.texts().join('|').toStdString();
}

TEST(OriginReadings, ACountAtTheEndOfTheThirtyTwoBitRangeGivesTheEventsMessageAndAbsStillReadsIt) {
    Window win;
    const int32_t xMax = int32_t(win.svc().UpperLimit(LimitIndex::XYDriveX));
    auto* p = openFrom<frmSubStage>(win.ui->btnXY[0], "frmSubStage");
    ASSERT_NE(p, nullptr);
    win.svc().XYDriveMove(xMax, 0);
    pump(30);
    click(p->btnXReset);
    pump(20);
    ASSERT_EQ(win.ui->Xcmd[0]->Caption(), QStringLiteral("0.0 um"));
    // A count no stage reaches: shown against the origin it overflows, and
    // the event says so in its own words, the reading left as it was.
    const QString text = QStringLiteral("AppXYDriveXPosition:-2147483648");
    win.w->micEvent_OnPropertyChanged(text);
    EXPECT_EQ(win.rec.texts(), QStringList{QStringLiteral("Error : ") + text + QStringLiteral("  check: Split problem")});
    EXPECT_EQ(win.ui->Xcmd[0]->Caption(), QStringLiteral("0.0 um"));
    // With the origin at 0 the same count reads, on both panels.
    click(p->btnAbs);
    pump(20);
    EXPECT_EQ(win.ui->Xcmd[0]->Caption(), QStringLiteral("-1073741824.0 um"));
    EXPECT_EQ(win.ui->Xcmd[1]->Caption(), QStringLiteral("-1073741824.0 um"));
    EXPECT_EQ(p->Text1->Caption(), QStringLiteral("X -1073741824.0 um"));
    EXPECT_EQ(win.rec.texts().size(), 1);
}
