"""A control center that hangs, dies or comes back: the daemon goes on."""

import signal
import time

from support import ControlCenter, CenterProcess, DaemonTest, await_true

SENT = "SendMessage (no reply) returned 00000000"
GONE = "SendMessage (no reply) returned fffffffd"
# Of a request while the control center hangs; the daemon itself may wait 20 ms for it.
BOUND = 1


class ControlCenterTest(DaemonTest):
    def setUp(self):
        super().setUp()
        self.center = CenterProcess(self.session)
        self.start_daemon()
        self.expect("KiCt", identity="KIVB")
        self.expect("ZSLg", language="English")
        self.expect("KiFA", signature="\0\0\0\0")
        self.sender = self.client()
        await_true("both are logged", lambda: len(self.daemon.log_lines()) == 2)

    def hang(self):
        """Stops it; woken at the end, so that it can be ended."""
        self.center.signal(signal.SIGSTOP)
        self.addCleanup(self.center.signal, signal.SIGCONT)

    def switch(self, *names):
        """Brings new applications to the front, each for a tick at least; asks in between."""
        for name in names:
            lines = len(self.daemon.log_lines())
            self.open_windows(name, class_name=name)
            await_true("the daemon tries to tell", lambda: len(self.daemon.log_lines()) > lines)
            self.check_quick_answer()

    def check_quick_answer(self):
        started = time.monotonic()
        self.assert_answers(self.sender)
        self.assertLess(time.monotonic() - started, BOUND)

    def test_one_that_hangs_gets_everything_later(self):
        self.hang()
        self.switch("A", "B", "C")
        self.center.signal(signal.SIGCONT)
        for name in "ABC":
            self.expect("KiFI", bundleIdentifier=name)
        self.assertEqual(self.daemon.log_lines(), [SENT] * 5)

    def test_the_end_of_the_daemon_while_it_hangs(self):
        self.hang()
        self.assertEqual(self.daemon.interrupt(), 0)
        self.center.signal(signal.SIGCONT)
        self.expect("KiDC", identity="KIVB")
        self.expect_nothing()

    def test_one_that_dies_is_not_replaced(self):
        self.center.kill()
        self.switch("A")
        self.start_center()
        self.switch("B")
        self.expect_nothing()
        self.assertEqual(self.daemon.log_lines(), [SENT, SENT, GONE, GONE])
        self.assertEqual(self.daemon.interrupt(), 0)
        self.expect_nothing()

    def test_one_that_dies_while_it_hangs(self):
        self.hang()
        self.switch("A")
        self.center.kill()
        self.switch("B")
        self.assertEqual(self.daemon.log_lines()[-1], GONE)
        self.assertEqual(self.daemon.interrupt(), 0)

    def test_one_that_opens_its_port_anew_is_not_found(self):
        self.center.signal(signal.SIGKILL)
        self.center.process.wait()
        again = ControlCenter(self.session)
        self.addCleanup(again.close)
        self.switch("A")
        self.assertIsNone(again.next(0))
