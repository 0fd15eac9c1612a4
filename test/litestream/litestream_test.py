#!/usr/bin/env python3
"""Loses machines whose database is backed up all the time: litestream_test.py LOG LITESTREAM ROUNDS"""

import contextlib
import getpass
import os
import pathlib
import random
import re
import shutil
import signal
import socket
import sqlite3
import subprocess
import sys
import tempfile
import textwrap
import threading
import time
import unittest
from concurrent.futures import ThreadPoolExecutor

LOG, LITESTREAM = (str(pathlib.Path(path).resolve()) for path in sys.argv[1:3])
ROUNDS = int(sys.argv[3])
GUIDE = pathlib.Path(__file__).resolve().parents[2] / "docs/guides/more-than-one-machine.md"
PAUSE = 0.02  # of the writer, between two events
SSHD = shutil.which("sshd", path="/usr/sbin:/usr/local/sbin:" + os.environ["PATH"])


def block_of_guide(first_line):
    """The program in the guide that begins with this line."""
    found = re.search(r"^( *)```[a-z]+\n( *" + re.escape(first_line) + r".*?)^\1```$",
                      GUIDE.read_text(), re.MULTILINE | re.DOTALL)
    return textwrap.dedent(found[2])


def run(*command, **options):
    return subprocess.run([str(part) for part in command], stdout=subprocess.PIPE, check=False,
                          stderr=subprocess.PIPE, text=True, timeout=60, **options)


def append(database, text):
    """Adds an event; true once it is kept."""
    return run(LOG, database, "append", "writer", text, 999999).returncode == 0


class Machine:
    """A folder with a log that is written and backed up, until the machine is lost."""

    def __init__(self, folder):
        self.folder = folder / "machine"
        self.folder.mkdir(parents=True)
        self.server = folder / "server"
        self.database = self.folder / "log.db"
        self.config = folder / "litestream.yml"
        self.config.write_text(block_of_guide("dbs:").replace("/srv/board", str(self.folder))
                               .replace("/mnt/server", str(self.server)))
        self.log = folder / "litestream.log"
        self.kept = []  # when each event was acknowledged
        self.isLost = False

    def start(self):
        assert append(self.database, "event 1")
        self.kept.append(time.monotonic())
        self.back_up()
        self.writer = threading.Thread(target=self.write)
        self.writer.start()

    def back_up(self):
        with self.log.open("w", encoding="utf-8") as log:
            self.litestream = subprocess.Popen([LITESTREAM, "replicate", "-config", self.config],
                                               stdout=log, stderr=log)

    def write(self):
        while not self.isLost:
            if append(self.database, f"event {len(self.kept) + 1}"):
                self.kept.append(time.monotonic())
            time.sleep(PAUSE)

    def segments(self):
        return set(self.server.rglob("*.wal.lz4"))

    def wait_for_copy(self, beyond=frozenset()):
        limit = time.monotonic() + 30
        while self.segments() <= beyond:
            assert time.monotonic() < limit, "nothing is backed up: " + self.log.read_text()[-1500:]
            time.sleep(0.05)

    def lose(self):
        """Everything ends at once. Returns the moment."""
        self.litestream.kill()
        lost = time.monotonic()
        self.isLost = True
        self.writer.join()
        self.litestream.wait()
        return lost

    def restore(self, copy):
        return run(LITESTREAM, "restore", "-config", self.config, "-o", copy, self.database)


class SftpServer:
    """An sshd on the loopback interface, with keys of its own in a folder."""

    def __init__(self, folder):
        self.key = folder / "key"
        for key in (self.key, folder / "host"):
            subprocess.run(["ssh-keygen", "-q", "-t", "ed25519", "-N", "", "-f", key], check=True)
        with socket.socket() as free:
            free.bind(("127.0.0.1", 0))
            self.port = free.getsockname()[1]
        self.config = folder / "sshd_config"
        self.config.write_text(f"ListenAddress 127.0.0.1\nPort {self.port}\nHostKey {folder}/host\n"
                               f"AuthorizedKeysFile {self.key}.pub\nStrictModes no\nUsePAM no\n"
                               "PidFile none\nSubsystem sftp internal-sftp\n")

    def __enter__(self):
        self.process = subprocess.Popen([SSHD, "-D", "-f", self.config], stderr=subprocess.DEVNULL)
        return self

    def __exit__(self, *_):
        self.drop_connections()
        self.process.terminate()
        self.process.wait()

    def drop_connections(self):
        """Ends the processes that serve them, and returns how many there were."""
        process = self.process.pid
        children = pathlib.Path(f"/proc/{process}/task/{process}/children").read_text().split()
        for child in children:
            os.kill(int(child), signal.SIGKILL)
        return len(children)


def events(database):
    """The texts in the order of their numbers, from a file that must be sound."""
    with contextlib.closing(sqlite3.connect(database)) as connection:
        assert connection.execute("PRAGMA integrity_check").fetchall() == [("ok",)]
        return [row[0] for row in connection.execute("SELECT text FROM event ORDER BY id")]


