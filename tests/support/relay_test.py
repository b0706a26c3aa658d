"""The relay itself, in front of a server that sends back what it is sent."""

import socket
import socketserver
import subprocess
import sys
import threading
import time
import unittest

import relay


class Echo(socketserver.BaseRequestHandler):
    def handle(self):
        try:
            while data := self.request.recv(1024):
                self.request.sendall(data)
        except OSError:
            pass


class EchoServer(socketserver.ThreadingTCPServer):
    daemon_threads = True


class RelayInFrontOfAServer(unittest.TestCase):
    def setUp(self):
        server = EchoServer((relay.LOCALHOST, 0), Echo)
        threading.Thread(target=server.serve_forever, args=(0.01,), daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        self.server = server.server_address
        self.relay = relay.Relay(*self.server)
        self.addCleanup(self.relay.close)

    def connect(self, port=None):
        connection = socket.create_connection((relay.LOCALHOST, port or self.relay.port), timeout=5)
        self.addCleanup(connection.close)
        return connection

    def assert_echoes(self, connection, text):
        connection.sendall(text)
        self.assertEqual(connection.recv(1024), text)

    def test_forwards_both_ways(self):
        self.assert_echoes(self.connect(), b"there and back")

    def test_delays_each_way_and_keeps_the_order(self):
        with relay.Relay(*self.server, delay=0.05) as slow:
            connection = self.connect(slow.port)
            started = time.monotonic()
            for part in (b"there", b" and", b" back"):
                connection.sendall(part)
                time.sleep(0.01)
            answer = b""
            while len(answer) < len(b"there and back"):
                answer += connection.recv(1024)
            self.assertEqual(answer, b"there and back")
            self.assertGreaterEqual(time.monotonic() - started, 0.1)

    def test_cut_resets_connections_and_refuses_new_ones(self):
        connection = self.connect()
        self.assert_echoes(connection, b"before")
        self.relay.cut()
        with self.assertRaises(ConnectionResetError):
            connection.recv(1)
        with self.assertRaises(ConnectionRefusedError):
            self.connect()

    def test_cut_that_does_not_refuse_lets_new_ones_through(self):
        connection = self.connect()
        self.assert_echoes(connection, b"before")
        self.relay.cut(refuse=False)
        with self.assertRaises(ConnectionResetError):
            connection.recv(1)
        self.assert_echoes(self.connect(), b"after")

    def test_cut_with_fin_ends_the_stream(self):
        connection = self.connect()
        self.assert_echoes(connection, b"before")
        self.relay.cut(reset=False)
        self.assertEqual(connection.recv(1), b"")

    def test_healed_relay_forwards_at_the_same_port(self):
        self.assert_echoes(self.connect(), b"before")
        self.relay.cut()
        self.relay.heal()
        self.assert_echoes(self.connect(), b"after")

    def test_frozen_connection_goes_on_when_healed(self):
        connection = self.connect()
        self.assert_echoes(connection, b"before")
        self.relay.freeze()
        connection.sendall(b"late")
        connection.settimeout(0.2)
        with self.assertRaises(TimeoutError):
            connection.recv(1024)
        self.relay.heal()
        connection.settimeout(5)
        self.assertEqual(connection.recv(1024), b"late")

    def test_frozen_connection_can_be_cut(self):
        connection = self.connect()
        self.assert_echoes(connection, b"before")
        self.relay.freeze()
        connection.sendall(b"lost")
        self.relay.cut()
        with self.assertRaises(ConnectionResetError):
            connection.recv(1024)

    def test_program_obeys_what_it_reads(self):
        program = subprocess.Popen([sys.executable, relay.__file__, "%s:%d" % self.server], stdin=subprocess.PIPE,
                                   stdout=subprocess.PIPE, text=True, bufsize=1)
        with program:
            port = int(program.stdout.readline())
            self.assert_echoes(self.connect(port), b"through the program")
            for command in ["freeze", "heal", "cut fin"]:
                program.stdin.write(command + "\n")
                self.assertEqual(program.stdout.readline(), "ok\n")
            with self.assertRaises(ConnectionRefusedError):
                self.connect(port)
            program.stdin.close()
        self.assertEqual(program.returncode, 0)


if __name__ == "__main__":
    unittest.main()
