"""Reads what the tests of the documents need from Markdown files."""

import re


def blocks(path, language):
    """The fenced code blocks of a language: (number of the first line, lines)."""
    begin = None
    lines = path.read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, 1):
        if begin is not None and line == "```":
            yield begin, lines[begin - 1 : number - 1]
            begin = None
        elif line == "```" + language:
            begin = number + 1


def prose(path):
    """The lines outside of fenced code blocks: (number, line)."""
    fenced = False
    for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
        if line.startswith("```"):
            fenced = not fenced
        elif not fenced:
            yield number, line


def rows(path, heading):
    """The rows of the table under a heading: lists of cells. Its first two lines are no rows."""
    section = None
    table = []
    for _, line in prose(path):
        if line.startswith("#"):
            section = line.lstrip("# ")
        elif section == heading and line.startswith("|"):
            cells = re.split(r"(?<!\\)\|", line)[1:-1]
            table.append([cell.strip().replace("\\|", "|") for cell in cells])
    return table[2:]


def code(cell):
    """The text between the first and the last backtick of a cell."""
    return cell[cell.index("`") + 1 : cell.rindex("`")]


def links(path):
    """The targets of links: (number of the line, target)."""
    for number, line in prose(path):
        for target in targets(line):
            yield number, target


def targets(line):
    return re.findall(r"\]\(([^)\s]+)\)", line)


def anchors(path):
    """The names by which links reach the headings; one that is there already is numbered."""
    counts = {}
    for _, line in prose(path):
        if line.startswith("#"):
            kept = re.sub(r"[^\w\- ]", "", line.lstrip("#").strip().lower()).replace(" ", "-")
            counts[kept] = count = counts.get(kept, -1) + 1
            yield f"{kept}-{count}" if count else kept
