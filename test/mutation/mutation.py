"""Changes the library's sources at one point at a time, and counts the changes that its tests see.

    scripts/mutation             every change (--full)
    scripts/mutation --quick     a sample of 24; --sample N takes N, the same ones every time
    scripts/mutation --only ID   one change, or some: what it is, and what the tests say
    scripts/mutation --list      every change

A change that no test of a class sees has survived, and is listed; those of test/mutation/equivalent,
which no test can see, are tried too and, where all are tried, must survive. What does not compile
does not count. The exit status is 1 when fewer than 98 % of the others are killed.

It works on a copy of the last commit, or with --uncommitted of the files as they are, in
build/mutation.
"""

import argparse
import collections
import concurrent.futures
import dataclasses
import fcntl
import io
import math
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tarfile
import tempfile
import threading
import time

import changes

ROOT = pathlib.Path(__file__).resolve().parents[2]
OUT = ROOT / "build/mutation"
TREE = OUT / "tree"
TESTS = OUT / "tests"
COMPONENT = pathlib.Path("components/sql/sqlwrapper")
EQUIVALENT = pathlib.Path(__file__).with_name("equivalent")

BAR = 98.0
QUICK = 24
SLOW = 1.0  # seconds from which on a test program is kept for the changes of its own class

# Undefined behaviour ends a test, and nothing is left to what memory happens to hold: variables that
# a change leaves without a value have each of these.
COMPILE = ["g++", "-w", "-O0", "-std=c++11", "-fPIC", "-fno-semantic-interposition",
           "-fsanitize=address,bounds,return,signed-integer-overflow,integer-divide-by-zero",
           "-fsanitize-undefined-trap-on-error", "-D_GLIBCXX_ASSERTIONS",
           "-DSQLW_INTERNAL="]  # what the library keeps to itself has tests too
WITHOUT_VALUE = ("pattern", "zero")
LINK = ["g++", "-shared", "-fsanitize=address", "-Wl,-soname,libsqlwrapper.so.1", "-Wl,-Bsymbolic-functions"]

# The tests replace operator new. That of arrays calls it, but for the sanitizer's own.
ARRAYS = """#include <new>
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }
"""


def run(*command, **options):
    return subprocess.run([str(part) for part in command], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, **options)


def must(what, *command, **options):
    done = run(*command, **options)
    if done.returncode:
        sys.stderr.buffer.write(done.stdout)
        sys.exit(f"mutation: {what}")
    return done.stdout


# The copy, and its tests

def committed_files():
    archive = subprocess.run(["git", "archive", "HEAD"], cwd=ROOT, stdout=subprocess.PIPE, check=True)
    with tarfile.open(fileobj=io.BytesIO(archive.stdout)) as tar:
        return {pathlib.Path(member.name): tar.extractfile(member).read()
                for member in tar if member.isfile()}


