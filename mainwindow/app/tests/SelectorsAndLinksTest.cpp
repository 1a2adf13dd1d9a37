// The main window's side of the turret and light path panels: the drop-down
// selectors and txtAdd command the same devices as the panels and the open
// panels follow through the dispatch; the link boxes on the main panel and
// on the panels show one flag; the light path diagram's outlets, function
// keys and service key.
#include "MainWindowTestSupport.h"

#include "devicepanels/optics/CondenserPanel.h"
#include "devicepanels/optics/FilterCubePanel.h"
#include "devicepanels/optics/LightPathPanel.h"
#include "devicepanels/optics/ObjectivePanel.h"
#include "state/FormRegistry.h"
#include "core/settings/SettingsPaths.h"
#include "widgets/PanelControls.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath.h"
#include "widgets/usrPath_M.h"
#include "stand/SimulatedMicroscope.h"

#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>

namespace {

struct Window {
    MsgBox::Recorder rec;
    MainRun run;
    frmMain* w = nullptr;
    explicit Window(const QStringList& stands = {standFile("full-system.json")}) : run(stands) {
        QFile::remove(SettingsPaths::MainIni());
        w = run.start();
        rec.clear();
    }
    MainPanel* ui() const { return w->ui; }
    MicroscopeService& svc() const { return *mainState().micService; }
    StandControl& faults() { return run.service->stand(1)->control(); }

    template <typename Panel>
    Panel* open(usrButton* const buttons[2], const char* form) {
        QTest::mouseClick(buttons[0], Qt::LeftButton, {}, buttons[0]->rect().center());
        pump(30);
        return qobject_cast<Panel*>(FormRegistry::loaded(QLatin1String(form)));
    }
    void click(QWidget* box) {
        QTest::mouseClick(box, Qt::LeftButton, {}, QPoint(8, box->height() / 2));
        pump();
    }
};

} // namespace

TEST(Selectors, TheObjectiveSelectorMovesTheNosepieceAndTheOpenPanelFollows) {
    Window m;
    m.svc().setNosepiecePosition(1);
    pump();
    auto* p = m.open<frmSubObj>(m.ui()->btnObj, "frmSubObj");
    ASSERT_NE(p, nullptr);
    m.ui()->downObj_Click();
    ASSERT_TRUE(m.ui()->picSelect->isVisible());
    EXPECT_EQ(m.ui()->SelectDevice, 1);
    QTest::mouseClick(m.ui()->txtAdd, Qt::LeftButton, {}, m.ui()->txtAdd->rowRect(3).center());
    pump();
    EXPECT_EQ(m.svc().NosepiecePosition(), 3);
    EXPECT_FALSE(m.ui()->picSelect->isVisible());
    EXPECT_EQ(m.ui()->ObjCmd[0]->Caption(), QStringLiteral("3: PA  PlanApo 20x/0.75"));
    EXPECT_EQ(p->txtAdd->Address(), 3);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("3 :PA PlanApo 20x/0.75"));
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(Selectors, TheCubeAndCondenserSelectorsMoveTheirTurretsAndTheOpenPanelsFollow) {
    Window m;
    auto* cube = m.open<frmSubFilter>(m.ui()->btnFilter, "frmSubFilter");
    auto* cond = m.open<frmSubCond>(m.ui()->btnCond, "frmSubCond");
    ASSERT_TRUE(cube && cond);
    m.ui()->downFilter_Click();
    emit m.ui()->txtAdd->AddressPicked(4);
    pump();
    EXPECT_EQ(m.svc().FilterBlockCassettePosition(), 4);
    EXPECT_EQ(cube->txtSel->Caption(), QStringLiteral("4 : GREEN-EX545"));
    m.ui()->downCon_Click();
    EXPECT_EQ(m.ui()->SelectDevice, 3);
    emit m.ui()->txtAdd->AddressPicked(5);
    pump();
    EXPECT_EQ(m.svc().CondenserCassettePosition(), 5);
    EXPECT_EQ(m.ui()->CONcmd[0]->Caption(), QStringLiteral("5 : Ph2"));
    EXPECT_EQ(cond->txtSel->Caption(), QStringLiteral("5 : Ph2"));
    EXPECT_EQ(cond->txtAdd->Address(), 5);
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(Selectors, APositionBeyondTheLimitsOrAStalledTurretGivesTheRefusalTextAndChangesNothing) {
    Window m;
    m.svc().setNosepiecePosition(2);
    pump();
    auto* p = m.open<frmSubObj>(m.ui()->btnObj, "frmSubObj");
    ASSERT_NE(p, nullptr);
    m.ui()->downObj_Click();
    emit m.ui()->txtAdd->AddressPicked(9);
    m.faults().stallDevice(DeviceIndex::FilterBlockCassette);
    m.ui()->downFilter_Click();
    emit m.ui()->txtAdd->AddressPicked(3);
    m.faults().clearFaults();
    pump();
    EXPECT_EQ(m.rec.texts(), (QStringList{QStringLiteral("Position_Change Limitation"),
                                          QStringLiteral("Position_Change TimeOut Error")}));
    EXPECT_EQ(m.svc().NosepiecePosition(), 2);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("2 :PA  PlanApo 10x/0.40"));
    EXPECT_TRUE(m.ui()->txtAdd->isEnabled());
}

