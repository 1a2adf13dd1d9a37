#include "devicepanels/motion/frmSubStage.h"

#include "devicepanels/motion/MotionPanelParts.h"
#include "devicepanels/subpanel/MainPanelSide.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/VbConvert.h"
#include "core/base/mdlCommon.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrStage.h"

#include <QFrame>
#include <algorithm>
#include <cmath>

using motionParts::roundCount;

namespace {
const QString kXYSection = QStringLiteral("XY Stage");
} // namespace

frmSubStage::frmSubStage(QWidget* owner) : SubPanel(QStringLiteral("frmSubStage"), kStage, owner)
{
    using namespace motionParts;
    panelLook::applyTo(this);
    imgEscape = escapeImages();

    frmXYScroll = new QFrame(this);
    frmXYScroll->setObjectName(QStringLiteral("frmXYScroll"));
    frmXYScroll->setAccessibleName(QStringLiteral("Stage map"));
    usrXYScroll = new usrStage(frmXYScroll);
    usrXYScroll->setObjectName(QStringLiteral("usrXYScroll"));
    usrXYScroll->setAccessibleName(
        QStringLiteral("Stage position: click to go there, right-click to start or stop running towards the pointer"));
    Text1 = panelLook::valueLabel(this, QStringLiteral("Text1"), QStringLiteral("Stage X position"));
    Text2 = panelLook::valueLabel(this, QStringLiteral("Text2"), QStringLiteral("Stage Y position"));
    txtStep = panelLook::caption(this, QStringLiteral("1"));
    txtStep->setObjectName(QStringLiteral("txtStep"));
    txtStep->setAccessibleName(QStringLiteral("Speed level of the objective"));
    btnMinus = oneShot(this, "btnMinus", QStringLiteral("-"), QStringLiteral("Show less of the travel (zoom in)"));
    scllText = panelLook::caption(this, QStringLiteral("100%"));
    scllText->setObjectName(QStringLiteral("scllText"));
    scllText->setAlignment(Qt::AlignCenter);
    scllText->setAccessibleName(QStringLiteral("Part of the travel shown"));
    butPlus = oneShot(this, "butPlus", QStringLiteral("+"), QStringLiteral("Show more of the travel (zoom out)"));
    frmNormalVer = new QFrame(this);
    frmNormalVer->setObjectName(QStringLiteral("frmNormalVer"));
    frmNormalVer->setAccessibleName(QStringLiteral("Origins"));
    btnAbs = oneShot(frmNormalVer, "btnAbs", QStringLiteral("Abs"), QStringLiteral("Show absolute stage coordinates"));
    btnXReset = oneShot(frmNormalVer, "btnXReset", QStringLiteral("X Origin"), QStringLiteral("Make the present X 0 um"));
    btnYReset = oneShot(frmNormalVer, "btnYReset", QStringLiteral("Y Origin"), QStringLiteral("Make the present Y 0 um"));
    frmSettingVer = new QFrame(this);
    frmSettingVer->setObjectName(QStringLiteral("frmSettingVer"));
    frmSettingVer->setAccessibleName(QStringLiteral("Stage position per objective"));
    usrAdd = new usrAddress(frmSettingVer);
    usrAdd->setObjectName(QStringLiteral("usrAdd"));
    usrAdd->setAccessibleName(QStringLiteral("Objective whose stage position is set"));
    BtnMemory = oneShot(frmSettingVer, "BtnMemory", QStringLiteral("Memory"),
                        QStringLiteral("Remember the stage position for the objective"));
    btnSetting = latching(this, "btnSetting", QStringLiteral("Range"), QStringLiteral("Edit the operating range"));
    btnEscape = oneShot(this, "btnEscape", QString(), QStringLiteral("Escape the stage, or bring it back"));
    // Escape reaches the stand while a move runs, to stop it where it is.
    setEscapeControl(btnEscape);
    btnClose = makeCloseButton();

    QWidget* order[] = {usrXYScroll, btnMinus, butPlus, btnAbs, btnXReset, btnYReset, usrAdd, BtnMemory,
                        btnSetting, btnEscape, btnClose};
    for (size_t i = 1; i < std::size(order); ++i)
        setTabOrder(order[i - 1], order[i]);

    connect(usrXYScroll, &usrStage::XStepUp, this, [this] { axisMove(true, usrXYScroll->XValue() + state().mXY.XSTEP()); });
    connect(usrXYScroll, &usrStage::XStepDown, this, [this] { axisMove(true, usrXYScroll->XValue() - state().mXY.XSTEP()); });
    connect(usrXYScroll, &usrStage::YStepUp, this, [this] { axisMove(false, usrXYScroll->YValue() + state().mXY.YSTEP()); });
    connect(usrXYScroll, &usrStage::YStepDown, this, [this] { axisMove(false, usrXYScroll->YValue() - state().mXY.YSTEP()); });
    connect(usrXYScroll, &usrStage::XChanged, this, [this] { axisMove(true, usrXYScroll->XValue()); });
    connect(usrXYScroll, &usrStage::YChanged, this, [this] { axisMove(false, usrXYScroll->YValue()); });
    connect(usrXYScroll, &usrStage::GoTo, this, [this](double x, double y) { usrXYScroll_GoTo(x, y); });
    connect(usrXYScroll, &usrStage::MemoryStored, this, [](int16_t i, int32_t x, int32_t y) {
        mainState().mXY.setXMemoryPos(i, x);
        mainState().mXY.setYMemoryPos(i, y);
    });
    connect(usrXYScroll, &usrStage::MouseDown, this,
            [this](int16_t b, int16_t s, float x, float y) { usrXYScroll_MouseDown(b, s, x, y); });
    connect(usrXYScroll, &usrStage::MouseMove, this,
            [this](int16_t b, int16_t s, float x, float y) { usrXYScroll_MouseMove(b, s, x, y); });
    connect(btnXReset, &usrButton::Pressed, this, [this] {
        state().mXY.setXORGIN(state().mXY.XCount());
        usrXYScroll->setXOrigin(state().mXY.XORGIN());
    });
    connect(btnYReset, &usrButton::Pressed, this, [this] {
        state().mXY.setYORGIN(state().mXY.YCount());
        usrXYScroll->setYOrigin(state().mXY.YORGIN());
    });
    connect(btnAbs, &usrButton::Pressed, this, [this] {
        state().mXY.setXORGIN(0);
        state().mXY.setYORGIN(0);
        usrXYScroll->setXOrigin(0);
        usrXYScroll->setYOrigin(0);
    });
    for (usrButton* b : {btnXReset, btnYReset, btnAbs})
        connect(b, &usrButton::Released, this, [this] { XYPosition_Refresh(); });
    connect(btnMinus, &usrButton::Released, this, [this] { rescale(-1); });
    connect(butPlus, &usrButton::Released, this, [this] { rescale(1); });
    connect(btnEscape, &usrButton::Released, this, [this] { btnEscape_Click(); });
    connect(btnSetting, &usrButton::Pressed, this, [this] { btnSetting_Latched(true); });
    connect(btnSetting, &usrButton::Unlatched, this, [this] { btnSetting_Latched(false); });
    connect(BtnMemory, &usrButton::Released, this, [this] { BtnMemory_Click(); });
    connect(usrAdd, &usrAddress::AddressPicked, this, [this](int16_t a) { usrAdd_AddressPicked(a); });
    connect(&Timer1, &QTimer::timeout, this, [this] { Timer1_Timer(); });

    // Form_Initialize: the timer base, the drag origin and vector cleared.
    Timer1.setInterval(int(kDragBase));
    attachOwnEvents();
    layoutControls();
}

