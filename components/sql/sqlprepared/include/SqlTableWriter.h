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
/// Borrows the table, which outlives it. Close the writer before `Database::close`, which otherwise
/// reports an assertion and leaves the connection open. When the table gets other columns, by
/// `initTable` or by assignment, close the writer as well: it compiles for them then. Not copied,
/// not moved. One thread at a time per connection.
///
/// A write that fails returns false after two ERROR lines: the statement or the table, then
/// SQLite's code and words. `error()` has the same code and words until the next success. The
/// writer stays usable. A null connection of the table is reported as an assertion, and is
/// SQLITE_MISUSE. No operation throws: without memory a write fails with SQLITE_NOMEM.
class TableWriter
{
public:
    /// For the rows of `table`. Compiles nothing yet.
    explicit TableWriter(Table& table)
        : _table(table), _db(nullptr), _idColumn(-1), _cellCount(0), _lost(0), _insertId(0),
          _changes(0)
    {}
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
    bool insert(const Record& record) { return write(Write::insert, &record); }
    /// Updates the row with the record's key. Also succeeds when there is no such row: see
    /// `changes`. SQLITE_MISUSE when the description has no key column. Where it has more than one,
    /// all of them are compared.
    bool update(const Record& record) { return write(Write::update, &record); }
    /// Updates the row with the record's key, or adds it when there is none, as one step. In SQL it
    /// is one statement where SQLite has it (3.24), otherwise two within a transaction.
    /// SQLITE_MISUSE when the description has no key column.
    bool upsert(const Record& record) { return write(Write::upsert, &record); }

    /// @}
    /// @name Cells
    /// They are NULL at first, and stay set across writes until set again. Columns count from 0; a
    /// name is that of the description, byte for byte. A column that is not there makes the next
    /// write of the cells fail with SQLITE_RANGE. NaN and the infinities make every write of the
    /// cells fail with SQLITE_MISMATCH until the cell is set again.
    /// @{

    /// Sets NULL.
    void setNull(int column)
    {
        if (Cell* const cell = cellAt(column))
            cell->kind = Kind::null;
    }
    void setNull(const string& name) { setNull(column(name)); }
    /// Sets an integer.
    void setInteger(int column, integer number)
    {
        if (Cell* const cell = cellAt(column)) {
            cell->kind = Kind::whole;
            cell->whole = number;
        }
    }
    void setInteger(const string& name, integer number) { setInteger(column(name), number); }
    /// Sets a number, which is stored exactly. SQLite drops the sign of -0.0.
    void setDouble(int column, double number)
    {
        if (Cell* const cell = cellAt(column)) {
            cell->kind = Kind::real;
            cell->real = number;
        }
    }
    void setDouble(const string& name, double number) { setDouble(column(name), number); }
    /// Sets 1 for true and 0 for false.
    void setBool(int column, bool truth) { setInteger(column, truth ? 1 : 0); }
    void setBool(const string& name, bool truth) { setBool(column(name), truth); }
    /// Sets the seconds since the epoch.
    void setTime(int column, Time time) { setInteger(column, time.asInteger()); }
    void setTime(const string& name, Time time) { setTime(column(name), time); }
    /// Sets a copy of the text. In a number column SQLite stores a text that is a number as one,
    /// and any other as the text that it is.
    void setString(int column, const string& text);
    void setString(const string& name, const string& text) { setString(column(name), text); }

    /// The first column with the name; -1 when there is none, and nothing is logged.
    int column(const string& name) const;

    /// Makes every cell NULL, and forgets a column that was not there.
    void clear();

    /// They write the cells, otherwise as the operations of the same names with a record.
    bool insert() { return write(Write::insert, nullptr); }
    bool update() { return write(Write::update, nullptr); }
    bool upsert() { return write(Write::upsert, nullptr); }

    /// @}

    /// Deletes the row with the key. Also succeeds when there is no such row: see `changes`.
    /// SQLITE_MISUSE when the description has no key column, or more than one.
    bool erase(integer key);
    bool erase(const string& key);

    /// The integer key of the row that the last successful `insert` or `upsert` wrote. Other
    /// operations, failures, and rows that a trigger has ignored leave it. 0 before the first, and
    /// in tables without a single integer key column.
    integer insertId() const { return _insertId; }

    /// The rows that the last write changed; those that triggers changed do not count. 0 after a
    /// failure, and after the update of a row that is not there.
    int changes() const { return _changes; }

    /// Drops the compiled statements: the next write compiles again. Cells, `insertId()` and
    /// `error()` stay.
    void close();

    /// Why the last write failed; none when it succeeded.
    const Error& error() const { return _error; }

private:
    enum class Write { insert, update, upsert, erase };
    enum class Kind { null, whole, real, text };

    struct Cell
    {
        Cell() : kind(Kind::null), columnType(type_int), whole(0) {}

        SQLW_INTERNAL bool take(const Value& value);
        SQLW_INTERNAL int bind(sqlite3_stmt* handle, int parameter) const;

        Kind kind;
        field_type columnType;
        union {
            integer whole;
            double real;
        };
        string text;
    };

    SQLW_INTERNAL void open();
    SQLW_INTERNAL bool isCurrent() const;
    SQLW_INTERNAL bool compile(Write kind);
    SQLW_INTERNAL static const char* patternOf(Write kind);
    SQLW_INTERNAL const char* objection(Write kind) const;
    SQLW_INTERNAL bool hasColumnsOf(const Record& record) const;
    SQLW_INTERNAL bool take(const Record& record);
    SQLW_INTERNAL bool bind(Statement& statement, const std::vector<Cell>& cells);
    SQLW_INTERNAL bool run(Statement& statement, bool isBound);
    bool write(Write kind, const Record* record);
    SQLW_INTERNAL bool writeOnce(Write kind, const Record* record, bool keepsId);
    SQLW_INTERNAL bool upsertInTwo(const Record* record);
    SQLW_INTERNAL bool updateOrInsert(const Record* record);
    SQLW_INTERNAL Statement& statementOf(Write kind);
    SQLW_INTERNAL bool isReady(Write kind);
    SQLW_INTERNAL void keepId(const std::vector<Cell>& cells);
    SQLW_INTERNAL integer keyOf(const Cell& cell);
    SQLW_INTERNAL bool failForLostCell();
    SQLW_INTERNAL bool failForNoNumber(int column);
    SQLW_INTERNAL bool withoutMemory();
    SQLW_INTERNAL bool fail(const Error& why);
    SQLW_INTERNAL bool fail(int extendedCode, const char* text);
    Cell* cellAt(int column) // null when it can't be set, which the next write reports
    {
        return static_cast<unsigned>(column) < _cellCount ? &_cells[static_cast<unsigned>(column)]
                                                          : makeCell(column);
    }
    Cell* makeCell(int column);
    SQLW_INTERNAL void resizeCells();
    SQLW_INTERNAL void resize(std::vector<Cell>& cells) const;
    SQLW_INTERNAL void lose(int code);

    Table& _table;
    sqlite3* _db;             // of the table, when the statements were compiled
    int _idColumn;            // its integer key then; -1 when there is none
    Statement _statements[4]; // by the kind of write
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
