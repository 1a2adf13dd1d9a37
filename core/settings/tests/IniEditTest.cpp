// The INI file object: profile-string rules, byte for byte.
#include "core/settings/clsIniEdit.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

QString home() { return QString::fromLocal8Bit(qgetenv("ZENTOR_TEST_HOME")); }

QByteArray readBytes(const QString& path) {
    QFile f(path);
    if (!f.open(QIODevice::ReadOnly))
        return QByteArray("<missing>");
    return f.readAll();
}

void writeBytes(const QString& path, const QByteArray& bytes) {
    QDir().mkpath(QFileInfo(path).absolutePath());
    QFile f(path);
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(bytes);
}

class Ini : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_FALSE(home().isEmpty());
        folder = home() + QStringLiteral("/ini-") +
                 QString::fromLatin1(testing::UnitTest::GetInstance()->current_test_info()->name());
        QDir(folder).removeRecursively();
        QDir().mkpath(folder);
        path = folder + QStringLiteral("/Zentor.ini");
        ini.Ini_SetPath(path);
    }
    void given(const QByteArray& bytes) { writeBytes(path, bytes); }
    QByteArray bytes() const { return readBytes(path); }
    QStringList sections(int capacity = 50) const {
        QStringList buf(capacity);
        const int n = ini.Ini_Sections(buf);
        return buf.mid(0, n);
    }
    QStringList keys(const QString& section, int capacity = 50) const {
        QStringList buf(capacity);
        const int n = ini.Ini_Keys(section, buf);
        return buf.mid(0, n);
    }

    QString folder;
    QString path;
    clsIniEdit ini;
};

} // namespace

// --- the path --------------------------------------------------------------

TEST_F(Ini, KeepsThePathItIsGiven) {
    EXPECT_EQ(ini.Ini_GetPath(), path);
    QString out;
    ini.Ini_GetPath(out);
    EXPECT_EQ(out, path);
    clsIniEdit other(QStringLiteral("/x/y.ini"));
    EXPECT_EQ(other.Ini_GetPath(), QStringLiteral("/x/y.ini"));
}

// --- a missing file ----------------------------------------------------------

TEST_F(Ini, AMissingFileReadsAsDefaultsAndIsNotCreated) {
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("Form_Position"), QStringLiteral("Top"), QStringLiteral("-1")),
              QStringLiteral("-1"));
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), -1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), 12600), 12600);
    EXPECT_TRUE(sections().isEmpty());
    EXPECT_TRUE(keys(QStringLiteral("Form_Position")).isEmpty());
    EXPECT_FALSE(QFile::exists(path));
}

TEST_F(Ini, ADefaultLosesItsTrailingBlanksOnly) {
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("  CU-K5  ")),
              QStringLiteral("  CU-K5"));
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QString()), QString());
}

TEST_F(Ini, AnEmptyPathReadsDefaultsAndWritesNothing) {
    clsIniEdit none;
    EXPECT_EQ(none.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(none.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);
    EXPECT_EQ(none.Ini_DelKey(QStringLiteral("S"), QStringLiteral("K")), 0);
    EXPECT_EQ(none.Ini_DelSection(QStringLiteral("S")), 0);
}

// --- writing -----------------------------------------------------------------

TEST_F(Ini, TheFirstWriteCreatesTheFileAndItsFoldersInCrLf) {
    clsIniEdit deep(folder + QStringLiteral("/Korvu/MavrelTools/Zentor.ini"));
    EXPECT_EQ(deep.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Top"), QStringLiteral("0")), 1);
    EXPECT_EQ(readBytes(deep.Ini_GetPath()), QByteArray("[Form_Position]\r\nTop=0\r\n"));
}

TEST_F(Ini, ANewKeyGoesBehindTheLastLineOfItsSection) {
    given("[A]\r\nx=1\r\n\r\n[B]\r\ny=2\r\n");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("A"), QStringLiteral("z"), QStringLiteral("3")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\nz=3\r\n\r\n[B]\r\ny=2\r\n"));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("B"), QStringLiteral("w"), QStringLiteral("4")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\nz=3\r\n\r\n[B]\r\ny=2\r\nw=4\r\n"));
}

