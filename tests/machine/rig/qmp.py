"""QEMU's machine protocol: commands to the emulator while a guest runs."""

import json


class CommandFailed(Exception):
    """QEMU refused a command; the text is its own."""


class Monitor:
    """A running emulator, over a socket that is connected to it and now the monitor's. Calls wait
    for the answer; events are passed over."""

    def __init__(self, connection, timeout_seconds):
        self._socket = connection
        self._socket.settimeout(timeout_seconds)
        self._lines = self._socket.makefile("rw", encoding="utf-8")
        self._lines.readline()  # the greeting
        self.execute("qmp_capabilities")

    def execute(self, command, arguments=None):
        """Runs a command and returns what it answers; raises CommandFailed."""
        request = {"execute": command, "arguments": arguments or {}}
        self._lines.write(json.dumps(request) + "\n")
        self._lines.flush()
        while True:
            line = self._lines.readline()
            if not line:
                raise CommandFailed("the emulator has ended")
            answer = json.loads(line)
            if "error" in answer:
                raise CommandFailed(answer["error"]["desc"])
            if "return" in answer:
                return answer["return"]

    def close(self):
        self._lines.close()
        self._socket.close()
