// The zentor executable: the operator's control panel of the microscope.
// Command line: /SIM (the service's simulated microscope), /C (compact
// window), or the name of a microscope.
#include "core/base/Version.h"
#include "core/base/mdlCommon.h"
#include "mainwindow/app/ServiceChoice.h"
#include "mainwindow/app/frmMain.h"

#include <QApplication>
#include <QSocketNotifier>
#include <csignal>
#include <cstdio>
#include <cstring>
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
    "Usage: zentor [/SIM] [/C] [MICROSCOPE]\n"
    "       zentor --help | --version\n"
    "\n"
    "The operator's control panel of the motorised microscope. It commands the\n"
    "microscope service zentor-service on the D-Bus session bus, which the bus\n"
    "starts on the first call.\n"
    "\n"
    "  /SIM          open the service's own simulated microscope at once\n"
    "  /C            start in the compact look\n"
    "  MICROSCOPE    open the microscope of that name\n"
    "  -h, --help    show this text and exit\n"
    "  -v, --version show the version and exit\n"
    "\n"
    "Environment: ZENTOR_SERVICE=inprocess runs the simulated stand inside the\n"
    "panel, without the bus. See zentor(1).\n";

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

} // namespace

int main(int argc, char** argv) {
    if (const int rc = answerWithoutWindow(argc, argv); rc >= 0)
        return rc;
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Zentor"));
    QApplication::setApplicationVersion(QStringLiteral(ZENTOR_VERSION));
    // The desktop entry's name, so the window belongs to the menu's launcher.
    QGuiApplication::setDesktopFileName(QStringLiteral("org.zentor.Zentor"));
    // The composition root: the bus client, or the stand in process.
    ServiceChoice::install();

    frmMain window(Common_Args());

    // SIGTERM and SIGINT close the window in order, so that what the operator
    // set is saved as at any other exit, without waiting on a box.
    if (::socketpair(AF_UNIX, SOCK_STREAM, 0, g_signalPipe) == 0) {
        auto* notifier = new QSocketNotifier(g_signalPipe[1], QSocketNotifier::Read, &app);
        QObject::connect(notifier, &QSocketNotifier::activated, &window, [&window] {
            char c = 0;
            [[maybe_unused]] const ssize_t n = ::read(g_signalPipe[1], &c, 1);
            window.closeOnSignal();
        });
        struct sigaction sa {};
        sa.sa_handler = onTerminate;
        sigemptyset(&sa.sa_mask);
        sa.sa_flags = SA_RESTART;
        ::sigaction(SIGTERM, &sa, nullptr);
        ::sigaction(SIGINT, &sa, nullptr);
    }

    window.show();
    const int rc = app.exec();
    return rc;
}
