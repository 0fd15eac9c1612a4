// Record sets, and what a query writes.

#ifndef SQLW_TEST_RECORD_SETS_H
#define SQLW_TEST_RECORD_SETS_H

#include <string>
#include <vector>

#include "Records.h"
#include "SqlRecordSet.h"
#include "World.h"

namespace sqltest
{

inline const Source recordSetSource("SqlRecordSet");

inline const char querySignature[] = "bool sql::RecordSet::query(const string&)";
inline const char initFieldSetSignature[] = "bool sql::FieldSet::initFieldSet(const sql::Field*)";

inline const sql::Field itemColumns[] = {id, name, sql::Field()};
inline const sql::Field moreColumns[] = {number, price, sql::Field()};

// The lines of a query, its rows and its failure.

inline std::string statement(const char* sql)
{
    return trace({recordSetSource.debug2("query", "stmt='%s'", sql)});
}

inline std::string executed(const char* sql)
{
    return statement(sql) + trace({sqlite("exec", sql)});
}

inline std::string row(const char* dump)
{
    return trace({recordSetSource.debug3("on_next_record", "%s", dump)});
}

inline std::string failed(const char* sql, int rc, const char* nameOfRc, const char* text)
{
    return trace({recordSetSource.error("query", "Failed to run the SQL stmt '%s'", sql),
                  recordSetSource.error("query", "  rc=%d=%s: %s", rc, nameOfRc, text)});
}

inline std::string failed(const char* sql, int rc, const char* nameOfRc)
{
    return trace({recordSetSource.error("query", "Failed to run the SQL stmt '%s'", sql),
                  recordSetSource.error("query", "  rc=%d=%s", rc, nameOfRc)});
}

inline const std::string freed = trace({sqlite("free")});

class RecordSetTest : public DatabaseTest
{
protected:
    const sql::FieldSet item = columns({id, name});
    sql::RecordSet set{db, item};
};

// Rows without a query.
inline int addRow(sql::RecordSet& set, std::vector<const char*> cells)
{
    std::vector<char*> argv;
    for (const char* cell : cells)
        argv.push_back(const_cast<char*>(cell));
    return sql::RecordSet::on_next_record(&set, static_cast<int>(argv.size()), argv.data(),
                                          nullptr);
}

} // namespace sqltest

#endif
