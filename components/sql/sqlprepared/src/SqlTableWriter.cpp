#include "SqlTableWriter.h"

#include <climits>
#include <cmath>
#include <cstddef>

#include "Companion.h"
#include "SqlTransaction.h"
#include "StoredNumber.h"

#define SQLW_SOURCE_NAME "SqlTableWriter.cpp"

namespace sql
{

TableWriter::TableWriter(Table& table)
    : _table(table), _db(nullptr), _idColumn(-1), _cellCount(0), _lost(SQLITE_OK), _insertId(0),
      _changes(0)
{}

TableWriter::~TableWriter()
{
    close();
}

void TableWriter::close()
{
    _insert.close();
    _update.close();
    _upsert.close();
    _erase.close();
    _types.clear();
    _db = nullptr;
}

// The statement has logged it.
SQLW_COLD bool TableWriter::fail(const Error& why)
{
    _changes = 0;
    setError(_error, why.extendedCode(), why.text().c_str());
    return false;
}

SQLW_COLD bool TableWriter::fail(int extendedCode, const char* text)
{
    _changes = 0;
    setError(_error, extendedCode, text);
    try {
        SQLW_ERROR("Failed to write to table '%s'", _table.name().c_str());
        SQLW_ERROR("  rc=%d=%s: %s", _error.code(), sqliteRc2Str(_error.code()), text);
    } catch (const std::exception&) { // a name that there is no memory for
    }
    return false;
}

// Statements. Parameter i + 1 is column i, but for the statement that erases.

static void addParameter(string& sql, int column)
{
    sql += '?';
    sql += intToStr(column + 1);
}

static string insertOf(const Table& table)
{
    const FieldSet& fields = table.fields();
    string sql("insert into ");
    sql += table.name();
    sql += " (";
    sql += fields.toSql();
    sql += ") values (";
    for (int i = 0; i < fields.count(); ++i) {
        if (i > 0)
            sql += ", ";
        addParameter(sql, i);
    }
    sql += ')';
    return sql;
}

// "id=?1", for those columns that are keys or those that are not.
static bool addPairs(string& sql, const FieldSet& fields, bool keys, const char* separator)
{
    bool hasAdded = false;
    for (int i = 0; i < fields.count(); ++i) {
        const Field& field = *fields.getByIndex(i);
        if (field.isPrimaryKey() != keys)
            continue;
        if (hasAdded)
            sql += separator;
        sql += field.getName();
        sql += '=';
        addParameter(sql, i);
        hasAdded = true;
    }
    return hasAdded;
}

// A table of keys alone sets them to what they are.
static void addAssignments(string& sql, const FieldSet& fields)
{
    sql += " set ";
    if (!addPairs(sql, fields, false, ", "))
        addPairs(sql, fields, true, ", ");
}

static string updateOf(const Table& table)
{
    string sql("update ");
    sql += table.name();
    addAssignments(sql, table.fields());
    sql += " where ";
    addPairs(sql, table.fields(), true, " and ");
    return sql;
}

static string upsertOf(const Table& table)
{
    const FieldSet& fields = table.fields();
    string sql = insertOf(table);
    sql += " on conflict";
    char separator = '(';
    for (int i = 0; i < fields.count(); ++i) {
        if (!fields.getByIndex(i)->isPrimaryKey())
            continue;
        sql += separator;
        sql += fields.getByIndex(i)->getName();
        separator = ',';
    }
    sql += ") do update";
    addAssignments(sql, fields);
    return sql;
}

static string deleteOf(const Table& table)
{
    string sql("delete from ");
    sql += table.name();
    sql += " where ";
    sql += onlyKey(table.fields())->getName();
    sql += "=?1";
    return sql;
}

string TableWriter::toSql(Write kind) const
{
    switch (kind) {
        case Write::insert:
            return insertOf(_table);
        case Write::update:
            return updateOf(_table);
        case Write::upsert:
            return upsertOf(_table);
        case Write::erase:
            return deleteOf(_table);
    }
    return string();
}

// Why the description does not do for a write; null when it does.
const char* TableWriter::objection(Write kind) const
{
    const FieldSet& fields = _table.fields();
    if (fields.count() == 0)
        return "the description has no columns";
    if (kind == Write::erase && !onlyKey(fields))
        return "the description has not exactly one key column";
    if (kind == Write::insert)
        return nullptr;
    for (int i = 0; i < fields.count(); ++i)
        if (fields.getByIndex(i)->isPrimaryKey())
            return nullptr;
    return "the description has no key column";
}

// Takes in what the table is now.
void TableWriter::open()
{
    close();
    const FieldSet& fields = _table.fields();
    const Field* const key = onlyKey(fields);
    _idColumn = -1;
    for (int i = 0; i < fields.count(); ++i) {
        const Field* const field = fields.getByIndex(i);
        _types.push_back(field->getType());
        if (field == key && key->getType() == type_int)
            _idColumn = i;
    }
    _row.resize(_types.size());
    resizeCells();
    _db = _table.getHandle();
}

bool TableWriter::isCurrent() const
{
    return _db && _db == _table.getHandle();
}

SQLW_COLD bool TableWriter::compile(Statement& statement, Write kind)
{
    try {
        if (!isCurrent())
            open();
        const char* const text = _db ? objection(kind) : nullptr;
        if (text)
            return fail(SQLITE_MISUSE, text);
        return statement.prepare(_db, _db ? toSql(kind) : string()) || fail(statement.error());
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
    if (static_cast<size_t>(record.columnCount()) != _types.size())
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
        for (size_t i = 0; i < _row.size(); ++i)
            if (!_row[i].take(*record.getValue(static_cast<int>(i)), _types[i]))
                return failForNoNumber(static_cast<int>(i));
        return true;
    } catch (const std::exception&) {
        return withoutMemory();
    }
}

// As `Table` stores the value. False when a number column can't hold it.
bool TableWriter::Cell::take(const Value& value, field_type columnType)
{
    kind = Kind::null;
    if (value.isNull())
        return true;
    if (columnType != type_text && value.getType() == type_time) {
        kind = Kind::whole;
        whole = value.asInteger();
        return true;
    }
    text = value.asString();
    kind = Kind::text;
    if (columnType == type_text)
        return true;
    const DecimalText decimal(text);
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
            return true;
        case DecimalText::no_number:
            break;
    }
    return false;
}

