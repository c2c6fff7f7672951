"""The application as the build for macOS lays it out.

The build is configured here with clang, which knows both of Apple's architectures, and without the
headers of macOS: it can be laid out and looked at, but not compiled. Then the daemon of this system
takes the place of the one that belongs there.
"""

import json
import os
import pathlib
import plistlib
import re
import shutil
import subprocess
import tempfile
import unittest

from support import AGENT, DAEMON, KIVOCTL, LABEL, ROOT

APPLICATION = "Applications/Kivo Driver.app"
LANGUAGES = {"de": "German", "en": "English", "es": "Spanish", "fr": "French", "it": "Italian",
             "ja": "Japanese"}


def configure(folder):
    clang = shutil.which("clang"), shutil.which("clang++")
    if None in clang:
        raise unittest.SkipTest("clang is not installed")
    (folder / "sdk").mkdir()
    subprocess.run(
        ["cmake", "-S", ROOT, "-B", folder / "build", "-G", "Ninja", "-Wno-dev",
         "-DCMAKE_SYSTEM_NAME=Darwin", f"-DCMAKE_OSX_SYSROOT={folder / 'sdk'}",
         "-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64", "-DCMAKE_BUILD_TYPE=Release",
         f"-DCMAKE_C_COMPILER={clang[0]}", f"-DCMAKE_CXX_COMPILER={clang[1]}",
         f"-DCMAKE_OBJCXX_COMPILER={clang[1]}", "-DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY",
         "-DCMAKE_INSTALL_NAME_TOOL=/bin/false", f"-DCMAKE_AR={shutil.which('ar')}",
         f"-DCMAKE_RANLIB={shutil.which('ranlib')}", "-DKIVO_BUILD_TESTS=OFF"],
        check=True, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=300)


class Bundle(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        folder = tempfile.TemporaryDirectory()
        cls.addClassCleanup(folder.cleanup)
        cls.folder = pathlib.Path(folder.name)
        try:
            configure(cls.folder)
        except subprocess.CalledProcessError as failure:
            raise AssertionError(failure.stdout) from failure
        cls.build = cls.folder / "build"
        cls.contents = cls.build / APPLICATION / "Contents"

    def commands(self, *targets):
        return subprocess.run(["ninja", "-C", self.build, "-t", "commands", *targets], check=True,
                              capture_output=True, text=True, timeout=60).stdout.splitlines()

    def property_list(self, name):
        return plistlib.loads((self.contents / name).read_bytes())

    def test_is_an_application_that_shows_nothing(self):
        version = re.search(r"project\(kivo VERSION (\S+)", (ROOT / "CMakeLists.txt").read_text())[1]
        information = self.property_list("Info.plist")
        self.assertIs(information["LSUIElement"], True)
        self.assertEqual(information["CFBundleIdentifier"], LABEL)
        self.assertEqual(information["CFBundleExecutable"], pathlib.Path(DAEMON).name)
        self.assertEqual(information["CFBundleVersion"], version)
        self.assertEqual(information["LSMinimumSystemVersion"], "11.0")

    def test_the_agent_starts_nothing_by_itself(self):
        agent = self.property_list(AGENT)
        self.assertEqual(agent["Label"], LABEL)
        self.assertEqual(agent["ProgramArguments"], [f"/{APPLICATION}/{DAEMON}"])
        self.assertIs(agent["RunAtLoad"], False)
        self.assertEqual(agent["KeepAlive"], {"Crashed": True})

    def test_both_programs_are_linked_into_it_for_both_architectures(self):
        for program in (DAEMON, KIVOCTL):
            link = self.commands(f"{APPLICATION}/{program}")[-1]
            for word in (f'-o "{APPLICATION}/{program}"', "-arch arm64 -arch x86_64",
                         "-mmacosx-version-min=11.0"):
                self.assertIn(word, link)

    def test_the_daemon_is_linked_with_the_frameworks_themselves(self):
        link = self.commands(f"{APPLICATION}/{DAEMON}")[-1]
        self.assertEqual(set(re.findall(r"-framework (\w+)", link)),
                         {"AppKit", "ApplicationServices", "CoreFoundation", "CoreMIDI",
                          "CoreServices", "Foundation"})

    def test_every_file_of_the_platform_is_built_and_none_of_linux(self):
        compiled = "\n".join(self.commands())
        for source in (ROOT / "platform" / "macos").glob("*.[cm]*"):
            self.assertIn(f"-c {source}", compiled)
        self.assertNotIn("platform/linux", compiled)

    def test_the_daemon_finds_its_version_and_its_languages_there(self):
        shutil.copy(os.environ["KIVO_DRIVER"], self.contents / "MacOS")
        for code, language in LANGUAGES.items():
            with self.subTest(code):
                self.assertEqual(self.language_told_in(code), language)

    def language_told_in(self, code):
        """Starts control center and daemon for a moment."""
        runtime = self.folder / f"runtime-{code}"
        runtime.mkdir(mode=0o700)
        environment = {"PATH": os.environ["PATH"], "XDG_RUNTIME_DIR": str(runtime), "LANG": code}
        center = subprocess.Popen(
            [os.environ["KIVOCTL"], "listen", "--json", "--until", "ZSLg", "--timeout", "20"],
            env=environment, stdout=subprocess.PIPE, text=True)
        center.stdout.readline()  # It owns its port now.
        with (self.folder / "log").open("w+") as log:
            daemon = subprocess.Popen([self.contents / "MacOS" / "kivo-driver"], env=environment,
                                      stderr=log)
            told = [json.loads(line) for line in center.stdout]
            daemon.terminate()
            daemon.wait(timeout=10)
            center.wait(timeout=10)
            center.stdout.close()
            log.seek(0)
            self.assertIn(f"version {self.property_list('Info.plist')['CFBundleVersion']}", log.read())
        return next((one["language"] for one in told if one["name"] == "language"), told)
