"""What a client says to a database server, in a few words: the kinds of its messages and of the statements in them."""

import re
import struct

STATEMENT = re.compile(r"(?:^|;)\s*([a-z]+)", re.IGNORECASE)
POSTGRESQL = {"Q": "query", "P": "parse", "B": "bind", "D": "describe", "E": "execute", "C": "close", "S": "sync",
              "H": "flush", "X": "end", "p": "password"}
BATCH, CALL = "batch", "call"
TDS = {1: BATCH, 3: CALL, 6: "cancel", 14: "transaction", 16: "login", 17: "login", 18: "login"}
# Procedures that are called by a number, from 1 on.
PROCEDURES = ("sp_cursor", "sp_cursoropen", "sp_cursorprepare", "sp_cursorexecute", "sp_cursorprepexec",
              "sp_cursorunprepare", "sp_cursorfetch", "sp_cursoroption", "sp_cursorclose", "sp_executesql",
              "sp_prepare", "sp_execute", "sp_prepexec", "sp_prepexecrpc", "sp_unprepare")


def postgresql(data):
    """Of PostgreSQL's protocol, version 3."""
    said = []
    while data:
        if data[0] == 0:  # the first message of a connection has no type
            return "login"
        kind, size = chr(data[0]), struct.unpack_from(">I", data, 1)[0]
        body = data[5:1 + size].decode(errors="replace")
        statement = {"Q": body, "P": body.partition("\0")[2]}.get(kind, "")
        said.append(" ".join([POSTGRESQL.get(kind, kind), *_words(statement)]))
        data = data[1 + size:]
    return ", ".join(said)


def tds(data):
    """Of TDS, from version 7.2 on."""
    said, body = [], b""
    while data:
        kind, status, size = struct.unpack_from(">BBH", data)
        if kind not in TDS:
            return "unreadable"
        body += data[8:size]
        data = data[size:]
        if status & 1 or not data:  # the last packet of a message
            said.append(" ".join([TDS[kind], *_content(TDS[kind], body)]))
            body = b""
    return ", ".join(said)


def _content(kind, body):
    if kind not in (BATCH, CALL):
        return []
    body = body[struct.unpack_from("<I", body)[0]:]  # after the headers
    if kind == BATCH:
        return _words(body.decode("utf-16-le", errors="replace"))
    length, number = struct.unpack_from("<HH", body)
    return [PROCEDURES[number - 1] if length == 0xFFFF else body[2:2 + 2 * length].decode("utf-16-le")]


def _words(text):
    """The first word of each statement."""
    return [word.lower() for word in STATEMENT.findall(text)]
