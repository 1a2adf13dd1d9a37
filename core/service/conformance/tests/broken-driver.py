#!/usr/bin/python3
"""A deliberately broken stand driver, for the tests of zentor-conformance.

It serves a stand with a nosepiece (5 places), a filter turret (6) and a Z
drive, from an interface file it has spoilt on purpose, and answers with the
faults named on its command line (all of them by default):

    wrong-type     NosepiecePosition answers a 32-bit 'i' where the file says 'n'
    missing        FilterNames is not served at all
    no-colon       a connection is greeted with "AppNosepiecePosition<n>" (no ':')
    never-ends     setZDriveZPosition never answers
    out-of-limits  FilterBlockCassettePosition answers 9 of 6 places
    bad-snapshot   Snapshot gives a nosepiece place other than NosepiecePosition
                   answers, and ZDriveZPosition as a text

    broken-driver.py --bus-name NAME --interfaces DIR [FAULT ...]
"""
import argparse
import os
import sys
import xml.etree.ElementTree as ET

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

MANAGER_PATH = "/org/zentor/Microscope"
DEVICE_PATH = MANAGER_PATH + "/1"
MANAGER = "org.zentor.Microscope.Manager"
DEVICE = "org.zentor.Microscope.Device"
FAULTS = ["wrong-type", "missing", "no-colon", "never-ends", "out-of-limits", "bad-snapshot"]


