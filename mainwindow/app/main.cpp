// The zentor executable: the operator's control panel of the microscope.
// Command line: /SIM (the service's simulated microscope), /C (compact
// window), or the name of a microscope; --host [USER@]HOST drives the stand
// of another computer.
#include "core/base/Version.h"
#include "core/base/mdlCommon.h"
#include "core/service/dbus/BusLink.h"
#include "mainwindow/app/ServiceChoice.h"
#include "mainwindow/app/frmMain.h"
#include "state/MsgBox.h"
#include "state/clsMutex.h"
#include "widgets/WidgetLook.h"

#include <QApplication>
#include <QPointer>
#include <QSocketNotifier>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void onTerminate(int) {
    const char c = 1;
    // Only an async-signal-safe write here; the window closes from the event loop.
    [[maybe_unused]] const ssize_t n = ::write(g_signalPipe[0], &c, 1);
}

const char kUsage[] =
    "Usage: zentor [--host [USER@]HOST] [/SIM] [/C] [MICROSCOPE]\n"
    "       zentor --help | --version\n"
    "\n"
    "The operator's control panel of the motorised microscope. It commands the\n"
    "microscope service zentor-service on the D-Bus session bus, which the bus\n"
    "starts on the first call.\n"
    "\n"
    "  --host [USER@]HOST  drive the stand of another computer: its session bus\n"
    "                through ssh (found on PATH, so your ssh configuration\n"
    "                applies) and systemd-stdio-bridge there; a key must log in\n"
    "                without a prompt. The computer's name stands before each\n"
    "                microscope's name and in the window's caption.\n"
    "  /SIM          open the service's own simulated microscope at once\n"
    "  /C            start in the compact look\n"
    "  MICROSCOPE    open the microscope of that name\n"
    "  -h, --help    show this text and exit\n"
    "  -v, --version show the version and exit\n"
    "\n"
    "Environment: ZENTOR_BUS_ADDRESS=ADDRESS reaches the service on the bus of\n"
    "that D-Bus address instead of the session bus (as --host does);\n"
    "ZENTOR_SERVICE=inprocess runs the simulated stand inside the panel,\n"
    "without the bus. See zentor(1) and docs/remote.md.\n";

// --help and --version answer before any window or display is touched.
// Answers the exit code, or -1 when the panel is to start.
int answerWithoutWindow(int argc, char** argv) {
    for (int i = 1; i < argc; ++i) {
        if (!std::strcmp(argv[i], "--help") || !std::strcmp(argv[i], "-h")) {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (!std::strcmp(argv[i], "--version") || !std::strcmp(argv[i], "-v")) {
            std::printf("zentor %s\n", ZENTOR_VERSION);
            return 0;
        }
    }
    return -1;
}

// The start cannot go on: says why on the standard error and in a box.
int refuseStart(const QString& why) {
    std::fprintf(stderr, "zentor: %s\n", why.toLocal8Bit().constData());
    std::fflush(stderr);
    if (!MsgBox::unattended())
        MsgBox::show(why, MsgBox::OKOnly, MsgBox::Critical);
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (const int rc = answerWithoutWindow(argc, argv); rc >= 0)
        return rc;
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Zentor"));
    QApplication::setApplicationVersion(QStringLiteral(ZENTOR_VERSION));
    // The desktop entry's name, so the window belongs to the menu's launcher.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.zentor.Zentor"));
    MsgBox::setStyler([](QWidget* box) { zentor::look::applyTo(box); });

    // SIGTERM and SIGINT close the window in order, so that what the operator
    // set is saved as at any other exit, without waiting on a box. They are
    // taken from the start: a signal that comes while the window is still
    // being made (a box or the microscope chooser up before it shows) lets
    // that box go and closes the window as soon as it is made.
    QPointer<frmMain> window;
    bool closeWhenMade = false;
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, g_signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(g_signalPipe[1], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &app, [&window, &closeWhenMade] {
            char c = 0;
            [[maybe_unused]] const ssize_t n = ::read(g_signalPipe[1], &c, 1);
            if (window) {
                window->closeOnSignal();
                return;
            }
            closeWhenMade = true;
            frmMain::answerStartupDialogsUnattended();
        });
        struct sigaction sa {};
        sa.sa_handler = onTerminate;
        sigemptyset(&sa.sa_mask);
        sa.sa_flags = SA_RESTART;
        ::sigaction(SIGTERM, &sa, nullptr);
        ::sigaction(SIGINT, &sa, nullptr);
    }

    // The composition root: the bus client (on this computer's session bus,
    // or on another computer's through a link), or the stand in process.
    QStringList args = Common_Args();
    BusAddress::Place place;
    QString refusal;
    std::unique_ptr<BusLink> link;
    if (ServiceChoice::otherBus(args, place, refusal)) {
        if (!refusal.isEmpty())
            return refuseStart(refusal);
        link = std::make_unique<BusLink>(place);
        if (!link->open())
            return refuseStart(link->error());
        ServiceChoice::installOn(link->connection(), place.label);
        clsMutex::setBusScope(place.address);
    } else {
        ServiceChoice::install();
    }

    frmMain panel(args);
    window = &panel;
    if (closeWhenMade) {
        panel.closeOnSignal();
        return 0;
    }
    if (link) {
        // A link that drops is a dead service (frmMainLinkLoss.cpp).
        QObject::connect(link.get(), &BusLink::lost, &panel, &frmMain::serviceLinkLost);
        if (link->isLost())
            panel.serviceLinkLost();
    }

    panel.show();
    const int rc = app.exec();
    return rc;
}
