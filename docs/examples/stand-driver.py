#!/usr/bin/python3
"""A driver of a real stand, in the small: it serves org.zentor.Microscope on
the D-Bus session bus for a stand whose controller hangs on a serial line and
carries a nosepiece, a filter turret and a Z drive (Debian: python3-gi).
docs/drivers.md explains every part; stand-controller.py emulates the
controller on a pseudo-terminal:

    python3 stand-controller.py            # prints PORT /dev/pts/N
    python3 stand-driver.py --port /dev/pts/N

The panel (zentor) and zentor-conformance then work with this stand as with
Zentor's own service. The interface comes from Zentor's interface files
(share/dbus-1/interfaces), so that what the driver says of itself by
introspection is the interface the panel speaks.
"""
import argparse
import os
import re
import select
import sys
import termios
import time
import tty
import xml.etree.ElementTree as ET

import gi

gi.require_version("Gio", "2.0")
from gi.repository import Gio, GLib  # noqa: E402

SERVICE = "org.zentor.Microscope"
MANAGER_PATH = "/org/zentor/Microscope"
MANAGER = "org.zentor.Microscope.Manager"
DEVICE = "org.zentor.Microscope.Device"
INDEX = 1                                  # this stand's place in the list; 0 is the simulated one
DEVICE_PATH = "%s/%d" % (MANAGER_PATH, INDEX)
VERSION = "1.1"                            # the interface version this driver serves (Snapshot from 1.1)

# Failure codes (the last three hex digits decide what the panel says).
LIMITATION = 0x800404BE                    # a limit or an interlock refuses
TIME_OUT = 0x800404B7                      # a move did not arrive
NOT_CONNECTED = 0x800404B0
INVALID_ARGUMENT = 0x80070057              # an unknown index
FAILURE = 0x80004005                       # anything else: a device that is not there

NOSEPIECE, FILTER, ZDRIVE = 1, 2, 10       # device indices
# The controller answers as a motorised hub (unit 3) with a focus controller
# (unit 4): the panel's liveness check asks for the stand (1), a hub (2, 3)
# or the epi illuminator (6), so a driver reports one of them.
UNITS = (3, 4)
MOVE_TIME_OUT_S = 30
ANSWER_TIME_OUT_S = 2

OBJECTIVES = [  # number, name, series, type, magnification, working distance, aperture
    (1001, "PL 4x", "Plan", "Dry", 4.0, 18.5, 0.10),
    (1002, "PL 10x", "Plan", "Dry", 10.0, 10.6, 0.25),
    (1003, "APO 20x", "Plan Apo", "Dry", 20.0, 0.6, 0.75),
    (1004, "APO 40x", "Plan Apo", "Dry", 40.0, 0.18, 0.95),
    (1005, "APO 60x Oil", "Plan Apo", "Oil", 60.0, 0.15, 1.35),
]
CUBES = [  # number, name, excitation, mirror, barrier, their texts
    (0, "Empty", 0, 0, 0, "", "", ""),
    (2, "DAPI", 365, 400, 420, "BP360-370", "DM400", "BA420"),
    (3, "GFP", 470, 505, 510, "BP470-495", "DM505", "BA510-550"),
    (4, "TRITC", 545, 570, 590, "BP530-550", "DM570", "BA575IF"),
    (5, "Cy5", 620, 660, 680, "BP620-650", "DM660", "BA670-750"),
    (0, "Empty", 0, 0, 0, "", "", ""),
]


class Refused(Exception):
    """A call that fails with a code, as org.zentor.Error.X<code>."""

    def __init__(self, code, text):
        super().__init__(text)
        self.code = code


# --- the serial line ----------------------------------------------------------------

