#include "mainwindow/app/frmMain.h"

#include "core/service/ReadBatch.h"

#include "state/DeviceTables.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MicroscopeList.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "core/service/dbus/BusLayout.h"
#include "state/mdlReadStatus.h"
#include "core/settings/SettingsPaths.h"
#include "mainwindow/app/SelScopeDlg.h"
#include "widgets/Units.h"
#include "widgets/WidgetLook.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "models/optics/WaveColor.h"

#include <QApplication>
#include <QCloseEvent>
#include <QPushButton>
#include <QGuiApplication>
#include <QScreen>
#include <QSettings>
#include <QThread>
#include <QTimer>
#include <QVBoxLayout>
#include <QWindow>
#include <algorithm>
#include <cstdio>

namespace {

frmMain* g_instance = nullptr;

// The 21 property names of the dispatch, in their order.
const char* const kPropertyNames[] = {
    "AppLightPathDriveLightPath", "AppNosepiecePosition", "AppLampIsPreset", "AppLampIsOn",
    "AppLampControlVoltage", "AppOpticalZoomZoom", "AppFieldStopFieldStop", "AppNDFilterTransmission",
    "AppApertureStopApertureStop", "AppCondenserCassettePosition", "AppEpiFieldStopFieldStop",
    "AppFilterBlockCassettePosition", "AppAnalyzerIsInserted", "AppEpiShutterIsOpened",
    "AppZDriveZPosition", "AppXYDriveXPosition", "AppXYDriveYPosition", "AppPresetsObservationMode",
    "AppZDriveIsZEscape", "AppNosepieceMaxValue", "AppXYZDriveIsEscape",
};

const QString kFormPosition = QStringLiteral("Form_Position");
const QString kZSection = QStringLiteral("Z Focus Drive");
const QString kXYSection = QStringLiteral("XY Stage");
const QString kLinkSection = QStringLiteral("LinkSetting");


} // namespace

frmMain::frmMain(const QStringList& args, QWidget* parent) : QWidget(parent), m_args(args) {
    g_instance = this;
    setObjectName(QStringLiteral("frmMain"));
    setWindowTitle(QStringLiteral("Zentor"));
    ui = new MainPanel(this);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(ui);
    for (int i = 0; i < 21; ++i)
        m_names.insert(QLatin1String(kPropertyNames[i]), i + 1);
    FormRegistry::add(QStringLiteral("frmMain"), this);
    // Its boxes wear the panel's dark look.
    MsgBox::setStyler([](QWidget* box) { zentor::look::applyTo(box); });

    connect(ui->lstMic, &QListWidget::currentRowChanged, this, [this](int) { lstMic_Click(); });
    connect(ui->btnOpen, &usrButton::Released, this, [this] { btnOpen_Click(); });
    connect(ui->btnClose, &usrButton::Released, this, [this] { btnClose_Click(); });
    connect(ui->btnStatusRead, &usrButton::Released, this, [this] { btnStatus_Read(); });
    attachDevicePanels();
    attachFiber();
    attachTools();

    Form_Initialize();
    Form_Load();
}

frmMain::~frmMain() {
    if (!m_unloaded)
        Form_Unload();
    if (g_instance == this)
        g_instance = nullptr;
}

frmMain* frmMain::instance() { return g_instance; }

// ---------------------------------------------------------------------------
// Start-up

