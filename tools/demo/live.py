#!/usr/bin/env python3
"""Control center and daemon in the present session, until Ctrl-C: what `./run` does on a desktop.

Both run in sessions of their own, so that Ctrl-C does not reach them by itself: the daemon is
interrupted first, and its goodbye is still seen.
"""

import contextlib
import os
import shlex
import signal
import subprocess
import sys
import threading

from programs import DAEMON, KIVOCTL, interrupt


END_THE_SERVICE = ("launchctl kill SIGINT gui/$(id -u)/com.zynwerks.kivo.driver"
                   if sys.platform == "darwin" else "systemctl --user stop kivo-driver")


def refuse_a_second_daemon():
    status = subprocess.run([KIVOCTL, "status"], capture_output=True, check=False)
    if status.returncode == 0:
        sys.exit("error: a daemon is running already, and a second one would stay idle; end it first, "
                 f"for instance with: {END_THE_SERVICE}")


def start_control_center():
    """Starts it and returns when it owns its port, which its first line says."""
    center = subprocess.Popen([KIVOCTL, "listen"], stdout=subprocess.PIPE, text=True,
                              start_new_session=True)
    first = center.stdout.readline()
    if not first:
        sys.exit(center.wait())
    print(first, end="", flush=True)
    return center


def relay(center):
    """Prints what the control center tells, until Ctrl-C or until it ends."""
    for line in center.stdout:
        print(line, end="", flush=True)


def end_center_after(daemon, center):
    """Ends the control center when the daemon has ended, whoever ended it."""
    daemon.wait()
    center.send_signal(signal.SIGINT)


def main():
    signal.signal(signal.SIGTERM, signal.default_int_handler)
    refuse_a_second_daemon()
    command = shlex.quote(os.path.relpath(KIVOCTL))
    print(f"Ctrl-C ends; to ask from another terminal: {command} --help", flush=True)
    center = start_control_center()
    daemon = subprocess.Popen([DAEMON], start_new_session=True)
    threading.Thread(target=end_center_after, args=(daemon, center), daemon=True).start()
    with contextlib.suppress(KeyboardInterrupt):
        relay(center)
    if daemon.poll() is None:
        interrupt(daemon)
    relay(center)
    statuses = {"daemon": daemon.wait(), "control center": center.wait()}
    for name, status in statuses.items():
        if status:
            print(f"error: the {name} ended with status {status}", file=sys.stderr)
    return 1 if any(statuses.values()) else 0


if __name__ == "__main__":
    sys.exit(main())
