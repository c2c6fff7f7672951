"""Displays that are missing, dying or slow, and windows that go while they are asked about."""

import os
import signal
import time

import x11
from kivo.records import record
from support import PATIENCE, DaemonTest, await_true

# Of an answer while the X server does not answer the daemon.
SLOW = 3


class DisplayTest(DaemonTest):
    """What the daemon still answers, and that it waits for nothing without an end."""

    def check_no_windows(self, sender):
        self.assertIsNone(self.ask(sender, "ZWiP", title="Mixer", partialMatch=False))
        self.assertIsNone(self.ask(sender, "ZTWP", records=[record("Mixer")]))

    def check_idle(self, seconds=1.0):
        """It does next to nothing; nor does it tell anything."""
        before = self.daemon.cpu_seconds()
        self.expect_nothing(seconds)
        self.assertLess(self.daemon.cpu_seconds() - before, 0.2 * seconds)


class NoDisplayTest(DisplayTest):
    display = False

    def check(self, **environment):
        self.start(**environment)
        sender = self.client()
        self.assertEqual(self.ask(sender, "ZGlM"), {"x": 0, "y": 0})
        self.check_no_windows(sender)
        self.check_idle()
        self.assertEqual(self.daemon.interrupt(), 0)
        self.expect("KiDC", identity="KIVB")

    def test_none(self):
        self.check()

    def test_one_that_is_not_there(self):
        self.check(DISPLAY=":4711")


class NoManagerTest(DisplayTest):
    manager = False

    def test_nobody_is_in_front(self):
        self.start()
        sender = self.client()
        application = x11.Application(self.session.environment["DISPLAY"], ["Mixer"])
        self.addCleanup(application.end)
        self.screen.warp_pointer(12, 34)
        self.assertEqual(self.ask(sender, "ZGlM"), {"x": 12, "y": 34})
        self.check_no_windows(sender)
        self.check_idle()

    def test_one_that_comes_later(self):
        self.start()
        self.session.start("openbox")
        self.screen.await_manager()
        window = self.open_in_front("Mixer", class_name="Late")[0]
        self.assertEqual(self.ask(self.client(), "ZTWP", records=[record("Mixer")]),
                         {"targetIndex": 0} | self.place(window))


class DyingDisplayTest(DisplayTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.window = self.open_in_front("Mixer")[0]
        self.sender = self.client()

    def test_a_manager_that_dies(self):
        self.session.manager.kill()
        self.session.manager.wait()
        self.assert_answers(self.sender)
        self.check_idle()
        self.session.start("openbox")
        self.screen.await_managed(self.window)
        self.screen.activate(self.window)
        await_true("the window is found again", lambda: self.ask(
            self.sender, "ZTWP", records=[record("Mixer")]) is not None)

    def test_a_server_that_dies(self):
        self.session.server.kill()
        self.session.server.wait()
        self.assertEqual(self.ask(self.sender, "ZGlM"), {"x": 0, "y": 0})
        self.check_no_windows(self.sender)
        self.check_idle(2)
        self.assertTrue(self.daemon.is_running())
        self.assertEqual(self.daemon.interrupt(), 0)
        self.expect("KiDC", identity="KIVB")

    def test_a_server_that_is_stopped(self):
        place = self.place(self.window)
        self.screen.warp_pointer(56, 78)
        self.session.server.send_signal(signal.SIGSTOP)
        self.addCleanup(self.session.server.send_signal, signal.SIGCONT)
        for message, values in (("ZGlM", {}), ("ZWiP", {"title": "", "partialMatch": False}),
                                ("ZTWP", {"records": [record("Mixer")]})):
            started = time.monotonic()
            self.ask(self.sender, message, **values)
            self.assertLess(time.monotonic() - started, SLOW)
        before = self.daemon.cpu_seconds()
        self.expect_nothing(0.5)
        self.assertLess(self.daemon.cpu_seconds() - before, 0.2)
        self.session.server.send_signal(signal.SIGCONT)
        await_true("the pointer is known again",
                   lambda: self.ask(self.sender, "ZGlM") == {"x": 56, "y": 78}, PATIENCE)
        self.assertEqual(self.ask(self.sender, "ZTWP", records=[record("Mixer")]),
                         {"targetIndex": 0} | place)

    def test_the_end_while_the_server_is_stopped(self):
        self.session.server.send_signal(signal.SIGSTOP)
        self.addCleanup(self.session.server.send_signal, signal.SIGCONT)
        self.assertEqual(self.daemon.interrupt(), 0)
        self.expect("KiDC", identity="KIVB")


class VanishingWindowsTest(DisplayTest):
    def test_windows_that_close_while_they_are_asked_about(self):
        """An answer is none or a place where one of the windows was."""
        self.start()
        opener = os.fork()
        if opener == 0:
            open_and_close(self.session.environment["DISPLAY"])
        self.addCleanup(os.waitpid, opener, 0)
        self.addCleanup(os.kill, opener, signal.SIGKILL)
        sender = self.client()
        found = 0
        end = time.monotonic() + 3
        while time.monotonic() < end:
            for message, values in (("ZTWP", {"records": [record("No"), record("Gone")]}),
                                    ("ZWiP", {"title": "Gone", "partialMatch": False})):
                answer = self.ask(sender, message, **values)
                if answer is not None:
                    found += 1
                    self.assertEqual(answer.get("targetIndex", 1), 1)
                    self.assertGreaterEqual(answer["width"], 200)
        self.assertGreater(found, 3)
        self.assertTrue(self.daemon.is_running())


def open_and_close(display):
    """Windows that come to the front and go, until this process is killed."""
    screen = x11.XClient(display)
    while True:
        windows = [screen.create("Gone", "Gone", (10, 10, 200, 100)) for _ in range(3)]
        screen.await_managed(*windows)
        time.sleep(0.02)
        for window in windows:
            screen.destroy(window)
