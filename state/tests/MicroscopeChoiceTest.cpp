#include "state/MicroscopeList.h"

#include <gtest/gtest.h>

namespace {
const QStringList kNames{"Simulator", "Bench A", "", "Bench C"};
bool allAvailable(int16_t) { return true; }
} // namespace

TEST(CommandLine, SimSelectsTheSimulatedMicroscope) {
    const auto r = parseCommandLine({"zentor", "/SIM"}, kNames);
    EXPECT_EQ(r.RequestedMic, 46);
    EXPECT_TRUE(r.SimMode);
    EXPECT_EQ(r.CompactRequest, -1);
}

TEST(CommandLine, SimAndCompactCombine) {
    const auto r = parseCommandLine({"zentor", "/SIM", "/C"}, kNames);
    EXPECT_EQ(r.RequestedMic, 46);
    EXPECT_EQ(r.CompactRequest, 1);
}

TEST(CommandLine, LowerCaseSwitchIsNotRecognised) {
    const auto r = parseCommandLine({"zentor", "/sim", "/c"}, kNames);
    EXPECT_EQ(r.RequestedMic, -1);
    EXPECT_EQ(r.CompactRequest, -1);
    EXPECT_FALSE(r.SimMode);
}

TEST(CommandLine, UnknownTokensAreIgnoredAndALaterNameOverrides) {
    const auto r = parseCommandLine({"zentor", "Bench A", "--verbose", "Bench C"}, kNames);
    EXPECT_EQ(r.RequestedMic, 3);
}

TEST(CommandLine, NameZeroIsNotMatched) {
    const auto r = parseCommandLine({"zentor", "Simulator"}, kNames);
    EXPECT_EQ(r.RequestedMic, -1);
}

TEST(MicroscopeList, EmptyNameIsShownAsNoName) {
    const auto list = buildMicroscopeList(kNames, -1, allAvailable);
    ASSERT_EQ(list.size(), 3);
    EXPECT_EQ(list[1].text, "NoName");
    EXPECT_EQ(list[1].itemData, 2);
}

TEST(MicroscopeList, UnavailableMicroscopesAreLeftOut) {
    const auto list = buildMicroscopeList(kNames, -1, [](int16_t i) { return i != 1; });
    ASSERT_EQ(list.size(), 2);
    EXPECT_EQ(list[0].itemData, 2);
    EXPECT_EQ(list[1].itemData, 3);
}

TEST(MicroscopeList, SimOffersOnlyTheSimulatedMicroscope) {
    const auto list = buildMicroscopeList(kNames, 46, allAvailable);
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list[0].text, "Simulator");
    EXPECT_EQ(list[0].itemData, 0);
}

TEST(MicroscopeList, NothingFoundGivesAnEmptyList) {
    EXPECT_TRUE(buildMicroscopeList({"Simulator"}, -1, allAvailable).isEmpty());
}

TEST(SelectedMic, OneEntryNeedsNoDialogWhateverWasRequested) {
    EXPECT_EQ(decideSelectedMic(1, -1), 0);
    EXPECT_EQ(decideSelectedMic(1, 3), 0);
    EXPECT_EQ(decideSelectedMic(1, 46), 0);
}

TEST(SelectedMic, SeveralEntriesAndNoRequestAskTheOperator) {
    EXPECT_EQ(decideSelectedMic(2, -1), NeedsDialog);
}

TEST(SelectedMic, EmptyListIsNothingFound) { EXPECT_EQ(decideSelectedMic(0, -1), -1); }

TEST(SelectedMic, ANamedMicroscopeIsUsedAsAListPositionAsItStands) {
    EXPECT_EQ(decideSelectedMic(3, 1), 1); // the entry after the named one
}

TEST(MicroscopeList, UnderSimAnEmptyNameZeroIsTakenAsItStands) {
    // Only the real microscopes are renamed "NoName".
    const QVector<MicroscopeEntry> list =
        buildMicroscopeList({QStringLiteral("  "), QStringLiteral("A")}, 46, [](int16_t) { return true; });
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list.at(0).text, QStringLiteral("  "));
    EXPECT_EQ(list.at(0).itemData, 0);
}
