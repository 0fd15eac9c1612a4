#!/usr/bin/env python3
"""No source includes what ARCHITECTURE.md forbids its layer: layers_test.py ROOT

The table below its heading "Layers" has a layer, its files, and the layers that it may include.
"""

import pathlib
import re
import sys

import markdown


def main(root):
    layer_of = {}
    allowed = {}
    for layer, files, lower, *_ in markdown.rows(root / "ARCHITECTURE.md", "Layers"):
        allowed[layer] = {layer, *filter(None, re.split(r",\s*", lower))}
        layer_of.update((stem, layer) for stem in re.findall(r"`(\w+)`", files))

    faults = [f"{name} is no layer" for name in set().union(*allowed.values()) - set(allowed)]
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

    print("\n".join(faults) if faults else f"{len(files)} files keep to {len(allowed)} layers")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
