#include "SqlTableWriter.h"

#include <climits>
#include <cmath>
#include <cstddef>

#include "Companion.h"
#include "SqlTransaction.h"
#include "StatementText.h"
#include "StoredNumber.h"

#define SQLW_SOURCE_NAME "SqlTableWriter.cpp"

namespace sql
{

TableWriter::~TableWriter() {}

void TableWriter::close()
{
    for (Statement& statement : _statements)
        statement.close();
    _db = nullptr;
}

// The statement has logged it.
SQLW_COLD bool TableWriter::fail(const Error& why)
{
    _changes = 0;
    _error.set(why.extendedCode(), why.text().c_str());
    return false;
}

SQLW_COLD bool TableWriter::fail(int extendedCode, const char* text)
{
    _changes = 0;
    _error.set(extendedCode, text);
    try {
        SQLW_ERROR("Failed to write to table '%s'", _table.name().c_str());
        SQLW_ERROR("  rc=%d=%s: %s", _error.code(), sqliteRc2Str(_error.code()), text);
    } catch (const std::exception&) { // a name that there is no memory for
    }
    return false;
}

const char* TableWriter::patternOf(Write kind)
{
    switch (kind) {
        case Write::insert:
            return "insert into %t (%n) values (%p)";
        case Write::update:
            return "update %t set %a where %c";
        case Write::upsert:
            return "insert into %t (%n) values (%p) on conflict(%k) do update set %a";
        case Write::erase:
            break;
    }
    return "delete from %t where %k=?1";
}

// Why the description does not do for a write; null when it does.
const char* TableWriter::objection(Write kind) const
{
    const FieldSet& fields = _table.fields();
    if (fields.count() == 0)
        return "the description has no columns";
    if (kind == Write::insert)
        return nullptr;
    const int keys = countKeys(fields);
    if (kind == Write::erase && keys != 1)
        return "the description has not exactly one key column";
    return keys > 0 ? nullptr : "the description has no key column";
}

// Takes in what the table is now.
void TableWriter::open()
{
    close();
    const FieldSet& fields = _table.fields();
    const bool hasOneKey = countKeys(fields) == 1;
    resizeCells();
    resize(_row);
    _idColumn = -1;
    for (int i = 0; i < fields.count(); ++i) {
        const Field& field = *fields.getByIndex(i);
        _row[static_cast<size_t>(i)].columnType = field.getType();
        if (hasOneKey && field.isPrimaryKey() && field.getType() == type_int)
            _idColumn = i;
    }
    _db = _table.getHandle();
}

bool TableWriter::isCurrent() const
{
    return _db == _table.getHandle();
}

SQLW_COLD bool TableWriter::compile(Write kind)
{
    try {
        if (!isCurrent())
            open();
        const char* const text = _db ? objection(kind) : nullptr;
        if (text)
            return fail(SQLITE_MISUSE, text);
        string sql;
        addStatement(sql, patternOf(kind), _table);
        Statement& statement = statementOf(kind);
        return statement.prepare(_db, sql) || fail(statement.error());
    } catch (const std::exception&) {
        return withoutMemory();
    }
}

SQLW_COLD bool TableWriter::withoutMemory()
{
    return fail(SQLITE_NOMEM, "out of memory");
}

// From a record to cells

bool TableWriter::hasColumnsOf(const Record& record) const
{
    const FieldSet& own = _table.fields();
    const FieldSet& other = *record.fields();
    const size_t compiled = _row.size();
    if (static_cast<size_t>(own.count()) != compiled ||
        static_cast<size_t>(record.columnCount()) != compiled)
        return false;
    if (&own == &other)
        return true;
    for (int i = 0; i < own.count(); ++i)
        if (own.getByIndex(i)->getName() != other.getByIndex(i)->getName())
            return false;
    return true;
}

bool TableWriter::take(const Record& record)
{
    try {
        if (!hasColumnsOf(record))
            return fail(SQLITE_MISMATCH, "the record has other columns than the table");
        int column = 0;
        for (Cell& cell : _row) {
            if (!cell.take(*record.getValue(column)))
                return failForNoNumber(column);
            ++column;
        }
        return true;
    } catch (const std::exception&) {
        return withoutMemory();
    }
}

// As `Table` stores the value. False when a number column can't hold it.
bool TableWriter::Cell::take(const Value& value)
{
    kind = Kind::null;
    if (value.isNull())
        return true;
    if (columnType != type_text && value.getType() == type_time) {
        kind = Kind::whole;
        whole = value.asInteger();
        return true;
    }
    string taken = value.asString();
    bool isStorable = true;
    if (columnType != type_text) {
        const DecimalText decimal(taken);
        switch (decimal.form()) {
            case DecimalText::as_integer:
                kind = Kind::whole;
                whole = decimal.whole();
                return true;
            case DecimalText::as_double:
                kind = Kind::real;
                real = decimal.real();
                return true;
            case DecimalText::as_text:
                break;
            case DecimalText::no_number:
                isStorable = false;
        }
    }
    kind = Kind::text;
    text.swap(taken);
    return isStorable;
}

SQLW_COLD bool TableWriter::failForNoNumber(int column)
{
    string words;
    words += "column ";
    words += _table.fields().getByIndex(column)->getName();
    words += " takes one decimal number, not '";
    words += _row[static_cast<size_t>(column)].text;
    words += "'";
    return fail(SQLITE_MISMATCH, words.c_str());
}

// Writing

inline int TableWriter::Cell::bind(sqlite3_stmt* handle, int parameter) const
{
    switch (kind) {
        case Kind::null:
            break;
        case Kind::whole:
            return sqlite3_bind_int64(handle, parameter, whole);
        case Kind::real:
            return std::isfinite(real) ? sqlite3_bind_double(handle, parameter, real)
                                       : SQLITE_MISMATCH;
        case Kind::text:
            if (text.size() > INT_MAX)
                return SQLITE_TOOBIG;
            return sqlite3_bind_text(handle, parameter, text.data(), static_cast<int>(text.size()),
                                     SQLITE_STATIC);
    }
    return sqlite3_bind_null(handle, parameter);
}

bool TableWriter::bind(Statement& statement, const std::vector<Cell>& cells)
{
    int parameter = 0;
    for (const Cell& cell : cells) {
        const int rc = cell.bind(statement._handle, ++parameter);
        if (rc != SQLITE_OK)
            return fail(rc, rc == SQLITE_MISMATCH ? "SQLite stores neither NaN nor infinities"
                                                  : sqlite3_errstr(rc));
    }
    return true;
}

bool TableWriter::run(Statement& statement, bool isBound)
{
    if (!isBound || !statement.runReady())
        return fail(statement.error());
    _changes = statement._changes;
    _error.clear();
    return true;
}

Statement& TableWriter::statementOf(Write kind)
{
    return _statements[static_cast<int>(kind)];
}

bool TableWriter::isReady(Write kind)
{
    return (statementOf(kind)._handle && isCurrent()) || compile(kind);
}

// A key that is NULL has been given a number by SQLite.
void TableWriter::keepId(const std::vector<Cell>& cells)
{
    if (_idColumn < 0 || _changes == 0) // a trigger may have ignored the row
        return;
    const Cell& cell = cells[static_cast<size_t>(_idColumn)];
    if (cell.kind == Kind::whole)
        _insertId = cell.whole;
    else if (cell.kind == Kind::null)
        _insertId = sqlite3_last_insert_rowid(_db);
    else
        _insertId = keyOf(cell);
}

bool TableWriter::writeOnce(Write kind, const Record* record, bool keepsId)
{
    if (!isReady(kind))
        return false;
    if (record ? !take(*record) : _lost != SQLITE_OK && !failForLostCell())
        return false;
    const std::vector<Cell>& cells = record ? _row : _cells;
    Statement& statement = statementOf(kind);
    if (!bind(statement, cells) || !run(statement, true))
        return false;
    if (keepsId)
        keepId(cells);
    return true;
}

// The integer that SQLite makes of a number or a text.
SQLW_COLD integer TableWriter::keyOf(const Cell& cell)
{
    static const char conversion[] = "select cast(?1 as numeric)";
    Statement statement;
    const bool isRead = statement.compile(_db, conversion, sizeof(conversion) - 1) &&
                        cell.bind(statement._handle, 1) == SQLITE_OK && statement.next();
    return isRead ? statement.getInteger(0) : 0;
}

// A column that is not there fails one write. Without memory for a cell, every write fails until
// all cells are cleared, because what was set is gone.
SQLW_COLD bool TableWriter::failForLostCell()
{
    if (_lost == SQLITE_NOMEM)
        return withoutMemory();
    _lost = SQLITE_OK;
    return fail(SQLITE_RANGE, "a cell was set of a column that is not there");
}

bool TableWriter::write(Write kind, const Record* record)
{
    const int firstWithUpsert = 3024000;
    return kind != Write::upsert || sqlite3_libversion_number() >= firstWithUpsert
               ? writeOnce(kind, record, kind != Write::update)
               : upsertInTwo(record);
}

SQLW_COLD bool TableWriter::upsertInTwo(const Record* record)
{
    sqlite3* const db = _table.getHandle();
    if (!db || sqlite3_get_autocommit(db) == 0)
        return updateOrInsert(record);
    const integer formerId = _insertId;
    Transaction transaction(db); // so that no one else adds the row in between
    if (!transaction.isOpen())
        return fail(transaction.error());
    if (!updateOrInsert(record))
        return false;
    if (transaction.commit())
        return true;
    _insertId = formerId;
    return fail(transaction.error());
}

bool TableWriter::updateOrInsert(const Record* record)
{
    return writeOnce(Write::update, record, true) &&
           (_changes != 0 || writeOnce(Write::insert, record, true));
}

bool TableWriter::erase(integer key)
{
    Statement& statement = statementOf(Write::erase);
    return isReady(Write::erase) && run(statement, statement.bindInteger(1, key));
}

bool TableWriter::erase(const string& key)
{
    Statement& statement = statementOf(Write::erase);
    return isReady(Write::erase) && run(statement, statement.bindBorrowed(1, key));
}

// Cells

// The cells are made when the first of them is set: the table may get its columns late.
SQLW_COLD TableWriter::Cell* TableWriter::makeCell(int column)
{
    const int count = _table.fields().count();
    if (column < 0 || column >= count) {
        lose(SQLITE_RANGE);
        return nullptr;
    }
    try {
        resizeCells();
        return &_cells[static_cast<size_t>(column)];
    } catch (const std::exception&) {
        lose(SQLITE_NOMEM);
        return nullptr;
    }
}

void TableWriter::resizeCells()
{
    resize(_cells);
    _cellCount = static_cast<unsigned>(_cells.size());
}

// To the columns of the table. What is in the cells stays.
void TableWriter::resize(std::vector<Cell>& cells) const
{
    std::vector<Cell> resized(static_cast<size_t>(_table.fields().count()));
    for (size_t i = 0; i < resized.size() && i < cells.size(); ++i)
        resized[i] = cells[i];
    cells.swap(resized);
}

void TableWriter::lose(int code)
{
    if (_lost != SQLITE_NOMEM)
        _lost = code;
}

void TableWriter::setString(int column, const string& text)
{
    Cell* const cell = cellAt(column);
    if (!cell)
        return;
    try {
        cell->text = text;
        cell->kind = Kind::text;
    } catch (const std::exception&) {
        lose(SQLITE_NOMEM);
    }
}

int TableWriter::column(const string& name) const
{
    return positionOf(_table.fields(), name);
}

void TableWriter::clear()
{
    for (Cell& cell : _cells)
        cell.kind = Kind::null;
    _lost = SQLITE_OK;
}

} // namespace sql
