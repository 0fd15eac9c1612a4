#include "SqlTableCheck.h"

#include <cstdio>
#include <cstring>
#include <forward_list>

#include "Companion.h"
#include "SqlStatement.h"

#define SQLW_SOURCE_NAME "SqlTableCheck.cpp"

namespace sql
{

namespace
{

// Lists of texts are one text, each part ended by a NUL: an array of pointers would be relocated
// whenever a program starts.

// What each finding says, in the order of `Finding::Kind`. %t is the table, %c the column, %s
// either "Column 'c' of table 't'" or "Table 't'", and %d the detail.
const char sentences[] =
    "%s is described without columns and can't be created, read or written. Describe its "
    "columns; a key column that is neither an integer nor a text empties a description.\0"
    "%s has no key column, and its rows can't be updated or found by key. Give one column "
    "flag_primary_key.\0"
    "Column '%c' is one key column too many for table '%t', which SQLite refuses to create. Keep "
    "flag_primary_key for one column alone.\0"
    "Key column '%c' is the last column of table '%t', and SQLite refuses the statement of "
    "Table::updateRecord, which ends in a comma. Put the key column first.\0"
    "Table '%t' has no column but its key column '%c', and SQLite refuses the statement of "
    "Table::updateRecord, which sets nothing. Add and delete rows instead.\0"
    "Key column '%c' of table '%t' is of type %d, which FieldSet refuses. Make it an integer or "
    "a text.\0"
    "Key column '%c' of table '%t' is a text, which Table::updateRecord writes without quotes: "
    "it fails or changes other rows. Update by TableWriter, or take an integer as the key.\0"
    "Text key column '%c' of table '%t' accepts NULL in any number of rows, which can't be "
    "found, updated or deleted by key. Give it flag_not_null.\0"
    "Column '%c' appears twice in table '%t', which SQLite refuses to create: it ignores case in "
    "names. Rename one of them.\0"
    "%s has a keyword of SQL as its name, which SQLite refuses in statements. Choose another "
    "name.\0"
    "%s has a name that SQLite takes only in quotes, and names are written without. Use "
    "letters, digits and '_', and do not begin with a digit.\0"
    "%s is not numbered by its position, and Record does not find its cell by name. Describe the "
    "columns in an array that ends in sql::Field(), once.\0"
    "%s is not in the file%d.\0"
    "%s is spelled '%d' in the file. Table::exists does not find it, and Table::create fails. "
    "Spell it as the file does.\0"
    "%s %d, and each statement that writes it fails. Add it to the file as a plain column, or "
    "leave it out of the description.\0"
    "%s is in the file but not described. SQLite fills it when rows are added, and Table reads "
    "the columns after it by a wrong position. Describe it, unless it is the last one.\0"
    "%s is in the file but not described. It is NOT NULL without a default, and no row can be "
    "added. Describe it, or give it a default in the file.\0"
    "%s is %d. Table reads columns by position and takes the cells of another one. Describe all "
    "columns in the order of the file.\0"
    "%s is declared as %d, and SQLite stores other values there than in a table that "
    "Table::create makes. Describe it by another type, or declare it so.\0"
    "%s %d.\0"
    "%s %d.\0"
    "%s %d.\0"
    "%s can't be compared with the file: %d. Remove the cause, then check again.\0";

// What SQLite refuses as a name in one of the statements that the libraries write.
const char reservedWords[] =
    "ADD\0ALL\0ALTER\0AND\0AS\0AUTOINCREMENT\0BETWEEN\0CASE\0CHECK\0COLLATE\0COMMIT\0CONSTRAINT\0"
    "CREATE\0DEFAULT\0DEFERRABLE\0DELETE\0DISTINCT\0DROP\0ELSE\0ESCAPE\0EXCEPT\0EXISTS\0FOREIGN\0"
    "FROM\0GROUP\0HAVING\0IN\0INDEX\0INSERT\0INTERSECT\0INTO\0IS\0ISNULL\0JOIN\0LIMIT\0NOT\0"
    "NOTHING\0NOTNULL\0NULL\0ON\0OR\0ORDER\0PRIMARY\0REFERENCES\0RETURNING\0SELECT\0SET\0TABLE\0"
    "THEN\0TO\0TRANSACTION\0UNION\0UNIQUE\0UPDATE\0USING\0VALUES\0WHEN\0WHERE\0";

// CREATE TABLE takes IF for the beginning of IF NOT EXISTS; CAST and RAISE begin an expression.
const char reservedTables[] = "IF\0";
const char reservedColumns[] = "CAST\0RAISE\0";

const char* nextIn(const char* list)
{
    return list + std::strlen(list) + 1;
}

// As SQLite compares names: only letters of ASCII come in two cases.
bool isSame(const string& one, const char* other)
{
    return sqlite3_stricmp(one.c_str(), other) == 0;
}

bool isAmong(const string& name, const char* list)
{
    while (*list != '\0' && !isSame(name, list))
        list = nextIn(list);
    return *list != '\0';
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

bool isLetter(unsigned char byte) // to SQLite, which takes those beyond ASCII for letters
{
    return byte >= 0x80 || byte == '_' || ((byte | 0x20) >= 'a' && (byte | 0x20) <= 'z');
}

bool needsQuotes(const string& name)
{
    bool isFirst = true;
    for (const char byte : name) {
        if (!isLetter(static_cast<unsigned char>(byte)) &&
            (isFirst || !((byte >= '0' && byte <= '9') || byte == '$')))
            return true;
        isFirst = false;
    }
    return isFirst;
}

bool hasWord(const char* text, const char* word)
{
    const int size = static_cast<int>(std::strlen(word));
    for (; *text != '\0'; ++text)
        if (sqlite3_strnicmp(text, word, size) == 0)
            return true;
    return false;
}

enum class Affinity : char { blob, text, numeric, integer, real };

// The rules of SQLite, in their order.
Affinity affinityOf(const string& type)
{
    static const struct
    {
        char word[5];
        Affinity affinity;
    } rules[] = {{"INT", Affinity::integer}, {"CHAR", Affinity::text}, {"CLOB", Affinity::text},
                 {"TEXT", Affinity::text},   {"BLOB", Affinity::blob}, {"REAL", Affinity::real},
                 {"FLOA", Affinity::real},   {"DOUB", Affinity::real}};
    for (const auto& rule : rules)
        if (hasWord(type.c_str(), rule.word))
            return rule.affinity;
    return type.empty() ? Affinity::blob : Affinity::numeric;
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

/// A column of the table in the file.
struct Column
{
    string name;
    string type;
    int position; ///< in a row that `Table` reads
    bool isNotNull;
    bool hasDefault;
    bool isKey;
    bool isGenerated;
    bool hasKeyIndex; ///< an index of the key on it alone
    bool isUnique;    ///< by another index on it alone
    bool isDescribed;
};

/// Collects what is found. The findings are ordered by their kinds.
class Check
{
public:
    Check(const string* name, const FieldSet& fields, const Table* table);

    void describe();
    void compareWith(sqlite3* db);
    void add(Finding::Kind kind, const string* column, const char* detail = "");
    void moveTo(std::vector<Finding>& findings);

private:
    void addText(string& text, const char* sentence, const string* column, const char* detail);

    void describeKey(const Field& key, const string& name, int keys);
    void describeKeys();
    void describeName(const string& name, const string* column, const char* reserved);
    bool isNamedBefore(int index, const string& name) const;

    void findTable(sqlite3* db, string& name);
    bool readColumns(sqlite3* db, const char* pragma, const string& table);
    bool readIndexes(sqlite3* db, const string& table);
    bool readIndex(sqlite3* db, const string& index, const string& origin);
    bool hasRow(Statement& statement);
    void prepare(Statement& statement, sqlite3* db, const char* pragma, const string& name);

    void compareColumns();
    void compareColumn(const Column& column, const string& name, const Field& field, int index);
    void compareRules(const Column& column, const string& name, const Field& field);
    void compareUndescribed(const Column& column);
    Column* find(const string& name);
    bool isOnlyKey(const Column& column) const;
    bool isRowNumber(const Column& column) const;

    string _table; // its name
    const FieldSet& _fields;
    std::forward_list<Finding> _findings;
    int _findingCount;
    std::forward_list<Column> _columns; // that a row read by Table has
    int _columnCount;
    int _keyCount; // of them
    Error _error;
};

// A table without a name here names itself.
Check::Check(const string* name, const FieldSet& fields, const Table* table)
    : _fields(fields), _findingCount(0), _columnCount(0), _keyCount(0)
{
    if (name)
        _table = *name;
    else
        table->name().swap(_table);
}

void Check::moveTo(std::vector<Finding>& findings)
{
    std::vector<Finding>(static_cast<size_t>(_findingCount)).swap(findings);
    auto to = findings.begin();
    for (Finding& from : _findings) {
        to->kind = from.kind;
        to->column.swap(from.column);
        to->text.swap(from.text);
        ++to;
    }
}

void Check::add(Finding::Kind kind, const string* column, const char* detail)
{
    auto last = _findings.before_begin();
    for (auto next = _findings.begin(); next != _findings.end() && next->kind <= kind; ++next)
        last = next;
    Finding& finding = *_findings.emplace_after(last);
    ++_findingCount;
    finding.kind = kind;
    if (column)
        finding.column = *column;
    const char* sentence = sentences;
    for (int i = 0; i < kind; ++i)
        sentence = nextIn(sentence);
    addText(finding.text, sentence, column, detail);
}

void Check::addText(string& text, const char* sentence, const string* column, const char* detail)
{
    for (sentence = addPlainPart(text, sentence); *sentence != '\0';
         sentence = addPlainPart(text, sentence + 1)) {
        switch (*sentence) {
            case 't':
                text += _table;
                break;
            case 'c':
                text += *column; // NOLINT(clang-analyzer-core.NonNullParamChecker): it has a column
                break;
            case 's':
                addText(text, column ? "Column '%c' of table '%t'" : "Table '%t'", column, "");
                break;
            default:
                text += detail;
        }
    }
}

// The description by itself

void Check::describe()
{
    describeName(_table, nullptr, reservedTables);
    if (_fields.count() == 0) {
        add(Finding::no_columns, nullptr);
        return;
    }
    describeKeys();
    bool isNumbered = true; // one finding is enough
    for (int i = 0; i < _fields.count(); ++i) {
        const Field& field = *_fields.getByIndex(i);
        const string name = field.getName();
        describeName(name, &name, reservedColumns);
        if (isNamedBefore(i, name))
            add(Finding::name_twice, &name);
        if (isNumbered && field.getIndex() != i) {
            add(Finding::not_numbered, &name);
            isNumbered = false;
        }
    }
}

// Of a column, or of the table.
void Check::describeName(const string& name, const string* column, const char* reserved)
{
    if (isAmong(name, reserved) || (isAmong(name, reservedWords) && isKeywordHere(name)))
        add(Finding::name_reserved, column);
    else if (needsQuotes(name))
        add(Finding::name_needs_quotes, column);
}

bool Check::isNamedBefore(int index, const string& name) const
{
    for (int i = 0; i < index; ++i)
        if (isSame(_fields.getByIndex(i)->getName(), name.c_str()))
            return true;
    return false;
}

void Check::describeKeys()
{
    int keys = 0;
    const Field* last = nullptr;
    for (int i = 0; i < _fields.count(); ++i) {
        last = _fields.getByIndex(i);
        if (last->isPrimaryKey())
            describeKey(*last, last->getName(), ++keys);
    }
    if (keys == 0) {
        add(Finding::no_key, nullptr);
    } else if (last->isPrimaryKey()) {
        const string name = last->getName();
        add(keys == _fields.count() ? Finding::key_only : Finding::key_last, &name);
    }
}

void Check::describeKey(const Field& key, const string& name, int keys)
{
    if (keys > 1)
        add(Finding::two_keys, &name);
    const int type = key.getType();
    if (type == type_text) {
        add(Finding::text_key, &name);
        if (!key.isNotNull())
            add(Finding::text_key_nullable, &name);
    } else if (type != type_int) {
        char number[12];
        std::snprintf(number, sizeof(number), "%d", type);
        const bool isKnown = type >= type_int && type <= type_time;
        add(Finding::key_type, &name, isKnown ? type2Str(key.getType()).c_str() : number);
    }
}

// Beside the file

void Check::compareWith(sqlite3* db)
{
    if (!db) {
        add(Finding::failed, nullptr, "there is no connection");
        return;
    }
    string name;
    findTable(db, name);
    if (!name.empty() && _fields.count() != 0 && readColumns(db, "table_xinfo", name) &&
        (_columnCount != 0 || readColumns(db, "table_info", name)) && readIndexes(db, name))
        compareColumns();
    if (_error)
        add(Finding::failed, nullptr, _error.text().c_str());
}

// The name is that in the file; empty when there is no such table, and after a failure.
void Check::findTable(sqlite3* db, string& name)
{
    Statement statement;
    string sql;
    sql += "select name, type = 'view' from sqlite_master where name = ?1 collate nocase "
           "and type in ('table', 'view')";
    if (statement.prepare(db, sql))
        statement.bindString(1, _table);
    bool isView = false;
    if (hasRow(statement)) {
        isView = statement.getInteger(1) != 0;
        if (!isView)
            statement.getString(0).swap(name);
        _error = statement.error();
    }
    if (_error)
        return;
    if (name.empty())
        add(Finding::no_table, nullptr,
            isView ? ", where a view has its name. Drop the view, or choose another name"
                   : ". Create it with Table::create");
    else if (name != _table)
        add(Finding::table_spelled_otherwise, nullptr, name.c_str());
}

// To the next row, unless compiling the statement or reading the last row failed.
bool Check::hasRow(Statement& statement)
{
    if (!statement.error() && statement.next())
        return true;
    _error = statement.error();
    return false;
}

void Check::prepare(Statement& statement, sqlite3* db, const char* pragma, const string& name)
{
    string sql;
    sql += "pragma ";
    sql += pragma;
    sql += "(\"";
    for (const char& byte : name) {
        if (byte == '"')
            sql += "\"";
        sql.append(&byte, 1);
    }
    sql += "\")";
    statement.prepare(db, sql);
}

// Old versions of SQLite know no table_xinfo, and give no rows.
bool Check::readColumns(sqlite3* db, const char* pragma, const string& table)
{
    enum { cid, name, type, notnull, dflt_value, pk, hidden };
    Statement statement;
    prepare(statement, db, pragma, table);
    auto last = _columns.before_begin();
    while (hasRow(statement)) {
        const integer kind = statement.getInteger(hidden);
        if (kind == 1) // of a virtual table, and not in "select *"
            continue;
        last = _columns.emplace_after(last);
        statement.getString(name).swap(last->name);
        statement.getString(type).swap(last->type);
        last->position = _columnCount++;
        last->isNotNull = statement.getInteger(notnull) != 0;
        last->hasDefault =
            !statement.isNull(dflt_value) && !isSame(statement.getString(dflt_value), "null");
        last->isKey = statement.getInteger(pk) != 0;
        last->isGenerated = kind != 0;
        if (last->isKey)
            ++_keyCount;
    }
    return !_error;
}

bool Check::readIndexes(sqlite3* db, const string& table)
{
    enum { seq, name, isUnique, origin, isPartial };
    Statement statement;
    prepare(statement, db, "index_list", table);
    while (hasRow(statement))
        if (statement.getInteger(isUnique) != 0 && statement.getInteger(isPartial) == 0 &&
            !readIndex(db, statement.getString(name), statement.getString(origin)))
            return false;
    return !_error;
}

// An index of one column marks it. One of an expression has no name there. Old versions of SQLite
// do not know the origin of an index: one on the key is then taken for the key's own.
bool Check::readIndex(sqlite3* db, const string& index, const string& origin)
{
    enum { seqno, cid, name };
    Statement statement;
    prepare(statement, db, "index_info", index);
    Column* column = nullptr;
    int count = 0;
    for (; hasRow(statement); ++count)
        column = find(statement.getString(name));
    if (!column || count != 1)
        return !_error;
    const bool isOfKey = origin.empty() ? column->isKey : isSame(origin, "pk");
    (isOfKey ? column->hasKeyIndex : column->isUnique) = true;
    return !_error;
}

Column* Check::find(const string& name)
{
    for (Column& column : _columns)
        if (isSame(column.name, name.c_str()))
            return &column;
    return nullptr;
}

void Check::compareColumns()
{
    for (int i = 0; i < _fields.count(); ++i) {
        const Field& field = *_fields.getByIndex(i);
        const string name = field.getName();
        Column* const column = find(name);
        if (column)
            column->isDescribed = true;
        if (!column || column->isGenerated)
            add(Finding::column_missing, &name,
                column ? "is generated from other columns in the file" : "is not in the file");
        else
            compareColumn(*column, name, field, i);
    }
    for (const Column& column : _columns)
        if (!column.isDescribed)
            compareUndescribed(column);
}

void Check::compareColumn(const Column& column, const string& name, const Field& field, int index)
{
    if (column.position != index) {
        char detail[80];
        std::snprintf(detail, sizeof(detail), "number %d in the file and %d in the description",
                      column.position + 1, index + 1);
        add(Finding::column_elsewhere, &name, detail);
    }
    if (!suits(affinityOf(column.type), field.getType())) {
        string type;
        type += "'";
        type += column.type;
        type += "'";
        add(Finding::affinity_differs, &name, column.type.empty() ? "nothing" : type.c_str());
    }
    compareRules(column, name, field);
}

void Check::compareRules(const Column& column, const string& name, const Field& field)
{
    if (column.isNotNull != field.isNotNull() && !isRowNumber(column))
        add(Finding::not_null_differs, &name,
            column.isNotNull ? "is NOT NULL in the file, and rows without it are refused. Give it "
                               "flag_not_null"
                             : "accepts NULL in the file in spite of its flag_not_null. Make it "
                               "NOT NULL there, or drop the flag");
    // A key is unique by itself.
    if (field.isUnique() && !column.isUnique && !isOnlyKey(column))
        add(Finding::unique_differs, &name,
            "accepts a value twice in the file in spite of its flag_unique. Make it UNIQUE there, "
            "or drop the flag");
    else if (column.isUnique && !field.isUnique() && !field.isPrimaryKey())
        add(Finding::unique_differs, &name,
            "is UNIQUE in the file, and a second row with its value is refused. Give it "
            "flag_unique");
    if (column.isKey && !field.isPrimaryKey())
        add(Finding::key_differs, &name,
            isOnlyKey(column) ? "is the key in the file, and a second row with its value is "
                                "refused. Give it flag_primary_key"
                              : "is part of the key in the file, and operations by key reach "
                                "several rows. Give it flag_primary_key");
    else if (!column.isKey && field.isPrimaryKey())
        add(Finding::key_differs, &name,
            "is no key in the file in spite of its flag_primary_key, and operations by key reach "
            "several rows. Make it the PRIMARY KEY there, or drop the flag");
}

void Check::compareUndescribed(const Column& column)
{
    const bool isRequired =
        column.isNotNull && !column.hasDefault && !column.isGenerated && !isRowNumber(column);
    add(isRequired ? Finding::column_extra_not_null : Finding::column_extra, &column.name);
}

bool Check::isOnlyKey(const Column& column) const
{
    return column.isKey && _keyCount == 1;
}

// SQLite gives such a column a number where it is NULL. Versions before 3.8.9 do not say which
// index is that of the key.
bool Check::isRowNumber(const Column& column) const
{
    return isOnlyKey(column) && !column.hasKeyIndex && isSame(column.type, "INTEGER");
}

// The end of memory must be a finding too, for which memory is taken in advance. Its words fit into
// a string without any.
bool setOutOfMemory(std::vector<Finding>& findings)
{
    static const char words[] = "out of memory";
    try {
        std::vector<Finding>(1).swap(findings);
        findings[0].kind = Finding::failed;
        findings[0].text += words;
        return true;
    } catch (const std::exception&) {
        SQLW_ERROR("Failed to check a table: %s", words);
        return false;
    }
}

// The check of a description, and of the table in the file where there is one.
std::vector<Finding> check(const string* name, const FieldSet& fields, Table* table)
{
    std::vector<Finding> findings;
    if (!setOutOfMemory(findings))
        return findings;
    try {
        Check check(name, fields, table);
        check.describe();
        if (table)
            check.compareWith(table->getHandle());
        check.moveTo(findings);
    } catch (const std::exception&) { // which is what is found
    }
    return findings;
}

} // namespace

std::vector<Finding> checkDescription(const string& table, const FieldSet& fields)
{
    return check(&table, fields, nullptr);
}

std::vector<Finding> checkTable(Table& table)
{
    SQLW_SIGNATURE("std::vector<sql::Finding> sql::checkTable(sql::Table&)");
    sqlite3* const db = table.getHandle();
    (void)SQLW_ASSERT(db);
    return check(nullptr, table.fields(), &table);
}

} // namespace sql
