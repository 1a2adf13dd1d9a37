// The stand keeps its six user observation methods over a restart, and carries
// a method out as one device after another.
#include "stand/SimulatedService.h"
#include "stand/StandMemory.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>

namespace {

StandResult call(SimulatedStand& s, const QString& member, const QVariantList& args = {}) {
    StandResult r;
    bool answered = false;
    s.invoke(member, args, [&](const StandResult& x) { r = x; answered = true; });
    QDeadlineTimer limit(20000);
    while (!answered && !limit.hasExpired()) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    EXPECT_TRUE(answered) << member.toStdString();
    return r;
}

QVariantList codes(std::initializer_list<int> v) {
    QVariantList l;
    for (int x : v) l << x;
    return l;
}

QByteArray readAll(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

struct Memory {
    QTemporaryDir dir;
    QString path() const { return dir.filePath(QStringLiteral("state/zentor-service.json")); }
    QStringList told;
    std::unique_ptr<StandMemory> open() {
        auto m = std::make_unique<StandMemory>(path(), [this](const QString& t) { told << t; });
        m->load();
        return m;
    }
};

// Sets observation 9 on stand 0 of a service that keeps its memory in `mem`.
void teachNine(StandMemory& mem) {
    SimulatedService service(StandClock::instant(), {});
    service.keepUserMethodsIn(&mem);
    SimulatedStand& s = *service.stand(0);
    EXPECT_EQ(call(s, "setObservationName", {9, QStringLiteral("GFP live")}).error, 0);
    EXPECT_EQ(call(s, "setObservationPosition", {9, codes({3, 1, 2, 6, 3, 2, 3, 4, 4, 2, 13})}).error, 0);
    EXPECT_EQ(call(s, "CustomObservation", {12, 9, 4, 7.5}).error, 0);
}

} // namespace

TEST(StandMemory, UserMethodsSurviveARestartOfTheService) {
    Memory m;
    {
        auto mem = m.open();
        teachNine(*mem);
    }
    ASSERT_TRUE(QFile::exists(m.path()));
    auto mem = m.open();
    SimulatedService again(StandClock::instant(), {});
    again.keepUserMethodsIn(mem.get());
    SimulatedStand& s = *again.stand(0);
    EXPECT_EQ(call(s, "ObservationName", {9}).value.toString(), QStringLiteral("GFP live"));
    EXPECT_EQ(call(s, "ObservationPosition", {9}).value.toList(), codes({3, 1, 2, 6, 3, 2, 3, 4, 4, 2, 13}));
    EXPECT_EQ(call(s, "CustomValue", {12, 9, 4}).value.toDouble(), 7.5);
    EXPECT_EQ(call(s, "ObservationName", {8}).value.toString(), QString());
    EXPECT_TRUE(m.told.isEmpty()) << m.told.join('\n').toStdString();
}

TEST(StandMemory, WithoutAMemoryTheMethodsLiveForTheRunOnly) {
    SimulatedService service(StandClock::instant(), {});
    SimulatedStand& s = *service.stand(0);
    EXPECT_EQ(call(s, "setObservationName", {7, QStringLiteral("x")}).error, 0);
    SimulatedService other(StandClock::instant(), {});
    EXPECT_EQ(call(*other.stand(0), "ObservationName", {7}).value.toString(), QString());
}

TEST(StandMemory, ARefusedChangeWritesNothing) {
    Memory m;
    auto mem = m.open();
    SimulatedService service(StandClock::instant(), {});
    service.keepUserMethodsIn(mem.get());
    SimulatedStand& s = *service.stand(0);
    EXPECT_NE(call(s, "setObservationPosition", {9, codes({5, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})}).error, 0);
    EXPECT_NE(call(s, "setObservationName", {3, QStringLiteral("built in")}).error, 0);
    EXPECT_FALSE(QFile::exists(m.path()));
}

TEST(StandMemory, DamagedFilesAreSetAsideAndTheStandStartsFromItsDescription) {
    const QByteArray damagedOnes[] = {
        QByteArray("{\"format\":\"zentor-service memory\",\"version\":1,\"stands\":{\"0 Simula"),   // short
        QByteArray("\x00\x01garbage\xff", 11),                                                   // garbled
        QByteArray("{\"format\":\"zentor-service memory\",\"version\":7,\"stands\":{}}"),      // other version
        QByteArray("{\"stands\":{}}"),                                                           // not a memory
        QByteArray("{\"format\":\"zentor-service memory\",\"version\":1,\"stands\":{\"0 x\":{\"methods\":[1,2]}}}"),
    };
    for (const QByteArray& bytes : damagedOnes) {
        Memory m;
        {
            QDir().mkpath(m.dir.filePath(QStringLiteral("state")));
            QFile f(m.path());
            ASSERT_TRUE(f.open(QIODevice::WriteOnly));
            f.write(bytes);
        }
        auto mem = m.open();
        ASSERT_EQ(m.told.size(), 1) << bytes.toStdString();
        EXPECT_TRUE(m.told[0].contains(QStringLiteral("is damaged"))) << m.told[0].toStdString();
        EXPECT_EQ(readAll(m.path() + ".damaged"), bytes);
        SimulatedService service(StandClock::instant(), {});
        service.keepUserMethodsIn(mem.get());
        EXPECT_EQ(call(*service.stand(0), "ObservationName", {9}).value.toString(), QString());
        // The first change writes a sound file; the damaged one stays beside it.
        EXPECT_EQ(call(*service.stand(0), "setObservationName", {9, QStringLiteral("new")}).error, 0);
        EXPECT_NO_THROW(StandMemory::parse(readAll(m.path())));
        EXPECT_EQ(readAll(m.path() + ".damaged"), bytes);
    }
}

TEST(StandMemory, KeptCodesOutsideTheStandsRangesAreRefusedAndTheFileSetAside) {
    Memory m;
    {
        auto mem = m.open();
        teachNine(*mem);
    }
    QByteArray text = readAll(m.path());
    // Objective 4 of observation 9 becomes 40: a well-formed file this stand cannot carry out.
    const QByteArray good = "[\n                        3,\n                        1,\n                        2,\n                        6,\n                        3,\n                        2,\n                        3,\n                        4,\n                        4,";
    ASSERT_TRUE(text.contains(good)) << text.toStdString();
    text.replace(good, QByteArray(good).replace("4,\n                        4,", "4,\n                        40,"));
    {
        QFile f(m.path());
        ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
        f.write(text);
    }
    auto mem = m.open();
    EXPECT_TRUE(m.told.isEmpty());
    SimulatedService service(StandClock::instant(), {});
    service.keepUserMethodsIn(mem.get());
    EXPECT_EQ(call(*service.stand(0), "ObservationName", {9}).value.toString(), QString());
    ASSERT_EQ(m.told.size(), 1);
    EXPECT_TRUE(m.told[0].contains(QStringLiteral("objective code"))) << m.told[0].toStdString();
    EXPECT_EQ(readAll(m.path() + ".damaged"), text);
}

TEST(StandMemory, AMethodMovesItsDevicesOneAfterAnotherInTheStandsOrder) {
    SimulatedService service(StandClock::realTime(50), {});
    SimulatedStand& s = *service.stand(0);
    // Objective 3, cube 4, condenser address 2, field stop all open, rear port, zoom 1.5.
    ASSERT_EQ(call(s, "setObservationPosition", {10, codes({0, 0, 3, 6, 0, 4, 0, 0, 3, 3, 8})}).error, 0);
    QStringList order;
    QObject::connect(&s, &SimulatedStand::propertyChanged, [&](const QString& e) {
        const QString name = e.section(':', 0, 0);
        if (order.isEmpty() || order.last() != name) order << name;
    });
    const StandResult r = call(s, "setPresetsObservationMode", {10});
    EXPECT_EQ(r.error, 0) << r.errorText.toStdString();
    // Each device finishes before the next starts: every name appears once, in order.
    EXPECT_EQ(order, QStringList({"AppNosepiecePosition", "AppFilterBlockCassettePosition",
                                  "AppCondenserCassettePosition", "AppFieldStopFieldStop",
                                  "AppLightPathDriveLightPath", "AppOpticalZoomZoom",
                                  "AppPresetsObservationMode"}));
    EXPECT_EQ(call(s, "NosepiecePosition").value.toInt(), 3);
    EXPECT_EQ(call(s, "OpticalZoomZoom").value.toDouble(), 1.5);
}

TEST(StandMemory, AStallInTheMiddleEndsTheMethodWithTheTimeOutAndLeavesTheRestUnmoved) {
    SimulatedService service(StandClock::instant(), {});
    SimulatedStand& s = *service.stand(0);
    ASSERT_EQ(call(s, "setObservationPosition", {7, codes({0, 0, 0, 0, 0, 4, 0, 0, 3, 3, 0})}).error, 0);
    s.control().stallDevice(DeviceIndex::FilterBlockCassette);
    const StandResult r = call(s, "setPresetsObservationMode", {7});
    EXPECT_EQ(r.error, RunTimeError::ServiceTimeOut);
    EXPECT_EQ(call(s, "NosepiecePosition").value.toInt(), 3);
    EXPECT_EQ(call(s, "LightPathDriveLightPath").value.toInt(), 1);
    EXPECT_NE(call(s, "PresetsObservationMode").value.toInt(), 7);
}

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
