"""Costs per row over numbers of rows, and costs per cell over numbers of columns."""

import functools

import charts
import measure
import report

WORKLOADS = ["insert", "read-all", "get-by-key", "copy-table"]
ROWS, COLUMNS = [1000, 10000, 100000, 1000000], [5, 20, 200]
COLUMNS_OF_AN_ITEM = 5
PAIRS = [("library", "floor"), ("statement", "prepared")]  # and what each may grow with
WIDE = ["floor", "library"]  # those that take more columns
BAR = 1.30  # from 10,000 rows to a million, over what the other does
WIDE_ROWS = 200
CELLS = 400000  # whose memory is measured, in rows of any width


def run(programs, into):
    """Measures, writes, and gives back what costs too much."""
    pairs = [pair for pair in PAIRS if pair[0] in programs.contestants]
    by_rows = over_rows(programs, [name for pair in pairs for name in pair])
    by_columns = over_columns(programs)
    report.write_json(into / "scale.json", {
        "from": programs.about(), "microseconds or bytes per row": by_rows,
        "instructions or bytes per cell": by_columns})
    pictures(into, by_rows, by_columns)
    text = (f"# Scale: {programs.about()}, in memory\n\n"
            + table("rows", "µs per row", by_rows) + "\n"
            + table("columns", "instructions per cell", by_columns))
    (into / "scale.md").write_text(text, encoding="utf-8")
    print(text)
    return [fault for pair in pairs for workload in WORKLOADS
            for fault in judge(workload, by_rows[workload], *pair)]


def empty(contestants):
    return {name: {c: {} for c in contestants} for name in [*WORKLOADS, "memory"]}


def over_rows(programs, contestants):
    """Processor time per row, and bytes."""
    lines = empty(contestants)
    progress = measure.Progress((len(WORKLOADS) + 1) * len(ROWS))
    for rows in ROWS:
        rounds = max(3, min(10, 100000 // rows))
        for workload in WORKLOADS:
            progress.step(f"{workload} of {rows:,} rows")
            costs = measure.cost(programs, contestants, workload, rows, rounds)
            for contestant, seconds in costs.items():
                lines[workload][contestant][rows] = seconds * 1e6
        progress.step(f"memory of {rows:,} rows")
        for contestant, size in measure.memory(programs, contestants, rows).items():
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


def judge(workload, lines, contestant, other):
    growth = {c: lines[c][1000000] / lines[c][10000] for c in (contestant, other)}
    over = growth[contestant] / growth[other]
    print(f"{workload}: a row of a million costs {contestant} {growth[contestant]:.2f} times one "
          f"of 10,000, {other} {growth[other]:.2f} times: {over:.2f} (at most {BAR:.2f})")
    if over > BAR:
        yield f"{workload} of {contestant} costs more with the rows than of {other}"


def table(axis, unit, lines):
    """The contestants side by side."""
    contestants = list(lines["memory"])
    rows = [["memory, bytes" if name == "memory" else name]
            + [" / ".join(charts.number(values[c][position]) for c in contestants)
               for position in values[contestants[0]]] for name, values in lines.items()]
    positions = lines["memory"][contestants[0]]
    return report.table([f"{unit}, {' / '.join(contestants)}"]
                        + [f"{position:,} {axis}" for position in positions], rows)


def pictures(into, by_rows, by_columns):
    def of(groups):
        return {name: groups[name] for name in WORKLOADS}
    charts.curves(into / "scale-rows.svg", "Does a row cost more among many?", of(by_rows),
                  "µs per row", "rows")
    charts.curves(into / "scale-columns.svg", "Does a cell cost more in a wide row?",
                  of(by_columns), "instructions per cell", "columns")
    charts.curves(into / "scale-memory.svg", "How much memory does a row that was read take?",
                  {"rows of 5 columns": by_rows["memory"]}, "bytes per row", "rows")
