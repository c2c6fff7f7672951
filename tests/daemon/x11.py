"""A small X client that speaks to the server itself: makes windows, acts on them, looks at them.

It is what the tests hold the daemon's answers against, and shares no library with it.
"""

import contextlib
import os
import signal
import socket
import struct

import xsession

CLIENT_MESSAGE = 33
TO_THE_MANAGER = 0x180000  # SubstructureNotify and SubstructureRedirect


class XError(Exception):
    """The server refused a request, as it does when a window has gone."""


class XClient:
    """One connection. For one thread."""

    def __init__(self, display):
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(10)
        self._socket.connect(f"/tmp/.X11-unix/X{display.strip(':')}")
        self._sequence = 0
        self._atoms = {}
        self._greet()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self._socket.close()

    def _greet(self):
        self._socket.sendall(struct.pack("<BxHHHHxx", ord("l"), 11, 0, 0, 0))
        accepted, length = struct.unpack("<B5xH", self._read(8))
        setup = self._read(4 * length)
        if accepted != 1:
            raise XError(setup)
        self._next_id, = struct.unpack_from("<I", setup, 4)
        vendor, formats = struct.unpack_from("<H3xB", setup, 16)
        screen = 32 + (vendor + 3) // 4 * 4 + 8 * formats
        self.root, = struct.unpack_from("<I", setup, screen)

    # Requests.

    def _send(self, opcode, detail, body):
        body += bytes(-len(body) % 4)
        self._socket.sendall(struct.pack("<BBH", opcode, detail, 1 + len(body) // 4) + body)
        self._sequence = (self._sequence + 1) % 2**16

    def _ask(self, opcode, detail=0, body=b""):
        """Sends a request and returns its reply, after the events that came before it."""
        self._send(opcode, detail, body)
        while True:
            packet = self._read(32)
            kind, sequence = struct.unpack("<BxH", packet[:4])
            if kind == 1:
                packet += self._read(4 * struct.unpack_from("<I", packet, 4)[0])
            if kind <= 1 and sequence == self._sequence:
                break
            self.take_event(packet)
        if kind == 0:
            raise XError(f"request {opcode} failed with {packet[1]}")
        return packet

    def take_event(self, packet):
        """Is given the events, and the errors of earlier requests."""

    def _read(self, size):
        some = b""
        while len(some) < size:
            more = self._socket.recv(size - len(some))
            if not more:
                raise ConnectionError("the X server has gone")
            some += more
        return some

    def atom(self, name):
        if name not in self._atoms:
            text = name.encode()
            reply = self._ask(16, 0, struct.pack("<Hxx", len(text)) + text)
            self._atoms[name], = struct.unpack_from("<I", reply, 8)
        return self._atoms[name]

    def sync(self):
        """Returns when the server has done all that was asked of it."""
        self._ask(43)

    # Windows.

    def create(self, title="", class_name="", place=(0, 0, 200, 100)):
        """Makes and shows a window; returns its number."""
        window, self._next_id = self._next_id, self._next_id + 1
        self._send(1, 0, struct.pack("<IIhhHHHHII", window, self.root, *place, 0, 1, 0, 0))
        # Takes the focus when the window manager gives it; stands where it was put.
        self.set_numbers(window, "WM_HINTS", "WM_HINTS", [1, 1, 1, 0, 0, 0, 0, 0, 0])
        self.set_numbers(window, "WM_NORMAL_HINTS", "WM_SIZE_HINTS", [1, *place] + [0] * 13)
        if title:
            self.set_text(window, "_NET_WM_NAME", "UTF8_STRING", title)
        if class_name:
            self.set_text(window, "WM_CLASS", "STRING", f"{class_name}\0{class_name}\0")
        self._send(8, 0, struct.pack("<I", window))
        self.sync()
        return window

    def destroy(self, window):
        self._send(4, 0, struct.pack("<I", window))
        self.sync()

    def _set(self, window, name, type_name, width, content):
        header = struct.pack("<IIIB3xI", window, self.atom(name), self.atom(type_name), width,
                             len(content) * 8 // width)
        self._send(18, 0, header + content)

    def set_text(self, window, name, type_name, text):
        self._set(window, name, type_name, 8, text.encode(errors="surrogateescape"))

    def set_numbers(self, window, name, type_name, numbers):
        self._set(window, name, type_name, 32, struct.pack(f"<{len(numbers)}I", *numbers))

    def numbers(self, window, name):
        """The 32-bit values of a property; none when it is not there."""
        reply = self._ask(20, 0, struct.pack("<IIIII", window, self.atom(name), 0, 0, 100000))
        count = struct.unpack_from("<I", reply, 16)[0] if reply[1] == 32 else 0
        return list(struct.unpack_from(f"<{count}I", reply, 32))

    def children(self, window):
        reply = self._ask(15, 0, struct.pack("<I", window))
        return struct.unpack_from(f"<{struct.unpack_from('<H', reply, 16)[0]}I", reply, 32)

    def close_connection_of(self, window):
        """As `xkill` does."""
        self._send(113, 0, struct.pack("<I", window))
        self.sync()

    def frame(self, window):
        """Left, top, width and height of a window with its decoration, from the screen's corner.

        The decoration is the window manager's own window around it, a child of the root.
        """
        while (parent := self._parent(window)) != self.root:
            window = parent
        reply = self._ask(14, 0, struct.pack("<I", window))
        x, y, width, height, border = struct.unpack_from("<hhHHH", reply, 12)
        return x, y, width + 2 * border, height + 2 * border

    def _parent(self, window):
        return struct.unpack_from("<I", self._ask(15, 0, struct.pack("<I", window)), 12)[0]

    # The desktop.

    def tell_manager(self, window, message, *numbers):
        """Asks the window manager for something about a window."""
        numbers += (0,) * (5 - len(numbers))
        event = struct.pack("<BBxxII5I", CLIENT_MESSAGE, 32, window, self.atom(message), *numbers)
        self._send(25, 0, struct.pack("<II", self.root, TO_THE_MANAGER) + event)
        self.sync()

    def managed(self):
        return self.numbers(self.root, "_NET_CLIENT_LIST")

    def stacking(self):
        """The managed windows, the one in front first."""
        return self.numbers(self.root, "_NET_CLIENT_LIST_STACKING")[::-1]

    def active(self):
        return (self.numbers(self.root, "_NET_ACTIVE_WINDOW") or [0])[0]

    def await_manager(self):
        """Waits until the window manager looks after windows; it says that it is there earlier."""
        probe = self.create("probe")
        self.await_managed(probe)
        self.destroy(probe)
        xsession.await_true("the probe has gone", lambda: probe not in self.managed())

    def await_managed(self, *windows):
        """Waits until the window manager has taken these windows on."""
        def is_managed():
            # Some read the first requests before their event loop runs, and look at them
            # with the next.
            self.tell_manager(self.root, "_KIVO_TEST_NUDGE")
            return set(windows) <= set(self.managed())
        xsession.await_true("the windows are managed", is_managed)

    def activate(self, window):
        """Brings a window to the front as a task bar does; returns when it is there."""
        self.tell_manager(window, "_NET_ACTIVE_WINDOW", 2)
        self.await_active(window)

    def await_active(self, window):
        xsession.await_true("the window is active", lambda: self.active() == window)

    def minimise(self, window):
        self.tell_manager(window, "WM_CHANGE_STATE", 3)
        xsession.await_true("the window is minimised", lambda: self.is_minimised(window))

    def is_minimised(self, window):
        return self.numbers(window, "WM_STATE")[:1] == [3]

    def move(self, window, x, y):
        """Moves a window's outer frame, as a user does."""
        self.tell_manager(window, "_NET_MOVERESIZE_WINDOW", 0x1301, x, y)

    def warp_pointer(self, x, y):
        self._send(41, 0, struct.pack("<IIhhHHhh", 0, self.root, 0, 0, 0, 0, x, y))
        self.sync()


class Application:
    """A process with windows of these titles, shown in this order."""

    def __init__(self, display, titles, class_name="kivo-test"):
        reading, writing = os.pipe()
        self.process_id = os.fork()
        if self.process_id == 0:
            _be_an_application(display, titles, class_name, writing)
        os.close(writing)
        with os.fdopen(reading) as numbers:
            self.windows = [int(number) for number in numbers.read().split()]
        if len(self.windows) != len(titles):
            raise RuntimeError("the test application does not come up")

    def end(self):
        os.kill(self.process_id, signal.SIGKILL)
        os.waitpid(self.process_id, 0)


def _be_an_application(display, titles, class_name, writing):
    """Shows the windows, tells their numbers, and lives until it is killed. Does not return."""
    with contextlib.suppress(Exception):
        client = XClient(display)
        places = [(40 + 60 * at, 50 + 40 * at, 200 + at, 100 + at) for at in range(len(titles))]
        for title, place in zip(titles, places):
            os.write(writing, f"{client.create(title, class_name, place)}\n".encode())
        os.close(writing)
        while True:
            signal.pause()
    os._exit(1)
