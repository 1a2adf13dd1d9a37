#pragma once
// Focus for whatever a control opens (a drop-down selector, a sub-panel, a
// dialog): the opened widget takes the keyboard focus, and when it hides,
// closes or is destroyed the focus goes back to the control that had it
// before (the button that opened it), in its window, so an operator on the
// keyboard goes on where they were.
//
//   FocusHandBack::open(subPanel);            // after showing it
//   FocusHandBack::open(picSelect, txtAdd);   // focus a control inside it
//
// The opener is the widget that has the focus at the call (or `opener` when
// given). Nothing is handed back when the focus has meanwhile moved somewhere
// outside the opened widget (the operator clicked elsewhere), or when the
// opener is gone, hidden or disabled.
#include <QWidget>

namespace FocusHandBack {

// `opened` takes the focus (on `focusInside`, one of its children, when
// given; else on its first control in the tab order) and hands it back to
// `opener` (default: the focus widget now) when it goes.
void open(QWidget* opened, QWidget* focusInside = nullptr, QWidget* opener = nullptr);

// The widget the focus goes back to when `opened` goes; null when none.
QWidget* openerOf(const QWidget* opened);

} // namespace FocusHandBack
