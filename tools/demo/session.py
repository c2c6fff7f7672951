"""A session of its own for the demonstration: X server, window manager, applications, language file.

Nothing of it touches the user's session: home, data and run-time folders lie in a temporary folder,
and every process is ended when the session is left, however that happens.
"""

import contextlib
import os
import pathlib
import plistlib
import shutil
import signal
import subprocess
import tempfile
import time

LANGUAGE_TABLE = {"Mixer": "Mischpult", "Tracks": "Spuren", "Notes": "Notizen", "Plug-ins": "Effekte"}
DOCUMENTS = ["Mischpult.txt", "Spuren.txt", "Notizen.txt"]

# A signature is a key that desktop files do not have by themselves; a file of the same name in the
# user's data folder comes before the system's.
TERMINAL_DESKTOP_FILE = """[Desktop Entry]
Type=Application
Name=XTerm
Exec=xterm
StartupWMClass=XTerm
X-CFBundleSignature=XTRM
"""

# The editor shows the names of its files without their folders.
SETTINGS = """[org/xfce/mousepad/preferences/window]
path-in-title=false
"""


def await_true(what, condition, seconds=10):
    """Asks until the condition holds and returns what it returned."""
    deadline = time.monotonic() + seconds
    while not (answer := condition()):
        if time.monotonic() > deadline:
            raise TimeoutError(f"waited {seconds} s in vain until {what}")
        time.sleep(0.01)
    return answer


class Session:
    """The session, from entering it to leaving it."""

    def __enter__(self):
        with contextlib.ExitStack() as undo:
            self.folder = pathlib.Path(tempfile.mkdtemp(prefix="kivo-demo-"))
            undo.callback(shutil.rmtree, self.folder, ignore_errors=True)
            self._undo = undo
            self.environment = self._make_environment()
            self._write_files()
            self._start_display()
            self._start_applications()
            self._undo = undo.pop_all()
        return self

    def __exit__(self, *_):
        self._undo.close()

    def start(self, *command, **options):
        """Starts a program that is ended with the session; its chatter is dropped."""
        quiet = dict.fromkeys(("stdin", "stdout", "stderr"), subprocess.DEVNULL)
        process = subprocess.Popen([str(word) for word in command], env=self.environment,
                                   cwd=self.folder / "home", start_new_session=True,
                                   **quiet | options)
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

    def _make_environment(self):
        folders = {name: self.folder / name for name in ("home", "run", "data", "config")}
        for folder in folders.values():
            folder.mkdir(mode=0o700)
        environment = {name: value for name, value in os.environ.items()
                       if not name.startswith(("XDG_", "LC_", "DBUS_", "WAYLAND_", "XAUTHORITY"))}
        return environment | {
            "HOME": str(folders["home"]), "XDG_RUNTIME_DIR": str(folders["run"]),
            "XDG_DATA_HOME": str(folders["data"]), "XDG_CONFIG_HOME": str(folders["config"]),
            "LANG": "C.UTF-8", "LANGUAGE": "de",
            # The applications manage without a message bus.
            "GSETTINGS_BACKEND": "keyfile", "NO_AT_BRIDGE": "1", "GDK_BACKEND": "x11",
        }

    def _write_files(self):
        data = self.folder / "data"
        (data / "Zynwerks").mkdir()
        (data / "Zynwerks" / "German.plist").write_bytes(plistlib.dumps(LANGUAGE_TABLE))
        (data / "applications").mkdir()
        (data / "applications" / "debian-xterm.desktop").write_text(TERMINAL_DESKTOP_FILE)
        settings = self.folder / "config" / "glib-2.0" / "settings"
        settings.mkdir(parents=True)
        (settings / "keyfile").write_text(SETTINGS)
        for name in DOCUMENTS:
            (self.folder / "home" / name).write_text(f"{name}\n")

    def _start_display(self):
        reading, writing = os.pipe()
        self.start("Xvfb", "-displayfd", str(writing), "-screen", "0", "1280x800x24",
                   "-nolisten", "tcp", "-noreset", pass_fds=[writing])
        os.close(writing)
        with os.fdopen(reading) as numbers:
            number = numbers.readline().strip()
        if not number:
            raise RuntimeError("the X server Xvfb did not start")
        self.environment["DISPLAY"] = f":{number}"
        self.start("openbox")

    def _start_applications(self):
        self.start("mousepad", "--disable-server", "--opening-mode=window", *DOCUMENTS)
        self.start("xterm", "-T", "Protokoll", "-geometry", "60x10+60+560", "-e", "sleep", "600")
        self.start("xcalc", "-geometry", "+900+60")


def end(process):
    """Ends a program and what it started, and waits until it has gone."""
    for number in (signal.SIGTERM, signal.SIGKILL):
        with contextlib.suppress(ProcessLookupError):
            os.killpg(process.pid, number)
        with contextlib.suppress(subprocess.TimeoutExpired):
            process.wait(timeout=2)
            return
