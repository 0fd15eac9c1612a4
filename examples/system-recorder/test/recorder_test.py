#!/usr/bin/env python3
"""Records, shows and copies counters, and breaks all of that: recorder_test.py RECORDER..."""

import os
import random
import re
import shutil
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time
import unittest
from pathlib import Path

from recorder import (RecorderTest, beside_another_program, csv, emulated, full_disk, on_terminal,
                      recorder, start)


class Recording(RecorderTest):
    def test_the_counters_of_this_machine(self):
        self.succeeds('record', 'a.db', '--rate', 100, '--count', 5)
        memory = re.search(r'MemTotal: +(\d+)', Path('/proc/meminfo').read_text())[1]
        self.assertEqual([(5, int(memory))],
                         self.query('a.db', 'select count(*), max(mem_MemTotal) from sample'))
        for file in ('stat', 'diskstats', 'net/dev'):
            if Path('/proc', file).exists() and file != 'diskstats':
                prefix = {'stat': 'cpu_', 'net/dev': 'net_'}[file]
                self.assertIn('\n' + prefix, self.succeeds('report', 'a.db'))

    def test_the_values_of_every_file(self):
        Path('proc/net').mkdir(parents=True)
        Path('proc/stat').write_text('cpu  1 2 3 4 5 6 7 8 0 0\nctxt 9\nintr 10 1 2\n')
        Path('proc/meminfo').write_text('MemFree:   11 kB\nActive(anon): 12 kB\n')
        Path('proc/diskstats').write_text('8 0 sd-a 13 14 15 16 17 18 19 20 21 22 23 0 0\n')
        Path('proc/net/dev').write_text('Inter-|   Receive\n face |bytes\n'
                                        '  eth0.1: 24 25 26 27 28 29 30 31 32 33 34 35 36 37 38 39\n')
        self.succeeds('record', 'a.db', '--proc', 'proc', '--count', 1)
        lines = self.succeeds('export', 'a.db').splitlines()
        values = dict(zip(lines[0].split(','), lines[1].split(',')))
        self.assertEqual(40, len(values))
        for name, value in (('cpu_user', 1), ('cpu_steal', 8), ('stat_ctxt', 9), ('stat_intr', 10),
                            ('mem_MemFree', 11), ('mem_Active_anon_', 12), ('disk_sd_a_reads', 13),
                            ('disk_sd_a_weighted_ms', 23), ('net_eth0_1_rx_bytes', 24),
                            ('net_eth0_1_tx_compressed', 39)):
            self.assertEqual(str(value), values[name], name)

    def test_files_that_are_not_there(self):
        Path('proc').mkdir()
        self.refuses('no counters in proc: stat, meminfo, diskstats and net/dev are missing or '
                     'empty', 'record', 'a.db', '--proc', 'proc')
        self.assertFalse(Path('a.db').exists())
        Path('proc/stat').write_text('ctxt 9\n')
        self.succeeds('record', 'a.db', '--proc', 'proc', '--count', 1)

    def test_counters_that_come_and_go(self):
        self.replay('a.db', 2, counters=1)
        self.replay('a.db', 2, counters=2, first=2)
        self.replay('a.db', 1, counters=1, first=4)
        self.assertEqual([(0, None), (1, None), (2, 3), (3, 4), (4, None)],
                         self.query('a.db', 'select net_eth0_rx_bytes, net_eth1_rx_bytes '
                                            'from sample order by at_ms'))

    def test_no_more_samples_than_are_kept(self):
        self.replay('a.db', 1000, '--keep', 70, '--batch', 50)
        self.assertEqual([(70, 931, 1000)],
                         self.query('a.db', 'select count(*), min(id), max(id) from sample'))

    def test_a_signal_ends_it_and_it_keeps_what_it_has(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            file = f'{number}.db'
            process = start('record', file, '--rate', 100, '--batch', 100000)
            self.wait_for_recording(file)
            time.sleep(2)
            process.send_signal(number)
            output, errors = process.communicate(timeout=60)
            self.assertEqual(('', 0), (errors, process.returncode))
            self.assertRegex(output, r'^[1-9]\d* samples of \d+ counters recorded in \d+.db\n$')

    @beside_another_program
    def test_killed_it_loses_the_last_batch_alone(self):
        os.mkfifo('fifo')
        for killed in range(1, 4):
            process = start('record', 'a.db', '--replay', 'fifo', '--batch', 50)
            with open('fifo', 'w') as fifo:
                fifo.writelines(csv(180, first=1000 * killed))
                fifo.flush()
                self.wait_until(lambda: Path('a.db').exists() and self.count() == 150 * killed)
                process.kill()
                process.communicate()
            self.assertEqual(150 * killed, self.count())
            self.succeeds('check', 'a.db')

    def test_killed_at_random_moments_it_keeps_whole_batches(self):
        lines = list(csv(20000))
        Path('replay.csv').write_text(''.join(lines))
        pick = random.Random(os.environ.get('RECORDER_SEED'))
        begin = time.monotonic()
        self.succeeds('record', 'whole.db', '--replay', 'replay.csv', '--batch', 50)
        whole = time.monotonic() - begin
        partial = 0
        for killed in range(12):
            file = f'{killed}.db'
            process = start('record', file, '--replay', 'replay.csv', '--batch', 50)
            time.sleep(pick.uniform(0, whole))
            process.kill()
            process.communicate()
            if not Path(file).exists() or not self.query(file, 'pragma user_version')[0][0]:
                continue # killed before it had made the file
            self.succeeds('check', file)
            count = self.query(file, 'select count(*) from sample')[0][0]
            self.assertEqual(0, count % 50)
            if count > 0:
                kept = self.succeeds('export', file).splitlines(keepends=True)
                self.assertEqual(lines[:count + 1], kept)
            partial += 0 < count < 20000
        self.assertGreater(partial, 0)

    def test_shows_progress_on_a_terminal(self):
        Path('replay.csv').write_text(''.join(csv(20000)))
        shown = on_terminal('record', 'a.db', '--replay', 'replay.csv')
        self.assertRegex(shown, r'\rrecording samples: \d+')

    def count(self):
        try:
            return self.query('a.db', 'select count(*) from sample')[0][0]
        except sqlite3.OperationalError: # it is not made yet
            return 0


class Showing(RecorderTest):
    def test_a_report(self):
        Path('a.csv').write_text('at_ms,mem_Free,net_a_rx_bytes,mem_None\n'
                                 '1000,4000000,0,\n2000,1000000,10,\n3000,,40,\n4000,2500000,5,\n')
        self.succeeds('record', 'a.db', '--replay', 'a.csv')
        self.assertEqual(
            '4 samples from 1970-01-01 00:00:01 to 1970-01-01 00:00:04\n\n'
            'Counter           Min   Mean  Max\n'
            f'mem_Free          1 M  2.5 M  4 M  █{" " * 8}▁{" " * 19}▅\n'
            f'net_a_rx_bytes/s   10     20   30  {" " * 9}▁{" " * 9}█\n'
            'mem_None            -      -    -\n', self.succeeds('report', 'a.db'))

    def test_a_span_of_time(self):
        self.replay('a.db', 1000)
        for span, count in ((['--last', 2], 201), (['--from', '2026-11-18 11:06:45'], 500),
                            (['--to', '2026-11-18 11:06:41'], 200),
                            (['--from', '2026-11-18 11:06:42', '--to', '2026-11-18 11:06:42'], 100)):
            self.assertEqual(count + 1, len(self.succeeds('export', 'a.db', *span).splitlines()))
        self.refuses('a.db has no samples in this span of time', 'report', 'a.db', '--from',
                     '2030-01-01 00:00:00')

    def test_chosen_counters(self):
        self.replay('a.db', 1, counters=12)
        self.assertEqual('at_ms,net_eth2_rx_bytes,net_eth10_rx_bytes,net_eth11_rx_bytes',
                         self.succeeds('export', 'a.db', 'net_eth2_*', '*eth1?_*').splitlines()[0])
        self.refuses("a.db has no counter 'none'", 'report', 'a.db', 'none')

    @unittest.skipUnless(shutil.which('gnuplot'), 'gnuplot is not installed')
    def test_a_picture(self):
        self.replay('a.db', 1000)
        self.succeeds('plot', 'a.db', "it's.svg", 'net_*')
        picture = Path("it's.svg").read_text()
        for text in ('net_eth0_rx_bytes/s', '2026-11-18 11:06:40 to 2026-11-18 11:06:49', '</svg>'):
            self.assertIn(text, picture)
        self.succeeds('plot', 'a.db', 'a.png', 'net_eth1*')
        self.assertEqual(b'\x89PNG', Path('a.png').read_bytes()[:4])
        self.refuses('none/a.svg could not be written by gnuplot', 'plot', 'a.db', 'none/a.svg',
                     'net_eth1*')

    def test_a_picture_without_gnuplot(self):
        self.replay('a.db', 10)
        self.refuses('gnuplot, which draws the picture, is not installed', 'plot', 'a.db', 'a.svg',
                     'net_*', env={'PATH': ''})
        self.assertFalse(Path('a.svg').exists() or Path('a.svg.part').exists())


class Copying(RecorderTest):
    def count_of_copy(self):
        self.succeeds('backup', 'a.db', 'copy.db')
        self.succeeds('check', 'copy.db')
        count = self.query('copy.db', 'select count(*) from sample')[0][0]
        self.assertEqual(0, count % 10)
        return count

    def test_while_it_is_recorded(self):
        process = start('record', 'a.db', '--rate', 200, '--batch', 10)
        self.addCleanup(process.communicate)
        self.addCleanup(process.kill)
        self.wait_for_recording('a.db')
        for before in (0, 10, 100):
            self.wait_until(lambda: self.count_of_copy() > before)
        process.terminate()
        self.assertEqual('', process.communicate(timeout=60)[1])
        self.assertEqual(0, process.returncode)

    def test_shows_progress_on_a_terminal_alone(self):
        self.replay('a.db', 3000, counters=50)
        self.assertEqual('', self.succeeds('backup', 'a.db', 'copy.db'))
        self.assertRegex(on_terminal('backup', 'a.db', 'copy.db'),
                         r'\rcopying pages: \d+ of \d+')

    def test_a_full_disk_leaves_the_copy_as_it_was(self):
        self.replay('a.db', 10)
        self.succeeds('backup', 'a.db', 'copy.db')
        before = self.query('copy.db', 'select * from sample')
        self.replay('a.db', 5000)
        for copy in ('copy.db', 'new.db', 'file:new.db'):
            process = start('backup', 'a.db', copy, preexec_fn=full_disk)
            _, errors = process.communicate()
            self.assertEqual(1, process.returncode)
            self.assertRegex(errors, f'^system-recorder: {copy}: .*\n$')
        self.assertEqual(before, self.query('copy.db', 'select * from sample'))
        self.assertFalse(Path('new.db').exists())
        self.succeeds('backup', 'a.db', 'copy.db')

    def test_killed_it_leaves_a_copy_that_the_next_one_replaces(self):
        self.replay('a.db', 10000, counters=100)
        copy, journal = Path('copy.db'), Path('copy.db-journal')
        killed = 0
        for _ in range(100): # a busy machine may kill too late
            process = start('backup', 'a.db', copy)
            while process.poll() is None and not (journal.exists() and copy.stat().st_size > 0):
                time.sleep(0.001)
            process.kill()
            process.communicate()
            killed += journal.exists()
            if killed == 3:
                break
        self.assertEqual(3, killed)
        self.succeeds('backup', 'a.db', 'copy.db')
        self.succeeds('check', 'copy.db')
        everything = 'select * from sample'
        self.assertEqual(self.query('a.db', everything), self.query('copy.db', everything))

    def test_refuses_to_replace_what_is_no_recording(self):
        self.replay('a.db', 10)
        self.query('other.db', 'create table t (id)')
        before = Path('other.db').read_bytes()
        self.refuses('other.db is not a recording: its version is 0, not 1', 'backup', 'a.db',
                     'other.db')
        self.assertEqual(before, Path('other.db').read_bytes())
        self.refuses('./a.db is the recording itself', 'backup', 'a.db', './a.db')


class Failing(RecorderTest):
    def test_wrong_usage(self):
        for line, *arguments in (
                ("a command is needed, and '' is not one",),
                ("a command is needed, and 'erase' is not one", 'erase', 'a.db'),
                ("report has no option '--rate'", 'report', 'a.db', '--rate', 3),
                ('--rate needs a value', 'record', 'a.db', '--rate'),
                ('--rate needs a value', 'record', 'a.db', '--rate', ''),
                ("--rate needs a number from 1 to 1000, not '0'", 'record', 'a.db', '--rate', 0),
                ("--keep needs a number from 1 to 2147483647, not '9x'", 'record', 'a.db',
                 '--keep', '9x'),
                ('the arguments of backup are wrong in number', 'backup', 'a.db'),
                ('either --replay or --proc', 'record', 'a.db', '--replay', 'a', '--proc', 'b')):
            self.refuses(line + ' (see --help)', *arguments, status=2)
        self.assertFalse(Path('a.db').exists())
        self.assertTrue(self.succeeds('--help').startswith('usage: system-recorder record'))

    def test_bad_input(self):
        self.replay('a.db', 10)
        for text, line in (
                ('', 'is empty or cannot be read'), ('x,y\n', ':1: the first column is not at_ms'),
                ('at_ms\n', ':1: no counters'),
                ('at_ms,a b\n', ":1: 'a b' is not the name of a counter"),
                ('at_ms,1a\n', ":1: '1a' is not the name of a counter"),
                ('at_ms,a,a\n', ":1: a second column 'a'"),
                ('at_ms,a\n1,2\n1,x\n', ":3: 'x' is not a number"),
                ('at_ms,a\n1,99999999999999999999\n', ":2: '99999999999999999999' is not a number"),
                ('at_ms,a\n,2\n', ':2: no time'), ('at_ms,a\n1,2,3\n', ':2: 2 values for 1 counters'),
                ('at_ms,a\n1,2', ':2: the file ends in the middle of a line')):
            Path('bad.csv').write_text(text)
            line = 'bad.csv' + (line if line[0] == ':' else ' ' + line)
            self.refuses(line, 'record', 'a.db', '--replay', 'bad.csv')
        self.refuses('none.csv cannot be read: No such file or directory', 'record', 'a.db',
                     '--replay', 'none.csv')
        self.assertEqual([(10,), (1,)], self.query(
            'a.db', 'select count(*) from sample group by net_eth0_rx_bytes is null'))

    def test_bad_files(self):
        Path('text.db').write_text('no database, though long enough for one ' * 50)
        self.query('other.db', 'create table t (id)')
        self.query('odd.db', 'create table sample (id integer primary key, at_ms integer not null, '
                             'name text)')
        self.query('odd.db', 'pragma user_version = 1')
        for command in ('record', 'report', 'check'):
            self.refuses('text.db: file is not a database', command, 'text.db')
            self.refuses('other.db is not a recording: its version is 0, not 1', command, 'other.db')
            self.refuses('the name of the database file is empty', command, '')
            self.refuses(':memory: is a database that nothing keeps; for a file of that name, write '
                         './:memory:', command, ':memory:')
        self.refuses("odd.db is not a recording: Column 'name' of table 'sample' is declared as "
                     "'TEXT', and SQLite stores other values there than in a table that "
                     'Table::create makes. Describe it by another type, or declare it so.',
                     'check', 'odd.db')
        self.refuses('none.db is not there', 'report', 'none.db')
        self.assertFalse(Path('none.db').exists())

    def test_a_database_by_a_uri(self):
        self.replay('file:by%20uri.db?mode=rwc', 10)
        self.assertEqual([(10,)], self.query('by uri.db', 'select count(*) from sample'))
        self.assertEqual(self.succeeds('export', 'by uri.db'),
                         self.succeeds('export', 'file:by%20uri.db'))
        self.succeeds('backup', 'file:by%20uri.db', 'file:copy.db')
        self.assertEqual([(10,)], self.query('copy.db', 'select count(*) from sample'))
        self.refuses('by uri.db is the recording itself', 'backup', 'file:by%20uri.db', 'by uri.db')
        self.refuses('file:none.db is not there', 'report', 'file:none.db')
        self.refuses('file:a.db?mode=memory is a database that nothing keeps', 'record',
                     'file:a.db?mode=memory')
        self.refuses("file:///pool:a/b?vfs=none needs the VFS 'none', which is not loaded", 'record',
                     'file:///pool:a/b?vfs=none')

    def test_a_damaged_file(self):
        self.replay('a.db', 5000)
        content = bytearray(Path('a.db').read_bytes())
        content[20000:30000] = bytes(10000)
        Path('a.db').write_bytes(content)
        process = start('check', 'a.db')
        _, errors = process.communicate()
        self.assertEqual(1, process.returncode)
        self.assertRegex(errors, r'^system-recorder: a.db( is damaged)?: .*\n$')

    def test_a_full_disk(self):
        self.replay('a.db', 300, '--batch', 100)
        Path('more.csv').write_text(''.join(csv(5000, first=300)))
        process = start('record', 'a.db', '--replay', 'more.csv', '--batch', 100,
                        preexec_fn=full_disk)
        _, errors = process.communicate()
        self.assertEqual(1, process.returncode)
        self.assertRegex(errors, r'^system-recorder: a.db: (disk I/O error|database or disk is full)\n$')
        count = self.query('a.db', 'select count(*) from sample')[0][0]
        self.assertGreaterEqual(count, 300)
        self.assertEqual(0, count % 100)
        self.succeeds('record', 'a.db', '--replay', 'more.csv')
        self.succeeds('check', 'a.db')

    def test_output_that_cannot_be_written(self):
        self.replay('a.db', 10)
        with open('/dev/full', 'w') as full:
            for arguments in (['--help'], ['report', 'a.db'], ['export', 'a.db'], ['check', 'a.db']):
                done = subprocess.run([*recorder, *arguments], stdout=full, stderr=subprocess.PIPE,
                                      text=True)
                self.assertEqual(('system-recorder: the output could not be written\n', 1),
                                 (done.stderr, done.returncode))
        self.refuses('/dev/full could not be written', 'export', 'a.db', '--to-file', '/dev/full')
        self.refuses('none/a.csv cannot be written: No such file or directory', 'export', 'a.db',
                     '--to-file', 'none/a.csv')
        self.replay('b.db', 5000)
        Path('a.csv').write_text('before')
        self.refuses('a.csv could not be written', 'export', 'b.db', '--to-file', 'a.csv',
                     preexec_fn=full_disk)
        self.assertEqual('before', Path('a.csv').read_text())
        self.assertFalse(Path('a.csv.part').exists())

    def test_a_closed_pipe(self):
        self.replay('a.db', 5000)
        process = start('export', 'a.db')
        process.stdout.readline()
        process.stdout.close()
        self.assertEqual('system-recorder: the output could not be written\n', process.stderr.read())
        process.stderr.close()
        self.assertEqual(1, process.wait())


@beside_another_program
class WaitingForALock(RecorderTest):
    """The recorder gives up after ten seconds, in which the other tests run."""

    @classmethod
    def begin(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.file = Path(cls.folder.name, 'a.db')
        cls.input = Path(cls.folder.name, 'replay.csv')
        cls.input.write_text(''.join(csv(10)))
        cls.record = 'record', cls.file, '--replay', cls.input
        start(*cls.record).communicate()
        cls.other = sqlite3.connect(cls.file, isolation_level=None)
        cls.other.execute('begin immediate')
        cls.waiting = start(*cls.record)

    def test_of_another_program(self):
        self.assertEqual(('', f'system-recorder: {self.file}: database is locked\n'),
                         self.waiting.communicate(timeout=60))
        self.assertEqual(1, self.waiting.returncode)
        self.other.execute('rollback')
        self.other.close()
        self.succeeds(*self.record)
        self.assertEqual([(20,)], self.query(self.file, 'select count(*) from sample'))
        self.folder.cleanup()


if not emulated:
    setUpModule = WaitingForALock.begin


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
