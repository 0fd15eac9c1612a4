#include "SqlStatement.h"

#include <climits>
#include <cmath>
#include <cstring>

#include "Companion.h"
#include "StatementText.h"
#include "StoredNumber.h"

#define SQLW_SOURCE_NAME "SqlStatement.cpp"

namespace sql
{

Statement::~Statement()
{
    close();
}

void Statement::close()
{
    if (_handle)
        sqlite3_finalize(_handle);
    _handle = nullptr;
    _isIdle = false;
    _isOnRow = false;
    _names.clear();
}

SQLW_COLD bool Statement::fail(int extendedCode, const char* text) const
{
    _isIdle = false;
    _error.set(extendedCode, text);
    logFailure();
    return false;
}

// With the words of SQLite for what its last call returned.
SQLW_COLD bool Statement::fail(int rc) const
{
    _isIdle = false;
    _error.set(rc, _db);
    logFailure();
    return false;
}

SQLW_COLD bool Statement::withoutMemory() const
{
    return fail(SQLITE_NOMEM, "out of memory");
}

void Statement::logFailure() const
{
    const char* const sql = sqlite3_sql(_handle);
    const int code = _error.code();
    SQLW_ERROR("Failed to run the SQL stmt '%s'", sql ? sql : "");
    SQLW_ERROR("  rc=%d=%s: %s", code, sqliteRc2Str(code), _error.text().c_str());
}

// Compiling

static const char* skipBlanksAndComments(const char* sql)
{
    for (;;) {
        sql += std::strspn(sql, " \t\n\f\r");
        if (sql[0] == '-' && sql[1] == '-') {
            sql += std::strcspn(sql, "\n");
        } else if (sql[0] == '/' && sql[1] == '*') {
            const char* const end = std::strstr(sql + 2, "*/");
            sql = end ? end + 2 : sql + std::strlen(sql);
        } else {
            return sql;
        }
    }
}

// Whether `sqlite3_changes` is about the statement when it has run. After any other it is about the
// last one that was.
static bool countsChanges(sqlite3_stmt* handle)
{
    if (sqlite3_stmt_readonly(handle)) // which "with" can begin too
        return false;
    const char* sql = skipBlanksAndComments(sqlite3_sql(handle));
    while (*sql == ';')
        sql = skipBlanksAndComments(sql + 1);
    static const char words[][8] = {"insert", "replace", "update", "delete", "with"};
    for (const char* word : words)
        if (sqlite3_strnicmp(sql, word, static_cast<int>(std::strlen(word))) == 0)
            return true;
    return false;
}

// SQLite is asked to keep such statements apart from its short-lived memory, where it can: the
// function is newer than the oldest SQLite that this library runs on.
#if SQLITE_VERSION_NUMBER >= 3020000
extern "C" __attribute__((weak)) decltype(sqlite3_prepare_v3) sqlite3_prepare_v3;
#endif

static int prepareToKeep(sqlite3* db, const char* sql, sqlite3_stmt** handle, const char** tail)
{
#if SQLITE_VERSION_NUMBER >= 3020000
    if (sqlite3_prepare_v3)
        return sqlite3_prepare_v3(db, sql, -1, SQLITE_PREPARE_PERSISTENT, handle, tail);
#endif
    return sqlite3_prepare_v2(db, sql, -1, handle, tail);
}

bool Statement::prepare(sqlite3* db, const string& sql)
{
    return compile(db, sql.c_str(), sql.size());
}

bool Statement::compile(sqlite3* db, const char* sql, string::size_type size)
{
    SQLW_SIGNATURE("bool sql::Statement::prepare(sqlite3*, const string&)");
    close();
    _changes = 0;
    _db = db;
    if (!SQLW_ASSERT(db)) {
        _error.set(SQLITE_MISUSE, "no connection");
        return false;
    }
    SQLW_DEBUG2("stmt='%s'", sql);

    const char* tail = nullptr;
    const int rc = prepareToKeep(db, sql, &_handle, &tail);
    const bool isWhole = std::strlen(sql) == size; // SQLite reads up to the first NUL
    if (rc != SQLITE_OK && isWhole) {
        _error.set(rc, db);
    } else if (!_handle || !isWhole || *skipBlanksAndComments(tail) != '\0') {
        close();
        _error.set(SQLITE_MISUSE, "the text is not exactly one statement");
    } else {
        _countsChanges = countsChanges(_handle);
        return succeed();
    }
    SQLW_ERROR("Failed to prepare the SQL stmt '%s'", sql);
    SQLW_ERROR("  rc=%d=%s: %s", _error.code(), sqliteRc2Str(_error.code()), _error.text().c_str());
    return false;
}

// Keeps the names, because SQLite may spell those of a result otherwise.
static void addNames(string& names, const FieldSet& fields)
{
    for (int i = 0; i < fields.count(); ++i) {
        const string name = fields.getByIndex(i)->getName();
        names.append(name.c_str(), name.size() + 1); // with its NUL
    }
}

bool Statement::compile(Table& table, const char* pattern, const string* where,
                        const string* orderBy)
{
    try {
        string sql;
        addStatement(sql, pattern, table);
        if (where && !where->empty()) {
            sql += " where ";
            sql += *where;
        }
        if (orderBy && !orderBy->empty()) {
            sql += " order by ";
            sql += *orderBy;
        }
        if (!compile(table.getHandle(), sql.c_str(), sql.size()))
            return false;
        addNames(_names, table.fields());
        return true;
    } catch (const std::exception&) {
        close();
        return withoutMemory();
    }
}

bool Statement::select(Table& table, const string& where, const string& orderBy)
{
    return compile(table, "select %n from %t", &where, &orderBy);
}

bool Statement::selectByKey(Table& table)
{
    if (table.getHandle() && countKeys(table.fields()) != 1) {
        close();
        return fail(SQLITE_MISUSE, "the table has not exactly one key column");
    }
    return compile(table, "select %n from %t where %k = ?1", nullptr, nullptr);
}

// Parameters

bool Statement::succeed()
{
    _error.clear();
    _isIdle = true;
    return true;
}

// Whether the statement can be bound and run, without a row and an error of before.
bool Statement::isReady()
{
    return _isIdle || makeReady();
}

SQLW_COLD bool Statement::makeReady()
{
    if (!_handle) {
        _changes = 0;
        return fail(SQLITE_MISUSE, "no statement is prepared");
    }
    reset();
    return succeed();
}

bool Statement::bound(int rc)
{
    return rc == SQLITE_OK || fail(rc);
}

bool Statement::bindNull(int parameter)
{
    return isReady() && bound(sqlite3_bind_null(_handle, parameter));
}

bool Statement::bindInteger(int parameter, integer number)
{
    return isReady() && bound(sqlite3_bind_int64(_handle, parameter, number));
}

bool Statement::bindDouble(int parameter, double number)
{
    if (!isReady())
        return false;
    if (!std::isfinite(number))
        return fail(SQLITE_MISMATCH, "SQLite stores neither NaN nor infinities as numbers");
    return bound(sqlite3_bind_double(_handle, parameter, number));
}

bool Statement::bindString(int parameter, const string& text)
{
    return isReady() && bind(parameter, text, SQLITE_TRANSIENT);
}

bool Statement::bindBorrowed(int parameter, const string& text)
{
    return isReady() && bind(parameter, text, SQLITE_STATIC);
}

bool Statement::bind(int parameter, const string& text, void (*release)(void*))
{
    if (text.size() > INT_MAX)
        return fail(SQLITE_TOOBIG, sqlite3_errstr(SQLITE_TOOBIG));
    const int size = static_cast<int>(text.size());
    return bound(sqlite3_bind_text(_handle, parameter, text.data(), size, release));
}

bool Statement::bindText(int parameter, const char* bytes, int size)
{
    return isReady() && bound(sqlite3_bind_text(_handle, parameter, bytes, size, SQLITE_STATIC));
}

int Statement::parameter(const string& name) const
{
    const bool isName = std::strlen(name.c_str()) == name.size();
    return isName ? sqlite3_bind_parameter_index(_handle, name.c_str()) : 0;
}

// Running

// Always reset, so that the statement leaves no lock and can run again. SQLite's words come first:
// the reset replaces them.
inline bool Statement::end(int rc)
{
    _isOnRow = false;
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) {
        fail(rc);
        sqlite3_reset(_handle);
        return false;
    }
    const int ended = sqlite3_reset(_handle);
    if (ended != SQLITE_OK) // a write that is left before its last row may fail only now
        return fail(ended);
    if (_countsChanges)
        _changes = sqlite3_changes(_db);
    return true;
}

