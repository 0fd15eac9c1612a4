"""What was measured, as tables, as a report and as pictures."""

import datetime
import json
import os

import charts
from measure import COUNTED, STORAGES, WORKLOADS

# The greatest cost of the library, as a ratio to the floor. Counted where nothing else counts: in
# memory, 10,000 rows, -O2, no trace object.
BARS = {
    "insert": 1.06, "update-by-key": 1.06, "copy-table": 1.06, "upsert": 1.05,
    "delete-by-key": 1.03, "get-by-key": 1.03, "has-key": 1.03,
    "read-where-order": 1.06, "read-all": 1.20,
}
MEMORY_BAR = 1.40


def by_workload(values, contestant, storage):
    return {workload: values[contestant, workload, storage]
            for workload in WORKLOADS if (contestant, workload, storage) in values}


def ratios(values, storage, over="floor"):
    floor, library = by_workload(values, over, storage), by_workload(values, "library", storage)
    return {workload: library[workload] / floor[workload] for workload in library}


def storages_of(values):
    return [storage for storage in STORAGES if ("library", "insert", storage) in values]


def in_place(storage):
    return "in memory" if storage == "memory" else "on a file"


def in_order(keys):
    return sorted({key[0] for key in keys}, key=lambda c: ((COUNTED + [c]).index(c), c))


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
    contestants = in_order(times)
    rows = [[workload]
            + [charts.number(times[c, workload, storage] * 1e6) for c in contestants]
            + [f"{ratios(times, storage, over)[workload]:.2f}" for over in ("floor", "prepared")]
            for workload in by_workload(times, "library", storage)]
    return table(["microseconds a row"] + [charts.name_of(c) for c in contestants]
                 + ["library / floor", "library / prepared"], rows)


def share_table(shares):
    return table(["instructions a row"] + [charts.name_of(key) for key in PARTS],
                 [[workload] + [f"{parts[key]:,.0f}" for key in PARTS]
                  for workload, parts in shares.items()])


def trace_table(traces):
    levels = list(next(iter(traces.values())))
    return table(["instructions a row"] + levels,
                 [[workload] + [f"{value:,.0f}" for value in values.values()]
                  for workload, values in traces.items()])


def memory_words(memory):
    ratio = memory["library"] / memory["floor"]
    return (f"A row read takes {memory['library']:.0f} bytes of the resident set, by the floor "
            f"{memory['floor']:.0f}: {ratio:.3f} (at most {MEMORY_BAR:.2f}).\n")


# The whole

PARTS = ["compile", "run", "library", "program"]


def shares_of(profiles, rows):
    """Instructions a row of the library's user, by workload and part."""
    return {workload: {key: value / rows for key, value in
                       profiles["library", workload, "memory"].shares().items()}
            for workload in WORKLOADS}


def write(into, about, rows, counts, times, shares, traces, memory):
    """Markdown, JSON and pictures."""
    text = [f"# Speed and memory, {datetime.date.today()}\n",
            f"{about}, {os.cpu_count()} processors, {rows:,} rows.\n"]
    for storage in storages_of(counts):
        text += [f"## Instructions, {in_place(storage)}\n", count_table(counts, storage)]
    for storage in storages_of(times):
        text += [f"## Times, {in_place(storage)}\n", time_table(times, storage)]
    text += ["## Where the instructions go, in memory\n", share_table(shares)]
    if traces:
        text += ["## Trace levels, in memory\n", trace_table(traces)]
    text += ["## Memory\n", memory_words(memory)]
    (into / "report.md").write_text("\n".join(text), encoding="utf-8")
    write_json(into / "report.json", {
        "from": about, "rows": rows, "instructions": flat(counts), "seconds": flat(times),
        "parts": shares, "trace levels": traces, "bytes of a row read": memory})
    pictures(into, rows, counts, times, shares)


def flat(values):
    return {"/".join(key): round(value, 9) for key, value in values.items()}


def write_json(path, values):
    path.write_text(json.dumps(values, indent=2) + "\n", encoding="utf-8")


def pictures(into, rows, counts, times, shares):
    charts.excess(into / "ratios.svg", "Instructions of the library beyond its floor",
                  f"in memory, {rows:,} rows; the marks are what is allowed",
                  ratios(counts, "memory"), BARS)
    charts.stacks(into / "where.svg", "Where the instructions of the library's user go",
                  f"instructions a row, in memory, {rows:,} rows", shares, PARTS)
    for storage in storages_of(times):
        groups = {workload: {c: times[c, workload, storage] * 1e6 for c in in_order(times)}
                  for workload in by_workload(times, "library", storage)}
        charts.panels(into / f"times-{storage}.svg", f"Time a row, {in_place(storage)}",
                      "microseconds; shorter is better", groups, "µs")
