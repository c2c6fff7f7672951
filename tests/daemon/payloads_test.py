"""The Python client and the golden payloads agree, entry by entry, in both directions."""

import json
import pathlib
import unittest

from kivo import protocol, records

GOLDEN = pathlib.Path(__file__).parents[1] / "golden" / "payloads.json"
LEAST_ENTRIES = 45
LEAST_CODECS = 26


def entries_by_codec():
    entries = {}
    for entry in json.loads(GOLDEN.read_text()):
        entries.setdefault(entry.get("class") or entry["message"], []).append(entry)
    return entries


def values(fields):
    """The fields as the client has them: counted bytes are hex in the file."""
    return {name: bytes.fromhex(value) if name == "bytes" else value
            for name, value in fields.items()}


class GoldenPayloadsTest(unittest.TestCase):
    """One test for each payload class or message; see `_add`."""

    def check(self, entry, codec):
        golden = bytes.fromhex(entry["bytes"])
        directions = [way for way in ("encode", "decode") if entry.get(way, "message" in entry)]
        self.assertTrue(directions, "an entry that checks nothing")
        if "encode" in directions:
            self.assertEqual(codec.encode(values(entry["fields"])).hex(), golden.hex())
        if "decode" in directions:
            expected = values(entry.get("decoded", entry["fields"]))
            self.assertEqual(codec.decode(golden), expected)
        if entry.get("class") == "STargetWindowRequestSpec" and "encode" in directions:
            size = records.reserved_size(entry["fields"]["records"])
            self.assertEqual(size, entry.get("size", len(golden)))

    def test_the_file_is_checked_whole(self):
        entries = entries_by_codec()
        self.assertGreaterEqual(len(entries), LEAST_CODECS)
        self.assertGreaterEqual(sum(map(len, entries.values())), LEAST_ENTRIES)
        known = protocol.CLASSES.keys() | protocol.MESSAGES.keys() | protocol.REPLIES.keys()
        self.assertLessEqual(entries.keys(), known)
        self.assertLessEqual(protocol.CLASSES.keys(), entries.keys())


def _add(name, entries):
    codec = (protocol.CLASSES | protocol.MESSAGES | protocol.REPLIES)[name]

    def test(self):
        for entry in entries:
            with self.subTest(entry["about"]):
                self.check(entry, codec)
    setattr(GoldenPayloadsTest, f"test_{name.replace(' ', '_')}", test)


for _name, _entries in entries_by_codec().items():
    _add(_name, _entries)
