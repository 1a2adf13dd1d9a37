// The main panel's way into the observation profiles: btnProfile opens the
// editor, the names it sends caption the user entries, and the filter colour
// areas of the drawing take the operator's colours.
#include "PanelTestSupport.h"

#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"
#include "models/optics/WaveColor.h"
#include "devicepanels/profiles/ColourPicker.h"
#include "devicepanels/profiles/Dialogs.h"
#include "devicepanels/profiles/frmProfile.h"
#include "state/DeviceTables.h"

#include <QLineEdit>
#include <QTabBar>

using ProfilesTest = PanelTest;

TEST_F(ProfilesTest, TheProfileButtonOpensTheEditorAndItsNamesCaptionTheUserEntries) {
    connectStand();
    MsgBox::Recorder rec;
    panel->show();
    panel->btnProfile->setEnabled(true);
    QTest::mouseClick(panel->btnProfile, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    frmProfile* f = frmProfile::loaded();
    ASSERT_NE(f, nullptr);
    EXPECT_TRUE(f->isVisible());
    // A second click brings the same editor forward.
    QTest::mouseClick(panel->btnProfile, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    EXPECT_EQ(frmProfile::loaded(), f);

    f->tabProfile->setCurrentIndex(3);
    f->txtSel->setFocus();
    f->txtSel->selectAll();
    QTest::keyClicks(f->txtSel, QStringLiteral("Ph 20x"));
    QTest::mouseClick(f->btnSend, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    EXPECT_TRUE(rec.texts().isEmpty()) << rec.texts().join('|').toStdString();
    EXPECT_EQ(panel->labObserveU[4]->Caption(), QStringLiteral("Ph 20x"));
    EXPECT_EQ(mic->ObservationName(10), QStringLiteral("Ph 20x"));
    delete f;
}

TEST_F(ProfilesTest, TheFilterAreasOfTheDrawingChooseTheCubesColoursAndARightClickDoesNothing) {
    const QString stand = writeDescription(QStringLiteral("cubes.json"),
        R"({"name": "Cubes", "units": ["Q7s"], "camera": null, "devices": {"FilterBlockCassette": {}},
            "filters": [{"number": 1, "name": "NONE", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""},
                        {"number": 3, "name": "BLUE-EX470", "reiki": 100, "dm": 5, "kyusyu": 101,
                         "ex": "BP455-485", "dmName": "DM495", "ba": "LP505"},
                        {"number": 0, "name": "", "reiki": 0, "dm": 0, "kyusyu": 0, "ex": "", "dmName": "", "ba": ""}]})");
    connectStand(1, {stand});
    MainState& st = mainState();
    ASSERT_TRUE(FilterCube_Init(st));
    st.mFilter.setAddress(2);
    panel->show();
    usrPath_M* path = panel->usrMainPath;
    path->setScopeType(1);
    ASSERT_TRUE(path->HasColorArea(1));
    Dialogs::Answerer answer({}, [](int32_t) { return 0x0000FF; });
    // The filter on the drawing opens the picker; its colour button the dialog.
    QTest::mouseClick(path, Qt::LeftButton, Qt::NoModifier, path->colorAreaRect(1).center());
    ColourPicker* picker = ColourPicker::current();
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->part(), ColourPicks::Excitation);
    EXPECT_TRUE(answer.asked().isEmpty());
    QTest::mouseClick(picker->selColor, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    EXPECT_EQ(answer.asked(), QList<Dialogs::Kind>{Dialogs::Colour});
    EXPECT_EQ(path->ExColor(), 0x0000FF);
    EXPECT_EQ(FilterColor_Item(st.mFColor, 3).E_SET(), 1);
    // A right click neither clears the choice nor opens anything.
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QTest::mouseClick(path, Qt::RightButton, Qt::NoModifier, path->colorAreaRect(1).center());
    EXPECT_EQ(path->ExColor(), 0x0000FF);
    EXPECT_EQ(FilterColor_Item(st.mFColor, 3).E_SET(), 1);
    EXPECT_EQ(ColourPicker::current(), nullptr);
    EXPECT_EQ(answer.asked().size(), 1);
    // The BA button beside the drawing opens the barrier's picker; its strip gives a colour at once.
    QTest::mouseClick(panel->btnBa, Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
    picker = ColourPicker::current();
    ASSERT_NE(picker, nullptr);
    EXPECT_EQ(picker->part(), ColourPicks::Barrier);
    ASSERT_TRUE(picker->strip->isVisible());
    const int32_t under = picker->strip->colorAt(20);
    QTest::mouseClick(picker->strip, Qt::LeftButton, Qt::NoModifier, QPoint(20, 5));
    EXPECT_EQ(path->BaColor(), under);
    EXPECT_EQ(FilterColor_Item(st.mFColor, 3).BaColor(), under);
    EXPECT_EQ(FilterColor_Item(st.mFColor, 3).B_SET(), 1);
    EXPECT_EQ(answer.asked().size(), 1);
}
