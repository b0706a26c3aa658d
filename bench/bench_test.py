"""How the benches read what is sent to a server, and which parts they refuse."""

import os
import struct
import subprocess
import sys
import unittest

import messages
from side import REPOSITORY


def query(text):
    return message("Q", text.encode() + b"\0")


def message(kind, body):
    return kind.encode() + struct.pack(">I", 4 + len(body)) + body


class MessagesOfPostgreSql(unittest.TestCase):
    def test_query_is_told_by_the_first_word_of_each_statement(self):
        self.assertEqual(messages.postgresql(query('BEGIN;declare "C" cursor for select 1;fetch 9 in "C"')),
                         "query begin declare fetch")

    def test_messages_of_one_turn_are_told_in_their_order(self):
        parse = message("P", b"name\0update t set a = $1\0\0\0")
        self.assertEqual(messages.postgresql(parse + message("B", b"\0\0") + message("S", b"")),
                         "parse update, bind, sync")

    def test_first_message_of_a_connection_has_no_kind(self):
        self.assertEqual(messages.postgresql(struct.pack(">II", 8, 196608)), "login")


class MessagesOfTds(unittest.TestCase):
    HEADERS = struct.pack("<IIHQI", 22, 18, 2, 0, 1)
    LAST, MORE = 1, 0

    @staticmethod
    def packet(kind, status, body):
        return struct.pack(">BBHHBB", kind, status, 8 + len(body), 0, 1, 0) + body

    def test_batch_in_several_packets_is_one_message(self):
        body = self.HEADERS + "Update t set a = 1; insert into t values (2)".encode("utf-16-le")
        self.assertEqual(messages.tds(self.packet(1, self.MORE, body[:30]) + self.packet(1, self.LAST, body[30:])),
                         "batch update insert")

    def test_procedure_is_told_by_its_number_or_its_name(self):
        numbered = self.HEADERS + struct.pack("<HHH", 0xFFFF, 13, 0)
        named = self.HEADERS + struct.pack("<H", 7) + "dbo.abc".encode("utf-16-le") + b"\0\0"
        self.assertEqual(messages.tds(self.packet(3, self.LAST, numbered)), "call sp_prepexec")
        self.assertEqual(messages.tds(self.packet(3, self.LAST, named)), "call dbo.abc")

    def test_cancel_has_no_content(self):
        self.assertEqual(messages.tds(self.packet(6, self.LAST, b"")), "cancel")

    def test_encrypted_message_is_unreadable(self):
        self.assertEqual(messages.tds(b"\x17\x03\x03\x00\x40" + bytes(64)), "unreadable")


class PartsOnSqlServer(unittest.TestCase):
    def test_part_that_is_not_measured_there_is_refused_by_name(self):
        ended = subprocess.run([sys.executable, REPOSITORY / "bench" / "bench.py", "--only", "run", "full-copy", "log"],
                               env={**os.environ, "QUINMARK_SERVER": "sqlserver"}, capture_output=True, text=True,
                               check=False, timeout=60)
        self.assertEqual(ended.returncode, 2)
        self.assertIn("on a SQL Server there is no measurement of full-copy and log", ended.stderr)


if __name__ == "__main__":
    unittest.main()
