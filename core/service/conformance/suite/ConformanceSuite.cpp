// The cases every MicroscopeService implementation must pass. Moves run on an
// instant clock except where positions streaming during a move are the point.
#include "core/service/conformance/suite/ConformanceRig.h"

#include "core/base/VbConvert.h"
#include "core/service/conformance/StandChecks.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QThread>
#include <gtest/gtest.h>

#include <functional>
#include <limits>
#include <vector>

QString standDescriptionPath(const QString& fileName) {
    return QDir(QStringLiteral(ZENTOR_STAND_DESCRIPTIONS)).filePath(fileName);
}

namespace {

const QStringList kFull{standDescriptionPath("full-system.json")};

// Description files written for one case; removed with the object.
class TempDescriptions {
public:
    QString add(const QString& fileName, const QByteArray& json) {
        const QString path = m_dir.filePath(fileName);
        QFile f(path);
        if (!f.open(QIODevice::WriteOnly) || f.write(json) != json.size()) ADD_FAILURE() << "cannot write " << path.toStdString();
        return path;
    }

private:
    QTemporaryDir m_dir;
};

class Conformance {
public:
    Conformance(const RigFactory& factory, const QStringList& descriptions = kFull, double speed = 0)
        : rig(factory(descriptions, speed)), svc(rig->service()) {
        QObject::connect(&svc, &MicroscopeService::OnPropertyChanged, &svc,
                         [this](const QString& m) { events << m; });
    }
    void open(int16_t index = 1) {
        svc.Connect(index);
        settle();
        events.clear();
    }
    // Lets events that are on their way arrive.
    void settle(int ms = 30) {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            QThread::usleep(500);
        }
    }
    bool waitFor(const QString& event, int ms = 3000) {
        QElapsedTimer t;
        t.start();
        while (!events.contains(event) && t.elapsed() < ms) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        return events.contains(event);
    }
    QStringList named(const QString& name) const {
        QStringList r;
        for (const QString& e : events)
            if (e.startsWith(name + ':')) r << e;
        return r;
    }

    std::unique_ptr<ConformanceRig> rig;
    MicroscopeService& svc;
    QStringList events;
};

template <class F>
int32_t errorOf(F&& f) {
    try {
        f();
    } catch (const RunTimeError& e) {
        return e.number();
    }
    return 0;
}
template <class F>
QString tailOf(F&& f) {
    try {
        f();
    } catch (const RunTimeError& e) {
        return e.hexTail();
    }
    return QStringLiteral("none");
}

using Case = std::function<void(const RigFactory&)>;
struct NamedCase { const char* name; Case run; };

std::vector<NamedCase>& cases() {
    static std::vector<NamedCase> c;
    return c;
}
struct AddCase {
    AddCase(const char* name, Case run) { cases().push_back({name, std::move(run)}); }
};
#define CONFORMANCE_CASE(name)                                         \
    static void name##_body(const RigFactory& factory);                \
    static AddCase name##_add(#name, &name##_body);                    \
    static void name##_body(const RigFactory& factory)

// --- connection and inventory ------------------------------------------------
CONFORMANCE_CASE(DeviceNamesHoldTheSimulatedMicroscopeAtIndexZero) {
    Conformance c(factory);
    const QStringList names = c.svc.GetDeviceNames();
    ASSERT_EQ(names.size(), 2);
    EXPECT_FALSE(names[0].isEmpty());
    EXPECT_EQ(names[1], "Q7s Full System");
    EXPECT_NE(c.svc.IsDeviceAvailable(0), 0);
    EXPECT_NE(c.svc.IsDeviceAvailable(1), 0);
    EXPECT_EQ(c.svc.IsDeviceAvailable(2), 0);
}

CONFORMANCE_CASE(NothingFoundIsAListOfOnlyIndexZero) {
    Conformance c(factory, {});
    EXPECT_EQ(c.svc.GetDeviceNames().size(), 1);
    c.open(0);   // the simulated microscope is a full system
    EXPECT_EQ(c.svc.DeviceStatus(UnitIndex::Q7s), 1);
    EXPECT_EQ(c.svc.IsMounted(DeviceIndex::XYDrive), 1);
}

CONFORMANCE_CASE(CallsBeforeConnectFailAndConnectToAnUnknownIndexFails) {
    Conformance c(factory);
    EXPECT_NE(errorOf([&] { c.svc.DeviceStatus(1); }), 0);
    EXPECT_NE(errorOf([&] { c.svc.Connect(5); }), 0);
    c.open(1);
    EXPECT_EQ(c.svc.DeviceStatus(1), 1);
    c.svc.Disconnect();
    EXPECT_NE(errorOf([&] { c.svc.NosepiecePosition(); }), 0);
}

CONFORMANCE_CASE(FullSystemInventory) {
    Conformance c(factory);
    c.open();
    for (int16_t u : {1, 2, 3, 4, 5}) EXPECT_EQ(c.svc.DeviceStatus(u), 1) << u;
    EXPECT_NE(c.svc.DeviceStatus(UnitIndex::E_LM_K), 1);
    for (int16_t d = 1; d <= 14; ++d) EXPECT_EQ(c.svc.IsMounted(d), 1) << d;
    for (int16_t d = 1; d <= 5; ++d) EXPECT_EQ(c.svc.IsReadOnly(d), 0) << d;
    for (int16_t i : {1, 2, 4, 5, 6, 9, 11, 13, 14, 16, 17, 18}) {
        EXPECT_LE(c.svc.LowerLimit(i), c.svc.UpperLimit(i)) << i;
        EXPECT_GT(c.svc.Step(i), 0) << i;
    }
    EXPECT_NE(c.svc.IsCameraPresent(1), 0);
    EXPECT_EQ(c.svc.CameraUnit(), 1);
    EXPECT_EQ(c.svc.CameraHead(), 2);
    const QString q7s = c.svc.Version(UnitIndex::Q7s);
    ASSERT_GE(q7s.size(), 2);
    bool ok = false;
    q7s.mid(1).toDouble(&ok);
    EXPECT_TRUE(ok) << q7s.toStdString();
    for (int16_t u : {1, 2, 3, 4, 5}) EXPECT_FALSE(c.svc.Version(u).isEmpty());
    // The version panel shows "V" and what follows the ":" of the controller's answer.
    const QString tolva = c.svc.Version(UnitIndex::Tolva);
    ASSERT_TRUE(tolva.contains(':')) << tolva.toStdString();
    EXPECT_GT(vb::val(tolva.section(':', 1)), 0) << tolva.toStdString();
    EXPECT_GE(vb::val(q7s.mid(1)), 1.0) << q7s.toStdString();
    EXPECT_LE(c.svc.LowerLimit(LimitIndex::ZDrive), c.svc.ZUpperLimit());
    EXPECT_GE(c.svc.UpperLimit(LimitIndex::ZDrive), c.svc.ZUpperLimit());
}

CONFORMANCE_CASE(LimitIndexThirteenIsXOfTheStageNotTheFieldStop) {
    Conformance c(factory);
    c.open();
    EXPECT_GT(c.svc.UpperLimit(LimitIndex::XYDriveX), 1000);
    EXPECT_LT(c.svc.UpperLimit(LimitIndex::FieldStop), 1000);
}

