#!/usr/bin/env python3
"""Measures, reports and judges; see scripts/bench, which builds the programs first."""

import argparse
import datetime
import json
import os
import pathlib
import platform
import sys

import charts
import measure

# The greatest cost of the library, as a ratio to the floor. Counted where nothing else counts: in
# memory, 10,000 rows, -O2, no trace object.
BARS = {
    "insert": 1.06, "update-by-key": 1.06, "copy-table": 1.06, "upsert": 1.05,
    "delete-by-key": 1.03, "get-by-key": 1.03, "has-key": 1.03,
    "read-where-order": 1.06, "read-all": 1.20,
}
MEMORY_BAR, MEMORY_ROWS = 1.40, 100000
PAIR = ["floor", "library"]
COUNTED = PAIR + ["prepared"]
ROWS = 10000
GROWTH = 1.02  # by which a count may exceed the one in the baseline
SCALED = ["insert", "read-all", "get-by-key", "copy-table"]
SCALE_ROWS, SCALE_COLUMNS = [1000, 10000, 100000, 1000000], [5, 20, 200]
SCALE_BAR = 1.30  # from 10,000 rows to a million, over what the floor does
WIDE_ROWS = 2000
BASELINE = pathlib.Path(__file__).with_name("baseline.json")


def where_from():
    """What the figures depend on."""
    compiler = measure.run(["g++", "--version"]).splitlines()[0]
    sqlite = measure.run(["pkg-config", "--modversion", "sqlite3"]).strip()
    return f"{platform.machine()}, {compiler}, SQLite {sqlite}"


def by_workload(values, contestant, storage):
    return {workload: values[contestant, workload, storage]
            for workload in measure.WORKLOADS if (contestant, workload, storage) in values}


def ratios(values, storage, over="floor"):
    floor, library = by_workload(values, over, storage), by_workload(values, "library", storage)
    return {workload: library[workload] / floor[workload] for workload in library}


# Tables

def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def count_table(counts, storage):
    over_floor, over_prepared = ratios(counts, storage), ratios(counts, storage, "prepared")
    rows = []
    for workload in over_floor:
        rows.append([workload]
                    + [f"{counts[c, workload, storage]:,.0f}" for c in COUNTED]
                    + [f"**{over_floor[workload]:.3f}**",
                       f"{BARS[workload]:.2f}" if workload in BARS else "",
                       f"{over_prepared[workload]:.2f}"])
    return table(["instructions a row", "floor", "library", "prepared", "library / floor",
                  "at most", "library / prepared"], rows)


def time_table(times, storage):
    contestants = sorted({key[0] for key in times}, key=order)
    rows = [[workload] + [charts.number(times[c, workload, storage] * 1e6) for c in contestants]
            for workload in by_workload(times, "library", storage)]
    return table(["microseconds a row"] + [charts.name_of(c) for c in contestants], rows)


def order(contestant):
    return (COUNTED + [contestant]).index(contestant), contestant


# Reports

def report(into, rows, counts, times, memory):
    """Markdown, JSON and pictures."""
    storages = [s for s in measure.STORAGES if ("library", "insert", s) in counts]
    text = [f"# Speed and memory, {datetime.date.today()}\n",
            f"{where_from()}, {os.cpu_count()} processors, {rows:,} rows.\n"]
    for storage in storages:
        text += [f"## Instructions, {in_place(storage)}\n", count_table(counts, storage)]
    for storage in [s for s in measure.STORAGES if ("library", "insert", s) in times]:
        text += [f"## Times, {in_place(storage)}\n", time_table(times, storage)]
    text += ["## Memory\n", memory_words(memory)]
    (into / "report.md").write_text("\n".join(text), encoding="utf-8")

    def flat(values):
        return {"/".join(key): round(value, 9) for key, value in values.items()}
    (into / "report.json").write_text(json.dumps(
        {"from": where_from(), "rows": rows, "instructions": flat(counts),
         "seconds": flat(times), "bytes of a row read": memory}, indent=2) + "\n")

    charts.excess(into / "ratios.svg", "Instructions of the library beyond its floor",
                  f"in memory, {rows:,} rows; the marks are what is allowed",
                  ratios(counts, "memory"), BARS)
    for storage in {key[2] for key in times}:
        groups = {workload: {c: times[c, workload, storage] * 1e6
                             for c in sorted({key[0] for key in times}, key=order)}
                  for workload in by_workload(times, "library", storage)}
        charts.panels(into / f"times-{storage}.svg", f"Time a row, {in_place(storage)}",
                      "microseconds; shorter is better", groups, "µs")


