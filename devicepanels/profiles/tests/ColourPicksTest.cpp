// The operator's filter colours: the EX and BA areas of the light path
// drawing open the colour dialog (answered by the test), the choice is drawn
// at once and kept in FilterColor.txt for that cube, a cancel keeps -1, and
// the picker's sample patch shows the dialog's last answer.
#include "EditorTestSupport.h"

#include "widgets/usrPath_M.h"
#include "models/optics/FilterColorFile.h"
#include "models/optics/WaveColor.h"
#include "devicepanels/profiles/ColourPicker.h"
#include "devicepanels/profiles/ColourPicks.h"
#include "widgets/Units.h"
#include "widgets/usrButton.h"

#include <QSignalSpy>

namespace {

// A stand with one catalogue cube (number 3) at address 2.
QString cubeStand() {
    const QString path = testHome() + QStringLiteral("/cubes.json");
    writeFile(path, R"({"name": "Cubes", "units": ["Q7s"], "camera": null, "devices": {"FilterBlockCassette": {}},
        "filters": [{"number": 1, "name": "NONE", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""},
                    {"number": 3, "name": "BLUE-EX470", "reiki": 100, "dm": 5, "kyusyu": 101,
                     "ex": "BP455-485", "dmName": "DM495", "ba": "LP505"},
                    {"number": 7, "name": "Other", "reiki": 250, "dm": 0, "kyusyu": 250,
                     "ex": "EX470/40", "dmName": "", "ba": "BA520"},
                    {"number": 0, "name": "", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""}]})");
    return path;
}

// Line n of FilterColor.txt as written at unload.
QByteArray colourLine(int n) {
    const QString path = testHome() + QStringLiteral("/FilterColor.txt");
    EXPECT_TRUE(FilterColor_Write(mainState().mFColor, true, path));
    const QByteArray text = readFile(path);
    EXPECT_EQ(text.count("\r\n"), kFilterColorCount);
    return text.split('\n').value(n - 1);
}

class ColourTest : public EditorTest {
protected:
    void SetUp() override {
        EditorTest::SetUp();
        openStand(1, {cubeStand()});
        mainState().mFilter.setAddress(2);
        path.setScopeType(1);
        path.resize(300, 232);
        path.show();
        int32_t l = 0, r = 0;
        ColourPicks::Color_Set(mainState(), &path, ColourPicks::Excitation, l, r);
        ColourPicks::Color_Set(mainState(), &path, ColourPicks::Barrier, l, r);
    }
    usrPath_M path;
};

} // namespace

TEST_F(ColourTest, TheCubeShowsItsWavelengthsColoursUntilTheOperatorChooses) {
    EXPECT_EQ(path.ExColor(), Wave_RGB(470));
    EXPECT_EQ(path.BaColor(), Wave_RGB(505));
    EXPECT_EQ(colourLine(3), QByteArray("3,16777215,16777215,0,0\r"));
}

TEST_F(ColourTest, AChosenColourIsDrawnAtOnceAndKeptForThatCube) {
    int32_t offered = 0;
    Dialogs::Answerer answer({}, [&](int32_t initial) {
        offered = initial;
        return 0x123456;
    });
    ColourPicks::Choose(mainState(), &path, ColourPicks::Excitation, &path, 0x3A2420);
    EXPECT_EQ(offered, 0x3A2420);
    EXPECT_EQ(path.ExColor(), 0x123456);
    EXPECT_EQ(colourLine(3), QByteArray("3,1193046,16777215,1,0\r"));
    // Showing the cube again keeps the choice.
    int32_t l = 0, r = 0;
    ColourPicks::Color_Set(mainState(), &path, ColourPicks::Excitation, l, r);
    EXPECT_EQ(path.ExColor(), 0x123456);
    ColourPicks::Choose(mainState(), &path, ColourPicks::Barrier, &path, 0);
    EXPECT_EQ(path.BaColor(), 0x123456);
    EXPECT_EQ(colourLine(3), QByteArray("3,1193046,1193046,1,1\r"));
    EXPECT_EQ(colourLine(2), QByteArray("2,16777215,16777215,0,0\r"));
}

