#include "SqlRecord.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include <syslog.h>

#include "TextBuffer.h"

#define SQLW_SOURCE_NAME "SqlRecord.cpp"

namespace sql
{

// What a vector of cells is constructed from, so that it takes its memory once: the first texts of
// a row, and NULL for null pointers and after them.
class Record::Cells
{
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Value;
    using difference_type = std::ptrdiff_t;
    using pointer = const Value*;
    using reference = Value;

    Cells(const std::vector<Field>& fields, int count, const char* const* texts, size_t column)
        : _fields(&fields), _count(static_cast<size_t>(std::max(count, 0))), _texts(texts),
          _column(column)
    {}

    Value operator*() const
    {
        const char* text = _column < _count ? _texts[_column] : nullptr;
        return Value(text, (*_fields)[_column]._type);
    }
    Cells& operator++()
    {
        ++_column;
        return *this;
    }
    bool operator==(const Cells& other) const { return _column == other._column; }
    bool operator!=(const Cells& other) const { return _column != other._column; }

private:
    const std::vector<Field>* _fields;
    size_t _count;
    const char* const* _texts;
    size_t _column;
};

// Deliberate: A record borrows its columns
Record::Record(const FieldSet& fields) : Record(fields, 0, nullptr) {}

Record::Record(const FieldSet& fields, int count, const char* const* texts)
    : _fields(&fields), _values(Cells(fields._fields, count, texts, 0),
                                Cells(fields._fields, count, texts, fields._fields.size()))
{}

// Deliberate: A missing Record pointer is not noticed
Record::Record(const Record* other) : Record(*other) {}

const FieldSet* Record::fields() const
{
    return _fields;
}

int Record::columnCount() const
{
    return static_cast<int>(_values.size());
}

bool Record::hasColumn(int index) const
{
    return index >= 0 && index < columnCount();
}

// A cell. The read-only lookups do the work; each of the four reports under its own signature.

static const char changeByIndex[] = "sql::Value* sql::Record::getValue(int)";
static const char changeByName[] = "sql::Value* sql::Record::getValue(const string&)";
static const char readByIndex[] = "const sql::Value* sql::Record::getValue(int) const";
static const char readByName[] = "const sql::Value* sql::Record::getValue(const string&) const";

Value* Record::getValue(int index)
{
    return const_cast<Value*>(getValue(index, changeByIndex));
}

const Value* Record::getValue(int index) const
{
    return getValue(index, readByIndex);
}

Value* Record::getValue(const string& name)
{
    return const_cast<Value*>(getValue(name, changeByName, changeByIndex));
}

const Value* Record::getValue(const string& name) const
{
    return getValue(name, readByName, readByIndex);
}

const Value* Record::getValue(int index, const char* signature) const
{
    if (!hasColumn(index)) {
        SQLW_FAULT("No value for column with index %d", index);
        return nullptr;
    }
    return &_values[static_cast<size_t>(index)];
}

const Value* Record::getValue(const string& name, const char* signature, const char* byIndex) const
{
    const Field* field = _fields->getByName(name);
    if (!field) {
        SQLW_FAULT("No value for column with name '%s'", name.c_str());
        return nullptr;
    }
    return getValue(field->_index, byIndex);
}

const Value* Record::getKeyIdValue() const
{
    SQLW_SIGNATURE("const sql::Value* sql::Record::getKeyIdValue() const");
    const Field* key = _fields->keyField();
    if (!key) {
        SQLW_FAULT("No PRIMARY KEY column found");
        return nullptr;
    }
    return getValue(key->_index);
}

const Field* Record::fieldByName(const string& name) const
{
    SQLW_SIGNATURE("const sql::Field* sql::Record::fieldByName(const string&) const");
    const Field* field = _fields->getByName(name);
    if (!field)
        // Deliberate: A setter that finds no column only reports it
        SQLW_FAULT("Field/column '%s' not found", name.c_str());
    return field;
}

// Filling cells

bool Record::initColumnValue(int index, const char* text, field_type type)
{
    SQLW_SIGNATURE("bool sql::Record::initColumnValue(int, const char*, sql::field_type)");
    if (!hasColumn(index)) {
        SQLW_FAULT("Column index (%d) is out of range [0, %d[", index, columnCount());
        return false;
    }
    _values[static_cast<size_t>(index)].setValue(text, type);
    return true;
}

void Record::setNull(int index)
{
    if (Value* cell = getValue(index))
        cell->setNull();
}

void Record::setNull(const string& name)
{
    if (const Field* field = fieldByName(name))
        setNull(field->_index);
}

void Record::setString(int index, const string& value)
{
    if (Value* cell = getValue(index))
        cell->setString(value);
}

void Record::setString(const string& name, const string& value)
{
    if (const Field* field = fieldByName(name))
        setString(field->_index, value);
}

void Record::setInteger(int index, integer value)
{
    if (Value* cell = getValue(index))
        cell->setInteger(value);
}

void Record::setInteger(const string& name, integer value)
{
    if (const Field* field = fieldByName(name))
        setInteger(field->_index, value);
}

void Record::setDouble(int index, double value)
{
    if (Value* cell = getValue(index))
        cell->setDouble(value);
}

void Record::setDouble(const string& name, double value)
{
    if (const Field* field = fieldByName(name))
        setDouble(field->_index, value);
}

void Record::setBool(int index, bool value)
{
    if (Value* cell = getValue(index))
        cell->setBool(value);
}

void Record::setBool(const string& name, bool value)
{
    if (const Field* field = fieldByName(name))
        setBool(field->_index, value);
}

void Record::setTime(int index, Time value)
{
    if (Value* cell = getValue(index))
        cell->setTime(value);
}

void Record::setTime(const string& name, Time value)
{
    if (const Field* field = fieldByName(name))
        setTime(field->_index, value);
}

// Comparing

bool Record::equalsColumnValue(const Record* other, const string& name) const
{
    if (!other)
        return false;
    const Value* mine = getValue(name);
    if (!mine)
        return false;
    const Value* theirs = other->getValue(name);
    return theirs && mine->equals(*theirs);
}

bool Record::equalsValues(const Record* other) const
{
    if (!other)
        return false;
    for (int i = 0; i < _fields->count(); ++i) {
        const Field* field = _fields->getByIndex(i);
        if (!field || field->isPrimaryKey())
            continue;
        const Value* mine = getValue(field->_name);
        if (!mine)
            continue;
        const Value* theirs = other->getValue(field->_name);
        // Deliberate: The two comparisons of records differ
        if (theirs && !mine->equals(*theirs))
            return false;
    }
    return true;
}

// Texts for people

string Record::toString() const
{
    string text;
    for (int i = 0; i < columnCount(); ++i) {
        text += getValue(i)->toString();
        if (i < columnCount() - 1)
            text += "|";
    }
    return text;
}

string Record::dump(bool withType) const
{
    string text;
    for (int i = 0; i < columnCount(); ++i) {
        if (const Field* field = _fields->getByIndex(i)) {
            text += field->_name;
            text += " = ";
        }
        text += getValue(i)->dump(withType);
        if (i < columnCount() - 1)
            text += "|";
    }
    return text;
}

// Statements. Each is built in one growing text; a part that adds nothing has failed.

// Enough for either statement, be every character a quote that is doubled.
string::size_type Record::statementSize(const string& table) const
{
    string::size_type size = sizeof("insert into  () values ()") + 2 * table.size();
    for (const Field& field : _fields->_fields)
        size += field._name.size() + sizeof(", =");
    for (const Value& value : _values)
        size += 2 * value.text.size() + sizeof(", 'null'");
    return size;
}

string Record::toSql() const
{
    TextBuffer sql;
    toSql(sql);
    return sql.str();
}

void Record::toSql(TextBuffer& sql) const
{
    SQLW_SIGNATURE("sql::string sql::Record::toSql() const");
    const string::size_type begin = sql.size();
    const int count = _fields->count();
    for (int i = 0; i < count; ++i) {
        const Field* field = _fields->getByIndex(i);
        // Deliberate: Some checks never fail
        if (!field) {
            SQLW_FAULT("field with index %d does not exist", i);
            sql.truncate(begin);
            return;
        }
        // Deliberate: Of two columns with one name, the first counts
        const Value* value = getValue(field->_name);
        if (!value) {
            SQLW_FAULT("field with index %d does not have value", i);
            sql.truncate(begin);
            return;
        }
        value->toSql(sql, field->_type);
        if (i < count - 1)
            sql.add(", ");
    }
}

string Record::toSqlInsert(const string& table) const
{
    TextBuffer sql;
    return toSqlInsert(table, sql) ? sql.str() : string();
}

string Record::toSqlUpdate(const string& table) const
{
    TextBuffer sql;
    return toSqlUpdate(table, sql) ? sql.str() : string();
}

bool Record::toSqlInsert(const string& table, TextBuffer& sql) const
{
    SQLW_SIGNATURE("sql::string sql::Record::toSqlInsert(const string&) const");
    if (table.empty()) {
        SQLW_FAULT("No table name given");
        return false;
    }

    sql.reserve(statementSize(table));
    sql.add("insert into ");
    sql.add(table);
    sql.add(" (");
    const string::size_type columns = sql.size();
    _fields->toSql(sql);
    if (sql.size() == columns) {
        SQLW_FAULT("No fields to insert in table '%s'", table.c_str());
        return false;
    }

    sql.add(") values (");
    const string::size_type values = sql.size();
    toSql(sql);
    if (sql.size() == values) {
        SQLW_FAULT("No values to insert in table '%s'", table.c_str());
        return false;
    }
    sql.add(")");
    return true;
}

bool Record::toSqlUpdate(const string& table, TextBuffer& sql) const
{
    SQLW_SIGNATURE("sql::string sql::Record::toSqlUpdate(const string&) const");
    if (table.empty()) {
        SQLW_FAULT("No table name given");
        return false;
    }

    sql.reserve(statementSize(table));
    sql.add("update ");
    sql.add(table);
    sql.add(" set ");
    const int count = _fields->count();
    for (int i = 0; i < count; ++i) {
        const Field* field = _fields->getByIndex(i);
        // Deliberate: Two key columns make an update too wide
        if (!field || field->isPrimaryKey())
            continue;
        const Value* value = getValue(field->_name);
        if (!value) {
            SQLW_FAULT("No value for column with index=%d (and name=%s) of table %s", i,
                       field->_name.c_str(), table.c_str());
            return false;
        }
        // Deliberate: An update writes every column
        sql.add(field->_name);
        sql.add("=");
        value->toSql(sql, field->_type);
        // Deliberate: An update needs a column after its key column
        if (i < count - 1)
            sql.add(", ");
    }

    sql.add(" where ");
    if (!_fields->getKeyIdName(sql)) {
        SQLW_FAULT("Failed to get name of PRIMARY KEY column for table %s", table.c_str());
        return false;
    }
    const Value* value = getKeyIdValue();
    if (!value) {
        SQLW_FAULT("No PRIMARY KEY column found for table %s", table.c_str());
        return false;
    }
    // Deliberate: An update writes a text key without quotes
    SQLW_ASSERT(value->getType() == type_int);
    sql.add(" = ");
    value->toSql(sql, type_int);
    return true;
}

void Record::adopt(const FieldSet& fields)
{
    _fields = &fields;
}

} // namespace sql
