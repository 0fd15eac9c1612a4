#include "SqlDatabase.h"

#include <climits>

#include <sqlite3.h>
#include <syslog.h>

#include "SqlRecordSet.h"

#define SQLW_SOURCE_NAME "SqlDatabase.cpp"

namespace sql
{

Database::Database() : _db(nullptr), _result(SQLITE_ERROR) {}

Database::~Database()
{
    close();
}

// Deliberate: The third argument of open means nothing
bool Database::open(const string& path, AccessMode mode, bool /*unused*/, int busyTimeoutMs)
{
    SQLW_SIGNATURE("bool sql::Database::open(const string&, sql::Database::AccessMode, bool, int)");
    SQLW_DEBUG1("Opening database '%s'", path.c_str());
    // Deliberate: open closes what was open
    close();

    int flags = 0;
    switch (mode) {
        case read_only:
            flags = SQLITE_OPEN_READONLY;
            break;
        case read_write:
            flags = SQLITE_OPEN_READWRITE;
            break;
        case read_write_create:
            flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
            break;
        // Deliberate: An unknown access mode is passed on
        default:
            SQLW_ASSERT(false);
    }

    _result = sqlite3_open_v2(path.c_str(), &_db, flags, nullptr);
    if (!isOpen()) {
        SQLW_ERROR("Failed to open the database %s: rc=%d=%s: %s", path.c_str(), _result,
                   sqliteRc2Str(_result), sqlite3_errmsg(_db));
        return false;
    }
    // Deliberate: Some checks never fail
    if (!_db) {
        SQLW_ERROR("Failed to open the database %s: database handle returned by SQLite is 0",
                   path.c_str());
        return false;
    }

    const int rc = sqlite3_busy_timeout(_db, busyTimeoutMs);
    if (rc != SQLITE_OK) {
        SQLW_ERROR("Failed to set the busy timeout: rc=%d=%s", rc, sqliteRc2Str(rc));
        // Deliberate: A busy timeout that cannot be set leaves the database open
        return false;
    }
    return true;
}

void Database::close()
{
    SQLW_SIGNATURE("void sql::Database::close()");
    if (_db) {
        const int rc = sqlite3_close(_db);
        // Deliberate: close forgets a connection that SQLite does not close
        SQLW_ASSERT(rc == SQLITE_OK);
        _db = nullptr;
    }
    _result = SQLITE_ERROR;
}

bool Database::isOpen() const
{
    return _result == SQLITE_OK;
}

sqlite3* Database::getHandle()
{
    return _db;
}

static bool run(sqlite3* db, const char* statement)
{
    return RecordSet(db).query(statement);
}

bool Database::transactionBegin()
{
    return run(_db, "BEGIN TRANSACTION");
}

bool Database::transactionCommit()
{
    return run(_db, "COMMIT TRANSACTION");
}

bool Database::transactionRollback()
{
    return run(_db, "ROLLBACK TRANSACTION");
}

int Database::getUserVersion() const
{
    return queryNumber(_db, "PRAGMA user_version;");
}

bool Database::setUserVersion(unsigned int version)
{
    // Deliberate: Versions go from 0 to 2147483647
    const unsigned int greatest = INT_MAX;
    if (version > greatest) {
        SQLW_ERROR("User version of a Tallowmere SQL database must be <= %d", INT_MAX);
        return false;
    }
    string statement("PRAGMA user_version=");
    statement += intToStr(static_cast<int>(version));
    statement += ';';
    return runOneStepSqlStmt(_db, statement);
}

} // namespace sql