SQLW_COLD bool TableWriter::failForNoNumber(int column)
{
    string words("column ");
    words += _table.fields().getByIndex(column)->getName();
    words += " takes one decimal number, not '";
    words += _row[static_cast<size_t>(column)].text;
    words += '\'';
    return fail(SQLITE_MISMATCH, words.c_str());
}

// Writing

int TableWriter::Cell::bind(sqlite3_stmt* handle, int parameter) const
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
    if (!statement.isReady())
        return fail(statement.error());
    int parameter = 0;
    for (const Cell& cell : cells) {
        const int rc = cell.bind(statement._handle, ++parameter);
        if (rc != SQLITE_OK)
            return fail(rc, rc == SQLITE_MISMATCH ? "SQLite stores neither NaN nor infinities"
                                                  : sqlite3_errstr(rc));
    }
    return true;
}

bool TableWriter::run(Statement& statement)
{
    if (!statement.run())
        return fail(statement.error());
    _changes = statement._changes;
    sql::clear(_error);
    return true;
}

bool TableWriter::write(Statement& statement, Write kind, const Record* record)
{
    if (!(statement._handle && isCurrent()) && !compile(statement, kind))
        return false;
    if (record ? !take(*record) : _lost != SQLITE_OK && !failForLostCell())
        return false;
    const std::vector<Cell>& cells = record ? _row : _cells;
    if (!bind(statement, cells) || !run(statement))
        return false;
    if (kind != Write::update)
        keepId(cells);
    return true;
}

