// The event log export: the question and its buttons, Event.txt byte for
// byte from every unit present, 100 entries a unit, a damaged entry, a file
// that cannot be written, and the file handed to the desktop's text viewer.
#include "mainwindow/tools/tests/ToolRig.h"
#include "mainwindow/tools/EventLogExport.h"
#include "mainwindow/tools/frmEvent.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace {

QString loggedStand(const QByteArray& q7sLog) {
    return writtenStand(QStringLiteral("logged"), QByteArray(R"({"name": "Logged stand",
        "units": ["Q7s", "HBX-B", "HBX-A", "Z", "Tolva"],
        "eventLogs": {"Q7s": )") + q7sLog + R"(,
                      "HBX-B": ["B001Path 2"],
                      "HBX-A": ["A001Cube 3", "A002Shutter open"],
                      "Tolva": ["T001Start"],
                      "Z": ["Z001Home"]},
        "devices": {"Nosepiece": {}}})");
}

const QByteArray kQ7sLog = R"(["0001Power on", "0002Lamp 12.0V", "0003Temp 40\u00b0C"])";

QByteArray emptyLines(int n) {
    QByteArray b;
    for (int i = 0; i < n; ++i) b += "\r\n";
    return b;
}

QByteArray fileBytes(const QString& path) {
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray("<missing>");
}

} // namespace

TEST(EventLog, AsksItsQuestionWithYesAndNo) {
    ToolRig rig;
    auto* f = rig.show<frmEvent>("frmEvent");
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->windowTitle(), "Event Log");
    EXPECT_EQ(f->Label1->Caption(), "Do you get event log of microscope ?");
    EXPECT_EQ(f->cmdY->Caption(), "Yes");
    EXPECT_EQ(f->cmdN->Caption(), "No");
    EXPECT_FALSE(f->cmdY->accessibleName().isEmpty());
    PanelRig::click(f->cmdN);
    pumpEvents(50);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmEvent")), nullptr);
    EXPECT_TRUE(rig.boxes.texts().isEmpty());
    EXPECT_FALSE(QFile::exists(EventLogExport::FilePath()));
}

TEST(EventLog, EveryUnitPresentIsWrittenByteForByteAndAUnitNotAtOneAddsNoHeading) {
    const QString bin = testBin();
    standIn(bin + QStringLiteral("/xdg-open"));
    ToolRig rig({loggedStand(kQ7sLog)});
    rig.faults().killUnit(UnitIndex::HBX_B);   // its status word is no longer 1
    auto* f = rig.show<frmEvent>("frmEvent");
    ASSERT_NE(f, nullptr);
    PanelRig::click(f->cmdY);
    pumpEvents(50);

    const QString path = testHome() + QStringLiteral("/data/Korvu/MavrelTools/Event.txt");
    EXPECT_EQ(EventLogExport::FilePath(), path);
    const QByteArray expected = QByteArray("Q7s\r\nPower on\r\nLamp 12.0V\r\nTemp 40\xC2\xB0" "C\r\n") + emptyLines(97) +
                                "HBX-A\r\nCube 3\r\nShutter open\r\n" + emptyLines(98) + "Tolva\r\nStart\r\n" +
                                emptyLines(99);
    EXPECT_EQ(fileBytes(path), expected);

    ASSERT_EQ(rig.boxes.shown().size(), 1);
    EXPECT_EQ(rig.boxes.shown().first().text, QStringLiteral("Save file :  ") + path);
    EXPECT_EQ(rig.boxes.shown().first().title, "Event Log");
    // The file went to the desktop's text viewer, and the panel closed.
    EXPECT_EQ(recorded(bin + QStringLiteral("/xdg-open")).trimmed(), path);
    EXPECT_EQ(FormRegistry::loaded(QStringLiteral("frmEvent")), nullptr);
}

TEST(EventLog, AlwaysExactlyOneHundredEntriesAUnitAreRead) {
    testBin();
    ToolRig rig;
    const QByteArray text = EventLogExport::Read(&rig.mic);
    int units = 0;
    for (int16_t u : {UnitIndex::Q7s, UnitIndex::HBX_A, UnitIndex::HBX_B, UnitIndex::Tolva})
        units += rig.mic.DeviceStatus(u) == 1 ? 1 : 0;
    EXPECT_EQ(text.count("\r\n"), units * 101);
    EXPECT_EQ(text.count('\n'), text.count("\r\n"));
}