TEST_F(Ini, ANewSectionGoesAtTheEnd) {
    given("[A]\r\nx=1\r\n");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("Z Focus Drive"), QStringLiteral("ControlMax"), QStringLiteral("200000")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\n[Z Focus Drive]\r\nControlMax=200000\r\n"));
}

TEST_F(Ini, AFileWithoutAFinalLineEndGetsOneBeforeNewLines) {
    given("[A]\r\nx=1");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("A"), QStringLiteral("y"), QStringLiteral("2")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\ny=2\r\n"));
    given("[A]\r\nx=1");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("B"), QStringLiteral("y"), QStringLiteral("2")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\n[B]\r\ny=2\r\n"));
}

TEST_F(Ini, ACarriageReturnAloneAtTheEndDoesNotEndTheLastLine) {
    given("[A]\r");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("A"), QStringLiteral("k"), QStringLiteral("1")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\r\nk=1\r\n"));
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("A"), QStringLiteral("k"), -1), 1);
    given("[A]\r\nx=1\r");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("A"), QStringLiteral("k"), QStringLiteral("2")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\r\nk=2\r\n"));
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("A"), QStringLiteral("x"), -1), 1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("A"), QStringLiteral("k"), -1), 2);
}

TEST_F(Ini, RewritingAValueChangesOnlyItsLineAndKeepsEverythingElse) {
    const QByteArray before =
        "; delivered settings\r\n"
        "[Form_Position]\r\n"
        "  ; indented comment\r\n"
        "Top=100   \r\n"
        "Left = 200\n"                    // a line that ends in LF only
        "odd line without equals\r\n"
        "Width=12600\r\n"
        "\r\n"
        "[Lamp]\r\n"
        "Top=5\r\n";
    given(before);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Top"), QStringLiteral("-15")), 1);
    QByteArray after = before;
    after.replace("Top=100   \r\n", "Top=-15\r\n");
    EXPECT_EQ(bytes(), after);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Left"), QStringLiteral("7")), 1);
    after.replace("Left = 200\n", "Left=7\n"); // the line keeps its own line end
    EXPECT_EQ(bytes(), after);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Lamp"), QStringLiteral("Top"), -1), 5);
}

TEST_F(Ini, AValueWithBlanksAndSymbolsIsWrittenAsItStands) {
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("Name"), QStringLiteral("DIC ; 40x = best")), 1);
    EXPECT_EQ(bytes(), QByteArray("[S]\r\nName=DIC ; 40x = best\r\n"));
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("Name"), QString()), QStringLiteral("DIC ; 40x = best"));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("Jp"), QStringLiteral("観察")), 1);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("jp"), QString()), QStringLiteral("観察"));
}

TEST_F(Ini, AnEmptyKeyOrEmptyDataWritesNothingAndAnswersZero) {
    given("[S]\r\nK=1\r\n");
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QString(), QStringLiteral("v")), 0);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral(""), QStringLiteral("v")), 0);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QString()), 0);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("")), 0);
    EXPECT_EQ(bytes(), QByteArray("[S]\r\nK=1\r\n"));
    int32_t result = -5;
    ini.Ini_Write(QStringLiteral("S"), QString(), QStringLiteral("v"), result);
    EXPECT_EQ(result, 0);

    clsIniEdit fresh(folder + QStringLiteral("/never.ini"));
    EXPECT_EQ(fresh.Ini_Write(QStringLiteral("S"), QString(), QStringLiteral("v")), 0);
    EXPECT_FALSE(QFile::exists(fresh.Ini_GetPath()));
}

TEST_F(Ini, AWriteThatCannotBeDoneAnswersZero) {
    // The parent "folder" is a file.
    writeBytes(folder + QStringLiteral("/plain"), "x");
    clsIniEdit blocked(folder + QStringLiteral("/plain/Zentor.ini"));
    EXPECT_EQ(blocked.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);
    // The path is a folder.
    clsIniEdit dir(folder);
    EXPECT_EQ(dir.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);
    EXPECT_EQ(dir.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("d")), QStringLiteral("d"));
}

// --- names -------------------------------------------------------------------

