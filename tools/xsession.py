"""A desktop session of its own: folders, X server, programs. For the demonstration and the tests.

Nothing of it touches the user's session: home, data and run-time folders lie in a temporary folder,
and every process is ended when the session is left, however that happens.
"""

import contextlib
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time


def await_true(what, condition, seconds=10):
    """Asks until the condition holds and returns what it returned."""
    deadline = time.monotonic() + seconds
    while not (answer := condition()):
        if time.monotonic() > deadline:
            raise TimeoutError(f"waited {seconds} s in vain until {what}")
        time.sleep(0.01)
    return answer


class Session:
    """The session, from entering it to leaving it. `set_up` says what is in it."""

    def __enter__(self):
        with contextlib.ExitStack() as undo:
            self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kivo-"))
            undo.callback(shutil.rmtree, self.folder, ignore_errors=True)
            self._undo = undo
            self.environment = self._make_environment()
            self.set_up()
            self._undo = undo.pop_all()
        return self

    def __exit__(self, *_):
        self._undo.close()

    def set_up(self):
        """Fills the session with files and programs; what is started here ends with the session."""

    def write_data(self, path, content):
        """Writes a file below the folder of the user's data."""
        path = self.folder / "data" / path
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content if isinstance(content, bytes) else content.encode())

    def start(self, *command, **options):
        """Starts a program that is ended with the session; its chatter is dropped."""
        usual = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.DEVNULL)
        usual |= {"env": self.environment, "cwd": self.folder / "home", "start_new_session": True}
        process = subprocess.Popen([str(word) for word in command], **usual | options)
        self._undo.callback(end, process)
        return process

    def start_logged(self, *command):
        """Starts a program whose standard error is kept for `log`."""
        with open(self.folder / "log", "ab") as log:
            return self.start(*command, stderr=log)

    def log(self):
        """What the logged programs have said."""
        path = self.folder / "log"
        return path.read_text(errors="replace") if path.exists() else ""

    def start_display(self, screen="1280x800x24"):
        """Starts an X server without hardware; returns its process."""
        return self.start_x_server("Xvfb", "-screen", "0", screen)

    def start_x_server(self, *command):
        """Starts this X server, which DISPLAY names from then on; returns its process."""
        reading, writing = os.pipe()
        server = self.start(*command, "-displayfd", writing, "-nolisten", "tcp", "-noreset",
                            pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise RuntimeError(f"the X server {command[0]} did not start")
        self.environment["DISPLAY"] = f":{number}"
        return server

    def _make_environment(self):
        folders = {name: self.folder / name for name in ("home", "run", "data", "config")}
        for folder in folders.values():
            folder.mkdir(mode=0o700)
        foreign = ("XDG_", "LC_", "LANG", "DBUS_", "DISPLAY", "WAYLAND_", "XAUTHORITY")
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(foreign)}
        return environment | {
            "HOME": str(folders["home"]), "XDG_RUNTIME_DIR": str(folders["run"]),
            "XDG_DATA_HOME": str(folders["data"]), "XDG_CONFIG_HOME": str(folders["config"]),
            "LANG": "C.UTF-8",
            # Keys are forwarded in this session only, whatever else the user may hold.
            "KIVO_KEYBOARD": "x11",
            # The applications manage without a message bus.
            "GSETTINGS_BACKEND": "keyfile", "NO_AT_BRIDGE": "1", "GDK_BACKEND": "x11",
        }


def end(process):
    """Ends a program and what it started, and waits until it has gone."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, number)
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(timeout=2)
            return
