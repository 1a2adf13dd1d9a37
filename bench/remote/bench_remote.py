#!/usr/bin/env python3
"""The remote benchmark's driver (bench_remote runs it): makes a far computer
on this one (main/app/tests/remote/standhost.py: its session bus, an sshd on
127.0.0.1, the real ssh and systemd-stdio-bridge), starts the service there
at real motor speed, and has bench_remote --probe measure three paths in
turn:
  local        the far bus itself, as a panel on the stand's computer has it
  bridge       zentor --host's address: ssh to 127.0.0.1, the bridge, the bus
  bridge+50ms  the same through delay_relay, 25 ms each way on the ssh
               connection: 50 ms added to every round trip

Usage: bench_remote.py BENCH_REMOTE SERVICE_EXE DELAY_RELAY BUILD_DIR
"""
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "..", "main", "app", "tests", "remote"))
from standhost import StandHost, stop, wait_for  # noqa: E402


def figures(line):
    name, *pairs = line.split()
    return name, {k: float(v) for k, v in (p.split("=") for p in pairs)}


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
    print("event latency, far side to this client (us, median / p99); baseline: a bare signal sent on the")
    print("far bus by the measuring program itself")
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
    local = dict(rows)["local"]
    for name, f in rows[1:]:
        print("%s against local: read %.1fx, bare %.1fx, event %.1fx, bare signal %.1fx" % (
            name, f["read_med"] / local["read_med"], f["bare_med"] / local["bare_med"],
            f["event_med"] / local["event_med"], f["signal_med"] / local["signal_med"]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
