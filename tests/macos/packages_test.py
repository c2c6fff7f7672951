"""What ./run and ./test install on macOS."""

import shutil

from support import FAKES, ROOT, MacTest

BUILD = ["cmake", "ninja", "nlohmann-json", "ccache"]


class Packages(MacTest):
    def install(self, **environment):
        return self.run_program("bash", "-euc", ". tools/lib.sh; kivo_install build test", cwd=ROOT,
                                **environment)

    def test_only_what_is_missing_is_installed(self):
        result = self.install(HAS=" ".join(BUILD))
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual([call for call in self.calls("brew") if not call.startswith("list")],
                         ["install googletest"])

    def test_nothing_is_installed_where_all_is_there(self):
        self.assertEqual(self.install(HAS=" ".join([*BUILD, "googletest"])).returncode, 0)
        self.assertEqual([call for call in self.calls("brew") if not call.startswith("list")], [])

    def test_without_a_compiler_it_says_where_one_comes_from(self):
        result = self.install(FAIL="xcode-select -p")
        self.assertEqual(result.returncode, 1)
        self.assertIn("xcode-select --install", result.stderr)
        self.assertEqual(self.calls("brew"), [])

    def test_what_cannot_be_installed_is_named(self):
        result = self.install(FAIL="brew install")
        self.assertEqual(result.returncode, 1)
        self.assertIn("could not be installed: ccache cmake googletest ninja nlohmann-json",
                      result.stderr)

    def test_without_homebrew_the_list_is_named(self):
        self.fakes = self.folder / "fakes"
        shutil.copytree(FAKES, self.fakes, ignore=shutil.ignore_patterns("brew"))
        result = self.install()
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertIn("packaging/macos/homebrew-packages.txt", result.stdout)

    def test_the_demonstration_is_refused(self):
        result = self.run_program(ROOT / "run", "--demo", cwd=self.folder)
        self.assertEqual(result.returncode, 1)
        self.assertIn("needs an X server", result.stderr)
