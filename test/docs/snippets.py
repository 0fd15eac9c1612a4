#!/usr/bin/env python3
"""Makes a program of the C++ code in a document: snippets.py first|checked|lifetimes DOCUMENT OUTPUT

first      the first block as it is
checked    every block but the first runs on its own, after a copy of the first. A remark at the end
           of a statement, `expression; // value`, is what the expression must give; what follows
           the value and a colon is for readers.
lifetimes  every row of a table whose second cell is "ends" or "stays" runs on its own, after the
           first block and the last block above it. It says whether the statement in the first cell
           ends the rows held by `items` and `set`; AddressSanitizer knows.
"""

import json
import pathlib
import re
import sys

import markdown

REMARK = re.compile(r"^\s*(?P<expression>[^/\s].*?);\s+// (?P<remark>.*)$")
VALUE = re.compile(r'(?P<value>true|false|null|-?\d[\d.e+-]*|".*?")(: .*)?')
FATE = re.compile(r"\| `(?P<statement>.+?)` \| (?P<fate>ends|stays)\b.*")


def checked_line(document, number, line):
    statement = REMARK.fullmatch(line)
    if not statement:
        return line
    value = VALUE.fullmatch(statement["remark"])
    if not value:
        sys.exit(f"{document}:{number}: '{statement['remark']}' is no value")
    return f"check(__LINE__, {statement['expression']}, {json.dumps(value['value'])});"


def function(document, name, blocks, *statements):
    lines = [f"static void {name}()", "{"]
    for begin, block in blocks:
        lines.append(f"#line {begin} {json.dumps(str(document))}")
        lines += [checked_line(document, begin + i, line) for i, line in enumerate(block)]
    return [*lines, *statements, "}"]


def main_of(names):
    return ["int main()", "{", *(f"    {name}();" for name in names), "    return failures > 0;", "}"]


def checked(document):
    first_block, *others = markdown.blocks(document, "cpp")
    program, names = ['#include "snippets.h"'], []
    for block in others:
        names.append(f"snippet{block[0]}")
        program += function(document, names[-1], (first_block, block))
    return program + main_of(names)


def lifetimes(document):
    blocks = list(markdown.blocks(document, "cpp"))
    program, names = ['#include "lifetimes.h"'], []
    for number, line in markdown.prose(document):
        row = FATE.fullmatch(line)
        if row:
            above = [block for block in blocks if block[0] < number][-1]
            names.append(f"row{number}")
            program += function(
                document,
                names[-1],
                (blocks[0], above),
                "const Cells cells(items, set);",
                f"#line {number} {json.dumps(str(document))}",
                f"{row['statement']}; check(__LINE__, cells.fate(), {json.dumps(row['fate'])});",
            )
    if not names:
        sys.exit(f"{document}: no table says what ends the rows held")
    return program + main_of(names)


def first(document):
    number, lines = next(markdown.blocks(document, "cpp"))
    return [f"#line {number} {json.dumps(str(document))}"] + lines


if __name__ == "__main__":
    kind, source, output = sys.argv[1:]
    make = {"first": first, "checked": checked, "lifetimes": lifetimes}[kind]
    pathlib.Path(output).write_text("\n".join(make(pathlib.Path(source))) + "\n", encoding="utf-8")
