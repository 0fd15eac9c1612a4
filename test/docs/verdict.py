"""How a check of the documents ends."""

import pathlib
import sys


def of(check):
    """Calls `check` with the paths given to the program. It returns faults, and what it has seen: number, words."""
    found, count, words = check(*(pathlib.Path(path).resolve() for path in sys.argv[1:]))
    faults = [*found] if count else [f"the check has seen no {words}"]
    print("\n".join(faults) or f"passed: {count} {words}")
    sys.exit(1 if faults else 0)
