"""A session on a real X server, and hands on keyboards of its own.

The screen is a dummy, and what is typed reaches the keyboards' driver (inputtest) by a socket:
all that lies between a driver and the applications is what people have. It takes neither a console
nor rights.
"""

import pathlib
import socket
import struct

import support
import x11keys

# Not the program in the path: that one insists on a console for who is not root.
SERVER = pathlib.Path("/usr/lib/xorg/Xorg")
DRIVERS = [SERVER.parent / "modules" / path
           for path in ("input/inputtest_drv.so", "drivers/dummy_drv.so")]

# The keyboards, each with a layout of its own.
LAYOUTS = {"left keyboard": "us", "right keyboard": "de"}
# What the driver is told, and says.
HELLO, AWAIT_ALL, KEY = 0, 1, 5
HELLO_TOO, ALL_DONE = 0, 1
PROTOCOL = struct.pack("=HH", 1, 1)

# Nothing of the machine is looked at.
CONFIGURATION = """
Section "ServerFlags"
    Option "AutoAddGPU" "false"
    Option "AutoAddDevices" "false"
EndSection
Section "Device"
    Identifier "device"
    Driver "dummy"
EndSection
Section "Screen"
    Identifier "screen"
    Device "device"
EndSection
"""
KEYBOARD = """
Section "InputDevice"
    Identifier "{name}"
    Driver "inputtest"
    Option "DeviceType" "Keyboard"
    Option "SocketPath" "{socket}"
    Option "XkbLayout" "{layout}"
EndSection
"""


def missing():
    """The files of the server that are not installed."""
    return [str(file) for file in (SERVER, *DRIVERS) if not file.exists()]


class Session(support.Session):
    """A session on such a server."""

    def start_server(self):
        # These are closed after the server has ended: it would read from them in vain for ever.
        self.keyboards = {name: Keyboard(self.folder / name) for name in LAYOUTS}
        for keyboard in self.keyboards.values():
            self._undo.callback(keyboard.close)
        (self.folder / "xorg.conf").write_text(self._configuration())
        (self.folder / "xorg.conf.d").mkdir()
        # At a seat that no device of this machine belongs to.
        server = self.start_x_server(
            SERVER, "-seat", "seat-kivo", "-config", self.folder / "xorg.conf",
            "-configdir", self.folder / "xorg.conf.d",
            "-logfile", self.folder / "xorg.log", "-logverbose", "0")
        for keyboard in self.keyboards.values():
            keyboard.connect()
        return server

    def _configuration(self):
        keyboards = [KEYBOARD.format(name=name, layout=layout, socket=self.keyboards[name].path)
                     for name, layout in LAYOUTS.items()]
        names = [f'    InputDevice "{name}"\n' for name in LAYOUTS]
        layout = ['Section "ServerLayout"\n    Identifier "layout"\n    Screen "screen"\n', *names,
                  'EndSection\n']
        return "".join([CONFIGURATION, *keyboards, *layout])


class Keyboard:
    """The keys of a keyboard: what its driver is told."""

    def __init__(self, path):
        self.path = path
        self._socket = None

    def connect(self):
        """Also necessary when the keyboard was disabled and enabled: that breaks the connection."""
        self.close()
        self._socket = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
        self._socket.settimeout(support.PATIENCE)
        self._socket.connect(str(self.path))
        self._tell(HELLO, PROTOCOL)
        self._await(HELLO_TOO)

    def close(self):
        if self._socket:
            self._socket.close()

    def move(self, keycode, is_down):
        """Moves a key; returns when the server has done all that follows from it."""
        self._tell(KEY, struct.pack("=iI", keycode, is_down))
        self._tell(AWAIT_ALL)
        self._await(ALL_DONE)

    def _tell(self, kind, body=b""):
        self._socket.sendall(struct.pack("=II", 8 + len(body), kind) + body)

    def _await(self, kind):
        length, answer = struct.unpack("=II", self._socket.recv(8, socket.MSG_WAITALL))
        self._socket.recv(length - 8, socket.MSG_WAITALL)
        if answer != kind:
            raise RuntimeError(f"the keyboard's driver answers {answer} where it should {kind}")


class Hand(x11keys.Hand):
    """A hand on one of the keyboards."""

    def __init__(self, session, name):
        super().__init__(session.environment["DISPLAY"], name)
        self._keys = session.keyboards[name]

    def _do(self, key, event):
        self._keys.move(key + x11keys.FIRST_KEYCODE, event == x11keys.KEY_PRESS)
        self.sync()

    def enable(self):
        super().enable()
        self._keys.connect()
