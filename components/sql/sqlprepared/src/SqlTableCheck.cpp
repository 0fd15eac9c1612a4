#include "SqlTableCheck.h"

#include <algorithm>
#include <iterator>

#include "Companion.h"
#include "SqlStatement.h"

#define SQLW_SOURCE_NAME "SqlTableCheck.cpp"

namespace sql
{

namespace
{

// What each finding says, in the order of `Finding::Kind`. %t is the table, %c the column, %s
// either "Column 'c' of table 't'" or "Table 't'", and %d the detail.
const char* const sentences[] = {
    "Table '%t' is described without columns and can't be created, read or written. Describe its "
    "columns; a key column that is neither an integer nor a text empties a description.",
    "Table '%t' has no key column, and its rows can't be updated or found by key. Give one column "
    "flag_primary_key.",
    "Column '%c' is one key column too many for table '%t', which SQLite refuses to create. Keep "
    "flag_primary_key for one column alone.",
    "Key column '%c' is the last column of table '%t', and SQLite refuses the statement of "
    "Table::updateRecord, which ends in a comma. Put the key column first.",
    "Table '%t' has no column but its key column '%c', and SQLite refuses the statement of "
    "Table::updateRecord, which sets nothing. Add and delete rows instead.",
    "Key column '%c' of table '%t' is of type %d, which FieldSet refuses. Make it an integer or a "
    "text.",
    "Key column '%c' of table '%t' is a text, which Table::updateRecord writes without quotes: it "
    "fails or changes other rows. Update by TableWriter, or take an integer as the key.",
    "Text key column '%c' of table '%t' accepts NULL in any number of rows, which can't be found, "
    "updated or deleted by key. Give it flag_not_null.",
    "Column '%c' appears twice in table '%t', which SQLite refuses to create: it ignores case in "
    "names. Rename one of them.",
    "%d has a keyword of SQL as its name, which SQLite refuses in statements. Choose another name.",
    "%d has a name that SQLite does not take without quotes, which no statement has. Use letters, "
    "digits and '_', and begin with no digit.",
    "Column '%c' of table '%t' is not numbered by its position, and Record does not find its cell "
    "by name. Describe the columns in an array that ends in sql::Field(), once.",
    "Table '%t' is not in the file%d. Create it with Table::create.",
    "Table '%t' is spelled '%d' in the file. Table::exists does not find it, and Table::create "
    "fails. Spell it as the file does.",
    "Column '%c' of table '%t' %d, and each statement that writes it fails. Add it to the file "
    "as a plain column, or leave it out of the description.",
    "Column '%c' of table '%t' is in the file but not described. SQLite fills it when rows are "
    "added, and Table reads the columns after it by a wrong position. Describe it, unless it is "
    "the last one.",
    "Column '%c' of table '%t' is in the file but not described. It is NOT NULL without a default, "
    "and no row can be added. Describe it, or give it a default in the file.",
    "Column '%c' of table '%t' is %d. Table reads columns by position and takes the cells of "
    "another one. Describe all columns in the order of the file.",
    "Column '%c' of table '%t' is declared as %d, and SQLite stores other values there than in a "
    "table that Table::create makes. Describe it by another type, or declare it so.",
    "Column '%c' of table '%t' %d.",
    "Column '%c' of table '%t' %d.",
    "Column '%c' of table '%t' %d.",
    "Table '%t' can't be compared with the file: %d. Try again when that is mended.",
};

// What SQLite refuses as a name in one of the statements that the libraries write. In order.
const char* const reservedWords[] = {
    "ADD",     "ALL",        "ALTER",       "AND",     "AS",       "AUTOINCREMENT",
    "BETWEEN", "CASE",       "CHECK",       "COLLATE", "COMMIT",   "CONSTRAINT",
    "CREATE",  "DEFAULT",    "DEFERRABLE",  "DELETE",  "DISTINCT", "DROP",
    "ELSE",    "ESCAPE",     "EXCEPT",      "EXISTS",  "FOREIGN",  "FROM",
    "GROUP",   "HAVING",     "IN",          "INDEX",   "INSERT",   "INTERSECT",
    "INTO",    "IS",         "ISNULL",      "JOIN",    "LIMIT",    "NOT",
    "NOTHING", "NOTNULL",    "NULL",        "ON",      "OR",       "ORDER",
    "PRIMARY", "REFERENCES", "RETURNING",   "SELECT",  "SET",      "TABLE",
    "THEN",    "TO",         "TRANSACTION", "UNION",   "UNIQUE",   "UPDATE",
    "USING",   "VALUES",     "WHEN",        "WHERE",
};

// As SQLite compares names: only letters of ASCII come in two cases.
bool isSame(const string& one, const string& other)
{
    return sqlite3_stricmp(one.c_str(), other.c_str()) == 0;
}

// Words are keywords since some version of SQLite, and in builds that have what they are for.
bool isKeywordHere(const string& word)
{
#if SQLITE_VERSION_NUMBER >= 3024000
    return sqlite3_keyword_check(word.data(), static_cast<int>(word.size())) != 0;
#else
    return !isSame(word, "NOTHING") && !isSame(word, "RETURNING");
#endif
}

bool isReserved(const string& name)
{
    const auto comesFirst = [](const char* word, const string& than) {
        return sqlite3_stricmp(word, than.c_str()) < 0;
    };
    const char* const* const end = std::end(reservedWords);
    const char* const* const found =
        std::lower_bound(std::begin(reservedWords), end, name, comesFirst);
    return found != end && isSame(*found, name) && isKeywordHere(name);
}

// CREATE TABLE takes IF for the beginning of IF NOT EXISTS; CAST and RAISE begin an expression.
bool isReservedTable(const string& name)
{
    return isReserved(name) || isSame(name, "IF");
}

bool isReservedColumn(const string& name)
{
    return isReserved(name) || isSame(name, "CAST") || isSame(name, "RAISE");
}

// Bytes beyond ASCII are letters to SQLite.
bool needsQuotes(const string& name)
{
    const auto isLetter = [](unsigned char byte) {
        return byte >= 0x80 || byte == '_' || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z');
    };
    const auto isPart = [isLetter](unsigned char byte) {
        return isLetter(byte) || (byte >= '0' && byte <= '9') || byte == '$';
    };
    if (!isLetter(static_cast<unsigned char>(name[0]))) // nor is the NUL of an empty name
        return true;
    for (const char byte : name)
        if (!isPart(static_cast<unsigned char>(byte)))
            return true;
    return false;
}

enum class Affinity { blob, text, numeric, integer, real };

// The rules of SQLite, in their order.
Affinity affinityOf(string type)
{
    for (char& letter : type)
        letter = static_cast<char>(letter >= 'a' && letter <= 'z' ? letter - 0x20 : letter);
    const auto has = [&type](const char* word) { return type.find(word) != string::npos; };
    if (has("INT"))
        return Affinity::integer;
    if (has("CHAR") || has("CLOB") || has("TEXT"))
        return Affinity::text;
    if (has("BLOB") || type.empty())
        return Affinity::blob;
    if (has("REAL") || has("FLOA") || has("DOUB"))
        return Affinity::real;
    return Affinity::numeric;
}

bool suits(Affinity affinity, field_type type)
{
    switch (type) {
        case type_text:
            return affinity == Affinity::text;
        case type_float:
            return affinity == Affinity::real;
        default:
            return affinity == Affinity::integer || affinity == Affinity::numeric;
    }
}

string quoted(const string& name)
{
    string text = "\"";
    for (const char byte : name)
        text.append(byte == '"' ? 2 : 1, byte);
    return text += '"';
}

// The text with each of %t, %c, %s and %d replaced.
string filled(const char* sentence, const string& table, const string& column, const string& detail)
{
    string text;
    for (; *sentence; ++sentence) {
        if (*sentence != '%') {
            text += *sentence;
            continue;
        }
        switch (*++sentence) {
            case 't':
                text += table;
                break;
            case 'c':
                text += column;
                break;
            default:
                text += detail;
        }
    }
    return text;
}

/// A column of the table in the file.
struct Column
{
    string name;
    string type;
    bool isNotNull;
    bool hasDefault;
    bool isKey;
    bool isGenerated;
    bool hasKeyIndex; ///< an index of the key on it alone
    bool isUnique;    ///< by another index on it alone
};

/// Collects what is found. The findings are ordered by their kinds.
class Check
{
public:
    Check(const string& table, const FieldSet& fields, std::vector<Finding>& findings)
        : _table(table), _fields(fields), _findings(findings)
    {}

