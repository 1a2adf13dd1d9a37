// End to end under an X server: the real main window, on the real session bus
// (a private one), against two real service processes, the microscope's and
// the fiber illuminator's. The fiber connects at start; a safety sensor
// tripped through the illuminator's fault interface greys its panel and
// frames; the event log is exported through the menu and handed to a text
// viewer; a raw command goes out from the console. The windows are saved as
// pictures in the test's home (screens/).
#include "mainwindow/app/tests/MainWindowTestSupport.h"
#include "mainwindow/app/ServiceChoice.h"
#include "core/service/dbus/BusLayout.h"
#include "core/service/dbus/DBusFiberService.h"
#include "mainwindow/tools/EventLogExport.h"
#include "mainwindow/tools/frmCommand.h"
#include "mainwindow/tools/frmEvent.h"
#include "mainwindow/tools/frmVersion2.h"
#include "devicepanels/fiber/frmSubFiber.h"
#include "devicepanels/fiber/mdlFiber.h"
#include "stand/service/tests/ServiceProcess.h"
#include "state/FormRegistry.h"
#include "widgets/usrAddress.h"
#include "widgets/usrButton.h"
#include "widgets/usrPath_M.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QScreen>
#include <QTest>
#include <csignal>
#include <gtest/gtest.h>

namespace {

QString screens() {
    const QString dir = testHome() + QStringLiteral("/screens");
    QDir().mkpath(dir);
    return dir;
}

void save(QWidget* w, const char* name) {
    pump(150);
    w->grab().save(screens() + QLatin1Char('/') + QLatin1String(name) + QStringLiteral(".png"));
}

bool waitFor(const std::function<bool()>& done, int ms = 5000) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < ms)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 10);
    return done();
}

// The illuminator's fault interface, as a test rig or a service engineer calls it.
void setSensor(const QString& name, int value) {
    QDBusMessage m = QDBusMessage::createMethodCall(ZentorBus::FiberService, ZentorBus::FiberPath,
                                                    ZentorBus::FiberControlInterface, QStringLiteral("SetSensor"));
    m << name << QVariant::fromValue<short>(short(value));
    const QDBusMessage r = QDBusConnection::sessionBus().call(m);
    ASSERT_EQ(r.type(), QDBusMessage::ReplyMessage) << r.errorMessage().toStdString();
}

void click(QWidget* w) { QTest::mouseClick(w, Qt::LeftButton, {}, w->rect().center()); }

bool usable(frmSubFiber* p) {
    return p->usrNDCtrl->isEnabled() && p->btnShutter[0]->isEnabled() && p->btnShutter[1]->isEnabled();
}

struct Services {
    ServiceProcess microscope;
    ServiceProcess fiber;
    Services() {
        EXPECT_TRUE(microscope.start({QStringLiteral("--no-fiber"), QStringLiteral("--speed"), QStringLiteral("20")}))
            << microscope.error().toStdString();
        EXPECT_TRUE(fiber.start({QStringLiteral("--fiber-only"), QStringLiteral("--speed"), QStringLiteral("20"),
                                 QStringLiteral("--enable-fault-injection")},
                                ZentorBus::FiberService))
            << fiber.error().toStdString();
        // The panel uses the bus; its fiber client gives up on a hanging server soon.
        ServiceChoice::install();
        mdlFiber::setMaker([]() -> std::unique_ptr<FiberService> {
            auto f = std::make_unique<DBusFiberService>();
            f->setCallTimeout(1500);
            return f;
        });
    }
    ~Services() {
        mdlFiber::setMaker({});
        ServiceSource::setMaker({});
    }
};

struct Window {
    std::unique_ptr<frmMain> w;
    Window() {
        w = std::make_unique<frmMain>(QStringList{QStringLiteral("zentor"), QStringLiteral("/SIM")});
        w->show();
        waitFor([&] { return !w->FirstActivate || w->unloaded(); }, 20000);
    }
    MainPanel* ui() const { return w->ui; }
};

} // namespace

