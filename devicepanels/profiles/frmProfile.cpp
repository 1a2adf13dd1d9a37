// The profile editor's behaviour: loading, showing a record, the combos and
// the name box writing back, Current Status, sending, and the file actions.
// The controls are built in frmProfileLayout.cpp.
#include "devicepanels/profiles/frmProfile.h"

#include "core/base/RunTimeError.h"
#include "core/base/VbConvert.h"
#include "core/base/FileRead.h"
#include "core/base/WholeFile.h"
#include "widgets/Units.h"
#include "devicepanels/profiles/Dialogs.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"

#include <QApplication>
#include <algorithm>
#include <QCheckBox>
#include <QComboBox>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPointer>
#include <QTabBar>
#include <QTreeWidget>

namespace {

QPointer<frmProfile> g_form;

const QString kFormName = QStringLiteral("frmProfile");

// The wait cursor and a disabled form for the length of an action; pending
// clicks and keys are dropped afterwards, as after every long operation.
class Busy {
public:
    explicit Busy(QWidget* form) : m_form(form) {
        QApplication::setOverrideCursor(Qt::WaitCursor);
        m_form->setEnabled(false);
    }
    ~Busy() {
        if (m_form) m_form->setEnabled(true);
        QApplication::restoreOverrideCursor();
        Common_Flush();
    }

private:
    QPointer<QWidget> m_form;
};

} // namespace

frmProfile* frmProfile::instance() {
    if (!g_form) {
        g_form = new frmProfile();
        FormRegistry::add(kFormName, g_form);
    }
    return g_form;
}

frmProfile* frmProfile::loaded() { return g_form; }

frmProfile::frmProfile() : QWidget(nullptr, Qt::Window) {
    setAttribute(Qt::WA_DeleteOnClose);
    setObjectName(kFormName);
    WaitCursor wait;
    buildControls();
    applyLook();
    buildLists();
    wireEvents();
    Profile_Init();
    Profile_Read();
    Profile_Show();
}

frmProfile::~frmProfile() = default;

int frmProfile::selectedTab() const { return tabProfile->currentIndex() + 1; }

clsDefProfile& frmProfile::current() { return Profile_Item(m_items, selectedTab()); }

clsDefProfile* frmProfile::currentOrSay() {
    try {
        return &current();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Profile_Data Error"));
        return nullptr;
    }
}

void frmProfile::keyPressEvent(QKeyEvent* e) {
    if (e->key() == Qt::Key_Escape) {
        close();
        return;
    }
    QWidget::keyPressEvent(e);
}

void frmProfile::Profile_Init() { m_items = ::Profile_Init(); }

// ---------------------------------------------------------------------------
// The service's methods into the records
// ---------------------------------------------------------------------------

void frmProfile::Profile_Read() {
    MainState& s = mainState();
    ObserveSel->clear();
    ObserveSel->addItem(QStringLiteral("Current"));
    if (!s.MicConnected || !s.micService) return;
    MicroscopeService& svc = *s.micService;
    try {
        for (int16_t n = 7; n <= 12; ++n) {
            const int t = n - 6;
            const ObservationPositions p = svc.ObservationPosition(n);
            const QString name = svc.ObservationName(n).trimmed();
            ObserveSel->addItem(name);
            clsDefProfile& r = Profile_Item(m_items, t);
            r.setName(name.isEmpty() ? QStringLiteral("User") + QString::number(t) : name);
            r.Get_ObservationPosition(n, p.lamp, p.nd, p.fieldStop, p.condenser, p.apertureStop, p.filter,
                                      p.shutter, p.analyzer, p.objective, p.path, p.zoom);
            if (s.MicUnit[1] == 1) {
                for (int16_t a = s.mObj.MIN(); a <= s.mObj.MAX(); ++a) {
                    r.Put_UmemAS(a, svc.CustomValue(DeviceIndex::ApertureStop, n, a));
                    r.Put_UmemFS(a, svc.CustomValue(DeviceIndex::FieldStop, n, a));
                    r.Put_UmemND(a, svc.CustomValue(DeviceIndex::NDFilter, n, a));
                }
            }
        }
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Observation_Position Read Error"));
    }
}

