/// @file
/// A statement that is compiled once and run as often as needed.

#ifndef SQLW_SQL_STATEMENT_H
#define SQLW_SQL_STATEMENT_H

#include "SqlError.h"
#include "SqlTable.h"

struct sqlite3_stmt;

namespace sql
{

/// One compiled statement, its parameters, and the row that it is on. Rows come one at a time, and
/// none is kept.
///
/// Borrows the connection. Close the statement before `Database::close`, which otherwise reports an
/// assertion and leaves the connection open. SQLite compiles the statement again when the schema
/// changes. Not copied, not moved. One thread at a time per connection, because changes and
/// errors belong to the connection.
///
/// A statement on a row holds a read lock: it keeps others from writing, a write-ahead log from
/// being checkpointed, and tables of the connection from being dropped. The end of the rows, a
/// failure, `reset`, binding, `find` with a record, and `close` release it.
///
/// An operation that fails returns false after two ERROR lines: the statement, then SQLite's code
/// and words. `error()` has the same code and words until the next success. A statement that is not
/// prepared, or whose connection was null, fails with SQLITE_MISUSE. Reading cells never fails: see
/// below. No operation throws: without memory it fails with SQLITE_NOMEM.
class Statement
{
public:
    /// Without a statement.
    Statement()
        : _db(nullptr), _handle(nullptr), _isIdle(false), _isOnRow(false), _countsChanges(false),
          _changes(0)
    {}
    /// Closes.
    ~Statement();

    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// @name Compiling
    /// They close the statement held. What they compile is logged at DEBUG2.
    /// @{

    /// Compiles exactly one statement: blanks, comments and one ';' may follow it. Parameters are
    /// `?1`, `?2` or `:name`. None, two, and a text with a NUL byte are SQLITE_MISUSE. A null
    /// connection is reported as an assertion, here and by the other two.
    bool prepare(sqlite3* db, const string& sql);

    /// Reads rows of a table: the columns of its description, by name, in its order. An empty
    /// condition or order counts as none. Both are SQL and may hold parameters: "celsius > ?1".
    bool select(Table& table, const string& where = string(), const string& orderBy = string());

    /// Reads the row whose key is `?1`, which `find` takes. SQLITE_MISUSE when the description has
    /// no key column, or more than one.
    bool selectByKey(Table& table);

    /// Drops the statement, its parameters and its row. Keeps `error()`.
    void close();

    /// @}
    /// @name Parameters
    /// They count from 1, are NULL at first, and keep their values until bound again. While the
    /// statement is on a row, binding resets it first. SQLITE_RANGE when there is no such
    /// parameter.
    /// @{

    /// Binds NULL.
    bool bindNull(int parameter);
    /// Binds an integer.
    bool bindInteger(int parameter, integer number);
    /// Binds a number exactly, without rounding. NaN and the infinities are SQLITE_MISMATCH.
    bool bindDouble(int parameter, double number);
    /// Binds 1 for true and 0 for false.
    bool bindBool(int parameter, bool truth) { return bindInteger(parameter, truth ? 1 : 0); }
    /// Binds the seconds since the epoch.
    bool bindTime(int parameter, Time time) { return bindInteger(parameter, time.asInteger()); }
    /// Binds a copy of the text, NUL bytes included.
    bool bindString(int parameter, const string& text);
    /// Binds `size` bytes without a copy, or NULL for a null pointer. A negative size counts up to
    /// the first NUL byte. The bytes must stay as they are until the run ends, and the parameter
    /// must be bound again before the next run.
    bool bindText(int parameter, const char* bytes, int size);

    /// The number of the parameter with a name, such as ":name", which includes its first character
    /// (`:`, `@` or `$`). 0 when there is none, and nothing is logged.
    int parameter(const string& name) const;

    /// @}
    /// @name Running
    /// @{

    /// Goes on to the next row: the first one after a reset, after the end and after a failure.
    /// @return false at the end, where `error()` is none and nothing is logged, and on failure.
    bool next();

    /// Runs the statement from its beginning to its end; rows are passed over.
    bool run();

    /// Ends the run. The parameters stay. A write that returns rows is complete at its first row,
    /// and is kept; when another connection is in the way, it is undone, and `error()` says why,
    /// after ERROR lines.
    void reset();

    /// Runs a statement of `selectByKey`, or any other, with the key as `?1`, up to the first row.
    /// @return false as by `next`: without such a row, `error()` is none.
    bool find(integer key);
    bool find(const string& key);

