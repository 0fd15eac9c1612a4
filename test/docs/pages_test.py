#!/usr/bin/env python3
"""The reference and the manual have every function that both libraries export: pages_test.py ROOT FOLDER"""

import html
import re

import verdict

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


def wrong_headers(root):
    """Pages of the reference whose synopsis includes no header that declares what they describe."""
    for page in root.glob("docs/reference/*.md"):
        text = page.read_text(encoding="utf-8")
        headers = [next(root.glob(f"components/sql/*/include/{name}"))
                   for name in re.findall(r"^#include <(\w+\.h)>", text, re.MULTILINE)]
        declared = set(re.findall(r"\w+", " ".join(header.read_text(encoding="utf-8") for header in headers)))
        for name in set(re.findall(r"^```{doxygen\w+} sql::(\w+)", text, re.MULTILINE)) - declared:
            yield f"{page}: the headers of its synopsis do not declare {name}"


def main(root, folder):
    count, faults = 0, [*wrong_headers(root)]
    for package, functions in FUNCTIONS.items():
        symbols = (root / f"debian/{package}.symbols").read_text(encoding="utf-8")
        names = set(exported(symbols))
        count += len(names)
        faults += missing(names, functions, folder)
    return faults, count, "names are in the reference and in the manual"


if __name__ == "__main__":
    verdict.of(main)
