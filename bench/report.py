"""What was measured, as tables, as a report and as pictures."""

import datetime
import json
import os

import charts
from bars import BARS, COMPANION, MEMORY_BAR, PEERS, bar_of

PARTS = ["compile", "run", "library", "program"]


def workloads_of(values):
    return list(dict.fromkeys(key[1] for key in values))


def storages_of(values):
    return list(dict.fromkeys(key[2] for key in values))


def present(values, contestants, storage):
    """Those that were measured, in the order of the charts."""
    there = {key[0] for key in values if key[2] == storage}
    return [contestant for contestant in contestants if contestant in there]


def ratios(values, storage, contestant, over):
    return {workload: values[contestant, workload, storage] / values[over, workload, storage]
            for workload in workloads_of(values)}


# Tables

def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---" + "|---:" * (len(head) - 1) + "|"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def value_table(unit, values, storage, form):
    contestants = present(values, charts.STYLES, storage)
    return table([unit, *map(charts.name_of, contestants)],
                 [[workload] + [form(values[c, workload, storage]) for c in contestants]
                  for workload in workloads_of(values)])


def ratio_table(counts, storage, over, contestants, on_target):
    """Each ratio is followed by its maximum."""
    def cell(contestant, workload):
        ratio = counts[contestant, workload, storage] / counts[over, workload, storage]
        bar = bar_of(contestant, over, workload, on_target)
        return f"**{ratio:.3f}** of {bar:.2f}" if bar else f"{ratio:.2f}"
    contestants = present(counts, contestants, storage)
    return table([f"ratio to {charts.name_of(over)}", *map(charts.name_of, contestants)],
                 [[workload] + [cell(c, workload) for c in contestants]
                  for workload in workloads_of(counts)])


def count_tables(counts, storage, on_target=False):
    return "\n".join([
        value_table("instructions per row", counts, storage, "{:,.0f}".format),
        ratio_table(counts, storage, "floor", ["library", "library-by-name"], on_target),
        ratio_table(counts, storage, "prepared", ["library", *COMPANION, *PEERS], on_target)])


def share_table(shares):
    return table(["instructions per row"] + [charts.name_of(key) for key in PARTS],
                 [[workload] + [f"{parts[key]:,.0f}" for key in PARTS]
                  for workload, parts in shares.items()])


def trace_table(traces):
    levels = list(next(iter(traces.values())))
    return table(["instructions per row"] + levels,
                 [[workload] + [f"{value:,.0f}" for value in values.values()]
                  for workload, values in traces.items()])


def memory_words(memory):
    words = "; ".join(f"{charts.name_of(name)} {size:.2f}" for name, size in memory.items())
    return (f"Bytes of the resident set per row read: {words}. The library takes "
            f"{memory['library'] / memory['floor']:.3f} of the floor's (at most {MEMORY_BAR:.2f}).\n")


# The whole

def shares_of(profiles, rows):
    """Instructions per row of the library's user, by workload and part."""
    return {workload: {key: value / rows for key, value in
                       profiles["library", workload, "memory"].shares().items()}
            for workload in workloads_of(profiles)}


def write(into, about, rows, counts, times, shares, traces, memory):
    """Markdown, JSON and pictures."""
    text = [f"# Speed and memory, {datetime.date.today()}\n",
            f"{about}, {os.cpu_count()} processors, {rows:,} rows.\n"]
    for storage in storages_of(counts):
        text += [f"## Instructions, {storage}\n", count_tables(counts, storage)]
    for storage in storages_of(times):
        text += [f"## Times, {storage}\n", value_table(
            "microseconds per row", times, storage, lambda value: charts.number(value * 1e6))]
    text += ["## Where the instructions go, in memory\n", share_table(shares)]
    if traces:
        text += ["## Trace levels, in memory\n", trace_table(traces)]
    text += ["## Memory\n", memory_words(memory)]
    (into / "report.md").write_text("\n".join(text), encoding="utf-8")
    write_json(into / "report.json", {
        "from": about, "rows": rows, "instructions": flat(counts), "seconds": flat(times),
        "parts": shares, "trace levels": traces, "bytes of a row read": memory})
    pictures(into, counts, times, shares)


def flat(values):
    return {"/".join(key): round(value, 9) for key, value in values.items()}


def write_json(path, values):
    path.write_text(json.dumps(values, indent=2) + "\n", encoding="utf-8")


def pictures(into, counts, times, shares):
    def by_workload(values, storage, of_value):
        contestants = present(values, [c for c in charts.STYLES if c != "library-by-name"], storage)
        return {workload: {c: of_value(c, workload) for c in contestants}
                for workload in workloads_of(values)}
    charts.dots(into / "overview.svg", "What does a row cost, beside the C API?",
                by_workload(counts, "memory", lambda c, w: counts[c, w, "memory"]
                            / counts["prepared", w, "memory"]),
                "instructions, as a multiple of the C API's")
    charts.excess(into / "ratios.svg", "How far is the library from its floor?",
                  ratios(counts, "memory", "library", "floor"), BARS["library", "floor"],
                  ratios(counts, "memory", "library-by-name", "floor"))
    charts.stacks(into / "where.svg", "Where do the instructions of a call go?", shares, PARTS,
                  "instructions per row, in memory")
    for storage, words in (("memory", "in memory"), ("file", "on a file")):
        if storage in storages_of(times):
            charts.dots(into / f"times-{storage}.svg", f"How long does a row take, {words}?",
                        by_workload(times, storage, lambda c, w, s=storage: times[c, w, s] * 1e6),
                        "microseconds")
