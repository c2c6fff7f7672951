"""packaging/macos/install and uninstall."""

import os

from support import DAEMON, KIVOCTL, LABEL, MacTest

TARGET = f"gui/501/{LABEL}"


class Install(MacTest):
    def install(self, **environment):
        return self.succeed("install", self.built, **environment)

    def test_puts_everything_into_the_home(self):
        self.install()
        self.assertEqual((self.installed / DAEMON).read_text(), "daemon")
        self.assertEqual(self.program_of_agent(), [str(self.installed / DAEMON)])
        self.assertEqual(self.agent.stat().st_mode & 0o777, 0o644)
        self.assertEqual(os.readlink(self.link), str(self.installed / KIVOCTL))
        self.assertEqual(os.listdir(self.installed.parent), ["Kivo Driver.app"])

    def test_makes_the_agent_known_and_starts_nothing(self):
        self.install()
        self.assertEqual(self.calls("launchctl"),
                         [f"print {TARGET}", f"bootstrap gui/501 {self.agent}"])

    def test_says_how_the_daemon_is_started(self):
        self.assertIn(f"launchctl kickstart {TARGET}", self.install())

    def test_ends_and_replaces_what_is_installed(self):
        self.install()
        (self.installed / "Contents" / "old").touch()
        (self.state / "running").touch()
        self.install()
        self.assertFalse((self.installed / "Contents" / "old").exists())
        ended = [call for call in self.calls("launchctl") if not call.startswith("print")]
        self.assertEqual(ended[1:], [f"kill SIGINT {TARGET}", f"bootout {TARGET}",
                                     f"bootstrap gui/501 {self.agent}"])

    def test_signs_a_copy_that_is_not_signed_for_this_mac(self):
        self.install()
        signed = [call for call in self.calls("codesign") if "--sign" in call]
        self.assertEqual([call.split("/Contents/")[-1] if "/Contents/" in call else "application"
                          for call in signed], ["Helpers/kivoctl", "application"])
        self.assertTrue(all("--sign - " in call for call in signed))
        self.assertFalse((self.built / "Contents" / "_CodeSignature").exists())

    def test_leaves_a_signature_alone(self):
        (self.built / "Contents" / "_CodeSignature").write_text("of somebody")
        self.install()
        self.assertEqual((self.installed / "Contents" / "_CodeSignature").read_text(), "of somebody")

    def test_without_a_session_the_agent_waits_for_the_login(self):
        self.assertIn("after the next login", self.install(FAIL="launchctl bootstrap"))
        self.assertTrue(self.agent.exists())

    def test_for_everybody_goes_to_the_common_places(self):
        staged = self.folder / "staged"
        self.succeed("install", "--all-users", self.built, DESTDIR=str(staged), USER_ID="0")
        self.assertTrue((staged / "Applications" / "Kivo Driver.app" / DAEMON).exists())
        self.agent = staged / "Library" / "LaunchAgents" / f"{LABEL}.plist"
        self.assertEqual(self.program_of_agent(), [f"/Applications/Kivo Driver.app/{DAEMON}"])
        self.assertEqual(os.readlink(staged / "usr" / "local" / "bin" / "kivoctl"),
                         f"/Applications/Kivo Driver.app/{KIVOCTL}")
        self.assertEqual(self.calls("launchctl"), [])

    def test_with_sudo_the_agent_is_that_of_the_user_who_asked(self):
        said = self.succeed("install", "--all-users", self.built, USER_ID="0", SUDO_UID="502",
                            DESTDIR=str(self.folder / "staged"))
        self.assertIn(f"gui/502/{LABEL}", said)


class InstallRefuses(MacTest):
    def tearDown(self):
        self.assertFalse(self.installed.exists())
        self.assertFalse(self.agent.exists())

    def test_another_system(self):
        self.fail_with("here is Linux", "install", self.built, SYSTEM="Linux")

    def test_an_application_that_is_not_there(self):
        self.fail_with("build it first", "install", self.folder / "nowhere")

    def test_an_application_that_is_not_complete(self):
        (self.built / KIVOCTL).unlink()
        self.fail_with("Contents/Helpers/kivoctl is missing", "install", self.built)

    def test_root_for_itself(self):
        self.fail_with("say --all-users", "install", self.built, USER_ID="0")

    def test_an_ordinary_user_for_everybody(self):
        self.fail_with("needs root", "install", "--all-users", self.built)

    def test_a_copy_that_fails(self):
        self.fail_with("copying", "install", self.built, FAIL="ditto")

    def test_a_signature_that_fails(self):
        self.fail_with("signing", "install", self.built, FAIL="codesign --force")

    def test_an_agent_that_launchd_keeps(self):
        self.start_agent()
        self.fail_with("does not let go", "install", self.built, FAIL="launchctl bootout")

    def test_an_unknown_option(self):
        self.assertEqual(self.run_command("install", "--everywhere").returncode, 2)


class InstallIntoAStrangeHome(MacTest):
    home_name = 'R&D <"home">'

    def test_the_agent_names_the_place_as_it_is(self):
        self.succeed("install", self.built)
        self.assertEqual(self.program_of_agent(), [str(self.installed / DAEMON)])


class Uninstall(MacTest):
    def test_takes_away_what_was_installed(self):
        self.succeed("install", self.built)
        (self.state / "running").touch()
        self.succeed("uninstall")
        for place in (self.installed, self.agent, self.link):
            self.assertFalse(os.path.lexists(place), place)
        self.assertEqual(self.calls("launchctl")[-1], f"bootout {TARGET}")
        self.assertIn(f"kill SIGINT {TARGET}", self.calls("launchctl"))

    def test_leaves_another_kivoctl(self):
        self.link.parent.mkdir(parents=True)
        self.link.symlink_to("/opt/somebody/kivoctl")
        self.succeed("uninstall")
        self.assertTrue(os.path.lexists(self.link))

    def test_passes_over_what_is_not_there(self):
        said = self.succeed("uninstall")
        self.assertNotIn("Removing", said)
        self.assertIn(f"tccutil reset Accessibility {LABEL}", said)

    def test_refuses_another_system_and_unknown_words(self):
        self.fail_with("for macOS", "uninstall", SYSTEM="Linux")
        self.assertEqual(self.run_command("uninstall", "everything").returncode, 2)
