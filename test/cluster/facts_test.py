"""What users must know about Ceph's VFS: tries each fact that the documents state."""

import time

from case import ClusterCase
from session import Session

SORT = ("1 run SELECT max(h) FROM (SELECT hex(randomblob(20)) h FROM (WITH RECURSIVE c(x) AS (SELECT 1 "
        "UNION ALL SELECT x + 1 FROM c WHERE x < 200000) SELECT x FROM c) ORDER BY h)")
LONG = 4  # seconds that nothing needs


class FactsTest(ClusterCase):
    @classmethod
    def setUpClass(cls):
        """Starts the half minute that one test waits for, so that the others run meanwhile."""
        uri = cls.cluster.uri("dead.db")
        writer = cls.enterClassContext(Session(cls.cluster, uri))
        writer.append(1, 1)
        writer.good("1 run BEGIN IMMEDIATE")
        writer.kill()
        cls.died = time.monotonic()
        cls.follower = cls.enterClassContext(Session(cls.cluster))
        cls.follower.say(f"1 open {uri}")
        cls.follower.say("1 append 1 1")

    def test_two_connections_in_one_process_hang(self):
        session = self.session("two-connections.db")  # with a busy timeout of a second
        session.good(f"2 open {self.cluster.uri('two-connections.db')}")
        session.good("1 run BEGIN IMMEDIATE")
        self.assertIsNone(session.ask("2 run BEGIN IMMEDIATE", LONG))

    def test_connections_to_two_databases_do_not(self):
        session = self.session("one.db")
        session.good(f"2 open {self.cluster.uri('another.db')}")
        session.good("1 run BEGIN IMMEDIATE")
        session.good("2 run BEGIN IMMEDIATE")

    def test_the_busy_timeout_has_no_effect_between_processes(self):
        first, second = self.session("processes.db"), self.session("processes.db")
        first.good("1 run BEGIN IMMEDIATE")
        self.assertIsNone(second.ask("1 run BEGIN IMMEDIATE", LONG))
        first.good("1 run COMMIT")
        self.assertEqual("done", second.hear())

    def test_a_fork_after_the_first_open_hangs(self):
        session = self.session("fork.db")
        session.good("fork")
        self.assertIsNone(session.ask("1 append 1 1", LONG))

    def test_a_missing_database_logs_a_code_without_a_name(self):
        session = self.session()
        self.assertEqual("failed: not opened", session.ask(f"1 find {self.cluster.uri('none.db')}"))
        session.kill()
        self.assertIn("rc=254=unknown", "".join(session.log))

    def test_temporary_files_cannot_be_made(self):
        self.assertEqual("failed: unable to open database file",
                         self.session("sort.db", mode="disk").ask(SORT))
        self.session("sort.db").good(SORT)

    def test_a_log_of_writes_needs_a_single_client(self):
        session = self.session("wal.db")
        self.assertEqual("delete", session.ask("1 run PRAGMA journal_mode=WAL"))
        session.good("1 run PRAGMA locking_mode=EXCLUSIVE")
        self.assertEqual("wal", session.ask("1 run PRAGMA journal_mode=WAL"))
        self.assertEqual(1, session.append(1, 1))

    def test_the_default_vfs_lacks_functions(self):
        name = "/boards:test/default.db"
        self.session(mode="default").good(f"1 open {name}")
        session = self.session(mode="unfilled")
        session.say(f"1 open {name}")
        session.say("1 append 1 1")
        self.assertEqual(-11, session.ends())

    def test_a_program_loads_the_vfs_itself(self):
        session = self.session(mode=None)
        self.assertEqual("failed: not opened", session.ask(f"1 open {self.cluster.uri('own.db')}"))
        session.good("load")
        session.good(f"1 open {self.cluster.uri('own.db')}")
        session.good("1 run PRAGMA temp_store=MEMORY")
        session.good(SORT)

    def test_the_lock_of_a_dead_writer_expires(self):
        self.assertEqual("open", self.follower.hear())
        self.assertEqual("2", self.follower.hear())
        waited = self.follower.came - self.died
        self.assertGreater(waited, LONG)
        self.figure(f"a writer killed, and its lock left alone: the next one writes after {waited:.1f} s")
