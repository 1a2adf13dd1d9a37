#include "devicepanels/motion/frmSubZ.h"

#include "devicepanels/motion/MotionPanelParts.h"
#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "devicepanels/subpanel/SubPanels.h"
#include "state/FormRegistry.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "widgets/PanelControls.h"
#include "widgets/Units.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrYscroll.h"

#include <QEvent>
#include <QFrame>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>

using motionParts::roundCount;
using zentor::twipsToPixels;

namespace {
// The global inside-panel flag of the wheel: the mouse is over frmAF.
bool g_insidePanel = false;
const QString kMovable = QStringLiteral("A movable range is exceeded.");
const QString kRaise = kMovable + QStringLiteral("\r\nMay I raise the stage within the movable range?");
const QString kLower = kMovable + QStringLiteral("\r\nMay I lower the stage within the movable range?");
constexpr int kRepeatMs = 150;
constexpr int kCompleteMs = 1500;
} // namespace

frmSubZ::frmSubZ(QWidget* owner) : SubPanel(QStringLiteral("frmSubZ"), kFocusDrive, owner)
{
    using namespace motionParts;
    panelLook::applyTo(this);
    imgEscape = escapeImages();

    frmAF = new QFrame(this);
    frmAF->setObjectName(QStringLiteral("frmAF"));
    frmAF->setAccessibleName(QStringLiteral("Focus drive controls"));
    frmAF->setMouseTracking(true);
    frmAF->installEventFilter(this);

    usrZscroll = new usrYscroll(frmAF);
    usrZscroll->setObjectName(QStringLiteral("usrZscroll"));
    usrZscroll->setAccessibleName(QStringLiteral("Focus position: arrows step, drag the thumb or click the track to move"));
    usrZscroll->installEventFilter(this);
    txtSel = panelLook::valueLabel(frmAF, QStringLiteral("txtSel"), QStringLiteral("Focus position"));
    txtSel->setCaption(QStringLiteral("1000 um"));
    txtAF_Comp = panelLook::valueLabel(frmAF, QStringLiteral("txtAF_Comp"), QStringLiteral("Auto focus complete"));
    txtAF_Comp->setCaption(QStringLiteral("Complete"));
    txtAF_Comp->setForeColor(0x28BEE6);
    txtAF_Comp->hide();
    btnEscape = oneShot(frmAF, "btnEscape", QString(), QStringLiteral("Escape the focus drive, or bring it back"));
    // Escape reaches the stand while a move runs, to stop it where it is.
    setEscapeControl(btnEscape);
    btnReset = oneShot(frmAF, "btnReset", QStringLiteral("Origin"), QStringLiteral("Make the present position 0 um"));
    BtnMemory = oneShot(frmAF, "BtnMemory", QStringLiteral("Memory"), QStringLiteral("Remember the present position"));
    btnCntClear = oneShot(frmAF, "btnCntClear", QStringLiteral("Count Clear"), QStringLiteral("Count from the drive's zero"));
    btnAFOrign = oneShot(frmAF, "btnAFOrign", QStringLiteral("AF Origin"), QStringLiteral("Drive to the position by the drive's own command"));
    usrButton2 = oneShot(frmAF, "usrButton2", QStringLiteral("-"), QStringLiteral("Show less of the travel (zoom in)"));
    scllText = panelLook::caption(frmAF, QStringLiteral("100%"));
    scllText->setObjectName(QStringLiteral("scllText"));
    scllText->setAlignment(Qt::AlignCenter);
    scllText->setAccessibleName(QStringLiteral("Part of the travel shown"));
    usrButton1 = oneShot(frmAF, "usrButton1", QStringLiteral("+"), QStringLiteral("Show more of the travel (zoom out)"));
    Text1 = panelLook::caption(frmAF, QStringLiteral("Operating Range"));
    Text1->setObjectName(QStringLiteral("Text1"));
    btnSetting = latching(frmAF, "btnSetting", QStringLiteral("Set"), QStringLiteral("Edit the operating range marks"));
    btnAF = latching(frmAF, "btnAF", QStringLiteral("AF"), QStringLiteral("Auto focus with the camera"));
    btnCamera = oneShot(frmAF, "btnCamera", QStringLiteral("Camera"), QStringLiteral("Choose the camera head"));
    labCamera = panelLook::caption(frmAF, QString());
    labCamera->setObjectName(QStringLiteral("labCamera"));
    labCamera->setAccessibleName(QStringLiteral("Camera head"));
    usrAdd = new usrAddress(frmAF);
    usrAdd->setObjectName(QStringLiteral("usrAdd"));
    usrAdd->setAccessibleName(QStringLiteral("Objective whose focus position is set"));
    btnClose = makeCloseButton();
    btnClose->setParent(frmAF);
    btnAFOrign->hide();
    BtnMemory->hide();

    QWidget* order[] = {usrZscroll, btnEscape, btnReset, BtnMemory, btnCntClear, btnAFOrign, usrButton2,
                        usrButton1, btnSetting, btnAF, btnCamera, usrAdd, btnClose};
    for (size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);

    connect(usrZscroll, &usrYscroll::FastDown, this, [this] { usrZscroll_FastDown(); });
    connect(usrZscroll, &usrYscroll::FastUp, this, [this] { usrZscroll_FastUp(); });
    connect(usrZscroll, &usrYscroll::SlowDown, this, [this] { usrZscroll_SlowDown(); });
    connect(usrZscroll, &usrYscroll::SlowUp, this, [this] { usrZscroll_SlowUp(); });
    // A step button held down repeats through Timer1, one focus step a tick,
    // as a held arrow key does; letting it go stops the repeat.
    connect(usrZscroll, &usrYscroll::StepHeld, this, [this](bool up) { setRepeatDirection(up ? -1 : 1); });
    connect(usrZscroll, &usrYscroll::StepHoldEnded, this, [this] { setRepeatDirection(0); });
    connect(usrZscroll, &usrYscroll::ThumbReleased, this, [this] { usrZscroll_ThumbReleased(); });
    connect(usrZscroll, &usrYscroll::ValueChange, this, [this] { usrZscroll_ValueChange(); });
    connect(btnReset, &usrButton::Pressed, this, [this] { btnReset_Pressed(); });
    connect(btnReset, &usrButton::Released, this, [this] { ZDriveValue_Set(); });
    connect(btnCntClear, &usrButton::Pressed, this, [this] { btnCntClear_Pressed(); });
    connect(btnCntClear, &usrButton::Released, this, [this] { ZDriveValue_Set(); });
    connect(btnAFOrign, &usrButton::Pressed, this, [this] { btnAFOrign_Pressed(); });
    connect(btnEscape, &usrButton::Released, this, [this] { btnEscape_Click(); });
    connect(BtnMemory, &usrButton::Released, this, [this] { BtnMemory_Click(); });
    connect(btnSetting, &usrButton::Pressed, this, [this] { btnSetting_Latched(true); });
    connect(btnSetting, &usrButton::Unlatched, this, [this] { btnSetting_Latched(false); });
    connect(usrButton1, &usrButton::Released, this, [this] { usrButton1_Click(); });
    connect(usrButton2, &usrButton::Released, this, [this] { usrButton2_Click(); });
    connect(usrAdd, &usrAddress::AddressPicked, this, [this](int16_t a) { usrAdd_AddressPicked(a); });
    connect(btnClose, &usrButton::Released, this, [this] { btnClose_Click(); });
    connect(btnAF, &usrButton::Pressed, this, [this] { btnAF_Click(); });
    connect(btnAF, &usrButton::Unlatched, this, [this] { btnAF->Unlatch(); });
    connect(btnCamera, &usrButton::Released, this, [this] { btnCamera_Click(); });
    Timer1.setInterval(kRepeatMs);
    connect(&Timer1, &QTimer::timeout, this, [this] { Timer1_Timer(); });
    AFTimer.setInterval(kCompleteMs);
    connect(&AFTimer, &QTimer::timeout, this, [this] { AFTimer_Timer(); });

    // Load: the scale table at 100 %, the service's events, the camera.
    m_scaleIndex = 5;
    attachOwnEvents();
    cameraSetUp(true);
    layoutControls();
}

