"""Keys that are typed while forwarding is on, whatever becomes of the control center and the daemon.

What must hold in the end: the session has no key down that is up in the hand, each press that an
application got is followed by its release, and the keyboard works.
"""

import contextlib
import os
import pathlib
import signal
import struct

import x11keys
from kivo import protocol
from support import A_FEW_TICKS, PATIENCE, CenterProcess, DaemonTest, await_true
from x11keys import A, B, D, F, LEFT_SHIFT, RIGHT_ALT, S


class KeysTest(DaemonTest):
    manager = False

    def setUp(self):
        super().setUp()
        self.hands = [self.enterContext(hand) for hand in self.make_hands()]
        self.hand = self.hands[0]
        self.typed_into = self.enterContext(
            x11keys.TypedInto(self.session.environment["DISPLAY"]))
        self.hand.set_repeating(False)

    def make_hands(self):
        """A hand for each keyboard."""
        return [x11keys.Hand(self.session.environment["DISPLAY"])]

    def start_forwarding(self, answers=None):
        """A control center of this kind, or none, and a daemon that holds the keyboard."""
        self.center = CenterProcess(self.session, answers) if answers else None
        self.start_daemon()
        if self.center:
            self.expect("KiCt", identity="KIVB")
        self.forward(True)
        self.await_held()

    def await_held(self):
        for hand in self.hands:
            hand.await_held()

    def await_given_back(self):
        for hand in self.hands:
            hand.await_given_back()

    def await_free(self):
        for hand in self.hands:
            hand.await_free()

    def forward(self, is_on):
        self.client().send(protocol.code("eTap"), protocol.encode("eTap", on=is_on))

    def await_told(self, key_down):
        """Waits until the control center is told of a key that goes down, or up; its code."""
        while (told := self.center.next()) is not None:
            if told[0] == "eETC" and told[1]["keyDown"] == key_down:
                return told[1]["keyCode"]
        self.fail("the control center is told of no key")

    def expect_no_key(self):
        """The control center may be told of other things: where the daemon was stopped at its
        start, those of the start."""
        while (told := self.center.next(A_FEW_TICKS)) is not None:
            self.assertNotEqual(told[0], "eETC")

    def await_decided(self):
        """Waits until all keys are decided that were typed: they are in order, with a modifier."""
        before = self.got(RIGHT_ALT)
        self.hand.type(RIGHT_ALT)
        await_true("the last modifier has come",
                   lambda: self.got(RIGHT_ALT) == before + ["+", "-"], 2 * PATIENCE)

    def let_through(self, hand, key):
        """Presses a key that is to be let through, and again until it is: under load even a good
        answer may come too late."""
        await_true("a key is let through", lambda: self._is_let_through(hand, key), 2 * PATIENCE)

    def _is_let_through(self, hand, key):
        hand.release(*hand.down() & {key})
        hand.press(key)
        with contextlib.suppress(TimeoutError):
            return await_true("it has come", lambda: key in hand.down_in_session(), 0.2)

    def got(self, key):
        return [what for what, of in self.typed_into.got() if of == key]

    # What must hold.

    def assert_in_step(self):
        """Nothing is stuck: neither now, nor when all keys are let go of."""
        await_true("the session has nothing down that is up in the hand",
                   lambda: self.hand.down_in_session() <= self.down())
        for hand in self.hands:
            hand.release(*hand.down())
        await_true("the session has nothing down", lambda: not self.hand.down_in_session(),
                   2 * PATIENCE)
        await_true("nothing is down on the keyboard for programs",
                   lambda: not self.hand.down_on(self.hand.programs))
        for key in {key for _, key in self.typed_into.got()}:
            self.assertEqual(self.got(key), ["+", "-"] * (len(self.got(key)) // 2), key)

    def down(self):
        """The keys that are down in a hand."""
        return set().union(*(hand.down() for hand in self.hands))

    def assert_keyboard_works(self):
        """A key that is typed arrives, once."""
        for hand in self.hands:
            self.typed_into.clear()
            hand.type(B)
            self.typed_into.await_keys(("+", B), ("-", B))

    def assert_well(self):
        """All is in step, the daemon lives, and the keyboard works as soon as it is given back."""
        self.assert_in_step()
        self.assert_answers()
        self.forward(False)
        self.await_free()
        self.assert_keyboard_works()

    # What is done often.

    def type_something(self):
        """Types with modifiers, keys that overlap, and some that stay down."""
        self.hand.press(LEFT_SHIFT, A)
        self.hand.type(S)
        self.hand.press(D)
        self.hand.release(A, LEFT_SHIFT)
        self.hand.type(S, S)
        self.hand.press(F)

    def check_answers(self, answers, is_all_swallowed=True):
        self.start_forwarding(answers)
        self.hand.type(LEFT_SHIFT)
        self.type_something()
        self.await_decided()
        self.assertEqual(self.got(LEFT_SHIFT), ["+", "-"] * 2)
        if is_all_swallowed:
            self.assertEqual({key for _, key in self.typed_into.got()}, {LEFT_SHIFT, RIGHT_ALT})
        self.assert_well()


class ControlCenterTest(KeysTest):
    """The daemon goes on, and the control center fails."""

    def test_good_answers(self):
        self.check_answers("pass", is_all_swallowed=False)

    def test_longer_answers_than_needed(self):
        self.check_answers("too long", is_all_swallowed=False)

    def test_huge_answers(self):
        self.check_answers("huge", is_all_swallowed=False)

    def test_refusals(self):
        self.check_answers("swallow")

    def test_answers_whose_wrong_bit_is_set(self):
        self.check_answers("wrong bit")

    def test_answers_without_data(self):
        self.check_answers("none")

    def test_late_answers(self):
        self.check_answers("late")

    def test_no_answers(self):
        self.check_answers("never")

    def test_what_is_no_frame(self):
        self.check_answers("no frame")

    def test_frames_that_are_no_reply(self):
        self.check_answers("not a reply")

    def test_replies_to_something_else(self):
        self.check_answers("another's reply")

    def test_frames_longer_than_any(self):
        self.check_answers("too long a frame")

    def test_answers_that_are_cut_off(self):
        self.check_answers("cut off")

    def test_answers_that_come_many_times(self):
        self.check_answers("many times", is_all_swallowed=False)

    def test_never_there(self):
        self.start_forwarding()
        self.type_something()
        self.await_decided()
        self.assertEqual({key for _, key in self.typed_into.got()}, {LEFT_SHIFT, RIGHT_ALT})
        self.assert_well()

    def test_stopped(self):
        self.start_forwarding("pass")
        self.type_something()
        self.await_decided()
        self.center.signal(signal.SIGSTOP)
        # These are down since it let them through, and have to come up without it.
        self.hand.release(D, F)
        self.type_something()
        self.await_decided()
        self.assert_in_step()
        self.center.signal(signal.SIGCONT)
        self.assert_well()

    def test_killed_while_it_is_asked(self):
        self.start_forwarding("never")
        self.hand.press(LEFT_SHIFT, A)
        self.await_told(key_down=True)
        self.center.kill()
        self.type_something()
        self.await_decided()
        self.assert_well()

    def test_killed_with_keys_down(self):
        self.start_forwarding("pass")
        self.type_something()
        self.await_decided()
        self.center.kill()
        self.assert_well()

    def test_one_that_comes_again(self):
        self.start_forwarding("pass")
        self.type_something()
        self.await_decided()
        self.center.kill()
        self.center = CenterProcess(self.session, "pass")
        self.assert_in_step()
        self.assert_well()

    def test_off_while_it_is_asked(self):
        """What waits passes, and so does what comes later."""
        self.start_forwarding("never")
        self.hand.press(A)
        self.await_told(key_down=True)
        self.forward(False)
        self.await_given_back()
        self.assert_in_step()
        self.assert_keyboard_works()


    def test_another_program_takes_the_keyboard_with_a_key_down(self):
        """Which was let through, and then forwarding was off for a moment."""
        self.start_forwarding("pass")
        self.let_through(self.hand, A)
        self.forward(False)
        self.hand.await_given_back()
        self.assertTrue(self.hand.grab(self.hand.keyboard))
        self.forward(True)
        self.assert_answers()
        self.hand.release(A)
        await_true("the key is released", lambda: not self.hand.down_in_session())
        self.hand.ungrab(self.hand.keyboard)
        self.assert_well()


class DaemonEndTest(KeysTest):
    """The daemon ends or stops with keys down; one of them it has let through."""

    def start_typing(self):
        self.start_forwarding("pass")
        self.hand.press(LEFT_SHIFT)
        self.let_through(self.hand, A)
        self.guard = self.guard_of(self.daemon.process.pid)

    @staticmethod
    def guard_of(daemon):
        """The process of the daemon's guard."""
        for status in pathlib.Path("/proc").glob("[0-9]*/status"):
            with contextlib.suppress(FileNotFoundError, ProcessLookupError):
                lines = status.read_text().splitlines()
                if lines[0] == "Name:\tkivo-guard" and f"PPid:\t{daemon}" in lines:
                    return status.parent
        raise LookupError("the daemon has no guard")

    def assert_free(self):
        self.await_free()
        self.assert_in_step()
        self.assert_keyboard_works()

    def assert_guard_ends(self):
        await_true("the guard has ended", lambda: not self.guard.exists(), PATIENCE)

    def check_end(self, number):
        self.start_typing()
        self.daemon.end(number)
        self.assert_free()
        self.assert_guard_ends()

    def test_interrupted(self):
        self.check_end(signal.SIGINT)
        self.assertEqual(self.daemon.process.returncode, 0)

    def test_killed(self):
        self.check_end(signal.SIGKILL)

    def test_terminated(self):
        self.check_end(signal.SIGTERM)

    def test_crashed(self):
        self.check_end(signal.SIGSEGV)

    def test_quit(self):
        self.check_end(signal.SIGQUIT)

    def test_terminated_together_with_its_guard(self):
        """As a service manager does that ends all it started: the guard goes last."""
        self.start_typing()
        os.kill(int(self.guard.name), signal.SIGTERM)
        os.killpg(self.daemon.process.pid, signal.SIGTERM)
        self.daemon.process.wait(timeout=PATIENCE)
        self.assert_free()
        self.assert_guard_ends()

    def test_stopped(self):
        self.start_typing()
        self.daemon.process.send_signal(signal.SIGSTOP)
        self.assert_free()
        # When it goes on it says that its tap was disabled, and holds nothing any more.
        while self.center.next(A_FEW_TICKS):
            pass
        self.daemon.process.send_signal(signal.SIGCONT)
        self.await_told(key_down=False)
        self.assert_answers()
        self.forward(True)
        self.expect_no_key()
        self.assertFalse(self.hand.is_held())
        self.assert_keyboard_works()

    def test_stopped_together_with_its_group(self):
        """As by Ctrl and Z in the terminal that it was started from: the guard goes on."""
        self.start_typing()
        os.killpg(self.daemon.process.pid, signal.SIGSTOP)
        self.assert_free()
        os.killpg(self.daemon.process.pid, signal.SIGCONT)
        self.assert_answers()

    def test_its_guard_is_killed(self):
        """Nobody could free the keyboard then, so it is given back."""
        self.start_typing()
        os.kill(int(self.guard.name), signal.SIGKILL)
        self.await_given_back()
        self.assert_in_step()
        self.assert_keyboard_works()
        self.assert_answers()

    def test_its_guard_is_killed_while_it_frees(self):
        """It waits for the server, when the daemon goes on and the guard has to end."""
        self.start_typing()
        both = self.session.server, self.daemon.process
        for process in both:
            process.send_signal(signal.SIGSTOP)
        await_true("the guard frees", self.is_freed)
        os.kill(int(self.guard.name), signal.SIGKILL)
        for process in both:
            process.send_signal(signal.SIGCONT)
        self.assert_free()
        self.assert_answers()

    def is_freed(self):
        """What the guard notes in the memory that it shares before it frees anything."""
        page = next(line for line in (self.guard / "maps").read_text().splitlines()
                    if "memfd:kivo-guard" in line)
        with open(self.guard / "mem", "rb") as memory:
            memory.seek(int(page.split("-")[0], 16))
            return struct.unpack("=II", memory.read(8))[1] != 0

    def test_its_connection_is_closed(self):
        """The server lives, and has the keys down that were typed by it."""
        before = set(self.hand.children(self.hand.root))
        self.start_typing()
        of_the_daemon, = set(self.hand.children(self.hand.root)) - before
        self.hand.close_connection_of(of_the_daemon)
        self.assert_free()
        self.assert_answers()

    def test_started_anew(self):
        self.start_typing()
        self.daemon.end(signal.SIGKILL)
        self.await_free()
        self.start_daemon()
        self.forward(True)
        self.await_held()
        self.hand.release(*self.hand.down())
        self.await_decided()
        self.assert_well()
