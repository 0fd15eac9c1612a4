"""Where scripts/mutation works: a copy of the tree, its tests, and libraries of changed sources."""

import concurrent.futures
import dataclasses
import math
import os
import pathlib
import resource
import shutil
import subprocess
import sys
import tempfile
import threading

import changes

ROOT = pathlib.Path(__file__).resolve().parents[2]
OUT = ROOT / "build/mutation"
TREE = OUT / "tree"
TESTS = OUT / "tests"
COMPONENTS = pathlib.Path("components/sql")
LENGTHY = "*Random*"  # tests that try many thousand cases: others name what they are to see
SLOW = 1.0  # seconds from which on a test program is kept for the changes of its own class

# The libraries, and what each compiles in that lies elsewhere. Each is built from all sources of the
# folder with its name, and hides nothing: there are tests of what is internal.
LIBRARIES = {"sqlwrapper": [],
             "sqlprepared": ["sqlwrapper/src/Diagnostics.cpp"]}

# Undefined behaviour ends a test, and nothing is left to what memory happens to hold: variables that
# a change leaves without a value have each of these.
COMPILE = ["g++", "-w", "-O0", "-std=c++11", "-fPIC", "-fno-semantic-interposition",
           "-DSQLW_INTERNAL=", "-D_GLIBCXX_ASSERTIONS", "-fsanitize-undefined-trap-on-error",
           "-fsanitize=address,bounds,return,signed-integer-overflow,integer-divide-by-zero"]
WITHOUT_VALUE = ("pattern", "zero")
LINK = ["g++", "-shared", "-fsanitize=address", "-Wl,-Bsymbolic-functions"]

# The tests replace operator new. That of arrays calls it, but for the sanitizer's own.
ARRAYS = """#include <new>
void* operator new[](std::size_t size) { return operator new(size); }
void operator delete[](void* memory) noexcept { operator delete(memory); }
void operator delete[](void* memory, std::size_t) noexcept { operator delete(memory); }
"""


# The tests would be compiled with the inline functions of these headers, where no change reaches them.
# g++ leaves those of an "interface" to the sources that name it as their "implementation".
INLINE = COMPONENTS / "sqlprepared/include"
INTERFACE = "#pragma interface"
IMPLEMENTATION = OUT / "implementation.h"
INLINE_LIBRARY = "libsqlprepared-inline.so"


def run(*command, **options):
    return subprocess.run([str(part) for part in command], stdin=subprocess.DEVNULL,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False, **options)


def must(what, *command, **options):
    done = run(*command, **options)
    if done.returncode:
        sys.stderr.buffer.write(done.stdout)
        sys.exit(f"mutation: {what}")
    return done.stdout


def copy_tree(uncommitted):
    """Brings the copy up to date, and leaves alone what is as it should be: it is built already."""
    files = "git archive HEAD"
    if uncommitted:
        files = ("git ls-files -z --cached --others --exclude-standard | "
                 "tar -c --ignore-failed-read --null --files-from=-")
    TREE.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=OUT) as folder:
        fresh = pathlib.Path(folder)
        must("the tree cannot be copied", "bash", "-c",
             f"set -o pipefail; {files} | tar -x -C {fresh}", cwd=ROOT)
        for header in (fresh / INLINE).iterdir():
            header.write_text(header.read_text().replace("\n\n", f"\n{INTERFACE}\n", 1))
        must("the tree cannot be copied", "rsync", "--archive", "--no-times", "--checksum",
             "--delete", f"{fresh}/", f"{TREE}/")


def sources():
    """The files that are changed, the sources of each component before its headers."""
    return [path for library in LIBRARIES for part in ("src", "include")
            for path in sorted((TREE / COMPONENTS / library / part).iterdir())]


