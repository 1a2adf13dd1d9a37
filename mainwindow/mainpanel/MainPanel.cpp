#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/ZoomScale.h"

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

namespace {

constexpr int32_t kDimText = 0xB09890;     // captions of device names on the panel
constexpr int32_t kFrameEdge = 0x8D675C;   // edges and titles of the device frames
constexpr int32_t kAreaBack = 0x2A1A16;    // the device area behind the frames
constexpr int32_t kStatusText = 0xFFE8DC;  // device values, the panel's main reading
constexpr int32_t kMenuHoverText = 0x2C2C2C;
constexpr int32_t kCompactStripe = 0x321E1A;  // every other line of the compact panel

QFont sized(const QFont& base, double points, bool bold)
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

QString failureText(const QString& operation, const RunTimeError& e)
{
    if (e.isLimitation())
        return operation + " Limitation";
    if (e.isTimeOut())
        return operation + " TimeOut Error";
    return operation + " Error";
}

} // namespace

// ============================================================================
// Construction
// ============================================================================

MainPanel::MainPanel(QWidget* parent) : QWidget(parent)
{
    zentor::look::applyTo(this);
    QPalette pal = palette();
    pal.setColor(QPalette::Window, zentor::colorFromBgr(kAreaBack));
    setPalette(pal);
    QFont f = font();
    f.setPointSizeF(9.0);
    setFont(f);

    MenuWidth = kMenuWidth;
    MenuHeight = kMenuHeight;
    PanelWidth = kPanelWidth;
    PanelHeight = kWindowHeight;
    SubWidth = kSubWidth;
    SubMargin = kSubMargin;

    buildMenu();
    buildLargePanel();
    buildCompactPanel();
    buildSelector();

    HScroll = new QScrollBar(Qt::Horizontal, this);
    VScroll = new QScrollBar(Qt::Vertical, this);
    HScroll->hide();
    VScroll->hide();

    ZoomScaleLeft = twips::left(Line1[0]);
    ZoomClickDefault = imgClick->Left();
    zoomScale = new ZoomScale(this);

    wire();
    setUpKeyboardAndNames();
    captureColumns();
    // Labels the dispatch leaves empty where the drawing already tells the
    // state: a dim hint says it in words (the analyzer of the large panel,
    // the lamp that is off). Only while a microscope is open.
    AnaCmd[0]->setHint([this] {
        if (!mainState().MicConnected)
            return QString();
        return usrMainPath->AnalyzerIn() ? QStringLiteral("IN") : QStringLiteral("OUT");
    });
    for (PanelLabel* l : LampCmd)
        l->setHint([this] {
            return mainState().MicConnected && usrMainPath->LampState() == 0 ? QStringLiteral("Off")
                                                                             : QString();
        });
    ShutterCmd[0]->setHint([this] {
        if (!mainState().MicConnected)
            return QString();
        return usrMainPath->ShutterOpen() ? QStringLiteral("OPEN") : QStringLiteral("CLOSE");
    });
    usrMainPath->installEventFilter(this);
    // The shutter's caption stays under its button wherever Init puts it.
    frmShutter[0]->installEventFilter(this);
    placeShutterCaption();
    frmSub->hide();
    btnmenu_Click(4);
    resize(twipsToPixels(kWindowWidth), twipsToPixels(kWindowHeight));
    placeDeviceArea();
}

MainPanel::~MainPanel() = default;

// ============================================================================
// Device frames: closing up the columns
// ============================================================================

void MainPanel::captureColumns()
{
    auto column = [](std::initializer_list<PanelFrame*> frames) {
        Column c;
        int prevBottom = -1;
        for (PanelFrame* f : frames) {
            const int top = f->Top();
            if (prevBottom < 0)
                c.top = top;
            c.frames.push_back({f, f->Height(), prevBottom < 0 ? 0 : top - prevBottom});
            prevBottom = top + f->Height();
        }
        return c;
    };
    // The large panel's two columns along the stand and under the drawing, and
    // the compact panel's one column, top to bottom as designed.
    m_leftColumn = column({frmPath[0], frmZoom[0], frmFilter[0], frmObj[0], frmZdrive[0],
                           frmCondenser[0], frmAp[0], frmFS[0], frmLamp[0]});
    m_rightColumn = column({frmEpiFS[0], frmAnalyzer[0], frmND[0], frmStage[0], frmFiber[0]});
    m_compactColumn = column({frmPath[1], frmZoom[1], frmFilter[1], frmObj[1], frmZdrive[1],
                              frmCondenser[1], frmAp[1], frmFS[1], frmLamp[1], frmEpiFS[1],
                              frmShutter[1], frmAnalyzer[1], frmND[1], frmStage[1], frmFiber[1]});
    // Showing or hiding a frame (Init does it per device) closes the columns
    // up at once; so does the zoom scale, which the zoom frame holds.
    for (const Column* c : {&m_leftColumn, &m_rightColumn, &m_compactColumn})
        for (const ColumnSlot& slot : c->frames)
            slot.frame->installEventFilter(this);
    frmScroll->installEventFilter(this);
    relayoutFrames();
}

