#pragma once
// The look every device panel shares with the main panel: the dark device
// face, the bright reading of the value, the dim captions, and the standard
// spacing, so that a panel reads like a frame of the main panel that floats.
#include <QString>

class QLabel;
class QWidget;
class PanelLabel;

namespace panelLook {

// Background, font and margins of a panel window.
void applyTo(QWidget* panel);
// The device's value, the reading the operator looks for first.
PanelLabel* valueLabel(QWidget* parent, const QString& name, const QString& accessibleName);
// A plain caption (names of linked devices, units).
PanelLabel* caption(QWidget* parent, const QString& text);

} // namespace panelLook