CONFORMANCE_CASE(UnknownIndicesAreRefusedAndChangeNothing) {
    Conformance c(factory);
    c.open();
    const int32_t bad = RunTimeError::ServiceInvalidArgument;
    EXPECT_EQ(errorOf([&] { c.svc.DeviceStatus(0); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.DeviceStatus(7); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.IsMounted(0); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.IsMounted(15); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.IsReadOnly(-1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.UpperLimit(3); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.LowerLimit(12); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.Step(19); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.PathSubType(1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.Version(9); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.EventLog(0, 1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.ObservationName(13); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.ObservationName(0); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.setPresetsObservationMode(13); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.ObservationPosition(-1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomValue(11, 7, 1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomValue(12, 0, 1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomObservation(15, 7, 1, 3.0); }), bad);
    c.settle();
    EXPECT_TRUE(c.events.isEmpty()) << c.events.join(' ').toStdString();
    EXPECT_EQ(c.svc.PresetsObservationMode(), 1);
}

CONFORMANCE_CASE(EventLogsHoldAHundredPrefixedEntriesPerUnit) {
    Conformance c(factory);
    c.open();
    for (int16_t u : {1, 2, 3, 4, 5})
        for (int16_t e = 1; e <= 100; ++e) ASSERT_GE(c.svc.EventLog(u, e).size(), 5) << u << " " << e;
    EXPECT_NE(errorOf([&] { c.svc.EventLog(1, 0); }), 0);
    EXPECT_NE(errorOf([&] { c.svc.EventLog(UnitIndex::E_LM_K, 1); }), 0);
}

CONFORMANCE_CASE(TablesAreParallelArraysOnePerPosition) {
    Conformance c(factory);
    c.open();
    const int objectives = int(c.svc.UpperLimit(LimitIndex::Nosepiece));
    EXPECT_EQ(c.svc.ObjectiveNumbers().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveNames().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveSeriesNames().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveTypeNames().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveRates().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveWDs().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveNAs().size(), objectives);
    EXPECT_EQ(c.svc.ObjectiveNumbers().last(), 0);   // an empty position
    const int filters = int(c.svc.UpperLimit(LimitIndex::FilterBlockCassette));
    for (int n : {c.svc.FilterNumbers().size(), c.svc.FilterNames().size(), c.svc.FilterReikis().size(),
                  c.svc.FilterDMs().size(), c.svc.FilterKyusyus().size(), c.svc.FilterEXNames().size(),
                  c.svc.FilterDMNames().size(), c.svc.FilterBANames().size()})
        EXPECT_EQ(n, filters);
    EXPECT_EQ(c.svc.CondenserNumbers().size(), c.svc.CondenserNames().size());
    EXPECT_EQ(c.svc.CondenserNumbers().size(), int(c.svc.UpperLimit(LimitIndex::CondenserCassette)));
    EXPECT_DOUBLE_EQ(c.svc.ObjectiveRates()[1], 10.0);
}

// --- device values and their events --------------------------------------------
CONFORMANCE_CASE(EveryEventNameIsReportedForItsChange) {
    Conformance c(factory);
    c.open();
    c.svc.setNosepiecePosition(3);
    c.svc.setFilterBlockCassettePosition(2);
    c.svc.setLightPathDriveLightPath(2);
    c.svc.setCondenserCassettePosition(2);
    c.svc.setApertureStopApertureStop(5.5);
    c.svc.setFieldStopFieldStop(7);
    c.svc.setEpiFieldStopFieldStop(2.5);
    c.svc.setNDFilterTransmission(50);
    c.svc.LampOn();
    c.svc.setLampControlVoltage(4.5);
    c.svc.LampPreset();
    c.svc.setOpticalZoomZoom(1.5);
    c.svc.AnalyzerIn();
    c.svc.EpiShutterOpen();
    c.svc.setZDriveZPosition(1000);
    c.svc.XYDriveMove(200, -300);
    c.svc.setZDriveIsZEscape(1);
    c.svc.setXYDriveIsEscape(1);
    c.svc.setPresetsObservationMode(4);
    QString reply;
    c.svc.SendCommand("cNMX5", reply);
    for (const char* e : {"AppNosepiecePosition:3", "AppFilterBlockCassettePosition:2",
                          "AppLightPathDriveLightPath:2", "AppCondenserCassettePosition:2",
                          "AppApertureStopApertureStop:5.5", "AppFieldStopFieldStop:7",
                          "AppEpiFieldStopFieldStop:2.5", "AppNDFilterTransmission:50", "AppLampIsOn:1",
                          "AppLampControlVoltage:4.5", "AppLampIsPreset:1", "AppOpticalZoomZoom:1.5",
                          "AppAnalyzerIsInserted:1", "AppEpiShutterIsOpened:1", "AppZDriveZPosition:1000",
                          "AppXYDriveXPosition:200", "AppXYDriveYPosition:-300", "AppZDriveIsZEscape:1",
                          "AppXYZDriveIsEscape:1", "AppPresetsObservationMode:4", "AppNosepieceMaxValue:5"})
        EXPECT_TRUE(c.waitFor(e)) << e << " not in " << c.events.join(' ').toStdString();
    EXPECT_EQ(c.svc.LowerLimit(LimitIndex::Nosepiece), 5);
    c.svc.AnalyzerOut();
    EXPECT_TRUE(c.waitFor("AppAnalyzerIsInserted:2"));   // 2, not 0, reports out
    EXPECT_EQ(c.svc.AnalyzerIsInserted(), 0);
}

CONFORMANCE_CASE(ReadsGiveBackWhatWasWritten) {
    Conformance c(factory);
    c.open();
    c.svc.setNosepiecePosition(4);
    EXPECT_EQ(c.svc.NosepiecePosition(), 4);
    c.svc.setFilterBlockCassettePosition(5);
    EXPECT_EQ(c.svc.FilterBlockCassettePosition(), 5);
    c.svc.setLightPathDriveLightPath(3);
    EXPECT_EQ(c.svc.LightPathDriveLightPath(), 3);
    c.svc.setCondenserCassettePosition(3);
    EXPECT_EQ(c.svc.CondenserCassettePosition(), 3);
    c.svc.setApertureStopApertureStop(12.5);
    EXPECT_DOUBLE_EQ(c.svc.ApertureStopApertureStop(), 12.5);
    c.svc.setFieldStopFieldStop(3);
    EXPECT_DOUBLE_EQ(c.svc.FieldStopFieldStop(), 3);
    c.svc.setEpiFieldStopFieldStop(1.5);
    EXPECT_DOUBLE_EQ(c.svc.EpiFieldStopFieldStop(), 1.5);
    c.svc.setNDFilterTransmission(30);
    EXPECT_DOUBLE_EQ(c.svc.NDFilterTransmission(), 30);
    c.svc.setOpticalZoomZoom(1.2);
    EXPECT_DOUBLE_EQ(c.svc.OpticalZoomZoom(), 1.2);
    for (auto [set, get] : std::vector<std::pair<std::function<void(int16_t)>, std::function<int16_t()>>>{
             {[&](int16_t v) { c.svc.setNosepieceIsInterlockEnabled(v); }, [&] { return c.svc.NosepieceIsInterlockEnabled(); }},
             {[&](int16_t v) { c.svc.setLightPathDriveIsInterlockEnabled(v); }, [&] { return c.svc.LightPathDriveIsInterlockEnabled(); }},
             {[&](int16_t v) { c.svc.setOpticalZoomIsInterlockEnabled(v); }, [&] { return c.svc.OpticalZoomIsInterlockEnabled(); }}}) {
        set(1);
        EXPECT_NE(get(), 0);
        set(0);
        EXPECT_EQ(get(), 0);
    }
    c.svc.setNosepieceXYMode(1);
    EXPECT_EQ(c.svc.NosepieceXYMode(), 1);
    c.svc.setNosepieceZMode(2);
    EXPECT_EQ(c.svc.NosepieceZMode(), 2);
    c.svc.setXYDriveMode(1);
    EXPECT_EQ(c.svc.XYDriveMode(), 1);
    c.svc.EpiShutterOpen();
    EXPECT_EQ(c.svc.EpiShutterIsOpened(), 1);
    c.svc.EpiShutterClose();
    EXPECT_EQ(c.svc.EpiShutterIsOpened(), 0);
    c.svc.setXYDriveXPosition(-500);
    c.svc.setXYDriveYPosition(700);
    EXPECT_EQ(c.svc.XYDriveXPosition(), -500);
    EXPECT_EQ(c.svc.XYDriveYPosition(), 700);
}

CONFORMANCE_CASE(AnUnchangedValueReportsNothing) {
    Conformance c(factory);
    c.open();
    const int16_t now = c.svc.NosepiecePosition();
    c.svc.setNosepiecePosition(now);
    c.svc.setZDriveZPosition(c.svc.ZDriveZPosition());
    c.svc.LampOff();
    c.svc.EpiShutterClose();
    c.settle();
    EXPECT_TRUE(c.events.isEmpty()) << c.events.join(' ').toStdString();
}

CONFORMANCE_CASE(OutOfRangeValuesAreRefusedWith4BEAndChangeNothing) {
    Conformance c(factory);
    c.open();
    EXPECT_EQ(tailOf([&] { c.svc.setNosepiecePosition(7); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setNosepiecePosition(0); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setFilterBlockCassettePosition(99); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setLightPathDriveLightPath(4); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setApertureStopApertureStop(1000); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setNDFilterTransmission(-1); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setOpticalZoomZoom(2.5); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setLampControlVoltage(99); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveZPosition(c.svc.ZUpperLimit() + 1); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setXYDriveXPosition(int32_t(c.svc.UpperLimit(13)) + 1); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.XYDriveMove(0, int32_t(c.svc.LowerLimit(14)) - 1); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveSpeed(0); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setZUpperLimit(int32_t(c.svc.UpperLimit(11)) + 1); }), "4BE");
    c.settle();
    EXPECT_TRUE(c.events.isEmpty()) << c.events.join(' ').toStdString();
    EXPECT_EQ(c.svc.NosepiecePosition(), 1);
    EXPECT_EQ(c.svc.XYDriveXPosition(), 0);
    EXPECT_EQ(c.svc.XYDriveYPosition(), 0);
}

CONFORMANCE_CASE(AMoveAgainstAnInterlockIsRefusedWith4BE) {
    Conformance c(factory);
    c.open();
    // The zoom's interlock holds it unless the light goes to the rear port.
    c.svc.setLightPathDriveLightPath(1);
    c.svc.setOpticalZoomIsInterlockEnabled(1);
    EXPECT_EQ(tailOf([&] { c.svc.setOpticalZoomZoom(1.5); }), "4BE");
    EXPECT_DOUBLE_EQ(c.svc.OpticalZoomZoom(), 1.0);
    c.svc.setLightPathDriveLightPath(3);
    c.svc.setOpticalZoomZoom(1.5);
    EXPECT_DOUBLE_EQ(c.svc.OpticalZoomZoom(), 1.5);
    // The nosepiece's interlock holds it while the focus stands above its upper limit.
    QString reply;
    c.svc.setZUpperLimit(40000);
    c.svc.SendCommand("cGAS50000", reply);
    c.svc.setNosepieceIsInterlockEnabled(1);
    EXPECT_EQ(tailOf([&] { c.svc.setNosepiecePosition(2); }), "4BE");
    EXPECT_EQ(c.svc.NosepiecePosition(), 1);
    c.svc.setNosepieceIsInterlockEnabled(0);
    c.svc.setNosepiecePosition(2);
    EXPECT_EQ(c.svc.NosepiecePosition(), 2);
}

CONFORMANCE_CASE(AStalledMoveTimesOutWith4B7) {
    Conformance c(factory);
    c.open();
    c.rig->control().stallDevice(DeviceIndex::Nosepiece);
    EXPECT_EQ(tailOf([&] { c.svc.setNosepiecePosition(3); }), "4B7");
    EXPECT_EQ(c.svc.NosepiecePosition(), 1);
    c.svc.setNosepiecePosition(3);   // the stall was for one move
    EXPECT_EQ(c.svc.NosepiecePosition(), 3);
    c.rig->control().stallDevice(DeviceIndex::ZDrive);
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveZPosition(5000); }), "4B7");
    c.rig->control().stallDevice(DeviceIndex::XYDrive);
    c.rig->control().clearFaults();
    c.svc.XYDriveMove(10, 10);
    EXPECT_EQ(c.svc.XYDriveXPosition(), 10);
}

CONFORMANCE_CASE(AKilledUnitStopsAnsweringAndItsDevicesFail) {
    Conformance c(factory);
    c.open();
    c.rig->control().killUnit(UnitIndex::Q7s);
    EXPECT_NE(c.svc.DeviceStatus(UnitIndex::Q7s), 1);
    EXPECT_EQ(c.svc.DeviceStatus(UnitIndex::ZController), 1);
    EXPECT_NE(errorOf([&] { c.svc.NosepiecePosition(); }), 0);
    EXPECT_NE(errorOf([&] { c.svc.setNosepiecePosition(2); }), 0);
    EXPECT_NE(errorOf([&] { c.svc.LampOn(); }), 0);
    c.svc.setZDriveZPosition(300);   // the focus has a controller of its own
    c.rig->control().reviveUnit(UnitIndex::Q7s);
    EXPECT_EQ(c.svc.DeviceStatus(UnitIndex::Q7s), 1);
    EXPECT_EQ(c.svc.NosepiecePosition(), 1);
}

CONFORMANCE_CASE(NdStepsLampPresetAndVoltage) {
    Conformance c(factory);
    c.open();
    const double step = c.svc.Step(LimitIndex::NDFilter);
    c.svc.setNDFilterTransmission(50);
    c.svc.NDFilterStepUp();
    EXPECT_DOUBLE_EQ(c.svc.NDFilterTransmission(), 50 + step);
    c.svc.NDFilterStepDown();
    c.svc.NDFilterStepDown();
    EXPECT_DOUBLE_EQ(c.svc.NDFilterTransmission(), 50 - step);
    c.svc.setNDFilterTransmission(c.svc.UpperLimit(LimitIndex::NDFilter));
    EXPECT_EQ(tailOf([&] { c.svc.NDFilterStepUp(); }), "4BE");
    c.svc.LampOn();
    EXPECT_EQ(c.svc.LampIsOn(), 1);
    c.svc.setLampControlVoltage(3);
    EXPECT_EQ(c.svc.LampIsPreset(), 0);
    EXPECT_DOUBLE_EQ(c.svc.LampControlVoltage(), 3);
    c.svc.LampPreset();
    EXPECT_NE(c.svc.LampIsPreset(), 0);
    c.svc.setLampControlVoltage(3);
    EXPECT_EQ(c.svc.LampIsPreset(), 0);
    EXPECT_TRUE(c.waitFor("AppLampIsPreset:0"));
    c.svc.LampOff();
    EXPECT_EQ(c.svc.LampIsOn(), 0);
}

CONFORMANCE_CASE(ZEscapeSpeedAndUpperLimit) {
    Conformance c(factory);
    c.open();
    c.svc.setZDriveZPosition(20000);
    c.svc.setZDriveSpeed(9);
    c.svc.setZDriveIsZEscape(1);
    EXPECT_NE(c.svc.ZDriveIsZEscape(), 0);
    EXPECT_EQ(c.svc.ZDriveZPosition(), int32_t(c.svc.LowerLimit(LimitIndex::ZDrive)));
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveZPosition(1000); }), "4BE");
    c.svc.setZDriveIsZEscape(0);
    EXPECT_EQ(c.svc.ZDriveZPosition(), 20000);
    EXPECT_TRUE(c.waitFor("AppZDriveIsZEscape:0"));
    c.svc.setZUpperLimit(40000);
    EXPECT_EQ(c.svc.ZUpperLimit(), 40000);
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveZPosition(40001); }), "4BE");
    c.svc.setZDriveZPosition(40000);
    EXPECT_EQ(c.svc.ZDriveZPosition(), 40000);
}