class SerialLine:
    """The controller's line: one command a line, one answer line each, in
    order; lines starting with "@" come unasked and go to `on_report`."""

    def __init__(self, port, on_report, on_lost):
        self.fd = os.open(port, os.O_RDWR | os.O_NOCTTY | os.O_NONBLOCK)
        tty.setraw(self.fd)
        attributes = termios.tcgetattr(self.fd)
        attributes[4] = attributes[5] = termios.B9600
        termios.tcsetattr(self.fd, termios.TCSANOW, attributes)
        self.on_report = on_report
        self.on_lost = on_lost
        self.buffer = b""
        self.waiting = []          # callbacks for the answers, in order of the commands
        self.alive = True

    def ask_now(self, command):
        """Sends a command and waits for its answer (start-up only)."""
        self.write(command)
        deadline = time.monotonic() + ANSWER_TIME_OUT_S
        while time.monotonic() < deadline:
            line = self._next_line()
            if line is None:
                select.select([self.fd], [], [], 0.05)
                self._read()
            elif line.startswith("@"):
                self.on_report(line)
            else:
                return line
        raise Refused(FAILURE, "the controller does not answer %s" % command)

    def ask(self, command, answered):
        """Sends a command; `answered(line or None)` is called with its answer."""
        if not self.alive:
            answered(None)
            return
        self.waiting.append(answered)
        self.write(command)
        GLib.timeout_add(ANSWER_TIME_OUT_S * 1000, self._late, answered)

    def start(self):
        GLib.io_add_watch(self.fd, GLib.PRIORITY_DEFAULT, GLib.IO_IN | GLib.IO_HUP | GLib.IO_ERR, self._readable)

    def write(self, command):
        os.write(self.fd, (command + "\r\n").encode("ascii"))

    def _late(self, answered):
        if answered in self.waiting:
            self.waiting.remove(answered)
            answered(None)
        return False

    def _read(self):
        try:
            data = os.read(self.fd, 4096)
        except BlockingIOError:
            return True
        except OSError:
            data = b""
        if not data:
            return False
        self.buffer += data
        return True

    def _next_line(self):
        if b"\n" not in self.buffer:
            return None
        line, self.buffer = self.buffer.split(b"\n", 1)
        return line.decode("ascii", "replace").strip()

    def _readable(self, fd, condition):
        if not self._read():
            self.alive = False
            for answered in self.waiting:
                answered(None)
            self.waiting.clear()
            self.on_lost()
            return False
        while True:
            line = self._next_line()
            if line is None:
                return True
            if line.startswith("@"):
                self.on_report(line)
            elif self.waiting:
                self.waiting.pop(0)(line)


# --- the stand ------------------------------------------------------------------------

class Stand:
    """What the driver knows of the stand, and the calls that change it.
    Every change is reported by `emit("<name>:<value>")`."""

    def __init__(self, line, emit):
        self.line = line
        self.emit = emit
        self.firmware = line.ask_now("ID?").split()[-1]
        self.places = int(line.ask_now("NPN?").split()[1])
        self.cubes = int(line.ask_now("FTN?").split()[1])
        self.position = {"NP": int(line.ask_now("NP?").split()[1]), "FT": int(line.ask_now("FT?").split()[1])}
        _, lowest, highest = line.ask_now("ZL?").split()
        self.z_limits = (int(lowest), int(highest))
        self.z = int(line.ask_now("Z?").split()[1])
        self.z_upper = self.z_limits[1]     # the operator's upper limit, kept by the driver
        self.escaped_from = None            # where an escaped focus goes back to
        self.interlock = 0
        self.modes = {"NosepieceXYMode": 0, "NosepieceZMode": 0}
        self.moves = {}                     # axis -> (target, reply, fail, time-out source)

    # turrets and focus: a move answers once the controller reports arrival
    def move(self, axis, target, reply, fail):
        if not self.line.alive:
            return fail(Refused(FAILURE, "The controller does not answer"))
        if axis in self.moves:
            return fail(Refused(LIMITATION, "That device is still moving"))
        current = self.z if axis == "Z" else self.position[axis]
        if target == current:
            return reply()
        def answered(text):
            if text != "OK" and axis in self.moves:
                GLib.source_remove(self.moves.pop(axis)[3])
                code = LIMITATION if text and text.startswith("ERR") else FAILURE
                fail(Refused(code, "The controller answered %s to %s %d" % (text or "nothing", axis, target)))
        timer = GLib.timeout_add_seconds(MOVE_TIME_OUT_S, self._timed_out, axis)
        self.moves[axis] = (target, reply, fail, timer)
        self.line.ask("%s %d" % (axis, target), answered)

    def _timed_out(self, axis):
        target, _, fail, _ = self.moves.pop(axis)
        fail(Refused(TIME_OUT, "%s did not arrive at %d within %d s" % (axis, target, MOVE_TIME_OUT_S)))
        return False

    def report(self, line):
        """An unasked line of the controller: a position while moving, an arrival."""
        words = line.split()
        if len(words) != 2 or not words[1].lstrip("-").isdigit():
            return
        tag, value = words[0], int(words[1])
        if tag == "@Z" or tag == "@ZE":
            self.z = value
            self.emit("AppZDriveZPosition:%d" % value)
            if tag == "@ZE":
                self._arrived("Z")
        elif tag in ("@NP", "@FT"):
            axis = tag[1:]
            self.position[axis] = value
            self.emit("%s:%d" % ("AppNosepiecePosition" if axis == "NP" else "AppFilterBlockCassettePosition", value))
            self._arrived(axis)

    def _arrived(self, axis):
        if axis in self.moves:
            _, reply, _, timer = self.moves.pop(axis)
            GLib.source_remove(timer)
            reply()

    def set_escape(self, escape, reply, fail):
        """The escape lowers the focus out of the way and brings it back."""
        if escape and self.escaped_from is None:
            self.escaped_from = self.z
            def down():
                self.emit("AppZDriveIsZEscape:1")
                reply()
            self.move("Z", self.z_limits[0], down, fail)
        elif not escape and self.escaped_from is not None:
            back, self.escaped_from = self.escaped_from, None
            def up():
                self.emit("AppZDriveIsZEscape:0")
                reply()
            self.move("Z", back, up, fail)
        else:
            reply()


