#pragma once
// Shared set-up of the panel tests: a fresh process-wide state, and a
// simulated microscope opened in process.
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/Units.h"
#include "stand/SimulatedMicroscope.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

inline void resetMainState()
{
    MainState& st = mainState();
    st.micService = nullptr;
    st.MicUnit = {};
    st.ObservationNow = 0;
    st.MicConnected = false;
    st.SimMode = false;
    st.mObj = clsDefAddControl();
    st.mFilter = clsDefAddControl();
    st.mCon = clsDefAddControl();
    st.mObjData.clear();
    st.mFilterData.clear();
    st.mConData.clear();
}

// Writes a stand description into the test's home and answers its path.
inline QString writeDescription(const QString& name, const QByteArray& json)
{
    const QString dir = qEnvironmentVariable("ZENTOR_TEST_HOME", QDir::tempPath());
    QDir().mkpath(dir);
    const QString path = dir + "/" + name;
    QFile f(path);
    f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    f.write(json);
    return path;
}

class PanelTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        resetMainState();
        panel = std::make_unique<MainPanel>();
    }
    void TearDown() override
    {
        panel.reset();
        MainState& st = mainState();
        if (mic && st.MicConnected) {
            try {
                mic->Disconnect();
            } catch (const RunTimeError&) {
                // a test may have closed it already
            }
        }
        resetMainState();
        mic.reset();
    }
    // Opens microscope `index` of a simulated service with these extra
    // descriptions (index 0 is the service's own full system).
    void connectStand(int16_t index = 0, const QStringList& descriptions = {})
    {
        mic = std::make_unique<SimulatedMicroscope>(StandClock::instant(), descriptions);
        mic->Connect(index);
        MainState& st = mainState();
        st.micService = mic.get();
        st.MicConnected = true;
    }
    StandControl& control(int index = 0)
    {
        return mic->simulatedService()->stand(index)->control();
    }
    static int px(int twips) { return zentor::twipsToPixels(twips); }

    std::unique_ptr<SimulatedMicroscope> mic;
    std::unique_ptr<MainPanel> panel;
};
