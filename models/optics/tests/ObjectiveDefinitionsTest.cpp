// The objective record: its tables, the validity of a coded definition, the
// lenient checks and the operation string.
#include "core/base/RunTimeError.h"
#include "models/optics/clsDefLens.h"

#include <gtest/gtest.h>

TEST(Lens, FreshObjectHasDashesAndNumberZero) {
    clsDefLens l;
    EXPECT_EQ(l.Name(), "-------");
    EXPECT_EQ(l.Number(), 0);
    EXPECT_EQ(l.SeriesName(), QString());
    EXPECT_EQ(l.Series(), 0);
    EXPECT_EQ(l.TypeName(), QString());
    EXPECT_EQ(l.Type2(), 0);
    EXPECT_EQ(l.Type3(), 0);
    EXPECT_EQ(l.Rate(), 0.0f);
    EXPECT_EQ(l.WD(), 0.0f);
    EXPECT_EQ(l.NA(), 0.0f);
}

TEST(Lens, PropertyPairsStore) {
    clsDefLens l;
    l.setName("Plan 10x");
    l.setNumber(12);
    l.setSeriesName("PL");
    l.setSeries(4);
    l.setTypeName("dry");
    l.setType2(1);
    l.setType3(2);
    l.setRate(10);
    l.setWD(10.6f);
    l.setNA(0.3f);
    EXPECT_EQ(l.Name(), "Plan 10x");
    EXPECT_EQ(l.Number(), 12);
    EXPECT_EQ(l.SeriesName(), "PL");
    EXPECT_EQ(l.Series(), 4);
    EXPECT_EQ(l.TypeName(), "dry");
    EXPECT_EQ(l.Type2(), 1);
    EXPECT_EQ(l.Type3(), 2);
    EXPECT_EQ(l.Rate(), 10.0f);
    EXPECT_EQ(l.WD(), 10.6f);
    EXPECT_EQ(l.NA(), 0.3f);
}

TEST(Lens, LimitFunctions) {
    EXPECT_EQ(clsDefLens::SeriesMin(), 0);
    EXPECT_EQ(clsDefLens::SeriesMax(), 21);
    EXPECT_EQ(clsDefLens::Type2Min(), 1);
    EXPECT_EQ(clsDefLens::Type2Max(), 11);
    EXPECT_EQ(clsDefLens::Type3Min(), 0);
    EXPECT_EQ(clsDefLens::Type3Max(), 16);
    EXPECT_EQ(clsDefLens::RATEMin(), 1);
    EXPECT_EQ(clsDefLens::RATEMax(), 35);
}

TEST(Lens, Type2NameEveryRow) {
    const char* rows[] = {"----------", "dry", "NCG", "C", "F", "oil", "NCG oil", "oil / iris",
                          "WI / C", "W", "MI / C", "MI"};
    clsDefLens l;
    for (int16_t i = 0; i <= 11; ++i)
        EXPECT_EQ(l.Type2Name(i), QString::fromLatin1(rows[i])) << i;
}

TEST(Lens, Type2NameBeyondTableIsEmpty) {
    clsDefLens l;
    EXPECT_EQ(l.Type2Name(12), QString());
    EXPECT_EQ(l.Type2Name(-2), QString());
}

TEST(Lens, Type2NameMinusOneIsOwnCode) {
    clsDefLens l;
    EXPECT_EQ(l.Type2Name(), "----------");
    l.setType2(5);
    EXPECT_EQ(l.Type2Name(), "oil");
    EXPECT_EQ(l.Type2Name(-1), "oil");
    l.setType2(40);
    EXPECT_EQ(l.Type2Name(), QString());
}

TEST(Lens, Type3NameEveryRowEightCharacters) {
    const char* rows[] = {"        ", "P       ", "ADL     ", "BM      ", "DL      ", "DLL     ",
                          "DM      ", "LWD     ", "LWD P   ", "LWD ADL ", "LWD BM  ", "LWD DL  ",
                          "ELWD    ", "ELWD ADL", "ELWD DM ", "ELWD DLL", "UW      "};
    clsDefLens l;
    for (int16_t i = 0; i <= 16; ++i) {
        EXPECT_EQ(l.Type3Name(i), QString::fromLatin1(rows[i])) << i;
        EXPECT_EQ(l.Type3Name(i).size(), 8) << i;
    }
    EXPECT_EQ(l.Type3Name(17), QString());
    EXPECT_EQ(l.Type3Name(-5), QString());
    l.setType3(9);
    EXPECT_EQ(l.Type3Name(), "LWD ADL ");
}

TEST(Lens, IsTrueParamEmptyDefinition) {
    EXPECT_TRUE(clsDefLens::IsTrueParam(0, 0, 0, 0, 0, 0));
    EXPECT_FALSE(clsDefLens::IsTrueParam(0, 1, 0, 0, 0, 0));
    EXPECT_FALSE(clsDefLens::IsTrueParam(0, 0, 1, 0, 0, 0));
    EXPECT_FALSE(clsDefLens::IsTrueParam(0, 0, 0, 10, 0, 0));
    EXPECT_FALSE(clsDefLens::IsTrueParam(0, 0, 0, 0, 1, 0));
    EXPECT_FALSE(clsDefLens::IsTrueParam(0, 0, 0, 0, 0, 0.5f));
}

