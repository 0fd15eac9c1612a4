"""Programs that know nothing about clusters, used as they were built, with the VFS preloaded."""

import random
import signal
import sqlite3
import subprocess
import sys
import time

from case import ClusterCase

ROOT = __file__.rsplit("/test/", 1)[0]
sys.path.insert(0, f"{ROOT}/examples/fleet/test")
from fleet import Fleet  # noqa: E402


class ClusterFleet(Fleet):
    """A fleet whose gateway keeps its rows on a cluster."""

    def __init__(self, cluster):
        super().__init__(cluster.programs / "examples/fleet")
        self._cluster = cluster
        self.gateway_file = cluster.uri("gateway.db")

    def start(self, program, *arguments, **options):
        if program == "gateway":
            options["env"] = self._cluster.preloaded()
        return super().start(program, *arguments, **options)

    def all_differences(self, boards):
        """Compares with a local copy of what the cluster has."""
        kept, self.gateway_file = self.gateway_file, self.folder / "copy.db"
        subprocess.run(["sqlite3", kept, f".backup {self.gateway_file}"], check=True,
                       env=self._cluster.preloaded(), timeout=60, capture_output=True)
        found = [self.differences(board) for board in boards]
        rows = self.number("SELECT count(*) FROM reading")
        self.gateway_file = kept
        return [difference for difference in found if difference], rows


class ProgramsTest(ClusterCase):
    def start(self, program, *arguments):
        return subprocess.Popen([self.cluster.programs / "examples" / program / program, *arguments],
                                env=self.cluster.preloaded(), stdout=subprocess.PIPE,
                                stderr=subprocess.PIPE, text=True)

    def run_program(self, program, *arguments):
        output, errors = self.start(program, *arguments).communicate(timeout=60)
        self.assertEqual("", errors)
        return output

    def test_package_inventory(self):
        database = ("--database", self.cluster.uri("inventory.db"))
        self.run_program("package-inventory", *database)
        self.assertIn("Nothing changed", self.run_program("package-inventory", *database))

    def test_event_log_with_two_writers_at_a_time(self):
        log = self.cluster.uri("events.db")
        for number in range(5):
            writers = [self.start("event-log", log, "append", source, str(number)) for source in "ab"]
            for writer in writers:
                self.assertEqual(("", ""), writer.communicate(timeout=60))
        events = self.run_program("event-log", log, "show", "50").splitlines()
        self.assertEqual([str(number) for number in range(1, 11)],
                         [event.split()[0] for event in events])
        self.run_program("event-log", log, "backup", self.cluster.uri("copy.db"))
        self.assertEqual(10, len(self.run_program(
            "table-browser", self.cluster.uri("copy.db"), "event", "id:integer").splitlines()) - 1)

    def test_databases_that_are_not_there(self):
        for program, *arguments in (("event-log", "show"), ("table-browser", "event", "id:integer")):
            process = self.start(program, self.cluster.uri("none.db"), *arguments)
            errors = process.communicate(timeout=60)[1]
            self.assertEqual((1, 1), (process.returncode, errors.count("\n")), errors)
            self.assertIn("none.db", errors)

    def test_the_gateway_of_a_fleet_that_is_killed(self):
        pick = random.Random(self.seed)
        boards = (1, 2, 3)
        with ClusterFleet(self.cluster) as fleet:
            for number in range(2 if self.isQuick else 4):
                fleet.listen()
                for board in boards:
                    self.assertEqual((0, ""), fleet.sample(board, 30, f"{self.seed} {number} {board}")[:2])
                ships = [fleet.start("ship", fleet.file(board), "to", "127.0.0.1", fleet.port)
                         for board in boards]
                time.sleep(pick.uniform(0, 0.4))
                fleet.stop_listening(signal.SIGKILL)
                for ship in ships:
                    ship.communicate(timeout=60)
                self.cluster.break_lock("gateway.db")
            fleet.listen()
            for board in boards:
                self.assertEqual(0, fleet.ship(board)[0])
            fleet.stop_listening(signal.SIGTERM)
            differences, rows = fleet.all_differences(boards)
            self.assertEqual([], differences)
            self.figure(f"the gateway killed {number + 1} times: {rows:,} rows of {len(boards)} boards are "
                        "the same on the cluster")
