"""KiFA and KiFI: which application is in front."""

import os
import shutil
import sys

from support import DaemonTest
from xsession import await_true

DESKTOP_FILE = "[Desktop Entry]\nType=Application\nName=Test\n"


class FrontApplicationTest(DaemonTest):
    def add_desktop_file(self, name, *lines):
        self.session.write_data(f"applications/{name}.desktop", DESKTOP_FILE + "\n".join(lines))

    def switch(self, application):
        self.screen.activate(application.windows[0])

    def test_the_class_identifies_who_has_no_desktop_file(self):
        self.start()
        self.open_windows("A window", class_name="Plain")
        self.expect("KiFI", bundleIdentifier="Plain")

    def test_a_desktop_file_for_the_class(self):
        self.add_desktop_file("org.ex.app", "StartupWMClass=Claimed")
        self.start()
        self.open_windows("A window", class_name="Claimed")
        self.expect("KiFI", bundleIdentifier="org.ex.app")

    def test_a_signature(self):
        self.add_desktop_file("org.ex.app", "StartupWMClass=Signed", "X-CFBundleSignature=ABCD")
        self.start()
        signed = self.open_windows("A window", class_name="Signed")
        self.expect("KiFA", signature="ABCD")
        self.open_windows("A window", class_name="Plain")
        self.expect("KiFI", bundleIdentifier="Plain")
        self.switch(signed)
        self.expect("KiFA", signature="ABCD")
        self.expect_nothing()

    def test_a_signature_of_another_length(self):
        for name, signature in (("Short", "AB"), ("Long", "ABCDE")):
            self.add_desktop_file(name, f"StartupWMClass={name}", f"X-CFBundleSignature={signature}")
        self.start()
        self.open_windows("A window", class_name="Short")
        self.expect("KiFA", signature="AB\0\0")
        self.open_windows("A window", class_name="Long")
        self.expect("KiFA", signature="ABCD")

    def test_a_desktop_file_for_the_program(self):
        self.add_desktop_file("org.ex.python", f"Exec={os.path.realpath(sys.executable)} %U")
        self.start()
        self.open_windows("A window", class_name="Unknown")
        self.expect("KiFI", bundleIdentifier="org.ex.python")

    def test_the_one_in_front_at_start_is_told_first(self):
        self.open_windows("A window", class_name="Early")
        self.start_center()
        self.start_daemon()
        self.expect("KiCt", identity="KIVB")
        self.expect("ZSLg", language="English")
        self.expect("KiFI", bundleIdentifier="Early")
        self.expect_nothing()

    def test_nobody_in_front_at_start(self):
        self.start_center()
        self.start_daemon()
        self.expect("KiCt", identity="KIVB")
        self.expect("ZSLg", language="English")
        self.expect("KiFA", signature="\0\0\0\0")

    def test_the_same_application_again_after_nobody(self):
        self.start()
        application = self.open_windows("A window", class_name="Again")
        self.expect("KiFI", bundleIdentifier="Again")
        self.screen.minimise(application.windows[0])
        await_true("nobody is active", lambda: self.screen.active() == 0)
        self.expect_nothing()
        self.switch(application)
        self.expect("KiFI", bundleIdentifier="Again")

    def test_another_window_of_the_same_application_is_not_told(self):
        self.start()
        application = self.open_windows("One", "Two", class_name="Both")
        self.expect("KiFI", bundleIdentifier="Both")
        self.switch(application)
        self.expect_nothing()

    def test_several_activations_within_a_tick_are_one(self):
        self.start()
        applications = {name: self.open_windows(name, class_name=name) for name in ("A", "B", "C")}
        self.told_up_to("C")
        tries = [self.tell_of_two_switches(applications) for _ in range(10)]
        # A tick may fall between the two, but not every time.
        self.assertIn(["C"], tries)
        self.assertLessEqual({tuple(told) for told in tries}, {("C",), ("B", "C")})

    def tell_of_two_switches(self, applications):
        self.switch(applications["A"])
        self.told_up_to("A")
        self.switch(applications["B"])
        self.switch(applications["C"])
        return self.told_up_to("C")

    def told_up_to(self, name):
        """The applications that the control center is told of, this one the last."""
        told = [self.expect_message("KiFI")["bundleIdentifier"]]
        while told[-1] != name:
            told.append(self.expect_message("KiFI")["bundleIdentifier"])
        return told

    def test_identifiers_that_cannot_be_told(self):
        self.start()
        self.open_windows("A window", class_name="x" * 127)
        self.expect("KiFI", bundleIdentifier="x" * 127)
        self.open_windows("A window", class_name="y" * 128)
        self.open_windows("A window", class_name="")
        self.expect_nothing()
        self.open_windows("A window", class_name="Plain")
        self.expect("KiFI", bundleIdentifier="Plain")

    def test_an_application_that_ends(self):
        self.start()
        self.open_windows("A window", class_name="Stays")
        self.expect("KiFI", bundleIdentifier="Stays")
        mortal = self.session.start("xmessage", "A text")
        self.expect("KiFI", bundleIdentifier="Xmessage")
        mortal.kill()
        self.expect("KiFI", bundleIdentifier="Stays")


class RealApplicationTest(DaemonTest):
    """Programs that were written without a thought of the daemon."""

    def check(self, identifier, *command):
        if not shutil.which(command[0]):
            self.skipTest(f"{command[0]} is not installed")
        self.start()
        program = self.session.start(*command)
        self.expect("KiFI", bundleIdentifier=identifier)
        window = self.screen.active()
        place = self.ask(self.client(), "ZWiP", title="", partialMatch=False)
        self.assertEqual(place, self.place(window))
        self.assertIsNone(program.poll())

    def test_xterm(self):
        self.check("XTerm", "xterm", "-e", "sleep", "60")

    def test_xcalc(self):
        self.check("XCalc", "xcalc")

    def test_xmessage(self):
        self.check("Xmessage", "xmessage", "A text")

    def test_a_gtk_application(self):
        self.check("Zenity", "zenity", "--info", "--text", "A text")