    void describe();
    void compareWith(sqlite3* db);
    void add(Finding::Kind kind, const string& column, const string& detail = string());

private:
    void describeKey(const Field& key, int keys);
    void describeKeys();
    void describeName(const string& name, const string& column, const char* subject,
                      bool isReserved);
    bool isNamedBefore(int index) const;

    void findTable(sqlite3* db, string& name);
    bool readColumns(sqlite3* db, const char* pragma, const string& table);
    bool readIndexes(sqlite3* db, const string& table);
    bool readIndex(sqlite3* db, const string& index, const string& origin);
    bool hasRow(Statement& statement);
    bool prepare(Statement& statement, sqlite3* db, const char* pragma, const string& name);

    void compareColumns();
    void compareColumn(int position, const Field& field, int index);
    void compareKey(const Field& field, const Column& column);
    void compareUnique(const Field& field, const Column& column);
    void compareUndescribed(const Column& column);
    int find(const string& name) const;
    bool isOnlyKey(const Column& column) const;
    bool isRowNumber(const Column& column) const;

    const string& _table;
    const FieldSet& _fields;
    std::vector<Finding>& _findings;
    std::vector<Column> _columns; // that a row read by Table has
    Error _error;
};

void Check::add(Finding::Kind kind, const string& column, const string& detail)
{
    const auto comesFirst = [](Finding::Kind one, const Finding& other) {
        return one < other.kind;
    };
    const Finding finding = {kind, column, filled(sentences[kind], _table, column, detail)};
    _findings.insert(std::upper_bound(_findings.begin(), _findings.end(), kind, comesFirst),
                     finding);
}

// The description by itself

void Check::describe()
{
    describeName(_table, string(), "Table '%t'", isReservedTable(_table));
    if (_fields.count() == 0) {
        add(Finding::no_columns, string());
        return;
    }
    describeKeys();
    bool isNumbered = true;
    for (int i = 0; i < _fields.count(); ++i) {
        const Field& field = *_fields.getByIndex(i);
        const string name = field.getName();
        describeName(name, name, "Column '%c' of table '%t'", isReservedColumn(name));
        if (isNamedBefore(i))
            add(Finding::name_twice, name);
        if (isNumbered && field.getIndex() != i)
            add(Finding::not_numbered, name);
        isNumbered = isNumbered && field.getIndex() == i; // one finding is enough
    }
}

// Of a column, or of the table.
void Check::describeName(const string& name, const string& column, const char* subject,
                         bool isReserved)
{
    if (isReserved || needsQuotes(name))
        add(isReserved ? Finding::name_reserved : Finding::name_needs_quotes, column,
            filled(subject, _table, column, string()));
}

bool Check::isNamedBefore(int index) const
{
    const string name = _fields.getByIndex(index)->getName();
    for (int i = 0; i < index; ++i)
        if (isSame(_fields.getByIndex(i)->getName(), name))
            return true;
    return false;
}

void Check::describeKeys()
{
    int keys = 0;
    for (int i = 0; i < _fields.count(); ++i)
        if (_fields.getByIndex(i)->isPrimaryKey())
            describeKey(*_fields.getByIndex(i), ++keys);

    const Field& last = *_fields.getByIndex(_fields.count() - 1);
    if (keys == 0)
        add(Finding::no_key, string());
    else if (keys == _fields.count())
        add(Finding::key_only, last.getName());
    else if (last.isPrimaryKey())
        add(Finding::key_last, last.getName());
}

void Check::describeKey(const Field& key, int keys)
{
    if (keys > 1)
        add(Finding::two_keys, key.getName());
    if (key.getType() == type_text) {
        add(Finding::text_key, key.getName());
        if (!key.isNotNull())
            add(Finding::text_key_nullable, key.getName());
    } else if (key.getType() != type_int) {
        const int type = key.getType();
        const bool isKnown = type >= type_int && type <= type_time;
        add(Finding::key_type, key.getName(), isKnown ? type2Str(key.getType()) : intToStr(type));
    }
}

// Beside the file

void Check::compareWith(sqlite3* db)
{
    string name;
    findTable(db, name);
    if (!_error && !name.empty() && _fields.count() != 0 && readColumns(db, "table_xinfo", name) &&
        (!_columns.empty() || readColumns(db, "table_info", name)) && readIndexes(db, name))
        compareColumns();
    if (_error)
        add(Finding::failed, string(), _error.text());
}

// The name is that in the file; empty when there is no such table.
void Check::findTable(sqlite3* db, string& name)
{
    Statement statement;
    statement.prepare(db, "select name, type from sqlite_master where name = ?1 collate nocase and "
                          "type in ('table', 'view')");
    statement.bindString(1, _table);
    bool isView = false;
    if (hasRow(statement)) {
        isView = statement.getString(1) == "view";
        name = isView ? string() : statement.getString(0);
        _error = statement.error();
    }
    if (_error)
        return;
    if (name.empty())
        add(Finding::no_table, string(), isView ? ", where a view has its name" : "");
    else if (name != _table)
        add(Finding::table_spelled_otherwise, string(), name);
}

// To the next row, unless reading the last one failed.
bool Check::hasRow(Statement& statement)
{
    if (!statement.error() && statement.next())
        return true;
    _error = statement.error();
    return false;
}

bool Check::prepare(Statement& statement, sqlite3* db, const char* pragma, const string& name)
{
    if (statement.prepare(db, string("pragma ") + pragma + "(" + quoted(name) + ")"))
        return true;
    _error = statement.error();
    return false;
}

// Old versions of SQLite know no table_xinfo, and give no rows.
bool Check::readColumns(sqlite3* db, const char* pragma, const string& table)
{
    Statement statement;
    if (!prepare(statement, db, pragma, table))
        return false;
    while (hasRow(statement)) {
        const int hidden = static_cast<int>(statement.getInteger("hidden"));
        if (hidden == 1) // of a virtual table, and not in "select *"
            continue;
        const string value = statement.getString("dflt_value");
        _columns.push_back({statement.getString("name"), statement.getString("type"),
                            statement.getBool("notnull"),
                            !statement.isNull("dflt_value") && !isSame(value, "null"),
                            statement.getInteger("pk") != 0, hidden != 0, false, false});
    }
    return !_error;
}

bool Check::readIndexes(sqlite3* db, const string& table)
{
    Statement statement;
    if (!prepare(statement, db, "index_list", table))
        return false;
    while (hasRow(statement))
        if (statement.getBool("unique") && !statement.getBool("partial") &&
            !readIndex(db, statement.getString("name"), statement.getString("origin")))
            return false;
    return !_error;
}

// An index of one column marks it. One of an expression has no name there. Old versions of SQLite
// do not know the origin of an index: one on the key is then taken for the key's own.
bool Check::readIndex(sqlite3* db, const string& index, const string& origin)
{
    Statement statement;
    if (!prepare(statement, db, "index_info", index))
        return false;
    string name;
    int columns = 0;
    for (; hasRow(statement); ++columns)
        name = statement.getString("name");
    const int position = columns == 1 ? find(name) : -1;
    if (position >= 0) {
        Column& column = _columns[static_cast<std::size_t>(position)];
        const bool isOfKey = origin.empty() ? column.isKey : origin == "pk";
        (isOfKey ? column.hasKeyIndex : column.isUnique) = true;
    }
    return !_error;
}

int Check::find(const string& name) const
{
    const auto isNamed = [&name](const Column& column) { return isSame(column.name, name); };
    const auto found = std::find_if(_columns.begin(), _columns.end(), isNamed);
    return found == _columns.end() ? -1 : static_cast<int>(found - _columns.begin());
}

void Check::compareColumns()
{
    std::vector<bool> isDescribed(_columns.size(), false);
    for (int i = 0; i < _fields.count(); ++i) {
        const Field& field = *_fields.getByIndex(i);
        const int position = find(field.getName());
        if (position >= 0)
            isDescribed[static_cast<std::size_t>(position)] = true;
        compareColumn(position, field, i);
    }
    for (std::size_t i = 0; i < _columns.size(); ++i)
        if (!isDescribed[i])
            compareUndescribed(_columns[i]);
}

void Check::compareColumn(int position, const Field& field, int index)
{
    const string name = field.getName();
    if (position < 0) {
        add(Finding::column_missing, name, "is not in the file");
        return;
    }
    const Column& column = _columns[static_cast<std::size_t>(position)];
    if (column.isGenerated) {
        add(Finding::column_missing, name, "is generated from other columns in the file");
        return;
    }
    if (position != index)
        add(Finding::column_elsewhere, name,
            "number " + intToStr(position + 1) + " in the file and " + intToStr(index + 1) +
                " in the description");
    if (!suits(affinityOf(column.type), field.getType()))
        add(Finding::affinity_differs, name,
            column.type.empty() ? "nothing" : "'" + column.type + "'");
    if (column.isNotNull != field.isNotNull() && !isRowNumber(column))
        add(Finding::not_null_differs, name,
            column.isNotNull ? "is NOT NULL in the file, and rows without it are refused. Give it "
                               "flag_not_null"
                             : "accepts NULL in the file in spite of its flag_not_null. Make it "
                               "NOT NULL there, or drop the flag");
    compareUnique(field, column);
    compareKey(field, column);
}

// A key is unique by itself.
void Check::compareUnique(const Field& field, const Column& column)
{
    const bool isUnique = column.isUnique || isOnlyKey(column);
    if (field.isUnique() && !isUnique)
        add(Finding::unique_differs, column.name,
            "accepts a value twice in the file in spite of its flag_unique. Make it UNIQUE there, "
            "or drop the flag");
    else if (column.isUnique && !field.isUnique() && !field.isPrimaryKey())
        add(Finding::unique_differs, column.name,
            "is UNIQUE in the file, and a second row with its value is refused. Give it "
            "flag_unique");
}

void Check::compareKey(const Field& field, const Column& column)
{
    if (column.isKey == field.isPrimaryKey())
        return;
    add(Finding::key_differs, field.getName(),
        column.isKey ? "is a key in the file, and a second row with its value is refused. Give it "
                       "flag_primary_key"
                     : "is no key in the file in spite of its flag_primary_key, and operations by "
                       "key reach several rows. Make it the PRIMARY KEY there, or drop the flag");
}

void Check::compareUndescribed(const Column& column)
{
    const bool isRequired =
        column.isNotNull && !column.hasDefault && !column.isGenerated && !isRowNumber(column);
    add(isRequired ? Finding::column_extra_not_null : Finding::column_extra, column.name);
}

bool Check::isOnlyKey(const Column& column) const
{
    const auto isKey = [](const Column& other) { return other.isKey; };
    return column.isKey && std::count_if(_columns.begin(), _columns.end(), isKey) == 1;
}

// SQLite gives such a column a number where it is NULL. Versions before 3.8.9 do not say which
// index is that of the key.
bool Check::isRowNumber(const Column& column) const
{
    return isOnlyKey(column) && !column.hasKeyIndex && isSame(column.type, "INTEGER");
}

// Without memory, whose end must be a finding too. Its words fit into a string without memory.
void setOutOfMemory(std::vector<Finding>& findings)
{
    const Finding finding = {Finding::failed, string(), "out of memory"};
    findings.clear();
    if (findings.capacity() != 0)
        findings.push_back(finding);
    else
        SQLW_ERROR("Failed to check a table: %s", finding.text.c_str());
}

} // namespace

std::vector<Finding> checkDescription(const string& table, const FieldSet& fields)
{
    std::vector<Finding> findings;
    try {
        findings.reserve(1);
        Check(table, fields, findings).describe();
    } catch (const std::exception&) {
        setOutOfMemory(findings);
    }
    return findings;
}

std::vector<Finding> checkTable(Table& table)
{
    SQLW_SIGNATURE("std::vector<sql::Finding> sql::checkTable(sql::Table&)");
    std::vector<Finding> findings;
    sqlite3* const db = table.getHandle();
    const bool isConnected = SQLW_ASSERT(db);
    try {
        findings.reserve(1);
        const string name = table.name();
        Check check(name, table.fields(), findings);
        check.describe();
        if (isConnected)
            check.compareWith(db);
        else
            check.add(Finding::failed, string(), "there is no connection");
    } catch (const std::exception&) {
        setOutOfMemory(findings);
    }
    return findings;
}

} // namespace sql
