"""Boards, their shippers and a gateway, as processes, in a folder of their own."""

import os
import pathlib
import random
import signal
import sqlite3
import subprocess
import tempfile

TABLES = ("reading", "latest")


def write_samples(path, count, seed):
    """A file to replay: counters that come, change and go."""
    pick = random.Random(seed)
    with open(path, "w", encoding="utf-8") as file:
        for _ in range(count):
            for name in pick.sample(["load", "free", "heat", "flow's", "speed"], 3):
                file.write(f"{name} {pick.randrange(-1000, 1000)} unit\n")
            file.write("\n")


class Fleet:
    def __init__(self, programs, emulator=(), elsewhere=None):
        """`emulator` runs the programs. Boards in `elsewhere` have programs and emulator of their own."""
        self._made = tempfile.TemporaryDirectory()
        self.folder = pathlib.Path(self._made.name)
        self.here = (pathlib.Path(programs).resolve(), list(emulator))
        self.elsewhere = elsewhere or {}
        self.gateway_file = self.folder / "gateway.db"
        self.listener = None

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.stop_listening(signal.SIGTERM)
        self._made.cleanup()

    def file(self, number):
        return self.folder / f"{number}.db"

    def start(self, program, *arguments, **options):
        programs, emulator = self.elsewhere.get(options.pop("board", None), self.here)
        command = [*emulator, str(programs / program), *map(str, arguments)]
        return subprocess.Popen(command, stdin=options.pop("stdin", subprocess.DEVNULL), text=True,
                                stdout=options.pop("stdout", subprocess.PIPE),
                                stderr=subprocess.PIPE, **options)

    def run(self, program, *arguments, **options):
        """The exit status and the last line of the errors."""
        process = self.start(program, *arguments, **options)
        output, errors = process.communicate(timeout=120)
        return process.returncode, (errors.strip().splitlines() or [""])[-1], output

    def sample(self, number, count=3, seed=None, *options):
        """The board keeps some samples."""
        samples = self.folder / f"{number}.samples"
        write_samples(samples, count, random.random() if seed is None else seed)
        return self.run("board", self.file(number), number, "--replay", samples, *options,
                        board=number)

    def listen(self, **options):
        self.listener = self.start("gateway", self.gateway_file, "listen", 0, **options)
        self.port = self.listener.stdout.readline().strip()

    def stop_listening(self, how=signal.SIGKILL):
        if self.listener:
            self.listener.send_signal(how)
            self.listener.communicate()
            self.listener = None

    def ship(self, number, **options):
        return self.run("ship", self.file(number), "to", "127.0.0.1", self.port, board=number,
                        **options)

    def pipe(self, number):
        """Ships through two pipes, as through ssh. The exit statuses of both ends."""
        (from_board, to_gateway), (from_gateway, to_board) = os.pipe(), os.pipe()
        board = self.start("ship", self.file(number), "pipe", stdin=from_gateway, stdout=to_gateway)
        gateway = self.start("gateway", self.gateway_file, "pipe", stdin=from_board, stdout=to_board)
        for end in from_board, to_gateway, from_gateway, to_board:
            os.close(end)
        return [end.communicate(timeout=60) and end.returncode for end in (board, gateway)]

    def write(self, number, name, *after):
        return self.run("ship", self.file(number), "write", self.folder / name, *after)

    def apply(self, *names, **options):
        files = [self.folder / name for name in names]
        return self.run("gateway", self.gateway_file, "apply", *files, **options)

    def rows(self, path, table, number, after=0):
        """Those of a board beyond the first `after`, with the types of their cells."""
        with sqlite3.connect(path) as database:
            columns = [row[1] for row in database.execute(f"PRAGMA table_info({table})")]
            cells = ", ".join(f"quote({column})" for column in columns)
            first = number << 32
            return set(database.execute(f"SELECT {cells} FROM {table} WHERE id BETWEEN ? AND ?",
                                        (first + after, first + (1 << 32) - 1)))

    def differences(self, number, after=0):
        """What the gateway has otherwise than the board; None for nothing."""
        for table in TABLES:
            beyond = after if table == "reading" else 0
            mine = self.rows(self.file(number), table, number, beyond)
            theirs = self.rows(self.gateway_file, table, number, beyond)
            if mine != theirs:
                return (f"board {number}: {len(mine - theirs)} rows of {table} are missing at the "
                        f"gateway, {len(theirs - mine)} are only there")
        return None

    def number(self, query):
        with sqlite3.connect(self.gateway_file) as database:
            return database.execute(query).fetchone()[0]

    def events(self, number):
        with sqlite3.connect(self.gateway_file) as database:
            return [row[0] for row in database.execute(
                "SELECT text FROM event WHERE board = ? ORDER BY id", (number,))]


def kill(process):
    process.kill()
    process.communicate()