TEST(Links, ObjLinkAndThePanelsLinkBoxShowOneFlagBothWays) {
    Window m;
    auto* p = m.open<frmSubObj>(m.ui()->btnObj, "frmSubObj");
    ASSERT_NE(p, nullptr);
    m.ui()->ObjLink->setValue(0);
    p->chkLink->setValue(0);
    m.ui()->downObj_Click();
    ASSERT_TRUE(m.ui()->ObjLink->isVisible());
    const int before = m.svc().NosepieceIsInterlockEnabled();
    m.ui()->ObjLink->setValue(before != 0 ? 1 : 0);
    m.click(m.ui()->ObjLink);
    const int16_t now = m.ui()->ObjLink->Value();
    EXPECT_EQ(m.svc().NosepieceIsInterlockEnabled() != 0, now != 0);
    EXPECT_EQ(mainState().mObj.LINK(), now);
    EXPECT_EQ(p->chkLink->Value(), now);
    // And back from the panel, read back from the service.
    m.click(p->chkLink);
    EXPECT_EQ(p->chkLink->Value(), now == 0 ? 1 : 0);
    EXPECT_EQ(m.ui()->ObjLink->Value(), p->chkLink->Value());
    EXPECT_EQ(mainState().mObj.LINK(), p->chkLink->Value());
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(Links, ObjLinkIsGreyedForANosepieceTurnedByHand) {
    Window m({standFile("readonly-nosepiece.json")});
    m.ui()->downObj_Click();
    EXPECT_FALSE(m.ui()->ObjLink->isEnabled());
    auto* p = m.open<frmSubObj>(m.ui()->btnObj, "frmSubObj");
    ASSERT_NE(p, nullptr);
    EXPECT_FALSE(p->chkLink->isEnabled());
    EXPECT_EQ(p->chkLink->Value(), 1);
}

TEST(Links, PathLinkAndThePanelsLinkBoxShowOneFlagBothWays) {
    Window m;
    auto* p = m.open<frmSubPath>(m.ui()->btnFrmPath, "frmSubPath");
    ASSERT_NE(p, nullptr);
    ASSERT_TRUE(m.ui()->PathLink->isVisible());
    const int16_t was = m.ui()->PathLink->Value();
    m.click(m.ui()->PathLink);
    const int16_t now = m.ui()->PathLink->Value();
    ASSERT_NE(now, was);
    EXPECT_EQ(m.svc().LightPathDriveIsInterlockEnabled() != 0, now != 0);
    EXPECT_EQ(mainState().mPath.LINK(), now);
    EXPECT_EQ(p->chkLink->Value(), now);
    m.click(p->chkLink);
    EXPECT_EQ(m.ui()->PathLink->Value(), p->chkLink->Value());
    EXPECT_EQ(m.svc().LightPathDriveIsInterlockEnabled() != 0, p->chkLink->Value() != 0);
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(LightPathDiagram, AnOutletWritesTheLinkThenThePathAndThePanelFollows) {
    Window m;
    m.svc().setLightPathDriveLightPath(1);
    m.svc().setLightPathDriveIsInterlockEnabled(0);
    pump();
    auto* p = m.open<frmSubPath>(m.ui()->btnFrmPath, "frmSubPath");
    ASSERT_NE(p, nullptr);
    m.ui()->PathLink->setValue(1);
    emit m.ui()->usrMainPath->PathPicked(3);
    pump();
    EXPECT_EQ(m.svc().LightPathDriveIsInterlockEnabled(), 1);
    EXPECT_EQ(m.svc().LightPathDriveLightPath(), 3);
    EXPECT_EQ(m.ui()->LightPathCmd[0]->Caption(), QStringLiteral("Rear P"));
    EXPECT_EQ(p->usrPath->PathIndex(), 3);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("Rear P"));
    m.faults().killUnit(UnitIndex::Q7s);
    m.faults().killUnit(UnitIndex::HBX_A);
    m.faults().killUnit(UnitIndex::HBX_B);
    emit m.ui()->usrMainPath->PathPicked(1);
    m.faults().clearFaults();
    EXPECT_EQ(m.rec.texts(), QStringList{QStringLiteral("LightPathDrive_Change Error")});
}

TEST(LightPathDiagram, FunctionKeysPickObservationMethodsAndOtherKeysDoNothing) {
    Window m;
    emit m.ui()->usrMainPath->FunctionKey(113, 0);
    pump();
    EXPECT_EQ(m.svc().PresetsObservationMode(), 2);
    emit m.ui()->usrMainPath->FunctionKey(111, 0);
    emit m.ui()->usrMainPath->FunctionKey(124, 0);
    pump();
    EXPECT_EQ(m.svc().PresetsObservationMode(), 2);
    EXPECT_TRUE(m.rec.texts().isEmpty()) << m.rec.texts().join('|').toStdString();
}

TEST(LightPathDiagram, OnlyKeyCodeSevenAsksForTheCommandConsole) {
    Window m;
    QSignalSpy asked(m.w, &frmMain::CommandConsoleRequested);
    emit m.ui()->usrMainPath->ServiceKey(8);
    EXPECT_EQ(asked.count(), 0);
    emit m.ui()->usrMainPath->ServiceKey(7);
    EXPECT_EQ(asked.count(), 1);
    // From the keyboard: Ctrl+G on the diagram.
    m.ui()->usrMainPath->setFocus();
    QTest::keyClick(m.ui()->usrMainPath, Qt::Key_G, Qt::ControlModifier);
    EXPECT_EQ(asked.count(), 2);
}

TEST(LightPathDiagram, AClickOnTheDiagramClosesAnOpenSelector) {
    Window m;
    m.ui()->downCon_Click();
    ASSERT_TRUE(m.ui()->picSelect->isVisible());
    QTest::mouseClick(m.ui()->usrMainPath, Qt::LeftButton, {}, QPoint(5, 5));
    pump();
    EXPECT_FALSE(m.ui()->picSelect->isVisible());
}

TEST(DeadService, APanelLeftOpenShowsItsTextAndTheWindowStaysUsable) {
    Window m;
    auto* p = m.open<frmSubObj>(m.ui()->btnObj, "frmSubObj");
    ASSERT_NE(p, nullptr);
    const QString shown = p->txtSel->Caption();
    for (int16_t u = 1; u <= 6; ++u)
        m.faults().killUnit(u);
    emit p->txtAdd->AddressPicked(4);
    m.ui()->downFilter_Click();
    emit m.ui()->txtAdd->AddressPicked(2);
    EXPECT_EQ(m.rec.texts(), (QStringList{QStringLiteral("Position_Change Error"), QStringLiteral("Position_Change Error")}));
    EXPECT_EQ(p->txtSel->Caption(), shown);
    EXPECT_TRUE(p->txtAdd->isEnabled());
    m.faults().clearFaults();
    emit p->txtAdd->AddressPicked(4);
    pump();
    EXPECT_EQ(p->txtAdd->Address(), 4);
    EXPECT_EQ(p->txtSel->Caption(), QStringLiteral("4 :PA PlanApo 40x/0.95"));
}
