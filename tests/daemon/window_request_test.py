"""ZWiP: the first window of the front application."""

from support import DaemonTest
from xsession import await_true


class WindowRequestTest(DaemonTest):
    def setUp(self):
        super().setUp()
        self.start()
        self.sender = self.client()

    def whole(self, title):
        return self.ask(self.sender, "ZWiP", title=title, partialMatch=False)

    def part(self, title):
        return self.ask(self.sender, "ZWiP", title=title, partialMatch=True)

    def test_a_whole_title_gets_the_first_window(self):
        mixer, edit = self.open_in_front("Mixer", "Edit")
        for title in ("Mixer", "Edit", "", "No window's title", "x" * 5000):
            self.assertEqual(self.whole(title), self.place(edit))
        self.screen.activate(mixer)
        self.assertEqual(self.whole("Edit"), self.place(mixer))

    def test_a_part_gets_none(self):
        self.open_in_front("Mixer", "Edit")
        for title in ("Mixer", "Mix", "Edit", "", "No window's title"):
            self.assertIsNone(self.part(title))

    def test_no_front_application(self):
        self.assertIsNone(self.whole("Mixer"))
        self.assertIsNone(self.part("Mixer"))

    def test_a_closed_window(self):
        mixer, edit = self.open_in_front("Mixer", "Edit")
        self.screen.destroy(edit)
        await_true("the window has gone", lambda: self.screen.managed() == [mixer])
        self.assertEqual(self.whole("Edit"), self.place(mixer))
        self.screen.destroy(mixer)
        await_true("the window has gone", lambda: not self.screen.managed())
        self.assertIsNone(self.whole("Edit"))

    def test_a_window_without_a_title(self):
        window, = self.open_in_front("")
        self.assertEqual(self.whole("Mixer"), self.place(window))

    def test_a_moved_window(self):
        window, = self.open_in_front("Mixer")
        self.screen.move(window, 300, 200)
        await_true("it has moved", lambda: self.screen.frame(window)[:2] == (300, 200))
        self.assertEqual(self.whole("Mixer"), self.place(window))

    def test_a_minimised_window_is_restored_and_made_main(self):
        mixer, edit = self.open_in_front("Mixer", "Edit")
        place = self.place(edit)
        self.screen.minimise(edit)
        self.screen.await_active(mixer)
        self.assertEqual(self.screen.stacking(), [edit, mixer])
        self.assertEqual(self.whole("Mixer"), place)
        self.assertFalse(self.screen.is_minimised(edit))
        self.assertEqual(self.screen.active(), edit)

    def test_all_windows_minimised(self):
        mixer, edit = self.open_in_front("Mixer", "Edit")
        places = {window: self.place(window) for window in (mixer, edit)}
        for window in places:
            self.screen.minimise(window)
        await_true("nobody is active", lambda: self.screen.active() == 0)
        first = self.screen.stacking()[0]
        self.assertEqual(self.whole("Mixer"), places[first])
        self.assertEqual(self.screen.active(), first)

    def test_windows_of_other_applications_are_left_alone(self):
        mixer, = self.open_in_front("Mixer")
        self.open_windows("Other", class_name="Other")
        self.screen.activate(mixer)
        self.assertEqual(self.whole("Other"), self.place(mixer))
        self.screen.await_active(mixer)
