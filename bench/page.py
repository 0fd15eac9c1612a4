"""The figures of docs/performance.md. As a program: compares those of counts with what was accepted."""

import pathlib
import re
import shutil
import sys

import bars
import tables

ROOT = pathlib.Path(__file__).resolve().parents[1]
PAGE, PICTURES = ROOT / "docs/performance.md", ROOT / "docs/performance"
TABLE = re.compile(r"^\|([^|\n]+)\|.*\n\|[-:|]+\n(?:\|.*\n)+", re.M)


def accepted():
    """The tables of what both machines were accepted to cost."""
    counts_of = bars.accepted()
    return [tables.companion_table(counts_of), tables.floor_table(counts_of),
            *(tables.cost_table(f"on {tables.MACHINES[on_target]}", counts)
              for on_target, counts in counts_of.items())]


def measured(results):
    """The tables of the last measurements of all kinds."""
    return [match[0] for path in sorted(results.glob("*.md"))
            for match in TABLE.finditer(path.read_text(encoding="utf-8"))]


def with_tables(text, new):
    """Each table of the text is replaced by the new one whose first cell is the same."""
    by_name = {TABLE.match(table)[1]: table for table in new}
    return TABLE.sub(lambda match: by_name.get(match[1], match[0]), text)


def write(results):
    text = PAGE.read_text(encoding="utf-8")
    PAGE.write_text(with_tables(text, [*measured(results), *accepted()]), encoding="utf-8")
    for picture in PICTURES.glob("*.svg"):
        if (results / picture.name).exists():
            shutil.copyfile(results / picture.name, picture)


def main():
    text = PAGE.read_text(encoding="utf-8")
    missing = [table for table in accepted() if table not in text]
    for table in missing:
        print(f"{PAGE} has other figures; scripts/bench --page writes\n\n{table}", file=sys.stderr)
    sys.exit(1 if missing else 0)


if __name__ == "__main__":
    main()
