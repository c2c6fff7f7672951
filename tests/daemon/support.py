"""What the tests of the daemon share: a session, the daemon in it, and a control center."""

import os
import pathlib
import queue
import signal
import subprocess
import sys
import threading
import unittest

from kivo import client, names, owner, protocol
import x11
import xsession
from xsession import await_true

DRIVER = pathlib.Path(os.environ["KIVO_DRIVER"]) if "KIVO_DRIVER" in os.environ else None
CENTER = pathlib.Path(__file__).with_name("center.py")
# The driver lives with a control center's silence for 10 ms; everything here gets much more, so
# that only a hang fails on a busy machine.
PATIENCE = 5
A_FEW_TICKS = 0.35
# Windows are where they are going to be as soon as they are shown.
WITHOUT_ANIMATION = """<openbox_config xmlns="http://openbox.org/3.4/rc">
<theme><name>Clearlooks</name><animateIconify>no</animateIconify></theme></openbox_config>"""


class ControlCenter:
    """Owns the control center's port, keeps what it is told, and answers with `replies`."""

    def __init__(self, session):
        self._told = queue.Queue()
        self.replies = {}
        self._owner = owner.Owner(protocol.CONTROL_CENTER_PORT, self._take, session.ports())

    def close(self):
        self._owner.close()

    def _take(self, msgid, payload):
        message = protocol.characters(msgid)
        self._told.put((message, payload))
        return self.replies.get(message)

    def next(self, seconds=PATIENCE):
        """The next thing told: (message, values); None if nothing is in that time."""
        return next_of(self._told, seconds)


def next_of(told, seconds):
    try:
        message, payload = told.get(timeout=seconds)
    except queue.Empty:
        return None
    return message, protocol.decode(message, payload)


class CenterProcess:
    """A control center that can be stopped and killed; see center.py."""

    def __init__(self, session, answers="none"):
        self.process = session.start(sys.executable, CENTER, session.ports(), answers,
                                     stdout=subprocess.PIPE, text=True)
        self._told = queue.Queue()
        if self.process.stdout.readline() != "ready\n":
            raise RuntimeError("the control center does not come up")
        threading.Thread(target=self._read, daemon=True).start()

    def _read(self):
        for line in self.process.stdout:
            message, _, payload = line.rstrip("\n").partition(" ")
            self._told.put((message, bytes.fromhex(payload)))

    def next(self, seconds=PATIENCE):
        """The next thing told: (message, values); None if nothing is in that time."""
        return next_of(self._told, seconds)

    def signal(self, number):
        self.process.send_signal(number)

    def kill(self):
        self.process.kill()
        self.process.wait()


class Daemon:
    """A running daemon and its log."""

    def __init__(self, session, number, environment):
        self._log = session.folder / f"driver-{number}.log"
        # Which applications this machine knows does not matter, but where a test says so.
        known = {"XDG_DATA_DIRS": str(session.folder / "no-applications")}
        with open(self._log, "wb") as log:
            self.process = session.start(DRIVER, stderr=log,
                                         env=session.environment | known | environment)

    def log(self):
        return self._log.read_text(errors="replace")

    def log_lines(self):
        """The lines of the system log, without the program's name."""
        return [line.removeprefix("kivo-driver: ") for line in self.log().splitlines()
                if line.startswith("kivo-driver: ")]

    def await_log(self, text):
        await_true(f"the log says {text!r}", lambda: text in self.log(), PATIENCE)

    def _mask(self, name):
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(status.split(f"{name}:")[1].split()[0], 16)

    def await_handler(self):
        """Waits until SIGINT is handled, which is the first thing the daemon sees to."""
        bit = 1 << signal.SIGINT - 1
        await_true("SIGINT is handled", lambda: self._mask("SigCgt") & bit, PATIENCE)

    def await_signals_taken(self):
        await_true("no signal is pending", lambda: not self._mask("ShdPnd"), PATIENCE)

    def interrupt(self):
        """Sends SIGINT, as Ctrl-C does; returns the exit status."""
        return self.end(signal.SIGINT)

    def end(self, number):
        self.process.send_signal(number)
        return self.process.wait(timeout=PATIENCE)

    def is_running(self):
        return self.process.poll() is None

    def descriptors(self):
        return len(os.listdir(f"/proc/{self.process.pid}/fd"))

    def memory(self):
        """Resident memory in bytes."""
        status = pathlib.Path(f"/proc/{self.process.pid}/status").read_text()
        return int(status.split("VmRSS:")[1].split()[0]) * 1024

    def cpu_seconds(self):
        told = pathlib.Path(f"/proc/{self.process.pid}/stat").read_text()
        user, system = told.rpartition(")")[2].split()[11:13]
        return (int(user) + int(system)) / os.sysconf("SC_CLK_TCK")


