"""Runs the tests that were asked for and counts them: the body of ./test.

The last line printed is "N passed, N failed", with ", N skipped" if any were; the exit status is 1
when anything failed. Where skipping is not allowed a skipped test counts as failed, unless it is
listed in allowed-skips.txt with a reason.
"""

import argparse
import os
import pathlib
import sys
import time

import stages
from outcome import Outcome, allowed_skips, print_summary, without_skips


def parse_arguments():
    parser = argparse.ArgumentParser(prog="./test", description="Builds and runs the tests.")
    parser.add_argument("--all", action="store_true",
                        help="also the long ones: sanitizers, fuzzing, lint, install, demonstration")
    parser.add_argument("--list", action="store_true", help="print the stages and end")
    parser.add_argument("names", nargs="*", metavar="NAME",
                        help="only the stages of these names, or the tests whose names contain one")
    return parser.parse_args()


def run_stage(stage, pattern):
    """The outcomes of a stage; whatever goes wrong in it is one failed outcome more."""
    print(f"\n==> {stage.name}: {stage.purpose}", flush=True)
    started = time.monotonic()
    try:
        outcomes = list(stage.run(pattern))
    except stages.StageFailure as failure:
        outcomes = [Outcome(stage.name, "failed", str(failure))]
    print(f"==> {stage.name}: {time.monotonic() - started:.0f} s", flush=True)
    return outcomes


def main():
    arguments = parse_arguments()
    if arguments.list:
        for stage in stages.ALL:
            print(f"{stage.name:12} {stage.purpose}")
        return 0
    os.chdir(pathlib.Path(__file__).resolve().parents[2])
    chosen, pattern = stages.choose(arguments.names, arguments.all)
    outcomes = [outcome for stage in chosen for outcome in run_stage(stage, pattern)]
    if arguments.all or os.environ.get("CI") == "true":
        outcomes = without_skips(outcomes, allowed_skips())
    return print_summary(outcomes)


if __name__ == "__main__":
    sys.exit(main())
