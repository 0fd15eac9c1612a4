"""What the tests on a cluster have in common."""

import unittest

from session import Session


class ClusterCase(unittest.TestCase):
    cluster = seed = isQuick = None
    figures = []  # what was measured on the way, one sentence each

    def session(self, name=None, **options):
        """A session with the database `name` of the cluster, unless that is None."""
        return self.enterContext(
            Session(self.cluster, self.cluster.uri(name) if name else None, **options))

    def figure(self, text):
        self.figures.append(text)

    def check(self, session, least, most):
        """No acknowledged row is missing, and every row that is there was written."""
        count = int(session.good("1 run SELECT count(*) FROM row"))
        self.assertTrue(least <= count <= most, f"{count} rows, not {least} to {most}")
        self.assertEqual(str(count), session.good("1 run SELECT max(id) FROM row"))
        self.assertEqual("ok", session.good("1 run PRAGMA integrity_check"))
