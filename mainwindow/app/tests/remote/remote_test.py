#!/usr/bin/env python3
"""The real panel driving the stand of another computer (zentor --host),
through the real ssh, a real sshd on 127.0.0.1 and the real
systemd-stdio-bridge (standhost.py makes that computer on this one).

Usage: remote_test.py ZENTOR_EXE SERVICE_EXE BUILD_DIR [DELAY_RELAY] [unittest arguments]

  StartFailures, BadInput  need no display (offscreen)
  EndToEnd, LinkLoss       need an X server (run-under-xvfb.sh) and a session bus of
                           this computer (dbus-run-session) for the
                           accessibility bus the tests read the panel through
  Scripting, FaultInterface  no display
"""
import importlib.util
import os
import pty
import re
import select
import shutil
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from standhost import StandHost, stop, wait_for

ZENTOR = SERVICE = BUILD = RELAY = None
HOME = os.environ.get("ZENTOR_TEST_HOME", os.getcwd())
HERE = os.path.dirname(os.path.abspath(__file__))
# The service's answer to a fault-injection call it does not offer.
FAULT_INTERFACE_REFUSED = "org.zentor.StandControl is offered only by a service started with --enable-fault-injection"


def conf(name):
    """A bus configuration of the build: zentor-session.conf starts the
    built service on demand without fault injection, as an installed
    session bus does; test-bus.conf starts nothing."""
    return {
        "activating": os.path.join(BUILD, "share/dbus-1/zentor-session.conf"),
        "empty": os.path.join(BUILD, "stand/service/test-bus.conf"),
    }[name]


class Panel:
    """The real zentor, its standard error kept in a file of the test home."""

    def __init__(self, host, args, name, env_extra=None, tty=False):
        self.stderr_path = os.path.join(HOME, name + ".stderr")
        env = host.env() if host else dict(os.environ)
        env.update({"ZENTOR_PRINT_CAPTION": "1", "QT_LINUX_ACCESSIBILITY_ALWAYS_ON": "1"})
        env.update(env_extra or {})
        self.started = time.monotonic()
        self.tty_output = b""
        if tty:
            # A terminal of its own: a prompt, if ssh made one, would show here.
            open(self.stderr_path, "w").close()
            pid, self.tty = pty.fork()
            if pid == 0:
                fd = os.open(self.stderr_path, os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o644)
                os.dup2(fd, 2)
                os.execve(ZENTOR, [ZENTOR] + args, env)
            self.pid = pid
            self.proc = None
        else:
            self.proc = subprocess.Popen([ZENTOR] + args, env=env, stdin=subprocess.DEVNULL,
                                         stderr=open(self.stderr_path, "w"))
            self.pid = self.proc.pid
        self.rc = None

    def stderr(self):
        with open(self.stderr_path, errors="replace") as f:
            return f.read()

    def poll(self):
        if self.rc is None:
            if self.proc:
                self.rc = self.proc.poll()
            else:
                self._read_tty()
                done, status = os.waitpid(self.pid, os.WNOHANG)
                if done:
                    self.rc = os.waitstatus_to_exitcode(status)
        return self.rc

    def _read_tty(self):
        while select.select([self.tty], [], [], 0)[0]:
            try:
                data = os.read(self.tty, 4096)
            except OSError:
                return
            if not data:
                return
            self.tty_output += data

    def wait(self, timeout=30):
        wait_for("end of the panel", lambda: self.poll() is not None, timeout)
        return self.rc

    def signal(self, sig):
        if self.poll() is None:
            os.kill(self.pid, sig)

    def wait_stderr(self, pattern, timeout=30):
        return wait_for("'%s' on the panel's standard error" % pattern,
                        lambda: re.search(pattern, self.stderr()), timeout)

    def caption(self, timeout=60):
        m = wait_for("connected caption", lambda: re.search(r"caption: (Zentor  \[ .* \])", self.stderr())
                     or self._ended(), timeout)
        return m.group(1)

    def _ended(self):
        if self.poll() is not None:
            raise AssertionError("zentor ended (%s): %s" % (self.rc, self.stderr()))
        return None

    def kill(self):
        self.signal(signal.SIGKILL)
        if self.poll() is None:
            self.wait(10)


