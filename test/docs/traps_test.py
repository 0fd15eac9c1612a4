#!/usr/bin/env python3
"""Operations of the reference and entries of docs/deliberate-behaviour.md link each other: traps_test.py ROOT"""

import pathlib
import sys

import markdown

ENTRIES = "docs/deliberate-behaviour.md"


def places(page):
    """The third-level headings, and what is linked below each: (anchor, targets)."""
    found, anchors = [], iter(markdown.anchors(page))
    targets = None
    for _, line in markdown.prose(page):
        if line.startswith("#"):
            anchor = next(anchors)
            targets = None
            if line.startswith("### "):
                targets = []
                found.append((anchor, targets))
        elif targets is not None:
            targets += markdown.targets(line)
    return found


def main(root):
    entries = root / ENTRIES
    warned = set()
    for page in sorted(root.glob("docs/reference/*.md")):
        for operation, targets in places(page):
            name = f"reference/{page.name}#{operation}"
            warned |= {(name, t.partition("#")[2]) for t in targets if t.startswith(f"../{entries.name}#")}
    listed = {
        (target, entry)
        for entry, targets in places(entries)
        for target in targets
        if target.startswith("reference/") and "#" in target
    }
    faults = [f"the entry '{entry}' does not lead to {name}" for name, entry in sorted(warned - listed)]
    faults += [f"{name} does not lead to the entry '{entry}'" for name, entry in sorted(listed - warned)]
    print("\n".join(faults) if faults else f"{len(warned)} links, each in both directions")
    return 1 if faults or not warned else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
