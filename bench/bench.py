"""Measures, reports and judges; see scripts/bench, which builds the programs first."""

import argparse
import functools
import pathlib
import sys

import bars
import builds
import measure
import page
import report
import scale
import tables

ROWS, MEMORY_ROWS, MANY_ROWS = 10000, 100000, 1000000
TRACED = ["insert", "get-by-key", "read-all"]
TRACE_LEVELS = {"no trace object": None, "7": 7, "8: statements": 8, "9: rows and times": 9}


# What scripts/bench does. Each gives back the faults that it found.

def everything(programs, into, quick):
    if quick:
        into /= "quick"  # the page takes nothing from there
        into.mkdir(exist_ok=True)
    rows = 1000 if quick else ROWS
    storages = ["memory"] if quick else measure.STORAGES
    profiles = measure.count(programs.profile, programs, storages, rows)
    counts = per_row({key: profile.total for key, profile in profiles.items()}, rows)
    times = measure.time(programs, storages, rows, rounds=2 if quick else 5,
                         seconds=0.02 if quick else 0.1)
    memory = memory_of(programs, MEMORY_ROWS)
    report.write(into, programs.about(), rows, counts, times, report.shares_of(profiles, rows),
                 {} if quick else traced(programs, rows), memory)
    print((into / "report.md").read_text())
    print(f"written to {into}: report.md, report.json and pictures")
    return [] if quick else bars.faults_of(counts) + bars.over_memory_bars(memory)


def per_row(counts, rows):
    return {key: count / rows for key, count in counts.items()}


def memory_of(programs, rows):
    """Bytes per row read. What keeps no rows reads more of them, so that a byte shows."""
    keeping = [name for name in ("floor", "library") if name in programs.contestants]
    passing = [name for name in ("prepared", *bars.COMPANION) if name in programs.contestants]
    return {**measure.memory(programs, keeping, rows),
            **measure.memory(programs, passing, MANY_ROWS)}


def traced(programs, rows):
    """Instructions per row of the library at the platform's trace levels, by workload."""
    profiles = measure.in_parallel({
        (workload, "traced", words): functools.partial(
            programs.profile, "library", workload, rows, level=level)
        for workload in TRACED for words, level in TRACE_LEVELS.items()})
    return {workload: {words: profiles[workload, "traced", words].total / rows
                       for words in TRACE_LEVELS} for workload in TRACED}


def counted(programs):
    return per_row(measure.count(programs.instructions, programs, ["memory"], ROWS), ROWS)


def check(programs):
    faults = []
    counts = counted(programs)
    on_target = isinstance(programs, measure.TargetPrograms)
    print(f"{programs.about()}, {ROWS:,} rows in memory\n")
    print(tables.count_tables(f"on {tables.MACHINES[on_target]}",
                              report.of_storage(counts, "memory"), on_target))
    if not on_target:  # an emulator's memory is not the target's
        memory = memory_of(programs, MEMORY_ROWS)
        print(tables.memory_table(memory))
        faults = bars.over_memory_bars(memory)
    return bars.faults_of(counts, on_target) + faults + bars.over_baseline(counts, programs.about())


def accept(programs, why):
    counts = counted(programs)
    bars.accept(counts, programs.about(), ROWS, why)
    print(f"accepted: {bars.BASELINE}")
    return bars.faults_of(counts, isinstance(programs, measure.TargetPrograms))


def write_page(into):
    """Of counts, what was accepted; of everything else, what was last measured."""
    report.pictures_of_counts(into, bars.accepted()[False])
    page.write(into)
    print(f"written: {page.PAGE} and {page.PICTURES}")
    return []


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", type=pathlib.Path, help="the folder of the programs")
    parser.add_argument("into", type=pathlib.Path, help="the folder of the results")
    parser.add_argument("--emulator", help="the command that runs and counts the programs")
    mode = parser.add_mutually_exclusive_group(required=True)
    for name in ("full", "quick", "check", "scale", "page"):
        mode.add_argument("--" + name, action="store_true")
    mode.add_argument("--accept", metavar="WHY")
    mode.add_argument("--sqlite", metavar="FOLDER", type=pathlib.Path)
    return parser.parse_args()


def faults_of(options):
    if options.page:
        return write_page(options.into)
    if options.emulator:
        programs = measure.TargetPrograms(options.programs, options.emulator)
    else:
        programs = measure.Programs(options.programs)
    if options.check:
        return check(programs)
    if options.accept:
        return accept(programs, options.accept)
    if options.scale:
        return scale.run(programs, options.into)
    if options.sqlite:
        return builds.run(programs, options.sqlite, options.into)
    return everything(programs, options.into, options.quick)


def main():
    options = arguments()
    options.into.mkdir(parents=True, exist_ok=True)
    try:
        faults = faults_of(options)
    except measure.Failure as failure:
        faults = [failure]
    for fault in faults:
        print(f"bench: {fault}", file=sys.stderr)
    sys.exit(1 if faults else 0)


if __name__ == "__main__":
    main()
