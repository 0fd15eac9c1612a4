/// @file
/// The tables that boards and their gateway have in common.

#ifndef SQLW_EXAMPLE_FLEET_TABLES_H
#define SQLW_EXAMPLE_FLEET_TABLES_H

#include <string>
#include <vector>

#include <Sql.h>
#include <SqlPrepared.h>

namespace fleet
{

/// The version of the shared tables. A board may be older than its gateway, never newer.
const int newestVersion = 2;

/// A shared table as it is in a version.
struct Description
{
    const char* name;
    sql::FieldSet fields;
};

/// Every sample, and the latest one of each counter. Version 2 added the unit, as the last column.
std::vector<Description> descriptions(int version);

/// The boards, from 1.
const sql::integer mostBoards = 1000000;

/// The ids that a board gives to its rows: no two boards give the same.
struct KeyRange
{
    explicit KeyRange(sql::integer board);

    sql::integer first;
    sql::integer last;
};

/// Runs one statement, and throws `support::Failure` with SQLite's words when it fails.
void run(sqlite3* db, const std::string& sql);

/// The number in the first row, or `otherwise` when there is none; throws as `run`.
sql::integer number(sqlite3* db, const std::string& sql, sql::integer otherwise = 0);

/// Throws `support::Failure` with SQLite's words.
[[noreturn]] void fail(const std::string& what, const sql::Error& error);

/// Opens the file. Throws `support::Failure`.
void open(sql::Database& database, const std::string& file, bool isNew);

/// The version of the shared tables; 0 where there are none.
int versionOf(sqlite3* db);

/// Makes the shared tables as they are in `version`, or changes those of an older version to it.
void makeTables(sqlite3* db, int version);

} // namespace fleet

#endif
