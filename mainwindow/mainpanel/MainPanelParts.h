#pragma once
// What the files of the main panel share and nothing else needs: the panel's
// colours, a font at a size, and the operator's wait during a call.
#include <QApplication>
#include <QFont>
#include <QString>
#include <QWidget>
#include <cstdint>

namespace mainpanel {

constexpr int32_t kDimText = 0xB09890;     // captions of device names on the panel
constexpr int32_t kFrameEdge = 0x8D675C;   // edges and titles of the device frames
constexpr int32_t kAreaBack = 0x2A1A16;    // the device area behind the frames
constexpr int32_t kStatusText = 0xFFE8DC;  // device values, the panel's main reading
constexpr int32_t kMenuHoverText = 0x2C2C2C;
constexpr int32_t kCompactStripe = 0x321E1A;  // every other line of the compact panel

inline QFont sized(const QFont& base, double points, bool bold)
{
    QFont f = base;
    f.setPointSizeF(points);
    f.setBold(bold);
    return f;
}

// The operator waits: hourglass and a disabled window for the length of a call.
class BusyWindow {
public:
    BusyWindow(QWidget* window, bool disable) : m_window(disable ? window : nullptr)
    {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        if (m_window)
            m_window->setEnabled(false);
    }
    ~BusyWindow() { end(); }
    void end()
    {
        if (m_done)
            return;
        m_done = true;
        if (m_window)
            m_window->setEnabled(true);
        QApplication::restoreOverrideCursor();
    }

private:
    QWidget* m_window;
    bool m_done = false;
};

} // namespace mainpanel
