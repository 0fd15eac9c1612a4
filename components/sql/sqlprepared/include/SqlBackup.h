/// @file
/// A copy of a database that is in use.

#ifndef SQLW_SQL_BACKUP_H
#define SQLW_SQL_BACKUP_H

#include "SqlStatement.h"

struct sqlite3_backup;

namespace sql
{

/// Copies a whole database over another, some pages at a time; attached databases are not copied.
/// Between two steps others may read and write the source: what is written through the source
/// connection itself is copied along, and a write through any other connection makes the next step
/// begin again.
///
/// Borrows both connections, which outlive it. If one is closed before the copy has ended,
/// `Database::close` reports an assertion and leaves it open. Nothing else may use the destination
/// until then. Not copied, not moved. One thread at a time per connection. No operation throws.
class Backup
{
public:
    /// Prepares the copy of `source` over `destination`. When that fails, `error()` says why, after
    /// ERROR lines. A null connection is reported as an assertion, and is SQLITE_MISUSE.
    Backup(sqlite3* destination, sqlite3* source);
    /// An unfinished copy is undone: the destination is as it was before.
    ~Backup();

    Backup(const Backup&) = delete;
    Backup& operator=(const Backup&) = delete;

    /// Copies up to `pages` pages; all that are left for a negative number.
    /// @return true when there is more to do, and when a lock is in the way: `isBusy()` is then
    ///         true, and the step can be tried again. False when the copy is done, and when it has
    ///         failed: `error()` says why, after ERROR lines, and every further step is false.
    bool step(int pages);

    /// Whether the copy is complete.
    bool isDone() const { return _isDone; }
    /// Whether the last step found a lock in the way: that of another connection, or of a write
    /// transaction of the source connection itself.
    bool isBusy() const { return _isBusy; }

    /// The pages that are left, as the last step has counted them; 0 before the first step.
    int remaining() const { return _remaining; }
    /// The pages of the source, as the last step has counted them; 0 before the first step.
    int pageCount() const { return _pageCount; }

    /// Why the copy failed; none while it has not.
    const Error& error() const { return _error; }

private:
    SQLW_INTERNAL void end();
    SQLW_INTERNAL void fail(int rc);

    sqlite3* _destination;
    sqlite3_backup* _handle;
    Statement _pin; // keeps the destination from being closed, as SQLite itself keeps the source
    int _remaining;
    int _pageCount;
    bool _isDone;
    bool _isBusy;
    Error _error;
};

} // namespace sql

#endif
