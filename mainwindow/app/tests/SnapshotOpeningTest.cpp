// What the operator sees does not depend on how the values were read: every
// shipped microscope is opened by the real main window through the real
// service process, once with the service's Snapshot and once from a service
// started without it (one read at a time), and the two windows are the same,
// picture and every label, with the same boxes; so are the device panels
// opened from their buttons, and so is an opening with a unit that does not
// answer, whose reads fail where the single reads fail.
#include "MainWindowTestSupport.h"
#include "ServiceProcess.h"

#include "core/service/dbus/DBusMicroscopeService.h"
#include "core/service/dbus/DBusStandControl.h"
#include "core/service/dbus/BusLayout.h"
#include "core/settings/SettingsPaths.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"
#include "state/FormRegistry.h"

#include <QImage>
#include <QLabel>
#include <QStandardPaths>
#include <QTest>
#include <gtest/gtest.h>

#include <map>

namespace {

template <typename Pred>
bool waitFor(Pred done, int limitMs = 60000)
{
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < limitMs)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

QString pathOf(const QWidget* w, const QWidget* root)
{
    QStringList parts;
    for (const QWidget* p = w; p && p != root; p = p->parentWidget())
        parts.prepend(p->objectName().isEmpty() ? QString::fromLatin1(p->metaObject()->className()) : p->objectName());
    return parts.join('/');
}

// Every named widget: shown or not, usable or not, and its text.
QStringList stateOf(QWidget* root)
{
    QStringList out{QStringLiteral("title=") + root->windowTitle()};
    for (QWidget* w : root->findChildren<QWidget*>()) {
        if (w->objectName().isEmpty())
            continue;
        QString line = pathOf(w, root) + QStringLiteral(" shown=%1 enabled=%2").arg(w->isVisibleTo(root)).arg(w->isEnabled());
        if (auto* l = qobject_cast<PanelLabel*>(w))
            line += QStringLiteral(" caption=") + l->Caption();
        else if (auto* l = qobject_cast<QLabel*>(w))
            line += QStringLiteral(" text=") + l->text();
        if (!w->toolTip().isEmpty())
            line += QStringLiteral(" tip=") + w->toolTip();
        out << line;
    }
    out.sort();
    return out;
}

// One opening's record: the window and each device panel.
struct Seen {
    QStringList boxes;
    QStringList window;
    QImage picture;
    std::map<QString, QStringList> panels;
    std::map<QString, QImage> panelPictures;
};

// Starts from the same settings each time: no window places, no links.
void forgetSettings()
{
    QFile::remove(SettingsPaths::MainIni());
    QDir(QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/Zentor"))
        .removeRecursively();
}

Seen openAndLook(const QStringList& args, bool withPanels)
{
    forgetSettings();
    Seen seen;
    MsgBox::Recorder boxes;
    ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<DBusMicroscopeService>();
    });
    {
        frmMain w(QStringList{QStringLiteral("zentor")} + args);
        w.show();
        EXPECT_TRUE(waitFor([&] { return !w.FirstActivate && mainState().MicConnected; }))
            << boxes.texts().join('|').toStdString();
        pump(50);
        seen.window = stateOf(&w);
        seen.picture = w.grab().toImage();
        if (withPanels) {
            const auto buttons = devicePanelButtons(w.ui);
            for (const auto& entry : buttons) {
                const char* form = entry.first;
                usrButton* button = entry.second;
                if (!button || !button->isVisibleTo(&w))
                    continue;
                QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
                QWidget* panel = nullptr;
                if (!waitFor([&] { return (panel = FormRegistry::loaded(QLatin1String(form))) && panel->isVisible(); },
                             10000))
                    continue;
                pump(50);
                seen.panels[QLatin1String(form)] = stateOf(panel);
                seen.panelPictures[QLatin1String(form)] = panel->grab().toImage();
                QTest::mouseClick(button, Qt::LeftButton, {}, button->rect().center());
                waitFor([&] { return FormRegistry::loaded(QLatin1String(form)) == nullptr; }, 10000);
            }
        }
        seen.boxes = boxes.texts();
        w.close();
    }
    ServiceSource::setMaker({});
    return seen;
}

