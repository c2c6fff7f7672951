"""The stages of a test run. Each builds what it needs and yields the outcomes of its tests."""

import concurrent.futures
import dataclasses
import os
import pathlib
import re
import subprocess
import sys
import typing

from outcome import Outcome, read_junit

JOBS = str(os.cpu_count() or 1)
ON_MACOS = sys.platform == "darwin"
# Addresses are not randomised: the sanitizers of clang 14 cannot work with as many random bits as
# newer kernels use.
WITH_FIXED_ADDRESSES = [] if ON_MACOS else ["setarch", "--addr-no-randomize"]
PRODUCT_FOLDERS = ["platform/linux", "PublicUtility", "ZYNCommon", "driver", "tools/kivoctl"]


class StageFailure(Exception):
    """What a stage needs could not be had; the text says what was being done."""


@dataclasses.dataclass(frozen=True)
class Stage:
    """Part of a test run. `run` takes a pattern of test names, or None for all of them."""
    name: str
    purpose: str
    run: typing.Callable


def run(*command, **options):
    """Runs a command with its output shown; returns whether it succeeded."""
    return subprocess.run([str(word) for word in command], check=False, **options).returncode == 0


def build(preset, *targets):
    """Configures and builds a preset: all of it, or the targets."""
    log = pathlib.Path("build") / f"{preset}.configure.log"
    log.parent.mkdir(exist_ok=True)
    with log.open("w") as output:
        configured = run("cmake", "--preset", preset, stdout=output, stderr=subprocess.STDOUT)
    if not configured:
        print(log.read_text(), flush=True)
        raise StageFailure(f"configuring the preset {preset} failed: see {log}")
    selection = ["--target", *targets] if targets else []
    if not run("cmake", "--build", "--preset", preset, "--parallel", JOBS, *selection):
        raise StageFailure(f"building the preset {preset} failed")


def ctest(stage, folder, pattern, *labels):
    """Runs the tests of a build folder and yields their outcomes; `labels` are CTest's options."""
    report = pathlib.Path.cwd() / "build" / f"{stage}.junit.xml"
    report.unlink(missing_ok=True)
    selection = ["--tests-regex", pattern] if pattern else []
    run(*WITH_FIXED_ADDRESSES, "ctest", "--test-dir", folder, "--parallel", JOBS,
        "--output-on-failure", "--no-tests=error", "--output-junit", report, *labels, *selection)
    if not report.exists():
        if pattern:
            return  # The tests of this name are in other stages; none at all fails in the end.
        raise StageFailure(f"ctest found no tests in {folder}")
    yield from read_junit(report, stage)


def command_outcome(name, *command):
    """A command as one test; it ends with status 77 if the machine cannot run it."""
    words = [str(word) for word in command]
    status = subprocess.run(words, check=False).returncode
    verdict = {0: "passed", 77: "skipped"}.get(status, "failed")
    return Outcome(name, verdict, "" if status == 0 else f"{' '.join(words)} ended with {status}")


def debug(pattern):
    build("debug")
    yield from ctest("debug", "build/debug", pattern, "--label-exclude", "machine")


def machine(pattern):
    # Guests take ten minutes in all: too long for the ordinary run.
    build("debug")
    yield from ctest("machine", "build/debug", pattern, "--label-regex", "machine")


def clang(_pattern):
    # The tests are built by clang for the sanitizers.
    build("clang", *(f"{folder}/all" for folder in PRODUCT_FOLDERS))
    yield Outcome("clang: build without warnings", "passed")


def sanitized(pattern):
    build("asan-ubsan")
    yield from ctest("asan-ubsan", "build/asan-ubsan", pattern)


def threads(pattern):
    build("tsan", "tests/contract/all")
    yield from ctest("tsan", "build/tsan/tests/contract", pattern)


def fuzz(_pattern):
    build("fuzz")
    targets = sorted(pathlib.Path("build/fuzz/bin").glob("fuzz-*"))
    # A search takes one processor.
    with concurrent.futures.ThreadPoolExecutor(int(JOBS)) as searches:
        yield from searches.map(
            lambda target: command_outcome(f"fuzz: {target.name}", "tools/fuzz", target), targets)


def lint(_pattern):
    checks = subprocess.run(["tools/lint", "--list"], check=True, capture_output=True, text=True)
    for check in checks.stdout.split():
        yield command_outcome(f"lint: {check}", "tools/lint", check)


def native(_pattern):
    checks = subprocess.run(["tests/native/run", "--list"], check=True, capture_output=True, text=True)
    for check in checks.stdout.split():
        yield command_outcome(f"native: {check}", "tests/native/run", check)


def install(_pattern):
    build("release")
    yield command_outcome("install: an installed prefix serves an author of a control center",
                          "tests/install/run")
    yield command_outcome("install: the service", "tests/install/service")


def demo(_pattern):
    build("release")
    yield command_outcome("demo: every answer is right", "tools/demo/demo.py")


ALL = [
    Stage("debug", "every test but those of the booted machine", debug),
    Stage("machine", "real keyboards and MIDI devices, in a booted machine", machine),
    Stage("clang", "the build by clang, warnings as errors", clang),
    Stage("asan-ubsan", "every test under the address and undefined-behaviour sanitizers", sanitized),
    Stage("tsan", "the platform layer's tests under the thread sanitizer", threads),
    Stage("fuzz", "the corpora, then a short run of each fuzz target", fuzz),
    Stage("lint", "formatting, static analysis, scripts", lint),
    Stage("native", "what can be proven of the build for macOS without a Mac", native),
    Stage("install", "the installed form and a control center built against it", install),
    Stage("demo", "the demonstration in a session of its own", demo),
]
if ON_MACOS:
    # The others need what a Debian has: X servers, QEMU, its compilers and checkers.
    ALL = [stage for stage in ALL if stage.name == "debug"]
ORDINARY = {"debug"}


def choose(names, everything):
    """The stages to run and the pattern of test names, from the words of the command line."""
    by_name = {stage.name: stage for stage in ALL}
    chosen = [by_name[name] for name in names if name in by_name]
    parts = [re.escape(name) for name in names if name not in by_name]
    if not chosen and any(name.startswith("machine.") for name in names):
        chosen = [by_name["machine"]]
    if not chosen:
        chosen = [stage for stage in ALL if everything or stage.name in ORDINARY]
    return chosen, "|".join(parts) or None
