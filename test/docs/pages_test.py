#!/usr/bin/env python3
"""The reference and the manual have every function that both libraries export: pages_test.py ROOT FOLDER"""

import html
import pathlib
import re
import sys

# The packages, and the page of the functions that belong to no class, on the web and in the manual.
FUNCTIONS = {"libsqlwrapper1": ("functions", "sqlwrapper"), "libsqlprepared1": ("checkTable", "sql::checkTable")}

# What tables alone and inline functions call.
PRIVATE = {("RecordSet", "operator="), ("Statement", "readAlone"), ("TableWriter", "makeCell"),
           ("TableWriter", "write")}


def exported(symbols):
    """The class, or "" for none, and the name of each function."""
    for scope, name in re.findall(r'"sql::(?:(\w+)::)?(~?\w+|operator[^(]+)[\[(]', symbols):
        if (scope, name) not in PRIVATE:
            yield scope, name


def missing(names, functions, folder):
    for scope, name in sorted(names):
        pattern = r"(?<!\w)" + re.escape(name).replace(r"\ ", r"\s+")
        page = folder / f"html/reference/{scope or functions[0]}.html"
        manual = folder / f"man/man3/{f'sql::{scope}' if scope else functions[1]}.3"
        text = html.unescape(re.sub(r"<[^>]*>", "", page.read_text(encoding="utf-8")))
        if not re.search(pattern + r"\s*\(", text):
            yield f"{page}: {name} is missing"
        if not re.search(pattern + r"\\?(fP)?\s*\(", manual.read_text(encoding="utf-8")):
            yield f"{manual}: {name} is missing"


def main(root, folder):
    count, faults = 0, []
    for package, functions in FUNCTIONS.items():
        symbols = (root / f"debian/{package}.symbols").read_text(encoding="utf-8")
        names = set(exported(symbols))
        count += len(names)
        faults += missing(names, functions, folder)
    print("\n".join(faults) if faults else f"passed: the reference and the manual have all {count} names")
    return 1 if faults or not count else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
