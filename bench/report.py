"""What was measured, as a report and as pictures."""

import datetime
import json
import os

import charts
import tables
from bars import BARS, PEERS
from styles import STYLES, number

PARTS = ["compile", "run", "library", "program"]
WHOLE = "{:,.0f}".format


def of_storage(values, storage):
    """By contestant and workload alone."""
    return {key[:2]: value for key, value in values.items() if key[2] == storage}


def by_storage(values):
    """With what the storage is called."""
    storages = dict.fromkeys(key[2] for key in values)
    return {storage: ({"memory": "in memory", "file": "on a file"}[storage], of_storage(values, storage))
            for storage in storages}


def ratios_to(over, values, contestants):
    """By workload and contestant."""
    return {workload: {contestant: values[contestant, workload] / values[over, workload]
                       for contestant in contestants}
            for workload in tables.workloads_of(values)}


def shares_of(profiles, rows):
    """Instructions per row of the library's user, by workload and part."""
    return {workload: {part: profile.shares()[part] / rows for part in PARTS}
            for (contestant, workload, storage), profile in profiles.items()
            if (contestant, storage) == ("library", "memory")}


def write(into, about, rows, counts, times, shares, traces, memory):
    """Markdown, JSON and pictures."""
    text = [f"# Speed and memory, {datetime.date.today()}\n",
            f"{about}, {os.cpu_count()} processors, {rows:,} rows.\n"]
    for words, values in by_storage(counts).values():
        text += [f"## Instructions, {words}\n", tables.count_tables(words, values)]
    for words, values in by_storage(times).values():
        text += [f"## Times, {words}\n", tables.value_table(
            f"Microseconds per row {words}", values, lambda value: number(value * 1e6))]
    text += ["## Where the instructions go, in memory\n", tables.grid(
        "Instructions per row", shares, WHOLE)]
    if traces:
        text += ["## Trace levels, in memory\n", tables.grid(
            "Instructions per row, by trace level", traces, WHOLE)]
    text += ["## Memory\n", tables.memory_table(memory)]
    (into / "report.md").write_text("\n".join(text), encoding="utf-8")
    write_json(into / "report.json", {
        "from": about, "rows": rows, "instructions": flat(counts), "seconds": flat(times),
        "parts": shares, "trace levels": traces, "bytes of a row read": memory})
    pictures_of_counts(into, of_storage(counts, "memory"))
    pictures_of_times(into, times)
    charts.stacks(into / "where.svg", "Where do the instructions of a call go?", shares, PARTS,
                  "instructions per row, in memory")


def flat(values):
    return {"/".join(key): round(value, 9) for key, value in values.items()}


def write_json(path, values):
    path.write_text(json.dumps(values, indent=2) + "\n", encoding="utf-8")


def pictures_of_counts(into, counts):
    def over_floor(contestant):
        return {workload: ratio[contestant]
                for workload, ratio in ratios_to("floor", counts, [contestant]).items()}
    charts.dots(into / "overview.svg", "What does a row cost, next to the C API?",
                ratios_to("prepared", counts, shown(counts)),
                "instructions per row, C API = 1", PEERS)
    charts.excess(into / "ratios.svg", "How far is the library from its floor?",
                  over_floor("library"), BARS["library", "floor"], over_floor("library-by-name"))


def pictures_of_times(into, times):
    for storage, (words, values) in by_storage(times).items():
        charts.dots(into / f"times-{storage}.svg", f"How long does a row take {words}?",
                    ratios_to("prepared", values, shown(values)),
                    "time per row, C API = 1", PEERS)


def shown(values):
    return [contestant for contestant in tables.present(values, STYLES)
            if contestant not in ("floor", "library-by-name")]
