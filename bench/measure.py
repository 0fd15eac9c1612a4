"""Runs the programs of this folder, and gives back what they measure."""

import collections
import concurrent.futures
import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import tempfile

from tqdm import tqdm

from bars import PEERS

STORAGES = ["memory", "file"]
NO_DISK = "/dev/shm"  # for files whose cost is counted: instructions do not wait

# A count is the same on every machine of an architecture when the C library takes the same
# functions everywhere, whatever the processor could do, and binds them before the count begins.
STEADY = {
    "PATH": os.environ["PATH"],
    "LC_ALL": "C",
    "LD_BIND_NOW": "1",
    "GLIBC_TUNABLES": "glibc.cpu.hwcaps=" + ",".join(
        "-" + feature for feature in (
            "AVX AVX2 AVX512F AVX512VL AVX512BW ERMS FSRM BMI1 BMI2 RTM MOVBE LZCNT SSSE3 SSE4_1 "
            "SSE4_2 POPCNT AVX_Fast_Unaligned_Load Fast_Unaligned_Copy").split()),
}


# Shows at once on a terminal how far the work has come, and every minute in a file.
progress = functools.partial(tqdm, leave=False, mininterval=0.1 if sys.stderr.isatty() else 60)


class Failure(Exception):
    """A program that failed, with what it said."""


def run(command, stderr=subprocess.PIPE, **options):
    result = subprocess.run([str(part) for part in command], text=True, stdout=subprocess.PIPE,
                            stderr=stderr, **options)
    if result.returncode != 0:
        raise Failure(f"{' '.join(map(str, command))}\n{result.stdout}{result.stderr or ''}")
    return result.stdout


def listed(command, kind):
    return re.findall(rf"^{kind} (.*)$", run([*command, "--list"], env=STEADY), re.M)


class Programs:
    """The programs of one build."""

    def __init__(self, folder, environment=None):
        self.folder, self.environment = pathlib.Path(folder), environment or STEADY
        runner, with_peers = self.folder / "bench_run", self.folder / "bench_run_peers"
        self.workloads = listed([runner], "workload")
        # Those of the peers in a program apart: what counts is to run with any build of SQLite.
        self.runners = {name: program for program in (with_peers, runner) if program.exists()
                        for name in listed([program], "contestant")}
        self.contestants = list(self.runners)

    def with_sqlite(self, folder):
        """The same programs with the SQLite in a folder."""
        return Programs(self.folder, {**STEADY, "LD_LIBRARY_PATH": str(folder)})

    def about(self):
        """What all figures depend on."""
        return run([self.folder / "bench_run", "--about"], env=self.environment).strip()

    def seconds(self, contestant, workload, rows):
        """Processor time of the measured part, on a database in memory."""
        return float(run([self.folder / "bench_run", contestant, workload, ":memory:", rows],
                         env=self.environment))

    def memory(self, contestant, path, items=1):
        return int(run([self.folder / "bench_run", "--memory", contestant, path, items],
                       env=self.environment))

    def instructions(self, *arguments, **options):
        return self.profile(*arguments, **options).total

    def profile(self, contestant, workload, rows, storage="memory", items=1, level=None):
        """The measured part, counted by callgrind, with the platform's trace level."""
        with tempfile.TemporaryDirectory(prefix="sqlwrapper-bench-", dir=NO_DISK) as folder:
            out = pathlib.Path(folder, "callgrind.out")
            path = ":memory:" if storage == "memory" else pathlib.Path(folder, "bench.db")
            run(["valgrind", "--tool=callgrind", "--instr-atstart=no",
                 f"--callgrind-out-file={out}", self.runners[contestant], contestant, workload,
                 path, rows, items, *([] if level is None else [level])], env=self.environment)
            return Profile(out.read_text())


class TargetPrograms:
    """The same programs, built for the target and run by its emulator, which counts."""

    def __init__(self, folder, emulator):
        self.folder, self.emulator = folder, emulator
        self.command = [*emulator.split(), pathlib.Path(folder, "bench_run")]
        self.workloads = listed(self.command, "workload")
        self.contestants = listed(self.command, "contestant")

    def with_sqlite(self, folder):
        return TargetPrograms(self.folder, f"{self.emulator} -E LD_LIBRARY_PATH={folder}")

    def about(self):
        return run([*self.command, "--about"]).strip()

    def instructions(self, contestant, workload, rows, _storage="memory"):
        output = run([*self.command, contestant, workload, ":memory:", rows], env=STEADY,
                     stderr=subprocess.STDOUT)
        return int(re.search(r"^instructions: (\d+)$", output, re.M)[1])


