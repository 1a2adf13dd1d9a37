#pragma once
// A window of the operator's tools (event log, console, version): a tool
// window of the main window with the panels' dark face, registered in the
// form registry under its form name while it exists; closing it unloads it.
#include <QString>
#include <QWidget>

class usrButton;

class ToolWindow : public QWidget {
    Q_OBJECT
public:
    ToolWindow(const QString& formName, const QString& caption, QWidget* owner);

    // Unloads the window once the current event is done.
    void unload();

protected:
    // A one-shot button of the panels' look.
    usrButton* button(const char* name, const QString& caption, const QString& accessibleName);
    // On its first showing the window takes at least the size its controls
    // need, no more than the screen gives, and stands centred over its owner
    // inside the screen.
    void showEvent(QShowEvent* e) override;

private:
    void fitAndPlace();
    bool m_placed = false;
};
