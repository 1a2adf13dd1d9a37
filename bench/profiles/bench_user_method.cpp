// A user observation method that moves six devices, selected on the main
// panel, against the same six moves made one after another from the panel:
// each timed from the click to the last device's label painted, over the bus,
// with the real service process (motors at 20 x real time). The events the
// panel received are counted against a second client watching the same
// stand, so that a lost event shows.
// Target: the method no slower than the sum of the six single moves, and no
// event lost.
#include "../PrivateBus.h"
#include "ServiceProcess.h"
#include "mainwindow/app/frmMain.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/ServiceSource.h"

#include "core/service/dbus/DBusMicroscopeService.h"
#include "mainwindow/mainpanel/MainPanel.h"
#include "widgets/PanelControls.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QTest>
#include <algorithm>
#include <cstdio>
#include <unistd.h>
#include <vector>

namespace {

// Notes when a label is painted after its caption became a given text.
class PaintWatch : public QObject {
public:
    PaintWatch(PanelLabel* label) : m_label(label) { label->installEventFilter(this); }
    void expect(const QString& caption) {
        m_caption = caption;
        m_painted = false;
    }
    bool painted() const { return m_painted; }
    bool eventFilter(QObject*, QEvent* e) override {
        if (e->type() == QEvent::Paint && m_label->Caption() == m_caption) m_painted = true;
        return false;
    }

private:
    PanelLabel* m_label;
    QString m_caption;
    bool m_painted = false;
};

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

template <typename Pred>
bool waitFor(Pred done, int limitMs = 60000) {
    QElapsedTimer t;
    t.start();
    while (!done() && t.elapsed() < limitMs) QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
    return done();
}

// Where the six devices go: nosepiece, cube, condenser address, field stop
// (all open or the objective's), light path, zoom code.
struct Setting {
    int16_t nose, filter, condenser;
    int32_t fieldStopCode;
    int16_t path;
    int32_t zoom;
};

} // namespace

