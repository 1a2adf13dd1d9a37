#!/usr/bin/python3
"""Scripting the Zentor microscope service over D-Bus (Debian: python3-dbus,
python3-gi).

Lists the microscopes, opens one, reads the nosepiece, moves it to another
address while printing the events the stand sends, and reads it back.

    python3 microscope.py [INDEX]

The service is looked for on the session bus, or on the bus of the D-Bus
address in ZENTOR_BUS_ADDRESS: another computer's session bus through ssh
(docs/remote.md).
"""
import os
import sys

import dbus
from dbus.mainloop.glib import DBusGMainLoop
from gi.repository import GLib

SERVICE = "org.zentor.Microscope"
MANAGER = "org.zentor.Microscope.Manager"
DEVICE = "org.zentor.Microscope.Device"


def main():
    index = int(sys.argv[1]) if len(sys.argv) > 1 else 0
    DBusGMainLoop(set_as_default=True)
    address = os.environ.get("ZENTOR_BUS_ADDRESS")
    bus = dbus.bus.BusConnection(address) if address else dbus.SessionBus()

    manager = dbus.Interface(bus.get_object(SERVICE, "/org/zentor/Microscope"), MANAGER)
    for i, name in enumerate(manager.GetDeviceNames()):
        print(f"microscope {i}: {name} (available: {manager.IsDeviceAvailable(dbus.Int16(i))})")

    path = manager.Connect(dbus.Int16(index))
    microscope = dbus.Interface(bus.get_object(SERVICE, path), DEVICE)
    events = []

    def on_event(message):
        events.append(str(message))
        print("event", message)

    microscope.connect_to_signal("OnPropertyChanged", on_event)

    start = int(microscope.NosepiecePosition())
    target = 2 if start != 2 else 3
    print(f"nosepiece at {start}, moving to {target}")

    loop = GLib.MainLoop()
    outcome = {}

    def moved():
        outcome["ok"] = True
        loop.quit()

    def failed(error):
        # The service's code travels in the error's name and text.
        outcome["error"] = f"{error.get_dbus_name()}: {error.get_dbus_message()}"
        loop.quit()

    # Called without blocking, so that the events are printed during the move.
    microscope.setNosepiecePosition(dbus.Int16(target), reply_handler=moved, error_handler=failed,
                                    timeout=3600)
    loop.run()
    if "error" in outcome:
        print("move refused:", outcome["error"])
        return 1

    # Events that were on their way when the reply came.
    context = GLib.MainContext.default()
    while context.iteration(False):
        pass
    now = int(microscope.NosepiecePosition())
    print(f"nosepiece at {now}")
    microscope.Disconnect()
    return 0 if now == target and f"AppNosepiecePosition:{target}" in events else 1


if __name__ == "__main__":
    sys.exit(main())