TEST_F(ColourTest, ACancelledColourDialogKeepsMinusOneAndTheFileStoresIt) {
    Dialogs::Answerer answer({}, [](int32_t) { return -1; });
    ColourPicks::Choose(mainState(), &path, ColourPicks::Excitation, &path, 0);
    const clsDefFillterCasette& c = FilterColor_Item(mainState().mFColor, 3);
    EXPECT_EQ(c.ExColor(), -1);
    EXPECT_EQ(c.E_SET(), 1);
    EXPECT_EQ(colourLine(3), QByteArray("3,-1,16777215,1,0\r"));
    EXPECT_EQ(answer.asked(), QList<Dialogs::Kind>{Dialogs::Colour});
}

TEST_F(ColourTest, ACubeWithoutAFilterOffersNoColour) {
    mainState().mFilter.setAddress(1);
    Dialogs::Answerer answer({}, [](int32_t) { return 0x00FF00; });
    ColourPicks::Choose(mainState(), &path, ColourPicks::Excitation, &path, 0);
    EXPECT_TRUE(answer.asked().isEmpty());
    EXPECT_FALSE(ColourPicks::Choosable(mainState(), ColourPicks::Barrier));
}

TEST_F(ColourTest, TheFilterAreasOfTheDrawingTellWhichFilterAndWhichButton) {
    QSignalSpy picked(&path, &usrPath_M::ColorPicked);
    ASSERT_TRUE(path.HasColorArea(1));
    const QPoint ex = path.colorAreaRect(1).center();
    const QPoint ba = path.colorAreaRect(2).center();
    EXPECT_FALSE(path.colorAreaRect(1).intersects(path.colorAreaRect(2)));
    QTest::mouseClick(&path, Qt::LeftButton, Qt::NoModifier, ex);
    QTest::mouseClick(&path, Qt::RightButton, Qt::NoModifier, ba);
    QTest::mouseClick(&path, Qt::LeftButton, Qt::NoModifier, QPoint(5, 5));
    ASSERT_EQ(picked.size(), 2);
    EXPECT_EQ(picked[0][0].toInt(), 1);
    EXPECT_EQ(picked[0][1].toInt(), 1);
    EXPECT_EQ(picked[1][0].toInt(), 2);
    EXPECT_EQ(picked[1][1].toInt(), 2);
    // The pointer's tip over a filter says what a click does.
    EXPECT_TRUE(path.colorAreaTip(ex).startsWith(QStringLiteral("Excitation filter: click")));
    EXPECT_TRUE(path.colorAreaTip(ba).startsWith(QStringLiteral("Barrier filter: click")));
    EXPECT_TRUE(path.colorAreaTip(QPoint(5, 5)).isEmpty());
    // A drawing without an epi illuminator has no filters to pick.
    path.setScopeType(0);
    EXPECT_FALSE(path.HasColorArea(1));
    QTest::mouseClick(&path, Qt::LeftButton, Qt::NoModifier, ex);
    EXPECT_EQ(picked.size(), 2);
}

TEST_F(ColourTest, ThePickersStripRunsThroughTheFiltersWavelengthsAndAClickTakesItsColour) {
    usrButton anchor;
    anchor.show();
    ColourPicker* picker = ColourPicker::open(ColourPicks::Excitation, &path, &anchor);
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->objectName(), QStringLiteral("frmExColor"));
    ASSERT_TRUE(picker->strip->isVisible());
    QDir().mkpath(testHome() + QStringLiteral("/screens"));
    EXPECT_TRUE(picker->grab().save(testHome() + QStringLiteral("/screens/colour-picker-ex.png")));
    int32_t left = 0, right = 0;
    Strip_Set(455, 485, left, right);
    const int w = picker->strip->width();
    EXPECT_EQ(picker->strip->colorAt(0), left);
    EXPECT_EQ(picker->strip->colorAt(w / 2), Strip_LineColor(left, right, w, w / 2));
    QTest::mouseClick(picker->strip, Qt::LeftButton, Qt::NoModifier, QPoint(w / 2, 5));
    EXPECT_EQ(path.ExColor(), Strip_LineColor(left, right, w, w / 2));
    EXPECT_EQ(colourLine(3), QByteArray("3,") + QByteArray::number(path.ExColor()) + ",16777215,1,0\r");
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    EXPECT_EQ(ColourPicker::current(), nullptr);
}