def descendants(pid):
    """Every process below pid."""
    children = {}
    for entry in os.listdir("/proc"):
        if entry.isdigit():
            try:
                with open("/proc/%s/stat" % entry) as f:
                    stat = f.read()
            except OSError:
                continue
            ppid = int(stat[stat.rindex(")") + 2:].split()[1])
            children.setdefault(ppid, []).append(int(entry))
    out, stack = [], [pid]
    while stack:
        for c in children.get(stack.pop(), []):
            out.append(c)
            stack.append(c)
    return out


def command_of(pid):
    try:
        with open("/proc/%d/cmdline" % pid, "rb") as f:
            return f.read().split(b"\0")[0].decode(errors="replace")
    except OSError:
        return ""


def inet_sockets():
    """inode -> (table, state) of every IP socket of this network namespace."""
    table = {}
    for name in ("tcp", "tcp6", "udp", "udp6", "raw", "raw6"):
        try:
            with open("/proc/net/" + name) as f:
                lines = f.read().splitlines()[1:]
        except OSError:
            continue
        for line in lines:
            fields = line.split()
            table[fields[9]] = (name, fields[3])
    return table


def socket_inodes(pid):
    inodes = []
    try:
        for fd in os.listdir("/proc/%d/fd" % pid):
            try:
                target = os.readlink("/proc/%d/fd/%s" % (pid, fd))
            except OSError:
                continue
            if target.startswith("socket:["):
                inodes.append(target[8:-1])
    except OSError:
        pass
    return inodes


class StandTestCase(unittest.TestCase):
    """A far computer of its own for each test."""
    variant = "normal"
    far_bus = "activating"

    def setUp(self):
        self.work = tempfile.mkdtemp(prefix="stand-", dir=HOME)
        os.chmod(self.work, 0o755)
        self.host = StandHost(self.work, conf(self.far_bus), self.variant)
        self.panels = []

    def tearDown(self):
        for p in self.panels:
            if p.poll() is None:
                p.kill()
        self.host.close()

    def panel(self, args, name, **kw):
        p = Panel(self.host, args, name, **kw)
        self.panels.append(p)
        return p

    def refused_start(self, args, name, pattern, **kw):
        """Starts the panel; it must say `pattern` on its standard error and
        end with 1. Answers the message and the seconds it took."""
        p = self.panel(args, name, **kw)
        m = p.wait_stderr(r"zentor: (.*)", timeout=60)
        seconds = time.monotonic() - p.started
        message = m.group(1)
        # Its box waits for the operator; SIGTERM answers it.
        p.signal(signal.SIGTERM)
        self.assertEqual(p.wait(), 1, p.stderr())
        self.assertRegex(message, pattern)
        print("%s: %.2f s: %s" % (name, seconds, message))
        self.assertFalse(re.search(r"caption: ", p.stderr()), "a refused start opened no window")
        return message, p

    def ssh_calls(self):
        log = os.path.join(self.host.bin, "ssh.log")
        return open(log).read() if os.path.exists(log) else ""


# ---------------------------------------------------------------------------------
class StartFailures(StandTestCase):
    """Each failure of the far side ends the start with its cause, quickly."""

    def test_host_unreachable(self):
        self.refused_start(["--host", "nowhere"], "unreachable",
                           r"^Cannot reach the session bus of nowhere: ssh: connect to host 127\.0\.0\.1 port "
                           r"%d: Connection refused$" % self.host.closed_port)

    def test_authentication_refused_without_a_prompt(self):
        # On a terminal of its own: batch mode asks for nothing there.
        message, p = self.refused_start(["--host", "stand-wrongkey"], "auth-refused",
                                        r"^Cannot reach the session bus of stand-wrongkey: .*Permission denied "
                                        r"\(publickey\)\.$", tty=True)
        self.assertNotIn(b"assword", p.tty_output)
        self.assertNotIn(b"assphrase", p.tty_output)

    def test_a_key_with_a_passphrase_is_not_asked_for(self):
        locked = os.path.join(self.work, "locked_key")
        subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "secret phrase", "-f", locked], check=True)
        with open(os.path.join(self.work, "authorized_keys"), "a") as f:
            f.write(open(locked + ".pub").read())
        with open(os.path.join(self.work, "ssh_config")) as f:
            config = f.read()
        with open(os.path.join(self.work, "ssh_config"), "w") as f:
            f.write(config.replace("Host stand-wrongkey\n", "Host stand-wrongkey\n  IdentityFile %s\n" % locked, 1)
                    .replace("IdentityFile %s/other_key" % self.work, "IdentityFile " + locked))
        message, p = self.refused_start(["--host", "stand-wrongkey"], "passphrase",
                                        r"Permission denied \(publickey\)", tty=True)
        self.assertNotIn(b"assphrase", p.tty_output)

    def test_unknown_host_key(self):
        self.refused_start(["--host", "stand-unknown"], "unknown-host-key",
                           r"^Cannot reach the session bus of stand-unknown: Host key verification failed\.$")


