#!/usr/bin/env python3
"""Each oddity in the sources has its entry on the page, and each entry its place: marks_test.py ROOT

In the sources, `// Deliberate: TITLE` is the title of an entry of docs/deliberate-behaviour.md. At its
end the page lists the entries that no line of the sources is responsible for.
"""

import re

import markdown
import verdict

MARK = re.compile(r"// Deliberate: (.*)")


def marks(root):
    """The titles in the sources: (place, title)."""
    component = root / "components/sql/sqlwrapper"
    for path in sorted([*component.glob("include/*"), *component.glob("src/*")]):
        for number, line in enumerate(path.read_text(encoding="utf-8").splitlines(), 1):
            for title in MARK.findall(line):
                yield f"{path.name}:{number}", title


def unmarked(page):
    """The entries that the last section lists."""
    last = page.read_text(encoding="utf-8").rpartition("\n## ")[2]
    return re.findall(r"^- \[(.+?)\]\(#", last, re.MULTILINE)


def main(root):
    page = root / "docs/deliberate-behaviour.md"
    titles = [line.removeprefix("### ") for _, line in markdown.prose(page) if line.startswith("### ")]
    excused, marked = unmarked(page), list(marks(root))
    in_sources = {title for _, title in marked}
    faults = [f"{place}: no entry is called '{t}'" for place, t in marked if t not in titles]
    faults += [f"the list has no entry '{t}'" for t in excused if t not in titles]
    faults += [f"no mark in the sources: {t}" for t in titles if t not in {*excused, *in_sources}]
    faults += [f"marked, and yet listed as unmarked: {t}" for t in excused if t in in_sources]
    faults += [f"two entries are called '{t}'" for t in set(titles) if titles.count(t) > 1]
    return faults, len(titles), f"entries: {len(in_sources)} in {len(marked)} places, {len(excused)} in none"


if __name__ == "__main__":
    verdict.of(main)