void expectAlike(const Seen& a, const Seen& b, const std::string& what)
{
    EXPECT_EQ(a.boxes.join(QLatin1Char('|')).toStdString(), b.boxes.join(QLatin1Char('|')).toStdString()) << what;
    EXPECT_EQ(a.window, b.window) << what;
    EXPECT_TRUE(a.picture == b.picture) << what << ": the windows' pictures differ";
    EXPECT_EQ(a.panels.size(), b.panels.size()) << what;
    for (const auto& [form, state] : a.panels) {
        const auto other = b.panels.find(form);
        ASSERT_NE(other, b.panels.end()) << what << " " << form.toStdString();
        EXPECT_EQ(state, other->second) << what << " " << form.toStdString();
        EXPECT_TRUE(a.panelPictures.at(form) == b.panelPictures.at(form))
            << what << " " << form.toStdString() << ": the panels' pictures differ";
    }
}

QStringList serviceArguments(bool snapshot)
{
    QStringList args{QStringLiteral("--descriptions-dir"), QStringLiteral(ZENTOR_STAND_DESCRIPTIONS),
                     QStringLiteral("--speed"), QStringLiteral("0"), QStringLiteral("--no-fiber"),
                     QStringLiteral("--state-file"),
                     testHome() + (snapshot ? QStringLiteral("/state/with.json") : QStringLiteral("/state/without.json"))};
    if (!snapshot)
        args << QStringLiteral("--interface-version") << QStringLiteral("1.0");
    return args;
}

// Opens microscope `index` of the service's list: the simulated one by /SIM,
// the others by the operator's choice in the microscope dialog (its row is
// the index less one, the simulated microscope not being listed).
QStringList opening(int index)
{
    if (index == 0)
        return {QStringLiteral("/SIM")};
    answerDialogLater(index - 1);
    return {};
}

} // namespace

TEST(SnapshotOpening, EveryMicroscopeAndPanelLooksTheSameWithAndWithoutSnapshot)
{
    std::map<bool, std::vector<Seen>> seen;
    QStringList names;
    for (const bool snapshot : {true, false}) {
        ServiceProcess service;
        ASSERT_TRUE(service.start(serviceArguments(snapshot))) << service.error().toStdString();
        {
            DBusMicroscopeService lister;
            names = lister.GetDeviceNames();
        }
        ASSERT_GE(names.size(), 9);
        // The device panels of four systems are opened too.
        const QStringList withPanels{names.value(0), QStringLiteral("Q7s Full System"), QStringLiteral("E-LM-K System"),
                                     QStringLiteral("Q7s Manual Path 0")};
        for (int i = 0; i < names.size(); ++i)
            seen[snapshot].push_back(openAndLook(opening(i), withPanels.contains(names[i])));
        service.stop();
    }
    for (int i = 0; i < names.size(); ++i) {
        EXPECT_TRUE(seen[true][i].window.contains(QStringLiteral("title=Zentor  [ ") + names[i] + QStringLiteral(" ]")))
            << names[i].toStdString();
        expectAlike(seen[true][i], seen[false][i], names[i].toStdString());
    }
    const int full = static_cast<int>(names.indexOf(QStringLiteral("Q7s Full System")));
    ASSERT_GT(full, 0);
    EXPECT_GE(seen[true][full].panels.size(), 12u);
    // The pictures of the full system, kept for a look.
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    seen[true][full].picture.save(dir + QStringLiteral("/full-system-with-snapshot.png"));
    seen[false][full].picture.save(dir + QStringLiteral("/full-system-one-by-one.png"));
    for (const auto& [form, picture] : seen[true][full].panelPictures)
        picture.save(dir + QLatin1Char('/') + form + QStringLiteral("-with-snapshot.png"));
}

TEST(SnapshotOpening, AUnitThatDoesNotAnswerFailsTheSameWayWithAndWithoutSnapshot)
{
    std::map<bool, Seen> seen;
    for (const bool snapshot : {true, false}) {
        ServiceProcess service;
        ASSERT_TRUE(service.start(serviceArguments(snapshot))) << service.error().toStdString();
        QStringList names;
        {
            DBusMicroscopeService lister;
            names = lister.GetDeviceNames();
        }
        // The focus controller of the full system is dead before the opening.
        const int full = static_cast<int>(names.indexOf(QStringLiteral("Q7s Full System")));
        ASSERT_GT(full, 0);
        DBusStandControl(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService, full)
            .killUnit(UnitIndex::ZController);
        DBusStandControl(QDBusConnection::sessionBus(), ZentorBus::MicroscopeService, full)
            .killUnit(UnitIndex::Q7s);
        seen[snapshot] = openAndLook(opening(full), true);
        service.stop();
    }
    EXPECT_FALSE(seen[true].boxes.isEmpty());
    expectAlike(seen[true], seen[false], "dead units");
}
