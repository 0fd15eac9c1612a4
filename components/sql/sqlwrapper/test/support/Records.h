// Column sets, records and record sets for tests, and what is logged on their account.

#ifndef SQLW_TEST_RECORDS_H
#define SQLW_TEST_RECORDS_H

#include <ctime>
#include <string>
#include <vector>

#include "SqlRecordSet.h"
#include "World.h"

namespace sqltest
{

inline const sql::Field id("id", sql::type_int, sql::flag_primary_key);
inline const sql::Field code("code", sql::type_text, sql::flag_primary_key);
inline const sql::Field number("number", sql::type_int, 0);
inline const sql::Field name("name", sql::type_text, 0);
inline const sql::Field price("price", sql::type_float, 0);
inline const sql::Field active("active", sql::type_bool, 0);
inline const sql::Field made("made", sql::type_time, 0);

/// A numbered column set. That it may lack a key is not recorded.
inline sql::FieldSet columns(std::vector<sql::Field> fields)
{
    const Unrecorded missingKey;
    fields.emplace_back();
    return sql::FieldSet(fields.data());
}

/// A column set whose columns all have the position -1, so that a name leads to no value.
inline sql::FieldSet unnumbered(const std::vector<sql::Field>& fields)
{
    return sql::FieldSet(fields);
}

/// A record whose first cells hold these texts, as if read from a database.
inline sql::Record filled(const sql::FieldSet& fields, const std::vector<const char*>& cells)
{
    sql::Record record(fields);
    int i = 0;
    for (const char* text : cells) {
        record.initColumnValue(i, text, fields.getByIndex(i)->getType());
        ++i;
    }
    return record;
}

/// An ERROR line, and the report of a branch that should not have been reached.
template <typename... Args>
std::string fault(const Source& source, const char* function, const char* signature,
                  const char* text, Args... args)
{
    return trace({source.error(function, text, args...), source.asserted("false", signature)});
}

inline const char changeByIndex[] = "sql::Value* sql::Record::getValue(int)";
inline const char readByIndex[] = "const sql::Value* sql::Record::getValue(int) const";
inline const char changeByName[] = "sql::Value* sql::Record::getValue(const string&)";
inline const char readByName[] = "const sql::Value* sql::Record::getValue(const string&) const";

/// What a lookup under one of these signatures reports.
inline std::string noValueAt(int index, const char* signature)
{
    return fault(Source("SqlRecord"), "getValue", signature, "No value for column with index %d",
                 index);
}
inline std::string noValueNamed(const char* column, const char* signature)
{
    return fault(Source("SqlRecord"), "getValue", signature, "No value for column with name '%s'",
                 column);
}

/// The line of a time that is made.
inline std::string timeMade(std::time_t seconds)
{
    return trace({Source("SqlCommon")
                      .debug3("Time", "Time ctor: time = %ld = '%s'", static_cast<long>(seconds),
                              std::ctime(&seconds))});
}

/// A test with a record of three columns.
class RecordTest : public Test
{
protected:
    const sql::FieldSet item = columns({id, name, price});
    sql::Record bob = filled(item, {"7", "Bob", "2.5"});
    const sql::Record& readOnlyBob = bob;
};

/// A test with a record set of two columns.
class RecordSetTest : public DatabaseTest
{
protected:
    /// Adds a row without a query.
    static int addRow(sql::RecordSet& to, std::vector<const char*> cells)
    {
        std::vector<char*> argv;
        for (const char* cell : cells)
            argv.push_back(const_cast<char*>(cell));
        return sql::RecordSet::on_next_record(&to, static_cast<int>(argv.size()), argv.data(),
                                              nullptr);
    }

    const sql::Field itemColumns[3] = {id, name, sql::Field()};
    const sql::FieldSet item = columns({id, name});
    sql::RecordSet set{db, item};
};

} // namespace sqltest

#endif
