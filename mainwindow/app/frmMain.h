#pragma once
// The main window: start-up and shutdown of the panel, the choice and opening
// of the microscope, the inventory of its units and devices (Init), the
// property-change dispatch that keeps the panel current, the status read, and
// the liveness check when the window is activated again. The controls are
// those of the embedded MainPanel; the device state lives in mainState().
#include "state/ServiceSource.h"
#include "core/service/FiberService.h"
#include "state/clsMutex.h"
#include "mainwindow/mainpanel/MainPanel.h"

#include <QHash>
#include <QStringList>
#include <QWidget>
#include <cstdint>
#include <memory>

class SelScopeDlg;

class frmMain : public QWidget {
    Q_OBJECT
public:
    // `args` is the command line, element 0 the program (Common_Args()).
    explicit frmMain(const QStringList& args, QWidget* parent = nullptr);
    ~frmMain() override;

    // The one main window, while it exists.
    static frmMain* instance();

    MainPanel* ui = nullptr;

    // ---- start-up ------------------------------------------------------------
    void Form_Initialize();
    void Form_Load();
    void Form_Activate();
    // Runs Form_Unload once; the window then closes.
    void Form_Unload();
    // The orderly close on SIGTERM or SIGINT: as any close, but no box waits
    // for an answer nobody will give (those up are dismissed, later ones go
    // to the standard error).
    void closeOnSignal();
    // The same while the window is still being made: the boxes and the
    // microscope chooser up now are let go (the chooser as its Cancel), and
    // later boxes go to the standard error; the maker then closes the window.
    static void answerStartupDialogsUnattended();

    void lstMic_Click();
    void btnOpen_Click();
    void btnClose_Click();
    void btnStatus_Read();
    void CheckServer();
    // The link to another computer's bus dropped (BusLink::lost): the
    // service there is as good as dead, so the liveness check runs now, as
    // at the next activation, once no call and no box waits on the stack
    // (frmMainLinkLoss.cpp).
    void serviceLinkLost();
    void Init();
    // The observation start-up after Init: link settings, control limits,
    // custom values, stored stage offsets, and the present device values.
    void ObservationStartup();
    void micEvent_OnPropertyChanged(const QString& bstrMessage);
    // Ties every device's twin buttons to its panel (frmMainPanels.cpp).
    void attachDevicePanels();
    // The link boxes and the light path diagram (frmMainLinks.cpp).
    void attachLinks();
    void ObjLink_Click();
    void PathLink_Click();
    void usrMainPath_PathPicked(int16_t Index);
    void usrMainPath_ServiceKey(int16_t KeyAscii);
    void usrMainPath_FunctionKey(int16_t KeyCode, int16_t Shift);

signals:
    // Ctrl+G (key code 7) on the light path diagram: the operator asks for
    // the command console.
    void CommandConsoleRequested();

public:

    // ---- fiber illuminator (frmMainFiber.cpp) -----------------------------------
    // The illuminator's server; its events (cFiberEvents) come from it too.
    std::unique_ptr<FiberService> cFiber;
    void btnFiberOpen_Click();
    void btnFiberClose_Click();
    void Fiber_Display();
    void cFiberEvents_OnPropertyChanged(const QString& bstrMessage);

    // ---- the operator's tools (frmMainTools.cpp) ---------------------------------
    void btnInfo_MouseUp(int16_t Index);
    void Setup_Launch();

    // ---- state of the window ---------------------------------------------------
    bool FirstActivate = true;
    bool OpenInProgress = false;
    bool IsServer = false;
    bool HubEpi = false;
    bool HubObserve = false;
    int16_t SelectedMic = -1;
    int16_t RequestedMic = -1;
    int16_t CompactRequest = -1;
    int16_t OpenMode = 1;
    int32_t ObservationIndex = 0;
    // The camera head found by Init, for the focus panel: name and whether it
    // can auto focus.
    QString CameraHeadName;
    bool CameraAutoFocus = false;
    // Strip colours of the filter cube's excitation and barrier light.
    int32_t ExLeftColor = 0, ExRightColor = 0, BaLeftColor = 0, BaRightColor = 0;

    ServiceObjects services;
    MicroscopeService* micEvent = nullptr;
    MicroscopeService* MicHold() const { return services.MicHold.get(); }
    clsMutex mMutex;
    SelScopeDlg* selScope() const { return m_selScope; }
    bool unloaded() const { return m_unloaded; }

    void ExColor_Set();
    void BaColor_Set();

private:
    void cubeColour_Set(bool excitation);
    void attachFiber();
    void loadFiber();
    void releaseFiber();
    void attachTools();

protected:
    bool event(QEvent* e) override;
    void showEvent(QShowEvent* e) override;
    void closeEvent(QCloseEvent* e) override;

private:
    void dispatch(const QString& name, const QString& value, int16_t& Step);
    void showObjective(int16_t a);
    void showFilter(int16_t a, bool statusRead);
    void setFrames(PanelFrame* const frames[2], bool visible);
    // Asks whether a device is mounted and shows or hides its two frames; a
    // device that is gone unloads its sub-panel. Answers whether it is mounted.
    bool deviceStep(int16_t device, PanelFrame* const frames[2], const char* panel);
    // The fourteen device steps of Init, `step` set before each.
    void deviceSteps(int& step);
    void observeEntries(bool enabled, int from = 1, int to = 6);
    void customNames(bool userDefaults);
    void showPresentValues();
    void applicationActivated(bool active);
    // The stored position is the frame's (title bar and border included),
    // read and written the same way. A window manager frames the window only
    // after it is shown, and a resize before that can shift it; so once the
    // frame is known it is put where it was asked to be.
    void placeFrame();
    QPoint framePosition() const;
    static QPoint onScreen(QPoint framePos);
    void writeLinkSettings();
    void readLinkSettings();
    int16_t currentItemData() const;
    void fillMicList(const QStringList& names, QListWidget* dialogList);
    void checkAfterLinkLoss();

    QStringList m_args;
    SelScopeDlg* m_selScope = nullptr;
    QHash<QString, int> m_names;   // property name -> its order in the dispatch
    bool m_subclassed = false;     // the activation check is installed
    bool m_appActive = false;
    bool m_inCheck = false;
    bool m_unloaded = false;
    bool m_inCloseEvent = false;
    bool m_activatePending = false;
    QPoint m_framePos;      // where the frame is to stand at start, pixels
    int m_placing = 0;      // corrections of the frame's place still allowed (only at start)
    int m_topLoopLevel = -1;  // the event loop's nesting where the window's own events run
    bool m_linkLost = false;
    QMetaObject::Connection m_idleCheck;
};
