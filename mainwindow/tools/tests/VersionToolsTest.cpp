// The version panel (the program's version from the build, the firmware of
// every unit present, the hubs' shared line) and the sibling programs started
// with their arguments and path rules.
#include "mainwindow/tools/tests/ToolRig.h"
#include "core/base/Version.h"
#include "mainwindow/tools/SiblingTools.h"
#include "mainwindow/tools/frmVersion2.h"
#include "widgets/PanelControls.h"

#include <gtest/gtest.h>

namespace {
QString hubs(const QString& name, const QByteArray& units) {
    return writtenStand(name, QByteArray(R"({"name": "Hubs", "units": )") + units + R"(,
        "versions": {"Q7s": "V1.10", "HBX-A": "A2.00", "HBX-B": "B3.00", "E-LM-K": "E4.00",
                     "Tolva": "TOLVA:1.40", "Z": "Z5.00"},
        "devices": {"Nosepiece": {}}})");
}
} // namespace

TEST(VersionPanel, ShowsTheProgramsVersionFromTheBuild) {
    ToolRig rig;
    auto* v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->windowTitle(), "Version");
    EXPECT_EQ(v->txtApp->Caption(), QStringLiteral("V%1.%2.%3")
                                         .arg(ZentorVersion::Major)
                                         .arg(ZentorVersion::Minor)
                                         .arg(ZentorVersion::Revision));
    EXPECT_TRUE(QString::fromLatin1(ZentorVersion::Text).startsWith(
        QStringLiteral("%1.%2").arg(ZentorVersion::Major).arg(ZentorVersion::Minor)));
}

TEST(VersionPanel, EveryUnitPresentShowsItsFirmwareAndTolvaItsNumberBehindV) {
    ToolRig rig({hubs(QStringLiteral("all"), R"(["Q7s", "HBX-A", "Z", "Tolva"])")});
    auto* v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->txtQ7s->Caption(), "V1.10");
    EXPECT_EQ(v->txtZ->Caption(), "Z5.00");
    EXPECT_EQ(v->labZ->Caption(), "Focus Drive :");
    EXPECT_EQ(v->txtTolva->Caption(), "V1.40");
    EXPECT_EQ(v->labHBX->Caption(), "HBX-A :");
    EXPECT_EQ(v->txtHBX->Caption(), "A2.00");
    for (QWidget* w : {v->labQ7s, v->labZ, v->labTolva, v->txtQ7s, v->txtZ, v->txtTolva, v->txtHBX})
        EXPECT_TRUE(w->isVisible()) << w->objectName().toStdString();
    // The hub line's caption follows its last row, the E-LM-K's, absent here.
    EXPECT_FALSE(v->labHBX->isVisible());
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
}

TEST(VersionPanel, WithBothHbxAAndHbxBPresentTheHbxBLineShows) {
    ToolRig rig({hubs(QStringLiteral("both"), R"(["Q7s", "HBX-A", "HBX-B"])")});
    auto* v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->labHBX->Caption(), "HBX-B :");
    EXPECT_EQ(v->txtHBX->Caption(), "B3.00");
    EXPECT_TRUE(v->txtHBX->isVisible());
    EXPECT_FALSE(v->labHBX->isVisible());
    EXPECT_FALSE(v->labTolva->isVisible());
    EXPECT_FALSE(v->labZ->isVisible());
    // An absent unit hides its caption only: its value stays, empty.
    EXPECT_TRUE(v->txtTolva->isVisible());
    EXPECT_TRUE(v->txtTolva->Caption().isEmpty());
}

TEST(VersionPanel, AHubPresentLastShowsItsCaptionOnTheSharedLine) {
    ToolRig rig({hubs(QStringLiteral("hub-a-elmk"), R"(["Q7s", "HBX-A", "E-LM-K"])")});
    auto* v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_TRUE(v->labHBX->isVisible());
    EXPECT_EQ(v->labHBX->Caption(), "E-LM-K :");
    EXPECT_EQ(v->txtHBX->Caption(), "E4.00");
}

TEST(VersionPanel, TheEpiIlluminatorWinsTheHubLineWhenPresentLast) {
    ToolRig rig({hubs(QStringLiteral("elmk"), R"(["HBX-B", "E-LM-K"])")});
    auto* v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_EQ(v->labHBX->Caption(), "E-LM-K :");
    EXPECT_EQ(v->txtHBX->Caption(), "E4.00");
    EXPECT_FALSE(v->labQ7s->isVisible());
}

