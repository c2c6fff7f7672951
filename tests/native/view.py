"""What a source finds when it is built for macOS: the frameworks' headers and its own folders, no
more. Both are laid out as links in the build folder."""

import os
import pathlib
import re
import shutil

ROOT = pathlib.Path(__file__).resolve().parents[2]
VIEW = ROOT / "build" / "native" / "view"
FRAMEWORKS = VIEW / "frameworks"
SOURCES = VIEW / "sources"

# What a program includes of a framework. All else is there for these alone.
UMBRELLAS = ["CoreFoundation/CoreFoundation.h", "CoreFoundation/CFCGTypes.h",
             "CoreServices/CoreServices.h", "CoreMIDI/CoreMIDI.h",
             "ApplicationServices/ApplicationServices.h"]

# All but platform/linux.
FOLDERS = ["PublicUtility", "ZYNCommon", "driver", "platform/macos", "tests", "tools"]


def included(header):
    """The frameworks' headers that come with one of them, itself first."""
    text = (ROOT / "platform" / "linux" / header).read_text()
    found = [header]
    for name in re.findall(r"#include <(\w+/\w+\.h)>", text):
        if (ROOT / "platform" / "linux" / name).exists():
            found += included(name)
    return found


def framework_headers():
    """The headers of platform/linux that stand for those of macOS, as <framework>/<header>."""
    return sorted({name for umbrella in UMBRELLAS for name in included(umbrella)})


def link(folder, name, target):
    place = folder / name
    place.parent.mkdir(parents=True, exist_ok=True)
    os.symlink(target, place)


def lay_out():
    """Makes both folders anew."""
    shutil.rmtree(VIEW, ignore_errors=True)
    for header in framework_headers():
        link(FRAMEWORKS, header, ROOT / "platform" / "linux" / header)
    for name in FOLDERS:
        link(SOURCES, name, ROOT / name)
    for header in (ROOT / "platform").glob("*.h"):
        link(SOURCES, f"platform/{header.name}", header)
