#include "DatabaseFailure.h"

#include <sqlite3.h>

namespace inventory
{

Failure databaseFailure(sqlite3* db, const std::string& path)
{
    const std::string file = "the database '" + path + "' ";
    switch (sqlite3_errcode(db)) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
            return Failure(file + "is in use by another program; try again when that is done, or "
                                  "wait longer with --wait");
        case SQLITE_OK: // a negative version, which the library takes for a failure
            return Failure(file + "is not an inventory; name another with --database");
        case SQLITE_NOTADB:
            return Failure("'" + path + "' is not a database; name another with --database");
        case SQLITE_CORRUPT:
            return Failure(file + "is damaged; put back a copy, or name another with --database");
        case SQLITE_FULL:
            return Failure(file + "has no room left on its disk; make room and try again");
        case SQLITE_READONLY:
        case SQLITE_PERM:
            return Failure(file + "may not be written; allow it, or name another with --database");
        case SQLITE_CANTOPEN:
            return Failure(file + "needs other files in its folder; allow to create them, or name "
                                  "another with --database");
        default:
            return Failure(file + "failed: " + sqlite3_errmsg(db) +
                           "; the system log has the statement");
    }
}

} // namespace inventory
