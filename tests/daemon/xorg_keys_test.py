"""Keys typed on the keyboards of a real X server: several of them, that come, go and repeat."""

import random
import signal

import keys_test
import xorg
from keys_test import KeysTest
from support import PATIENCE, CenterProcess, await_true
from x11keys import A, D, LEFT_SHIFT, S, Y

SHIFT = 1
# Those that make letters.
MANY_KEYS = [*range(16, 26), *range(30, 39), *range(44, 51)]


class OnXorg:
    """A session on a real X server with two keyboards, and a hand on each."""

    session_type = xorg.Session

    def setUp(self):
        if missing := xorg.missing():
            self.skipTest(f"not installed: {', '.join(missing)}")
        super().setUp()
        self.left, self.right = self.hands

    def make_hands(self):
        return [xorg.Hand(self.session, name) for name in xorg.LAYOUTS]


class DaemonEndTest(OnXorg, keys_test.DaemonEndTest):
    """The daemon ends or stops with keys down on both keyboards."""

    def start_typing(self):
        super().start_typing()
        self.let_through(self.right, D)

    def test_a_keyboard_goes_and_comes_while_it_is_stopped(self):
        self.start_typing()
        self.daemon.process.send_signal(signal.SIGSTOP)
        self.left.disable()
        self.left.enable()
        self.await_free()
        self.daemon.process.send_signal(signal.SIGCONT)
        self.assert_answers()
        self.assert_free()

    def test_killed_while_a_keyboard_is_disabled(self):
        self.start_typing()
        self.left.disable()
        self.left.await_given_back()
        self.daemon.end(signal.SIGKILL)
        self.left.enable()
        self.assert_free()


class ControlCenterTest(OnXorg, KeysTest):
    """The control center answers, or fails."""

    def test_let_through(self):
        self.check_answers("pass", is_all_swallowed=False)

    def test_swallowed(self):
        self.check_answers("swallow")

    def test_stopped_with_keys_down(self):
        self.start_forwarding("pass")
        self.type_something()
        self.center.signal(signal.SIGSTOP)
        self.left.release(*self.left.down())
        self.right.press(LEFT_SHIFT, A)
        self.await_decided()
        self.assert_in_step()
        self.center.signal(signal.SIGCONT)
        self.assert_well()

    def test_killed_with_keys_down(self):
        self.start_forwarding("pass")
        self.type_something()
        self.right.press(LEFT_SHIFT, A)
        self.await_decided()
        self.center.kill()
        self.center = CenterProcess(self.session, "pass")
        self.assert_well()

    def test_off_with_keys_down(self):
        """They stay down in the session until the hands let go of them."""
        self.start_forwarding("pass")
        self.left.press(LEFT_SHIFT)
        self.let_through(self.left, A)
        self.let_through(self.right, D)
        self.forward(False)
        self.await_given_back()
        self.assertEqual(self.left.down_in_session(), {LEFT_SHIFT, A, D})
        self.left.release(A)
        await_true("the key is released", lambda: A not in self.left.down_in_session())
        self.assert_in_step()
        self.assert_keyboard_works()

    def test_on_with_keys_down(self):
        self.left.press(LEFT_SHIFT, A)
        self.right.press(D)
        self.start_forwarding("swallow")
        self.assertEqual(self.left.down_in_session(), {LEFT_SHIFT, A, D})
        self.left.release(A)
        await_true("the key is released", lambda: A not in self.left.down_in_session())
        self.assert_well()

    def test_on_and_off_while_it_types(self):
        """No key is lost: the control center is told, or the application gets it."""
        self.start_forwarding("swallow")
        codes = {self.code_of(key): key for key in MANY_KEYS}
        for is_on in (False, True) * 10:
            self.typed_into.clear()
            self.left.type(*MANY_KEYS[:8])
            self.forward(is_on)
            self.right.type(*MANY_KEYS[8:])
            known = set()
            await_true("the control center or the application has each key",
                       lambda: self.add_known(known, codes) >= set(MANY_KEYS))
            self.assert_in_step()
        self.assert_well()

    def code_of(self, key):
        """The key in what the control center is told."""
        self.left.type(key)
        return self.await_told(key_down=True)

    def add_known(self, keys, codes):
        """Adds the keys that the control center has been told of since, or the application has."""
        while told := self.center.next(0):
            keys |= {codes[told[1]["keyCode"]]} if told[0] == "eETC" else set()
        keys |= {key for _, key in self.typed_into.got()}
        return keys


