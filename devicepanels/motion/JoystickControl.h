#pragma once
// The main window's game pad: Timer1 polls it every 50 ms while one is
// plugged in, and nothing runs while none is (a watch on the input devices
// folder notices a pad plugged in or pulled out, without a restart). Each
// tick turns the buttons just pressed into the commands of the Setup.ini
// "JoyPad" table (Control); a held button acts once. The directions are read
// and kept as text, and move nothing: the pad's established behaviour.
#include "devicepanels/motion/modGTJoy.h"

#include <QFileSystemWatcher>
#include <QObject>
#include <QString>
#include <QTimer>
#include <array>

class JoystickControl : public QObject {
    Q_OBJECT
public:
    static constexpr int kTickMs = 50;
    // Entries: 0 Right, 1 Left, 2 Up, 3 Down, then one per button from 4.
    static constexpr int kTableSize = 25;

    explicit JoystickControl(QObject* parent = nullptr);

    QTimer Timer1;

    bool present() const { return m_joy.present(); }
    // The command table as read from Setup.ini.
    const std::array<int32_t, kTableSize>& table() const { return m_table; }
    // The direction text of the last tick ("UP", "LEFT", "NONE" and ",n" per pressed button).
    QString lastText() const { return m_text; }
    // Commands that went out, in order (the bench and the tests watch them).
    int commandsSent() const { return m_sent; }

    // Looks for pads plugged in or pulled out: the watch calls it, and a
    // test that attaches a virtual pad calls it as the watch would.
    void devicesChanged();
    // One tick of Timer1.
    void Timer1_Timer();

signals:
    // A pad came or went: the main panel's joystick frame follows.
    void presenceChanged(bool present);
    // A command of the table was run, with its number.
    void commandRun(int number);

private:
    // Reads the table: -1 (absent) is command 0; the button keys only when a pad is there.
    void readTable();

    modGTJoy m_joy;
    QFileSystemWatcher m_watch;
    std::array<int32_t, kTableSize> m_table{};
    JoyState m_state;
    QString m_text;
    int m_sent = 0;
    bool m_wasPresent = false;
};
