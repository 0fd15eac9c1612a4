#!/usr/bin/env python3
"""Every relative link holds: links_test.py ROOT

README.md leads to every class, and ARCHITECTURE.md to every tool and every folder of tests.
"""

import markdown
import verdict


def broken(document):
    for number, target in markdown.links(document):
        name, _, anchor = target.partition("#")
        file = document.parent / name if name else document
        if target.startswith(("https://", "http://", "mailto:")):
            continue
        if not file.exists():
            yield f"{document}:{number}: {target}: there is no such file"
        elif anchor and anchor not in markdown.anchors(file):
            yield f"{document}:{number}: {target}: there is no such heading"


def missing(root, name, files):
    """Which of the files and folders the document has no link to, nor to a file in them."""
    targets = [target for _, target in markdown.links(root / name)]
    for file in sorted(str(file.relative_to(root)) for file in files if file.exists()):
        if not any(target == file or target.startswith(f"{file}/") for target in targets):
            yield f"{name} has no link to {file}"


def main(root):
    documents = [path for path in sorted(root.rglob("*.md")) if path.relative_to(root).parts[0] != "build"]
    component = root / "components/sql/sqlwrapper"
    files = {*component.glob("include/*.h"), *component.glob("src/*.*")}
    tests = {component / f"test/{file.stem}Test.cpp" for file in files}
    faults = [fault for document in documents for fault in broken(document)]
    faults += missing(root, "ARCHITECTURE.md", [*root.glob("scripts/*"), *root.glob("test/*")])
    faults += missing(root, "README.md", files | tests)
    return faults, len(documents), "documents, every link holds"


if __name__ == "__main__":
    verdict.of(main)