TEST_F(Ini, SectionAndKeyNamesIgnoreCase) {
    given("[Form_Position]\r\nTop=120\r\n");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("FORM_POSITION"), QStringLiteral("top"), -1), 120);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("form_position"), QStringLiteral("TOP"), QString()), QStringLiteral("120"));
    // A write in another case changes the same line and keeps the file's spelling.
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("FORM_position"), QStringLiteral("tOP"), QStringLiteral("7")), 1);
    EXPECT_EQ(bytes(), QByteArray("[Form_Position]\r\nTop=7\r\n"));
}

TEST_F(Ini, BlanksAroundNamesDoNotCountBlanksInsideDo) {
    given("[ Z Focus Drive ]\r\n  ControlMax = 5000 \r\n[Z  Focus Drive]\r\nControlMax=1\r\n");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Z Focus Drive"), QStringLiteral("ControlMax"), -1), 5000);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral(" Z Focus Drive"), QStringLiteral(" ControlMax "), -1), 5000);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Z  Focus Drive"), QStringLiteral("ControlMax"), -1), 1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("ZFocusDrive"), QStringLiteral("ControlMax"), -1), -1);
    EXPECT_EQ(sections(), (QStringList{QStringLiteral("Z Focus Drive"), QStringLiteral("Z  Focus Drive")}));
}

TEST_F(Ini, TheFirstSectionAndTheFirstKeyOfANameWin) {
    given("[A]\r\nk=first\r\nK=second\r\n[B]\r\nb=1\r\n[a]\r\nk=third\r\nonly=here\r\n");
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("A"), QStringLiteral("k"), QString()), QStringLiteral("first"));
    // Keys of a later duplicate section are never reached.
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("A"), QStringLiteral("only"), QStringLiteral("none")), QStringLiteral("none"));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("a"), QStringLiteral("K"), QStringLiteral("new")), 1);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("A"), QStringLiteral("only"), QStringLiteral("1")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nk=new\r\nK=second\r\nonly=1\r\n[B]\r\nb=1\r\n[a]\r\nk=third\r\nonly=here\r\n"));
    EXPECT_EQ(sections(), (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
    EXPECT_EQ(keys(QStringLiteral("a")), (QStringList{QStringLiteral("k"), QStringLiteral("only")}));
}

// --- values ------------------------------------------------------------------

TEST_F(Ini, AValueLosesSurroundingBlanksAndOnePairOfQuotes) {
    given("[S]\r\n"
          "a=  padded\t \r\n"
          "b=\"quoted\"\r\n"
          "c='single'\r\n"
          "d=\"mixed'\r\n"
          "e=\"\r\n"
          "f=\r\n"
          "g=x=y\r\n"
          "h=\"\"\"\"\r\n");
    auto r = [&](const char* k) { return ini.Ini_ReadStr(QStringLiteral("S"), QString::fromLatin1(k), QStringLiteral("dflt")); };
    EXPECT_EQ(r("a"), QStringLiteral("padded"));
    EXPECT_EQ(r("b"), QStringLiteral("quoted"));
    EXPECT_EQ(r("c"), QStringLiteral("single"));
    EXPECT_EQ(r("d"), QStringLiteral("\"mixed'"));
    EXPECT_EQ(r("e"), QStringLiteral("\""));
    EXPECT_EQ(r("f"), QString());      // present but empty: the empty text, not the default
    EXPECT_EQ(r("g"), QStringLiteral("x=y"));
    EXPECT_EQ(r("h"), QStringLiteral("\"\""));
}

TEST_F(Ini, ALineWithoutEqualsIsAKeyWithoutValue) {
    given("[S]\r\nlonely\r\nk=1\r\n");
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("lonely"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("lonely"), 9), 9);
    EXPECT_EQ(keys(QStringLiteral("S")), (QStringList{QStringLiteral("lonely"), QStringLiteral("k")}));
}

TEST_F(Ini, CommentsAreNeverKeys) {
    given("[S]\r\n;k=commented\r\n  ; note\r\nk=real\r\n");
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("k"), QString()), QStringLiteral("real"));
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral(";k"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(keys(QStringLiteral("S")), QStringList{QStringLiteral("k")});
}

