// The filter colour file: defaults without a file, the reader's position and
// blank-line rules, its failures on short or broken files, and the exact bytes
// the writer leaves.
#include "core/base/ErrorNumberOf.h"
#include "core/base/RunTimeError.h"
#include "models/optics/FilterColorFile.h"
#include "models/optics/WaveColor.h"

#include <gtest/gtest.h>

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <functional>

namespace {


QByteArray defaultLine(int n) {
    return QByteArray::number(n) + ",16777215,16777215,0,0\r\n";
}

QByteArray defaultFile() {
    QByteArray bytes;
    for (int n = 1; n <= 249; ++n)
        bytes += defaultLine(n);
    return bytes;
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    ASSERT_EQ(f.write(bytes), bytes.size());
}

QByteArray readBytes(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray("<missing>");
    return f.readAll();
}

class FilterColorFile : public ::testing::Test {
protected:
    QTemporaryDir dir;
    QString path() const { return dir.filePath("FilterColor.txt"); }
};

} // namespace

TEST_F(FilterColorFile, PathLiesBelowTheDataFolder) {
    const QString dataHome = qEnvironmentVariable("XDG_DATA_HOME");
    if (dataHome.isEmpty())
        GTEST_SKIP() << "runs in the fresh home that ctest gives it";
    EXPECT_EQ(FilterColor_Path(), QDir(dataHome).absolutePath() + "/Korvu/MavrelTools/FilterColor.txt");
}

TEST_F(FilterColorFile, NoFileGives249WhiteDefaults) {
    FilterColorList list;
    list.append(clsDefFillterCasette()); // whatever stood there goes
    FilterColor_Read(list, path());
    ASSERT_EQ(list.size(), 249);
    for (int n = 1; n <= 249; ++n) {
        const clsDefFillterCasette& r = FilterColor_Item(list, n);
        EXPECT_EQ(r.Number(), n);
        EXPECT_EQ(r.ExColor(), 16777215);
        EXPECT_EQ(r.BaColor(), 16777215);
        EXPECT_EQ(r.E_SET(), 0);
        EXPECT_EQ(r.B_SET(), 0);
    }
    EXPECT_FALSE(QFile::exists(path())); // reading makes no file
}

TEST_F(FilterColorFile, DefaultAppendsToTheList) {
    FilterColorList list;
    FilterColor_Default(list);
    FilterColor_Default(list);
    ASSERT_EQ(list.size(), 498);
    EXPECT_EQ(FilterColor_Item(list, 250).Number(), 1);
}

TEST_F(FilterColorFile, AFolderOfThatNameCountsAsNoFile) {
    ASSERT_TRUE(QDir().mkpath(path()));
    FilterColorList list;
    FilterColor_Read(list, path());
    EXPECT_EQ(list.size(), 249);
}