TEST(EventLog, WithNoMicroscopeTheFileIsStillCreatedEmptyAndOpened) {
    const QString bin = testBin();
    const QString viewer = bin + QStringLiteral("/xdg-open");
    QFile::remove(viewer + QStringLiteral(".log"));
    standIn(viewer);
    ToolRig rig;
    mainState().MicConnected = false;
    QFile::remove(EventLogExport::FilePath());
    auto* f = rig.show<frmEvent>("frmEvent");
    ASSERT_NE(f, nullptr);
    PanelRig::click(f->cmdY);
    pumpEvents(50);
    EXPECT_TRUE(QFile::exists(EventLogExport::FilePath()));
    EXPECT_EQ(fileBytes(EventLogExport::FilePath()), QByteArray());
    EXPECT_EQ(rig.boxes.texts(), QStringList{QStringLiteral("Save file :  ") + EventLogExport::FilePath()});
    EXPECT_EQ(recorded(viewer).trimmed(), EventLogExport::FilePath());
}

TEST(EventLog, AnEntryShorterThanFourCharactersEndsTheExportWithTheMessageAndKeepsTheOldFile) {
    testBin();
    const QString path = EventLogExport::FilePath();
    QDir().mkpath(QFileInfo(path).absolutePath());
    {
        QFile old(path);
        old.open(QIODevice::WriteOnly | QIODevice::Truncate);
        old.write("the last export\r\n");
    }
    ToolRig rig({loggedStand(R"(["0001Power on", "02"])")});
    auto* f = rig.show<frmEvent>("frmEvent");
    ASSERT_NE(f, nullptr);
    PanelRig::click(f->cmdY);
    pumpEvents(50);
    EXPECT_EQ(rig.boxes.texts(), QStringList{"Dievice_EventLog Catch Error"});
    EXPECT_NE(FormRegistry::loaded(QStringLiteral("frmEvent")), nullptr);   // the panel stays
    EXPECT_EQ(fileBytes(path), QByteArray("the last export\r\n"));
}

TEST(EventLog, AFileThatCannotBeWrittenGivesTheExportsOneMessageAndThePanelStays) {
    testBin();
    const QString path = EventLogExport::FilePath();
    QFile::remove(path);
    QDir().mkpath(path);   // a folder where the file should be: nothing can replace it
    ToolRig rig;
    auto* f = rig.show<frmEvent>("frmEvent");
    ASSERT_NE(f, nullptr);
    PanelRig::click(f->cmdY);
    pumpEvents(50);
    EXPECT_EQ(rig.boxes.texts(), QStringList{"Dievice_EventLog Catch Error"});
    EXPECT_NE(FormRegistry::loaded(QStringLiteral("frmEvent")), nullptr);
    QDir(path).removeRecursively();
}

TEST(EventLog, AReadOnlyFolderGivesTheMessage) {
    if (geteuid() == 0)
        GTEST_SKIP() << "root writes into read-only folders";
    testBin();
    const QString folder = QFileInfo(EventLogExport::FilePath()).absolutePath();
    QDir().mkpath(folder);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner);
    ToolRig rig;
    auto* f = rig.show<frmEvent>("frmEvent");
    PanelRig::click(f->cmdY);
    pumpEvents(50);
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    EXPECT_EQ(rig.boxes.texts(), QStringList{"Dievice_EventLog Catch Error"});
}

TEST(EventLog, WithoutATextViewerThePathIsShown) {
    QFile::remove(testBin(true) + QStringLiteral("/xdg-open"));   // nothing on PATH but an empty folder
    ToolRig rig;
    auto* f = rig.show<frmEvent>("frmEvent");
    ASSERT_NE(f, nullptr);
    PanelRig::click(f->cmdY);
    pumpEvents(50);
    ASSERT_EQ(rig.boxes.shown().size(), 2);
    EXPECT_TRUE(rig.boxes.shown().at(1).text.endsWith(EventLogExport::FilePath()));
    testBin();
}