TEST(Lens, IsTrueParamBoundsAndHundredXFails) {
    EXPECT_TRUE(clsDefLens::IsTrueParam(3, 5, 1, 35, 40, 2));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 5, 1, 36, 40, 2));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 5, 1, 35, 40, 2.1f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 5, 1, 100, 0.2f, 1.4f)); // a 100x lens
    EXPECT_TRUE(clsDefLens::IsTrueParam(21, 11, 16, 1, 0.01f, 0.001f));
    EXPECT_TRUE(clsDefLens::IsTrueParam(1, 1, 0, 1, 0.01f, 0.001f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(22, 1, 0, 10, 1, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(-1, 1, 0, 10, 1, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 0, 0, 10, 1, 0.3f)); // Type2 starts at 1
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 12, 0, 10, 1, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 1, 17, 10, 1, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 1, -1, 10, 1, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 1, 0, 0.99f, 1, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 1, 0, 10, 0.0099f, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 1, 0, 10, 40.01f, 0.3f));
    EXPECT_FALSE(clsDefLens::IsTrueParam(3, 1, 0, 10, 1, 0.00099f));
}

TEST(Lens, ChecksHaveTheOffsetShape) {
    EXPECT_FALSE(clsDefLens::TYPE_Chk("0"));
    EXPECT_TRUE(clsDefLens::TYPE_Chk(""));
    EXPECT_TRUE(clsDefLens::TYPE_Chk("1"));
    EXPECT_TRUE(clsDefLens::TYPE_Chk("11"));
    EXPECT_FALSE(clsDefLens::TYPE_Chk("12"));
    EXPECT_TRUE(clsDefLens::TYPE_Chk("x"));
    EXPECT_FALSE(clsDefLens::RATE_Chk("36"));
    EXPECT_FALSE(clsDefLens::RATE_Chk("0"));
    EXPECT_TRUE(clsDefLens::RATE_Chk("35"));
    EXPECT_TRUE(clsDefLens::RATE_Chk("1.5"));
    EXPECT_TRUE(clsDefLens::SERIES_Chk("0"));
    EXPECT_TRUE(clsDefLens::SERIES_Chk("21"));
    EXPECT_FALSE(clsDefLens::SERIES_Chk("22"));
    EXPECT_TRUE(clsDefLens::SERIES_Chk("-3"));
    EXPECT_THROW(clsDefLens::SERIES_Chk("99999"), RunTimeError);
}

TEST(Lens, GetOpeStrExample) {
    clsDefLens l;
    l.SetData(0, 3, 5, 7, 10, 0.17f, 1.4f);
    EXPECT_EQ(l.GetOpeStr(), "35064011578");
}

TEST(Lens, GetOpeStrRateThirtyFiveAndZero) {
    clsDefLens l;
    l.SetData(0, 3, 5, 0, 35, 0.17f, 1.4f);
    EXPECT_EQ(l.GetOpeStr().mid(2, 3), "15E");
    l.setRate(0);
    EXPECT_EQ(l.GetOpeStr().mid(2, 3), "000");
    EXPECT_EQ(clsDefLens().GetOpeStr(), "00000000000");
}

TEST(Lens, GetOpeStrHexadecimalAndLastThreeDigits) {
    clsDefLens l;
    l.SetData(0, 21, 11, 0, 1, 40, 2);
    // 21, "B", 10 = "00A", 4000 = "FA0", 2000 = "7D0"
    EXPECT_EQ(l.GetOpeStr(), "21B00AFA07D0");
    l.setRate(0.25f); // 2.5 rounds half to even: 2
    EXPECT_EQ(l.GetOpeStr().mid(3, 3), "002");
    l.setRate(0.35f); // 3.5 as a Single is 3.5: rounds to 4
    EXPECT_EQ(l.GetOpeStr().mid(3, 3), "004");
}

TEST(Lens, SetDataKeepsTextsSetDataClsKeepsNumber) {
    clsDefLens a;
    a.setName("A");
    a.setSeriesName("S");
    a.setTypeName("T");
    a.SetData(7, 3, 5, 1, 20, 1.1f, 0.75f);
    EXPECT_EQ(a.Name(), "A");
    EXPECT_EQ(a.SeriesName(), "S");
    EXPECT_EQ(a.TypeName(), "T");
    EXPECT_EQ(a.Number(), 7);

    clsDefLens b;
    b.setNumber(2);
    b.setName("B");
    b.SetData_cls(a);
    EXPECT_EQ(b.Number(), 2);
    EXPECT_EQ(b.Name(), "B");
    EXPECT_EQ(b.Series(), 3);
    EXPECT_EQ(b.Type2(), 5);
    EXPECT_EQ(b.Type3(), 1);
    EXPECT_EQ(b.Rate(), 20.0f);
    EXPECT_EQ(b.WD(), 1.1f);
    EXPECT_EQ(b.NA(), 0.75f);
}

TEST(Lens, GetDataIsNewRecordWithTheCodedFieldsOnly) {
    clsDefLens a;
    a.setName("A");
    a.SetData(7, 3, 5, 1, 20, 1.1f, 0.75f);
    const clsDefLens c = a.GetData();
    EXPECT_EQ(c.Number(), 0);
    EXPECT_EQ(c.Name(), "-------");
    EXPECT_TRUE(c.IsEqualParam(a));
}

TEST(Lens, IsEqualParamIgnoresNumberAndNames) {
    clsDefLens a, b;
    a.SetData(1, 3, 5, 1, 20, 1.1f, 0.75f);
    b.SetData(9, 3, 5, 1, 20, 1.1f, 0.75f);
    b.setName("other");
    EXPECT_TRUE(a.IsEqualParam(b));
    b.setType3(2);
    EXPECT_FALSE(a.IsEqualParam(b));
    b.setType3(1);
    b.setNA(0.7500001f);
    EXPECT_FALSE(a.IsEqualParam(b));
}
