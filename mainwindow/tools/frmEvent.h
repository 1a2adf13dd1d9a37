#pragma once
// "Event Log": asks whether to read the microscope's event log; Yes reads the
// log of every unit present into Event.txt, says where it was saved, opens it
// in the desktop's text viewer and closes; No closes.
#include "mainwindow/tools/ToolWindow.h"

class PanelLabel;
class usrButton;

class frmEvent : public ToolWindow {
    Q_OBJECT
public:
    explicit frmEvent(QWidget* owner);

    void cmdY_Click();
    void cmdN_Click();

    PanelLabel* Label1 = nullptr;
    usrButton* cmdY = nullptr;
    usrButton* cmdN = nullptr;
};
