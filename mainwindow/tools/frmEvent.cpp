#include "mainwindow/tools/frmEvent.h"

#include "mainwindow/tools/EventLogExport.h"
#include "devicepanels/subpanel/PanelLook.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QGridLayout>

frmEvent::frmEvent(QWidget* owner) : ToolWindow(QStringLiteral("frmEvent"), QStringLiteral("Event Log"), owner) {
    Label1 = panelLook::caption(this, QStringLiteral("Do you get event log of microscope ?"));
    Label1->setObjectName(QStringLiteral("Label1"));
    Label1->setForeColor(0xFFE8DC);
    cmdY = button("cmdY", QStringLiteral("Yes"), QStringLiteral("Yes, read the event log into a file"));
    cmdN = button("cmdN", QStringLiteral("No"), QStringLiteral("No, close"));
    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(16, 16, 16, 12);
    grid->setVerticalSpacing(14);
    grid->addWidget(Label1, 0, 0, 1, 3);
    grid->addWidget(cmdY, 1, 1);
    grid->addWidget(cmdN, 1, 2);
    grid->setColumnStretch(0, 1);
    setTabOrder(cmdY, cmdN);
    cmdY->setFocus();
    connect(cmdY, &usrButton::Released, this, [this] { cmdY_Click(); });
    connect(cmdN, &usrButton::Released, this, [this] { cmdN_Click(); });
}

void frmEvent::cmdN_Click() { unload(); }

void frmEvent::cmdY_Click() {
    const MainState& s = mainState();
    const QString path = EventLogExport::FilePath();
    bool written = false;
    try {
        WaitCursor wait;
        const QByteArray text = EventLogExport::Read(s.MicConnected ? s.micService : nullptr);
        written = EventLogExport::WriteFile(text, path, nullptr);
    } catch (const std::exception&) {
        written = false;
    }
    if (!written) {
        // Any failure, a file that cannot be written included, gives the
        // export's one message; the old file, if any, stays as it was.
        MsgBox::show(QStringLiteral("Dievice_EventLog Catch Error"));
        return;
    }
    MsgBox::show(QStringLiteral("Save file :  ") + path, MsgBox::OKOnly, MsgBox::NoIcon, QStringLiteral("Event Log"));
    if (!EventLogExport::OpenInViewer(path))
        MsgBox::show(QStringLiteral("No text viewer could be started. The event log is saved in:\n") + path,
                     MsgBox::OKOnly, MsgBox::Information, QStringLiteral("Event Log"));
    unload();
}
