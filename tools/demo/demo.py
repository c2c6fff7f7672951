#!/usr/bin/env python3
"""The demonstration: a control center asks the daemon everything there is to ask.

It runs in a session of its own and looks at each answer twice: what the daemon says, and what the
desktop says by other means. Ends with status 0 only if every answer was right.
"""

import shlex
import signal
import sys
import time

from programs import DAEMON, ControlCenter, interrupt
from session import LANGUAGE_TABLE, Session
from truth import Desktop


class Demonstration:
    """The steps, in the order of the methods below, over one session."""

    def __init__(self, session):
        self._session = session
        self._desktop = Desktop(session.environment)
        self._started = time.monotonic()
        self._checks = 0
        self.wrong = 0

    def run(self):
        self._find_windows()
        self._connect()
        self._switch_applications()
        self._ask_for_the_pointer()
        self._ask_by_title()
        self._ask_for_targets()
        self._say_goodbye()
        print(f"\n{self._checks - self.wrong} of {self._checks} answers right, "
              f"in {time.monotonic() - self._started:.1f} s")

    # Telling and judging.

    def _say(self, text):
        print(f"\n{text}", flush=True)

    def _judge(self, what, told, wanted, source):
        """Prints one answer beside what it should be."""
        right = told == wanted
        self._checks += 1
        self.wrong += not right
        verdict = "right" if right else f"WRONG, it should be {wanted}"
        print(f"  {what:52} {str(told):26} {verdict}, says {source}", flush=True)

    def _expect(self, what, code, field, wanted, source):
        """The next notification must be of this code and carry this value."""
        told = self._center.next_notification() or {}
        self._judge(f"{what}:", (told.get("code"), told.get(field)), (code, wanted), source)

    def _ask(self, question):
        return self._center.ask(question)

    # The steps.

    def _find_windows(self):
        self._windows = {name: self._desktop.window_named(name) for name in
                         ("Mischpult", "Spuren", "Notizen", "Protokoll", "Calculator")}
        self._say("A desktop: an editor with three windows (GTK), a terminal and a calculator (X11)")
        for window in self._windows.values():
            print(f"  {self._desktop.title(window):52} {self._desktop.frame(window)}")
        self._desktop.activate(self._windows["Protokoll"])

    def _connect(self):
        self._say("The control center takes its port, the daemon starts and tells")
        self._center = ControlCenter(self._session)
        self._daemon = self._session.start(DAEMON, stderr=None)
        self._expect("it has connected", "KiCt", "identity", "KIVB", "the protocol")
        self._expect("the language", "ZSLg", "language", "German", "LANGUAGE=de")
        self._expect("the front application by its signature", "KiFA", "signature", "XTRM",
                     "the terminal's desktop file")

    def _switch_applications(self):
        self._say("Another application comes to the front, and the daemon tells")
        for name, application, code, field, wanted, source in (
                ("Spuren", "editor", "KiFI", "bundleIdentifier", "org.xfce.mousepad",
                 "its application id"),
                ("Calculator", "calculator", "KiFI", "bundleIdentifier", "XCalc", "its window class"),
                ("Protokoll", "terminal", "KiFA", "signature", "XTRM", "its desktop file"),
                ("Spuren", "editor", "KiFI", "bundleIdentifier", "org.xfce.mousepad",
                 "its application id")):
            self._desktop.activate(self._windows[name])
            self._expect(f"the {application} is in front", code, field, wanted, source)
        self._desktop.activate(self._windows["Notizen"])
        told = self._center.next_notification(0.3)
        self._judge("another window of the same application:", told, None, "the protocol")

    def _ask_for_the_pointer(self):
        self._say("Where is the pointer?")
        for place in ((333, 222), (0, 0), (1279, 799)):
            self._desktop.move_pointer(*place)
            told = self._ask("pointer")
            self._judge(f"moved to {place}:", (told.get("x"), told.get("y")),
                        self._desktop.pointer(), "xdotool")

    def _ask_by_title(self):
        self._say("Where is the window with this title? (whole titles give the first window of the "
                  "front\napplication, parts of titles none: see the limits in README.md)")
        for name in ("Spuren", "Calculator", "Notizen"):
            window = self._windows[name]
            self._desktop.activate(window)
            title = self._desktop.title(window)
            told = self._ask(f"window {shlex.quote(title)}")
            self._judge(f"{title}:", frame_of(told), self._desktop.frame(window), "xwininfo")
            self._judge("  and it is still in front:", self._desktop.active_window(), window,
                        "xdotool")
        told = self._ask("window Notizen --partial")
        self._judge("a part of the title, Notizen:", told.get("found"), False, "the protocol")

    def _ask_for_targets(self):
        self._say(f"Which of these windows is open, and where? The language file says {LANGUAGE_TABLE}")
        for front, question, index, found in (
                ("Spuren", "Mixer Tracks", 1, "Spuren"),
                ("Mischpult", "Mixer Tracks", 0, "Mischpult"),
                ("Mischpult", "Plug-ins Tracks", 1, "Spuren"),
                ("Mischpult", "Tracks=Notes", 0, "Notizen"),
                ("Notizen", "Plug-ins Mixer=Tracks", 1, "Spuren")):
            self._desktop.activate(self._windows[front])
            told = self._ask(f"target {question}")
            self._judge(f"{question}, {front} in front:", (told.get("index"), frame_of(told)),
                        (index, self._desktop.frame(self._windows[found])), "xwininfo")
        for question in ("Plug-ins", "Spuren", "Mixer"):
            front = "Calculator" if question == "Mixer" else "Notizen"
            self._desktop.activate(self._windows[front])
            told = self._ask(f"target {question}")
            self._judge(f"{question}, {front} in front:", told.get("found"), False,
                        "the language file and the titles")

    def _say_goodbye(self):
        self._say("SIGINT")
        while self._center.next_notification(0.3):
            pass  # What the switches above had the daemon tell.
        status = interrupt(self._daemon)
        self._expect("it goes", "KiDC", "identity", "KIVB", "the protocol")
        self._judge("the daemon's exit status:", status, 0, "the protocol")
        self._judge("the control center's exit status:", self._center.quit(), 0, "its manual")


def frame_of(told):
    return tuple(told.get(name) for name in ("x", "y", "width", "height"))


def main():
    signal.signal(signal.SIGTERM, lambda *_: sys.exit(143))
    with Session() as session:
        demonstration = Demonstration(session)
        demonstration.run()
    return 1 if demonstration.wrong else 0


if __name__ == "__main__":
    sys.exit(main())
