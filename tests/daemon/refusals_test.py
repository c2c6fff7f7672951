"""What the daemon refuses: no reply data, nothing changed, and it goes on."""

import collections
import random
import struct

from kivo import protocol, records
from kivo.records import record
from support import PATIENCE, DaemonTest

UNKNOWN_CODES = [0, 1, -1, -2, 0x7FFFFFFF, -0x80000000, protocol.code("ZGlm"), protocol.code("MlGZ"),
                 protocol.code("KiCt"), protocol.code("KiDC"), protocol.code("eETC"),
                 protocol.code("Stus"), protocol.code("ZSLg")]


def request(*candidates, count=None):
    """A target-window request, with another count than it has records if wanted."""
    payload = protocol.encode("ZTWP", records=list(candidates))
    return payload if count is None else struct.pack("<I", count) + payload[4:]


class RefusalsTest(DaemonTest):
    """Each request would find the window if it were taken."""

    def setUp(self):
        super().setUp()
        self.start()
        self.window = self.open_in_front("Mixer")[0]
        self.sender = self.client()

    def reply(self, message, payload):
        return self.sender.ask(protocol.code(message), payload, PATIENCE, PATIENCE)

    def check_refused(self, message, *payloads):
        for payload in payloads:
            with self.subTest(payload=payload[:80], length=len(payload)):
                self.assertEqual(self.reply(message, payload), b"")
        self.assert_answers(self.sender)

    def check_taken(self, message, *payloads):
        for payload in payloads:
            with self.subTest(payload=payload[:80], length=len(payload)):
                self.assertNotEqual(self.reply(message, payload), b"")

    def test_unknown_codes(self):
        for code in UNKNOWN_CODES:
            self.assertEqual(self.sender.ask(code, b"\1", PATIENCE, PATIENCE), b"")
            self.sender.send(code, b"\1")
        self.assert_answers(self.sender)
        self.expect_nothing()

    def test_the_switch_for_keys(self):
        for payload in (b"", b"\1", b"\2", b"\0", b"\1" * 100, b"\0"):
            self.assertEqual(self.reply("eTap", payload), b"")
        self.assert_answers(self.sender)

    def test_window_requests(self):
        self.check_refused("ZWiP", b"", b"\0", b"\0" * 4, b"\0\0\0\0M", b"\0\0\0\0Mixer",
                           bytes(4) + b"x" * 100000)
        self.check_taken("ZWiP", bytes(5), b"\0\0\0\0Mixer\0", b"\0\0\0\0\0\xff\xff",
                         b"\0\0\0\0\xff\xfe\0", bytes(100000))

    def test_target_requests_that_are_cut(self):
        whole = request(record("No such"), record("Mixer", text="Mixer"))
        self.check_refused("ZTWP", *(whole[:size] for size in range(len(whole))))
        self.check_taken("ZTWP", whole, whole + b"\xff" * 1000)

    def test_target_requests_with_a_cut_alternate(self):
        whole = request(record("Mixer", "Mixer", alternate_text="xyz"))
        may_be_cut = 4 + 2 * 3
        self.check_refused("ZTWP", *(whole[:size] for size in range(len(whole) - may_be_cut)))
        self.check_taken("ZTWP", *(whole[:len(whole) - cut] for cut in range(may_be_cut + 1)))

    def test_only_the_last_record_may_be_cut(self):
        first = request(record("No such", "No such", alternate_text="xyz"), count=2)
        self.check_refused("ZTWP", first, first[:-6], first[:-10])

    def test_counts(self):
        # Fewer records than there are is no error, and the rest means nothing.
        self.check_taken("ZTWP", request(record("Mixer"), record("No such"), count=1))
        self.check_refused("ZTWP", *(request(record("Mixer"), count=count) for count in
                                     (0, 2, 3, records.MOST_RECORDS, 2**31, 2**32 - 1)))

    def test_the_most_records(self):
        most = [record("Mixer")] * records.MOST_RECORDS
        self.check_taken("ZTWP", request(*most))
        self.check_refused("ZTWP", request(*most, record("Mixer")))

    def test_long_keys(self):
        long = "Mixer" + "x" * 251
        self.check_refused("ZTWP", request(record(long), record("Mixer")),
                           request(record("Mixer"), record(long)),
                           request(record("Mixer", long)))
        self.check_taken("ZTWP", request(record(long[:255]), record("Mixer")))

    def test_long_texts(self):
        long = "x" * 1025
        self.check_refused("ZTWP", request(record("Mixer", text=long)),
                           request(record("Mixer", "Mixer", alternate_text=long)),
                           request(record("Mixer"), record("No such", text=long)))
        self.check_taken("ZTWP", request(record("Mixer", text=long[:1024])))

    def test_a_cut_alternate_length(self):
        whole = request(record("Mixer", "Mixer"))[:-4]
        self.check_taken("ZTWP", whole + b"\0\4", whole + b"\0\4\0")
        self.check_refused("ZTWP", whole + b"\1\4", whole + b"\0\0\1", whole + b"\xff" * 4)

    def test_keys_that_are_no_text(self):
        self.check_taken("ZTWP", request(record("\udcff\udcfe"), record("Mixer")))
        self.check_refused("ZTWP", request(record("\udcff\udcfe")),
                           request(record("Mixer", "\udcff\udcfe")))

    def test_random_payloads(self):
        chance = random.Random(7)
        for _ in range(400):
            message = chance.choice(["eTap", "ZGlM", "ZWiP", "ZTWP"])
            # Small counts reach the decoding of records.
            count = struct.pack("<I", chance.choice([0, 1, 2, 3, chance.getrandbits(32)]))
            payload = count + chance.randbytes(chance.choice([0, 1, 4, 30, 100, 3000]))
            if message == "eTap":
                payload = bytes([payload[0] & 0xFE])
            self.reply(message, payload)
        self.assertEqual(self.reply("ZTWP", request(record("Mixer"))),
                         struct.pack("<I4i", 0, *self.screen.frame(self.window)))

    def test_broken_requests(self):
        """The daemon takes and refuses what the Python client takes and refuses."""
        chance = random.Random(11)
        whole = request(record("No such", text="ab"), record("Mix", "Mixer"), record("Mixer"))
        place = struct.pack("<4i", *self.screen.frame(self.window))
        counts = collections.Counter()
        for _ in range(1500):
            payload = broken(whole, chance)
            index = index_that_fits("Mixer", payload)
            if index is not None:
                right = b"" if index < 0 else struct.pack("<I", index) + place
                self.assertEqual(self.reply("ZTWP", payload), right, payload.hex())
                counts[index] += 1
        self.assertGreater(min(counts[index] for index in (-1, 1, 2)), 10, counts)


def broken(payload, chance):
    """The payload with some bytes changed and perhaps cut."""
    payload = bytearray(payload)
    for _ in range(chance.randint(1, 3)):
        at = chance.randrange(len(payload))
        payload[at] = chance.choice([0, 1, 0xFF, payload[at] ^ 1 << chance.randrange(8)])
    return bytes(payload[:len(payload) - chance.choice([0, 0, 0, chance.randrange(40)])])


def index_that_fits(title, payload):
    """The index of the first candidate that a title fits; -1: there is none, or it is refused.

    None: the alternate title fits nothing, which would end the daemon.
    """
    try:
        candidates = protocol.decode("ZTWP", payload)["records"]
    except protocol.Refused:
        return -1
    for index, candidate in enumerate(candidates):
        if fits(title, candidate["titleKey"]):
            if candidate["hasAltTitle"] and not fits(title, candidate["altTitle"]):
                return None
            return index
    return -1


def fits(title, key):
    return key != "" and key in title
