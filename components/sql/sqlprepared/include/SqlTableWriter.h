/// @file
/// Writes to the rows of a table, each kind compiled once.

#ifndef SQLW_SQL_TABLE_WRITER_H
#define SQLW_SQL_TABLE_WRITER_H

#include "SqlStatement.h"

namespace sql
{

/// Inserts, updates, upserts and erases rows of a table, from records or from cells that are set on
/// the writer itself. Each kind of write is compiled at its first use.
///
/// What is stored: a record is stored as `Table` stores it, byte for byte in the file. A cell of a
/// number column must hold one decimal number; anything else is refused with SQLITE_MISMATCH. Texts
/// are stored whole, NUL bytes included. Cells set on the writer are stored exactly, without
/// rounding to eight decimals.
///
/// Borrows the table, which outlives it. Close the writer before `Database::close`; otherwise that
/// reports an assertion and leaves the connection open. Not copied, not moved. One thread at a time
/// per connection.
///
/// A write that fails returns false after two ERROR lines: the statement or the table, then
/// SQLite's code and words. `error()` has the same code and words until the next success. The
/// writer stays usable. A null connection of the table is reported as an assertion, and is
/// SQLITE_MISUSE. No operation throws: without memory a write fails with SQLITE_NOMEM.
class TableWriter
{
public:
    /// For the rows of `table`. Compiles nothing yet.
    explicit TableWriter(Table& table);
    /// Closes.
    ~TableWriter();

    TableWriter(const TableWriter&) = delete;
    TableWriter& operator=(const TableWriter&) = delete;

    /// @name Writing a record
    /// Its columns must have the names of the table's, in the same order, whichever column set it
    /// was made with; otherwise it is refused with SQLITE_MISMATCH. The cells of the writer stay as
    /// they are.
    /// @{

    /// Adds a row. A NULL key is given a number by SQLite, where the key column is an integer one.
    bool insert(const Record& record);
    /// Updates the row with the record's key. True also when there is no such row: see `changes`.
    /// SQLITE_MISUSE when the description has no key column. Where it has more than one, all of
    /// them are compared.
    bool update(const Record& record);
    /// Updates the row with the record's key, or adds it when there is none, as one step. In SQL it
    /// is one statement where SQLite has it (3.24), otherwise two within a savepoint. SQLITE_MISUSE
    /// when the description has no key column.
    bool upsert(const Record& record);

    /// @}
    /// @name Cells
    /// They are NULL at first, and stay set across writes until set again. Columns count from 0; a
    /// name is that of the description, byte for byte. A column that is not there makes the next
    /// write of the cells fail with SQLITE_RANGE. NaN and the infinities make every write of the
    /// cells fail with SQLITE_MISMATCH until the cell is set again.
    /// @{

    /// Sets NULL.
    void setNull(int column);
    void setNull(const string& name);
    /// Sets an integer.
    void setInteger(int column, integer number);
    void setInteger(const string& name, integer number);
    /// Sets a number, which is stored exactly.
    void setDouble(int column, double number);
    void setDouble(const string& name, double number);
    /// Sets 1 for true and 0 for false.
    void setBool(int column, bool truth);
    void setBool(const string& name, bool truth);
    /// Sets the seconds since the epoch.
    void setTime(int column, Time time);
    void setTime(const string& name, Time time);
    /// Sets a copy of the text. In a number column SQLite stores a text that is a number as one,
    /// and any other as the text that it is.
    void setString(int column, const string& text);
    void setString(const string& name, const string& text);

    /// The first column with the name; -1 when there is none, and nothing is logged.
    int column(const string& name) const;

    /// Makes every cell NULL, and forgets a column that was not there.
    void clear();

    /// They write the cells, otherwise as the operations of the same names with a record.
    bool insert();
    bool update();
    bool upsert();

    /// @}

    /// Deletes the row with the key. True also when there is no such row: see `changes`.
    /// SQLITE_MISUSE when the description has no key column, or more than one.
    bool erase(integer key);
    bool erase(const string& key);

    /// The integer key of the row that the last successful `insert` or `upsert` wrote. Other
    /// operations and failures leave it. 0 before the first, and in tables without a single integer
    /// key column.
    integer insertId() const;

    /// The rows that the last write changed; those that triggers changed do not count. 0 after a
    /// failure, and after the update of a row that is not there.
    int changes() const;

    /// Drops the compiled statements: the next write compiles again. Cells, `insertId()` and
    /// `error()` stay.
    void close();

    /// Why the last write failed; none when it succeeded.
    const Error& error() const;

private:
    enum class Write { insert, update, upsert, erase };
    enum class Kind { null, whole, real, text };

    struct Cell
    {
        Cell() : kind(Kind::null), whole(0) {}

        SQLW_INTERNAL bool take(const Value& value, field_type columnType);
        SQLW_INTERNAL int bind(sqlite3_stmt* handle, int parameter) const;

        Kind kind;
        union {
            integer whole;
            double real;
        };
        string text;
    };

    SQLW_INTERNAL void open();
    SQLW_INTERNAL bool isCurrent() const;
    SQLW_INTERNAL bool compile(Statement& statement, Write kind);
    SQLW_INTERNAL string toSql(Write kind) const;
    SQLW_INTERNAL const char* objection(Write kind) const;
    SQLW_INTERNAL bool hasColumnsOf(const Record& record) const;
    SQLW_INTERNAL bool take(const Record& record);
    SQLW_INTERNAL bool bind(Statement& statement, const std::vector<Cell>& cells);
    SQLW_INTERNAL bool run(Statement& statement);
    SQLW_INTERNAL bool write(Statement& statement, Write kind, const Record* record);
    SQLW_INTERNAL bool upsert(const Record* record);
    SQLW_INTERNAL bool updateOrInsert(const Record* record);
    SQLW_INTERNAL bool prepareErase();
    SQLW_INTERNAL void keepId(const std::vector<Cell>& cells);
    SQLW_INTERNAL bool failForLostCell();
    SQLW_INTERNAL bool failForNoNumber(int column);
    SQLW_INTERNAL bool withoutMemory();
    SQLW_INTERNAL bool fail(const Error& why);
    SQLW_INTERNAL bool fail(int extendedCode, const char* text);
    SQLW_INTERNAL bool hasCell(int column);
    SQLW_INTERNAL Cell& cell(int column);
    SQLW_INTERNAL bool makeCell(int column);
    SQLW_INTERNAL void resizeCells();
    SQLW_INTERNAL void lose(int code);

    Table& _table;
    sqlite3* _db;                   // of the table, when the statements were compiled
    std::vector<field_type> _types; // of its columns, likewise
    int _idColumn;                  // its integer key; -1 when there is none
    Statement _insert;
    Statement _update;
    Statement _upsert;
    Statement _erase;
    std::vector<Cell> _row;   // of the record written last, to which parameters refer
    std::vector<Cell> _cells; // set on the writer
    unsigned _cellCount;      // their number
    int _lost;                // why a cell is not as it was set, as a code; 0 when all are
    integer _insertId;
    int _changes;
    Error _error;
};

} // namespace sql

#endif