CONFORMANCE_CASE(XYMoveEscapeAndMode) {
    Conformance c(factory);
    c.open();
    c.svc.XYDriveMove(1000, 2000);
    EXPECT_EQ(c.svc.XYDriveXPosition(), 1000);
    EXPECT_EQ(c.svc.XYDriveYPosition(), 2000);
    c.svc.setXYDriveIsEscape(1);
    EXPECT_NE(c.svc.XYDriveIsEscape(), 0);
    EXPECT_EQ(tailOf([&] { c.svc.XYDriveMove(0, 0); }), "4BE");
    c.svc.setXYDriveIsEscape(0);
    EXPECT_EQ(c.svc.XYDriveXPosition(), 1000);
    EXPECT_EQ(c.svc.XYDriveYPosition(), 2000);
    EXPECT_EQ(tailOf([&] { c.svc.setXYDriveMode(-1); }), "4BE");
}

CONFORMANCE_CASE(AutoFocusEndsWithItsResultCode) {
    Conformance c(factory);
    c.open();
    EXPECT_EQ(c.svc.ZDriveAutoFocus(), 0);
    EXPECT_EQ(c.svc.ZDriveZPosition(), 100000);
    Conformance none(factory, {standDescriptionPath("hbxb-without-q7s.json")});
    none.open();
    EXPECT_EQ(none.svc.IsCameraPresent(1), 0);
    EXPECT_NE(errorOf([&] { none.svc.ZDriveAutoFocus(); }), 0);
}