void MainPanel::relayoutFrames()
{
    if (m_inRelayout || m_compactColumn.frames.empty())
        return;
    m_inRelayout = true;
    auto close = [](const Column& c, auto heightOf) {
        int y = c.top;
        bool first = true;
        for (const ColumnSlot& slot : c.frames) {
            if (slot.frame->isHidden())
                continue;
            if (!first)
                y += slot.gapAbove;
            first = false;
            const int h = heightOf(slot);
            slot.frame->setTop(y);
            slot.frame->setHeight(h);
            y += h;
        }
    };
    // Without its scale (a zoom that only reports) the zoom frame is as low
    // as its neighbours.
    auto large = [&](const ColumnSlot& slot) {
        if (slot.frame == frmZoom[0] && frmScroll->isHidden())
            return kZoomShortH;
        return slot.height;
    };
    close(m_leftColumn, large);
    close(m_rightColumn, large);
    // Compact lines stand at the designed pitch by their place on the screen,
    // and alternate their shade likewise, so that the stripes stay even
    // whatever the system leaves out.
    int line = 0;
    for (const ColumnSlot& slot : m_compactColumn.frames) {
        if (slot.frame->isHidden())
            continue;
        slot.frame->setTop(kSubTop + line * kSubRow);
        slot.frame->setBackColor(line % 2 ? kDeviceFace : kCompactStripe);
        ++line;
    }
    fitPanelHeights();
    m_inRelayout = false;
}

int MainPanel::LargeContentHeight() const
{
    int bottom = twips::top(usrMainPath) + twips::height(usrMainPath);
    for (const Column* c : {&m_leftColumn, &m_rightColumn})
        for (const ColumnSlot& slot : c->frames)
            if (!slot.frame->isHidden())
                bottom = std::max(bottom, slot.frame->Top() + slot.frame->Height());
    // An open selector may reach lower than the frames (the condenser's).
    if (!picSelect->isHidden())
        bottom = std::max(bottom, picSelect2->Top() + picSelect2->Height());
    return bottom + kPanelBottomMargin;
}

int MainPanel::CompactContentHeight() const
{
    int bottom = kSubTop;
    for (const ColumnSlot& slot : m_compactColumn.frames)
        if (!slot.frame->isHidden())
            bottom = std::max(bottom, slot.frame->Top() + slot.frame->Height());
    return bottom + kPanelBottomMargin;
}

void MainPanel::placeShutterCaption()
{
    twips::place(ShutterCmd[0], frmShutter[0]->Left(), frmShutter[0]->Top() + frmShutter[0]->Height(),
                 frmShutter[0]->Width(), kShutterCaptionH);
    ShutterCmd[0]->setVisible(!frmShutter[0]->isHidden());
}

void MainPanel::fitPanelHeights()
{
    if (m_compactColumn.frames.empty())
        return;
    picMain->setHeight(LargeContentHeight());
    frmSub->setHeight(CompactContentHeight());
}

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

// ============================================================================
// Wiring
// ============================================================================

