// The user entries of the main panel take the stand's method names when a
// microscope is opened; a name of blanks shows "User" and its number.
#include "MainWindowTestSupport.h"

#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/PanelControls.h"

#include <gtest/gtest.h>

TEST(ObservationNames, AUserNameOfBlanksShowsUserAndItsNumber) {
    MsgBox::Recorder rec;
    MainRun run({});
    bool named = false;
    run.service->stand(0)->invoke(QStringLiteral("setObservationName"), {9, QStringLiteral("   ")},
                                  [&](const StandResult& r) { named = r.error == 0; });
    run.service->stand(0)->invoke(QStringLiteral("setObservationName"), {10, QStringLiteral(" DAPI ")},
                                  [](const StandResult&) {});
    ASSERT_TRUE(named);
    frmMain* w = run.start({QStringLiteral("/SIM")});
    ASSERT_TRUE(mainState().MicConnected) << rec.texts().join('|').toStdString();
    EXPECT_EQ(run.ui()->labObserveU[3]->Caption(), QStringLiteral("User3"));
    EXPECT_EQ(run.ui()->labObserveU[1]->Caption(), QStringLiteral("User1"));
    EXPECT_EQ(run.ui()->labObserveU[4]->Caption().trimmed(), QStringLiteral("DAPI"));
    w->close();
}