// --- raw commands --------------------------------------------------------------------
CONFORMANCE_CASE(RawCommandsAnswerInTheirFormats) {
    Conformance c(factory);
    c.open();
    QString reply;
    c.svc.SendCommand("cGAS12345", reply);
    EXPECT_EQ(c.svc.ZDriveZPosition(), 12345);
    c.svc.SendCommand("rSPR", reply);
    EXPECT_EQ(reply, "12345");
    // Stored focus: -900000 for none, the last 8 characters are the count.
    c.svc.SendCommand("rOPR4", reply);
    EXPECT_EQ(reply.right(8).toInt(), -900000) << reply.toStdString();
    c.svc.SendCommand("rOPR1", reply);
    EXPECT_EQ(reply.right(8).toInt(), 120000) << reply.toStdString();
    c.svc.setNosepiecePosition(4);
    c.svc.SendCommand("cOPS2", reply);
    c.svc.SendCommand("rOPR4", reply);
    EXPECT_EQ(reply.right(8).toInt(), 12345) << reply.toStdString();
    // Stage offsets: X in characters 2 to 8, Y in 9 to 15.
    c.svc.SendCommand("rXPR2", reply);
    EXPECT_EQ(reply.mid(1, 7).toInt(), 12) << reply.toStdString();
    EXPECT_EQ(reply.mid(8, 7).toInt(), -8) << reply.toStdString();
    c.svc.SendCommand("rVER", reply);
    EXPECT_TRUE(reply.contains(c.svc.Version(1))) << reply.toStdString();
    c.svc.SendCommand("rUST", reply);
    EXPECT_EQ(reply, "rUST,1,1,1,1,1,0");
    for (const char* unknown : {"hello", "", "cGAS", "rOPRx", "\x01\x02"}) {
        reply.clear();
        c.svc.SendCommand(unknown, reply);
        EXPECT_FALSE(reply.isEmpty()) << unknown;
    }
    c.svc.SendCommand("zzz", reply);
    EXPECT_TRUE(reply.startsWith("ERR")) << reply.toStdString();
    c.svc.SendCommand("cGAS999999999", reply);
    EXPECT_TRUE(reply.contains('!')) << reply.toStdString();
    EXPECT_EQ(c.svc.ZDriveZPosition(), 12345);
}

// --- observation methods ----------------------------------------------------------
CONFORMANCE_CASE(ObservationMethodsAreStoredAndAppliedByMovingTheirDevices) {
    Conformance c(factory);
    c.open();
    EXPECT_EQ(c.svc.ObservationName(1), "Brightfield");
    c.svc.setObservationName(9, "Cells");
    EXPECT_EQ(c.svc.ObservationName(9), "Cells");
    EXPECT_EQ(c.svc.ObservationName(10), "");
    EXPECT_EQ(tailOf([&] { c.svc.setObservationName(3, "x"); }), "4BE");
    // lamp on, ND objective, FS all open, condenser address 2, AS user memory,
    // filter 3, shutter open, analyzer in, objective 2, path 3, zoom 1.5.
    const ObservationPositions p{3, 2, 3, 6, 1, 3, 3, 3, 2, 3, 8};
    c.svc.setObservationPosition(9, p);
    EXPECT_EQ(c.svc.ObservationPosition(9), p);
    c.svc.CustomObservation(12, 9, 2, 8.5);
    EXPECT_DOUBLE_EQ(c.svc.CustomValue(12, 9, 2), 8.5);
    EXPECT_DOUBLE_EQ(c.svc.CustomValue(13, 9, 2), 0);
    c.svc.setPresetsObservationMode(9);
    EXPECT_EQ(c.svc.PresetsObservationMode(), 9);
    EXPECT_TRUE(c.waitFor("AppPresetsObservationMode:9"));
    EXPECT_EQ(c.svc.NosepiecePosition(), 2);
    EXPECT_EQ(c.svc.FilterBlockCassettePosition(), 3);
    EXPECT_EQ(c.svc.CondenserCassettePosition(), 2);
    EXPECT_EQ(c.svc.LightPathDriveLightPath(), 3);
    EXPECT_DOUBLE_EQ(c.svc.OpticalZoomZoom(), 1.5);
    EXPECT_DOUBLE_EQ(c.svc.ApertureStopApertureStop(), 8.5);
    EXPECT_DOUBLE_EQ(c.svc.FieldStopFieldStop(), c.svc.UpperLimit(LimitIndex::FieldStop));
    EXPECT_EQ(c.svc.EpiShutterIsOpened(), 1);
    EXPECT_EQ(c.svc.AnalyzerIsInserted(), 1);
    EXPECT_EQ(c.svc.LampIsOn(), 1);
    // A method of "no change" codes moves nothing.
    c.events.clear();
    c.svc.setObservationPosition(10, ObservationPositions{});
    c.svc.setPresetsObservationMode(10);
    EXPECT_TRUE(c.waitFor("AppPresetsObservationMode:10"));
    EXPECT_EQ(c.events.size(), 1) << c.events.join(' ').toStdString();
    // Codes out of their ranges are refused and change nothing.
    ObservationPositions bad = p;
    bad.nd = 3;   // "All Open" is not for the ND filter
    EXPECT_EQ(tailOf([&] { c.svc.setObservationPosition(9, bad); }), "4BE");
    bad = p;
    bad.objective = 7;
    EXPECT_EQ(tailOf([&] { c.svc.setObservationPosition(9, bad); }), "4BE");
    bad = p;
    bad.lamp = 1;
    EXPECT_EQ(tailOf([&] { c.svc.setObservationPosition(9, bad); }), "4BE");
    EXPECT_EQ(c.svc.ObservationPosition(9), p);
    EXPECT_EQ(tailOf([&] { c.svc.setObservationPosition(2, p); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.CustomObservation(12, 9, 2, 1000); }), "4BE");
}

CONFORMANCE_CASE(AStalledObservationMethodTimesOut) {
    Conformance c(factory);
    c.open();
    c.rig->control().stallDevice(DeviceIndex::Nosepiece);
    c.svc.setObservationPosition(8, ObservationPositions{0, 0, 0, 0, 0, 0, 0, 0, 3, 0, 0});
    EXPECT_EQ(tailOf([&] { c.svc.setPresetsObservationMode(8); }), "4B7");
    EXPECT_EQ(c.svc.PresetsObservationMode(), 1);
}