def present_files():
    names = subprocess.run(["git", "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
                           cwd=ROOT, stdout=subprocess.PIPE, check=True, text=True).stdout
    paths = [pathlib.Path(name) for name in names.split("\0") if name]
    return {path: (ROOT / path).read_bytes() for path in paths if (ROOT / path).is_file()}


def copy_tree(files):
    """Brings the copy up to date, and leaves alone what is as it should be: it is built already."""
    for path in [path for path in TREE.rglob("*") if path.is_file()]:
        if path.relative_to(TREE) not in files:
            path.unlink()
    for path, content in files.items():
        copy = TREE / path
        if not copy.is_file() or copy.read_bytes() != content:
            copy.parent.mkdir(parents=True, exist_ok=True)
            copy.write_bytes(content)


def build_tests():
    arrays = OUT / "arrays.cpp"
    arrays.write_text(ARRAYS)
    must("the tests cannot be built", "g++", "-c", arrays, "-o", arrays.with_suffix(".o"))
    must("the tests cannot be configured", "cmake", "-S", TREE, "-B", TESTS,
         f"-DCMAKE_EXE_LINKER_FLAGS={arrays.with_suffix('.o')}",
         "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_BUILD_TYPE=Debug", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
         "-DCMAKE_SKIP_RPATH=ON", "-DSQLWRAPPER_BUILD_EXAMPLES=OFF", "-DSQLWRAPPER_INSTALL=OFF")
    names = sorted(path.stem for path in (TREE / COMPONENT / "test").glob("*Test.cpp"))
    must("the tests cannot be built", "cmake", "--build", TESTS, "-j", os.cpu_count() or 1,
         "--target", *names)
    return [TESTS / COMPONENT / "test" / name for name in names]


# One change tried

@dataclasses.dataclass
class Outcome:
    """What became of a mutant: unbuilt, killed or survived."""
    mutant: changes.Mutant
    state: str
    test: str = ""
    output: str = ""


class Workshop:
    """A copy of the sources to change, one for each thread."""

    def __init__(self, folder, seconds, scratch):
        """`seconds` are what the test programs take."""
        self.folder = folder
        self.seconds = seconds
        self.programs = sorted(seconds, key=seconds.get)
        self.quick = [program for program in self.programs if seconds[program] < SLOW]
        shutil.rmtree(folder, ignore_errors=True)
        for part in ("src", "include"):
            shutil.copytree(TREE / COMPONENT / part, folder / part)
        self.sources = sorted((folder / "src").glob("*.cpp"))
        self.compile_system_headers()
        temporary = tempfile.mkdtemp(dir=scratch)
        # The tests are built without the sanitizer, which is loaded with the library.
        self.sanitizer = must("no g++", "g++", "-print-file-name=libasan.so").decode().strip()
        self.environment = {**os.environ, "LD_LIBRARY_PATH": str(folder),
                            "ASAN_OPTIONS": "hard_rss_limit_mb=2048", "LC_ALL": "C",
                            "TMPDIR": temporary, "TEST_TMPDIR": temporary,
                            "LOCPATH": str(TESTS / COMPONENT / "test/locales")}
        if not self.compile(self.sources, ".o") or not self.link([]):
            sys.exit("mutation: the library cannot be built")
        self.read = {source: source.with_suffix(".d").read_text() for source in self.sources}

    def compile_system_headers(self):
        """Most of what a source has the compiler read, read once."""
        lines = {line for path in self.folder.glob("*/*") for line in path.read_text().splitlines()
                 if line.startswith("#include <")}
        (self.folder / "system.h").write_text("\n".join(sorted(lines)) + "\n")
        must("the headers cannot be compiled", *COMPILE, "-x", "c++-header", self.folder / "system.h")

    def compile(self, sources, suffix, without_value=WITHOUT_VALUE[0]):
        return all(run(*COMPILE, f"-ftrivial-auto-var-init={without_value}", "-MMD", "-MF", source.with_suffix(".d"),
                       "-include", self.folder / "system.h", "-I", self.folder / "include",
                       "-c", source, "-o", source.with_suffix(suffix)).returncode == 0
                   for source in sources)

    def link(self, changed):
        """`changed` are the sources whose changed objects are wanted."""
        objects = [source.with_suffix(".changed.o" if source in changed else ".o")
                   for source in self.sources]
        return run(*LINK, *objects, "-lsqlite3", "-o",
                   self.folder / "libsqlwrapper.so.1").returncode == 0

    def failure(self, program):
        """What a test program says when it fails. One that takes far longer than it did hangs."""
        limit = 2 + math.ceil(10 * self.seconds.get(program, 10))
        command = ["prlimit", f"--cpu={limit}", "--core=0",
                   "env", f"LD_PRELOAD={self.sanitizer}", program,
                   "--gtest_brief=1", "--gtest_fail_fast"]
        try:
            done = run(*command, env=self.environment, timeout=20 * limit)
        except subprocess.TimeoutExpired:
            return "does not end"
        return done.stdout.decode(errors="replace") or "died" if done.returncode else None

    def attempt(self, mutant):
        file = next(self.folder.glob(f"*/{mutant.file}"))
        affected = [source for source in self.sources if str(file) in self.read[source]]
        original = file.read_text()
        file.write_text(mutant.source)
        try:
            for without_value in WITHOUT_VALUE:
                if not self.compile(affected, ".changed.o", without_value) or not self.link(affected):
                    return Outcome(mutant, "unbuilt")
                again = without_value != WITHOUT_VALUE[0]
                for program in self.likeliest(file.stem, not again):
                    if output := self.failure(program):
                        return Outcome(mutant, "killed", program.name, output)
        finally:
            file.write_text(original)
        return Outcome(mutant, "survived")

    def likeliest(self, stem, and_others):
        """The tests of the class, which are the likeliest to see a change, and then the others."""
        own = [program for program in self.programs if program.name.startswith(stem)]
        others = [program for program in self.quick if program not in own]
        return own + others if and_others or not own else own


def seconds_of(workshop, programs):
    """What the test programs take. They must pass as long as nothing is changed."""
    seconds = {}
    for program in programs:
        begin = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime
        if output := workshop.failure(program):
            print(output)
            sys.exit(f"mutation: {program.name} fails although nothing is changed")
        seconds[program] = resource.getrusage(resource.RUSAGE_CHILDREN).ru_utime - begin
    return seconds


def attempt_all(mutants, programs):
    """The outcomes, in the order of the mutants."""
    # Where files are written to memory, the tests of files take no time.
    memory = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None
    local = threading.local()
    with tempfile.TemporaryDirectory(prefix="mutation-", dir=memory) as scratch:
        seconds = seconds_of(Workshop(OUT / "untouched", {}, scratch), programs)

        def prepare():
            number = threading.current_thread().name.rpartition("_")[2]
            local.workshop = Workshop(OUT / f"changed-{number}", seconds, scratch)

        with concurrent.futures.ThreadPoolExecutor(os.cpu_count() or 1,
                                                   initializer=prepare) as workers:
            futures = [workers.submit(lambda m: local.workshop.attempt(m), mutant)
                       for mutant in mutants]
            for number, future in enumerate(futures, 1):
                yield future.result()
                if number % 100 == 0:
                    print(f"{number} of {len(mutants)}", file=sys.stderr, flush=True)


# What no test can see

class Equivalents:
    """test/mutation/equivalent: the reasons, by file, function, line before and line after."""

    def __init__(self):
        self.reasons = collections.defaultdict(list)
        lines = EQUIVALENT.read_text().splitlines() if EQUIVALENT.exists() else []
        for block in "\n".join(line for line in lines if not line.startswith("#")).split("\n\n"):
            if block.strip():
                self.add(*block.strip("\n").splitlines())

    def add(self, place, *lines):
        """A block: the file, and the function if it is in one; any number of changes, a line that
        starts with - and one with + for each; and then the reason. A + with an asterisk stands for
        every change of that line."""
        file, _, function = place.partition(" ")
        changed = [line for line in lines if line[0] in "-+"]
        reason = " ".join(line for line in lines if line[0] not in "-+")
        pairs = list(zip(changed[::2], changed[1::2]))
        if not reason or not pairs or not all(a[0] == "-" and b[0] == "+" for a, b in pairs):
            sys.exit(f"mutation: {EQUIVALENT.name}: not a place, changes and a reason:\n{place}")
        for before, after in pairs:
            self.reasons[file, function, before[1:].strip(), after[1:].strip()].append(reason)

    def take(self, mutant):
        """The reason why a mutant survived. Each entry is good for one of them."""
        place = mutant.file, mutant.function, mutant.before
        reasons = self.reasons.get((*place, mutant.after))
        if reasons:
            return reasons.pop()
        every = self.reasons.get((*place, "*"), [])
        return every[0] if every else None

    def wrong(self, states):
        """The entries without a mutant that survived, when all were tried."""
        survivors = {(m.file, m.function, m.before) for m in states["equivalent"]}
        killed = {(m.file, m.function, m.before) for m in states["killed"]}
        for (*place, after), reasons in self.reasons.items():
            alive = after == "*" and tuple(place) in survivors - killed
            if reasons and not alive:
                yield " ".join(place[:2]) + f": {place[2]} -> {after}"


# The report

def described(mutant):
    return (f"{mutant.id}  {mutant.what}  {mutant.function}\n"
            f"    - {mutant.before}\n    + {mutant.after}")


def report(outcomes, complete, seconds):
    equivalents = Equivalents()
    states = collections.defaultdict(list)
    for outcome in outcomes:
        mutant, state = outcome.mutant, outcome.state
        if state == "survived":
            if reason := equivalents.take(mutant):
                state = "equivalent"
                print(f"equivalent {described(mutant)}\n    {reason}")
            else:
                print(f"survived {described(mutant)}")
        states[state].append(mutant)

    killed, survived = len(states["killed"]), len(states["survived"])
    share = 100.0 * killed / max(killed + survived, 1)
    print(f"cases {len(outcomes) - len(states['unbuilt'])}")
    print(f"figure {killed} killed, {survived} survived, {len(states['equivalent'])} equivalent: "
          f"{share:.1f} % of the {killed + survived} that can be seen")
    print(f"{len(states['unbuilt'])} more did not compile; {seconds:.0f} s")

    failures = []
    if share < BAR:
        failures += [(mutant.id, f"survived: {mutant.after}") for mutant in states["survived"]]
    if complete:
        failures += [("-", f"listed as equivalent, but seen or no change: {entry}")
                     for entry in equivalents.wrong(states)]
    for point, what in failures:
        print(f"failure {point}: {what}")
    return 1 if failures else 0


def sample(mutants, size):
    return [mutants[i * len(mutants) // size] for i in range(min(size, len(mutants)))]


def chosen(args, mutants):
    if args.only:
        return [mutant for mutant in mutants if mutant.id in args.only]
    return sample(mutants, args.sample) if args.sample else mutants


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/mutation", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--full", action="store_true")
    which.add_argument("--quick", action="store_const", const=QUICK, dest="sample")
    which.add_argument("--sample", type=int, metavar="N")
    which.add_argument("--only", nargs="+", metavar="ID")
    which.add_argument("--list", action="store_true")
    parser.add_argument("--uncommitted", action="store_true")
    return parser, parser.parse_args()


def main():
    parser, args = arguments()
    files = present_files() if args.uncommitted else committed_files()
    mutants = [mutant for part in ("src", "include") for path in sorted(files)
               if path.parent == COMPONENT / part
               for mutant in changes.mutants_of(path.name, files[path].decode())]
    wanted = chosen(args, mutants)
    if not wanted:
        parser.error(f"no change '{args.only[0]}'; --list shows them")
    if args.list:
        for mutant in wanted:
            print(described(mutant))
        return 0

    OUT.mkdir(parents=True, exist_ok=True)
    with open(OUT / "lock", "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX) # until another run has ended
        return attempts(args, files, wanted, len(wanted) == len(mutants))


def attempts(args, files, wanted, complete):
    copy_tree(files)
    programs = build_tests()
    begin = time.monotonic()
    outcomes = []
    with open(OUT / "outcomes.txt", "w", encoding="utf-8") as log:
        for outcome in attempt_all(wanted, programs):
            outcomes.append(outcome)
            print(f"{outcome.state:<8} {outcome.mutant.id:<26} {outcome.test}", file=log, flush=True)
            if args.only:
                print(f"{described(outcome.mutant)}\n{outcome.state} {outcome.test}\n{outcome.output}")
    return report(outcomes, complete, time.monotonic() - begin)


if __name__ == "__main__":
    sys.exit(main())