TEST_F(FilterColorFile, ItemOutsideTheListIsSubscriptError) {
    FilterColorList list;
    FilterColor_Default(list);
    EXPECT_EQ(errorNumber([&] { FilterColor_Item(list, 0); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { FilterColor_Item(list, 250); }), RunTimeError::SubscriptOutOfRange);
    const FilterColorList& constList = list;
    EXPECT_EQ(FilterColor_Item(constList, 249).Number(), 249);
    EXPECT_EQ(errorNumber([&] { FilterColor_Item(constList, -1); }), RunTimeError::SubscriptOutOfRange);
}

TEST_F(FilterColorFile, WriterBytesOfAnUntouchedSystem) {
    FilterColorList list;
    FilterColor_Default(list);
    EXPECT_TRUE(FilterColor_Write(list, true, path()));
    const QByteArray bytes = readBytes(path());
    EXPECT_TRUE(bytes.startsWith("1,16777215,16777215,0,0\r\n2,16777215,16777215,0,0\r\n"));
    EXPECT_TRUE(bytes.endsWith("249,16777215,16777215,0,0\r\n"));
    EXPECT_FALSE(bytes.endsWith("\r\n\r\n"));
    EXPECT_EQ(bytes, defaultFile());
}

TEST_F(FilterColorFile, WriterCreatesMissingFolders) {
    const QString deep = dir.filePath("Korvu/MavrelTools/FilterColor.txt");
    FilterColorList list;
    FilterColor_Default(list);
    EXPECT_TRUE(FilterColor_Write(list, true, deep));
    EXPECT_EQ(readBytes(deep), defaultFile());
}

TEST_F(FilterColorFile, WriterOverwritesWhatStoodThere) {
    writeBytes(path(), QByteArray(20000, 'x'));
    FilterColorList list;
    FilterColor_Default(list);
    EXPECT_TRUE(FilterColor_Write(list, true, path()));
    EXPECT_EQ(readBytes(path()), defaultFile());
}

TEST_F(FilterColorFile, NotConnectedAtUnloadLeavesTheFileUntouched) {
    writeBytes(path(), "old contents");
    FilterColorList list;
    FilterColor_Default(list);
    EXPECT_FALSE(FilterColor_Write(list, false, path()));
    EXPECT_EQ(readBytes(path()), QByteArray("old contents"));
    const QString absent = dir.filePath("absent/FilterColor.txt");
    FilterColor_Write(list, false, absent);
    EXPECT_FALSE(QFile::exists(absent));
}

TEST_F(FilterColorFile, CancelledDialogColourIsStoredAsMinusOne) {
    FilterColorList list;
    FilterColor_Default(list);
    FilterColor_Item(list, 7).setExColor(-1); // what a cancelled colour dialog leaves
    FilterColor_Item(list, 7).setE_SET(1);
    FilterColor_Item(list, 8).setBaColor(0x0000FF);
    FilterColor_Item(list, 8).setB_SET(1);
    ASSERT_TRUE(FilterColor_Write(list, true, path()));
    const QByteArray bytes = readBytes(path());
    EXPECT_TRUE(bytes.contains("\r\n7,-1,16777215,1,0\r\n8,16777215,255,0,1\r\n"));

    FilterColorList back;
    FilterColor_Read(back, path());
    ASSERT_EQ(back.size(), 249);
    EXPECT_EQ(FilterColor_Item(back, 7).ExColor(), -1);
    EXPECT_EQ(FilterColor_Item(back, 7).E_SET(), 1);
    EXPECT_EQ(FilterColor_Item(back, 8).BaColor(), 255);
    EXPECT_EQ(FilterColor_Item(back, 8).B_SET(), 1);
}

TEST_F(FilterColorFile, WriterOfAnIncompleteTableWritesWhatItHasAndDoesNotThrow) {
    FilterColorList list;
    FilterColor_Default(list);
    list.resize(9);
    EXPECT_FALSE(FilterColor_Write(list, true, path()));
    QByteArray expected;
    for (int n = 1; n <= 9; ++n)
        expected += defaultLine(n);
    EXPECT_EQ(readBytes(path()), expected);
}

TEST_F(FilterColorFile, WriterFailureIsIgnored) {
    ASSERT_TRUE(QDir().mkpath(path())); // a folder stands where the file should go
    FilterColorList list;
    FilterColor_Default(list);
    EXPECT_FALSE(FilterColor_Write(list, true, path()));
}

TEST_F(FilterColorFile, BlankLineAtTenGivesNineItemsAndCubeTenFailsOnLookUp) {
    QByteArray bytes;
    for (int n = 1; n <= 9; ++n)
        bytes += defaultLine(n);
    bytes += "\r\n";
    for (int n = 11; n <= 249; ++n)
        bytes += defaultLine(n);
    writeBytes(path(), bytes);
    FilterColorList list;
    FilterColor_Read(list, path());
    EXPECT_EQ(list.size(), 9);
    EXPECT_EQ(errorNumber([&] { FilterColor_Item(list, 10); }), RunTimeError::SubscriptOutOfRange);
}

TEST_F(FilterColorFile, LineFiveSetsCubeFiveRedExcitationAndBarrierIsDerived) {
    QByteArray bytes = defaultFile();
    bytes.replace(defaultLine(5), "5,255,65280,1,0\r\n");
    writeBytes(path(), bytes);
    FilterColorList list;
    FilterColor_Read(list, path());
    ASSERT_EQ(list.size(), 249);
    const clsDefFillterCasette& r = FilterColor_Item(list, 5);
    EXPECT_EQ(r.ExColor(), 255);
    EXPECT_EQ(r.BaColor(), 65280);
    EXPECT_EQ(r.E_SET(), 1);
    EXPECT_EQ(r.B_SET(), 0);

    // A mounted cube of Number 5: the operator's red for excitation, the
    // barrier colour worked out from its wavelength.
    const PartColour ex = Part_Color(Wave_Read(5, "EX470/40"), r.E_SET(), r.ExColor());
    EXPECT_EQ(ex.action, PartColour::Show);
    EXPECT_EQ(ex.colour, 0x0000FF);
    const PartColour ba = Part_Color(Wave_Read(20, "BA520"), r.B_SET(), r.BaColor());
    EXPECT_EQ(ba.action, PartColour::Show);
    EXPECT_EQ(ba.colour, Wave_RGB(520));
    EXPECT_NE(ba.colour, 65280);
}

TEST_F(FilterColorFile, PositionNotFieldOneDecidesTheCube) {
    QByteArray bytes;
    for (int n = 249; n >= 1; --n)
        bytes += QByteArray::number(n) + "," + QByteArray::number(n) + ",0,1,0\r\n";
    writeBytes(path(), bytes);
    FilterColorList list;
    FilterColor_Read(list, path());
    ASSERT_EQ(list.size(), 249);
    // Item 1 is the first line, whose Number field says 249.
    EXPECT_EQ(FilterColor_Item(list, 1).Number(), 249);
    EXPECT_EQ(FilterColor_Item(list, 1).ExColor(), 249);
    EXPECT_EQ(FilterColor_Item(list, 249).ExColor(), 1);
}

TEST_F(FilterColorFile, NothingBeyondLine249IsRead) {
    QByteArray bytes = defaultFile();
    bytes += "250,1,1,1,1\r\ngarbage\r\n";
    writeBytes(path(), bytes);
    FilterColorList list;
    FilterColor_Read(list, path());
    EXPECT_EQ(list.size(), 249);
}

TEST_F(FilterColorFile, ShortFileWithoutBlankLineIsReadPastEnd) {
    QByteArray bytes;
    for (int n = 1; n <= 100; ++n)
        bytes += defaultLine(n);
    writeBytes(path(), bytes);
    FilterColorList list;
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::InputPastEndOfFile);
    EXPECT_EQ(list.size(), 100); // what was read stays
}