frmSubStage::~frmSubStage()
{
    Timer1.stop();
    writeMemories();
}

void frmSubStage::writeMemories()
{
    MainState& s = state();
    if (s.mXY.SETUP() == 0)
        return;
    try {
        for (int16_t i = 0; i <= 4; ++i) {
            s.INI.Ini_Write(kXYSection, QStringLiteral("Memory_X%1").arg(i), QString::number(s.mXY.XMemoryPos(i)));
            s.INI.Ini_Write(kXYSection, QStringLiteral("Memory_Y%1").arg(i), QString::number(s.mXY.YMemoryPos(i)));
        }
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("XY_stage_position write error"));
    }
}

void frmSubStage::layoutControls()
{
    const bool setting = settingMode();
    setKeepsPlace(!setting);
    const QSize map = usrXYScroll->sizeHint();
    frmXYScroll->setGeometry(8, 8, map.width(), map.height());
    usrXYScroll->setGeometry(0, 0, map.width(), map.height());
    const int x = map.width() + 16;
    Text1->setGeometry(x, 8, 150, 24);
    Text2->setGeometry(x, 34, 150, 24);
    txtStep->setGeometry(x, 62, 150, 18);
    btnMinus->setGeometry(x, 84, 30, 26);
    scllText->setGeometry(x + 32, 84, 54, 26);
    butPlus->setGeometry(x + 88, 84, 30, 26);
    frmNormalVer->setGeometry(x, 116, 150, 102);
    btnAbs->setGeometry(0, 0, 150, 30);
    btnXReset->setGeometry(0, 34, 73, 30);
    btnYReset->setGeometry(77, 34, 73, 30);
    btnSetting->setGeometry(x, 186, 72, 30);
    btnEscape->setGeometry(x + 78, 186, 72, 30);
    btnEscape->setPicture(imgEscape[state().mZ.Esc()]);
    frmNormalVer->setGeometry(x, 116, 150, 66);
    frmNormalVer->setVisible(!setting);
    const int bottom = map.height() + 16;
    frmSettingVer->setGeometry(8, bottom, x + 150 - 8, 160);
    usrAdd->setGeometry(0, 0, x - 16, 156);
    BtnMemory->setGeometry(x - 8, 0, 150, 30);
    frmSettingVer->setVisible(setting);
    btnClose->setGeometry(x, setting ? bottom + 126 : 230, 150, 30);
    setFixedSize(x + 158, setting ? bottom + 168 : map.height() + 16);
}

