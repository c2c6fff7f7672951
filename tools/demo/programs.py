"""The two programs of the project, as the demonstration runs them."""

import json
import pathlib
import queue
import signal
import socket
import struct
import subprocess
import sys
import threading

BUILD = pathlib.Path(__file__).resolve().parents[2] / "build" / "release"
BUNDLE = BUILD / "Applications" / "Kivo Driver.app" / "Contents"  # on macOS
DAEMON, KIVOCTL = ((BUNDLE / "MacOS" / "kivo-driver", BUNDLE / "Helpers" / "kivoctl")
                   if sys.platform == "darwin" else
                   (BUILD / "bin" / "kivo-driver", BUILD / "bin" / "kivoctl"))
SWALLOWED = "0x0B"  # the key B


class ControlCenter:
    """`kivoctl session`: takes questions by line and tells answers and notifications in JSON."""

    def __init__(self, session, units, channels):
        self._process = session.start(
            KIVOCTL, "session", "--json", "--units", units, "--channels", channels,
            "--keys", "--swallow", SWALLOWED,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=None, text=True)
        self._answers = queue.Queue()
        self._notifications = queue.Queue()
        threading.Thread(target=self._read, daemon=True).start()
        self._answers.get(timeout=5)  # It owns its port now.

    def _read(self):
        for line in self._process.stdout:
            told = json.loads(line)
            (self._notifications if "code" in told else self._answers).put(told)

    def ask(self, question):
        """The answer to a question, in the words of `kivoctl session`."""
        print(question, file=self._process.stdin, flush=True)
        return self._answers.get(timeout=10)

    def next_notification(self, seconds=3):
        """The next thing that the daemon tells, or None if it tells nothing in that time."""
        try:
            return self._notifications.get(timeout=seconds)
        except queue.Empty:
            return None

    def forget_notifications(self):
        """Passes over what the daemon has told so far, and in its next tick."""
        while self.next_notification(seconds=0.3):
            pass

    def quit(self):
        """Has it end; returns its exit status."""
        self._process.stdin.close()
        return self._process.wait(timeout=5)


def request_status(session):
    """Sends the status request to the control center's port by hand, as docs/message-ports.md says;
    returns units and channels."""
    folder = pathlib.Path(session.environment["XDG_RUNTIME_DIR"]) / "kivo-message-ports"
    with socket.socket(socket.AF_UNIX, socket.SOCK_STREAM) as port:
        port.settimeout(5)
        port.connect(str(folder / "KivoDriver.port"))
        port.sendall(struct.pack("<2sBBIiI", b"KP", 1, 2, 1, 0x53747573, 0))
        reply = port.recv(16 + 28, socket.MSG_WAITALL)
    return struct.unpack(">2I", reply[16:24])


def interrupt(process, seconds=5):
    """Sends SIGINT, as Ctrl-C does; returns the exit status."""
    process.send_signal(signal.SIGINT)
    return process.wait(timeout=seconds)