TEST_F(FilterColorFile, EmptyFileIsReadPastEnd) {
    writeBytes(path(), QByteArray());
    FilterColorList list;
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::InputPastEndOfFile);
    EXPECT_TRUE(list.isEmpty());
}

TEST_F(FilterColorFile, LastLineWithoutLineEndStillCounts) {
    QByteArray bytes = defaultFile();
    bytes.chop(2);
    writeBytes(path(), bytes);
    FilterColorList list;
    FilterColor_Read(list, path());
    EXPECT_EQ(list.size(), 249);
}

TEST_F(FilterColorFile, LinesEndingInLfOrCrAloneAreRead) {
    QByteArray lf = defaultFile();
    lf.replace("\r\n", "\n");
    writeBytes(path(), lf);
    FilterColorList list;
    FilterColor_Read(list, path());
    EXPECT_EQ(list.size(), 249);

    QByteArray cr = defaultFile();
    cr.replace("\r\n", "\r");
    writeBytes(path(), cr);
    FilterColor_Read(list, path());
    EXPECT_EQ(list.size(), 249);
    EXPECT_EQ(FilterColor_Item(list, 249).Number(), 249);
}

TEST_F(FilterColorFile, TruncatedLineIsSubscriptError) {
    QByteArray bytes;
    for (int n = 1; n <= 3; ++n)
        bytes += defaultLine(n);
    bytes += "4,16777215,167";
    writeBytes(path(), bytes);
    FilterColorList list;
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(list.size(), 3);
}

TEST_F(FilterColorFile, GarbageFieldsAreTypeMismatchOrOverflow) {
    FilterColorList list;
    writeBytes(path(), "1,red,16777215,0,0\r\n");
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::TypeMismatch);
    writeBytes(path(), "   \r\n");
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::SubscriptOutOfRange);
    writeBytes(path(), "1,,16777215,0,0\r\n");
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::TypeMismatch);
    writeBytes(path(), "40000,0,0,0,0\r\n");
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::Overflow);
    writeBytes(path(), "1,99999999999,0,0,0\r\n");
    EXPECT_EQ(errorNumber([&] { FilterColor_Read(list, path()); }), RunTimeError::Overflow);
}

TEST_F(FilterColorFile, BinaryGarbageFailsCleanly) {
    QByteArray bytes;
    for (int i = 0; i < 4096; ++i)
        bytes += static_cast<char>((i * 131 + 7) & 0xFF);
    writeBytes(path(), bytes);
    FilterColorList list;
    EXPECT_NE(errorNumber([&] { FilterColor_Read(list, path()); }), 0);
}

TEST_F(FilterColorFile, ExtraFieldsAndBlanksAroundNumbersAreTolerated) {
    QByteArray bytes = defaultFile();
    bytes.replace(defaultLine(3), "3, 255 ,0,1,1,extra\r\n");
    writeBytes(path(), bytes);
    FilterColorList list;
    FilterColor_Read(list, path());
    ASSERT_EQ(list.size(), 249);
    EXPECT_EQ(FilterColor_Item(list, 3).ExColor(), 255);
    EXPECT_EQ(FilterColor_Item(list, 3).BaColor(), 0);
}

TEST_F(FilterColorFile, WriteThenReadGivesTheSameTable) {
    FilterColorList list;
    FilterColor_Default(list);
    for (int n = 1; n <= 249; ++n) {
        FilterColor_Item(list, n).setExColor(n * 1000);
        FilterColor_Item(list, n).setBaColor(-n);
        FilterColor_Item(list, n).setE_SET(static_cast<int16_t>(n % 2));
        FilterColor_Item(list, n).setB_SET(static_cast<int16_t>((n + 1) % 2));
    }
    ASSERT_TRUE(FilterColor_Write(list, true, path()));
    FilterColorList back;
    FilterColor_Read(back, path());
    ASSERT_EQ(back.size(), 249);
    for (int n = 1; n <= 249; ++n) {
        EXPECT_EQ(FilterColor_Item(back, n).Number(), n);
        EXPECT_EQ(FilterColor_Item(back, n).ExColor(), n * 1000);
        EXPECT_EQ(FilterColor_Item(back, n).BaColor(), -n);
        EXPECT_EQ(FilterColor_Item(back, n).E_SET(), n % 2);
        EXPECT_EQ(FilterColor_Item(back, n).B_SET(), (n + 1) % 2);
    }
}
