#!/usr/bin/env python3
"""A control center in a process of its own: prints what it is told, a message and its payload a line."""

import pathlib
import signal
import sys

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "python"))

from kivo import owner, protocol  # noqa: E402


def tell(msgid, payload):
    print(protocol.characters(msgid), payload.hex(), flush=True)


if __name__ == "__main__":
    with owner.Owner(protocol.CONTROL_CENTER_PORT, tell, pathlib.Path(sys.argv[1])):
        print("ready", flush=True)
        signal.pause()
