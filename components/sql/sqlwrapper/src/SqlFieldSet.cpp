#include "SqlFieldSet.h"

#include <syslog.h>

#include "TextBuffer.h"

#define SQLW_SOURCE_NAME "SqlFieldSet.cpp"

namespace sql
{

// Deliberate: A set made of a vector is neither checked nor numbered
FieldSet::FieldSet(const std::vector<Field>& fields) : _fields(fields) {}

FieldSet::FieldSet(const Field* fields)
{
    // Deliberate: A bad description is reported, not refused
    initFieldSet(fields);
}

bool FieldSet::initFieldSet(const Field* fields)
{
    SQLW_SIGNATURE("bool sql::FieldSet::initFieldSet(const sql::Field*)");
    if (!fields)
        return true;

    for (int i = 0; !fields[i].isEndingField(); ++i) {
        const Field& field = fields[i];
        if (field.isPrimaryKey() && field._type != type_int && field._type != type_text) {
            SQLW_FAULT(
                "PRIMARY KEY column '%s' must be of type 'integer' or 'text' instead of type '%s'",
                field._name.c_str(), type2Str(field._type).c_str());
            _fields.clear();
            return false;
        }
        _fields.push_back(field);
        // Deliberate: Initialising twice appends
        // Not back(): on a set that held fields before, it is those that are numbered.
        _fields[static_cast<size_t>(i)]._index = i;
    }
    return keyField() != nullptr || SQLW_ASSERT(false);
}

int FieldSet::count() const
{
    return static_cast<int>(_fields.size());
}

const Field* FieldSet::getByIndex(int index) const
{
    return index >= 0 && index < count() ? &_fields[static_cast<size_t>(index)] : nullptr;
}

const Field* FieldSet::getByName(const string& name) const
{
    // Deliberate: A column's name must be spelled as it was described
    for (const Field& field : _fields)
        if (&field._name == &name || field._name == name) // statements pass the set's own names
            return &field;
    return nullptr;
}

const Field* FieldSet::keyField() const
{
    for (const Field& field : _fields)
        if (field.isPrimaryKey())
            return &field;
    return nullptr;
}

string FieldSet::getDefinition() const
{
    string definition;
    for (int i = 0; i < count(); ++i) {
        definition += getByIndex(i)->getDefinition();
        if (i < count() - 1)
            definition += ", ";
    }
    return definition;
}

string FieldSet::toSql() const
{
    TextBuffer sql;
    toSql(sql);
    return sql.str();
}

void FieldSet::toSql(TextBuffer& sql) const
{
    SQLW_SIGNATURE("sql::string sql::FieldSet::toSql() const");
    for (int i = 0; i < count(); ++i) {
        const Field* field = getByIndex(i);
        // Deliberate: Some checks never fail
        if (!field) {
            SQLW_FAULT("No field for index %d", i);
            continue;
        }
        sql.add(field->_name);
        if (i < count() - 1)
            sql.add(", ");
    }
}

string FieldSet::dump() const
{
    SQLW_SIGNATURE("sql::string sql::FieldSet::dump() const");
    string lines;
    for (int i = 0; i < count(); ++i) {
        const Field* field = getByIndex(i);
        // Deliberate: Some checks never fail
        if (!field) {
            SQLW_FAULT("No field for index %d", i);
            continue;
        }
        lines += field->dump();
        if (i < count() - 1)
            lines += "\r\n";
    }
    return lines;
}

string FieldSet::getKeyIdName() const
{
    TextBuffer name;
    getKeyIdName(name);
    return name.str();
}

// Returns whether it has added a name.
bool FieldSet::getKeyIdName(TextBuffer& sql) const
{
    SQLW_SIGNATURE("sql::string sql::FieldSet::getKeyIdName() const");
    const Field* key = keyField();
    if (!key) {
        SQLW_FAULT("Failed to get name of PRIMARY KEY column");
        return false;
    }
    sql.add(key->_name);
    return !key->_name.empty();
}

} // namespace sql
