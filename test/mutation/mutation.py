"""Changes the sources of both libraries at one point at a time, and counts what their tests see.

    scripts/mutation             every change (--full)
    scripts/mutation --quick     a sample of 24 of both libraries
    scripts/mutation --sample N  a sample of N of both libraries, the same ones every time
    scripts/mutation --only ID   one change, some, or those of a file or a library: what they are,
                                 and what the tests say
    scripts/mutation --list      every change

A change that no test of a class sees has survived, and is listed; those of test/mutation/equivalent,
which no test can see, are tried too and, where all are tried, must survive. What does not compile
does not count. The exit status is 1 when fewer than 98 % of the others are killed.

It works on a copy of the last commit, or with --uncommitted of the files as they are, in
build/mutation.
"""

import argparse
import collections
import fcntl
import pathlib
import sys
import time

import changes
import workshop

EQUIVALENT = pathlib.Path(__file__).with_name("equivalent")
BAR = 98.0
QUICK = 24


# What no test can see

class Equivalents:
    """test/mutation/equivalent: the reasons, by file, function, line before and line after."""

    def __init__(self):
        self.reasons = collections.defaultdict(list)
        lines = EQUIVALENT.read_text().splitlines() if EQUIVALENT.exists() else []
        for block in "\n".join(line for line in lines if not line.startswith("#")).split("\n\n"):
            if block.strip():
                self.add(*block.strip("\n").splitlines())

    def add(self, place, *lines):
        """A block: the file, and the function if it is in one; any number of lines that start with -,
        each with its changes, which start with +; and then the reason. A + with an asterisk means
        every change of that line."""
        file, _, function = place.partition(" ")
        reason = " ".join(line for line in lines if line[0] not in "-+")
        pairs, before = [], None
        for line in lines:
            if line[0] == "-":
                before = line[1:].strip()
            elif line[0] == "+":
                pairs.append((before, line[1:].strip()))
        if not reason or not pairs or None in pairs[0]:
            sys.exit(f"mutation: {EQUIVALENT.name}: not a place, changes and a reason:\n{place}")
        for before, after in pairs:
            self.reasons[file, function, before, after].append(reason)

    def take(self, mutant):
        """The reason why a mutant survived. Each entry is good for one of them."""
        place = mutant.file, mutant.function, mutant.before
        reasons = self.reasons.get((*place, mutant.after))
        if reasons:
            return reasons.pop()
        every = self.reasons.get((*place, "*"), [])
        return every[0] if every else None

    def wrong(self, states, untried):
        """The entries without a mutant that survived. Where a file has changes that were not tried,
        its entries are not judged."""
        survivors = {(m.file, m.function, m.before) for m in states["equivalent"]}
        killed = {(m.file, m.function, m.before) for m in states["killed"]}
        for (*place, after), reasons in self.reasons.items():
            alive = after == "*" and tuple(place) in survivors - killed
            if reasons and not alive and place[0] not in untried:
                yield " ".join(place[:2]) + f": {place[2]} -> {after}"


# The report

def described(mutant):
    return (f"{mutant.id}  {mutant.what}  {mutant.function}\n"
            f"    - {mutant.before}\n    + {mutant.after}")


def report(outcomes, untried, seconds):
    equivalents = Equivalents()
    states = collections.defaultdict(list)
    for outcome in outcomes:
        mutant, state = outcome.mutant, outcome.state
        if state == "survived":
            if reason := equivalents.take(mutant):
                state = "equivalent"
                print(f"equivalent {described(mutant)}\n    {reason}")
            else:
                print(f"survived {described(mutant)}")
        states[state].append(mutant)

    killed, survived = len(states["killed"]), len(states["survived"])
    share = 100.0 * killed / max(killed + survived, 1)
    print(f"cases {len(outcomes) - len(states['unbuilt'])}")
    print(f"figure {killed} killed, {survived} survived, {len(states['equivalent'])} equivalent: "
          f"{share:.1f} % of the {killed + survived} that can be seen")
    print(f"{len(states['unbuilt'])} more did not compile; {seconds:.0f} s")

    failures = []
    if share < BAR:
        failures += [(mutant.id, f"survived: {mutant.after}") for mutant in states["survived"]]
    failures += [("-", f"listed as equivalent, but seen or no change: {entry}")
                 for entry in equivalents.wrong(states, untried)]
    for point, what in failures:
        print(f"failure {point}: {what}")
    return 1 if failures else 0


def sample(mutants, size):
    return [mutants[i * len(mutants) // size] for i in range(min(size, len(mutants)))]


def chosen(args, mutants, library_of):
    if args.only:
        return [mutant for mutant in mutants
                if {mutant.id, mutant.file, library_of[mutant.file]} & set(args.only)]
    size = QUICK if args.quick else args.sample
    return sample(mutants, size) if size else mutants


def arguments():
    parser = argparse.ArgumentParser(prog="mutation", usage=argparse.SUPPRESS, description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    which = parser.add_mutually_exclusive_group()
    which.add_argument("--full", action="store_true")
    which.add_argument("--quick", action="store_true")
    which.add_argument("--sample", type=int, metavar="N")
    which.add_argument("--only", nargs="+", metavar="ID")
    which.add_argument("--list", action="store_true")
    parser.add_argument("--uncommitted", action="store_true")
    return parser, parser.parse_args()


def main():
    parser, args = arguments()
    workshop.OUT.mkdir(parents=True, exist_ok=True)
    with open(workshop.OUT / "lock", "w", encoding="utf-8") as lock:
        fcntl.flock(lock, fcntl.LOCK_EX) # until another run has ended
        workshop.copy_tree(args.uncommitted)
        paths = workshop.sources()
        mutants = [mutant for path in paths
                   for mutant in changes.mutants_of(path.name, path.read_text())]
        wanted = chosen(args, mutants, {path.name: path.parent.parent.name for path in paths})
        if not wanted:
            parser.error(f"no change '{args.only[0]}'; --list shows them")
        if args.list:
            print("\n".join(described(mutant) for mutant in wanted))
            return 0
        return attempts(args, wanted, {mutant.file for mutant in set(mutants) - set(wanted)})


def attempts(args, wanted, untried):
    begin = time.monotonic()
    outcomes = []
    with open(workshop.OUT / "outcomes.txt", "w", encoding="utf-8") as log:
        for outcome in workshop.attempt_all(wanted):
            outcomes.append(outcome)
            mutant = outcome.mutant
            print(f"{outcome.state:<8} {mutant.id:<26} {outcome.test}", file=log, flush=True)
            if args.only:
                print(f"{described(mutant)}\n{outcome.state} {outcome.test}\n{outcome.output}")
            if len(outcomes) % 100 == 0:
                print(f"{len(outcomes)} of {len(wanted)}", file=sys.stderr, flush=True)
    return report(outcomes, untried, time.monotonic() - begin)


if __name__ == "__main__":
    sys.exit(main())
