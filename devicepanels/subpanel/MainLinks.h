#pragma once
// The main panel's link boxes (ObjLink, PathLink) and the panels' own
// (chkLink) show one flag each. A panel that changed the flag shows it on the
// main panel through here; the main window says how, when it attaches its
// panels. Without a main window (a panel tested alone) nothing is shown.
#include <cstdint>
#include <functional>

namespace MainLinks {

enum class Link { Obj, Path };

void setShow(Link link, std::function<void(int16_t)> show);
void show(Link link, int16_t value);

} // namespace MainLinks