# --- the bus --------------------------------------------------------------------------

def find_interfaces(folder):
    """The folder of Zentor's interface files: given, installed, or in the checkout."""
    here = os.path.dirname(os.path.abspath(__file__))
    candidates = [folder] if folder else []
    data_dirs = os.environ.get("XDG_DATA_DIRS", "/usr/local/share:/usr/share").split(":")
    candidates += [os.path.join(d, "dbus-1", "interfaces") for d in data_dirs]
    candidates.append(os.path.join(here, "..", "..", "core", "service", "dbus", "interfaces"))
    for c in candidates:
        if c and os.path.isfile(os.path.join(c, DEVICE + ".xml")):
            return c
    sys.exit("stand-driver: no Zentor interface files (%s.xml) in %s" % (DEVICE, ", ".join(candidates)))


def minor(version):
    return int(version.split(".")[1])


def interface_info(folder, name, version):
    """The interface as its file describes it, at `version`: a member that a
    later minor added (annotation org.zentor.Since) is left out, so that an
    older driver neither introspects nor answers it."""
    tree = ET.parse(os.path.join(folder, name + ".xml"))
    interface = tree.getroot().find("interface")
    for member in list(interface):
        since = [a.get("value") for a in member.findall("annotation") if a.get("name") == "org.zentor.Since"]
        if since and minor(since[0]) > minor(version):
            interface.remove(member)
        if member.tag == "annotation" and member.get("name") == "org.zentor.InterfaceVersion":
            member.set("value", version)
    return Gio.DBusNodeInfo.new_for_xml(ET.tostring(tree.getroot(), encoding="unicode")).lookup_interface(name)


def check_version(folder, version):
    """The files must be of the major this driver was written for and at
    least its minor; a later minor only adds members, which it leaves out."""
    root = ET.parse(os.path.join(folder, MANAGER + ".xml")).getroot()
    files = [a.get("value") for a in root.iter("annotation") if a.get("name") == "org.zentor.InterfaceVersion"]
    files = files[0] if files else None
    if files is None or files.split(".")[0] != version.split(".")[0] or minor(files) < minor(version):
        sys.exit("stand-driver: the interface files are version %s; this driver serves version %s" % (files, version))


def out_signature(info, method):
    return "(" + "".join(a.signature for a in info.lookup_method(method).out_args) + ")"