// --- blocking moves stream positions -------------------------------------------------
CONFORMANCE_CASE(PositionsStreamDuringABlockingMove) {
    Conformance c(factory, kFull, 20.0);
    c.open();
    c.svc.setZDriveSpeed(4);
    c.svc.setZDriveZPosition(40000);   // half a second of simulated travel... at 20x speed
    const QStringList z = c.named("AppZDriveZPosition");
    ASSERT_GE(z.size(), 3) << c.events.join(' ').toStdString();
    EXPECT_EQ(z.last(), "AppZDriveZPosition:40000");
    int last = -1;
    for (const QString& e : z) {
        const int v = e.section(':', 1).toInt();
        EXPECT_GT(v, last);
        last = v;
    }
    EXPECT_EQ(c.svc.ZDriveZPosition(), 40000);
    c.events.clear();
    // The stage reports at the controller's steady rate, so the move is long enough for several.
    c.svc.XYDriveMove(90000, -60000);
    EXPECT_GE(c.named("AppXYDriveXPosition").size(), 3);
    EXPECT_GE(c.named("AppXYDriveYPosition").size(), 3);
    EXPECT_EQ(c.named("AppXYDriveXPosition").last(), "AppXYDriveXPosition:90000");
    EXPECT_EQ(c.named("AppXYDriveYPosition").last(), "AppXYDriveYPosition:-60000");
}

// --- shipped descriptions -------------------------------------------------------------
CONFORMANCE_CASE(ShippedDescriptionsOpenAndReportTheirSystems) {
    const QStringList files{"full-system.json",        "hbxb-without-q7s.json",     "elmk-without-q7s.json",
                            "no-condenser-elmk.json",  "readonly-nosepiece.json",   "manual-path-binocular.json",
                            "manual-path-port.json",   "camera-unknown-head.json"};
    QStringList paths;
    for (const QString& f : files) paths << standDescriptionPath(f);
    Conformance c(factory, paths);
    ASSERT_EQ(c.svc.GetDeviceNames().size(), files.size() + 1);
    for (int16_t i = 0; i <= files.size(); ++i) {
        c.svc.Connect(i);
        for (int16_t u = 1; u <= 6; ++u) c.svc.DeviceStatus(u);
        for (int16_t d = 1; d <= 14; ++d) {
            c.svc.IsMounted(d);
            c.svc.IsReadOnly(d);
        }
        c.svc.IsCameraPresent(i);
        c.svc.Disconnect();
    }
    auto at = [&](int16_t i) -> MicroscopeService& {
        c.svc.Disconnect();
        c.svc.Connect(i);
        return c.svc;
    };
    MicroscopeService& hbxb = at(2);
    EXPECT_NE(hbxb.DeviceStatus(UnitIndex::Q7s), 1);
    EXPECT_EQ(hbxb.DeviceStatus(UnitIndex::HBX_B), 1);
    EXPECT_EQ(hbxb.ObservationName(7), "");
    hbxb.setNosepiecePosition(2);
    MicroscopeService& elmk = at(3);
    EXPECT_EQ(elmk.DeviceStatus(UnitIndex::E_LM_K), 1);
    EXPECT_NE(elmk.DeviceStatus(UnitIndex::Q7s), 1);
    EXPECT_EQ(elmk.IsMounted(DeviceIndex::LightPathDrive), 0);
    EXPECT_NE(errorOf([&] { elmk.LightPathDriveLightPath(); }), 0);
    MicroscopeService& nocond = at(4);
    EXPECT_EQ(nocond.IsMounted(DeviceIndex::CondenserCassette), 0);
    EXPECT_EQ(nocond.DeviceStatus(UnitIndex::E_LM_K), 1);
    nocond.setPresetsObservationMode(1);   // a method whose condenser is absent still runs
    EXPECT_EQ(nocond.PresetsObservationMode(), 1);
    MicroscopeService& ro = at(5);
    EXPECT_NE(ro.IsReadOnly(DeviceIndex::Nosepiece), 0);
    EXPECT_EQ(tailOf([&] { ro.setNosepiecePosition(2); }), "4BE");
    EXPECT_EQ(ro.NosepiecePosition(), 1);
    MicroscopeService& path0 = at(6);
    EXPECT_NE(path0.IsReadOnly(DeviceIndex::LightPathDrive), 0);
    EXPECT_EQ(path0.PathSubType(DeviceIndex::LightPathDrive), 0);
    EXPECT_EQ(tailOf([&] { path0.setLightPathDriveLightPath(2); }), "4BE");
    MicroscopeService& path1 = at(7);
    EXPECT_NE(path1.PathSubType(DeviceIndex::LightPathDrive), 0);
    MicroscopeService& cam = at(8);
    EXPECT_NE(cam.IsCameraPresent(8), 0);
    EXPECT_EQ(cam.CameraHead(), 99);
    EXPECT_EQ(cam.Version(UnitIndex::Q7s), "V1.10");
}

// --- what the panels rely on ------------------------------------------------------
CONFORMANCE_CASE(EventLogsAnswerAHundredEntriesAlsoWhenTheLogIsShorter) {
    TempDescriptions t;
    const QString file = t.add("short-log.json", R"({"name": "Short Log", "units": ["Q7s", "HBX-A"],
        "eventLogs": {"Q7s": ["I001 Power on", "W002 Lamp off"], "HBX-A": ["ab"]}})");
    Conformance c(factory, {file});
    c.open();
    EXPECT_EQ(c.svc.EventLog(UnitIndex::Q7s, 1), "I001 Power on");
    EXPECT_EQ(c.svc.EventLog(UnitIndex::Q7s, 2).mid(4), " Lamp off");
    // The export reads 1..100 and drops four characters: the empty slots keep the prefix alone.
    for (int16_t e = 3; e <= 100; ++e) {
        const QString entry = c.svc.EventLog(UnitIndex::Q7s, e);
        ASSERT_EQ(entry.size(), 4) << e << " " << entry.toStdString();
        EXPECT_TRUE(entry.mid(4).isEmpty());
    }
    EXPECT_EQ(c.svc.EventLog(UnitIndex::Q7s, 42), "-042");
    EXPECT_EQ(errorOf([&] { c.svc.EventLog(UnitIndex::Q7s, 101); }), RunTimeError::ServiceInvalidArgument);
    EXPECT_EQ(errorOf([&] { c.svc.EventLog(UnitIndex::Q7s, 0); }), RunTimeError::ServiceInvalidArgument);
    // A damaged entry comes as it stands, shorter than the prefix the export removes.
    EXPECT_EQ(c.svc.EventLog(UnitIndex::HBX_A, 1), "ab");
    EXPECT_EQ(c.svc.EventLog(UnitIndex::HBX_A, 2), "-002");
    // A unit that is not there gives no log at all.
    EXPECT_NE(errorOf([&] { c.svc.EventLog(UnitIndex::HBX_B, 1); }), 0);
}

CONFORMANCE_CASE(AutoFocusGivesEveryResultCodeAfterTheFocusHasMoved) {
    TempDescriptions t;
    QStringList files;
    for (int code : {1, 50, 51, 0x2A7})
        files << t.add(QStringLiteral("af-%1.json").arg(code),
                       QStringLiteral(R"({"name": "AF %1", "units": ["Q7s", "HBX-A", "Z", "Tolva"],
                                          "autoFocus": {"result": %1, "position": %2}})")
                           .arg(code).arg(50000 + code).toUtf8());
    Conformance c(factory, files);
    int16_t index = 1;
    for (int code : {1, 50, 51, 0x2A7}) {
        c.svc.Connect(index++);
        c.events.clear();
        // Low contrast and the exposure warnings are results, not failures; so is an unknown code.
        EXPECT_EQ(c.svc.ZDriveAutoFocus(), code);
        EXPECT_EQ(c.svc.ZDriveZPosition(), 50000 + code);
        EXPECT_TRUE(c.waitFor(QStringLiteral("AppZDriveZPosition:%1").arg(50000 + code)));
        c.svc.Disconnect();
    }
}

