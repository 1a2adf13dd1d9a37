#!/usr/bin/env python3
"""The remote benchmark's driver (bench_remote runs it): makes a far computer
on this one (mainwindow/app/tests/remote/standhost.py: its session bus, an sshd on
127.0.0.1, the real ssh and systemd-stdio-bridge), starts the service there
at real motor speed, and has bench_remote --probe measure three paths in
turn:
  local        the far bus itself, as a panel on the stand's computer has it
  bridge       zentor --host's address: ssh to 127.0.0.1, the bridge, the bus
  bridge+50ms  the same through delay_relay, 25 ms each way on the ssh
               connection: 50 ms added to every round trip

and then the real panel (zentor, offscreen) from its start to its connected
caption over each path, against the number of calls it makes times the bare
round trip of that path.

Usage: bench_remote.py BENCH_REMOTE SERVICE_EXE DELAY_RELAY BUILD_DIR
"""
import os
import re
import subprocess
import sys
import tempfile
import time

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "mainwindow", "app", "tests", "remote"))
from standhost import StandHost, stop, wait_for  # noqa: E402


def figures(line):
    name, *pairs = line.split()
    return name, {k: float(v) for k, v in (p.split("=") for p in pairs)}


def panel_start(zentor, host, work, args, extra_env):
    """Seconds from the panel's start to its connected caption."""
    env = host.env()
    env.update({"QT_QPA_PLATFORM": "offscreen", "ZENTOR_PRINT_CAPTION": "1"})
    for name in ("XDG_DATA_HOME", "XDG_CONFIG_HOME", "XDG_STATE_HOME"):
        env[name] = os.path.join(work, "panel-" + name.lower())
    env.update(extra_env)
    err = os.path.join(work, "panel.stderr")
    with open(err, "w") as f:
        started = time.monotonic()
        panel = subprocess.Popen([zentor] + args, env=env, stderr=f, stdin=subprocess.DEVNULL)
        try:
            wait_for("connected caption", lambda: "caption: Zentor  [" in open(err).read()
                     or (panel.poll() is not None and sys.exit("zentor ended: " + open(err).read())), 120, 0.01)
            return time.monotonic() - started
        finally:
            stop(panel)


def main():
    probe, service_exe, relay, build = sys.argv[1:5]
    with tempfile.TemporaryDirectory(prefix="bench-remote-") as work:
        os.chmod(work, 0o755)
        host = StandHost(work, os.path.join(build, "stand/service/test-bus.conf"))
        service = subprocess.Popen([service_exe, "--speed", "1", "--no-fiber", "--enable-fault-injection"],
                                   env=host.far_env(), stderr=subprocess.DEVNULL)
        try:
            wait_for("far service", lambda: host.name_owner_pid("org.zentor.Microscope") == service.pid, 30)
            host.slow_link(relay, 25)
            zentor = os.path.join(build, "mainwindow", "zentor")
            starts = {}
            monitor_log = os.path.join(work, "calls")
            for name, args, extra in (("local", ["/SIM"], {"ZENTOR_BUS_ADDRESS": host.bus_address}),
                                      ("bridge", ["--host", "stand", "/SIM"], {}),
                                      ("bridge+50ms", ["--host", "stand-slow", "/SIM"], {})):
                monitor = None
                if name == "local":
                    monitor = subprocess.Popen(["dbus-monitor", "--address", host.bus_address,
                                                "type='method_call',interface='org.zentor.Microscope.Device'"],
                                               stdout=open(monitor_log, "w"), stderr=subprocess.DEVNULL)
                    time.sleep(0.5)
                runs = [panel_start(zentor, host, work, args, extra)]
                if monitor:
                    time.sleep(0.5)
                    stop(monitor)
                runs += [panel_start(zentor, host, work, args, extra) for _ in range(2)]
                starts[name] = sorted(runs)[1]
            calls = sum(1 for line in open(monitor_log) if line.startswith("method call"))
            rows = []
            for name, address, rounds in (("local", host.bus_address, 2000), ("bridge", "host:stand", 1000),
                                          ("bridge+50ms", "host:stand-slow", 60)):
                out = subprocess.run([probe, "--probe", name, address, host.bus_address, str(rounds)],
                                     env=host.env(), capture_output=True, text=True, timeout=900)
                if out.returncode != 0:
                    print("bench_remote: %s failed: %s" % (name, out.stderr), file=sys.stderr)
                    return 1
                rows.append(figures(out.stdout.strip().splitlines()[-1]))
        finally:
            stop(service)
            host.close()

    print("round trips through each path (us, median / p99); baseline: the bus daemon's GetId, a bare D-Bus")
    print("program on the same path")
    print("  %-12s %20s %12s %20s %14s" % ("path", "bare GetId", "Ping", "NosepiecePosition", "read/bare"))
    for name, f in rows:
        print("  %-12s %9.1f / %8.1f %12.1f %9.1f / %8.1f %14.2f" % (
            name, f["bare_med"], f["bare_p99"], f["ping_med"], f["read_med"], f["read_p99"],
            f["read_med"] / f["bare_med"]))
    print("event latency, far side to this client (us, median / p99); baseline: a bare program's method on")
    print("the far bus that sends a plain signal, called as the service's EmitEvents is")
    print("  %-12s %20s %20s %14s" % ("path", "bare signal", "OnPropertyChanged", "event/signal"))
    for name, f in rows:
        print("  %-12s %9.1f / %8.1f %9.1f / %8.1f %14.2f" % (
            name, f["signal_med"], f["signal_p99"], f["event_med"], f["event_p99"], f["event_med"] / f["signal_med"]))
    print("a blocking stage move at real speed, with a 10 ms timer running in the waiting client")
    print("  %-12s %10s %12s %18s %10s %22s" % ("path", "move ms", "positions", "reply after last", "in order",
                                                "timer late p99 / max"))
    for name, f in rows:
        print("  %-12s %10.0f %12d %15.2f ms %10s %13.1f / %6.1f us" % (
            name, f["move_ms"], f["positions"], f["reply_after_last_event_ms"], "yes" if f["in_order"] else "NO",
            f["late_p99"], f["late_max"]))
    print("the panel (zentor /SIM, offscreen) from its start to the connected caption, median of 3;")
    print("baseline: its %d device calls, each one bare round trip of the path" % calls)
    print("  %-12s %10s %16s %8s" % ("path", "start s", "calls x bare s", "ratio"))
    for name, f in rows:
        bare = calls * f["bare_med"] / 1e6
        print("  %-12s %10.2f %16.2f %8.1f" % (name, starts[name], bare, starts[name] / bare))
    local = dict(rows)["local"]
    for name, f in rows[1:]:
        print("%s against local: read %.1fx, bare %.1fx, event %.1fx, bare signal %.1fx" % (
            name, f["read_med"] / local["read_med"], f["bare_med"] / local["bare_med"],
            f["event_med"] / local["event_med"], f["signal_med"] / local["signal_med"]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
