"""A program of the library on a cluster, as a process that takes requests."""

import os
import queue
import signal
import subprocess
import threading
import time


class Session:
    def __init__(self, cluster, name=None, mode="", arguments=""):
        """Opens the database `name` as connection 1. `mode` and `arguments` are for the VFS."""
        self._process = subprocess.Popen(
            ["setpriv", "--pdeathsig", "KILL", cluster.programs / "test/cluster_session"],
            env=cluster.preloaded(mode, arguments) if mode is not None else cluster.environment,
            stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
            start_new_session=True)
        self._lines, self.log = queue.Queue(), []
        self._readers = [threading.Thread(target=self._read, daemon=True),
                         threading.Thread(target=lambda: self.log.extend(self._process.stderr),
                                          daemon=True)]
        for reader in self._readers:
            reader.start()
        if name:
            self.good(f"1 open {name}")

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.kill()

    def _read(self):
        for line in self._process.stdout:
            self._lines.put((time.monotonic(), line.rstrip("\n")))

    def say(self, line):
        self._process.stdin.write(line + "\n")
        self._process.stdin.flush()

    def hear(self, seconds=60):
        """The next line, or None when none comes. `came` is when it did."""
        try:
            self.came, line = self._lines.get(timeout=seconds)
            return line
        except queue.Empty:
            return None

    def ask(self, line, seconds=60):
        self.say(line)
        return self.hear(seconds)

    def good(self, line):
        """As `ask`, for what must not fail."""
        reply = self.ask(line)
        if reply is None or reply.startswith("failed"):
            raise RuntimeError(f"'{line}': {reply}: {''.join(self.log)}")
        return reply

    def append(self, transactions, rows):
        """Transactions of that many rows each; how many rows there are then."""
        count = self.good(f"1 append {transactions} {rows}")
        while (line := self.hear()) != "end":
            count = line
        return int(count)

    def ends(self, seconds=30):
        """The status with which it ends, negative for a signal."""
        return self._process.wait(seconds)

    def kill(self):
        """With its children. What it had printed can still be heard."""
        if self._process.poll() is None:
            os.killpg(self._process.pid, signal.SIGKILL)
        self._process.wait()
        for reader in self._readers:
            reader.join()
        self._process.stdin.close()

    def heard(self):
        """All lines that have come."""
        lines = []
        while not self._lines.empty():
            lines.append(self._lines.get()[1])
        return lines
