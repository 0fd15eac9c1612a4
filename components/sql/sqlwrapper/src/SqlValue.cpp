#include "SqlValue.h"

#include "NumberText.h"
#include "TextBuffer.h"

namespace sql
{

Value::Value(field_type newType) : nullFlag(true), type(newType) {}

// As `setValue` leaves it.
Value::Value(const char* newText, field_type newType)
    : text(newText ? newText : ""), nullFlag(!newText), type(newType)
{}

void Value::setValue(const char* newText, field_type newType)
{
    type = newType;
    if (!newText) {
        setNull();
        return;
    }
    text = newText;
    nullFlag = false;
}

void Value::setNull()
{
    text.clear();
    nullFlag = true;
}

// Deliberate: A value keeps the type that it was made with
void Value::setString(const string& newText)
{
    text = newText;
    nullFlag = false;
}

void Value::setInteger(integer number)
{
    const IntegerText digits(number);
    text.assign(digits.data(), digits.size());
    nullFlag = false;
}

void Value::setDouble(double number)
{
    doubleToText(number, text);
    nullFlag = false;
}

void Value::setBool(bool truth)
{
    setInteger(truth ? 1 : 0);
}

void Value::setTime(Time newTime)
{
    setInteger(newTime.asInteger());
}

bool Value::isNull() const
{
    return nullFlag;
}

field_type Value::getType() const
{
    return type;
}

integer Value::asInteger() const
{
    return nullFlag ? 0 : textToInteger(text.c_str());
}

double Value::asDouble() const
{
    return nullFlag ? 0.0 : textToDouble(text);
}

bool Value::asBool() const
{
    // Deliberate: Only the text 1 is true
    return text.size() == 1 && text[0] == '1';
}

Time Value::asTime() const
{
    return Time(asInteger());
}

string Value::asString() const
{
    // Deliberate: A NULL time is shown as the epoch
    return type == type_time ? asTime().asString() : text;
}

string Value::toString() const
{
    return nullFlag ? "null" : asString();
}

string Value::dump(bool withType) const
{
    string line(toString());
    if (withType) {
        line += " (";
        line += type2Str(type);
        line += ')';
    }
    return line;
}

bool Value::equals(const Value& other) const
{
    if (nullFlag && other.nullFlag)
        return true;
    // Deliberate: NULL equals 0, false and the empty text
    switch (type) {
        case type_int:
            return asInteger() == other.asInteger();
        case type_text:
            return text == other.asString();
        case type_float:
            return asDouble() == other.asDouble();
        case type_bool:
            return asBool() == other.asBool();
        case type_time: {
            Time mine = asTime(); // before the other: each construction is a line of the log
            // Deliberate: Any two times are equal
            return mine == other.asTime();
        }
    }
    return false;
}

string Value::toSql(field_type columnType) const
{
    TextBuffer sql;
    toSql(sql, columnType);
    return sql.str();
}

void Value::toSql(TextBuffer& sql, field_type columnType) const
{
    if (nullFlag) {
        sql.add("null");
    } else if (columnType == type_text) {
        sql.add("'");
        // Deliberate: A time in a text column is a date
        if (type == type_time)
            sql.addEscaped(asString());
        else
            sql.addEscaped(text);
        sql.add("'");
    } else if (type == type_time) {
        sql.addInteger(asInteger());
    } else {
        // Deliberate: A text is quoted for text columns only
        sql.add(text);
    }
}

} // namespace sql
