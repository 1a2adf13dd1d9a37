#pragma once
// What the widget family tells assistive technology (through Qt's
// accessibility, which reaches AT-SPI on Linux): every widget a role and a
// name a person understands, the sliders their value and range, the position
// selector one item per position that can be pressed.
//
// Names: a widget's accessibleName() when its owner set one (the owner knows
// what the control is for: "Objective panel", "Aperture stop"); otherwise a
// button's caption, a label's text with its prefix (PanelLabel::
// setAccessiblePrefix: "Objective" + "2: PA  PlanApo 10x/0.40").
//
// install() registers the interfaces; every widget of the family calls it
// when it is made, so nothing else needs to.
class QObject;

namespace zentor::accessibility {

void install();

// Tells assistive technology that a value control shows a new value (costs
// nothing while none listens).
void valueChanged(QObject* control, double value);

} // namespace zentor::accessibility
