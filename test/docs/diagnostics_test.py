#!/usr/bin/env python3
"""docs/diagnostics.md lists exactly what both libraries log and report: diagnostics_test.py ROOT"""

import re

import markdown
import verdict

TOKEN = re.compile(r'//[^\n]*|/\*.*?\*/|("(?:\\.|[^"\\])*"|\'(?:\\.|[^\'\\])*\')', re.DOTALL)
STRING = r'"((?:\\.|[^"\\])*)"'
FUNCTION = re.compile(r"^(?:[A-Za-z_][\w:<>,&* ]*?[ &*])?((?:\w+::)*~?\w+)\(", re.MULTILINE)
CALL = re.compile(r"\bSQLW_(ERROR|DEBUG1|DEBUG2|DEBUG3|FAULT|ASSERT)\(")


def without_comments(text):
    return TOKEN.sub(lambda token: token[1] or " ", text)


def arguments_of(text, begin):
    """The text from `begin` to the parenthesis that closes the call."""
    depth = 1
    for token in re.finditer(STRING + r"|[()]", text[begin:]):
        depth += {"(": 1, ")": -1}.get(token[0], 0)
        if depth == 0:
            return text[begin : begin + token.start()]
    raise ValueError("no end of the call at: " + text[begin : begin + 80])


def leading_text(arguments):
    """The text that a call begins with, all its pieces joined."""
    pieces = re.match(rf"\s*(?:{STRING}\s*)+", arguments)
    if not pieces:
        raise ValueError("no text at the front of: " + arguments)
    return "".join(re.findall(STRING, pieces[0]))


def signatures(body, function, whole):
    """A function names its own signature, or its callers hand theirs to it."""
    own = re.findall(rf"SQLW_SIGNATURE\({STRING}\)", body)
    handed = [text for text in re.findall(STRING, whole) if f"::{function}(" in text]
    if not own and not handed:
        raise ValueError(f"no signature for {function}")
    return own or handed


def of_source(path):
    """What one source writes: its log lines and its assertion reports."""
    text = without_comments(path.read_text(encoding="utf-8"))
    starts = list(FUNCTION.finditer(text))
    lines, reports = [], []
    for start, following in zip(starts, starts[1:] + [None]):
        function = start[1].split("::")[-1]
        body = text[start.start() : following.start() if following else len(text)]
        for call in CALL.finditer(body):
            kind, arguments = call[1], arguments_of(body, call.end())
            if kind != "ASSERT":
                level = "ERROR" if kind == "FAULT" else kind
                lines.append((level, path.name, function, leading_text(arguments)))
            if kind in ("ASSERT", "FAULT"):
                condition = "false" if kind == "FAULT" else " ".join(arguments.split())
                reports += [(condition, name) for name in signatures(body, function, text)]
    if CALL.search(text[: starts[0].start() if starts else None]):
        raise ValueError(f"{path.name}: a call in front of the first function")
    return lines, reports


def difference(kind, written, listed):
    faults = [f"not in the document: {kind} {e}" for e in sorted(set(written) - set(listed))]
    faults += [f"not in the sources: {kind} {e}" for e in sorted(set(listed) - set(written))]
    faults += [f"listed twice: {kind} {e}" for e in sorted(set(listed)) if listed.count(e) > 1]
    return faults


def of_library(root, name, whose):
    """What differs between the sources of one library and its two tables, and how much there is."""
    document = root / "docs/diagnostics.md"
    lines, reports = (sum(found, []) for found in zip(*map(of_source, sorted(root.glob(f"components/sql/{name}/src/*.*")))))
    listed_lines = [(row[0], *map(markdown.code, row[1:4])) for row in markdown.rows(document, f"Log lines{whose}")]
    listed_reports = [tuple(map(markdown.code, row[:2])) for row in markdown.rows(document, f"Assertion reports{whose}")]
    faults = difference("log line", lines, listed_lines) + difference("report", reports, listed_reports)
    return faults, len({*lines, *reports})


def main(root):
    faults, count = of_library(root, "sqlwrapper", "")
    more_faults, more = of_library(root, "sqlprepared", " of the companion")
    return faults + more_faults, count + more, "log lines and assertion reports"


if __name__ == "__main__":
    verdict.of(main)
