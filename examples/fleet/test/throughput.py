#!/usr/bin/env python3
"""Measures one gateway: throughput.py PROGRAMS [--boards N...] [--changesets N] [--rows N]

Boards keep samples, and ship them all at once to a gateway on the loopback interface. What each line
shows: the boards; changesets and rows per second, from the first shipper's start until the last one's
end; changesets per second of processor time of the gateway; bytes per row on the wire; bytes per row
that is added in the gateway's file.
"""

import argparse
import os
import pathlib
import sys
import time
from concurrent.futures import ThreadPoolExecutor

from fleet import Fleet


def sample(fleet, board, changesets, rows):
    """Each changeset adds `rows` rows to one table and changes as many of another."""
    samples = fleet.folder / f"{board}.samples"
    with open(samples, "w", encoding="utf-8") as file:
        for i in range(changesets):
            file.writelines(f"counter_{row} {1000 * i + row} kB\n" for row in range(rows))
            file.write("\n")
    outcome = fleet.run("board", fleet.file(board), board, "--replay", samples)
    if outcome[0]:
        sys.exit(outcome[1])


def ship(fleet, board):
    outcome = fleet.ship(board)
    if outcome[0]:
        sys.exit(outcome[1])


def processor_seconds(pid):
    fields = pathlib.Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


def measure(programs, boards, changesets, rows):
    each = max(1, changesets // boards)
    with Fleet(programs) as fleet, ThreadPoolExecutor(boards) as shippers:
        with ThreadPoolExecutor(os.cpu_count()) as makers:
            list(makers.map(lambda board: sample(fleet, board, each, rows), range(1, boards + 1)))
        fleet.write(1, "wire")
        size = (fleet.folder / "wire").stat().st_size
        fleet.listen()
        begin = time.monotonic()
        list(shippers.map(lambda board: ship(fleet, board), range(1, boards + 1)))
        seconds = time.monotonic() - begin
        gateway = processor_seconds(fleet.listener.pid)
        differences = filter(None, map(fleet.differences, range(1, boards + 1)))
        for difference in differences:
            sys.exit(difference)
        done = boards * each
        kept = fleet.gateway_file.stat().st_size
        return (boards, done / seconds, 2 * rows * done / seconds, done / max(gateway, 0.01),
                size / (2 * rows * each), kept / (rows * done))


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("programs", type=pathlib.Path)
    parser.add_argument("--boards", type=int, nargs="+", default=[1, 10, 50, 100, 200])
    parser.add_argument("--changesets", type=int, default=4000, help="of all boards (4000)")
    parser.add_argument("--rows", type=int, default=10, help="that a changeset adds, and changes (10)")
    chosen = parser.parse_args()
    print("boards  changesets/s  rows/s  changesets/s of processor  bytes/row  kept")
    for boards in chosen.boards:
        print("{:6}  {:12,.0f}  {:6,.0f}  {:25,.0f}  {:9.0f}  {:4.0f}".format(
            *measure(chosen.programs, boards, chosen.changesets, chosen.rows)), flush=True)


if __name__ == "__main__":
    main()
