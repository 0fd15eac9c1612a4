#!/usr/bin/env python3
"""Runs the tests on a cluster in FOLDER, and measures there: run.py PROGRAMS FOLDER [OPTION...]"""

import argparse
import pathlib
import random
import signal
import sys
import time
import unittest

import facts_test
import kills_test
import programs_test
from case import ClusterCase
from cluster import Cluster
from measure import measure


class Result(unittest.TextTestResult):
    """With the seconds that each test took."""

    def startTest(self, test):
        super().startTest(test)
        self._begin = time.monotonic()

    def stopTest(self, test):
        super().stopTest(test)
        self.stream.writeln(f"    {time.monotonic() - self._begin:.1f} s")


def tests(pattern):
    loader = unittest.TestLoader()
    if pattern:
        loader.testNamePatterns = [f"*{pattern}*"]
    found = unittest.TestSuite(
        map(loader.loadTestsFromModule, (programs_test, facts_test, kills_test)))
    if not found.countTestCases():
        sys.exit(f"scripts/test-cluster: no test has '{pattern}' in its name")
    return found


def of_the_machine():
    """The files of a cluster that this machine may have, or of one that was badly configured."""
    return {str(path) for folder in ("/etc/ceph", "/var/lib/ceph", "/var/log/ceph", "/run/ceph")
            for path in pathlib.Path(folder).glob("**/*")}


def arguments():
    parser = argparse.ArgumentParser(prog="scripts/test-cluster", description=__doc__)
    parser.add_argument("programs", help=argparse.SUPPRESS)
    parser.add_argument("folder", help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true", help="fewer kills, shorter measurements")
    parser.add_argument("--seed", type=int, default=random.randrange(1000000))
    parser.add_argument("-k", metavar="PART", help="only the tests with this part of a name")
    return parser.parse_args()


def main():
    options = arguments()
    chosen = tests(options.k)
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # stops the cluster, as an interrupt does
    print(f"seed {options.seed}", flush=True)
    before = of_the_machine()
    with Cluster(options.folder, options.programs) as cluster:
        ClusterCase.cluster, ClusterCase.seed, ClusterCase.isQuick = cluster, options.seed, options.quick
        outcome = unittest.TextTestRunner(sys.stdout, verbosity=2, resultclass=Result).run(
            chosen)
        for figure in ClusterCase.figures:
            print(figure)
        if not options.k:
            for line in measure(cluster, options.quick):
                print(line, flush=True)
    changed = sorted(before ^ of_the_machine())
    if changed:
        print(f"files outside of the folder have come or gone: {changed}")
    return 0 if outcome.wasSuccessful() and not changed else 1


if __name__ == "__main__":
    sys.exit(main())
