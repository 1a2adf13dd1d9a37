#pragma once
// One numbered command of the game pad, run on the microscope service: the
// toggles (escape, lamp, shutter, analyzer, light path), the steps of the
// stops, ND, lamp voltage and zoom, auto focus, the observation methods, and
// the focus and stage moves. Numbers of 47 and above, 3, 25, 28 and anything
// below 1 do nothing. A failure shows "<name> Control Error".
#include <QString>

// Runs command `number`; answers whether a service command went out.
bool Control(int number);
