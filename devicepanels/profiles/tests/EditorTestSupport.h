#pragma once
// Shared set-up of the profile editor's tests: a fresh process-wide state, a
// simulated microscope opened in process with the state filled as opening a
// microscope fills it, messages recorded and dialogs answered by the test.
#include "devicepanels/profiles/Dialogs.h"
#include "devicepanels/profiles/frmProfile.h"
#include "stand/SimulatedMicroscope.h"
#include "state/DeviceTables.h"
#include "state/MainState.h"
#include "state/MsgBox.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLineEdit>
#include <QTreeWidget>
#include <QDir>
#include <QFile>
#include <QTabBar>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

inline QString testHome() { return qEnvironmentVariable("ZENTOR_TEST_HOME", QDir::tempPath()); }

inline QByteArray readFile(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline void writeFile(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

inline void resetState() {
    MainState& st = mainState();
    st.micService = nullptr;
    st.MicUnit = {};
    st.ObservationNow = 0;
    st.MicConnected = false;
    st.mObj = clsDefAddControl();
    st.mFilter = clsDefAddControl();
    st.mCon = clsDefAddControl();
    st.mZoom = clsDefZoom();
    st.mPath = clsDefLightPath();
    st.mLamp = clsDefLamp();
    st.mAS = clsDefStop();
    st.mFS = clsDefStop();
    st.mND = clsDefStop();
    st.mEpiFS = clsDefStop();
    st.mObjData.clear();
    st.mFilterData.clear();
    st.mConData.clear();
}

class EditorTest : public ::testing::Test {
protected:
    void SetUp() override {
        resetState();
        recorder = std::make_unique<MsgBox::Recorder>();
    }
    void TearDown() override {
        closeEditor();
        MainState& st = mainState();
        if (mic && st.MicConnected) mic->Disconnect();
        resetState();
        mic.reset();
        recorder.reset();
    }

    // Opens microscope `index` and fills the state as opening does: the units
    // found, the fitted devices, their tables and where they stand.
    void openStand(int16_t index = 0, const QStringList& descriptions = {}) {
        mic = std::make_unique<SimulatedMicroscope>(StandClock::instant(), descriptions);
        mic->Connect(index);
        MainState& st = mainState();
        st.micService = mic.get();
        st.MicConnected = true;
        MicroscopeService& svc = *mic;
        const int16_t units[8] = {0, UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B, UnitIndex::ZController,
                                  UnitIndex::Tolva, 0, UnitIndex::E_LM_K};
        for (int i = 1; i <= 7; ++i) st.MicUnit[i] = units[i] && svc.DeviceStatus(units[i]) == 1 ? 1 : 0;
        auto mounted = [&](int16_t d) { return svc.IsMounted(d) != 0; };
        if (ObjectiveData_Init(st)) {
            st.mObj.setSETUP(1);
            st.mObj.setAddress(svc.NosepiecePosition());
        }
        if (FilterCube_Init(st)) {
            st.mFilter.setSETUP(1);
            st.mFilter.setAddress(svc.FilterBlockCassettePosition());
        }
        if (CondenserData_Init(st)) {
            st.mCon.setSETUP(1);
            st.mCon.setAddress(svc.CondenserCassettePosition());
        }
        if (mounted(DeviceIndex::LightPathDrive)) {
            st.mPath.setSETUP(1);
            st.mPath.setPATH(svc.LightPathDriveLightPath());
        }
        if (mounted(DeviceIndex::OpticalZoom)) {
            st.mZoom.setSETUP(1);
            st.mZoom.setZOOM(svc.OpticalZoomZoom());
        }
        st.mAS.setSETUP(mounted(DeviceIndex::ApertureStop) ? 1 : 0);
        st.mFS.setSETUP(mounted(DeviceIndex::FieldStop) ? 1 : 0);
        st.mND.setSETUP(mounted(DeviceIndex::NDFilter) ? 1 : 0);
        if (mounted(DeviceIndex::Lamp)) {
            st.mLamp.setSETUP(1);
            st.mLamp.setONOFF(svc.LampIsOn());
        }
    }
    StandControl& control() { return mic->simulatedService()->stand(0)->control(); }

    frmProfile* openEditor() {
        editor = frmProfile::instance();
        editor->show();
        return editor;
    }
    void closeEditor() {
        if (frmProfile* f = frmProfile::loaded()) delete f;
        editor = nullptr;
    }
    static void pick(QComboBox* combo, int row) {
        combo->setCurrentIndex(row);
        emit combo->activated(row);
    }
    static void click(QWidget* button) {
        QTest::mouseClick(button, Qt::LeftButton, Qt::NoModifier, QPoint(10, 10));
    }
    static void typeName(frmProfile* f, const QString& text) {
        f->txtSel->setFocus();
        f->txtSel->selectAll();
        QTest::keyClicks(f->txtSel, text);
    }

    std::unique_ptr<SimulatedMicroscope> mic;
    std::unique_ptr<MsgBox::Recorder> recorder;
    frmProfile* editor = nullptr;
};
