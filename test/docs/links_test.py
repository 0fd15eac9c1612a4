#!/usr/bin/env python3
"""Every relative link holds: links_test.py ROOT

README.md leads to every class, and ARCHITECTURE.md to every tool and every folder of tests.
"""

import pathlib
import sys

import markdown


def is_external(target):
    return target.startswith(("https://", "http://", "mailto:"))


def broken(document, target):
    name, _, anchor = target.partition("#")
    file = document.parent / name if name else document
    if not file.exists():
        return "there is no such file"
    if anchor and anchor not in markdown.anchors(file):
        return "there is no such heading"
    return None


def main(root):
    faults = []
    documents = [
        path for path in sorted(root.rglob("*.md")) if path.relative_to(root).parts[0] != "build"
    ]
    for document in documents:
        for number, target in markdown.links(document):
            fault = None if is_external(target) else broken(document, target)
            if fault:
                faults.append(f"{document.relative_to(root)}:{number}: {target}: {fault}")

    workshop = [target for _, target in markdown.links(root / "ARCHITECTURE.md")]
    for tool in sorted([*root.glob("scripts/*"), *root.glob("test/*")]):
        name = str(tool.relative_to(root))
        if not any(target == name or target.startswith(f"{name}/") for target in workshop):
            faults.append(f"ARCHITECTURE.md has no link to {name}")

    linked = {target for _, target in markdown.links(root / "README.md")}
    component = root / "components/sql/sqlwrapper"
    files = {*component.glob("include/*.h"), *component.glob("src/*.*")}
    tests = {component / f"test/{file.stem}Test.cpp" for file in files}
    for file in sorted(files | tests):
        if file.exists() and str(file.relative_to(root)) not in linked:
            faults.append(f"README.md has no link to {file.relative_to(root)}")

    print("\n".join(faults) if faults else f"{len(documents)} documents, every link holds")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
