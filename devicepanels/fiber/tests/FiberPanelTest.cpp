// The fiber illuminator's panel against the simulated illuminator: the ND
// texts of both wheel models, the shutter buttons and their automatic
// reversal, the reversal time's rules, and the six state names that make the
// controls usable, the last one received deciding.
#include "devicepanels/optics/tests/PanelRig.h"
#include "devicepanels/fiber/frmSubFiber.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "stand/SimulatedFiber.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QLineEdit>
#include <gtest/gtest.h>

namespace {
const QString kFiber = QStringLiteral("frmSubFiber");

// The panel's world: the microscope rig and a connected simulated illuminator
// (a thousand times faster than real, so a 2 s reversal takes 2 ms).
struct FiberRig : PanelRig {
    explicit FiberRig(int16_t model = 0, bool present = true)
        : fiber(StandClock::realTime(1000), present, model) {
        registerFiberPanel(&owner);
        FiberState& f = fiberState();
        f = FiberState();
        f.cFiber = &fiber;
        fiber.Connect(1000);
        if (fiber.Port() != -1) {
            f.FiberUnit = 1;
            f.WheelModel = fiber.NDWheelModel();
        }
        pumpEvents(30);   // the lamp warms up
    }
    ~FiberRig() {
        FormRegistry::unload(kFiber);
        fiberState() = FiberState();
    }
    frmSubFiber* openFiber() { return open<frmSubFiber>(kFiber); }
    SimulatedFiber fiber;
};

void typeInto(QLineEdit* edit, const QString& text) {
    edit->setFocus();
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

// The reversal time was refused: one box, and the field and the delay read `kept`.
void expectOneRefusal(FiberRig& rig, frmSubFiber* p, const QString& kept) {
    ASSERT_EQ(rig.boxes.shown().size(), 1) << rig.boxes.texts().join('|').toStdString();
    EXPECT_EQ(p->txtTime->text(), kept);
    EXPECT_DOUBLE_EQ(p->Delay(), kept.toDouble());
}

bool controlsUsable(frmSubFiber* p) {
    return p->usrNDCtrl->isEnabled() && p->btnShutter[0]->isEnabled() && p->btnShutter[1]->isEnabled();
}
} // namespace

TEST(FiberNDText, BothWheelModelsAndEverythingElseIsNone) {
    const char* const model0[] = {"ND32", "ND16", "ND8", "ND4", "ND2", "ND1"};
    const char* const model1[] = {" 0 %", " 12 %", " 25 %", " 50 %", " 100 %", "None"};
    for (int16_t p = 1; p <= 6; ++p) {
        EXPECT_EQ(mdlFiber::ND_Text(p, 0, 1), QLatin1String(model0[p - 1]));
        EXPECT_EQ(mdlFiber::ND_Text(p, 1, 1), QLatin1String(model1[p - 1]));
    }
    EXPECT_EQ(mdlFiber::ND_Text(0, 0, 1), "None");
    EXPECT_EQ(mdlFiber::ND_Text(7, 1, 1), "None");
    EXPECT_EQ(mdlFiber::ND_Text(3, 2, 1), "None");    // an unknown wheel
    EXPECT_EQ(mdlFiber::ND_Text(3, 0, 0), "None");    // no illuminator connected
}

TEST(FiberPanel, OpensWithTheWheelAndShutterTheIlluminatorReports) {
    FiberRig rig;
    rig.fiber.setNDPosition(4);
    rig.fiber.ShutterOpen();
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->windowTitle(), "Fiber Illumination");
    EXPECT_EQ(p->usrNDCtrl->Address(), 4);
    EXPECT_EQ(p->txtSel->Caption(), "ND4");
    EXPECT_EQ(p->usrNDCtrl->Label(1), "ND32");
    EXPECT_TRUE(p->ShutterShownOpen());
    EXPECT_TRUE(controlsUsable(p));
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(FiberPanel, ThePerCentWheelShowsPerCent) {
    FiberRig rig(1);
    rig.fiber.setNDPosition(2);
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(p->txtSel->Caption(), " 12 %");
    EXPECT_EQ(p->usrNDCtrl->Label(6), "None");
}

TEST(FiberPanel, PickingAPositionMovesTheWheelAndTheEventRedrawsIt) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    emit p->usrNDCtrl->AddressPicked(5);
    pumpEvents();
    EXPECT_EQ(rig.fiber.NDPosition(), 5);
    EXPECT_EQ(p->usrNDCtrl->Address(), 5);
    EXPECT_EQ(p->txtSel->Caption(), "ND2");
}

TEST(FiberPanel, AnNdPositionOfZeroShowsNone) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    p->cEvent_OnPropertyChanged(QStringLiteral("ND_Position : 0"));
    EXPECT_EQ(p->txtSel->Caption(), "None");
}

