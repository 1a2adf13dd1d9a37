#pragma once
// The main window's side of the device panels: which twin buttons open which
// panel, opening at the remembered place, closing through the button, and
// keeping the open panels above the main window in the order they were
// opened. A panel's library registers how its form is made (FormRegistry);
// the main window attaches its twin buttons here.
#include <QString>
#include <QStringList>
#include <cstdint>

class QWidget;
class usrButton;

namespace SubPanels {

// The gesture of the twin buttons that opens the panel; a second press of
// the latched button (Unlatched) always closes it.
enum class OpensOn { Pressed, Released };

// Ties the twin buttons (0 large panel, 1 compact panel) to a panel. Both
// buttons latch; the other twin is let up whenever one opens the panel.
void attach(const QString& formName, usrButton* large, usrButton* compact, OpensOn gesture);

// Opens the panel as twin `index` asks: the other twin comes up, the panel
// takes its remembered place (a missing key keeps the place it has), shows,
// and is put on top of the other panels. Opening an open panel only moves it.
// Answers the panel, or nullptr when its library registered no form.
QWidget* open(const QString& formName, int16_t index);

// Twin `index` (0 large, 1 compact) of a panel, or nullptr.
usrButton* twin(const QString& formName, int16_t index);

// Lets both twin buttons of a panel up, without raising any event.
void unlatchTwins(const QString& formName);

// Every visible panel above the main window, in the fixed order, and then
// `panel` above them all.
void Panels_OnTop(QWidget* panel);

// The fixed order of the panels.
const QStringList& order();

// Forgets every attachment (the main window is going away).
void detachAll();

} // namespace SubPanels
