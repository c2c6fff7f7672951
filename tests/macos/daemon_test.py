"""Daemon and stand-in control center on the system that they were built for: what can be shown with
neither permissions nor applications, also on a Mac that builds them for the first time."""

import json
import os
import signal
import subprocess
import tempfile
import threading
import unittest

LANGUAGES = {"English", "French", "German", "Italian", "Japanese", "Spanish"}


class Daemon(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        # Where ports are files they are the test's own. On macOS they are the session's.
        self.environment = {**os.environ, "XDG_RUNTIME_DIR": folder.name}
        self.processes = []
        self.limit = threading.Timer(40, self.end_all)
        self.limit.start()
        self.addCleanup(self.end_all)
        self.addCleanup(self.limit.cancel)
        status = subprocess.run([os.environ["KIVOCTL"], "status", "--json"], env=self.environment,
                                capture_output=True, text=True, timeout=20, check=False)
        there = json.loads(status.stdout)
        if there["daemon"] or there["controlCenter"]:
            self.skipTest("a daemon or a control center is running in this session")

    def start(self, program, *arguments, **pipes):
        process = subprocess.Popen([os.environ[program], *arguments], env=self.environment, text=True,
                                   **pipes)
        self.processes.append(process)
        return process

    def end_all(self):
        for process in self.processes:
            if process.poll() is None:
                process.kill()
            process.wait()
            for pipe in (process.stdin, process.stdout):
                if pipe and not pipe.closed:
                    pipe.close()

    def next_named(self, center, *names):
        """The next thing of one of these names that the control center prints."""
        for line in center.stdout:
            told = json.loads(line)
            if told["name"] in names:
                return told
        return self.fail(f"the control center ended before it said {' or '.join(names)}")

    def test_meets_a_control_center_answers_and_says_goodbye(self):
        center = self.start("KIVOCTL", "session", "--json", stdin=subprocess.PIPE,
                            stdout=subprocess.PIPE)
        self.next_named(center, "listening")
        daemon = self.start("KIVO_DRIVER")
        self.assertEqual(self.next_named(center, "connected", "language")["name"], "connected")
        self.assertIn(self.next_named(center, "language")["language"], LANGUAGES)
        print("pointer", file=center.stdin, flush=True)
        pointer = self.next_named(center, "pointer", "error")
        self.assertIsInstance(pointer.get("x"), int, pointer)
        self.assertIsInstance(pointer.get("y"), int, pointer)
        daemon.send_signal(signal.SIGINT)
        self.next_named(center, "disconnected")
        self.assertEqual(daemon.wait(timeout=20), 0)
        center.stdin.close()
        self.assertEqual(center.wait(timeout=20), 0)
