"""The examples in docs/message-ports.md, as the Python client has them."""

import pathlib
import tempfile
import unittest

from kivo import client, frames, names, owner, records
from kivo.fields import Refused


class NamesTest(unittest.TestCase):
    def test_the_files_of_the_example_names(self):
        for name, file in {
                "KivoDriver": "KivoDriver", "Kivo_MessagePort_KIVB": "Kivo_MessagePort_KIVB",
                "a b/ü": "a%20b%2F%C3%BC", ".hidden.name": "%2Ehidden.name",
                "x" * 100: "x" * 56 + "~052c9e7cec411035"}.items():
            self.assertEqual(names.file_stem(name), file)

    def test_the_first_folder_that_applies(self):
        self.assertEqual(names.folder({"XDG_RUNTIME_DIR": "/a"}),
                         pathlib.Path("/a/kivo-message-ports"))
        without = names.folder({})
        self.assertEqual(names.folder({"XDG_RUNTIME_DIR": "relative"}), without)
        self.assertIn("kivo-message-ports", str(without))


class FramesTest(unittest.TestCase):
    def test_the_example_frames(self):
        for frame, example in [
                (frames.pack(frames.WANTS_REPLY, 7, 0x5A476C4D),
                 "4B500102 07000000 4D6C475A 00000000"),
                (frames.pack(frames.REPLY, 7, 0x5A476C4D, bytes.fromhex("6400000032000000")),
                 "4B500103 07000000 4D6C475A 08000000 64000000 32000000"),
                (frames.pack(frames.ONE_WAY, 0, 0x65546170, b"\1"),
                 "4B500101 00000000 70615465 01000000 01"),
                (frames.pack(frames.REPLY, 0x01020304, -2),
                 "4B500103 04030201 FEFFFFFF 00000000")]:
            self.assertEqual(frame, bytes.fromhex(example))

    def test_frames_in_pieces(self):
        sent = b"".join(frames.pack(frames.REPLY, at, at, bytes(at)) for at in range(40))
        reader = frames.Reader(frames.REPLY)
        whole = [frame for at in range(len(sent)) for frame in reader.feed(sent[at:at + 1])]
        self.assertEqual(whole, [(frames.REPLY, at, at, bytes(at)) for at in range(40)])
        with self.assertRaises(frames.BadFrame):
            reader.feed(frames.pack(frames.ONE_WAY, 0, 0))


class PortTest(unittest.TestCase):
    """The Python client against the Python owner."""

    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        # Longer than a socket's address holds.
        self.folder = pathlib.Path(folder.name, "long-" * 25)
        self.folder.mkdir(mode=0o700)

    def own(self, answer=lambda msgid, payload: payload[::-1]):
        port = owner.Owner("port", answer, self.folder)
        self.addCleanup(port.close)
        return port

    def test_a_large_message_and_its_reply(self):
        self.own()
        payload = bytes(range(256)) * 40000
        with client.Client("port", self.folder) as sender:
            self.assertEqual(sender.ask(1, payload, 10, 10), payload[::-1])
            self.assertEqual(sender.ask(2), b"")

    def test_a_name_belongs_to_one(self):
        first = owner.Name("port", self.folder)
        with self.assertRaises(owner.NameTaken):
            owner.Name("port", self.folder)
        first.release()
        owner.Name("port", self.folder).release()
        with self.assertRaises(client.NoPort):
            client.Client("port", self.folder)

    def test_the_end_of_a_port_ends_its_clients(self):
        port = owner.Owner("port", lambda msgid, payload: None, self.folder)
        with client.Client("port", self.folder) as sender:
            sender.ask(1)
            port.close()
            with self.assertRaises(client.PortError) as raised:
                sender.ask(1)
            self.assertIn(raised.exception.status, (client.TRANSPORT_ERROR, client.BECAME_INVALID))


class SingleRecordTest(unittest.TestCase):
    """The class sends a single record with an alternate part too short."""

    def test_a_cut_alternate_text_reads_as_zeros(self):
        record = records.record("k", "kMain", alternate_text="Main Window")
        sent = records.as_the_class_sends([record])
        got, = records.TargetWindowRequest.decode(sent)["records"]
        self.assertEqual(got["altTitle"], "kMain")
        self.assertEqual(got["altTitleChars"], "Main Win\0\0\0")

    def test_a_cut_alternate_key_is_refused(self):
        sent = records.as_the_class_sends([records.record("k", "kMain")])
        with self.assertRaises(Refused):
            records.TargetWindowRequest.decode(sent)
