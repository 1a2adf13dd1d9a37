#!/usr/bin/python3
"""The real panel on the example stand driver of docs/examples: the window
connects to the stand the driver serves, the operator chooses another
objective with the mouse (real X clicks by xdotool on the controls that
AT-SPI finds by role and name), and the reading follows once the emulated
controller's nosepiece has arrived; the driver reports the same place.

Usage: driver-example-window.py ZENTOR_EXE ATSPI_HELPERS SCREENSHOT
(under an X server, on a session bus where the driver serves
org.zentor.Microscope, with an AT-SPI bus)."""
import importlib.util
import os
import signal
import subprocess
import sys

import pyatspi

exe, helpers, screenshot = sys.argv[1:4]
found = importlib.util.spec_from_file_location("atspi_session", helpers)
atspi = importlib.util.module_from_spec(found)
found.loader.exec_module(atspi)
fail, wait_for, find = atspi.fail, atspi.wait_for, atspi.find


def click(acc):
    """A real click of the X server's pointer in the middle of the control."""
    x, y, w, h = acc.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
    if w <= 0 or h <= 0:
        fail("%s \"%s\" has no place on the screen" % (acc.getRoleName(), acc.name))
    subprocess.run(["xdotool", "mousemove", "--sync", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)


def driver_position():
    out = subprocess.run(["busctl", "--user", "call", "org.zentor.Microscope", "/org/zentor/Microscope/1",
                          "org.zentor.Microscope.Device", "NosepiecePosition"],
                         capture_output=True, text=True, check=True).stdout.split()
    return out[-1]


def main():
    home = os.environ.get("ZENTOR_TEST_HOME", ".")
    env = dict(os.environ, ZENTOR_PRINT_CAPTION="1", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1")
    stderr = open(os.path.join(home, "zentor.stderr"), "w")
    # No /SIM: the panel lists the stands the service has, here the driver's one.
    panel = subprocess.Popen([exe], env=env, stderr=stderr)
    try:
        app = wait_for("Zentor application on the accessibility bus", atspi.application)
        window = wait_for("window connected to the example stand", lambda: find(
            app, (pyatspi.ROLE_FRAME, pyatspi.ROLE_WINDOW), lambda n: n == "Zentor  [ Example stand ]"))
        print("window: " + window.name)
        objective = wait_for("objective reading", lambda: find(
            window, atspi.TEXTS, lambda n: n.startswith("Objective ") and ":" in n))
        before = objective.name
        number = before[len("Objective "):].split(":")[0].strip()
        print("objective: %s (driver: %s)" % (before, driver_position()))
        if driver_position() != number:
            fail("the panel shows objective %s, the driver reports %s" % (number, driver_position()))

        click(wait_for("objective selector button", lambda: find(
            window, atspi.BUTTONS, lambda n: n == "Choose the objective")))
        positions = wait_for("objective positions", lambda: find(
            window, (pyatspi.ROLE_LIST,), lambda n: n == "Objective positions"))
        items = [positions.getChildAtIndex(i) for i in range(positions.childCount)]
        print("positions: " + " | ".join(i.name for i in items))
        # The farthest place from where it stands: the turn takes the controller's real time.
        others = [i for i in items if i.getRole() == pyatspi.ROLE_LIST_ITEM and i.name.split(":")[0].strip() != number]
        if not others:
            fail("the selector offers no other objective")
        other = max(others, key=lambda i: abs(int(i.name.split(":")[0]) - int(number)))
        wanted = other.name.split(":")[0].strip()
        click(other)
        after = wait_for("reading of objective " + wanted, lambda: find(
            window, atspi.TEXTS, lambda n: n.startswith("Objective " + wanted + ":")), fatal=False)
        if after is None:
            subprocess.run(["import", "-window", "root", screenshot], check=False)
            fail("no reading of objective %s within %d s (driver: %s; the screen is in %s)"
                 % (wanted, atspi.TIMEOUT, driver_position(), screenshot))
        print("objective now: %s (driver: %s)" % (after.name, driver_position()))
        if driver_position() != wanted:
            fail("the panel shows objective %s, the driver reports %s" % (wanted, driver_position()))
        subprocess.run(["import", "-window", "root", screenshot], check=True)
    finally:
        if panel.poll() is None:
            panel.send_signal(signal.SIGTERM)
        try:
            rc = panel.wait(timeout=30)
        except subprocess.TimeoutExpired:
            panel.kill()
            fail("the panel did not close after SIGTERM")
    if rc != 0:
        fail("the panel closed with exit code %d: %s" % (rc, open(os.path.join(home, "zentor.stderr")).read()))
    print("PASS")


if __name__ == "__main__":
    main()
