"""What was measured, as tables of Markdown."""

from bars import BULK_BAR, COMPANION, bar_of
from styles import STYLES, name_of

MACHINES = {False: "the host", True: "the target"}


def table(head, rows):
    lines = ["| " + " | ".join(head) + " |", "|---" + "|--:" * (len(head) - 1) + "|"]
    lines += ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join(lines) + "\n"


def grid(title, values, form):
    """Of values by row and column."""
    columns = next(iter(values.values()))
    return table([title, *map(name_of, columns)],
                 [[name] + [form(value) for value in row.values()] for name, row in values.items()])


def workloads_of(values):
    return list(dict.fromkeys(workload for _, workload in values))


def present(values, contestants):
    """Those that were measured, in the order of the charts."""
    there = {contestant for contestant, _ in values}
    return [contestant for contestant in contestants if contestant in there]


def value_table(unit, values, form):
    """Of values by contestant and workload."""
    contestants = present(values, STYLES)
    return table([unit, *map(name_of, contestants)],
                 [[workload] + [form(values[c, workload]) for c in contestants]
                  for workload in workloads_of(values)])


def cost_table(where, counts):
    return value_table(f"Instructions per row {where}", counts, "{:,.0f}".format)


# Ratios: of counts by contestant and workload, of one machine or of both. A machine is known by
# whether it is the target.

def floor_table(counts_of):
    return bar_table("Library / floor", counts_of, "floor", ["library", "library-by-name"])


def companion_table(counts_of):
    bulk = ratio_cell({on_target: (counts["statement", "insert-bulk"] / counts["prepared", "insert"],
                                   BULK_BAR) for on_target, counts in counts_of.items()})
    return bar_table("Companion / C API", counts_of, "prepared", COMPANION,
                     [["insert-bulk / insert", bulk, f"{BULK_BAR:.2f}", *[""] * 4]])


def bar_table(title, counts_of, over, contestants, more=()):
    """Each ratio, on each machine, and what it is to be at most."""
    machines = " / ".join(MACHINES[on_target] for on_target in counts_of)
    counts = next(iter(counts_of.values()))
    contestants = present(counts, contestants)
    head = [f"{title}, on {machines}"]
    for contestant in contestants:
        head += [name_of(contestant), "at most"]
    rows = []
    for workload in workloads_of(counts):
        rows.append([workload])
        for contestant in contestants:
            ratios = {on_target: (counts[contestant, workload] / counts[over, workload],
                                  bar_of(contestant, over, workload, on_target))
                      for on_target, counts in counts_of.items()}
            rows[-1] += [ratio_cell(ratios), bar_cell(ratios)]
    return table(head, [*rows, *more])


def ratio_cell(ratios):
    """What is above its bar is bold."""
    return " / ".join(f"**{ratio:.3f}**" if bar and ratio > bar else f"{ratio:.3f}"
                      for ratio, bar in ratios.values())


def bar_cell(ratios):
    bars = dict.fromkeys(f"{bar:.2f}" for _, bar in ratios.values() if bar)
    return " / ".join(bars)


def count_tables(where, counts, on_target=False):
    return "\n".join([cost_table(where, counts), companion_table({on_target: counts}),
                      floor_table({on_target: counts})])


def memory_table(memory):
    return grid("Memory", {"bytes per row read": memory}, "{:.2f}".format)
