#!/usr/bin/env python3
"""Lists the tests of this folder (`--list`), or runs the one that is named; status 77: skipped."""

import itertools
import pathlib
import sys
import unittest

HERE = pathlib.Path(__file__).resolve().parent
# The client from the documents, and the session that the demonstration has too.
FOLDERS = [HERE, HERE.parent / "python", HERE.parents[1] / "tools"]
SKIPPED = 77
# Of each log, when a test failed.
LAST_LINES = 20


def cases(suite):
    """The single tests in a suite of suites."""
    if isinstance(suite, unittest.TestCase):
        return [suite]
    return itertools.chain.from_iterable(map(cases, suite))


def list_tests():
    loader = unittest.TestLoader()
    found = loader.discover(HERE, pattern="*_test.py", top_level_dir=HERE)
    if loader.errors:
        sys.exit("\n".join(loader.errors))
    for case in cases(found):
        print(case.id())


def run_test(name):
    test, = cases(unittest.defaultTestLoader.loadTestsFromName(name))
    result = unittest.TextTestRunner(verbosity=2).run(test)
    if result.skipped:
        print(f"{name}: Skipped\n{result.skipped[0][1]}")
        return SKIPPED
    if result.wasSuccessful() and result.testsRun == 1:
        return 0
    for log, lines in getattr(test, "logs", {}).items():
        print(f"\n{log} ends with", *lines[-LAST_LINES:], sep="\n")
    return 1


def main():
    sys.path[:0] = [str(folder) for folder in FOLDERS]
    sys.dont_write_bytecode = True
    if sys.argv[1:] == ["--list"]:
        return list_tests()
    return run_test(sys.argv[1])


if __name__ == "__main__":
    sys.exit(main())
