#!/usr/bin/env python3
"""Every text that says which operations end a `Record*` names those of the page: lifetimes_test.py ROOT

docs/deliberate-behaviour.md has the table, which a program compares with the library. The sentence
"valid until" of the header and of the manual page must name the same operations of a table.
"""

import pathlib
import re
import sys

import snippets

TEXTS = ("components/sql/sqlwrapper/include/SqlTable.h", "docs/man/sqlwrapper.7")


def of_page(path):
    ending = set()
    for _, line in snippets.markdown.prose(path):
        row = snippets.FATE.fullmatch(line)
        if row and row["fate"] == "ends":
            ending |= set(re.findall(r"\b(?:items|other)\.(\w+)\(", row["statement"]))
    return ending


def of_text(path):
    """The names in the sentence; in a header between backticks, in a manual page bold."""
    text = re.sub(r"^\s*///? ?", "", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    sentence = re.search(r"valid until.*?\.\n|valid until.*?\. ", text, re.DOTALL)[0]
    return set(re.findall(r"`(\w+)`", sentence)) | set(re.findall(r"^\.BR? (\w+)", sentence, re.M))


def main(root):
    expected = of_page(root / "docs/deliberate-behaviour.md")
    faults = [
        f"{name}: differs in {', '.join(sorted(expected ^ of_text(root / name)))}"
        for name in TEXTS
        if expected != of_text(root / name)
    ]
    print("\n".join(faults) if faults else f"{len(TEXTS)} texts name {len(expected)} operations")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