// A key that is NULL has been given a number by SQLite.
void TableWriter::keepId(const std::vector<Cell>& cells)
{
    if (_idColumn < 0)
        return;
    const Cell& cell = cells[static_cast<size_t>(_idColumn)];
    if (cell.kind == Kind::whole)
        _insertId = cell.whole;
    else if (cell.kind == Kind::null)
        _insertId = sqlite3_last_insert_rowid(_db);
    else
        _insertId = cell.kind == Kind::real ? wholeOf(cell.real) : wholeOf(cell.text);
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

bool TableWriter::insert(const Record& record)
{
    return write(_insert, Write::insert, &record);
}

bool TableWriter::insert()
{
    return write(_insert, Write::insert, nullptr);
}

bool TableWriter::update(const Record& record)
{
    return write(_update, Write::update, &record);
}

bool TableWriter::update()
{
    return write(_update, Write::update, nullptr);
}

bool TableWriter::upsert(const Record& record)
{
    return upsert(&record);
}

bool TableWriter::upsert()
{
    return upsert(nullptr);
}

bool TableWriter::upsert(const Record* record)
{
    const int firstWithUpsert = 3024000;
    if (sqlite3_libversion_number() >= firstWithUpsert)
        return write(_upsert, Write::upsert, record);

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
    if (!write(_update, Write::update, record))
        return false;
    if (_changes == 0)
        return write(_insert, Write::insert, record);
    keepId(record ? _row : _cells);
    return true;
}

bool TableWriter::prepareErase()
{
    return (_erase._handle && isCurrent()) || compile(_erase, Write::erase);
}

bool TableWriter::erase(integer key)
{
    return prepareErase() && (_erase.bindInteger(1, key) || fail(_erase.error())) && run(_erase);
}

bool TableWriter::erase(const string& key)
{
    return prepareErase() && (_erase.bindBorrowed(1, key) || fail(_erase.error())) && run(_erase);
}

integer TableWriter::insertId() const
{
    return _insertId;
}

int TableWriter::changes() const
{
    return _changes;
}

const Error& TableWriter::error() const
{
    return _error;
}

// Cells

// Whether the cell can be set. If not, the next write says so.
bool TableWriter::hasCell(int column)
{
    return static_cast<unsigned>(column) < _cellCount || makeCell(column);
}

TableWriter::Cell& TableWriter::cell(int column)
{
    return _cells[static_cast<size_t>(column)];
}

// The cells are made when the first of them is set: the table may get its columns late.
SQLW_COLD bool TableWriter::makeCell(int column)
{
    const int count = _table.fields().count();
    if (column < 0 || column >= count) {
        lose(SQLITE_RANGE);
        return false;
    }
    try {
        resizeCells();
        return true;
    } catch (const std::exception&) {
        lose(SQLITE_NOMEM);
        return false;
    }
}

void TableWriter::resizeCells()
{
    const unsigned count = static_cast<unsigned>(_table.fields().count());
    _cells.resize(count);
    _cellCount = count;
}

void TableWriter::lose(int code)
{
    if (_lost != SQLITE_NOMEM)
        _lost = code;
}

void TableWriter::setNull(int column)
{
    if (hasCell(column))
        cell(column).kind = Kind::null;
}

void TableWriter::setNull(const string& name)
{
    setNull(column(name));
}

void TableWriter::setInteger(int column, integer number)
{
    if (!hasCell(column))
        return;
    cell(column).kind = Kind::whole;
    cell(column).whole = number;
}

void TableWriter::setInteger(const string& name, integer number)
{
    setInteger(column(name), number);
}

void TableWriter::setDouble(int column, double number)
{
    if (!hasCell(column))
        return;
    cell(column).kind = Kind::real;
    cell(column).real = number;
}

void TableWriter::setDouble(const string& name, double number)
{
    setDouble(column(name), number);
}

void TableWriter::setBool(int column, bool truth)
{
    setInteger(column, truth ? 1 : 0);
}

void TableWriter::setBool(const string& name, bool truth)
{
    setBool(column(name), truth);
}

void TableWriter::setTime(int column, Time time)
{
    setInteger(column, time.asInteger());
}

void TableWriter::setTime(const string& name, Time time)
{
    setTime(column(name), time);
}

void TableWriter::setString(int column, const string& text)
{
    if (!hasCell(column))
        return;
    try {
        cell(column).text = text;
        cell(column).kind = Kind::text;
    } catch (const std::exception&) {
        lose(SQLITE_NOMEM);
    }
}

void TableWriter::setString(const string& name, const string& text)
{
    setString(column(name), text);
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