TEST_F(Ini, IntegersReadAsThePlatformConvertsThem) {
    given("[N]\r\n"
          "plain=1234\r\n"
          "neg=-1\r\n"
          "plus=+5\r\n"
          "trail=12abc\r\n"
          "letters=abc\r\n"
          "empty=\r\n"
          "single=12600.5\r\n"
          "quoted=\"42\"\r\n"
          "inner=  -  3\r\n"
          "wrap=4294967295\r\n"
          "big=4294967297\r\n"
          "hex=0x1F\r\n"
          "blank=  \r\n");
    auto r = [&](const char* k) { return ini.Ini_ReadInt(QStringLiteral("N"), QString::fromLatin1(k), -77); };
    EXPECT_EQ(r("plain"), 1234);
    EXPECT_EQ(r("neg"), -1);
    EXPECT_EQ(r("plus"), 5);
    EXPECT_EQ(r("trail"), 12);
    EXPECT_EQ(r("letters"), 0);
    EXPECT_EQ(r("empty"), -77);
    EXPECT_EQ(r("blank"), -77);
    EXPECT_EQ(r("single"), 12600);
    EXPECT_EQ(r("quoted"), 42);
    EXPECT_EQ(r("inner"), 0);
    EXPECT_EQ(r("wrap"), -1);
    EXPECT_EQ(r("big"), 1);
    EXPECT_EQ(r("hex"), 0);
    EXPECT_EQ(r("missing"), -77);
    int32_t out = 0;
    ini.Ini_ReadInt(QStringLiteral("N"), QStringLiteral("plain"), 0, out);
    EXPECT_EQ(out, 1234);
}

TEST_F(Ini, AStoredMinusOneCannotBeToldFromAnAbsentKey) {
    given("[Form_Position]\r\nTop=-1\r\n");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Top"), -1),
              ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Left"), -1));
}

TEST_F(Ini, SingleTextWrittenGeometryReadsBackAsIntegers) {
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Width"), QStringLiteral("12600")), 1);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Top"), QStringLiteral("1234.5")), 1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Width"), -1), 12600);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Top"), -1), 1234);
}

TEST_F(Ini, AValueLongerThanTheBufferIsCut) {
    const QString longValue(40000, QLatin1Char('v'));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), longValue), 1);
    // The file holds it whole ...
    EXPECT_EQ(bytes().size(), QByteArray("[S]\r\nK=\r\n").size() + 40000);
    // ... a read gives what the 32767-character buffer holds before its terminator.
    const QString read = ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QString());
    EXPECT_EQ(read.size(), 32766);
    EXPECT_EQ(read, longValue.left(32766));
    const QString exact(32766, QLatin1Char('e'));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("E"), exact), 1);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("E"), QString()), exact);
    // A long default is cut the same way.
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("none"), longValue).size(), 32766);
}

// --- nothing cached ----------------------------------------------------------

TEST_F(Ini, EveryReadSeesTheFileAsItIsNow) {
    given("[S]\r\nK=1\r\n");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("K"), -1), 1);
    given("[S]\r\nK=2\r\n");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("K"), -1), 2);
    clsIniEdit second(path);
    EXPECT_EQ(second.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("3")), 1);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("K"), -1), 3);
    QFile::remove(path);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("K"), -1), -1);
}

// --- deleting ----------------------------------------------------------------

TEST_F(Ini, DeletingAKeyRemovesItsLineOnly) {
    given("[A]\r\n; c\r\nx=1\r\ny=2\n[B]\r\nx=3\r\n");
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("a"), QStringLiteral("X")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\n; c\r\ny=2\n[B]\r\nx=3\r\n"));
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("A"), QStringLiteral("y")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\n; c\r\n[B]\r\nx=3\r\n"));
    // Nothing to delete: nothing changes.
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("A"), QStringLiteral("gone")), 1);
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("Nope"), QStringLiteral("x")), 1);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\n; c\r\n[B]\r\nx=3\r\n"));
}

TEST_F(Ini, AnEmptyKeyNameDeletesNothingAndAnswersZero) {
    given("[A]\r\nx=1\r\n");
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("A"), QString()), 0);
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("A"), QStringLiteral("")), 0);
    EXPECT_EQ(bytes(), QByteArray("[A]\r\nx=1\r\n"));
}

