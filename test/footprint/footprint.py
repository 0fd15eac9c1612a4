"""Compares what the libraries take with the tables in docs/footprint.md; scripts/footprint builds them.

Text, and heap per held row, may grow by 2 %.
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2]
DOCUMENT = ROOT / "docs/footprint.md"
CASES = ["host-Os", "host-O2", "target-Os", "target-O2"]
TEXT, HEAP, HEAP_BAR = "text, bytes", "heap per held row, bytes", "... of at most"
LIMITS = {"sqlwrapper": 65536, "sqlprepared": 49152}  # bytes of text on the target at -Os
GROWTH = 1.02


def output(*command):
    return subprocess.run([str(part) for part in command], check=True, text=True,
                          stdout=subprocess.PIPE, env={**os.environ, "LD_BIND_NOW": "1"}).stdout


def of_file(library, tools):
    """What the file says, stripped."""
    stripped = library.with_suffix(".stripped")
    output(tools + "strip", "-o", stripped, library)
    text, data, bss = output(tools + "size", stripped).splitlines()[1].split()[:3]
    code = re.search(r"^\.text +(\d+)", output(tools + "size", "-A", stripped), re.M)[1]
    at_start = re.findall(r"^Relocation section '\S*\.dyn'.*contains (\d+)",
                          output(tools + "readelf", "-rW", stripped), re.M)
    needed = re.findall(r"\(NEEDED\).*\[lib([^.]*)", output(tools + "readelf", "-dW", stripped))
    count = lambda which: str(len(output(tools + "nm", "-D", which, stripped).splitlines()))
    return {TEXT: text, "... machine code, bytes": code, "data, bytes": data, "bss, bytes": bss,
            "exported symbols": count("--defined-only"),
            "imported symbols": count("--undefined-only"),
            "relocations at start": str(sum(map(int, at_start))),
            "needed libraries": " ".join(sorted(needed))}


def at_run_time(program, emulator):
    figures = dict(line.split(" ", 1) for line in output(*emulator, program).splitlines())
    return {"stack, deepest call, bytes": figures["stack"], "... which is": figures["stack_call"],
            "... SQLite alone, bytes": figures["stack_sqlite"], HEAP: figures["heap_per_row"],
            HEAP_BAR: figures["heap_bar"]}


def measured(library, builds, tools, emulator):
    """The figures of a library, by case."""
    figures = {}
    for case in CASES:
        on_target = case.startswith("target")
        figures[case] = of_file(builds / case / f"components/sql/{library}/lib{library}.so",
                                tools if on_target else "")
        if library == "sqlwrapper":
            figures[case] |= at_run_time(builds / case / "test/footprint",
                                         emulator if on_target else [])
    return figures


def table(library, figures):
    rows = [[library] + [case.replace("-", " -") for case in CASES]]
    rows += [[row] + [figures[case][row] for case in CASES] for row in figures[CASES[0]]]
    lines = [f"| {' | '.join(row)} |" for row in rows]
    return "\n".join([lines[0], "|---|" + "--:|" * len(CASES), *lines[1:]]) + "\n"


def kept(library):
    """The library's table in the document, and its figures by case and row."""
    match = re.search(rf"^\| {library} \|.*\n(\|.*\n)+", DOCUMENT.read_text(encoding="utf-8"), re.M)
    lines = match[0].splitlines() if match else []
    rows = [[cell.strip() for cell in line.split("|")[1:-1]] for line in lines]
    return match, {case: {row[0]: row[i] for row in rows[2:]} for i, case in enumerate(CASES, 1)}


def faults(library, figures):
    before = kept(library)[1]
    for case, now in figures.items():
        for row in (TEXT, HEAP):
            if row in now and not float(now[row]) <= GROWTH * float(before[case].get(row, 0)):
                yield (f"{library}, {case}: {row} is {now[row]}, above the "
                       f"{before[case].get(row, '(no figure)')} of {DOCUMENT.name} by more than 2 %; "
                       "scripts/footprint --update writes new figures, and the commit says why")
        if HEAP in now and float(now[HEAP]) > float(now[HEAP_BAR]):
            yield f"{library}, {case}: {HEAP} is {now[HEAP]}, above the limit of {now[HEAP_BAR]}"
    if int(figures["target-Os"][TEXT]) > LIMITS[library]:
        yield f"{library} is larger than {LIMITS[library]} bytes on the target"


def update(library, figures):
    match = kept(library)[0] or sys.exit(f"footprint: {DOCUMENT} has no table of {library}")
    text = match.string
    DOCUMENT.write_text(text[:match.start()] + table(library, figures) + text[match.end():],
                        encoding="utf-8")


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--update", action="store_true")
    parser.add_argument("builds", type=pathlib.Path)
    parser.add_argument("tools", help="what the names of the target's tools begin with")
    parser.add_argument("emulator", nargs="+")
    parser.add_argument("--libraries", required=True)
    args = parser.parse_args()
    failed = []
    for library in args.libraries.split():
        figures = measured(library, args.builds, args.tools, args.emulator)
        print(table(library, figures))
        if args.update:
            update(library, figures)
        failed += faults(library, figures)
    print("\n".join(failed), file=sys.stderr)
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
