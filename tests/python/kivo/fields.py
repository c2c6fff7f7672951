"""The kinds of fields that payloads are made of, and layouts of such fields.

A layout writes a dictionary of values as bytes and reads bytes as such a dictionary. Values: numbers,
truth values, `str` for texts and byte strings (bytes that are no UTF-8 as surrogate escapes).
"""

import struct


class Refused(ValueError):
    """These bytes are not a whole payload of this layout."""


class Source:
    """Received bytes, read from the front."""

    def __init__(self, received):
        self._bytes = received
        self.at = 0

    def take(self, size):
        if self.at + size > len(self._bytes):
            raise Refused(f"{size} bytes are wanted at {self.at}, and {len(self._bytes)} are there")
        self.at += size
        return self._bytes[self.at - size:self.at]

    def byte_string(self, limit):
        end = self._bytes.find(0, self.at)
        if end < 0:
            raise Refused(f"the byte string at {self.at} has no end")
        if limit is not None and end - self.at > limit:
            raise Refused(f"the byte string at {self.at} has more than {limit} bytes")
        return self.take(end - self.at + 1)[:-1]

    def extend_with_zeros(self, size):
        """Makes up to `size` bytes from here on readable."""
        self._bytes = self._bytes + bytes(max(0, self.at + size - len(self._bytes)))


class Number:
    """A 32-bit number; what is written may be signed, what is read is as `signed` says."""

    def __init__(self, name, signed=False):
        self.name = name
        self._format = "<i" if signed else "<I"

    def write(self, values):
        return struct.pack("<I", int(values[self.name]) & 0xFFFFFFFF)

    def read(self, source):
        return {self.name: struct.unpack(self._format, source.take(4))[0]}


class Byte(Number):
    """A single byte on the wire."""

    def write(self, values):
        return bytes([values[self.name]])

    def read(self, source):
        return {self.name: source.take(1)[0]}


class LowByte(Number):
    """A number of which the low eight bits count."""

    def write(self, values):
        return struct.pack("<I", values[self.name] & 0xFF)

    def read(self, source):
        return {self.name: source.take(4)[0]}


class Truth(Number):
    def read(self, source):
        return {self.name: any(source.take(4))}


class WholePart(Number):
    """A double: its whole part travels and is read as unsigned, in single precision."""

    def read(self, source):
        number, = struct.unpack("<I", source.take(4))
        return {self.name: struct.unpack("<f", struct.pack("<f", number))[0]}


class ByteString:
    """Bytes and a 0."""

    def __init__(self, name, limit=None):
        self.name = name
        self._limit = limit

    def write(self, values):
        return values[self.name].encode(errors="surrogateescape") + b"\0"

    def read(self, source):
        return {self.name: source.byte_string(self._limit).decode(errors="surrogateescape")}


class Text:
    """A count of UTF-16 units and the units."""

    def __init__(self, name, limit):
        self.name = name
        self._limit = limit

    def write(self, values):
        units = values[self.name].encode("utf-16-le", "surrogatepass")
        return struct.pack("<I", len(units) // 2) + units

    def read(self, source):
        count, = struct.unpack("<I", source.take(4))
        if count > self._limit:
            raise Refused(f"a text of {count} units is too long")
        return {self.name: source.take(2 * count).decode("utf-16-le", "surrogatepass")}


class Layout:
    """Fields that follow one another without gaps."""

    def __init__(self, *fields):
        self._fields = fields

    def encode(self, values):
        return b"".join(field.write(values) for field in self._fields)

    def decode(self, received):
        return self.read(Source(received))

    def read(self, source):
        values = {}
        for field in self._fields:
            values |= field.read(source)
        return values


def truncated(number):
    """A double as a coordinate: cut toward zero, the smallest number if it does not fit."""
    try:
        whole = int(number)
    except (ValueError, OverflowError):
        return -2**31
    return whole if -2**31 <= whole < 2**31 else -2**31
