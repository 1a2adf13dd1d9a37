// The record of one user observation method: initial values, the transfer of
// the eleven positions, the user memories and the text forms.
#include "core/base/ErrorNumberOf.h"
#include "core/base/RunTimeError.h"
#include "models/profiles/clsDefProfile.h"

#include <gtest/gtest.h>

#include <functional>

TEST(Profile, NewRecordHasInitialValues) {
    clsDefProfile p;
    EXPECT_EQ(p.OBSERVATION(), 0);
    EXPECT_EQ(p.Name(), "User");
    EXPECT_EQ(p.Obj_ADDRESS(), 1);
    EXPECT_EQ(p.Filter_ADDRESS(), 1);
    EXPECT_EQ(p.Cond_ADDRESS(), 1);
    EXPECT_EQ(p.AStop(), 0);
    EXPECT_EQ(p.FStop(), 0);
    EXPECT_EQ(p.ND(), 0);
    EXPECT_EQ(p.LAMP(), 0);
    EXPECT_EQ(p.ANALYZER(), 0);
    EXPECT_EQ(p.SHUTTER(), 0);
    EXPECT_EQ(p.PATH(), 0);
    EXPECT_EQ(p.ZOOM(), 0);
    EXPECT_EQ(p.MIC(), 1);
    EXPECT_EQ(p.HBX_B(), 1);
    EXPECT_EQ(p.HBX_A(), 1);
    EXPECT_EQ(p.Obj_Link(), 0);
    EXPECT_EQ(p.Path_Link(), 0);
    EXPECT_EQ(p.Zoom_Link(), 0);
    for (int16_t a = 0; a <= 7; ++a) {
        EXPECT_EQ(p.Get_UmemAS(a), 0.0);
        EXPECT_EQ(p.Get_UmemFS(a), 0.0);
        EXPECT_EQ(p.Get_UmemND(a), 0.0);
    }
}

TEST(Profile, PropertyPairsStore) {
    clsDefProfile p;
    p.setOBSERVATION(9);
    p.setName("Fluorescence GFP");
    p.setObj_ADDRESS(3);
    p.setFilter_ADDRESS(4);
    p.setCond_ADDRESS(6);
    p.setAStop(1);
    p.setFStop(2);
    p.setND(3);
    p.setLAMP(4);
    p.setANALYZER(-1);
    p.setSHUTTER(3);
    p.setPATH(2);
    p.setZOOM(13);
    p.setMIC(0);
    p.setHBX_B(0);
    p.setHBX_A(0);
    p.setObj_Link(1);
    p.setPath_Link(1);
    p.setZoom_Link(1);
    EXPECT_EQ(p.OBSERVATION(), 9);
    EXPECT_EQ(p.Name(), "Fluorescence GFP"); // the 15-character limit is the editor's
    EXPECT_EQ(p.Obj_ADDRESS(), 3);
    EXPECT_EQ(p.Filter_ADDRESS(), 4);
    EXPECT_EQ(p.Cond_ADDRESS(), 6);
    EXPECT_EQ(p.AStop(), 1);
    EXPECT_EQ(p.FStop(), 2);
    EXPECT_EQ(p.ND(), 3);
    EXPECT_EQ(p.LAMP(), 4);
    EXPECT_EQ(p.ANALYZER(), -1);
    EXPECT_EQ(p.SHUTTER(), 3);
    EXPECT_EQ(p.PATH(), 2);
    EXPECT_EQ(p.ZOOM(), 13);
    EXPECT_EQ(p.MIC(), 0);
    EXPECT_EQ(p.HBX_B(), 0);
    EXPECT_EQ(p.HBX_A(), 0);
    EXPECT_EQ(p.Obj_Link(), 1);
    EXPECT_EQ(p.Path_Link(), 1);
    EXPECT_EQ(p.Zoom_Link(), 1);
}

TEST(Profile, ReadAfterGetGivesBackTheSameElevenValues) {
    clsDefProfile p;
    // Argument order: lamp, ND, FS, condenser, AS, filter, shutter, analyzer,
    // objective, path, zoom.
    p.Get_ObservationPosition(7, 3, 2, 1, 5, 2, 4, 4, 3, 6, 3, 13);
    EXPECT_EQ(p.LAMP(), 3);
    EXPECT_EQ(p.ND(), 2);
    EXPECT_EQ(p.FStop(), 1);
    EXPECT_EQ(p.Cond_ADDRESS(), 5);
    EXPECT_EQ(p.AStop(), 2);
    EXPECT_EQ(p.Filter_ADDRESS(), 4);
    EXPECT_EQ(p.SHUTTER(), 4);
    EXPECT_EQ(p.ANALYZER(), 3);
    EXPECT_EQ(p.Obj_ADDRESS(), 6);
    EXPECT_EQ(p.PATH(), 3);
    EXPECT_EQ(p.ZOOM(), 13);

    int32_t lamp = -9, nd = -9, fs = -9, con = -9, as = -9, filter = -9, shutter = -9, ana = -9,
            obj = -9, path = -9, zoom = -9;
    p.Read_ObservationPosition(0, lamp, nd, fs, con, as, filter, shutter, ana, obj, path, zoom);
    EXPECT_EQ(lamp, 3);
    EXPECT_EQ(nd, 2);
    EXPECT_EQ(fs, 1);
    EXPECT_EQ(con, 5);
    EXPECT_EQ(as, 2);
    EXPECT_EQ(filter, 4);
    EXPECT_EQ(shutter, 4);
    EXPECT_EQ(ana, 3);
    EXPECT_EQ(obj, 6);
    EXPECT_EQ(path, 3);
    EXPECT_EQ(zoom, 13);
}

