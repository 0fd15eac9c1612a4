#include "Shadow.h"

#include <cstdlib>

#include <dlfcn.h>
#include <sqlite3.h>

namespace
{

sqlite3* watched = nullptr;
sqlite3* own = nullptr;
std::vector<platform::Outcome> outcomes;

// SQLite calls its own functions as well, which does not count.
int depth = 0;

class Within
{
public:
    Within() { ++depth; }
    ~Within() { --depth; }
    Within(const Within&) = delete;
    Within& operator=(const Within&) = delete;
};

bool counts(sqlite3* db)
{
    return depth == 1 && db && db == watched;
}

template <typename Function> Function* real(Function*, const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

int keepRow(void* rows, int count, char** cells, char**)
{
    std::vector<platform::Outcome::Cell> row;
    for (int i = 0; i < count; ++i)
        row.push_back({cells[i] == nullptr, cells[i] ? cells[i] : ""});
    static_cast<platform::Outcome*>(rows)->rows.push_back(row);
    return 0;
}

} // namespace

extern "C" {

int sqlite3_exec(sqlite3* db, const char* sql, int (*callback)(void*, int, char**, char**),
                 void* param, char** errorText)
{
    const Within sqlite;
    if (counts(db)) {
        platform::Outcome outcome = {sql, false, 0, {}};
        outcome.succeeded =
            real(&sqlite3_exec, "sqlite3_exec")(own, sql, keepRow, &outcome, nullptr) == SQLITE_OK;
        outcomes.push_back(outcome);
    }
    return real(&sqlite3_exec, "sqlite3_exec")(db, sql, callback, param, errorText);
}

// The library steps once; what is no query succeeds when that ends it.
int sqlite3_prepare_v2(sqlite3* db, const char* sql, int length, sqlite3_stmt** stmt,
                       const char** tail)
{
    const Within sqlite;
    const auto prepare = real(&sqlite3_prepare_v2, "sqlite3_prepare_v2");
    if (counts(db)) {
        platform::Outcome outcome = {sql, false, 0, {}};
        sqlite3_stmt* same = nullptr;
        if (prepare(own, sql, length, &same, nullptr) == SQLITE_OK) {
            const int rc = sqlite3_step(same);
            outcome.succeeded = rc == (sqlite3_column_count(same) > 0 ? SQLITE_ROW : SQLITE_DONE);
            outcome.number = sqlite3_column_int(same, 0);
        }
        sqlite3_finalize(same);
        outcomes.push_back(outcome);
    }
    return prepare(db, sql, length, stmt, tail);
}

} // extern "C"

namespace platform
{

Shadow::Shadow(sqlite3* theWatched, sqlite3* theOwn)
{
    watched = theWatched;
    own = theOwn;
    outcomes.clear();
}

Shadow::~Shadow()
{
    watched = own = nullptr;
}

std::vector<Outcome> Shadow::taken()
{
    std::vector<Outcome> result;
    result.swap(outcomes);
    return result;
}

bool allSucceeded(const std::vector<Outcome>& all)
{
    for (const Outcome& outcome : all)
        if (!outcome.succeeded)
            return false;
    return true;
}

static bool sameCell(const sql::Value& value, const Outcome::Cell& cell)
{
    if (cell.null)
        return value.isNull();
    return value.getType() == sql::type_time
               ? value.asTime().asInteger() == std::strtoll(cell.text.c_str(), nullptr, 10)
               : !value.isNull() && value.asString() == cell.text;
}

bool holds(sql::Table& table, const Outcome& outcome)
{
    if (static_cast<std::size_t>(table.recordCount()) != outcome.rows.size())
        return false;
    int number = 0;
    for (std::vector<Outcome::Cell> row : outcome.rows) {
        const sql::Record& record = *table.getRecord(number++);
        row.resize(static_cast<std::size_t>(record.columnCount()), {true, ""});
        for (int i = 0; i < record.columnCount(); ++i)
            if (!sameCell(*record.getValue(i), row[static_cast<std::size_t>(i)]))
                return false;
    }
    return true;
}

} // namespace platform
