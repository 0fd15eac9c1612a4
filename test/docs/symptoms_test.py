#!/usr/bin/env python3
"""docs/symptoms.md shows every failure of docs/diagnostics.md, and no other: symptoms_test.py ROOT"""

import pathlib
import re
import sys

import markdown

LINE = re.compile(r"\[ERROR\] (?P<source>\w+\.cpp):N \((?P<function>\w+)\) - (?P<text>.*)")
REPORT = re.compile(r"Assertion '(?P<condition>.*?)' failed in (?P<function>.*) \(components/\S+:N\)")


def pattern(text):
    """What a line with this format looks like."""
    pieces = re.split(r"%s|%d|%ld|%lld", text)
    return re.compile(".*".join(re.escape(piece.rstrip()) for piece in pieces) + r"\s*")


def shown(page):
    for number, lines in markdown.blocks(page, "text"):
        for offset, line in enumerate(lines):
            yield number + offset, line


def listed_lines(diagnostics):
    for heading in "Log lines", "Log lines of the companion":
        for level, source, function, text, *_ in markdown.rows(diagnostics, heading):
            if level == "ERROR":
                yield markdown.code(source), markdown.code(function), markdown.code(text)


def listed_reports(diagnostics):
    for heading in "Assertion reports", "Assertion reports of the companion":
        for condition, function, *_ in markdown.rows(diagnostics, heading):
            yield markdown.code(condition), markdown.code(function)


def main(root):
    page, diagnostics = root / "docs/symptoms.md", root / "docs/diagnostics.md"
    lines, reports = list(listed_lines(diagnostics)), list(listed_reports(diagnostics))
    faults, seen = [], set()
    for number, line in shown(page):
        parts, report = LINE.fullmatch(line), REPORT.fullmatch(line)
        matching = []
        if parts:
            matching = [entry for entry in lines if entry[:2] == (parts["source"], parts["function"])
                        and pattern(entry[2]).fullmatch(parts["text"])]
        elif report:
            matching = [entry for entry in reports if entry == report.group("condition", "function")]
        if not matching:
            faults.append(f"{page}:{number}: diagnostics.md has no such text: {line}")
        seen.update(matching)
    faults += [f"{page}: lacks {' '.join(entry)}" for entry in lines if entry not in seen]
    conditions = {entry[0] for entry in seen if len(entry) == 2}
    faults += [f"{page}: lacks the condition {condition}"
               for condition in {entry[0] for entry in reports} - conditions]
    print("\n".join(faults) if faults else f"passed: {len(seen)} texts are shown")
    return 1 if faults or not lines or not reports else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