CONFORMANCE_CASE(IsCameraPresentAnswersForTheMicroscopeOfThatIndex) {
    Conformance c(factory, {standDescriptionPath("full-system.json"), standDescriptionPath("hbxb-without-q7s.json")});
    c.open(1);
    EXPECT_NE(c.svc.IsCameraPresent(0), 0);
    EXPECT_NE(c.svc.IsCameraPresent(1), 0);
    EXPECT_EQ(c.svc.IsCameraPresent(2), 0);
    EXPECT_EQ(errorOf([&] { c.svc.IsCameraPresent(3); }), RunTimeError::ServiceInvalidArgument);
    EXPECT_EQ(errorOf([&] { c.svc.IsCameraPresent(-1); }), RunTimeError::ServiceInvalidArgument);
    c.svc.Disconnect();
    c.open(2);
    EXPECT_EQ(c.svc.IsCameraPresent(2), 0);
    EXPECT_NE(errorOf([&] { c.svc.CameraUnit(); }), 0);
}

CONFORMANCE_CASE(APresetNeverReportsItsVoltageAsAManualOne) {
    Conformance c(factory);
    c.open();
    c.svc.LampOn();
    c.svc.setLampControlVoltage(4);
    c.settle();
    c.events.clear();
    c.svc.LampPreset();
    ASSERT_TRUE(c.waitFor("AppLampIsPreset:1"));
    c.settle();
    const int presetAt = c.events.indexOf("AppLampIsPreset:1");
    const QStringList voltages = c.named("AppLampControlVoltage");
    ASSERT_FALSE(voltages.isEmpty());
    // The panel stores a voltage only while not on preset: the flag must come first.
    EXPECT_LT(presetAt, c.events.indexOf(voltages.first())) << c.events.join(' ').toStdString();
    EXPECT_DOUBLE_EQ(c.svc.LampControlVoltage(), c.named("AppLampControlVoltage").last().section(':', 1).toDouble());
    c.events.clear();
    c.svc.setLampControlVoltage(5);
    ASSERT_TRUE(c.waitFor("AppLampControlVoltage:5"));
    EXPECT_LT(c.events.indexOf("AppLampIsPreset:0"), c.events.indexOf("AppLampControlVoltage:5"))
        << c.events.join(' ').toStdString();
    // With the lamp off the voltage is still set and reported; the panel leaves it aside.
    c.svc.LampOff();
    c.svc.setLampControlVoltage(6);
    EXPECT_TRUE(c.waitFor("AppLampControlVoltage:6"));
    EXPECT_EQ(c.svc.LampIsOn(), 0);
    EXPECT_DOUBLE_EQ(c.svc.LampControlVoltage(), 6);
}

CONFORMANCE_CASE(NosepieceMaxValueIsReadThroughLowerLimitOneAndBoundsTheMoves) {
    Conformance c(factory);
    c.open();
    QString reply;
    c.svc.SendCommand("cNMX4", reply);
    EXPECT_TRUE(c.waitFor("AppNosepieceMaxValue:4"));
    EXPECT_EQ(c.svc.LowerLimit(LimitIndex::Nosepiece), 4);
    EXPECT_EQ(c.svc.UpperLimit(LimitIndex::Nosepiece), 6);   // the turret itself keeps its six places
    EXPECT_EQ(tailOf([&] { c.svc.setNosepiecePosition(5); }), "4BE");
    EXPECT_EQ(c.svc.NosepiecePosition(), 1);
    c.svc.setNosepiecePosition(4);
    EXPECT_EQ(c.svc.NosepiecePosition(), 4);
    c.svc.SendCommand("cNMX7", reply);   // beyond the turret: refused by the controller
    EXPECT_TRUE(reply.contains('!')) << reply.toStdString();
    EXPECT_EQ(c.svc.LowerLimit(LimitIndex::Nosepiece), 4);
    c.svc.SendCommand("cNMX6", reply);
    EXPECT_TRUE(c.waitFor("AppNosepieceMaxValue:6"));
    c.svc.setNosepiecePosition(6);
    EXPECT_EQ(c.svc.NosepiecePosition(), 6);
}

CONFORMANCE_CASE(ObservationModeReadGivesTheMethodLastApplied) {
    Conformance c(factory);
    c.open();
    EXPECT_EQ(c.svc.PresetsObservationMode(), 1);
    // 0 is what a panel holds for "not known"; it is no method to apply.
    EXPECT_EQ(errorOf([&] { c.svc.setPresetsObservationMode(0); }), RunTimeError::ServiceInvalidArgument);
    c.svc.setPresetsObservationMode(5);
    EXPECT_TRUE(c.waitFor("AppPresetsObservationMode:5"));
    EXPECT_EQ(c.svc.PresetsObservationMode(), 5);
    EXPECT_TRUE(c.named("AppPresetsObservationMode").filter(":0").isEmpty());
}

CONFORMANCE_CASE(RawRepliesCarryTheirCountsInTheirFields) {
    Conformance c(factory);
    c.open();
    QString reply;
    c.svc.SendCommand("rOPR1", reply);
    EXPECT_DOUBLE_EQ(vb::val(reply.right(8)), 120000) << reply.toStdString();
    c.svc.SendCommand("rOPR6", reply);
    EXPECT_DOUBLE_EQ(vb::val(reply.right(8)), -900000) << reply.toStdString();
    c.svc.SendCommand("rXPR5", reply);
    ASSERT_GE(reply.size(), 15) << reply.toStdString();
    EXPECT_DOUBLE_EQ(vb::val(reply.mid(1, 7)), -30) << reply.toStdString();
    EXPECT_DOUBLE_EQ(vb::val(reply.mid(8, 7)), 4) << reply.toStdString();
    c.svc.SendCommand("cGAS7", reply);
    c.svc.SendCommand("rSPR", reply);
    EXPECT_DOUBLE_EQ(vb::val(reply), 7) << reply.toStdString();
    for (const char* outside : {"rOPR0", "rOPR7", "rXPR99"}) {
        c.svc.SendCommand(outside, reply);
        EXPECT_TRUE(reply.contains('!')) << outside << " " << reply.toStdString();
    }
}

