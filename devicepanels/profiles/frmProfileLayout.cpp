// The profile editor's controls: where they stand, their lists, their look,
// their accessible names and tab order, and which event runs what.
#include "devicepanels/profiles/frmProfile.h"

#include "core/base/VbConvert.h"
#include "widgets/Units.h"
#include "widgets/usrButton.h"
#include "state/MainState.h"

#include <QCheckBox>
#include <QComboBox>
#include <QGridLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTabBar>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

// The main panel's colours, so that the editor reads as part of it.
constexpr int32_t kWindow = 0x3A2420;     // face of the device frames
constexpr int32_t kEntry = 0x5C342C;      // menu and entry background
constexpr int32_t kText = 0xFFD0C0;
constexpr int32_t kSelected = 0x28BEE6;

QString css(int32_t bgr) { return zentor::colorFromBgr(bgr).name(); }

QComboBox* combo(QWidget* parent, const QString& accessible) {
    auto* c = new QComboBox(parent);
    c->setAccessibleName(accessible);
    c->setSizeAdjustPolicy(QComboBox::AdjustToContents);
    c->setMinimumWidth(150);
    return c;
}

QLabel* caption(const QString& text, QWidget* buddy) {
    auto* l = new QLabel(text);
    l->setBuddy(buddy);
    return l;
}

usrButton* button(QWidget* parent, const QString& text, const QString& accessible) {
    auto* b = new usrButton(parent);
    b->setCaption(text);
    b->setAccessibleName(accessible);
    b->setMinimumSize(108, 30);
    return b;
}

QTreeWidget* memoryList(QWidget* parent, const QString& accessible) {
    auto* l = new QTreeWidget(parent);
    l->setAccessibleName(accessible);
    l->setColumnCount(2);
    l->setHeaderLabels({QStringLiteral("Objective"), QStringLiteral("Value")});
    l->setRootIsDecorated(false);
    l->setSelectionMode(QAbstractItemView::NoSelection);
    l->setEditTriggers(QAbstractItemView::NoEditTriggers);
    l->header()->setStretchLastSection(true);
    l->setFixedHeight(92);
    return l;
}

QLineEdit* memoryZero(QWidget* parent, const QString& accessible) {
    auto* e = new QLineEdit(parent);
    e->setAccessibleName(accessible);
    e->setReadOnly(true);
    e->setFocusPolicy(Qt::NoFocus);
    e->setMaximumWidth(70);
    return e;
}

} // namespace

