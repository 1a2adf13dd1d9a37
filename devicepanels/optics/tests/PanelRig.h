#pragma once
// A device panel's world in one test: a simulated service in this process
// with the microscope at index 1 open, the process-wide state pointing at
// it, a stand-in main window owning the panels with twin device buttons, the
// main INI in the test's own home, and every message box recorded.
#include "devicepanels/optics/OpticsPanels.h"
#include "devicepanels/subpanel/SubPanel.h"
#include "devicepanels/subpanel/SubPanels.h"
#include "state/FormRegistry.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "widgets/usrButton.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"
#include "stand/SimulatedStand.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QHBoxLayout>
#include <QTest>
#include <map>
#include <memory>

inline QString shippedStand(const char* file) {
    return QStringLiteral(ZENTOR_STAND_DESCRIPTIONS) + QLatin1Char('/') + QLatin1String(file);
}

inline QString testHome() { return QString::fromLocal8Bit(qgetenv("ZENTOR_TEST_HOME")); }

// A description written for the test, in the test's home.
inline QString writtenStand(const QString& name, const QByteArray& json) {
    const QString path = testHome() + QStringLiteral("/stands/") + name + QStringLiteral(".json");
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    f.open(QIODevice::WriteOnly | QIODevice::Truncate);
    f.write(json);
    return path;
}

inline void pumpEvents(int ms = 20) {
    QElapsedTimer t;
    t.start();
    do {
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    } while (t.elapsed() < ms);
}

struct PanelRig {
    SimulatedService service;
    SimulatedMicroscope mic{&service};
    QWidget owner;
    MsgBox::Recorder boxes;
    std::map<QString, std::pair<usrButton*, usrButton*>> twins;

    explicit PanelRig(const QStringList& descriptions = {shippedStand("full-system.json")},
                      const StandClock& clock = StandClock::instant())
        : service(clock, descriptions) {
        MainState& s = mainState();
        s = MainState();
        s.INI.Ini_SetPath(iniPath());
        mic.Connect(1);
        s.micService = &mic;
        s.MicConnected = true;
        loadLimits();
        owner.setWindowTitle(QStringLiteral("Zentor"));
        owner.resize(300, 200);
        owner.move(20, 20);
        new QHBoxLayout(&owner);
        registerOpticsPanels(&owner);
        owner.show();
    }
    ~PanelRig() {
        for (QWidget* w : FormRegistry::loadedForms())
            FormRegistry::unload(FormRegistry::nameOf(w));
        SubPanels::detachAll();
        MainState& s = mainState();
        s.micService = nullptr;
        s.MicConnected = false;
        mic.Disconnect();
    }

    static QString iniPath() { return testHome() + QStringLiteral("/data/Korvu/MavrelTools/Zentor.ini"); }

    // The limits Init would have loaded into the parameter objects.
    void loadLimits() {
        MainState& s = mainState();
        auto limits = [&](clsDefStop& stop, int16_t index) {
            stop.setMAX(mic.UpperLimit(index));
            stop.setMIN(mic.LowerLimit(index));
            stop.setAMOUNT(mic.Step(index));
        };
        limits(s.mAS, LimitIndex::ApertureStop);
        limits(s.mFS, LimitIndex::FieldStop);
        limits(s.mND, LimitIndex::NDFilter);
        limits(s.mEpiFS, LimitIndex::EpiFieldStop);
        s.mZoom.setMIN(mic.LowerLimit(LimitIndex::OpticalZoom));
        s.mZoom.setMAX(mic.UpperLimit(LimitIndex::OpticalZoom));
        s.mZoom.setAMOUNT(mic.Step(LimitIndex::OpticalZoom));
        s.mLamp.setAMOUNT(mic.Step(LimitIndex::Lamp));
        // Present values of devices a stand may lack, as Init reads them.
        try { s.mND.setDiameter(mic.NDFilterTransmission()); } catch (const RunTimeError&) {}
        try { s.mZoom.setZOOM(mic.OpticalZoomZoom()); } catch (const RunTimeError&) {}
        try { s.mPath.setPATH(mic.LightPathDriveLightPath()); } catch (const RunTimeError&) {}
    }

    StandControl& faults() { return service.stand(1)->control(); }

    // The twin device buttons of a panel on the stand-in main window.
    std::pair<usrButton*, usrButton*> buttons(const QString& form,
                                              SubPanels::OpensOn gesture = SubPanels::OpensOn::Pressed) {
        auto it = twins.find(form);
        if (it != twins.end())
            return it->second;
        auto* large = new usrButton(&owner);
        auto* compact = new usrButton(&owner);
        large->setIndex(0);
        compact->setIndex(1);
        large->setCaption(form);
        compact->setCaption(form);
        owner.layout()->addWidget(large);
        owner.layout()->addWidget(compact);
        large->show();
        compact->show();
        SubPanels::attach(form, large, compact, gesture);
        twins[form] = {large, compact};
        return twins[form];
    }

    static void click(QWidget* w) { QTest::mouseClick(w, Qt::LeftButton, {}, w->rect().center()); }

    // Opens the panel from twin `index`, as the operator would.
    template <typename Panel>
    Panel* open(const QString& form, int index = 0) {
        auto pair = buttons(form);
        click(index == 0 ? pair.first : pair.second);
        pumpEvents();
        return qobject_cast<Panel*>(FormRegistry::loaded(form));
    }

    QString iniValue(const QString& section, const QString& key) {
        return mainState().INI.Ini_ReadStr(section, key, QStringLiteral("<absent>"));
    }
};
