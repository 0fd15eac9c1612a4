/// @file
/// The rows that a query returned.

#ifndef SQLW_SQL_RECORD_SET_H
#define SQLW_SQL_RECORD_SET_H

#include <vector>

#include "SqlRecord.h"

namespace sql
{

/// Runs one statement at a time and keeps every row of its result.
///
/// Owns its column set and its records, and borrows the connection, which it never closes. Records
/// are valid until the next `query`, `initRecordSet` or `close`, and while the set lives. Not
/// copied: its records refer to its own column set. One thread at a time per connection.
class RecordSet
{
public:
    /// Without connection, columns and rows.
    RecordSet();
    /// Without columns: rows of results are counted, but their cells are dropped.
    RecordSet(sqlite3* db);
    /// With a copy of `fields`.
    RecordSet(sqlite3* db, const FieldSet& fields);
    /// With the columns of an array that ends in a field without a name. Only `FieldSet` reports
    /// faults of the description.
    RecordSet(sqlite3* db, const Field* fields);
    ~RecordSet();

    /// Drops the rows, takes the connection, and appends the columns of an array that ends in a
    /// field without a name to those that the set has.
    /// @return what `FieldSet::initFieldSet` returns.
    bool initRecordSet(sqlite3* db, const Field* fields);

    /// Drops the rows. Connection and columns are kept.
    void close();

    /// Drops the rows, runs `sql`, and keeps the rows of its result: cell i goes to column i, and
    /// cells beyond the columns are dropped. The statement is logged at DEBUG2, each row at DEBUG3.
    /// REQUIRES: a connection. Without one it returns false after an assertion report.
    /// @return false on failure after two ERROR lines: the statement, then SQLite's code and words.
    ///         The rows that came before the failure are kept. When memory runs out while a row is
    ///         kept, the code is 7, SQLITE_NOMEM.
    bool query(const string& sql);

    /// What SQLite calls for each row; `param` is the set. Always 0, so that SQLite continues. A
    /// negative `argc` counts as 0.
    static int on_next_record(void* param, int argc, char** argv, char** columnNames);

    /// Whether the last `query` succeeded; false before the first, and after `close`.
    bool isResultOk() const;

    /// The number of rows held.
    int count() const;

    /// The columns, which the set owns.
    const FieldSet& fields() const;

    /// The row at `index`, from 0. Null when there is none, and nothing is logged.
    Record* getRecord(int index);
    const Record* getRecord(int index) const;

    /// The first row. Null when there is none, or when the last query failed.
    const Record* getTopRecord() const;

    /// The first cell of the first row. Null when `getTopRecord` is null, and for a set without
    /// columns, which `Record::getValue` reports.
    const Value* getTopRecordFirstValue() const;

    /// The rows for people, numbered from 1, each ended by CR LF: "1. 7|Bob".
    string toString() const;

private:
    friend class Table; // is copied member by member, and lends its columns to other statements

    RecordSet(const RecordSet& other);
    RecordSet& operator=(const RecordSet& other);
    SQLW_INTERNAL bool query(const char* sql, const FieldSet& columns);
    SQLW_INTERNAL void adoptRecordsOf(const RecordSet& other);

    sqlite3* _db;
    int _result;
    FieldSet _fields;
    std::vector<Record> _records;
    const FieldSet* _columns; // by which rows are laid out: its own, or lent by a table
};

} // namespace sql

#endif
