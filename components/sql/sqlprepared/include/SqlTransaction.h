/// @file
/// A transaction that ends with its scope.

#ifndef SQLW_SQL_TRANSACTION_H
#define SQLW_SQL_TRANSACTION_H

#include "SqlStatement.h"

namespace sql
{

/// Groups writes, and reads that belong together: all of them are kept by `commit`, and none
/// otherwise. Within another transaction of the connection it is a savepoint, so that guards nest;
/// they end in the reverse order of their construction, as variables do.
///
/// Borrows the connection, which outlives it. If the connection is closed before, `Database::close`
/// reports an assertion and leaves it open. Not copied, not moved. One thread at a time per
/// connection.
///
/// An operation that fails returns false after ERROR lines: the statement, then SQLite's code and
/// words. `error()` has the same code and words until the next success. No operation throws:
/// without memory it fails with SQLITE_NOMEM.
class Transaction
{
public:
    /// When a transaction takes its locks. A savepoint takes those of the transaction around it.
    enum Mode : int {
        deferred = 0,  ///< as its statements need them: for reads that belong together
        immediate = 1, ///< the lock to write at once, so that no later write finds it taken
        exclusive = 2  ///< in addition no one else may read, except with a write-ahead log
    };

    /// Begins. When that fails, `isOpen()` is false and `error()` says why: SQLITE_BUSY after the
    /// busy timeout, while another connection writes. A null connection, and a mode of another
    /// value, are reported as an assertion, and are SQLITE_MISUSE.
    explicit Transaction(sqlite3* db, Mode mode = immediate);
    /// Rolls back unless it has ended.
    ~Transaction();

    Transaction(const Transaction&) = delete;
    Transaction& operator=(const Transaction&) = delete;

    /// Whether it has begun and has not ended. False also once SQLite has rolled back by itself, as
    /// it does when the disk is full. What is written after that is kept write by write, so stop at
    /// the first write that fails, and let this transaction end before another one begins.
    bool isOpen() const;

    /// Ends it and keeps what was written.
    /// @return false and still open when another connection is in the way (SQLITE_BUSY) or a
    ///         deferred foreign key does not hold (SQLITE_CONSTRAINT): it can be tried again. False
    ///         with SQLITE_ABORT when SQLite has rolled back by itself or a statement has ended it,
    ///         and with SQLITE_MISUSE after `commit` or `rollback`, and when it never began.
    bool commit();

    /// Ends it and undoes what was written. Also succeeds when SQLite has rolled back by itself.
    /// @return false with SQLITE_MISUSE after `commit` or `rollback`, and when it never began.
    bool rollback();

    /// Why the last operation failed; none when it succeeded.
    const Error& error() const { return _error; }

private:
    SQLW_INTERNAL bool begin(const char* sql, const char* commit, const char* rollback);
    SQLW_INTERNAL bool prepare(Statement& statement, const char* sql);
    SQLW_INTERNAL bool run(Statement& statement);
    SQLW_INTERNAL bool settle(const Statement& statement, bool hasSucceeded);
    SQLW_INTERNAL bool fail(int extendedCode, const char* text);
    SQLW_INTERNAL bool failHavingEnded();
    SQLW_INTERNAL bool end();

    mutable sqlite3* _db; // null once it is seen that SQLite has rolled back
    bool _hasEnded;
    bool _isSavepoint;
    Statement _commit; // compiled when it begins, so that the connection can't be closed before it
    Statement _rollback;
    Error _error;
};

} // namespace sql

#endif
