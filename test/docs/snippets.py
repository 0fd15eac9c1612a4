#!/usr/bin/env python3
"""Makes a program of the C++ blocks of a document: snippets.py first|checked DOCUMENT OUTPUT

first    the first block as it stands
checked  every block but the first runs on its own, behind a copy of the first. A remark at the end
         of a statement, `expression; // value`, is what the expression must give; what follows the
         value behind a colon is for readers.
"""

import json
import pathlib
import re
import sys

import markdown

REMARK = re.compile(r"^\s*(?P<expression>[^/\s].*?);\s+// (?P<remark>.*)$")
VALUE = re.compile(r'(?P<value>true|false|null|-?\d[\d.e+-]*|".*?")(: .*)?')


def checked_line(document, number, line):
    statement = REMARK.fullmatch(line)
    if not statement:
        return line
    value = VALUE.fullmatch(statement["remark"])
    if not value:
        sys.exit(f"{document}:{number}: '{statement['remark']}' is no value")
    return f"check(__LINE__, {statement['expression']}, {json.dumps(value['value'])});"


def checked(document):
    blocks = list(markdown.blocks(document, "cpp"))
    quoted = json.dumps(str(document))
    program = ['#include "snippets.h"']
    for begin, lines in blocks[1:]:
        program.append(f"static void snippet{begin}()\n{{")
        for number, block in (blocks[0], (begin, lines)):
            program.append(f"#line {number} {quoted}")
            program += [checked_line(document, number + i, line) for i, line in enumerate(block)]
        program.append("}")
    calls = "".join(f"    snippet{begin}();\n" for begin, _ in blocks[1:])
    program.append(f"int main()\n{{\n{calls}    return failures > 0;\n}}")
    return program


def first(document):
    number, lines = next(markdown.blocks(document, "cpp"))
    return [f"#line {number} {json.dumps(str(document))}"] + lines


if __name__ == "__main__":
    kind, source, output = sys.argv[1:]
    make = {"first": first, "checked": checked}[kind]
    pathlib.Path(output).write_text("\n".join(make(pathlib.Path(source))) + "\n", encoding="utf-8")
