// Sits between the library and SQLite, and keeps SQLite's outcome of each statement, for comparison
// with the library's.

#ifndef SQLW_TEST_SQLITE_WATCH_H
#define SQLW_TEST_SQLITE_WATCH_H

#include <optional>
#include <string>
#include <vector>

#include "Sql.h"

struct sqlite3;

namespace platform
{

/// What SQLite made of one statement.
struct Outcome
{
    using Cell = std::optional<std::string>; ///< none where it is NULL

    std::string sql;
    bool succeeded = false;              ///< it ran to its end, or gave the one row asked of it
    int number = 0;                      ///< the first cell of that row
    std::vector<std::vector<Cell>> rows; ///< all of them, where rows are handed to a callback
};

/// Watches a connection as long as it lives. One at a time.
class SqliteWatch
{
public:
    explicit SqliteWatch(sqlite3* db);
    ~SqliteWatch();
    SqliteWatch(const SqliteWatch&) = delete;
    SqliteWatch& operator=(const SqliteWatch&) = delete;

    /// The statements since the last call.
    std::vector<Outcome> taken();
};

/// Whether every statement succeeded.
bool allSucceeded(const std::vector<Outcome>& outcomes);

/// Whether a table holds the rows of an outcome, cell by cell.
bool holds(sql::Table& table, const Outcome& outcome);

} // namespace platform

#endif
