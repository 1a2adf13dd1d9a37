// The main window as an operator meets it, clicked through on the simulated
// stand: the analyzer and shutter toggles, the control pad without a game
// pad, labels left empty, greyed controls, the focus settings of an old
// stand, the tool windows' size and place, the start-up look saved at exit,
// the lamp panel's read while the lamp is off, and the rules of Init, the
// selectors and the service calls that only a running window shows.
#include "MainWindowTestSupport.h"

#include "core/base/VbConvert.h"
#include "core/settings/clsIniEdit.h"
#include "core/settings/SettingsPaths.h"
#include "devicepanels/motion/frmSubZ.h"
#include "devicepanels/optics/LampPanel.h"
#include "devicepanels/profiles/frmProfile.h"
#include "state/FormRegistry.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "widgets/usrXscroll.h"

#include <QAccessible>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScreen>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>
#include <set>

namespace {

struct Window {
    MsgBox::Recorder rec;
    MainRun run;
    frmMain* w = nullptr;
    explicit Window(const QStringList& stands = {standFile("full-system.json")},
                    StandClock clock = StandClock::instant(), const QStringList& args = {})
        : run(stands, clock) {
        QFile::remove(SettingsPaths::MainIni());
        w = run.start(args);
        pump(50);
        rec.clear();
    }
    MainPanel* ui() const { return w->ui; }
    MicroscopeService& svc() const { return *mainState().micService; }
    StandControl& faults() { return run.service->stand(1)->control(); }
};

// A click as the operator gives it: down and up in the middle of the control.
void click(QWidget* w) {
    QTest::mouseClick(w, Qt::LeftButton, {}, w->rect().center());
    pump(30);
}

// Whether a control draws anything of its own: rendered without its
// background onto black, every pixel stays black.
bool drawsNothing(QWidget* w) {
    QImage img(w->size(), QImage::Format_RGB32);
    img.fill(Qt::black);
    w->render(&img, QPoint(), QRegion(), QWidget::DrawChildren);
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            if (img.pixel(x, y) != qRgb(0, 0, 0))
                return false;
    return true;
}

// The mean colour of a control as it is drawn.
QColor meanColour(QWidget* w) {
    const QImage img = w->grab().toImage();
    double r = 0, g = 0, b = 0;
    const double n = double(img.width()) * img.height();
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x) {
            const QColor c = img.pixelColor(x, y);
            r += c.red();
            g += c.green();
            b += c.blue();
        }
    return QColor(int(r / n), int(g / n), int(b / n));
}

int chroma(const QColor& c) {
    return std::max({c.red(), c.green(), c.blue()}) - std::min({c.red(), c.green(), c.blue()});
}

QString accessibleName(QWidget* w) {
    QAccessibleInterface* i = QAccessible::queryAccessibleInterface(w);
    return i ? i->text(QAccessible::Name) : QString();
}

int iniInt(const QString& section, const QString& key) {
    return clsIniEdit(SettingsPaths::MainIni()).Ini_ReadInt(section, key, -1);
}

// A full system whose stand has the old firmware that offers the focus and
// stage settings.
QString oldFirmwareStand() {
    return customStand(QStringLiteral("old-firmware"), R"({
        "name": "Old Firmware Stand", "units": ["Q7s", "HBX-B", "HBX-A", "Z", "Tolva"],
        "versions": {"Q7s": "V1.10"},
        "focusMemory": [120000, 118000, 117500, -900000, 116000, -900000]})");
}

} // namespace

// ---- the analyzer and the shutter -------------------------------------------------

