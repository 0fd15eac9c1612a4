#!/usr/bin/env python3
"""Every text that says which operations end a `Record*` names those of the page: lifetimes_test.py ROOT

docs/deliberate-behaviour.md has the table, which a program compares with the library. The sentence
"valid until" of the header and of the manual page must name the same operations of a table.
"""

import re

import markdown
import snippets
import verdict

TEXTS = ("components/sql/sqlwrapper/include/SqlTable.h", "docs/man/sqlwrapper.md")


def of_page(path):
    rows = filter(None, (snippets.FATE.fullmatch(line) for _, line in markdown.prose(path)))
    return {name for row in rows if row["fate"] == "ends"
            for name in re.findall(r"\b(?:items|other)\.(\w+)\(", row["statement"])}


def of_text(path):
    text = re.sub(r"^\s*///? ?", "", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    return set(re.findall(r"`(\w+)`", re.search(r"valid until.*?\.\s", text, re.DOTALL)[0]))


def main(root):
    expected = of_page(root / "docs/deliberate-behaviour.md")
    differences = {name: expected ^ of_text(root / name) for name in TEXTS}
    faults = (f"{name}: differs in {', '.join(sorted(names))}" for name, names in differences.items() if names)
    return faults, len(expected), f"operations in {len(TEXTS)} texts"


if __name__ == "__main__":
    verdict.of(main)
