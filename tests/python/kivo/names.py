"""Where the port of a name is: the folder, the file, and the address for a socket call."""

import contextlib
import os
import pathlib
import stat

LONGEST_NAME = 128
LONGEST_STEM = 80
LONGEST_ADDRESS = 107
PLAIN = frozenset(b"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_-.")


class UnusableFolder(OSError):
    """The folder is not what it must be: then no port exists."""


def folder(environment=os.environ):
    """The folder of the ports for a process with this environment, whether or not it exists."""
    runtime = environment.get("XDG_RUNTIME_DIR", "")
    if runtime.startswith("/"):
        return pathlib.Path(runtime, "kivo-message-ports")
    uid = os.geteuid()
    runtime = pathlib.Path(f"/run/user/{uid}")
    if _is_private_folder(runtime):
        return runtime / "kivo-message-ports"
    return pathlib.Path(f"/tmp/kivo-message-ports-{uid}")


def check(path):
    """Refuses a folder in which somebody else could have put a socket."""
    if not _is_private_folder(path):
        raise UnusableFolder(f"{path} is not a folder of this user that is closed to others")


def _is_private_folder(path):
    try:
        found = os.lstat(path)
    except OSError:
        return False
    return (stat.S_ISDIR(found.st_mode) and found.st_uid == os.geteuid()
            and not found.st_mode & 0o077)


def file_stem(name):
    """The file name of a port's files without `.port` and `.lock`."""
    text = _cut(name.encode())
    if not text or 0 in text:
        raise ValueError(f"{name!r} is not a port name")
    stem = "".join(chr(byte) if byte in PLAIN and not (byte == ord(".") and at == 0)
                   else f"%{byte:02X}" for at, byte in enumerate(text))
    return stem if len(stem) <= LONGEST_STEM else f"{stem[:56]}~{_fnv1a(text):016x}"


def _cut(text):
    """At most 128 bytes, without tearing the last character."""
    return text[:LONGEST_NAME].decode(errors="ignore").encode()


def _fnv1a(text):
    result = 0xCBF29CE484222325
    for byte in text:
        result = (result ^ byte) * 0x100000001B3 % 2**64
    return result


@contextlib.contextmanager
def address(path):
    """What `bind` and `connect` take for a path, however long it is."""
    if len(os.fsencode(path)) <= LONGEST_ADDRESS:
        yield str(path)
        return
    descriptor = os.open(path.parent, os.O_PATH | os.O_DIRECTORY | os.O_CLOEXEC)
    try:
        yield f"/proc/self/fd/{descriptor}/{path.name}"
    finally:
        os.close(descriptor)
