// The main panel for the keyboard and for assistive technology: the tab order
// follows the layout (menu entries, the open section, the large panel's left
// column, the drawing and its right column, then the compact panel), Alt and
// a letter opens each menu section, Space and Enter press every entry, a
// selector opened from the keyboard takes the focus and gives it back when it
// closes (Escape closes it), and every control has a name a person
// understands. docs/desktop.md says how a new window does the same.
#include "mainwindow/mainpanel/MainPanel.h"

#include "widgets/FocusHandBack.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

#include <QKeyEvent>
#include <QShortcut>

namespace {

// Escape in the open selector closes it, as a click beside it does.
class EscapeClosesSelector : public QObject {
public:
    explicit EscapeClosesSelector(MainPanel* panel) : QObject(panel), m_panel(panel) {}

protected:
    bool eventFilter(QObject*, QEvent* event) override
    {
        if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Escape
            && !m_panel->picSelect->isHidden()) {
            m_panel->CloseSelectors();
            return true;
        }
        return false;
    }

private:
    MainPanel* m_panel;
};

// Tab goes through `chain` in its order (hidden and disabled controls are
// passed over by Qt).
void chainTabOrder(std::initializer_list<QWidget*> chain)
{
    QWidget* previous = nullptr;
    for (QWidget* w : chain) {
        if (previous)
            QWidget::setTabOrder(previous, w);
        previous = w;
    }
}

} // namespace