class Driver:
    def __init__(self, bus, stand, interfaces, version=VERSION):
        self.bus = bus
        self.stand = stand
        self.version = version
        check_version(interfaces, version)
        self.manager = interface_info(interfaces, MANAGER, version)
        self.device = interface_info(interfaces, DEVICE, version)
        self.sent = 0               # events sent so far: the sequence number of a snapshot
        bus.register_object(MANAGER_PATH, self.manager, self.on_manager_call, None, None)
        bus.register_object(DEVICE_PATH, self.device, self.on_device_call, None, None)
        self.reads = self._reads()
        self.writes = self._writes()

    def emit(self, text):
        self.sent += 1
        self.bus.emit_signal(None, DEVICE_PATH, DEVICE, "OnPropertyChanged", GLib.Variant("(s)", (text,)))

    # answers
    def answer(self, invocation, info, method, value):
        signature = out_signature(info, method)
        invocation.return_value(None if signature == "()" else GLib.Variant(signature, (value,)))

    @staticmethod
    def refuse(invocation, refused):
        invocation.return_dbus_error("org.zentor.Error.X%08X" % refused.code, "%08X: %s" % (refused.code, refused))

    # the manager
    def on_manager_call(self, bus, sender, path, interface, method, params, invocation):
        args = params.unpack()
        try:
            if method == "InterfaceVersion":
                value = self.version
            elif method == "GetDeviceNames":
                value = self.device_names()
            elif method == "IsDeviceAvailable":
                value = self.available(args[0])
            elif method == "Snapshot":
                values = {"InterfaceVersion": GLib.Variant("s", self.version),
                          "GetDeviceNames": GLib.Variant("as", self.device_names())}
                for index in range(INDEX + 1):
                    values["IsDeviceAvailable(%d)" % index] = GLib.Variant("n", self.available(index))
                return invocation.return_value(GLib.Variant("(ta{sv}a{s(is)})", (0, values, {})))
            elif method == "Connect":
                if args[0] != INDEX:
                    raise Refused(INVALID_ARGUMENT if not 0 <= args[0] <= INDEX else NOT_CONNECTED,
                                  "No microscope %d here" % args[0])
                value = DEVICE_PATH
            else:                   # Ping
                value = None
            self.answer(invocation, self.manager, method, value)
        except Refused as refused:
            self.refuse(invocation, refused)

    def device_names(self):
        return ["Simulated (not served by this driver)", "Example stand"]

    def available(self, index):
        return 1 if index == INDEX and self.stand.line.alive else 0

    # the device
    def on_device_call(self, bus, sender, path, interface, method, params, invocation):
        args = params.unpack()
        reply = lambda value=None: self.answer(invocation, self.device, method, value)
        fail = lambda refused: self.refuse(invocation, refused)
        try:
            if method in self.writes:
                self.writes[method](*args, reply=reply, fail=fail)
            elif method in self.reads:
                reply(self.reads[method](*args))
            elif method in ("Disconnect", "Ping"):
                reply()
            elif method == "Snapshot":
                invocation.return_value(self.snapshot())
            else:
                raise Refused(FAILURE, "%s: this stand has no such device" % method)
        except Refused as refused:
            fail(refused)

    # Snapshot: every read of opening the microscope in one reply, each as its
    # single read answers it now, or the code and text of its refusal; the
    # sequence is the number of events sent so far (the next is one more).
    SNAPSHOT_READS = (
        [("DeviceStatus", (u,)) for u in range(1, 7)] + [("Version", (u,)) for u in range(1, 7)]
        + [("IsMounted", (d,)) for d in range(1, 15)] + [("IsReadOnly", (d,)) for d in range(1, 6)]
        + [(m, (i,)) for i in (1, 2, 4, 5, 6, 9, 11, 13, 14, 16, 17, 18) for m in ("UpperLimit", "LowerLimit", "Step")]
        + [("IsCameraPresent", (i,)) for i in range(INDEX + 1)] + [("ObservationName", (n,)) for n in range(1, 13)]
    )

    def snapshot(self):
        values, failures = {}, {}
        reads = list(self.SNAPSHOT_READS)
        reads += [(name, ()) for name, read in self.reads.items()
                  if not self.device.lookup_method(name).in_args]
        for name, args in reads:
            key = "%s(%s)" % (name, ",".join(str(a) for a in args)) if args else name
            try:
                value = self.reads[name](*args)
                values[key] = GLib.Variant(self.device.lookup_method(name).out_args[0].signature, value)
            except Refused as refused:
                failures[key] = (refused.code - (1 << 32) if refused.code >= 1 << 31 else refused.code, str(refused))
        return GLib.Variant("(ta{sv}a{s(is)})", (self.sent, values, failures))

    def _reads(self):
        s = self.stand
        mounted = {NOSEPIECE: 1, FILTER: 1, ZDRIVE: 1}

        def device_index(d):
            if not 1 <= d <= 14:
                raise Refused(INVALID_ARGUMENT, "No device %d" % d)
            return d

        def status(u):
            if not 1 <= u <= 6:
                raise Refused(INVALID_ARGUMENT, "No unit %d" % u)
            return 1 if u in UNITS and s.line.alive else 0

        def unit_index(u):
            """A unit that is there: the controller, while it answers."""
            if status(u) != 1:
                raise Refused(FAILURE, "Unit %d does not answer" % u)
            return u

        def limits(index):
            table = {1: (s.places, 1, 1), 2: (s.cubes, 1, 1),
                     11: (s.z_limits[1], s.z_limits[0], 1)}
            if index in table:
                return table[index]
            if index in (4, 5, 6, 9, 13, 14, 16, 17, 18):
                raise Refused(FAILURE, "Limit %d: this stand has no such device" % index)
            raise Refused(INVALID_ARGUMENT, "No limit index %d" % index)

        def event_log(unit, entry):
            unit_index(unit)
            if not 1 <= entry <= 100:
                raise Refused(INVALID_ARGUMENT, "No entry %d" % entry)
            return "-%03d" % entry      # this controller keeps no log: every slot is its prefix alone

        def camera(index):
            if not 0 <= index <= INDEX:
                raise Refused(INVALID_ARGUMENT, "No microscope %d" % index)
            return 0

        def observation(n, value):
            """This stand keeps no observation methods: empty ones, 1 to 12."""
            if not 1 <= n <= 12:
                raise Refused(INVALID_ARGUMENT, "No observation method %d" % n)
            return value

        return {
            "DeviceStatus": status,
            "IsMounted": lambda d: mounted.get(device_index(d), 0),
            "IsReadOnly": lambda d: device_index(d) and 0,      # every device is motorised
            "UpperLimit": lambda i: float(limits(i)[0]),
            "LowerLimit": lambda i: float(limits(i)[1]),
            "Step": lambda i: float(limits(i)[2]),
            "Version": lambda u: unit_index(u) and "V%s" % s.firmware,
            "EventLog": event_log,
            "IsCameraPresent": camera,
            "NosepiecePosition": lambda: s.position["NP"],
            "NosepieceIsInterlockEnabled": lambda: s.interlock,
            "NosepieceXYMode": lambda: s.modes["NosepieceXYMode"],
            "NosepieceZMode": lambda: s.modes["NosepieceZMode"],
            "FilterBlockCassettePosition": lambda: s.position["FT"],
            "ZDriveZPosition": lambda: s.z,
            "ZDriveIsZEscape": lambda: 0 if s.escaped_from is None else 1,
            "ZUpperLimit": lambda: s.z_upper,
            "PresetsObservationMode": lambda: 0,      # no observation methods on this stand
            "ObservationName": lambda n: observation(n, ""),
            "ObservationPosition": lambda n: observation(n, (0,) * 11),
            "ObjectiveNumbers": lambda: [o[0] for o in OBJECTIVES[:s.places]],
            "ObjectiveNames": lambda: [o[1] for o in OBJECTIVES[:s.places]],
            "ObjectiveSeriesNames": lambda: [o[2] for o in OBJECTIVES[:s.places]],
            "ObjectiveTypeNames": lambda: [o[3] for o in OBJECTIVES[:s.places]],
            "ObjectiveRates": lambda: [o[4] for o in OBJECTIVES[:s.places]],
            "ObjectiveWDs": lambda: [o[5] for o in OBJECTIVES[:s.places]],
            "ObjectiveNAs": lambda: [o[6] for o in OBJECTIVES[:s.places]],
            "FilterNumbers": lambda: [c[0] for c in CUBES[:s.cubes]],
            "FilterNames": lambda: [c[1] for c in CUBES[:s.cubes]],
            "FilterReikis": lambda: [c[2] for c in CUBES[:s.cubes]],
            "FilterDMs": lambda: [c[3] for c in CUBES[:s.cubes]],
            "FilterKyusyus": lambda: [c[4] for c in CUBES[:s.cubes]],
            "FilterEXNames": lambda: [c[5] for c in CUBES[:s.cubes]],
            "FilterDMNames": lambda: [c[6] for c in CUBES[:s.cubes]],
            "FilterBANames": lambda: [c[7] for c in CUBES[:s.cubes]],
        }

    def _writes(self):
        s = self.stand

        def turret(axis, places):
            def write(target, reply, fail):
                if not 1 <= target <= places:
                    raise Refused(LIMITATION, "Place %d is beyond the %d places" % (target, places))
                s.move(axis, target, reply, fail)
            return write

        def focus(target, reply, fail):
            if not s.z_limits[0] <= target <= min(s.z_limits[1], s.z_upper):
                raise Refused(LIMITATION, "%d is beyond the focus limits" % target)
            if s.escaped_from is not None:
                raise Refused(LIMITATION, "The focus is escaped")
            s.move("Z", target, reply, fail)

        def stored(check, keep):
            def write(value, reply, fail):
                if not check(value):
                    raise Refused(LIMITATION, "%d is refused" % value)
                keep(value)
                reply()
            return write

        def speed(value, reply, fail):
            if not 1 <= value <= 9:
                raise Refused(LIMITATION, "Speed %d is beyond 1 to 9" % value)
            s.line.ask("ZS %d" % value, lambda answer: reply() if answer == "OK" else
                       fail(Refused(FAILURE, "The controller answered %s" % answer)))

        def command(text, reply, fail):
            # The console's raw commands go to the controller as they are.
            if "\n" in text or "\r" in text or len(text) > 200:
                raise Refused(INVALID_ARGUMENT, "One line of at most 200 characters")
            s.line.ask(text, lambda answer: reply(answer) if answer is not None else
                       fail(Refused(FAILURE, "The controller does not answer")))

        def no_methods(*args, reply, fail):
            raise Refused(LIMITATION, "This stand has no observation methods")

        return {
            "setNosepiecePosition": turret("NP", s.places),
            "setFilterBlockCassettePosition": turret("FT", s.cubes),
            "setZDriveZPosition": focus,
            "setZDriveIsZEscape": lambda escape, reply, fail: s.set_escape(escape != 0, reply, fail),
            "setZDriveSpeed": speed,
            "setZUpperLimit": stored(lambda v: s.z_limits[0] <= v <= s.z_limits[1],
                                     lambda v: setattr(s, "z_upper", v)),
            "setNosepieceIsInterlockEnabled": stored(lambda v: True, lambda v: setattr(s, "interlock", v)),
            "setNosepieceXYMode": stored(lambda v: 0 <= v <= 3, lambda v: s.modes.update(NosepieceXYMode=v)),
            "setNosepieceZMode": stored(lambda v: 0 <= v <= 3, lambda v: s.modes.update(NosepieceZMode=v)),
            "SendCommand": command,
            "setPresetsObservationMode": no_methods,
            "setObservationName": no_methods,
            "setObservationPosition": no_methods,
        }