void frmSubStage::Get_Status()
{
    MainState& s = state();
    if (!connected())
        return;
    trap(QStringLiteral("XY_Position Read Error"), [&] {
        const clsDefXYControl& xy = s.mXY;
        layoutControls();
        usrXYScroll->setXScaleMax(xy.XMAX());
        usrXYScroll->setXScaleMin(xy.XMIN());
        usrXYScroll->setYScaleMax(xy.YMAX());
        usrXYScroll->setYScaleMin(xy.YMIN());
        usrXYScroll->setXOrigin(xy.XORGIN());
        usrXYScroll->setYOrigin(xy.YORGIN());
        const bool xSet = xy.XSCLMAX() > xy.XSCLMIN();
        const bool ySet = xy.YSCLMAX() > xy.YSCLMIN();
        usrXYScroll->setXLimitMax(xSet ? xy.XSCLMAX() : xy.XMAX());
        usrXYScroll->setXLimitMin(xSet ? xy.XSCLMIN() : xy.XMIN());
        usrXYScroll->setYLimitMax(ySet ? xy.YSCLMAX() : xy.YMAX());
        usrXYScroll->setYLimitMin(ySet ? xy.YSCLMIN() : xy.YMIN());
        for (int16_t i = 0; i < usrStage::kMemories; ++i) {
            usrXYScroll->setXMemoryPos(i, xy.XMemoryPos(i));
            usrXYScroll->setYMemoryPos(i, xy.YMemoryPos(i));
        }
        if (settingMode()) {
            usrAdd->setFirst(std::max<int16_t>(1, s.mObj.MIN()));
            usrAdd->setLast(s.mObj.MAX());
            usrAdd->setAddress(s.mObj.Address());
            for (int16_t a = 1; a <= s.mObj.MAX(); ++a)
                offsetRow(a);
        }
        XYStep_Set();
        s.mXY.setXCount(s.micService->XYDriveXPosition());
        s.mXY.setYCount(s.micService->XYDriveYPosition());
        XYPosition_Refresh();
    });
}

