#pragma once
// Registers the focus and stage panels with the form registry, owned by the
// main window `owner`, and opens the focus and stage panels in their modes.
#include <QString>

class QWidget;

void registerMotionPanels(QWidget* owner);

// Opens a mode panel (frmSubZ, frmSubStage) with `caption` as its mode: a
// panel open in another mode takes the new one. `index` is the twin device
// button that asked, -1 for a menu entry.
QWidget* openMotionPanel(const QString& formName, const QString& caption, int index);
