#!/usr/bin/env python3
"""The program in README.md prints the output below it.

    readme_test.py README PROGRAM [ARGUMENT...]   as built elsewhere
    readme_test.py README                         as built by the command in README.md

That command must build it with link-time optimisation, too, which sees both sides of the platform's
symbols, and without a warning.
"""

import pathlib
import subprocess
import sys
import tempfile

import markdown


def text(readme, language, number=0):
    return "\n".join(list(markdown.blocks(readme, language))[number][1]) + "\n"


def build(readme, folder):
    (folder / "components").symlink_to(readme.parent / "components")
    (folder / "app.cpp").write_text(text(readme, "cpp", 0), encoding="utf-8")
    (folder / "platform.cpp").write_text(text(readme, "cpp", 1), encoding="utf-8")
    command = text(readme, "sh")
    for options in "-flto -Werror", "":
        subprocess.run(
            ["bash", "-c", command.replace("g++", f"g++ {options}", 1)], cwd=folder, check=True
        )
    return ["./app"]


def main(readme, command):
    expected = text(readme, "text")
    with tempfile.TemporaryDirectory() as folder:
        command = command or build(readme, pathlib.Path(folder))
        for run in "first", "second":  # which finds the file of the first
            output = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, check=True).stdout
            if output.decode() != expected:
                print(f"the {run} run prints:\n{output.decode()}instead of:\n{expected}", end="")
                return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:]))
