"""How the daemon ends: SIGINT says good-bye and is status 0, whenever it comes."""

import random
import signal
import threading
import time

from kivo import client, protocol, records
from kivo.records import record
from support import PATIENCE, DaemonTest, await_true

GOODBYE = ("KiDC", {"identity": "KIVB"})


class EndingTest(DaemonTest):
    def told(self, seconds=0.05):
        """All that the control center is told, at most so long until the next; the daemon has
        ended."""
        told = []
        while (one := self.center.next(0.05 if GOODBYE in told else seconds)) is not None:
            told.append(one)
        return told

    def check_goodbye(self):
        """The daemon ended well and said so once, at the end."""
        self.assertEqual(self.daemon.process.wait(timeout=PATIENCE), 0)
        told = self.told(PATIENCE)
        self.assertEqual(told.count(GOODBYE), 1, told)
        self.assertEqual(told[-1], GOODBYE)
        return told

    def interrupt(self):
        self.daemon.process.send_signal(signal.SIGINT)

    def test_idle(self):
        self.start()
        self.interrupt()
        self.assertEqual(self.check_goodbye(), [GOODBYE])

    def test_during_the_start(self):
        self.start_center()
        chance = random.Random(3)
        deadline = time.monotonic() + 4
        ended = 0
        while time.monotonic() < deadline and ended < 40:
            self.start_daemon().await_handler()
            time.sleep(chance.choice([0, chance.uniform(0, 0.02), chance.uniform(0, 0.15)]))
            self.interrupt()
            told = self.check_goodbye()
            self.assertEqual(told[0], ("KiCt", {"identity": "KIVB"}))
            ended += 1
        self.assertGreater(ended, 5)

    def test_during_requests(self):
        self.start_center()
        self.open_windows("Mixer", class_name="Front")
        payload = protocol.encode("ZTWP", records=[record("No such")] * 2000)
        chance = random.Random(5)
        for _ in range(8):
            self.start_daemon()
            sender = self.client()
            for _ in range(chance.randint(1, 10)):
                sender.send(protocol.code("ZTWP"), payload)
            time.sleep(chance.uniform(0, 0.02))
            self.interrupt()
            self.check_goodbye()

    def test_during_a_burst_of_activations(self):
        self.start_center()
        windows = [self.open_windows(name, class_name=name).windows[0] for name in "AB"]
        chance = random.Random(9)
        for _ in range(6):
            self.start_daemon()
            self.expect("KiCt", identity="KIVB")
            end = time.monotonic() + chance.uniform(0.05, 0.4)
            while time.monotonic() < end:
                for window in windows:
                    self.screen.tell_manager(window, "_NET_ACTIVE_WINDOW", 2)
            self.interrupt()
            self.check_goodbye()

    def test_a_second_one_ends_at_once(self):
        """During a request that takes long the first waits for its end, the second does not."""
        self.start_center()
        self.open_windows(*(f"{at}" * 40 for at in range(30)), class_name="Front")
        self.start_daemon()
        sender = self.client()
        while self.expect_message("KiCt", "ZSLg", "KiFI") != {"bundleIdentifier": "Front"}:
            pass
        request = protocol.encode("ZTWP", records=[record("No such")] * records.MOST_RECORDS)
        answers = []
        asking = threading.Thread(target=self.ask_in_vain, args=(sender, request, answers))
        idle = self.daemon.cpu_seconds()
        asking.start()
        await_true("it works on the request", lambda: self.daemon.cpu_seconds() > idle + 0.05)
        self.interrupt()
        self.daemon.await_signals_taken()
        self.interrupt()
        self.assertEqual(self.daemon.process.wait(timeout=PATIENCE), 0)
        asking.join()
        self.assertEqual(answers, [client.BECAME_INVALID])
        self.assertEqual(self.told(), [])

    def ask_in_vain(self, sender, request, answers):
        try:
            answers.append(sender.ask(protocol.code("ZTWP"), request, PATIENCE, PATIENCE))
        except client.PortError as error:
            answers.append(error.status)

    def test_without_a_control_center(self):
        self.start_daemon()
        self.assert_answers()
        self.assertEqual(self.daemon.interrupt(), 0)

    def test_other_signals_end_it_without_a_word(self):
        self.start_center()
        for number in (signal.SIGTERM, signal.SIGKILL, signal.SIGHUP):
            self.start_daemon()
            self.expect("KiCt", identity="KIVB")
            self.assert_answers()
            self.assertEqual(self.daemon.end(number), -number)
            self.assertNotIn(GOODBYE, self.told())