def in_place(storage):
    return "in memory" if storage == "memory" else "on a file"


def memory_words(memory):
    ratio = memory["library"] / memory["floor"]
    return (f"A row read takes {memory['library']:.0f} bytes of the resident set, by the floor "
            f"{memory['floor']:.0f}: {ratio:.3f} (at most {MEMORY_BAR:.2f}).\n")


def where_picture(into, profiles, rows):
    shares = {workload: {key: value / rows for key, value in
                         profiles["library", workload, "memory"].shares().items()}
              for workload in measure.WORKLOADS}
    charts.stacks(into / "where.svg", "Where the instructions of the library's user go",
                  f"instructions a row, in memory, {rows:,} rows", shares,
                  ["compile", "run", "library", "program"])
    return shares


# Judgement

def over_bars(counts, memory):
    faults = []
    for storage in {key[2] for key in counts}:
        for workload, ratio in ratios(counts, storage).items():
            if ratio > BARS.get(workload, ratio):
                faults.append(f"{workload} {in_place(storage)} costs {ratio:.3f} of the floor, "
                              f"more than {BARS[workload]:.2f}")
    ratio = memory["library"] / memory["floor"]
    if ratio > MEMORY_BAR:
        faults.append(f"a row read takes {ratio:.3f} of the floor's memory, more than "
                      f"{MEMORY_BAR:.2f}")
    return faults


def over_baseline(counts, baseline):
    faults = []
    for workload, now in by_workload(counts, "library", "memory").items():
        before = baseline["instructions"][workload]
        if now > GROWTH * before:
            faults.append(f"{workload} has grown from {before:,} to {now:,.0f} instructions "
                          f"({(now / before - 1) * 100:+.1f} %)")
    if faults and baseline["from"] != where_from():
        faults.append(f"(the baseline is from {baseline['from']}; this is {where_from()})")
    if faults:
        faults.append("where that must be, say why: scripts/bench --accept WHY")
    return faults


def conclude(faults):
    for fault in faults:
        print(f"bench: {fault}", file=sys.stderr)
    sys.exit(1 if faults else 0)


# What scripts/bench does

def instructions(programs, contestants, storages, rows):
    profiles = measure.count(programs, contestants, measure.WORKLOADS, storages, rows)
    return profiles, {key: profile.total / rows for key, profile in profiles.items()}


def everything(programs, into, quick):
    rows = 1000 if quick else ROWS
    storages = ["memory"] if quick else measure.STORAGES
    profiles, counts = instructions(programs, COUNTED, storages, rows)
    times = measure.time(programs, programs.contestants(), storages, rows,
                         rounds=2 if quick else 5, seconds=0.02 if quick else 0.1)
    memory = measure.memory(programs, COUNTED, MEMORY_ROWS)
    report(into, rows, counts, times, memory)
    where_picture(into, profiles, rows)
    print((into / "report.md").read_text())
    print(f"written to {into}: report.md, report.json and pictures")
    conclude([] if quick else over_bars(counts, memory))


def check(programs):
    _, counts = instructions(programs, COUNTED, ["memory"], ROWS)
    memory = measure.memory(programs, PAIR, MEMORY_ROWS)
    print(count_table(counts, "memory"))
    print(memory_words(memory))
    conclude(over_bars(counts, memory) + over_baseline(counts, json.loads(BASELINE.read_text())))


def accept(programs, why):
    _, counts = instructions(programs, PAIR, ["memory"], ROWS)
    BASELINE.write_text(json.dumps(
        {"why": why, "from": where_from(), "rows": ROWS,
         "instructions": {workload: round(value) for workload, value in
                          by_workload(counts, "library", "memory").items()}}, indent=2) + "\n")
    print(f"accepted: {BASELINE}")


