#pragma once
// "Command": the service engineer's direct line to the stand's controller. A
// raw command typed in txtSend goes to the service as it stands (Enter or
// Send, only while the microscope is open) and the controller's reply shows
// in txtReply. Every other key only edits the line; nothing of the console is
// kept once it closes.
#include "mainwindow/tools/ToolWindow.h"

class PanelLabel;
class QLineEdit;
class QPlainTextEdit;
class usrButton;

class frmCommand : public ToolWindow {
    Q_OBJECT
public:
    explicit frmCommand(QWidget* owner);

    void btnSend_Released();

    PanelLabel* Label1 = nullptr;   // "Send Command"
    QLineEdit* txtSend = nullptr;
    PanelLabel* Label2 = nullptr;   // "Reply Command"
    QPlainTextEdit* txtReply = nullptr;
    usrButton* btnSend = nullptr;
    usrButton* btnClose = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};
