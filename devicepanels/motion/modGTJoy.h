#pragma once
// The game pad, read through SDL2's joystick subsystem only (no video; SDL's
// signal handlers left out so that Qt keeps SIGTERM and SIGINT). One poll
// returns the whole state: the two directions from the first two axes, with
// the dead band 12288..53248 of a 0..65535 axis, and a code per button that
// tells a press from a hold: 0 up, 1 held, 2 released, 3 pressed.
#include <array>
#include <cstdint>

struct JoyState {
    int32_t x = 0;   // -1 left, 0 centre, 1 right
    int32_t y = 0;   // -1 up, 0 centre, 1 down
    std::array<int32_t, 32> buttons{};   // button 1 at [0]
};

class modGTJoy {
public:
    static constexpr int kMaxButtons = 32;
    static constexpr int32_t kDeadLow = 12288;
    static constexpr int32_t kDeadHigh = 53248;

    modGTJoy();
    ~modGTJoy();
    modGTJoy(const modGTJoy&) = delete;
    modGTJoy& operator=(const modGTJoy&) = delete;

    // Whether SDL's joystick subsystem could start.
    bool available() const { return m_sdl; }
    // Takes note of joysticks plugged in or pulled out since the last call
    // (SDL's device events); answers whether one is open now.
    bool refreshDevices();
    bool present() const { return m_joy != nullptr; }
    // Buttons of the open joystick, cut to 32; 0 without one.
    int buttonCount() const;

    // 0 with new data in `state`; non-zero (no joystick, or it vanished)
    // leaves `state` as it was.
    int Poll(JoyState& state);

    // An axis of 0..65535 to a direction: the band 12288..53248 is centre.
    static int32_t direction(int32_t axis);
    // The code of a button from its state now and at the last poll.
    static int32_t buttonCode(bool now, bool before);

private:
    void open();
    void close();

    bool m_sdl = false;
    void* m_joy = nullptr;       // SDL_Joystick*
    int32_t m_instance = -1;     // SDL instance id of the open joystick
    uint32_t m_mask = 0;         // buttons down at the last poll
};
