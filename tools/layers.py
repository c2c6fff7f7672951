#!/usr/bin/env python3
"""Holds every #include of the product against the layers: which part may know which."""

import pathlib
import re
import sys

NAMES = {"platform", "CoreFoundation", "CoreServices", "CoreMIDI"}

# Each part with the parts whose headers it may include besides its own.
MAY_INCLUDE = {
    "driver": NAMES | {"ApplicationServices", "PublicUtility", "ZYNCommon"},
    "tools/kivoctl": NAMES | {"PublicUtility", "ZYNCommon"},
    "examples": {"platform", "CoreFoundation", "PublicUtility", "ZYNCommon"},
    "ZYNCommon": NAMES,
    "PublicUtility": {"CoreFoundation"},
    "platform/linux/ApplicationServices": {"platform", "CoreFoundation", "desktop", "keyboard"},
    "platform/linux/Workspace": {"platform", "CoreFoundation", "desktop", "keyboard", "Log"},
    "platform/linux/desktop": {"platform", "CoreFoundation"},
    "platform/linux/keyboard": {"platform", "CoreFoundation", "Log"},
    "platform/linux/CoreMIDI": {"platform", "CoreFoundation"},
    "platform/linux/CoreServices": {"platform", "CoreFoundation"},
    "platform/linux/Log": {"platform", "CoreFoundation"},
    "platform/linux/CoreFoundation": {"platform"},
    "platform/macos": NAMES | {"ApplicationServices"},
    "platform": {"CoreFoundation"},
}

# The folders that may include the headers of a library or of the kernel.
LIBRARIES = {
    "unicode": ["platform/linux/CoreFoundation"],
    "plist": ["platform/linux/CoreFoundation"],
    "alsa": ["platform/linux/CoreMIDI"],
    "xcb": ["platform/linux/desktop/x11", "platform/linux/keyboard"],
    "libevdev": ["platform/linux/keyboard/evdev"],
    "linux": ["platform/linux"],
}

SEAMS = re.compile(r"(Seams|CFRuntime|CollectionValues|LoopClock|WithoutExceptions)\.h$")
INCLUDE = re.compile(r'^\s*#\s*include\s+[<"]([^>"]+)[>"]', re.MULTILINE)
SYSTEM = re.compile(r"\b(__linux__|__APPLE__|__MACH__|_WIN32)\b")


def part_of(path):
    """The longest part that holds a file; None for what is in no part."""
    parents = [str(parent) for parent in path.parents]
    return next((parent for parent in parents if parent in MAY_INCLUDE), None)


def included(name):
    """The file that an include names, from one of the include folders; None for a system header."""
    for folder in ("", "platform", "platform/linux"):
        path = pathlib.Path(folder, name)
        if path.is_file():
            return path
    return None


def complaints(path):
    own, text = part_of(path), path.read_text()
    is_platform = path.parts[0] == "platform"
    if not is_platform and SYSTEM.search(text):
        yield "asks which operating system it is on"
    for name in INCLUDE.findall(text):
        other = included(name)
        library = LIBRARIES.get(name.split("/")[0]) if other is None else None
        if library and not any(str(path).startswith(folder) for folder in library):
            yield f"includes <{name}>, which only {' and '.join(library)} may"
        if other is None:
            continue
        if not is_platform and SEAMS.search(name):
            yield f"includes {name}, which is inside of the layer only"
        part = part_of(other)
        if part != own and part.removeprefix("platform/linux/") not in MAY_INCLUDE[own]:
            yield f"includes {name}: {own} may not know {part}"


def main():
    found = 0
    for part in MAY_INCLUDE:
        for path in sorted(pathlib.Path(part).rglob("*")):
            if path.suffix not in {".h", ".cpp", ".mm"} or part_of(path) != part:
                continue
            for complaint in complaints(path):
                print(f"{path}: {complaint}")
                found += 1
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