// ---------------------------------------------------------------------------
// A record onto the controls
// ---------------------------------------------------------------------------

void frmProfile::setFitted(QComboBox* combo, bool fitted) {
    combo->setEnabled(fitted);
    combo->setProperty("fitted", fitted);
    combo->setStyleSheet(QStringLiteral("QComboBox { background: %1; }")
                             .arg(zentor::colorFromBgr(fitted ? kFitted : kNotFitted).name()));
    if (!fitted) combo->setCurrentIndex(-1);
}

bool frmProfile::selectByData(QComboBox* combo, int32_t value) {
    const int row = combo->findData(value);
    if (row < 0) return false;
    combo->setCurrentIndex(row);
    return true;
}

void frmProfile::Profile_Show() {
    MainState& s = mainState();
    m_showing = true;
    try {
        const int t = selectedTab();
        clsDefProfile& R = Profile_Item(m_items, t);
        R.setOBSERVATION(t + 6);
        auto byAddress = [&](QComboBox* combo, const clsDefAddControl& o, int32_t v, bool fitted) {
            setFitted(combo, fitted);
            if (fitted) combo->setCurrentIndex(v >= o.MIN() && v <= o.MAX() ? v : 0);
        };
        auto byRowCount = [&](QComboBox* combo, int32_t v, bool fitted) {
            setFitted(combo, fitted);
            if (fitted) combo->setCurrentIndex(v < combo->count() ? int(v) : 0);
        };
        auto byData = [&](QComboBox* combo, int32_t v, bool fitted) {
            setFitted(combo, fitted);
            return fitted && selectByData(combo, v);
        };
        byAddress(txtObj, s.mObj, R.Obj_ADDRESS(), s.mObj.SETUP() == 1);
        byAddress(txtFilter, s.mFilter, R.Filter_ADDRESS(), s.mFilter.SETUP() == 1);
        byRowCount(txtCon, R.Cond_ADDRESS(), s.mCon.SETUP() == 1);
        byRowCount(txtPath, R.PATH(), s.mPath.SETUP() == 1);
        byRowCount(txtZoom, R.ZOOM(), s.mZoom.SETUP() == 1);
        byData(txtAna, R.ANALYZER(), s.MicUnit[3] == 1);
        ObjChk->setEnabled(s.mObj.SETUP() == 1);
        PathChk->setEnabled(s.mPath.SETUP() == 1);
        ZoomChk->setEnabled(s.mZoom.SETUP() == 1);
        ObjChk->setChecked(R.Obj_Link() != 0);
        PathChk->setChecked(R.Path_Link() != 0);
        ZoomChk->setChecked(R.Zoom_Link() != 0);
        const struct { QComboBox* combo; int32_t value; bool fitted; QTreeWidget* list; QLineEdit* zero; int kind; } stops[] = {
            {txtAP, R.AStop(), s.mAS.SETUP() == 1, lstAS, ValueAP, 0},
            {txtFS, R.FStop(), s.mFS.SETUP() == 1, lstFS, ValueFS, 1},
            {txtND, R.ND(), s.mND.SETUP() == 1, lstND, ValueND, 2}};
        for (const auto& st : stops) {
            st.list->setEnabled(st.fitted);
            st.zero->setEnabled(st.fitted);
            if (!st.fitted) {
                st.list->clear();
                st.zero->clear();
            }
            if (byData(st.combo, st.value, st.fitted)) stopClicked(st.kind);
        }
        byData(txtLamp, R.LAMP(), s.mLamp.SETUP() == 1);
        byData(txtShutter, R.SHUTTER(), s.MicUnit[3] == 1 || s.MicUnit[7] != 0 || s.MicUnit[2] != 0);
        txtSel->setText(R.Name());
        m_lastName = R.Name();
        tabProfile->setTabText(t - 1, R.Name());
        for (int i = 1; i <= 6; ++i) {
            const QString name = Profile_Item(m_items, i).Name();
            tabProfile->setTabText(i - 1, name);
            tabProfile->setTabToolTip(i - 1, QStringLiteral("User method %1: %2").arg(i).arg(name));
        }
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Profile_Data Error"));
    }
    m_showing = false;
}

