/// @file
/// A connection to a database file.

#ifndef SQLW_SQL_DATABASE_H
#define SQLW_SQL_DATABASE_H

#include "SqlCommon.h"

namespace sql
{

/// Opens a database file, closes it, stamps it with a version, and groups writes in transactions.
///
/// Owns the connection, which tables and record sets borrow: they must not use it after `close`,
/// after another `open` or after the database's end. Not copied. One thread at a time, and that
/// thread uses the connection alone, through whichever table or record set.
class Database
{
public:
    /// How a database is opened.
    enum AccessMode : int {
        read_only = 0,        ///< the file must exist
        read_write = 1,       ///< the file must exist
        read_write_create = 2 ///< creates the file if it does not exist
    };

    /// Without a connection.
    Database();
    /// Closes the connection.
    ~Database();

    Database(const Database&) = delete;
    Database& operator=(const Database&) = delete;

    /// Closes the connection held, and opens a database. Logged at DEBUG1.
    /// @param path the database file. SQLite takes the empty path for a temporary database, which
    ///        is deleted on closing, and ":memory:" for one in memory: both succeed.
    /// @param mode whether the file may be written, and created.
    /// @param unused changes nothing.
    /// @param busyTimeoutMs how long a statement waits for another connection's lock, in
    ///        milliseconds; 0 or less does not wait.
    /// @return false on failure, after an ERROR line. If only the timeout could not be set, the
    ///         database is still open. An access mode of another value is reported as an
    ///         assertion, and SQLite refuses it.
    bool open(const string& path, AccessMode mode, bool unused, int busyTimeoutMs);

    /// Closes the connection, if there is one, and forgets it. When SQLite refuses to close it,
    /// for instance because a statement is in use, an assertion report says so.
    void close();

    /// Whether the last `open` was accepted by SQLite; false before the first, and after `close`.
    bool isOpen() const;

    /// The connection, to be lent to tables. Null when none is held; after a failed `open` it may
    /// be one that only serves `close`.
    sqlite3* getHandle();

    /// @name Transactions
    /// They run "BEGIN TRANSACTION", "COMMIT TRANSACTION" and "ROLLBACK TRANSACTION". Nesting,
    /// pairing and what a failure undoes are left to SQLite.
    /// @return false on failure, which `RecordSet::query` logs and reports.
    /// @{

    /// Begins a transaction. It takes its locks as its statements need them.
    bool transactionBegin();
    /// Ends the transaction and keeps what it wrote. While the lock of another connection is
    /// in the way, it fails after the busy timeout; the transaction is then still open, and can be
    /// committed again.
    bool transactionCommit();
    /// Ends the transaction and undoes what it wrote.
    bool transactionRollback();
    /// @}

    /// The version stamp of the file, 0 in a new one.
    /// @return -1 on failure, which `queryNumber` logs and reports, and for a stamp below 0.
    int getUserVersion() const;

    /// Stamps the file with `version`, which is at most 2147483647.
    /// @return false for a greater version, after an ERROR line, and on any other failure, which
    ///         `runOneStepSqlStmt` logs and reports.
    bool setUserVersion(unsigned int version);

private:
    sqlite3* _db;
    int _result;
};

} // namespace sql

#endif
