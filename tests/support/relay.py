"""A TCP relay in front of a server, for tests of a bad network."""

import asyncio
import ctypes
import socket
import struct
import threading

from side import PATIENCE

LOCALHOST = "127.0.0.1"
SO_ATTACH_FILTER = 26
# The bytes of the longest text that is awaited.
LONGEST = 200


class Relay:
    """Forwards a port of its own to a server, in a thread of its own. Its methods return when it is done."""

    def __init__(self, host, port):
        self._server = (host, port)
        self._writers = set()
        self._connections = set()
        self._listener = None
        self._until_freeze = None
        self._awaited = ()
        self.frozen = threading.Event()
        self.passed = 0
        self.turns = None  # where a list is put here, it gets what clients send each time before the server answers
        self.port = 0
        self._loop = asyncio.new_event_loop()
        self._thread = threading.Thread(target=self._loop.run_forever, daemon=True)
        self._thread.start()
        self._call(self._open())

    def cut(self, reset=True, refuse=True):
        """Ends all connections, with RST or with FIN, and refuses new ones if told."""
        self._call(self._cut(reset, refuse))

    def freeze(self):
        """Keeps back all further data; connections stay and new ones are accepted."""
        self._call(self._set_flowing(False))

    def freeze_after(self, count):
        """Freezes when that many bytes more have passed, both ways together, and sets `frozen`."""
        self.frozen.clear()
        self._until_freeze = self.passed + count

    def freeze_before(self, text):
        """Freezes before the end of a statement with this text has passed, and sets `frozen`: the server does not carry
        it out. Connections that are encrypted after the login do not show their statements."""
        self.frozen.clear()
        self._awaited = (text.encode(), text.encode("utf-16-le"))  # as PostgreSQL has it, and as SQL Server

    def wait_until_frozen(self):
        if not self.frozen.wait(PATIENCE):
            raise AssertionError(f"waited {PATIENCE} s in vain for the statement; is the connection encrypted?")

    def vanish(self):
        """Sends the clients nothing more, not even an acknowledgement of their data."""
        self._call(self._vanish())

    def heal(self):
        """Forwards again, and cancels a freeze to come. Frozen connections go on, cut ones stay cut."""
        self._until_freeze, self._awaited = None, ()
        self._call(self._open())

    def close(self):
        self.cut()
        self._loop.call_soon_threadsafe(self._loop.stop)
        self._thread.join()
        self._loop.close()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def _call(self, coroutine):
        return asyncio.run_coroutine_threadsafe(coroutine, self._loop).result(10)

    async def _open(self):
        if not self._listener:
            self._flowing = asyncio.Event()
            self._listener = await asyncio.start_server(self._serve, LOCALHOST, self.port)
            self.port = self._listener.sockets[0].getsockname()[1]
        self._flowing.set()

    async def _set_flowing(self, flowing):
        (self._flowing.set if flowing else self._flowing.clear)()

    async def _cut(self, reset, refuse):
        if refuse and self._listener:
            self._listener.close()
            self._listener = None
        for writer in self._writers:
            if writer.is_closing():
                continue
            if reset:
                no_linger = struct.pack("ii", 1, 0)
                writer.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, no_linger)
            writer.transport.abort()
        self._flowing.set()
        await asyncio.gather(*self._connections)

    async def _vanish(self):
        drop_all = ctypes.create_string_buffer(struct.pack("HBBI", 6, 0, 0, 0))
        program = struct.pack("HP", 1, ctypes.addressof(drop_all))
        self._flowing.clear()
        for writer in self._writers:
            writer.get_extra_info("socket").setsockopt(socket.SOL_SOCKET, SO_ATTACH_FILTER, program)

    async def _serve(self, reader, writer):
        task = asyncio.current_task()
        self._connections.add(task)
        self._writers.add(writer)
        try:
            await self._connect(reader, writer)
        finally:
            self._writers.discard(writer)
            self._connections.discard(task)

    async def _connect(self, reader, writer):
        try:
            server_reader, server_writer = await asyncio.open_connection(*self._server)
        except OSError:
            writer.transport.abort()
            return
        if writer.is_closing():  # cut meanwhile
            server_writer.transport.abort()
            return
        self._writers.add(server_writer)
        turn = bytearray()

        def hear_client(data):
            if self.turns is not None and not turn:
                self.turns.append(turn)
            turn.extend(data)

        def hear_server(_):
            nonlocal turn
            turn = bytearray()

        await asyncio.gather(self._pump(reader, server_writer, hear_client),
                             self._pump(server_reader, writer, hear_server))
        self._writers.discard(server_writer)

    async def _pump(self, reader, writer, hear):
        end = b""  # of what has passed; the awaited text may begin there
        try:
            while data := await reader.read(65536):
                hear(data)
                await self._flowing.wait()
                if any((end + data).find(text, max(0, len(end) + 1 - len(text))) >= 0 for text in self._awaited):
                    self._awaited = ()
                    await self._freeze()
                end = (end + data)[-LONGEST:]
                data = await self._pass_until_freeze(data, writer)
                writer.write(data)
                await writer.drain()
                self.passed += len(data)
        except OSError:
            pass  # the other pump sees its end of it
        writer.close()

    async def _freeze(self):
        self._flowing.clear()
        self.frozen.set()
        await self._flowing.wait()

    async def _pass_until_freeze(self, data, writer):
        """The rest of the data, once it flows again."""
        if self._until_freeze is None or self.passed + len(data) < self._until_freeze:
            return data
        first = self._until_freeze - self.passed
        self._until_freeze = None
        writer.write(data[:first])
        self.passed += first
        await self._freeze()
        return data[first:]