class Session(xsession.Session):
    """A session in which a daemon can be; the display and its manager only on demand."""

    def __init__(self, display, manager):
        self._wants = display, manager

    def set_up(self):
        display, manager = self._wants
        self.server = self.start_server() if display else None
        self.manager = self._start_manager() if manager else None

    def start_server(self):
        return self.start_display(screen="1280x800x24")

    def _start_manager(self):
        configuration = self.folder / "config" / "openbox" / "rc.xml"
        configuration.parent.mkdir()
        configuration.write_text(WITHOUT_ANIMATION)
        return self.start("openbox")

    def ports(self):
        return names.folder(self.environment)


class DaemonTest(unittest.TestCase):
    """A session of its own for each test, ended with it."""

    display = True
    manager = True
    session_type = Session
    logs = {}  # by name, when it has ended

    def setUp(self):
        self.assertIsNotNone(DRIVER, "KIVO_DRIVER names the daemon's program")
        self.session = self.enterContext(
            self.session_type(self.display, self.display and self.manager))
        self.addCleanup(self._keep_logs)
        self._daemons = 0
        self.screen = self.center = self.daemon = None
        if self.display:
            self.screen = self.enterContext(x11.XClient(self.session.environment["DISPLAY"]))
        if self.session.manager:
            self.screen.await_manager()

    def _keep_logs(self):
        self.logs = {log.name: log.read_text(errors="replace").splitlines()
                     for log in sorted(self.session.folder.glob("*.log"))}

    def start_center(self):
        self.center = ControlCenter(self.session)
        self.addCleanup(self.center.close)
        return self.center

    def start_daemon(self, **environment):
        self._daemons += 1
        self.daemon = Daemon(self.session, self._daemons, environment)
        return self.daemon

    def start(self, **environment):
        """A control center and a daemon that has told what it tells at start."""
        self.start_center()
        self.start_daemon(**environment)
        self.expect("KiCt", identity="KIVB")
        self.assertEqual(self.center.next()[0], "ZSLg")
        self.expect_message("KiFA", "KiFI")

    def open_windows(self, *titles, class_name="kivo-test"):
        """An application with these windows, the last one in front."""
        application = x11.Application(self.session.environment["DISPLAY"], titles, class_name)
        self.addCleanup(application.end)
        self.screen.await_managed(*application.windows)
        self.screen.activate(application.windows[-1])
        return application

    def open_in_front(self, *titles, class_name="Front"):
        """The same, once the daemon has told so; the windows."""
        application = self.open_windows(*titles, class_name=class_name)
        self.expect("KiFI", bundleIdentifier=class_name)
        return application.windows

    def client(self):
        """A client of the daemon's port, which is awaited."""
        def connected():
            try:
                return client.Client(protocol.DRIVER_PORT, self.session.ports())
            except client.NoPort:
                return None
        return self.enterContext(await_true("the daemon has a port", connected, PATIENCE))

    def ask(self, sender, message, payload=None, **values):
        """The values of the reply to a request, or None if it carries no data."""
        payload = protocol.encode(message, **values) if payload is None else payload
        reply = sender.ask(protocol.code(message), payload, PATIENCE, PATIENCE)
        return protocol.decode_reply(message, reply)

    def place(self, window):
        """Where a window is, as the screen has it and the daemon is to say it."""
        return dict(zip(("x", "y", "width", "height"), self.screen.frame(window)))

    def expect_message(self, *messages):
        """The next thing that the control center is told is one of these; its values."""
        told = self.center.next()
        self.assertIsNotNone(told, f"{messages} is not sent")
        self.assertIn(told[0], messages)
        return told[1]

    def expect(self, message, **values):
        self.assertEqual(self.expect_message(message), values)

    def expect_nothing(self, seconds=A_FEW_TICKS):
        self.assertIsNone(self.center.next(seconds))

    def assert_answers(self, sender=None):
        """The daemon is well: it knows where the pointer is."""
        at = self.ask(sender or self.client(), "ZGlM")
        self.assertEqual(set(at), {"x", "y"})