void frmMain::Form_Initialize() {
    MainState& s = mainState();
    FirstActivate = true;
    ui->PanelHeight = 8400;

    s.INI.Ini_SetPath(SettingsPaths::MainIni());
    SettingsPaths::CameraIni_Prepare();
    s.CameraINI.Ini_SetPath(SettingsPaths::CameraIni());

    // -1 marks an absent key; each then takes its own default.
    auto read = [&](const QString& key, int fallback) {
        const int32_t v = s.INI.Ini_ReadInt(kFormPosition, key, -1);
        return v == -1 ? fallback : v;
    };
    const int top = read(QStringLiteral("Top"), 0);
    const int left = read(QStringLiteral("Left"), 0);
    const int width = read(QStringLiteral("Width"), 12600);
    const int height = read(QStringLiteral("Height"), 8400);
    const int menu = read(QStringLiteral("Menu"), ui->MenuWidth);
    OpenMode = static_cast<int16_t>(read(QStringLiteral("Open"), 1));

    // The frame's place, kept on the screen so that its title bar can be
    // reached (an older run may have stored a place above it).
    m_framePos = onScreen(QPoint(zentor::twipsToPixels(left), zentor::twipsToPixels(top)));
    m_placing = 6;
    move(m_framePos);
    // A damaged file may hold sizes no window can have; Form_Resize brings the
    // window back to what the panels can use.
    resize(std::max(1, zentor::twipsToPixels(width)), std::max(1, zentor::twipsToPixels(height)));
    if (menu > 0)
        ui->frmMenu->setWidth(menu);
    ui->frmObserve->setWidth(ui->frmMenu->Width() - 100);
}

void frmMain::Form_Load() {
    MainState& s = mainState();
    // Service calls wait up to an hour (3600000 ms) for a slow move: the bus
    // client blocks that long, and the in-process stand until its move is done.
    services = ServiceSource::createMainObjects();
    s.micService = services.micService.get();
    micEvent = services.eventSource;
    // Events arrive on micService itself while it is connected (see state/ServiceSource.h).
    connect(micEvent, &MicroscopeService::OnPropertyChanged, this, &frmMain::micEvent_OnPropertyChanged);
    loadFiber();

    s.mObj = clsDefAddControl();
    s.mFilter = clsDefAddControl();
    s.mZoom = clsDefZoom();
    s.mEpiFS = clsDefStop();
    s.mPath = clsDefLightPath();
    s.mFS = clsDefStop();
    s.mAS = clsDefStop();
    s.mND = clsDefStop();
    s.mCon = clsDefAddControl();
    s.mLamp = clsDefLamp();
    s.mZ = clsDefZControl();
    s.mXY = clsDefXYControl();
    s.MicUnit.fill(0);
    s.ObservationNow = 0;
    s.MicConnected = false;
    SelectedMic = -1;

    try {
        m_selScope = new SelScopeDlg(this);
        m_selScope->List1->clear();
        ui->lstMic->clear();

        // The list and whether each entry can be opened, read together.
        ReadBatch listReads(s.micService);
        const QStringList names = s.micService->GetDeviceNames();
        RequestedMic = -1;
        CompactRequest = -1;
        const CommandLineRequest request = parseCommandLine(m_args, names);
        RequestedMic = request.RequestedMic;
        CompactRequest = request.CompactRequest;
        s.SimMode = request.SimMode;

        {
            const QSignalBlocker block(ui->lstMic);
            fillMicList(names, m_selScope->List1);
        }
        listReads.end();

        SelectedMic = decideSelectedMic(ui->lstMic->count(), RequestedMic);
        if (SelectedMic == NeedsDialog)
            SelectedMic = m_selScope->choose();

        if (!mMutex.Mutex_Open(QString::number(SelectedMic))) {
            // A lock of someone else's is refused: say why before the refusal.
            if (!mMutex.refusal().isEmpty())
                MsgBox::show(mMutex.refusal(), MsgBox::OKOnly, MsgBox::Exclamation);
            SelectedMic = -2;
        }

        m_subclassed = true;

        if (SelectedMic >= 0) {
            QListWidgetItem* it = ui->lstMic->item(SelectedMic);
            if (!it)
                throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
            services.MicHold->Connect(static_cast<int16_t>(it->data(Qt::UserRole).toInt()));
            IsServer = true;
        }

        ui->usrMainPath->setScopeType(0);
        ui->usrMainPath->setPathState(0);
        ui->usrMainPath->setLampState(0);
    } catch (const RunTimeError& e) {
        // A service of an interface version this panel cannot use says so in
        // a sentence naming both versions, and the panel closes after it:
        // there is nothing it could drive there.
        if (e.number() == ZentorBus::IncompatibleService) {
            MsgBox::show(e.description(), MsgBox::OKOnly, MsgBox::Critical);
            SelectedMic = -3;
        } else {
            MsgBox::show(QStringLiteral("Get Device_Name Error"));
        }
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Get Device_Name Error"));
    }
}