void frmProfile::buildControls() {
    setWindowTitle(QStringLiteral("Observation Profile"));
    auto* outer = new QVBoxLayout(this);
    outer->setContentsMargins(10, 10, 10, 10);
    outer->setSpacing(8);

    tabProfile = new QTabBar(this);
    tabProfile->setAccessibleName(QStringLiteral("User observation method"));
    tabProfile->setExpanding(true);
    tabProfile->setDrawBase(true);
    for (int t = 1; t <= 6; ++t) tabProfile->addTab(QStringLiteral("User%1").arg(t));
    outer->addWidget(tabProfile);

    auto* nameRow = new QHBoxLayout;
    txtSel = new QLineEdit(this);
    txtSel->setAccessibleName(QStringLiteral("Profile Name"));
    txtSel->setToolTip(QStringLiteral("At most 15 characters"));
    ObserveSel = combo(this, QStringLiteral("Methods the stand holds"));
    ObserveSel->setStyleSheet(QStringLiteral("QComboBox { background: %1; }").arg(css(frmProfile::kFitted)));
    nameRow->addWidget(caption(QStringLiteral("Profile Name"), txtSel));
    nameRow->addWidget(txtSel, 1);
    nameRow->addSpacing(16);
    nameRow->addWidget(caption(QStringLiteral("Stored"), ObserveSel));
    nameRow->addWidget(ObserveSel);
    outer->addLayout(nameRow);

    auto* body = new QHBoxLayout;
    body->setSpacing(14);
    auto* devices = new QGroupBox(QStringLiteral("Devices"), this);
    auto* grid = new QGridLayout(devices);
    grid->setHorizontalSpacing(8);
    txtObj = combo(devices, QStringLiteral("Objective"));
    ObjChk = new QCheckBox(QStringLiteral("Link"), devices);
    ObjChk->setAccessibleName(QStringLiteral("Objective link"));
    txtFilter = combo(devices, QStringLiteral("Filter cube"));
    txtCon = combo(devices, QStringLiteral("Condenser"));
    txtPath = combo(devices, QStringLiteral("Light path"));
    PathChk = new QCheckBox(QStringLiteral("Link"), devices);
    PathChk->setAccessibleName(QStringLiteral("Light path link"));
    txtZoom = combo(devices, QStringLiteral("Zoom"));
    ZoomChk = new QCheckBox(QStringLiteral("Link"), devices);
    ZoomChk->setAccessibleName(QStringLiteral("Zoom link"));
    txtAna = combo(devices, QStringLiteral("Analyzer"));
    txtLamp = combo(devices, QStringLiteral("Lamp"));
    txtShutter = combo(devices, QStringLiteral("Shutter"));
    const struct { const char* text; QComboBox* c; QCheckBox* link; } rows[] = {
        {"Objective", txtObj, ObjChk}, {"Filter cube", txtFilter, nullptr}, {"Condenser", txtCon, nullptr},
        {"Light path", txtPath, PathChk}, {"Zoom", txtZoom, ZoomChk}, {"Analyzer", txtAna, nullptr},
        {"Lamp", txtLamp, nullptr}, {"Shutter", txtShutter, nullptr}};
    int row = 0;
    for (const auto& r : rows) {
        grid->addWidget(caption(QString::fromLatin1(r.text), r.c), row, 0);
        grid->addWidget(r.c, row, 1);
        if (r.link) grid->addWidget(r.link, row, 2);
        ++row;
    }
    grid->setRowStretch(row, 1);
    body->addWidget(devices);

    auto* stops = new QGroupBox(QStringLiteral("Stops and ND"), this);
    auto* stopGrid = new QGridLayout(stops);
    txtAP = combo(stops, QStringLiteral("Aperture stop"));
    txtFS = combo(stops, QStringLiteral("Field stop"));
    txtND = combo(stops, QStringLiteral("ND filter"));
    ValueAP = memoryZero(stops, QStringLiteral("Aperture stop memory 0"));
    ValueFS = memoryZero(stops, QStringLiteral("Field stop memory 0"));
    ValueND = memoryZero(stops, QStringLiteral("ND filter memory 0"));
    lstAS = memoryList(stops, QStringLiteral("Aperture stop user memory"));
    lstFS = memoryList(stops, QStringLiteral("Field stop user memory"));
    lstND = memoryList(stops, QStringLiteral("ND filter user memory"));
    const struct { const char* text; QComboBox* c; QLineEdit* zero; QTreeWidget* list; } stopRows[] = {
        {"Aperture stop", txtAP, ValueAP, lstAS}, {"Field stop", txtFS, ValueFS, lstFS},
        {"ND filter", txtND, ValueND, lstND}};
    for (int i = 0; i < 3; ++i) {
        stopGrid->addWidget(caption(QString::fromLatin1(stopRows[i].text), stopRows[i].c), i * 2, 0);
        stopGrid->addWidget(stopRows[i].c, i * 2, 1);
        stopGrid->addWidget(stopRows[i].zero, i * 2, 2);
        stopGrid->addWidget(stopRows[i].list, i * 2 + 1, 0, 1, 3);
    }
    body->addWidget(stops, 1);
    outer->addLayout(body, 1);

    auto* actions = new QHBoxLayout;
    btnReceive = button(this, QStringLiteral("Current Status"), QStringLiteral("Take the current status"));
    chkSend = new QCheckBox(QStringLiteral("ALL"), this);
    chkSend->setAccessibleName(QStringLiteral("Send all six methods"));
    btnSend = button(this, QStringLiteral("Send"), QStringLiteral("Send to the microscope"));
    btnRead = button(this, QStringLiteral("Read"), QStringLiteral("Read from a file"));
    btnSave = button(this, QStringLiteral("Save"), QStringLiteral("Save to a file"));
    btnCancel = button(this, QStringLiteral("Cancel"), QStringLiteral("Cancel"));
    btnClose = button(this, QStringLiteral("Close"), QStringLiteral("Close"));
    actions->addWidget(btnReceive);
    actions->addSpacing(10);
    actions->addWidget(chkSend);
    actions->addWidget(btnSend);
    actions->addSpacing(10);
    actions->addWidget(btnRead);
    actions->addWidget(btnSave);
    actions->addStretch(1);
    actions->addWidget(btnCancel);
    actions->addWidget(btnClose);
    outer->addLayout(actions);

    // Tab order: tabs, name, devices top to bottom, stops, then the actions.
    QWidget* order[] = {tabProfile, txtSel, ObserveSel, txtObj, ObjChk, txtFilter, txtCon, txtPath, PathChk,
                        txtZoom, ZoomChk, txtAna, txtLamp, txtShutter, txtAP, lstAS, txtFS, lstFS, txtND,
                        lstND, btnReceive, chkSend, btnSend, btnRead, btnSave, btnCancel, btnClose};
    for (size_t i = 1; i < std::size(order); ++i) setTabOrder(order[i - 1], order[i]);
}