frmSubZ::~frmSubZ()
{
    g_insidePanel = false;
}

frmSubZ::Mode frmSubZ::mode() const
{
    if (Caption() == kFocusSetting)
        return Mode::FocusSetting;
    if (Caption() == kUpperLimitSetting)
        return Mode::UpperLimit;
    return Mode::Drive;
}

void frmSubZ::layoutControls()
{
    // The place is kept only for the normal mode.
    setKeepsPlace(mode() == Mode::Drive);
    const bool setting = mode() == Mode::FocusSetting;
    const int height = twipsToPixels(setting ? kSettingHeight : kNormalHeight) - 24;
    setFixedSize(336, height);
    frmAF->setGeometry(0, 0, 336, height);
    usrZscroll->setGeometry(10, 8, 64, twipsToPixels(kNormalHeight) - 24 - 16);
    txtSel->setGeometry(84, 8, 240, 26);
    txtAF_Comp->setGeometry(84, 8, 240, 26);
    btnEscape->setGeometry(84, 40, 52, 30);
    btnEscape->setPicture(imgEscape[mainState().mZ.Esc()]);
    btnReset->setGeometry(142, 40, 86, 30);
    BtnMemory->setGeometry(142, 40, 86, 30);
    btnCntClear->setGeometry(234, 40, 92, 30);
    btnAFOrign->setGeometry(234, 40, 92, 30);
    usrButton2->setGeometry(84, 78, 30, 26);
    scllText->setGeometry(116, 78, 52, 26);
    usrButton1->setGeometry(170, 78, 30, 26);
    Text1->setGeometry(84, 110, 146, 26);
    btnSetting->setGeometry(234, 108, 92, 28);
    btnAF->setGeometry(84, twipsToPixels(2100), 52, 30);
    btnCamera->setGeometry(142, twipsToPixels(2100), 86, 30);
    labCamera->setGeometry(84, twipsToPixels(2100) + 34, 240, 18);
    btnClose->setGeometry(234, twipsToPixels(setting ? 4040 : 2100), 92, 30);
    usrAdd->setGeometry(10, twipsToPixels(kNormalHeight) - 24, 216, height - twipsToPixels(kNormalHeight) + 16);
    usrAdd->setVisible(setting);
}

