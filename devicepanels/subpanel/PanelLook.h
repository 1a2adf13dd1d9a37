#pragma once
// The look every device panel shares with the main panel: the dark device
// face, the bright reading of the value, the dim captions, and the standard
// spacing, so that a panel reads like a frame of the main panel that floats.
#include <QList>
#include <QString>

class QLabel;
class QWidget;
class PanelLabel;
class usrButton;

namespace panelLook {

// Background, font and margins of a panel window.
void applyTo(QWidget* panel);
// The device's value, the reading the operator looks for first.
PanelLabel* valueLabel(QWidget* parent, const QString& name, const QString& accessibleName);
// A plain caption (names of linked devices, units).
PanelLabel* caption(QWidget* parent, const QString& text);
// A one-shot button of a panel (Reset, Memory, On): it comes up by itself,
// and its owner acts on Released.
// The layout of every slider panel: the slider (or the frame holding it) and
// the value on the first row; the panel's buttons from the left and Close at
// the right on the second. The tab order follows: slider, buttons, Close.
void sliderLayout(QWidget* panel, QWidget* slider, QWidget* value, const QList<QWidget*>& buttons,
                  QWidget* close);
usrButton* oneShot(QWidget* parent, const char* name, const QString& caption, const QString& accessibleName);

} // namespace panelLook