TEST(Profile, GetObservationPositionIgnoresSelectOb) {
    clsDefProfile a, b;
    a.Get_ObservationPosition(7, 4, 0, 3, 1, 3, 2, 3, 4, 2, 1, 5);
    b.Get_ObservationPosition(12, 4, 0, 3, 1, 3, 2, 3, 4, 2, 1, 5);
    int32_t v[2][11];
    a.Read_ObservationPosition(0, v[0][0], v[0][1], v[0][2], v[0][3], v[0][4], v[0][5], v[0][6], v[0][7],
                               v[0][8], v[0][9], v[0][10]);
    b.Read_ObservationPosition(0, v[1][0], v[1][1], v[1][2], v[1][3], v[1][4], v[1][5], v[1][6], v[1][7],
                               v[1][8], v[1][9], v[1][10]);
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(v[0][i], v[1][i]) << i;
    EXPECT_EQ(a.OBSERVATION(), 0);
}

TEST(Profile, PathBeyondSixteenBitsOverflows) {
    clsDefProfile p;
    EXPECT_EQ(errorNumber([&] { p.Get_ObservationPosition(7, 3, 2, 1, 5, 2, 4, 4, 3, 6, 70000, 13); }),
              RunTimeError::Overflow);
    // Fields before PATH in the setting order were stored, those after it not.
    EXPECT_EQ(p.Obj_ADDRESS(), 6);
    EXPECT_EQ(p.Cond_ADDRESS(), 5);
    EXPECT_EQ(p.ZOOM(), 0);
    EXPECT_EQ(p.LAMP(), 0);
}

TEST(Profile, UserMemoryZeroAllowedEightIsBoundsError) {
    clsDefProfile p;
    EXPECT_EQ(p.Get_UmemAS(0), 0.0);
    EXPECT_EQ(errorNumber([&] { p.Get_UmemAS(8); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { p.Get_UmemFS(-1); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { p.Get_UmemND(8); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { p.Put_UmemAS(8, 1); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { p.Put_UmemFS(8, 1); }), RunTimeError::SubscriptOutOfRange);
    EXPECT_EQ(errorNumber([&] { p.Put_UmemND(-1, 1); }), RunTimeError::SubscriptOutOfRange);
}

TEST(Profile, UserMemoriesAreSeparate) {
    clsDefProfile p;
    for (int16_t a = 0; a <= 7; ++a) {
        p.Put_UmemAS(a, 1.5 + a);
        p.Put_UmemFS(a, 10.25 + a);
        p.Put_UmemND(a, 50.0 + a);
    }
    for (int16_t a = 0; a <= 7; ++a) {
        EXPECT_EQ(p.Get_UmemAS(a), 1.5 + a);
        EXPECT_EQ(p.Get_UmemFS(a), 10.25 + a);
        EXPECT_EQ(p.Get_UmemND(a), 50.0 + a);
    }
}

TEST(Profile, StrShutterAndAnalyzer) {
    clsDefProfile p;
    const std::pair<int32_t, const char*> shutter[] = {{0, "CLOSE"}, {1, "OPEN"}, {-1, "No Device"},
                                                       {3, "UnKnown"}, {4, "UnKnown"}};
    for (const auto& [v, text] : shutter) {
        p.setSHUTTER(v);
        EXPECT_EQ(p.strSHUTTER(), QString::fromLatin1(text)) << v;
    }
    const std::pair<int32_t, const char*> analyzer[] = {{0, "OUT"}, {1, "IN"}, {-1, "No Device"},
                                                        {3, "UnKnown"}, {2, "UnKnown"}};
    for (const auto& [v, text] : analyzer) {
        p.setANALYZER(v);
        EXPECT_EQ(p.strANALYZER(), QString::fromLatin1(text)) << v;
    }
}

TEST(Profile, StrPathZeroIsUnknownTwoIsRear) {
    clsDefProfile p;
    EXPECT_EQ(p.strPATH(), "UnKnown");
    p.setPATH(-1);
    EXPECT_EQ(p.strPATH(), "No Device");
    p.setPATH(1);
    EXPECT_EQ(p.strPATH(), "BINOCULAR");
    p.setPATH(2);
    EXPECT_EQ(p.strPATH(), "REAR Port");
    p.setPATH(3);
    EXPECT_EQ(p.strPATH(), "FRONT Port");
    p.setPATH(4);
    EXPECT_EQ(p.strPATH(), "UnKnown");
}

TEST(Profile, StrSystemDoubleTestOfHbxA) {
    clsDefProfile p;
    EXPECT_EQ(p.strSYSTEM(), "Q7s +HBX-AHBX-B");
    p.setMIC(0);
    p.setHBX_A(0);
    EXPECT_EQ(p.strSYSTEM(), "");
    p.setMIC(1);
    EXPECT_EQ(p.strSYSTEM(), "Q7s +");
    p.setMIC(0);
    p.setHBX_A(1);
    p.setHBX_B(0);
    EXPECT_EQ(p.strSYSTEM(), "HBX-AHBX-B");
}

TEST(Profile, StrSystemWithHbxAZeroIgnoresHbxB) {
    clsDefProfile p;
    p.setHBX_A(0);
    p.setHBX_B(1);
    EXPECT_EQ(p.strSYSTEM(), "Q7s +");
    p.setHBX_B(0);
    EXPECT_EQ(p.strSYSTEM(), "Q7s +");
}
