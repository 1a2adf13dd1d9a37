#!/usr/bin/env python3
"""delay_relay carries every byte in order, both ways, each way held back by
its own delay; it passes the end of a stream on; it serves clients side by
side; it listens only on this machine.

Usage: delay_relay_test.py DELAY_RELAY_EXECUTABLE
"""
import os
import socket
import subprocess
import sys
import tempfile
import threading
import time
import unittest

RELAY = None


def echo_server(listener):
    """Echoes each connection until its end, then ends its own side."""
    def serve(conn):
        with conn:
            while True:
                data = conn.recv(65536)
                if not data:
                    conn.shutdown(socket.SHUT_WR)
                    return
                conn.sendall(data)

    def accept():
        while True:
            try:
                conn, _ = listener.accept()
            except OSError:
                return
            threading.Thread(target=serve, args=(conn,), daemon=True).start()

    threading.Thread(target=accept, daemon=True).start()


class Relay:
    def __init__(self, *args):
        self.proc = subprocess.Popen([RELAY, *args], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.line = self.proc.stdout.readline().strip()

    def stop(self):
        self.proc.terminate()
        return self.proc.wait(timeout=10)


def receive_all(sock, size):
    data = bytearray()
    while len(data) < size:
        chunk = sock.recv(65536)
        if not chunk:
            break
        data += chunk
    return bytes(data)


class DelayRelayTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix='relay-', dir=os.environ.get('TMPDIR', '/tmp'))
        self.server_path = os.path.join(self.dir, 'server.sock')
        self.listener = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self.listener.bind(self.server_path)
        self.listener.listen(8)
        echo_server(self.listener)

    def tearDown(self):
        self.listener.close()

    def connect_unix(self, path):
        s = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        s.connect(path)
        return s

    def test_bytes_arrive_whole_and_in_order_after_both_delays(self):
        front = os.path.join(self.dir, 'front.sock')
        relay = Relay('--listen', 'unix:' + front, '--connect', 'unix:' + self.server_path,
                      '--to-server-ms', '30', '--to-client-ms', '20')
        self.assertEqual(relay.line, 'listening on unix:' + front)
        with self.connect_unix(front) as s:
            payload = os.urandom(3 << 20)
            started = time.monotonic()
            sender = threading.Thread(target=s.sendall, args=(payload,))
            sender.start()
            echoed = receive_all(s, len(payload))
            sender.join()
            elapsed = time.monotonic() - started
            self.assertEqual(echoed, payload)
            # Nothing can come back before it went both ways.
            self.assertGreaterEqual(elapsed, 0.050)
            # A small message after the large one: its own round trip is
            # held back too.
            started = time.monotonic()
            s.sendall(b'ping')
            self.assertEqual(receive_all(s, 4), b'ping')
            self.assertGreaterEqual(time.monotonic() - started, 0.050)
            # The end of the stream is passed on, and the server's end back.
            s.shutdown(socket.SHUT_WR)
            self.assertEqual(s.recv(10), b'')
        self.assertEqual(relay.stop(), 0)
        self.assertFalse(os.path.exists(front), 'the listening socket is removed at exit')

    def test_clients_are_served_side_by_side(self):
        front = os.path.join(self.dir, 'front.sock')
        relay = Relay('--listen', 'unix:' + front, '--connect', 'unix:' + self.server_path, '--delay-ms', '10')
        clients = [self.connect_unix(front) for _ in range(5)]
        for i, c in enumerate(clients):
            c.sendall(('client %d\n' % i).encode())
        for i, c in enumerate(clients):
            text = ('client %d\n' % i).encode()
            self.assertEqual(receive_all(c, len(text)), text)
            c.close()
        self.assertEqual(relay.stop(), 0)

    def test_tcp_on_loopback_with_a_free_port(self):
        relay = Relay('--listen', 'tcp:127.0.0.1:0', '--connect', 'unix:' + self.server_path, '--delay-ms', '5')
        self.assertTrue(relay.line.startswith('listening on tcp:127.0.0.1:'), relay.line)
        port = int(relay.line.rsplit(':', 1)[1])
        self.assertGreater(port, 0)
        with socket.create_connection(('127.0.0.1', port)) as s:
            s.sendall(b'over tcp')
            self.assertEqual(receive_all(s, 8), b'over tcp')
        self.assertEqual(relay.stop(), 0)

    def test_only_this_machine_and_clear_refusals(self):
        for args in (['--listen', 'tcp:0.0.0.0:0', '--connect', 'unix:' + self.server_path],
                     ['--listen', 'tcp:192.0.2.1:80', '--connect', 'unix:' + self.server_path],
                     ['--listen', 'unix:' + os.path.join(self.dir, 'x'), '--connect', 'tcp:example.org:22'],
                     ['--listen', 'udp:1', '--connect', 'unix:x'],
                     ['--listen', 'unix:' + os.path.join(self.dir, 'y'), '--connect', 'unix:x',
                      '--delay-ms', '-4'],
                     ['--listen']):
            p = subprocess.run([RELAY, *args], capture_output=True, text=True, timeout=10)
            self.assertEqual(p.returncode, 2, args)
            self.assertTrue(p.stderr.strip(), args)

    def test_a_target_that_is_not_there_ends_only_that_client(self):
        front = os.path.join(self.dir, 'front.sock')
        relay = Relay('--listen', 'unix:' + front, '--connect', 'unix:' + os.path.join(self.dir, 'none'))
        with self.connect_unix(front) as s:
            self.assertEqual(s.recv(10), b'')
        self.assertIsNone(relay.proc.poll(), 'the relay goes on serving')
        self.assertEqual(relay.stop(), 0)
        self.assertIn('cannot reach', relay.proc.stderr.read())


if __name__ == '__main__':
    RELAY = sys.argv.pop(1)
    unittest.main()
