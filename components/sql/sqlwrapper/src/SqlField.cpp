#include "SqlField.h"

#include <syslog.h>

#define SQLW_SOURCE_NAME "SqlField.cpp"

namespace sql
{

Field::Field() : _type(type_int), _index(-1), _flags(0) {}

Field::Field(const string& name, field_type type, int flags)
    : _name(name), _type(type), _index(-1), _flags(flags)
{
    SQLW_SIGNATURE("sql::Field::Field(const string&, sql::field_type, int)");
    // Deliberate: A field without a name ends the description
    SQLW_ASSERT(name.empty() == false);
}

bool Field::isEndingField() const
{
    return _name.empty();
}

field_type Field::getType() const
{
    return _type;
}

int Field::getIndex() const
{
    return _index;
}

string Field::getName() const
{
    return _name;
}

string Field::getTypeStr() const
{
    SQLW_SIGNATURE("sql::string sql::Field::getTypeStr() const");
    switch (_type) {
        // Deliberate: bool and time columns are INTEGER columns
        case type_int:
        case type_bool:
        case type_time:
            return "INTEGER";
        case type_text:
            return "TEXT";
        case type_float:
            return "REAL";
    }
    SQLW_ASSERT(false);
    return string();
}

bool Field::isNotNull() const
{
    return (_flags & flag_not_null) != 0;
}

bool Field::isPrimaryKey() const
{
    return (_flags & flag_primary_key) != 0;
}

bool Field::isUnique() const
{
    return (_flags & flag_unique) != 0;
}

string Field::getFlags() const
{
    // Deliberate: Constraints come in an order of their own
    string words;
    if (isPrimaryKey())
        words += " PRIMARY KEY";
    if (isNotNull())
        words += " NOT NULL";
    if (isUnique())
        words += " UNIQUE";
    return words;
}

string Field::getDefinition() const
{
    string definition(_name);
    definition += ' ';
    definition += getTypeStr();
    definition += getFlags();
    // Deliberate: Blanks around a column's name are kept, but not all of them
    return trim(definition);
}

string Field::dump() const
{
    string line(intToStr(_index));
    line += ": name=";
    line += _name;
    line += ", type=";
    line += type2Str(_type);
    line += ", flags:";
    line += getFlags();
    return line;
}

} // namespace sql
