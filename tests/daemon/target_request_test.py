"""ZTWP: which of these windows is there, and where."""

import plistlib

from kivo import client, protocol, records
from kivo.records import record
from support import PATIENCE, DaemonTest, await_true

TABLE = {"kMixer": "Mixer", "kEdit": "Edit", "kNumber": 5}


class TargetRequestTest(DaemonTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.sender = self.client()

    def open_front(self, *titles):
        windows = self.open_in_front(*titles)
        await_true("the last one is in front",
                   lambda: self.screen.stacking()[:1] == windows[-1:])
        return windows

    def write_table(self, table, language="English", **options):
        self.session.write_data(f"Zynwerks/{language}.plist", plistlib.dumps(table, **options))

    def target(self, *candidates):
        """The answer to these candidates, given as records or as keys."""
        return self.ask(self.sender, "ZTWP", records=[
            record(one) if isinstance(one, str) else one for one in candidates])

    def at(self, window, index):
        return {"targetIndex": index} | self.place(window)


class TargetsWithoutLanguageFileTest(TargetRequestTest):
    """A key is itself the title."""

    def test_windows_come_before_candidates(self):
        mixer, edit = self.open_front("Mixer", "Edit")
        self.assertEqual(self.target("Mixer", "Edit"), self.at(edit, 1))
        self.assertEqual(self.target("Mixer", "No such"), self.at(mixer, 0))
        self.screen.activate(mixer)
        await_true("it is raised", lambda: self.screen.stacking()[0] == mixer)
        self.assertEqual(self.target("Mixer", "Edit"), self.at(mixer, 0))

    def test_the_first_candidate_that_fits_counts(self):
        window, = self.open_front("The Mixer window")
        self.assertEqual(self.target("No such", "Mixer", "The", "window"), self.at(window, 1))

    def test_no_candidate_fits(self):
        self.open_front("Mixer")
        self.assertIsNone(self.target())
        self.assertIsNone(self.target("Edit"))
        self.assertIsNone(self.target("mixer"))
        self.assertIsNone(self.target("Mixer "))
        self.assertIsNone(self.target(""))

    def test_no_front_application(self):
        self.assertIsNone(self.target("Mixer"))

    def test_other_applications_are_not_looked_at(self):
        self.open_front("Mixer")
        self.open_windows("Edit", class_name="Other")
        # The window manager may go back and forth before it settles on a new window.
        await_true("no window of the first is found", lambda: self.target("Mixer") is None)

    def test_canonical_equivalence(self):
        window, = self.open_front("Gr\u00f6\u00dfe \u2013 \u97f3")
        self.assertEqual(self.target("o", "Gro\u0308"), self.at(window, 1))
        self.assertEqual(self.target("\u97f3"), self.at(window, 0))

    def test_nothing_is_raised(self):
        mixer, edit = self.open_front("Mixer", "Edit")
        self.assertEqual(self.target("Mixer"), self.at(mixer, 0))
        self.assertEqual(self.screen.stacking(), [edit, mixer])
        self.assertEqual(self.screen.active(), edit)

    def test_an_alternate_window_is_measured(self):
        mixer, edit = self.open_front("Mixer", "Edit")
        self.assertEqual(self.target("No such", record("Edit", "Mixer")), self.at(mixer, 1))
        self.assertEqual(self.target(record("Mixer", "i")), self.at(edit, 0))

    def test_a_single_record_as_the_class_cuts_it(self):
        mixer, _ = self.open_front("Mixer", "Edit")
        cut = records.as_the_class_sends([record("Edit", "Mixer", alternate_text="Mixer")])
        whole = protocol.encode("ZTWP", records=[record("Edit", "Mixer", alternate_text="Mixer")])
        self.assertLess(len(cut), len(whole))
        self.assertEqual(self.ask(self.sender, "ZTWP", cut), self.at(mixer, 0))
        without_text = protocol.encode("ZTWP", records=[record("Edit", "Mixer")])[:-4]
        self.assertEqual(self.ask(self.sender, "ZTWP", without_text), self.at(mixer, 0))

    def test_padding_as_the_class_sends_it(self):
        window, = self.open_front("Mixer")
        padded = records.as_the_class_sends([record("No such")] * 20 + [record("Mixer")])
        self.assertEqual(self.ask(self.sender, "ZTWP", padded), self.at(window, 20))

    def test_the_carried_fields_decide_nothing(self):
        window, = self.open_front("Mixer")
        carried = record("Mixer", text="Edit") | {
            "auxValue1": -5.9, "auxValue2": 1e9, "auxByte": 255, "auxFlag": True}
        self.assertEqual(self.target(carried), self.at(window, 0))

    def test_200_records(self):
        window, = self.open_front("Mixer")
        self.assertEqual(self.target(*["No such"] * 199, "Mixer"), self.at(window, 199))

    def test_the_most_records(self):
        window, = self.open_front("Mixer")
        most = ["k"] * (records.MOST_RECORDS - 1)
        self.assertEqual(self.target(*most, "Mixer"), self.at(window, records.MOST_RECORDS - 1))
        self.assertIsNone(self.target("Mixer", *most, "Mixer"))
        self.assertEqual(self.target("Mixer"), self.at(window, 0))

    def test_the_longest_fields(self):
        window, = self.open_front("x" * 255)
        longest = record("x" * 255, "x" * 255, text="y" * 1024, alternate_text="z" * 1024)
        self.assertEqual(self.target(longest), self.at(window, 0))


class TargetsWithLanguageFileTest(TargetRequestTest):
    def check_translation(self):
        mixer, edit = self.open_front("The Mixer", "The Edit")
        self.assertEqual(self.target("kMixer", "kEdit"), self.at(edit, 1))
        self.assertEqual(self.target("kMixer"), self.at(mixer, 0))
        self.assertEqual(self.target(record("kEdit", "kMixer")), self.at(mixer, 0))
        # Neither a missing key nor one whose value is no string stands for itself.
        self.assertIsNone(self.target("Mixer", "kNumber", "Edit"))
        self.assertEqual(self.target("Mixer", "kNumber", "kMixer"), self.at(mixer, 2))
        self.assertIsNone(self.target(record("kEdit", "Mixer")))

    def test_xml(self):
        self.write_table(TABLE)
        self.check_translation()

    def test_binary(self):
        self.write_table(TABLE, fmt=plistlib.FMT_BINARY)
        self.check_translation()

    def test_the_file_of_another_language(self):
        self.write_table(TABLE, language="German")
        window, = self.open_front("kMixer")
        self.assertEqual(self.target("kMixer"), self.at(window, 0))

    def test_a_change_takes_effect_at_once(self):
        window, = self.open_front("Mixer")
        self.assertIsNone(self.target("kMixer"))
        self.write_table(TABLE)
        self.assertEqual(self.target("kMixer"), self.at(window, 0))
        self.write_table({})
        self.assertIsNone(self.target("kMixer"))

    def test_a_malformed_file_is_none(self):
        self.session.write_data("Zynwerks/English.plist", b"<plist><dict><key>kMixer")
        window, = self.open_front("kMixer")
        self.assertEqual(self.target("kMixer"), self.at(window, 0))

    def test_a_root_that_is_no_dictionary_has_no_keys(self):
        self.write_table(["kMixer", "Mixer"])
        self.open_front("kMixer Mixer")
        self.assertIsNone(self.target("kMixer", "Mixer"))


class GermanTargetsTest(DaemonTest):
    def test_the_file_of_the_language(self):
        self.session.write_data("Zynwerks/German.plist", plistlib.dumps({"kMixer": "Mischpult"}))
        self.start(LANGUAGE="de")
        window = self.open_in_front("Mischpult")[0]
        found = self.ask(self.client(), "ZTWP", records=[record("kMixer")])
        self.assertEqual(found, {"targetIndex": 0} | self.place(window))


class MissingAlternateTest(DaemonTest):
    def test_it_ends_the_daemon_without_a_goodbye(self):
        self.start()
        self.open_in_front("Mixer")
        sender = self.client()
        with self.assertRaises(client.PortError) as raised:
            self.ask(sender, "ZTWP", records=[record("Mixer", "No such")])
        self.assertEqual(raised.exception.status, client.BECAME_INVALID)
        self.assertLess(self.daemon.process.wait(timeout=PATIENCE), 0)
        self.expect_nothing()
        with self.assertRaises(client.NoPort):
            client.Client(protocol.DRIVER_PORT, self.session.ports())
        # The next daemon takes the name that the dead one left.
        self.start_daemon()
        self.expect("KiCt", identity="KIVB")
        self.assert_answers()