TEST(Analyzer, AClickInEitherLookTogglesTheStandAndTheLabelsFollowTheEvent) {
    Window m;
    ASSERT_TRUE(m.ui()->btnAna[0]->isVisible());
    const bool wasIn = m.svc().AnalyzerIsInserted() == 1;
    click(m.ui()->btnAna[0]);
    EXPECT_EQ(m.svc().AnalyzerIsInserted() == 1, !wasIn);
    EXPECT_EQ(m.ui()->usrMainPath->AnalyzerIn(), !wasIn);
    EXPECT_EQ(m.ui()->AnaCmd[1]->Caption(), wasIn ? QStringLiteral("OUT") : QStringLiteral("IN"));

    click(m.ui()->btnGUIClose);
    ASSERT_TRUE(m.ui()->btnAna[1]->isVisible());
    click(m.ui()->btnAna[1]);
    EXPECT_EQ(m.svc().AnalyzerIsInserted() == 1, wasIn);
    EXPECT_EQ(m.ui()->AnaCmd[1]->Caption(), wasIn ? QStringLiteral("IN") : QStringLiteral("OUT"));
    EXPECT_TRUE(m.ui()->btnAna[0]->isEnabled());
    EXPECT_TRUE(m.ui()->btnAna[1]->isEnabled());
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(Analyzer, TheSpaceKeyTogglesItAsAClickDoes) {
    Window m;
    const bool wasIn = m.svc().AnalyzerIsInserted() == 1;
    m.ui()->btnAna[0]->setFocus();
    QTest::keyClick(m.ui()->btnAna[0], Qt::Key_Space);
    pump(30);
    EXPECT_EQ(m.svc().AnalyzerIsInserted() == 1, !wasIn);
    EXPECT_TRUE(m.ui()->btnAna[0]->hasFocus()) << "the keyboard stays on the button";
}

TEST(Shutter, AClickOnTheDrawingsButtonTogglesTheShutterAndTheDrawingFollows) {
    Window m;
    ASSERT_TRUE(m.ui()->btnShutter->isVisible());
    const bool wasOpen = m.svc().EpiShutterIsOpened() != 0;
    click(m.ui()->btnShutter);
    EXPECT_EQ(m.svc().EpiShutterIsOpened() != 0, !wasOpen);
    EXPECT_EQ(m.ui()->usrMainPath->ShutterOpen(), !wasOpen);
    EXPECT_EQ(m.ui()->ShutterCmd[1]->Caption(), wasOpen ? QStringLiteral("CLOSE") : QStringLiteral("OPEN"));
    click(m.ui()->btnShutter);
    EXPECT_EQ(m.svc().EpiShutterIsOpened() != 0, wasOpen);
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(Toggles, ARefusedMoveShowsTheFixedTextOfItsOperation) {
    Window m;
    const bool anaIn = m.svc().AnalyzerIsInserted() == 1;
    const bool open = m.svc().EpiShutterIsOpened() != 0;
    m.faults().stallDevice(DeviceIndex::Analyzer);
    m.faults().stallDevice(DeviceIndex::EpiShutter);
    click(m.ui()->btnAna[0]);
    click(m.ui()->btnShutter);
    m.faults().clearFaults();
    EXPECT_EQ(m.rec.texts(),
              (QStringList{anaIn ? QStringLiteral("Analyzer_Out TimeOut Error") : QStringLiteral("Analyzer_In TimeOut Error"),
                           open ? QStringLiteral("EpiShutter_Close TimeOut Error")
                                : QStringLiteral("EpiShutter_Open TimeOut Error")}));
    EXPECT_EQ(m.svc().AnalyzerIsInserted() == 1, anaIn);
    EXPECT_TRUE(m.ui()->btnAna[0]->isEnabled());
    EXPECT_TRUE(m.ui()->btnShutter->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

TEST(Toggles, AStandThatDoesNotAnswerGivesTheReadsText) {
    Window m;
    m.faults().killUnit(UnitIndex::Q7s);
    m.faults().killUnit(UnitIndex::HBX_A);
    m.faults().killUnit(UnitIndex::HBX_B);
    click(m.ui()->btnAna[0]);
    click(m.ui()->btnShutter);
    m.faults().clearFaults();
    // The read is the first call: it is the operation that failed.
    EXPECT_EQ(m.rec.texts(), (QStringList{QStringLiteral("Analyzer_IsInserted Error"),
                                          QStringLiteral("EpiShutter_IsOpened Error")}));
    EXPECT_TRUE(m.ui()->btnAna[0]->isEnabled());
}

TEST(Toggles, WithoutAMicroscopeOrWithoutTheDeviceNothingIsSentAndNothingBreaks) {
    {
        Window m;
        const int16_t ana = m.svc().AnalyzerIsInserted();
        const int16_t shutter = m.svc().EpiShutterIsOpened();
        click(m.ui()->btnmenu[1]);
        click(m.ui()->btnClose);
        ASSERT_FALSE(mainState().MicConnected);
        click(m.ui()->btnAna[0]);
        click(m.ui()->btnShutter);
        QTest::keyClick(m.ui()->btnAna[0], Qt::Key_Space);
        m.svc().Connect(1);
        EXPECT_EQ(m.svc().AnalyzerIsInserted(), ana);
        EXPECT_EQ(m.svc().EpiShutterIsOpened(), shutter);
        EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
    }
    {
        // The HBX-B system has no analyzer: its frame is hidden, and its
        // button sends nothing even when reached.
        Window m({standFile("hbxb-without-q7s.json")});
        ASSERT_TRUE(m.ui()->frmAnalyzer[0]->isHidden());
        emit m.ui()->btnAna[0]->Released(0, 1, 0, 1, 1);
        pump();
        EXPECT_TRUE(m.rec.texts().isEmpty()) << "nothing was asked of the stand: "
                                             << m.rec.texts().join('|').toStdString();
    }
}

TEST(Toggles, ASecondClickWhileTheFirstMoveRunsIsNotSent) {
    Window m({standFile("full-system.json")}, StandClock::realTime(1.0));
    const bool wasIn = m.svc().AnalyzerIsInserted() == 1;
    bool seenGreyed = false;
    // Given while the analyzer still moves: the button is greyed and takes
    // no click, so the stand ends where the first click sent it.
    QTimer::singleShot(10, [&] {
        seenGreyed = !m.ui()->btnAna[0]->isEnabled();
        QTest::mouseClick(m.ui()->btnAna[0], Qt::LeftButton, {}, m.ui()->btnAna[0]->rect().center());
    });
    click(m.ui()->btnAna[0]);
    pump(300);
    EXPECT_TRUE(seenGreyed);
    EXPECT_EQ(m.svc().AnalyzerIsInserted() == 1, !wasIn);
    EXPECT_TRUE(m.ui()->btnAna[0]->isEnabled());
}

// ---- the control pad -------------------------------------------------------------

TEST(ControlPad, WithoutAGamePadItsEntriesAnswerClicksInTheWindow) {
    Window m({oldFirmwareStand()});
    click(m.ui()->btnmenu[2]);
    ASSERT_TRUE(m.ui()->btnSetup[1]->isEnabled());
    click(m.ui()->btnSetup[1]);
    ASSERT_TRUE(m.ui()->frmControlPad->isVisible());
    EXPECT_TRUE(m.ui()->frmControlPad->isEnabled());
    click(m.ui()->btnLED[1]);
    EXPECT_EQ(m.ui()->ControlPadMark(), 1);
    click(m.ui()->btnLED[2]);
    EXPECT_EQ(m.ui()->ControlPadMark(), 2);
    click(m.ui()->btnEnable);
    EXPECT_EQ(m.ui()->ControlPadMark(), 3);
    click(m.ui()->btnLED[0]);
    EXPECT_EQ(m.ui()->ControlPadMark(), 0);
}

TEST(ControlPad, AGreyedPadLooksGreyedAndIgnoresClicks) {
    Window m({oldFirmwareStand()});
    click(m.ui()->btnmenu[2]);
    click(m.ui()->btnSetup[1]);
    PanelLabel* led = m.ui()->btnLED[1];
    const QColor live = meanColour(led);
    m.ui()->frmControlPad->setEnabled(false);
    const QColor greyed = meanColour(led);
    EXPECT_LT(chroma(greyed), 12) << greyed.name().toStdString();
    EXPECT_GT(chroma(live), chroma(greyed) + 20) << live.name().toStdString();
    click(led);
    EXPECT_EQ(m.ui()->ControlPadMark(), -1);
}

// ---- labels the dispatch empties -----------------------------------------------------

TEST(EmptiedLabels, WithTheLampOffBothLampLabelsAreEmptyInBothLooks) {
    Window m;
    m.svc().LampOff();
    pump(50);
    for (int look = 0; look < 2; ++look) {
        for (PanelLabel* l : {m.ui()->LampCmd[0], m.ui()->LampCmd[1], m.ui()->AnaCmd[0], m.ui()->ShutterCmd[0]}) {
            EXPECT_EQ(l->Caption(), QString()) << look;
            EXPECT_TRUE(drawsNothing(l)) << "look " << look;
            EXPECT_FALSE(accessibleName(l).contains(QLatin1String("Off"))) << accessibleName(l).toStdString();
        }
        click(look == 0 ? m.ui()->btnGUIClose : m.ui()->btnGUIOpen);
    }
    // The analyzer and shutter of the large look stay empty whichever way
    // they stand.
    click(m.ui()->btnAna[0]);
    click(m.ui()->btnShutter);
    EXPECT_TRUE(drawsNothing(m.ui()->AnaCmd[0]));
    EXPECT_TRUE(drawsNothing(m.ui()->ShutterCmd[0]));
}

// ---- greyed controls -----------------------------------------------------------------

TEST(Greyed, ObservationEntriesThatInitDisablesLookGreyedAndIgnoreClicks) {
    QColor live;
    {
        // The full system leaves the first entry live (the hubs take the
        // others over).
        Window m;
        ASSERT_TRUE(m.ui()->labObserve[1]->isEnabled());
        live = meanColour(m.ui()->labObserve[1]);
    }
    Window m({standFile("hbxb-without-q7s.json")});
    PanelLabel* entry = m.ui()->labObserve[2];
    ASSERT_FALSE(entry->isEnabled());
    const QColor greyed = meanColour(entry);
    EXPECT_LT(chroma(greyed), 12) << greyed.name().toStdString();
    EXPECT_GT(chroma(live), chroma(greyed) + 20) << live.name().toStdString();
    EXPECT_LT(greyed.lightness(), live.lightness());
    const int16_t mode = m.svc().PresetsObservationMode();
    click(entry);
    EXPECT_EQ(m.svc().PresetsObservationMode(), mode);
    // The compact look shows the same menu column.
    click(m.ui()->btnGUIClose);
    EXPECT_LT(chroma(meanColour(entry)), 12);
}

// ---- focus settings --------------------------------------------------------------------

TEST(FocusSetting, PlacesWithNothingStoredReadNoSetting) {
    Window m({oldFirmwareStand()});
    click(m.ui()->btnmenu[2]);
    ASSERT_TRUE(m.ui()->btnSetup[3]->isEnabled());
    click(m.ui()->btnSetup[3]);
    pump(50);
    auto* z = qobject_cast<frmSubZ*>(FormRegistry::loaded(QStringLiteral("frmSubZ")));
    ASSERT_NE(z, nullptr);
    ASSERT_EQ(z->windowTitle(), QStringLiteral("Focus Setting"));
    EXPECT_EQ(z->usrAdd->Label(4), QStringLiteral("4 : No Setting"));
    EXPECT_EQ(z->usrAdd->Label(6), QStringLiteral("6 : No Setting"));
    const double origin = mainState().mZ.ORGIN();
    EXPECT_EQ(z->usrAdd->Label(1), QStringLiteral("1 : ") + vb::numberText((120000 - origin) * 0.05) + QStringLiteral(" um"));
    int32_t stored = 0;
    mainState().mZ.FocusPos_Get(4, stored);
    EXPECT_EQ(stored, -900000);
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

// ---- tool windows -----------------------------------------------------------------------

namespace {

// Every control of a tool window is drawn whole inside it, and the window
// stands on the screen.
void expectWhollyShown(QWidget* tool) {
    ASSERT_NE(tool, nullptr);
    pump(50);
    const QRect room = tool->screen()->availableGeometry();
    EXPECT_TRUE(room.contains(tool->geometry())) << tool->objectName().toStdString();
    for (QWidget* c : tool->findChildren<QWidget*>()) {
        if (!c->isVisibleTo(tool) || !(qobject_cast<usrButton*>(c) || qobject_cast<PanelLabel*>(c) ||
                                        qobject_cast<QLineEdit*>(c) || qobject_cast<QPlainTextEdit*>(c)))
            continue;
        const QString what = tool->objectName() + QLatin1Char('.') + c->objectName();
        EXPECT_TRUE(tool->rect().contains(QRect(c->mapTo(tool, QPoint(0, 0)), c->size()))) << what.toStdString();
        if (auto* b = qobject_cast<usrButton*>(c)) {
            EXPECT_GE(b->height(), b->sizeHint().height()) << what.toStdString();
            EXPECT_GE(b->width(), b->sizeHint().width()) << what.toStdString();
        } else {
            EXPECT_GE(c->height(), c->fontMetrics().height()) << what.toStdString();
        }
    }
}

} // namespace

TEST(ToolWindows, EachOpensWithAllItsControlsShownAndStandsOnTheScreen) {
    Window m;
    click(m.ui()->btnmenu[3]);
    click(m.ui()->btnInfo[0]);
    expectWhollyShown(FormRegistry::loaded(QStringLiteral("frmEvent")));
    click(m.ui()->btnmenu[3]);
    click(m.ui()->btnInfo[1]);
    expectWhollyShown(FormRegistry::loaded(QStringLiteral("frmVersion2")));
    m.ui()->usrMainPath->setFocus();
    QTest::keyClick(m.ui()->usrMainPath, Qt::Key_G, Qt::ControlModifier);
    QWidget* console = FormRegistry::loaded(QStringLiteral("frmCommand"));
    expectWhollyShown(console);
    // Made as small as the window system allows, it still shows them.
    console->resize(1, 1);
    expectWhollyShown(console);
}

// ---- the start-up look ----------------------------------------------------------------------

TEST(StartUpLook, ASwitchToTheCompactLookIsNotSavedAsTheStartUpLook) {
    {
        Window m;
        click(m.ui()->btnGUIClose);
        ASSERT_EQ(m.ui()->PanelMode, 2);
        m.w->close();
    }
    EXPECT_EQ(iniInt(QStringLiteral("Form_Position"), QStringLiteral("Open")), 1);
    {
        MsgBox::Recorder rec;
        MainRun run({standFile("full-system.json")});
        writeText(SettingsPaths::MainIni(), "[Form_Position]\r\nOpen=2\r\n");
        frmMain* w = run.start();
        EXPECT_FALSE(w->ui->frmSub->isHidden());
        QTest::mouseClick(w->ui->btnGUIOpen, Qt::LeftButton, {}, w->ui->btnGUIOpen->rect().center());
        EXPECT_EQ(w->ui->PanelMode, 1);
        w->close();
    }
    EXPECT_EQ(iniInt(QStringLiteral("Form_Position"), QStringLiteral("Open")), 2);
}

// ---- the lamp panel while the lamp is off ------------------------------------------------------

namespace {

// The lamp switched on or off on the stand, then its panel opened by its
// button on the main window.
frmSubLamp* openLampPanel(Window& m, bool lit) {
    if (lit)
        m.svc().LampOn();
    else
        m.svc().LampOff();
    pump(30);
    click(m.ui()->btnClamp[0]);
    return qobject_cast<frmSubLamp*>(FormRegistry::loaded(QStringLiteral("frmSubLamp")));
}

} // namespace

TEST(LampPanel, ItsStatusIsReadAtActivationAlsoWhileTheLampIsOff) {
    Window m;
    frmSubLamp* lamp = openLampPanel(m, false);
    ASSERT_NE(lamp, nullptr);
    ASSERT_FALSE(lamp->frmLamp->isEnabled());
    EXPECT_TRUE(lamp->usrScroll->Enabled()) << "the slider was not disabled itself";
    // The voltage changes on the stand while the lamp is dark; the next
    // activation reads it.
    const double wanted = m.svc().LowerLimit(LimitIndex::Lamp) + m.svc().Step(LimitIndex::Lamp) * 3;
    m.svc().setLampControlVoltage(wanted);
    // Later than the activation that follows an opening: the operator's own.
    pump(1200);
    QEvent activate(QEvent::WindowActivate);
    QApplication::sendEvent(lamp, &activate);
    EXPECT_DOUBLE_EQ(lamp->usrScroll->Value(), wanted);
    EXPECT_EQ(lamp->txtSel->Caption(), QString());
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

// ---- device panels' readings ----------------------------------------------------------------------

TEST(Readings, ADevicePanelsValueIsReadWithItsName) {
    Window m;
    frmSubLamp* lamp = openLampPanel(m, true);
    ASSERT_NE(lamp, nullptr);
    ASSERT_FALSE(lamp->txtSel->Caption().isEmpty());
    EXPECT_EQ(accessibleName(lamp->txtSel), QStringLiteral("Lamp voltage ") + lamp->txtSel->Caption());
}

// ---- rules of Init, the selectors and the service calls -------------------------------------------

TEST(Rules, AReadOnlyLightPathIsDrawnByItsKindAndLosesItsLinkBox) {
    {
        Window m({standFile("manual-path-binocular.json")});
        EXPECT_EQ(mainState().mPath.SETUP(), 3);
        EXPECT_EQ(m.ui()->usrMainPath->ScopeType(), m.svc().PathSubType(DeviceIndex::LightPathDrive) == 0 ? 2 : 3);
        EXPECT_TRUE(m.ui()->PathLink->isHidden());
        EXPECT_TRUE(m.ui()->labPathLink->isHidden());
    }
    {
        Window m({standFile("manual-path-port.json")});
        EXPECT_EQ(mainState().mPath.SETUP(), 3);
        EXPECT_EQ(m.ui()->usrMainPath->ScopeType(), m.svc().PathSubType(DeviceIndex::LightPathDrive) == 0 ? 2 : 3);
        EXPECT_TRUE(m.ui()->PathLink->isHidden());
    }
    std::set<int32_t> kinds;
    for (const char* f : {"manual-path-binocular.json", "manual-path-port.json"}) {
        Window m({standFile(f)});
        kinds.insert(m.ui()->usrMainPath->ScopeType());
    }
    EXPECT_EQ(kinds, (std::set<int32_t>{2, 3})) << "the two shipped kinds draw differently";
    Window motorised;
    EXPECT_EQ(mainState().mPath.SETUP(), 1);
    EXPECT_EQ(motorised.ui()->usrMainPath->ScopeType(), 1);
    EXPECT_FALSE(motorised.ui()->PathLink->isHidden());
}

TEST(Rules, AnHbxAHubWithoutTheStandOffersNoObservationMethods) {
    Window m({standFile("hbxa-without-q7s.json")});
    ASSERT_TRUE(mainState().MicConnected);
    EXPECT_EQ(mainState().MicUnit[1], 0);
    EXPECT_EQ(mainState().MicUnit[2], 1);
    for (int j = 1; j <= 6; ++j) {
        EXPECT_FALSE(m.ui()->labObserve[j]->isEnabled()) << j;
        EXPECT_FALSE(m.ui()->btnObserve[j]->isEnabled()) << j;
    }
    for (int i : {4, 5}) {
        EXPECT_FALSE(m.ui()->btnmenu[i]->isEnabled()) << i;
        EXPECT_FALSE(m.ui()->labmenu[i]->isEnabled()) << i;
    }
    EXPECT_FALSE(m.w->HubObserve);
    const int16_t mode = m.svc().PresetsObservationMode();
    click(m.ui()->btnmenu[4]);
    click(m.ui()->labObserve[2]);
    EXPECT_EQ(m.svc().PresetsObservationMode(), mode);
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(Rules, OpeningAnotherMicroscopeClosesAProfileEditorLeftOpen) {
    MsgBox::Recorder rec;
    MainRun run({standFile("full-system.json"), standFile("elmk-without-q7s.json")});
    QFile::remove(SettingsPaths::MainIni());
    answerDialogLater(0);
    frmMain* w = run.start();
    ASSERT_TRUE(mainState().MicConnected);
    click(w->ui->btnmenu[4]);
    click(w->ui->btnProfile);
    ASSERT_NE(frmProfile::loaded(), nullptr);
    click(w->ui->btnmenu[1]);
    QListWidget* list = w->ui->lstMic;
    ASSERT_GE(list->count(), 2);
    QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, list->visualItemRect(list->item(1)).center());
    pump(50);
    EXPECT_EQ(w->windowTitle(), QStringLiteral("Zentor  [ E-LM-K System ]"));
    EXPECT_EQ(frmProfile::loaded(), nullptr);
}

TEST(Rules, PickingTheObjectiveAlreadyInPlaceStillCommandsTheNosepiece) {
    Window m;
    const int16_t at = m.svc().NosepiecePosition();
    // A stalled nosepiece answers any command with its time-out: the text
    // shows that the pick was sent although nothing had to move.
    m.faults().stallDevice(DeviceIndex::Nosepiece);
    click(m.ui()->downObj);
    ASSERT_TRUE(m.ui()->picSelect->isVisible());
    ASSERT_EQ(m.ui()->txtAdd->Address(), at);
    QTest::mouseClick(m.ui()->txtAdd, Qt::LeftButton, {}, m.ui()->txtAdd->rowRect(at).center());
    pump(30);
    m.faults().clearFaults();
    EXPECT_EQ(m.rec.texts(), QStringList{QStringLiteral("Position_Change TimeOut Error")});
    EXPECT_EQ(m.svc().NosepiecePosition(), at);
}
