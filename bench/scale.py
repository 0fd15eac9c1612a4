"""Costs a row over numbers of rows, and costs a cell over numbers of columns."""

import charts
import measure
import report
from measure import PAIR

WORKLOADS = ["insert", "read-all", "get-by-key", "copy-table"]
ROWS, COLUMNS = [1000, 10000, 100000, 1000000], [5, 20, 200]
COLUMNS_OF_AN_ITEM = 5
BAR = 1.30  # from 10,000 rows to a million, over what the floor does
WIDE_ROWS = 2000


def run(programs, into):
    """Measures, writes, and gives back what costs too much."""
    progress = measure.Progress((len(WORKLOADS) + 1) * (len(ROWS) + len(COLUMNS)))
    by_rows, by_columns = empty(), empty()
    for rows in ROWS:
        rounds = max(2, min(10, 100000 // rows))
        add(by_rows, rows, 1, progress, f"of {rows:,} rows", programs, rows, 1, rounds)
    for columns in COLUMNS:
        add(by_columns, columns, columns, progress, f"of {columns} columns", programs, WIDE_ROWS,
            columns // COLUMNS_OF_AN_ITEM, 5)
    report.write_json(into / "scale.json", {
        "from": programs.about(), "microseconds or bytes a row": by_rows,
        "microseconds or bytes a cell": by_columns})
    pictures(into, by_rows, by_columns)
    print(table("rows", by_rows), table("columns", by_columns), sep="\n")
    return [fault for workload in WORKLOADS for fault in judge(workload, by_rows[workload])]


def empty():
    return {name: {c: {} for c in PAIR} for name in [*WORKLOADS, "memory"]}


def add(lines, position, divisor, progress, words, programs, rows, items, rounds):
    """Measures everything once, for one place of the horizontal axis."""
    for workload in WORKLOADS:
        progress.step(f"{workload} {words}")
        for contestant, seconds in measure.cost(programs, PAIR, workload, rows, items,
                                                rounds).items():
            lines[workload][contestant][position] = seconds * 1e6 / divisor
    progress.step(f"memory {words}")
    for contestant, size in measure.memory(programs, PAIR, rows, items).items():
        lines["memory"][contestant][position] = size / divisor


def judge(workload, lines):
    growth = {c: lines[c][1000000] / lines[c][10000] for c in PAIR}
    over = growth["library"] / growth["floor"]
    print(f"{workload}: a row of a million costs {growth['library']:.2f} times one of 10,000, "
          f"of the floor {growth['floor']:.2f} times: {over:.2f} (at most {BAR:.2f})")
    if over > BAR:
        yield f"{workload} gets dearer with the rows than the floor does"


def table(axis, lines):
    """Library and floor, side by side."""
    positions = list(lines["memory"]["floor"])
    unit = "row" if axis == "rows" else "cell"
    rows = [[f"{name}, {'bytes' if name == 'memory' else 'µs'} a {unit}"]
            + [f"{charts.number(pair['library'][p])} / {charts.number(pair['floor'][p])}"
               for p in positions] for name, pair in lines.items()]
    return report.table(["library / floor"] + [f"{p:,} {axis}" for p in positions], rows)


def pictures(into, by_rows, by_columns):
    def of(groups, *names):
        return {name: groups[name] for name in names}
    charts.curves(into / "scale-rows.svg", "What a row costs, the more there are",
                  "processor time, in memory, 5 columns", of(by_rows, *WORKLOADS), "µs a row",
                  "rows")
    charts.curves(into / "scale-columns.svg", "What a cell costs, the more columns there are",
                  f"processor time, in memory, {WIDE_ROWS:,} rows", of(by_columns, *WORKLOADS),
                  "µs a cell", "columns")
    charts.curves(into / "scale-memory.svg", "What a row that was read takes in memory",
                  "growth of the resident set, from a file; SQLite's page cache is part of it",
                  {"over rows of 5 columns": by_rows["memory"]}, "bytes a row", "rows", 1)
