"""The build as CMake sets it up for macOS: what is compiled there, and with which words. Configured by
clang, which knows Apple's architectures, and without the headers of macOS, so it cannot be built."""

import json
import pathlib
import shlex
import shutil
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
FOLDER = ROOT / "build" / "native" / "darwin"


def configure():
    """Configures for macOS; ends the program with CMake's complaint if that fails."""
    clang = shutil.which("clang")
    libraries = subprocess.run(["clang", "-print-multiarch"], capture_output=True, text=True,
                               check=True).stdout.strip()
    (FOLDER / "sdk").mkdir(parents=True, exist_ok=True)
    result = subprocess.run(
        ["cmake", "-S", ROOT, "-B", FOLDER, "-G", "Ninja", "-Wno-dev",
         "-DCMAKE_SYSTEM_NAME=Darwin", f"-DCMAKE_OSX_SYSROOT={FOLDER / 'sdk'}",
         "-DCMAKE_OSX_ARCHITECTURES=arm64;x86_64", f"-DCMAKE_C_COMPILER={clang}",
         f"-DCMAKE_CXX_COMPILER={clang}++", f"-DCMAKE_OBJCXX_COMPILER={clang}++",
         "-DCMAKE_TRY_COMPILE_TARGET_TYPE=STATIC_LIBRARY", "-DCMAKE_INSTALL_NAME_TOOL=/bin/false",
         f"-DCMAKE_AR={shutil.which('ar')}", f"-DCMAKE_RANLIB={shutil.which('ranlib')}",
         f"-DGTest_DIR=/usr/lib/{libraries or 'x86_64-linux-gnu'}/cmake/GTest"],
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True, timeout=300, check=False)
    if result.returncode != 0:
        sys.exit(f"configuring for macOS failed:\n{result.stdout}")


def sources():
    """What is compiled for macOS: for each source, relative to the root, its -D words."""
    commands = json.loads((FOLDER / "compile_commands.json").read_text())
    paths = {pathlib.Path(command["file"]): command for command in commands}
    return {path.relative_to(ROOT).as_posix():
            [word for word in shlex.split(command["command"]) if word.startswith("-D")]
            for path, command in paths.items() if not path.is_relative_to(FOLDER)}
