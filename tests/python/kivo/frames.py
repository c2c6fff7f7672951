"""Frames: how messages and replies lie on a connection."""

import struct

ONE_WAY, WANTS_REPLY, REPLY = 1, 2, 3
LONGEST_PAYLOAD = 128 << 20

_HEADER = struct.Struct("<2sBBIiI")
_MAGIC = b"KP"
_VERSION = 1


class BadFrame(Exception):
    """Bytes that no frame of this direction starts with; the connection has to end."""


def pack(kind, conversation, msgid, payload=b""):
    """A whole frame. `msgid` is taken by its 32 bits, signed or not."""
    signed = ((msgid & 0xFFFFFFFF) ^ 0x80000000) - 0x80000000
    return _HEADER.pack(_MAGIC, _VERSION, kind, conversation, signed, len(payload)) + payload


class Reader:
    """Makes frames of what arrives, in pieces of any size."""

    def __init__(self, *kinds):
        self._kinds = kinds
        self._bytes = bytearray()

    def feed(self, some):
        """Takes what arrived; returns the frames that are whole now.

        Each is (kind, conversation, msgid, payload).
        """
        self._bytes += some
        whole = []
        while frame := self._take():
            whole.append(frame)
        return whole

    def _take(self):
        if len(self._bytes) < _HEADER.size:
            return None
        magic, version, kind, conversation, msgid, length = _HEADER.unpack_from(self._bytes)
        if (magic, version) != (_MAGIC, _VERSION) or kind not in self._kinds:
            raise BadFrame(f"a frame cannot start with {bytes(self._bytes[:4]).hex()}")
        if length > LONGEST_PAYLOAD:
            raise BadFrame(f"a payload of {length} bytes is too long")
        end = _HEADER.size + length
        if len(self._bytes) < end:
            return None
        payload = bytes(self._bytes[_HEADER.size:end])
        del self._bytes[:end]
        return kind, conversation, msgid, payload
