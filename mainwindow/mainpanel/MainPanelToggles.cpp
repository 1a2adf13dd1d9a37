// The two one-shot device buttons of the main panel: the analyzer (both
// looks) and the epi shutter on the drawing. Each toggles its device as the
// game pad's commands do: read where it stands, then send the opposite. The
// labels and the drawing change only when the stand's event comes back.
#include "mainwindow/mainpanel/MainPanel.h"
#include "mainwindow/mainpanel/MainPanelParts.h"

#include "core/base/RunTimeError.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "widgets/usrButton.h"

#include <QApplication>
#include <QPointer>
#include <functional>
#include <vector>

namespace {

// One two-state device: how its state is read and the command for each way.
// The operation names are the fixed texts of the traps.
struct Toggle {
    QString readOperation;
    std::function<bool(MicroscopeService&)> isOn;  // analyzer in, shutter open
    QString onOperation;
    void (MicroscopeService::*on)();
    QString offOperation;
    void (MicroscopeService::*off)();
};

// Runs the toggle with `buttons` greyed, so that a second click cannot reach
// the service while the stand moves; clicks given meanwhile are dropped.
void runToggle(QWidget* window, const std::vector<usrButton*>& buttons, const Toggle& t)
{
    // The keyboard comes back to the button it was on when it is usable again.
    QPointer<QWidget> focused = QApplication::focusWidget();
    std::vector<QPointer<usrButton>> held;
    for (usrButton* b : buttons)
        if (b && b->isEnabled()) {
            held.emplace_back(b);
            b->setEnabled(false);
        }
    mainpanel::BusyWindow busy(window, false);
    auto release = [&] {
        busy.end();
        for (const QPointer<usrButton>& b : held)
            if (b) {
                b->setEnabled(true);
                if (b == focused)
                    b->setFocus(Qt::OtherFocusReason);
            }
        Common_Flush();
    };
    MicroscopeService& svc = *mainState().micService;
    QString operation = t.readOperation;
    try {
        const bool on = t.isOn(svc);
        operation = on ? t.offOperation : t.onOperation;
        (svc.*(on ? t.off : t.on))();
        release();
    } catch (const std::exception& e) {
        release();
        MsgBox::show(failureText(operation, e));
    }
}

// No microscope, or Init found no such device (its frames are hidden):
// nothing is sent.
bool deviceUsable(const PanelFrame* frame)
{
    const MainState& st = mainState();
    return st.MicConnected && st.micService && frame && !frame->isHidden();
}

} // namespace

void MainPanel::btnAna_Released(int16_t)
{
    if (!deviceUsable(frmAnalyzer[0]))
        return;
    runToggle(window(), {btnAna[0], btnAna[1]},
              {QStringLiteral("Analyzer_IsInserted"),
               [](MicroscopeService& svc) { return svc.AnalyzerIsInserted() == 1; },
               QStringLiteral("Analyzer_In"), &MicroscopeService::AnalyzerIn,
               QStringLiteral("Analyzer_Out"), &MicroscopeService::AnalyzerOut});
}

void MainPanel::btnShutter_Released()
{
    if (!deviceUsable(frmShutter[0]))
        return;
    runToggle(window(), {btnShutter},
              {QStringLiteral("EpiShutter_IsOpened"),
               [](MicroscopeService& svc) { return svc.EpiShutterIsOpened() != 0; },
               QStringLiteral("EpiShutter_Open"), &MicroscopeService::EpiShutterOpen,
               QStringLiteral("EpiShutter_Close"), &MicroscopeService::EpiShutterClose});
}
