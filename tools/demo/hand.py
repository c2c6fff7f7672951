"""A hand on the X server's own keyboard, and an application that shows what it gets of it.

What programs such as xdotool type is told apart from keyboards by the server, and not forwarded.
"""

import ctypes
import re
import subprocess
import threading

from xsession import await_true

KEYBOARD = b"Xvfb keyboard"
KEYCODES = {"a": 38, "b": 56, "c": 54}  # of the keys in their places on a US keyboard


class DeviceInfo(ctypes.Structure):
    """XDeviceInfo of X11/extensions/XInput.h."""
    _fields_ = [("id", ctypes.c_ulong), ("type", ctypes.c_ulong), ("name", ctypes.c_char_p),
                ("classes", ctypes.c_int), ("use", ctypes.c_int), ("class_info", ctypes.c_void_p)]


class Hand:
    """Types on the keyboard of a display."""

    def __init__(self, display):
        self._x = ctypes.CDLL("libX11.so.6")
        self._input = ctypes.CDLL("libXi.so.6")
        self._test = ctypes.CDLL("libXtst.so.6")
        self._x.XOpenDisplay.restype = ctypes.c_void_p
        self._input.XListInputDevices.restype = ctypes.POINTER(DeviceInfo)
        self._input.XOpenDevice.restype = ctypes.c_void_p
        self._display = ctypes.c_void_p(self._x.XOpenDisplay(display.encode()))
        self._device = ctypes.c_void_p(
            self._input.XOpenDevice(self._display, ctypes.c_ulong(self._find_keyboard())))

    def _find_keyboard(self):
        count = ctypes.c_int()
        devices = self._input.XListInputDevices(self._display, ctypes.byref(count))
        return next(devices[i].id for i in range(count.value) if devices[i].name == KEYBOARD)

    def type(self, keys):
        for key in keys:
            for is_down in (1, 0):
                self._test.XTestFakeDeviceKeyEvent(self._display, self._device, KEYCODES[key],
                                                   is_down, None, 0, ctypes.c_ulong(0))
                self._x.XSync(self._display, 0)


class KeyWindow:
    """A window of xev, which tells the keys that it gets."""

    def __init__(self, session):
        self._process = session.start("xev", "-event", "keyboard", "-name", "Tasten",
                                      stdout=subprocess.PIPE, text=True)
        self._typed = []
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        is_press = False
        for line in self._process.stdout:
            if "event, serial" in line:
                is_press = line.startswith("KeyPress")
            symbol = re.search(r"keysym 0x\w+, (\w+)\)", line)
            if is_press and symbol:
                self._typed.append(symbol[1])

    def typed(self):
        """All that was typed into it so far."""
        return "".join(self._typed)

    def await_typed(self, text):
        await_true(f"the window got {text}", lambda: self.typed() == text)

    def forget(self):
        self._typed = []
