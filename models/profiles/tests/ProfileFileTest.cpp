// The observation profile file, byte for byte, and what reading makes of
// short, garbled and foreign files.
#include "models/profiles/ProfileFile.h"

#include "core/base/RunTimeError.h"

#include <gtest/gtest.h>

namespace {

ProfileList sample() {
    ProfileList items = Profile_Init();
    for (int t = 1; t <= 6; ++t) Profile_Item(items, t).setOBSERVATION(t + 6);
    clsDefProfile& r = Profile_Item(items, 1);
    r.setName(QStringLiteral("GFP"));
    r.setObj_ADDRESS(3);
    r.setFilter_ADDRESS(2);
    r.setCond_ADDRESS(7);
    r.setAStop(1);
    r.setFStop(3);
    r.setND(2);
    r.setZOOM(13);
    r.setLAMP(4);
    r.setANALYZER(3);
    r.setSHUTTER(3);
    r.setPATH(2);
    r.setObj_Link(1);
    r.Put_UmemAS(2, 2.5);
    r.Put_UmemAS(0, 9);     // address 0 is not written
    r.Put_UmemFS(7, 12.25);
    Profile_Item(items, 6).Put_UmemND(1, 50);
    Profile_Item(items, 4).setName(QStringLiteral("Ph 40x"));
    return items;
}

const QByteArray kSampleText =
    "1,GFP,7,3,2,7,1,3,2,13,4,3,3,2,1,1,1,1,0,0\r\n"
    "2,User,8,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n"
    "3,User,9,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n"
    "4,Ph 40x,10,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n"
    "5,User,11,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n"
    "6,User,12,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n"
    "Custom Value\r\n"
    "AS 1,0,2.5,0,0,0,0,0\r\n"
    "AS 2,0,0,0,0,0,0,0\r\n"
    "AS 3,0,0,0,0,0,0,0\r\n"
    "AS 4,0,0,0,0,0,0,0\r\n"
    "AS 5,0,0,0,0,0,0,0\r\n"
    "AS 6,0,0,0,0,0,0,0\r\n"
    "FS 1,0,0,0,0,0,0,12.25\r\n"
    "FS 2,0,0,0,0,0,0,0\r\n"
    "FS 3,0,0,0,0,0,0,0\r\n"
    "FS 4,0,0,0,0,0,0,0\r\n"
    "FS 5,0,0,0,0,0,0,0\r\n"
    "FS 6,0,0,0,0,0,0,0\r\n"
    "ND 1,0,0,0,0,0,0,0\r\n"
    "ND 2,0,0,0,0,0,0,0\r\n"
    "ND 3,0,0,0,0,0,0,0\r\n"
    "ND 4,0,0,0,0,0,0,0\r\n"
    "ND 5,0,0,0,0,0,0,0\r\n"
    "ND 6,50,0,0,0,0,0,0\r\n";

int32_t errorOf(const QByteArray& text) {
    try {
        Profile_FileParse(text);
    } catch (const RunTimeError& e) {
        return e.number();
    }
    return 0;
}

} // namespace

TEST(ProfileFile, TheTextIsSixRecordLinesCustomValueAndEighteenMemoryLines) {
    EXPECT_EQ(Profile_FileText(sample()), kSampleText);
}

TEST(ProfileFile, ReadingTheTextGivesBackEveryFieldAndTheMemory) {
    const ProfileFileReading r = Profile_FileParse(kSampleText);
    ASSERT_EQ(r.items.size(), 6);
    EXPECT_EQ(Profile_FileText(r.items), kSampleText);
    EXPECT_EQ(r.items[0].Get_UmemAS(0), 0);      // address 0 is not in the file
    ASSERT_EQ(r.captions.size(), 6);
    EXPECT_EQ(r.captions[3], qMakePair(4, QStringLiteral("Ph 40x")));
}

TEST(ProfileFile, TheNameIsTrimmedButTheCaptionKeepsItsBlanks) {
    QByteArray text = kSampleText;
    text.replace("1,GFP,", "1,  GFP ,");
    const ProfileFileReading r = Profile_FileParse(text);
    EXPECT_EQ(r.items[0].Name(), QStringLiteral("GFP"));
    EXPECT_EQ(r.captions[0].second, QStringLiteral("  GFP "));
}

