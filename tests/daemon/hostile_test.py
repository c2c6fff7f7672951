"""Clients that are broken or mean: while they do their worst others are served well."""

import contextlib
import os
import random
import resource
import socket
import stat
import statistics
import struct
import sys
import time
import traceback
import unittest

from kivo import client, frames, names, protocol
from support import PATIENCE, DaemonTest, await_true

POINTER = protocol.code("ZGlM")
# Of one answer, in seconds, on a machine that is busy with other tests.
BOUND = 2
ATTACK_SECONDS = 0.7
NOBODY = 65534
FEW_DESCRIPTORS = 256
# Of a frame's header: magic, version, kind, length.
WRONG_BYTES = [(0, 0), (1, ord("p")), (2, 0), (2, 2), (3, 0), (3, 3), (3, 4), (3, 255), (15, 8),
               (15, 255)]


class HostileBase(DaemonTest):
    """Each attack runs in a process of its own, again and again."""

    manager = False

    def setUp(self):
        super().setUp()
        self.start()
        self.screen.warp_pointer(7, 8)
        self.expected = struct.pack("<ii", 7, 8)
        self.sender = self.client()
        self.assertEqual(self.sender.ask(POINTER), self.expected)
        self.held = contextlib.ExitStack()

    def check(self, *attacks):
        """Others are served well during the attacks, and all is as before after them."""
        descriptors, memory = self.daemon.descriptors(), self.daemon.memory()
        children = [in_child(lambda attack=attack: self.repeat(attack)) for attack in attacks]
        self.ask_while_they_run(children)
        self.assert_answers(self.sender)
        await_true("the descriptors are closed",
                   lambda: self.daemon.descriptors() <= descriptors, PATIENCE)
        # The buffer of a long message is kept for a second.
        await_true("the memory is given back",
                   lambda: self.daemon.memory() < memory + (32 << 20), PATIENCE)
        before = self.daemon.cpu_seconds()
        self.expect_nothing(0.5)
        self.assertLess(self.daemon.cpu_seconds() - before, 0.2)

    def repeat(self, attack):
        end = time.monotonic() + ATTACK_SECONDS
        while time.monotonic() < end:
            attack()
            self.held.close()

    def ask_while_they_run(self, children):
        running = dict.fromkeys(children)
        seconds = []
        while running:
            seconds.append(self.time_one_answer())
            for child in children:
                if child in running and (status := os.waitpid(child, os.WNOHANG)) != (0, 0):
                    self.assertEqual(status[1], 0, "the attack went wrong")
                    del running[child]
        p99 = statistics.quantiles(seconds, n=100)[98]
        print(f"{len(seconds)} answers: p99 {p99 * 1000:.2f} ms, worst {max(seconds) * 1000:.2f} ms",
              file=sys.stderr)
        self.assertGreater(len(seconds), 4)

    def time_one_answer(self):
        started = time.monotonic()
        self.assertEqual(self.sender.ask(POINTER, b"", BOUND, BOUND), self.expected)
        return time.monotonic() - started

    # What attacks are made of.

    def connect(self):
        """A connection that is held until the round is over."""
        connection = client.connect(protocol.DRIVER_PORT, self.session.ports())
        connection.settimeout(PATIENCE)
        return self.held.enter_context(connection)

    def assert_ended(self, connection):
        """The daemon closes it, without a reply."""
        with contextlib.suppress(ConnectionError):
            self.assertEqual(connection.recv(1), b"")

    def question(self, payload=b"", conversation=1):
        return frames.pack(frames.WANTS_REPLY, conversation, POINTER, payload)


