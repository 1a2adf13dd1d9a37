#!/usr/bin/env python3
"""A user's session through assistive technology (AT-SPI, as a screen reader
sees it): find the Zentor window, read the current objective, choose another
through the selector, wait for the reading to follow, open and close the
aperture stop panel, then open every device panel the stand has and read the
value it shows, close the window. Controls are found by role and name, never
by position.

Usage: atspi-session.py ZENTOR_EXE   (on a session bus with an AT-SPI bus,
under an X server; the panel runs with ZENTOR_PRINT_CAPTION=1)."""
import os
import signal
import subprocess
import sys
import time

import pyatspi

TIMEOUT = 30.0


def fail(text):
    print("FAIL: " + text, file=sys.stderr)
    sys.exit(1)


def wait_for(what, probe, timeout=TIMEOUT, fatal=True):
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        try:
            # This client runs no event loop, so the cache of AT-SPI would
            # keep what it saw first: every look asks the program anew.
            pyatspi.Registry.getDesktop(0).clear_cache()
            found = probe()
        except Exception:  # an object that went away while we looked
            found = None
        if found:
            return found
        time.sleep(0.2)
    if not fatal:
        return None
    fail("no " + what + " within %d s" % timeout)


def showing(acc):
    return acc.getState().contains(pyatspi.STATE_SHOWING)


def walk(root):
    """Every object below root that is showing, depth first."""
    stack = [root]
    while stack:
        acc = stack.pop()
        for i in range(acc.childCount - 1, -1, -1):
            child = acc.getChildAtIndex(i)
            if child is not None and showing(child):
                yield child
                stack.append(child)


def find(root, roles, match):
    for acc in walk(root):
        if acc.getRole() in roles and match(acc.name or ""):
            return acc
    return None


def press(acc):
    action = acc.queryAction()
    for i in range(action.nActions):
        if action.getName(i).lower() in ("press", "click"):
            action.doAction(i)
            return
    fail("%s \"%s\" cannot be pressed" % (acc.getRoleName(), acc.name))


WINDOWS = (pyatspi.ROLE_FRAME, pyatspi.ROLE_WINDOW, pyatspi.ROLE_DIALOG)


def top_window(app, name):
    """The application's window of that name that is showing, or None."""
    for i in range(app.childCount):
        w = app.getChildAtIndex(i)
        if w is not None and w.getRole() in WINDOWS and w.name == name and showing(w):
            return w
    return None


def application():
    desktop = pyatspi.Registry.getDesktop(0)
    names = []
    for i in range(desktop.childCount):
        app = desktop.getChildAtIndex(i)
        names.append(app.name if app is not None else None)
        if app is not None and (app.name or "").lower() == "zentor":
            return app
    application.seen = names
    return None


BUTTONS = (pyatspi.ROLE_PUSH_BUTTON, pyatspi.ROLE_TOGGLE_BUTTON)
TEXTS = (pyatspi.ROLE_LABEL, pyatspi.ROLE_STATIC, pyatspi.ROLE_TEXT)

# The button of each device panel on the main window, the name its reading
# carries before the value, and the button of the panel that gives the device
# a value to read first (a dark lamp shows none).
DEVICE_READINGS = (
    ("Aperture stop panel", "Aperture Stop"),
    ("DIA field stop panel", "DIA Field Stop"),
    ("EPI field stop panel", "EPI Field Stop"),
    ("ND filter panel", "ND Filter"),
    ("Lamp panel", "Lamp voltage", "Switch the lamp on or off"),
    ("Zoom panel", "Zoom magnification"),
    ("Objective panel", "Objective in place"),
    ("Filter cube panel", "Filter Cube in place"),
    ("Condenser panel", "Condenser in place"),
    ("Light path panel", "Light path in use"),
    ("Z focus panel", "Focus position"),
    ("XY stage panel", "Stage X position"),
    ("Fiber illumination panel", "Fiber ND filter"),
)


def reading_in_panels(app, main_window, reading):
    """(panel window, label) of a reading that shows a value, in any window
    of the program but the main one."""
    for i in range(app.childCount):
        w = app.getChildAtIndex(i)
        if w is None or w.getRole() not in WINDOWS or not showing(w) or w.name == main_window.name:
            continue
        label = find(w, TEXTS, lambda n: n.startswith(reading + " ") and n[len(reading):].strip() != "")
        if label is not None:
            return (w, label)
    return None


def other_window(app, main_window):
    """A showing window of the program other than the main one."""
    for i in range(app.childCount):
        w = app.getChildAtIndex(i)
        if w is not None and w.getRole() in WINDOWS and showing(w) and w.name != main_window.name:
            return w
    return None


def closed(app, name):
    try:
        return top_window(app, name) is None
    except Exception:  # its object went away while we looked: gone
        return True