// ---------------------------------------------------------------------------
// Reading the drive

void frmSubZ::Get_Status()
{
    MainState& s = state();
    if (!connected())
        return;
    trap(QStringLiteral("Z-Drive_Status Read Error"), [&] {
        MicroscopeService& svc = *s.micService;
        if (svc.IsMounted(DeviceIndex::ZDrive) == 0)
            return;
        const Mode m = mode();
        layoutControls();
        btnCntClear->setVisible(m == Mode::Drive);
        BtnMemory->hide();
        btnAFOrign->hide();
        btnReset->show();
        btnEscape->setPicture(imgEscape[s.mZ.Esc()]);
        if (m == Mode::UpperLimit) {
            // Each activation warns again and lifts the limit again.
            btnReset->hide();
            BtnMemory->show();
            MsgBox::show(QStringLiteral("Z upper limit was canceled. Please take care and set up."), MsgBox::OKOnly,
                         MsgBox::Exclamation);
            m_savedUpperLimit = svc.ZUpperLimit();
            svc.setZUpperLimit(kOpenUpperLimit);
        }
        if (m == Mode::FocusSetting) {
            BtnMemory->show();
            btnReset->hide();
            usrAdd->setFirst(std::max<int16_t>(1, s.mObj.MIN()));
            usrAdd->setLast(s.mObj.MAX());
            usrAdd->setAddress(s.mObj.Address());
            for (int16_t a = 1; a <= s.mObj.MAX(); ++a)
                focusRow(a);
        }
        cameraSetUp(false);
        s.mZ.setMAX(vb::toInt32(svc.UpperLimit(LimitIndex::ZDrive)));
        s.mZ.setMIN(vb::toInt32(svc.LowerLimit(LimitIndex::ZDrive)));
        usrZscroll->setScaleMax(s.mZ.MAX());
        usrZscroll->setScaleMin(s.mZ.MIN());
        rangeMarks();
        usrZscroll->setOrigin(s.mZ.ORGIN());
        usrZscroll->setPosition(s.mZ.Value());
        txtSel->setCaption(s.mZ.Format_Count() + QStringLiteral(" um"));
    });
}

void frmSubZ::rangeMarks()
{
    const clsDefZControl& z = state().mZ;
    if (mode() == Mode::UpperLimit) {
        usrZscroll->setLimitMax(kOpenUpperLimit);
        usrZscroll->setLimitMin(z.MIN());
        return;
    }
    if (z.curScllMax <= z.curScllMin) {
        usrZscroll->setLimitMax(z.MAX());
        usrZscroll->setLimitMin(z.MIN());
        return;
    }
    const int32_t hi = std::min(z.MAX(), z.curScllMax);
    const int32_t lo = hi > z.curScllMin ? z.curScllMin : hi - 5;
    usrZscroll->setLimitMax(z.MAX() > hi ? hi : z.MAX());
    usrZscroll->setLimitMin(z.MIN() < lo ? lo : z.MIN());
}

