"""A far computer on this one, for the remote tests and the remote benchmark.

StandHost makes, in a folder of its own: a session bus of the "stand's
computer" (a dbus-daemon whose socket is RUNTIME/bus, RUNTIME standing for
that user's $XDG_RUNTIME_DIR), an sshd on 127.0.0.1 with its own host key,
the user's key and a configuration of its own, and an ssh wrapper on PATH
(bin/ssh) whose configuration knows the host keys and the user's key. So
`zentor --host stand` reaches that bus through the real ssh, the real sshd
and the real systemd-stdio-bridge, as it would reach another computer.

The sshd runs as the user running the test (root in CI): its configuration
lets that user in with the test's key only.

Variants of the far side (each an sshd of its own): the far PATH without
systemd-stdio-bridge, with a "bridge" that prints garbage, a runtime folder
without a bus.

Host names the wrapper knows:
  stand           the stand's computer
  stand-wrongkey  the same computer, offered a key it does not accept
  stand-unknown   the same computer, with no known host key
  nowhere         127.0.0.1 on a port where nothing listens
  stand-slow      the stand's computer through a relay (see slow_link())
"""
import os
import pwd
import shutil
import signal
import socket
import subprocess
import time

SSHD = "/usr/sbin/sshd"


def free_port():
    with socket.socket(socket.AF_INET, socket.SOCK_STREAM) as s:
        s.bind(("127.0.0.1", 0))
        return s.getsockname()[1]


def wait_for(what, probe, timeout=30.0, interval=0.05):
    end = time.monotonic() + timeout
    while time.monotonic() < end:
        found = probe()
        if found:
            return found
        time.sleep(interval)
    raise AssertionError("no %s within %g s" % (what, timeout))


def listening(port):
    try:
        with socket.create_connection(("127.0.0.1", port), timeout=0.5):
            return True
    except OSError:
        return False


def stop(proc, sig=signal.SIGTERM, timeout=10):
    """Ends a process this harness started, by its own id."""
    if proc is None or proc.poll() is not None:
        return
    proc.send_signal(sig)
    try:
        proc.wait(timeout=timeout)
    except subprocess.TimeoutExpired:
        proc.kill()
        proc.wait(timeout=timeout)


