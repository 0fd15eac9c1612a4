#!/usr/bin/env python3
"""Ten minutes of 100 samples per second of 200 counters: constant_memory_test.py RECORDER..."""

import filecmp
import os
import re
import shutil
import subprocess
import sys
import time
import unittest
from pathlib import Path

from recorder import RecorderTest, csv, recorder


class TenMinutes(RecorderTest):
    samples = int(os.environ.get('RECORDER_SAMPLES', 60000))

    def peak(self, *arguments, output=os.devnull):
        """The memory of a run, in KiB."""
        with open(output, 'w') as file:
            process = subprocess.Popen([*recorder, *arguments], stdout=file, text=True)
        peak = 0
        while process.poll() is None:
            peak = max(peak, self.memory(process))
            time.sleep(0.005)
        self.assertEqual(0, process.returncode)
        return peak

    def memory(self, process):
        found = re.search(r'VmHWM:\s+(\d+)', Path(f'/proc/{process.pid}/status').read_text())
        return int(found[1]) if found else 0

    def test_in_constant_memory(self):
        with open('all.csv', 'w') as file:
            file.writelines(csv(self.samples, 200))
        peaks = {}
        for samples in (max(3000, self.samples // 10), self.samples):
            file = f'{samples}.db'
            peaks[samples] = [
                self.peak('record', file, '--replay', 'all.csv', '--count', str(samples)),
                self.peak('report', file, output='report'),
                self.peak('export', file, output='exported.csv'),
                self.peak('plot', file, 'a.svg', 'net_eth7_*') if shutil.which('gnuplot') else 0,
                self.peak('backup', file, 'copy.db')]
        print('KiB for a part and for all of the samples:', *peaks.values())
        for few, many in zip(*peaks.values()):
            self.assertLess(many, few + 2048)
        self.assertTrue(filecmp.cmp('all.csv', 'exported.csv', shallow=False))
        self.succeeds('check', 'copy.db')
        self.check_report(Path('report').read_text().splitlines())

    def check_report(self, lines):
        self.assertEqual(203, len(lines))
        for line in lines[3:]:
            self.assertRegex(line, r'^net_eth\d+_rx_bytes/s +100 +100 +100  ▁{30}$')


if __name__ == '__main__':
    unittest.main(argv=sys.argv[:1], verbosity=2)
