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

QStringList& history() {
    static QStringList sent;
    return sent;
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
    txtSend->setPlaceholderText(QStringLiteral("command, Enter sends; Up/Down: earlier commands"));
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

const QStringList& frmCommand::History() { return history(); }

void frmCommand::btnSend_Released() {
    const MainState& s = mainState();
    if (!s.MicConnected || !s.micService)
        return;
    const QString command = txtSend->text();
    if (!command.isEmpty() && (history().isEmpty() || history().last() != command))
        history().append(command);
    m_recall = -1;
    QString reply;
    try {
        WaitCursor wait;
        s.micService->SendCommand(command, reply);
    } catch (const std::exception&) {
        MsgBox::show(QStringLiteral("Device_SendCommand Error"));
        return;
    }
    txtReply->setPlainText(reply);
    txtSend->selectAll();
}

void frmCommand::recall(int step) {
    const QStringList& sent = history();
    if (sent.isEmpty())
        return;
    if (m_recall == -1) {
        if (step > 0)
            return;   // already at the new line
        m_draft = txtSend->text();
        m_recall = int(sent.size());
    }
    m_recall += step;
    if (m_recall < 0)
        m_recall = 0;
    if (m_recall >= sent.size()) {
        m_recall = -1;
        txtSend->setText(m_draft);
        return;
    }
    txtSend->setText(sent.at(m_recall));
}

bool frmCommand::eventFilter(QObject* watched, QEvent* event) {
    if (watched == txtSend && event->type() == QEvent::KeyPress) {
        auto* k = static_cast<QKeyEvent*>(event);
        switch (k->key()) {
        case Qt::Key_Return:
        case Qt::Key_Enter:
            btnSend_Released();
            return true;
        case Qt::Key_Up:
            recall(-1);
            return true;
        case Qt::Key_Down:
            recall(+1);
            return true;
        default:
            break;
        }
    }
    return ToolWindow::eventFilter(watched, event);
}