class RepeatTest(OnXorg, KeysTest):
    """A key is held until it repeats."""

    def start_repeating(self, answers):
        self.hand.set_repeating(True)
        self.start_forwarding(answers)

    def is_repeated(self):
        """Presses a key anew; whether it came again and again before an answer was late."""
        self.left.release(*self.left.down())
        self.typed_into.clear()
        self.left.press(A)
        try:
            return await_true("it repeats", lambda: self.got(A).count("+") > 5, PATIENCE / 2)
        except TimeoutError:
            return False

    def test_let_through(self):
        self.start_repeating("pass")
        await_true("it repeats", self.is_repeated, 6 * PATIENCE)
        for _ in range(5):
            self.await_told(key_down=True)
        self.assert_well()

    def test_swallowed(self):
        self.start_repeating("swallow")
        self.left.press(A)
        for _ in range(5):
            self.await_told(key_down=True)
        self.left.release(A)
        self.await_decided()
        self.assertEqual(self.got(A), [])
        self.assert_well()

    def test_off_while_it_repeats(self):
        """It goes on, and ends with the hand."""
        self.start_repeating("pass")
        await_true("it repeats", self.is_repeated, 6 * PATIENCE)
        self.forward(False)
        self.await_given_back()
        self.assert_in_step()
        self.assert_keyboard_works()

    def test_its_daemon_is_killed(self):
        self.start_repeating("pass")
        await_true("it repeats", self.is_repeated, 6 * PATIENCE)
        self.daemon.end(signal.SIGKILL)
        self.await_free()
        self.assert_in_step()
        self.assert_keyboard_works()


class TwoKeyboardsTest(OnXorg, KeysTest):
    """Each keyboard has its own layout: where one has Y the other has Z."""

    def assert_meanings(self):
        for _ in range(3):
            for hand, meaning in (self.left, "y"), (self.right, "z"):
                self.let_through(hand, Y)
                self.assertEqual(chr(hand.meaning(Y)), meaning)
                hand.release(Y)
                self.await_nothing_down()

    def await_nothing_down(self):
        await_true("nothing is down", lambda: not self.left.down_in_session())

    def test_layouts(self):
        self.assert_meanings()
        self.start_forwarding("pass")
        self.assert_meanings()
        self.forward(False)
        self.await_free()
        self.assert_meanings()

    def test_layouts_when_the_daemon_was_killed(self):
        self.start_forwarding("pass")
        self.assert_meanings()
        self.daemon.end(signal.SIGKILL)
        self.await_free()
        self.assert_meanings()

    def test_shift_on_the_one_holds_for_the_other(self):
        self.start_forwarding("pass")
        self.left.press(LEFT_SHIFT)
        self.let_through(self.right, Y)
        self.typed_into.sync()
        self.assertEqual(self.typed_into.modifiers & SHIFT, SHIFT)
        self.assertEqual(chr(self.right.meaning(Y)), "z")
        self.left.release(LEFT_SHIFT)
        self.right.release(Y)
        self.await_nothing_down()
        self.let_through(self.right, Y)
        self.typed_into.sync()
        self.assertEqual(self.typed_into.modifiers & SHIFT, 0)
        self.assert_well()

    def test_one_key_on_both(self):
        """It goes down with the first and up with the last."""
        self.start_forwarding("pass")
        self.left.press(LEFT_SHIFT)
        self.right.press(LEFT_SHIFT)
        self.left.release(LEFT_SHIFT)
        self.await_decided()
        self.assertEqual(self.got(LEFT_SHIFT), ["+"])
        self.right.release(LEFT_SHIFT)
        self.await_decided()
        self.assertEqual(self.got(LEFT_SHIFT), ["+", "-"])
        self.assert_well()


