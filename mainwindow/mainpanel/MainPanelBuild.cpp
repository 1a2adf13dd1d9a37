// Building the panel's widgets: the menu column, the large and the compact
// looks, and the position selector, at their design places.
#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/MainPanelParts.h"

#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "mainwindow/mainpanel/PanelLayout.h"
#include "widgets/Units.h"
#include "widgets/WidgetLook.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

#include <QApplication>
#include <QEvent>
#include <QFont>
#include <QResizeEvent>
#include <QWindow>

using namespace layout;
using zentor::pixelsToTwips;
using zentor::twipsToPixels;
using namespace mainpanel;

void MainPanel::buildMenu()
{
    frmMenu = new PanelFrame(this);
    frmMenu->setBackColor(kBack);
    twips::place(frmMenu, 0, 0, kMenuWidth, kMenuHeight);

    static const char* const names[6] = {"", "Connection", "Setting", "Information",
                                         "Observation Method", "Custom Observation"};
    // Glyphs of the entry strip; the DejaVu set of the desktop has them all.
    static const char16_t glyphs[6] = {0, u'\u21C4', u'\u2699', u'\u2139', u'\u25C9', u'\u2605'};
    for (int i = 1; i <= 5; ++i) {
        const int top = kEntryTop + (i - 1) * kEntryPitch;
        btnmenu[i] = new PanelLabel(QString(QChar(glyphs[i])), frmMenu);
        btnmenu[i]->setObjectName(QStringLiteral("btnmenu%1").arg(i));
        btnmenu[i]->setAlignment(Qt::AlignCenter);
        btnmenu[i]->setFont(sized(font(), 11, true));
        btnmenu[i]->setBackColor(kBack);
        twips::place(btnmenu[i], kEntryLeft, top, kEntryRight - kEntryLeft, kEntryHeight);
        labmenu[i] = new PanelLabel(QString::fromLatin1(names[i]), frmMenu);
        labmenu[i]->setObjectName(QStringLiteral("labmenu%1").arg(i));
        labmenu[i]->setFont(sized(font(), 9.5, true));
        labmenu[i]->setIndent(6);
        twips::place(labmenu[i], kMenuLabelLeft, top, kMenuWidth - kMenuLabelLeft - 60, kEntryHeight);
    }

    const int secW = kMenuWidth - kSectionInset;
    auto section = [&](const QString& title, usrButton** down) {
        auto* fr = new PanelFrame(frmMenu, title);
        fr->setBackColor(kBack);
        fr->setBorderColor(kFrameEdge);
        if (down) {
            *down = new usrButton(fr);
            (*down)->setCaption(QStringLiteral("\u25B2"));
            twips::place(*down, secW - kDownSize - 60, 20, kDownSize, kDownSize);
        }
        fr->hide();
        return fr;
    };
    auto entry = [&](QWidget* parent, const QString& caption, int row, int top0 = kRowTop) {
        auto* l = new PanelLabel(caption, parent);
        l->setBackColor(kBack);
        l->setForeColor(kText);
        twips::place(l, 60, top0 + row * kRow, secW - 120, kRow - 20);
        l->installEventFilter(this);
        return l;
    };
    auto button = [&](QWidget* parent, const QString& caption, int l, int t, int w, int h) {
        auto* b = new usrButton(parent);
        b->setCaption(caption);
        twips::place(b, l, t, w, h);
        return b;
    };

    // Connection: a page for the microscope and one for the fiber illuminator.
    frmConnect = section(QStringLiteral("Connection"), &downConnect);
    tabConnect = new QTabBar(frmConnect);
    tabConnect->addTab(QStringLiteral("  Microscope"));
    tabConnect->addTab(QStringLiteral("  Fiber"));
    tabConnect->setExpanding(false);
    tabConnect->setDrawBase(false);
    twips::place(tabConnect, 60, 300, secW - 120, 360);
    pageMic = new QWidget(frmConnect);
    pageFiber = new QWidget(frmConnect);
    for (QWidget* page : {pageMic, pageFiber})
        twips::place(page, 60, 680, secW - 120, 1900);
    const int pw = secW - 120;
    labMic = new PanelLabel(QStringLiteral("Select"), pageMic);
    labMic->setBackColor(0x3A2420);
    labMic->setFont(sized(font(), 9.5, true));
    labMic->setIndent(4);
    twips::place(labMic, 0, 0, pw - 330, 330);
    downMicSel = button(pageMic, QStringLiteral("\u25BC"), pw - 310, 0, 310, 330);
    lstMic = new QListWidget(pageMic);
    twips::place(lstMic, 0, 360, pw, 900);
    const int bw = (pw - 120) / 3;
    btnOpen = button(pageMic, QStringLiteral("Open"), 0, 1340, bw, 400);
    btnClose = button(pageMic, QStringLiteral("Close"), bw + 60, 1340, bw, 400);
    btnStatusRead = button(pageMic, QStringLiteral("Status"), 2 * (bw + 60), 1340, bw, 400);
    btnClose->setEnabled(false);
    btnStatusRead->setEnabled(false);
    lstFiber = new QListWidget(pageFiber);
    twips::place(lstFiber, 0, 0, pw, 1260);
    btnFiberOpen = button(pageFiber, QStringLiteral("Open"), 0, 1340, bw, 400);
    btnFiberClose = button(pageFiber, QStringLiteral("Close"), bw + 60, 1340, bw, 400);
    btnFiberRStatus = button(pageFiber, QStringLiteral("Status"), 2 * (bw + 60), 1340, bw, 400);
    btnFiberClose->setEnabled(false);
    pageFiber->hide();
    for (QListWidget* l : {lstMic, lstFiber}) {
        QPalette lp = l->palette();
        lp.setColor(QPalette::Base, zentor::colorFromBgr(0x3A2420));
        lp.setColor(QPalette::Text, zentor::colorFromBgr(kText));
        lp.setColor(QPalette::Highlight, zentor::colorFromBgr(kSelected));
        lp.setColor(QPalette::HighlightedText, Qt::black);
        l->setPalette(lp);
        l->setFrameShape(QFrame::NoFrame);
    }

    // Setting: the set-up tool, the control pad and three stand settings.
    frmSetting = section(QStringLiteral("Setting"), &downSetting);
    static const char* const setupNames[4] = {" Setup", " Control Pad          Setup",
                                              " Z Upper Limit", " Focus Setting"};
    for (int i = 0; i < 4; ++i)
        btnSetup[i] = entry(frmSetting, QString::fromLatin1(setupNames[i]), i);
    btnSetupXY = entry(frmSetting, QStringLiteral(" XY Setting"), 4);
    frmControlPad = new PanelFrame(frmSetting, QStringLiteral("Control Pad"));
    frmControlPad->setBackColor(kBack);
    frmControlPad->setBorderColor(kFrameEdge);
    twips::place(frmControlPad, 60, kRowTop + 5 * kRow + 60, secW - 120, 300 + 2 * kRow + 80);
    static const char* const ledNames[3] = {" Off", " Dark", " Bright"};
    const int ledW = (secW - 300) / 3;
    for (int i = 0; i < 3; ++i) {
        btnLED[i] = new PanelLabel(QString::fromLatin1(ledNames[i]), frmControlPad);
        btnLED[i]->setBackColor(kBack);
        btnLED[i]->setAlignment(Qt::AlignCenter);
        btnLED[i]->setFrameShape(QFrame::Box);
        btnLED[i]->installEventFilter(this);
        twips::place(btnLED[i], 60 + i * ledW, 300, ledW - 40, kRow - 20);
    }
    btnEnable = new PanelLabel(QStringLiteral(" Enable"), frmControlPad);
    btnEnable->setBackColor(kBack);
    btnEnable->setAlignment(Qt::AlignCenter);
    btnEnable->setFrameShape(QFrame::Box);
    btnEnable->installEventFilter(this);
    twips::place(btnEnable, 60, 300 + kRow, 3 * ledW - 40, kRow - 20);
    frmControlPad->hide();

    // Information: event log, versions and the two sibling tools.
    frmInfo = section(QStringLiteral("Information"), &downInfo);
    static const char* const infoNames[4] = {" Event Log", " Version", " Q7s Switch",
                                             " Tolva Control"};
    for (int i = 0; i < 4; ++i)
        btnInfo[i] = entry(frmInfo, QString::fromLatin1(infoNames[i]), i);

    // Observation Method: seven entries, each a coloured row with its caption.
    frmObserve = section(QStringLiteral("Observation Method"), nullptr);
    static const char* const obsNames[8] = {"", "Brightfield", "DIC", "DIC / Fl.", "Fluorescence",
                                            "Phase Contrast", "Darkfield", ""};
    for (int i = 1; i <= 7; ++i) {
        const int top = kRowTop + (i - 1) * kRow;
        btnObserve[i] = new PanelLabel(QString(), frmObserve);
        btnObserve[i]->setBackColor(kBack);
        twips::place(btnObserve[i], 60, top, secW - 120, kRow - 30);
        labObserve[i] = new PanelLabel(QString::fromLatin1(obsNames[i]), btnObserve[i]);
        labObserve[i]->setForeColor(kText);
        labObserve[i]->setFont(sized(font(), 9.5, false));
        labObserve[i]->setIndent(8);
        twips::place(labObserve[i], 60, 0, secW - 240, kRow - 30);
    }
    labObserve[7]->setTag(QStringLiteral("7"));
    btnProfile = button(frmObserve, QStringLiteral("Profile..."), 60, kRowTop + 7 * kRow + 40,
                        secW - 120, 400);

    // Custom Observation: the six user methods.
    frmOther = section(QStringLiteral("Custom Observation"), &downOther);
    for (int i = 1; i <= 6; ++i) {
        labObserveU[i] = new PanelLabel(QStringLiteral(" USER%1").arg(i), frmOther);
        labObserveU[i]->setBackColor(kBack);
        labObserveU[i]->setForeColor(kText);
        labObserveU[i]->setFont(sized(font(), 9.5, false));
        labObserveU[i]->setIndent(8);
        twips::place(labObserveU[i], 60, kRowTop + (i - 1) * kRow, secW - 120, kRow - 30);
    }

    frmMenuSplit = new PanelFrame(frmMenu);
    frmMenuSplit->setBackColor(0x3A2420);
    frmMenuSplit->setCursor(Qt::SplitVCursor);
}