void frmSubZ::ZDriveValue_Set()
{
    if (!connected())
        return;
    MainState& s = state();
    try {
        usrZscroll->setPosition(s.mZ.Value());
        const QString text = s.mZ.Format_Count() + QStringLiteral(" um");
        if (!m_focusing)
            txtSel->setCaption(text);
        // An origin or a count clear changes the reading without a move, so
        // no event would bring it to the main panel.
        setBothTwins(mainPanelSide().Zcmd, text);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Z FocusDrive_ZPosition Read Error"));
    }
}

void frmSubZ::Origin_Chg(int address)
{
    int32_t p = clsDefZControl::kNoFocusPosition;
    state().mZ.FocusPos_Get(int16_t(address), p);
    usrZscroll->setOrigin(p == clsDefZControl::kNoFocusPosition ? state().mZ.MIN() : p);
    usrAdd->setAddress(int16_t(address));
}

QString frmSubZ::focusRowText(int16_t address, int32_t position) const
{
    if (position == clsDefZControl::kNoFocusPosition)
        return QString::number(address) + QStringLiteral(" : ") + QStringLiteral("No Setting");
    const double um = (double(position) - state().mZ.ORGIN()) * 0.05;
    return QString::number(address) + QStringLiteral(" : ") + vb::numberText(um) + QStringLiteral(" um");
}

void frmSubZ::focusRow(int16_t address)
{
    // The drive keeps the positions: each row is read from it ("rOPR"), so
    // that a place with nothing stored (-900000) reads "No Setting".
    QString reply;
    state().micService->SendCommand(QStringLiteral("rOPR") + QString::number(address), reply);
    const int32_t p = roundCount(Common_Val(reply.right(8)));
    state().mZ.FocusPos_Put(address, p);
    usrAdd->SetLabel(focusRowText(address, p), address);
}

void frmSubZ::Step_Set()
{
    MainState& s = state();
    if (s.mObj.SETUP() == 0 || !connected())
        return;
    const int16_t a = s.mObj.Address();
    if (a < 1 || a > s.mObjData.size())
        return;
    const clsDefLens& lens = s.mObjData[a - 1];
    if (lens.NA() != 0) {
        const double na = lens.NA();
        s.mZ.setSTEP(roundCount(((0.55 / (2 * na * na)) / 4) / 0.05));
    }
    const double rate = lens.Rate();
    int16_t code = 4;
    if (rate >= 0 && rate <= 20) code = 2;
    else if (rate >= 21 && rate <= 80) code = 4;
    else if (rate >= 81 && rate <= 100) code = 6;
    else if (rate >= 101 && rate <= 150) code = 7;
    else if (rate >= 151 && rate <= 1000) code = 9;
    // A rate in a gap between the rows (20.5) keeps 4, as any rate outside
    // them; a fractional rate inside a row (1.25, 2.5) takes that row's code.
    trap(QStringLiteral("ZDrive_Speed Set Error"), [&] { s.micService->setZDriveSpeed(code); });
}

// ---------------------------------------------------------------------------
// Moving the drive

void frmSubZ::decode(const std::exception& e)
{
    MsgBox::show(failureText(QStringLiteral("Z Focus_Change"), e));
}

void frmSubZ::moveFocus(int32_t target, bool recover)
{
    MainState& s = state();
    if (!connected())
        return;
    try {
        s.micService->setZDriveZPosition(target);
    } catch (const std::exception& e) {
        if (!recover || s.mZ.Value() <= s.mZ.MAX()) {
            decode(e);
        } else {
            // The stage stands above its range: ask the drive where it is,
            // command it there, and believe it if that is back in range.
            try {
                QString reply;
                s.micService->SendCommand(QStringLiteral("rSPR"), reply);
                s.micService->setZDriveZPosition(roundCount(Common_Val(reply)));
                const int32_t now = s.micService->ZDriveZPosition();
                if (now > s.mZ.MAX())
                    decode(e);
                else
                    s.mZ.setValue(now);
            } catch (const std::exception& again) {
                decode(again);
            }
        }
    }
    ZDriveValue_Set();
}