class NoBridge(StandTestCase):
    variant = "no-bridge"

    def test_no_bridge_on_the_far_side(self):
        self.refused_start(["--host", "stand"], "no-bridge",
                           r"^Cannot reach the session bus of stand: .+: systemd-stdio-bridge is not installed "
                           r"\(Debian package systemd\)$")


class NoSessionBus(StandTestCase):
    variant = "no-bus"

    def test_no_session_bus_on_the_far_side(self):
        self.refused_start(["--host", "stand"], "no-bus",
                           r"^Cannot reach the session bus of stand: .+: no session bus of user \S+ at "
                           + re.escape(self.host.runtime) + r"/bus$")


class GarbageBridge(StandTestCase):
    variant = "garbage-bridge"

    def test_a_bridge_that_prints_garbage(self):
        self.refused_start(["--host", "stand"], "garbage-bridge",
                           r"^The session bus of stand did not answer within 10 s: what came back was not D-Bus")


class NoService(StandTestCase):
    far_bus = "empty"

    def test_no_service_on_the_far_bus(self):
        self.refused_start(["--host", "stand"], "no-service",
                           r"^The session bus of stand has no microscope service \(org\.zentor\.Microscope\): "
                           r"zentor is not installed on stand")


# ---------------------------------------------------------------------------------
class BadInput(StandTestCase):
    """Hosts and addresses that are no such thing: refused, never given to a
    shell or to ssh."""

    def test_hosts_users_and_addresses_are_refused_before_ssh(self):
        marker = os.path.join(self.work, "owned")
        cases = [
            (["--host", "lab pc"], r"^--host: the host name 'lab pc' holds ' '"),
            (["--host", "stand;touch " + marker], r"holds ';'"),
            (["--host", "$(touch %s)" % marker], r"holds '\$'"),
            (["--host", "`touch %s`" % marker], r"holds '`'"),
            (["--host", "stand|touch"], r"holds '\|'"),
            (["--host", "-oProxyCommand=touch " + marker], r"host name '-oProxyCommand=touch .*' starts with '-'"),
            (["--host", "-oProxyCommand=touch@stand"], r"user name '-oProxyCommand=touch' starts with '-'"),
            (["--host", "-l@stand"], r"user name '-l' starts with '-'"),
            (["--host", "a@b@c"], r"more than one '@'"),
            (["--host"], r"^--host needs a computer"),
            (["--host=", "/SIM"], r"no host name is given"),
            (["--host", "stand", "--host", "stand"], r"--host is given twice"),
        ]
        for args, pattern in cases:
            with self.subTest(args=args):
                self.refused_start(args, "bad-host", pattern)
        for address, pattern in [("nonsense", r"^ZENTOR_BUS_ADDRESS is not a D-Bus address \("),
                                 ("unix:path=/tmp/a b", r"^ZENTOR_BUS_ADDRESS is not a D-Bus address \("),
                                 ("unixexec:path=ssh,argv1=$(touch%20" + marker + ")",
                                  r"^ZENTOR_BUS_ADDRESS is not a D-Bus address \(")]:
            with self.subTest(address=address):
                self.refused_start([], "bad-address", pattern, env_extra={"ZENTOR_BUS_ADDRESS": address})
        self.refused_start(["--host", "stand"], "inprocess", r"cannot be combined with --host",
                           env_extra={"ZENTOR_SERVICE": "inprocess"})
        self.assertFalse(os.path.exists(marker), "a shell ran a part of the input")
        self.assertEqual(self.ssh_calls(), "", "ssh was started for a refused input")

    def test_an_address_that_reaches_nothing(self):
        self.refused_start([], "address-nothing",
                           r"^Cannot reach the bus at unix:path=%s/none: .*No such file or directory"
                           % re.escape(self.work),
                           env_extra={"ZENTOR_BUS_ADDRESS": "unix:path=%s/none" % self.work})


