// Opening a device panel costs one round trip to the microscope service: the
// real main window on the real service process, each device panel opened
// from its button, and a bus monitor counting the calls of each opening (the
// Snapshot goes first, a command the panel sends goes right behind it
// without waiting, and the client counts one round trip). A panel opened
// again asks for the reads it made the first time alone (SnapshotOf), still
// in one round trip (a panel of one read asks that read); a service of
// interface 1.1 is asked the whole Snapshot
// each time. Read one value at a time, the same openings take more: the
// count sees the reads.
#include "BusMonitor.h"
#include "MainWindowTestSupport.h"
#include "ServiceProcess.h"
#include "WaitUntil.h"

#include "core/service/dbus/DBusMicroscopeService.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "state/FormRegistry.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QTest>
#include <gtest/gtest.h>

#include <cstdio>
#include <map>
#include <vector>

namespace {

// The panel shows the service's values once its reading is filled in.
bool filled(QWidget* panel)
{
    auto* reading = panel->findChild<PanelLabel*>(QStringLiteral("txtSel"));
    return !reading || !reading->Caption().isEmpty();
}

struct Opening {
    BusMonitor::Count seen;       // by the bus monitor
    uint64_t clientTrips = 0;     // by the panel's own client
};

using Openings = std::map<QString, Opening>;   // by the panel's form

// Opens each device panel of the connected microscope from its button and
// closes it again; the calls of each opening, from the press to the panel
// filled.
Openings openEachPanel(frmMain& w, BusMonitor& monitor)
{
    Openings out;
    const auto buttons = devicePanelButtons(w.ui);
    for (const auto& [formName, button] : buttons) {
        const QString form = QLatin1String(formName);
        if (!button || !button->isVisibleTo(&w))
            continue;
        pump(50);
        monitor.mark();
        const uint64_t trips = DBusMicroscopeService::roundTrips();
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
        QWidget* panel = nullptr;
        const bool shown = waitUntil([&] {
            return (panel = FormRegistry::loaded(form)) && panel->isVisible() && filled(panel);
        });
        EXPECT_TRUE(shown) << formName;
        // Whatever the monitor has yet to print of the opening.
        pump(100);
        out[form] = {monitor.count("/org/zentor/Microscope"), DBusMicroscopeService::roundTrips() - trips};
        QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
        waitUntil([&] { return FormRegistry::loaded(form) == nullptr; });
    }
    return out;
}

class PanelRoundTrips : public ::testing::Test {
protected:
    void SetUp() override
    {
        ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
            return std::make_unique<DBusMicroscopeService>();
        });
    }
    void startService(const QStringList& extra = {})
    {
        ASSERT_TRUE(m_service.start(QStringList{QStringLiteral("--stand"), standFile("full-system.json"),
                                                QStringLiteral("--speed"), QStringLiteral("0"),
                                                QStringLiteral("--no-fiber"), QStringLiteral("--state-file"),
                                                testHome() + QStringLiteral("/state/panel-round-trips.json")} +
                                    extra))
            << m_service.error().toStdString();
    }
    void TearDown() override
    {
        DBusMicroscopeService::setSnapshotsUsed(true);
        ServiceSource::setMaker({});
        m_service.stop();
    }

    // The full system opened (a list of one opens at once), its panels opened
    // one by one, `rounds` times over.
    std::vector<Openings> openPanels(QStringList& boxes, int rounds = 1)
    {
        MsgBox::Recorder recorder;
        std::vector<Openings> out;
        {
            frmMain w(QStringList{QStringLiteral("zentor")});
            w.show();
            EXPECT_TRUE(waitUntil([&] { return !w.FirstActivate && mainState().MicConnected; }, 60000))
                << recorder.texts().join('|').toStdString();
            // The lamp panel shows its reading with the lamp on.
            if (mainState().micService->LampIsOn() == 0)
                mainState().micService->LampOn();
            BusMonitor monitor;
            EXPECT_TRUE(monitor.running());
            for (int round = 0; round < rounds; ++round)
                out.push_back(openEachPanel(w, monitor));
            w.close();
        }
        boxes = recorder.texts();
        return out;
    }

    // A service started with `extra`, each panel opened twice, and no box.
    std::vector<Openings> openEachPanelTwice(const QStringList& extra)
    {
        startService(extra);
        QStringList boxes;
        const std::vector<Openings> rounds = openPanels(boxes, 2);
        EXPECT_TRUE(boxes.isEmpty()) << boxes.join('|').toStdString();
        return rounds;
    }

    ServiceProcess m_service;
};

} // namespace