void frmSubZ::stepEvent(double steps, bool down)
{
    MainState& s = state();
    whileBusy(usrZscroll, [&] {
        const clsDefZControl& z = s.mZ;
        if (z.Value() < z.MIN()) {
            if (down) {
                MsgBox::show(kMovable);
            } else if (MsgBox::show(kRaise, MsgBox::OKCancel) == MsgBox::OK) {
                moveFocus(z.MIN() + 5, false);
            }
            return;
        }
        if (z.Value() > z.MAX()) {
            if (!down) {
                MsgBox::show(kMovable);
            } else if (MsgBox::show(kLower, MsgBox::OKCancel) == MsgBox::OK) {
                moveFocus(z.MAX() - 5, true);
            }
            return;
        }
        const double delta = z.STEP() * steps;
        moveFocus(roundCount(usrZscroll->Position() + (down ? -delta : delta)), down);
    });
}

void frmSubZ::usrZscroll_FastDown() { stepEvent(7.5, true); }
void frmSubZ::usrZscroll_FastUp() { stepEvent(7.5, false); }
void frmSubZ::usrZscroll_SlowDown() { stepEvent(2.5, true); }
void frmSubZ::usrZscroll_SlowUp() { stepEvent(2.5, false); }

void frmSubZ::usrZscroll_ThumbReleased()
{
    whileBusy(usrZscroll, [&] { moveFocus(roundCount(usrZscroll->Position()), false); });
}

void frmSubZ::usrZscroll_ValueChange()
{
    // In range editing the marks moved; nothing goes to the drive.
    if (usrZscroll->mode() == 2)
        return;
    whileBusy(usrZscroll, [&] { moveFocus(roundCount(usrZscroll->Position()), false); });
}

void frmSubZ::setRepeatDirection(int16_t direction)
{
    m_repeat = direction;
    if (direction != 0 && connected())
        Timer1.start();
    else
        Timer1.stop();
}

void frmSubZ::Timer1_Timer()
{
    MainState& s = state();
    if (m_repeat == 0 || !connected()) {
        Timer1.stop();
        return;
    }
    const int32_t target = m_repeat < 0 ? s.mZ.Value() + s.mZ.STEP() : s.mZ.Value() - s.mZ.STEP();
    try {
        s.micService->setZDriveZPosition(target);
    } catch (const std::exception& e) {
        // The drive refused (a limit): the repeat ends with the message.
        setRepeatDirection(0);
        decode(e);
    }
}

void frmSubZ::WheelStepDown()
{
    MainState& s = state();
    if (!g_insidePanel || !s.MicConnected || !s.micService)
        return;
    try {
        s.micService->setZDriveZPosition(roundCount(s.mZ.Value() - s.mZ.STEP() * 2.5));
    } catch (const std::exception&) {
        // The drive's own limits answer; the wheel drops the failure.
    }
}

void frmSubZ::WheelStepUp()
{
    MainState& s = state();
    if (!g_insidePanel || !s.MicConnected || !s.micService)
        return;
    try {
        s.micService->setZDriveZPosition(roundCount(s.mZ.Value() + s.mZ.STEP() * 2.5));
    } catch (const std::exception&) {
    }
}

bool frmSubZ::insidePanel() { return g_insidePanel; }

// ---------------------------------------------------------------------------
// Buttons

void frmSubZ::btnReset_Pressed()
{
    MainState& s = state();
    clsDefZControl& z = s.mZ;
    auto moveBack = [&](int32_t bound, int32_t target) {
        z.setORGIN(bound);
        usrZscroll->setOrigin(z.ORGIN());
        whileBusy(usrZscroll, [&] { moveFocus(target, true); });
    };
    if (z.Value() < z.MIN()) {
        if (MsgBox::show(kRaise, MsgBox::OKCancel) == MsgBox::OK)
            moveBack(z.MIN(), z.MIN() + 5);
    } else if (z.Value() > z.MAX()) {
        if (MsgBox::show(kLower, MsgBox::OKCancel) == MsgBox::OK)
            moveBack(z.MAX(), z.MAX() - 5);
    } else {
        z.setORGIN(z.Value());
        usrZscroll->setOrigin(z.ORGIN());
    }
}

