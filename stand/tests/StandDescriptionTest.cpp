#include "stand/StandDescription.h"

#include <QDir>
#include <QFile>
#include <gtest/gtest.h>

namespace {

QString errorText(const QByteArray& json, const QString& origin = QStringLiteral("bad.json")) {
    try {
        StandDescription::fromJson(json, origin);
    } catch (const RunTimeError& e) {
        return e.description();
    }
    return QString();
}

TEST(StandDescription, EveryShippedFileLoads) {
    const QDir dir(QStringLiteral(ZENTOR_STAND_DESCRIPTIONS));
    const QStringList files = dir.entryList({"*.json"});
    EXPECT_GE(files.size(), 8);
    for (const QString& f : files) {
        const StandDescription d = StandDescription::load(dir.filePath(f));
        EXPECT_FALSE(d.name.isEmpty()) << f.toStdString();
    }
}

TEST(StandDescription, BuiltInIsAFullSystemWithHundredEntryLogs) {
    const StandDescription d = StandDescription::builtIn();
    for (int u : {1, 2, 3, 4, 5}) {
        EXPECT_TRUE(d.units[u]);
        ASSERT_GE(d.eventLogs[u].size(), 100);
        EXPECT_GE(d.eventLogs[u][99].size(), 5);
    }
    for (int dev = 1; dev <= 14; ++dev) EXPECT_EQ(d.devices[dev].status, 1);
    EXPECT_EQ(d.objectives.size(), 6);
    EXPECT_EQ(d.limits.value(LimitIndex::Nosepiece).upper, 6);
    EXPECT_EQ(d.unitOf(DeviceIndex::ZDrive), UnitIndex::ZController);
    EXPECT_EQ(d.unitOf(DeviceIndex::XYDrive), UnitIndex::Tolva);
}

TEST(StandDescription, ListedDevicesAloneAreMountedAndCarriedByAPresentUnit) {
    const StandDescription d = StandDescription::fromJson(
        R"({"name": "E", "units": ["E-LM-K"], "devices": {"Nosepiece": {}, "EpiShutter": {"unit": "E-LM-K"}}})", "e.json");
    EXPECT_EQ(d.devices[DeviceIndex::Nosepiece].status, 1);
    EXPECT_EQ(d.devices[DeviceIndex::Lamp].status, 0);
    EXPECT_EQ(d.unitOf(DeviceIndex::Nosepiece), UnitIndex::E_LM_K);
}

TEST(StandDescription, AMissingFileIsNamedInTheError) {
    try {
        StandDescription::load(QStringLiteral("/nowhere/stand.json"));
        FAIL();
    } catch (const RunTimeError& e) {
        EXPECT_TRUE(e.description().contains("/nowhere/stand.json"));
        EXPECT_TRUE(e.description().contains("does not exist"));
    }
}

TEST(StandDescription, MalformedFilesGiveAClearErrorNamingFileAndProblem) {
    EXPECT_TRUE(errorText("{\"name\": \"x\",\n \"units\": [", "broken.json").contains("broken.json: line 2"));
    EXPECT_TRUE(errorText("[1]").contains("top level must be an object"));
    EXPECT_TRUE(errorText(R"({"units": []})").contains("\"name\" is missing"));
    EXPECT_TRUE(errorText(R"({"name": "x"})").contains("\"units\" is missing"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q8"]})").contains("unknown unit \"Q8\""));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": [], "colour": 1})").contains("unknown key \"colour\""));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "limits": {"ZDrive": {"lower": 5, "upper": 1}}})")
                    .contains("lower 5 is above upper 1"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "devices": {"Lamp": {"unit": "Tolva"}}})")
                    .contains("not present"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "observations": {"13": {}}})").contains("1 to 12"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "focusMemory": [10000000]})").contains("focus memory 1"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "stageMemory": [[0, -1000000]]})").contains("stage memory Y"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "limits": {"ZDrive": {"upper": 20000000}}})")
                    .contains("within -9999999 to 9999999"));
    EXPECT_TRUE(errorText(R"({"name": 5, "units": []})").contains("must be a text"));
    EXPECT_TRUE(errorText(R"({"name": "x", "units": ["Q7s"], "devices": {"Laser": {}}})").contains("unknown device"));
    EXPECT_TRUE(errorText("{\"name\": \"x\", \"units\": [\"Q7s\"], \"observations\": {\"7\": {\"positions\": [1,2]}}}")
                    .contains("11 command codes"));
    EXPECT_TRUE(errorText("").startsWith("Stand description bad.json"));
}

TEST(StandDescription, ADamagedEventLogEntryShorterThanItsPrefixIsKept) {
    const StandDescription d = StandDescription::fromJson(
        R"({"name": "x", "units": ["Q7s"], "eventLogs": {"Q7s": ["I001 Power on", "ab"]}})", "short.json");
    ASSERT_EQ(d.eventLogs[UnitIndex::Q7s].size(), 2);
    EXPECT_EQ(d.eventLogs[UnitIndex::Q7s][1], "ab");
    EXPECT_EQ(StandDescription::emptyLogEntry(7), "-007");
    EXPECT_EQ(StandDescription::emptyLogEntry(100).size(), 4);
}

} // namespace
