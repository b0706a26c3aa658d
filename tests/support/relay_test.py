"""The relay itself, in front of a server that sends all data back."""

import contextlib
import socket
import socketserver
import threading
import unittest

from relay import LOCALHOST, Relay


class Echo(socketserver.BaseRequestHandler):
    received = bytearray()

    def handle(self):
        with contextlib.suppress(OSError):
            while data := self.request.recv(1024):
                self.received.extend(data)
                self.request.sendall(data)


class RelayInFrontOfAServer(unittest.TestCase):
    def setUp(self):
        server = socketserver.ThreadingTCPServer((LOCALHOST, 0), Echo)
        server.daemon_threads = True
        threading.Thread(target=server.serve_forever, args=(0.01,), daemon=True).start()
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        self.server = server.server_address
        self.relay = Relay(*self.server)
        self.addCleanup(self.relay.close)

    def connect(self):
        connection = socket.create_connection((LOCALHOST, self.relay.port), timeout=5)
        self.addCleanup(connection.close)
        return connection

    def assert_echoes(self, connection, text):
        connection.sendall(text)
        self.assertEqual(connection.recv(1024), text)

    def connect_and_echo(self):
        connection = self.connect()
        self.assert_echoes(connection, b"there and back")
        return connection

    def test_cut_resets_connections_and_refuses_new_ones_until_it_is_healed_at_the_same_port(self):
        connection = self.connect_and_echo()
        self.relay.cut()
        with self.assertRaises(ConnectionResetError):
            connection.recv(1)
        with self.assertRaises(ConnectionRefusedError):
            self.connect()
        self.relay.heal()
        self.connect_and_echo()

    def test_cut_that_does_not_refuse_lets_new_ones_through(self):
        connection = self.connect_and_echo()
        self.relay.cut(refuse=False)
        with self.assertRaises(ConnectionResetError):
            connection.recv(1)
        self.connect_and_echo()

    def test_cut_with_fin_ends_the_stream(self):
        connection = self.connect_and_echo()
        self.relay.cut(reset=False)
        self.assertEqual(connection.recv(1), b"")

    def test_frozen_connection_goes_on_when_healed(self):
        connection = self.connect_and_echo()
        self.relay.freeze()
        connection.sendall(b"late")
        connection.settimeout(0.2)
        with self.assertRaises(TimeoutError):
            connection.recv(1024)
        self.relay.heal()
        connection.settimeout(5)
        self.assertEqual(connection.recv(1024), b"late")

    def test_frozen_connection_can_be_cut(self):
        connection = self.connect_and_echo()
        self.relay.freeze()
        connection.sendall(b"lost")
        self.relay.cut()
        with self.assertRaises(ConnectionResetError):
            connection.recv(1024)

    def test_freezes_before_the_end_of_a_text_in_either_encoding_wherever_a_read_ends(self):
        for encoding in ("utf-8", "utf-16-le"):
            text = "x Insert into users".encode(encoding)
            for first in (0, 1, len(text) - 1):
                with self.subTest(encoding=encoding, first=first):
                    connection = self.connect()
                    self.relay.freeze_before("Insert into users")
                    if first:
                        self.assert_echoes(connection, text[:first])
                    connection.sendall(text[first:])
                    self.relay.wait_until_frozen()
                    self.assertNotIn(text, Echo.received)
                    self.relay.heal()
                    self.assertEqual(connection.recv(1024), text[first:])
                    self.assert_echoes(connection, text)
                    Echo.received.clear()

    def test_turns_are_what_a_client_sends_before_the_server_answers(self):
        self.relay.turns = []
        connection = self.connect_and_echo()
        self.assert_echoes(connection, b"and again")
        self.assertEqual(self.relay.turns, [b"there and back", b"and again"])


if __name__ == "__main__":
    unittest.main()