// Each opening is one picture (`picture`: Snapshot or SnapshotOf) and the
// commands the panel sends while it fills, in one round trip.
void expectOneRoundTrip(const Openings& openings, const QString& picture, const char* round)
{
    EXPECT_EQ(openings.size(), 12u);
    for (const auto& [form, opening] : openings) {
        const QStringList& calls = opening.seen.members;
        const std::string seen = form.toStdString() + ": " + calls.join(QStringLiteral(", ")).toStdString();
        // The picture goes first; any call after it is a command the panel
        // sends while it fills (sent behind the picture, not after its
        // answer: the client counts one round trip).
        ASSERT_FALSE(calls.isEmpty()) << seen;
        // A panel of one read asks that read itself in place of its SnapshotOf.
        const QString first = calls.first().section(QLatin1Char(' '), 1);
        const bool oneRead = picture == QLatin1String("SnapshotOf") && !first.startsWith(QLatin1String("Snapshot")) &&
                             !first.startsWith(QLatin1String("set"));
        EXPECT_TRUE(first == picture || oneRead) << round << " " << seen;
        for (const QString& call : calls.mid(1))
            EXPECT_TRUE(call.section(QLatin1Char(' '), 1).startsWith(QStringLiteral("set"))) << seen;
        EXPECT_EQ(opening.clientTrips, 1u) << seen;
        std::printf("%s %s with %s: %d calls, %d round trips seen at the bus (%llu counted by the client)\n", round,
                    qPrintable(form), qPrintable(picture), opening.seen.calls, opening.seen.roundTrips,
                    static_cast<unsigned long long>(opening.clientTrips));
    }
    // The objective panel writes the link before it reads the position: the
    // command goes right behind the picture.
    const auto objective = openings.find(QStringLiteral("frmSubObj"));
    ASSERT_NE(objective, openings.end());
    EXPECT_EQ(objective->second.seen.members.size(), 2) << objective->second.seen.members.join(", ").toStdString();
}

TEST_F(PanelRoundTrips, EveryDevicePanelOpensInOneRoundTripAndAgainWithWhatItReadAlone)
{
    const std::vector<Openings> rounds = openEachPanelTwice({});
    ASSERT_EQ(rounds.size(), 2u);
    expectOneRoundTrip(rounds[0], QStringLiteral("Snapshot"), "first");
    expectOneRoundTrip(rounds[1], QStringLiteral("SnapshotOf"), "again");
    // The ND filter panel makes one read: it asks that read itself.
    const auto nd = rounds[1].find(QStringLiteral("frmSubND"));
    ASSERT_NE(nd, rounds[1].end());
    ASSERT_EQ(nd->second.seen.members.size(), 1);
    const QString ndRead = nd->second.seen.members.first().section(QLatin1Char(' '), 1);
    EXPECT_FALSE(ndRead.startsWith(QLatin1String("Snapshot")) || ndRead.startsWith(QLatin1String("set")))
        << ndRead.toStdString();
    const auto focus = rounds[1].find(QStringLiteral("frmSubZ"));
    ASSERT_NE(focus, rounds[1].end());
    EXPECT_EQ(focus->second.seen.members, QStringList{QStringLiteral("/org/zentor/Microscope/1 SnapshotOf")});
}

TEST_F(PanelRoundTrips, AServiceOfInterface11IsAskedTheWholeSnapshotEachTime)
{
    const std::vector<Openings> rounds =
        openEachPanelTwice({QStringLiteral("--interface-version"), QStringLiteral("1.1")});
    ASSERT_EQ(rounds.size(), 2u);
    expectOneRoundTrip(rounds[0], QStringLiteral("Snapshot"), "first");
    expectOneRoundTrip(rounds[1], QStringLiteral("Snapshot"), "again");
}

TEST_F(PanelRoundTrips, ReadOneValueAtATimeTheSameOpeningsTakeMoreRoundTrips)
{
    startService();
    DBusMicroscopeService::setSnapshotsUsed(false);
    QStringList boxes;
    const Openings openings = openPanels(boxes).at(0);
    EXPECT_TRUE(boxes.isEmpty()) << boxes.join('|').toStdString();
    EXPECT_EQ(openings.size(), 12u);
    int trips = 0;
    for (const auto& [form, opening] : openings) {
        std::printf("%s one at a time: %d round trips, %d calls\n", qPrintable(form), opening.seen.roundTrips,
                    opening.seen.calls);
        EXPECT_EQ(opening.seen.calls, opening.seen.roundTrips) << form.toStdString();
        EXPECT_EQ(opening.clientTrips, uint64_t(opening.seen.roundTrips)) << form.toStdString();
        EXPECT_FALSE(opening.seen.members.join(' ').contains(QStringLiteral(" Snapshot"))) << form.toStdString();
        trips += opening.seen.roundTrips;
    }
    EXPECT_GT(trips, 2 * int(openings.size()));
    const auto objective = openings.find(QStringLiteral("frmSubObj"));
    ASSERT_NE(objective, openings.end());
    EXPECT_GE(objective->second.seen.roundTrips, 2);
}

