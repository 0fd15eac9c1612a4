"""Costs per row over numbers of rows, and costs per cell over numbers of columns."""

import functools

import charts
import measure
import report
import tables
from styles import name_of, number

WORKLOADS = ["insert", "read-all", "get-by-key", "copy-table"]
ROWS, FEW, MANY = [1000, 10000, 100000, 1000000], 10000, 1000000
COLUMNS = [5, 20, 200]
COLUMNS_OF_AN_ITEM = 5
# By how much the growth of one, from few rows to many, may exceed that of the other.
BARS = {("library", "floor"): 1.30, ("statement", "prepared"): 1.10, ("writer", "prepared"): 1.10}
CONTESTANTS = ["floor", "library", "prepared", "statement", "writer"]
WIDE = ["floor", "library"]  # those that take more columns
WIDE_ROWS = 200
CELLS = 400000  # whose memory is measured, in rows of any width


def run(programs, into):
    """Measures, writes, and gives back what costs too much."""
    by_rows, by_columns = over_rows(programs), over_columns(programs)
    growth = {workload: {contestant: line[MANY] / line[FEW]
                         for contestant, line in by_rows[workload].items()}
              for workload in WORKLOADS}
    report.write_json(into / "scale.json", {
        "from": programs.about(), "microseconds or bytes per row": by_rows,
        "instructions or bytes per cell": by_columns})
    pictures(into, by_rows, by_columns)
    text = f"# Scale: {programs.about()}, in memory\n\n" + "\n".join([
        tables.grid(f"Time per row, {MANY:,} / {FEW:,} rows", growth, "{:.2f}".format),
        table("Microseconds per row", "rows", by_rows),
        table("Instructions per cell", "columns", by_columns)])
    (into / "scale.md").write_text(text, encoding="utf-8")
    print(text)
    return list(faults_of(growth))


def empty(contestants):
    return {name: {c: {} for c in contestants} for name in [*WORKLOADS, "memory"]}


def over_rows(programs):
    """Processor time per row, and bytes."""
    lines = empty(CONTESTANTS)
    for rows in measure.progress(ROWS):
        rounds = max(3, min(10, 100000 // rows))
        for workload in WORKLOADS:
            jobs = {c: functools.partial(programs.seconds, c, workload, rows) for c in CONTESTANTS}
            for contestant, microseconds in measure.cost(jobs, rows, rounds).items():
                lines[workload][contestant][rows] = microseconds
        for contestant, size in measure.memory(programs, CONTESTANTS, rows).items():
            lines["memory"][contestant][rows] = size
    return lines


def over_columns(programs):
    """Instructions per cell, and bytes."""
    lines = empty(WIDE)
    counts = measure.in_parallel({
        (contestant, workload, columns): functools.partial(
            programs.instructions, contestant, workload, WIDE_ROWS,
            items=columns // COLUMNS_OF_AN_ITEM)
        for columns in COLUMNS for workload in WORKLOADS for contestant in WIDE})
    for (contestant, workload, columns), count in counts.items():
        lines[workload][contestant][columns] = count / WIDE_ROWS / columns
    for columns in COLUMNS:
        sizes = measure.memory(programs, WIDE, CELLS // columns, columns // COLUMNS_OF_AN_ITEM)
        for contestant, size in sizes.items():
            lines["memory"][contestant][columns] = size / columns
    return lines


def faults_of(growth):
    for (contestant, other), bar in BARS.items():
        for workload, times in growth.items():
            over = times[contestant] / times[other]
            if over > bar:
                yield (f"{workload} of {contestant} grows {over:.2f} times as much with the rows as "
                       f"that of {other}, more than {bar:.2f}")


def table(unit, axis, lines):
    """The contestants side by side."""
    contestants = list(lines["memory"])
    positions = lines["memory"][contestants[0]]
    return tables.table(
        [f"{unit}, {' / '.join(map(name_of, contestants))}"]
        + [f"{position:,} {axis}" for position in positions],
        [["memory, bytes" if name == "memory" else name]
         + [" / ".join(number(values[c][position]) for c in contestants) for position in positions]
         for name, values in lines.items()])


def pictures(into, by_rows, by_columns):
    def over_few(lines):
        return {contestant: {rows: value / line[FEW] for rows, value in line.items()}
                for contestant, line in lines.items()}
    charts.curves(into / "scale-rows.svg", "Does a row cost more among many?",
                  {workload: over_few(by_rows[workload]) for workload in WORKLOADS},
                  f"time per row, among {FEW:,} = 1", "rows")
    charts.curves(into / "scale-columns.svg", "Does a cell cost more in a wide row?",
                  {workload: by_columns[workload] for workload in WORKLOADS},
                  "instructions per cell", "columns")
    charts.curves(into / "scale-memory.svg", "How much memory does a row take?",
                  {"read from a table of 5 columns": by_rows["memory"]}, "bytes per row", "rows")