TEST(EndToEnd, FiberSafetyTripEventLogAndConsoleAgainstTheRealServices) {
    // A text viewer that records what it was given.
    const QString bin = testHome() + QStringLiteral("/bin");
    QDir().mkpath(bin);
    writeText(bin + QStringLiteral("/xdg-open"), "#!/bin/sh\nprintf '%s\\n' \"$*\" >> \"$0.log\"\n");
    QFile::setPermissions(bin + QStringLiteral("/xdg-open"),
                          QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("PATH", bin.toUtf8() + ':' + qgetenv("PATH"));
    for (const char* v : {"XDG_CURRENT_DESKTOP", "DESKTOP_SESSION", "KDE_FULL_SESSION", "GNOME_DESKTOP_SESSION_ID"})
        qunsetenv(v);

    MsgBox::Recorder boxes;
    Services services;
    Window win;
    MainPanel* ui = win.ui();
    ASSERT_FALSE(win.w->unloaded());
    ASSERT_TRUE(mainState().MicConnected);

    // The fiber was connected quietly at start: port, frames, drawing.
    ASSERT_TRUE(waitFor([&] { return ui->lstFiber->count() == 1; }));
    EXPECT_EQ(ui->lstFiber->item(0)->text(), "3COM");
    EXPECT_FALSE(ui->btnFiberOpen->isEnabled());
    EXPECT_TRUE(ui->btnFiberClose->isEnabled());
    EXPECT_FALSE(ui->frmFiber[0]->isHidden());
    EXPECT_EQ(ui->FiberTxt[0]->Caption(), "ND32");
    EXPECT_TRUE(ui->usrMainPath->FiberShown());
    // The lamp warms up before the frames are usable.
    ASSERT_TRUE(waitFor([&] { return ui->frmFiber[0]->isEnabled(); }));

    // The fiber panel: the wheel and the shutter through the illuminator's server.
    click(ui->btnFiber[0]);
    auto* panel = qobject_cast<frmSubFiber*>(FormRegistry::loaded(QStringLiteral("frmSubFiber")));
    ASSERT_NE(panel, nullptr);
    ASSERT_TRUE(waitFor([&] { return panel->isVisible(); }));
    emit panel->usrNDCtrl->AddressPicked(4);
    ASSERT_TRUE(waitFor([&] { return ui->FiberTxt[0]->Caption() == QLatin1String("ND4"); }));
    EXPECT_EQ(panel->txtSel->Caption(), "ND4");
    click(panel->btnShutter[0]);
    ASSERT_TRUE(waitFor([&] { return ui->usrMainPath->FiberShutterOpen(); }));
    save(panel, "fiber-panel");
    save(win.w.get(), "main-window-fiber");

    // A safety sensor trips: the panel and the frames grey, live.
    setSensor(QStringLiteral("HeatSensitive_Status"), 0);
    ASSERT_TRUE(waitFor([&] { return !usable(panel); }));
    EXPECT_FALSE(ui->frmFiber[0]->isEnabled());
    save(panel, "fiber-panel-tripped");
    setSensor(QStringLiteral("HeatSensitive_Status"), 1);
    ASSERT_TRUE(waitFor([&] { return usable(panel) && ui->frmFiber[0]->isEnabled(); }));

    // The event log of every unit of the service's own full microscope.
    emit ui->InfoClicked(0);
    auto* ev = qobject_cast<frmEvent*>(FormRegistry::loaded(QStringLiteral("frmEvent")));
    ASSERT_NE(ev, nullptr);
    save(ev, "event-log-question");
    boxes.clear();
    click(ev->cmdY);
    const QString path = EventLogExport::FilePath();
    ASSERT_TRUE(waitFor([&] { return FormRegistry::loaded(QStringLiteral("frmEvent")) == nullptr; }));
    EXPECT_EQ(boxes.texts(), QStringList{QStringLiteral("Save file :  ") + path});
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    EXPECT_TRUE(text.startsWith("Q7s\r\n"));
    EXPECT_EQ(text.count("\r\n"), 4 * 101);   // Q7s, HBX-A, HBX-B, Tolva
    ASSERT_TRUE(waitFor([&] { return QFile::exists(bin + QStringLiteral("/xdg-open.log")); }));

    // The console from the drawing's service key; a raw command and its reply.
    ui->usrMainPath->setFocus();
    QTest::keyClick(ui->usrMainPath, Qt::Key_G, Qt::ControlModifier);
    auto* console = qobject_cast<frmCommand*>(FormRegistry::loaded(QStringLiteral("frmCommand")));
    ASSERT_NE(console, nullptr);
    console->txtSend->setFocus();
    console->txtSend->setText(QStringLiteral("rVER1"));
    QTest::keyClick(console->txtSend, Qt::Key_Return);
    EXPECT_TRUE(console->txtReply->toPlainText().startsWith(QStringLiteral("rVER,")))
        << console->txtReply->toPlainText().toStdString();
    console->txtSend->setText(QStringLiteral("rOPR1"));
    QTest::keyClick(console->txtSend, Qt::Key_Return);
    EXPECT_TRUE(console->txtReply->toPlainText().startsWith(QStringLiteral("rOPR")));
    save(console, "console");

    emit ui->InfoClicked(1);
    auto* version = qobject_cast<frmVersion2*>(FormRegistry::loaded(QStringLiteral("frmVersion2")));
    ASSERT_NE(version, nullptr);
    EXPECT_FALSE(version->txtQ7s->Caption().isEmpty());
    save(version, "version");

    // The illuminator's server hangs: a command fails with the panel's message
    // after the client's wait, and the window goes on.
    ::kill(pid_t(services.fiber.pid()), SIGSTOP);
    boxes.clear();
    click(panel->btnShutter[1]);
    EXPECT_EQ(boxes.texts(), QStringList{"Fiber_Shutter Error"});
    ::kill(pid_t(services.fiber.pid()), SIGCONT);

    // The illuminator's server dies: the panel reports, nothing crashes.
    services.fiber.kill();
    ServiceProcess::waitForName(ZentorBus::FiberService, false, 5000);
    boxes.clear();
    click(panel->btnShutter[1]);
    EXPECT_EQ(boxes.texts(), QStringList{"Fiber_Shutter Error"});
    boxes.clear();
    click(ui->btnFiberClose);
    click(ui->btnFiberOpen);
    EXPECT_TRUE(boxes.texts().contains("Fiber illumination device was not found.")) << boxes.texts().join('|').toStdString();
    EXPECT_TRUE(ui->btnFiberOpen->isEnabled());
    EXPECT_TRUE(mainState().MicConnected);
    save(win.w.get(), "main-window-after-fiber-died");
}
