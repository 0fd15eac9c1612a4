"""Kills everything in turn: no acknowledged commit is lost, and no database is damaged."""

import random
import signal
import time

from case import ClusterCase
from cluster import STORES

FOR_EVER = 1000000


def seconds(text, values):
    return f"{text} {min(values):.1f} to {max(values):.1f} s"


class KillsTest(ClusterCase):
    def begin(self, writer, rows=1):
        """It has committed, and continues."""
        writer.say(f"1 append {FOR_EVER} {rows}")
        writer.last = int(writer.hear())
        return writer

    def acknowledged(self, writer):
        numbers = [int(line) for line in writer.heard() if line.isdigit()]
        writer.last = max([writer.last, *numbers])
        return writer.last

    def take_over(self, name, dead, rows=1):
        """The next writer, which has found what the dead one had committed."""
        self.cluster.break_lock(name)
        follower = self.session(name)
        least = self.acknowledged(dead)
        self.check(follower, least, least + rows)
        return follower

    def test_the_writer_at_random_moments(self):
        waits = []
        writer = self.session("writer.db")
        for number in range(5 if self.isQuick else 30):
            pick = random.Random(f"{self.seed} {number}")
            rows = pick.choice((1, 1, 1, 20))
            self.begin(writer, rows)
            time.sleep(pick.uniform(0, 0.5))
            writer.kill()
            dead = time.monotonic()
            writer = self.take_over("writer.db", writer, rows)
            waits.append(time.monotonic() - dead)
        self.figure(seconds(f"{len(waits)} writers killed, 0 commits lost: with the lock broken, the next "
                            "writer had opened and checked everything after", waits))

    def test_a_store_in_the_midst_of_a_transaction(self):
        writer = self.session("store.db")
        writer.append(1, 1000)
        writer.good("1 run PRAGMA cache_size = 10")  # written before the end of the transaction
        stalls = []
        for store in STORES[:1] if self.isQuick else STORES:
            rows = int(writer.good("1 run SELECT count(*) FROM row"))
            writer.good("1 run BEGIN IMMEDIATE")
            writer.good("1 run INSERT INTO row SELECT id + (SELECT max(id) FROM row), text FROM row")
            self.cluster.kill(store)
            begin = time.monotonic()
            writer.good("1 run COMMIT")
            stalls.append(time.monotonic() - begin)
            self.cluster.start(store)
            self.cluster.wait_for_stores()
            self.check(writer, 2 * rows, 2 * rows)
        self.figure(seconds(f"{len(stalls)} stores killed in a transaction, one at a time: no call "
                            "failed, COMMIT took", stalls))

    def test_two_stores(self):
        writer = self.begin(self.session("two.db"))
        self.cluster.kill(*STORES[1:])
        time.sleep(1)  # what was under way
        before = self.acknowledged(writer)
        self.assertIsNone(writer.hear(6))
        self.cluster.start(*STORES[1:])
        self.wait_for(writer, "two of three stores killed")
        self.cluster.wait_for_stores()
        writer.kill()
        self.take_over("two.db", writer)
        self.assertGreaterEqual(writer.last, before)

    def test_the_monitor(self):
        writer = self.begin(self.session("monitor.db"))
        self.cluster.kill("mon")
        time.sleep(1)
        before = self.acknowledged(writer)
        time.sleep(2)
        self.assertGreater(self.acknowledged(writer), before)
        newcomer = self.session()
        self.assertIsNone(newcomer.ask(f"1 open {self.cluster.uri('other.db')}", 3))
        self.cluster.start("mon")
        self.assertEqual("open", newcomer.hear())
        writer.kill()
        self.take_over("monitor.db", writer)
        self.figure("the monitor killed: the writer goes on; opening a database waits for the monitor")

    def test_everything_at_once(self):
        survivor = self.begin(self.session("survivor.db"))
        impatient = self.impatient("impatient.db")
        writer = self.begin(self.session("everything.db"))
        time.sleep(random.Random(self.seed).uniform(0, 1))
        self.cluster.kill("mon", *STORES)
        writer.kill()
        time.sleep(1)
        self.acknowledged(survivor)
        self.assertIsNone(survivor.hear(5))  # no error, whatever time passes
        self.assertEqual("failed: disk I/O error", impatient.ask("1 run COMMIT"))
        self.cluster.start("mon", *STORES)
        self.wait_for(survivor, "everything killed")
        self.cluster.wait_for_stores()
        impatient.say("1 run BEGIN IMMEDIATE")
        self.assertEqual(-signal.SIGABRT, impatient.ends())
        self.take_over("everything.db", writer)
        survivor.kill()
        self.take_over("survivor.db", survivor)

    def wait_for(self, writer, what):
        """It continues once the cluster is back. If its lock has expired by then, it fails."""
        begin = time.monotonic()
        reply = writer.hear(120)
        self.assertIsNotNone(reply)
        if reply.isdigit():
            writer.last = int(reply)
        outcome = "goes on" if reply.isdigit() else f"gets '{reply}'"
        self.figure(f"{what}: the writer waits, and {outcome} {time.monotonic() - begin:.1f} s after the "
                    "restart")

    def impatient(self, name):
        """A writer in a transaction, with time-outs for what Ceph does without any."""
        writer = self.session(name, arguments="--rados_osd_op_timeout=5 --rados_mon_op_timeout=5")
        writer.append(1, 1)
        writer.good("1 run BEGIN IMMEDIATE")
        writer.good("1 run INSERT INTO row VALUES (2, 'x')")
        return writer
