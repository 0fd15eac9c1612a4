#include "SqlTableWriter.h"

#include <cstddef>

#include "Companion.h"
#include "SqlTransaction.h"
#include "StoredNumber.h"

#define SQLW_SOURCE_NAME "SqlTableWriter.cpp"

namespace sql
{

TableWriter::TableWriter(Table& table)
    : _table(table), _db(nullptr), _idColumn(-1), _lost(SQLITE_OK), _hasId(false), _id(0),
      _insertId(0), _changes(0)
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
bool TableWriter::fail(const Error& why)
{
    _changes = 0;
    setError(_error, why.extendedCode(), why.text().c_str());
    return false;
}

bool TableWriter::fail(int extendedCode, const char* text)
{
    _changes = 0;
    setError(_error, extendedCode, text);
    SQLW_ERROR("Failed to write to table '%s'", _table.name().c_str());
    SQLW_ERROR("  rc=%d=%s: %s", _error.code(), sqliteRc2Str(_error.code()), text);
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
    _texts.resize(_types.size());
    _cells.resize(_types.size());
    _db = _table.getHandle();
}

bool TableWriter::isCurrent() const
{
    return _db && _db == _table.getHandle() &&
           _types.size() == static_cast<size_t>(_table.fields().count());
}

bool TableWriter::prepare(Statement& statement, Write kind)
{
    _changes = 0;
    if (statement._handle && isCurrent())
        return true;
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

bool TableWriter::withoutMemory()
{
    return fail(SQLITE_NOMEM, "out of memory");
}

// Binding. The key that a row gets is noted on the way, as it is known only then.

void TableWriter::note(int column, integer id)
{
    if (column != _idColumn)
        return;
    _hasId = true;
    _id = id;
}

bool TableWriter::bindNull(Statement& statement, int column)
{
    return statement.bindNull(column + 1) || fail(statement.error());
}

bool TableWriter::bindInteger(Statement& statement, int column, integer number)
{
    note(column, number);
    return statement.bindInteger(column + 1, number) || fail(statement.error());
}

bool TableWriter::bindDouble(Statement& statement, int column, double number)
{
    note(column, wholeOf(number));
    return statement.bindDouble(column + 1, number) || fail(statement.error());
}

bool TableWriter::bindText(Statement& statement, int column, const string& text)
{
    if (column == _idColumn)
        note(column, wholeOf(text));
    return statement.bindBorrowed(column + 1, text) || fail(statement.error());
}

bool TableWriter::bindCells(Statement& statement)
{
    if (_lost != SQLITE_OK)
        return failForLostCell();
    for (int i = 0; i < static_cast<int>(_cells.size()); ++i)
        if (!bind(statement, i, _cells[static_cast<size_t>(i)]))
            return false;
    return true;
}

bool TableWriter::bind(Statement& statement, int column, const Cell& cell)
{
    switch (cell.kind) {
        case Kind::null:
            break;
        case Kind::whole:
            return bindInteger(statement, column, cell.whole);
        case Kind::real:
            return bindDouble(statement, column, cell.real);
        case Kind::text:
            return bindText(statement, column, cell.text);
    }
    return bindNull(statement, column);
}

// A column that is not there fails one write. Without memory for a cell, every write fails until
// all cells are cleared, because what was set is gone.
bool TableWriter::failForLostCell()
{
    if (_lost == SQLITE_NOMEM)
        return withoutMemory();
    _lost = SQLITE_OK;
    return fail(SQLITE_RANGE, "a cell was set of a column that is not there");
}

bool TableWriter::hasColumnsOf(const Record& record) const
{
    const FieldSet& own = _table.fields();
    const FieldSet& other = *record.fields();
    if (record.columnCount() != own.count())
        return false;
    if (&own == &other)
        return true;
    for (int i = 0; i < own.count(); ++i)
        if (own.getByIndex(i)->getName() != other.getByIndex(i)->getName())
            return false;
    return true;
}

bool TableWriter::bind(Statement& statement, const Record& record)
{
    try {
        if (!hasColumnsOf(record))
            return fail(SQLITE_MISMATCH, "the record has other columns than the table");
        for (int i = 0; i < record.columnCount(); ++i)
            if (!bind(statement, i, *record.getValue(i)))
                return false;
        return true;
    } catch (const std::exception&) {
        return withoutMemory();
    }
}

// As `Table` stores the cell.
bool TableWriter::bind(Statement& statement, int column, const Value& value)
{
    if (value.isNull())
        return bindNull(statement, column);
    const size_t index = static_cast<size_t>(column);
    const bool isText = _types[index] == type_text;
    if (!isText && value.getType() == type_time)
        return bindInteger(statement, column, value.asInteger());

    string& text = _texts[index]; // which the parameter refers to
    text = value.asString();
    if (isText)
        return bindText(statement, column, text);
    const DecimalText decimal(text);
    switch (decimal.form()) {
        case DecimalText::as_integer:
            return bindInteger(statement, column, decimal.whole());
        case DecimalText::as_double:
            return bindDouble(statement, column, decimal.real());
        case DecimalText::as_text:
            return bindText(statement, column, text);
        case DecimalText::no_number:
            break;
    }
    return failForNoNumber(column, text);
}

bool TableWriter::failForNoNumber(int column, const string& text)
{
    string words("column ");
    words += _table.fields().getByIndex(column)->getName();
    words += " takes a decimal number, not '";
    words += text;
    words += '\'';
    return fail(SQLITE_MISMATCH, words.c_str());
}

// Writing

bool TableWriter::write(Statement& statement, Write kind, const Record* record)
{
    _hasId = false;
    if (!prepare(statement, kind))
        return false;
    return (record ? bind(statement, *record) : bindCells(statement)) && run(statement, kind);
}

bool TableWriter::run(Statement& statement, Write kind)
{
    if (!statement.run())
        return fail(statement.error());
    _changes = statement.changes();
    if (kind == Write::insert || kind == Write::upsert)
        keepId();
    sql::clear(_error);
    return true;
}

void TableWriter::keepId()
{
    if (_idColumn >= 0)
        _insertId = _hasId ? _id : sqlite3_last_insert_rowid(_db);
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
    keepId();
    return true;
}

bool TableWriter::erase(integer key)
{
    return prepare(_erase, Write::erase) && (_erase.bindInteger(1, key) || fail(_erase.error())) &&
           run(_erase, Write::erase);
}

bool TableWriter::erase(const string& key)
{
    return prepare(_erase, Write::erase) && (_erase.bindBorrowed(1, key) || fail(_erase.error())) &&
           run(_erase, Write::erase);
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

// Null when the cell can't be set: the next write says so.
TableWriter::Cell* TableWriter::cell(int column)
{
    const size_t index = static_cast<size_t>(column);
    if (index >= _cells.size() && !hasCell(column))
        return nullptr;
    return &_cells[index];
}

// The cells are made when the first of them is set: the table may get its columns late.
bool TableWriter::hasCell(int column)
{
    const int count = _table.fields().count();
    if (column < 0 || column >= count) {
        lose(SQLITE_RANGE);
        return false;
    }
    try {
        _cells.resize(static_cast<size_t>(count));
        return true;
    } catch (const std::exception&) {
        lose(SQLITE_NOMEM);
        return false;
    }
}

void TableWriter::lose(int code)
{
    if (_lost != SQLITE_NOMEM)
        _lost = code;
}

void TableWriter::setNull(int column)
{
    if (Cell* const set = cell(column))
        set->kind = Kind::null;
}

void TableWriter::setNull(const string& name)
{
    setNull(column(name));
}

void TableWriter::setInteger(int column, integer number)
{
    if (Cell* const set = cell(column)) {
        set->kind = Kind::whole;
        set->whole = number;
    }
}

void TableWriter::setInteger(const string& name, integer number)
{
    setInteger(column(name), number);
}

void TableWriter::setDouble(int column, double number)
{
    if (Cell* const set = cell(column)) {
        set->kind = Kind::real;
        set->real = number;
    }
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
    if (Cell* const set = cell(column)) {
        try {
            set->text = text;
            set->kind = Kind::text;
        } catch (const std::exception&) {
            lose(SQLITE_NOMEM);
        }
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
