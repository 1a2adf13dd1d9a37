// The stand keeps its six user observation methods over a restart, and carries
// a method out as one device after another.
#include "core/base/tests/PlainUserFiles.h"
#include "stand/SimulatedService.h"
#include "stand/StandMemory.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QFile>
#include <QDir>
#include <QTemporaryDir>
#include <QFileInfo>
#include <QJsonObject>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

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
        const QStringList copies = mem->damagedCopies();
        ASSERT_EQ(copies.size(), 1);
        EXPECT_TRUE(m.told[0].contains(copies[0])) << m.told[0].toStdString();
        EXPECT_EQ(readAll(copies[0]), bytes);
        SimulatedService service(StandClock::instant(), {});
        service.keepUserMethodsIn(mem.get());
        EXPECT_EQ(call(*service.stand(0), "ObservationName", {9}).value.toString(), QString());
        // The first change writes a sound file; the damaged one stays beside it.
        EXPECT_EQ(call(*service.stand(0), "setObservationName", {9, QStringLiteral("new")}).error, 0);
        QStringList damaged;
        EXPECT_NO_THROW(StandMemory::parse(readAll(m.path()), &damaged));
        EXPECT_TRUE(damaged.isEmpty());
        EXPECT_EQ(mem->damagedCopies(), copies);
        EXPECT_EQ(readAll(copies[0]), bytes);
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
    ASSERT_EQ(mem->damagedCopies().size(), 1);
    EXPECT_EQ(readAll(mem->damagedCopies()[0]), text);
    // The file now holds what was sound: the next start tells nothing.
    m.told.clear();
    auto again = m.open();
    EXPECT_TRUE(m.told.isEmpty()) << m.told.join('\n').toStdString();
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