CONFORMANCE_CASE(BadValuesAndIndicesAreRefusedAndChangeNothing) {
    Conformance c(factory);
    c.open();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const int32_t bad = RunTimeError::ServiceInvalidArgument;
    for (double v : {nan, inf, -inf}) {
        EXPECT_EQ(tailOf([&] { c.svc.setApertureStopApertureStop(v); }), "4BE");
        EXPECT_EQ(tailOf([&] { c.svc.setFieldStopFieldStop(v); }), "4BE");
        EXPECT_EQ(tailOf([&] { c.svc.setEpiFieldStopFieldStop(v); }), "4BE");
        EXPECT_EQ(tailOf([&] { c.svc.setNDFilterTransmission(v); }), "4BE");
        EXPECT_EQ(tailOf([&] { c.svc.setLampControlVoltage(v); }), "4BE");
        EXPECT_EQ(tailOf([&] { c.svc.setOpticalZoomZoom(v); }), "4BE");
        EXPECT_NE(errorOf([&] { c.svc.CustomObservation(12, 7, 1, v); }), 0);
    }
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveSpeed(0); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setZDriveSpeed(10); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setZUpperLimit(-1); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setNosepieceZMode(4); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setNosepieceXYMode(-2); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setXYDriveXPosition(100001); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.XYDriveMove(0, -70001); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setCondenserCassettePosition(7); }), "4BE");
    EXPECT_EQ(tailOf([&] { c.svc.setObservationName(7, QString(64, 'x')); }), "4BE");
    EXPECT_EQ(errorOf([&] { c.svc.setObservationName(13, "x"); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.setObservationPosition(0, ObservationPositions{}); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.ObservationPosition(13); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomValue(12, 13, 1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomValue(14, 7, 9); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomValue(13, 7, -1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomObservation(12, 7, 9, 2.0); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.CustomObservation(13, -3, 1, 2.0); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.EventLog(1, -5); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.EventLog(7, 1); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.PathSubType(13); }), bad);
    EXPECT_EQ(errorOf([&] { c.svc.Step(13 + 1000); }), bad);
    c.settle();
    EXPECT_TRUE(c.events.isEmpty()) << c.events.join(' ').toStdString();
    EXPECT_DOUBLE_EQ(c.svc.ApertureStopApertureStop(), 10);
    EXPECT_DOUBLE_EQ(c.svc.NDFilterTransmission(), 100);
    EXPECT_DOUBLE_EQ(c.svc.LampControlVoltage(), 6);
    EXPECT_DOUBLE_EQ(c.svc.OpticalZoomZoom(), 1);
    EXPECT_EQ(c.svc.NosepieceZMode(), 0);
    EXPECT_EQ(c.svc.ZUpperLimit(), 180000);
    EXPECT_EQ(c.svc.XYDriveXPosition(), 0);
    EXPECT_EQ(c.svc.CondenserCassettePosition(), 1);
    EXPECT_EQ(c.svc.ObservationName(7), "");
    EXPECT_DOUBLE_EQ(c.svc.CustomValue(12, 7, 1), 0);
}

// --- the checks of zentor-conformance ------------------------------------------------------
// What the program judges a driver of a real stand by holds for every shipped
// stand of every implementation, moves included.
CONFORMANCE_CASE(TheConformanceProgramsChecksPassOnEveryShippedStand) {
    QStringList paths;
    for (const QFileInfo& f : QDir(QStringLiteral(ZENTOR_STAND_DESCRIPTIONS))
                                  .entryInfoList({QStringLiteral("*.json")}, QDir::Files, QDir::Name))
        paths << f.absoluteFilePath();
    ASSERT_GE(paths.size(), 8);
    Conformance c(factory, paths);
    for (int16_t i = 0; i <= paths.size(); ++i) {
        CheckReport report;
        StandChecks(c.svc, i, report).run();
        EXPECT_EQ(report.failures(), 0) << "microscope " << i << ":\n"
                                        << report.failedLines().join(QLatin1Char('\n')).toStdString();
        EXPECT_GE(report.count(CheckLine::Verdict::Pass), 15) << "microscope " << i;
    }
}

// --- reads that belong together -----------------------------------------------------
namespace {

// Every read opening a microscope makes, each as text: its value, or "!" and
// the code of its failure.
QStringList openingReads(MicroscopeService& s, int microscopes) {
    QStringList out;
    const auto note = [&](const QString& name, const std::function<QString()>& read) {
        try {
            out << name + QLatin1Char('=') + read();
        } catch (const RunTimeError& e) {
            out << name + QLatin1Char('!') + e.hexNumber();
        }
    };
    const auto num = [](double v) { return vb::numberText(v); };
    const auto ints = [](const QVector<int32_t>& v) {
        QStringList t;
        for (int32_t x : v) t << QString::number(x);
        return t.join(',');
    };
    const auto doubles = [](const QVector<double>& v) {
        QStringList t;
        for (double x : v) t << vb::numberText(x);
        return t.join(',');
    };
    note("GetDeviceNames", [&] { return s.GetDeviceNames().join('|'); });
    for (int16_t i = 0; i < microscopes; ++i) {
        note(QStringLiteral("IsDeviceAvailable(%1)").arg(i), [&] { return QString::number(s.IsDeviceAvailable(i)); });
        note(QStringLiteral("IsCameraPresent(%1)").arg(i), [&] { return QString::number(s.IsCameraPresent(i)); });
    }
    for (int16_t u = 1; u <= 6; ++u) {
        note(QStringLiteral("DeviceStatus(%1)").arg(u), [&] { return QString::number(s.DeviceStatus(u)); });
        note(QStringLiteral("Version(%1)").arg(u), [&] { return s.Version(u); });
    }
    for (int16_t d = 1; d <= 14; ++d)
        note(QStringLiteral("IsMounted(%1)").arg(d), [&] { return QString::number(s.IsMounted(d)); });
    for (int16_t d = 1; d <= 5; ++d)
        note(QStringLiteral("IsReadOnly(%1)").arg(d), [&] { return QString::number(s.IsReadOnly(d)); });
    note("PathSubType(3)", [&] { return QString::number(s.PathSubType(3)); });
    for (int16_t l : {1, 2, 4, 5, 6, 9, 11, 13, 14, 16, 17, 18}) {
        note(QStringLiteral("UpperLimit(%1)").arg(l), [&] { return num(s.UpperLimit(l)); });
        note(QStringLiteral("LowerLimit(%1)").arg(l), [&] { return num(s.LowerLimit(l)); });
        note(QStringLiteral("Step(%1)").arg(l), [&] { return num(s.Step(l)); });
    }
    note("CameraUnit", [&] { return QString::number(s.CameraUnit()); });
    note("CameraHead", [&] { return QString::number(s.CameraHead()); });
    note("NosepiecePosition", [&] { return QString::number(s.NosepiecePosition()); });
    note("NosepieceIsInterlockEnabled", [&] { return QString::number(s.NosepieceIsInterlockEnabled()); });
    note("FilterBlockCassettePosition", [&] { return QString::number(s.FilterBlockCassettePosition()); });
    note("LightPathDriveLightPath", [&] { return QString::number(s.LightPathDriveLightPath()); });
    note("LightPathDriveIsInterlockEnabled", [&] { return QString::number(s.LightPathDriveIsInterlockEnabled()); });
    note("CondenserCassettePosition", [&] { return QString::number(s.CondenserCassettePosition()); });
    note("ApertureStopApertureStop", [&] { return num(s.ApertureStopApertureStop()); });
    note("FieldStopFieldStop", [&] { return num(s.FieldStopFieldStop()); });
    note("EpiFieldStopFieldStop", [&] { return num(s.EpiFieldStopFieldStop()); });
    note("NDFilterTransmission", [&] { return num(s.NDFilterTransmission()); });
    note("LampIsOn", [&] { return QString::number(s.LampIsOn()); });
    note("LampIsPreset", [&] { return QString::number(s.LampIsPreset()); });
    note("LampControlVoltage", [&] { return num(s.LampControlVoltage()); });
    note("OpticalZoomZoom", [&] { return num(s.OpticalZoomZoom()); });
    note("OpticalZoomIsInterlockEnabled", [&] { return QString::number(s.OpticalZoomIsInterlockEnabled()); });
    note("AnalyzerIsInserted", [&] { return QString::number(s.AnalyzerIsInserted()); });
    note("EpiShutterIsOpened", [&] { return QString::number(s.EpiShutterIsOpened()); });
    note("ZDriveZPosition", [&] { return QString::number(s.ZDriveZPosition()); });
    note("ZDriveIsZEscape", [&] { return QString::number(s.ZDriveIsZEscape()); });
    note("ZUpperLimit", [&] { return QString::number(s.ZUpperLimit()); });
    note("XYDriveXPosition", [&] { return QString::number(s.XYDriveXPosition()); });
    note("XYDriveYPosition", [&] { return QString::number(s.XYDriveYPosition()); });
    note("XYDriveIsEscape", [&] { return QString::number(s.XYDriveIsEscape()); });
    note("XYDriveMode", [&] { return QString::number(s.XYDriveMode()); });
    note("NosepieceXYMode", [&] { return QString::number(s.NosepieceXYMode()); });
    note("NosepieceZMode", [&] { return QString::number(s.NosepieceZMode()); });
    note("PresetsObservationMode", [&] { return QString::number(s.PresetsObservationMode()); });
    for (int16_t n = 7; n <= 12; ++n)
        note(QStringLiteral("ObservationName(%1)").arg(n), [&] { return s.ObservationName(n); });
    for (int16_t d : {12, 13, 14})
        for (int16_t n = 7; n <= 12; ++n)
            for (int16_t a = 0; a <= 8; ++a)
                note(QStringLiteral("CustomValue(%1,%2,%3)").arg(d).arg(n).arg(a),
                     [&] { return num(s.CustomValue(d, n, a)); });
    note("ObjectiveNumbers", [&] { return ints(s.ObjectiveNumbers()); });
    note("ObjectiveNames", [&] { return s.ObjectiveNames().join('|'); });
    note("ObjectiveSeriesNames", [&] { return s.ObjectiveSeriesNames().join('|'); });
    note("ObjectiveTypeNames", [&] { return s.ObjectiveTypeNames().join('|'); });
    note("ObjectiveRates", [&] { return doubles(s.ObjectiveRates()); });
    note("ObjectiveWDs", [&] { return doubles(s.ObjectiveWDs()); });
    note("ObjectiveNAs", [&] { return doubles(s.ObjectiveNAs()); });
    note("FilterNumbers", [&] { return ints(s.FilterNumbers()); });
    note("FilterNames", [&] { return s.FilterNames().join('|'); });
    note("FilterReikis", [&] { return ints(s.FilterReikis()); });
    note("FilterDMs", [&] { return ints(s.FilterDMs()); });
    note("FilterKyusyus", [&] { return ints(s.FilterKyusyus()); });
    note("FilterEXNames", [&] { return s.FilterEXNames().join('|'); });
    note("FilterDMNames", [&] { return s.FilterDMNames().join('|'); });
    note("FilterBANames", [&] { return s.FilterBANames().join('|'); });
    note("CondenserNumbers", [&] { return ints(s.CondenserNumbers()); });
    note("CondenserNames", [&] { return s.CondenserNames().join('|'); });
    for (int a = 1; a <= 8; ++a) {
        note(QStringLiteral("SendCommand(rXPR%1)").arg(a), [&] {
            QString reply;
            s.SendCommand(QStringLiteral("rXPR%1").arg(a), reply);
            return reply;
        });
    }
    return out;
}

QStringList openingReadsInAGroup(MicroscopeService& s, int microscopes) {
    s.beginReads({});
    const QStringList out = openingReads(s, microscopes);
    s.endReads();
    return out;
}

} // namespace

CONFORMANCE_CASE(ReadsInAGroupAnswerWhatTheSingleReadsAnswer) {
    const QStringList files{"full-system.json", "hbxb-without-q7s.json", "elmk-without-q7s.json",
                            "readonly-nosepiece.json", "manual-path-port.json", "camera-unknown-head.json"};
    QStringList paths;
    for (const QString& f : files) paths << standDescriptionPath(f);
    Conformance c(factory, paths);
    const int microscopes = static_cast<int>(files.size()) + 1;
    for (int16_t i = 0; i < microscopes; ++i) {
        c.svc.Connect(i);
        const QStringList single = openingReads(c.svc, microscopes);
        EXPECT_EQ(openingReadsInAGroup(c.svc, microscopes), single) << "microscope " << i;
        c.svc.Disconnect();
    }
}

CONFORMANCE_CASE(ReadsInAGroupFailWhereTheSingleReadsFail) {
    Conformance c(factory);
    c.open();
    c.rig->control().killUnit(UnitIndex::Q7s);
    const QStringList single = openingReads(c.svc, 2);
    EXPECT_TRUE(single.contains(QStringLiteral("NosepiecePosition!80004005"))) << single.join(' ').toStdString();
    EXPECT_EQ(openingReadsInAGroup(c.svc, 2), single);
    c.rig->control().reviveUnit(UnitIndex::Q7s);
    EXPECT_EQ(openingReadsInAGroup(c.svc, 2), openingReads(c.svc, 2));
}

CONFORMANCE_CASE(AReadInAGroupSeesWhatACommandOfTheGroupChanged) {
    Conformance c(factory);
    c.open();
    c.svc.beginReads({});
    const int16_t link = c.svc.NosepieceIsInterlockEnabled();
    const int16_t at = c.svc.NosepiecePosition();
    const QString name = c.svc.ObservationName(8);
    c.svc.setNosepieceIsInterlockEnabled(link != 0 ? 0 : 1);
    c.svc.setNosepiecePosition(at == 2 ? 3 : 2);
    c.svc.setObservationName(8, name + QStringLiteral("x"));
    c.svc.CustomObservation(DeviceIndex::ApertureStop, 9, 2, 2.5);
    EXPECT_EQ(c.svc.NosepieceIsInterlockEnabled(), link != 0 ? 0 : 1);
    EXPECT_EQ(c.svc.NosepiecePosition(), at == 2 ? 3 : 2);
    EXPECT_EQ(c.svc.ObservationName(8), name + QStringLiteral("x"));
    EXPECT_DOUBLE_EQ(c.svc.CustomValue(DeviceIndex::ApertureStop, 9, 2), 2.5);
    c.svc.endReads();
}

CONFORMANCE_CASE(AReadInAGroupIsNeverOlderThanAnEventDelivered) {
    // A focus move streams its positions; the group's reads follow them.
    Conformance c(factory, kFull, 20);
    c.open();
    int32_t lastEvent = std::numeric_limits<int32_t>::min();
    QObject::connect(&c.svc, &MicroscopeService::OnPropertyChanged, &c.svc, [&](const QString& m) {
        if (m.startsWith(QStringLiteral("AppZDriveZPosition:")))
            lastEvent = m.mid(19).toInt();
    });
    const int32_t from = c.svc.ZDriveZPosition();
    c.svc.beginReads({});
    int32_t read = c.svc.ZDriveZPosition();
    EXPECT_EQ(read, from);
    c.svc.setZDriveZPosition(from + 3000);   // blocks while the positions stream
    read = c.svc.ZDriveZPosition();
    EXPECT_EQ(read, from + 3000);
    EXPECT_EQ(lastEvent, from + 3000);
    c.svc.endReads();
}

// --- fiber illuminator -----------------------------------------------------------------
CONFORMANCE_CASE(FiberIlluminatorWhenPresent) {
    Conformance c(factory);
    FiberService* f = c.rig->fiber();
    if (!f) return;
    QStringList events;
    QObject::connect(f, &FiberService::OnPropertyChanged, f, [&](const QString& m) { events << m; });
    f->Connect(1000);
    if (f->Port() == -1) return;   // an absent illuminator is allowed
    EXPECT_EQ(f->ConnectionStatus(), 1);
    f->setNDPosition(4);
    EXPECT_EQ(f->NDPosition(), 4);
    EXPECT_EQ(tailOf([&] { f->setNDPosition(7); }), "4BE");
    f->ShutterOpen();
    EXPECT_EQ(f->ShutterIsOpened(), 1);
    c.settle();
    EXPECT_TRUE(events.contains("ND_Position:4"));
    EXPECT_TRUE(events.contains("Shutter_IsOpened:1"));
    EXPECT_EQ(f->Status("Interlock_Status"), 1);
    f->Disconnect();
}

class ConformanceTest : public ::testing::Test {
public:
    ConformanceTest(Case run, RigFactory factory) : m_run(std::move(run)), m_factory(std::move(factory)) {}
    void TestBody() override { m_run(m_factory); }

private:
    Case m_run;
    RigFactory m_factory;
};

} // namespace

void registerConformanceSuite(const char* implementationName, RigFactory factory) {
    const std::string suite = std::string(implementationName) + "/Conformance";
    for (const NamedCase& c : cases()) {
        Case run = c.run;
        ::testing::RegisterTest(suite.c_str(), c.name, nullptr, nullptr, __FILE__, __LINE__,
                                [run, factory]() -> ::testing::Test* { return new ConformanceTest(run, factory); });
    }
}