class HostileTest(HostileBase):
    def test_silent_connections(self):
        def attack():
            for _ in range(200):
                self.connect()
            time.sleep(0.1)
        self.check(attack)

    def test_500_connections_that_ask(self):
        def attack():
            connections = [self.connect() for _ in range(500)]
            for connection in connections:
                connection.sendall(self.question())
            for connection in connections:
                self.assertEqual(receive(connection, 24)[16:], self.expected)
            self.held.close()
            time.sleep(0.1)
        self.check(attack)

    def test_those_that_stop_in_the_middle_of_a_frame(self):
        whole = self.question(bytes(100))
        long = struct.pack("<2sBBIiI", b"KP", 1, 2, 1, POINTER, frames.LONGEST_PAYLOAD)

        def attack():
            for size in range(1, len(whole), 2):
                self.connect().sendall(whole[:size])
            for _ in range(50):
                self.connect().sendall(long + bytes(5000))
        self.check(attack)

    def test_one_byte_at_a_time(self):
        reply = frames.pack(frames.REPLY, 1, POINTER, self.expected)

        def attack():
            slow = self.connect()
            for byte in self.question(bytes(60)) * 2:
                slow.send(bytes([byte]))
                time.sleep(0.001)
            self.assertEqual(receive(slow, 2 * len(reply)), reply * 2)
        self.check(attack)

    def test_those_that_go_while_waiting(self):
        def attack():
            for _ in range(100):
                self.connect().sendall(self.question() * 3)
            self.held.close()
            time.sleep(0.1)
        self.check(attack)

    def test_frames_that_cannot_be(self):
        def attack():
            for at, value in WRONG_BYTES:
                frame = bytearray(self.question(b"1234"))
                frame[at] = value
                connection = self.connect()
                connection.sendall(frame)
                self.assert_ended(connection)
        self.check(attack)

    def test_random_bytes(self):
        chance = random.Random(13)

        def attack():
            connection = self.connect()
            with contextlib.suppress(BrokenPipeError):
                connection.sendall(chance.randbytes(chance.randint(16, 4000)))
            self.assert_ended(connection)
        self.check(attack)

    def test_large_messages(self):
        large = bytes(100 << 20)

        def attack():
            with client.Client(protocol.DRIVER_PORT, self.session.ports()) as sender:
                reply = sender.ask(POINTER, large, PATIENCE, PATIENCE)
                self.assertEqual(reply, self.expected)
        self.check(attack)

    def test_a_flood(self):
        """Of requests whose replies nobody reads, and of messages that want none."""
        def flood(frame):
            connection = self.connect()
            connection.settimeout(ATTACK_SECONDS)
            with contextlib.suppress(TimeoutError):
                connection.sendall(frame * 1000000)

        floods = (self.question(), frames.pack(frames.ONE_WAY, 0, POINTER),
                  frames.pack(frames.ONE_WAY, 0, protocol.code("ZTWP"), bytes(4)))
        self.check(*(lambda frame=frame: flood(frame) for frame in floods))

    @unittest.skipIf(os.geteuid() != 0, "only root can become another user")
    def test_another_user(self):
        """The folder keeps others out; where it does not, the credentials do."""
        path = self.open_to_everybody()

        def attack():
            become_nobody()
            with socket.socket(socket.AF_UNIX) as connection:
                connection.settimeout(PATIENCE)
                connection.connect(str(path))
                with contextlib.suppress(BrokenPipeError):
                    connection.sendall(self.question())
                self.assert_ended(connection)
        self.check(attack)

    def open_to_everybody(self):
        """Lets everybody reach the socket; returns its path."""
        folder = self.session.ports()
        path = folder / f"{names.file_stem(protocol.DRIVER_PORT)}.port"
        self.assertEqual(stat.S_IMODE(path.stat().st_mode), 0o600)
        self.assertEqual(stat.S_IMODE(folder.stat().st_mode), 0o700)
        path.chmod(0o666)
        while folder != self.session.folder.parent:
            folder.chmod(0o755)
            folder = folder.parent
        return path


class CrowdTest(HostileBase):
    """More clients than the daemon may have connections: the good one keeps its own."""

    def setUp(self):
        usual = resource.getrlimit(resource.RLIMIT_NOFILE)
        self.addCleanup(resource.setrlimit, resource.RLIMIT_NOFILE, usual)
        resource.setrlimit(resource.RLIMIT_NOFILE, (FEW_DESCRIPTORS, usual[1]))
        super().setUp()

    def crowd_in(self):
        for _ in range(2 * FEW_DESCRIPTORS):
            with client.connect(protocol.DRIVER_PORT, self.session.ports()) as connection:
                # One that finds no place is ended.
                with contextlib.suppress(BrokenPipeError):
                    connection.sendall(self.question() * 3)
        time.sleep(0.2)

    def test_too_many_connections(self):
        self.check(self.crowd_in)

    def test_no_descriptors_left(self):
        left = self.daemon.descriptors() + 20
        resource.prlimit(self.daemon.process.pid, resource.RLIMIT_NOFILE, (left, left))
        self.check(self.crowd_in)


def become_nobody():
    if os.geteuid() != NOBODY:
        os.setgroups([])
        os.setgid(NOBODY)
        os.setuid(NOBODY)


def in_child(work):
    """Does the work in a process of its own, which ends with status 0 if it worked out."""
    child = os.fork()
    if child == 0:
        try:
            work()
            os._exit(0)
        except BaseException:
            traceback.print_exc()
            os._exit(1)
    return child


def receive(connection, size):
    """So many bytes, or what comes until the end."""
    some = b""
    while len(some) < size and (more := connection.recv(size - len(some))):
        some += more
    return some