// ---------------------------------------------------------------------------
// The operator's changes into the record of the selected tab
// ---------------------------------------------------------------------------

void frmProfile::comboClicked(QComboBox* combo) {
    clsDefProfile* R = currentOrSay();
    if (!R) return;
    const int index = combo->currentIndex();
    const int32_t data = combo->currentData().toInt();
    try {
        if (combo == txtObj) R->setObj_ADDRESS(index);
        else if (combo == txtFilter) R->setFilter_ADDRESS(index);
        else if (combo == txtCon) R->setCond_ADDRESS(index);
        else if (combo == txtPath) R->setPATH(vb::toInt16(index));
        else if (combo == txtZoom) R->setZOOM(index);
        else if (combo == txtAna) R->setANALYZER(data);
        else if (combo == txtLamp) R->setLAMP(data);
        else if (combo == txtShutter) R->setSHUTTER(data);
        else if (combo == txtAP) stopClicked(0);
        else if (combo == txtFS) stopClicked(1);
        else if (combo == txtND) stopClicked(2);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Profile_Data Error"));
    }
}

void frmProfile::stopClicked(int kind) {
    QComboBox* combo = kind == 0 ? txtAP : kind == 1 ? txtFS : txtND;
    QTreeWidget* list = kind == 0 ? lstAS : kind == 1 ? lstFS : lstND;
    QLineEdit* zero = kind == 0 ? ValueAP : kind == 1 ? ValueFS : ValueND;
    clsDefProfile& R = current();
    auto umem = [&](int16_t a) {
        return kind == 0 ? R.Get_UmemAS(a) : kind == 1 ? R.Get_UmemFS(a) : R.Get_UmemND(a);
    };
    list->clear();
    if (combo->currentIndex() == 2) {
        zero->setText(vb::numberText(umem(0)));
        for (int16_t a = 1; a <= mainState().mObj.MAX(); ++a)
            new QTreeWidgetItem(list, {QString::number(a), vb::numberText(umem(a))});
    }
    const int32_t code = combo->currentData().toInt();
    if (kind == 0) R.setAStop(code);
    else if (kind == 1) R.setFStop(code);
    else R.setND(code);
}

void frmProfile::linkClicked(QCheckBox* box) {
    clsDefProfile* R = currentOrSay();
    if (!R) return;
    const int16_t v = box->isChecked() ? 1 : 0;
    if (box == ObjChk) R->setObj_Link(v);
    else if (box == PathChk) R->setPath_Link(v);
    else R->setZoom_Link(v);
}

void frmProfile::txtSel_Change(const QString& text) {
    if (text.size() > 15) {
        const int cursor = txtSel->cursorPosition();
        txtSel->setText(m_lastName);
        txtSel->setCursorPosition(std::min(cursor, int(m_lastName.size())));
    } else if (clsDefProfile* R = currentOrSay()) {
        R->setName(text);
    }
    m_lastName = txtSel->text();
}

void frmProfile::tabProfile_Click(int) {
    if (!m_showing) Profile_Show();
}

// ---------------------------------------------------------------------------
// Current Status, Send
// ---------------------------------------------------------------------------

