"""Keys in an X session: a hand on the server's keyboard, and an application that is typed into.

What the hand does comes from a keyboard and not from a program, as far as the server and everybody
else can tell. Keys are the kernel's numbers.
"""

import contextlib
import struct

import x11
import xsession

FIRST_KEYCODE = 8
SESSION_KEYBOARD = 3
SLAVE_KEYBOARD, FLOATING_SLAVE = 4, 5
KEY_PRESS, KEY_RELEASE = 2, 3
KEY_EVENTS = 0x3

ESC, BACKSPACE, TAB, Q, ENTER, LEFT_SHIFT, A, S, D, F = 1, 14, 15, 16, 28, 42, 30, 31, 32, 33
Z, Y, CAPS_LOCK = 44, 21, 58
B, RIGHT_ALT = 48, 100
MODIFIERS = {LEFT_SHIFT, RIGHT_ALT}


class KeyClient(x11.XClient):
    """A client that knows the server's keyboards."""

    def __init__(self, display):
        super().__init__(display)
        self._input, self._first_event = self._extension("XInputExtension")
        self._test, _ = self._extension("XTEST")
        self._ask(self._input, 47, struct.pack("<HH", 2, 2))

    def _extension(self, name):
        """The number of its requests, and that of its first event."""
        reply = self._ask(98, 0, struct.pack("<Hxx", len(name)) + name.encode())
        return reply[9], reply[10]

    def keyboards(self):
        """The slave keyboards: their names, and whether they float, by number."""
        reply = self._ask(self._input, 48, struct.pack("<Hxx", 0))
        count, place, found = struct.unpack_from("<H", reply, 8)[0], 32, {}
        for _ in range(count):
            number, kind, _, classes, length = struct.unpack_from("<5H", reply, place)
            name = reply[place + 12:place + 12 + length].decode()
            place += 12 + (length + 3) // 4 * 4
            for _ in range(classes):
                is_key_class = struct.unpack_from("<H", reply, place)[0] == 0
                place += 4 * struct.unpack_from("<H", reply, place + 2)[0]
                if is_key_class and kind in (SLAVE_KEYBOARD, FLOATING_SLAVE):
                    found[number] = name, kind == FLOATING_SLAVE
        return found

    def down_on(self, keyboard):
        """The keys that are down on one keyboard."""
        reply = self._ask(self._input, 30, struct.pack("<Bxxx", keyboard))
        place = 32
        for _ in range(reply[8]):
            kind, length = reply[place], reply[place + 1]
            if kind == 0:
                return _keys(reply[place + 4:place + 36])
            place += length
        return set()

    def down_in_session(self):
        return _keys(self._ask(44)[8:40])

    def grab(self, keyboard):
        """Takes a keyboard for itself, as programs do that remap keys; whether it gets it."""
        reply = self._ask(self._input, 51, struct.pack("<IIIHBBBxHI", self.root, 0, 0, keyboard,
                                                       1, 1, 0, 1, 0))
        return reply[8] == 0

    def ungrab(self, keyboard):
        self._send(self._input, 52, struct.pack("<IHxx", 0, keyboard))
        self.sync()

    def meaning(self, key):
        """What a key means in the session's layout now, by itself: a symbol's number."""
        reply = self._ask(101, 0, struct.pack("<BBxx", key + FIRST_KEYCODE, 1))
        return struct.unpack_from("<I", reply, 32)[0]


