"""What the library and its companion may cost, as ratios to other contestants, counted where nothing
else counts: in memory, 10,000 rows, -O2, no trace object."""

import json
import pathlib

MEMORY_BAR = 1.40  # of the floor's, per row read
NO_MEMORY = 0.1  # bytes per row read, beyond the C API's
GROWTH = 1.02  # by which a count may exceed the one in the baseline
BASELINE = pathlib.Path(__file__).with_name("baseline.json")

# One bar for both machines, or one for the host and one for the target.
TYPED, CELLS, STRINGS = (1.03, 1.05), (1.07, 1.08), (1.25, 1.30)
BARS = {
    ("library", "floor"): {
        "insert": 1.06, "insert-bulk": 1.06, "update-by-key": 1.06, "copy-table": 1.06,
        "copy-to-database": 1.06, "upsert": 1.05, "delete-by-key": 1.03, "get-by-key": 1.03,
        "has-key": 1.03, "read-where-order": 1.06, "read-all": 1.20, "export": 1.25,
    },
    ("library-by-name", "floor"): {
        "insert": 1.08, "insert-bulk": 1.08, "update-by-key": 1.08, "copy-table": 1.06,
        "copy-to-database": 1.06, "upsert": 1.06, "delete-by-key": 1.03, "get-by-key": 1.04,
        "has-key": 1.03, "read-where-order": 1.12, "read-all": 1.28, "export": 1.40,
    },
    ("statement", "prepared"): {
        **dict.fromkeys(["insert", "insert-autocommit", "insert-bulk", "read-all",
                         "read-where-order", "export", "get-by-key", "update-by-key", "upsert",
                         "copy-table", "copy-to-database"], TYPED),
        "has-key": 1.03, "delete-by-key": 1.03,
    },
    ("writer", "prepared"): {
        **dict.fromkeys(["insert", "insert-autocommit", "update-by-key", "upsert"], CELLS),
        **dict.fromkeys(["read-all", "read-where-order", "get-by-key", "copy-to-database"],
                        STRINGS),
        "has-key": 1.03, "delete-by-key": 1.03,
    },
    ("record", "prepared"): {
        "insert": 1.45, "update-by-key": 1.40, "upsert": 1.40, "get-by-key": 1.45,
        "read-all": (2.2, 2.3),
    },
}
BULK_BAR = 0.75  # of inserting row by row with the C API
TARGET = "ppc"
COMPANION = ["statement", "writer", "record"]
NOISE = 1.001  # in which the same statement differs from itself, run by a peer
PEERS = ["sqlitecpp", "soci", "poco-data", "qt-sql"]


def bar_of(contestant, over, workload, on_target=False):
    bar = BARS.get((contestant, over), {}).get(workload)
    return bar[on_target] if isinstance(bar, tuple) else bar


def faults_of(counts, on_target=False):
    """What costs too much, of counts by contestant, workload and storage."""
    return over_bars(counts, on_target) + over_bulk_bar(counts) + behind_peers(counts)


def over_bars(counts, on_target):
    faults = []
    for (contestant, over), workloads in BARS.items():
        for (one, workload, storage), count in counts.items():
            if one != contestant or workload not in workloads:
                continue
            ratio = count / counts[over, workload, storage]
            bar = bar_of(contestant, over, workload, on_target)
            if ratio > bar:
                faults.append(f"{workload} of {contestant}, in {storage}, costs {ratio:.3f} of "
                              f"{over}, more than {bar:.2f}")
    return faults


def over_bulk_bar(counts):
    return [f"insert-bulk, in {storage}, costs {count / counts['prepared', 'insert', storage]:.3f} "
            f"of row by row, more than {BULK_BAR:.2f}"
            for (contestant, workload, storage), count in counts.items()
            if (contestant, workload) == ("statement", "insert-bulk")
            and count > BULK_BAR * counts["prepared", "insert", storage]]


def behind_peers(counts):
    """The workloads in which a peer costs less than what is meant to be the quickest."""
    return [f"{workload} of {peer}, in {storage}, costs {count:,.0f} instructions, and of "
            f"statement {counts['statement', workload, storage]:,.0f}"
            for (peer, workload, storage), count in counts.items()
            if peer in PEERS and NOISE * count < counts.get(("statement", workload, storage), 0)]


def over_memory_bars(memory):
    """Of bytes per row read, by contestant."""
    faults = []
    ratio = memory["library"] / memory["floor"]
    if ratio > MEMORY_BAR:
        faults.append(f"a row read takes {ratio:.3f} of the floor's memory, "
                      f"more than {MEMORY_BAR:.2f}")
    if memory.get("statement", 0) > memory["prepared"] + NO_MEMORY:
        faults.append(f"a row read by statement takes {memory['statement']:.2f} bytes, "
                      f"and by the C API {memory['prepared']:.2f}")
    return faults


# The baseline: what all contestants cost when the library and its companion were last accepted.

def kept(counts):
    costs = {}
    for (contestant, workload, _), count in counts.items():
        costs.setdefault(contestant, {})[workload] = round(count)
    return costs


def accept(counts, about, rows, why):
    baseline = json.loads(BASELINE.read_text())
    baseline[machine_of(about)] = {"why": why, "from": about, "rows": rows,
                                   "instructions": kept(counts)}
    BASELINE.write_text(json.dumps(baseline, indent=2) + "\n")


def accepted():
    """Counts by contestant and workload, of the host and of the target."""
    return {machine == TARGET: {(contestant, workload): count
                                for contestant, workloads in entry["instructions"].items()
                                for workload, count in workloads.items()}
            for machine, entry in json.loads(BASELINE.read_text()).items()}


def over_baseline(counts, about):
    baseline = json.loads(BASELINE.read_text()).get(machine_of(about))
    if baseline is None:
        return [f"{BASELINE} has no counts of {machine_of(about)}: scripts/bench --accept WHY"]
    faults, missing, costs = [], [], kept(counts)
    for contestant in ["library", *COMPANION]:
        for workload, now in costs[contestant].items():
            before = baseline["instructions"].get(contestant, {}).get(workload)
            if before is None:
                missing.append(f"{workload} of {contestant}")
            elif now > GROWTH * before:
                faults.append(f"{workload} of {contestant} has grown from {before:,} to {now:,} "
                              "instructions per row")
    if missing:
        faults.append(f"{BASELINE.name} has no count of {', '.join(missing)}")
    if faults and baseline["from"] != about:
        faults.append(f"(the baseline is from {baseline['from']}; this is {about})")
    if faults:
        faults.append("if that must be, say why: scripts/bench --accept WHY")
    return faults


def machine_of(about):
    return about.split(",")[0]
