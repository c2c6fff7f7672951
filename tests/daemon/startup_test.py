"""What the daemon tells and logs when it starts."""

import re
import signal

from support import DaemonTest

LANGUAGES = {
    "English": {"LANGUAGE": "en"}, "German": {"LANGUAGE": "de"}, "French": {"LANGUAGE": "fr"},
    "Spanish": {"LANGUAGE": "es"}, "Italian": {"LANGUAGE": "it"}, "Japanese": {"LANGUAGE": "ja"},
}
FALLBACKS = [
    ("English", {"LANGUAGE": "tlh"}),
    ("English", {"LANG": "C"}),
    ("Italian", {"LANGUAGE": "tlh:it:de"}),
    ("French", {"LANG": "fr_FR.UTF-8"}),
    ("Spanish", {"LC_ALL": "es_ES.UTF-8", "LANG": "fr_FR.UTF-8"}),
    ("German", {"LC_MESSAGES": "de_CH.UTF-8", "LANG": "fr_FR.UTF-8"}),
    ("Japanese", {"LANGUAGE": "ja", "LC_ALL": "fr_FR.UTF-8"}),
]
NO_REMOTE_PORT = re.compile(r"SendMessage no remote port \((0x[0-9a-f]+)\) or remote port invalid")


class LanguageTest(DaemonTest):
    display = False

    def told_language(self, environment):
        self.start_daemon(**environment)
        self.expect("KiCt", identity="KIVB")
        language = self.expect_message("ZSLg")["language"]
        self.expect("KiFA", signature="\0\0\0\0")
        self.assertEqual(self.daemon.interrupt(), 0)
        self.expect("KiDC", identity="KIVB")
        return language

    def check(self, cases):
        self.start_center()
        for language, environment in cases:
            with self.subTest(environment):
                self.assertEqual(self.told_language(environment), language)

    def test_each_language_has_its_name(self):
        self.check(LANGUAGES.items())

    def test_the_first_usable_setting_decides(self):
        self.check(FALLBACKS)


class LogTest(DaemonTest):
    display = False

    def test_without_a_control_center(self):
        daemon = self.start_daemon()
        sender = self.client()
        daemon.await_log("or remote port invalid")
        self.assert_answers(sender)
        self.start_center()
        self.expect_nothing()
        self.assert_answers(sender)
        self.assertEqual(daemon.interrupt(), 0)
        self.expect_nothing()
        first, *rest = daemon.log_lines()
        self.assertEqual(first, "remotePort is not valid")
        self.assertEqual(len(rest), 2, rest)  # The language and the front application.
        addresses = {NO_REMOTE_PORT.fullmatch(line)[1] for line in rest}
        self.assertEqual(len(addresses), 1)

    def test_with_a_control_center(self):
        self.start()
        self.assertEqual(self.daemon.interrupt(), 0)
        self.assertEqual(self.daemon.log_lines(), ["SendMessage (no reply) returned 00000000"] * 2)

    def test_the_version(self):
        self.start()
        version = re.findall(r"CZYN_UserSpaceDriver \(\) version (\S+)\n", self.daemon.log())
        self.assertEqual(len(version), 1)
        self.assertRegex(version[0], r"^\d+\.\d+\.\d+$")


class SecondDaemonTest(DaemonTest):
    def test_it_stays_idle_and_silent(self):
        self.start()
        first, sender = self.daemon, self.client()
        second = self.start_daemon()
        second.await_log("version")
        self.expect_nothing()
        self.open_windows("A window", class_name="Other")
        self.expect("KiFI", bundleIdentifier="Other")
        self.expect_nothing()
        self.assert_answers(sender)
        self.assertEqual(first.interrupt(), 0)
        self.expect("KiDC", identity="KIVB")
        # It does not take the first one's place.
        self.open_windows("Another window", class_name="Third")
        self.expect_nothing()
        with self.assertRaises(Exception):
            self.assert_answers(sender)
        self.assertTrue(second.is_running())
        self.assertEqual(second.log_lines(), [])
        self.assertLess(second.cpu_seconds(), 1)
        self.assertEqual(second.end(signal.SIGINT), 0)
        self.expect_nothing()


