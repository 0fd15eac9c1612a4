// What the library leaves in the record of a test for each of its ways of running a statement, so
// that a test names the way, the statement and the outcome alone.

#ifndef SQLW_TEST_STATEMENTS_H
#define SQLW_TEST_STATEMENTS_H

#include <cstring>

#include <sqlite3.h>

#include "World.h"

namespace sqltest
{

/// Events that are one in a trace.
inline std::string together(const std::vector<std::string>& events)
{
    std::string text = trace(events);
    text.pop_back();
    return text;
}

/// A failure of SQLite: its code, the name of the code, and SQLite's words, if it has any.
struct Refusal
{
    int rc;
    const char* name;
    const char* text;
};

/// The line of a row that `RecordSet::query` reads, as the record dumps it.
inline std::string rowRead(const std::string& dump)
{
    return Source("SqlRecordSet").debug3("on_next_record", "%s", dump.c_str());
}

/// `RecordSet::query` of a statement that succeeds, and its rows.
inline std::string queried(const std::string& stmt, const std::vector<std::string>& rows = {})
{
    std::vector<std::string> events = {
        Source("SqlRecordSet").debug2("query", "stmt='%s'", stmt.c_str()),
        sqlite("exec", stmt),
    };
    for (const std::string& dump : rows)
        events.push_back(rowRead(dump));
    return together(events);
}

/// The errors of a statement that SQLite refuses.
inline std::string errorsOf(const std::string& stmt, const Refusal& refusal)
{
    const Source recordset("SqlRecordSet");
    const std::string head =
        recordset.error("query", "Failed to run the SQL stmt '%s'", stmt.c_str());
    if (!refusal.text)
        return together({head, recordset.error("query", "  rc=%d=%s", refusal.rc, refusal.name)});
    return together({
        head,
        recordset.error("query", "  rc=%d=%s: %s", refusal.rc, refusal.name, refusal.text),
        sqlite("free"),
    });
}

/// `RecordSet::query` of such a statement, after the rows that it gave.
inline std::string refused(const std::string& stmt, const Refusal& refusal,
                           const std::vector<std::string>& rows = {})
{
    return together({queried(stmt, rows), errorsOf(stmt, refusal)});
}

/// The same without connection.
inline std::string notConnected()
{
    return Source("SqlRecordSet").asserted("_db", "bool sql::RecordSet::query(const string&)");
}

/// `queryNumber` of a query that gives a number.
inline std::string counted(const std::string& query, int result)
{
    const Source common("SqlCommon");
    return together({
        common.debug2("queryNumber", "stmt='%s'", query.c_str()),
        sqlite("prepare_v2", query + ", -1"),
        sqlite("step"),
        sqlite("column_count"),
        sqlite("column_int", "0"),
        sqlite("finalize"),
        common.debug2("queryNumber", "SQLite returned number=%d", result),
    });
}

/// The same of a query that SQLite cannot prepare.
inline std::string uncounted(const std::string& query, const Refusal& refusal)
{
    const Source common("SqlCommon");
    return together({
        common.debug2("queryNumber", "stmt='%s'", query.c_str()),
        sqlite("prepare_v2", query + ", -1"),
        common.error("queryNumber", "Failed to prepare the SQL query '%s': ", query.c_str()),
        sqlite("errmsg"),
        common.error("queryNumber", "  rc=%d=%s: %s", refusal.rc, refusal.name, refusal.text),
    });
}

/// The query of `Table::exists`.
inline std::string existenceQuery(const std::string& table)
{
    return "select count(*) from sqlite_master where type = 'table' and name = '" + table + "'";
}

/// `Table::exists` of a table that is there.
inline std::string found(const std::string& table)
{
    return together({
        counted(existenceQuery(table), 1),
        Source("SqlTable").debug2("exists", "Table '%s' exists", table.c_str()),
    });
}

/// `Table::exists` of a table that is not there.
inline std::string missed(const std::string& table)
{
    return together({
        counted(existenceQuery(table), 0),
        Source("SqlTable").debug2("exists", "Table '%s' does not exist", table.c_str()),
    });
}

/// `Table::exists` when its query cannot be prepared.
inline std::string undetermined(const std::string& table, const Refusal& refusal)
{
    return together({
        uncounted(existenceQuery(table), refusal),
        Source("SqlTable")
            .error("exists", "Failed to determine if table '%s' exists", table.c_str()),
    });
}

/// While this lives, SQLite refuses every query of the connection that counts.
class CountsRefused
{
public:
    explicit CountsRefused(sqlite3* db) : _db(db)
    {
        sqlite3_set_authorizer(
            _db,
            [](void*, int action, const char*, const char* function, const char*, const char*) {
                const bool counts =
                    action == SQLITE_FUNCTION && std::strcmp(function, "count") == 0;
                return counts ? SQLITE_DENY : SQLITE_OK;
            },
            nullptr);
    }
    ~CountsRefused() { sqlite3_set_authorizer(_db, nullptr, nullptr); }
    CountsRefused(const CountsRefused&) = delete;
    CountsRefused& operator=(const CountsRefused&) = delete;

    static constexpr Refusal refusal = {1, "SQLITE_ERROR", "not authorized to use function: count"};

private:
    sqlite3* const _db;
};

} // namespace sqltest

#endif
