"""Judges what gcovr counted: coverage.py COUNTS

Every line of the libraries must be reached, but for those that the file `exceptions` lists with their
reason, and 95 % of the branches.
"""

import json
import pathlib
import sys

BRANCHES = 0.95


def exceptions():
    lines = pathlib.Path(__file__).with_name("exceptions").read_text(encoding="utf-8").splitlines()
    rows = ([part.strip() for part in line.split(" | ")] for line in lines if line[0] != "#")
    return {(file, text): reason for file, text, reason in rows}


def lines_of(counts):
    """The place and the text of each line with code, how often it ran, and its branches."""
    for source in json.loads(counts.read_text())["files"]:
        path = pathlib.Path(source["file"])
        texts = path.read_text(encoding="utf-8").splitlines()
        for line in source["lines"]:
            if not line["gcovr/noncode"]:
                number = line["line_number"]
                branches = [branch["count"] for branch in line["branches"] if not branch["throw"]]
                yield f"{path.name}:{number}", texts[number - 1].strip(), line["count"], branches


def main(counts):
    reasons, lines = exceptions(), list(lines_of(counts))
    missed = [(place, (place.split(":")[0], text)) for place, text, count, _ in lines if not count]
    for place, key in missed:
        print(f"not reached, {place}: {key[1]}\n    {reasons.get(key, 'NOT LISTED')}")
    for place, text, count, branches in lines:
        if count and not all(branches):
            print(f"branch not taken, {place}: {text}")
    seen = {key for _, key in missed}
    for file, text in reasons.keys() - seen:
        print(f"listed, but reached or gone: {file} | {text}")

    branches = [count > 0 for *_, counts in lines for count in counts]
    share = sum(branches) / len(branches)
    print(f"lines     {len(lines) - len(missed)} of {len(lines)}, "
          f"the other {len(missed)} listed with their reason")
    print(f"branches  {100 * share:.1f} % ({sum(branches)} of {len(branches)})")
    return 1 if seen ^ reasons.keys() or share < BRANCHES else 0


if __name__ == "__main__":
    sys.exit(main(pathlib.Path(sys.argv[1])))