def _keys(bits):
    return {code - FIRST_KEYCODE for code in range(256) if bits[code // 8] >> code % 8 & 1}


class Hand(KeyClient):
    """A hand on a keyboard of the server."""

    def __init__(self, display, keyboard="Xvfb keyboard"):
        super().__init__(display)
        by_name = {name: number for number, (name, _) in self.keyboards().items()}
        self.programs = by_name["Virtual core XTEST keyboard"]
        self.keyboard = by_name[keyboard]

    def _do(self, key, event):
        """Not a core event: that would come from the keyboard for programs."""
        kind = self._first_event + event - KEY_PRESS + 1
        self._send(self._test, 2, struct.pack("<BBxxII8xhh7xB", kind, key + FIRST_KEYCODE, 0, 0,
                                              0, 0, self.keyboard))
        self.sync()

    def press(self, *keys):
        for key in keys:
            self._do(key, KEY_PRESS)

    def release(self, *keys):
        for key in keys:
            self._do(key, KEY_RELEASE)

    def type(self, *keys):
        for key in keys:
            self.press(key)
            self.release(key)

    def down(self):
        return self.down_on(self.keyboard)

    def is_held(self):
        """Whether somebody holds the keyboard; it is cut off from the session then."""
        return self.keyboards()[self.keyboard][1]

    def await_held(self):
        xsession.await_true("the keyboard is held", self.is_held)

    def await_given_back(self):
        xsession.await_true("the keyboard is given back", lambda: not self.is_held())

    def await_free(self):
        """Waits until the session has the keyboard, and nothing is left of who held it."""
        self.await_given_back()
        xsession.await_true("nothing is down on the keyboard for programs",
                            lambda: not self.down_on(self.programs))

    def disable(self):
        """As the server does on suspending, and `xinput disable`."""
        self._set_enabled(False)
        self.sync()

    def enable(self):
        """As the server does on resuming, and `xinput enable`; also when it is enabled."""
        self._set_enabled(True)
        self.sync()

    def disable_and_enable(self, times=1):
        """At once: who hears of the first may find the last done."""
        for _ in range(times):
            self._set_enabled(False)
            self._set_enabled(True)
        self.enable()

    def _set_enabled(self, is_enabled):
        self._send(self._input, 57, struct.pack("<HBBIIIB", self.keyboard, 0, 8,
                                                self.atom("Device Enabled"), self.atom("INTEGER"),
                                                1, is_enabled))

    @contextlib.contextmanager
    def at_once(self):
        """What is done meanwhile is done before the server serves anybody else."""
        self._send(36, 0, b"")
        yield
        self._send(37, 0, b"")
        self.sync()

    def detach(self):
        """Takes the keyboard from the session, as `xinput float` does."""
        self._send(self._input, 43, struct.pack("<B3xHHHxx", 1, 4, 2, self.keyboard))
        self.sync()

    def reattach(self):
        """Gives it back to the session, as `xinput reattach` does."""
        self._send(self._input, 43, struct.pack("<B3xHHHH", 1, 3, 2, self.keyboard,
                                                SESSION_KEYBOARD))
        self.sync()

    def set_repeating(self, is_on):
        """Has keys that are held repeat, or not."""
        self._send(102, 0, struct.pack("<II", 0x80, int(is_on)))
        self.sync()


class TypedInto(KeyClient):
    """An application with the keyboard focus; keeps what it gets: ("+", key) and ("-", key)."""

    def __init__(self, display):
        super().__init__(display)
        self._got = []
        self.modifiers = 0  # of the last one
        window = self.create("typed into")
        self._send(2, 0, struct.pack("<III", window, 0x800, KEY_EVENTS))
        self._send(42, 1, struct.pack("<II", window, 0))
        self.sync()

    def take_event(self, event):
        if event[0] & 0x7F in (KEY_PRESS, KEY_RELEASE):
            self._got.append(("+" if event[0] & 0x7F == KEY_PRESS else "-",
                              event[1] - FIRST_KEYCODE))
            self.modifiers, = struct.unpack_from("<H", event, 28)

    def got(self):
        self.sync()
        return list(self._got)

    def clear(self):
        self.sync()
        self._got.clear()

    def await_keys(self, *keys):
        """Waits until it has got these, in this order, and nothing else."""
        xsession.await_true(f"{keys} have come", lambda: self.got() == list(keys))
