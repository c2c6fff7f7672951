"""What a test came to, where it is read from, and how it is counted."""

import collections
import dataclasses
import fnmatch
import pathlib
import xml.etree.ElementTree

# Of so many failed tests the summary repeats so many lines: they are far above otherwise.
REPEATED_TESTS, REPEATED_LINES = 5, 80


@dataclasses.dataclass(frozen=True)
class Outcome:
    """One test: its name, 'passed', 'failed' or 'skipped', why it did not pass, what it printed."""
    name: str
    verdict: str
    reason: str = ""
    output: str = ""


def read_junit(path, stage):
    """The outcomes in a JUnit file as CTest writes it, named "stage: test"."""
    for case in xml.etree.ElementTree.parse(path).getroot().iter("testcase"):
        name = case.get("name").split("  # GetParam")[0]  # GoogleTest repeats the parameter there.
        yield Outcome(f"{stage}: {name}", *verdict_and_reason(case), case.findtext("system-out", ""))


def verdict_and_reason(case):
    """CTest's status "notrun" stands for a test that skipped itself and for a missing program."""
    status = case.get("status")
    skipped = case.find("skipped")
    message = skipped.get("message") if skipped is not None else ""
    if status == "run":
        return "passed", ""
    if status == "disabled":
        return "skipped", "disabled in the source"
    if status == "notrun" and message.startswith("SKIP_"):
        return "skipped", skip_reason(case.findtext("system-out") or message)
    return "failed", message


def skip_reason(output):
    """The text after GTEST_SKIP, which GoogleTest prints below "file:line: Skipped"."""
    lines = output.splitlines()
    for line, following in zip(lines, lines[1:]):
        if line.endswith(": Skipped"):
            return following.strip()
    return ""


def allowed_skips():
    """Patterns of the names that may be skipped even where skipping counts as failing."""
    lines = (pathlib.Path(__file__).parent / "allowed-skips.txt").read_text().splitlines()
    return [line.split(" -- ")[0].strip() for line in lines if line and not line.startswith("#")]


def without_skips(outcomes, allowed):
    """The same outcomes, with every skipped test counted as failed unless it is allowed."""
    return [Outcome(outcome.name, "failed", f"skipped, which is not allowed here: {outcome.reason}")
            if outcome.verdict == "skipped" and not any(
                fnmatch.fnmatchcase(outcome.name, pattern) for pattern in allowed)
            else outcome for outcome in outcomes]


def print_outputs(failed):
    """Repeats how the first of the failed tests ended."""
    for outcome in [outcome for outcome in failed if outcome.output][:REPEATED_TESTS]:
        print(f"\n==> {outcome.name}")
        print("\n".join(outcome.output.splitlines()[-REPEATED_LINES:]))


def print_summary(outcomes):
    """Prints what did not pass, then the count; returns the exit status."""
    counts = collections.Counter(outcome.verdict for outcome in outcomes)
    print_outputs([outcome for outcome in outcomes if outcome.verdict == "failed"])
    print()
    for outcome in outcomes:
        if outcome.verdict != "passed":
            print(f"{outcome.verdict}: {outcome.name}: {outcome.reason}".rstrip(": "))
    line = f"{counts['passed']} passed, {counts['failed']} failed"
    if counts["skipped"]:
        line += f", {counts['skipped']} skipped"
    print(line, flush=True)
    return 1 if counts["failed"] or not counts["passed"] else 0