# ---------------------------------------------------------------------------------
def load_atspi():
    """The accessibility helpers of the packaging tests (find, press, ...)."""
    path = os.path.join(HERE, "..", "..", "..", "..", "packaging", "tests", "atspi-session.py")
    found = importlib.util.spec_from_file_location("atspi_session", os.path.normpath(path))
    module = importlib.util.module_from_spec(found)
    found.loader.exec_module(module)
    return module


class AccessibilityBus:
    """The accessibility bus on this test's session bus, for reading the panel."""

    def __init__(self):
        launcher = next((l for l in ("/usr/libexec/at-spi-bus-launcher", "/usr/lib/at-spi2-core/at-spi-bus-launcher")
                         if os.access(l, os.X_OK)), None)
        if not launcher:
            raise AssertionError("at-spi2-core is not installed (scripts/deps.sh installs it)")
        self.proc = subprocess.Popen([launcher, "--launch-immediately"], stdout=subprocess.DEVNULL,
                                     stderr=open(os.path.join(HOME, "atspi.log"), "a"))
        wait_for("accessibility bus", lambda: subprocess.run(
            ["dbus-send", "--session", "--print-reply", "--dest=org.a11y.Bus", "/org/a11y/bus",
             "org.a11y.Bus.GetAddress"], capture_output=True).returncode == 0, 15)

    def close(self):
        stop(self.proc)


class WindowTestCase(StandTestCase):
    """Reads the panel through the accessibility bus and clicks its controls
    with the X server's pointer."""

    @classmethod
    def setUpClass(cls):
        cls.a11y = AccessibilityBus()
        cls.at = load_atspi()
        import pyatspi
        cls.pyatspi = pyatspi

    @classmethod
    def tearDownClass(cls):
        cls.a11y.close()

    def click(self, acc):
        x, y, w, h = acc.queryComponent().getExtents(self.pyatspi.DESKTOP_COORDS)
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)

    def application(self, panel):
        """Zentor on the accessibility bus; a panel that ended first fails the
        test at once, with what it wrote."""
        found = self.at.wait_for("Zentor on the accessibility bus",
                                 lambda: panel.poll() is not None or self.at.application())
        panel._ended()
        return found

    def window(self, caption_prefix):
        app = self.at.wait_for("Zentor on the accessibility bus", self.at.application)
        return app, self.at.wait_for("window " + caption_prefix, lambda: self.at.find(
            app, (self.pyatspi.ROLE_FRAME, self.pyatspi.ROLE_WINDOW), lambda n: n.startswith(caption_prefix)))

    def objective_reading(self, window, number=None):
        prefix = "Objective " + (str(number) + ":" if number is not None else "")
        return self.at.wait_for("objective reading " + prefix, lambda: self.at.find(
            window, self.at.TEXTS, lambda n: n.startswith(prefix) and ":" in n))

    def choose_objective(self, window, other_than):
        """Clicks the objective selector and another objective in it;
        answers the number chosen."""
        selector = self.at.wait_for("objective selector", lambda: self.at.find(
            window, self.at.BUTTONS, lambda n: n == "Choose the objective"))
        # A click while the opening's last reads still cross a slow link is
        # dropped under the hourglass; the operator clicks again, as here.
        positions = None
        for _ in range(6):
            self.click(selector)
            positions = self.at.wait_for("objective positions", lambda: self.at.find(
                window, (self.pyatspi.ROLE_LIST,), lambda n: n == "Objective positions"), timeout=5, fatal=False)
            if positions:
                break
        self.assertIsNotNone(positions, "no objective positions after six clicks on the selector")
        items = [positions.getChildAtIndex(i) for i in range(positions.childCount)]
        other = next(i for i in items if i.getRole() == self.pyatspi.ROLE_LIST_ITEM
                     and i.name.split(":")[0].strip() != str(other_than))
        number = int(other.name.split(":")[0].strip())
        self.click(other)
        return number

    def answer_boxes(self, panel, timeout=60):
        """Answers every box the panel shows (its OK button, clicked) until
        it ends; answers the boxes' texts in order."""
        texts = []
        pa = self.pyatspi
        end = time.monotonic() + timeout
        while panel.poll() is None and time.monotonic() < end:
            try:
                pa.Registry.getDesktop(0).clear_cache()
                app = self.at.application()
                box = None
                if app is not None:
                    for i in range(app.childCount):
                        w = app.getChildAtIndex(i)
                        if w is not None and w.getRole() in (pa.ROLE_DIALOG, pa.ROLE_ALERT) and self.at.showing(w):
                            box = w
                if box is not None:
                    text = " ".join(a.name for a in self.at.walk(box) if a.getRole() in self.at.TEXTS and a.name)
                    ok = self.at.find(box, self.at.BUTTONS, lambda n: n.replace("&", "") == "OK")
                    if ok is not None:
                        texts.append(text)
                        self.click(ok)
                        time.sleep(0.5)
            except Exception:  # an object that went away while we looked
                pass
            time.sleep(0.2)
        return texts

    def far_nosepiece(self, index):
        out = self.host.far_busctl("call", "org.zentor.Microscope", "/org/zentor/Microscope/%d" % index,
                                   "org.zentor.Microscope.Device", "NosepiecePosition")
        return int(out.stdout.split()[1])

    def screenshot(self, name):
        path = os.path.join(HOME, name + ".png")
        subprocess.run(["import", "-window", "root", path], check=False)
        return path


