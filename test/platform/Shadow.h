// Has SQLite run each statement of a connection a second time, on a file of its own: what the
// library makes of a statement can then be compared with what SQLite gives.

#ifndef SQLW_TEST_SHADOW_H
#define SQLW_TEST_SHADOW_H

#include <string>
#include <vector>

#include "Sql.h"

struct sqlite3;

namespace platform
{

/// What SQLite itself made of one statement.
struct Outcome
{
    struct Cell
    {
        bool null;
        std::string text;
    };

    std::string sql;
    bool succeeded;                      ///< it ran to its end, or gave the one row asked of it
    int number;                          ///< the first cell of that row
    std::vector<std::vector<Cell>> rows; ///< of a statement that was run to its end
};

/// Runs on `own` what is run on `watched`, as long as it lives. One at a time.
class Shadow
{
public:
    Shadow(sqlite3* watched, sqlite3* own);
    ~Shadow();
    Shadow(const Shadow&) = delete;
    Shadow& operator=(const Shadow&) = delete;

    /// The statements since the last call.
    std::vector<Outcome> taken();
};

/// Whether every statement succeeded.
bool allSucceeded(const std::vector<Outcome>& outcomes);

/// Whether a table holds the rows of an outcome, cell by cell.
bool holds(sql::Table& table, const Outcome& outcome);

} // namespace platform

#endif
