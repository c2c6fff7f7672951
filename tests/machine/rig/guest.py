"""One boot of a guest that runs one case."""

import dataclasses
import json
import os
import pathlib
import shlex
import shutil
import socket
import subprocess
import tempfile
import threading
import time

import kernel
import qmp

LINE_LIMIT = 4000  # of the case's output and of the console, when they are shown


@dataclasses.dataclass(frozen=True)
class Case:
    """A script that the guest runs as root. Its lines "# qemu: ..." are words for QEMU, its lines
    "# needs: ..." name programs without which the case is skipped."""
    script: pathlib.Path

    def words_after(self, mark):
        lines = self.script.read_text().splitlines()
        return [word for line in lines if line.startswith(f"# {mark}: ")
                for word in shlex.split(line.removeprefix(f"# {mark}: "))]

    def lacking(self):
        return [name for name in self.words_after("needs") if shutil.which(name) is None]


@dataclasses.dataclass(frozen=True)
class Result:
    """What became of a case: its exit status, or None when it did not end, and what was printed."""
    status: int | None
    output: str
    console: str
    seconds: float


class Guest:
    """An emulated machine of one processor on this machine's own files, in a folder of its own."""

    def __init__(self, case, build, folder):
        self._case = case
        self._build = build
        self._folder = folder
        self._exchange = folder / "exchange"

    def run(self, limit_seconds):
        """Boots, runs the case and waits for the end, at most `limit_seconds`."""
        started = time.monotonic()
        self._write_exchange()
        with (self._folder / "qemu").open("wb") as complaints:
            emulator = subprocess.Popen(self._command(), stdin=subprocess.DEVNULL,
                                        stdout=complaints, stderr=complaints)
        try:
            with HostLink(self._folder, emulator):
                emulator.wait(timeout=limit_seconds)
        except subprocess.TimeoutExpired:
            pass
        finally:
            emulator.kill()
            emulator.wait()
        return Result(self._status(), self._text(self._exchange / "output"),
                      self._text(self._folder / "console") + self._text(self._folder / "qemu"),
                      time.monotonic() - started)

    def _write_exchange(self):
        """What the guest reads; the folder must be open to the guest's ordinary users."""
        self._exchange.mkdir(mode=0o755)
        shutil.copy(kernel.GUEST / "session.sh", self._exchange)
        # Files that only their owner can read are to be readable to the guest's ordinary user.
        player = os.getuid() or 65534
        values = {"KIVO_MODULES": kernel.modules(), "KIVO_CASE": self._case.script,
                  "KIVO_GUEST": kernel.GUEST, "KIVO_BUILD": self._build, "KIVO_PLAYER": player}
        (self._exchange / "environment").write_text("".join(
            f"export {name}={shlex.quote(str(value))}\n" for name, value in values.items()))

    def _command(self):
        # Emulated on purpose: a boot takes three seconds, and it is the same on every machine,
        # those included whose KVM is missing or cannot run a kernel inside of another guest.
        # How fast the processor counts is measured as it boots, which a busy machine gets wrong at
        # times, by a factor of three: so its clock is another.
        return [
            "setpriv", "--pdeathsig", "KILL", "qemu-system-x86_64", "-M", "pc",
            "-accel", "tcg,thread=multi", "-cpu", "Nehalem", "-smp", "1", "-m", "512", "-nodefaults", "-no-reboot", "-display", "none",
            "-kernel", kernel.vmlinux(), "-initrd", kernel.make_initrd(self._folder), "-append",
            "console=ttyS0 quiet panic=-1 mitigations=off tsc=reliable clocksource=hpet no_timer_check",
            "-serial", f"file:{self._folder}/console",
            "-chardev", f"socket,id=link,path={self._folder}/link,server=on,wait=off",
            "-serial", "chardev:link",
            "-qmp", f"unix:{self._folder}/qmp,server=on,wait=off",
            "-virtfs", "local,path=/,mount_tag=host,security_model=none,readonly=on,multidevs=remap",
            "-virtfs", f"local,path={self._exchange},mount_tag=exchange,security_model=none",
            *self._case.words_after("qemu"),
        ]

    def _status(self):
        text = self._text(self._exchange / "status").strip()
        return int(text) if text else None

    @staticmethod
    def _text(path):
        return path.read_text(errors="replace") if path.exists() else ""


class HostLink:
    """Lets the case speak to the emulator: a line "COMMAND JSON" on the guest's second serial line
    is carried out by QEMU and answered by one line, "ok JSON" or "error TEXT"."""

    def __init__(self, folder, emulator):
        self._folder = folder
        self._emulator = emulator
        self._thread = threading.Thread(target=self._serve)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._emulator.kill()
        self._thread.join()

    def _serve(self):
        # The emulator makes its two sockets one after the other.
        line = self._connect("link")
        control = self._connect("qmp")
        if line is None or control is None:
            return
        monitor = qmp.Monitor(control, timeout_seconds=30)
        try:
            with line, line.makefile("rw", encoding="utf-8") as stream:
                for request in stream:
                    stream.write(self._answer(monitor, request) + "\n")
                    stream.flush()
        except (OSError, qmp.CommandFailed):
            pass  # the emulator has ended
        finally:
            monitor.close()

    def _connect(self, name):
        """The other end of a socket of the emulator's, once it is there; None when it ends before."""
        while self._emulator.poll() is None:
            connection = socket.socket(socket.AF_UNIX)
            try:
                connection.connect(str(self._folder / name))
                return connection
            except OSError:
                connection.close()
                time.sleep(0.02)
        return None

    @staticmethod
    def _answer(monitor, request):
        command, _, arguments = request.strip().partition(" ")
        try:
            return "ok " + json.dumps(monitor.execute(command, json.loads(arguments or "{}")))
        except (qmp.CommandFailed, ValueError) as error:
            return f"error {error}"


def boot(case, build, limit_seconds):
    """Runs a case in a guest of its own."""
    with tempfile.TemporaryDirectory(prefix="kivo-machine-") as folder:
        os.chmod(folder, 0o755)
        return Guest(case, build, pathlib.Path(folder)).run(limit_seconds)
