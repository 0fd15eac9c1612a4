#include "SqlValue.h"

#include <algorithm>
#include <cfloat>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "StatementText.h"

namespace sql
{

// Doubles are written and read as the C locale has them, for the file may be read in any other.
// snprintf and strtod go by the locale in force, whose decimal point need not be a full stop.

static bool isDigit(char character)
{
    return character >= '0' && character <= '9';
}

static const string::size_type decimalsWritten = 8;

// A number of ordinary size in whole-number arithmetic, which gives the digits that snprintf gives:
// the binary fraction is multiplied out exactly, and what is beyond eight decimals rounds to the
// nearest, halves to even.
static bool ordinaryDoubleToStr(double number, string& text)
{
    using bits = unsigned long long;
    const double magnitude = number < 0.0 ? -number : number;
    if (!(magnitude >= 1.0 / 4096 && magnitude < 1e10)) // ends within 64 bits behind the point
        return false;

    const integer unit = 100000000; // 1, shifted by the decimals
    const integer wholes = static_cast<integer>(magnitude);
    const double remainder = magnitude - static_cast<double>(wholes);
    const bits fraction = static_cast<bits>(remainder * 18446744073709551616.0); // 2^64
    const bits low = (fraction & UINT32_MAX) * unit;
    const bits high = (fraction >> 32) * unit + (low >> 32);
    const bits beyond = (high << 32) | (low & UINT32_MAX);
    const bits half = bits(1) << 63;
    integer shifted = wholes * unit + static_cast<integer>(high >> 32);
    if (beyond > half || (beyond == half && shifted % 2 == 1))
        ++shifted;

    const IntegerText digits(number < 0.0 ? -shifted : shifted, decimalsWritten + 1);
    const string::size_type point = digits.size() - decimalsWritten;
    text.assign(digits.data(), point);
    text += '.';
    text.append(digits.data() + point, decimalsWritten);
    return true;
}

static void doubleToStr(double number, string& text)
{
    char buffer[DBL_MAX_10_EXP + 64]; // sign, digits, a point of some bytes, decimals
    char* end = buffer + std::snprintf(buffer, sizeof(buffer), "%0.8f", number);
    if (isDigit(end[-1])) { // neither "inf" nor "nan"
        const char* const decimals = end - decimalsWritten;
        char* point = end - decimalsWritten;
        while (!isDigit(point[-1]))
            --point;
        *point = '.';
        std::memmove(point + 1, decimals, decimalsWritten);
        end = point + 1 + decimalsWritten;
    }
    const std::ptrdiff_t longest = 127;
    text.assign(buffer, static_cast<size_t>(std::min(end - buffer, longest)));
}

// A decimal number of up to fifteen digits: what SQLite's texts of ordinary numbers look like.
struct ShortDecimal
{
    bool negative;
    integer digits;
    int decimals;
};

static const char* readDigits(const char* text, unsigned long long& digits)
{
    for (; isDigit(*text); ++text)
        digits = digits * 10 + static_cast<unsigned long long>(*text - '0');
    return text;
}

static bool readShortDecimal(const char* text, ShortDecimal& number)
{
    number.negative = *text == '-';
    if (number.negative)
        ++text;
    unsigned long long digits = 0; // wraps around, where there are too many
    const char* const point = readDigits(text, digits);
    const char* const end = *point == '.' ? readDigits(point + 1, digits) : point;
    number.digits = static_cast<integer>(digits);
    number.decimals = end > point ? static_cast<int>(end - point - 1) : 0;
    const std::ptrdiff_t count = point - text + number.decimals;
    return *end == '\0' && count > 0 && count <= 15;
}

// The digits and their power of ten are exact in a double: the quotient is rounded once, as strtod
// rounds.
static double shortDecimalToDouble(const ShortDecimal& number)
{
    static const double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                         1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    const double magnitude = static_cast<double>(number.digits) / powersOfTen[number.decimals];
    return number.negative ? -magnitude : magnitude;
}

static double strToDouble(const string& text)
{
    ShortDecimal number;
    if (FLT_EVAL_METHOD == 0 && readShortDecimal(text.c_str(), number))
        return shortDecimalToDouble(number);

    char half[16];
    half[std::snprintf(half, sizeof(half), "%.1f", 0.5) - 1] = '\0';
    const char* const point = half + 1;
    if (std::strcmp(point, ".") == 0)
        return std::strtod(text.c_str(), nullptr);

    // In the C locale a full stop is the point, and the local point only ends the number.
    string local;
    const char* const localPoint = std::strstr(text.c_str(), point);
    const char* const end = localPoint ? localPoint : text.c_str() + text.size();
    for (const char* next = text.c_str(); next != end; ++next) {
        if (*next == '.')
            local += point;
        else
            local += *next;
    }
    return std::strtod(local.c_str(), nullptr);
}

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
    if (!ordinaryDoubleToStr(number, text))
        doubleToStr(number, text);
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
    if (nullFlag)
        return 0;
    ShortDecimal number;
    if (readShortDecimal(text.c_str(), number) && number.decimals == 0)
        return number.negative ? -number.digits : number.digits;
    return std::strtoll(text.c_str(), nullptr, 10);
}

double Value::asDouble() const
{
    return nullFlag ? 0.0 : strToDouble(text);
}

bool Value::asBool() const
{
    return text.size() == 1 && text[0] == '1';
}

Time Value::asTime() const
{
    return Time(asInteger());
}

string Value::asString() const
{
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
    switch (type) { // one null alone reads as 0, false or the empty text
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
            return mine == other.asTime(); // any two times are equal
        }
    }
    return false;
}

string Value::toSql(field_type columnType) const
{
    StatementText sql;
    toSql(sql, columnType);
    return sql.str();
}

void Value::toSql(StatementText& sql, field_type columnType) const
{
    if (nullFlag) {
        sql.add("null");
    } else if (columnType == type_text) {
        sql.add("'");
        if (type == type_time)
            sql.addQuoted(asString());
        else
            sql.addQuoted(text);
        sql.add("'");
    } else if (type == type_time) {
        sql.addInteger(asInteger());
    } else {
        sql.add(text); // as it stands, whatever the column's type
    }
}

} // namespace sql