def scale(programs, into):
    """Costs a row over numbers of rows, and costs a cell over numbers of columns."""
    progress = measure.Progress((len(SCALED) + 1) * (len(SCALE_ROWS) + len(SCALE_COLUMNS)))
    by_rows, by_columns = grid(), grid()
    for rows in SCALE_ROWS:
        rounds = max(2, min(10, 100000 // rows))
        for workload in SCALED:
            progress.step(f"{workload} of {rows:,} rows")
            fill(by_rows[workload], rows,
                 measure.cost(programs, PAIR, workload, rows, 1, rounds), 1e6)
        progress.step(f"memory of {rows:,} rows")
        fill(by_rows["memory"], rows, measure.memory(programs, PAIR, rows), 1)
    for columns in SCALE_COLUMNS:
        for workload in SCALED:
            progress.step(f"{workload} of {columns} columns")
            fill(by_columns[workload], columns,
                 measure.cost(programs, PAIR, workload, WIDE_ROWS, columns // 5, 5), 1e6 / columns)
        progress.step(f"memory of {columns} columns")
        fill(by_columns["memory"], columns,
             measure.memory(programs, PAIR, WIDE_ROWS, columns // 5), 1 / columns)
    (into / "scale.json").write_text(json.dumps(
        {"from": where_from(), "microseconds or bytes a row": by_rows,
         "microseconds or bytes a cell": by_columns}, indent=2) + "\n")
    scale_pictures(into, by_rows, by_columns)
    faults = []
    for workload in SCALED:
        growth = {c: by_rows[workload][c][1000000] / by_rows[workload][c][10000] for c in PAIR}
        over = growth["library"] / growth["floor"]
        print(f"{workload}: a row of a million costs {growth['library']:.2f} times one of 10,000, "
              f"of the floor {growth['floor']:.2f} times: {over:.2f} (at most {SCALE_BAR:.2f})")
        if over > SCALE_BAR:
            faults.append(f"{workload} gets dearer with the rows than the floor does")
    print(f"written to {into}: scale.json and pictures")
    conclude(faults)


def grid():
    return {name: {c: {} for c in PAIR} for name in [*SCALED, "memory"]}


def fill(lines, position, values, factor):
    for contestant, value in values.items():
        lines[contestant][position] = value * factor


def scale_pictures(into, by_rows, by_columns):
    def of(groups, *names):
        return {name: groups[name] for name in names}
    charts.curves(into / "scale-rows.svg", "What a row costs, the more there are",
                  "processor time, in memory, 5 columns", of(by_rows, *SCALED), "µs a row", "rows")
    charts.curves(into / "scale-columns.svg", "What a cell costs, the more columns there are",
                  f"processor time, in memory, {WIDE_ROWS:,} rows", of(by_columns, *SCALED),
                  "µs a cell", "columns")
    charts.curves(into / "scale-memory.svg", "What a row that was read takes in memory",
                  "growth of the resident set, from a file; SQLite's page cache is part of it",
                  {"over rows of 5 columns": by_rows["memory"]}, "bytes a row", "rows", 1)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("programs", type=pathlib.Path, help="the folder of the programs")
    parser.add_argument("into", type=pathlib.Path, help="the folder of the results")
    mode = parser.add_mutually_exclusive_group(required=True)
    for name in ("full", "quick", "check", "scale"):
        mode.add_argument("--" + name, action="store_true")
    mode.add_argument("--accept", metavar="WHY")
    options = parser.parse_args()
    options.into.mkdir(parents=True, exist_ok=True)
    programs = measure.Programs(options.programs)
    try:
        if options.check:
            check(programs)
        elif options.scale:
            scale(programs, options.into)
        elif options.accept:
            accept(programs, options.accept)
        else:
            everything(programs, options.into, options.quick)
    except measure.Failure as failure:
        sys.exit(f"bench: {failure}")


if __name__ == "__main__":
    main()
