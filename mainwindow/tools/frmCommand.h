#pragma once
// "Command": the service engineer's direct line to the stand's controller. A
// raw command typed in txtSend goes to the service as it stands (Enter or
// Send, only while the microscope is open) and the controller's reply shows
// in txtReply. Up and Down in txtSend walk back and forth through the commands
// sent this session, as a terminal does; nothing of the console is kept after
// the program ends.
#include "mainwindow/tools/ToolWindow.h"

#include <QStringList>

class PanelLabel;
class QLineEdit;
class QPlainTextEdit;
class usrButton;

class frmCommand : public ToolWindow {
    Q_OBJECT
public:
    explicit frmCommand(QWidget* owner);

    void btnSend_Released();

    // The commands sent this session, oldest first (shared by every opening).
    static const QStringList& History();

    PanelLabel* Label1 = nullptr;   // "Send Command"
    QLineEdit* txtSend = nullptr;
    PanelLabel* Label2 = nullptr;   // "Reply Command"
    QPlainTextEdit* txtReply = nullptr;
    usrButton* btnSend = nullptr;
    usrButton* btnClose = nullptr;

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void recall(int step);
    int m_recall = -1;      // index into History() while walking it, -1 at the new line
    QString m_draft;        // what was typed before walking the history
};