def main():
    exe = sys.argv[1]
    home = os.environ.get("ZENTOR_TEST_HOME", ".")
    env = dict(os.environ, ZENTOR_PRINT_CAPTION="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    # The registry answers before the panel starts, so that the panel finds
    # a complete accessibility bus to register with.
    wait_for("AT-SPI registry", lambda: pyatspi.Registry.getDesktop(0).childCount >= 0 or True)
    stderr = open(os.path.join(home, "zentor.stderr"), "w")
    panel = subprocess.Popen([exe, "/SIM"], env=env, stderr=stderr)
    try:
        app = wait_for("Zentor application on the accessibility bus", application)
        window = wait_for("connected window", lambda: find(
            app, (pyatspi.ROLE_FRAME, pyatspi.ROLE_WINDOW), lambda n: n.startswith("Zentor  [ ")))
        print("window: " + window.name)

        # The objective in use, as the screen reader reads it.
        objective = wait_for("objective reading", lambda: find(
            window, TEXTS, lambda n: n.startswith("Objective ") and ":" in n))
        before = objective.name
        print("objective: " + before)
        number = before[len("Objective "):].split(":")[0].strip()

        # Another one through the selector.
        press(wait_for("objective selector button", lambda: find(
            window, BUTTONS, lambda n: n == "Choose the objective")))
        positions = wait_for("objective positions", lambda: find(
            window, (pyatspi.ROLE_LIST,), lambda n: n == "Objective positions"))
        items = [positions.getChildAtIndex(i) for i in range(positions.childCount)]
        print("positions: " + " | ".join(i.name for i in items))
        other = next((i for i in items if i.getRole() == pyatspi.ROLE_LIST_ITEM
                      and i.name.split(":")[0].strip() != number), None)
        if other is None:
            fail("the selector offers no other objective")
        wanted = other.name.split(":")[0].strip()
        press(other)
        after = wait_for("reading of objective " + wanted, lambda: find(
            window, TEXTS, lambda n: n.startswith("Objective " + wanted + ":")))
        print("objective now: " + after.name)

        # A device panel: open it, find its window, close it by its button.
        press(wait_for("aperture stop panel button", lambda: find(
            window, BUTTONS, lambda n: n == "Aperture stop panel")))
        sub = wait_for("aperture stop panel window", lambda: top_window(app, "Aperture Stop"))
        slider = wait_for("aperture stop slider", lambda: find(sub, (pyatspi.ROLE_SLIDER,), lambda n: n != ""))
        value = slider.queryValue()
        print("panel: %s; slider \"%s\" %g in %g..%g" % (sub.name, slider.name, value.currentValue,
                                                         value.minimumValue, value.maximumValue))
        if not value.minimumValue <= value.currentValue <= value.maximumValue:
            fail("the slider's value lies outside its range")
        press(wait_for("panel's close button", lambda: find(sub, BUTTONS, lambda n: n.startswith("Close"))))
        def panel_gone():
            try:
                return top_window(app, "Aperture Stop") is None
            except Exception:  # its object went away while we looked: gone
                return True
        if not wait_for("the panel to close", panel_gone, fatal=False):
            for i in range(app.childCount):
                w = app.getChildAtIndex(i)
                print("still there: %s \"%s\" %s" % (w.getRoleName(), w.name, w.getState().getStates()), file=sys.stderr)
            fail("the panel did not close")
        print("panel closed")

        # Every device panel: its reading is named and carries the value.
        for button_name, reading, *first in DEVICE_READINGS:
            button = find(window, BUTTONS, lambda n: n == button_name)
            if button is None:
                print("no %s on this stand" % button_name)
                continue
            press(button)
            what = "reading \"%s\" with a value" % reading
            found = wait_for(what, lambda: reading_in_panels(app, window, reading), timeout=5, fatal=not first)
            if found is None:
                sub = wait_for("panel of " + button_name, lambda: other_window(app, window))
                press(wait_for(first[0], lambda: find(sub, BUTTONS, lambda n: n == first[0])))
                found = wait_for(what, lambda: reading_in_panels(app, window, reading))
            sub, label = found
            print("%s: %s" % (sub.name, label.name))
            press(wait_for("close button of " + sub.name,
                           lambda: find(sub, BUTTONS, lambda n: n.startswith("Close"))))
            wait_for(sub.name + " to close", lambda: closed(app, sub.name), fatal=False)
    finally:
        # Closing the window in order: SIGTERM, as the session ends it.
        if panel.poll() is None:
            panel.send_signal(signal.SIGTERM)
        try:
            rc = panel.wait(timeout=30)
        except subprocess.TimeoutExpired:
            panel.kill()
            fail("the panel did not close after SIGTERM")
    if rc != 0:
        fail("the panel closed with exit code %d" % rc)
    print("PASS")


if __name__ == "__main__":
    main()