namespace {
struct HubLine {
    bool captionShown;
    QString caption, value;
};

// The version panel of a shipped stand description, its picture kept.
HubLine versionPanelOf(const char* stand) {
    ToolRig rig({shippedStand(stand)});
    auto* v = rig.show<frmVersion2>("frmVersion2");
    EXPECT_NE(v, nullptr);
    if (!v)
        return {};
    EXPECT_TRUE(rig.boxes.texts().isEmpty()) << rig.boxes.texts().join('|').toStdString();
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    const QString name = QString::fromLatin1(stand).replace(QStringLiteral(".json"), QStringLiteral(".png"));
    EXPECT_TRUE(v->grab().save(dir + QStringLiteral("/version-") + name));
    return {v->labHBX->isVisible(), v->labHBX->Caption(), v->txtHBX->Caption()};
}
} // namespace

TEST(VersionPanel, EachShippedHubConfigurationShowsItsHubLineRowByRow) {
    // Both hubs with the stand: HBX-B's version, the caption hidden by the
    // E-LM-K row.
    HubLine full = versionPanelOf("full-system.json");
    EXPECT_FALSE(full.captionShown);
    EXPECT_EQ(full.value, QStringLiteral("B2.05"));
    // A hub without the stand: the same, and no stand line caption.
    HubLine hub = versionPanelOf("hbxb-without-q7s.json");
    EXPECT_FALSE(hub.captionShown);
    EXPECT_EQ(hub.caption, QStringLiteral("HBX-B :"));
    EXPECT_EQ(hub.value, QStringLiteral("B2.05"));
    // The epi illuminator, last in the table, shows its caption.
    HubLine elmk = versionPanelOf("elmk-without-q7s.json");
    EXPECT_TRUE(elmk.captionShown);
    EXPECT_EQ(elmk.caption, QStringLiteral("E-LM-K :"));
    EXPECT_EQ(elmk.value, QStringLiteral("E1.02"));
    HubLine stand = versionPanelOf("no-condenser-elmk.json");
    EXPECT_TRUE(stand.captionShown);
    EXPECT_EQ(stand.value, QStringLiteral("E1.02"));
}

TEST(VersionPanel, AUnitThatDisappearsBetweenTwoOpeningsHidesItsLineTheNextTime) {
    ToolRig rig({hubs(QStringLiteral("vanish"), R"(["Q7s", "HBX-A", "Z", "Tolva"])")});
    auto* v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_TRUE(v->labTolva->isVisible());
    PanelRig::click(v->btnClose);
    pumpEvents(50);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmVersion2")), nullptr);
    rig.faults().killUnit(UnitIndex::Tolva);
    v = rig.show<frmVersion2>("frmVersion2");
    ASSERT_NE(v, nullptr);
    EXPECT_FALSE(v->labTolva->isVisible());
    EXPECT_TRUE(v->txtTolva->Caption().isEmpty());
    EXPECT_TRUE(v->labQ7s->isVisible());
}

// --- sibling programs ------------------------------------------------------------------

namespace {
SiblingTools::Context at(const QString& program, bool connected, bool sim, int mic = 2) {
    SiblingTools::Context c;
    c.programPath = program;
    c.connected = connected;
    c.simulation = sim;
    c.selectedMic = mic;
    c.micName = QStringLiteral("Full system");
    return c;
}
} // namespace

TEST(SiblingTools, TheStandSwitchGetsNothingSimOrTheMicroscopesNumber) {
    using SiblingTools::Tool;
    const QString dir = testHome() + QStringLiteral("/opt/app");
    const QString exe = dir + QStringLiteral("/Q7s_Switch");
    QFile::remove(exe + QStringLiteral(".log"));
    standIn(exe);
    MsgBox::Recorder boxes;
    ASSERT_TRUE(SiblingTools::Launch(Tool::StandSwitch, at(dir + QStringLiteral("/zentor"), false, false)));
    ASSERT_TRUE(SiblingTools::Launch(Tool::StandSwitch, at(dir + QStringLiteral("/zentor"), true, true)));
    ASSERT_TRUE(SiblingTools::Launch(Tool::StandSwitch, at(dir + QStringLiteral("/zentor"), true, false, 3)));
    QStringList runs = recorded(exe, 3).split(QLatin1Char('\n'));
    runs.removeLast();   // after the last line's end
    ASSERT_EQ(runs.size(), 3);
    // Detached programs may finish in any order; their arguments are what counts.
    EXPECT_TRUE(runs.contains(QString()));
    EXPECT_TRUE(runs.contains("/SIM"));
    EXPECT_TRUE(runs.contains("3"));
    EXPECT_TRUE(boxes.texts().isEmpty());
}

