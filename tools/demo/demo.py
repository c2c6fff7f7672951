#!/usr/bin/env python3
"""The demonstration: a control center asks the daemon everything there is to ask.

It runs in a session of its own and looks at each answer twice: what the daemon says, and what the
desktop says by other means. Ends with status 0 only if every answer was right.
"""

import contextlib
import shlex
import signal
import sys
import time

from programs import DAEMON, ControlCenter, interrupt, request_status
from session import LANGUAGE_TABLE, Session
from hand import Hand, KeyWindow
from truth import Desktop


class Demonstration:
    """The steps, in the order of the methods below, over one session."""

    def __init__(self, session):
        self._session = session
        self._desktop = Desktop(session.environment)
        self.asked = 0
        self.wrong = 0

    def run(self):
        self._find_windows()
        self._connect()
        self._switch_applications()
        self._ask_for_the_pointer()
        self._ask_by_title()
        self._ask_for_targets()
        self._ask_for_the_status()
        self._forward_keys()
        self._say_goodbye()

    # Telling and judging.

    def _say(self, text):
        print(f"\n{text}", flush=True)

    def _judge(self, what, told, wanted, source):
        """Prints one answer and whether it is what `source` says."""
        self.asked += 1
        self.wrong += told != wanted
        verdict = f"right ({source})" if told == wanted else f"WRONG: {wanted} ({source})"
        print(f"  {what:44} {told:38} {verdict}", flush=True)

    def _expect(self, what, wanted, source):
        """The next thing that the daemon tells must be this."""
        self._judge(what, in_words(self._center.next_notification()), wanted, source)

    def _ask(self, question, wanted, source, note=""):
        told = in_words(self._center.ask(question))
        self._judge(question + note, told, wanted() if callable(wanted) else wanted, source)

    def _frame(self, name):
        """Where a window is, by another source than the daemon."""
        x, y, width, height = self._desktop.frame(self._windows[name])
        return f"at {x}, {y}, size {width} x {height}"

    # The steps.

    def _find_windows(self):
        self._windows = {name: self._desktop.window_named(name) for name in
                         ("Mischpult", "Spuren", "Notizen", "Protokoll", "Calculator")}
        self._say("A desktop: an editor with three windows (GTK), a terminal and a calculator (X11)")
        for name, window in self._windows.items():
            print(f"  {self._desktop.title(window):44} {self._frame(name)}")

    def _connect(self):
        self._desktop.activate(self._windows["Protokoll"])
        self._say("The control center takes its port; the daemon starts, and tells")
        self._center = ControlCenter(self._session, units=2, channels=16)
        self._daemon = self._session.start_logged(DAEMON)
        self._expect("at once", "KiCt: KIVB", "the protocol")
        self._expect("a tick later, its language", "ZSLg: German", "LANGUAGE=de")
        self._expect("and what is in front: the terminal", "KiFA: XTRM",
                     "the signature in its desktop file")

    def _switch_applications(self):
        self._say("Another window comes to the front, and the daemon tells")
        for name, what, wanted, source in (
                ("Spuren", "the editor", "KiFI: org.xfce.mousepad", "its application id"),
                ("Calculator", "the calculator", "KiFI: XCalc", "its window class"),
                ("Protokoll", "the terminal", "KiFA: XTRM", "its desktop file"),
                ("Mischpult", "the editor", "KiFI: org.xfce.mousepad", "its application id")):
            self._desktop.activate(self._windows[name])
            self._expect(what, wanted, source)
        self._desktop.activate(self._windows["Notizen"])
        told = in_words(self._center.next_notification(seconds=0.3))
        self._judge("another window of the editor", told, "nothing", "the application is the same")

    def _ask_for_the_pointer(self):
        self._say("Where is the pointer?")
        for x, y in ((333, 222), (0, 0), (1279, 799)):
            self._desktop.move_pointer(x, y)
            self._ask("pointer", lambda: "at {}, {}".format(*self._desktop.pointer()), "xdotool")

    def _ask_by_title(self):
        self._say("Where is the window of this title? (A whole title is answered with the first window "
                  "of the\nfront application, a part of one with none: see the limits in README.md)")
        for name in ("Spuren", "Calculator", "Notizen"):
            window = self._windows[name]
            self._desktop.activate(window)
            title = shlex.quote(self._desktop.title(window))
            self._ask(f"window {title}", lambda name=name: self._frame(name), "xwininfo")
            front = "in front" if self._desktop.active_window() == window else "not in front"
            self._judge("  the window is then", front, "in front", "xdotool")
        self._ask("window Notizen --partial", "no such window", "the protocol")

    def _ask_for_targets(self):
        self._say("Which of these windows is open in the front application? "
                  f"In the language file for German:\n{LANGUAGE_TABLE}")
        for front, targets, index, found in (
                ("Spuren", "Mixer Tracks", 1, "Spuren"),
                ("Mischpult", "Mixer Tracks", 0, "Mischpult"),
                ("Mischpult", "Plug-ins Tracks", 1, "Spuren"),
                ("Mischpult", "Tracks=Notes", 0, "Notizen"),
                ("Notizen", "Plug-ins Mixer=Tracks", 1, "Spuren")):
            self._desktop.activate(self._windows[front])
            self._ask(f"target {targets}", lambda: f"target {index} {self._frame(found)}", "xwininfo",
                      f" ({front} in front)")
        for front, targets, source in (
                ("Notizen", "Plug-ins", "no window is called Effekte"),
                ("Notizen", "Spuren", "no key of the language file"),
                ("Calculator", "Mixer Tracks", "not in the front application")):
            self._desktop.activate(self._windows[front])
            self._ask(f"target {targets}", "no such window", source, f" ({front} in front)")

    def _ask_for_the_status(self):
        self._say("What is the controller's status? (asked here in the daemon's place)")
        units, channels = request_status(self._session)
        self._judge("Stus", f"{units} units, {channels} channels", "2 units, 16 channels",
                    "what kivoctl was told")

    def _forward_keys(self):
        self._say("Keys, typed on the keyboard of the session: the control center swallows B")
        window = KeyWindow(self._session)
        self._desktop.activate(self._desktop.window_named("Tasten"))
        hand = Hand(self._session.environment["DISPLAY"])
        self._center.forget_notifications()
        self._center.ask("tap on")
        self._await_forwarding(hand, window)
        hand.type("abc")
        for key, verdict in (("A", "let through"), ("B", "swallowed"), ("C", "let through")):
            for what in ("pressed", "released"):
                self._expect(f"{key} is {what}", f"{key} {what}: {verdict}", "what was typed")
        self._await_and_judge(window, "the window in front got", "ac")
        self._center.ask("tap off")
        hand.type("b")
        self._await_and_judge(window, "and after tap off", "b")

    def _await_forwarding(self, hand, window):
        """Types until the keyboard is held, which takes a moment, and the key is asked about."""
        for count in range(1, 50):
            hand.type("c")
            if self._center.next_notification(seconds=0.1):
                break
        self._center.forget_notifications()
        window.await_typed("c" * count)
        window.forget()

    def _await_and_judge(self, window, what, wanted):
        with contextlib.suppress(TimeoutError):
            window.await_typed(wanted)
        self._judge(what, window.typed(), wanted, "xev")
        window.forget()

    def _say_goodbye(self):
        self._say("SIGINT")
        self._center.forget_notifications()
        status = interrupt(self._daemon)
        self._expect("the daemon tells", "KiDC: KIVB", "the protocol")
        self._judge("the daemon ends with status", str(status), "0", "the protocol")
        self._judge("the control center ends with status", str(self._center.quit()), "0", "its manual")