TEST(FiberPanel, ShutterButtonsOpenAndCloseWithoutReversalWhileEnableIsOff) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    PanelRig::click(p->btnShutter[0]);
    EXPECT_EQ(rig.fiber.ShutterIsOpened(), 1);
    EXPECT_TRUE(p->ShutterShownOpen());
    EXPECT_FALSE(rig.fiber.shutterReversalPending());
    PanelRig::click(p->btnShutter[1]);
    EXPECT_EQ(rig.fiber.ShutterIsOpened(), 0);
    EXPECT_FALSE(p->ShutterShownOpen());
}

TEST(FiberPanel, WithEnableTheShutterReversesByItselfAfterTheTime) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("2"));
    p->chkLink->setFocus();   // txtTime loses the focus: 2 s is kept
    EXPECT_DOUBLE_EQ(p->Delay(), 2.0);
    p->chkLink->setValue(1);
    PanelRig::click(p->btnShutter[0]);
    EXPECT_EQ(rig.fiber.ShutterIsOpened(), 1);
    EXPECT_TRUE(rig.fiber.shutterReversalPending());
    pumpEvents(60);
    EXPECT_EQ(rig.fiber.ShutterIsOpened(), 0);
    EXPECT_FALSE(p->ShutterShownOpen());   // the illuminator's event redrew the buttons
}

TEST(FiberPanel, ReversalTimeOf100IsAcceptedAnd100Point1GivesTheMessageAndTheText100) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("100.0"));
    p->chkLink->setFocus();
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_DOUBLE_EQ(p->Delay(), 100.0);
    typeInto(p->txtTime, QStringLiteral("100.1"));
    p->chkLink->setFocus();
    ASSERT_EQ(rig.boxes.shown().size(), 1);
    const MsgBox::Shown& box = rig.boxes.shown().first();
    EXPECT_EQ(box.text, QString::fromUtf8("ShutterTimer setting is 0.0s\xEF\xBD\x9E" "100.0s"));
    EXPECT_EQ(box.title, "Error");
    EXPECT_EQ(box.icon, MsgBox::Exclamation);
    EXPECT_EQ(p->txtTime->text(), "100");
    EXPECT_DOUBLE_EQ(p->Delay(), 100.0);
}

TEST(FiberPanel, ANegativeTimeGivesTheMessageAndPutsBackTheLastGoodValue) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("7.5"));
    p->chkLink->setFocus();
    // No key puts a minus sign there; a text set from elsewhere still meets the rule.
    p->txtTime->setFocus();
    p->txtTime->setText(QStringLiteral("-3"));
    p->chkLink->setFocus();
    expectOneRefusal(rig, p, QStringLiteral("7.5"));
}

TEST(FiberPanel, TheTimeTakesOnlyDigitsPointAndBackspace) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("1a2-.5e "));
    EXPECT_EQ(p->txtTime->text(), "12.5");
    QTest::keyClick(p->txtTime, Qt::Key_Backspace);
    EXPECT_EQ(p->txtTime->text(), "12.");
    // Every other key is swallowed: editing keys, Return, and the paste keys.
    QTest::keyClick(p->txtTime, Qt::Key_Left);
    QTest::keyClick(p->txtTime, Qt::Key_Home);
    QTest::keyClick(p->txtTime, Qt::Key_Delete);
    QTest::keyClick(p->txtTime, Qt::Key_X, Qt::ControlModifier);
    QTest::keyClick(p->txtTime, Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(p->txtTime, Qt::Key_Z, Qt::ControlModifier);
    EXPECT_EQ(p->txtTime->text(), "12.");
    QTest::keyClick(p->txtTime, Qt::Key_7);
    EXPECT_EQ(p->txtTime->text(), "12.7") << "the cursor stayed at the end";
}

TEST(FiberPanel, APastedMinusThreeOrLettersNeverReachTheTime) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("5"));
    for (const QString& pasted : {QStringLiteral("-3"), QStringLiteral("abc")}) {
        QGuiApplication::clipboard()->setText(pasted);
        QGuiApplication::clipboard()->setText(pasted, QClipboard::Selection);
        QTest::keyClick(p->txtTime, Qt::Key_V, Qt::ControlModifier);
        QTest::keyClick(p->txtTime, Qt::Key_Insert, Qt::ShiftModifier);
        QTest::mouseClick(p->txtTime, Qt::MiddleButton, {}, p->txtTime->rect().center());
        EXPECT_EQ(p->txtTime->text(), "5") << pasted.toStdString();
    }
    EXPECT_EQ(p->txtTime->contextMenuPolicy(), Qt::NoContextMenu);
    EXPECT_FALSE(p->txtTime->acceptDrops());
    p->chkLink->setFocus();
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_DOUBLE_EQ(p->Delay(), 5.0);
}

TEST(FiberPanel, ReturnDoesNotCheckTheTimeOnlyLeavingTheFieldDoes) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("250"));
    QTest::keyClick(p->txtTime, Qt::Key_Return);
    QTest::keyClick(p->txtTime, Qt::Key_Enter);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_EQ(p->txtTime->text(), "250");
    EXPECT_TRUE(p->txtTime->hasFocus());
    // Tab leaves the field, and that is the lost focus that checks it.
    QTest::keyClick(p->txtTime, Qt::Key_Tab);
    EXPECT_FALSE(p->txtTime->hasFocus());
    expectOneRefusal(rig, p, QStringLiteral("100"));
}