    /// The same, fills the record as `read` does, and ends the run.
    bool find(integer key, Record& record) { return find(key) && readAlone(record); }
    bool find(const string& key, Record& record) { return find(key) && readAlone(record); }

    /// The rows that the last run added, changed or deleted; those that triggers changed do not
    /// count. 0 before the first run, during a run, and after a failure, a read, and a statement
    /// that changes the schema.
    int changes() const { return _changes; }

    /// @}
    /// @name The row
    /// Columns count from 0. Without a row, without a statement, and without such a column, a cell
    /// reads as NULL, and nothing is logged. NULL reads as 0, 0.0, false, the epoch and the empty
    /// text. Cells of another type are converted as SQLite does.
    /// @{

    /// The number of columns; 0 for a statement that returns no rows, and without a statement.
    int columnCount() const;
    /// The first column with the name: of the description for `select` and `selectByKey`, otherwise
    /// of the result, byte for byte. -1 when there is none.
    int column(const string& name) const;

    /// Whether the cell is NULL.
    bool isNull(int column) const;
    bool isNull(const string& name) const { return isNull(column(name)); }
    /// The cell as an integer.
    integer getInteger(int column) const;
    integer getInteger(const string& name) const { return getInteger(column(name)); }
    /// The cell as a number, exactly as stored.
    double getDouble(int column) const;
    double getDouble(const string& name) const { return getDouble(column(name)); }
    /// True for 1 alone, as `Value::asBool`.
    bool getBool(int column) const;
    bool getBool(const string& name) const { return getBool(column(name)); }
    /// The time of `getInteger` seconds.
    Time getTime(int column) const { return Time(getInteger(column)); }
    Time getTime(const string& name) const { return getTime(column(name)); }
    /// A copy of the text, NUL bytes included. Without memory the empty text, with an `error()` of
    /// SQLITE_NOMEM.
    string getString(int column) const;
    string getString(const string& name) const { return getString(column(name)); }

    /// The text where SQLite keeps it: it is valid until the statement goes on, is bound, reset or
    /// closed. It ends in a NUL byte, which `getSize` does not count. Null for NULL; also without
    /// memory, which `getString` reports and this does not.
    const char* getText(int column) const;
    /// The size of that text, in bytes.
    int getSize(int column) const;

    /// Fills a record: cell i from column i, with the texts that `Table` reads; texts with NUL
    /// bytes come whole. Cells keep their types. A record that is used again takes no memory, as
    /// long as its texts do not grow.
    /// @return false with SQLITE_MISMATCH, and the record unchanged, when the numbers of cells and
    ///         columns differ; with SQLITE_MISUSE without a row; with SQLITE_NOMEM without memory,
    ///         and the record filled in part.
    bool read(Record& record) const;

    /// @}

    /// Why the last operation failed; none when it succeeded.
    const Error& error() const { return _error; }

private:
    friend class Backup; // they compile statements without taking memory for the texts
    friend class Transaction;
    friend class TableWriter; // lends texts to its statements
    SQLW_INTERNAL bool bindBorrowed(int parameter, const string& text);
    SQLW_INTERNAL bool compile(sqlite3* db, const char* sql, string::size_type size);
    SQLW_INTERNAL bool compile(Table& table, const char* pattern, const string* where,
                               const string* orderBy);
    SQLW_INTERNAL bool isReady();
    SQLW_INTERNAL bool makeReady();
    SQLW_INTERNAL bool bind(int parameter, const string& text, void (*release)(void*));
    SQLW_INTERNAL bool bound(int rc);
    SQLW_INTERNAL bool runReady();
    SQLW_INTERNAL bool end(int rc);
    bool readAlone(Record& record);
    SQLW_INTERNAL bool isNullInFile(int column) const;
    SQLW_INTERNAL bool readCell(int column, Value& cell) const;
    SQLW_INTERNAL bool succeed();
    SQLW_INTERNAL bool fail(int rc) const;
    SQLW_INTERNAL bool fail(int extendedCode, const char* text) const;
    SQLW_INTERNAL bool withoutMemory() const;
    SQLW_INTERNAL void logFailure() const;

    sqlite3* _db;
    sqlite3_stmt* _handle;
    mutable bool _isIdle; // is prepared, is on no row, and has no error
    bool _isOnRow;
    bool _countsChanges; // changes rows
    int _changes;
    string _names; // of the columns of `select`, each ended by a NUL
    string _key;   // of `find`, which the parameter refers to
    mutable Error _error;
};

} // namespace sql

#endif