class EndToEnd(WindowTestCase):
    def test_the_panel_drives_the_far_stand_and_closes_in_order(self):
        p = self.panel(["--host", "stand"], "end-to-end")
        pa = self.pyatspi
        # The chooser lists the far computer's microscopes, each under its name.
        app = self.application(p)
        chooser = self.at.wait_for("microscope chooser", lambda: next(
            (w for w in (app.getChildAtIndex(i) for i in range(app.childCount))
             if w is not None and w.getRole() in (pa.ROLE_DIALOG, pa.ROLE_FRAME, pa.ROLE_WINDOW)
             and self.at.find(w, (pa.ROLE_LIST,), lambda n: True) is not None), None))
        listing = self.at.find(chooser, (pa.ROLE_LIST,), lambda n: True)
        entries = [listing.getChildAtIndex(i).name for i in range(listing.childCount)]
        print("chooser: " + " | ".join(entries))
        self.assertGreater(len(entries), 1)
        for e in entries:
            self.assertTrue(e.startswith("stand: "), e)
        self.screenshot("remote-chooser")
        self.click(self.at.find(chooser, self.at.BUTTONS, lambda n: n.replace("&", "") == "OK"))

        caption = p.caption()
        print("caption: " + caption)
        self.assertEqual(caption, "Zentor  [ %s ]" % entries[0])
        app, window = self.window(caption)
        index = 1   # the chooser's first entry is microscope 1 of the service

        # The panel moves the far stand's nosepiece...
        before = self.objective_reading(window)
        number = int(before.name[len("Objective "):].split(":")[0])
        self.assertEqual(self.far_nosepiece(index), number)
        chosen = self.choose_objective(window, number)
        self.objective_reading(window, chosen)
        wait_for("the far nosepiece at %d" % chosen, lambda: self.far_nosepiece(index) == chosen)
        # ... and follows a change made on the far computer.
        third = next(n for n in (1, 2, 3, 4) if n not in (number, chosen))
        self.host.far_busctl("call", "org.zentor.Microscope", "/org/zentor/Microscope/%d" % index,
                             "org.zentor.Microscope.Device", "setNosepiecePosition", "n", str(third))
        after = self.objective_reading(window, third)
        print("objective after the far change: " + after.name)

        # The fiber illuminator is the far computer's: its server there was
        # started and opened by this panel (this computer's bus has none).
        self.assertIsNotNone(self.host.name_owner_pid("org.zentor.Fiber"))
        status = self.host.far_busctl("call", "org.zentor.Fiber", "/org/zentor/Fiber", "org.zentor.Fiber",
                                      "ConnectionStatus")
        self.assertEqual(status.stdout.split()[1], "1")
        local = subprocess.run(["busctl", "--user", "status", "org.zentor.Fiber"], capture_output=True)
        self.assertNotEqual(local.returncode, 0, "this computer's bus has a fiber server")

        self.check_no_network_port(p)
        shot = self.screenshot("remote-window")
        screens = os.environ.get("ZENTOR_SCREENS")
        if screens:
            os.makedirs(screens, exist_ok=True)
            shutil.copy(shot, screens)

        p.signal(signal.SIGTERM)
        self.assertEqual(p.wait(), 0, p.stderr())
        ini = open(os.path.join(os.environ["XDG_DATA_HOME"], "Korvu/MavrelTools/Zentor.ini"), errors="replace").read()
        self.assertIn("[%s]" % caption, ini)
        for key in ("Top=", "Left=", "Width=", "Height=", "ControlMax="):
            self.assertIn(key, ini)

    def check_no_network_port(self, panel):
        """No Zentor process has a network socket at all, and nothing the
        panel started listens on one."""
        sockets = inet_sockets()
        zentor = [panel.pid] + [self.host.name_owner_pid(n) for n in ("org.zentor.Microscope", "org.zentor.Fiber")]
        for pid in zentor:
            self.assertIsNotNone(pid)
            print("process %d (%s): sockets %s" % (pid, command_of(pid), socket_inodes(pid)))
            ip = [sockets[i] for i in socket_inodes(pid) if i in sockets]
            self.assertEqual(ip, [], "zentor process %d has network sockets" % pid)
        for pid in descendants(panel.pid):
            listening = [sockets[i] for i in socket_inodes(pid)
                         if i in sockets and (sockets[i][1] == "0A" or sockets[i][0].startswith("udp"))]
            self.assertEqual(listening, [], "%s (%d), started by the panel, listens" % (command_of(pid), pid))