class StandHost:
    def __init__(self, workdir, bus_conf, variant="normal"):
        self.dir = workdir
        self.variant = variant
        self.user = pwd.getpwuid(os.geteuid()).pw_name
        self.runtime = os.path.join(workdir, "runtime")
        self.bin = os.path.join(workdir, "bin")
        self.farbin = os.path.join(workdir, "farbin")
        for d in (self.runtime, self.bin, self.farbin):
            os.makedirs(d, exist_ok=True)
            os.chmod(d, 0o700 if d == self.runtime else 0o755)
        self.bus_address = "unix:path=" + os.path.join(self.runtime, "bus")
        self.bus = None
        self.sshd = None
        self.relay = None
        self.port = free_port()
        self.closed_port = free_port()
        self._keys()
        if variant != "no-bus":
            self._start_bus(bus_conf)
        self._far_path()
        self._start_sshd()
        self._ssh_wrapper()

    # --- the far computer ---------------------------------------------------------
    def _keys(self):
        for name in ("host_key", "user_key", "other_key"):
            path = os.path.join(self.dir, name)
            if not os.path.exists(path):
                subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-C", name, "-f", path], check=True)
        shutil.copyfile(os.path.join(self.dir, "user_key.pub"), os.path.join(self.dir, "authorized_keys"))
        with open(os.path.join(self.dir, "host_key.pub")) as f:
            host_key = f.read().split()
        with open(os.path.join(self.dir, "known_hosts"), "w") as f:
            f.write("stand %s %s\n" % (host_key[0], host_key[1]))

    def _start_bus(self, bus_conf):
        self.bus = subprocess.Popen(
            ["dbus-daemon", "--config-file=" + bus_conf, "--address=" + self.bus_address, "--nofork",
             "--print-address=1"],
            stdout=subprocess.PIPE, stderr=open(os.path.join(self.dir, "far-bus.log"), "w"), text=True)
        line = self.bus.stdout.readline().strip()
        if not line:
            raise AssertionError("the far bus did not start: " + open(os.path.join(self.dir, "far-bus.log")).read())

    def _far_path(self):
        """The far side's PATH: the system's, or one without the bridge."""
        for tool in ("sh", "id", "uname", "sleep", "printf", "cat"):
            link = os.path.join(self.farbin, tool)
            if not os.path.exists(link):
                os.symlink(shutil.which(tool), link)
        if self.variant == "garbage-bridge":
            fake = os.path.join(self.farbin, "systemd-stdio-bridge")
            with open(fake, "w") as f:
                f.write("#!/bin/sh\necho 'Welcome to the stand computer'\nprintf '\\001\\377%s' garbage\nsleep 60\n")
            os.chmod(fake, 0o755)
        if self.variant in ("no-bridge", "garbage-bridge"):
            self.far_path = self.farbin
        else:
            self.far_path = "/usr/local/bin:/usr/bin:/bin"

    def _start_sshd(self):
        config = os.path.join(self.dir, "sshd_config")
        with open(config, "w") as f:
            f.write("\n".join([
                "Port %d" % self.port,
                "ListenAddress 127.0.0.1",
                "HostKey " + os.path.join(self.dir, "host_key"),
                "PidFile " + os.path.join(self.dir, "sshd.pid"),
                "AuthorizedKeysFile " + os.path.join(self.dir, "authorized_keys"),
                "AuthenticationMethods publickey",
                "PasswordAuthentication no",
                "KbdInteractiveAuthentication no",
                # Without PAM nothing else sets the session's runtime folder:
                # it is the far bus's, as pam_systemd would set it.
                "UsePAM no",
                "StrictModes no",
                "PermitRootLogin prohibit-password",
                "AllowUsers " + self.user,
                "SetEnv XDG_RUNTIME_DIR=%s PATH=%s" % (self.runtime, self.far_path),
                "PrintMotd no",
                "PrintLastLog no",
                "AllowTcpForwarding no",
                "X11Forwarding no",
                "",
            ]))
        if os.geteuid() == 0 and not os.path.isdir("/run/sshd"):
            # sshd's privilege separation folder, as the package's service makes it.
            os.makedirs("/run/sshd", mode=0o755, exist_ok=True)
        log = os.path.join(self.dir, "sshd.log")
        self.sshd = subprocess.Popen([SSHD, "-D", "-f", config, "-E", log], stdin=subprocess.DEVNULL)
        wait_for("sshd on port %d (%s)" % (self.port, log), lambda: listening(self.port) or self._sshd_ended(log))

    def _sshd_ended(self, log):
        if self.sshd.poll() is not None:
            raise AssertionError("sshd ended: " + open(log).read())
        return False

    def _ssh_wrapper(self):
        key = os.path.join(self.dir, "user_key")
        other = os.path.join(self.dir, "other_key")
        known = os.path.join(self.dir, "known_hosts")

        def host(name, hostname, port, identity, known_hosts=known):
            return "\n".join([
                "Host " + name,
                "  HostName " + hostname,
                "  Port %d" % port,
                "  HostKeyAlias stand",
                "  User " + self.user,
                "  IdentityFile " + identity,
                "  IdentitiesOnly yes",
                "  IdentityAgent none",
                "  UserKnownHostsFile " + known_hosts,
                "  GlobalKnownHostsFile /dev/null",
                "  StrictHostKeyChecking yes",
                "",
            ])

        self.slow_port = free_port()
        with open(os.path.join(self.dir, "ssh_config"), "w") as f:
            f.write(host("stand", "127.0.0.1", self.port, key))
            f.write(host("stand-slow", "127.0.0.1", self.slow_port, key))
            f.write(host("stand-wrongkey", "127.0.0.1", self.port, other))
            f.write(host("stand-unknown", "127.0.0.1", self.port, key, "/dev/null"))
            f.write(host("nowhere", "127.0.0.1", self.closed_port, key))
        wrapper = os.path.join(self.bin, "ssh")
        with open(wrapper, "w") as f:
            f.write("#!/bin/sh\n# The lab's own ssh configuration, as a wrapper on PATH gives it.\n"
                    "exec %s -F %s \"$@\"\n" % (shutil.which("ssh"), os.path.join(self.dir, "ssh_config")))
        os.chmod(wrapper, 0o755)
        self.path = self.bin + os.pathsep + os.environ.get("PATH", "/usr/bin:/bin")

    # --- slow link ------------------------------------------------------------------
    def slow_link(self, relay_exe, delay_ms_each_way):
        """`stand-slow` reaches sshd through delay_relay: every byte of the
        ssh connection is held back that long each way."""
        self.relay = subprocess.Popen(
            [relay_exe, "--listen", "tcp:127.0.0.1:%d" % self.slow_port, "--connect",
             "tcp:127.0.0.1:%d" % self.port, "--delay-ms", str(delay_ms_each_way)],
            stdout=subprocess.PIPE, text=True)
        line = self.relay.stdout.readline()
        if not line.startswith("listening on"):
            raise AssertionError("the relay did not start")
        return self.relay

    # --- for the tests ----------------------------------------------------------------
    def env(self, base=None):
        """The environment of a program on this (the operator's) computer."""
        env = dict(base if base is not None else os.environ)
        env["PATH"] = self.path
        return env

    def far_env(self):
        """The environment of a program on the stand's computer."""
        env = dict(os.environ)
        env["DBUS_SESSION_BUS_ADDRESS"] = self.bus_address
        return env

    def far_busctl(self, *args, check=True):
        out = subprocess.run(["busctl", "--address=" + self.bus_address] + list(args), capture_output=True,
                             text=True, timeout=60)
        if check and out.returncode != 0:
            raise AssertionError("busctl %s: %s" % (" ".join(args), out.stderr))
        return out

    def name_owner_pid(self, name):
        out = self.far_busctl("call", "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                              "GetConnectionUnixProcessID", "s", name, check=False)
        return int(out.stdout.split()[1]) if out.returncode == 0 else None

    def close(self):
        stop(self.relay)
        stop(self.sshd)
        stop(self.bus)