def expected(count):
    return [f"event {i + 1}" for i in range(count)]


class LitestreamTest(unittest.TestCase):
    def setUp(self):
        self.folder = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))

    def lose_one(self, number):
        """How old the oldest lost event was, how many were lost, and the seconds of the restore."""
        folder = self.folder / str(number)
        machine = Machine(folder)
        machine.start()
        machine.wait_for_copy()
        time.sleep(random.uniform(0, 3))
        lost = machine.lose()
        machine.folder.rename(folder / "lost")
        begin = time.monotonic()
        restored = machine.restore(folder / "restored.db")
        took = time.monotonic() - begin
        self.assertEqual(0, restored.returncode, restored.stderr)
        there = events(folder / "restored.db")
        self.assertEqual(expected(len(there)), there)
        self.assertTrue(append(folder / "restored.db", "goes on"))
        missing = [lost - at for at in machine.kept[len(there):] if at <= lost]
        return max(missing, default=0), len(missing), took

    def test_lost_machines(self):
        with ThreadPoolExecutor(2) as machines:
            outcomes = list(machines.map(self.lose_one, range(ROUNDS)))
        ages, counts, took = zip(*outcomes)
        print(f"{ROUNDS} machines lost, 0 damaged; lost events {sum(counts)}, the oldest "
              f"{max(ages):.2f} s old; restored in {max(took):.2f} s at most")
        self.assertLess(max(ages), 1)

    def test_a_second_machine_follows_by_restoring(self):
        machine = Machine(self.folder)
        machine.start()
        machine.wait_for_copy()
        lengths = []
        copy = self.folder / "follower.db"
        for _ in range(4):
            time.sleep(0.5)
            new = self.folder / "new.db"
            restored = machine.restore(new)
            self.assertEqual(0, restored.returncode, restored.stderr)
            new.rename(copy)
            there = events(copy)
            self.assertEqual(expected(len(there)), there)
            lengths.append(len(there))
        machine.lose()
        self.assertEqual(sorted(set(lengths)), lengths)
        shown = run(LOG, copy, "show", 1)
        self.assertIn(f"writer: event {lengths[-1]}\n", shown.stdout)

    def test_the_restore_is_tested_as_the_guide_shows(self):
        machine = Machine(self.folder)
        machine.start()
        machine.wait_for_copy()
        time.sleep(1)
        script = self.folder / "check-backup"
        script.write_text(block_of_guide("#!/bin/sh\n"))
        check = ["sh", script, machine.config, machine.database]
        environment = {"PATH": f"{pathlib.Path(LITESTREAM).parent}:/usr/bin:/bin"}
        good = run(*check, env=environment)
        self.assertEqual((0, "ok\n"), (good.returncode, good.stdout), good.stderr)
        machine.lose()
        for file in machine.server.rglob("*.snapshot.lz4"):
            file.write_bytes(file.read_bytes()[:50])
        bad = run(*check, env=environment)
        self.assertNotEqual(0, bad.returncode, bad.stdout)

    def test_a_file_that_litestream_saw_first_is_no_log(self):
        machine = Machine(self.folder)
        machine.database.touch()
        machine.litestream = subprocess.Popen([LITESTREAM, "replicate", "-config", machine.config],
                                              stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        self.addCleanup(machine.litestream.wait)
        self.addCleanup(machine.litestream.kill)
        limit = time.monotonic() + 30
        while machine.database.stat().st_size == 0 and time.monotonic() < limit:
            time.sleep(0.05)
        outcome = run(LOG, machine.database, "append", "writer", "event 1")
        self.assertEqual((1, f"event-log: {machine.database} is not an event log: its version is 0, "
                             "not 2\n"), (outcome.returncode, outcome.stderr))

    @unittest.skipUnless(SSHD, "openssh-server is not installed")
    def test_a_dropped_sftp_connection_ends_the_copy_without_a_line(self):
        if os.geteuid() == 0:
            pathlib.Path("/run/sshd").mkdir(exist_ok=True)  # as Debian's service does
        server = self.enterContext(SftpServer(self.folder))
        machine = Machine(self.folder)
        machine.config.write_text(machine.config.read_text().replace(
            f"- path: {machine.server}", f"""- type: sftp
        host: 127.0.0.1:{server.port}
        user: {getpass.getuser()}
        key-path: {server.key}
        path: {machine.server}"""))
        machine.start()
        self.addCleanup(machine.lose)
        machine.wait_for_copy()
        before = len(machine.log.read_text())
        self.assertEqual(1, server.drop_connections())
        time.sleep(1)
        segments = machine.segments()
        kept = len(machine.kept)
        time.sleep(10)
        self.assertGreater(len(machine.kept), kept)
        self.assertEqual(segments, machine.segments())
        self.assertNotRegex(machine.log.read_text()[before:], "level=(WARN|ERROR)")

        machine.litestream.kill()
        machine.litestream.wait()
        machine.back_up()
        machine.wait_for_copy(beyond=segments)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