class SlowLink(WindowTestCase):
    def test_the_panel_stays_usable_with_50_ms_more_round_trip(self):
        if not RELAY:
            self.skipTest("delay_relay is not built (ZENTOR_BENCH off)")
        self.host.slow_link(RELAY, 25)
        p = self.panel(["--host", "stand-slow", "/SIM"], "slow-link")
        started = time.monotonic()
        caption = p.caption()
        print("connected through the slow link in %.1f s: %s" % (time.monotonic() - started, caption))
        self.assertTrue(caption.startswith("Zentor  [ stand-slow: "), caption)
        app, window = self.window(caption)
        before = self.objective_reading(window)
        number = int(before.name[len("Objective "):].split(":")[0])
        chosen = self.choose_objective(window, number)
        self.objective_reading(window, chosen)
        wait_for("far nosepiece at %d" % chosen, lambda: self.far_nosepiece(0) == chosen)
        p.signal(signal.SIGTERM)
        self.assertEqual(p.wait(), 0, p.stderr())


class LinkLoss(WindowTestCase):
    def ssh_of(self, panel):
        return wait_for("the panel's ssh", lambda: next(
            (pid for pid in descendants(panel.pid) if os.path.basename(command_of(pid)) == "ssh"), None))

    def check_closed_in_order(self, panel, texts):
        print("boxes: %s" % texts)
        self.assertTrue(texts, "the operator was told nothing")
        self.assertIn("Server Error Please Restart this application.", texts)
        self.assertEqual(panel.rc, 0, panel.stderr())
        self.assertRegex(panel.stderr(), r"zentor: the link to the session bus of \S+ is lost: ")
        ini = open(os.path.join(os.environ["XDG_DATA_HOME"], "Korvu/MavrelTools/Zentor.ini"), errors="replace").read()
        for key in ("[Form_Position]", "Top=", "Left=", "Width=", "Height=", "Open=", "ControlMax="):
            self.assertIn(key, ini)
        self.assertRegex(ini, r"\[Zentor  \[ stand\S*: .* \]\]")

    def test_ssh_killed_while_connected(self):
        p = self.panel(["--host", "stand", "/SIM"], "ssh-killed")
        p.caption()
        self.window("Zentor  [ stand: ")
        os.kill(self.ssh_of(p), signal.SIGKILL)
        texts = self.answer_boxes(p)
        p.wait(10)
        self.check_closed_in_order(p, texts)

    def test_network_gone_mid_move(self):
        if not RELAY:
            self.skipTest("delay_relay is not built (ZENTOR_BENCH off)")
        relay = self.host.slow_link(RELAY, 0)
        # Slow motors on the far computer: the turret is still turning when
        # the network goes.
        service = subprocess.Popen([SERVICE, "--speed", "0.05"], env=self.host.far_env(),
                                   stderr=open(os.path.join(self.work, "service.log"), "w"))
        self.addCleanup(stop, service)
        wait_for("far service", lambda: self.host.name_owner_pid("org.zentor.Microscope") == service.pid, 20)
        p = self.panel(["--host", "stand-slow", "/SIM"], "network-gone")
        caption = p.caption()
        app, window = self.window(caption)
        before = self.objective_reading(window)
        number = int(before.name[len("Objective "):].split(":")[0])
        self.choose_objective(window, number)
        # The network goes: nothing passes any more, nothing is closed.
        relay.send_signal(signal.SIGSTOP)
        gone = time.monotonic()
        try:
            texts = self.answer_boxes(p, timeout=90)
            p.wait(10)
        finally:
            relay.send_signal(signal.SIGCONT)
        print("the panel closed %.1f s after the network went" % (time.monotonic() - gone))
        # The move under way failed as a move to a dead service does, then
        # the liveness check spoke.
        self.assertEqual(texts[0], "Position_Change Error")
        self.check_closed_in_order(p, texts)


