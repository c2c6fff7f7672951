"""Target-window requests: a list of candidates, each a record of many fields."""

import struct

from .fields import ByteString, Layout, LowByte, Number, Refused, Source, Text, Truth, WholePart

MOST_RECORDS = 16384
LONGEST_KEY = 255
LONGEST_TEXT = 1024

_BEFORE_ALTERNATE = Layout(
    ByteString("titleKey", LONGEST_KEY), Text("titleChars", LONGEST_TEXT),
    WholePart("auxValue1"), WholePart("auxValue2"), LowByte("auxByte"), Truth("auxFlag"),
    Truth("hasAltTitle"))
_ALTERNATE_KEY = Layout(ByteString("altTitle", LONGEST_KEY))
_ALTERNATE_TEXT = Layout(Text("altTitleChars", LONGEST_TEXT))


def record(key, alternate=None, text="", alternate_text=""):
    """A candidate; the fields that the driver only decodes are zero."""
    values = {"titleKey": key, "titleChars": text, "auxValue1": 0, "auxValue2": 0, "auxByte": 0,
              "auxFlag": False, "hasAltTitle": alternate is not None}
    if alternate is not None:
        values |= {"altTitle": alternate, "altTitleChars": alternate_text}
    return values


class TargetWindowRequest:
    """A count and so many records."""

    @staticmethod
    def encode(values):
        records = values["records"]
        return struct.pack("<I", len(records)) + b"".join(map(_encode, records))

    @staticmethod
    def decode(received):
        source = Source(received)
        count = Number("count").read(source)["count"]
        if count > MOST_RECORDS:
            raise Refused(f"{count} records are too many")
        return {"records": [_read(source, is_last=at == count - 1) for at in range(count)]}


def _encode(values):
    layouts = [_BEFORE_ALTERNATE]
    if values["hasAltTitle"]:
        layouts += [_ALTERNATE_KEY, _ALTERNATE_TEXT]
    return b"".join(layout.encode(values) for layout in layouts)


def _read(source, is_last):
    values = _BEFORE_ALTERNATE.read(source)
    if values["hasAltTitle"]:
        values |= _ALTERNATE_KEY.read(source)
        if is_last:
            source.extend_with_zeros(4 + 2 * LONGEST_TEXT)
        values |= _ALTERNATE_TEXT.read(source)
    return values


def reserved_size(records):
    """The bytes that the payload class sends for these records, whatever it has written."""
    sizes = [_reserved_size(values) for values in records]
    total = 4 + sum(size * (len(sizes) - at) for at, size in enumerate(sizes))
    return total & 0xFFFFFFFF


def _reserved_size(values):
    size = 24 + len(values["titleKey"].encode()) + 1 + 2 * _units(values["titleChars"])
    if values["hasAltTitle"]:
        size += 4 + 2 * _units(values["altTitleChars"])
    return size


def _units(text):
    return len(text.encode("utf-16-le", "surrogatepass")) // 2


def as_the_class_sends(records):
    """The payload, cut or padded with zeros to its reserved size."""
    payload = TargetWindowRequest.encode({"records": records})
    size = reserved_size(records)
    return payload[:size].ljust(size, b"\0")