def spoilt_device(folder, faults):
    tree = ET.parse(os.path.join(folder, DEVICE + ".xml"))
    interface = tree.getroot().find("interface")
    for method in list(interface.findall("method")):
        name = method.get("name")
        if name == "FilterNames" and "missing" in faults:
            interface.remove(method)
        if name == "NosepiecePosition" and "wrong-type" in faults:
            method.find("arg").set("type", "i")
    return Gio.DBusNodeInfo.new_for_xml(ET.tostring(tree.getroot(), encoding="unicode")).lookup_interface(DEVICE)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--bus-name", required=True)
    parser.add_argument("--interfaces", required=True)
    parser.add_argument("faults", nargs="*", help="the faults to show (default: all of %s)" % ", ".join(FAULTS))
    args = parser.parse_args()
    unknown = [f for f in args.faults if f not in FAULTS]
    if unknown:
        parser.error("no such fault: %s" % ", ".join(unknown))
    faults = set(args.faults or FAULTS)

    with open(os.path.join(args.interfaces, MANAGER + ".xml"), encoding="utf-8") as f:
        manager = Gio.DBusNodeInfo.new_for_xml(f.read()).lookup_interface(MANAGER)
    device = spoilt_device(args.interfaces, faults)
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    state = {"NP": 1, "FT": 1, "Z": 1000, "interlock": 0}
    never_answered = []   # the calls held for ever

    sent = [0]              # events sent so far: a snapshot's sequence

    def emit(text):
        sent[0] += 1
        bus.emit_signal(None, DEVICE_PATH, DEVICE, "OnPropertyChanged", GLib.Variant("(s)", (text,)))

    def answer(invocation, info, method, value=None):
        sig = "(" + "".join(a.signature for a in info.lookup_method(method).out_args) + ")"
        invocation.return_value(None if sig == "()" else GLib.Variant(sig, (value,)))

    def refuse(invocation, code, text):
        invocation.return_dbus_error("org.zentor.Error.X%08X" % code, "%08X: %s" % (code, text))

    def on_manager(conn, sender, path, iface, method, params, invocation):
        a = params.unpack()
        if method == "Snapshot":
            names = GLib.Variant("as", ["Simulated", "Broken stand"])
            values = {"InterfaceVersion": GLib.Variant("s", "1.1"), "GetDeviceNames": names}
            return invocation.return_value(GLib.Variant("(ta{sv}a{s(is)})", (0, values, {})))
        values = {"InterfaceVersion": "1.1", "GetDeviceNames": ["Simulated", "Broken stand"],
                  "IsDeviceAvailable": 1 if a and a[0] == 1 else 0, "Connect": DEVICE_PATH, "Ping": None}
        if method == "Connect" and a[0] != 1:
            return refuse(invocation, 0x80070057, "No microscope %d" % a[0])
        answer(invocation, manager, method, values[method])
        if method == "Connect" and "no-colon" in faults:
            GLib.timeout_add(100, lambda: emit("AppNosepiecePosition%d" % state["NP"]) and False)

    limits = {1: (5.0, 5.0, 1.0), 2: (6.0, 1.0, 1.0), 11: (200000.0, 0.0, 1.0)}
    mounted = {1: 1, 2: 1, 10: 1}

    def on_device(conn, sender, path, iface, method, params, invocation):
        a = params.unpack()
        if method in ("UpperLimit", "LowerLimit", "Step"):
            if a[0] not in limits:
                return refuse(invocation, 0x80070057, "No limit index %d" % a[0])
            return answer(invocation, device, method, limits[a[0]][("UpperLimit", "LowerLimit", "Step").index(method)])
        if method in ("DeviceStatus", "IsMounted", "Version") and not 1 <= a[0] <= (6 if method != "IsMounted" else 14):
            return refuse(invocation, 0x80070057, "No index %d" % a[0])
        reads = {
            "DeviceStatus": lambda: 1 if a[0] in (3, 4) else 0,
            "IsMounted": lambda: mounted.get(a[0], 0),
            "IsReadOnly": lambda: 0,
            "Version": lambda: "V1.0",
            "EventLog": lambda: "-%03d" % a[1],
            "IsCameraPresent": lambda: 0,
            "NosepiecePosition": lambda: state["NP"],
            "NosepieceIsInterlockEnabled": lambda: state["interlock"],
            "NosepieceXYMode": lambda: 0,
            "NosepieceZMode": lambda: 0,
            "FilterBlockCassettePosition": lambda: 9 if "out-of-limits" in faults else state["FT"],
            "ZDriveZPosition": lambda: state["Z"],
            "ZDriveIsZEscape": lambda: 0,
            "ZUpperLimit": lambda: 200000,
            "PresetsObservationMode": lambda: 0,
            "ObjectiveNumbers": lambda: [1, 2, 3, 4, 5],
            "ObjectiveNames": lambda: ["a", "b", "c", "d", "e"],
            "ObjectiveSeriesNames": lambda: [""] * 5,
            "ObjectiveTypeNames": lambda: [""] * 5,
            "ObjectiveRates": lambda: [4.0, 10.0, 20.0, 40.0, 60.0],
            "ObjectiveWDs": lambda: [1.0] * 5,
            "ObjectiveNAs": lambda: [0.5] * 5,
            "FilterNumbers": lambda: [0] * 6,
            "FilterNames": lambda: [""] * 6,
            "FilterReikis": lambda: [0] * 6,
            "FilterDMs": lambda: [0] * 6,
            "FilterKyusyus": lambda: [0] * 6,
            "FilterEXNames": lambda: [""] * 6,
            "FilterDMNames": lambda: [""] * 6,
            "FilterBANames": lambda: [""] * 6,
        }
        if method in reads:
            return answer(invocation, device, method, reads[method]())
        if method == "Snapshot":
            bad = "bad-snapshot" in faults
            values = {"NosepiecePosition": GLib.Variant("n", state["NP"] % 5 + 1 if bad else state["NP"]),
                      "ZDriveZPosition": GLib.Variant("s", "far") if bad else GLib.Variant("i", state["Z"]),
                      "IsMounted(1)": GLib.Variant("i", 1)}
            failures = {"UpperLimit(4)": (0x80070057 - (1 << 32), "No limit index 4")}
            return invocation.return_value(GLib.Variant("(ta{sv}a{s(is)})", (sent[0], values, failures)))
        if method == "setNosepieceIsInterlockEnabled":
            state["interlock"] = a[0]
        if method in ("Disconnect", "Ping", "setNosepieceXYMode", "setNosepieceZMode", "setNosepieceIsInterlockEnabled"):
            return answer(invocation, device, method)
        turrets = {"setNosepiecePosition": ("NP", 5, "AppNosepiecePosition"),
                   "setFilterBlockCassettePosition": ("FT", 6, "AppFilterBlockCassettePosition")}
        if method in turrets:
            axis, places, event = turrets[method]
            if not 1 <= a[0] <= places:
                return refuse(invocation, 0x800404BE, "Beyond the turret")
            if state[axis] != a[0]:
                state[axis] = a[0]
                emit("%s:%d" % (event, a[0]))
            return answer(invocation, device, method)
        if method == "setZDriveZPosition":
            if "never-ends" in faults:
                never_answered.append(invocation)
                return
            state["Z"] = a[0]
            emit("AppZDriveZPosition:%d" % a[0])
            return answer(invocation, device, method)
        refuse(invocation, 0x80004005, "%s: not on this stand" % method)

    bus.register_object(MANAGER_PATH, manager, on_manager, None, None)
    bus.register_object(DEVICE_PATH, device, on_device, None, None)
    loop = GLib.MainLoop()
    Gio.bus_own_name_on_connection(bus, args.bus_name, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, None,
                                   lambda *_: loop.quit())
    print("broken-driver: serving %s with %s" % (args.bus_name, ", ".join(sorted(faults))), flush=True)
    loop.run()
    return 1


if __name__ == "__main__":
    sys.exit(main())
