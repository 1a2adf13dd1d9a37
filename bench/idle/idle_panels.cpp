// The connected panel with every device panel open, for bench_idle: the real
// main window and its panels on the display and service the script gives it.
// Once connected it opens each panel as its twin button would, says so on
// standard error, and then does nothing more of its own.
#include "mainwindow/app/ServiceChoice.h"
#include "mainwindow/app/frmMain.h"
#include "devicepanels/subpanel/SubPanels.h"
#include "state/MainState.h"

#include <QApplication>
#include <QTimer>
#include <cstdio>

int main(int argc, char** argv)
{
    QApplication app(argc, argv);
    ServiceChoice::install();
    QStringList args{QStringLiteral("zentor")};   // and zentor's own arguments
    for (int i = 1; i < argc; ++i)
        args << QString::fromLocal8Bit(argv[i]);
    frmMain window(args);
    window.show();

    QTimer waitForConnection;
    waitForConnection.setInterval(50);
    QObject::connect(&waitForConnection, &QTimer::timeout, [&] {
        if (window.FirstActivate || !mainState().MicConnected)
            return;
        waitForConnection.stop();
        int opened = 0;
        for (const QString& name : SubPanels::order())
            opened += SubPanels::open(name, 0) != nullptr;
        std::fprintf(stderr, "panels open: %d of %d\n", opened, int(SubPanels::order().size()));
        std::fflush(stderr);
    });
    waitForConnection.start();
    return app.exec();
}