void frmSubStage::offsetRow(int16_t address)
{
    const clsDefXYControl& xy = state().mXY;
    const int32_t x = xy.XOffset(address), y = xy.YOffset(address);
    QString text = QString::number(address) + QStringLiteral(" :  X : ");
    if (x == 0 && y == 0)
        text = QString::number(address) + QStringLiteral(" : No Setting");
    else
        text += vb::numberText((double(x) - xy.XORGIN()) * 0.5) + QStringLiteral("  Y :") +
                vb::numberText((double(y) - xy.YORGIN()) * 0.5);
    usrAdd->SetLabel(text, address);
}

void frmSubStage::XYPosition_Refresh()
{
    const clsDefXYControl& xy = state().mXY;
    usrXYScroll->setXValue(xy.XCount());
    usrXYScroll->setYValue(xy.YCount());
    showPosition();
}

void frmSubStage::showPosition()
{
    const clsDefXYControl& xy = state().mXY;
    try {
        const QString x = xy.Format_XCount() + QStringLiteral(" um");
        const QString y = xy.Format_YCount() + QStringLiteral(" um");
        Text1->setCaption(QStringLiteral("X ") + x);
        Text2->setCaption(QStringLiteral("Y ") + y);
        // An origin changes the reading without a move, so no event would
        // bring it to the main panel.
        setBothTwins(mainPanelSide().Xcmd, x);
        setBothTwins(mainPanelSide().Ycmd, y);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("XY_Position Read Error"));
    }
}

void frmSubStage::XYStep_Set()
{
    MainState& s = state();
    if (s.mObj.SETUP() == 0 || !connected())
        return;
    const int16_t a = s.mObj.Address();
    const double rate = a >= 1 && a <= s.mObjData.size() ? s.mObjData[a - 1].Rate() : 0;
    trap(QStringLiteral("XYDrive_Step Set Error"), [&] {
        // Deliberately negative: Timer1 subtracts it to follow the drag.
        const int32_t step = rate != 0 ? roundCount(-20 / rate / 10 * 100) : 1;
        s.mXY.setXSTEP(step);
        s.mXY.setYSTEP(step);
        int level = 1;   // level 6 does not occur
        if (rate >= 0 && rate <= 20) level = 1;
        else if (rate >= 21 && rate <= 40) level = 2;
        else if (rate >= 41 && rate <= 60) level = 3;
        else if (rate >= 61 && rate <= 80) level = 4;
        else if (rate >= 81 && rate <= 100) level = 5;
        else if (rate >= 101 && rate <= 150) level = 7;
        txtStep->setCaption(QString::number(level));
    });
}

// ---------------------------------------------------------------------------
// Moves

void frmSubStage::axisMove(bool x, double value)
{
    if (!connected())
        return;
    whileBusy(usrXYScroll, [&] {
        trapMove(x ? QStringLiteral("XYDrive_XPosition") : QStringLiteral("XYDrive_YPosition"), [&] {
            const int32_t v = roundCount(value);
            if (x)
                state().micService->setXYDriveXPosition(v);
            else
                state().micService->setXYDriveYPosition(v);
        });
    });
}

void frmSubStage::moveX(double x) { axisMove(true, x); }
void frmSubStage::moveY(double y) { axisMove(false, y); }