class ComingAndGoingTest(OnXorg, KeysTest):
    """A keyboard leaves the session with keys down, and is there again."""

    def press_some(self):
        self.left.press(LEFT_SHIFT)
        self.let_through(self.left, A)
        self.let_through(self.right, D)

    def await_only_the_others_down(self):
        await_true("the keys of the keyboard that went are released",
                   lambda: self.left.down_in_session() == {D})

    def assert_held_and_well(self):
        """It is held again, and what is typed on it arrives once."""
        self.await_held()
        self.let_through(self.left, S)
        self.assert_well()

    def test_disabled_and_enabled(self):
        self.start_forwarding("pass")
        self.press_some()
        self.left.disable()
        self.await_only_the_others_down()
        self.left.enable()
        self.assert_held_and_well()

    def test_let_go_of_after_it_is_enabled(self):
        self.start_forwarding("pass")
        self.press_some()
        self.left.disable()
        self.left.enable()
        self.left.release(A, LEFT_SHIFT)
        self.await_only_the_others_down()
        self.assert_held_and_well()

    def test_swallowed_after_it_is_enabled(self):
        self.start_forwarding("swallow")
        self.left.press(A)
        self.left.disable()
        self.left.enable()
        self.await_held()
        self.left.type(A, S)
        self.await_decided()
        self.assertEqual(self.got(A) + self.got(S), [])
        self.assert_well()

    def test_disabled_and_enabled_many_times(self):
        self.start_forwarding("pass")
        for _ in range(10):
            self.left.press(LEFT_SHIFT, A)
            self.right.press(D)
            self.left.disable_and_enable(times=2)
            self.left.release(A, LEFT_SHIFT)
            self.right.release(D)
        self.assert_held_and_well()

    def test_disabled_as_forwarding_ends(self):
        self.start_forwarding("pass")
        self.press_some()
        self.forward(False)
        self.left.disable()
        self.await_only_the_others_down()
        self.left.enable()
        self.await_given_back()
        self.assert_in_step()
        self.assert_keyboard_works()

    def test_detached_and_attached(self):
        self.start_forwarding("pass")
        self.press_some()
        self.left.detach()
        self.await_only_the_others_down()
        self.left.reattach()
        self.assert_held_and_well()

    def test_attached_while_the_other_is_held(self):
        self.left.detach()
        self.start_forwarding("swallow")
        self.left.reattach()
        self.await_held()
        self.left.type(A)
        self.await_decided()
        self.assertEqual(self.got(A), [])
        self.assert_well()

    def test_attached_with_a_key_down(self):
        self.start_forwarding("pass")
        self.press_some()
        self.left.reattach()
        self.assert_held_and_well()

    def check_typed_before_it_is_held_again(self, come_again):
        """The session gets it from the keyboard, and from nobody else."""
        self.start_forwarding("pass")
        with self.left.at_once():
            come_again()
            self.left.type(A)
            self.left.press(S)
        self.await_held()
        self.left.release(S)
        self.await_decided()
        self.assertEqual(self.got(A) + self.got(S), ["+", "-"] * 2)
        self.assert_well()

    def test_typed_before_it_is_held_again(self):
        self.check_typed_before_it_is_held_again(self.left.disable_and_enable)

    def test_typed_when_it_is_attached_while_held(self):
        self.check_typed_before_it_is_held_again(self.left.reattach)


class AnyOrderTest(OnXorg, KeysTest):
    """Whatever is done to the keyboards, and in which order, nothing is stuck and nothing lost."""

    ROUNDS = 40

    def check(self, answers):
        seed = random.randrange(2**32)
        print(f"seed {seed}")
        self.random = random.Random(seed)
        self.start_forwarding(answers)
        for _ in range(self.ROUNDS):
            for _ in range(self.random.randint(3, 30)):
                self.do_something(self.random.choice(self.hands))
            self.come_to_rest()
        self.assert_well()

    def do_something(self, hand):
        self.random.choice([self.use_key] * 10 + [
            xorg.Hand.detach, xorg.Hand.reattach, xorg.Hand.disable_and_enable,
            self.forward_or_not])(hand)

    def use_key(self, hand):
        key = self.random.choice([LEFT_SHIFT, A, S, D, Y])
        if key in hand.down():
            hand.release(key)
        else:
            self.random.choice([hand.press, hand.type])(key)

    def forward_or_not(self, _):
        self.forward(self.random.choice([False, True]))

    def come_to_rest(self):
        for hand in self.hands:
            hand.release(*hand.down())
            hand.reattach()
        self.forward(True)
        self.await_held()
        # This is a key that is lost when any is.
        self.await_decided()
        self.assert_in_step()
        self.typed_into.clear()

    def test_let_through(self):
        self.check("pass")

    def test_swallowed(self):
        self.check("swallow")
