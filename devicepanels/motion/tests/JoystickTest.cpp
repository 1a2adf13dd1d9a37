// The game pad through SDL's virtual joysticks: Timer1 runs only while a pad
// is plugged in, a press acts once through the Setup.ini table and moves the
// stand, holding does not repeat, the dead band, garbage in Setup.ini, and a
// pad pulled out in the middle.
#include "devicepanels/motion/tests/MotionRig.h"
#include "devicepanels/motion/JoystickControl.h"
#include "devicepanels/motion/mdlControl.h"
#include "core/settings/SettingsPaths.h"

#include <SDL.h>
#include <QFileInfo>
#include <QSignalSpy>
#include "devicepanels/motion/MotionPanelParts.h"
#include <gtest/gtest.h>

namespace {

void writeSetup(const QByteArray& text) {
    const QString path = SettingsPaths::SetupIni();
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    f.write(text);
}

// A virtual pad with two axes and eight buttons, plugged in for the test.
struct VirtualPad {
    int device = -1;
    SDL_Joystick* joy = nullptr;
    VirtualPad() {
        device = SDL_JoystickAttachVirtual(SDL_JOYSTICK_TYPE_GAMECONTROLLER, 2, 8, 0);
        if (device >= 0)
            joy = SDL_JoystickOpen(device);
    }
    ~VirtualPad() { unplug(); }
    void button(int b, bool down) { SDL_JoystickSetVirtualButton(joy, b - 1, down ? 1 : 0); }
    void axis(int a, int32_t value0to65535) { SDL_JoystickSetVirtualAxis(joy, a, Sint16(value0to65535 - 32768)); }
    void unplug() {
        if (joy) SDL_JoystickClose(joy);
        joy = nullptr;
        if (device >= 0) SDL_JoystickDetachVirtual(device);
        device = -1;
    }
};

void ticks(JoystickControl& j, int n) {
    for (int i = 0; i < n; ++i) {
        QTest::qWait(JoystickControl::kTickMs + 5);
    }
    (void)j;
}

} // namespace

TEST(Joystick, WithoutAPadNoTimerRunsAndNoCommandGoesOut) {
    MotionRig rig;
    writeSetup("[JoyPad]\nButton1=41\n");
    JoystickControl j;
    EXPECT_FALSE(j.present());
    EXPECT_FALSE(j.Timer1.isActive());
    j.Timer1_Timer();   // a tick without a pad: the poll fails, nothing runs
    EXPECT_EQ(j.commandsSent(), 0);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 0);
}

TEST(Joystick, APressActsOnceThroughTheTableAndMovesTheFocus) {
    MotionRig rig;
    writeSetup("[JoyPad]\nRight=43\nButton1=41\nButton2=43\n");
    JoystickControl j;
    QSignalSpy presence(&j, &JoystickControl::presenceChanged);
    VirtualPad pad;
    ASSERT_GE(pad.device, 0) << SDL_GetError();
    j.devicesChanged();
    ASSERT_TRUE(j.present());
    EXPECT_EQ(presence.size(), 1);
    EXPECT_TRUE(j.Timer1.isActive());
    EXPECT_EQ(j.Timer1.interval(), 50);
    EXPECT_EQ(j.table()[4], 41);
    EXPECT_EQ(j.table()[0], 43);
    const int32_t step = int32_t(rig.mic.Step(LimitIndex::ZDrive));
    pad.button(1, true);
    ticks(j, 6);   // held over several ticks
    EXPECT_EQ(j.commandsSent(), 1);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), motionParts::roundCount(step * 7.5));
    pad.button(1, false);
    ticks(j, 2);
    pad.button(1, true);
    ticks(j, 2);
    EXPECT_EQ(j.commandsSent(), 2);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), motionParts::roundCount(step * 7.5) * 2);
    pad.button(2, true);
    ticks(j, 2);
    EXPECT_EQ(rig.mic.XYDriveXPosition(), int32_t(rig.mic.Step(LimitIndex::XYDriveX) * 4));
}