void frmMain::showEvent(QShowEvent* e) {
    QWidget::showEvent(e);
    // The first showing activates the form; it runs from the event loop, so
    // that the window is up when it opens the microscope or says why not.
    if (FirstActivate && !m_activatePending) {
        m_activatePending = true;
        QTimer::singleShot(0, this, [this] {
            m_activatePending = false;
            Form_Activate();
        });
        // The window manager frames the window a moment after it is shown,
        // may not say so by an event of the window's own, and may still carry
        // out requests made before it had framed it: the frame's place is
        // looked at again for a few moments after showing.
        for (int ms : {300, 1000, 2500})
            QTimer::singleShot(ms, this, [this, ms] {
                placeFrame();
                if (ms == 2500)
                    m_placing = 0;
            });
    }
}

void frmMain::Form_Activate() {
    if (!FirstActivate || m_unloaded)
        return;
    m_topLoopLevel = QThread::currentThread()->loopLevel();
    if (CompactRequest == 1 || OpenMode == 2) {
        ui->PanelMode = 2;
        ui->frmSub->show();
        ui->picMain->hide();
        ui->labSystem->hide();
        ui->setWindowWidth(ui->frmMenu->Width() + ui->frmSub->Width());
    } else {
        ui->frmSub->hide();
    }

    switch (SelectedMic) {
    case -3:
        Form_Unload();
        return;
    case -2:
        MsgBox::show(QStringLiteral(
            "Other Application has already used this Microscope.\r\nPlease restart this application or your machine."));
        Form_Unload();
        return;
    case -1:
        MsgBox::show(QStringLiteral(
            "No Microscope is detected\r\nPlease restart this application or your machine."));
        Form_Unload();
        return;
    default:
        if (SelectedMic < -1) {
            Form_Unload();
            return;
        }
        // Selecting the entry opens the microscope.
        if (ui->lstMic->currentRow() == SelectedMic)
            lstMic_Click();
        else
            ui->lstMic->setCurrentRow(SelectedMic);
        // The fiber illuminator is looked for quietly at start: one that is
        // not there is no news.
        if (!m_unloaded) {
            fiberState().QuietStart = true;
            btnFiberOpen_Click();
            fiberState().QuietStart = false;
        }
        break;
    }

    if (ui->lstMic->count() == 0) {
        ui->labMic->setCaption(QStringLiteral("Select"));
        ui->labSystem->setCaption(QStringLiteral("Not be Connected"));
        ui->downMicSel->hide();
    }
    FirstActivate = false;
}

// The microscopes the service offers into lstMic (and the dialog's list, when
// given), without raising the selection handler's event: with /SIM only the
// simulated microscope 0, else every available one from 1 on.
void frmMain::fillMicList(const QStringList& names, QListWidget* dialogList) {
    MainState& s = mainState();
    const QVector<MicroscopeEntry> entries = buildMicroscopeList(
        names, RequestedMic, [&](int16_t index) { return s.micService->IsDeviceAvailable(index) != 0; });
    const QString computer = ServiceSource::computer();
    for (const MicroscopeEntry& e : entries) {
        const QString text = shownName(e.text, computer);
        auto* it = new QListWidgetItem(text);
        it->setData(Qt::UserRole, int(e.itemData));
        ui->lstMic->addItem(it);
        if (dialogList && RequestedMic != 46)
            dialogList->addItem(text);
    }
}

int16_t frmMain::currentItemData() const {
    QListWidgetItem* it = ui->lstMic->currentItem();
    if (!it)
        throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Subscript out of range"));
    return static_cast<int16_t>(it->data(Qt::UserRole).toInt());
}