void MainPanel::wire()
{
    for (int i = 1; i <= 5; ++i) {
        const int16_t idx = int16_t(i);
        connect(btnmenu[i], &PanelLabel::Click, this, [this, idx] { btnmenu_Click(idx); });
        connect(labmenu[i], &PanelLabel::Click, this, [this, idx] { btnmenu_Click(idx); });
        connect(btnmenu[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { btnmenu_MouseMove(idx); });
        // Outside the strip the entries return to normal.
        connect(labmenu[i], &PanelLabel::MouseMove, this, [this](int16_t b, int16_t, float, float) {
            frmMenu_MouseMove(b, float(kMenuLabelLeft + 10), 0);
        });
    }
    connect(frmMenu, &PanelFrame::MouseDown, this,
            [this](int16_t, int16_t, float, float y) { frmMenu_MouseDown(y); });
    connect(frmMenu, &PanelFrame::MouseMove, this,
            [this](int16_t b, int16_t, float x, float y) { frmMenu_MouseMove(b, x, y); });
    connect(frmMenu, &PanelFrame::MouseUp, this,
            [this](int16_t, int16_t, float, float) { frmMenu_MouseUp(); });
    // The grip forwards its gestures in frmMenu's coordinates.
    connect(frmMenuSplit, &PanelFrame::MouseDown, this, [this](int16_t, int16_t, float, float y) {
        frmMenu_MouseDown(float(y + frmMenuSplit->Top()));
    });
    connect(frmMenuSplit, &PanelFrame::MouseMove, this, [this](int16_t b, int16_t, float x, float y) {
        frmMenu_MouseMove(b, float(x + frmMenuSplit->Left()), float(y + frmMenuSplit->Top()));
    });
    connect(frmMenuSplit, &PanelFrame::MouseUp, this,
            [this](int16_t, int16_t, float, float) { frmMenu_MouseUp(); });

    connect(downConnect, &usrButton::Released, this, [this] { downConnect_Click(); });
    connect(downSetting, &usrButton::Released, this, [this] { downSetting_Click(); });
    connect(downInfo, &usrButton::Released, this, [this] { downInfo_Click(); });
    connect(downOther, &usrButton::Released, this, [this] { downOther_Click(); });
    connect(tabConnect, &QTabBar::currentChanged, this, [this](int page) {
        pageMic->setVisible(page == 0);
        pageFiber->setVisible(page == 1);
    });

    for (int i = 0; i < 4; ++i) {
        const int16_t idx = int16_t(i);
        connect(btnSetup[i], &PanelLabel::Click, this, [this, idx] {
            if (idx == 1) {
                frmControlPad->setVisible(!frmControlPad->isVisible());
                // The section grows to show the pad it opened, also when the
                // operator had made it lower.
                if (frmControlPad->isVisibleTo(frmSetting) && MenuSplit > 0)
                    MenuSplit = std::max(MenuSplit, frmControlPad->Top() + frmControlPad->Height() + 80);
                layoutMenu();
            }
            emit SetupClicked(idx);
        });
        connect(btnInfo[i], &PanelLabel::Click, this, [this, idx] {
            emit InfoClicked(idx);
            // Every entry closes its menu section once it has acted.
            frmInfo->hide();
            MenuSelect = 0;
            layoutMenu();
        });
    }
    connect(btnSetupXY, &PanelLabel::Click, this, [this] { emit XYSettingClicked(); });
    for (int i = 0; i < 3; ++i) {
        const int16_t idx = int16_t(i);
        connect(btnLED[i], &PanelLabel::Click, this, [this, idx] { btnLED_Click(idx); });
    }
    connect(btnEnable, &PanelLabel::Click, this, [this] { btnEnable_Click(); });

    for (int i = 1; i <= 7; ++i) {
        const int16_t idx = int16_t(i);
        connect(labObserve[i], &PanelLabel::Click, this, [this, idx] { labObserve_Click(idx); });
        connect(btnObserve[i], &PanelLabel::Click, this, [this, idx] { labObserve_Click(idx); });
        connect(btnObserve[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { btnObserve_MouseMove(idx); });
        connect(labObserve[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { btnObserve_MouseMove(idx); });
    }
    for (int i = 1; i <= 6; ++i) {
        const int16_t idx = int16_t(i);
        connect(labObserveU[i], &PanelLabel::Click, this, [this, idx] { labObserveU_Click(idx); });
        connect(labObserveU[i], &PanelLabel::MouseMove, this,
                [this, idx](int16_t, int16_t, float, float) { labObserveU_MouseMove(idx); });
    }
    connect(frmObserve, &PanelFrame::MouseMove, this,
            [this](int16_t, int16_t, float x, float) { frmObserve_MouseMove(x); });
    connect(frmOther, &PanelFrame::MouseMove, this,
            [this](int16_t, int16_t, float x, float) { frmOther_MouseMove(x); });

    connect(downObj, &usrButton::Released, this, [this] { downObj_Click(); });
    connect(downFilter, &usrButton::Released, this, [this] { downFilter_Click(); });
    connect(downCon, &usrButton::Released, this, [this] { downCon_Click(); });
    connect(txtAdd, &usrAddress::AddressPicked, this,
            [this](int16_t a) { txtAdd_AddressPicked(a); });
    connect(usrMainPath, &usrPath_M::LostSelection, this, [this] { usrMainPath_LostSelection(); });
    connect(usrMainPath, &usrPath_M::ColorPicked, this,
            [this](int16_t f, int16_t b) { usrMainPath_ColorPicked(f, b); });
    connect(btnProfile, &usrButton::Released, this, [this] { btnProfile_Click(); });
    connect(btnEX, &usrButton::Released, this, [this] { usrMainPath_ColorPicked(1, 1); });
    connect(btnBa, &usrButton::Released, this, [this] { usrMainPath_ColorPicked(2, 1); });

    connect(btnGUIClose, &usrButton::Released, this, [this] { btnGUIClose_Released(); });
    connect(btnGUIOpen, &usrButton::Released, this, [this] { btnGUIOpen_Released(); });
    connect(VScroll, &QScrollBar::valueChanged, this, [this] { VScroll_Change(); });
    connect(HScroll, &QScrollBar::valueChanged, this, [this] { HScroll_Change(); });
}

bool MainPanel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == frmShutter[0] &&
        (event->type() == QEvent::Move || event->type() == QEvent::Resize ||
         event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent))
        placeShutterCaption();
    if (event->type() == QEvent::ShowToParent || event->type() == QEvent::HideToParent) {
        bool inColumn = watched == frmScroll;
        for (const Column* c : {&m_leftColumn, &m_rightColumn, &m_compactColumn})
            for (const ColumnSlot& slot : c->frames)
                inColumn = inColumn || watched == slot.frame;
        if (inColumn)
            relayoutFrames();
    }
    // The hints beside the drawing follow it: whenever it is drawn anew, a
    // label whose hint now reads differently paints again. Only a changed
    // hint may ask for a paint: the labels lie over the drawing, so an
    // unconditional repaint here would draw the drawing again, and so on
    // for ever.
    if (event->type() == QEvent::Paint && watched == usrMainPath) {
        for (PanelLabel* l : {AnaCmd[0], ShutterCmd[0], LampCmd[0], LampCmd[1]})
            l->refreshHint();
    }
    // Hover of the menu entries and of the control pad: a colour change only.
    if (event->type() == QEvent::Enter || event->type() == QEvent::Leave) {
        const bool in = event->type() == QEvent::Enter;
        for (PanelLabel* l : {btnSetup[0], btnSetup[1], btnSetup[2], btnSetup[3], btnSetupXY, btnInfo[0],
                              btnInfo[1], btnInfo[2], btnInfo[3]}) {
            if (watched == l && l->isEnabled()) {
                l->setForeColor(in ? kHoverText : kText);
                l->setBackColor(in ? 0 : kBack);
            }
        }
        for (PanelLabel* l : {btnLED[0], btnLED[1], btnLED[2], btnEnable}) {
            if (watched == l)
                l->setForeColor(in ? kHoverText : kText);
        }
    }
    return QWidget::eventFilter(watched, event);
}

// ============================================================================
// Menu column
// ============================================================================

void MainPanel::layoutMenu()
{
    PanelFrame* open = nullptr;
    for (PanelFrame* fr : {frmConnect, frmSetting, frmInfo, frmObserve, frmOther})
        if (fr->isVisibleTo(frmMenu))
            open = fr;
    const int secW = frmMenu->Width() - kSectionInset;
    if (!open) {
        frmMenuSplit->hide();
        repaintMenuEntries();
        return;
    }
    // The designed height of the section's contents is its limit.
    int limit = 0;
    for (QWidget* c : open->findChildren<QWidget*>(QString(), Qt::FindDirectChildrenOnly))
        if (!c->isHidden())
            limit = std::max(limit, twips::top(c) + twips::height(c));
    limit += 80;
    const int h = MenuSplit > 0 ? std::clamp(MenuSplit, kSplitMin, std::max(kSplitMin, limit)) : limit;
    twips::place(open, kSectionLeft, kSectionTop, secW, h);
    twips::place(frmMenuSplit, kSectionLeft, kSectionTop + h + 20, secW, kSplitGrip);
    frmMenuSplit->show();
    frmObserve->setWidth(frmMenu->Width() - kSectionInset);
    repaintMenuEntries();
}

void MainPanel::repaintMenuEntries()
{
    for (int i = 1; i <= 5; ++i) {
        const bool open = i == MenuSelect;
        btnmenu[i]->setBackColor(open ? kHover : kBack);
        btnmenu[i]->setForeColor(open ? kSelected : kText);
        labmenu[i]->setForeColor(open ? kSelected : kText);
    }
}

void MainPanel::btnmenu_Click(int16_t Index)
{
    if (Index < 1 || Index > 5)
        return;
    MenuSelect = Index;
    for (PanelFrame* fr : {frmConnect, frmSetting, frmInfo, frmObserve, frmOther})
        fr->hide();
    CloseSelectors();
    MainState& st = mainState();
    switch (Index) {
    case 1:
        frmConnect->show();
        break;
    case 2: {
        const bool rule = StandFirmwareOld();
        btnSetup[0]->setEnabled(true);
        for (int i = 1; i < 4; ++i)
            btnSetup[i]->setEnabled(rule);
        // The stage's setting mode needs a motorised stage as well.
        btnSetupXY->setEnabled(rule && st.mXY.SETUP() != 0);
        if (!rule)
            frmControlPad->hide();
        frmSetting->show();
        break;
    }
    case 3:
        btnInfo[2]->setEnabled(StandFirmwareOld());
        btnInfo[3]->setEnabled(st.MicUnit[5] == 1);
        frmInfo->show();
        break;
    case 4:
        for (int i = 1; i <= 7; ++i)
            if (btnObserve[i]->BackColor() != kSelected)
                btnObserve[i]->setBackColor(kBack);
        frmObserve->show();
        break;
    case 5:
        for (int i = 1; i <= 6; ++i)
            if (i != st.ObservationNow - 6)
                SetUserNormal(int16_t(i));
        frmOther->show();
        break;
    }
    layoutMenu();
}

void MainPanel::ShowObserveSection()
{
    if (MenuSelect != 0 && MenuSelect != 4)
        return;
    MenuSelect = 4;
    frmObserve->show();
    layoutMenu();
}

void MainPanel::btnmenu_MouseMove(int16_t Index)
{
    for (int i = 1; i <= 5; ++i) {
        if (i == Index) {
            btnmenu[i]->setBackColor(kMenuHover);
            btnmenu[i]->setForeColor(kMenuHoverText);
        } else {
            const bool open = i == MenuSelect;
            btnmenu[i]->setBackColor(open ? kHover : kBack);
            btnmenu[i]->setForeColor(open ? kSelected : kText);
        }
    }
}

void MainPanel::frmMenu_MouseMove(int16_t Button, float X, float Y)
{
    if (MenuDragging && (Button & 1)) {
        int h = int(Y) - kSectionTop;
        if (Y < kSplitBelow)
            h = kSplitMin;
        MenuSplit = std::max(kSplitMin, h);
        layoutMenu();
        // layoutMenu caps the section at its limit; keep what it used.
        for (PanelFrame* fr : {frmConnect, frmSetting, frmInfo, frmObserve, frmOther})
            if (fr->isVisibleTo(frmMenu))
                MenuSplit = fr->Height();
        emit MenuSplitChanged(MenuSplit);
        return;
    }
    if (X < kEntryLeft || X > kEntryRight || Y < kEntryTop || Y > kEntryBoxBottom)
        repaintMenuEntries();
}

void MainPanel::frmMenu_MouseDown(float Y)
{
    Q_UNUSED(Y);
    MenuDragging = true;
}

void MainPanel::frmMenu_MouseUp()
{
    MenuDragging = false;
}

namespace {
void closeSection(MainPanel* p, PanelFrame* fr)
{
    fr->hide();
    p->CloseSelectors();
    if (p->MenuSelect > 0)
        p->MenuSelect = 0;
}
} // namespace

void MainPanel::downConnect_Click()
{
    closeSection(this, frmConnect);
    btnStatusRead->setEnabled(mainState().MicConnected);
    layoutMenu();
}

void MainPanel::downSetting_Click()
{
    closeSection(this, frmSetting);
    layoutMenu();
}

void MainPanel::downInfo_Click()
{
    closeSection(this, frmInfo);
    layoutMenu();
}

void MainPanel::downOther_Click()
{
    closeSection(this, frmOther);
    layoutMenu();
}

bool MainPanel::StandFirmwareOld()
{
    MainState& st = mainState();
    if (st.MicUnit[1] != 1 || !st.MicConnected || !st.micService)
        return false;
    try {
        const QString text = st.micService->Version(1);
        const double v = vb::val(text.mid(1));
        return v >= 1.0 && v <= 1.2;
    } catch (...) {
        // A failed read leaves the stand's entries disabled.
        return false;
    }
}

// ============================================================================
// Control pad
// ============================================================================

void MainPanel::btnLED_Click(int16_t Index)
{
    if (Index < 0 || Index > 2)
        return;
    for (int i = 0; i < 3; ++i)
        btnLED[i]->setBackColor(i == Index ? kHover : kBack);
    btnEnable->setBackColor(kBack);
}

void MainPanel::btnEnable_Click()
{
    for (int i = 0; i < 3; ++i)
        btnLED[i]->setBackColor(kBack);
    btnEnable->setBackColor(kHover);
}

int16_t MainPanel::ControlPadMark() const
{
    for (int i = 0; i < 3; ++i)
        if (btnLED[i]->BackColor() == kHover)
            return int16_t(i);
    return btnEnable->BackColor() == kHover ? 3 : -1;
}

// ============================================================================
// Device selectors
// ============================================================================

void MainPanel::CloseSelectors()
{
    picSelect->hide();
    picSelect2->hide();
    ObjLink->hide();
    labObjLink->hide();
    fitPanelHeights();
}

void MainPanel::usrMainPath_LostSelection()
{
    CloseSelectors();
    ShowObservation();
}

void MainPanel::showSelector(int16_t device)
{
    MainState& st = mainState();
    SelectDevice = device;
    CloseSelectors();

    const int top = device == 1 ? kSelectTopObj : device == 2 ? kSelectTopFilter : kSelectTopCon;
    const int width = device == 1 ? kSelectWidthObj : kSelectWidth;
    picSelect->setLeft(kSelectLeft);
    picSelect->setTop(top);
    picSelect->setWidth(width);
    picSelect2->setLeft(kSelectLeft + kSelectShadow);
    picSelect2->setTop(top + kSelectShadow);
    picSelect2->setWidth(width);

    const clsDefAddControl& obj = device == 1 ? st.mObj : device == 2 ? st.mFilter : st.mCon;
    txtAdd->setItemColor(kDeviceFace);
    if (st.MicConnected) {
        txtAdd->setAddress(obj.Address());
        txtAdd->setLast(obj.MAX());
        txtAdd->setFirst(obj.MIN());
    }

    // Height by the number of positions; other counts keep the height it had.
    const int count = txtAdd->RowCount();
    int height = picSelect->Height();
    if (count == 6)
        height = kSelectH6;
    else if (count == 7)
        height = kSelectH7;
    else if (count == 8)
        height = kSelectH8;
    picSelect->setHeight(height);
    picSelect2->setHeight(height);

    if (obj.SETUP() == 1)
        txtAdd->setMode(1);
    else if (obj.SETUP() == 3)
        txtAdd->setMode(2);
    if (device == 1) {
        if (obj.SETUP() == 1) {
            ObjLink->setEnabled(true);
            ObjLink->setValue(st.mObj.LINK() != 0 ? 1 : 0);
        } else if (obj.SETUP() == 3) {
            ObjLink->setEnabled(false);
        }
    }

    for (int a = txtAdd->First(); a <= txtAdd->Last() && a >= 0; ++a) {
        QString text;
        if (device == 1) {
            text = QString::number(a) + " :";
            if (a >= 1 && a <= st.mObjData.size()) {
                const clsDefLens& d = st.mObjData[a - 1];
                text += d.SeriesName().trimmed() + "  " + d.Name().trimmed();
            }
        } else if (device == 2) {
            text = QString::number(a) + " : ";
            if (a >= 1 && a <= st.mFilterData.size())
                text += st.mFilterData[a - 1].Name().trimmed();
        } else {
            text = QString::number(a) + " : ";
            if (a >= 1 && a <= st.mConData.size())
                text += st.mConData[a - 1].Name().trimmed();
        }
        txtAdd->SetLabel(text, int16_t(a));
        if (a == 32767)
            break;
    }

    // txtAdd fills the selector; the objective keeps a row for its link box.
    const int linkRow = device == 1 ? kLinkRow : 0;
    twips::place(txtAdd, 60, 60, width - 120, height - 120 - linkRow);
    twips::place(ObjLink, 90, height - 60 - kLinkRow, 300, kLinkRow);
    twips::place(labObjLink, 420, height - 60 - kLinkRow, width - 500, kLinkRow);

    picSelect2->show();
    picSelect->show();
    picSelect2->raise();
    picSelect->raise();
    if (device == 1) {
        ObjLink->show();
        labObjLink->show();
    }
    fitPanelHeights();
}

void MainPanel::downObj_Click() { showSelector(1); }
void MainPanel::downFilter_Click() { showSelector(2); }
void MainPanel::downCon_Click() { showSelector(3); }

void MainPanel::txtAdd_AddressPicked(int16_t Address)
{
    MainState& st = mainState();
    BusyWindow busy(window(), false);
    // The keyboard stays in the selector while txtAdd waits for the move, so
    // that it goes back to the arrow that opened it when the selector closes.
    const bool keyboardHere = txtAdd->hasFocus();
    if (keyboardHere)
        picSelect->setFocus(Qt::OtherFocusReason);
    auto enableAgain = [&] {
        txtAdd->setEnabled(true);
        if (keyboardHere && !picSelect->isHidden())
            txtAdd->setFocus(Qt::OtherFocusReason);
    };
    txtAdd->setEnabled(false);
    try {
        if (st.MicConnected && st.micService) {
            switch (SelectDevice) {
            case 1: st.micService->setNosepiecePosition(Address); break;
            case 2: st.micService->setFilterBlockCassettePosition(Address); break;
            case 3: st.micService->setCondenserCassettePosition(Address); break;
            default: break;
            }
        }
        CloseSelectors();
        enableAgain();
        // Clicks made while the move ran (the window system held them back)
        // are dropped, not replayed as a move nobody meant.
        Common_Flush();
    } catch (const RunTimeError& e) {
        busy.end();
        enableAgain();
        Common_Flush();  // a refused or stalled move replays no click either
        MsgBox::show(failureText(QStringLiteral("Position_Change"), e));
    } catch (const std::exception&) {
        busy.end();
        enableAgain();
        Common_Flush();
        MsgBox::show(QStringLiteral("Position_Change Error"));
    }
}

// ============================================================================
// The two looks, window size and scrolling
// ============================================================================

bool MainPanel::windowMaximised() const
{
    return window()->isMaximized() || window()->isFullScreen();
}

int MainPanel::WindowWidth() const { return pixelsToTwips(window()->width()); }
int MainPanel::WindowHeight() const { return pixelsToTwips(window()->height()); }

void MainPanel::setWindowWidth(int w)
{
    QWidget* win = window();
    if (twipsToPixels(w) != win->width())
        win->resize(twipsToPixels(w), win->height());
}

void MainPanel::setWindowHeight(int h)
{
    QWidget* win = window();
    if (twipsToPixels(h) != win->height())
        win->resize(win->width(), twipsToPixels(h));
}

void MainPanel::btnGUIClose_Released()
{
    PanelMode = 2;
    CloseSelectors();
    frmSub->setWidth(SubWidth);
    frmSub->setVisible(true);
    picMain->setVisible(false);
    labSystem->setVisible(false);
    if (windowMaximised()) {
        MsgBox::show(QStringLiteral("Please unlock the Maxbutton."));
        placeDeviceArea();
        return;
    }
    setWindowWidth(frmMenu->Width() + SubWidth + SubMargin);
    Form_Resize();
}

void MainPanel::btnGUIOpen_Released()
{
    PanelMode = 1;
    frmSub->setVisible(false);
    picMain->setVisible(true);
    labSystem->setVisible(true);
    if (windowMaximised()) {
        MsgBox::show(QStringLiteral("Please unlock the Maxbutton."));
        placeDeviceArea();
        return;
    }
    setWindowWidth(frmMenu->Width() + PanelWidth);
    Form_Resize();
}

void MainPanel::Form_Resize()
{
    if (m_inResize || window()->isMinimized())
        return;
    m_inResize = true;
    const int M = frmMenu->Width();
    int W = WindowWidth();
    int H = WindowHeight();
    const bool maximised = windowMaximised();
    auto setW = [&](int w) {
        if (!maximised)
            setWindowWidth(w);
        W = WindowWidth();
    };
    auto setH = [&](int h) {
        if (!maximised)
            setWindowHeight(h);
        H = WindowHeight();
    };

    bool hShown = false;
    if (PanelMode == 2) {
        // The compact frame is designed with its margin; a window that
        // cannot hold both gets exactly that width.
        if (M + frmSub->Width() + SubMargin > W)
            setW(M + SubWidth + SubMargin);
    } else {
        // A window made narrower than the menu gets the room of a scroll bar;
        // the rule then runs once more for the width it has now.
        for (int pass = 0; pass < 2; ++pass) {
            hShown = false;
            if (M + kScrollReserve < W && W < kWindowWidth) {
                hShown = true;
                if (W - M + 100 >= PanelWidth) {
                    setW(M + PanelWidth);
                    hShown = W < M + PanelWidth;
                }
                break;
            }
            if (M + kScrollReserve >= W) {
                setW(M + kNarrowWindow);
                continue;
            }
            setW(M + PanelWidth);
            break;
        }
    }

    if (H < kMinWindowHeight)
        setH(kMinWindowHeight);
    bool vShown = false;
    if (H < PanelHeight) {
        vShown = true;
    } else {
        setH(PanelHeight);
        vShown = H < PanelHeight;
    }

    // Bars: horizontal 210 above the bottom, vertical 270 in from the right.
    HScroll->setVisible(hShown);
    if (hShown) {
        twips::place(HScroll, M, H - kHScrollAbove, std::max(0, W - M - kScrollReserve),
                     kHScrollAbove);
        HScroll->raise();
    }
    const int visibleW = std::max(0, W - M - kScrollReserve);
    HScroll->setValue(0);
    HScroll->setMaximum(std::max(0, PanelWidth - visibleW));
    HScroll->setPageStep(std::max(1, visibleW));
    HScroll->setSingleStep(std::max(1, visibleW / 10));

    VScroll->setVisible(vShown);
    if (vShown) {
        twips::place(VScroll, W - kScrollReserve, 0, kScrollReserve - 30,
                     std::max(0, H - kVScrollShort));
        VScroll->raise();
    }
    VScroll->setValue(0);
    VScroll->setMaximum(std::max(0, PanelHeight - H));
    VScroll->setPageStep(std::max(1, H));
    VScroll->setSingleStep(std::max(1, H / 10));

    placeDeviceArea();
    m_inResize = false;
}

void MainPanel::placeDeviceArea()
{
    const int M = frmMenu->Width();
    const int vis = VScroll->isVisible() ? VScroll->value() : 0;
    const int his = HScroll->isVisible() ? HScroll->value() : 0;
    frmMenu->setTop(-vis);
    frmMenu->setHeight(std::max(MenuHeight, pixelsToTwips(height()) + vis));
    twips::place(Picture1, M, 0, std::max(0, pixelsToTwips(width()) - M),
                 std::max(pixelsToTwips(height()), PanelHeight));
    picMain->setLeft(-his);
    picMain->setTop(-vis);
    frmSub->setLeft(0);
    frmSub->setTop(-vis);
}

void MainPanel::VScroll_Change()
{
    frmMenu->setTop(-VScroll->value());
    picMain->setTop(-VScroll->value());
    frmSub->setTop(-VScroll->value());
}

void MainPanel::HScroll_Change()
{
    picMain->setLeft(-HScroll->value());
}

void MainPanel::resizeEvent(QResizeEvent* e)
{
    QWidget::resizeEvent(e);
    if (!m_inResize)
        Form_Resize();
}

// ============================================================================
// Observation entries
// ============================================================================

void MainPanel::SetObserveNormal(int16_t Index)
{
    if (Index < 1 || Index > 7)
        return;
    labObserve[Index]->setForeColor(kText);
    btnObserve[Index]->setBackColor(kBack);
}

void MainPanel::SetObserveSelected(int16_t Index)
{
    if (Index < 1 || Index > 7)
        return;
    labObserve[Index]->setForeColor(kSelectedText);
    btnObserve[Index]->setBackColor(kSelected);
}

void MainPanel::SetUserNormal(int16_t Index)
{
    if (Index < 1 || Index > 6)
        return;
    labObserveU[Index]->setForeColor(kText);
    labObserveU[Index]->setBackColor(kBack);
}

void MainPanel::SetUserSelected(int16_t Index)
{
    if (Index < 1 || Index > 6)
        return;
    labObserveU[Index]->setForeColor(kSelectedText);
    labObserveU[Index]->setBackColor(kSelected);
}

void MainPanel::ClearObservationMarks()
{
    for (int i = 1; i <= 7; ++i)
        SetObserveNormal(int16_t(i));
    for (int i = 1; i <= 6; ++i)
        SetUserNormal(int16_t(i));
}

void MainPanel::ShowObservation()
{
    MainState& st = mainState();
    const int16_t now = st.ObservationNow;
    for (int i = 1; i <= 6; ++i)
        SetObserveNormal(int16_t(i));
    for (int i = 1; i <= 6; ++i)
        SetUserNormal(int16_t(i));
    if (now >= 7 && now <= 12) {
        ObservationShown = now;
        SetUserSelected(int16_t(now - 6));
        return;
    }
    const int16_t O = st.mObj.SETUP();
    const int16_t C = st.mCon.SETUP();
    bool lit = false;
    if (st.MicUnit[3] == 1 && st.MicUnit[1] == 1 && O == 1 && C == 1)
        lit = now >= 1 && now <= 6;
    else if (O == 1 && st.MicUnit[7] != 0 && (now == 1 || now == 4))
        lit = true;
    if (lit) {
        SetObserveSelected(now);
        ObservationShown = now;
    }
}

void MainPanel::labObserve_Click(int16_t Index)
{
    if (Index < 1 || Index > 7)
        return;
    MainState& st = mainState();
    BusyWindow busy(window(), true);
    try {
        if (st.MicConnected && st.micService) {
            if (Index <= 6)
                st.micService->setPresetsObservationMode(Index);
            else
                st.micService->setPresetsObservationMode(vb::toInt16(vb::val(labObserve[7]->Tag())));
        }
        ObservationShown = Index;
    } catch (const RunTimeError& e) {
        busy.end();
        MsgBox::show(failureText(QStringLiteral("ObservationMethod_Change"), e));
        return;
    } catch (const std::exception&) {
        busy.end();
        MsgBox::show(QStringLiteral("ObservationMethod_Change Error"));
        return;
    }
    busy.end();
    QCoreApplication::processEvents();
}

void MainPanel::labObserveU_Click(int16_t Index)
{
    if (Index < 1 || Index > 6)
        return;
    MainState& st = mainState();
    BusyWindow busy(window(), true);
    for (int i = 1; i <= 7; ++i)
        SetObserveNormal(int16_t(i));
    for (int i = 1; i <= 6; ++i) {
        if (i == Index)
            SetUserSelected(int16_t(i));
        else
            SetUserNormal(int16_t(i));
    }
    if (st.MicConnected && st.micService) {
        try {
            st.micService->setPresetsObservationMode(int16_t(Index + 6));
        } catch (const RunTimeError& e) {
            busy.end();
            MsgBox::show(failureText(QStringLiteral("ObservationMethod_Change"), e));
            return;
        } catch (const std::exception&) {
            busy.end();
            MsgBox::show(QStringLiteral("ObservationMethod_Change Error"));
            return;
        }
        labObserve[7]->setTag(QString::number(Index + 6));
        // The seventh entry stands for the last user method chosen.
        labObserve[7]->setCaption(labObserveU[Index]->Caption().trimmed());
        for (int i = 1; i <= 6; ++i)
            SetObserveNormal(int16_t(i));
        st.ObservationNow = int16_t(Index + 6);
    }
    ObservationShown = st.ObservationNow;
    busy.end();
    QCoreApplication::processEvents();
}

void MainPanel::btnObserve_MouseMove(int16_t Index)
{
    const int s = ObservationShown < 7 ? int(ObservationShown) : 7;
    for (int i = 1; i <= 7; ++i) {
        if (i == s)
            continue;
        btnObserve[i]->setBackColor(i == Index ? kHover : kBack);
    }
}

void MainPanel::labObserveU_MouseMove(int16_t Index)
{
    for (int i = 1; i <= 6; ++i) {
        if (labObserveU[i]->BackColor() == kSelected)
            continue;
        labObserveU[i]->setBackColor(i == Index ? kHover : kBack);
    }
}

void MainPanel::frmObserve_MouseMove(float X)
{
    if (X < 50 || X > frmObserve->Width() - 50)
        return;
    if (ObservationShown < 1 || ObservationShown > 6)
        return;
    for (int i = 1; i <= 7; ++i)
        if (btnObserve[i]->BackColor() != kSelected)
            btnObserve[i]->setBackColor(kBack);
}

void MainPanel::frmOther_MouseMove(float X)
{
    if (X < 50 || X > frmOther->Width() - 50)
        return;
    for (int i = 1; i <= 6; ++i)
        if (labObserveU[i]->BackColor() != kSelected)
            labObserveU[i]->setBackColor(kBack);
}
