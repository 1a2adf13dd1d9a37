#pragma once
// "Version": the program's version and the firmware of every unit present,
// read afresh at each opening. The three hub units (HBX-A, HBX-B, E-LM-K)
// share one line; the last one present wins.
#include "mainwindow/tools/ToolWindow.h"

class PanelLabel;
class usrButton;

class frmVersion2 : public ToolWindow {
    Q_OBJECT
public:
    explicit frmVersion2(QWidget* owner);

    // Fills every line from the service (the form's load step).
    void Form_Load();
    // "V" major "." minor "." revision of this build.
    static QString AppVersionText();

    PanelLabel* labApp = nullptr;
    PanelLabel* txtApp = nullptr;
    PanelLabel* labQ7s = nullptr;
    PanelLabel* txtQ7s = nullptr;
    PanelLabel* labZ = nullptr;
    PanelLabel* txtZ = nullptr;
    PanelLabel* labTolva = nullptr;
    PanelLabel* txtTolva = nullptr;
    PanelLabel* labHBX = nullptr;
    PanelLabel* txtHBX = nullptr;
    usrButton* btnClose = nullptr;
};
