"""Costs a row over numbers of rows, and costs a cell over numbers of columns."""

import functools

import charts
import measure
import report
from measure import PAIR

WORKLOADS = ["insert", "read-all", "get-by-key", "copy-table"]
ROWS, COLUMNS = [1000, 10000, 100000, 1000000], [5, 20, 200]
COLUMNS_OF_AN_ITEM = 5
BAR = 1.30  # from 10,000 rows to a million, over what the floor does
WIDE_ROWS = 200
CELLS = 400000  # whose memory is measured, in rows of any width


def run(programs, into):
    """Measures, writes, and gives back what costs too much."""
    by_rows, by_columns = over_rows(programs), over_columns(programs)
    report.write_json(into / "scale.json", {
        "from": programs.about(), "microseconds or bytes a row": by_rows,
        "instructions or bytes a cell": by_columns})
    pictures(into, by_rows, by_columns)
    text = (f"# Scale: {programs.about()}, in memory\n\n"
            + table("rows", "µs a row", by_rows) + "\n"
            + table("columns", "instructions a cell", by_columns))
    (into / "scale.md").write_text(text, encoding="utf-8")
    print(text)
    return [fault for workload in WORKLOADS for fault in judge(workload, by_rows[workload])]


def empty():
    return {name: {c: {} for c in PAIR} for name in [*WORKLOADS, "memory"]}


def over_rows(programs):
    """Processor time a row, and bytes."""
    lines = empty()
    progress = measure.Progress((len(WORKLOADS) + 1) * len(ROWS))
    for rows in ROWS:
        rounds = max(2, min(10, 100000 // rows))
        for workload in WORKLOADS:
            progress.step(f"{workload} of {rows:,} rows")
            for contestant, seconds in measure.cost(programs, PAIR, workload, rows,
                                                    rounds).items():
                lines[workload][contestant][rows] = seconds * 1e6
        progress.step(f"memory of {rows:,} rows")
        for contestant, size in measure.memory(programs, PAIR, rows).items():
            lines["memory"][contestant][rows] = size
    return lines


def over_columns(programs):
    """Instructions a cell, and bytes."""
    lines = empty()
    counts = measure.in_parallel({
        (contestant, workload, columns): functools.partial(
            programs.instructions, contestant, workload, WIDE_ROWS,
            items=columns // COLUMNS_OF_AN_ITEM)
        for columns in COLUMNS for workload in WORKLOADS for contestant in PAIR})
    for (contestant, workload, columns), count in counts.items():
        lines[workload][contestant][columns] = count / WIDE_ROWS / columns
    for columns in COLUMNS:
        sizes = measure.memory(programs, PAIR, CELLS // columns, columns // COLUMNS_OF_AN_ITEM)
        for contestant, size in sizes.items():
            lines["memory"][contestant][columns] = size / columns
    return lines


def judge(workload, lines):
    growth = {c: lines[c][1000000] / lines[c][10000] for c in PAIR}
    over = growth["library"] / growth["floor"]
    print(f"{workload}: a row of a million costs {growth['library']:.2f} times one of 10,000, "
          f"of the floor {growth['floor']:.2f} times: {over:.2f} (at most {BAR:.2f})")
    if over > BAR:
        yield f"{workload} gets dearer with the rows than the floor does"


def table(axis, unit, lines):
    """Library and floor, side by side."""
    positions = list(lines["memory"]["floor"])
    rows = [["memory, bytes" if name == "memory" else name]
            + [f"{charts.number(pair['library'][p])} / {charts.number(pair['floor'][p])}"
               for p in positions] for name, pair in lines.items()]
    return report.table([f"{unit}, library / floor"] + [f"{p:,} {axis}" for p in positions], rows)


def pictures(into, by_rows, by_columns):
    def of(groups, *names):
        return {name: groups[name] for name in names}
    charts.curves(into / "scale-rows.svg", "What a row costs, the more there are",
                  "processor time, in memory, 5 columns", of(by_rows, *WORKLOADS), "µs a row",
                  "rows")
    charts.curves(into / "scale-columns.svg", "What a cell costs, the more columns there are",
                  f"instructions, in memory, {WIDE_ROWS:,} rows", of(by_columns, *WORKLOADS),
                  "instructions a cell", "columns")
    charts.curves(into / "scale-memory.svg", "What a row that was read takes in memory",
                  "growth of the resident set, from a file; SQLite's page cache is part of it",
                  {"over rows of 5 columns": by_rows["memory"]}, "bytes a row", "rows", 1)
