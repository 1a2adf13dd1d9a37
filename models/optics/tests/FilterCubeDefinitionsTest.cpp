// The filter cube record: its fields, what travels in Copy, what Compare and
// IsEqualParam look at, and the operation string.
#include "models/optics/clsDefFillterCasette.h"

#include <gtest/gtest.h>

TEST(FilterCube, InitialValues) {
    clsDefFillterCasette c;
    EXPECT_EQ(c.Number(), 0);
    EXPECT_EQ(c.Name(), QString());
    EXPECT_EQ(c.Reiki(), 0);
    EXPECT_EQ(c.EXName(), QString());
    EXPECT_EQ(c.DM(), 0);
    EXPECT_EQ(c.DMName(), QString());
    EXPECT_EQ(c.Kyusyu(), 0);
    EXPECT_EQ(c.BAName(), QString());
    EXPECT_EQ(c.BaColor(), 0xFFFFFF);
    EXPECT_EQ(c.ExColor(), 0xFFFFFF);
    EXPECT_EQ(c.E_SET(), 0);
    EXPECT_EQ(c.B_SET(), 0);
}

TEST(FilterCube, SetDataKeepsPartNamesAndColours) {
    clsDefFillterCasette c;
    c.setEXName("EX470/40");
    c.setDMName("DM505");
    c.setBAName("BA520");
    c.setExColor(255);
    c.setBaColor(-1);
    c.setE_SET(1);
    c.setB_SET(1);
    c.SetData(12, "GFP", 5, 12, 240);
    EXPECT_EQ(c.Number(), 12);
    EXPECT_EQ(c.Name(), "GFP");
    EXPECT_EQ(c.Reiki(), 5);
    EXPECT_EQ(c.DM(), 12);
    EXPECT_EQ(c.Kyusyu(), 240);
    EXPECT_EQ(c.EXName(), "EX470/40");
    EXPECT_EQ(c.DMName(), "DM505");
    EXPECT_EQ(c.BAName(), "BA520");
    EXPECT_EQ(c.ExColor(), 255);
    EXPECT_EQ(c.BaColor(), -1);
    EXPECT_EQ(c.E_SET(), 1);
    EXPECT_EQ(c.B_SET(), 1);
}

TEST(FilterCube, CopyTakesTheFiveNotPartNamesOrColours) {
    clsDefFillterCasette a, b;
    a.SetData(12, "GFP", 5, 12, 240);
    a.setEXName("EX470/40");
    a.setExColor(255);
    a.setE_SET(1);
    b.Copy(a);
    EXPECT_TRUE(b.Compare(a));
    EXPECT_EQ(b.EXName(), QString());
    EXPECT_EQ(b.ExColor(), 0xFFFFFF);
    EXPECT_EQ(b.E_SET(), 0);
}

TEST(FilterCube, CompareWithRecordDifferingOnlyInBANameIsTrue) {
    clsDefFillterCasette a, b;
    a.SetData(12, "GFP", 5, 12, 240);
    b.SetData(12, "GFP", 5, 12, 240);
    b.setBAName("BA520");
    b.setBaColor(0x00FF00);
    EXPECT_TRUE(a.Compare(b));
    b.setName("gfp");
    EXPECT_FALSE(a.Compare(b)); // the name exactly
    b.setName("GFP");
    b.setDM(13);
    EXPECT_FALSE(a.Compare(b));
    b.setDM(12);
    b.setNumber(13);
    EXPECT_FALSE(a.Compare(b));
}

TEST(FilterCube, IsEqualParamIgnoresName) {
    clsDefFillterCasette a;
    a.SetData(12, "GFP", 5, 12, 240);
    EXPECT_TRUE(a.IsEqualParam(5, 12, 240));
    EXPECT_FALSE(a.IsEqualParam(5, 12, 241));
    EXPECT_FALSE(a.IsEqualParam(6, 12, 240));
    EXPECT_FALSE(a.IsEqualParam(5, 11, 240));
    clsDefFillterCasette b;
    b.SetData(30, "other name", 5, 12, 240);
    EXPECT_TRUE(b.IsEqualParam(a.Reiki(), a.DM(), a.Kyusyu()));
}

TEST(FilterCube, GetOpeStrZerosGiveSixZeros) {
    EXPECT_EQ(clsDefFillterCasette().GetOpeStr(), "000000");
}

TEST(FilterCube, GetOpeStrPadsToTwoDigitsNeverCuts) {
    clsDefFillterCasette c;
    c.SetData(1, "x", 5, 12, 240);
    EXPECT_EQ(c.GetOpeStr(), "0512240");
    c.SetData(1, "x", 249, 100, 7);
    EXPECT_EQ(c.GetOpeStr(), "24910007");
    c.SetData(1, "x", -5, 0, 1);
    EXPECT_EQ(c.GetOpeStr(), "-050001");
}