void frmProfile::buildLists() {
    MainState& s = mainState();
    const QString notMove = QStringLiteral("Not Move");
    txtObj->addItem(notMove);
    if (s.mObj.SETUP() != 0)
        for (int16_t a = s.mObj.MIN(); a <= s.mObj.MAX(); ++a) {
            const clsDefLens* lens = a >= 1 && a <= s.mObjData.size() ? &s.mObjData[a - 1] : nullptr;
            txtObj->addItem(lens && lens->Number() != 0
                                ? QStringLiteral("%1 : %2x").arg(a).arg(vb::singleText(lens->Rate()))
                                : QStringLiteral("%1 : -------").arg(a));
        }
    txtFilter->addItem(notMove);
    if (s.mFilter.SETUP() != 0)
        for (int16_t a = s.mFilter.MIN(); a <= s.mFilter.MAX(); ++a)
            txtFilter->addItem(QStringLiteral("%1 : %2").arg(a).arg(
                a >= 1 && a <= s.mFilterData.size() ? s.mFilterData[a - 1].Name().trimmed() : QString()));
    txtCon->addItems({notMove, QStringLiteral("BF"), QStringLiteral("DF"), QStringLiteral("DIC"), QStringLiteral("Ph")});
    if (s.mCon.SETUP() != 0)
        for (int16_t a = s.mCon.MIN(); a <= s.mCon.MAX(); ++a)
            txtCon->addItem(QStringLiteral("%1 : %2").arg(a).arg(
                a >= 1 && a <= s.mConData.size() ? s.mConData[a - 1].Name() : QString()));
    auto byData = [](QComboBox* c, std::initializer_list<std::pair<const char*, int>> rows) {
        for (const auto& r : rows) c->addItem(QString::fromLatin1(r.first), r.second);
    };
    byData(txtAP, {{"Not Move", 0}, {"Objective", 2}, {"UserMemory", 1}, {"All Open", 3}});
    byData(txtFS, {{"Not Move", 0}, {"Objective", 2}, {"UserMemory", 1}, {"All Open", 3}});
    byData(txtND, {{"Not Move", 0}, {"Objective", 2}, {"UserMemory", 1}});
    byData(txtLamp, {{"Not Move", 0}, {"ON", 3}, {"OFF", 4}});
    byData(txtAna, {{"Not Move", 0}, {"IN", 3}, {"OUT", 4}});
    byData(txtShutter, {{"Not Move", 0}, {"Open", 3}, {"Close", 4}});
    txtPath->addItems({notMove, QStringLiteral("Binocular"), QStringLiteral("Front P"), QStringLiteral("Rear P")});
    txtZoom->addItem(notMove);
    // Thirteen factors, each made by adding 0.1 to the one before, from 0.7.
    double factor = 0.7;
    for (int i = 0; i < 13; ++i) {
        factor += 0.1;
        txtZoom->addItem(vb::numberText(factor));
    }
}

void frmProfile::wireEvents() {
    connect(tabProfile, &QTabBar::currentChanged, this, &frmProfile::tabProfile_Click);
    connect(txtSel, &QLineEdit::textEdited, this, &frmProfile::txtSel_Change);
    for (QComboBox* c : {txtObj, txtFilter, txtCon, txtPath, txtZoom, txtAna, txtAP, txtFS, txtND, txtLamp, txtShutter})
        connect(c, QOverload<int>::of(&QComboBox::activated), this, [this, c] { comboClicked(c); });
    for (QCheckBox* b : {ObjChk, PathChk, ZoomChk})
        connect(b, &QCheckBox::clicked, this, [this, b] { linkClicked(b); });
    connect(btnSend, &usrButton::Released, this, [this] { btnSend_Click(); });
    connect(btnReceive, &usrButton::Released, this, [this] { btnReceive_Click(); });
    connect(btnRead, &usrButton::Released, this, [this] { btnRead_Click(); });
    connect(btnSave, &usrButton::Released, this, [this] { btnSave_Click(); });
    connect(btnCancel, &usrButton::Released, this, [this] { close(); });
    connect(btnClose, &usrButton::Released, this, [this] { close(); });
}

void frmProfile::applyLook() {
    setStyleSheet(QStringLiteral(
        "frmProfile { background: %1; }"
        "QLabel, QCheckBox { color: %3; }"
        "QCheckBox::indicator { width: 13px; height: 13px; border: 1px solid #8d675c; background: %2; }"
        "QCheckBox::indicator:checked { background: %4; }"
        "QCheckBox::indicator:disabled { background: #807472; }"
        "QGroupBox { color: %3; border: 1px solid %2; border-radius: 3px; margin-top: 14px; padding-top: 6px; }"
        "QGroupBox::title { subcontrol-origin: margin; left: 8px; padding: 0 4px; }"
        "QLineEdit { background: %2; color: %3; border: 1px solid #5c678d; padding: 2px; }"
        "QLineEdit:read-only { background: %1; }"
        "QComboBox { color: %3; border: 1px solid #20243a; padding: 2px 6px; }"
        "QComboBox:disabled { color: #c8c8c8; }"
        "QComboBox QAbstractItemView { background: %2; color: %3; selection-background-color: %4;"
        " selection-color: black; }"
        "QTreeWidget { background: %2; color: %3; border: 1px solid #5c678d; }"
        "QTreeWidget:disabled { color: #8a8a8a; }"
        "QHeaderView::section { background: %1; color: %3; border: 0; padding: 2px; }"
        "QTabBar::tab { background: %2; color: %3; padding: 6px 10px; margin-right: 2px; min-width: 60px; }"
        "QTabBar::tab:selected { background: %4; color: black; }"
        "QTabBar::tab:hover:!selected { background: #5c678d; }")
                      .arg(css(kWindow), css(kEntry), css(kText), css(kSelected)));
    setAttribute(Qt::WA_StyledBackground, true);
}
