#!/usr/bin/env python3
"""No source includes what ARCHITECTURE.md forbids its layer: layers_test.py ROOT

The table below its heading "Layers" has a layer, its files, and the layers that it may include. The drawing
above it has the arrows of docs/drawings/layers.dot, and those that lead to SQLite come from its callers.
"""

import itertools
import re

import markdown
import verdict


def arrows(lines, sign):
    """The pairs of names that the lines of a drawing join."""
    for line in lines:
        names = [re.findall(r"\w+", re.sub(r"\[.*\]|\(.*\)|\|.*\|", "", part)) for part in line.split(sign)]
        for sources, targets in zip(names, names[1:]):
            yield from itertools.product(sources, targets)


def wrong_arrows(root):
    (_, drawing), = markdown.blocks(root / "ARCHITECTURE.md", "mermaid")
    drawn = set(arrows(drawing, "-->"))
    dot = (root / "docs/drawings/layers.dot").read_text(encoding="utf-8").splitlines()
    for source, target in drawn ^ set(arrows(dot, "->")):
        yield f"only one drawing has an arrow from {source} to {target}"
    callers = {file.stem.removeprefix("Sql").replace("Common", "common")
               for file in (root / "components/sql/sqlwrapper/src").glob("*.cpp")
               if re.search(r"\bsqlite3_\w+\(", file.read_text(encoding="utf-8"))}
    for name in callers ^ {source for source, target in drawn if target == "sqlite"}:
        yield f"{name} calls SQLite, or has an arrow to it, but not both"


def main(root):
    layer_of, allowed = {}, {}
    for layer, files, lower, *_ in markdown.rows(root / "ARCHITECTURE.md", "Layers"):
        allowed[layer] = {layer, *filter(None, re.split(r",\s*", lower))}
        layer_of.update((stem, layer) for stem in re.findall(r"`(\w+)`", files))

    faults = [f"{name} is no layer" for name in set().union(*allowed.values()) - set(allowed)]
    faults += wrong_arrows(root)
    component = root / "components/sql/sqlwrapper"
    files = sorted([*component.glob("include/*.h"), *component.glob("src/*.*")])
    for file in files:
        if file.name == "Sql.h":  # the whole interface, which nothing includes
            continue
        layer = layer_of.get(file.stem)
        if not layer:
            faults.append(f"{file.name} is in no layer")
            continue
        for stem in re.findall(r'#include "(\w+)\.h"', file.read_text(encoding="utf-8")):
            if layer_of.get(stem) not in allowed[layer]:
                faults.append(f"{file.name}, which is in {layer}, includes {stem}.h")

    return faults, len(files), f"files keep to {len(allowed)} layers"


if __name__ == "__main__":
    verdict.of(main)
