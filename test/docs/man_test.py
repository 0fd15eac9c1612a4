#!/usr/bin/env python3
"""The program of the manual page builds as its SYNOPSIS says, and runs: man_test.py PAGE BUILD

BUILD is a build of the library, which is installed into a folder first.
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile


def plain(text):
    """The text that the page shows for a line of its source."""
    text = re.sub(r"^\.[BRI]+ ", "", text).replace(r"\-", "-").replace(r"\e", "\\")
    return re.sub(r'" ?', "", text) if text.startswith('"') else text


def main(page, build):
    source = page.read_text(encoding="utf-8")
    command = plain(re.search(r"^\.RI .*pkg.*", source, re.MULTILINE)[0])
    program = re.search(r"^\.SH EXAMPLES\n\.EX\n(.*?)^\.EE", source, re.MULTILINE | re.DOTALL)[1]
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        for component in "runtime", "development", "prepared", "standalone":
            subprocess.run(
                ["cmake", "--install", build, "--prefix", folder, "--component", component],
                check=True, stdout=subprocess.DEVNULL,
            )
        (folder / "program.cpp").write_text(plain(program), encoding="utf-8")
        libraries = next(folder.glob("**/pkgconfig")).parent
        environment = os.environ | {
            "PKG_CONFIG_PATH": str(libraries / "pkgconfig"), "LD_LIBRARY_PATH": str(libraries),
        }
        for step in command, "./a.out":
            run = subprocess.run(
                ["bash", "-c", step], cwd=folder, env=environment, stdout=subprocess.PIPE, text=True
            )
            if run.returncode:
                print(f"fails: {step}")
                return 1
    print(run.stdout, end="")
    return 0 if run.stdout == "Gearbox\n" else 1


if __name__ == "__main__":
    sys.exit(main(*map(pathlib.Path, sys.argv[1:])))
