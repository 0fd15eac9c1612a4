#!/usr/bin/env python3
"""The program in a document prints the output below it, also when its file is there already.

    program_test.py DOCUMENT                         as built by the command in the document
    program_test.py DOCUMENT PROGRAM [ARGUMENT...]   as built elsewhere

The command must build it with link-time optimisation, too, which sees both sides of the platform's symbols, and
without a warning.
"""

import os
import pathlib
import subprocess
import sys
import tempfile

import markdown


def block(document, language, text):
    """The first block that has the text."""
    blocks = ("\n".join(lines) + "\n" for _, lines in markdown.blocks(document, language))
    return next((block for block in blocks if text in block), "")


def build(document, folder):
    (folder / "components").symlink_to(document.parent / "components")
    (folder / "app.cpp").write_text(block(document, "cpp", "int main()"), encoding="utf-8")
    (folder / "platform.cpp").write_text(block(document, "cpp", 'extern "C"'), encoding="utf-8")
    installed = folder / "installed"  # a path without blanks, which would separate what pkg-config prints
    installed.symlink_to(os.environ["SQLW_INSTALLED"])
    environment = os.environ | {"PKG_CONFIG_PATH": ":".join(map(str, installed.glob("**/pkgconfig")))}
    command = block(document, "sh", "app.cpp")
    for options in "-flto -Werror", "":
        subprocess.run(["bash", "-c", command.replace("++", f"++ {options}", 1)], cwd=folder, env=environment,
                       check=True)
    return ["./app"]


def main(document, command):
    expected = block(document, "text", "Gearbox")
    with tempfile.TemporaryDirectory() as folder:
        command = command or build(document, pathlib.Path(folder))
        for run in "first", "second":
            output = subprocess.run(command, cwd=folder, stdout=subprocess.PIPE, check=True).stdout.decode()
            if output != expected or not expected:
                sys.exit(f"the {run} run prints:\n{output}instead of:\n{expected}")


if __name__ == "__main__":
    main(pathlib.Path(sys.argv[1]).resolve(), sys.argv[2:])
