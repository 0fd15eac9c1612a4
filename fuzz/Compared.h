// Compares operations of the library with SQLite itself: the statements must be the documented
// ones, and results and rows those that SQLite gave.

#ifndef SQLW_FUZZ_COMPARED_H
#define SQLW_FUZZ_COMPARED_H

#include <string>

#include "Fuzz.h"
#include "platform/SqliteWatch.h"

namespace fuzz
{

class Compared
{
public:
    explicit Compared(sqlite3* db) : _watch(db) {}

    /// An operation that runs one statement, or none if `sql` is empty, and returns whether it
    /// succeeded.
    void statement(const std::string& sql, bool answer);
    /// An operation that reads rows into a table, and returns whether it could.
    void rows(const std::string& sql, bool answer, sql::Table& table);
    /// An operation that returns the first of those rows, or null if there is none or it failed.
    void first(const std::string& sql, const sql::Record* answer, sql::Table& table);
    /// An operation that returns whether a number is above 0.
    void has(const std::string& sql, bool answer);
    /// An operation that returns a number, or -1 for none.
    void number(const std::string& sql, int answer);
    /// An operation that reads a number, and runs `several` if it is above 0, otherwise `none`.
    void either(const std::string& sql, const std::string& several, const std::string& none,
                bool answer);
    /// Table::create, which leaves a table alone that exists, or whose existence is unknown.
    void create(const std::string& exists, const std::string& sql, bool answer);
    /// Table::backup of a source into a copy.
    void backup(const std::string& source, const std::string& copy, bool answer);

private:
    platform::SqliteWatch _watch;
};

} // namespace fuzz

#endif
