"""The client of a message port."""

import contextlib
import os
import selectors
import socket
import struct
import time

from . import frames, names

# Status codes of a request that did not work out, as the platform's C calls have them.
SEND_TIMEOUT, RECEIVE_TIMEOUT, IS_INVALID, TRANSPORT_ERROR, BECAME_INVALID = -1, -2, -3, -4, -5


class PortError(Exception):
    """A message did not arrive or was not answered; `status` says why."""

    def __init__(self, status, text):
        super().__init__(f"{text} ({status})")
        self.status = status


class NoPort(PortError):
    """Nobody owns the name."""

    def __init__(self, name):
        super().__init__(IS_INVALID, f"there is no port {name!r}")


def connect(name, folder=None):
    """A connection to the port of this name: a blocking socket whose owner is this user."""
    folder = folder or names.folder()
    connection = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
    try:
        names.check(folder)
        with names.address(folder / f"{names.file_stem(name)}.port") as address:
            connection.connect(address)
        if not is_own_user(connection):
            raise NoPort(name)
    except (FileNotFoundError, ConnectionRefusedError, names.UnusableFolder):
        connection.close()
        raise NoPort(name) from None
    except BaseException:
        connection.close()
        raise
    return connection


def is_own_user(connection):
    """Whether the peer is a process of this user."""
    size = struct.calcsize("iII")
    credentials = connection.getsockopt(socket.SOL_SOCKET, socket.SO_PEERCRED, size)
    _, uid, _ = struct.unpack("iII", credentials)
    return uid == os.geteuid()


class Client:
    """Sends messages to one port over one connection, in order. For one thread."""

    def __init__(self, name, folder=None):
        self._name = name
        self._folder = folder
        self._conversation = 0
        self._connection = None
        self._connect()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        self._connection.close()

    def send(self, msgid, payload=b"", timeout=1.0):
        """Sends a one-way message; returns when the kernel has taken it whole."""
        self._write(frames.pack(frames.ONE_WAY, 0, msgid, payload), time.monotonic() + timeout)

    def ask(self, msgid, payload=b"", send_timeout=1.0, receive_timeout=1.0):
        """Sends a message and returns its reply, b"" if the owner has nothing to say."""
        self._conversation = self._conversation % 0xFFFFFFFF + 1
        message = frames.pack(frames.WANTS_REPLY, self._conversation, msgid, payload)
        self._write(message, time.monotonic() + send_timeout)
        return self._await_reply(time.monotonic() + receive_timeout)

    def _connect(self):
        self._connection = connect(self._name, self._folder)
        self._connection.setblocking(False)
        self._reader = frames.Reader(frames.REPLY)
        self._replies = {}

    def _write(self, message, deadline):
        if len(message) > frames.LONGEST_PAYLOAD + 16:
            raise PortError(TRANSPORT_ERROR, "the message is too long")
        if self._connection.fileno() < 0:
            self._connect()
        rest = memoryview(message)
        while rest:
            writable = self._wait(selectors.EVENT_READ | selectors.EVENT_WRITE, deadline)
            if writable is None:
                self._give_up(begun=len(rest) < len(message))
                raise PortError(SEND_TIMEOUT, "the owner does not take the message")
            if writable & selectors.EVENT_WRITE:
                rest = rest[self._send_some(rest):]
            else:
                self._read(TRANSPORT_ERROR)

    def _send_some(self, rest):
        try:
            return self._connection.send(rest, socket.MSG_NOSIGNAL)
        except BlockingIOError:
            return 0
        except OSError as error:
            raise PortError(TRANSPORT_ERROR, f"the connection broke: {error}") from error

    def _give_up(self, begun):
        """Has the owner drop a half message; the next one needs a new connection."""
        if begun:
            with contextlib.suppress(OSError):
                self._connection.shutdown(socket.SHUT_WR)
            self._connection.close()

    def _await_reply(self, deadline):
        while self._conversation not in self._replies:
            if self._wait(selectors.EVENT_READ, deadline) is None:
                raise PortError(RECEIVE_TIMEOUT, "there is no reply in time")
            self._read(BECAME_INVALID)
        reply = self._replies[self._conversation]
        self._replies.clear()  # What else is there came too late for those who asked.
        return reply

    def _read(self, status):
        try:
            some = self._connection.recv(1 << 20)
        except BlockingIOError:
            return
        except ConnectionError:
            some = b""
        if not some:
            raise PortError(status, "the port has gone")
        for _, conversation, _, payload in self._reader.feed(some):
            self._replies[conversation] = payload

    def _wait(self, events, deadline):
        """The events that are there, or None at the deadline."""
        with selectors.DefaultSelector() as selector:
            selector.register(self._connection, events)
            ready = selector.select(max(0, deadline - time.monotonic()))
        return ready[0][1] if ready else None
