"""Runs the benchmark programs of a folder, merges what they report and prints it as a table."""

import json
import os
import pathlib
import platform
import subprocess
import sys

COLUMNS = "{:30} {:>9} {:>9} {:>3} {:>11} {:>11} {:>11} {:>11}"


def machine():
    """The facts of the machine that the figures depend on."""
    processor = "unknown"
    for line in pathlib.Path("/proc/cpuinfo").read_text().splitlines():
        if line.startswith("model name"):
            processor = line.split(":", 1)[1].strip()
            break
    return {"processor": processor, "cores": os.cpu_count(), "kernel": platform.release(),
            "load": pathlib.Path("/proc/loadavg").read_text().split()[0]}


# Two processes that take turns: on two cores most of a round trip is the wake-up of the other core,
# for whichever of the two measurements the scheduler happens to spread.
ON_ONE_CORE = {"bench-ports"}


def measure(program):
    print(f"==> {program.name}", file=sys.stderr, flush=True)
    pin = ["taskset", "--cpu-list", "0"] if program.name in ON_ONE_CORE else []
    report = subprocess.run([*pin, program, "--json"], check=True, stdout=subprocess.PIPE)
    return json.loads(report.stdout)


def figure(value):
    return "" if value is None else f"{value:.4g}"


def row(key, result):
    """One comparison: at most the aim is reached, more is missed."""
    reached = result["ratio"] <= result["aim"]
    return COLUMNS.format(key, figure(result["ratio"]), figure(result["aim"]), "" if reached else "!",
                          *(figure(result.get(name)) for name in
                            ("p50_us", "p99_us", "floor_p50_us", "floor_p99_us")))


def main():
    folder, report = (pathlib.Path(argument) for argument in sys.argv[1:3])
    names = [f"bench-{name}" for name in sys.argv[3:]]
    programs = sorted(path for path in folder.glob("bench-*") if not names or path.name in names)
    if not programs:
        sys.exit(f"there is no benchmark of this name in {folder}")
    results = {}
    for program in programs:
        results |= measure(program)
    report.write_text(json.dumps({"machine": machine(), "results": results}, indent=2) + "\n")
    print(COLUMNS.format("key", "ratio", "aim", "", "p50 us", "p99 us", "floor p50", "floor p99"))
    for key, result in sorted(results.items()):
        print(row(key, result))
    print(f"({report}; ! marks a missed aim)")


if __name__ == "__main__":
    main()
