#include "mainwindow/tools/frmCommand.h"

#include "devicepanels/subpanel/PanelLook.h"
#include "state/MainState.h"
#include "state/MsgBox.h"
#include "state/UiHelpers.h"
#include "widgets/PanelControls.h"
#include "widgets/usrButton.h"

#include <QFontDatabase>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPlainTextEdit>

namespace {

// A reply is shown up to this many characters (the console's box many times
// over); a longer one is cut, and says so, since laying out a text of
// megabytes in one line would freeze the panel.
constexpr int kShownReply = 65536;

QString shown(const QString& reply) {
    if (reply.size() <= kShownReply)
        return reply;
    return reply.left(kShownReply) +
           QStringLiteral("\n... (the reply has %1 characters; the first %2 are shown)").arg(reply.size()).arg(kShownReply);
}

// The console's face: a fixed-pitch font on a near-black field, as the
// controller's own terminal shows its lines.
void terminalLook(QWidget* w) {
    QFont f = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    f.setPointSizeF(10.5);
    w->setFont(f);
    w->setStyleSheet(QStringLiteral("background:#101418; color:#d8f0d0; border:1px solid #4a5560;"
                                    "selection-background-color:#3a6a8a; padding:3px;"));
}

} // namespace

frmCommand::frmCommand(QWidget* owner) : ToolWindow(QStringLiteral("frmCommand"), QStringLiteral("Command"), owner) {
    Label1 = panelLook::caption(this, QStringLiteral("Send Command"));
    Label1->setObjectName(QStringLiteral("Label1"));
    txtSend = new QLineEdit(this);
    txtSend->setObjectName(QStringLiteral("txtSend"));
    txtSend->setAccessibleName(QStringLiteral("Raw command to send"));
    txtSend->setPlaceholderText(QStringLiteral("command, Enter sends"));
    terminalLook(txtSend);
    txtSend->installEventFilter(this);
    Label2 = panelLook::caption(this, QStringLiteral("Reply Command"));
    Label2->setObjectName(QStringLiteral("Label2"));
    txtReply = new QPlainTextEdit(this);
    txtReply->setObjectName(QStringLiteral("txtReply"));
    txtReply->setAccessibleName(QStringLiteral("Reply of the controller"));
    txtReply->setReadOnly(true);
    txtReply->setTabChangesFocus(true);
    txtReply->setLineWrapMode(QPlainTextEdit::WidgetWidth);
    txtReply->setWordWrapMode(QTextOption::WrapAnywhere);
    terminalLook(txtReply);
    txtReply->setMinimumHeight(90);
    btnSend = button("btnSend", QStringLiteral("Send"), QStringLiteral("Send the command"));
    btnClose = button("btnClose", QStringLiteral("Close"), QStringLiteral("Close the command console"));

    auto* grid = new QGridLayout(this);
    grid->setContentsMargins(12, 12, 12, 12);
    grid->setVerticalSpacing(6);
    grid->addWidget(Label1, 0, 0, 1, 3);
    grid->addWidget(txtSend, 1, 0, 1, 2);
    grid->addWidget(btnSend, 1, 2);
    grid->addWidget(Label2, 2, 0, 1, 3);
    grid->addWidget(txtReply, 3, 0, 1, 3);
    grid->addWidget(btnClose, 4, 2);
    grid->setColumnStretch(0, 1);
    setTabOrder(txtSend, btnSend);
    setTabOrder(btnSend, txtReply);
    setTabOrder(txtReply, btnClose);
    resize(520, 230);
    txtSend->setFocus();

    connect(btnSend, &usrButton::Released, this, [this] { btnSend_Released(); });
    connect(btnClose, &usrButton::Released, this, [this] { unload(); });
}

void frmCommand::btnSend_Released() {
    const MainState& s = mainState();
    if (!s.MicConnected || !s.micService)
        return;
    const QString command = txtSend->text();
    QString reply;
    try {
        WaitCursor wait;
        s.micService->SendCommand(command, reply);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Device_SendCommand Error"));
        return;
    }
    txtReply->setPlainText(shown(reply));
    txtSend->selectAll();
}

bool frmCommand::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtSend && event->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(event);
        switch (k->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            btnSend_Released();
            return true;
        default:
            break;
        }
    }
    return ToolWindow::eventFilter(watched, event);
}
