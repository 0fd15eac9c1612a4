/// @file
/// A named table of a database.

#ifndef SQLW_SQL_TABLE_H
#define SQLW_SQL_TABLE_H

#include "SqlRecordSet.h"

namespace sql
{

/// A table: its name, its columns, and the rows of its last read.
///
/// Borrows the connection, which must outlive its use. Owns its columns and the rows held: a
/// `Record*` of a table is valid until the next `open`, `query`, `create`, `truncate`, `remove`,
/// `getRecordByKeyId`, `initTable` or `backup` (of a backup, on either side), and until the table
/// is assigned to or destroyed. A `create` that finds the table, and every other operation, leaves
/// the rows held as they are. One thread at a time, also for other tables on the same connection.
///
/// Names and conditions go into SQL unchanged: literals in a condition are the caller's to quote
/// (`quoteStr`). Unless its comment says otherwise, an operation that fails returns false after the
/// ERROR lines of `RecordSet::query` or `queryNumber`; without a connection, after an assertion
/// report.
class Table
{
public:
    /// A name alone, to be completed by `initTable`.
    Table(const string& name);
    /// With the columns of an array that ends in a field without a name. Only `FieldSet` reports
    /// faults of the description.
    Table(sqlite3* db, const string& name, const Field* fields);
    /// With a copy of `fields`.
    Table(sqlite3* db, const string& name, const FieldSet& fields);

    /// Drops the rows held, takes the connection, and appends the columns of an array that ends in
    /// a field without a name to those that the table has.
    /// @return what `FieldSet::initFieldSet` returns.
    bool initTable(sqlite3* db, const Field* fields);

    /// The name, as it was given.
    string name() const;
    /// The columns, which the table owns.
    const FieldSet& fields() const;
    /// The borrowed connection; null when there is none.
    sqlite3* getHandle();

    /// @name The table in the database
    /// @{

    /// Whether the database has a table of this name. Logged at DEBUG2.
    /// @return also true when this cannot be determined, after an ERROR line.
    bool exists();

    /// Creates the table unless `exists()`. It does not look at the columns of a table that exists,
    /// and is also true when `exists()` cannot tell. Without columns it is false, after ERROR lines
    /// and assertion reports.
    /// @note When two processes create the table at once, the slower one may fail. Call it again,
    ///       or run `query("BEGIN IMMEDIATE")` before it and commit after it.
    bool create();

    /// Deletes every row of the table.
    bool truncate();

    /// Drops the table. The object can create it again.
    bool remove();

    /// The number of rows in the database; -1 on failure.
    int totalRecordCount() const;

    /// @}
    /// @name Reading
    /// They replace the rows held. An empty condition or order counts as none.
    /// @{

    /// Reads every row.
    bool open();
    /// Reads the rows that match a condition, which is SQL: "price > 2".
    bool open(const string& where);
    /// Reads them in an order, which is SQL: "name desc".
    bool open(const string& where, const string& orderBy);
    /// Runs any statement, and holds the rows of its result.
    bool query(const string& sql);
    /// @}

    /// @name The rows held
    /// Null when there is none, and nothing is logged.
    /// @{

    /// Their number.
    int recordCount() const;
    /// The row at `index`, from 0.
    Record* getRecord(int index);
    /// The first row.
    Record* getTopRecord();
    /// @}

    /// @name Writing
    /// They leave the rows held as they are. A record that cannot be rendered adds an ERROR line to
    /// its own.
    /// @{

    /// Adds a row. If the key column is an integer, SQLite gives a number to a NULL key.
    bool addRecord(const Record& record);

    /// Updates the row with the key that `record` holds. Also true when there is no such row.
    bool updateRecord(const Record& record);

    /// Deletes the rows that match; all of them for an empty condition.
    bool deleteRecords(const string& where);

    /// @}
    /// @name Rows by their key
    /// The key is matched with the key column. Text keys are written between double quotes and not
    /// escaped: one that holds a double quote breaks the statement, and one that is the name of a
    /// column is taken for that column. A NULL key matches none. Without a key column they fail,
    /// after ERROR lines and assertion reports.
    /// @{

    /// Updates the row with the key, or adds one if there is none or the test for it fails. The key
    /// must be the one that `record` holds, which is not checked. Logged at DEBUG2.
    bool addOrUpdateRecord(string keyId, const Record& record);
    bool addOrUpdateRecord(integer keyId, const Record& record);

    /// Deletes the row. Also true when there is no such row.
    bool deleteRecord(string keyId);
    bool deleteRecord(integer keyId);

    /// Reads the row into the rows held, and returns the first of them. Null when there is none.
    Record* getRecordByKeyId(string keyId);
    Record* getRecordByKeyId(integer keyId);

    /// Whether there is such a row. Also false when this cannot be determined.
    bool hasRecordWithKeyId(string keyId);
    bool hasRecordWithKeyId(integer keyId);

    /// @}
    /// @name Copying
    /// They copy row by row and begin no transaction: a failure leaves the rows copied so far. What
    /// a text cannot carry changes: a float keeps 15 digits, a text ends at its first NUL byte, and
    /// a BLOB becomes such a text. SQL copies rows exactly: "insert into copy select * from item".
    /// @{

    /// Adds the rows that `source` holds from its last read.
    bool copyRecords(Table& source);

    /// Drops and creates this table, and copies every row that `source` has in the database. The
    /// indexes and triggers of this table are gone. A row with an infinity cannot be inserted and
    /// ends the copy.
    /// @return whether both then count the same number of rows, whatever the rows hold. Two counts
    ///         that fail are equal, even when this table could not be read or does not exist: check
    ///         `totalRecordCount() >= 0` as well.
    bool backup(Table& source);

    /// @}

    /// The statement that creates the table: "CREATE TABLE item (id INTEGER PRIMARY KEY)".
    /// Without columns the empty text, after an ERROR line and an assertion report.
    string getDefinition() const;

    /// The columns for people, numbered from 1 and separated by CR LF: "1. id INTEGER PRIMARY KEY".
    string toString() const;

private:
    class Key;

    SQLW_INTERNAL bool read(const string* where, const string* orderBy);
    SQLW_INTERNAL bool addKeyTest(TextBuffer& sql, const Key& key) const;
    SQLW_INTERNAL bool deleteRecord(const Key& key, const char* signature);
    SQLW_INTERNAL Record* getRecordByKeyId(const Key& key, const char* signature);
    SQLW_INTERNAL bool hasRecordWithKeyId(const Key& key, const char* signature);
    SQLW_INTERNAL bool runAside(const char* sql);

    sqlite3* _db;
    string _name;
    RecordSet _recordset;
};

} // namespace sql

#endif