void frmSubZ::btnCntClear_Pressed()
{
    // ORGIN refuses values outside MIN..MAX: lift MAX for the moment.
    clsDefZControl& z = state().mZ;
    const int32_t max = z.MAX();
    z.setMAX(kOpenUpperLimit);
    z.setORGIN(0);
    z.setMAX(max);
    const double scaleMax = usrZscroll->ScaleMax();
    usrZscroll->setScaleMax(kOpenUpperLimit);
    usrZscroll->setOrigin(0);
    usrZscroll->setScaleMax(scaleMax);
}

void frmSubZ::btnAFOrign_Pressed()
{
    if (!connected())
        return;
    trap(QStringLiteral("Z Focus_Change Error"), [&] {
        QString reply;
        state().micService->SendCommand(QStringLiteral("cGAS") + vb::numberText(usrZscroll->Position()), reply);
    });
}

void frmSubZ::btnEscape_Click()
{
    MainState& s = state();
    WaitCursor wait;
    if (!connected())
        return;
    try {
        const int16_t escaped = s.micService->ZDriveIsZEscape();
        s.micService->setZDriveIsZEscape(escaped != 0 ? 0 : 1);
    } catch (const std::exception&) {
        // The picture keeps what the events reported.
        btnEscape->setPicture(imgEscape[s.mZ.Esc()]);
        MsgBox::show(QStringLiteral("ZDrive_Escape Limitation"));
    }
}

void frmSubZ::BtnMemory_Click()
{
    MainState& s = state();
    if (!connected())
        return;
    WaitCursor wait;
    frmAF->setEnabled(false);
    if (mode() == Mode::FocusSetting) {
        trap(QStringLiteral("Focus Setting Error"), [&] {
            QString reply;
            s.micService->SendCommand(QStringLiteral("cOPS2"), reply);
            motionParts::pause(1000);
            const int16_t a = s.mObj.Address();
            s.micService->SendCommand(QStringLiteral("rOPR") + QString::number(a), reply);
            const int32_t p = roundCount(Common_Val(reply.right(8)));
            s.mZ.FocusPos_Put(a, p);
            usrAdd->SetLabel(focusRowText(a, p), a);
            frmAF->setEnabled(true);
            usrAdd_AddressPicked(a);
        });
    } else if (mode() == Mode::UpperLimit) {
        if (s.mZ.MIN() >= s.mZ.Value()) {
            MsgBox::show(QStringLiteral("Upper Limit lower than Lower Limit."), MsgBox::OKOnly, MsgBox::Exclamation);
        } else {
            trap(QStringLiteral("ZDrive_UpperLimit Error"), [&] {
                s.micService->setZUpperLimit(s.mZ.Value());
                s.mZ.setUpperLimit(s.mZ.Value());
                motionParts::pause(1000);
                usrZscroll->setLimitMax(s.mZ.Value());
                usrZscroll->setLimitMin(s.mZ.MIN());
            });
        }
    }
    frmAF->setEnabled(true);
    Common_Flush();
}

void frmSubZ::btnSetting_Latched(bool on)
{
    clsDefZControl& z = state().mZ;
    if (on) {
        usrZscroll->setmode(2);
        btnClose->hide();
        return;
    }
    usrZscroll->setmode(1);
    btnClose->show();
    if (mode() != Mode::FocusSetting) {
        z.curScllMax = roundCount(usrZscroll->LimitMax());
        z.curScllMin = roundCount(usrZscroll->LimitMin());
    }
    if (mode() == Mode::UpperLimit)
        usrZscroll->setScaleMin(z.MIN());
}

void frmSubZ::usrButton1_Click()
{
    m_scaleIndex = std::min(m_scaleIndex + 1, int(kScale.size()) - 1);
    rescale();
}

void frmSubZ::usrButton2_Click()
{
    m_scaleIndex = std::max(m_scaleIndex - 1, 0);
    rescale();
}

void frmSubZ::rescale()
{
    const clsDefZControl& z = state().mZ;
    const double p = kScale[size_t(m_scaleIndex)];
    const motionParts::ScaleWindow sw = motionParts::scaleWindow(z.Value(), z.MIN(), z.MAX(), p);
    usrZscroll->setScaleMax(sw.high);
    usrZscroll->setScaleMin(sw.low);
    usrZscroll->setPosition(z.Value());
    scllText->setCaption(QString::number(int(p)) + QStringLiteral("%"));
}

