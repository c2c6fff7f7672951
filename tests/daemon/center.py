#!/usr/bin/env python3
"""A control center in a process of its own: prints what it is told, a message and its payload a line.

    center.py PORTS [ANSWER]

ANSWER says how it answers keys, well or badly; without one it answers nothing.
"""

import pathlib
import signal
import sys
import time

sys.path.append(str(pathlib.Path(__file__).resolve().parents[1] / "python"))

from kivo import frames, owner, protocol  # noqa: E402

LATER = 0.03  # longer than the driver waits


def late(answer):
    time.sleep(LATER)
    return answer


ANSWERS = {
    "none": lambda: None,
    "pass": lambda: b"\1",
    "swallow": lambda: b"\0",
    "wrong bit": lambda: b"\2",
    "late": lambda: late(b"\1"),
    "too long": lambda: b"\1" * 1000,
    "huge": lambda: b"\1" * (32 << 20),
    "never": signal.pause,
}


class Babbler(owner.Owner):
    """Answers with bytes of its own, made from the frame that would be right."""

    def __init__(self, name, answer, folder, spoil):
        self._spoil = spoil
        super().__init__(name, answer, folder)

    def pack_reply(self, *reply):
        return self._spoil(super().pack_reply(*reply))


SPOILED = {
    "no frame": lambda frame: b"not a frame at all, not even nearly",
    "not a reply": lambda frame: frame[:3] + bytes([frames.WANTS_REPLY]) + frame[4:],
    "another's reply": lambda frame: frame[:4] + b"\xee\xee\xee\xee" + frame[8:],
    "too long a frame": lambda frame: frame[:12] + b"\xff\xff\xff\x7f" + frame[16:],
    "cut off": lambda frame: frame[:len(frame) // 2],
    "many times": lambda frame: frame * 500,
}


def tell(answer):
    def take(msgid, payload):
        message = protocol.characters(msgid)
        print(message, payload.hex(), flush=True)
        return answer() if message == "eETC" else None
    return take


def make_owner(ports, how):
    name = protocol.CONTROL_CENTER_PORT
    if how in SPOILED:
        return Babbler(name, tell(ANSWERS["pass"]), ports, SPOILED[how])
    return owner.Owner(name, tell(ANSWERS[how]), ports)


if __name__ == "__main__":
    with make_owner(pathlib.Path(sys.argv[1]), sys.argv[2] if len(sys.argv) > 2 else "none"):
        print("ready", flush=True)
        signal.pause()