int main(int argc, char** argv) {
    if (const int failed = runOnPrivateBus(argc, argv, ZENTOR_BENCH_BUS_CONF, "bench_user_method"))
        return failed;
    QApplication app(argc, argv);
    const QString scratch = QDir::tempPath() + QStringLiteral("/bench_user_method-%1").arg(getpid());
    ServiceProcess service;
    if (!service.start({QStringLiteral("--speed"), QStringLiteral("20"), QStringLiteral("--no-fiber"),
                        QStringLiteral("--state-file"), scratch + QStringLiteral("/state.json")})) {
        std::fprintf(stderr, "bench_user_method: %s\n", qPrintable(service.error()));
        return 1;
    }
    qputenv("XDG_DATA_HOME", (scratch + QStringLiteral("/data")).toLocal8Bit());
    MsgBox::Recorder messages;
    // The panel's service objects are clients on the bus, as in the running program.
    ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
        return std::make_unique<DBusMicroscopeService>();
    });
    auto w = std::make_unique<frmMain>(QStringList{QStringLiteral("zentor"), QStringLiteral("/SIM")});
    w->show();
    if (!waitFor([&] { return !w->FirstActivate && mainState().MicConnected; })) {
        std::fprintf(stderr, "bench_user_method: the panel did not connect: %s\n",
                     qPrintable(messages.texts().join('|')));
        return 1;
    }
    MainPanel* ui = w->ui;
    MicroscopeService& svc = *mainState().micService;
    DBusMicroscopeService watcher;
    watcher.Connect(0);
    long panelEvents = 0, watchedEvents = 0;
    QObject::connect(&svc, &MicroscopeService::OnPropertyChanged, [&](const QString&) { ++panelEvents; });
    QObject::connect(&watcher, &MicroscopeService::OnPropertyChanged, [&](const QString&) { ++watchedEvents; });

    const Setting settings[2] = {{2, 2, 2, 3, 1, 3}, {5, 4, 5, 2, 3, 13}};
    for (int i = 0; i < 2; ++i) {
        const Setting& s = settings[i];
        svc.setObservationName(int16_t(7 + i), QStringLiteral("Bench %1").arg(i + 1));
        svc.setObservationPosition(int16_t(7 + i),
                                   ObservationPositions{0, 0, s.fieldStopCode, s.condenser + 4, 0, s.filter, 0, 0,
                                                        s.nose, s.path, s.zoom});
    }
    PaintWatch zoomLabel(ui->ZoomCmd[0]);
    auto zoomCaption = [&] { return ui->ZoomCmd[0]->Caption(); };

    // The stand where setting i leaves it, the zoom label's caption then.
    // and the field stop's value, which the single moves then go to.
    QString captionAfter[2];
    double fieldStopAfter[2];
    for (int i = 0; i < 2; ++i) {
        svc.setPresetsObservationMode(int16_t(7 + i));
        waitFor([&] { return false; }, 300);
        captionAfter[i] = zoomCaption();
        fieldStopAfter[i] = watcher.FieldStopFieldStop();
    }
    if (captionAfter[0] == captionAfter[1]) {
        std::fprintf(stderr, "bench_user_method: the zoom label does not change between the two settings\n");
        return 1;
    }

    const int rounds = 8;
    std::vector<double> method, singles;
    long lost = 0;
    QElapsedTimer t;
    // Puts the stand where setting i leaves it, and waits for the panel.
    auto setTo = [&](int i) {
        svc.setPresetsObservationMode(int16_t(7 + i));
        waitFor([&] { return zoomCaption() == captionAfter[i]; });
    };
    for (int r = 0; r < rounds; ++r) {
        for (int i = 0; i < 2; ++i) {
            const Setting& s = settings[i];
            // The method: one click on the user entry, from the other setting.
            setTo(1 - i);
            panelEvents = watchedEvents = 0;
            zoomLabel.expect(captionAfter[i]);
            t.start();
            QTest::mouseClick(ui->labObserveU[1 + i], Qt::LeftButton, Qt::NoModifier, QPoint(8, 8));
            waitFor([&] { return zoomLabel.painted(); });
            method.push_back(t.nsecsElapsed() / 1e6);
            waitFor([&] { return watchedEvents >= panelEvents && panelEvents > 0; }, 500);
            lost += std::abs(watchedEvents - panelEvents);

            // The same six moves one after another, from the same start.
            setTo(1 - i);
            panelEvents = watchedEvents = 0;
            zoomLabel.expect(captionAfter[i]);
            t.start();
            svc.setNosepiecePosition(s.nose);
            svc.setFilterBlockCassettePosition(s.filter);
            svc.setCondenserCassettePosition(s.condenser);
            svc.setFieldStopFieldStop(fieldStopAfter[i]);
            svc.setLightPathDriveLightPath(s.path);
            svc.setOpticalZoomZoom((s.zoom + 7) / 10.0);
            waitFor([&] { return zoomLabel.painted(); });
            singles.push_back(t.nsecsElapsed() / 1e6);
            waitFor([&] { return watchedEvents >= panelEvents && panelEvents > 0; }, 500);
            lost += std::abs(watchedEvents - panelEvents);
        }
    }
    const double m = median(method), s = median(singles);
    std::printf("user method, six devices, click to last label painted: median %.1f ms (%d runs)\n", m,
                int(method.size()));
    std::printf("the six single moves one after another:               median %.1f ms\n", s);
    std::printf("ratio method / sum of singles: %.3f (target <= 1)\n", m / s);
    std::printf("events lost between the service and the panel: %ld (target 0)\n", lost);
    if (!messages.texts().isEmpty())
        std::printf("messages shown: %s\n", qPrintable(messages.texts().join('|')));
    watcher.Disconnect();
    w.reset();
    service.stop();
    QDir(scratch).removeRecursively();
    return 0;
}
