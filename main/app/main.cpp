// The zentor executable: the operator's control panel of the microscope.
// Command line: /SIM (the service's simulated microscope), /C (compact
// window), or the name of a microscope.
#include "core/base/mdlCommon.h"
#include "main/app/ServiceChoice.h"
#include "main/app/frmMain.h"

#include <QApplication>
#include <QSocketNotifier>
#include <csignal>
#include <sys/socket.h>
#include <unistd.h>

namespace {

int g_signalPipe[2] = {-1, -1};

void onTerminate(int) {
    const char c = 1;
    // Only an async-signal-safe write here; the window closes from the event loop.
    [[maybe_unused]] const ssize_t n = ::write(g_signalPipe[0], &c, 1);
}

} // namespace

int main(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Zentor"));
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
