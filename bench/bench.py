#!/usr/bin/env python3
"""Measures, reports and judges; see scripts/bench, which builds the programs first."""

import argparse
import functools
import json
import pathlib
import sys

import builds
import measure
import report
import scale
from measure import COUNTED, PAIR
from report import BARS, MEMORY_BAR, by_workload, in_place, ratios

ROWS, MEMORY_ROWS = 10000, 100000
GROWTH = 1.02  # by which a count may exceed the one in the baseline
BASELINE = pathlib.Path(__file__).with_name("baseline.json")
TRACED = ["insert", "get-by-key", "read-all"]
TRACE_LEVELS = {"no trace object": None, "level 7": 7, "level 8": 8, "level 9": 9}


# What scripts/bench does. Each gives back the faults that it found.

def everything(programs, into, quick):
    rows = 1000 if quick else ROWS
    storages = ["memory"] if quick else measure.STORAGES
    profiles = measure.count(programs.profile, COUNTED, storages, rows)
    counts = a_row({key: profile.total for key, profile in profiles.items()}, rows)
    times = measure.time(programs, programs.contestants(), storages, rows,
                         rounds=2 if quick else 5, seconds=0.02 if quick else 0.1)
    memory = measure.memory(programs, COUNTED, MEMORY_ROWS)
    traces = {} if quick else traced(programs, rows)
    report.write(into, programs.about(), rows, counts, times, report.shares_of(profiles, rows),
                 traces, memory)
    print((into / "report.md").read_text())
    print(f"written to {into}: report.md, report.json and pictures")
    return [] if quick else over_bars(counts) + over_memory_bar(memory)


def a_row(counts, rows):
    return {key: count / rows for key, count in counts.items()}


def traced(programs, rows):
    """Instructions a row of the library at the platform's trace levels, by workload."""
    profiles = measure.in_parallel({
        (workload, "traced", words): functools.partial(
            programs.profile, "library", workload, rows, level=level)
        for workload in TRACED for words, level in TRACE_LEVELS.items()})
    return {workload: {words: profiles[workload, "traced", words].total / rows
                       for words in TRACE_LEVELS} for workload in TRACED}


def check(programs):
    faults = []
    counts = a_row(measure.count(programs.instructions, COUNTED, ["memory"], ROWS), ROWS)
    print(f"{programs.about()}, {ROWS:,} rows in memory\n\n{report.count_table(counts, 'memory')}")
    if isinstance(programs, measure.Programs):  # an emulator's memory is not the target's
        memory = measure.memory(programs, PAIR, MEMORY_ROWS)
        print(report.memory_words(memory))
        faults = over_memory_bar(memory)
    return over_bars(counts) + faults + over_baseline(counts, programs.about())


def accept(programs, why):
    counts = a_row(measure.count(programs.instructions, PAIR, ["memory"], ROWS), ROWS)
    baseline = json.loads(BASELINE.read_text())
    baseline[machine_of(programs.about())] = {
        "why": why, "from": programs.about(), "rows": ROWS,
        "instructions": {workload: round(value) for workload, value in
                         by_workload(counts, "library", "memory").items()}}
    report.write_json(BASELINE, baseline)
    print(f"accepted: {BASELINE}")
    return over_bars(counts)


def machine_of(about):
    return about.split(",")[0]


# Judgement

def over_bars(counts):
    return [f"{workload} {in_place(storage)} costs {ratio:.3f} of the floor, "
            f"more than {BARS[workload]:.2f}"
            for storage in report.storages_of(counts)
            for workload, ratio in ratios(counts, storage).items()
            if ratio > BARS.get(workload, ratio)]


def over_memory_bar(memory):
    ratio = memory["library"] / memory["floor"]
    return [f"a row read takes {ratio:.3f} of the floor's memory, more than {MEMORY_BAR:.2f}"
            ] if ratio > MEMORY_BAR else []


def over_baseline(counts, about):
    baseline = json.loads(BASELINE.read_text()).get(machine_of(about))
    if baseline is None:
        return [f"{BASELINE} has no counts of {machine_of(about)}: scripts/bench --accept WHY"]
    faults = []
    for workload, now in by_workload(counts, "library", "memory").items():
        before = baseline["instructions"][workload]
        if now > GROWTH * before:
            faults.append(f"{workload} has grown from {before:,} to {now:,.0f} instructions "
                          f"({(now / before - 1) * 100:+.1f} %)")
    if faults and baseline["from"] != about:
        faults.append(f"(the baseline is from {baseline['from']}; this is {about})")
    if faults:
        faults.append("where that must be, say why: scripts/bench --accept WHY")
    return faults


def arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", type=pathlib.Path, help="the folder of the programs")
    parser.add_argument("into", type=pathlib.Path, help="the folder of the results")
    parser.add_argument("--emulator", help="the command that runs and counts the programs")
    mode = parser.add_mutually_exclusive_group(required=True)
    for name in ("full", "quick", "check", "scale"):
        mode.add_argument("--" + name, action="store_true")
    mode.add_argument("--accept", metavar="WHY")
    mode.add_argument("--sqlite", metavar="FOLDER", type=pathlib.Path)
    return parser.parse_args()


def faults_of(options):
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