void MainPanel::setUpKeyboardAndNames()
{
    // ---- the menu column -------------------------------------------------
    static const char* const sections[6] = {"", "Connection", "Setting", "Information",
                                            "Observation Method", "Custom Observation"};
    // The letter of each section: Alt+C, Alt+S, Alt+I, Alt+O, Alt+U.
    static const Qt::Key letters[6] = {Qt::Key_unknown, Qt::Key_C, Qt::Key_S, Qt::Key_I, Qt::Key_O, Qt::Key_U};
    static const char* const letterNames[6] = {"", "Alt+C", "Alt+S", "Alt+I", "Alt+O", "Alt+U"};
    PanelFrame* const sectionFrames[6] = {nullptr, frmConnect, frmSetting, frmInfo, frmObserve, frmOther};
    for (int i = 1; i <= 5; ++i) {
        const int16_t idx = int16_t(i);
        labmenu[i]->setActivatable(true);
        labmenu[i]->setAccessibleDescription(QStringLiteral("Opens the section; %1").arg(QLatin1String(letterNames[i])));
        labmenu[i]->setToolTip(QStringLiteral("%1 (%2)").arg(QLatin1String(sections[i]), QLatin1String(letterNames[i])));
        btnmenu[i]->setAccessibleName(QStringLiteral("%1 symbol").arg(QLatin1String(sections[i])));
        sectionFrames[i]->setAccessibleName(QLatin1String(sections[i]));
        // The section opened from the keyboard takes the focus; closing it
        // (its arrow, or another section) gives it back to the entry.
        auto openWithFocus = [this, idx, sectionFrames] {
            if (MenuSelect == idx && sectionFrames[idx]->isVisible())
                FocusHandBack::open(sectionFrames[idx], nullptr, labmenu[idx]);
        };
        connect(labmenu[i], &PanelLabel::Click, this, [this, idx, openWithFocus] {
            if (labmenu[idx]->hasFocus())
                openWithFocus();
        });
        auto* shortcut = new QShortcut(QKeySequence(Qt::ALT | letters[i]), this);
        connect(shortcut, &QShortcut::activated, this, [this, idx, openWithFocus] {
            labmenu[idx]->setFocus(Qt::ShortcutFocusReason);
            btnmenu_Click(idx);
            openWithFocus();
        });
    }
    for (PanelLabel* l : {btnSetup[0], btnSetup[1], btnSetup[2], btnSetup[3], btnSetupXY, btnInfo[0], btnInfo[1],
                          btnInfo[2], btnInfo[3], btnLED[0], btnLED[1], btnLED[2], btnEnable})
        l->setActivatable(true);
    btnSetupXY->setAccessibleDescription(QStringLiteral("Opens the stage panel to remember a stage position per objective"));
    for (PanelLabel* l : {btnLED[0], btnLED[1], btnLED[2], btnEnable})
        l->setAccessiblePrefix(QStringLiteral("Control pad"));
    for (int i = 1; i <= 7; ++i) {
        labObserve[i]->setActivatable(true);
        btnObserve[i]->setAccessiblePrefix(QStringLiteral("Observation method"));
    }
    // The seventh entry repeats the custom observation chosen last; empty
    // until one is.
    labObserve[7]->setAccessiblePrefix(QStringLiteral("Last custom observation"));
    for (int i = 1; i <= 6; ++i)
        labObserveU[i]->setActivatable(true);

    downConnect->setAccessibleName(QStringLiteral("Close the Connection section"));
    downSetting->setAccessibleName(QStringLiteral("Close the Setting section"));
    downInfo->setAccessibleName(QStringLiteral("Close the Information section"));
    downOther->setAccessibleName(QStringLiteral("Close the Custom Observation section"));
    tabConnect->setAccessibleName(QStringLiteral("Connection pages"));
    labMic->setAccessiblePrefix(QStringLiteral("Microscope"));
    downMicSel->setAccessibleName(QStringLiteral("Microscope list"));
    lstMic->setAccessibleName(QStringLiteral("Microscopes"));
    btnOpen->setAccessibleName(QStringLiteral("Open the microscope"));
    btnClose->setAccessibleName(QStringLiteral("Close the microscope"));
    btnStatusRead->setAccessibleName(QStringLiteral("Read the microscope status"));
    lstFiber->setAccessibleName(QStringLiteral("Fiber illuminators"));
    btnFiberOpen->setAccessibleName(QStringLiteral("Open the fiber illuminator"));
    btnFiberClose->setAccessibleName(QStringLiteral("Close the fiber illuminator"));
    btnFiberRStatus->setAccessibleName(QStringLiteral("Read the fiber illuminator status"));
    frmControlPad->setAccessibleName(QStringLiteral("Control Pad"));
    btnProfile->setAccessibleName(QStringLiteral("Profile editor"));

    // ---- the device area ---------------------------------------------------
    labSystem->setAccessiblePrefix(QStringLiteral("System"));
    btnGUIClose->setAccessibleName(QStringLiteral("Compact look"));
    btnGUIOpen->setAccessibleName(QStringLiteral("Large look"));
    usrMainPath->setAccessibleName(QStringLiteral("Light path diagram"));
    btnShutter->setAccessibleName(QStringLiteral("Shutter open or close"));
    btnEX->setAccessibleName(QStringLiteral("Excitation filter"));
    btnBa->setAccessibleName(QStringLiteral("Barrier filter"));
    HScroll->setAccessibleName(QStringLiteral("Scroll the panel sideways"));
    VScroll->setAccessibleName(QStringLiteral("Scroll the panel"));
    struct Device {
        const char* name;
        usrButton** button;   // opens the device's panel (the analyzer's moves it)
        PanelLabel** status;  // what the device shows
    };
    const Device devices[] = {
        {"Light path", btnFrmPath, LightPathCmd}, {"Zoom", btnZoom, ZoomCmd},
        {"Filter cube", btnFilter, FilterCmd},    {"Objective", btnObj, ObjCmd},
        {"Z focus", btnZ, Zcmd},                  {"Condenser", btnCond, CONcmd},
        {"Aperture stop", btnAp, APcmd},          {"DIA field stop", btnFS, FieldS},
        {"Lamp", btnClamp, LampCmd},              {"EPI field stop", btnEpiFS, HBXField},
        {"Analyzer", btnAna, AnaCmd},             {"ND filter", btnND, NDcmd},
        {"XY stage", btnXY, Xcmd},                {"Fiber illumination", btnFiber, FiberTxt},
    };
    for (const Device& d : devices) {
        const QString name = QString::fromLatin1(d.name);
        for (int twin = 0; twin < 2; ++twin) {
            d.button[twin]->setAccessibleName(d.button == btnAna ? QStringLiteral("Analyzer in or out")
                                                                 : name + QStringLiteral(" panel"));
            d.status[twin]->setAccessiblePrefix(d.button == btnXY ? QStringLiteral("Stage X") : name);
        }
    }
    for (int twin = 0; twin < 2; ++twin) {
        Ycmd[twin]->setAccessiblePrefix(QStringLiteral("Stage Y"));
        ShutterCmd[twin]->setAccessiblePrefix(QStringLiteral("Shutter"));
    }
    for (PanelFrame* f : findChildren<PanelFrame*>())
        if (!f->Caption().isEmpty())
            f->setAccessibleName(f->Caption());
    ObjLink->setAccessibleName(QStringLiteral("Link objective with Z and XY"));
    PathLink->setAccessibleName(QStringLiteral("Link light path"));
    ZoomLink->setAccessibleName(QStringLiteral("Link zoom"));

    // ---- the selector: focus in when opened, back when closed ---------------
    struct Selector {
        usrButton* opener;
        const char* device;
    };
    for (const Selector& s : {Selector{downObj, "objective"}, Selector{downFilter, "filter cube"},
                              Selector{downCon, "condenser"}}) {
        const QString device = QString::fromLatin1(s.device);
        s.opener->setAccessibleName(QStringLiteral("Choose the ") + device);
        usrButton* opener = s.opener;
        connect(opener, &usrButton::Released, this, [this, opener, device] {
            txtAdd->setAccessibleName(device.left(1).toUpper() + device.mid(1) + QStringLiteral(" positions"));
            if (opener->hasFocus() && !picSelect->isHidden())
                FocusHandBack::open(picSelect, txtAdd, opener);
        });
    }
    auto* escape = new EscapeClosesSelector(this);
    txtAdd->installEventFilter(escape);
    ObjLink->installEventFilter(escape);

    // ---- the tab order, as the panel is laid out -----------------------------
    chainTabOrder({labmenu[1], labmenu[2], labmenu[3], labmenu[4], labmenu[5],
                   downConnect, tabConnect, downMicSel, lstMic, btnOpen, btnClose, btnStatusRead,
                   lstFiber, btnFiberOpen, btnFiberClose, btnFiberRStatus,
                   downSetting, btnSetup[0], btnSetup[1], btnSetup[2], btnSetup[3], btnSetupXY,
                   btnLED[0], btnLED[1], btnLED[2], btnEnable,
                   downInfo, btnInfo[0], btnInfo[1], btnInfo[2], btnInfo[3],
                   labObserve[1], labObserve[2], labObserve[3], labObserve[4], labObserve[5],
                   labObserve[6], labObserve[7], btnProfile,
                   downOther, labObserveU[1], labObserveU[2], labObserveU[3], labObserveU[4],
                   labObserveU[5], labObserveU[6],
                   // the large panel: its corner, the left column down the stand...
                   btnGUIClose, btnFrmPath[0], PathLink, btnZoom[0], ZoomLink, btnFilter[0], downFilter,
                   btnObj[0], downObj, txtAdd, ObjLink, btnZ[0], btnCond[0], downCon,
                   btnAp[0], btnFS[0], btnClamp[0],
                   // ...the drawing and the right column under it
                   usrMainPath, btnShutter, btnEX, btnBa, btnEpiFS[0], btnAna[0], btnND[0], btnXY[0], btnFiber[0],
                   // the compact panel, line by line
                   btnGUIOpen, btnFrmPath[1], btnZoom[1], btnFilter[1], btnObj[1], btnZ[1], btnCond[1],
                   btnAp[1], btnFS[1], btnClamp[1], btnEpiFS[1], btnAna[1], btnND[1], btnXY[1], btnFiber[1]});
}
