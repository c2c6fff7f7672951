"""Reads every property list and strings file of the bundle as CMake lays it out for macOS: the lists by
libplist and by Python, which must agree, the strings by GNUstep's parser."""

import pathlib
import plistlib
import subprocess
import tempfile
import xml.parsers.expat as expat

import configuration


def files(extension):
    """The files of the bundle, and whatever else CMake lays out."""
    return sorted(configuration.FOLDER.rglob(f"*.{extension}"))


def by_libplist(path):
    """What libplist reads; none when it cannot. plistutil ends with status 0 whatever comes of it."""
    with tempfile.TemporaryDirectory() as folder:
        binary = pathlib.Path(folder) / "binary"
        subprocess.run(["plistutil", "-i", path, "-o", binary, "-f", "bin"], check=False,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        return plistlib.loads(binary.read_bytes()) if binary.exists() else None


def complaint_about_list(path):
    try:
        said = plistlib.loads(path.read_bytes())
    except (ValueError, plistlib.InvalidFileException, expat.ExpatError) as fault:
        return f"{path}: {fault}"
    read = by_libplist(path)
    if read is None:
        return f"{path}: libplist cannot read it"
    return None if read == said else f"{path}: libplist reads something else than what it says"


def complaint_about_strings(path):
    parser = subprocess.run(["sfparse", path], capture_output=True, text=True, check=False)
    return None if parser.returncode == 0 else f"{path}: {parser.stderr.strip()}"


def names_in_the_tree(extension):
    """What the bundle's files are called where they are written, templates without their ending."""
    written = [path for pattern in (f"*.{extension}", f"*.{extension}.in")
               for folder in ("driver", "packaging") for path in
               (configuration.ROOT / folder).rglob(pattern)]
    return {path.name.removesuffix(".in") for path in written}


def complaints():
    lists, strings = files("plist"), files("strings")
    for extension, found in ("plist", lists), ("strings", strings):
        missing = names_in_the_tree(extension) - {path.name for path in found}
        yield from (f"{name} is not in the bundle, so it was not read" for name in sorted(missing))
    yield from filter(None, map(complaint_about_list, lists))
    yield from filter(None, map(complaint_about_strings, strings))
