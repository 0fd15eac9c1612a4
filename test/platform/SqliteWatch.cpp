#include "SqliteWatch.h"

#include <algorithm>
#include <cstdlib>

#include <sqlite3.h>

#include "platform/Interposed.h"

namespace
{

using platform::Outcome;
using Callback = int (*)(void*, int, char**, char**);

sqlite3* watched = nullptr;
std::vector<Outcome> outcomes;

// SQLite calls its own functions as well, which does not count.
int depth = 0;

bool counts(sqlite3* db)
{
    return depth == 1 && db && db == watched;
}

// The library's own callback, and where its rows are kept.
struct Rows
{
    Callback callback;
    void* param;
    Outcome* outcome;
};

int keepRow(void* param, int count, char** cells, char** names)
{
    const Rows& rows = *static_cast<Rows*>(param);
    std::vector<Outcome::Cell> row;
    for (int i = 0; i < count; ++i)
        row.push_back(cells[i] ? Outcome::Cell(cells[i]) : std::nullopt);
    rows.outcome->rows.push_back(row);
    return rows.callback ? rows.callback(rows.param, count, cells, names) : 0;
}

bool sameCell(const sql::Value& value, const Outcome::Cell& cell)
{
    if (!cell)
        return value.isNull();
    return value.getType() == sql::type_time
               ? value.asTime().asInteger() == std::strtoll(cell->c_str(), nullptr, 10)
               : !value.isNull() && value.asString() == *cell;
}

} // namespace

extern "C" {

int sqlite3_exec(sqlite3* db, const char* sql, Callback callback, void* param, char** errorText)
{
    const platform::Within sqlite(depth);
    const auto exec = SQLW_REAL(sqlite3_exec);
    if (!counts(db))
        return exec(db, sql, callback, param, errorText);
    Outcome outcome;
    outcome.sql = sql;
    Rows rows = {callback, param, &outcome};
    const int rc = exec(db, sql, keepRow, &rows, errorText);
    outcome.succeeded = rc == SQLITE_OK;
    outcomes.push_back(outcome);
    return rc;
}

int sqlite3_prepare_v2(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                       const char** tail)
{
    const platform::Within sqlite(depth);
    if (counts(db)) {
        outcomes.emplace_back();
        outcomes.back().sql = sql;
    }
    return SQLW_REAL(sqlite3_prepare_v2)(db, sql, length, stmt, tail);
}

// The library steps once; what is no query succeeds when that ends it.
int sqlite3_step(sqlite3_stmt* stmt)
{
    const platform::Within sqlite(depth);
    const int rc = SQLW_REAL(sqlite3_step)(stmt);
    if (counts(sqlite3_db_handle(stmt))) {
        Outcome& outcome = outcomes.back();
        outcome.succeeded = rc == (sqlite3_column_count(stmt) > 0 ? SQLITE_ROW : SQLITE_DONE);
        outcome.number = rc == SQLITE_ROW ? sqlite3_column_int(stmt, 0) : 0;
    }
    return rc;
}

} // extern "C"

namespace platform
{

SqliteWatch::SqliteWatch(sqlite3* db)
{
    watched = db;
    outcomes.clear();
}

SqliteWatch::~SqliteWatch()
{
    watched = nullptr;
}

std::vector<Outcome> SqliteWatch::taken()
{
    std::vector<Outcome> result;
    result.swap(outcomes);
    return result;
}

bool allSucceeded(const std::vector<Outcome>& all)
{
    return std::all_of(all.begin(), all.end(), [](const Outcome& one) { return one.succeeded; });
}

bool holds(sql::Table& table, const Outcome& outcome)
{
    if (static_cast<std::size_t>(table.recordCount()) != outcome.rows.size())
        return false;
    int number = 0;
    for (std::vector<Outcome::Cell> row : outcome.rows) {
        const sql::Record& record = *table.getRecord(number++);
        row.resize(static_cast<std::size_t>(record.columnCount()));
        for (int i = 0; i < record.columnCount(); ++i)
            if (!sameCell(*record.getValue(i), row[static_cast<std::size_t>(i)]))
                return false;
    }
    return true;
}

} // namespace platform