def make_inline():
    """A library of the inline functions, which the tests are linked with. When they run, the changed
    library takes its name."""
    headers = sorted(path.name for path in (TREE / INLINE).iterdir())
    IMPLEMENTATION.write_text("".join(f'#pragma implementation "{name}"\n' for name in headers))
    source = OUT / "inline.cpp"
    source.write_text("".join(f'#include "{name}"\n' for name in headers))
    must("the inline functions cannot be built", "g++", "-shared", "-fPIC", "-std=c++11",
         "-DSQLW_INTERNAL=", "-include", IMPLEMENTATION, f"-I{TREE / INLINE}",
         f"-I{TREE / COMPONENTS / 'sqlwrapper/include'}", source, f"-Wl,-soname,{INLINE_LIBRARY}",
         "-o", OUT / INLINE_LIBRARY)
    return OUT / INLINE_LIBRARY


def build_tests(libraries):
    """The test programs of the classes of these libraries, and of what is internal."""
    arrays = OUT / "arrays.cpp"
    arrays.write_text(ARRAYS)
    must("the tests cannot be built", "g++", "-c", arrays, "-o", arrays.with_suffix(".o"))
    # The companion finds the platform also in a program that the linker sees calling nothing of it.
    must("the tests cannot be configured", "cmake", "-S", TREE, "-B", TESTS,
         f"-DCMAKE_EXE_LINKER_FLAGS=-rdynamic {arrays.with_suffix('.o')}",
         f"-DCMAKE_CXX_STANDARD_LIBRARIES=-Wl,--allow-shlib-undefined,--as-needed {make_inline()}",
         "-DCMAKE_CXX_COMPILER=g++", "-DCMAKE_BUILD_TYPE=Debug",
         "-DCMAKE_CXX_FLAGS_DEBUG=-O0 -DSQLW_INTERNAL=",
         "-DCMAKE_SKIP_RPATH=ON", "-DSQLWRAPPER_BUILD_EXAMPLES=OFF", "-DSQLWRAPPER_INSTALL=OFF")
    must("the tests cannot be built", "cmake", "--build", TESTS, "-j", os.cpu_count() or 1,
         "--target", "class_tests")
    return [TESTS / path.relative_to(TREE).with_suffix("") for library in libraries
            for path in sorted((TREE / COMPONENTS / library / "test").glob("*Test.cpp"))]


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
        for library in LIBRARIES:
            for part in ("src", "include"):
                shutil.copytree(TREE / COMPONENTS / library / part, folder / library / part)
        (folder / INLINE_LIBRARY).symlink_to("libsqlprepared.so.1")
        self.sources = sorted(folder.glob("*/src/*.cpp"))
        self.parts = {library: [*sorted(folder.glob(f"{library}/src/*.cpp")),
                                *(folder / other for other in others)]
                      for library, others in LIBRARIES.items()}
        self.stale = set(LIBRARIES) # libraries that are not linked of untouched sources
        self.witness = {}           # the program that saw the last change of a file
        self.environment = self.environment_of_tests(tempfile.mkdtemp(dir=scratch))
        self.compile_system_headers()
        if not self.compile(self.sources, ".o") or not self.link([]):
            sys.exit("mutation: the libraries cannot be built")
        self.read = {source: source.with_suffix(".d").read_text() for source in self.sources}

    def environment_of_tests(self, temporary):
        """The tests are built without the sanitizer, which is loaded with the libraries."""
        sanitizer = must("no g++", "g++", "-print-file-name=libasan.so").decode().strip()
        return {**os.environ, "LD_LIBRARY_PATH": str(self.folder), "LD_PRELOAD": sanitizer,
                "ASAN_OPTIONS": "hard_rss_limit_mb=2048:symbolize=0", "LC_ALL": "C",
                "TMPDIR": temporary, "TEST_TMPDIR": temporary,
                "LOCPATH": str(TESTS / COMPONENTS / "sqlwrapper/test/locales")}

    def compile_system_headers(self):
        """Most of what a source has the compiler read, read once."""
        lines = {line for path in self.folder.glob("*/*/*") for line in path.read_text().splitlines()
                 if line.startswith("#include <")}
        (self.folder / "system.h").write_text("\n".join(sorted(lines)) + "\n")
        must("the headers cannot be compiled", *COMPILE, "-x", "c++-header", self.folder / "system.h")

    def compile(self, files, suffix, without_value=WITHOUT_VALUE[0]):
        includes = [f"-I{self.folder / library / 'include'}" for library in LIBRARIES]
        return all(run(*COMPILE, f"-ftrivial-auto-var-init={without_value}",
                       "-MMD", "-MF", file.with_suffix(".d"),
                       "-include", self.folder / "system.h", "-include", IMPLEMENTATION,
                       *includes, "-c", file, "-o", file.with_suffix(suffix)).returncode == 0
                   for file in files)

    def libraries_of(self, sources):
        return {library for library, parts in self.parts.items() if set(parts) & set(sources)}

    def link(self, changed):
        """`changed` are the sources whose changed objects are wanted."""
        def linked(library):
            objects = [part.with_suffix(".changed.o" if part in changed else ".o")
                       for part in self.parts[library]]
            name = f"lib{library}.so.1"
            return run(*LINK, f"-Wl,-soname,{name}", *objects, "-lsqlite3",
                       "-o", self.folder / name).returncode == 0
        concerned = self.libraries_of(changed)
        wanted, self.stale = self.stale | concerned, concerned
        return all([linked(library) for library in sorted(wanted)])

    def failure(self, program):
        """What a test program says when it fails. One that takes far longer than it did hangs."""
        limit = 2 + math.ceil(10 * self.seconds.get(program, 10))
        command = ["prlimit", f"--cpu={limit}", "--core=0", program,
                   "--gtest_brief=1", "--gtest_fail_fast", f"--gtest_filter=-{LENGTHY}"]
        try:
            done = run(*command, env=self.environment, timeout=20 * limit)
        except subprocess.TimeoutExpired:
            return "does not end"
        return done.stdout.decode(errors="replace") or "died" if done.returncode else None

    def attempt(self, mutant):
        file = next(self.folder.glob(f"*/*/{mutant.file}"))
        affected = [source for source in self.sources if str(file) in self.read[source]]
        objects = self.objects(affected, ".o")
        original = file.read_text()
        file.write_text(mutant.source)
        try:
            for without_value in WITHOUT_VALUE:
                if not self.compile(affected, ".changed.o", without_value):
                    return Outcome(mutant, "unbuilt")
                former, objects = objects, self.objects(affected, ".changed.o")
                if objects == former:
                    continue
                if not self.link(affected):
                    return Outcome(mutant, "unbuilt")
                again = without_value != WITHOUT_VALUE[0]
                for program in self.likeliest(mutant, file.stem, affected, not again):
                    if output := self.failure(program):
                        self.witness[file.stem] = program
                        return Outcome(mutant, "killed", program.name, output)
        finally:
            file.write_text(original)
        return Outcome(mutant, "survived")

    @staticmethod
    def objects(sources, suffix):
        return [source.with_suffix(suffix).read_bytes() for source in sources]

    def likeliest(self, mutant, stem, affected, and_others):
        """The tests of the file and the class, which are the likeliest to see a change, and then the
        others."""
        loading = libraries_of_tests({source.name for source in affected})
        programs = [program for program in self.programs if program.parent.parent.name in loading]
        owner, scope, _ = mutant.function.partition("::")
        names = (stem, "Sql" + owner) if scope else stem
        own = [program for program in programs if program.name.startswith(names)]
        others = [program for program in programs if program in self.quick and program not in own]
        candidates = own + others if and_others or not own else own
        return sorted(candidates, key=lambda program: program != self.witness.get(stem))


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


def libraries_of_tests(files):
    """The tests of the companion load both libraries, those of the library nothing else."""
    is_shared = any(path.name in files and path.parent.parent.name == "sqlwrapper"
                    for path in sources())
    return list(LIBRARIES) if is_shared else ["sqlprepared"]


def attempt_all(mutants):
    """The outcomes, in the order of the mutants."""
    programs = build_tests(libraries_of_tests({mutant.file for mutant in mutants}))
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
            yield from workers.map(lambda mutant: local.workshop.attempt(mutant), mutants)
