"""The owner of a message port."""

import collections
import contextlib
import errno
import fcntl
import os
import selectors
import socket
import threading

from . import frames, names
from .client import is_own_user


class NameTaken(Exception):
    """Another process owns the name."""


class Name:
    """A port name that this process owns, and its listening socket."""

    def __init__(self, name, folder=None):
        folder = folder or names.folder()
        with contextlib.suppress(FileExistsError):
            folder.mkdir(mode=0o700)
        names.check(folder)
        stem = names.file_stem(name)
        self._path = folder / f"{stem}.port"
        self._lock = _lock(name, folder / f"{stem}.lock")
        try:
            self.socket = self._listen(folder / f".{stem}.port.new")
        except BaseException:
            os.close(self._lock)
            raise
        self._inode = os.lstat(self._path).st_ino

    def _listen(self, new):
        with contextlib.suppress(FileNotFoundError):
            new.unlink()
        listening = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        with names.address(new) as address:
            listening.bind(address)
        new.chmod(0o600)
        listening.listen(1024)
        new.rename(self._path)
        return listening

    def release(self):
        with contextlib.suppress(FileNotFoundError):
            if os.lstat(self._path).st_ino == self._inode:
                self._path.unlink()
        os.close(self._lock)
        self.socket.close()


def _lock(name, path):
    while True:
        descriptor = os.open(path, os.O_RDWR | os.O_CREAT | os.O_CLOEXEC | os.O_NOFOLLOW, 0o600)
        try:
            fcntl.flock(descriptor, fcntl.LOCK_EX | fcntl.LOCK_NB)
            if os.path.samestat(os.fstat(descriptor), os.lstat(path)):
                return descriptor
        except OSError as error:
            if error.errno == errno.EWOULDBLOCK:
                os.close(descriptor)
                raise NameTaken(f"the port {name!r} belongs to another process") from None
            if error.errno != errno.ENOENT:
                raise
        os.close(descriptor)


class _Connection:
    def __init__(self, accepted):
        self.socket = accepted
        self.reader = frames.Reader(frames.ONE_WAY, frames.WANTS_REPLY)
        self.unsent = collections.deque()


class Owner:
    """Owns a name and answers its messages on a thread of its own.

    `answer(msgid, payload)` is called on that thread, for one message after the other, and returns
    the reply's bytes or None. Order holds within a connection.
    """

    def __init__(self, name, answer, folder=None):
        self._name = Name(name, folder)
        self._answer = answer
        self._selector = selectors.DefaultSelector()
        self._selector.register(self._name.socket, selectors.EVENT_READ, self._accept)
        self._wake, self._woken = socket.socketpair()
        self._selector.register(self._woken, selectors.EVENT_READ, None)
        self._thread = threading.Thread(target=self._serve, daemon=True)
        self._thread.start()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.close()

    def close(self):
        """Gives the name back and ends all connections."""
        self._wake.close()
        self._thread.join()
        self._name.release()
        for key in list(self._selector.get_map().values()):
            key.fileobj.close()
        self._selector.close()

    def _serve(self):
        while True:
            for key, events in self._selector.select():
                if key.data is None:
                    return
                key.data(events)

    def _accept(self, _):
        accepted, _ = self._name.socket.accept()
        if not is_own_user(accepted):
            accepted.close()
            return
        accepted.setblocking(False)
        connection = _Connection(accepted)
        self._selector.register(accepted, selectors.EVENT_READ,
                                lambda events: self._attend(connection, events))

    def _attend(self, connection, events):
        try:
            if events & selectors.EVENT_WRITE:
                self._flush(connection)
            elif not self._take(connection):
                self._drop(connection)
        except (OSError, frames.BadFrame):
            self._drop(connection)

    def _take(self, connection):
        """Serves what has arrived; False at the end of the stream."""
        some = connection.socket.recv(1 << 20)
        for kind, conversation, msgid, payload in connection.reader.feed(some):
            reply = self._answer(msgid, payload)
            if kind == frames.WANTS_REPLY:
                frame = self.pack_reply(conversation, msgid, reply or b"")
                connection.unsent.append(memoryview(frame))
        self._flush(connection)
        return bool(some)

    def pack_reply(self, conversation, msgid, reply):
        """The bytes that answer a message."""
        return frames.pack(frames.REPLY, conversation, msgid, reply)

    def _flush(self, connection):
        """Sends replies; while some are left nothing more is read from this client."""
        while connection.unsent:
            try:
                sent = connection.socket.send(connection.unsent[0], socket.MSG_NOSIGNAL)
            except BlockingIOError:
                break
            rest = connection.unsent.popleft()[sent:]
            if rest:
                connection.unsent.appendleft(rest)
        events = selectors.EVENT_WRITE if connection.unsent else selectors.EVENT_READ
        key = self._selector.get_key(connection.socket)
        self._selector.modify(connection.socket, events, key.data)

    def _drop(self, connection):
        self._selector.unregister(connection.socket)
        connection.socket.close()