TEST(SiblingTools, TheControllerSwitchComesFromSharedBinUnderKorvuWhenConnected) {
    using SiblingTools::Tool;
    const QString korvu = testHome() + QStringLiteral("/Korvu");
    const QString program = korvu + QStringLiteral("/MavrelTools/zentor");
    EXPECT_EQ(SiblingTools::ExecutablePath(Tool::ControllerSwitch, at(program, true, false)),
              korvu + QStringLiteral("/Shared/Bin/TolvaControl"));
    EXPECT_EQ(SiblingTools::ExecutablePath(Tool::ControllerSwitch, at(program, false, false)),
              korvu + QStringLiteral("/MavrelTools/TolvaControl"));
    const QString shared = korvu + QStringLiteral("/Shared/Bin/TolvaControl");
    QFile::remove(shared + QStringLiteral(".log"));
    standIn(shared);
    MsgBox::Recorder boxes;
    ASSERT_TRUE(SiblingTools::Launch(Tool::ControllerSwitch, at(program, true, true)));
    EXPECT_EQ(recorded(shared).trimmed(), "/SIM");
    // Not connected: the program's own folder, where there is none.
    EXPECT_FALSE(SiblingTools::Launch(Tool::ControllerSwitch, at(program, false, false)));
    EXPECT_EQ(boxes.texts(), QStringList{"The EXE does not exist."});
}

TEST(SiblingTools, TheSetUpToolGetsSimTheMicroscopesNameOrNothing) {
    using SiblingTools::Tool;
    const QString program = QStringLiteral("/x/zentor");
    EXPECT_EQ(SiblingTools::Arguments(Tool::SetupTool, at(program, true, true)), QStringList{"/SIM"});
    EXPECT_EQ(SiblingTools::Arguments(Tool::SetupTool, at(program, true, false)), QStringList{"Full system"});
    EXPECT_TRUE(SiblingTools::Arguments(Tool::SetupTool, at(program, false, false)).isEmpty());
    EXPECT_EQ(SiblingTools::ExecutablePath(Tool::SetupTool, at(program, true, false)), "/x/Bratis");
}

TEST(SiblingTools, AMissingToolGivesTheMessageAndAToolThatCannotRunSaysSo) {
    using SiblingTools::Tool;
    const QString dir = testHome() + QStringLiteral("/opt/broken");
    QDir().mkpath(dir);
    MsgBox::Recorder boxes;
    EXPECT_FALSE(SiblingTools::Launch(Tool::SetupTool, at(dir + QStringLiteral("/zentor"), false, false)));
    EXPECT_EQ(boxes.texts(), QStringList{"The EXE does not exist."});
    boxes.clear();
    // There but not executable.
    standIn(dir + QStringLiteral("/Bratis"), false);
    EXPECT_FALSE(SiblingTools::Launch(Tool::SetupTool, at(dir + QStringLiteral("/zentor"), false, false)));
    ASSERT_EQ(boxes.texts().size(), 1);
    EXPECT_TRUE(boxes.texts().first().contains(QStringLiteral("could not be started")));
}

TEST(SiblingTools, TheProgramsOwnFolderIsWhereTheStandSwitchIsLookedFor) {
    using SiblingTools::Tool;
    const QString exe = QCoreApplication::applicationDirPath() + QStringLiteral("/Q7s_Switch");
    QFile::remove(exe + QStringLiteral(".log"));
    standIn(exe);
    ToolRig rig;
    mainState().SimMode = true;
    ASSERT_TRUE(SiblingTools::Launch(Tool::StandSwitch, SiblingTools::current(0, QStringLiteral("Sim"))));
    EXPECT_EQ(recorded(exe).trimmed(), "/SIM");
    QFile::remove(exe);
    QFile::remove(exe + QStringLiteral(".log"));
    EXPECT_FALSE(SiblingTools::Launch(Tool::StandSwitch, SiblingTools::current(0, QStringLiteral("Sim"))));
    EXPECT_EQ(rig.boxes.texts(), QStringList{"The EXE does not exist."});
}