void frmSubStage::usrXYScroll_GoTo(double X, double Y)
{
    if (!connected())
        return;
    whileBusy(usrXYScroll, [&] {
        trapMove(QStringLiteral("XYDrive_Move"), [&] {
            state().micService->XYDriveMove(roundCount(X), roundCount(Y));
        });
    });
}

void frmSubStage::usrXYScroll_MouseDown(int16_t Button, int16_t Shift, float, float)
{
    if (!connected())
        return;
    MicroscopeService& svc = *state().micService;
    usrXYScroll->setEnabled(false);
    // The handler's one trap is the stage move's.
    trapMove(QStringLiteral("XYDrive_Move"), [&] {
        if (Button == 1 && !Timer1.isActive()) {
            svc.XYDriveMove(roundCount(usrXYScroll->XValue()), roundCount(usrXYScroll->YValue()));
            m_dX = m_dY = 0;
        } else if (Button == 2) {
            m_originX = kCentre;
            m_originY = kCentre;
            if (Shift == 0 && !Timer1.isActive()) {
                m_keptMode = svc.XYDriveMode();
                svc.setXYDriveMode(1);
                m_dX = m_dY = 0;
                Timer1.start();
                btnSetting->hide();
            } else {
                endDrag();
            }
        }
    });
    usrXYScroll->setEnabled(true);
}

// Ends the right-button drag as a second right press does: Timer1 off, both
// Set buttons back, the stage's kept mode written back.
void frmSubStage::endDrag()
{
    Timer1.stop();
    btnSetting->show();
    state().micService->setXYDriveMode(m_keptMode);
}

void frmSubStage::usrXYScroll_MouseMove(int16_t Button, int16_t, float X, float Y)
{
    usrXYScroll->setMousePointer(Button == 2 ? 99 : 0);
    if (!Timer1.isActive())
        return;
    m_dX = std::nearbyint(0.1 * (m_originX - X));
    m_dY = std::nearbyint(0.1 * (m_originY - Y));
    const double lead = std::abs(m_dX) > std::abs(m_dY) ? std::abs(m_dX) : std::abs(m_dY);
    if (lead == 0)
        return;
    Timer1.setInterval(std::max(1, int(std::nearbyint(kDragBase / lead))));
}

void frmSubStage::Timer1_Timer()
{
    MainState& s = state();
    if (!connected()) {
        Timer1.stop();
        return;
    }
    const double level = std::max(1.0, Common_Val(txtStep->Caption()));
    const clsDefXYControl& xy = s.mXY;
    // The target goes out as it is, also past the travel: the drive
    // refuses it, and the refusal ends the drag.
    auto run = [&](double d, double from, int32_t step, bool x) {
        if (d >= -10 && d <= 10)
            return;   // the dead zone of the axis
        const int32_t target = roundCount(from - (d * step) / level);
        try {
            if (x)
                s.micService->setXYDriveXPosition(target);
            else
                s.micService->setXYDriveYPosition(target);
        } catch (const std::exception& e) {
            MsgBox::show(failureText(x ? QStringLiteral("XYDrive_XPosition")
                                                        : QStringLiteral("XYDrive_YPosition"), e));
            trapMove(QStringLiteral("XYDrive_Move"), [&] { endDrag(); });
        }
    };
    run(m_dX, usrXYScroll->XValue(), xy.XSTEP(), true);
    if (Timer1.isActive())
        run(m_dY, usrXYScroll->YValue(), xy.YSTEP(), false);
}

// ---------------------------------------------------------------------------
// Buttons

void frmSubStage::btnEscape_Click()
{
    WaitCursor wait;
    if (!connected())
        return;
    try {
        MicroscopeService& svc = *state().micService;
        const int16_t escaped = svc.XYDriveIsEscape();
        svc.setXYDriveIsEscape(escaped != 0 ? 0 : 1);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("XY-Stage Escape Limitation"));
    }
}

