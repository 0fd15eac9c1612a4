#!/usr/bin/env python3
"""Operations of the reference and entries of docs/deliberate-behaviour.md link each other: traps_test.py ROOT"""

import markdown
import verdict

def places(page):
    """Where third-level headings lead to: (anchor, target)."""
    anchors, operation = iter(markdown.anchors(page)), None
    for _, line in markdown.prose(page):
        if line.startswith("#"):
            anchor = next(anchors)
            operation = anchor if line.startswith("### ") else None
        elif operation is not None:
            yield from ((operation, target) for target in markdown.targets(line))


def main(root):
    warned = {(f"reference/{page.name}#{operation}", target.partition("#")[2])
              for page in root.glob("docs/reference/*.md") for operation, target in places(page)
              if target.startswith("../deliberate-behaviour.md#")}
    listed = {(target, entry) for entry, target in places(root / "docs/deliberate-behaviour.md")
              if target.startswith("reference/") and "#" in target}
    faults = [f"the entry '{entry}' does not lead to {name}" for name, entry in sorted(warned - listed)]
    faults += [f"{name} does not lead to the entry '{entry}'" for name, entry in sorted(listed - warned)]
    return faults, len(warned), "links, each in both directions"


if __name__ == "__main__":
    verdict.of(main)