def in_words(told):
    """An answer or a notification of `kivoctl session --json`, shortly."""
    if told is None:
        return "nothing"
    if told.get("name") == "key":
        verdict = "swallowed" if told["swallowed"] else "let through"
        return f"{told['key']} {'pressed' if told['down'] else 'released'}: {verdict}"
    if "code" in told:
        values = (told.get(name) for name in ("identity", "language", "signature", "bundleIdentifier"))
        return f"{told['code']}: {next((value for value in values if value), '')}"
    if told.get("found") is False:
        return "no such window"
    if "x" not in told:
        return told.get("text", str(told))
    words = f"at {told['x']}, {told['y']}"
    if "width" in told:
        words += f", size {told['width']} x {told['height']}"
    return f"target {told['index']} {words}" if "index" in told else words


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    started = time.monotonic()
    with Session() as session:
        demonstration = Demonstration(session)
        try:
            demonstration.run()
        finally:
            if demonstration.wrong or sys.exc_info()[0]:
                print(f"\nThe daemon's log:\n{session.log()}", flush=True)
    right = demonstration.asked - demonstration.wrong
    print(f"\n{right} of {demonstration.asked} answers right, "
          f"in {time.monotonic() - started:.1f} s")
    return 1 if demonstration.wrong else 0


if __name__ == "__main__":
    sys.exit(main())
