#!/usr/bin/python3
"""A stand's controller, emulated on a pseudo-terminal: the other end of the
serial line that docs/examples/stand-driver.py talks to.

The controller carries a nosepiece, a filter turret and a Z drive, and moves
them with real timing. It prints the path of its serial line ("PORT
/dev/pts/N") on its first line of output, then serves until it is ended.

Its line protocol (ASCII, one command a line, answered by one line):

    ID?          ID <model> <firmware>
    NPN?         NPN <places of the nosepiece>
    NP?          NP <place>                 NP <place>   OK, then @NP <place> on arrival
    FTN?         FTN <places of the filter turret>
    FT?          FT <place>                 FT <place>   OK, then @FT <place> on arrival
    ZL?          ZL <lowest> <highest>      (counts of 0.05 um)
    Z?           Z <counts>                 Z <counts>   OK, then @Z <counts> every
                                                         0.1 s while moving and
                                                         @ZE <counts> on arrival
    ZS <1..9>    OK                         (speed: 5000 counts a second per step)

A refused command answers "ERR RANGE", "ERR BUSY" (that axis is moving) or
"ERR SYNTAX". Lines starting with "@" come unasked.

    python3 stand-controller.py [--stall NP|FT|Z] [--nosepiece N] [--turret N]

--stall makes that axis take its commands and never arrive (a jammed motor),
for trying a driver's time-out.
"""
import argparse
import os
import select
import sys
import time
import tty

SECONDS_PER_PLACE = {"NP": 0.3, "FT": 0.25}
Z_LIMITS = (0, 400000)
REPORT_EVERY = 0.1


class Turret:
    def __init__(self, places, place=1):
        self.places = places
        self.place = place
        self.target = None
        self.arrives = 0.0


class ZDrive:
    def __init__(self):
        self.position = 100000
        self.speed = 4
        self.start = self.target = None
        self.started = 0.0
        self.next_report = 0.0

    def moving(self):
        return self.target is not None


class Controller:
    def __init__(self, places, turret_places, stall):
        self.turrets = {"NP": Turret(places), "FT": Turret(turret_places)}
        self.z = ZDrive()
        self.stall = stall
        self.out = []

    def say(self, text):
        self.out.append(text)

    def command(self, line):
        words = line.split()
        if not words:
            return "ERR SYNTAX"
        head = words[0]
        if head == "ID?":
            return "ID ZENTOR-EXAMPLE 1.0"
        if head in ("NPN?", "FTN?"):
            return "%s %d" % (head[:-1], self.turrets[head[:2]].places)
        if head in ("NP?", "FT?"):
            return "%s %d" % (head[:-1], self.turrets[head[:-1]].place)
        if head in ("NP", "FT") and len(words) == 2 and words[1].isdigit():
            return self.turn(head, int(words[1]))
        if head == "ZL?":
            return "ZL %d %d" % Z_LIMITS
        if head == "Z?":
            return "Z %d" % self.z.position
        if head == "Z" and len(words) == 2 and words[1].lstrip("-").isdigit():
            return self.drive(int(words[1]))
        if head == "ZS" and len(words) == 2 and words[1].isdigit():
            if not 1 <= int(words[1]) <= 9:
                return "ERR RANGE"
            self.z.speed = int(words[1])
            return "OK"
        return "ERR SYNTAX"

    def turn(self, axis, place):
        t = self.turrets[axis]
        if not 1 <= place <= t.places:
            return "ERR RANGE"
        if t.target is not None:
            return "ERR BUSY"
        distance = abs(place - t.place)
        t.target = place
        t.arrives = time.monotonic() + max(distance, 1) * SECONDS_PER_PLACE[axis]
        return "OK"

    def drive(self, counts):
        z = self.z
        if not Z_LIMITS[0] <= counts <= Z_LIMITS[1]:
            return "ERR RANGE"
        if z.moving():
            return "ERR BUSY"
        z.start, z.target = z.position, counts
        z.started = z.next_report = time.monotonic()
        return "OK"

    def advance(self, now):
        """Moves the motors on to `now`, saying what they report."""
        for axis, t in self.turrets.items():
            if t.target is not None and now >= t.arrives and self.stall != axis:
                t.place, t.target = t.target, None
                self.say("@%s %d" % (axis, t.place))
        z = self.z
        if z.moving() and self.stall != "Z":
            span = abs(z.target - z.start)
            done = span == 0 or (now - z.started) * z.speed * 5000 >= span
            if done:
                z.position, z.target = z.target, None
                self.say("@ZE %d" % z.position)
            else:
                travelled = int((now - z.started) * z.speed * 5000)
                z.position = z.start + (travelled if z.target > z.start else -travelled)
                if now >= z.next_report:
                    z.next_report = now + REPORT_EVERY
                    self.say("@Z %d" % z.position)


def main():
    parser = argparse.ArgumentParser(description="A stand's controller on a pseudo-terminal.")
    parser.add_argument("--stall", choices=["NP", "FT", "Z"], help="this axis never arrives")
    parser.add_argument("--nosepiece", type=int, default=5, help="places of the nosepiece (default 5)")
    parser.add_argument("--turret", type=int, default=6, help="places of the filter turret (default 6)")
    args = parser.parse_args()

    master, slave = os.openpty()
    # The line carries bytes as they are: no echo, no line editing.
    tty.setraw(slave)
    print("PORT %s" % os.ttyname(slave), flush=True)
    controller = Controller(args.nosepiece, args.turret, args.stall)
    pending = b""
    while True:
        readable, _, _ = select.select([master], [], [], 0.02)
        if readable:
            try:
                data = os.read(master, 4096)
            except OSError:
                data = b""
            pending += data
            while b"\n" in pending:
                line, pending = pending.split(b"\n", 1)
                text = line.decode("ascii", "replace").strip()
                controller.say(controller.command(text))
            if len(pending) > 4096:   # a line that never ends is no command
                pending = b""
                controller.say("ERR SYNTAX")
        controller.advance(time.monotonic())
        for text in controller.out:
            os.write(master, (text + "\r\n").encode("ascii"))
        controller.out.clear()


if __name__ == "__main__":
    try:
        main()
    except KeyboardInterrupt:
        sys.exit(0)
