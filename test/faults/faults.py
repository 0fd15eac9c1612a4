"""Injects every fault that a board can meet, and prints how the library handled it.

    scripts/faults --quick          a sample of every item, as before every change
    scripts/faults --full           every point of every item
    scripts/faults --list           the items
    scripts/faults --quick ITEM...  only these items
    scripts/faults ITEM --only P    one point of one item again

The table goes to standard output and, with the details and junit.xml, to build/faults/.
The exit status is 1 when anything failed.
"""

import argparse
import concurrent.futures
import os
import pathlib
import re
import subprocess
import sys
import time
from xml.sax.saxutils import escape, quoteattr

ROOT = pathlib.Path(__file__).resolve().parents[2]
OUT = ROOT / "build" / "faults"


class Item:
    """One line of test/faults/items: a name, where it runs, its command, and what it tries."""

    def __init__(self, line):
        self.name, self.where, self.command, self.title = re.split(r"\s*\|\s*", line.strip())

    def run(self, mode, only=None):
        command = self.command.split() + (["--only", only] if only else [mode])
        begin = time.monotonic()
        done = subprocess.run(command, cwd=ROOT, stdout=subprocess.PIPE, stderr=subprocess.STDOUT,
                              stdin=subprocess.DEVNULL, text=True, errors="replace", check=False)
        return Outcome(self, mode, done, time.monotonic() - begin)


class Outcome:
    """What one item saw."""

    def __init__(self, item, mode, done, seconds):
        self.item = item
        self.mode = mode
        self.seconds = seconds
        self.output = done.stdout
        self.cases = sum(int(n) for n in re.findall(r"^cases (\d+)$", done.stdout, re.M))
        self.checks = sum(int(n) for n in re.findall(r"^checks (\d+)$", done.stdout, re.M))
        self.figures = re.findall(r"^figure (.*)$", done.stdout, re.M)
        self.failures = re.findall(r"^failure (\S+): (.*)$", done.stdout, re.M)
        if done.returncode not in (0, 1) or (done.returncode == 1) != bool(self.failures):
            self.failures.append(("-", f"ended with exit status {done.returncode}"))
        if not self.cases:
            self.failures.append(("-", "tried nothing"))

    def repeat(self, point):
        suffix = self.mode if point == "-" else f"--only {point}"
        return f"scripts/faults {self.item.name} {suffix}"


def items():
    lines = (ROOT / "test/faults/items").read_text().splitlines()
    return [Item(line) for line in lines if line.strip() and not line.startswith("#")]


def build(wanted):
    """Builds what the items need, through the script that knows how."""
    where = sorted({place for item in wanted for place in item.where.split(",")})
    done = subprocess.run(["test/faults/build", *where], cwd=ROOT, check=False)
    if done.returncode:
        sys.exit("faults: the build failed")


def table(outcomes):
    rows = [("item", "cases", "checks", "failures", "time")]
    for outcome in outcomes:
        rows.append((outcome.item.title, f"{outcome.cases:,}", f"{outcome.checks:,}" if outcome.checks else "",
                     str(len(outcome.failures)), f"{outcome.seconds:.1f} s"))
        rows += [("    " + figure, "", "", "", "") for figure in outcome.figures]
    widths = [max(len(row[i]) for row in rows) for i in range(5)]
    return "\n".join(
        "  ".join([row[0].ljust(widths[0]), *map(str.rjust, row[1:], widths[1:])]).rstrip()
        for row in rows)


def junit(outcomes):
    lines = ['<?xml version="1.0" encoding="UTF-8"?>', '<testsuites name="faults">']
    for outcome in outcomes:
        lines.append(f"  <testsuite name={quoteattr(outcome.item.name)} "
                     f'tests="{max(outcome.cases, 1)}" failures="{len(outcome.failures)}" '
                     f'time="{outcome.seconds:.3f}">')
        if not outcome.failures:
            lines.append(f"    <testcase name={quoteattr(outcome.item.title)}/>")
        for point, what in outcome.failures:
            lines.append(f"    <testcase name={quoteattr(point)}><failure message={quoteattr(what)}>"
                         f"{escape(outcome.repeat(point))}</failure></testcase>")
        lines.append("  </testsuite>")
    return "\n".join(lines + ["</testsuites>"]) + "\n"


def run_all(wanted, mode):
    """Runs items side by side, and returns their outcomes."""
    OUT.mkdir(parents=True, exist_ok=True)
    outcomes = []
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count() or 1) as workers:
        # Those that take longest are last in the list, and start first.
        running = [workers.submit(item.run, mode) for item in reversed(wanted)]
        for future in reversed(running):
            outcome = future.result()
            outcomes.append(outcome)
            (OUT / f"{outcome.item.name}.log").write_text(outcome.output)
            print(f"{outcome.item.name}: {outcome.cases:,} cases, {len(outcome.failures)} failures, "
                  f"{outcome.seconds:.1f} s", file=sys.stderr, flush=True)
    return outcomes


def main():
    parser = argparse.ArgumentParser(prog="faults", usage=argparse.SUPPRESS, description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    mode = parser.add_mutually_exclusive_group()
    mode.add_argument("--quick", action="store_const", const="--quick", dest="mode")
    mode.add_argument("--full", action="store_const", const="--full", dest="mode")
    mode.add_argument("--only", metavar="POINT")
    mode.add_argument("--list", action="store_true")
    parser.add_argument("items", nargs="*", metavar="ITEM")
    args = parser.parse_args()

    known = {item.name: item for item in items()}
    unknown = [name for name in args.items if name not in known]
    if unknown:
        parser.error(f"no item {', '.join(unknown)}; there are: {', '.join(known)}")
    wanted = [known[name] for name in args.items] or list(known.values())
    if args.list:
        for item in wanted:
            print(f"{item.name:<16} {item.title}")
        return 0
    if args.only and len(args.items) != 1:
        parser.error("--only goes with one item")
    if not (args.mode or args.only):
        parser.error("say --quick or --full")

    build(wanted)
    if args.only:
        outcome = wanted[0].run("--quick", args.only)
        print(outcome.output, end="")
        return 1 if outcome.failures else 0

    outcomes = run_all(wanted, args.mode)
    text = table(outcomes)
    (OUT / "table.txt").write_text(text + "\n")
    (OUT / "junit.xml").write_text(junit(outcomes))
    print(text)

    failed = [(outcome, failure) for outcome in outcomes for failure in outcome.failures]
    for outcome, (point, what) in failed[:50]:
        print(f"\n{outcome.item.name} at {point}: {what}\n    repeat: {outcome.repeat(point)}")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