class Profile:
    """What callgrind counted: in all, and across the borders of the shared objects."""

    NAME = re.compile(r"(c?(?:ob|fn))=\((\d+)\)(?: (.*))?")

    def __init__(self, text):
        self.total = int(re.search(r"^totals: (\d+)", text, re.M)[1])
        self.calls = collections.Counter()  # instructions below calls: (from object, to object)
        self.compiling = 0
        names = {"ob": {}, "fn": {}}
        place = {"ob": "", "fn": "", "cob": "", "cfn": ""}
        called = False
        for line in text.splitlines():
            match = self.NAME.match(line)
            if match:
                key, number, name = match.groups()
                table = names[key[-2:]]
                if name is not None:
                    table[number] = name
                place[key] = table[number]
                if key == "fn":
                    place["cob"] = place["ob"]
            elif line.startswith("calls="):
                called = True
            elif called:
                self._add_call(place, int(line.split()[-1]))
                place["cob"] = place["ob"]
                called = False

    def _add_call(self, place, instructions):
        caller, callee = self._part(place["ob"]), self._part(place["cob"])
        if caller != callee:
            self.calls[caller, callee] += instructions
        if place["cfn"] == "sqlite3_prepare_v2":
            self.compiling += instructions

    @staticmethod
    def _part(path):
        name = path.rsplit("/", 1)[-1]
        for part, begin in (("sqlite", "libsqlite3"), ("library", "libsqlwrapper"),
                            ("program", "bench_")):
            if name.startswith(begin):
                return part
        return "system"

    def shares(self):
        """Instructions of SQLite's compiler, of its other work, of the library, and of the program
        that uses it, each with the system functions that it calls."""
        inside = (self.calls["library", "sqlite"] + self.calls["program", "sqlite"]
                  - self.calls["sqlite", "library"] - self.calls["sqlite", "program"])
        wrapped = self.calls["program", "library"]
        library = wrapped - inside if wrapped else 0
        return {"compile": self.compiling, "run": inside - self.compiling, "library": library,
                "program": self.total - inside - library}


def in_parallel(jobs):
    """Runs a dictionary of functions, as many at once as there are processors."""
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        results = pool.map(lambda job: job(), jobs.values())
        return dict(zip(jobs, progress(results, total=len(jobs))))


def count(counted_by, programs, storages, rows):
    """What `counted_by` gives for each contestant, workload and storage; a peer for memory alone."""
    return in_parallel({(c, w, s): functools.partial(counted_by, c, w, rows, s)
                        for s in storages for w in programs.workloads
                        for c in programs.contestants if s == "memory" or c not in PEERS})


def time(programs, storages, rows, rounds, seconds):
    """The minimum of the seconds per row, of rounds that Google Benchmark mixes."""
    with tempfile.TemporaryDirectory(prefix="sqlwrapper-bench-") as folder:
        report = json.loads(run([
            programs.folder / "bench_times", rows, folder, "--benchmark_format=json",
            f"--benchmark_filter=/({'|'.join(storages)})/", f"--benchmark_min_time={seconds}",
            f"--benchmark_repetitions={rounds}", "--benchmark_enable_random_interleaving=true"]))
    speeds = collections.defaultdict(list)
    for entry in report["benchmarks"]:
        if entry["run_type"] == "iteration":
            speeds[tuple(entry["name"].split("/")[:3])].append(entry["items_per_second"])
    return {(c, w, s): 1 / max(speeds[c, w, s])
            for s in storages for w in programs.workloads for c in programs.contestants}


def memory(programs, contestants, rows, items=1):
    """Bytes per row by which the resident set grows while a table in a file is read."""
    with tempfile.TemporaryDirectory(prefix="sqlwrapper-bench-") as folder:
        path = pathlib.Path(folder, "bench.db")
        run([programs.folder / "bench_run", "floor", "insert", path, rows, items])
        return {contestant: programs.memory(contestant, path, items) / rows
                for contestant in contestants}


def cost(jobs, rows, rounds):
    """The minimum of what each job gives, in microseconds per row, of rounds in which they take turns."""
    seconds = [{key: job() for key, job in jobs.items()} for _ in progress(range(rounds))]
    return {key: min(each[key] for each in seconds) * 1e6 / rows for key in jobs}
