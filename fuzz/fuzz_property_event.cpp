// Any text as an OnPropertyChanged event, through the real dispatch of a
// connected main window (offscreen, the simulated stand in process): every
// event text ends in a drawn value, a clear message or nothing; never a crash.
#include "mainwindow/app/frmMain.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/ServiceSource.h"
#include "stand/SimulatedMicroscope.h"
#include "stand/SimulatedService.h"

#include <QApplication>
#include <QElapsedTimer>
#include <cstdint>
#include <cstdlib>
#include <memory>

namespace {
// The application, the service and the window live until the process ends
// and are never destroyed: at exit the toolkit's own globals go first, and a
// window or application torn down after them would touch what is gone.
frmMain& window() {
    static frmMain* w = [] {
        static int argc = 3;
        static char name[] = "fuzz_property_event", platform[] = "-platform", offscreen[] = "offscreen";
        static char* argv[] = {name, platform, offscreen, nullptr};
        static QApplication* app = new QApplication(argc, argv);
        static MsgBox::Recorder* boxes = new MsgBox::Recorder;   // boxes are recorded, never shown
        (void)app;
        (void)boxes;
        static SimulatedService* service = new SimulatedService(StandClock::instant(), QStringList());
        ServiceSource::setMaker([]() -> std::unique_ptr<MicroscopeService> {
            return std::make_unique<SimulatedMicroscope>(service);
        });
        auto* f = new frmMain(QStringList{QStringLiteral("zentor"), QStringLiteral("/SIM")});
        f->show();
        QElapsedTimer t;
        t.start();
        while (!mainState().MicConnected && t.elapsed() < 10000)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        if (!mainState().MicConnected)
            std::abort();
        return f;
    }();
    return *w;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    frmMain& w = window();
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    w.micEvent_OnPropertyChanged(text);
    QCoreApplication::processEvents();
    return 0;
}
