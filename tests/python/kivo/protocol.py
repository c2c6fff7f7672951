"""The payloads of all messages between driver and control center, and the other payload classes."""

import struct

from .fields import Byte, ByteString, Layout, Number, Refused, Source, Truth, truncated
from .records import TargetWindowRequest

DRIVER_PORT = "Kivo_MessagePort_KIVB"
CONTROL_CENTER_PORT = "KivoDriver"


def code(characters):
    """A message's number: four ASCII characters, the most significant first."""
    return int.from_bytes(characters.encode("ascii"), "big")


def characters(number):
    """A message's four characters."""
    return (number & 0xFFFFFFFF).to_bytes(4, "big").decode("latin-1")


class PointSize:
    """Place and size of a window: doubles in a program, whole numbers on the way."""

    def __init__(self, *before):
        self._layout = Layout(*before, *(Number(name, signed=True)
                                         for name in ("x", "y", "width", "height")))

    def encode(self, values):
        x, y = values["origin"]
        width, height = values["size"]
        whole = {"x": x, "y": y, "width": width, "height": height}
        cut = {name: truncated(value) for name, value in whole.items()}
        return self._layout.encode(values | cut)

    def decode(self, received):
        return self._layout.decode(received)


class Server:
    """A value and counted bytes, padded to an even number."""

    @staticmethod
    def encode(values):
        some = values["bytes"]
        return struct.pack("<II", values["value"], len(some)) + some + bytes(len(some) % 2)

    @staticmethod
    def decode(received):
        source = Source(received)
        value, count = struct.unpack("<II", source.take(8))
        values = {"value": value, "bytes": source.take(count)}
        source.take(count % 2)
        return values


class LongArray:
    """A count, a value and that many words; only ever received."""

    @staticmethod
    def decode(received):
        source = Source(received)
        count, value = struct.unpack("<II", source.take(8))
        return {"value": value, "longs": list(struct.unpack(f"<{count}I", source.take(4 * count)))}


def _numbers(count):
    return Layout(*(Number(f"value{at}") for at in range(1, count + 1)))


_ONE = Layout(Number("value"))

CLASSES = {
    "SPointSpec": Layout(Number("x", signed=True), Number("y", signed=True)),
    "SPointSizeSpec": PointSize(),
    "STargetPointSizeSpec": PointSize(Number("targetIndex")),
    "SWindowRequestSpec": Layout(Truth("partialMatch"), ByteString("title")),
    "STargetWindowRequestSpec": TargetWindowRequest(),
    "SServerSpec": Server(),
    "SServerPortSpec": _numbers(2),
    "STwoIntSpec": _numbers(2),
    "SControlSpec": _numbers(4),
    "SCurrentControlInfoSpec": _numbers(4),
    "SPortConnectDisconnectSpec": _ONE,
    "SKeysetIndexSpec": _ONE,
    "SBankIndexSpec": _ONE,
    "SLayerIndexSpec": _ONE,
    "SOneIntSpec": _ONE,
    "SThreeIntSpec": _numbers(3),
    "STrackerArmSpec": _numbers(3),
    "SConnectStatusSpec": Layout(Number("value"), Byte("status")),
    "SResetSocketSpec": Layout(ByteString("name", 31), Number("value")),
    "SIncommingLongArraySpec": LongArray(),
}


class FourCharacters:
    """A 32-bit number made of four characters, in native order: they come backwards."""

    def __init__(self, name):
        self._name = name

    def encode(self, values):
        return values[self._name].encode("mac-roman")[::-1]

    def decode(self, received):
        return {self._name: Source(received).take(4)[::-1].decode("mac-roman")}


class KeyEvent:
    """A key event, as it lies in the memory of the driver's machine."""

    _RECORD = struct.Struct("<H6xQB7x")

    def encode(self, values):
        return self._RECORD.pack(values["keyCode"], values["flags"], values["keyDown"])

    def decode(self, received):
        key_code, flags, down = self._RECORD.unpack(Source(received).take(self._RECORD.size))
        return {"keyCode": key_code, "flags": flags, "keyDown": bool(down)}


class Status:
    """Seven big-endian numbers; a longer answer is taken, a shorter one is not."""

    @staticmethod
    def encode(values):
        return struct.pack(">7I", *values["longs"])

    @staticmethod
    def decode(received):
        return {"longs": list(struct.unpack(">7I", Source(received).take(28)))}


class OnOff:
    """One byte of which bit 0 counts."""

    @staticmethod
    def encode(values):
        return bytes([values["on"]])

    @staticmethod
    def decode(received):
        return {"on": bool(Source(received).take(1)[0] & 1)}


class Empty:
    """Nothing, or something that means nothing."""

    @staticmethod
    def encode(_):
        return b""

    @staticmethod
    def decode(_):
        return {}


MESSAGES = {
    "KiCt": FourCharacters("identity"),
    "KiDC": FourCharacters("identity"),
    "ZSLg": Layout(ByteString("language", 31)),
    "KiFA": FourCharacters("signature"),
    "KiFI": Layout(ByteString("bundleIdentifier", 127)),
    "eETC": KeyEvent(),
    "Stus": Empty(),
    "eTap": OnOff(),
    "ZGlM": Empty(),
    "ZWiP": CLASSES["SWindowRequestSpec"],
    "ZTWP": CLASSES["STargetWindowRequestSpec"],
}

REPLIES = {
    "eETC reply": OnOff(),
    "Stus reply": Status(),
    "ZGlM reply": CLASSES["SPointSpec"],
    "ZWiP reply": CLASSES["SPointSizeSpec"],
    "ZTWP reply": CLASSES["STargetPointSizeSpec"],
}


def encode(message, **values):
    """The payload of a message, by the message's four characters."""
    return MESSAGES[message].encode(values)


def decode(message, payload):
    """The values in a payload of this message; raises `Refused` when it is not one."""
    return MESSAGES[message].decode(payload)


def decode_reply(message, reply):
    """The values in the reply to this message, or None if it carries no data."""
    return REPLIES[f"{message} reply"].decode(reply) if reply else None


__all__ = ["CLASSES", "CONTROL_CENTER_PORT", "DRIVER_PORT", "MESSAGES", "REPLIES", "Refused",
           "characters", "code", "decode", "decode_reply", "encode"]
