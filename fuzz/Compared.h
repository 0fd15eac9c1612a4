// Operations of the library beside what SQLite itself gave them: the statements must be those that
// are documented, and results and rows SQLite's own.

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

    /// An operation that runs one statement, or none where that is empty, and answers whether it
    /// succeeded.
    void statement(const std::string& sql, bool answer);
    /// One that reads rows into a table, and answers whether it could.
    void rows(const std::string& sql, bool answer, sql::Table& table);
    /// One that answers the first of those rows, null without one and when it could not.
    void first(const std::string& sql, const sql::Record* answer, sql::Table& table);
    /// One that answers whether a number is above 0.
    void has(const std::string& sql, bool answer);
    /// One that answers a number, -1 for none.
    void number(const std::string& sql, int answer);
    /// One that asks for a number, and runs one statement or another by whether it is above 0.
    void either(const std::string& sql, const std::string& several, const std::string& none,
                bool answer);
    /// Table::create: what is there, or cannot be told, is left alone.
    void create(const std::string& exists, const std::string& sql, bool answer);
    /// Table::backup of a source into a copy.
    void backup(const std::string& source, const std::string& copy, bool answer);

private:
    platform::Outcome only(const std::string& sql);

    platform::SqliteWatch _watch;
};

} // namespace fuzz

#endif
