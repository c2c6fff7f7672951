"""The kernel that the machine tests boot: Debian's stock one, unpacked beside the build.

Nothing of it is installed on this machine: the package is downloaded and taken apart.
"""

import lzma
import pathlib
import shutil
import subprocess
import tempfile

FOLDER = pathlib.Path(__file__).resolve().parents[3] / "build" / "machine"
GUEST = pathlib.Path(__file__).resolve().parents[1] / "guest"
PACKAGE = "linux-image-amd64"  # depends on the package of the present version

# What the kernel needs before it can read its root through 9p, in the order of their dependence.
EARLY_MODULES = [
    "drivers/virtio/virtio_ring.ko", "drivers/virtio/virtio.ko",
    "drivers/virtio/virtio_pci_modern_dev.ko", "drivers/virtio/virtio_pci_legacy_dev.ko",
    "drivers/virtio/virtio_pci.ko", "fs/netfs/netfs.ko", "fs/fscache/fscache.ko",
    "net/9p/9pnet.ko", "net/9p/9pnet_virtio.ko", "fs/9p/9p.ko", "fs/overlayfs/overlay.ko",
]
# The folders of modules that a guest may load from.
MODULE_FOLDERS = ["sound", "fs", "net/9p", "lib", "drivers/virtio", "drivers/usb", "drivers/hid",
                  "drivers/input", "drivers/char", "drivers/media/mc"]


class Unavailable(Exception):
    """The machine tests cannot be run here; the text says what is missing."""


def vmlinux():
    """The kernel as an ELF file, which QEMU starts without unpacking it first."""
    return FOLDER / "vmlinux"


def modules():
    """The folder lib/modules/VERSION."""
    return next((FOLDER / "lib" / "modules").iterdir())


def missing_programs():
    """What is to be installed for a guest to run, as a text, or None."""
    lacking = [name for name in ("qemu-system-x86_64", "busybox", "cpio") if shutil.which(name) is None]
    return f"{' and '.join(lacking)} not installed" if lacking else None


def missing():
    """What a run of the tests lacks, as a text, or None."""
    programs = missing_programs()
    if programs:
        return programs
    if not (FOLDER / "ready").exists():
        return "no kernel has been fetched"
    return None


def prepare():
    """Fetches and unpacks the kernel unless that has been done."""
    if (FOLDER / "ready").exists():
        return
    FOLDER.parent.mkdir(exist_ok=True)
    with tempfile.TemporaryDirectory(dir=FOLDER.parent, prefix="machine.") as scratch:
        folder = pathlib.Path(scratch)
        unpack(download(folder), folder)
        folder.chmod(0o755)
        (folder / "ready").touch()
        shutil.rmtree(FOLDER, ignore_errors=True)
        folder.rename(FOLDER)
        folder.mkdir()  # for the context manager to remove


def download(folder):
    """The kernel package, named by the package that always depends on the present one."""
    depends = run("apt-cache", "depends", "--no-recommends", "--no-suggests", PACKAGE)
    names = [line.split()[-1] for line in depends.splitlines() if "Depends: linux-image-" in line]
    if not names:
        raise Unavailable(f"apt knows no package {PACKAGE}: run `apt-get update`")
    run("apt-get", "download", names[0], cwd=folder)
    return next(folder.glob("*.deb"))


def unpack(package, folder):
    """Extracts the modules that tests use and the kernel, then removes the package."""
    tree = folder / "package"
    run("dpkg-deb", "--extract", package, tree)
    package.unlink()
    source = next((tree / "lib" / "modules").iterdir())
    target = folder / "lib" / "modules" / source.name
    for part in MODULE_FOLDERS:
        shutil.copytree(source / "kernel" / part, target / "kernel" / part)
    for listing in source.glob("modules.*"):
        shutil.copy(listing, target)
    run("/sbin/depmod", "--basedir", folder, source.name)
    image = next((tree / "boot").glob("vmlinuz-*")).read_bytes()
    compressed = image[image.index(b"\xfd7zXZ\x00"):]
    (folder / "vmlinux").write_bytes(lzma.LZMADecompressor().decompress(compressed))
    shutil.rmtree(tree)


def make_initrd(folder):
    """The initial ram disk, made in `folder`: a shell, the modules for 9p and the script that mounts
    the root. It takes a twentieth of a second, so it is made for each guest and is never stale."""
    root = folder / "initrd.root"
    for part in ("bin", "modules", "proc", "sys", "dev", "host", "cover", "root"):
        (root / part).mkdir(parents=True)
    shutil.copy(shutil.which("busybox"), root / "bin" / "busybox")
    shutil.copy(GUEST / "init", root / "init")
    for number, module in enumerate(EARLY_MODULES):
        shutil.copy(modules() / "kernel" / module, root / "modules" / f"{number:02}.ko")
    path = folder / "initrd"
    with path.open("wb") as archive:
        run("sh", "-c", "find . | cpio --quiet --create --format=newc", cwd=root, stdout=archive)
    return path


def run(*command, cwd=None, stdout=subprocess.PIPE):
    """Runs a command and returns what it printed; raises Unavailable when it fails."""
    words = [str(word) for word in command]
    try:
        done = subprocess.run(words, cwd=cwd, check=True, stdout=stdout, stderr=subprocess.PIPE)
    except FileNotFoundError as error:
        raise Unavailable(f"{words[0]} is not installed") from error
    except subprocess.CalledProcessError as error:
        raise Unavailable(f"`{' '.join(words)}` failed: {error.stderr.decode().strip()}") from error
    return (done.stdout or b"").decode()
