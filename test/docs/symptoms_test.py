#!/usr/bin/env python3
"""docs/symptoms.md shows every failure of docs/diagnostics.md, and no other: symptoms_test.py ROOT"""

import re

import markdown
import verdict

LINE = re.compile(r"\[ERROR\] (?P<source>\w+\.cpp):N \((?P<function>\w+)\) - (?P<text>.*)")
REPORT = re.compile(r"Assertion '(?P<condition>.*?)' failed in (?P<function>.*) \(components/\S+:N\)")


def pattern(text):
    """What a line with this format looks like."""
    pieces = re.split(r"%s|%d|%ld|%lld", text)
    return re.compile(".*".join(re.escape(piece.rstrip()) for piece in pieces) + r"\s*")


def listed(diagnostics, heading):
    """The cells in code of both libraries' tables under a heading."""
    for whose in "", " of the companion":
        for row in markdown.rows(diagnostics, heading + whose):
            yield row[0], tuple(map(markdown.code, row[1:4] if heading == "Log lines" else row[:2]))


def shows(line, entry):
    parts, report = LINE.fullmatch(line), REPORT.fullmatch(line)
    if len(entry) == 2:
        return report and entry == report.group("condition", "function")
    return parts and entry[:2] == parts.group("source", "function") and pattern(entry[2]).fullmatch(parts["text"])


def main(root):
    page, diagnostics = root / "docs/symptoms.md", root / "docs/diagnostics.md"
    lines = {entry for level, entry in listed(diagnostics, "Log lines") if level == "ERROR"}
    reports = {entry for _, entry in listed(diagnostics, "Assertion reports")}
    faults, seen = [], set()
    for begin, block in markdown.blocks(page, "text"):
        for number, line in enumerate(block, begin):
            matching = {entry for entry in lines | reports if shows(line, entry)}
            seen |= matching
            if not matching:
                faults.append(f"{page}:{number}: diagnostics.md has no such text: {line}")
    faults += [f"{page}: lacks {' '.join(entry)}" for entry in lines - seen]
    conditions = {condition for condition, _ in reports} - {entry[0] for entry in seen & reports}
    faults += [f"{page}: lacks the condition {condition}" for condition in conditions]
    return faults, len(seen), "texts are shown"


if __name__ == "__main__":
    verdict.of(main)