# ---------------------------------------------------------------------------------
def guide_address(destination):
    """The address docs/remote.md gives scripts for a far stand."""
    return ("unixexec:path=ssh,argv1=-xT,argv2=-oBatchMode%3dyes,argv3=--,argv4=" + destination +
            ",argv5=systemd-stdio-bridge,argv6=--bus-path%3dunix%3apath%3d%24XDG_RUNTIME_DIR/bus")


class Scripting(StandTestCase):
    """Scripts reach the far stand as docs/remote.md shows; through the link,
    the fault interface is there only when the far service was started with
    its option."""

    def guide(self):
        return open(os.path.join(HERE, "..", "..", "..", "..", "docs", "remote.md")).read()

    def busctl(self, *args):
        return subprocess.run(["busctl", "--address=" + guide_address("stand")] + list(args), capture_output=True,
                              text=True, env=self.host.env(), timeout=60)

    def test_busctl_and_the_python_example_drive_the_far_stand(self):
        self.assertIn(guide_address("$stand"), self.guide())
        out = self.busctl("call", "org.zentor.Microscope", "/org/zentor/Microscope", "org.zentor.Microscope.Manager",
                          "GetDeviceNames")
        self.assertEqual(out.returncode, 0, out.stderr)
        self.assertTrue(out.stdout.startswith("as "), out.stdout)
        example = os.path.join(HERE, "..", "..", "..", "..", "docs", "examples", "microscope.py")
        env = self.host.env()
        env["ZENTOR_BUS_ADDRESS"] = guide_address("stand")
        run = subprocess.run(["/usr/bin/python3", example, "0"], capture_output=True, text=True, env=env, timeout=120)
        print(run.stdout)
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn("event AppNosepiecePosition:", run.stdout)
        # The bus started the far service on demand: no fault interface.
        out = self.busctl("call", "org.zentor.Microscope", "/org/zentor/Microscope/0", "org.zentor.StandControl",
                          "ClearFaults")
        self.assertNotEqual(out.returncode, 0)
        self.assertIn(FAULT_INTERFACE_REFUSED, out.stderr)


class FaultInterface(StandTestCase):
    far_bus = "empty"

    def test_fault_interface_through_the_link_only_with_the_far_services_option(self):
        for options, reachable in (((), False), (("--enable-fault-injection",), True)):
            service = subprocess.Popen([SERVICE, "--speed", "0"] + list(options), env=self.host.far_env(),
                                       stderr=open(os.path.join(self.work, "service.log"), "a"))
            try:
                wait_for("far service", lambda: self.host.name_owner_pid("org.zentor.Microscope") == service.pid, 20)
                out = subprocess.run(["busctl", "--address=" + guide_address("stand"), "call", "org.zentor.Microscope",
                                      "/org/zentor/Microscope/0", "org.zentor.StandControl", "ClearFaults"],
                                     capture_output=True, text=True, env=self.host.env(), timeout=60)
                print(options, out.returncode, out.stderr.strip())
                if reachable:
                    self.assertEqual(out.returncode, 0, out.stderr)
                else:
                    self.assertNotEqual(out.returncode, 0)
                    self.assertIn(FAULT_INTERFACE_REFUSED, out.stderr)
            finally:
                stop(service)
                wait_for("far service gone", lambda: self.host.name_owner_pid("org.zentor.Microscope") is None)


if __name__ == "__main__":
    ZENTOR, SERVICE, BUILD = sys.argv[1:4]
    rest = sys.argv[4:]
    if rest and os.path.basename(rest[0]).startswith("delay_relay"):
        RELAY = rest.pop(0)
    unittest.main(argv=[sys.argv[0]] + rest, verbosity=2)
