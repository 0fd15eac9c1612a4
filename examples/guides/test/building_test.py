#!/usr/bin/env python3
"""The build files that the guides show are in those that the installed package is tested with.

building_test.py ROOT
"""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(sys.argv[1]) / "test/docs"))
sys.dont_write_bytecode = True
import markdown  # noqa: E402


def main(root):
    consumers = root / "test/consumer"
    files = [*consumers.rglob("CMakeLists.txt"), *consumers.rglob("Makefile")]
    texts = [file.read_text(encoding="utf-8") for file in files]
    faults, count = [], 0
    for document in sorted((root / "docs/guides").glob("*.md")):
        for language in "cmake", "make":
            for number, lines in markdown.blocks(document, language):
                count += 1
                if not any("\n".join(lines) + "\n" in text for text in texts):
                    faults.append(f"{document}:{number}: not in any file of test/consumer")
    if count < 5:
        faults.append(f"only {count} blocks were found")
    print("\n".join(faults) if faults else f"{count} blocks, all of them tested")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