void frmMain::lstMic_Click() {
    QListWidgetItem* it = ui->lstMic->currentItem();
    const QString text = it ? it->text() : QString();
    if (text.isEmpty()) {
        MsgBox::show(QStringLiteral("システムが選択されていません"));
        return;
    }
    if (mainState().MicConnected)
        btnClose_Click();
    ui->labMic->setCaption(text);
    ui->btnOpen->setEnabled(true);
    btnOpen_Click();
    setWindowTitle(QStringLiteral("Zentor  [ ") + ui->labMic->Caption() + QStringLiteral(" ]"));
    if (qEnvironmentVariableIsSet("ZENTOR_PRINT_CAPTION")) {
        std::fprintf(stderr, "caption: %s\n", windowTitle().toUtf8().constData());
        std::fflush(stderr);
    }
}

void frmMain::btnOpen_Click() {
    MainState& s = mainState();
    WaitCursor wait;
    setEnabled(false);
    OpenInProgress = true;
    try {
        {
            // Everything opening reads, answered together where the service can.
            const ReadBatch reads(s.micService);
            s.micService->Connect(currentItemData());
            s.MicConnected = true;
            Init();
            ObservationStartup();
        }
        OpenInProgress = false;
        ui->btnOpen->setEnabled(false);
        ui->btnClose->setEnabled(true);
        ui->btnStatusRead->setEnabled(true);
        setEnabled(true);
        Common_Flush();
    } catch (const std::exception&) {
        // The panel stays disabled, busy and deaf to events: the operator restarts.
        wait.keep();
        MsgBox::show(QStringLiteral("Device_Connect Error"));
    }
}

void frmMain::btnClose_Click() {
    MainState& s = mainState();
    try {
        // Nothing to ask a closed service: the stage memories were saved when
        // it was closed.
        if (s.MicConnected && s.micService->IsMounted(DeviceIndex::XYDrive) == 1) {
            if (windowFlags() & Qt::WindowStaysOnTopHint)
                setWindowFlag(Qt::WindowStaysOnTopHint, false);
            for (int16_t n = 0; n <= 4; ++n) {
                s.INI.Ini_Write(kXYSection, QStringLiteral("Memory_X%1").arg(n), QString::number(s.mXY.XMemoryPos(n)));
                s.INI.Ini_Write(kXYSection, QStringLiteral("Memory_Y%1").arg(n), QString::number(s.mXY.YMemoryPos(n)));
            }
        }
        if (s.MicConnected)
            s.micService->Disconnect();
        s.MicConnected = false;
        ui->btnOpen->setEnabled(true);
        ui->btnClose->setEnabled(false);
        ui->btnStatusRead->setEnabled(false);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Device_disconnect error"));
    }
}

// ---------------------------------------------------------------------------
// Shutdown

void frmMain::closeOnSignal() {
    MsgBox::setUnattended(true);
    MsgBox::dismissOpen();
    close();
}

void frmMain::answerStartupDialogsUnattended() {
    MsgBox::setUnattended(true);
    MsgBox::dismissOpen();
    if (g_instance && g_instance->m_selScope && g_instance->m_selScope->isVisible())
        g_instance->m_selScope->btnCancel->click();
}

void frmMain::closeEvent(QCloseEvent* e) {
    m_inCloseEvent = true;
    Form_Unload();
    m_inCloseEvent = false;
    e->accept();
}

void frmMain::writeLinkSettings() {
    MainState& s = mainState();
    if (s.mObj.LINK() == -1)
        s.mObj.setLINK(1);
    if (s.mZoom.LINK() == -1)
        s.mZoom.setLINK(1);
    if (s.mPath.LINK() == -1)
        s.mPath.setLINK(1);
    const std::unique_ptr<QSettings> store = SettingsPaths::LinkStore();
    if (!store)
        return;
    store->beginGroup(kLinkSection);
    store->setValue(QStringLiteral("Obj"), QString::number(s.mObj.LINK()));
    store->setValue(QStringLiteral("Zoom"), QString::number(s.mZoom.LINK()));
    store->setValue(QStringLiteral("Path"), QString::number(s.mPath.LINK()));
    store->endGroup();
    store->sync();
}

