#include "devicepanels/motion/JoystickControl.h"

#include "devicepanels/motion/mdlControl.h"
#include "core/settings/SettingsPaths.h"
#include "core/settings/clsIniEdit.h"

#include <QDir>
#include <QFileInfo>

JoystickControl::JoystickControl(QObject* parent) : QObject(parent)
{
    Timer1.setInterval(kTickMs);
    Timer1.setTimerType(Qt::PreciseTimer);
    connect(&Timer1, &QTimer::timeout, this, &JoystickControl::Timer1_Timer);
    // The kernel tells when an input device comes or goes: no polling at rest.
    for (const QString& dir : {QStringLiteral("/dev/input"), QStringLiteral("/dev/input/by-id")})
        if (QDir(dir).exists())
            m_watch.addPath(dir);
    connect(&m_watch, &QFileSystemWatcher::directoryChanged, this, [this] {
        // udev names the node a moment after the kernel adds it.
        QTimer::singleShot(300, this, &JoystickControl::devicesChanged);
    });
    devicesChanged();
}

void JoystickControl::devicesChanged()
{
    const bool now = m_joy.refreshDevices();
    readTable();
    if (now)
        Timer1.start();
    else
        Timer1.stop();
    if (now != m_wasPresent) {
        m_wasPresent = now;
        emit presenceChanged(now);
    }
}

void JoystickControl::readTable()
{
    m_table.fill(0);
    const QString path = SettingsPaths::SetupIni();
    QDir().mkpath(QFileInfo(path).absolutePath());
    clsIniEdit ini(path);
    auto read = [&](const QString& key) {
        const int32_t v = ini.Ini_ReadInt(QStringLiteral("JoyPad"), key, -1);
        return v == -1 ? 0 : v;
    };
    m_table[0] = read(QStringLiteral("Right"));
    m_table[1] = read(QStringLiteral("Left"));
    m_table[2] = read(QStringLiteral("Up"));
    m_table[3] = read(QStringLiteral("Down"));
    if (!m_joy.present())
        return;
    const int buttons = std::min(m_joy.buttonCount(), kTableSize - 4);
    for (int b = 1; b <= buttons; ++b)
        m_table[size_t(3 + b)] = read(QStringLiteral("Button%1").arg(b));
}

void JoystickControl::Timer1_Timer()
{
    if (m_joy.Poll(m_state) != 0) {
        // The pad is gone: no command, and the timer rests until one returns.
        devicesChanged();
        return;
    }
    QString text;
    if (m_state.y == -1) text = QStringLiteral("UP");
    if (m_state.y == 1) text = QStringLiteral("DOWN");
    if (m_state.x == -1) text += QStringLiteral("LEFT");
    if (m_state.x == 1) text += QStringLiteral("RIGHT");
    if (text.isEmpty()) text = QStringLiteral("NONE");
    for (int b = 1; b <= modGTJoy::kMaxButtons; ++b) {
        if (m_state.buttons[size_t(b - 1)] != 3)
            continue;
        text += QStringLiteral(",%1").arg(b);
        const int index = 3 + b;
        const int32_t command = index < kTableSize ? m_table[size_t(index)] : 0;
        if (Control(command)) {
            ++m_sent;
            emit commandRun(command);
        }
    }
    m_text = text;
}
