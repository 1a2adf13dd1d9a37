// The observation entries: clicks, colours, hover and the marking of the
// active method.
#include "PanelTestSupport.h"
#include "stand/StandControl.h"

namespace {

using ObservationTest = PanelTest;

TEST_F(ObservationTest, ABuiltInClickSendsTheMethodButLightsNothingUntilTheServiceReports)
{
    connectStand(0);
    panel->labObserve_Click(2);
    EXPECT_EQ(mic->PresetsObservationMode(), 2);
    EXPECT_EQ(panel->ObservationShown, 2);
    EXPECT_NE(panel->btnObserve[2]->BackColor(), MainPanel::kSelected);
    EXPECT_EQ(panel->labObserve[2]->ForeColor(), MainPanel::kText);
    EXPECT_TRUE(panel->isEnabled());
    EXPECT_EQ(QApplication::overrideCursor(), nullptr);
}

} // namespace
