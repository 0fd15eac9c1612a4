"""Transactions and rows per second on the cluster, beside a file on the same disk."""

import time

from session import Session

SINGLE = ("page_size = 65536", "locking_mode = EXCLUSIVE")
FORMS = (  # what, whether it is on the cluster, pragmas
    ("a local file", False, ()),
    ("a local file, EXCLUSIVE with PERSIST, 64k pages", False, (*SINGLE, "journal_mode = PERSIST")),
    ("a local file, EXCLUSIVE with WAL, 64k pages", False, (*SINGLE, "journal_mode = WAL")),
    ("the cluster", True, ()),
    ("the cluster, EXCLUSIVE with PERSIST, 64k pages", True, (*SINGLE, "journal_mode = PERSIST")),
    ("the cluster, EXCLUSIVE with WAL, 64k pages", True, (*SINGLE, "journal_mode = WAL")),
)


def per_second(session, transactions, rows):
    begin = time.monotonic()
    session.append(transactions, rows)
    return transactions * rows / (time.monotonic() - begin)


def measure(cluster, isQuick):
    """One line per form."""
    transactions, rows = (30, 20000) if isQuick else (150, 100000)
    yield f"{'transactions/s of one row':>60}{'rows/s in one':>16}"
    for number, (what, isThere, pragmas) in enumerate(FORMS):
        name = cluster.uri(f"m{number}.db") if isThere else cluster.folder / f"m{number}.db"
        with Session(cluster, name) as session:
            for pragma in pragmas:
                session.good(f"1 run PRAGMA {pragma}")
            per_second(session, 1, 1)  # makes the table
            yield (f"{what:<50}{per_second(session, transactions, 1):>10,.0f}"
                   f"{per_second(session, 1, rows):>16,.0f}")
