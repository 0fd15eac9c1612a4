#!/usr/bin/env python3
"""The reference and the manual have every function that the library exports: pages_test.py ROOT FOLDER"""

import html
import pathlib
import re
import sys


def exported(symbols):
    """The class, or "" for none, and the name of each function."""
    for scope, name in re.findall(r'"sql::(?:(\w+)::)?(~?\w+|operator[^(]+)[\[(]', symbols):
        if not (scope == "RecordSet" and name == "operator="):  # which tables alone may use
            yield scope, name


def missing(names, folder):
    for scope, name in sorted(names):
        page = folder / f"html/reference/{scope or 'functions'}.html"
        manual = folder / f"man/man3/{f'sql::{scope}' if scope else 'sqlwrapper'}.3"
        text = html.unescape(re.sub(r"<[^>]*>", "", page.read_text(encoding="utf-8")))
        if not re.search(rf"(?<!\w){re.escape(name)}\s*\(", text):
            yield f"{page}: {name} is missing"
        if not re.search(rf"(?<!\w){re.escape(name)}\\?(fP)?\s*\(", manual.read_text(encoding="utf-8")):
            yield f"{manual}: {name} is missing"


def main(root, folder):
    names = set(exported((root / "debian/libsqlwrapper1.symbols").read_text(encoding="utf-8")))
    faults = list(missing(names, folder))
    print("\n".join(faults) if faults else f"passed: the reference and the manual have all {len(names)} names")
    return 1 if faults or not names else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])))
