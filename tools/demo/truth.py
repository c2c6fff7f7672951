"""What is the case on the desktop, from sources that know nothing of the daemon: xdotool and xwininfo."""

import re
import subprocess

from xsession import await_true


class Desktop:
    """Looks at, and acts on, the session's desktop as its user would."""

    def __init__(self, environment):
        self._environment = environment

    def _output(self, *command):
        return subprocess.run(command, env=self._environment, capture_output=True, text=True,
                              check=False).stdout

    def window_named(self, part):
        """The identifier of the visible window whose title holds `part`, awaited."""
        return await_true(f"there is a window named {part}", lambda: self._output(
            "xdotool", "search", "--onlyvisible", "--name", re.escape(part)).split()[:1])[0]

    def activate(self, window):
        """Brings a window to the front as a task bar does; returns when it is there."""
        self._output("xdotool", "windowactivate", window)
        await_true(f"window {window} is active", lambda: self.active_window() == window)

    def active_window(self):
        return self._output("xdotool", "getactivewindow").strip()

    def title(self, window):
        return self._output("xdotool", "getwindowname", window).strip()

    def move_pointer(self, x, y):
        self._output("xdotool", "mousemove", str(x), str(y))

    def pointer(self):
        numbers = dict(re.findall(r"(\w+):(-?\d+)", self._output("xdotool", "getmouselocation")))
        return int(numbers["x"]), int(numbers["y"])

    def frame(self, window):
        """Left, top, width and height of a window with its decoration: of the window manager's own
        window around it, the one that is a child of the root."""
        while (parent := self._parent(window)) is not None:
            window = parent
        facts = self._output("xwininfo", "-id", window)
        return tuple(int(re.search(rf"{label}:\s*(-?\d+)", facts)[1]) for label in
                     ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height"))

    def _parent(self, window):
        """The window around this one; None when that is the root."""
        facts = self._output("xwininfo", "-tree", "-id", window)
        root = re.search(r"Root window id: (0x[0-9a-f]+)", facts)[1]
        parent = re.search(r"Parent window id: (0x[0-9a-f]+)", facts)[1]
        return None if parent == root else parent