void MainPanel::buildLargePanel()
{
    Picture1 = new PanelFrame(this);
    Picture1->setBackColor(kAreaBack);
    picMain = new PanelFrame(Picture1);
    picMain->setBackColor(kAreaBack);
    twips::place(picMain, 0, 0, kPanelWidth, kPanelHeight);

    labSystem = new PanelLabel(QString(), picMain);
    labSystem->setForeColor(kText);
    labSystem->setFont(sized(font(), 11, true));
    twips::place(labSystem, kLeftCol, 60, 7800, 340);
    btnGUIClose = new usrButton(picMain);
    btnGUIClose->setCaption(QStringLiteral("Compact"));
    twips::place(btnGUIClose, kPanelWidth - 1080, 40, 960, 340);

    usrMainPath = new usrPath_M(picMain);
    twips::place(usrMainPath, kRightCol, 440, kRightW, 3200);

    const QFont statusFont = sized(font(), 12, true);
    auto device = [&](PanelFrame** frm, const QString& title, int left, int top, int w, int h,
                      usrButton** btn, const QString& btnCaption, PanelLabel** status) {
        auto* fr = new PanelFrame(picMain, title);
        fr->setBackColor(kDeviceFace);
        fr->setBorderColor(kFrameEdge);
        twips::place(fr, left, top, w, h);
        frm[0] = fr;
        int statusLeft = kBtnLeft;
        if (btn) {
            btn[0] = new usrButton(fr);
            btn[0]->setCaption(btnCaption);
            btn[0]->setLatching(true);
            btn[0]->setIndex(0);
            twips::place(btn[0], kBtnLeft, kBtnTop, kBtnW, kBtnSize);
            statusLeft = kStatusLeft + 240;
        }
        if (status) {
            status[0] = new PanelLabel(QString(), fr);
            status[0]->setForeColor(kStatusText);
            status[0]->setFont(statusFont);
            twips::place(status[0], statusLeft, kStatusTop, w - statusLeft - 100, kStatusH);
        }
        return fr;
    };

    // Left column, top to bottom along the stand: path, zoom, cube, objective,
    // focus, condenser, stops, lamp.
    device(frmPath, QStringLiteral("Light Path"), kLeftCol, 440, kLeftW, 680, btnFrmPath,
           QStringLiteral("Path"), LightPathCmd);
    device(frmZoom, QStringLiteral("Zoom"), kLeftCol, 1160, kLeftW, 1060, btnZoom,
           QStringLiteral("Zoom"), ZoomCmd);
    device(frmFilter, QStringLiteral("Filter Cube"), kLeftCol, 2260, kLeftW, 680, btnFilter,
           QStringLiteral("Cube"), FilterCmd);
    device(frmObj, QStringLiteral("Objective"), kLeftCol, 2990, kLeftW, 680, btnObj,
           QStringLiteral("Obj"), ObjCmd);
    device(frmZdrive, QStringLiteral("Z Focus"), kLeftCol, 3710, kLeftW, 640, btnZ,
           QStringLiteral("Z"), Zcmd);
    device(frmCondenser, QStringLiteral("Condenser"), kLeftCol, 4390, kLeftW, 680, btnCond,
           QStringLiteral("Cond"), CONcmd);
    device(frmAp, QStringLiteral("Aperture Stop"), kLeftCol, 5110, kLeftW, 680, btnAp,
           QStringLiteral("AS"), APcmd);
    device(frmFS, QStringLiteral("DIA Field Stop"), kLeftCol, 5830, kLeftW, 680, btnFS,
           QStringLiteral("FS"), FieldS);
    device(frmLamp, QStringLiteral("Lamp"), kLeftCol, 6550, kLeftW, 680, nullptr, QString(),
           LampCmd);
    // Right column under the drawing.
    device(frmEpiFS, QStringLiteral("EPI Field Stop"), kRightCol, 3700, kRightW, 680, btnEpiFS,
           QStringLiteral("EpiFS"), HBXField);
    device(frmAnalyzer, QStringLiteral("Analyzer"), kRightCol, 4420, kRightW, 680, btnAna,
           QStringLiteral("Ana"), AnaCmd);
    btnAna[0]->setLatching(false);
    device(frmND, QStringLiteral("ND Filter"), kRightCol, 5140, kRightW, 680, btnND,
           QStringLiteral("ND"), NDcmd);
    device(frmStage, QStringLiteral("XY Stage"), kRightCol, 5860, kRightW, 1000, btnXY,
           QStringLiteral("XY"), Xcmd);
    Ycmd[0] = new PanelLabel(QString(), frmStage[0]);
    Ycmd[0]->setForeColor(kStatusText);
    Ycmd[0]->setFont(statusFont);
    twips::place(Ycmd[0], twips::left(Xcmd[0]), kStatusTop + 380, twips::width(Xcmd[0]), kStatusH);
    twips::place(btnXY[0], kBtnLeft, kBtnTop, kBtnW, 700);
    device(frmFiber, QStringLiteral("Fiber Illumination"), kRightCol, 6900, kRightW, 680, btnFiber,
           QStringLiteral("Fiber"), FiberTxt);

    // Lamp: the lamp housing picture with its button on it.
    imgBack = new PanelLabel(QString(), frmLamp[0]);
    imgBack->setBackColor(0x241410);
    twips::place(imgBack, kBtnLeft - 30, kBtnTop - 30, kBtnW + 60, kBtnSize + 60);
    btnClamp[0] = new usrButton(frmLamp[0]);
    btnClamp[0]->setCaption(QStringLiteral("Lamp"));
    btnClamp[0]->setLatching(true);
    btnClamp[0]->setIndex(0);
    twips::place(btnClamp[0], kBtnLeft, kBtnTop, kBtnW, kBtnSize);
    twips::place(LampCmd[0], kStatusLeft + 240, kStatusTop, kLeftW - kStatusLeft - 340, kStatusH);

    // Link boxes on the title lines of their frames.
    auto link = [&](PanelFrame* fr, PanelCheck** box, PanelLabel** lab) {
        *box = new PanelCheck(QString(), fr);
        *lab = new PanelLabel(QStringLiteral("Link"), fr);
        (*lab)->setForeColor(kDimText);
        (*lab)->setFont(sized(font(), 8, false));
        const int w = twips::width(fr);
        twips::place(*box, w - 900, 0, 300, 260);
        twips::place(*lab, w - 600, 0, 520, 260);
    };
    link(frmPath[0], &PathLink, &labPathLink);
    link(frmZoom[0], &ZoomLink, &labZoomLink);

    // The zoom scale, 135 twips a tenth of magnification from 0.8.
    frmScroll = new PanelFrame(frmZoom[0]);
    frmScroll->setBackColor(0x241410);
    twips::place(frmScroll, kStatusLeft - 300, 660, kLeftW - kStatusLeft + 100, 330);
    for (int i = 0; i < 2; ++i) {
        Line1[i] = new QFrame(frmScroll);
        Line1[i]->setFrameShape(QFrame::VLine);
        Line1[i]->setStyleSheet(QStringLiteral("color: #5c678d;"));
    }
    twips::place(Line1[0], kZoomScaleLeft, 40, 30, 250);
    twips::place(Line1[1], kZoomScaleLeft + 12 * kZoomPerTenth, 40, 30, 250);
    auto* track = new QFrame(frmScroll);
    track->setStyleSheet(QStringLiteral("background: #5c678d;"));
    twips::place(track, kZoomScaleLeft, 150, 12 * kZoomPerTenth, 30);
    track->lower();
    img1 = new PanelLabel(QString(), frmScroll);
    img1->setBackColor(0x1E5A6E);
    twips::place(img1, kZoomScaleLeft - kZoomHalfWidth, 60, 2 * kZoomHalfWidth, 210);
    imgClick = new PanelLabel(QString(), frmScroll);
    imgClick->setBackColor(kSelected);
    twips::place(imgClick, kZoomScaleLeft - kZoomHalfWidth, 60, 2 * kZoomHalfWidth, 210);

    // Epi shutter, on the drawing.
    frmShutter[0] = new PanelFrame(picMain);
    frmShutter[0]->setBackColor(kShutterOnStand);
    twips::place(frmShutter[0], kShutterLeft, kShutterTop, kShutterW, kShutterH);
    btnShutter = new usrButton(frmShutter[0]);
    btnShutter->setCaption(QStringLiteral("Shut"));
    twips::place(btnShutter, 30, 30, kShutterW - 60, kShutterH - 60);
    ShutterCmd[0] = new PanelLabel(QString(), picMain);
    ShutterCmd[0]->setForeColor(kStatusText);
    ShutterCmd[0]->setFont(sized(font(), 8, true));
    ShutterCmd[0]->setAlignment(Qt::AlignCenter);
    twips::place(ShutterCmd[0], kShutterLeft, kShutterTop + kShutterH, kShutterW, kShutterCaptionH);
    // Excitation and barrier filter marks beside the drawing's filter cube.
    btnEX = new usrButton(picMain);
    btnEX->setCaption(QStringLiteral("EX"));
    twips::place(btnEX, kRightCol + kRightW - 640, 1500, 560, 330);
    btnBa = new usrButton(picMain);
    btnBa->setCaption(QStringLiteral("BA"));
    twips::place(btnBa, kRightCol + kRightW - 640, 1900, 560, 330);

    ObjSubCmd[0] = ObjCmd[0];
    frmZ[0] = frmZdrive[0];
    frmXY[0] = frmStage[0];
}

