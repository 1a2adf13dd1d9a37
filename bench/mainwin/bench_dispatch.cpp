// Run by hand: QT_QPA_PLATFORM=offscreen build/bench/mainwin/bench_dispatch
// Prints events per second through micEvent_OnPropertyChanged for a stream of
// stage and focus positions, the same for a bare loop that sets the same
// label texts (formatting included), their ratio, the time from start to
// the connected and drawn panel, and resident memory.
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/ServiceSource.h"
#include "mainwindow/app/frmMain.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QPixmap>
#include <cstdio>

namespace {

long residentKb() {
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : f.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return -1;
}

} // namespace

int main(int argc, char** argv) {
    QElapsedTimer startClock;
    startClock.start();
    QApplication app(argc, argv);
    MsgBox::Recorder quiet;
    SimulatedService service(StandClock::instant(),
                             {QStringLiteral(ZENTOR_STAND_DESCRIPTIONS "/full-system.json")});
    ServiceSource::setMaker([&service]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<SimulatedMicroscope>(&service);
    });
    frmMain w(QStringList{QStringLiteral("zentor")});
    w.show();
    while (w.FirstActivate && !w.unloaded())
        QCoreApplication::processEvents();
    QPixmap drawn = w.grab(); // the panel drawn once
    const double startMs = startClock.nsecsElapsed() / 1e6;
    if (!mainState().MicConnected) {
        std::fprintf(stderr, "not connected\n");
        return 1;
    }

    const int n = 300000;
    QStringList events;
    for (int i = 0; i < 3000; ++i) {
        events << QStringLiteral("AppXYDriveXPosition:%1").arg(1000 + i)
               << QStringLiteral("AppXYDriveYPosition:%1").arg(-2000 - i)
               << QStringLiteral("AppZDriveZPosition:%1").arg(50000 + 7 * i);
    }
    auto run = [&](auto&& body) {
        QElapsedTimer t;
        t.start();
        for (int i = 0; i < n; ++i)
            body(events.at(i % events.size()), i);
        return n / (t.nsecsElapsed() / 1e9);
    };
    MainPanel* ui = w.ui;
    MainState& s = mainState();
    // Bare loop: the value already split off, the same model formatting and
    // both twin labels written.
    auto bare = [&](const QString& e, int) {
        const int colon = e.indexOf(QLatin1Char(':'));
        const int32_t v = e.mid(colon + 1).toInt();
        switch (e.at(9).unicode()) {
        case 'X':
            s.mXY.setXCount(v);
            ui->Xcmd[0]->setCaption(s.mXY.Format_XCount() + QStringLiteral(" um"));
            ui->Xcmd[1]->setCaption(s.mXY.Format_XCount() + QStringLiteral(" um"));
            break;
        case 'Y':
            s.mXY.setYCount(v);
            ui->Ycmd[0]->setCaption(s.mXY.Format_YCount() + QStringLiteral(" um"));
            ui->Ycmd[1]->setCaption(s.mXY.Format_YCount() + QStringLiteral(" um"));
            break;
        default:
            s.mZ.setValue(v);
            ui->Zcmd[0]->setCaption(s.mZ.Format_Count() + QStringLiteral(" um"));
            ui->Zcmd[1]->setCaption(s.mZ.Format_Count() + QStringLiteral(" um"));
        }
    };
    auto dispatch = [&](const QString& e, int) { w.micEvent_OnPropertyChanged(e); };
    run(bare);
    run(dispatch); // warm up
    const double bareRate = run(bare);
    const double dispatchRate = run(dispatch);
    std::printf("dispatch: %.0f events/s, bare label loop: %.0f events/s, ratio (bare/dispatch) %.2f\n",
                dispatchRate, bareRate, bareRate / dispatchRate);
    std::printf("start to connected, drawn panel: %.0f ms (%dx%d)\n", startMs, drawn.width(), drawn.height());
    std::printf("resident memory: %.1f MB\n", residentKb() / 1024.0);
    w.close();
    ServiceSource::setMaker({});
    return 0;
}