TEST_F(Ini, DeletingASectionRemovesItUpToTheNextOne) {
    given("; head\r\n[A]\r\nx=1\r\n; about A\r\n\r\n[B]\r\ny=2\r\n[C]\r\nz=3");
    EXPECT_EQ(ini.Ini_DelSection(QStringLiteral("b")), 1);
    EXPECT_EQ(bytes(), QByteArray("; head\r\n[A]\r\nx=1\r\n; about A\r\n\r\n[C]\r\nz=3"));
    EXPECT_EQ(ini.Ini_DelSection(QStringLiteral("C")), 1);
    EXPECT_EQ(bytes(), QByteArray("; head\r\n[A]\r\nx=1\r\n; about A\r\n\r\n"));
    EXPECT_EQ(ini.Ini_DelSection(QStringLiteral("missing")), 1);
    EXPECT_EQ(bytes(), QByteArray("; head\r\n[A]\r\nx=1\r\n; about A\r\n\r\n"));
}

TEST_F(Ini, DeletingFromAMissingFileCreatesNothing) {
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("A"), QStringLiteral("x")), 1);
    EXPECT_EQ(ini.Ini_DelSection(QStringLiteral("A")), 1);
    EXPECT_FALSE(QFile::exists(path));
}

// --- listing -----------------------------------------------------------------

TEST_F(Ini, SectionsAreListedInFileOrder) {
    given("[Objective]\r\nTop=1\r\n[XY Stage]\r\nMemory_X0=5\r\nMemory_Y0=6\r\n[Lamp]\r\n");
    EXPECT_EQ(sections(), (QStringList{QStringLiteral("Objective"), QStringLiteral("XY Stage"), QStringLiteral("Lamp")}));
    EXPECT_EQ(keys(QStringLiteral("xy stage")), (QStringList{QStringLiteral("Memory_X0"), QStringLiteral("Memory_Y0")}));
    EXPECT_TRUE(keys(QStringLiteral("Lamp")).isEmpty());
    EXPECT_TRUE(keys(QStringLiteral("Nope")).isEmpty());
}

TEST_F(Ini, AListLongerThanTheArrayIsSilentlyCut) {
    given("[A]\r\na=1\r\nb=2\r\nc=3\r\n[B]\r\n[C]\r\n");
    QStringList two{QStringLiteral("keep0"), QStringLiteral("keep1")};
    EXPECT_EQ(ini.Ini_Sections(two), 2);
    EXPECT_EQ(two, (QStringList{QStringLiteral("A"), QStringLiteral("B")}));
    QStringList four(4, QStringLiteral("untouched"));
    EXPECT_EQ(ini.Ini_Keys(QStringLiteral("A"), four), 3);
    EXPECT_EQ(four, (QStringList{QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c"), QStringLiteral("untouched")}));
    QStringList none;
    EXPECT_EQ(ini.Ini_Sections(none), 0);
    EXPECT_TRUE(none.isEmpty());
}

TEST_F(Ini, AListBeyondTheBufferEndsInACutName) {
    // 2000 sections of 20 characters do not fit a 32767-character list.
    QByteArray many;
    for (int i = 0; i < 2000; ++i)
        many += "[" + QByteArray::number(i).rightJustified(20, 'S') + "]\r\n";
    given(many);
    QStringList buf(3000);
    const int n = ini.Ini_Sections(buf);
    EXPECT_EQ(n, 32765 / 21 + 1);
    EXPECT_EQ(buf[0], QStringLiteral("SSSSSSSSSSSSSSSSSSS0"));
    EXPECT_EQ(buf[n - 1].size(), 32765 % 21);
}

// --- damaged files -----------------------------------------------------------

TEST_F(Ini, AnEmptyFileReadsAsDefaultsAndTakesAWrite) {
    given("");
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_TRUE(sections().isEmpty());
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 1);
    EXPECT_EQ(bytes(), QByteArray("[S]\r\nK=v\r\n"));
}

TEST_F(Ini, ATruncatedFileReadsWhatItHolds) {
    given("[Form_Position]\r\nTop=10\r\nLeft=2");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Left"), -1), 2);
    given("[Form_Position]\r\nTop=10\r\n[Lam");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Top"), -1), 10);
    EXPECT_EQ(sections(), QStringList{QStringLiteral("Form_Position")});
    // The broken header is a line of the section before it; a write keeps it.
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("Lamp"), QStringLiteral("Top"), QStringLiteral("1")), 1);
    EXPECT_EQ(bytes(), QByteArray("[Form_Position]\r\nTop=10\r\n[Lam\r\n[Lamp]\r\nTop=1\r\n"));
}