TEST(FiberPanel, TenThousandDigitsAreAboveTheLimit) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    typeInto(p->txtTime, QStringLiteral("3"));
    QTest::keyClicks(p->txtTime, QString(9999, QLatin1Char('9')));
    EXPECT_EQ(p->txtTime->text().size(), 10000);
    p->chkLink->setFocus();
    expectOneRefusal(rig, p, QStringLiteral("100"));
    // Zeros in front count for nothing: 0000...05 (more digits than a Double holds) is 5 s.
    typeInto(p->txtTime, QString(400, QLatin1Char('0')) + QLatin1Char('5'));
    p->chkLink->setFocus();
    EXPECT_EQ(rig.boxes.shown().size(), 1);
    EXPECT_DOUBLE_EQ(p->Delay(), 5.0);
}

TEST(FiberPanel, AFailedNdMoveShowsItsBoxWithThePointerBackAndTheListUsable) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    bool listUsable = false;
    bool hourglass = true;
    MsgBox::Recorder seen([&](const MsgBox::Shown&) {
        listUsable = p->usrNDCtrl->isEnabled();
        hourglass = QGuiApplication::overrideCursor() != nullptr;
        return MsgBox::OK;
    });
    rig.fiber.setPresent(false);   // unplugged: the move fails
    QTest::mouseClick(p->usrNDCtrl, Qt::LeftButton, {}, p->usrNDCtrl->rowRect(3).center());
    pumpEvents();
    ASSERT_EQ(seen.texts(), QStringList{"Fiber_NDPosition Error"});
    EXPECT_TRUE(listUsable) << "the list is usable again before the box";
    EXPECT_FALSE(hourglass) << "the pointer is back before the box";
    EXPECT_TRUE(p->usrNDCtrl->isEnabled());
    EXPECT_EQ(QGuiApplication::overrideCursor(), nullptr);
}

TEST(FiberPanel, AnyStateNameAtZeroGreysTheControlsAndTheNextOneAtOneEnablesThem) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    for (const QString& name : mdlFiber::StateNames()) {
        p->cEvent_OnPropertyChanged(name + QStringLiteral(":0"));
        EXPECT_FALSE(controlsUsable(p)) << name.toStdString();
        p->cEvent_OnPropertyChanged(name + QStringLiteral(":1"));
        EXPECT_TRUE(controlsUsable(p)) << name.toStdString();
    }
    // The last name received decides, whatever the others last said.
    p->cEvent_OnPropertyChanged(QStringLiteral("HeatSensitive_Status:0"));
    p->cEvent_OnPropertyChanged(QStringLiteral("Interlock_Status:1"));
    EXPECT_TRUE(controlsUsable(p));
}

TEST(FiberPanel, ATrippedSafetySensorDisablesThePanelLiveAndTheWarmUpEnablesItAgain) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    ASSERT_TRUE(controlsUsable(p));
    rig.fiber.setSensor(QStringLiteral("PowerCoolingFun_Status"), 0);
    EXPECT_FALSE(controlsUsable(p));
    rig.fiber.setSensor(QStringLiteral("PowerCoolingFun_Status"), 1);
    // The lamp lights again and is not ready until it has warmed up.
    EXPECT_FALSE(controlsUsable(p));
    pumpEvents(30);
    EXPECT_TRUE(controlsUsable(p));
}

TEST(FiberPanel, AServerThatFailsGivesTheStatusMessageAndNothingElse) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    p->cEvent_OnPropertyChanged(QStringLiteral("ND_Position:3"));
    rig.fiber.setPresent(false);   // unplugged: every call fails
    rig.boxes.clear();
    p->Get_Status();
    // Not connected any more: Get_Status stops at the status word.
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_EQ(p->txtSel->Caption(), "ND8");
    PanelRig::click(p->btnShutter[0]);
    EXPECT_EQ(rig.boxes.texts(), QStringList{"Fiber_Shutter Error"});
}

TEST(FiberPanel, WithoutAnIlluminatorServerThePanelOpensAndDoesNothing) {
    PanelRig rig;
    fiberState() = FiberState();
    auto* p = rig.open<frmSubFiber>(kFiber);
    ASSERT_NE(p, nullptr);
    PanelRig::click(p->btnShutter[0]);
    emit p->usrNDCtrl->AddressPicked(2);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    FormRegistry::unload(kFiber);
}

TEST(FiberPanel, EveryControlHasAnAccessibleName) {
    FiberRig rig;
    auto* p = rig.openFiber();
    ASSERT_NE(p, nullptr);
    for (QWidget* w : {static_cast<QWidget*>(p->usrNDCtrl), static_cast<QWidget*>(p->btnShutter[0]),
                       static_cast<QWidget*>(p->btnShutter[1]), static_cast<QWidget*>(p->chkLink),
                       static_cast<QWidget*>(p->txtTime), static_cast<QWidget*>(p->btnClose)})
        EXPECT_FALSE(w->accessibleName().isEmpty()) << w->objectName().toStdString();
}
