"""The commands of packaging/macos, run here with stand-ins for the programs of macOS.

The stand-ins lie in fakes/; they note how they were called and behave as the real ones are
documented to. What the real ones do only a Mac can tell.
"""

import os
import pathlib
import plistlib
import subprocess
import tempfile
import unittest

FAKES = pathlib.Path(__file__).resolve().parent / "fakes"
ROOT = pathlib.Path(__file__).resolve().parents[2]
COMMANDS = ROOT / "packaging" / "macos"
LABEL = "com.zynwerks.kivo.driver"
AGENT = f"Library/LaunchAgents/{LABEL}.plist"
DAEMON = "Contents/MacOS/kivo-driver"
KIVOCTL = "Contents/Helpers/kivoctl"


def make_application(place):
    """A bundle with the parts that the build makes, and nothing to run."""
    contents = place / "Contents"
    template = (COMMANDS / f"{LABEL}.plist.in").read_text()
    for name, text in {"Info.plist": "", "MacOS/kivo-driver": "daemon", "Helpers/kivoctl": "kivoctl",
                       AGENT: template.replace("@daemon@", f"/Applications/Kivo Driver.app/{DAEMON}"),
                       }.items():
        (contents / name).parent.mkdir(parents=True, exist_ok=True)
        (contents / name).write_text(text)
    return place


class MacTest(unittest.TestCase):
    """A home of its own, with an application that was built."""

    home_name = "home"
    fakes = FAKES

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name)
        self.home = self.folder / self.home_name
        self.home.mkdir()
        self.state = self.folder / "state"
        self.state.mkdir()
        self.built = make_application(self.folder / "built" / "Kivo Driver.app")
        self.installed = self.home / "Applications" / "Kivo Driver.app"
        self.agent = self.home / AGENT
        self.link = self.home / ".local" / "bin" / "kivoctl"

    def run_program(self, *words, cwd=None, **environment):
        """Runs a program with nothing of this machine's own environment but the tools."""
        return subprocess.run(
            words, cwd=cwd, text=True, capture_output=True, timeout=60, check=False,
            env={"PATH": f"{self.fakes}:{os.environ['PATH']}", "HOME": str(self.home),
                 "STATE": str(self.state), **environment})

    def run_command(self, name, *arguments, **environment):
        return self.run_program(COMMANDS / name, *arguments, **environment)

    def succeed(self, name, *arguments, **environment):
        result = self.run_command(name, *arguments, **environment)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout

    def fail_with(self, complaint, name, *arguments, **environment):
        """The command must end with one error line that contains `complaint`."""
        result = self.run_command(name, *arguments, **environment)
        self.assertEqual(result.returncode, 1, result.stdout)
        errors = [line for line in result.stderr.splitlines() if line.startswith("error: ")]
        self.assertEqual(len(errors), 1, result.stderr)
        self.assertIn(complaint, errors[0])
        return result.stderr

    def calls(self, program):
        """How a program was called so far, in order; the arguments as one text."""
        calls = self.state / "calls"
        lines = calls.read_text().splitlines() if calls.exists() else []
        return [line.removeprefix(program + " ") for line in lines if line.startswith(program + " ")]

    def start_agent(self):
        (self.state / "known").touch()
        (self.state / "running").touch()

    def program_of_agent(self):
        return plistlib.loads(self.agent.read_bytes())["ProgramArguments"]