void frmSubStage::btnSetting_Latched(bool on)
{
    if (on) {
        usrXYScroll->setmode(2);
        btnEscape->hide();
        return;
    }
    clsDefXYControl& xy = state().mXY;
    usrXYScroll->setmode(1);
    xy.setXSCLMAX(roundCount(usrXYScroll->XLimitMax()));
    xy.setXSCLMIN(roundCount(usrXYScroll->XLimitMin()));
    xy.setYSCLMAX(roundCount(usrXYScroll->YLimitMax()));
    xy.setYSCLMIN(roundCount(usrXYScroll->YLimitMin()));
    btnEscape->show();
    if (!settingMode())
        XYPosition_Refresh();
}

void frmSubStage::BtnMemory_Click()
{
    MainState& s = state();
    if (!settingMode() || !connected())
        return;
    frmXYScroll->setEnabled(false);
    trap(QStringLiteral("Focus Setting Error"), [&] {
        const int16_t a = s.mObj.Address();
        s.mXY.setXOffset(a, s.micService->XYDriveXPosition());
        s.mXY.setYOffset(a, s.micService->XYDriveYPosition());
        offsetRow(a);
    });
    frmXYScroll->setEnabled(true);
}

void frmSubStage::usrAdd_AddressPicked(int16_t address)
{
    MainState& s = state();
    whileBusy(usrAdd, [&] {
        if (s.mObj.SETUP() != 1 || !connected() || s.mObj.Address() == address)
            return;
        trapMove(QStringLiteral("Position_Change"), [&] {
            MicroscopeService& svc = *s.micService;
            const int16_t word = svc.NosepieceXYMode();
            svc.setNosepieceXYMode(1);
            svc.setNosepiecePosition(address);
            svc.setNosepieceXYMode(word);
            usrAdd->setAddress(svc.NosepiecePosition());
        });
    });
}

void frmSubStage::rescale(int direction)
{
    m_scaleIndex = std::clamp(m_scaleIndex + direction, 0, int(kScale.size()) - 1);
    const double p = kScale[size_t(m_scaleIndex)];
    const clsDefXYControl& xy = state().mXY;
    const motionParts::ScaleWindow x = motionParts::scaleWindow(xy.XCount(), xy.XMIN(), xy.XMAX(), p);
    const motionParts::ScaleWindow y = motionParts::scaleWindow(xy.YCount(), xy.YMIN(), xy.YMAX(), p);
    usrXYScroll->setXScaleMax(x.high);
    usrXYScroll->setXScaleMin(x.low);
    usrXYScroll->setYScaleMax(y.high);
    usrXYScroll->setYScaleMin(y.low);
    XYPosition_Refresh();
    scllText->setCaption(QString::number(int(p)) + QStringLiteral("%"));
}

// ---------------------------------------------------------------------------
// Events

void frmSubStage::micEvent_OnPropertyChanged(const QString& bstrMessage)
{
    const QStringList parts = bstrMessage.split(QLatin1Char(':'));
    if (parts.size() < 2)
        return;
    MainState& s = state();
    const QString& name = parts[0];
    try {
        if (name == QLatin1String("AppNosepiecePosition")) {
            XYStep_Set();
            usrAdd->setAddress(vb::toInt16(Common_Val(parts[1])));
        } else if (name == QLatin1String("AppXYDriveXPosition")) {
            s.mXY.setXCount(vb::toInt32(Common_Val(parts[1])));
            usrXYScroll->setXValue(s.mXY.XCount());
            showPosition();
        } else if (name == QLatin1String("AppXYDriveYPosition")) {
            s.mXY.setYCount(vb::toInt32(Common_Val(parts[1])));
            usrXYScroll->setYValue(s.mXY.YCount());
            showPosition();
        } else if (name == QLatin1String("AppZDriveIsZEscape") || name == QLatin1String("AppXYZDriveIsEscape")) {
            btnEscape->setPicture(imgEscape[Common_Val(parts[1]) != 0 ? 1 : 0]);
        }
    } catch (const std::exception& e) {
        showEventError(e);
    }
}
