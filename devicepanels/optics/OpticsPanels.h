#pragma once
// Makes the optical device panels known to the form registry, so that the
// main window's twin buttons can open them by name. `owner` is the main
// window; every panel is a tool window it owns.
class QWidget;

void registerOpticsPanels(QWidget* owner);