void frmProfile::btnReceive_Click() {
    MainState& s = mainState();
    if (!s.MicConnected || !s.micService) return;
    Busy busy(this);
    try {
        clsDefProfile& R = current();
        MicroscopeService& svc = *s.micService;
        const bool epi = s.MicUnit[2] == 1 || s.MicUnit[3] == 1;
        if (s.mObj.SETUP() != 0) R.setObj_ADDRESS(s.mObj.SETUP() == 1 ? s.mObj.Address() : 0);
        if (epi) {
            R.setFilter_ADDRESS(s.mFilter.SETUP() == 1 ? s.mFilter.Address() : 0);
            R.setPATH(s.mPath.SETUP() == 1 ? s.mPath.PATH() : int16_t(0));
            R.setZOOM(s.mZoom.SETUP() == 1 ? vb::toInt32(s.mZoom.ZOOM() * 10 - 7) : 0);
            R.setSHUTTER(svc.EpiShutterIsOpened() == 0 ? 4 : 3);
        }
        R.setCond_ADDRESS(s.mCon.SETUP() == 1 ? s.mCon.Address() + 4 : 0);
        if (s.mLamp.SETUP() != 0) R.setLAMP(s.mLamp.ONOFF() == 0 ? 4 : 3);
        if (s.MicUnit[3] == 1) R.setANALYZER(svc.AnalyzerIsInserted() == 0 ? 4 : 3);
        R.setObj_Link(s.mObj.SETUP() == 1 ? s.mObj.LINK() : int16_t(0));
        R.setPath_Link(s.mPath.SETUP() == 1 ? s.mPath.LINK() : int16_t(0));
        R.setZoom_Link(s.mZoom.SETUP() == 1 ? s.mZoom.LINK() : int16_t(0));
        Profile_Show();
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Observation_Position Read Error"));
    }
}

void frmProfile::btnSend_Click() {
    Busy busy(this);
    if (chkSend->isChecked()) {
        for (int t = 1; t <= 6; ++t) Profile_Send(t);
    } else {
        Profile_Send(selectedTab());
    }
}

void frmProfile::Profile_Send(int t) {
    MainState& s = mainState();
    if (!s.MicConnected || !s.micService) return;
    MicroscopeService& svc = *s.micService;
    const int16_t n = int16_t(t + 6);
    try {
        const clsDefProfile& R = Profile_Item(m_items, t);
        ObservationPositions p;
        R.Read_ObservationPosition(n, p.lamp, p.nd, p.fieldStop, p.condenser, p.apertureStop, p.filter,
                                   p.shutter, p.analyzer, p.objective, p.path, p.zoom);
        // The name goes first; when the stand then refuses the positions,
        // the new name stays on the stand and the box tells the operator.
        svc.setObservationName(n, R.Name());
        svc.setObservationPosition(n, p);
        const QString name = svc.ObservationName(n).trimmed();
        emit userNameRead(t, name.isEmpty() ? QStringLiteral("User") + QString::number(t) : name);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Observation_Position Send Error"));
    }
}

// ---------------------------------------------------------------------------
// Files
// ---------------------------------------------------------------------------

// The file dialogs are modal: they hold the form off while they are up.
void frmProfile::btnRead_Click() {
    const QString path = Dialogs::openFileName(this);
    if (path.isEmpty()) return;
    Profile_FileRead(path);
    Profile_Show();
}

void frmProfile::btnSave_Click() {
    const QString path = Dialogs::saveFileName(this);
    if (path.isEmpty()) return;
    Profile_FileWrite(path);
}

void frmProfile::Profile_FileRead(const QString& path) {
    m_items.clear();
    const FileRead::Result file = FileRead::read(path);
    if (file.missing()) {
        Profile_Init();
        return;
    }
    try {
        // A pipe, a device, a folder or a file beyond the bound is a file
        // that cannot be read; the operator is told which and why.
        if (file.refused()) {
            FileRead::tellOnce(file);
            throw RunTimeError(RunTimeError::BadFileNameOrNumber, file.message());
        }
        const ProfileFileReading reading = Profile_FileParse(file.bytes);
        m_items = reading.items;
        for (const auto& caption : reading.captions) tabProfile->setTabText(caption.first - 1, caption.second);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("File Read Error"));
        Profile_Init();
    }
}

void frmProfile::Profile_FileWrite(const QString& path) {
    WaitCursor wait;
    try {
        QString error;
        bool whole = true;
        if (!WholeFile::write(path, Profile_FileText(m_items, &whole), &error))
            throw RunTimeError(RunTimeError::PathNotFound, error);
        if (!whole)
            throw RunTimeError(RunTimeError::SubscriptOutOfRange, QStringLiteral("fewer than six methods"));
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("File Save Error"));
    }
}
