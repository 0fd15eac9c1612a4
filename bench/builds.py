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


def jobs(builds, what):
    """The measurements of a kind, by build and workload."""
    return {(name, workload): functools.partial(getattr(programs, what), "library", workload, ROWS)
            for name, programs in builds.items() for workload in WORKLOADS}


def counted(builds):
    """Instructions per row, by build and workload."""
    counts = measure.in_parallel(jobs(builds, "instructions"))
    return {name: {w: counts[name, w] / ROWS for w in WORKLOADS} for name in builds}


def timed(builds):
    """Microseconds of processor time per row, by build and workload."""
    costs = measure.cost(jobs(builds, "seconds"), ROWS, ROUNDS)
    return {name: {w: costs[name, w] for w in WORKLOADS} for name in builds}


def write(into, stem, programs, counts, times, sizes):
    where = tables.MACHINES[isinstance(programs, measure.TargetPrograms)]
    over_present = {name: {w: row[w] / counts[PRESENT][w] for w in WORKLOADS}
                    for name, row in counts.items()}
    text = [f"# Builds of SQLite: {programs.about()}, {ROWS:,} rows in memory\n",
            tables.grid(f"Build of SQLite, on {where}", over_present, "{:.2f}".format),
            tables.grid("instructions per row", counts, "{:,.0f}".format),
            tables.grid("build", {name: {"KiB of the library's file": size / 1024}
                                  for name, size in sizes.items()}, "{:,.0f}".format)]
    if times:
        text.append(tables.grid("microseconds per row", times, styles.number))
    charts.dots(into / f"{stem}.svg", "Which of SQLite's build options matter?", over_present,
                f"instructions per row, {PRESENT} = 1")
    (into / f"{stem}.md").write_text("\n".join(text), encoding="utf-8")
    report.write_json(into / f"{stem}.json", {
        "from": programs.about(), "instructions": counts, "microseconds": times, "bytes": sizes})
    print("\n".join(text))