bool Statement::next()
{
    if (!_isOnRow) {
        if (!isReady())
            return false;
        _changes = 0;
    }
    const int rc = sqlite3_step(_handle);
    if (rc != SQLITE_ROW) {
        if (end(rc))
            succeed();
        return false;
    }
    _isOnRow = true;
    _isIdle = false;
    _error.clear();
    return true;
}

bool Statement::run()
{
    return isReady() && runReady();
}

bool Statement::runReady()
{
    _changes = 0;
    int rc = SQLITE_ROW;
    while (rc == SQLITE_ROW)
        rc = sqlite3_step(_handle);
    return end(rc);
}

// An error stays until the next success.
void Statement::reset()
{
    if (_isOnRow)
        _isIdle = end(SQLITE_ROW) && !_error;
}

bool Statement::find(integer key)
{
    _changes = 0;
    return bindInteger(1, key) && next();
}

bool Statement::find(const string& key)
{
    _changes = 0;
    if (!isReady())
        return false;
    try {
        _key = key;
    } catch (const std::exception&) {
        return withoutMemory();
    }
    return bindBorrowed(1, _key) && next();
}

bool Statement::readAlone(Record& record)
{
    const bool isRead = read(record);
    return end(SQLITE_ROW) && isRead && succeed();
}

// The row. SQLite itself reads a cell that is not there as NULL. Where both the type and the number
// of a cell matter, they come from its value: the connection is locked once, no other thread uses
// it meanwhile, and reading a number takes no memory.