void MainPanel::buildCompactPanel()
{
    frmSub = new PanelFrame(Picture1);
    frmSub->setBackColor(kAreaBack);
    twips::place(frmSub, 0, 0, kSubWidth, kSubTop + 15 * kSubRow + 120);

    btnGUIOpen = new usrButton(frmSub);
    btnGUIOpen->setCaption(QStringLiteral("Large"));
    twips::place(btnGUIOpen, kSubWidth - 1000, 40, 900, 320);

    const QFont nameFont = sized(font(), 8.5, false);
    const QFont valueFont = sized(font(), 9.5, true);
    int row = 0;
    PanelLabel* lastName = nullptr;  // the device name of the line made last
    auto line = [&](PanelFrame** frm, const QString& name, usrButton** btn, const QString& cap,
                    PanelLabel** status) {
        auto* fr = new PanelFrame(frmSub);
        fr->setBackColor(row % 2 ? kDeviceFace : kCompactStripe);
        twips::place(fr, 60, kSubTop + row * kSubRow, kSubWidth - 120, kSubRowH);
        ++row;
        frm[1] = fr;
        if (btn) {
            btn[1] = new usrButton(fr);
            btn[1]->setCaption(cap);
            btn[1]->setLatching(true);
            btn[1]->setIndex(1);
            twips::place(btn[1], 20, 20, kSubBtnW, kSubRowH - 40);
        }
        auto* n = new PanelLabel(name, fr);
        lastName = n;
        n->setForeColor(kDimText);
        n->setFont(nameFont);
        twips::place(n, 700, 0, 1400, kSubRowH);
        if (status) {
            status[1] = new PanelLabel(QString(), fr);
            status[1]->setForeColor(kStatusText);
            status[1]->setFont(valueFont);
            twips::place(status[1], 2100, 0, kSubWidth - 120 - 2140, kSubRowH);
        }
        return fr;
    };
    line(frmPath, QStringLiteral("Light Path"), btnFrmPath, QStringLiteral("Path"), LightPathCmd);
    line(frmZoom, QStringLiteral("Zoom"), btnZoom, QStringLiteral("Zoom"), ZoomCmd);
    line(frmFilter, QStringLiteral("Filter Cube"), btnFilter, QStringLiteral("Cube"), FilterCmd);
    line(frmObj, QStringLiteral("Objective"), btnObj, QStringLiteral("Obj"), ObjCmd);
    line(frmZdrive, QStringLiteral("Z Focus"), btnZ, QStringLiteral("Z"), Zcmd);
    line(frmCondenser, QStringLiteral("Condenser"), btnCond, QStringLiteral("Cond"), CONcmd);
    line(frmAp, QStringLiteral("Aperture"), btnAp, QStringLiteral("AS"), APcmd);
    line(frmFS, QStringLiteral("Field Stop"), btnFS, QStringLiteral("FS"), FieldS);
    line(frmLamp, QStringLiteral("Lamp"), btnClamp, QStringLiteral("Lamp"), LampCmd);
    line(frmEpiFS, QStringLiteral("EPI Field Stop"), btnEpiFS, QStringLiteral("EpiFS"), HBXField);
    line(frmShutter, QStringLiteral("Shutter"), nullptr, QString(), ShutterCmd);
    line(frmAnalyzer, QStringLiteral("Analyzer"), btnAna, QStringLiteral("Ana"), AnaCmd);
    btnAna[1]->setLatching(false);
    line(frmND, QStringLiteral("ND Filter"), btnND, QStringLiteral("ND"), NDcmd);
    line(frmStage, QStringLiteral("XY Stage"), btnXY, QStringLiteral("XY"), Xcmd);
    // Both axes share the stage's line, a size smaller.
    const QFont axisFont = sized(font(), 8.5, true);
    Xcmd[1]->setFont(axisFont);
    // The stage's name is short: its line gives the room to the two readings.
    twips::place(lastName, 700, 0, 820, kSubRowH);
    twips::place(Xcmd[1], 1520, 0, 1300, kSubRowH);
    Ycmd[1] = new PanelLabel(QString(), frmStage[1]);
    Ycmd[1]->setForeColor(kStatusText);
    Ycmd[1]->setFont(axisFont);
    twips::place(Ycmd[1], 2840, 0, kSubWidth - 120 - 2860, kSubRowH);
    line(frmFiber, QStringLiteral("Fiber"), btnFiber, QStringLiteral("Fiber"), FiberTxt);

    ObjSubCmd[1] = ObjCmd[1];
    frmZ[1] = frmZdrive[1];
    frmXY[1] = frmStage[1];
}

