// The main window's side of the zoom and lamp panels: the zoom scale's bands
// and the commands they send, the ZoomLink box mirrored with the panel's
// chkLink, and the lamp's voltage on the main panel while its panel is closed.
#include "MainWindowTestSupport.h"

#include "devicepanels/optics/LampPanel.h"
#include "devicepanels/optics/ZoomPanel.h"
#include "state/FormRegistry.h"
#include "core/settings/SettingsPaths.h"
#include "mainwindow/mainpanel/ZoomScale.h"
#include "widgets/Units.h"
#include "widgets/usrButton.h"
#include "stand/SimulatedStand.h"

#include <QMouseEvent>
#include <QSettings>
#include <QStyle>
#include <QStyleOptionButton>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct Opened {
    MsgBox::Recorder rec;
    MainRun run;
    frmMain* w = nullptr;
    Opened() : run({standFile("full-system.json")}) {
        QFile::remove(SettingsPaths::MainIni());
        // The link values an earlier window of this test run saved.
        QSettings(QSettings::NativeFormat, QSettings::UserScope, QStringLiteral("Zentor"), QStringLiteral("Zentor"))
            .remove(QStringLiteral("LinkSetting"));
        w = run.start();
    }
    MainPanel* ui() const { return w->ui; }
    MicroscopeService& mic() const { return *mainState().micService; }
    StandControl& faults() const { return run.service->stand(1)->control(); }
    // A click on the zoom scale where the mark of `zoom` stands.
    void clickMark(double zoom) {
        const int x = zentor::twipsToPixels(ui()->ZoomScaleLeft + (zoom - 0.8) * 10 * 135);
        QTest::mouseClick(ui()->frmScroll, Qt::LeftButton, {}, QPoint(x, ui()->frmScroll->height() / 2));
        pump(50);
    }
};

// A click on a check box's own box (the main panel's link boxes have no text).
void clickBox(QCheckBox* box) {
    QStyleOptionButton opt;
    opt.initFrom(box);
    const QRect hit = box->style()->subElementRect(QStyle::SE_CheckBoxClickRect, &opt, box);
    QTest::mouseClick(box, Qt::LeftButton, {}, hit.center());
}

} // namespace

TEST(ZoomScale, BandsOfTheScale) {
    EXPECT_DOUBLE_EQ(ZoomScale::Band(0), 0.8);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(220), 0.8);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(220.5), 0) << "between two bands nothing is picked";
    EXPECT_DOUBLE_EQ(ZoomScale::Band(221), 0.9);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(355), 0.9);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(356), 1.0);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(1030), 1.4);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(1031), 1.5);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(1705), 1.9);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(1706), 2.0);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(1840), 2.0);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(1841), 0);
    EXPECT_DOUBLE_EQ(ZoomScale::Band(-1), 0);
}

TEST(ZoomScale, AClickOnAMarkZoomsThereAndTheMarkerFollows) {
    Opened o;
    ASSERT_TRUE(o.ui()->frmScroll->isVisible());
    o.clickMark(1.5);
    EXPECT_DOUBLE_EQ(o.mic().OpticalZoomZoom(), 1.5);
    EXPECT_EQ(o.ui()->ZoomCmd[0]->Caption(), QStringLiteral("1.5 x"));
    EXPECT_EQ(o.ui()->imgClick->Left(), (1.5 - 0.8) * 10 * 135 + o.ui()->ZoomScaleLeft - 60);
    o.clickMark(2.0);
    EXPECT_DOUBLE_EQ(o.mic().OpticalZoomZoom(), 2.0);
    o.clickMark(0.8);
    EXPECT_DOUBLE_EQ(o.mic().OpticalZoomZoom(), 0.8);
    EXPECT_TRUE(o.rec.texts().isEmpty()) << o.rec.texts().join('|').toStdString();
}