TEST_F(Ini, GarbageBytesAreKeptAndDoNotDisturbReading) {
    const QByteArray garbage("\x00\xff\xfe[\x01]\r\n\xc3(=\x80\r\n\n\r\r\n", 18);
    given(garbage + "[S]\r\nK=1\r\n" + QByteArray("\xff\x00=\x00\r\n", 5));
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("K"), -1), 1);
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("2")), 1);
    EXPECT_EQ(bytes(), garbage + "[S]\r\nK=2\r\n" + QByteArray("\xff\x00=\x00\r\n", 5));
}

TEST_F(Ini, AByteOrderMarkDoesNotHideTheFirstSection) {
    given("\xEF\xBB\xBF[S]\r\nK=1\r\n");
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("S"), QStringLiteral("K"), -1), 1);
    EXPECT_EQ(ini.Ini_DelSection(QStringLiteral("S")), 1);
    EXPECT_EQ(bytes(), QByteArray("\xEF\xBB\xBF"));
}

TEST_F(Ini, KeysBeforeAnySectionBelongToNone) {
    given("loose=1\r\n[S]\r\nK=2\r\n");
    EXPECT_EQ(ini.Ini_ReadStr(QString(), QStringLiteral("loose"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("loose"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(sections(), QStringList{QStringLiteral("S")});
}

// A window caption such as "Zentor  [ Simulated Microscope ]" is a section
// name: the name runs to the last "]" of its line, so that it is found again.
TEST_F(Ini, SectionNameWithBracketsRunsToTheLastBracket) {
    const QString section = QStringLiteral("Zentor  [ Simulated Microscope ]");
    EXPECT_EQ(ini.Ini_Write(section, QStringLiteral("Show"), QStringLiteral("True")), 1);
    EXPECT_EQ(ini.Ini_Write(section, QStringLiteral("Top"), QStringLiteral("15")), 1);
    EXPECT_EQ(bytes(), QByteArray("[Zentor  [ Simulated Microscope ]]\r\nShow=True\r\nTop=15\r\n"));
    EXPECT_EQ(ini.Ini_ReadStr(section, QStringLiteral("Show"), QString()), QStringLiteral("True"));
    EXPECT_EQ(sections(), QStringList{section});
}

// --- files that are no settings files ----------------------------------------

namespace {
QByteArray native(const QString& path) { return QFile::encodeName(path); }
} // namespace

TEST_F(Ini, APipeAtThePathReadsAsDefaultsAtOnceAndIsNeverWritten) {
    ASSERT_EQ(::mkfifo(native(path).constData(), 0600), 0);
    EXPECT_EQ(ini.Ini_ReadInt(QStringLiteral("Form_Position"), QStringLiteral("Top"), -1), -1);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(sections(), QStringList());
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);
    EXPECT_EQ(ini.Ini_DelKey(QStringLiteral("S"), QStringLiteral("K")), 0);
    struct stat st {};
    ASSERT_EQ(::lstat(native(path).constData(), &st), 0);
    EXPECT_TRUE(S_ISFIFO(st.st_mode));
}

TEST_F(Ini, ALinkToAnEndlessDeviceOrAHugeFileReadsAsDefaults) {
    ASSERT_EQ(::symlink("/dev/zero", native(path).constData()), 0);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);

    const QString huge = folder + QStringLiteral("/Setup.ini");
    const int fd = ::open(native(huge).constData(), O_WRONLY | O_CREAT, 0600);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, qint64(64) << 30), 0);
    ::close(fd);
    clsIniEdit setup(huge);
    EXPECT_EQ(setup.Ini_ReadInt(QStringLiteral("JoyPad"), QStringLiteral("Button1"), -1), -1);
    EXPECT_EQ(setup.Ini_Write(QStringLiteral("JoyPad"), QStringLiteral("Button1"), QStringLiteral("41")), 0);
    EXPECT_EQ(QFileInfo(huge).size(), qint64(64) << 30);
}

TEST_F(Ini, ALinkThatPointsNowhereIsNotWrittenThrough) {
    const QString planted = folder + QStringLiteral("/planted/target.ini");
    ASSERT_EQ(::symlink(native(planted).constData(), native(path).constData()), 0);
    EXPECT_EQ(ini.Ini_ReadStr(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("d")), QStringLiteral("d"));
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);
    EXPECT_FALSE(QFileInfo::exists(planted));
    EXPECT_TRUE(QFileInfo(path).isSymLink());
}

