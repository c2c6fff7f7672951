"""ZGlM: where the pointer is."""

import subprocess

from support import DaemonTest

CORNERS_AND_BETWEEN = [(0, 0), (1279, 799), (0, 799), (1279, 0), (333, 222), (1, 1)]


class PointerTest(DaemonTest):
    def split_screen(self):
        """Two monitors side by side; the right one is the primary."""
        for name, geometry, output in (("left", "480/127x800/212+0+0", "screen"),
                                       ("*right", "800/212x800/212+480+0", "none")):
            subprocess.run(["xrandr", "--setmonitor", name, geometry, output],
                           env=self.session.environment, check=True)

    def test_it_is_followed(self):
        self.start()
        sender = self.client()
        for x, y in CORNERS_AND_BETWEEN:
            self.screen.warp_pointer(x, y)
            self.assertEqual(self.ask(sender, "ZGlM"), {"x": x, "y": y})

    def test_the_payload_is_ignored(self):
        self.start()
        self.screen.warp_pointer(7, 8)
        sender = self.client()
        for payload in (b"\0", b"\xff" * 7, bytes(1 << 20)):
            self.assertEqual(self.ask(sender, "ZGlM", payload), {"x": 7, "y": 8})

    def test_the_origin_is_the_primary_monitors(self):
        self.split_screen()
        self.start()
        self.check_the_origin(480)

    def test_monitors_that_change(self):
        self.start()
        self.check_the_origin(0)
        self.split_screen()
        self.check_the_origin(480)

    def check_the_origin(self, left):
        sender = self.client()
        for x, y in CORNERS_AND_BETWEEN:
            self.screen.warp_pointer(x, y)
            self.assertEqual(self.ask(sender, "ZGlM"), {"x": x - left, "y": y})
        window = self.open_windows("A window").windows[0]
        place = self.place(window)
        told = self.ask(sender, "ZWiP", title="", partialMatch=False)
        self.assertEqual(told, place | {"x": place["x"] - left})