TEST(ZoomScale, DraggingTheHandleToAnEndZoomsThereOnRelease) {
    Opened o;
    QWidget* handle = o.ui()->img1;
    const QPoint grab = handle->rect().center();
    QTest::mousePress(handle, Qt::LeftButton, {}, grab);
    // Far beyond the right end: the handle stops at the 2.0 mark.
    QMouseEvent move(QEvent::MouseMove, QPointF(grab.x() + 2000, grab.y()), handle->mapToGlobal(QPointF(grab.x() + 2000, grab.y())),
                     Qt::NoButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(handle, &move);
    EXPECT_EQ(handle->x(), zentor::twipsToPixels(o.ui()->ZoomScaleLeft + 12 * 135) - zentor::twipsToPixels(60));
    EXPECT_DOUBLE_EQ(o.mic().OpticalZoomZoom(), 1.0) << "nothing is sent before the button comes up";
    QTest::mouseRelease(handle, Qt::LeftButton, {}, QPoint(grab.x(), grab.y()));
    pump(50);
    EXPECT_DOUBLE_EQ(o.mic().OpticalZoomZoom(), 2.0);
}

TEST(ZoomScale, ARefusedOrFailedZoomShowsThePositionTexts) {
    Opened o;
    // The panel still believes in the rear port while the stand's light went
    // to path 1: the link is written and the stand's interlock refuses.
    o.ui()->ZoomLink->setValue(1);
    mainState().mPath.setPATH(3);
    o.clickMark(1.7);
    EXPECT_EQ(o.rec.texts(), QStringList{QStringLiteral("Position_Change Limitation")});
    o.rec.clear();
    mainState().mPath.setPATH(1);
    o.faults().stallDevice(DeviceIndex::OpticalZoom);
    o.clickMark(1.7);
    EXPECT_EQ(o.rec.texts(), QStringList{QStringLiteral("Position_Change Error")});
    EXPECT_DOUBLE_EQ(o.mic().OpticalZoomZoom(), 1.0);
}

TEST(ZoomLink, TheMainBoxWritesTheInterlockAndTheOpenPanelsBoxFollows) {
    Opened o;
    PanelCheck* box = o.ui()->ZoomLink;
    ASSERT_EQ(box->Value(), 0);
    clickBox(box);
    EXPECT_EQ(box->Value(), 1);
    EXPECT_EQ(o.mic().OpticalZoomIsInterlockEnabled(), 1);
    EXPECT_EQ(mainState().mZoom.LINK(), 1);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubZoom")), nullptr) << "a closed panel is not loaded";
    QTest::mouseClick(o.ui()->btnZoom[0], Qt::LeftButton, {}, o.ui()->btnZoom[0]->rect().center());
    pump(50);
    auto* zoom = qobject_cast<frmSubZoom*>(FormRegistry::loaded(QStringLiteral("frmSubZoom")));
    ASSERT_NE(zoom, nullptr);
    EXPECT_EQ(zoom->chkLink->Value(), 1);
    clickBox(box);
    EXPECT_EQ(zoom->chkLink->Value(), 0);
    QTest::mouseClick(zoom->chkLink, Qt::LeftButton, {}, zoom->chkLink->rect().center());
    EXPECT_EQ(box->Value(), 1);
    EXPECT_EQ(o.mic().OpticalZoomIsInterlockEnabled(), 1);
}

TEST(LampOnMainPanel, TheLampComingOnShowsItsVoltageWithThePanelClosedAndLoadsNothing) {
    Opened o;
    o.mic().LampOff();
    pump(50);
    o.mic().setLampControlVoltage(7.5);
    o.mic().LampOn();
    pump(50);
    EXPECT_EQ(o.ui()->LampCmd[0]->Caption(), QStringLiteral("7.5 V"));
    EXPECT_EQ(o.ui()->LampCmd[1]->Caption(), QStringLiteral("7.5 V"));
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmSubLamp")), nullptr);
    EXPECT_TRUE(o.rec.texts().isEmpty()) << o.rec.texts().join('|').toStdString();
}

TEST(LampOnMainPanel, WithThePanelOpenItsLabelAndTheMainLabelsAgree) {
    Opened o;
    QTest::mouseClick(o.ui()->btnClamp[0], Qt::LeftButton, {}, o.ui()->btnClamp[0]->rect().center());
    pump(50);
    auto* lamp = qobject_cast<frmSubLamp*>(FormRegistry::loaded(QStringLiteral("frmSubLamp")));
    ASSERT_NE(lamp, nullptr);
    o.mic().LampOff();
    pump(50);
    EXPECT_TRUE(lamp->txtSel->Caption().isEmpty());
    o.mic().setLampControlVoltage(3);
    o.mic().LampOn();
    pump(50);
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("3 V"));
    EXPECT_EQ(o.ui()->LampCmd[0]->Caption(), QStringLiteral("3 V"));
    o.mic().LampPreset();
    pump(50);
    EXPECT_EQ(lamp->txtSel->Caption(), QStringLiteral("Preset"));
    EXPECT_EQ(o.ui()->LampCmd[1]->Caption(), QStringLiteral("Preset"));
}