void frmMain::Form_Unload() {
    if (m_unloaded)
        return;
    m_unloaded = true;
    MainState& s = mainState();
    // Every INI value the close writes (here, in btnClose_Click and in each
    // panel's unload) goes into one replacement of its file, so that a kill
    // at any moment of the close leaves each file all old or all new.
    IniBatch closing;

    if (QWidget* grabber = QWidget::mouseGrabber())
        grabber->releaseMouse();
    m_subclassed = false;

    if (services.MicHold) {
        try {
            if (IsServer)
                services.MicHold->Disconnect();
        } catch (const std::exception&) {
            // A service that is gone has nothing to let go of.
        }
        services.MicHold.reset();
    }

    if (s.mFilter.SETUP() != 0)
        FilterColor_Write(s.mFColor, s.MicConnected);

    writeLinkSettings();

    if (isMinimized())
        showNormal();

    // The frame's place, as Form_Initialize reads it.
    const QPoint frame = framePosition();
    s.INI.Ini_Write(kFormPosition, QStringLiteral("Top"), QString::number(zentor::pixelsToTwips(frame.y())));
    s.INI.Ini_Write(kFormPosition, QStringLiteral("Left"), QString::number(zentor::pixelsToTwips(frame.x())));
    s.INI.Ini_Write(kFormPosition, QStringLiteral("Height"), QString::number(zentor::pixelsToTwips(height())));
    s.INI.Ini_Write(kFormPosition, QStringLiteral("Width"), QString::number(zentor::pixelsToTwips(width())));
    s.INI.Ini_Write(kFormPosition, QStringLiteral("Menu"), QString::number(ui->frmMenu->Width()));
    // The start-up look is the operator's setting as read, not the look of
    // this run: a start with /C or a switch of looks does not change it.
    s.INI.Ini_Write(kFormPosition, QStringLiteral("Open"), QString::number(OpenMode));

    // Written on every unload. A run that never opened a microscope writes
    // the empty range (0, 0), which the focus and stage panels read as "the
    // whole range of the drive".
    s.INI.Ini_Write(kZSection, QStringLiteral("ControlMax"), QString::number(s.mZ.curScllMax));
    s.INI.Ini_Write(kZSection, QStringLiteral("ControlMin"), QString::number(s.mZ.curScllMin));
    s.INI.Ini_Write(kXYSection, QStringLiteral("XControlMax"), QString::number(s.mXY.XSCLMAX()));
    s.INI.Ini_Write(kXYSection, QStringLiteral("XControlMin"), QString::number(s.mXY.XSCLMIN()));
    s.INI.Ini_Write(kXYSection, QStringLiteral("YControlMax"), QString::number(s.mXY.YSCLMAX()));
    s.INI.Ini_Write(kXYSection, QStringLiteral("YControlMin"), QString::number(s.mXY.YSCLMIN()));

    const QList<QWidget*> forms = FormRegistry::loadedForms();
    for (int i = forms.size() - 1; i >= 0; --i) {
        QWidget* form = forms.at(i);
        const QString caption = form->windowTitle();
        if (caption.contains(QLatin1String("Zentor"))) {
            s.INI.Ini_Write(caption, QStringLiteral("Show"),
                            form->isVisible() ? QStringLiteral("True") : QStringLiteral("False"));
            const QPoint at = form->frameGeometry().topLeft();
            s.INI.Ini_Write(caption, QStringLiteral("Top"), QString::number(zentor::pixelsToTwips(at.y())));
            s.INI.Ini_Write(caption, QStringLiteral("Left"), QString::number(zentor::pixelsToTwips(at.x())));
        }
        if (form != this)
            FormRegistry::unload(FormRegistry::nameOf(form));
    }

    btnClose_Click();
    releaseFiber();
    closing.commit();

    s.micService = nullptr;
    services.micService.reset();
    micEvent = nullptr;
    services.eventSource = nullptr;
    mMutex.Mutex_Close();
    FormRegistry::remove(QStringLiteral("frmMain"));
    // Unloading the main window ends the program: a refusal at start or a
    // failed check closes the window (hiding it would leave the process
    // running without a window).
    if (!m_inCloseEvent && isVisible())
        QTimer::singleShot(0, this, [this] { close(); });
}