// --- a batch: the writes of one moment as one replacement ---------------------

TEST_F(Ini, ABatchWritesEachFileOnceByTheSameRules) {
    const QByteArray start = "; the operator's\r\n[Form_Position]\r\nTop=1\r\n[form_position]\r\nTop=2\r\n"
                             "[Notes]\r\nSlide=kidney\r\n";
    // The same writes, once value by value and once in a batch.
    auto writes = [](clsIniEdit& f) {
        f.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Top"), QStringLiteral("15"));
        f.Ini_Write(QStringLiteral("FORM_POSITION"), QStringLiteral("Left"), QStringLiteral("30"));
        f.Ini_Write(QStringLiteral("Z Focus Drive"), QStringLiteral("ControlMax"), QStringLiteral("400000"));
        f.Ini_DelKey(QStringLiteral("Notes"), QStringLiteral("Slide"));
        f.Ini_Write(QStringLiteral("Notes"), QStringLiteral("Slide"), QStringLiteral("liver"));
    };
    const QString plainPath = folder + QStringLiteral("/plain.ini");
    writeBytes(plainPath, start);
    clsIniEdit plain(plainPath);
    writes(plain);

    given(start);
    {
        IniBatch batch;
        writes(ini);
        // Read back inside the batch, also through another object of the file.
        clsIniEdit other(path);
        EXPECT_EQ(other.Ini_ReadInt(QStringLiteral("form_position"), QStringLiteral("left"), -1), 30);
        EXPECT_EQ(other.Ini_ReadStr(QStringLiteral("Notes"), QStringLiteral("Slide"), QString()), QStringLiteral("liver"));
        // Nothing on the disk yet.
        EXPECT_EQ(bytes(), start);
        EXPECT_TRUE(batch.commit());
        EXPECT_EQ(bytes(), readBytes(plainPath));
        // After the commit every write goes to the file at once again.
        ini.Ini_Write(QStringLiteral("Form_Position"), QStringLiteral("Open"), QStringLiteral("2"));
        EXPECT_TRUE(bytes().contains("Open=2\r\n"));
    }
    EXPECT_TRUE(bytes().contains("Open=2\r\n"));
}

TEST_F(Ini, ABatchMadeInsideAnotherJoinsItAndTheEndOfTheBatchCommits) {
    given("[S]\r\nA=1\r\n");
    {
        IniBatch outer;
        {
            IniBatch inner;
            ini.Ini_Write(QStringLiteral("S"), QStringLiteral("A"), QStringLiteral("2"));
            EXPECT_TRUE(inner.commit());   // joins the outer one: nothing written yet
        }
        EXPECT_EQ(bytes(), QByteArray("[S]\r\nA=1\r\n"));
        ini.Ini_Write(QStringLiteral("S"), QStringLiteral("B"), QStringLiteral("3"));
    }
    EXPECT_EQ(bytes(), QByteArray("[S]\r\nA=2\r\nB=3\r\n"));
}

TEST_F(Ini, ABatchLeavesAFileItCannotWriteAsItWasAndSaysSo) {
    ASSERT_EQ(::mkfifo(native(path).constData(), 0600), 0);
    const QString other = folder + QStringLiteral("/Setup.ini");
    IniBatch batch;
    EXPECT_EQ(ini.Ini_Write(QStringLiteral("S"), QStringLiteral("K"), QStringLiteral("v")), 0);
    clsIniEdit setup(other);
    EXPECT_EQ(setup.Ini_Write(QStringLiteral("JoyPad"), QStringLiteral("Up"), QStringLiteral("1")), 1);
    EXPECT_TRUE(batch.commit());
    EXPECT_EQ(readBytes(other), QByteArray("[JoyPad]\r\nUp=1\r\n"));
    // A file refused only at the commit (its folder made read-only meanwhile).
    IniBatch second;
    setup.Ini_Write(QStringLiteral("JoyPad"), QStringLiteral("Up"), QStringLiteral("2"));
    QDir(folder).removeRecursively();
    writeBytes(folder, "a file where the folder was");
    EXPECT_FALSE(second.commit());
}