TEST(ProfileFile, FiveRecordLinesGiveFiveItems) {
    QByteArray text = kSampleText;
    text.replace("6,User,12,1,1,1,0,0,0,0,0,0,0,0,1,1,1,0,0,0\r\n", "");
    text.replace("AS 6,0,0,0,0,0,0,0\r\n", "").replace("FS 6,0,0,0,0,0,0,0\r\n", "").replace("ND 6,50,0,0,0,0,0,0\r\n", "");
    EXPECT_EQ(Profile_FileParse(text).items.size(), 5);
}

TEST(ProfileFile, ABlankFirstLineReadsNothingAndTheCustomStepFindsNothing) {
    const ProfileFileReading r = Profile_FileParse("\r\n" + kSampleText);
    EXPECT_TRUE(r.items.isEmpty());
    EXPECT_TRUE(r.captions.isEmpty());
}

TEST(ProfileFile, TheOrderOfTheLinesDecidesThePlaceNotTheTabNumber) {
    QByteArray text = kSampleText;
    text.replace("1,GFP,7", "3,GFP,7");
    const ProfileFileReading r = Profile_FileParse(text);
    EXPECT_EQ(r.items[0].Name(), QStringLiteral("GFP"));
    EXPECT_EQ(r.captions[0].first, 3);
}

TEST(ProfileFile, LinesEndedByLineFeedsAloneReadTheSame) {
    QByteArray text = kSampleText;
    text.replace("\r\n", "\n");
    EXPECT_EQ(Profile_FileText(Profile_FileParse(text).items), kSampleText);
}

TEST(ProfileFile, BadFilesFailWithTheRunTimeErrorTheCallerReports) {
    // Short: a record line cut in the middle.
    EXPECT_EQ(errorOf("1,GFP,7,3,2"), RunTimeError::SubscriptOutOfRange);
    // Garbled: a code that is no number.
    EXPECT_EQ(errorOf(QByteArray(kSampleText).replace("1,GFP,7,3", "1,GFP,7,x")), RunTimeError::TypeMismatch);
    // A name holding "," shifts the fields.
    EXPECT_NE(errorOf(QByteArray(kSampleText).replace("GFP", "G,FP")), 0);
    // Not a profile at all.
    EXPECT_NE(errorOf("[Setting]\r\nTop=100\r\n"), 0);
    EXPECT_NE(errorOf(QByteArray("\x89PNG\r\n\x1a\n\0\0\0", 11)), 0);
    // Another version: a tab number the editor does not have, a PATH beyond 16 bits.
    EXPECT_EQ(errorOf(QByteArray(kSampleText).replace("6,User,12", "7,User,12")), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorOf(QByteArray(kSampleText).replace("4,3,3,2,1,1,1", "4,3,3,70000,1,1,1")), RunTimeError::Overflow);
    // A custom line for a record that was not read, or with too few values.
    EXPECT_EQ(errorOf(QByteArray(kSampleText).replace("AS 2,", "AS 9,")), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorOf(QByteArray(kSampleText).replace("AS 2,0,0,0,0,0,0,0", "AS 2,0,0")), RunTimeError::SubscriptOutOfRange);
}

TEST(ProfileFile, OtherKindsOfCustomLinesAreSkipped) {
    QByteArray text = kSampleText;
    text.replace("ND 1,0,", "XY 1,garbage\r\nND 1,0,");
    EXPECT_EQ(Profile_FileText(Profile_FileParse(text).items), kSampleText);
}

TEST(ProfileFile, WritingFewerThanSixRecordsStopsAfterTheRecordLinesThereAre) {
    ProfileList five = Profile_Init();
    five.removeLast();
    EXPECT_THROW(Profile_FileText(five), RunTimeError);
    bool whole = true;
    const QByteArray text = Profile_FileText(five, &whole);
    EXPECT_FALSE(whole);
    EXPECT_EQ(text.count("\r\n"), 5);
    EXPECT_TRUE(text.startsWith("1,"));
    EXPECT_TRUE(text.endsWith("\r\n"));
    EXPECT_FALSE(text.contains("Custom Value"));
    const QByteArray all = Profile_FileText(Profile_Init(), &whole);
    EXPECT_TRUE(whole);
    EXPECT_TRUE(all.startsWith(text));
}