// ---------------------------------------------------------------------------
// Liveness check on regained activation

QPoint frmMain::onScreen(QPoint framePos) {
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (!screen)
        return framePos;
    const QRect area = screen->availableVirtualGeometry();
    // The title bar stays reachable: the frame's top left corner on the
    // screen, with room for a grip of the title bar to its right and below.
    const int x = std::clamp(framePos.x(), area.left(), std::max(area.left(), area.right() - 100));
    const int y = std::clamp(framePos.y(), area.top(), std::max(area.top(), area.bottom() - 40));
    return QPoint(x, y);
}

// The frame's top left corner: the window manager's frame as it is now
// (asked afresh, a cached one may be from before the window was framed).
QPoint frmMain::framePosition() const {
    const QWindow* w = windowHandle();
    if (!w)
        return pos();
    const QMargins m = w->frameMargins();
    return geometry().topLeft() - QPoint(m.left(), m.top());
}

void frmMain::placeFrame() {
    if (m_placing <= 0 || !isVisible() || isMinimized() || isMaximized() || !windowHandle())
        return;
    const QMargins m = windowHandle()->frameMargins();
    // Not framed yet (or never: without a window manager the window's own
    // place is the frame's, which Form_Initialize set).
    if (m.isNull())
        return;
    if (framePosition() == m_framePos)
        return;
    --m_placing;
    setGeometry(QRect(m_framePos + QPoint(m.left(), m.top()), size()));
}

bool frmMain::event(QEvent* e) {
    if (e->type() == QEvent::Move || e->type() == QEvent::Resize || e->type() == QEvent::WindowActivate)
        placeFrame();
    if (e->type() == QEvent::WindowActivate)
        applicationActivated(true);
    else if (e->type() == QEvent::WindowDeactivate)
        applicationActivated(false);
    return QWidget::event(e);
}

void frmMain::applicationActivated(bool active) {
    if (!m_subclassed)
        return;
    if (!active) {
        m_appActive = false;
        return;
    }
    if (m_appActive)
        return;
    m_appActive = true;
    // The boxes CheckServer opens bring further activations: one check only.
    if (m_inCheck)
        return;
    m_inCheck = true;
    CheckServer();
    m_inCheck = false;
}

void frmMain::CheckServer() {
    if (!IsServer || !services.MicHold)
        return;
    bool alive = false;
    try {
        // One question to the service answers all four units.
        const ReadBatch reads(services.MicHold.get(), QStringLiteral("CheckServer"));
        for (int16_t unit : {UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B, UnitIndex::E_LM_K})
            if (services.MicHold->DeviceStatus(unit) == 1)
                alive = true;
    } catch (const std::exception&) {
        IsServer = false;
        MsgBox::show(QStringLiteral("Server Error Please Restart this application."));
        close();
        return;
    }
    if (!alive) {
        IsServer = false;
        MsgBox::show(QStringLiteral("Q7s.exe Error Please Restart this application."));
        close();
    }
}

// ---------------------------------------------------------------------------
// Status read: the list of microscopes afresh

void frmMain::btnStatus_Read() {
    MainState& s = mainState();
    try {
        const int remembered = ui->lstMic->currentRow();
        ReadBatch listReads(s.micService);
        const QStringList names = s.micService->GetDeviceNames();
        QSignalBlocker block(ui->lstMic);
        ui->lstMic->clear();
        if (names.size() <= 1)
            MsgBox::show(QStringLiteral("No Microscope is detected\r\nPlease restart this application or your machine."));
        fillMicList(names, nullptr);
        listReads.end();
        ui->lstMic->setCurrentRow(-1);
        // No entry was selected: none is selected now, and nothing reopens.
        if (remembered == -1)
            return;
        if (remembered < 0 || remembered >= ui->lstMic->count())
            throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("Invalid property array index"));
        // Setting the index afresh closes and reopens the connection.
        block.unblock();
        ui->lstMic->setCurrentRow(remembered);
    } catch (const std::exception&) {
        // The click's trap ends the read; it has no message of its own. The
        // list shows what the service offers now, with nothing selected.
    }
}
