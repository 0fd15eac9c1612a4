#!/usr/bin/env python3
"""A guide quotes its program and the output as they are: guide_test.py ROOT GUIDE COMMAND...

Each C++ block of docs/guides/GUIDE.md is in examples/guides/GUIDE.cpp or in a header of that folder
which it includes, or in a program of test/GUIDE. The program, run in an empty folder, prints the text blocks, one after the other.
Lines of sources move: the guides write N for their numbers.
"""

import pathlib
import re
import subprocess
import sys
import tempfile
import textwrap

sys.path.insert(0, str(pathlib.Path(sys.argv[1]) / "test/docs"))
sys.dont_write_bytecode = True
import markdown  # noqa: E402


def unindented(text):
    return [line.strip() for line in text.splitlines() if line.strip()]


def sources(folder, guide):
    """The program of a guide, the headers that are its own, and what it is compared with."""
    program = (folder / f"{guide}.cpp").read_text(encoding="utf-8")
    headers = re.findall(r'^#include "(\w+\.h)"', program, re.MULTILINE)
    others = [*(folder / header for header in headers), *folder.glob(f"test/{guide}/*.cpp")]
    return [program, *(other.read_text(encoding="utf-8") for other in others)]


def is_in(block, program):
    """Whether the lines of a block are together in a program, but for blank lines and indents."""
    lines = unindented(block)
    places = range(len(program) - len(lines) + 1)
    return any(program[place : place + len(lines)] == lines for place in places)


def without_numbers(text):
    return re.sub(r"(\.cpp):\d+", r"\1:N", text)


def main(root, guide, command):
    document = root / f"docs/guides/{guide}.md"
    programs = [unindented(text) for text in sources(root / "examples/guides", guide)]

    quoted = list(markdown.blocks(document, "cpp"))
    faults = [] if quoted else [f"{document}: quotes nothing of the program"]
    for number, lines in quoted:
        if not any(is_in(textwrap.dedent("\n".join(lines)), program) for program in programs):
            faults.append(f"{document}:{number}: {guide}.cpp has other lines")

    with tempfile.TemporaryDirectory() as folder:
        run = subprocess.run(
            command, cwd=folder, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False
        )
    output = run.stdout.decode().replace("\r\n", "\n")
    expected = "".join("\n".join(lines) + "\n" for _, lines in markdown.blocks(document, "text"))
    if run.returncode != 0:
        faults.append(f"{guide} ends with {run.returncode}")
    if without_numbers(output) != expected:
        faults.append(f"{guide} prints:\n{output}instead of:\n{expected}")

    print("\n".join(faults) if faults else f"{guide}: {len(quoted)} quotations, and the output")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), sys.argv[2], sys.argv[3:]))
