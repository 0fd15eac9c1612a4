/// @file
/// One typed cell of a record.

#ifndef SQLW_SQL_VALUE_H
#define SQLW_SQL_VALUE_H

#include "SqlTime.h"

namespace sql
{

/// A cell: a text, whether it is NULL, and the type that it is read as.
///
/// A value type: copied and moved freely, owns nothing outside itself. No operation fails: a text
/// that does not fit a type is read as far as it fits. Three kinds of operations write lines or
/// reports: each `Time` that is constructed, also by `equals` and the texts of type_time, is logged
/// at DEBUG3; the text of a time that cannot be broken down is empty after an ERROR line; `dump` of
/// a type of another value reports as `type2Str` does.
class Value
{
public:
    /// NULL, of type `newType`.
    Value(field_type newType);

    /// Takes a copy of `newText`, unchecked, or NULL for a null pointer, and the type.
    void setValue(const char* newText, field_type newType);

    /// @name Setters that keep the type
    /// Whatever is stored, the value is still read as the type that it was made with.
    /// @{

    /// Stores NULL.
    void setNull();
    /// Stores a copy of the text, unchecked.
    void setString(const string& newText);
    /// Stores the number in decimal.
    void setInteger(integer number);
    /// Stores eight decimals; what exceeds 127 characters is cut off. The words of infinities and
    /// NaN are no numbers to SQLite: a statement that holds them fails. SQLite drops the sign of
    /// -0.0.
    void setDouble(double number);
    /// Stores "1" for true and "0" for false.
    void setBool(bool truth);
    /// Stores the seconds since the epoch.
    void setTime(Time newTime);
    /// @}

    /// Whether it is NULL.
    bool isNull() const;
    /// The type that it is read as.
    field_type getType() const;

    /// @name Reading the text as a type
    /// NULL reads as 0, false or the empty text.
    /// @{

    /// As `strtoll` reads decimal: 0 for what is no number, the nearest bound beyond 64 bits.
    integer asInteger() const;
    /// As `strtod` reads it in the C locale: 0.0 for what is no number.
    double asDouble() const;
    /// True only for the text "1".
    bool asBool() const;
    /// The time of `asInteger()` seconds, so the epoch for NULL.
    Time asTime() const;
    /// The text; for type_time `asTime().asString()`, also when NULL, with the name of the weekday
    /// as the locale in force has it.
    string asString() const;

    /// @}

    /// `asString()`, or "null".
    string toString() const;

    /// `toString()`, followed by the type in parentheses for `withType`: "42 (integer)".
    string dump(bool withType) const;

    /// Whether both are NULL, or `other` reads the same as this value by this value's type.
    /// Therefore NULL equals 0 and the empty text, and any two times are equal.
    bool equals(const Value& other) const;

    /// The SQL literal of this value for a column of type `columnType`: quoted for type_text alone
    /// (a time as its `asString`), otherwise the text itself, whatever it holds.
    string toSql(field_type columnType) const;

private:
    friend class Record; // is filled from texts, and adds literals to its statements

    SQLW_INTERNAL Value(const char* newText, field_type newType);
    SQLW_INTERNAL void toSql(TextBuffer& sql, field_type columnType) const;

    string text;
    bool nullFlag;
    field_type type;
};

} // namespace sql

#endif