void MainPanel::buildSelector()
{
    auto drop = [&](PanelFrame* fr) {
        auto* b = new usrButton(fr);
        b->setCaption(QStringLiteral("\u25BC"));
        twips::place(b, twips::width(fr) - 430, kBtnTop, 340, kBtnSize);
        return b;
    };
    downFilter = drop(frmFilter[0]);
    downObj = drop(frmObj[0]);
    downCon = drop(frmCondenser[0]);
    // Objective, cube and condenser names run long: a size smaller keeps
    // them whole beside their arrows.
    for (PanelLabel* l : {FilterCmd[0], ObjCmd[0], CONcmd[0]}) {
        l->resize(l->width() - twipsToPixels(400), l->height());
        l->setFont(sized(font(), 10.5, true));
        // Whole beside the arrow: a long name ("5: PA  PlanApo 60x/1.35 Oil")
        // is drawn smaller rather than cut under it.
        l->setShrinkToFit(8.0);
    }

    picSelect2 = new PanelFrame(picMain);
    picSelect2->setBackColor(0x100806);
    picSelect = new PanelFrame(picMain);
    picSelect->setBackColor(kDeviceFace);
    picSelect->setBorderColor(kSelected);
    txtAdd = new usrAddress(picSelect);
    ObjLink = new PanelCheck(QString(), picSelect);
    labObjLink = new PanelLabel(QStringLiteral("Link with Z and XY"), picSelect);
    labObjLink->setForeColor(kText);
    twips::place(picSelect, kSelectLeft, kSelectTopObj, kSelectWidthObj, kSelectHDefault);
    twips::place(picSelect2, kSelectLeft + kSelectShadow, kSelectTopObj + kSelectShadow,
                 kSelectWidthObj, kSelectHDefault);
    picSelect->hide();
    picSelect2->hide();
    ObjLink->hide();
    labObjLink->hide();
}
