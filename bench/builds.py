"""Costs of the library over builds of SQLite."""

import functools
import pathlib

import charts
import measure
import report
import styles
import tables

WORKLOADS = ["insert", "read-all", "get-by-key", "update-by-key", "delete-by-key"]
ROWS, ROUNDS = 10000, 5
LIST = pathlib.Path(__file__).with_name("sqlite-options")
PRESENT = "as installed"


def run(programs, folder, into):
    """Measures with the SQLite that is installed and with all that were built in `folder`."""
    builds = {PRESENT: programs}
    for name in names():
        if (folder / name).is_dir():
            builds[name] = programs.with_sqlite((folder / name / "lib").resolve())
    counts = counted(builds)
    times = timed(builds) if isinstance(programs, measure.Programs) else {}
    sizes = {name: (folder / name / "lib/libsqlite3.so.0").stat().st_size
             for name in builds if name != PRESENT}
    write(into, folder.name, programs, counts, times, sizes)
    return []


def names():
    """Debian's own options first, then those of the list."""
    lines = LIST.read_text().splitlines()
    return ["debian-options"] + [line.split()[0] for line in lines if line and line[0] != "#"]


def counted(builds):
    """Instructions per row, by build and workload."""
    counts = measure.in_parallel({
        (workload, "with", name): functools.partial(
            programs.instructions, "library", workload, ROWS)
        for name, programs in builds.items() for workload in WORKLOADS})
    return {name: {w: counts[w, "with", name] / ROWS for w in WORKLOADS} for name in builds}


def timed(builds):
    """The least microseconds of processor time per row, of rounds in which the builds take turns."""
    progress = measure.Progress(ROUNDS * len(builds))
    least = {name: {} for name in builds}
    for number in range(ROUNDS):
        for name, programs in builds.items():
            progress.step(f"times with {name}, round {number + 1}")
            for workload in WORKLOADS:
                seconds = programs.seconds("library", workload, ROWS)
                least[name][workload] = min(seconds * 1e6 / ROWS,
                                            least[name].get(workload, float("inf")))
    return least


def write(into, stem, programs, counts, times, sizes):
    where = tables.MACHINES[isinstance(programs, measure.TargetPrograms)]
    over_present = {name: {w: row[w] / counts[PRESENT][w] for w in WORKLOADS}
                    for name, row in counts.items()}
    text = [f"# Builds of SQLite: {programs.about()}, {ROWS:,} rows in memory\n",
            table(f"Build of SQLite, on {where}", over_present, "{:.2f}".format),
            table("instructions per row", counts, "{:,.0f}".format),
            tables.table(["build", "KiB of the library's file"],
                         [[name, f"{size / 1024:,.0f}"] for name, size in sizes.items()])]
    if times:
        text.append(table("microseconds per row", times, styles.number))
    charts.dots(into / f"{stem}.svg", "Which of SQLite's build options matter?", over_present,
                f"instructions per row, {PRESENT} = 1")
    (into / f"{stem}.md").write_text("\n".join(text), encoding="utf-8")
    report.write_json(into / f"{stem}.json", {
        "from": programs.about(), "instructions": counts, "microseconds": times, "bytes": sizes})
    print("\n".join(text))


def table(title, values, form):
    return tables.table([title, *WORKLOADS],
                        [[name] + [form(row[w]) for w in WORKLOADS] for name, row in values.items()])
