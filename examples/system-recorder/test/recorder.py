"""A recorder, run as people run it: in a folder of its own, with the path to it as arguments."""

import os
import resource
import shlex
import shutil
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

recorder = [shutil.which(part) or (os.path.abspath(part) if os.path.exists(part) else part)
            for part in sys.argv[1:]]
# Its programs share the index of a write-ahead log with those of the same byte order alone.
emulated = len(recorder) > 1
beside_another_program = unittest.skipIf(emulated, 'the recorder is emulated')


def start(*arguments, **options):
    return subprocess.Popen([*recorder, *map(str, arguments)], stdout=subprocess.PIPE,
                            stderr=subprocess.PIPE, text=True, **options)


def csv(samples, counters=3, first=0):
    """Counters that grow by 1 in each sample of 10 ms: by 100 per second."""
    yield 'at_ms,' + ','.join(f'net_eth{i}_rx_bytes' for i in range(counters)) + '\n'
    numbers = [str(first + i) for i in range(samples + counters)]
    for i in range(samples):
        yield f'{1795000000000 + 10 * (first + i)},{",".join(numbers[i:i + counters])}\n'


def on_terminal(*arguments):
    """What a person sees."""
    return subprocess.run(['script', '-qec', shlex.join([*recorder, *arguments]), '/dev/null'],
                          capture_output=True, stdin=subprocess.DEVNULL, check=True).stdout.decode()


def full_disk():
    resource.setrlimit(resource.RLIMIT_FSIZE, (60_000, 60_000))


class RecorderTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(folder.name)
        os.environ['TZ'] = 'UTC'

    def succeeds(self, *arguments, **options):
        process = start(*arguments, **options)
        output, errors = process.communicate(timeout=300)
        self.assertEqual(('', 0), (errors, process.returncode), arguments)
        return output

    def refuses(self, line, *arguments, status=1, **options):
        process = start(*arguments, **options)
        output, errors = process.communicate(timeout=300)
        self.assertEqual((f'system-recorder: {line}\n', status), (errors, process.returncode))
        return output

    def wait_until(self, condition):
        for _ in range(1200):
            if condition():
                return
            time.sleep(0.05)
        self.fail('nothing has happened for a minute')

    def wait_for_recording(self, file):
        def is_there():
            process = start('check', file)
            process.communicate()
            return process.returncode == 0

        self.wait_until(is_there)

    def replay(self, file, samples, *arguments, **shape):
        Path('replay.csv').write_text(''.join(csv(samples, **shape)))
        return self.succeeds('record', file, '--replay', 'replay.csv', *arguments)

    def query(self, file, statement):
        with sqlite3.connect(file) as database:
            return database.execute(statement).fetchall()