namespace {

const QString kFar = QStringLiteral("3 Far stand");

QString zeroKey() { return StandMemory::keyOf(0, StandDescription::builtIn().name); }

// A memory of two stands: the service's own (observation 9 "GFP live") and a
// far one (observation 9 "far").
QByteArray twoStands() {
    StandUserMethods zero;
    zero.methods[2].name = QStringLiteral("GFP live");
    zero.methods[2].positions = {3, 1, 2, 6, 3, 2, 3, 4, 4, 2, 13};
    zero.custom[0][2][4] = 7.5;
    StandUserMethods far;
    far.methods[2].name = QStringLiteral("far");
    QJsonObject stands;
    stands.insert(zeroKey(), StandMemory::methodsToJson(zero));
    stands.insert(kFar, StandMemory::methodsToJson(far));
    return StandMemory::toJson(stands);
}

// The text with the first number after `list` in the entry of `key` replaced by `token`.
QByteArray withBadNumber(QByteArray text, const QString& key, const QByteArray& list, const QByteArray& token) {
    const qsizetype entry = text.indexOf('"' + key.toUtf8() + '"');
    qsizetype at = text.indexOf('"' + list + "\": [", entry);
    EXPECT_TRUE(entry >= 0 && at > entry);
    at = text.indexOf('[', at) + 1;
    while (text[at] == ' ' || text[at] == '\n') ++at;
    qsizetype end = at;
    while (end < text.size() && QByteArray("-+.0123456789eE").contains(text[end])) ++end;
    return text.replace(at, end - at, token);
}

void put(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

QByteArray native(const QString& path) { return QFile::encodeName(path); }

} // namespace

TEST(StandMemory, OneBadNumberInOneStandsEntryCostsThatEntryAlone) {
    const QByteArray sound = twoStands();
    const QByteArray damagedOnes[] = {
        withBadNumber(sound, kFar, "nd", "NaN"),           // no JSON at all
        withBadNumber(sound, kFar, "positions", "1e308"),  // a code beyond any stand
        withBadNumber(sound, kFar, "fieldStop", "1e999"),  // beyond any double
        withBadNumber(sound, kFar, "positions", "-"),      // a torn number
        sound.left(sound.indexOf("\"far\"")),              // the file ends inside the far entry
    };
    for (const QByteArray& bytes : damagedOnes) {
        Memory m;
        put(m.path(), bytes);
        auto mem = m.open();
        ASSERT_EQ(m.told.size(), 1) << bytes.toStdString();
        EXPECT_TRUE(m.told[0].contains(QStringLiteral("is damaged")) && m.told[0].contains(kFar))
            << m.told[0].toStdString();
        // The service's own stand keeps its methods.
        SimulatedService service(StandClock::instant(), {});
        service.keepUserMethodsIn(mem.get());
        SimulatedStand& s = *service.stand(0);
        EXPECT_EQ(call(s, "ObservationName", {9}).value.toString(), QStringLiteral("GFP live"));
        EXPECT_EQ(call(s, "ObservationPosition", {9}).value.toList(), codes({3, 1, 2, 6, 3, 2, 3, 4, 4, 2, 13}));
        EXPECT_EQ(call(s, "CustomValue", {12, 9, 4}).value.toDouble(), 7.5);
        StandUserMethods far;
        EXPECT_FALSE(mem->recall(kFar, far));
        // The whole damaged file is kept; the file holds what was sound.
        ASSERT_EQ(mem->damagedCopies().size(), 1);
        EXPECT_EQ(readAll(mem->damagedCopies()[0]), bytes);
        QStringList damaged;
        const QJsonObject now = StandMemory::parse(readAll(m.path()), &damaged);
        EXPECT_TRUE(damaged.isEmpty()) << damaged.join('\n').toStdString();
        EXPECT_EQ(now.keys(), QStringList{zeroKey()});
    }
}

TEST(StandMemory, EachIncidentKeepsItsOwnDamagedCopyAndOnlyTheLastOnes) {
    Memory m;
    // Files beside it that are not the service's copies are never touched.
    put(m.path() + QStringLiteral(".damaged"), "an old copy");
    put(m.path() + QStringLiteral(".damaged-notes"), "the operator's notes");
    const int incidents = StandMemory::kDamagedCopiesKept + 3;
    for (int i = 0; i < incidents; ++i) {
        put(m.path(), QByteArray("garbage ") + QByteArray::number(i));
        auto mem = m.open();
    }
    auto mem = m.open();
    const QStringList copies = mem->damagedCopies();
    ASSERT_EQ(copies.size(), StandMemory::kDamagedCopiesKept);
    // Oldest first; the first three incidents' copies have gone.
    for (int i = 0; i < copies.size(); ++i)
        EXPECT_EQ(readAll(copies[i]), QByteArray("garbage ") + QByteArray::number(i + 3)) << copies[i].toStdString();
    for (const QString& c : copies)
        EXPECT_TRUE(QFileInfo(c).fileName().startsWith(QStringLiteral("zentor-service.json.damaged-"))) << c.toStdString();
    EXPECT_EQ(readAll(m.path() + QStringLiteral(".damaged")), QByteArray("an old copy"));
    EXPECT_EQ(readAll(m.path() + QStringLiteral(".damaged-notes")), QByteArray("the operator's notes"));
    EXPECT_TRUE(m.told.last().contains(copies.last())) << m.told.last().toStdString();
}

TEST(StandMemory, APipeAtThePathIsToldAtOnceAndNeverWaitedOn) {
    Memory m;
    QDir().mkpath(QFileInfo(m.path()).absolutePath());
    ASSERT_EQ(::mkfifo(native(m.path()).constData(), 0600), 0);
    auto mem = m.open();
    ASSERT_EQ(m.told.size(), 1);
    EXPECT_TRUE(m.told[0].contains(m.path()) && m.told[0].contains(QStringLiteral("named pipe")))
        << m.told[0].toStdString();
    EXPECT_TRUE(mem->damagedCopies().isEmpty());
    // A change cannot be kept there: it is refused and undone.
    SimulatedService service(StandClock::instant(), {});
    service.keepUserMethodsIn(mem.get());
    const StandResult r = call(*service.stand(0), "setObservationName", {9, QStringLiteral("x")});
    EXPECT_EQ(r.error, RunTimeError::ServiceNotKept);
    EXPECT_EQ(call(*service.stand(0), "ObservationName", {9}).value.toString(), QString());
    struct stat st {};
    ASSERT_EQ(::lstat(native(m.path()).constData(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST(StandMemory, ALinkToAnEndlessDeviceIsToldAndNotRead) {
    Memory m;
    QDir().mkpath(QFileInfo(m.path()).absolutePath());
    ASSERT_EQ(::symlink("/dev/zero", native(m.path()).constData()), 0);
    auto mem = m.open();
    ASSERT_EQ(m.told.size(), 1);
    EXPECT_TRUE(m.told[0].contains(QStringLiteral("/dev/zero, which is a character device"))) << m.told[0].toStdString();
}

TEST(StandMemory, AFileTooLargeToReadIsMovedAsideUnread) {
    Memory m;
    QDir().mkpath(QFileInfo(m.path()).absolutePath());
    const int fd = ::open(native(m.path()).constData(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, qint64(64) << 30), 0);
    ::close(fd);
    auto mem = m.open();
    ASSERT_EQ(m.told.size(), 1);
    EXPECT_TRUE(m.told[0].contains(QStringLiteral("larger than"))) << m.told[0].toStdString();
    ASSERT_EQ(mem->damagedCopies().size(), 1);
    EXPECT_EQ(QFileInfo(mem->damagedCopies()[0]).size(), qint64(64) << 30);
    EXPECT_FALSE(QFileInfo::exists(m.path()));
}

TEST(StandMemory, ALinkThatPointsNowhereIsNotWrittenThrough) {
    Memory m;
    const QString planted = m.dir.filePath(QStringLiteral("planted/target.json"));
    QDir().mkpath(QFileInfo(m.path()).absolutePath());
    ASSERT_EQ(::symlink(native(planted).constData(), native(m.path()).constData()), 0);
    auto mem = m.open();
    EXPECT_TRUE(m.told.isEmpty());
    SimulatedService service(StandClock::instant(), {});
    service.keepUserMethodsIn(mem.get());
    const StandResult r = call(*service.stand(0), "setObservationName", {9, QStringLiteral("x")});
    EXPECT_EQ(r.error, RunTimeError::ServiceNotKept);
    EXPECT_TRUE(r.errorText.contains(QStringLiteral("points nowhere"))) << r.errorText.toStdString();
    EXPECT_FALSE(QFileInfo::exists(planted));
    EXPECT_FALSE(QFileInfo::exists(QFileInfo(planted).absolutePath()));
}

TEST(StandMemory, AChangeTheFileCannotKeepIsRefusedAndUndone) {
    ASSERT_TRUE(testsupport::obeyFilePermissions());
    enum Case { ReadOnlyFile, ReadOnlyFolder, FolderAtThePath };
    for (Case c : {ReadOnlyFile, ReadOnlyFolder, FolderAtThePath}) {
        Memory m;
        const QString folder = QFileInfo(m.path()).absolutePath();
        if (c == FolderAtThePath) {
            ASSERT_TRUE(QDir().mkpath(m.path()));
        } else {
            auto mem = m.open();
            teachNine(*mem);
            ASSERT_EQ(::chmod(native(c == ReadOnlyFile ? m.path() : folder).constData(), 0555), 0);
        }
        const QByteArray before = readAll(m.path());
        auto mem = m.open();
        SimulatedService service(StandClock::instant(), {});
        service.keepUserMethodsIn(mem.get());
        SimulatedStand& s = *service.stand(0);
        const QString old = call(s, "ObservationName", {9}).value.toString();
        m.told.clear();
        const StandResult name = call(s, "setObservationName", {9, QStringLiteral("not kept")});
        EXPECT_EQ(name.error, RunTimeError::ServiceNotKept) << c;
        EXPECT_TRUE(name.errorText.contains(QStringLiteral("could not be kept"))) << name.errorText.toStdString();
        EXPECT_EQ(call(s, "ObservationName", {9}).value.toString(), old) << c;
        EXPECT_EQ(call(s, "setObservationPosition", {9, codes({4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0})}).error,
                  RunTimeError::ServiceNotKept);
        EXPECT_NE(call(s, "ObservationPosition", {9}).value.toList(), codes({4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
        EXPECT_EQ(call(s, "CustomObservation", {12, 9, 4, 3.5}).error, RunTimeError::ServiceNotKept);
        EXPECT_NE(call(s, "CustomValue", {12, 9, 4}).value.toDouble(), 3.5);
        // A built-in method's custom value is no user method: nothing to keep.
        EXPECT_EQ(call(s, "CustomObservation", {12, 2, 4, 3.5}).error, 0);
        EXPECT_FALSE(m.told.isEmpty());
        EXPECT_EQ(readAll(m.path()), before);
        ::chmod(native(folder).constData(), 0755);
        ::chmod(native(m.path()).constData(), 0644);
        // Once the file can be written again, the next change keeps only itself.
        if (c != FolderAtThePath) {
            EXPECT_EQ(call(s, "setObservationName", {10, QStringLiteral("kept")}).error, 0);
            EXPECT_FALSE(readAll(m.path()).contains("not kept"));
            EXPECT_TRUE(readAll(m.path()).contains("\"kept\""));
        }
    }
}
