#!/usr/bin/env python3
"""What a fleet does when all goes well, and when not: fleet_test.py PROGRAMS [EMULATOR...]"""

import contextlib
import pathlib
import re
import resource
import shlex
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

from fleet import Fleet

PROGRAMS, *EMULATOR = sys.argv[1:]


def without_disk():
    """Files that do not grow: what a full disk does to a program."""
    signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
    resource.setrlimit(resource.RLIMIT_FSIZE, (60000, 60000))


class FleetTest(unittest.TestCase):
    def setUp(self):
        self.fleet = self.enterContext(Fleet(PROGRAMS, EMULATOR))

    def same(self, *boards):
        for board in boards:
            self.assertIsNone(self.fleet.differences(board))
        self.assertEqual(0, self.fleet.number("SELECT count(*) FROM conflict"))

    def good(self, outcome):
        self.assertEqual((0, ""), outcome[:2])

    def refused(self, outcome, program, words):
        status, line, _ = outcome
        self.assertEqual(1, status)
        self.assertTrue(line.startswith(program + ": "), line)
        self.assertIn(words, line)

    def test_new_boards_are_known_after_their_first_changes(self):
        self.fleet.listen()
        for board in 1, 2, 3:
            self.good(self.fleet.sample(board))
            self.good(self.fleet.ship(board))
        self.same(1, 2, 3)
        self.assertEqual(["new"], self.fleet.events(2))
        self.assertIn("2\t3\t", self.fleet.run("gateway", self.fleet.gateway_file, "report")[2])

    def test_a_gateway_takes_its_database_by_a_uri(self):
        self.good(self.fleet.sample(1))
        self.good(self.fleet.write(1, "first"))
        stick = self.fleet.folder / "first"
        self.good(self.fleet.run("gateway", f"file:{self.fleet.gateway_file}?mode=rwc", "apply", stick))
        self.same(1)
        self.refused(self.fleet.run("gateway", "file:x.db?mode=memory", "apply", stick), "gateway",
                     "is a database that nothing keeps")

    def test_confirmed_changes_leave_the_outbox(self):
        self.fleet.listen()
        self.fleet.sample(1, 100)
        self.good(self.fleet.ship(1))
        with sqlite3.connect(self.fleet.file(1)) as database:
            self.assertEqual([(100,)], list(database.execute("SELECT number FROM outbox")))
        self.fleet.sample(1, 2)
        self.good(self.fleet.ship(1))
        self.same(1)

    def test_a_wiped_board_starts_again_and_its_former_rows_are_kept(self):
        self.fleet.listen()
        self.fleet.sample(1, 5)
        self.fleet.ship(1)
        before = len(self.fleet.rows(self.fleet.gateway_file, "reading", 1))
        self.fleet.file(1).unlink()
        self.fleet.sample(1, 2, "other")
        self.assertIn("all rows are sent", self.fleet.ship(1)[1])
        self.same(1)
        self.assertEqual(before, self.fleet.number(
            "SELECT count(*) FROM former WHERE tab = 'reading'"))
        self.assertIn("another database", self.fleet.events(1)[-1])

    def test_a_board_restored_from_a_backup_is_seen(self):
        self.fleet.listen()
        self.fleet.sample(1, 3)
        backup = self.fleet.folder / "backup"
        shutil.copy(self.fleet.file(1), backup)
        for more in 2, 5:  # with numbers behind those of the gateway, and ahead of them
            self.fleet.sample(1, 3)
            self.fleet.ship(1)
            shutil.copy(backup, self.fleet.file(1))
            self.fleet.sample(1, more)
            self.assertIn("all rows are sent", self.fleet.ship(1)[1])
            self.same(1)

    def test_a_gateway_restored_from_a_backup_gets_all_rows(self):
        self.fleet.listen()
        self.fleet.sample(1, 3)
        self.fleet.ship(1)
        self.fleet.stop_listening(signal.SIGTERM)
        shutil.copy(self.fleet.gateway_file, self.fleet.folder / "backup")
        for _ in range(2):
            self.fleet.listen()
            self.fleet.sample(1, 3)
            self.fleet.ship(1)
            self.fleet.stop_listening(signal.SIGTERM)
        shutil.copy(self.fleet.folder / "backup", self.fleet.gateway_file)
        self.fleet.listen()
        self.assertEqual(0, self.fleet.ship(1)[0])
        self.same(1)

    def test_changes_by_files_count_once_in_any_order(self):
        self.fleet.sample(1, 3)
        self.good(self.fleet.write(1, "first"))
        self.fleet.sample(1, 3)
        self.good(self.fleet.write(1, "second", 3))
        self.refused(self.fleet.apply("second"), "gateway", "number 4 comes where 1 is expected")
        self.good(self.fleet.apply("first", "second", "first", "second"))
        self.same(1)
        self.assertEqual("refused: number 4 comes where 1 is expected", self.fleet.events(1)[0])

    def test_a_board_that_hangs_keeps_no_other_waiting(self):
        self.fleet.listen()
        self.fleet.sample(1)
        self.fleet.write(1, "one")
        half = (self.fleet.folder / "one").read_bytes()[:-20]
        with contextlib.ExitStack() as hanging:
            for sent in b"", half[:30], half:
                connection = socket.create_connection(("127.0.0.1", int(self.fleet.port)))
                hanging.enter_context(connection).sendall(sent)
            begin = time.monotonic()
            for board in 2, 3:
                self.fleet.sample(board)
                self.good(self.fleet.ship(board))
            self.assertLess(time.monotonic() - begin, 20)
        self.good(self.fleet.ship(1))
        self.same(1, 2, 3)

    def test_boards_that_ship_at_once(self):
        self.fleet.listen()
        boards = range(1, 13)
        for board in boards:
            self.fleet.sample(board, 5)
        with ThreadPoolExecutor(len(boards)) as shippers:
            for outcome in shippers.map(self.fleet.ship, boards):
                self.good(outcome)
        self.same(*boards)

    def test_one_that_sends_nonsense_disturbs_no_other(self):
        self.fleet.listen()
        self.fleet.sample(1, 200)
        shipper = self.fleet.start("ship", self.fleet.file(1), "to", "127.0.0.1", self.fleet.port)
        for _ in range(20):
            with socket.create_connection(("127.0.0.1", int(self.fleet.port))) as connection:
                connection.sendall(b"GET / HTTP/1.1\r\n" * 20)
        _, errors = shipper.communicate(timeout=60)
        self.assertEqual((0, ""), (shipper.returncode, errors))
        self.same(1)

    def test_an_old_snapshot_is_refused(self):
        self.fleet.sample(1, 3)
        self.fleet.run("ship", self.fleet.file(1), "snapshot", self.fleet.folder / "old")
        self.fleet.sample(1, 3)
        self.fleet.run("ship", self.fleet.file(1), "snapshot", self.fleet.folder / "newer")
        self.good(self.fleet.apply("old", "newer"))
        self.refused(self.fleet.apply("old"), "gateway", "a snapshot of an earlier time")
        self.same(1)

    def test_cut_and_damaged_files_change_nothing_that_is_not_whole(self):
        self.fleet.sample(1, 3)
        self.fleet.write(1, "good")
        whole = (self.fleet.folder / "good").read_bytes()
        for name, content in (("cut", whole[:-5]), ("head", whole[:40]),
                              ("flipped", whole[:200] + bytes([whole[200] ^ 1]) + whole[201:]),
                              ("text", b"no message of a board, but quite a long text" * 3)):
            (self.fleet.folder / name).write_bytes(content)
            self.assertEqual(1, self.fleet.apply(name)[0], name)
        self.assertEqual(0, self.fleet.number("SELECT count(*) FROM received"))
        self.good(self.fleet.apply("good"))
        self.same(1)

    def test_a_change_of_another_board_is_refused(self):
        self.fleet.sample(1, 1)
        self.fleet.sample(2, 1)
        with sqlite3.connect(self.fleet.file(1)) as database:
            database.execute("UPDATE self SET id = 2")
        self.fleet.write(1, "stolen")
        self.refused(self.fleet.apply("stolen"), "gateway", "which is another board's")
        self.assertEqual(0, self.fleet.number("SELECT count(*) FROM reading"))

    def test_conflicts_are_listed_and_kept(self):
        self.fleet.sample(1, 1)
        self.fleet.write(1, "first")
        self.fleet.apply("first")
        with sqlite3.connect(self.fleet.gateway_file) as database:
            database.execute("UPDATE latest SET value = 99999")
        self.fleet.sample(1, 1)
        self.fleet.write(1, "second", 1)
        self.good(self.fleet.apply("second"))
        output = self.fleet.run("gateway", self.fleet.gateway_file, "conflicts")[2]
        self.assertIn("the row differs\tlatest\t", output)

    def test_boards_are_updated_one_after_another(self):
        self.fleet.listen()
        for board in 1, 2:
            self.good(self.fleet.sample(board, 2, None, "--version", "1"))
            self.good(self.fleet.ship(board))
        self.good(self.fleet.sample(1, 2, None, "--version", "2"))
        self.good(self.fleet.sample(2, 2, None, "--version", "1"))  # not shipped before its update
        self.good(self.fleet.ship(1))
        self.assertIsNone(self.fleet.differences(1))
        self.good(self.fleet.sample(2))
        self.good(self.fleet.ship(2))
        self.same(1, 2)

    def test_a_board_that_was_wiped_before_its_update(self):
        self.fleet.listen()
        for _ in range(2):
            self.fleet.file(1).unlink(missing_ok=True)
            self.good(self.fleet.sample(1, 2, None, "--version", "1"))
            self.assertEqual(0, self.fleet.ship(1)[0])
        self.good(self.fleet.sample(1))
        self.good(self.fleet.ship(1))
        self.same(1)

    def test_a_newer_board_waits_for_its_gateway(self):
        self.fleet.listen()
        self.fleet.sample(1)
        with sqlite3.connect(self.fleet.file(1)) as database:
            database.execute("UPDATE outbox SET version = 3")
        self.refused(self.fleet.ship(1), "ship", "update the gateway first")
        with sqlite3.connect(self.fleet.file(1)) as database:
            self.assertEqual(3, database.execute("SELECT count(*) FROM outbox").fetchone()[0])
            database.execute("UPDATE outbox SET version = 2")
        self.good(self.fleet.ship(1))
        self.same(1)

    def test_a_full_disk_of_the_board_loses_nothing_that_was_kept(self):
        self.fleet.sample(1, 30)
        samples = self.fleet.folder / "1.samples"
        options = {"preexec_fn": without_disk}
        outcome = (0, "", "")
        for _ in range(50):
            outcome = self.fleet.run("board", self.fleet.file(1), 1, "--replay", samples, **options)
            if outcome[0]:
                break
        self.refused(outcome, "board", "")
        self.fleet.listen()
        self.good(self.fleet.ship(1))
        self.same(1)

    def test_a_full_disk_of_the_gateway_takes_nothing(self):
        self.fleet.sample(1, 300)
        self.fleet.write(1, "all")
        outcome = self.fleet.apply("all", preexec_fn=without_disk)
        self.refused(outcome, "gateway", "")
        self.good(self.fleet.apply("all"))
        self.same(1)

    def test_a_full_disk_of_a_gateway_that_listens(self):
        for board in 1, 2:
            self.fleet.sample(board, 300)
        self.fleet.listen(preexec_fn=without_disk)
        for board in 1, 2, 1:
            self.refused(self.fleet.ship(board), "ship", "the gateway is gone")
        self.assertIsNone(self.fleet.listener.poll())
        self.fleet.stop_listening(signal.SIGTERM)
        self.fleet.listen()
        for board in 1, 2:
            self.good(self.fleet.ship(board))
        self.same(1, 2)

    def test_pipes(self):
        self.fleet.sample(1, 100)
        self.assertEqual([0, 0], self.fleet.pipe(1))
        self.fleet.sample(1, 3)
        self.assertEqual([0, 0], self.fleet.pipe(1))
        self.same(1)

    def test_the_steps_of_the_guide(self):
        guide = pathlib.Path(__file__).resolve().parents[3] / "docs/guides/more-than-one-machine.md"
        text = guide.read_text().split("## Boards and their gateway")[1].split("\n### ")[0]
        listen, *steps = re.findall(r"^ *```sh\n(.*?)^ *```$", text, re.MULTILINE | re.DOTALL)
        self.assertEqual(["gateway", "all.db", "listen", "9000"], listen.split())
        self.fleet.gateway_file = self.fleet.folder / "all.db"
        self.fleet.listen()
        script = "set -e\n" + "".join(steps).replace("9000", self.fleet.port)
        for program in "board", "ship", "gateway":  # in the emulator, where there is one
            command = [*EMULATOR, str(pathlib.Path(PROGRAMS, program).resolve())]
            script = script.replace(program + " ", shlex.join(command) + " ")
        done = subprocess.run(["sh", "-c", script], cwd=self.fleet.folder, capture_output=True,
                              text=True, timeout=120)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertRegex(done.stdout, r"\n7\t3\t\d+\t")
        self.same(7)

    def test_bad_usage_is_one_line(self):
        for program, *arguments in (("board", "x"), ("board", "x.db", "0"), ("ship",), ("gateway", "x"),
                                    ("gateway", "g.db", "sing"), ("ship", "none.db", "pipe")):
            status, line, _ = self.fleet.run(program, *arguments, cwd=self.fleet.folder)
            self.assertIn(status, (1, 2), arguments)
            self.assertTrue(line.startswith(program + ": "), line)
        self.refused(self.fleet.run("ship", "none.db", "pipe"), "ship", "none.db is not there")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