TEST_F(ColourTest, ThePickersColourButtonAsksTheDialogAndACancelKeepsMinusOne) {
    usrButton anchor;
    anchor.show();
    Dialogs::Answerer answer({}, [](int32_t) { return -1; });
    ColourPicker* picker = ColourPicker::open(ColourPicks::Barrier, &path, &anchor);
    ASSERT_NE(picker, nullptr);
    QTest::mouseClick(picker->selColor, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    EXPECT_EQ(answer.asked(), QList<Dialogs::Kind>{Dialogs::Colour});
    EXPECT_EQ(path.BaColor(), -1);
    EXPECT_EQ(colourLine(3), QByteArray("3,16777215,-1,0,1\r"));
    // The picker has no way back to the wavelength's colour.
    picker = ColourPicker::open(ColourPicks::Barrier, &path, &anchor);
    ASSERT_NE(picker, nullptr);
    for (usrButton* b : picker->findChildren<usrButton*>())
        EXPECT_EQ(b, picker->selColor) << b->Caption().toStdString();
    picker->close();
}

TEST_F(ColourTest, TheSamplePatchShowsTheColourDialogsLastAnswer) {
    usrButton anchor;
    anchor.show();
    Dialogs::Answerer answer({}, [](int32_t) { return 0x123456; });
    ColourPicker* picker = ColourPicker::open(ColourPicks::Excitation, &path, &anchor);
    ASSERT_NE(picker, nullptr);
    QTest::mouseClick(picker->selColor, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    picker = ColourPicker::open(ColourPicks::Excitation, &path, &anchor);
    ASSERT_NE(picker, nullptr);
    ASSERT_TRUE(picker->sample->isVisible());
    const QImage seen = picker->sample->grab().toImage();
    EXPECT_EQ(seen.pixelColor(seen.width() / 2, seen.height() / 2), zentor::colorFromBgr(0x123456));
    // A pick on the strip is the drawing's colour, not the dialog's answer.
    QTest::mouseClick(picker->strip, Qt::LeftButton, Qt::NoModifier, QPoint(4, 5));
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    picker = ColourPicker::open(ColourPicks::Excitation, &path, &anchor);
    ASSERT_NE(picker, nullptr);
    const QImage again = picker->sample->grab().toImage();
    EXPECT_EQ(again.pixelColor(again.width() / 2, again.height() / 2), zentor::colorFromBgr(0x123456));
    picker->close();
}

TEST_F(ColourTest, NoPickerOpensForACubeWithoutAFilter) {
    mainState().mFilter.setAddress(1);
    usrButton anchor;
    EXPECT_EQ(ColourPicker::open(ColourPicks::Excitation, &path, &anchor), nullptr);
}

TEST_F(ColourTest, ACubeCodedTwoHundredFiftyLeavesTheDrawingUntouchedAndOffersNoPicker) {
    mainState().mFilter.setAddress(3);
    int32_t l = 0, r = 0;
    ColourPicks::Color_Set(mainState(), &path, ColourPicks::Excitation, l, r);
    ColourPicks::Color_Set(mainState(), &path, ColourPicks::Barrier, l, r);
    EXPECT_EQ(path.ExColor(), Wave_RGB(470));
    EXPECT_EQ(path.BaColor(), Wave_RGB(505));
    usrButton anchor;
    EXPECT_EQ(ColourPicker::open(ColourPicks::Barrier, &path, &anchor), nullptr);
}
