// The same records, written by Table into one database and by TableWriter into another: both must
// hold the same. Tests and fuzzing choose the records.

#ifndef SQLW_TEST_BOTH_WAYS_H
#define SQLW_TEST_BOTH_WAYS_H

#include <string>
#include <vector>

#include "SqlDatabase.h"
#include "SqlPrepared.h"

namespace sqltest
{

/// Every row of a table, with the type and the SQL of every cell.
std::string rowsOf(sql::Table& table);

/// Where the choices come from.
class Choices
{
public:
    virtual ~Choices() = default;
    virtual unsigned bits() = 0; ///< 32 of them
    virtual unsigned below(unsigned limit) = 0;
    virtual std::string text() = 0; ///< without a NUL byte, which Table cannot write

    unsigned long long manyBits();
    std::string decimal(); ///< a number, as people and programs write it
    double real();

private:
    std::string digits(unsigned most);
};

class BothWays
{
public:
    explicit BothWays(sql::field_type keyType);

    /// Adds, updates or erases one row, both ways. Returns what differs, or nothing.
    std::string write(Choices& choices);
    /// What differs in the rows, or when each is read by the class that did not write it.
    std::string difference();
    /// Empties both tables.
    void clear();
    /// How many writes there were that both accepted.
    int accepted() const { return _accepted; }

private:
    bool setCell(sql::Record& record, int column, Choices& choices) const;
    void setKey(sql::Record& record, Choices& choices) const;
    bool update(const sql::Record& record);
    bool upsert(const sql::Record& record);
    bool erase(const sql::Value& key);

    const sql::field_type _keyType;
    const std::vector<sql::Field> _columns;
    sql::Database _first, _second;
    sql::Table _byTable{"item"}, _byWriter{"item"};
    sql::TableWriter _writer{_byWriter};
    int _accepted = 0;
};

} // namespace sqltest

#endif