TEST(Joystick, AButtonHeldGivesCodeThreeOnceThenOne) {
    EXPECT_EQ(modGTJoy::buttonCode(true, false), 3);
    EXPECT_EQ(modGTJoy::buttonCode(true, true), 1);
    EXPECT_EQ(modGTJoy::buttonCode(false, true), 2);
    EXPECT_EQ(modGTJoy::buttonCode(false, false), 0);
}

TEST(Joystick, AnAxisAtExactlyTheDeadBandEdgesCountsAsCentre) {
    EXPECT_EQ(modGTJoy::direction(12288), 0);
    EXPECT_EQ(modGTJoy::direction(53248), 0);
    EXPECT_EQ(modGTJoy::direction(12287), -1);
    EXPECT_EQ(modGTJoy::direction(53249), 1);
    MotionRig rig;
    writeSetup("[JoyPad]\nRight=43\nLeft=44\n");
    JoystickControl j;
    VirtualPad pad;
    j.devicesChanged();
    pad.axis(0, 53248);
    pad.axis(1, 12288);
    ticks(j, 2);
    EXPECT_EQ(j.lastText(), QStringLiteral("NONE"));
    pad.axis(0, 65535);
    pad.axis(1, 0);
    ticks(j, 2);
    EXPECT_EQ(j.lastText(), QStringLiteral("UPRIGHT"));
    // A held direction moves nothing.
    EXPECT_EQ(j.commandsSent(), 0);
    EXPECT_EQ(rig.mic.XYDriveXPosition(), 0);
}

TEST(Joystick, APadPulledOutMidMoveStopsTheTimerAndPluggingInAgainWorks) {
    MotionRig rig;
    writeSetup("[JoyPad]\nButton1=41\n");
    JoystickControl j;
    QSignalSpy presence(&j, &JoystickControl::presenceChanged);
    {
        VirtualPad pad;
        j.devicesChanged();
        ASSERT_TRUE(j.Timer1.isActive());
        pad.button(1, true);
        pad.unplug();
        ticks(j, 2);
    }
    EXPECT_FALSE(j.present());
    EXPECT_FALSE(j.Timer1.isActive());
    ASSERT_GE(presence.size(), 2);
    EXPECT_FALSE(presence.last().first().toBool());
    VirtualPad again;
    j.devicesChanged();
    EXPECT_TRUE(j.present());
    EXPECT_TRUE(j.Timer1.isActive());
    again.button(1, true);
    ticks(j, 2);
    EXPECT_GT(rig.mic.ZDriveZPosition(), 0);
}

TEST(Joystick, GarbageInSetupIniRunsNoCommand) {
    MotionRig rig;
    writeSetup("[JoyPad]\nButton1=banana\nButton2=99999999999\nButton3=-7\nButton4=25\n\x01\x02[[\n");
    JoystickControl j;
    VirtualPad pad;
    j.devicesChanged();
    for (int b = 1; b <= 4; ++b) pad.button(b, true);
    ticks(j, 2);
    EXPECT_EQ(j.commandsSent(), 0);
    EXPECT_EQ(rig.mic.ZDriveZPosition(), 0);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(Joystick, ControlRunsTheTogglesAndIgnoresTheInertNumbers) {
    MotionRig rig;
    EXPECT_FALSE(Control(3));
    EXPECT_FALSE(Control(47));
    EXPECT_FALSE(Control(0));
    EXPECT_TRUE(Control(26));
    EXPECT_NE(rig.mic.LampIsOn(), 0);
    EXPECT_TRUE(Control(4));
    EXPECT_EQ(rig.mic.ZDriveIsZEscape(), 1);
    EXPECT_TRUE(Control(31));
    EXPECT_EQ(rig.mic.PresetsObservationMode(), 3);
    EXPECT_TRUE(Control(41));   // refused while escaped: the message, nothing moves
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("ZFocus Control Error")});
}

int main(int argc, char** argv) {
    // SDL's virtual joysticks need the subsystem up before the panel's reader.
    QApplication app(argc, argv);
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_InitSubSystem(SDL_INIT_JOYSTICK);
    ::testing::InitGoogleTest(&argc, argv);
    const int rc = RUN_ALL_TESTS();
    SDL_QuitSubSystem(SDL_INIT_JOYSTICK);
    return rc;
}
