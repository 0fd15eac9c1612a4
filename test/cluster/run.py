#!/usr/bin/env python3
"""Runs the tests on a cluster, and measures there; with --check, only reads the arguments."""

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
    return unittest.TestSuite(
        map(loader.loadTestsFromModule, (programs_test, facts_test, kills_test)))


def of_the_machine():
    """The files of a cluster that this machine may have, or of one that was badly configured."""
    return {str(path) for folder in ("/etc/ceph", "/var/lib/ceph", "/var/log/ceph", "/run/ceph")
            for path in pathlib.Path(folder).glob("**/*")}


def arguments():
    parser = argparse.ArgumentParser(prog="test-cluster", usage=argparse.SUPPRESS)
    parser.add_argument("--check", action="store_true", help=argparse.SUPPRESS)
    parser.add_argument("--quick", action="store_true")
    parser.add_argument("--seed", type=int, default=random.randrange(1000000))
    parser.add_argument("-k", metavar="PART")
    options = parser.parse_args()
    options.tests = tests(options.k)
    if not options.tests.countTestCases():
        parser.error(f"no test has '{options.k}' in its name")
    return options


def main():
    options = arguments()
    if options.check:
        return 0
    signal.signal(signal.SIGTERM, signal.default_int_handler)  # stops the cluster, as an interrupt does
    print(f"seed {options.seed}", flush=True)
    before = of_the_machine()
    with Cluster("build/cluster", "build/release") as cluster:
        ClusterCase.cluster, ClusterCase.seed, ClusterCase.isQuick = cluster, options.seed, options.quick
        outcome = unittest.TextTestRunner(sys.stdout, verbosity=2, resultclass=Result).run(
            options.tests)
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