void frmSubZ::usrAdd_AddressPicked(int16_t address)
{
    MainState& s = state();
    whileBusy(usrAdd, [&] {
        if (s.mObj.Address() == address)
            return;
        if (s.mObj.SETUP() != 1 || !connected())
            return;
        trapMove(QStringLiteral("Position_Change"), [&] {
            MicroscopeService& svc = *s.micService;
            const int16_t word = svc.NosepieceZMode();
            svc.setNosepieceZMode(1);
            motionParts::pause(300);
            svc.setNosepiecePosition(address);
            motionParts::pause(300);
            svc.setNosepieceZMode(word);
            usrAdd->setAddress(svc.NosepiecePosition());
            Step_Set();
        });
    });
}

void frmSubZ::btnClose_Click()
{
    MainState& s = state();
    if (mode() == Mode::FocusSetting && s.mObj.SETUP() != 0) {
        trap(QStringLiteral("Focus Setting Error"), [&] {
            // The objective of the lowest rate below 0: with real rates none,
            // so nothing is sent. This is the drive's established behaviour.
            int16_t taken = -1;
            double lowest = 0;
            for (int16_t a = usrAdd->First(); a <= usrAdd->Last(); ++a) {
                if (a >= 1 && a <= s.mObjData.size() && s.mObjData[a - 1].Rate() < lowest) {
                    lowest = s.mObjData[a - 1].Rate();
                    taken = a;
                }
            }
            int32_t p = clsDefZControl::kNoFocusPosition;
            if (taken != -1)
                s.mZ.FocusPos_Get(taken, p);
            if (taken != -1 && p != clsDefZControl::kNoFocusPosition && connected()) {
                QString reply;
                s.micService->SendCommand(QStringLiteral("cGAS") + QString::number(p), reply);
            }
        });
    }
}

// ---------------------------------------------------------------------------
// Events

void frmSubZ::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    const QStringList parts = bstrMessage.split(QLatin1Char(':'));
    if (parts.size() < 2)
        return;
    const QString& name = parts[0];
    try {
        if (name == QLatin1String("AppNosepiecePosition")) {
            Step_Set();
            usrAdd->setAddress(vb::toInt16(Common_Val(parts[1])));
        } else if (name == QLatin1String("AppZDriveIsZEscape") || name == QLatin1String("AppXYZDriveIsEscape")) {
            btnEscape->setPicture(imgEscape[Common_Val(parts[1]) != 0 ? 1 : 0]);
        }
    } catch (const std::exception& e) {
        showEventError(e);
    }
}

void frmSubZ::keyPressEvent(QKeyEvent* e)
{
    // Character code 10 (Ctrl+Enter) in "Focus Setting" shows btnAFOrign.
    if (mode() == Mode::FocusSetting && e->text() == QLatin1String("\n")) {
        btnAFOrign->show();
        return;
    }
    SubPanel::keyPressEvent(e);
}

void frmSubZ::wheelEvent(QWheelEvent* e)
{
    // One message is one step, whatever its size; the event goes on.
    if (isVisible()) {
        if (e->angleDelta().y() < 0)
            WheelStepDown();
        else
            WheelStepUp();
    }
    e->ignore();
}

bool frmSubZ::eventFilter(QObject* watched, QEvent* e)
{
    if (watched == frmAF) {
        switch (e->type()) {
        case QEvent::Enter:
            g_insidePanel = true;
            break;
        case QEvent::Leave:
            g_insidePanel = false;
            break;
        case QEvent::MouseMove: {
            const QPointF p = static_cast<QMouseEvent*>(e)->position();
            g_insidePanel = p.x() >= 0 && p.x() < frmAF->width() && p.y() >= 0 && p.y() < frmAF->height();
            break;
        }
        default:
            break;
        }
    }
    if (watched == usrZscroll && e->type() == QEvent::KeyPress) {
        // A held arrow key repeats through Timer1; its release stops it.
        auto* k = static_cast<QKeyEvent*>(e);
        if (k->isAutoRepeat() && (k->key() == Qt::Key_Up || k->key() == Qt::Key_Down)) {
            if (m_repeat == 0)
                setRepeatDirection(k->key() == Qt::Key_Up ? -1 : 1);
            return true;
        }
    }
    if (watched == usrZscroll && e->type() == QEvent::KeyRelease) {
        auto* k = static_cast<QKeyEvent*>(e);
        if (!k->isAutoRepeat() && m_repeat != 0)
            setRepeatDirection(0);
    }
    return SubPanel::eventFilter(watched, e);
}