int Statement::columnCount() const
{
    return sqlite3_column_count(_handle);
}

static bool isSame(const string& name, const char* other)
{
    return name.size() == std::strlen(other) && std::memcmp(name.data(), other, name.size()) == 0;
}

static int positionIn(const string& names, const string& name)
{
    const char* own = names.c_str();
    const char* const end = own + names.size();
    for (int i = 0; own != end; ++i) {
        if (isSame(name, own))
            return i;
        own += std::strlen(own) + 1;
    }
    return -1;
}

int Statement::column(const string& name) const
{
    if (!_names.empty())
        return positionIn(_names, name);
    for (int i = 0; i < columnCount(); ++i) {
        const char* const own = sqlite3_column_name(_handle, i);
        if (own && isSame(name, own))
            return i;
    }
    return -1;
}

bool Statement::isNull(int column) const
{
    return sqlite3_value_type(sqlite3_column_value(_handle, column)) == SQLITE_NULL;
}

integer Statement::getInteger(int column) const
{
    return sqlite3_column_int64(_handle, column);
}

double Statement::getDouble(int column) const
{
    return sqlite3_column_double(_handle, column);
}

bool Statement::getBool(int column) const
{
    sqlite3_value* const stored = sqlite3_column_value(_handle, column);
    switch (sqlite3_value_type(stored)) {
        case SQLITE_INTEGER:
            return sqlite3_value_int64(stored) == 1;
        case SQLITE_FLOAT: // whose text is "1.0"
            return false;
    }
    const char* const text = getText(column);
    return text && *text == '1' && getSize(column) == 1;
}

// Where there is no text. SQLite makes NULL of a number for whose text it has no memory, and keeps
// only the code.
SQLW_COLD bool Statement::isNullInFile(int column) const
{
    return isNull(column) && !(_handle && sqlite3_errcode(_db) == SQLITE_NOMEM);
}

string Statement::getString(int column) const
{
    string copy;
    try {
        const char* const text = getText(column);
        if (text)
            copy.append(text, static_cast<size_t>(getSize(column)));
        else if (!isNullInFile(column))
            withoutMemory();
    } catch (const std::exception&) {
        withoutMemory();
    }
    return copy;
}

const char* Statement::getText(int column) const
{
    return reinterpret_cast<const char*>(sqlite3_column_text(_handle, column));
}

int Statement::getSize(int column) const
{
    return sqlite3_column_bytes(_handle, column);
}

bool Statement::read(Record& record) const
{
    if (!_isOnRow)
        return fail(SQLITE_MISUSE, "there is no row");
    const int count = record.columnCount();
    if (count != columnCount())
        return fail(SQLITE_MISMATCH, "the record has not as many cells as the row");
    try {
        for (int i = 0; i < count; ++i)
            if (!readCell(i, *record.getValue(i)))
                return withoutMemory();
    } catch (const std::exception&) {
        return withoutMemory();
    }
    _error.clear();
    return true;
}

// As `Table` reads it: the text of whatever is stored. Numbers become texts here, which costs
// a fraction of what it costs SQLite.
bool Statement::readCell(int column, Value& cell) const
{
    const field_type type = cell.getType();
    if (type != type_text) {
        sqlite3_value* const stored = sqlite3_column_value(_handle, column);
        switch (sqlite3_value_type(stored)) {
            case SQLITE_INTEGER:
                cell.setInteger(sqlite3_value_int64(stored));
                return true;
            case SQLITE_FLOAT: {
                const StoredDouble number(sqlite3_value_double(stored));
                if (!number.text())
                    break;
                cell.setValue(number.text(), type);
                return true;
            }
        }
    }
    const char* const text = getText(column);
    if (!text) {
        cell.setNull();
        return isNullInFile(column);
    }
    const string::size_type size = static_cast<string::size_type>(getSize(column));
    if (std::strlen(text) == size) {
        cell.setValue(text, type);
    } else {
        string whole;
        whole.append(text, size);
        cell.setString(whole);
    }
    return true;
}

} // namespace sql