def main():
    parser = argparse.ArgumentParser(description="Serves a stand on a serial line as org.zentor.Microscope.")
    parser.add_argument("--port", required=True, help="the controller's serial line (a tty)")
    parser.add_argument("--bus-name", default=SERVICE, help="the bus name to serve (default %s)" % SERVICE)
    parser.add_argument("--interfaces", help="the folder of Zentor's interface files")
    parser.add_argument("--interface-version", default=VERSION,
                        help="serve this older minor, as a driver written for it (1.0: without Snapshot)")
    args = parser.parse_args()
    if not re.fullmatch(r"\d+\.\d+", args.interface_version) or minor(args.interface_version) > minor(VERSION):
        parser.error("--interface-version takes MAJOR.MINOR up to %s" % VERSION)

    loop = GLib.MainLoop()
    interfaces = find_interfaces(args.interfaces)
    bus = Gio.bus_get_sync(Gio.BusType.SESSION, None)
    driver = None

    def emit(text):
        if driver:
            driver.emit(text)

    def lost():
        print("stand-driver: the controller's line closed", file=sys.stderr)

    try:
        line = SerialLine(args.port, lambda text: None, lost)
        stand = Stand(line, emit)
    except (OSError, Refused) as e:
        sys.exit("stand-driver: %s: %s" % (args.port, e))
    line.on_report = stand.report
    line.start()
    driver = Driver(bus, stand, interfaces, args.interface_version)

    def name_lost(connection, name):
        print("stand-driver: cannot own the bus name %s" % name, file=sys.stderr)
        loop.quit()

    Gio.bus_own_name_on_connection(bus, args.bus_name, Gio.BusNameOwnerFlags.DO_NOT_QUEUE, None, name_lost)
    print("stand-driver: serving %s as %s on the session bus" % (args.port, args.bus_name), flush=True)
    loop.run()
    return 1


if __name__ == "__main__":
    sys.exit(main())
