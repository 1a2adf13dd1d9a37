#include "devicepanels/motion/modGTJoy.h"

#include <QByteArray>
#include <SDL.h>
#include <algorithm>

modGTJoy::modGTJoy()
{
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_JOYSTICK_ALLOW_BACKGROUND_EVENTS, "1");
    // Plain evdev pads only: no HID driver threads, no udev daemon to wait for.
    SDL_SetHint(SDL_HINT_JOYSTICK_HIDAPI, "0");
    qputenv("SDL_JOYSTICK_DISABLE_UDEV", "1");
    m_sdl = SDL_InitSubSystem(SDL_INIT_JOYSTICK) == 0;
    if (m_sdl)
        open();
}

modGTJoy::~modGTJoy()
{
    close();
    if (m_sdl)
        SDL_QuitSubSystem(SDL_INIT_JOYSTICK);
}

void modGTJoy::open()
{
    if (m_joy || SDL_NumJoysticks() < 1)
        return;
    SDL_Joystick* j = SDL_JoystickOpen(0);
    if (!j)
        return;
    m_joy = j;
    m_instance = SDL_JoystickInstanceID(j);
    m_mask = 0;
}

void modGTJoy::close()
{
    if (m_joy)
        SDL_JoystickClose(static_cast<SDL_Joystick*>(m_joy));
    m_joy = nullptr;
    m_instance = -1;
    m_mask = 0;
}

bool modGTJoy::refreshDevices()
{
    if (!m_sdl)
        return false;
    SDL_JoystickUpdate();
    SDL_Event e;
    while (SDL_PeepEvents(&e, 1, SDL_GETEVENT, SDL_JOYDEVICEADDED, SDL_JOYDEVICEREMOVED) > 0) {
        if (e.type == SDL_JOYDEVICEREMOVED && e.jdevice.which == m_instance)
            close();
    }
    // Drop the axis and button events: the poll reads states, not events.
    SDL_FlushEvents(SDL_JOYAXISMOTION, SDL_JOYBUTTONUP);
    if (m_joy && !SDL_JoystickGetAttached(static_cast<SDL_Joystick*>(m_joy)))
        close();
    open();
    return present();
}

int modGTJoy::buttonCount() const
{
    if (!m_joy)
        return 0;
    return std::clamp(SDL_JoystickNumButtons(static_cast<SDL_Joystick*>(m_joy)), 0, kMaxButtons);
}

int32_t modGTJoy::direction(int32_t axis)
{
    if (axis < kDeadLow)
        return -1;
    if (axis > kDeadHigh)
        return 1;
    return 0;
}

int32_t modGTJoy::buttonCode(bool now, bool before)
{
    if (now)
        return before ? 1 : 3;
    return before ? 2 : 0;
}

int modGTJoy::Poll(JoyState& state)
{
    if (!m_joy)
        return 167;   // JOYERR_UNPLUGGED: no joystick, nothing new
    SDL_Joystick* j = static_cast<SDL_Joystick*>(m_joy);
    SDL_JoystickUpdate();
    if (!SDL_JoystickGetAttached(j)) {
        close();
        return 167;
    }
    // SDL's axes run -32768..32767; the pad's classic range is 0..65535.
    const int axes = SDL_JoystickNumAxes(j);
    const int32_t x = axes > 0 ? int32_t(SDL_JoystickGetAxis(j, 0)) + 32768 : 32768;
    const int32_t y = axes > 1 ? int32_t(SDL_JoystickGetAxis(j, 1)) + 32768 : 32768;
    state.x = direction(x);
    state.y = direction(y);
    const int n = buttonCount();
    uint32_t mask = 0;
    for (int b = 0; b < n; ++b)
        if (SDL_JoystickGetButton(j, b))
            mask |= 1u << b;
    for (int b = 0; b < kMaxButtons; ++b)
        state.buttons[size_t(b)] = buttonCode(mask & (1u << b), m_mask & (1u << b));
    m_mask = mask;
    return 0;
}
